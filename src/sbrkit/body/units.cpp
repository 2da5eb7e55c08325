// Units: the tables of unit names, conversion of values, and the switch of a body to another unit system.
#include "body/units.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

namespace sbr {

// ---- tables --------------------------------------------------------------------------------------------------------

const unit_entry mass_table[] = {{"MEGAGRAM", 1000.0},
                                 {"KILOGRAM", 1.0},
                                 {"GRAM", 0.001},
                                 {"MILLIGRAM", 1e-06},
                                 {"MICROGRAM", 1e-09},
                                 {"NANOGRAM", 1e-12},
                                 {"USTON", 907.18474},
                                 {"KPOUND_MASS", 453.59237},
                                 {"POUND_MASS", 0.45359237},
                                 {"OUNCE_MASS", 0.02834952},
                                 {"SLUG", 14.593902937206366},
                                 {"SLINCH", 175.1268352464764},
                                 {nullptr, 0.0}};

const unit_entry length_table[] = {
    {"KILOMETER", 1000.0}, {"METER", 1.0},      {"CENTIMETER", 0.01},    {"MILLIMETER", 0.001}, {"MICROMETER", 1e-06},
    {"NANOMETER", 1e-09},  {"ANGSTROM", 1e-10}, {"MILE", 1609.344},      {"YARD", 0.9144},      {"FOOT", 0.3048},
    {"INCH", 0.0254},      {"MIL", 2.54e-05},   {"MICROINCH", 2.54e-08}, {nullptr, 0.0}};

const unit_entry time_table[] = {{"SECOND", 1.0},       {"MILLISECOND", 0.001}, {"MICROSECOND", 1e-06},
                                 {"NANOSECOND", 1e-09}, {"DAY", 86400.0},       {"HOUR", 3600.0},
                                 {"MINUTE", 60.0},      {nullptr, 0.0}};

const unit_entry force_table[] = {{"KNEWTON", 1000.0},
                                  {"NEWTON", 1.0},
                                  {"MILLINEWTON", 0.001},
                                  {"DYNE", 1e-05},
                                  {"MICRONEWTON", 1e-06},
                                  {"NANONEWTON", 1e-09},
                                  {"KPOUND_FORCE", 4448.2216152605},
                                  {"POUND_FORCE", 4.4482216152605},
                                  {"KILOGRAM_FORCE", 9.80665},
                                  {"OUNCE_FORCE", 0.2780138509537812},
                                  {nullptr, 0.0}};

namespace {

// ---- names ---------------------------------------------------------------------------------------------------------

// Upper case of the letters A to Z whatever the locale is: unit names are plain ASCII.
char upper(char c) noexcept { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

bool same_name(const char *a, const char *b) noexcept {
  while (*a != '\0' && upper(*a) == upper(*b)) ++a, ++b;
  return upper(*a) == upper(*b);
}

// Copies a label of the handle out, or the name that an empty label stands for.
void give_label(const char (&label)[16], const char *when_empty, char *out) noexcept {
  if (out == nullptr) return;
  const char *text = label[0] != '\0' ? label : when_empty;
  const std::size_t length = strnlen(text, sizeof label - 1);
  std::memcpy(out, text, length);
  out[length] = '\0';
}

// ---- decimal exponents ---------------------------------------------------------------------------------------------

constexpr int kLargestExponent = 650;     // above the sum of the exponents of any two finite numbers
constexpr int kSmallestPlain = -290;      // below it, numbers near the denormal ones go to the logarithm
constexpr double kNearPowerOfTen = 1e-9;  // far above the relative error of log10, so that floor is certain outside

// 10 to the e, by repeated squaring.
double integer_power(int e) noexcept {
  double result = 1.0;
  double base = 10.0;
  for (int exponent = e < 0 ? -e : e; exponent != 0; exponent /= 2) {
    if (exponent % 2 != 0) result *= base;
    base *= base;
  }
  result = std::floor(result + 0.5);
  return e < 0 ? 1.0 / result : result;
}

struct PowerTable {
  double power[2 * kLargestExponent + 1];
  PowerTable() noexcept {
    for (int e = -kLargestExponent; e <= kLargestExponent; ++e) power[e + kLargestExponent] = integer_power(e);
  }
};

double power_of_ten(int e) noexcept {
  static const PowerTable table;
  return table.power[e + kLargestExponent];
}

// floor(log10(magnitude)) of a finite positive number. The logarithm is taken only where its rounding could decide:
// next to a power of ten. Elsewhere the binary exponent gives the decimal one, or one less.
int decimal_exponent(double magnitude) noexcept {
  const int binary = static_cast<int>(std::bit_cast<std::uint64_t>(magnitude) >> 52) - 1023;
  const int guess = (binary + 1) * 1233 >> 12;  // log10(2) = 1233 / 4096, to 1 in 100000
  if (guess > kSmallestPlain && guess < -kSmallestPlain) {
    const double ratio = guess < 0 ? magnitude * power_of_ten(-guess) : magnitude / power_of_ten(guess);
    if (ratio > 1.0 + kNearPowerOfTen && ratio < 10.0 - 10.0 * kNearPowerOfTen) return guess;
    if (ratio > 0.1 + kNearPowerOfTen && ratio < 1.0 - kNearPowerOfTen) return guess - 1;
  }
  return static_cast<int>(std::floor(std::log10(magnitude)));
}

}  // namespace

// ---- conversion ----------------------------------------------------------------------------------------------------

DecimalFactor::DecimalFactor(double factor) noexcept
    : factor_(factor), mantissa_(factor), finite_(std::isfinite(factor)) {
  if (!finite_ || factor == 0.0) return;
  exponent_ = decimal_exponent(std::fabs(factor));
  mantissa_ = factor / power_of_ten(exponent_);
}

// The product, formed from mantissas and decimal exponents. A value or factor that is not finite has no exponent: the
// plain product stands for it.
double DecimalFactor::apply(double value) const noexcept {
  if (!finite_ || !std::isfinite(value)) return value * factor_;
  int exponent = 0;
  double value_mantissa = value;
  if (value != 0.0) {
    exponent = decimal_exponent(std::fabs(value));
    value_mantissa = value / power_of_ten(exponent);
  }
  return std::fabs(power_of_ten(exponent + exponent_)) * (mantissa_ * value_mantissa);
}

void convert_units(double *values, std::int64_t count, double factor) noexcept {
  if (count > 0) DecimalFactor(factor).apply({values, static_cast<std::size_t>(count)});
}

// ---- labels --------------------------------------------------------------------------------------------------------

double units_divider(const char *label, const unit_entry *table) noexcept {
  if (label == nullptr) return 0.0;
  if (*label == '\0') return 1.0;
  if (table == nullptr) return 0.0;
  for (; table->name != nullptr; ++table)
    if (same_name(label, table->name)) return table->multiplier;
  return 0.0;
}

const char *units_label(double multiplier, const unit_entry *table) noexcept {
  if (table == nullptr) return nullptr;
  for (; table->name != nullptr; ++table) {
    const double m = table->multiplier;
    if (0.0001 > std::fabs(m - multiplier) / std::max(m, multiplier)) return table->name;
  }
  return nullptr;
}

void give_units(const SbrBody &body, char *mass, char *length, char *time, char *force) noexcept {
  const UnitState &units = body.units;
  give_label(units.mass_units, "KILOGRAM", mass);
  give_label(units.length_units, "METER", length);
  give_label(units.time_units, "SECOND", time);
  give_label(units.force_units, "NEWTON", force);
}

double consistency_factor(const SbrBody &body) noexcept {
  const UnitState &units = body.units;
  const double f = units_divider(units.force_units, force_table);
  const double t = units_divider(units.time_units, time_table);
  const double l = units_divider(units.length_units, length_table);
  const double m = units_divider(units.mass_units, mass_table);
  return f * t * t / (l * m);
}

}  // namespace sbr

using namespace sbr;

extern "C" {

double SBR_UnitsDivider(const char *label, const unit_entry *table) { return units_divider(label, table); }

const char *SBR_UnitsLabel(double multiplier, const unit_entry *table) { return units_label(multiplier, table); }

void SBR_Units(SBR body, char *mass, char *length, char *time, char *force) {
  if (body != nullptr) return give_units(*body, mass, length, time, force);
  for (char *out : {mass, length, time, force})
    if (out != nullptr) *out = '\0';
}

double SBR_UCF(SBR body) { return body == nullptr ? 0.0 : consistency_factor(*body); }

double SBR_Mass2Kilogram(SBR body, double value) {
  return body == nullptr ? 0.0 : value * units_divider(body->units.mass_units, mass_table);
}

double SBR_Length2Meter(SBR body, double value) {
  return body == nullptr ? 0.0 : value * units_divider(body->units.length_units, length_table);
}

double SBR_Time2Second(SBR body, double value) {
  return body == nullptr ? 0.0 : value * units_divider(body->units.time_units, time_table);
}

double SBR_Force2Newton(SBR body, double value) {
  return body == nullptr ? 0.0 : value * units_divider(body->units.force_units, force_table);
}

double *SBR_Convert_Units(double *values, int n, double factor) {
  if (values != nullptr) convert_units(values, n, factor);
  return values;
}

}  // extern "C"
