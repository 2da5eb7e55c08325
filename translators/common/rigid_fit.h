// How well rigid motions explain a mode shape, and whether nodes hold a body.
#ifndef SBRKIT_TRANSLATORS_COMMON_RIGID_FIT_H
#define SBRKIT_TRANSLATORS_COMMON_RIGID_FIT_H

#include <array>
#include <vector>

#include "common/model.h"
#include "common/report.h"

namespace sbrtranslate {

// The inverse of a symmetric matrix by its cofactors; zeros for a singular one.
std::array<double, 9> inverse(const std::array<double, 9> &m);
Vec3 times(const std::array<double, 9> &m, const Vec3 &v);

// Whether the interface nodes hold a free body: one has to be a reference node, or three must not be in line.
bool interface_holds(const Model &model);

// The values of each matrix row under unit rigid motions about the center of mass.
std::vector<RigidRow> rigid_rows(const std::vector<Dof> &dofs, const Model &model);

// How much of a shape's mass-weighted square no rigid motion explains: the best rigid motion in the sense of the nodal
// masses has the shape's momentum and angular momentum.
class RigidFit {
 public:
  explicit RigidFit(const Model &model) : model_(model), centre_(model.lumped.centre()) {
    Moments moments;
    for (const BodyNode &node : model.nodes) moments.add(node.mass, node.place - centre_);
    // A body on a line has no inertia about it, and what turns about it does not move its nodes.
    auto tensor = moments.inertia({});
    const double little = 1e-9 * (tensor[0] + tensor[4] + tensor[8]);
    for (std::size_t k = 0; k < 3; ++k) tensor[4 * k] += little;
    inverse_ = inverse(tensor);
    mass_ = moments.mass;
  }
  // `shape(i)` is the translation of node i.
  template <class Shape>
  void judge(const Shape &shape, ModeReport &mode) const {
    Vec3 momentum{};
    Vec3 spin{};
    double all = 0.0;
    for (std::size_t i = 0; i < model_.nodes.size(); ++i) {
      const BodyNode &node = model_.nodes[i];
      const Vec3 u = shape(i);
      momentum = momentum + node.mass * u;
      spin = spin + node.mass * cross(node.place - centre_, u);
      all += node.mass * dot(u, u);
    }
    const Vec3 velocity = (1.0 / mass_) * momentum;
    const Vec3 rotation = times(inverse_, spin);
    double rest = 0.0;
    for (std::size_t i = 0; i < model_.nodes.size(); ++i) {
      const BodyNode &node = model_.nodes[i];
      const Vec3 d = shape(i) - velocity - cross(rotation, node.place - centre_);
      rest += node.mass * dot(d, d);
    }
    mode.velocity = velocity;
    mode.rotation = rotation;
    mode.lumped_mass = all;
    mode.elastic_share = all > 0.0 ? rest / all : 1.0;
    mode.rigid = mode.elastic_share < 1e-3;
  }

 private:
  const Model &model_;
  Vec3 centre_;
  double mass_ = 0.0;
  std::array<double, 9> inverse_{};
};

}  // namespace sbrtranslate

#endif
