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
// What SBR_Eigenvalue gives of the mode at an index; any place may be null. False when there is no such mode and when
// the values would have to come from lists that are not diagonal.
bool eigen_values(SbrBody &body, int index, double *eigenvalue, double *hz, double *rad, double *mass,
                  double *stiffness) noexcept;
// How many entries the sparse forms have. Without a list the diagonal over all modes stands for stiffness and mass.
[[nodiscard]] int stiffness_count(const SbrBody &body) noexcept;
[[nodiscard]] int mass_count(const SbrBody &body) noexcept;
[[nodiscard]] int damping_count(const SbrBody &body) noexcept;
// The sparse forms, with mode indices; any of the arrays may be null. There is no damping without a list.
void sparse_stiffness(const SbrBody &body, double *values, int *rows, int *columns) noexcept;
void sparse_mass(const SbrBody &body, double *values, int *rows, int *columns) noexcept;
bool sparse_damping(const SbrBody &body, double *values, int *rows, int *columns) noexcept;
// The full forms, n x n. The matrix is made zero first; false when there is no entry to write.
bool full_stiffness(const SbrBody &body, double *matrix, int n) noexcept;
bool full_mass(const SbrBody &body, double *matrix, int n) noexcept;
bool full_damping(const SbrBody &body, double *matrix, int n) noexcept;
// The mass that stands for a mode without one, so that its frequency is huge but finite.
[[nodiscard]] double substitute_mass(double stiffness) noexcept;

}  // namespace sbr

#endif
