#include "base/mat3.h"

#include <cstddef>

#include "sbrkit/sbrkit.h"

namespace sbr {

void unpack_inertia(const double *six, double *matrix9) noexcept {
  for (int row = 0; row < 3; ++row)
    for (int column = 0; column < 3; ++column) matrix9[3 * row + column] = six[kPackedPlace[row][column]];
}

void multiply(const double *a9, const double *b9, double *c9) noexcept {
  double product[9];
  for (std::size_t i = 0; i < 3; ++i)
    for (std::size_t j = 0; j < 3; ++j)
      product[3 * i + j] = a9[3 * i] * b9[j] + a9[3 * i + 1] * b9[3 + j] + a9[3 * i + 2] * b9[6 + j];
  for (int i = 0; i < 9; ++i) c9[i] = product[i];
}

void turn_tensor(double *T9, const double *R9, int sign) noexcept {
  const double transposed[9] = {R9[0], R9[3], R9[6], R9[1], R9[4], R9[7], R9[2], R9[5], R9[8]};
  double product[9];
  multiply(transposed, T9, product);
  multiply(product, R9, T9);
  if (sign == -1)
    for (int i = 0; i < 9; ++i) T9[i] = -T9[i];
}

void turn_vector(double *v3, const double *R9, int sign) noexcept {
  const double x = v3[0];
  const double y = v3[1];
  const double z = v3[2];
  v3[0] = sign * (R9[0] * x + R9[3] * y + R9[6] * z);
  v3[1] = sign * (R9[1] * x + R9[4] * y + R9[7] * z);
  v3[2] = sign * (R9[2] * x + R9[5] * y + R9[8] * z);
}

void move_vector(double *a3, const double *b3) noexcept {
  for (int c = 0; c < 3; ++c) a3[c] += b3[c];
}

int transformation_sign(const double *R9) noexcept {
  const double d = R9[0] * (R9[4] * R9[8] - R9[5] * R9[7]) - R9[3] * (R9[1] * R9[8] - R9[2] * R9[6]) +
                   R9[6] * (R9[1] * R9[5] - R9[2] * R9[4]);
  return d < 0.0 ? -1 : 1;
}

}  // namespace sbr

extern "C" {

void Matrix_Multiply(const double *a9, const double *b9, double *c9) {
  if (a9 != nullptr && b9 != nullptr && c9 != nullptr) sbr::multiply(a9, b9, c9);
}

void Tensor_Transform(double *T9, const double *R9, int sign) {
  if (T9 != nullptr && R9 != nullptr) sbr::turn_tensor(T9, R9, sign);
}

void Vector_Transform(double *v3, const double *R9, int sign) {
  if (v3 != nullptr && R9 != nullptr) sbr::turn_vector(v3, R9, sign);
}

void Move_Vector(double *a3, const double *b3) {
  if (a3 != nullptr && b3 != nullptr) sbr::move_vector(a3, b3);
}

}  // extern "C"
