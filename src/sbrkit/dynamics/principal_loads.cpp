// Modal preloads and loads on principal axes: the rigid entries of a modal vector become forces and moments.
#include "dynamics/principal_loads.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "base/reports.h"
#include "body/body.h"
#include "body/loads.h"
#include "body/matrices.h"
#include "body/node_table.h"
#include "body/registry.h"
#include "dynamics/lu.h"
#include "dynamics/rigid_modes.h"
#include "mass/entry.h"
#include "mass/invariants.h"
#include "mass/node_sums.h"
#include "mass/tilde.h"
#include "modes/access.h"

namespace sbr {
namespace {

using SixRows = double[6][6];

// The rigid modes of a projection: r of them, never more than six, and never more than the vector has entries.
int rigid_entries(const Array<double> &f, int r) noexcept { return std::min({r, 6, f.count()}); }

double generalized_mass_at(SbrBody &body, int position) noexcept {
  double mass = 0.0;
  (void)eigen_values(body, position, nullptr, nullptr, nullptr, &mass, nullptr);
  return mass;
}

// One part of the mode at a position; zeros when there is no such mode.
void fetch_part(SbrBody &body, int position, int part, Array<double> &buffer) noexcept {
  if (!mode_part(body, position, Kind::shape, part, buffer.data())) buffer.fill_zero();
}

// ---- with nodal masses ---------------------------------------------------------------------------------------------

void project_modal_force_by_mass(SbrBody &body, Array<double> &f, int r) noexcept {
  Array<double> phi;
  if (!allocate_mode_buffer(body, phi)) {
    report_no_memory(unit_name::kTools);
    return;
  }
  double six[6] = {};  // force, then moment
  for (int i = 0; i < rigid_entries(f, r); ++i) {
    const double g = generalized_mass_at(body, i);
    fetch_part(body, i, 0, phi);
    const double *at = phi.data();
    for (const NodeRecord &node : body.nodes.nodes) {
      const double s = f[i] * node.mass / g;
      const double place[3] = {node.x, node.y, node.z};
      for (int c = 0; c < 3; ++c) six[c] += s * at[c];
      add_cross(six + 3, s, place, at);
      at += 3;
    }
  }
  // All six are written, also those of modes that are not rigid.
  for (std::size_t c = 0; c < std::min<std::size_t>(6, f.size()); ++c) f[c] = cut_small(six[c]);
}

// ---- without nodal masses ------------------------------------------------------------------------------------------

void mirror_upper(SixRows &matrix) noexcept {
  for (int a = 0; a < 6; ++a)
    for (int b = a + 1; b < 6; ++b) matrix[b][a] = matrix[a][b];
}

// The mass matrix of the rigid body about the origin. The products of inertia go in as stored, with positive sign.
// False when the global properties could not be worked out.
bool rigid_mass_matrix(SbrBody &body, SixRows &G) noexcept {
  if (!fill_invar1(body) || !fill_invar2(body) || !fill_invar7(body)) return false;
  calculate_global_mass(body);
  const double m = body.global.mass;
  const double *I = body.global.inertia;
  const double *c = body.global.center;
  G[0][0] = G[1][1] = G[2][2] = m;
  G[0][4] = m * c[2];
  G[0][5] = -m * c[1];
  G[1][3] = -m * c[2];
  G[1][5] = m * c[0];
  G[2][3] = m * c[1];
  G[2][4] = -m * c[0];
  G[3][3] = I[0];
  G[3][4] = I[1];
  G[3][5] = I[2];
  G[4][4] = I[4];
  G[4][5] = I[5];
  G[5][5] = I[8];
  mirror_upper(G);
  return true;
}

// The normal matrix of fitting a rigid motion to the translations and rotations of all nodes.
void normal_matrix(const SbrBody &body, SixRows &A) noexcept {
  for (const NodeRecord &node : body.nodes.nodes) {
    const double x = node.x;
    const double y = node.y;
    const double z = node.z;
    for (int c = 0; c < 3; ++c) A[c][c] += 1.0;
    A[3][3] += y * y + z * z + 1.0;
    A[4][4] += x * x + z * z + 1.0;
    A[5][5] += x * x + y * y + 1.0;
    A[0][4] -= z;
    A[0][5] += y;
    A[1][3] += z;
    A[1][5] -= x;
    A[2][3] -= y;
    A[2][4] += x;
    A[3][4] -= x * y;
    A[3][5] -= x * z;
    A[4][5] -= y * z;
  }
  mirror_upper(A);
}

// Column i of the right-hand sides: what mode i has of the six motions.
void add_mode_column(const SbrBody &body, const double *t, const double *rotation, int i, SixRows &B) noexcept {
  for (const NodeRecord &node : body.nodes.nodes) {
    B[0][i] += t[0];
    B[1][i] += t[1];
    B[2][i] += t[2];
    B[3][i] += t[1] * node.z - t[2] * node.y + rotation[0];
    B[4][i] += t[2] * node.x - t[0] * node.z + rotation[1];
    B[5][i] += t[0] * node.y - t[1] * node.x + rotation[2];
    t += 3;
    rotation += 3;
  }
}

bool invert(SixRows &A) noexcept {
  double *rows[6] = {A[0], A[1], A[2], A[3], A[4], A[5]};
  int permutation[6] = {};
  if (!lup_decompose(rows, 6, permutation)) {
    report_error("LU Decomposition failed.\n");
    return false;
  }
  if (!lup_invert(rows, 6, permutation)) {
    report_error("Failed in invert matrix.\n");
    return false;
  }
  return true;
}

void project_modal_force_by_fit(SbrBody &body, Array<double> &f, int r) noexcept {
  const int count = rigid_entries(f, r);
  Array<double> translations;
  Array<double> rotations;
  if (node_count(body) > 0 && (!allocate_mode_buffer(body, translations) || !allocate_mode_buffer(body, rotations))) {
    report_no_memory(unit_name::kTools);
    return;
  }
  SixRows G = {};
  SixRows A = {};
  SixRows B = {};
  double g[6] = {};
  if (!rigid_mass_matrix(body, G)) return;
  normal_matrix(body, A);
  if (!invert(A)) return;
  for (int i = 0; i < count; ++i) {
    g[i] = generalized_mass_at(body, i);
    fetch_part(body, i, 0, translations);
    fetch_part(body, i, 1, rotations);
    add_mode_column(body, translations.data(), rotations.data(), i, B);
  }
  double R[6] = {};
  for (int a = 0; a < 6; ++a)
    for (int b = 0; b < 6; ++b)
      for (int c = 0; c < 6; ++c)
        for (int i = 0; i < count; ++i) R[a] += G[a][b] * A[b][c] * B[c][i] * f[i] / g[i];
  for (int j = 0; j < count; ++j) f[j] = cut_small(R[j]);
}

using Projection = void (*)(SbrBody &, Array<double> &, int) noexcept;

void carry_preload(SbrBody &body, Projection project, int r) noexcept {
  Array<double> &preload = body.loads.preload;
  if (preload.empty() || body.loads.preload_on_principal_axes != 0) return;
  project(body, preload, r);
  body.loads.preload_on_principal_axes = 1;
  for (int i = 0; i < std::min(r, preload.count()); ++i)
    if (std::fabs(preload[i]) > kSmallProjection)
      report_warning("SBR contains a preload with a rigid body component which is being ignored");
}

}  // namespace

void carry_rigid_forces(SbrBody &body) noexcept {
  const int r = rigid_mode_count(body);
  const bool by_fit = std::getenv("KTX_MFORCE_NO_FEA_MASS") != nullptr || !has_block(body, kNodalMasses);
  const Projection project = by_fit ? project_modal_force_by_fit : project_modal_force_by_mass;
  carry_preload(body, project, r);
  if (load_case_count(body) == 0) return;
  if (r < 6)
    report_warning("SBR only contains %d rigid body modes.\n  The resultant load vector will be mishandled.\n", r);
  for (std::size_t i = 0; i < body.loads.modal.size(); ++i) {
    ModalLoad *load = body.loads.modal[i];
    if (load == nullptr || load->processed != 0) continue;
    project(body, load->values, r);
    load->processed = 1;
  }
}

}  // namespace sbr

extern "C" {

void SBR_RigidBodyForcesOnPrincipalAxes(SBR body) {
  if (sbr::require_body(body)) sbr::carry_rigid_forces(*body);
}

}  // extern "C"
