// Reals in fixed columns against the conversions of the C and C++ libraries, bit by bit.
#include "common/fixed_real.h"

#include <gtest/gtest.h>

#include <bit>
#include <charconv>
#include <cstdlib>
#include <random>
#include <string>

namespace sbrtest {
namespace {

using sbrtranslate::read_e12_5;
using sbrtranslate::read_whole;

std::uint64_t bits(double value) { return std::bit_cast<std::uint64_t>(value); }

double by_from_chars(const std::string &field) {
  const std::size_t start = field.find_first_not_of(" +");
  double value = 0.0;
  std::from_chars(field.data() + start, field.data() + field.size(), value);
  return value;
}

std::string field_of(char sign, int digits, int exponent) {
  char text[32];
  std::snprintf(text, sizeof text, "%c%d.%05dE%+03d", sign, digits / 100000, digits % 100000, exponent);
  return text;
}

TEST(FixedRealTest, TheDoublesAreThoseOfStrtodAndFromChars) {
  std::mt19937 random(7);
  std::uniform_int_distribution<int> digits(0, 999999);
  std::uniform_int_distribution<int> exponents(-99, 99);
  long taken = 0;
  for (int i = 0; i < 400000; ++i) {
    const std::string field = field_of(" -+"[random() % 3], digits(random),
                                       i % 2 == 0 ? exponents(random) : -17 + static_cast<int>(random() % 45));
    ASSERT_EQ(field.size(), 12U);
    double value = 77.0;
    if (!read_e12_5(field.data(), value)) {
      ASSERT_EQ(value, 77.0) << field;
      continue;
    }
    ++taken;
    ASSERT_EQ(bits(value), bits(std::strtod(field.c_str(), nullptr))) << field;
    ASSERT_EQ(bits(value), bits(by_from_chars(field))) << field;
  }
  EXPECT_GT(taken, 240000);
}

TEST(FixedRealTest, EveryExponentFromMinus17To27IsTaken) {
  for (int exponent = -99; exponent <= 99; ++exponent) {
    double value = 0.0;
    const std::string field = field_of('-', 987654, exponent);
    EXPECT_EQ(read_e12_5(field.data(), value), exponent >= -17 && exponent <= 27) << field;
  }
  double zero = 1.0;
  ASSERT_TRUE(read_e12_5("-0.00000E+00", zero));
  EXPECT_EQ(bits(zero), bits(-0.0));
}

// Whatever is taken after a change of any character is what the libraries make of it.
TEST(FixedRealTest, DamagedFieldsAreRefusedOrReadAsTheLibrariesReadThem) {
  const std::string good = "-1.23456E-03";
  for (std::size_t at = 0; at < good.size(); ++at)
    for (int c = 0; c < 256; ++c) {
      std::string field = good;
      field[at] = static_cast<char>(c);
      double value = 0.0;
      if (!read_e12_5(field.data(), value)) continue;
      char *end = nullptr;
      EXPECT_EQ(bits(value), bits(std::strtod(field.c_str(), &end))) << field;
      EXPECT_EQ(end, field.c_str() + 12) << field;
    }
  double value = 0.0;
  for (const char *bad : {"1.23456E-003", "-.123456E-03", "-1.23456D-03", "         NaN", "    Infinity",
                          "            ", "-1.23456E 03", "-12.3456E-03", "0x1.2345E-03", "-1.23456e-03"})
    EXPECT_FALSE(read_e12_5(bad, value)) << bad;
}

TEST(FixedRealTest, WholeNumbersStandAtTheRightEnd) {
  int value = 0;
  EXPECT_TRUE(read_whole("    200000", 10, value));
  EXPECT_EQ(value, 200000);
  EXPECT_TRUE(read_whole(" 999999999", 10, value));
  EXPECT_EQ(value, 999999999);
  for (const char *bad : {"          ", "        -1", "      1 2 ", "12        ", "4294967297", "       1e1"})
    EXPECT_FALSE(read_whole(bad, 10, value)) << bad;
}

}  // namespace
}  // namespace sbrtest
