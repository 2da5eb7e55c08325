// Unit tables, lookups and the conversion of values.
#include "body/units.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>

#include "support/body_state.h"
#include "support/body_view.h"
#include "support/messages.h"

namespace sbrtest {
namespace {

class UnitsTest : public LibraryTest {
 protected:
  ~UnitsTest() override { EXPECT_TRUE(log.all().empty()) << "no unit operation reports"; }
  SBR body = SBR_Create(10, 10);
};

// ---- tables and lookups --------------------------------------------------------------------------------------------

TEST_F(UnitsTest, DividerIgnoresTheCaseOfALabel) {
  EXPECT_EQ(SBR_UnitsDivider("inch", sbr::length_table), 0.0254);
  EXPECT_EQ(SBR_UnitsDivider("iNcH", sbr::length_table), 0.0254);
  EXPECT_EQ(SBR_UnitsDivider("INCH", sbr::length_table), 0.0254);
}

TEST_F(UnitsTest, DividerOfAnEmptyLabelIsOneAndOfAnUnknownOneZero) {
  EXPECT_EQ(SBR_UnitsDivider("", sbr::mass_table), 1.0);
  EXPECT_EQ(SBR_UnitsDivider("FURLONG", sbr::length_table), 0.0);
  EXPECT_EQ(SBR_UnitsDivider("INCH", sbr::mass_table), 0.0);
}

TEST_F(UnitsTest, DividerComparesWholeNames) {
  EXPECT_EQ(SBR_UnitsDivider("MIL", sbr::length_table), 2.54e-05);
  EXPECT_EQ(SBR_UnitsDivider("MILE", sbr::length_table), 1609.344);
  EXPECT_EQ(SBR_UnitsDivider("METE", sbr::length_table), 0.0);
  EXPECT_EQ(SBR_UnitsDivider("METERS", sbr::length_table), 0.0);
  EXPECT_EQ(SBR_UnitsDivider("METER ", sbr::length_table), 0.0);
}

TEST_F(UnitsTest, DividerSurvivesNulls) {
  EXPECT_EQ(SBR_UnitsDivider(nullptr, sbr::mass_table), 0.0);
  EXPECT_EQ(SBR_UnitsDivider("METER", nullptr), 0.0);
  EXPECT_EQ(SBR_UnitsLabel(1.0, nullptr), nullptr);
}

TEST_F(UnitsTest, DividerTakesATableOfTheHost) {
  const unit_entry own[] = {{"FURLONG", 201.168}, {"FURLONG", 1.0}, {nullptr, 0.0}};
  EXPECT_EQ(SBR_UnitsDivider("furlong", own), 201.168);
  EXPECT_STREQ(SBR_UnitsLabel(201.17, own), "FURLONG");
}

TEST_F(UnitsTest, LabelFindsTheFirstMultiplierWithinATenThousandth) {
  EXPECT_STREQ(SBR_UnitsLabel(0.4536, sbr::mass_table), "POUND_MASS");
  EXPECT_EQ(SBR_UnitsLabel(0.45, sbr::mass_table), nullptr);
  EXPECT_STREQ(SBR_UnitsLabel(1.00009, sbr::length_table), "METER");
  EXPECT_EQ(SBR_UnitsLabel(1.0002, sbr::length_table), nullptr);
}

TEST_F(UnitsTest, LabelFindsNothingForMeaninglessMultipliers) {
  for (const double bad : {0.0, -1.0, std::numeric_limits<double>::infinity(), std::nan("")})
    EXPECT_EQ(SBR_UnitsLabel(bad, sbr::length_table), nullptr) << bad;
}

TEST_F(UnitsTest, EveryNameOfEveryTableLeadsBackToItself) {
  int names = 0;
  for (const unit_entry *table : {sbr::mass_table, sbr::length_table, sbr::time_table, sbr::force_table})
    for (const unit_entry *entry = table; entry->name != nullptr; ++entry, ++names) {
      EXPECT_EQ(SBR_UnitsDivider(entry->name, table), entry->multiplier) << entry->name;
      EXPECT_STREQ(SBR_UnitsLabel(entry->multiplier, table), entry->name);
    }
  EXPECT_EQ(names, 12 + 13 + 7 + 10);
}

TEST_F(UnitsTest, DerivedMultipliersAgreeWithTheirDefinitions) {
  const double pound = SBR_UnitsDivider("POUND_MASS", sbr::mass_table);
  const double pound_force = SBR_UnitsDivider("POUND_FORCE", sbr::force_table);
  EXPECT_DOUBLE_EQ(SBR_UnitsDivider("USTON", sbr::mass_table), 2000.0 * pound);
  EXPECT_DOUBLE_EQ(SBR_UnitsDivider("SLUG", sbr::mass_table), pound_force / 0.3048);
  EXPECT_DOUBLE_EQ(SBR_UnitsDivider("SLINCH", sbr::mass_table), pound_force / 0.0254);
  EXPECT_DOUBLE_EQ(pound_force, pound * 9.80665);
  EXPECT_DOUBLE_EQ(SBR_UnitsDivider("OUNCE_FORCE", sbr::force_table), pound_force / 16.0);
  EXPECT_NEAR(SBR_UnitsDivider("OUNCE_MASS", sbr::mass_table), pound / 16.0, 1e-8);
  EXPECT_DOUBLE_EQ(SBR_UnitsDivider("MILE", sbr::length_table), 5280.0 * 0.3048);
}

// ---- labels of a body ----------------------------------------------------------------------------------------------

TEST_F(UnitsTest, ABodyWithoutUnitsHasSi) {
  char mass[16], length[16], time[16], force[16];
  SBR_Units(body, mass, length, time, force);
  EXPECT_STREQ(mass, "KILOGRAM");
  EXPECT_STREQ(length, "METER");
  EXPECT_STREQ(time, "SECOND");
  EXPECT_STREQ(force, "NEWTON");
}

TEST_F(UnitsTest, UnitsMayBeAskedForOneByOne) {
  ASSERT_EQ(SBR_SetUnits(body, "SLUG", "FOOT", "SECOND", "POUND_FORCE"), 1);
  char force[16];
  SBR_Units(body, nullptr, nullptr, nullptr, force);
  EXPECT_STREQ(force, "POUND_FORCE");
}

TEST_F(UnitsTest, UnitsOfANullBodyAreEmptyTexts) {
  char label[16] = "x";
  SBR_Units(nullptr, label, nullptr, nullptr, nullptr);
  EXPECT_STREQ(label, "");
}

TEST_F(UnitsTest, ConsistencyFactorIsOneForConsistentSystems) {
  EXPECT_EQ(SBR_UCF(body), 1.0);
  ASSERT_EQ(SBR_SetUnits(body, "KILOGRAM", "METER", "SECOND", "NEWTON"), 1);
  EXPECT_EQ(SBR_UCF(body), 1.0);
  ASSERT_EQ(SBR_SetUnits(body, "MEGAGRAM", "MILLIMETER", "SECOND", "NEWTON"), 1);
  EXPECT_EQ(SBR_UCF(body), 1.0);
  ASSERT_EQ(SBR_SetUnits(body, "SLINCH", "INCH", "SECOND", "POUND_FORCE"), 1);
  EXPECT_NEAR(SBR_UCF(body), 1.0, 1e-15);
}

TEST_F(UnitsTest, ConsistencyFactorOfKilogramMillimeterSecondNewtonIsAThousand) {
  ASSERT_EQ(SBR_SetUnits(body, "KILOGRAM", "MILLIMETER", "SECOND", "NEWTON"), 1);
  EXPECT_EQ(SBR_UCF(body), 1000.0);
  ASSERT_EQ(SBR_SetUnits(body, "KILOGRAM", "MILLIMETER", "MILLISECOND", "KNEWTON"), 1);
  EXPECT_DOUBLE_EQ(SBR_UCF(body), 1.0);
}

TEST_F(UnitsTest, ConsistencyFactorOfAnUnknownLabelIsNotFinite) {
  std::strcpy(state::units(body).mass_units, "STONE");
  EXPECT_TRUE(std::isinf(SBR_UCF(body)));
  std::strcpy(state::units(body).force_units, "PULL");
  EXPECT_TRUE(std::isnan(SBR_UCF(body)));
}

TEST_F(UnitsTest, ValuesGoToSiByTheMultiplierOfTheBodysLabel) {
  ASSERT_EQ(SBR_SetUnits(body, "GRAM", "INCH", "MINUTE", "KNEWTON"), 1);
  EXPECT_EQ(SBR_Mass2Kilogram(body, 5.0), 5.0 * 0.001);
  EXPECT_EQ(SBR_Length2Meter(body, 5.0), 5.0 * 0.0254);
  EXPECT_EQ(SBR_Time2Second(body, 5.0), 300.0);
  EXPECT_EQ(SBR_Force2Newton(body, 5.0), 5000.0);
}

TEST_F(UnitsTest, ValuesOfANullBodyAreZero) {
  EXPECT_EQ(SBR_UCF(nullptr), 0.0);
  EXPECT_EQ(SBR_Mass2Kilogram(nullptr, 5.0), 0.0);
  EXPECT_EQ(SBR_Length2Meter(nullptr, 5.0), 0.0);
  EXPECT_EQ(SBR_Time2Second(nullptr, 5.0), 0.0);
  EXPECT_EQ(SBR_Force2Newton(nullptr, 5.0), 0.0);
}

// ---- conversion of values ------------------------------------------------------------------------------------------

// The conversion written down step by step, each logarithm and each power anew.
double power_by_squaring(int e) {
  double result = 1.0;
  double base = 10.0;
  int n = std::abs(e);
  while (n != 0) {
    if (n % 2 == 1) result = result * base;
    n = n / 2;
    base = base * base;
  }
  result = std::floor(result + 0.5);
  return e < 0 ? 1.0 / result : result;
}

double convert_step_by_step(double x, double factor) {
  int e1 = 0;
  double a = x;
  if (x != 0.0) {
    e1 = static_cast<int>(std::floor(std::log10(std::fabs(x))));
    a = x / power_by_squaring(e1);
  }
  int e2 = 0;
  double b = factor;
  if (factor != 0.0) {
    e2 = static_cast<int>(std::floor(std::log10(std::fabs(factor))));
    b = factor / power_by_squaring(e2);
  }
  return std::fabs(power_by_squaring(e1 + e2)) * (b * a);
}

bool same_bits(double a, double b) {
  return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b) || (std::isnan(a) && std::isnan(b));
}

void expect_same(double x, double factor) {
  double value = x;
  SBR_Convert_Units(&value, 1, factor);
  const double expected = convert_step_by_step(x, factor);
  ASSERT_TRUE(same_bits(value, expected))
      << std::hexfloat << x << " by " << factor << ": " << value << ", not " << expected;
}

double any_finite(std::mt19937_64 &random) {
  double value = 0.0;
  do value = std::bit_cast<double>(random());
  while (!std::isfinite(value));
  return value;
}

TEST_F(UnitsTest, ConversionKeepsEveryBitForAnyFiniteNumbers) {
  std::mt19937_64 random(20240817);
  for (int i = 0; i < 300000; ++i) expect_same(any_finite(random), any_finite(random));
}

TEST_F(UnitsTest, ConversionKeepsEveryBitForEverydayNumbers) {
  std::mt19937_64 random(4711);
  std::uniform_real_distribution<double> mantissa(-10.0, 10.0);
  std::uniform_int_distribution<int> exponent(-12, 12);
  std::vector<double> factors = {1.0, 1.0 / 0.0254, 1e-18, 4.4482216152605 / 0.0254 / 0.0254};
  for (const unit_entry *table : {sbr::mass_table, sbr::length_table, sbr::time_table, sbr::force_table})
    for (; table->name != nullptr; ++table) factors.push_back(table->multiplier);
  for (int i = 0; i < 300000; ++i)
    expect_same(mantissa(random) * std::pow(10.0, exponent(random)), factors[random() % factors.size()]);
}

TEST_F(UnitsTest, ConversionKeepsEveryBitAroundPowersOfTen) {
  for (int e = -323; e <= 308; ++e) {
    const double power = std::pow(10.0, e);
    for (const double off : {0.0, 1e-16, 2e-16, 1e-15, 1e-13, 1e-11, 0.99e-9, 1.01e-9, 1e-7})
      for (const double sign : {-1.0, 1.0}) {
        expect_same(power * (1.0 + sign * off), 0.0254);
        expect_same(0.3, power * (1.0 + sign * off));
      }
    double next = power;
    for (int step = 0; step < 40; ++step) expect_same(next = std::nextafter(next, 0.0), 1000.0);
  }
}

TEST_F(UnitsTest, ConversionKeepsEveryBitAroundPowersOfTwo) {
  for (int e = -1074; e <= 1023; ++e) {
    const double power = std::ldexp(1.0, e);
    for (const double x : {power, std::nextafter(power, 0.0), std::nextafter(power, 1e308), -power})
      expect_same(x, 25.4);
  }
}

TEST_F(UnitsTest, ConversionOfZeroAndByZeroIsZero) {
  double values[] = {0.0, 5.0, -3.0};
  SBR_Convert_Units(values, 1, 1000.0);
  EXPECT_EQ(values[0], 0.0);
  SBR_Convert_Units(values, 3, 0.0);
  EXPECT_EQ(values[0], 0.0);
  EXPECT_EQ(values[1], 0.0);
  EXPECT_EQ(values[2], 0.0);
}

TEST_F(UnitsTest, ConversionOfSimpleNumbersIsExact) {
  double values[] = {1.5, -2.0, 0.25};
  EXPECT_EQ(SBR_Convert_Units(values, 3, 1000.0), values);
  EXPECT_EQ(values[0], 1500.0);
  EXPECT_EQ(values[1], -2000.0);
  EXPECT_EQ(values[2], 250.0);
}

TEST_F(UnitsTest, ConversionByOneGoesThroughTheSameSteps) {
  // A value whose mantissa is not exact loses a bit on the way to its decimal exponent and back.
  std::mt19937_64 random(7);
  std::uniform_real_distribution<double> small(1e-9, 1e-8);
  int changed = 0;
  for (int i = 0; i < 1000; ++i) {
    const double x = small(random);
    double value = x;
    SBR_Convert_Units(&value, 1, 1.0);
    EXPECT_TRUE(same_bits(value, convert_step_by_step(x, 1.0)));
    changed += value != x;
  }
  EXPECT_GT(changed, 0);
}

TEST_F(UnitsTest, ConversionPassesOverACountBelowOneAndANullArray) {
  double value = 5.0;
  EXPECT_EQ(SBR_Convert_Units(&value, 0, 2.0), &value);
  EXPECT_EQ(SBR_Convert_Units(&value, -1, 2.0), &value);
  EXPECT_EQ(value, 5.0);
  EXPECT_EQ(SBR_Convert_Units(nullptr, 3, 2.0), nullptr);
}

TEST_F(UnitsTest, ConversionOfWhatIsNotFiniteIsThePlainProduct) {
  const double infinity = std::numeric_limits<double>::infinity();
  double values[] = {infinity, -infinity, std::nan("")};
  SBR_Convert_Units(values, 3, 2.0);
  EXPECT_EQ(values[0], infinity);
  EXPECT_EQ(values[1], -infinity);
  EXPECT_TRUE(std::isnan(values[2]));
  double value = 2.0;
  SBR_Convert_Units(&value, 1, -infinity);
  EXPECT_EQ(value, -infinity);
  value = 0.0;
  SBR_Convert_Units(&value, 1, infinity);
  EXPECT_TRUE(std::isnan(value));
}

// ---- the switch ----------------------------------------------------------------------------------------------------

TEST_F(UnitsTest, FirstDefinitionOfUnitsScalesNothing) {
  ASSERT_EQ(SBR_SetNodeCoordinates(body, 1, 1.5, 0, 0), 1);
  ASSERT_EQ(SBR_SetUnits(body, "MEGAGRAM", "MILLIMETER", "SECOND", "NEWTON"), 1);
  EXPECT_EQ(coordinates_of(body, 0)[0], 1.5);
  EXPECT_EQ(state::last_change(body).length, 1.0);
  EXPECT_EQ(state::last_change(body).mass, 1.0);
  EXPECT_EQ(state::all_changes(body).length, 1.0);
  EXPECT_EQ(units_of(body).length, "MILLIMETER");
}

TEST_F(UnitsTest, MeterToMillimeterAndBack) {
  ASSERT_EQ(SBR_SetNodeCoordinates(body, 1, 1.5, 0, 0), 1);
  ASSERT_EQ(SBR_SetUnits(body, "KILOGRAM", "METER", "SECOND", "NEWTON"), 1);
  ASSERT_EQ(SBR_SetUnits(body, "KILOGRAM", "MILLIMETER", "SECOND", "NEWTON"), 1);
  EXPECT_EQ(state::last_change(body).length, 1000.0);
  EXPECT_EQ(state::all_changes(body).length, 1000.0);
  EXPECT_EQ(coordinates_of(body, 0)[0], 1500.0);
  ASSERT_EQ(SBR_SetUnits(body, "KILOGRAM", "METER", "SECOND", "NEWTON"), 1);
  EXPECT_EQ(state::last_change(body).length, 0.001);
  EXPECT_EQ(state::all_changes(body).length, 1.0);
  EXPECT_EQ(coordinates_of(body, 0)[0], 1.5);
}

TEST_F(UnitsTest, CumulativeRatiosAreTheProductOfAllChanges) {
  ASSERT_EQ(SBR_SetUnits(body, "KILOGRAM", "METER", "SECOND", "NEWTON"), 1);
  ASSERT_EQ(SBR_SetUnits(body, "GRAM", "CENTIMETER", "MINUTE", "DYNE"), 1);
  ASSERT_EQ(SBR_SetUnits(body, "MEGAGRAM", "INCH", "HOUR", "KNEWTON"), 1);
  EXPECT_DOUBLE_EQ(state::all_changes(body).mass, 1.0 / 1000.0);
  EXPECT_DOUBLE_EQ(state::all_changes(body).length, 1.0 / 0.0254);
  EXPECT_DOUBLE_EQ(state::all_changes(body).time, 1.0 / 3600.0);
  EXPECT_DOUBLE_EQ(state::all_changes(body).force, 1.0 / 1000.0);
  EXPECT_EQ(state::last_change(body).mass, 0.001 / 1000.0);
  EXPECT_EQ(state::last_change(body).length, 0.01 / 0.0254);
  EXPECT_EQ(state::last_change(body).time, 60.0 / 3600.0);
  EXPECT_EQ(state::last_change(body).force, 1e-05 / 1000.0);
}

TEST_F(UnitsTest, TheSameLabelsAgainScaleNothing) {
  ASSERT_EQ(SBR_SetUnits(body, "KILOGRAM", "METER", "SECOND", "NEWTON"), 1);
  ASSERT_EQ(SBR_SetUnits(body, "KILOGRAM", "MILLIMETER", "SECOND", "NEWTON"), 1);
  state::current_modes(body)[sbr::Kind::shape] = 3;
  ASSERT_EQ(SBR_SetUnits(body, "KILOGRAM", "MILLIMETER", "SECOND", "NEWTON"), 1);
  EXPECT_EQ(state::last_change(body).length, 1000.0);
  EXPECT_EQ(state::all_changes(body).length, 1000.0);
  EXPECT_EQ(state::current_modes(body)[sbr::Kind::shape], 3);
}

TEST_F(UnitsTest, LabelsThatDifferInCaseAloneAreAChangeByOne) {
  ASSERT_EQ(SBR_SetUnits(body, "KILOGRAM", "MILLIMETER", "SECOND", "NEWTON"), 1);
  state::current_modes(body)[sbr::Kind::shape] = 3;
  ASSERT_EQ(SBR_SetUnits(body, "KILOGRAM", "Millimeter", "SECOND", "NEWTON"), 1);
  EXPECT_EQ(state::last_change(body).length, 1.0);
  EXPECT_EQ(units_of(body).length, "Millimeter");
  EXPECT_EQ(state::current_modes(body)[sbr::Kind::shape], -1);
}

TEST_F(UnitsTest, TrailingBlanksOfALabelAreDropped) {
  ASSERT_EQ(SBR_SetUnits(body, "GRAM            ", "INCH  ", "SECOND", "NEWTON"), 1);
  EXPECT_EQ(units_of(body).mass, "GRAM");
  EXPECT_EQ(units_of(body).length, "INCH");
}

TEST_F(UnitsTest, ARefusedLabelLeavesTheBodyAsItWas) {
  ASSERT_EQ(SBR_SetUnits(body, "GRAM", "INCH", "SECOND", "NEWTON"), 1);
  EXPECT_EQ(SBR_SetUnits(body, "KILOGRAM", "METER", "SECOND", "PULL"), 0);
  EXPECT_EQ(SBR_SetUnits(body, "", "METER", "SECOND", "NEWTON"), 0);
  EXPECT_EQ(SBR_SetUnits(body, "KILOGRAM", nullptr, "SECOND", "NEWTON"), 0);
  EXPECT_EQ(units_of(body).mass, "GRAM");
  EXPECT_EQ(units_of(body).length, "INCH");
  EXPECT_EQ(state::last_change(body).length, 1.0);
}

TEST_F(UnitsTest, ALabelOfTheWrongTableIsRefused) {
  ASSERT_EQ(SBR_SetUnits(body, "GRAM", "INCH", "SECOND", "NEWTON"), 1);
  EXPECT_EQ(SBR_SetUnits(body, "METER", "METER", "SECOND", "NEWTON"), 0);
  EXPECT_EQ(units_of(body).mass, "GRAM");
  EXPECT_EQ(state::all_changes(body).length, 1.0);
}

TEST_F(UnitsTest, TheFirstDefinitionDoesNotLookAtTheTables) {
  EXPECT_EQ(SBR_SetUnits(body, "METER", "METER", "SECOND", "NEWTON"), 1);
  EXPECT_EQ(units_of(body).mass, "METER");
  EXPECT_EQ(SBR_SetUnits(body, "GRAM", "METER", "SECOND", "NEWTON"), 0);
}

TEST_F(UnitsTest, OneEmptyLabelCountsAsTheSiUnit) {
  std::strcpy(state::units(body).length_units, "MILLIMETER");
  ASSERT_EQ(SBR_SetUnits(body, "GRAM", "MILLIMETER", "SECOND", "NEWTON"), 1);
  EXPECT_EQ(state::last_change(body).mass, 1.0 / 0.001);
  EXPECT_EQ(state::last_change(body).length, 1.0);
}

TEST_F(UnitsTest, ATooLongLabelIsCutAndRefused) {
  EXPECT_EQ(SBR_SetUnits(body, "KILOGRAM", "METER", "SECOND", "KILOGRAM_FORCE_OR_SO"), 0);
}

TEST_F(UnitsTest, MultipliersOnSiFindTheirLabels) {
  EXPECT_EQ(SBR_SetUnitsByMultiplierOnSI(body, 0.45, 1.0, 1.0, 1.0), 0);
  EXPECT_STREQ(state::units(body).mass_units, "");
  ASSERT_EQ(SBR_SetUnitsByMultiplierOnSI(body, 0.4536, 0.0254, 1.0, 4.448), 1);
  EXPECT_EQ(units_of(body).mass, "POUND_MASS");
  EXPECT_EQ(units_of(body).length, "INCH");
  EXPECT_EQ(units_of(body).time, "SECOND");
  EXPECT_EQ(units_of(body).force, "POUND_FORCE");
}

TEST_F(UnitsTest, EveryMultiplierMustHaveATableEntry) {
  EXPECT_EQ(SBR_SetUnitsByMultiplierOnSI(body, 1.0, 0.5, 1.0, 1.0), 0);
  EXPECT_EQ(SBR_SetUnitsByMultiplierOnSI(body, 1.0, 1.0, 0.5, 1.0), 0);
  EXPECT_EQ(SBR_SetUnitsByMultiplierOnSI(body, 1.0, 1.0, 1.0, 0.5), 0);
}

TEST_F(UnitsTest, ANullBodyTakesNoUnits) {
  EXPECT_EQ(SBR_SetUnits(nullptr, "KILOGRAM", "METER", "SECOND", "NEWTON"), 0);
  EXPECT_EQ(SBR_SetUnitsByMultiplierOnSI(nullptr, 1.0, 1.0, 1.0, 1.0), 0);
  SBR_ScaleDatabase(nullptr);
}

}  // namespace
}  // namespace sbrtest
