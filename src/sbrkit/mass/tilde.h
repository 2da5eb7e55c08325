// Sums of cross products. With ~a the matrix of a x, ~a ~b is b a^T - (a . b) E.
#ifndef SBRKIT_MASS_TILDE_H
#define SBRKIT_MASS_TILDE_H

namespace sbr {

// T += s ~a ~b.
inline void add_tilde_tilde(double *T9, double s, const double *a3, const double *b3) noexcept {
  const double a0 = a3[0], a1 = a3[1], a2 = a3[2];
  const double b0 = b3[0], b1 = b3[1], b2 = b3[2];
  T9[0] -= s * (a1 * b1 + a2 * b2);
  T9[1] += s * a1 * b0;
  T9[2] += s * a2 * b0;
  T9[3] += s * a0 * b1;
  T9[4] -= s * (a2 * b2 + a0 * b0);
  T9[5] += s * a2 * b1;
  T9[6] += s * a0 * b2;
  T9[7] += s * a1 * b2;
  T9[8] -= s * (a1 * b1 + a0 * b0);
}

// v += s a x b.
inline void add_cross(double *v3, double s, const double *a3, const double *b3) noexcept {
  const double a0 = a3[0], a1 = a3[1], a2 = a3[2];
  const double b0 = b3[0], b1 = b3[1], b2 = b3[2];
  v3[0] += s * (a1 * b2 - a2 * b1);
  v3[1] += s * (a2 * b0 - a0 * b2);
  v3[2] += s * (a0 * b1 - a1 * b0);
}

}  // namespace sbr

#endif
