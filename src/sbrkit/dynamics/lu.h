// A small dense solver over rows of doubles: LU decomposition with partial pivoting, solution and inversion.
#ifndef SBRKIT_DYNAMICS_LU_H
#define SBRKIT_DYNAMICS_LU_H

namespace sbr {

// Decomposes the n rows in place; permutation has n places. False for a matrix that is singular before its last pivot,
// which is not tested, and for rows that are null.
[[nodiscard]] bool lup_decompose(double *const *rows, int n, int *permutation) noexcept;
// Solves with decomposed rows; b, n values, becomes the solution. False after a report when memory is short, and for
// arguments that are none.
[[nodiscard]] bool lup_solve(const double *const *rows, int n, const int *permutation, double *b) noexcept;
// Replaces decomposed rows by the inverse. False as above.
[[nodiscard]] bool lup_invert(double *const *rows, int n, const int *permutation) noexcept;

}  // namespace sbr

#endif
