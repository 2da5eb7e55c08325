// The program's own progress monitor takes the place of the library's silent one: a bar on a terminal, nothing else.
#include <unistd.h>

#include <cstdio>
#include <string>

#include "session.h"

namespace {

struct Progress {
  int total = 0;
  int done = 0;
  int shown = -1;
};
Progress progress;

void draw() {
  constexpr int kWidth = 40;
  if (progress.total < 1 || isatty(STDERR_FILENO) == 0) return;
  const int filled = static_cast<int>(static_cast<long>(progress.done) * kWidth / progress.total);
  if (filled == progress.shown) return;
  progress.shown = filled;
  std::string bar(static_cast<std::size_t>(filled), '#');
  bar.resize(kWidth, '.');
  std::fprintf(stderr, "\r[%s] %3d %%%s", bar.c_str(), filled * 100 / kWidth, filled == kWidth ? "\r\033[K" : "");
  std::fflush(stderr);
}

}  // namespace

extern "C" void SBR_TimeMonitor(int total) {
  progress = {total, 0, -1};
  draw();
}

extern "C" void SBR_TimeMonitorStamp(void) {
  if (progress.done < progress.total) ++progress.done;
  draw();
}
