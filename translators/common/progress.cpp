#include "common/progress.h"

#include <algorithm>

#include "sbrkit/sbrkit.h"

namespace sbrtranslate {

void Progress::begin(std::uint64_t from, std::uint64_t end) {
  if (done_ >= 0 || end <= from) return;
  from_ = from;
  end_ = end;
  done_ = 0;
  SBR_TimeMonitor(kSteps);
}

void Progress::stamp_to(int step) {
  for (; done_ < step; ++done_) SBR_TimeMonitorStamp();
}

void Progress::at(std::uint64_t position) {
  if (done_ < 0 || position <= from_) return;
  const double share = static_cast<double>(position - from_) / static_cast<double>(end_ - from_);
  stamp_to(static_cast<int>(std::min(share, 1.0) * kSteps));
}

Progress::~Progress() {
  if (done_ >= 0) stamp_to(kSteps);
}

}  // namespace sbrtranslate
