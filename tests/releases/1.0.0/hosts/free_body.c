/* Opens a record, assembles the mass matrix of the flexible body for its modal state from the nine inertia invariants,
   and steps the free body in time. With q the elastic modal coordinates and v, w the velocities of the frame:
     S = I2 + I3 q, J = I7 - (I8 + I8^T) q - q I9 q, B = I4 + q I5, M = [I1 E, -~S, I3; ., J, B; ., ., I6].
   Usage: free_body BODY.sbr [steps [time step]]; the exit code is 1 unless energy and momentum are conserved to a
   millionth. */
#include <math.h>
#include <stdio.h>
#include <stdlib.h>

#include "sbrkit/sbrkit.h"

enum { MODES = 64, SIZE = MODES + 6 };
static int m, r, e, n; /* modes; rigid ones, which come first; elastic ones; velocities */
static double i1, ucf, *i2, *i3, *i4, *i5[MODES], *i6, *i7, *i8[MODES], *i9[MODES][MODES], stiffness[MODES];
static double s[3], j[9], b[MODES][3], h[MODES][9]; /* of the present state; h = I8 + q I9 */
static double rows[SIZE][SIZE], f[SIZE];

static int print(const char *text) { return fprintf(stderr, "%s\n", text) < 0; }

static double dot(const double *x, const double *y) { return x[0] * y[0] + x[1] * y[1] + x[2] * y[2]; }

/* Fills `rows` with the mass matrix of the state q, and `f` with the forces that it leaves for velocities u. */
static void assemble(const double *q, const double *u) {
  const double *v = u, *w = u + 3, *rate = u + 6;
  double wv[3] = {0}, p[3] = {0}, jw[3], hw[3], t[3] = {0};
  for (int c = 0; c < 3; ++c) s[c] = i2[c];
  for (int c = 0; c < 9; ++c) j[c] = i7[c];
  for (int k = 0; k < e; ++k) {
    for (int c = 0; c < 9; ++c) {
      h[k][c] = i8[r + k][c];
      for (int l = 0; l < e; ++l) h[k][c] += q[l] * i9[r + l][r + k][c];
    }
    for (int c = 0; c < 3; ++c) {
      s[c] += q[k] * i3[c * m + r + k];
      p[c] += rate[k] * i3[c * m + r + k];
      b[k][c] = i4[c * m + r + k];
      for (int l = 0; l < e; ++l) b[k][c] += q[l] * i5[r + l][c * m + r + k];
      for (int d = 0; d < 3; ++d) j[3 * c + d] -= q[k] * (i8[r + k][3 * d + c] + h[k][3 * c + d]);
    }
  }
  const double tilde[9] = {0, -s[2], s[1], s[2], 0, -s[0], -s[1], s[0], 0};
  incr_scalar_tilde_vec(wv, 1.0, w, v);
  for (int c = 0; c < 3; ++c) jw[c] = dot(j + 3 * c, w), t[c] = i1 * v[c] + 2.0 * p[c], f[c] = f[3 + c] = 0.0;
  incr_scalar_tilde_vec(t, 1.0, w, s); /* forces: - w x (I1 v + w x S + 2 I3 q') */
  incr_scalar_tilde_vec(f, -1.0, w, t);
  incr_scalar_tilde_vec(f + 3, -1.0, s, wv);
  incr_scalar_tilde_vec(f + 3, -1.0, w, jw);
  for (int k = 0; k < e; ++k) {
    for (int c = 0; c < 3; ++c) hw[c] = dot(h[k] + 3 * c, w), f[3 + c] += 2.0 * rate[k] * hw[c];
    f[6 + k] = -dot(w, hw) - ucf * stiffness[k] * q[k];
    for (int c = 0; c < 3; ++c) {
      f[6 + k] -= i3[c * m + r + k] * wv[c];
      for (int l = 0; l < e; ++l) f[6 + k] -= 2.0 * rate[l] * w[c] * i5[r + l][c * m + r + k];
      rows[c][6 + k] = rows[6 + k][c] = i3[c * m + r + k];
      rows[3 + c][6 + k] = rows[6 + k][3 + c] = b[k][c];
    }
    for (int l = 0; l < e; ++l) rows[6 + k][6 + l] = i6[(r + k) * m + r + l];
  }
  for (int c = 0; c < 9; ++c) {
    rows[c / 3][c % 3] = c % 4 == 0 ? i1 : 0.0;
    rows[3 + c / 3][3 + c % 3] = j[c];
    rows[c / 3][3 + c % 3] = rows[3 + c % 3][c / 3] = -tilde[c];
  }
}

