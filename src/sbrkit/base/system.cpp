// System queries: local time in the form of ISO 8601, the name of the operating system, processor time.
#include <sys/utsname.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>

#include "base/texts.h"
#include "sbrkit/sbrkit.h"

namespace {

// The room that callers give.
constexpr std::size_t kTimeTextSize = 64;
constexpr std::size_t kNameTextSize = 192;

// A time with the year and month as people count them.
struct Calendar {
  int year, month, day, hour, minute;
};

Calendar calendar_of(const std::tm &time) noexcept {
  return {time.tm_year + 1900, time.tm_mon + 1, time.tm_mday, time.tm_hour, time.tm_min};
}

// "+HHMM", the offset of local time from Greenwich. The sign stands even for an offset below an hour.
void format_zone(int minutes_east, char (&text)[16]) noexcept {
  const int size = std::abs(minutes_east);
  std::snprintf(text, sizeof text, "%c%02d%02d", minutes_east < 0 ? '-' : '+', size / 60, size % 60);
}

}  // namespace

extern "C" {

void SBR_localtime_ISO8601(int selector, char *text) {
  const std::time_t now = std::time(nullptr);
  std::tm greenwich{};
  std::tm local{};
  gmtime_r(&now, &greenwich);
  localtime_r(&now, &local);
  const int minutes_east = static_cast<int>(local.tm_gmtoff / 60);
  const Calendar here = calendar_of(local);

  char zone[16];
  char date[64];
  char time[64];
  format_zone(minutes_east, zone);
  std::snprintf(date, sizeof date, "%4d-%02d-%02d", here.year, here.month, here.day);
  std::snprintf(time, sizeof time, "%02d:%02d %s", here.hour, here.minute, zone);
  if (selector < 0) {
    const Calendar there = calendar_of(greenwich);
    std::printf("%%utl_23-v-val, GMT = %4d-%02d-%02d %02d:%02d, tz_value(%d)\n", there.year, there.month, there.day,
                there.hour, there.minute, minutes_east);
    std::printf("%%utl_23-v-val, Loc = %4d-%02d-%02d %02d:%02d%s\n", here.year, here.month, here.day, here.hour,
                here.minute, zone);
  }
  char both[sizeof date + sizeof time];
  std::snprintf(both, sizeof both, "%s %s", date, time);
  sbr::give_text(text, selector == 1 ? date : selector == 2 ? time : both, kTimeTextSize);
}

int SBR_uname(int selector, char *text) {
  utsname facts{};
  if (text == nullptr || uname(&facts) != 0) return 1;
  int major = 0;
  int minor = 0;
  int patch = 0;
  if (std::sscanf(facts.release, "%d.%d.%d", &major, &minor, &patch) < 2) return 1;

  char name[80];
  char version[32];
  std::snprintf(name, sizeof name, "%s_", facts.sysname);
  std::snprintf(version, sizeof version, "%d_%d", major, minor);
  switch (selector) {
    case 2:
      std::snprintf(text, kNameTextSize, "%s %s", name, version);
      break;
    case 3:
      std::snprintf(text, kNameTextSize, "%s %s %d", name, version, patch);
      break;
    case 12:
      std::snprintf(text, kNameTextSize, "%s_%s", name, version);
      break;
    case 13:
      std::snprintf(text, kNameTextSize, "%s_%s_%d", name, version, patch);
      break;
    default:
      std::snprintf(text, kNameTextSize, "%s", name);
      break;
  }
  return 0;
}

double SBR_cputime(void) { return static_cast<double>(std::clock()) / CLOCKS_PER_SEC; }

}  // extern "C"
