// The program's own progress monitor takes the place of the library's silent one: on a terminal a bar with an estimate
// of the time that is left, elsewhere nothing.
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <string>

#include "session.h"

namespace {

using Clock = std::chrono::steady_clock;

struct Progress {
  int total = 0;
  int done = 0;
  int shown = -1;         // cells of the bar
  long shown_second = 0;  // of the run, when it was drawn last
  Clock::time_point start;
};
Progress progress;

// "12 s left", once the run is long enough to tell.
std::string estimate(double elapsed) {
  if (elapsed < 1.0 || progress.done == 0) return "";
  const double left = elapsed * (progress.total - progress.done) / progress.done;
  char text[40];
  if (left < 90.0)
    std::snprintf(text, sizeof text, "  %.0f s left ", left);
  else
    std::snprintf(text, sizeof text, "  %.0f min left ", left / 60.0);
  return text;
}

void draw() {
  constexpr int kWidth = 40;
  if (progress.total < 1 || isatty(STDERR_FILENO) == 0) return;
  const int filled = static_cast<int>(static_cast<long>(progress.done) * kWidth / progress.total);
  const double elapsed = std::chrono::duration<double>(Clock::now() - progress.start).count();
  const auto second = static_cast<long>(elapsed);
  if (filled == progress.shown && second == progress.shown_second) return;
  progress.shown = filled;
  progress.shown_second = second;
  std::string bar(static_cast<std::size_t>(filled), '#');
  bar.resize(kWidth, '.');
  const int percent = static_cast<int>(static_cast<long>(progress.done) * 100 / progress.total);
  std::fprintf(stderr, "\r[%s] %3d %%%s\033[K%s", bar.c_str(), percent, estimate(elapsed).c_str(),
               filled == kWidth ? "\r\033[K" : "");
  std::fflush(stderr);
}

}  // namespace

extern "C" void SBR_TimeMonitor(int total) {
  progress = {total, 0, -1, 0, Clock::now()};
  draw();
}

extern "C" void SBR_TimeMonitorStamp(void) {
  if (progress.done < progress.total) ++progress.done;
  draw();
}
