// Renumbering of nodes, and the re-expression of a whole body in another frame and mode basis.
#include <algorithm>
#include <cstdint>

#include "base/mat3.h"
#include "base/reports.h"
#include "body/body.h"
#include "body/node_table.h"
#include "body/registry.h"
#include "frame/rigid_motion.h"
#include "modes/store.h"
#include "modes/transform.h"

namespace sbr {
namespace {

// The keys of a kind; kind 0 uses those of the node table.
KeyTable &keys_of(SbrBody &body, Kind kind) noexcept {
  return kind == Kind::shape ? body.nodes.keys : body.nodes.kinds[kind].keys;
}

// Node p takes an ID that no node has.
void take_free_id(SbrBody &body, int p, int old_id, int new_id) noexcept {
  body.nodes.keys.rename(p, new_id);
  for (const Kind kind : kListedKinds)
    if (const int a = kind_position(body, kind, old_id); a >= 0) keys_of(body, kind).rename(a, new_id);
  set_node_id(body, p, new_id);
}

// Nodes p and q exchange their IDs.
void exchange_ids(SbrBody &body, int p, int old_id, int q, int new_id) noexcept {
  body.nodes.keys.rename(p, new_id);
  body.nodes.keys.rename(q, old_id);
  for (const Kind kind : kListedKinds) {
    const int a = kind_position(body, kind, old_id);
    const int b = kind_position(body, kind, new_id);
    if (a >= 0) keys_of(body, kind).rename(a, new_id);
    if (b >= 0) keys_of(body, kind).rename(b, old_id);
  }
  set_node_id(body, q, old_id);
  set_node_id(body, p, new_id);
}

void scale_masses(SbrBody &body, double factor) noexcept {
  for (NodeRecord &node : body.nodes.nodes) {
    node.mass *= factor;
    if (double *six = node_inertia(body, static_cast<int>(&node - body.nodes.nodes.begin())); six != nullptr)
      for (int c = 0; c < 6; ++c) six[c] *= factor;
  }
}

void move_to_frame(SbrBody &body, const double *origin3, const double *transposed9, bool rotate) noexcept {
  double *center = body.global.center;
  for (int c = 0; c < 3; ++c) center[c] -= origin3[c];
  if (rotate) turn_vector(center, transposed9, 1);
  for (NodeRecord &node : body.nodes.nodes) {
    double at[3] = {node.x - origin3[0], node.y - origin3[1], node.z - origin3[2]};
    if (rotate) turn_vector(at, transposed9, 1);
    node.x = at[0];
    node.y = at[1];
    node.z = at[2];
  }
  body.search.drop();
}

}  // namespace
}  // namespace sbr

extern "C" {

int SBR_RenumberNodes(SBR body, int offset) {
  if (!sbr::require_body(body)) return 0;
  for (const sbr::NodeRecord &node : body->nodes.nodes) {
    const std::int64_t id = static_cast<std::int64_t>(node.id) + offset;
    if (id < 1 || id > INT32_MAX) return 0;
  }
  for (sbr::NodeRecord &node : body->nodes.nodes) node.id += offset;
  for (const sbr::Kind kind : sbr::kKinds) sbr::keys_of(*body, kind).shift_ids(offset);
  return 1;
}

int SBR_RenumberInterfaceNodes(SBR body, int count, const int *ids) {
  if (!sbr::require_body(body)) return 0;
  const int interface_nodes = body->interface_nodes.nodes.count();
  if (count > interface_nodes) {
    sbr::report_warning("Too many interface ID are given. Only the first %d will be used.\n", interface_nodes);
    count = interface_nodes;
  }
  if (count < 1) return 1;
  if (ids == nullptr) return 0;
  for (int i = 0; i < count; ++i) {
    const int p = body->interface_nodes.nodes[i];
    if (p < 0 || p >= sbr::node_count(*body)) continue;
    const int old_id = sbr::node_id(*body, p);
    const int q = sbr::node_index(*body, ids[i]);
    if (q == p) continue;
    if (q < 0)
      sbr::take_free_id(*body, p, old_id, ids[i]);
    else
      sbr::exchange_ids(*body, p, old_id, q, ids[i]);
  }
  return 1;
}

int SBR_PermuteSBR(SBR body, const double *origin3, int new_mode_count, double mass_scale,
                   const double *mode_transformation, const double *rotation9) {
  if (!sbr::require_body(body) || origin3 == nullptr || rotation9 == nullptr || new_mode_count < 0) return 0;
  const double transposed[9] = {rotation9[0], rotation9[3], rotation9[6], rotation9[1], rotation9[4],
                                rotation9[7], rotation9[2], rotation9[5], rotation9[8]};
  const bool rotate = !(rotation9[0] == 1.0 && rotation9[4] == 1.0 && rotation9[8] == 1.0);
  if (mass_scale != 1.0) sbr::scale_masses(*body, mass_scale);
  const int modes = sbr::mode_count(*body);
  for (const sbr::Kind kind : sbr::kKinds)
    if (mode_transformation != nullptr && (kind == sbr::Kind::shape || sbr::has_block(*body, sbr::kind_block(kind))))
      (void)sbr::transform_modes(*body, kind, modes, mode_transformation);
  if (rotate)
    for (const sbr::Kind kind : sbr::kKinds)
      if (kind == sbr::Kind::shape || sbr::has_block(*body, sbr::kind_block(kind)))
        sbr::transform_mode(*body, transposed, kind);
  sbr::move_to_frame(*body, origin3, transposed, rotate);
  body->mode_table.mode_count = new_mode_count;
  return 1;
}

int SBR_PreprocessBAPSBR(SBR body) {
  if (!sbr::require_body(body)) return 0;
  sbr::GeneralizedMatrices &matrices = body->matrices;
  matrices.eigenvalues.release();
  matrices.stiffness.release();
  matrices.mass.release();
  matrices.damping.release();
  body->access.transformation.release();
  matrices.modes_not_orthogonal = 0;
  sbr::set_block(*body, sbr::kNodalMasses, false);
  return 1;
}

}  // extern "C"
