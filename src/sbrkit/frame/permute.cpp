// The re-expression of a whole body in another frame and mode basis.
#include "base/mat3.h"
#include "body/node_table.h"
#include "body/registry.h"
#include "dynamics/drop_modes.h"
#include "frame/turn_modes.h"
#include "modes/transform.h"

namespace sbr {
namespace {

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

// Shapes always, stress and strain where the body has them.
template <class Change>
void change_modes(SbrBody &body, Change change) noexcept {
  for (const Kind kind : kKinds)
    if (kind == Kind::shape || has_block(body, kKindFacts[kind].block)) change(kind);
}

// The failures of mode data are reported there and stop nothing.
void permute_body(SbrBody &body, const double *origin3, int new_mode_count, double mass_scale,
                  const double *mode_transformation, const double *rotation9) noexcept {
  const double transposed[9] = {rotation9[0], rotation9[3], rotation9[6], rotation9[1], rotation9[4],
                                rotation9[7], rotation9[2], rotation9[5], rotation9[8]};
  const bool rotate = !(rotation9[0] == 1.0 && rotation9[4] == 1.0 && rotation9[8] == 1.0);
  if (mass_scale != 1.0) scale_masses(body, mass_scale);
  if (mode_transformation != nullptr)
    change_modes(body, [&](Kind kind) { (void)transform_modes(body, kind, mode_count(body), mode_transformation); });
  if (rotate) change_modes(body, [&](Kind kind) { turn_modes(body, kind, transposed); });
  move_to_frame(body, origin3, transposed, rotate);
  drop_modes_behind(body, new_mode_count);
}

// Removes what a permutation made out of date. The masses stay in the node records.
void drop_after_permutation(SbrBody &body) noexcept {
  GeneralizedMatrices &matrices = body.matrices;
  matrices.eigenvalues.release();
  matrices.stiffness.release();
  matrices.mass.release();
  matrices.damping.release();
  body.access.transformation.release();
  matrices.modes_not_orthogonal = 0;
  set_block(body, kNodalMasses, false);
}

}  // namespace
}  // namespace sbr

extern "C" {

int SBR_PermuteSBR(SBR body, const double *origin3, int new_mode_count, double mass_scale,
                   const double *mode_transformation, const double *rotation9) {
  if (!sbr::require_body(body) || origin3 == nullptr || rotation9 == nullptr || new_mode_count < 0) return 0;
  sbr::permute_body(*body, origin3, new_mode_count, mass_scale, mode_transformation, rotation9);
  return 1;
}

int SBR_PreprocessBAPSBR(SBR body) {
  if (!sbr::require_body(body)) return 0;
  sbr::drop_after_permutation(*body);
  return 1;
}

}  // extern "C"