/* The energy, and the size of the momentum: no force acts, so that both stay. */
static double energy(const double *y, double *momentum) {
  double sum = 0.0, p[3] = {0};
  assemble(y + n, y);
  for (int a = 0; a < n; ++a)
    for (int c = 0; c < n; ++c) sum += 0.5 * y[a] * rows[a][c] * y[c];
  for (int k = 0; k < e; ++k) sum += 0.5 * ucf * stiffness[k] * y[n + k] * y[n + k];
  for (int a = 0; a < 3 * n; ++a) p[a / n] += rows[a / n][a % n] * y[a % n];
  *momentum = sqrt(dot(p, p));
  return sum;
}

/* The state is velocities and modal coordinates; its rate is accelerations and modal velocities. */
static void rate_of(const double *y, double *rate) {
  double *row[SIZE];
  int permutation[SIZE];
  assemble(y + n, y);
  for (int a = 0; a < n; ++a) row[a] = rows[a];
  SBR_LUPDecomposition(row, n, permutation);
  SBR_LUPSolve(row, n, permutation, f);
  for (int a = 0; a < n; ++a) rate[a] = f[a];
  for (int k = 0; k < e; ++k) rate[n + k] = y[6 + k];
}

static void step(double *y, double dt) { /* Runge and Kutta, fourth order */
  static const double weight[4] = {1, 2, 2, 1}, reach[4] = {0, 0.5, 0.5, 1};
  double at[SIZE + MODES], rate[SIZE + MODES] = {0}, sum[SIZE + MODES] = {0};
  for (int stage = 0; stage < 4; ++stage) {
    for (int a = 0; a < n + e; ++a) at[a] = y[a] + reach[stage] * dt * rate[a];
    rate_of(at, rate);
    for (int a = 0; a < n + e; ++a) sum[a] += weight[stage] * rate[a];
  }
  for (int a = 0; a < n + e; ++a) y[a] += dt / 6.0 * sum[a];
}

int main(int argc, char **argv) {
  const message_handlers handlers = {print, print, NULL};
  SetMessageHandlers(&handlers);
  SBR body = argc > 1 ? SBR_CreateFromSBR(argv[1]) : NULL;
  if (body == NULL || (m = SBR_ModeCount(body)) < 1 || m > MODES) return 2;
  r = SBR_RigidBodyModeCount(body), e = m - r, n = 6 + e, ucf = SBR_UCF(body);
  i1 = SBR_Invar1(body), i2 = SBR_Invar2(body), i3 = SBR_Invar3(body), i4 = SBR_Invar4(body);
  i6 = SBR_Invar6(body), i7 = SBR_Invar7(body);
  double highest = 1.0, hz = 0.0;
  for (int k = 0; k < m; ++k) {
    i5[k] = SBR_Invar5(body, k), i8[k] = SBR_Invar8(body, k);
    for (int l = 0; l < m; ++l) i9[k][l] = SBR_Invar9(body, k, l);
    SBR_Eigenvalue(body, SBR_ModeNumber(body, k), NULL, &hz, NULL, NULL, k < r ? NULL : &stiffness[k - r]);
    if (hz > highest) highest = hz;
  }
  const int steps = argc > 2 ? atoi(argv[2]) : 500;
  const double dt = argc > 3 ? atof(argv[3]) : 0.02 / highest;
  double y[SIZE + MODES] = {0};
  y[0] = 100.0, y[3] = 10.0, y[4] = 5.0, y[5] = 20.0; /* it flies, tumbles, and rings in its first elastic mode */
  if (e > 0) y[n] = 0.01;
  double push, push_after;
  const double before = energy(y, &push);
  for (int k = 0; k < steps; ++k) step(y, dt);
  const double after = energy(y, &push_after);
  printf("%d modes, %d rigid; mass %g\nafter %d steps of %g: spin %g %g %g, first elastic coordinate %g\n", m, r, i1,
         steps, dt, y[3], y[4], y[5], e > 0 ? y[n] : 0.0);
  printf("energy %.12g, then %.12g: drift %.2e\n", before, after, after / before - 1.0);
  printf("momentum %.12g, then %.12g: drift %.2e\n", push, push_after, push_after / push - 1.0);
  SBR_Terminate();
  return fabs(after / before - 1.0) < 1e-6 && fabs(push_after / push - 1.0) < 1e-6 ? 0 : 1;
}
