// Rigid transformations: a body translated, turned or mirrored with all that depends on its frame.
#include "frame/rigid_motion.h"

#include <cmath>

#include "base/mat3.h"
#include "base/reports.h"
#include "body/node_table.h"
#include "body/registry.h"
#include "frame/move_invariants.h"
#include "frame/turn_modes.h"
#include "mass/entry.h"

namespace sbr {
namespace {

// The axis frame R = M1 M2 M3 M4 M5 that applies M3 about (or across) an axis. The axis has a length.
void frame_about_axis(const double *axis3, const double *middle9, double *R9) noexcept {
  const double h = std::sqrt(axis3[0] * axis3[0] + axis3[1] * axis3[1]);
  const double c1 = h == 0.0 ? 1.0 : axis3[0] / h;
  const double s1 = h == 0.0 ? 0.0 : axis3[1] / h;
  const double g = axis3[0] * c1 + axis3[1] * s1;
  const double l = std::sqrt(axis3[2] * axis3[2] + g * g);
  const double c2 = g / l;
  const double s2 = axis3[2] / l;
  const double M1[9] = {c1, -s1, 0.0, s1, c1, 0.0, 0.0, 0.0, 1.0};
  const double M2[9] = {c2, 0.0, -s2, 0.0, 1.0, 0.0, s2, 0.0, c2};
  const double M4[9] = {c2, 0.0, s2, 0.0, 1.0, 0.0, -s2, 0.0, c2};
  const double M5[9] = {c1, s1, 0.0, -s1, c1, 0.0, 0.0, 0.0, 1.0};
  multiply(M1, M2, R9);
  multiply(R9, middle9, R9);
  multiply(R9, M4, R9);
  multiply(R9, M5, R9);
}

double length_of(const double *v3) noexcept { return std::sqrt(v3[0] * v3[0] + v3[1] * v3[1] + v3[2] * v3[2]); }

// A direction that can be normalized. Without one nothing is touched: a frame of NaN would destroy the body.
bool usable_direction(const double *v3, const char *what) noexcept {
  if (v3 != nullptr) {
    const double length = length_of(v3);
    if (std::isfinite(length) && length > 0.0) return true;
  }
  report_error("The %s must be a finite vector other than zero.", what);
  return false;
}

bool finite_values(const double *values, int count) noexcept {
  for (int i = 0; i < count; ++i)
    if (!std::isfinite(values[i])) return false;
  return true;
}

void transform_nodes(SbrBody &body, const double *R9) noexcept {
  for (NodeRecord &node : body.nodes.nodes) {
    double at[3] = {node.x, node.y, node.z};
    turn_vector(at, R9, 1);
    node.x = at[0];
    node.y = at[1];
    node.z = at[2];
  }
  body.search.drop();
}

void transform_inertias(SbrBody &body, const double *R9) noexcept {
  for (int i = 0; i < node_count(body); ++i) {
    double *six = node_inertia(body, i);
    if (six == nullptr) continue;
    double T[9];
    nodal_inertia(body, i, T);
    turn_tensor(T, R9, 1);
    six[0] = T[0];
    six[1] = T[4];
    six[2] = T[8];
    six[3] = T[1];
    six[4] = T[2];
    six[5] = T[5];
  }
}

// Everything that depends on the frame goes through R. Failures of the mode data are reported there and stop nothing.
void transform_body(SbrBody &body, const double *R9) noexcept {
  transform_nodes(body, R9);
  if (has_block(body, kNodalInertias)) transform_inertias(body, R9);
  turn_vector(body.global.center, R9, 1);
  if (body.global.mass != 0.0) turn_tensor(body.global.inertia, R9, 1);
  turn_modes(body, Kind::shape, R9);
  if (has_block(body, kModalStress)) turn_modes(body, Kind::stress, R9);
  turn_invariants(body, R9, transformation_sign(R9));
  if (has_block(body, kModalStrain)) turn_modes(body, Kind::strain, R9);
}

// Adds sign times the parallel-axis terms of a mass at `at` to an inertia with positive products.
void add_parallel_axis(double *I9, double sign, double m, const double *at) noexcept {
  const double x = at[0];
  const double y = at[1];
  const double z = at[2];
  const double terms[9] = {m * (y * y + z * z), m * x * y, m * x * z, m * x * y,          m * (x * x + z * z),
                           m * y * z,           m * x * z, m * y * z, m * (x * x + y * y)};
  for (int i = 0; i < 9; ++i) I9[i] += sign * terms[i];
}

}  // namespace

bool translate_body(SbrBody &body, const double *direction3, double distance) noexcept {
  if (!usable_direction(direction3, "direction of a translation")) return false;
  const double length = length_of(direction3);
  double d[3];
  for (int c = 0; c < 3; ++c) d[c] = direction3[c] * distance / length;
  if (!finite_values(d, 3)) {
    report_error("The distance of a translation must be finite.");
    return false;
  }
  calculate_global_mass(body);
  GlobalProperties &global = body.global;
  if (global.mass != 0.0) {
    add_parallel_axis(global.inertia, -1.0, global.mass, global.center);
    const double moved[3] = {global.center[0] + d[0], global.center[1] + d[1], global.center[2] + d[2]};
    add_parallel_axis(global.inertia, 1.0, global.mass, moved);
  }
  move_vector(global.center, d);
  for (NodeRecord &node : body.nodes.nodes) {
    node.x += d[0];
    node.y += d[1];
    node.z += d[2];
  }
  body.search.drop();
  return translate_invariants(body, d);
}

bool turn_frame(SbrBody &body, const double *axis3, double angle_degrees, double *R9) noexcept {
  if (!usable_direction(axis3, "axis of a rotation")) return false;
  if (!std::isfinite(angle_degrees)) {
    report_error("The angle of a rotation must be finite.");
    return false;
  }
  const double t = angle_degrees / 180.0 * 3.141592653589793;
  const double middle[9] = {1.0, 0.0, 0.0, 0.0, std::cos(t), -std::sin(t), 0.0, std::sin(t), std::cos(t)};
  frame_about_axis(axis3, middle, R9);
  transform_body(body, R9);
  return true;
}

bool rotate_body(SbrBody &body, const double *axis3, const double *point3, double angle_degrees) noexcept {
  if (!finite_values(point3, 3)) return false;
  double R[9];
  if (!turn_frame(body, axis3, -angle_degrees, R)) return false;
  const double length = length_of(axis3);
  const double along = (axis3[0] * point3[0] + axis3[1] * point3[1] + axis3[2] * point3[2]) / length;
  double q[3];
  for (int c = 0; c < 3; ++c) q[c] = point3[c] - along * axis3[c] / length;
  double turned_q[3] = {q[0], q[1], q[2]};
  turn_vector(turned_q, R, 1);
  const double d[3] = {q[0] - turned_q[0], q[1] - turned_q[1], q[2] - turned_q[2]};
  const double squared = d[0] * d[0] + d[1] * d[1] + d[2] * d[2];
  return squared > 1e-14 ? translate_body(body, d, std::sqrt(squared)) : true;
}

bool mirror_at_origin(SbrBody &body, const double *normal3) noexcept {
  if (!usable_direction(normal3, "normal of a mirror plane")) return false;
  const double middle[9] = {-1.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 1.0};
  double R[9];
  frame_about_axis(normal3, middle, R);
  transform_body(body, R);
  return true;
}

bool mirror_body(SbrBody &body, const double *normal3, const double *point3) noexcept {
  if (!finite_values(point3, 3) || !mirror_at_origin(body, normal3)) return false;
  const double dot = normal3[0] * point3[0] + normal3[1] * point3[1] + normal3[2] * point3[2];
  const double t = 2.0 * dot / length_of(normal3);
  return std::fabs(t) > 1e-10 ? translate_body(body, normal3, t) : true;
}

}  // namespace sbr

extern "C" {

int SBR_Translate(SBR body, const double *direction3, double distance) {
  return sbr::require_body(body) && sbr::translate_body(*body, direction3, distance) ? 1 : 0;
}

int SBR_Rotate_Origin(SBR body, const double *axis3, double angle_degrees, double *R9) {
  double R[9];
  return sbr::require_body(body) && sbr::turn_frame(*body, axis3, angle_degrees, R9 != nullptr ? R9 : R) ? 1 : 0;
}

int SBR_Rotate(SBR body, const double *axis3, const double *point3, double angle_degrees) {
  if (!sbr::require_body(body) || point3 == nullptr) return 0;
  return sbr::rotate_body(*body, axis3, point3, angle_degrees) ? 1 : 0;
}

int SBR_Mirror_Origin(SBR body, const double *normal3) {
  return sbr::require_body(body) && sbr::mirror_at_origin(*body, normal3) ? 1 : 0;
}

int SBR_Mirror(SBR body, const double *normal3, const double *point3) {
  if (!sbr::require_body(body) || point3 == nullptr) return 0;
  return sbr::mirror_body(*body, normal3, point3) ? 1 : 0;
}

}  // extern "C"
