#include <gmock/gmock.h>
#include <sys/utsname.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <regex>
#include <string>

#include "sbrkit/sbrkit.h"
#include "support/files.h"

namespace sbrtest {
namespace {

// A time zone for as long as it lives.
class Zone {
 public:
  explicit Zone(const char *name) : variable_("TZ", name) { tzset(); }

 private:
  ScopedEnvironment variable_;
};

std::string local_time(int selector) {
  char text[64] = {};
  SBR_localtime_ISO8601(selector, text);
  return text;
}

std::string system_name(int selector) {
  char text[192] = {};
  EXPECT_EQ(SBR_uname(selector, text), 0);
  return text;
}

TEST(SystemTest, TheDateHasTheFormOfTheStandard) {
  const Zone zone("UTC0");
  char expected[2][64];
  const std::time_t before = std::time(nullptr);
  std::tm broken{};
  std::strftime(expected[0], sizeof expected[0], "%Y-%m-%d", gmtime_r(&before, &broken));
  const std::string date = local_time(1);
  const std::time_t after = std::time(nullptr);
  std::strftime(expected[1], sizeof expected[1], "%Y-%m-%d", gmtime_r(&after, &broken));
  EXPECT_THAT(date, ::testing::AnyOf(std::string(expected[0]), std::string(expected[1])));
}

TEST(SystemTest, TheTimeCarriesItsZone) {
  {
    const Zone zone("WEST+03:30");  // west of Greenwich by three and a half hours
    EXPECT_TRUE(std::regex_match(local_time(2), std::regex(R"(\d\d:\d\d -0330)")));
  }
  {
    const Zone zone("EAST-05:45");
    EXPECT_TRUE(std::regex_match(local_time(2), std::regex(R"(\d\d:\d\d \+0545)")));
  }
  const Zone zone("NEAR+00:30");
  EXPECT_TRUE(std::regex_match(local_time(2), std::regex(R"(\d\d:\d\d -0030)")));
}

TEST(SystemTest, OtherSelectorsGiveDateAndTime) {
  const Zone zone("UTC0");
  const std::regex both(R"(\d{4}-\d\d-\d\d \d\d:\d\d \+0000)");
  EXPECT_TRUE(std::regex_match(local_time(0), both));
  EXPECT_TRUE(std::regex_match(local_time(3), both));
}

TEST(SystemTest, ANegativeSelectorGivesDateAndTimeToo) {
  const Zone zone("UTC0");
  const std::regex both(R"(\d{4}-\d\d-\d\d \d\d:\d\d \+0000)");
  ::testing::internal::CaptureStdout();
  for (const int selector : {-1, -2, -3}) EXPECT_TRUE(std::regex_match(local_time(selector), both)) << selector;
  std::fflush(stdout);
  ::testing::internal::GetCapturedStdout();
}

TEST(SystemTest, ANegativeSelectorAlsoPrintsBothTimes) {
  const Zone zone("EAST-02:00");
  ::testing::internal::CaptureStdout();
  const std::string text = local_time(-1);
  std::fflush(stdout);
  const std::string printed = ::testing::internal::GetCapturedStdout();
  EXPECT_TRUE(std::regex_match(text, std::regex(R"(\d{4}-\d\d-\d\d \d\d:\d\d \+0200)")));
  EXPECT_TRUE(
      std::regex_match(printed, std::regex(R"(%utl_23-v-val, GMT = \d{4}-\d\d-\d\d \d\d:\d\d, tz_value\(120\)\n)"
                                           R"(%utl_23-v-val, Loc = \d{4}-\d\d-\d\d \d\d:\d\d\+0200\n)")))
      << printed;
}

TEST(SystemTest, ANullTextIsLeftAlone) {
  SBR_localtime_ISO8601(1, nullptr);
  EXPECT_EQ(SBR_uname(1, nullptr), 1);
}

TEST(SystemTest, TheSystemsNameComesInItsForms) {
  utsname facts{};
  ASSERT_EQ(uname(&facts), 0);
  int release[3] = {};
  ASSERT_GE(std::sscanf(facts.release, "%d.%d.%d", &release[0], &release[1], &release[2]), 2);
  const std::string name = std::string(facts.sysname) + "_";
  const std::string version = std::to_string(release[0]) + "_" + std::to_string(release[1]);
  const std::string number = std::to_string(release[2]);
  EXPECT_EQ(system_name(1), name);
  EXPECT_EQ(system_name(0), name);
  EXPECT_EQ(system_name(2), name + " " + version);
  EXPECT_EQ(system_name(3), name + " " + version + " " + number);
  EXPECT_EQ(system_name(12), name + "_" + version);
  EXPECT_EQ(system_name(13), name + "_" + version + "_" + number);
}

TEST(SystemTest, ProcessorTimeIsInSeconds) {
  const double start = SBR_cputime();
  const std::clock_t ticks = std::clock();
  volatile double work = 0.0;
  while (std::clock() - ticks < CLOCKS_PER_SEC / 20) work = work + 1.0;
  const double passed = SBR_cputime() - start;
  EXPECT_GE(passed, 0.05 - 1e-9) << "but for the rounding of the difference";
  EXPECT_LT(passed, 5.0);
}

}  // namespace
}  // namespace sbrtest
