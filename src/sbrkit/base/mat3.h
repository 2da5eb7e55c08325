// Small vectors and matrices. A 3 x 3 matrix is nine doubles, row by row; a symmetric one may be packed as xx, yy, zz,
// xy, xz, yz. A vector moves under R as a row vector times R, a tensor as R^T T R.
#ifndef SBRKIT_BASE_MAT3_H
#define SBRKIT_BASE_MAT3_H

#include <array>

namespace sbr {

using Vec3 = std::array<double, 3>;
using Mat3 = std::array<double, 9>;
using SixVector = std::array<double, 6>;  // a packed symmetric matrix

// Where the entry (row, column), both counted from 0, lies in a packed matrix.
inline constexpr int kPackedPlace[3][3] = {{0, 3, 4}, {3, 1, 5}, {4, 5, 2}};
// The nine values of a packed matrix, row by row.
void unpack_inertia(const double *six, double *matrix9) noexcept;

// c = a b; c may be a or b.
void multiply(const double *a9, const double *b9, double *c9) noexcept;
// T becomes R^T T R, with the other sign when sign is -1.
void turn_tensor(double *T9, const double *R9, int sign) noexcept;
// v becomes sign times v R.
void turn_vector(double *v3, const double *R9, int sign) noexcept;
// a += b.
void move_vector(double *a3, const double *b3) noexcept;

// The sign that axial quantities take under R: -1 when the determinant formula below is negative, else 1. The formula's
// middle term has R[6] where the determinant has R[7]; it decides as it stands.
[[nodiscard]] int transformation_sign(const double *R9) noexcept;

}  // namespace sbr

#endif
