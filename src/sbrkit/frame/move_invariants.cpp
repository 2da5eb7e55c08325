#include "frame/move_invariants.h"

#include <algorithm>

#include "base/mat3.h"
#include "base/reports.h"
#include "body/node_table.h"
#include "mass/entry.h"
#include "mass/invariants.h"
#include "mass/node_sums.h"
#include "mass/tilde.h"
#include "modes/access.h"

namespace sbr {
namespace {

constexpr int kOffDiagonal[6] = {1, 2, 3, 5, 6, 7};

// ---- a mode's vector in a cell of 3 x M values ---------------------------------------------------------------------

Vec3 vector_of_mode(std::span<const double> rows, std::size_t modes, std::size_t j) noexcept {
  return {rows[j], rows[modes + j], rows[2 * modes + j]};
}

void set_vector_of_mode(std::span<double> rows, std::size_t modes, std::size_t j, const Vec3 &v) noexcept {
  for (std::size_t c = 0; c < 3; ++c) rows[c * modes + j] = v[c];
}

// How many modes a cell has a vector of.
std::size_t modes_of(const Array<double> &cell) noexcept { return static_cast<std::size_t>(modes_of_cell(cell, 3)); }

// ---- rotation ------------------------------------------------------------------------------------------------------

void turn_vectors(Array<double> &cell, const double *R9, int sign) noexcept {
  const std::size_t modes = modes_of(cell);
  for (std::size_t j = 0; j < modes; ++j) {
    Vec3 v = vector_of_mode(cell.span(), modes, j);
    turn_vector(v.data(), R9, sign);
    set_vector_of_mode(cell.span(), modes, j, v);
  }
}

// Every pair turns once: the later mode's row is taken, and entering it sets the mirror.
void turn_pairs(SbrBody &body, const double *R9, int sign) noexcept {
  const int modes = modes_of_pair_cell(body.invariants.invar5, 3);
  for (int k = 0; k < modes; ++k)
    for (int j = 0; j <= k; ++j) {
      Vec3 v = vector_of_mode(invar5_row(body, k), static_cast<std::size_t>(modes), static_cast<std::size_t>(j));
      turn_vector(v.data(), R9, sign);
      enter_invar5(body, k, j, v.data());
    }
}

void turn_tensors(Array<double> &cells, const double *R9) noexcept {
  for (std::size_t i = 0; i + 9 <= cells.size(); i += 9) turn_tensor(cells.data() + i, R9, 1);
}

// Invariant 4 afresh from the nodes and modes as they stand now. False after a report.
bool recompute_invar4(SbrBody &body) noexcept {
  const bool filled = mode_count(body) > 0 && fill_invar4(body);
  if (!has_block(body, kNodalMasses)) {
    report_error("Can not Compute Invar4 because Nodal Mass information is not presented.");
    return false;
  }
  if (!filled) return false;
  Array<double> part;
  if (!allocate_mode_buffer(body, part)) return report_no_memory(unit_name::kMotion);
  Array<double> &cell = body.invariants.invar4;
  const std::size_t modes = modes_of(cell);
  for (int j = 0; j < mode_count(body); ++j) {
    Vec3 v{};
    if (!mode_part(body, j, Kind::shape, 0, part.data())) return false;
    add_orbital_terms(body, part.data(), v.data());
    if (!mode_part(body, j, Kind::shape, 1, part.data())) return false;
    add_inertia_terms(body, part.data(), v.data());
    if (static_cast<std::size_t>(j) < modes) set_vector_of_mode(cell.span(), modes, static_cast<std::size_t>(j), v);
  }
  return true;
}

void turn_invar4(SbrBody &body, const double *R9, int sign) noexcept {
  if (has_block(body, kNodalMasses)) {
    (void)recompute_invar4(body);
    return;
  }
  if (mode_count(body) > 0 && fill_invar4(body)) turn_vectors(body.invariants.invar4, R9, sign);
}

// ---- translation ---------------------------------------------------------------------------------------------------

bool translate_invar2(SbrBody &body) noexcept {
  if (!fill_invar2(body)) return true;
  Array<double> &cell = body.invariants.invar2;
  const double mass = body.global.mass;
  if (mass != 0.0) {
    for (std::size_t c = 0; c < 3; ++c) cell[c] = mass * body.global.center[c];
    return true;
  }
  if (!has_block(body, kNodalMasses)) {
    report_error("Can not Compute Invar2.\n");
    return false;
  }
  cell.fill_zero();
  for (const NodeRecord &node : body.nodes.nodes) {
    cell[0] += node.mass * node.x;
    cell[1] += node.mass * node.y;
    cell[2] += node.mass * node.z;
  }
  return true;
}

bool translate_invar4(SbrBody &body, const double *d3) noexcept {
  if (has_block(body, kNodalMasses)) {
    (void)recompute_invar4(body);
    return true;
  }
  if (!has_block(body, kInvariant3)) {
    report_error("Can not compute Invar4. \nInvar3 or Nodal Mass inforamtion is needed to compute Invar4.");
    return false;
  }
  if (mode_count(body) < 1) return true;
  const bool has_third = fill_invar3(body);
  if (!fill_invar4(body) || !has_third) return true;
  const Array<double> &third = body.invariants.invar3;
  Array<double> &fourth = body.invariants.invar4;
  for (std::size_t j = 0; j < std::min(modes_of(third), modes_of(fourth)); ++j) {
    const Vec3 v3 = vector_of_mode(third.span(), modes_of(third), j);
    Vec3 v4 = vector_of_mode(fourth.span(), modes_of(fourth), j);
    add_cross(v4.data(), 1.0, d3, v3.data());
    set_vector_of_mode(fourth.span(), modes_of(fourth), j, v4);
  }
  return true;
}

bool translate_invar7(SbrBody &body) noexcept {
  if (!fill_invar7(body)) return true;
  Array<double> &cell = body.invariants.invar7;
  if (body.global.mass != 0.0) {
    for (std::size_t i = 0; i < 9; ++i) cell[i] = body.global.inertia[i];
    for (const int i : kOffDiagonal) cell[i] = -cell[i];
    return true;
  }
  if (!has_block(body, kNodalMasses)) {
    report_error("Can not Compute Invar7.\n");
    return false;
  }
  cell.fill_zero();
  for (int i = 0; i < node_count(body); ++i) {
    double at[3];
    double I[9];
    node_coordinates(body, i, at);
    add_tilde_tilde(cell.data(), -nodal_mass(body, i), at, at);
    if (nodal_inertia(body, i, I))
      for (std::size_t k = 0; k < 9; ++k) cell[k] += I[k];
  }
  return true;
}

bool translate_invar8(SbrBody &body, const double *d3) noexcept {
  if (!has_block(body, kInvariant3)) {
    report_error("Can not compute Invar8. \nInvar3 is needed to compute Invar8.");
    return false;
  }
  if (mode_count(body) < 1) return true;
  const bool has_eighth = fill_invar8(body);
  if (!fill_invar3(body) || !has_eighth) return true;
  const Array<double> &third = body.invariants.invar3;
  const std::size_t modes = modes_of(third);
  for (std::size_t j = 0; j < modes; ++j) {
    const std::span<double> nine = invar8_row(body, static_cast<int>(j));
    if (nine.empty()) break;
    const Vec3 v = vector_of_mode(third.span(), modes, j);
    add_tilde_tilde(nine.data(), 1.0, d3, v.data());
  }
  return true;
}

}  // namespace

void turn_invariants(SbrBody &body, const double *R9, int sign) noexcept {
  Invariants &cells = body.invariants;
  const bool has_modes = mode_count(body) > 0;
  if (has_block(body, kInvariant2) && fill_invar2(body)) turn_vector(cells.invar2.data(), R9, 1);
  if (has_block(body, kInvariant3) && has_modes && fill_invar3(body)) turn_vectors(cells.invar3, R9, 1);
  if (has_block(body, kInvariant4)) turn_invar4(body, R9, sign);
  if (has_block(body, kInvariant5) && has_modes && fill_invar5(body)) turn_pairs(body, R9, sign);
  if (has_block(body, kInvariant7) && fill_invar7(body)) turn_tensors(cells.invar7, R9);
  if (has_block(body, kInvariant8) && has_modes && fill_invar8(body)) turn_tensors(cells.invar8, R9);
  if (has_block(body, kInvariant9) && has_modes && fill_invar9(body)) turn_tensors(cells.invar9, R9);
}

bool translate_invariants(SbrBody &body, const double *d3) noexcept {
  if (has_block(body, kInvariant2) && !translate_invar2(body)) return false;
  if (has_block(body, kInvariant4) && !translate_invar4(body, d3)) return false;
  if (has_block(body, kInvariant7) && !translate_invar7(body)) return false;
  return !has_block(body, kInvariant8) || translate_invar8(body, d3);
}

}  // namespace sbr
