// The companion operations' own definitions. That a host takes them over is shown by the program companion_host.c.
#include <array>
#include <cstring>
#include <string>

#include "body/units.h"
#include "support/messages.h"

namespace sbrtest {
namespace {

using Label = std::array<char, 16>;

// A label of 16 characters, padded.
Label padded(const std::string &text, char pad) {
  Label label;
  label.fill(pad);
  std::copy(text.begin(), text.end(), label.begin());
  return label;
}

TEST(CompanionTest, EveryNameOfTheFourTablesIsAccepted) {
  for (const unit_entry *table : {sbr::mass_table, sbr::length_table, sbr::time_table, sbr::force_table})
    for (; table->name != nullptr; ++table) {
      Label label = padded(table->name, '\0');
      EXPECT_NE(SBR_ConvertUnitsLabel(label.data()), 0) << table->name;
      EXPECT_EQ(label, padded(table->name, '\0'));
    }
}

TEST(CompanionTest, TrailingBlanksBecomeNuls) {
  Label label = padded("KILOGRAM_FORCE", ' ');
  EXPECT_NE(SBR_ConvertUnitsLabel(label.data()), 0);
  EXPECT_EQ(label, padded("KILOGRAM_FORCE", '\0'));
  Label mixed = padded("INCH   ", '\0');
  EXPECT_NE(SBR_ConvertUnitsLabel(mixed.data()), 0);
  EXPECT_EQ(mixed, padded("INCH", '\0'));
}

TEST(CompanionTest, TheLettersKeepTheirCase) {
  Label label = padded("miLLimeter", ' ');
  EXPECT_NE(SBR_ConvertUnitsLabel(label.data()), 0);
  EXPECT_STREQ(label.data(), "miLLimeter");
}

TEST(CompanionTest, EverythingElseIsRefusedAndLeftAlone) {
  for (const char *text : {"", " ", "METERS", "METE", " METER", "ME TER", "METER.", "FURLONG", "1", "ABCDEFGHIJKLMNOP"})
    for (const char pad : {' ', '\0'}) {
      Label label = padded(text, pad);
      const Label before = label;
      EXPECT_EQ(SBR_ConvertUnitsLabel(label.data()), 0) << '"' << text << '"';
      EXPECT_EQ(label, before);
    }
  EXPECT_EQ(SBR_ConvertUnitsLabel(nullptr), 0);
}

TEST(CompanionTest, NothingBehindTheSixteenthCharacterIsTouched) {
  char wide[18];
  std::memset(wide, ' ', sizeof wide);
  std::memcpy(wide, "METER", 5);
  EXPECT_NE(SBR_ConvertUnitsLabel(wide), 0);
  EXPECT_EQ(wide[15], '\0');
  EXPECT_EQ(wide[16], ' ');
  EXPECT_EQ(wide[17], ' ');
}

TEST(CompanionTest, AShortTextIsReadToItsEndOnly) {
  char text[] = "METER ";
  EXPECT_NE(SBR_ConvertUnitsLabel(text), 0);
  EXPECT_STREQ(text, "METER");
}

TEST(CompanionTest, TheTimeMonitorDoesNothing) {
  MessageLog log;
  SBR_TimeMonitor(100);
  SBR_TimeMonitorStamp();
  EXPECT_TRUE(log.all().empty());
}

}  // namespace
}  // namespace sbrtest
