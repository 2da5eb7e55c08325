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

}  // namespace sbr

#endif
