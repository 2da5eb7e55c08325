// Generalized matrices and eigenvalues. The unit owns SbrBody::matrices: the eigenvalue table and the sparse lists of
// generalized stiffness, mass and damping.
//
// A list is symmetric by convention: one entry stands for (row, column) and (column, row). Entries are not merged; in
// the full forms the last one written wins.
#ifndef SBRKIT_BODY_MATRICES_H
#define SBRKIT_BODY_MATRICES_H

#include "body/body.h"

namespace sbr {

constexpr double kTwoPi = 6.28318530718;  // with these digits everywhere, for figures that agree with stored ones

// The record of the eigenvalue table for a mode index; null when there is no table or it doesn't reach that far.
[[nodiscard]] const EigenRecord *eigen_record(const SbrBody &body, int index) noexcept;
// The mass that stands for a mode without one, so that its frequency is huge but finite.
[[nodiscard]] double substitute_mass(double stiffness) noexcept;

}  // namespace sbr

#endif
