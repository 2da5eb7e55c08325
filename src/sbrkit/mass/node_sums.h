// The sums over the nodes behind invariants 1 to 4, 7 and 8.
#ifndef SBRKIT_MASS_NODE_SUMS_H
#define SBRKIT_MASS_NODE_SUMS_H

#include "body/body.h"

namespace sbr {

// Sums over the nodes, added to cells of zeros. The mode sums answer false when no working buffer could
// be had; a body without nodes has none.
void sum_invar1(const SbrBody &body, Array<double> &cell) noexcept;
void sum_invar2(const SbrBody &body, Array<double> &cell) noexcept;
[[nodiscard]] bool sum_invar3(SbrBody &body, Array<double> &cell) noexcept;
[[nodiscard]] bool sum_invar4(SbrBody &body, Array<double> &cell) noexcept;
void sum_invar7(const SbrBody &body, Array<double> &cell) noexcept;
[[nodiscard]] bool sum_invar8(SbrBody &body, Array<double> &cell) noexcept;
// What invariant 4 gains from the translations and from the rotations of a mode, three values per node: the sums of
// m r x phi and of I theta.
void add_orbital_terms(const SbrBody &body, const double *phi, double *sum3) noexcept;
void add_inertia_terms(const SbrBody &body, const double *theta, double *sum3) noexcept;
// A working buffer that takes one part of a mode of kind 0, three values per node, and what reading the modes takes
// besides: a mode that cannot be had after that is one that there is not.
[[nodiscard]] bool allocate_mode_buffer(SbrBody &body, Array<double> &buffer) noexcept;

}  // namespace sbr

#endif
