// Progress of a long reading, by bytes, told to the program's time monitor (SBR_TimeMonitor) in hundredths.
#ifndef SBRKIT_TRANSLATORS_COMMON_PROGRESS_H
#define SBRKIT_TRANSLATORS_COMMON_PROGRESS_H

#include <cstdint>

namespace sbrtranslate {

class Progress {
 public:
  // Starts the monitor at the first call: what lies before `from` is not counted.
  void begin(std::uint64_t from, std::uint64_t end);
  // How far the work has come. Nothing happens before begin().
  void at(std::uint64_t position);
  Progress() = default;
  Progress(const Progress &) = delete;
  Progress &operator=(const Progress &) = delete;
  // Completes the monitor, also after an error.
  ~Progress();

 private:
  static constexpr int kSteps = 100;
  void stamp_to(int step);
  std::uint64_t from_ = 0;
  std::uint64_t end_ = 0;
  int done_ = -1;  // below 0: not begun
};

}  // namespace sbrtranslate

#endif
