/* Builds a body without a finite-element program and writes its record: a free bar of 6 stations with 4 corner masses
   each, joined along x by springs. Its longitudinal modes are known: with c = k / m, station i and mode p,
     u = cos(p pi (i + 1/2) / 6), eigenvalue = 4 c sin^2(p pi / 12).
   Usage: body_by_hand BODY.sbr */
#include <math.h>
#include <stdio.h>
#include <stdlib.h>

#include "sbrkit/sbrkit.h"

enum { STATIONS = 6, CORNERS = 4, MODES = 9 };
static const double kMass = 0.25e-3, kPitch = 100.0, kHalf = 10.0, kSpring = 4.0e4; /* t, mm, N/mm */
static const double kPi = 3.14159265358979323846;

static int print(const char *text) { return fprintf(stderr, "%s\n", text) < 0; }

static void place(int station, int corner, double *xyz) {
  static const double y[CORNERS] = {-1, 1, 1, -1}, z[CORNERS] = {-1, -1, 1, 1};
  xyz[0] = kPitch * (station - 0.5 * (STATIONS - 1));
  xyz[1] = kHalf * y[corner];
  xyz[2] = kHalf * z[corner];
}

/* The shape of a mode at a node, before scaling: three translations, three rotations about the center, then the modes.
 */
static void shape(int mode, int station, const double *xyz, double *six) {
  for (int c = 0; c < 6; ++c) six[c] = 0.0;
  if (mode <= 3) {
    six[mode - 1] = 1.0;
  } else if (mode <= 6) {
    double axis[3] = {0, 0, 0};
    axis[mode - 4] = 1.0;
    incr_scalar_tilde_vec(six, 1.0, axis, xyz);
    six[mode - 1] = 1.0; /* each node turns as well */
  } else {
    six[0] = cos((mode - 6) * kPi * (station + 0.5) / STATIONS);
  }
}

int main(int argc, char **argv) {
  const message_handlers handlers = {print, print, NULL};
  char title[] = "A bar of point masses", file[] = "-", type[] = "by hand", empty[] = "";
  if (argc != 2) return 2;
  SetMessageHandlers(&handlers);
  SBR body = SBR_Create(STATIONS * CORNERS, MODES);
  int ok = SBR_SetUnits(body, "MEGAGRAM", "MILLIMETER", "SECOND", "NEWTON");
  ok &= SBR_SetHeader(body, title, file, type, empty, empty, empty);
  for (int i = 0; i < STATIONS; ++i)
    for (int c = 0; c < CORNERS; ++c) {
      const int id = CORNERS * i + c + 1, next = CORNERS * i + (c + 1) % CORNERS + 1;
      double xyz[3];
      place(i, c, xyz);
      ok &= SBR_SetNodeCoordinates(body, id, xyz[0], xyz[1], xyz[2]) & SBR_SetNodalMass(body, id, kMass);
      if (i > 0) ok &= SBR_SetFace(body, 4, id - CORNERS, next - CORNERS, next, id);
    }
  ok &= SBR_SetFace(body, 4, 1, 4, 3, 2) & SBR_SetFace(body, 4, 21, 22, 23, 24);
  ok &= SBR_SetInterfaceNode(body, 1) & SBR_SetInterfaceNode(body, 24);
  for (int mode = 1; mode <= MODES; ++mode) {
    double six[6], xyz[3], mass = 0.0;
    for (int pass = 0; pass < 2; ++pass) /* first the generalized mass, then the shape scaled to 1 */
      for (int n = 0; n < STATIONS * CORNERS; ++n) {
        place(n / CORNERS, n % CORNERS, xyz);
        shape(mode, n / CORNERS, xyz, six);
        if (pass == 0) mass += kMass * (six[0] * six[0] + six[1] * six[1] + six[2] * six[2]);
        for (int c = 0; c < 6; ++c) six[c] /= pass == 0 ? 1.0 : sqrt(mass);
        if (pass == 1) ok &= SBR_SetModeVec(body, mode, n + 1, 0, six);
      }
    const double wave = mode <= 6 ? 0.0 : sin((mode - 6) * kPi / (2.0 * STATIONS));
    ok &= SBR_SetGeneralizedMass(body, mode, mode, 1.0);
    ok &= SBR_SetGeneralizedStiffness(body, mode, mode, 4.0 * kSpring / (CORNERS * kMass) * wave * wave);
  }
  ok &= SBR_write_SBR(body, argv[1]);
  printf("%s: %d nodes, %d modes, %s\n", argv[1], STATIONS * CORNERS, MODES, ok ? "written" : "failed");
  SBR_Terminate();
  return ok ? 0 : 1;
}
