// Units. The unit owns SbrBody::units: the labels of a body's unit system, the ratios of its last change and the
// product of all changes. It also owns the four fixed tables of unit names.
#ifndef SBRKIT_BODY_UNITS_H
#define SBRKIT_BODY_UNITS_H

#include "body/body.h"

namespace sbr {

// The tables of unit names with their multipliers on SI, each ended by a null name. Lookups by value take the first
// match, so the order is part of the tables.
extern const unit_entry mass_table[];
extern const unit_entry length_table[];
extern const unit_entry time_table[];
extern const unit_entry force_table[];

// One factor of SBR_Convert_Units with its decimal exponent split off, to be applied to any number of values.
class DecimalFactor {
 public:
  explicit DecimalFactor(double factor) noexcept;
  [[nodiscard]] double apply(double value) const noexcept;
  void apply(std::span<double> values) const noexcept {
    for (double &value : values) value = apply(value);
  }

 private:
  double factor_;
  double mantissa_;
  int exponent_ = 0;
  bool finite_;
};

// Brings values to other units by one factor, as DecimalFactor does.
void convert_units(double *values, std::int64_t count, double factor) noexcept;

// The multiplier of a unit name: 1 for an empty one, 0 for one that the table does not have.
[[nodiscard]] double units_divider(const char *label, const unit_entry *table) noexcept;
// The first name of a table whose multiplier is the given one; null when there is none.
[[nodiscard]] const char *units_label(double multiplier, const unit_entry *table) noexcept;
// The labels of the body's units, each 16 characters with its end; any place may be null. Without labels the body is in
// kilogram, meter, second and newton.
void give_units(const SbrBody &body, char *mass, char *length, char *time, char *force) noexcept;
// Force times time squared over length times mass, in SI: 1 in a consistent system of units. It stands between
// stiffness over mass and the square of a frequency.
[[nodiscard]] double consistency_factor(const SbrBody &body) noexcept;

}  // namespace sbr

#endif
