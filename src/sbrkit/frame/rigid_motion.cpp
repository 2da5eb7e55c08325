// Rigid transformations: a body translated, turned or mirrored with all that depends on its frame.
#include "frame/rigid_motion.h"

#include <cmath>
#include <cstdlib>

#include "base/mat3.h"
#include "base/reports.h"
#include "body/node_table.h"
#include "body/registry.h"
#include "modes/access.h"
#include "modes/store.h"

namespace sbr {
namespace {

constexpr int kOffDiagonal[6] = {1, 2, 3, 5, 6, 7};

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

// The three rows of a component-major vector at mode j.
void take_mode(const double *rows, int modes, int j, double *v3) noexcept {
  for (int c = 0; c < 3; ++c) v3[c] = rows[static_cast<std::ptrdiff_t>(c) * modes + j];
}

void transform_invar2(SBR body, const double *R9) noexcept {
  double *v = SBR_Invar2(body);
  if (v == nullptr) return;
  turn_vector(v, R9, 1);
  SBR_SetInvar2(body, v);
  std::free(v);
}

void transform_invar3(SBR body, const double *R9, int modes) noexcept {
  double *rows = SBR_Invar3(body);
  if (rows == nullptr) return;
  for (int j = 0; j < modes; ++j) {
    double v[3];
    take_mode(rows, modes, j, v);
    turn_vector(v, R9, 1);
    SBR_SetInvar3(body, mode_number(*body, j), v);
  }
  std::free(rows);
}

void transform_invar4(SBR body, const double *R9, int sign, int modes) noexcept {
  double *rows = SBR_Invar4(body);
  if (rows == nullptr) return;
  for (int j = 0; j < modes; ++j) {
    double v[3];
    take_mode(rows, modes, j, v);
    turn_vector(v, R9, sign);
    SBR_SetInvar4(body, mode_number(*body, j), v);
  }
  std::free(rows);
}

// All rows are taken before the first is stored: storing a pair writes its mirror too, and each pair turns once.
void transform_invar5(SBR body, const double *R9, int sign, int modes) noexcept {
  const auto row = 3 * static_cast<std::size_t>(modes);
  Array<double> all;
  if (modes < 1) return;
  if (!all.allocate(static_cast<std::int64_t>(row) * modes)) {
    report_no_memory(unit_name::kMotion);
    return;
  }
  for (int j = 0; j < modes; ++j) {
    double *rows = SBR_Invar5(body, j);
    if (rows == nullptr) return;
    std::copy(rows, rows + row, all.begin() + static_cast<std::size_t>(j) * row);
    std::free(rows);
  }
  for (int j = 0; j < modes; ++j)
    for (int k = 0; k < modes; ++k) {
      double v[3];
      take_mode(all.begin() + static_cast<std::size_t>(j) * row, modes, k, v);
      turn_vector(v, R9, sign);
      SBR_SetInvar5(body, mode_number(*body, j), mode_number(*body, k), v);
    }
}

void transform_cells(Array<double> &cells, const double *R9) noexcept {
  for (std::size_t i = 0; i + 9 <= cells.size(); i += 9) turn_tensor(cells.begin() + i, R9, 1);
}

// Invariant 4 afresh from the nodes and modes as they stand now. False after a report.
bool recompute_invar4(SBR body, int modes) noexcept {
  double *former = SBR_Invar4(body);
  const bool filled = former != nullptr;
  std::free(former);
  if (!has_block(*body, kNodalMasses)) {
    report_error("Can not Compute Invar4 because Nodal Mass information is not presented.");
    return false;
  }
  if (!filled) return false;
  const int nodes = kind_count(*body, Kind::shape);
  Array<double> part;
  if (!part.allocate(3 * static_cast<std::int64_t>(nodes))) return report_no_memory(unit_name::kMotion) != 0;
  Array<double> &cell = body->invariants.invar4;
  for (int j = 0; j < modes; ++j) {
    double v[3] = {0.0, 0.0, 0.0};
    if (!mode_part(*body, j, Kind::shape, 0, part.data())) return false;
    for (int i = 0; i < nodes; ++i) {
      const double mass = nodal_mass(*body, i);
      double at[3];
      node_coordinates(*body, i, at);
      incr_scalar_tilde_vec(v, mass, at, part.data() + 3 * static_cast<std::ptrdiff_t>(i));
    }
    if (!mode_part(*body, j, Kind::shape, 1, part.data())) return false;
    for (int i = 0; i < nodes; ++i) {
      double I[9];
      if (!nodal_inertia(*body, i, I)) continue;
      const double *t = part.data() + 3 * static_cast<std::ptrdiff_t>(i);
      v[0] += I[0] * t[0] + I[3] * t[1] + I[6] * t[2];
      v[1] += I[1] * t[0] + I[4] * t[1] + I[7] * t[2];
      v[2] += I[2] * t[0] + I[5] * t[1] + I[8] * t[2];
    }
    for (int c = 0; c < 3; ++c) {
      const auto at = static_cast<std::size_t>(c) * static_cast<std::size_t>(modes) + static_cast<std::size_t>(j);
      if (at < cell.size()) cell[at] = v[c];
    }
  }
  return true;
}

// Everything that depends on the frame goes through R. Failures of the mode data are reported there and stop nothing.
int transform_body(SBR body, const double *R9) noexcept {
  const int sign = transformation_sign(R9);
  const int modes = mode_count(*body);
  transform_nodes(*body, R9);
  if (has_block(*body, kNodalInertias)) transform_inertias(*body, R9);
  turn_vector(body->global.center, R9, 1);
  if (body->global.mass != 0.0) turn_tensor(body->global.inertia, R9, 1);
  transform_mode(*body, R9, Kind::shape);
  if (has_block(*body, kModalStress)) transform_mode(*body, R9, Kind::stress);
  if (has_block(*body, kInvariant2)) transform_invar2(body, R9);
  if (has_block(*body, kInvariant3)) transform_invar3(body, R9, modes);
  if (has_block(*body, kInvariant4)) {
    if (has_block(*body, kNodalMasses))
      recompute_invar4(body, modes);
    else
      transform_invar4(body, R9, sign, modes);
  }
  if (has_block(*body, kInvariant5)) transform_invar5(body, R9, sign, modes);
  if (has_block(*body, kInvariant7)) {
    std::free(SBR_Invar7(body));
    transform_cells(body->invariants.invar7, R9);
  }
  if (has_block(*body, kInvariant8)) {
    std::free(SBR_Invar8(body, 0));
    transform_cells(body->invariants.invar8, R9);
  }
  if (has_block(*body, kInvariant9)) {
    std::free(SBR_Invar9(body, 0, 0));
    transform_cells(body->invariants.invar9, R9);
  }
  if (has_block(*body, kModalStrain)) transform_mode(*body, R9, Kind::strain);
  return 1;
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

bool translate_invar2(SBR body) noexcept {
  std::free(SBR_Invar2(body));
  Array<double> &cell = body->invariants.invar2;
  if (cell.size() < 3) return true;
  const double mass = body->global.mass;
  if (mass != 0.0) {
    for (std::size_t c = 0; c < 3; ++c) cell[c] = mass * body->global.center[c];
    return true;
  }
  if (!has_block(*body, kNodalMasses)) {
    report_error("Can not Compute Invar2.\n");
    return false;
  }
  cell.fill_zero();
  for (const NodeRecord &node : body->nodes.nodes) {
    cell[0] += node.mass * node.x;
    cell[1] += node.mass * node.y;
    cell[2] += node.mass * node.z;
  }
  return true;
}

bool translate_invar4(SBR body, const double *d3, int modes) noexcept {
  if (has_block(*body, kNodalMasses)) {
    recompute_invar4(body, modes);
    return true;
  }
  if (!has_block(*body, kInvariant3)) {
    report_error("Can not compute Invar4. \nInvar3 or Nodal Mass inforamtion is needed to compute Invar4.");
    return false;
  }
  double *third = SBR_Invar3(body);
  double *fourth = SBR_Invar4(body);
  for (int j = 0; third != nullptr && fourth != nullptr && j < modes; ++j) {
    double v3[3];
    double v4[3];
    take_mode(third, modes, j, v3);
    take_mode(fourth, modes, j, v4);
    incr_scalar_tilde_vec(v4, 1.0, d3, v3);
    SBR_SetInvar4(body, mode_number(*body, j), v4);
  }
  std::free(third);
  std::free(fourth);
  return true;
}

bool translate_invar7(SBR body) noexcept {
  std::free(SBR_Invar7(body));
  Array<double> &cell = body->invariants.invar7;
  if (cell.size() < 9) return true;
  if (body->global.mass != 0.0) {
    for (std::size_t i = 0; i < 9; ++i) cell[i] = body->global.inertia[i];
    for (const int i : kOffDiagonal) cell[i] = -cell[i];
    return true;
  }
  if (!has_block(*body, kNodalMasses)) {
    report_error("Can not Compute Invar7.\n");
    return false;
  }
  cell.fill_zero();
  for (int i = 0; i < node_count(*body); ++i) {
    double mass = 0.0;
    double at[3];
    double I[9];
    mass = nodal_mass(*body, i);
    node_coordinates(*body, i, at);
    incr_scalar_tilde_tilde(cell.data(), -mass, at, at);
    if (nodal_inertia(*body, i, I))
      for (std::size_t k = 0; k < 9; ++k) cell[k] += I[k];
  }
  return true;
}

bool translate_invar8(SBR body, const double *d3, int modes) noexcept {
  if (!has_block(*body, kInvariant3)) {
    report_error("Can not compute Invar8. \nInvar3 is needed to compute Invar8.");
    return false;
  }
  std::free(SBR_Invar8(body, 0));
  double *third = SBR_Invar3(body);
  Array<double> &cell = body->invariants.invar8;
  for (int j = 0; third != nullptr && j < modes; ++j) {
    const auto at = 9 * static_cast<std::size_t>(j);
    if (at + 9 > cell.size()) break;
    double v[3];
    take_mode(third, modes, j, v);
    incr_scalar_tilde_tilde(cell.begin() + at, 1.0, d3, v);
  }
  std::free(third);
  return true;
}

}  // namespace
}  // namespace sbr

extern "C" {

int SBR_Translate(SBR body, const double *direction3, double distance) {
  if (!sbr::require_body(body) || !sbr::usable_direction(direction3, "direction of a translation")) return 0;
  const double length = sbr::length_of(direction3);
  double d[3];
  for (int c = 0; c < 3; ++c) d[c] = direction3[c] * distance / length;
  if (!sbr::finite_values(d, 3)) {
    sbr::report_error("The distance of a translation must be finite.");
    return 0;
  }
  const int modes = sbr::mode_count(*body);
  SBR_CalculateGlobalMassFromNodeMass(body);
  sbr::GlobalProperties &global = body->global;
  if (global.mass != 0.0) {
    sbr::add_parallel_axis(global.inertia, -1.0, global.mass, global.center);
    double moved[3] = {global.center[0] + d[0], global.center[1] + d[1], global.center[2] + d[2]};
    sbr::add_parallel_axis(global.inertia, 1.0, global.mass, moved);
  }
  sbr::move_vector(global.center, d);
  for (sbr::NodeRecord &node : body->nodes.nodes) {
    node.x += d[0];
    node.y += d[1];
    node.z += d[2];
  }
  body->search.drop();
  if (sbr::has_block(*body, sbr::kInvariant2) && !sbr::translate_invar2(body)) return 0;
  if (sbr::has_block(*body, sbr::kInvariant4) && !sbr::translate_invar4(body, d, modes)) return 0;
  if (sbr::has_block(*body, sbr::kInvariant7) && !sbr::translate_invar7(body)) return 0;
  if (sbr::has_block(*body, sbr::kInvariant8) && !sbr::translate_invar8(body, d, modes)) return 0;
  return 1;
}

int SBR_Rotate_Origin(SBR body, const double *axis3, double angle_degrees, double *R9) {
  if (!sbr::require_body(body) || !sbr::usable_direction(axis3, "axis of a rotation")) return 0;
  if (!std::isfinite(angle_degrees)) {
    sbr::report_error("The angle of a rotation must be finite.");
    return 0;
  }
  const double t = angle_degrees / 180.0 * 3.141592653589793;
  const double middle[9] = {1.0, 0.0, 0.0, 0.0, std::cos(t), -std::sin(t), 0.0, std::sin(t), std::cos(t)};
  double R[9];
  sbr::frame_about_axis(axis3, middle, R);
  if (R9 != nullptr) std::copy(R, R + 9, R9);
  return sbr::transform_body(body, R);
}

int SBR_Rotate(SBR body, const double *axis3, const double *point3, double angle_degrees) {
  if (!sbr::require_body(body) || point3 == nullptr || !sbr::finite_values(point3, 3)) return 0;
  double R[9];
  const int turned = SBR_Rotate_Origin(body, axis3, -angle_degrees, R);
  if (turned == 0) return 0;
  const double length = sbr::length_of(axis3);
  const double along = (axis3[0] * point3[0] + axis3[1] * point3[1] + axis3[2] * point3[2]) / length;
  double q[3];
  for (int c = 0; c < 3; ++c) q[c] = point3[c] - along * axis3[c] / length;
  double turned_q[3] = {q[0], q[1], q[2]};
  sbr::turn_vector(turned_q, R, 1);
  const double d[3] = {q[0] - turned_q[0], q[1] - turned_q[1], q[2] - turned_q[2]};
  const double squared = d[0] * d[0] + d[1] * d[1] + d[2] * d[2];
  return squared > 1e-14 ? SBR_Translate(body, d, std::sqrt(squared)) : 1;
}

int SBR_Mirror_Origin(SBR body, const double *normal3) {
  if (!sbr::require_body(body) || !sbr::usable_direction(normal3, "normal of a mirror plane")) return 0;
  const double middle[9] = {-1.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 1.0};
  double R[9];
  sbr::frame_about_axis(normal3, middle, R);
  return sbr::transform_body(body, R);
}

int SBR_Mirror(SBR body, const double *normal3, const double *point3) {
  if (!sbr::require_body(body) || point3 == nullptr || !sbr::finite_values(point3, 3)) return 0;
  if (SBR_Mirror_Origin(body, normal3) == 0) return 0;
  const double dot = normal3[0] * point3[0] + normal3[1] * point3[1] + normal3[2] * point3[2];
  const double t = 2.0 * dot / sbr::length_of(normal3);
  return std::fabs(t) > 1e-10 ? SBR_Translate(body, normal3, t) : 1;
}

}  // extern "C"
