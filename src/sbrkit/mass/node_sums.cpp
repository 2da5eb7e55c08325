// Sums over the nodes behind invariants 1 to 4, 7 and 8. Every sum takes its nodes in index order, one term after the
// other: that order decides the last bits.
#include "mass/node_sums.h"

#include <algorithm>

#include "base/mat3.h"
#include "body/node_table.h"
#include "mass/tilde.h"
#include "modes/access.h"

namespace sbr {
namespace {

// The nodal inertia as a full matrix; false for a node that has none.
bool inertia_matrix(const SbrBody &body, const NodeRecord &node, double *matrix) noexcept {
  if (node.inertia < 0 || static_cast<std::size_t>(node.inertia) >= body.nodes.inertias.size()) return false;
  unpack_inertia(body.nodes.inertias[node.inertia].data(), matrix);
  return true;
}

// One part of the mode at a mode index, three values per node; the buffer stays as it was when there is no such mode.
void fetch_part(SbrBody &body, int index, int part, Array<double> &buffer) noexcept {
  (void)mode_part(body, index, Kind::shape, part, buffer.data());
}

}  // namespace

void add_orbital_terms(const SbrBody &body, const double *phi, double *sum3) noexcept {
  for (const NodeRecord &node : body.nodes.nodes) {
    const double place[3] = {node.x, node.y, node.z};
    add_cross(sum3, node.mass, place, phi);
    phi += 3;
  }
}

void add_inertia_terms(const SbrBody &body, const double *theta, double *sum3) noexcept {
  double inertia[9];
  for (const NodeRecord &node : body.nodes.nodes) {
    if (inertia_matrix(body, node, inertia)) {
      sum3[0] += inertia[0] * theta[0] + inertia[3] * theta[1] + inertia[6] * theta[2];
      sum3[1] += inertia[1] * theta[0] + inertia[4] * theta[1] + inertia[7] * theta[2];
      sum3[2] += inertia[2] * theta[0] + inertia[5] * theta[1] + inertia[8] * theta[2];
    }
    theta += 3;
  }
}

bool allocate_mode_buffer(SbrBody &body, Array<double> &buffer) noexcept {
  // A mode delivers as many nodes as its own list has; the sums run over the node table.
  return buffer.allocate(3 * std::int64_t{std::max(node_count(body), body.nodes.kinds[Kind::shape].count)}) &&
         ready_for_modes(body, Kind::shape);
}

void sum_invar1(const SbrBody &body, Array<double> &cell) noexcept {
  double sum = 0.0;
  for (const NodeRecord &node : body.nodes.nodes) sum += node.mass;
  cell[0] = sum;
}

void sum_invar2(const SbrBody &body, Array<double> &cell) noexcept {
  for (const NodeRecord &node : body.nodes.nodes) {
    cell[0] += node.mass * node.x;
    cell[1] += node.mass * node.y;
    cell[2] += node.mass * node.z;
  }
}

bool sum_invar3(SbrBody &body, Array<double> &cell) noexcept {
  Array<double> phi;
  if (node_count(body) < 1 || !allocate_mode_buffer(body, phi)) return false;
  const std::size_t modes = cell.size() / 3;
  for (std::size_t j = 0; j < modes; ++j) {
    fetch_part(body, static_cast<int>(j), 0, phi);
    double sum[3] = {};
    const double *at = phi.data();
    for (const NodeRecord &node : body.nodes.nodes) {
      for (int c = 0; c < 3; ++c) sum[c] += node.mass * at[c];
      at += 3;
    }
    for (std::size_t c = 0; c < 3; ++c) cell[c * modes + j] = sum[c];
  }
  return true;
}

bool sum_invar4(SbrBody &body, Array<double> &cell) noexcept {
  Array<double> phi;
  if (node_count(body) < 1 || !allocate_mode_buffer(body, phi)) return false;
  const std::size_t modes = cell.size() / 3;
  for (std::size_t j = 0; j < modes; ++j) {
    double sum[3] = {};
    fetch_part(body, static_cast<int>(j), 0, phi);
    add_orbital_terms(body, phi.data(), sum);
    fetch_part(body, static_cast<int>(j), 1, phi);
    add_inertia_terms(body, phi.data(), sum);
    for (std::size_t c = 0; c < 3; ++c) cell[c * modes + j] = sum[c];
  }
  return true;
}

void sum_invar7(const SbrBody &body, Array<double> &cell) noexcept {
  double inertia[9];
  for (const NodeRecord &node : body.nodes.nodes) {
    const double m = node.mass;
    const double x = node.x;
    const double y = node.y;
    const double z = node.z;
    cell[0] += m * (y * y + z * z);
    cell[4] += m * (x * x + z * z);
    cell[8] += m * (x * x + y * y);
    for (const std::size_t p : {1, 3}) cell[p] -= m * x * y;
    for (const std::size_t p : {2, 6}) cell[p] -= m * x * z;
    for (const std::size_t p : {5, 7}) cell[p] -= m * y * z;
    if (inertia_matrix(body, node, inertia))
      for (std::size_t p = 0; p < 9; ++p) cell[p] += inertia[p];
  }
}

bool sum_invar8(SbrBody &body, Array<double> &cell) noexcept {
  Array<double> phi;
  if (node_count(body) < 1 || !allocate_mode_buffer(body, phi)) return false;
  for (std::size_t j = 0; 9 * j < cell.size(); ++j) {
    fetch_part(body, static_cast<int>(j), 0, phi);
    const double *at = phi.data();
    for (const NodeRecord &node : body.nodes.nodes) {
      const double place[3] = {node.x, node.y, node.z};
      add_tilde_tilde(cell.data() + 9 * j, node.mass, place, at);
      at += 3;
    }
  }
  return true;
}

}  // namespace sbr

extern "C" {

void incr_scalar_tilde_tilde(double *T9, double s, const double *a3, const double *b3) {
  if (T9 != nullptr && a3 != nullptr && b3 != nullptr) sbr::add_tilde_tilde(T9, s, a3, b3);
}

void incr_scalar_tilde_vec(double *v3, double s, const double *a3, const double *b3) {
  if (v3 != nullptr && a3 != nullptr && b3 != nullptr) sbr::add_cross(v3, s, a3, b3);
}

}  // extern "C"
