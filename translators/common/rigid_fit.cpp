#include "common/rigid_fit.h"

#include <algorithm>

namespace sbrtranslate {

std::array<double, 9> inverse(const std::array<double, 9> &m) {
  const Vec3 a{m[0], m[1], m[2]};
  const Vec3 b{m[3], m[4], m[5]};
  const Vec3 c{m[6], m[7], m[8]};
  const Vec3 bc = cross(b, c);
  const Vec3 ca = cross(c, a);
  const Vec3 ab = cross(a, b);
  const double determinant = dot(a, bc);
  const double size = m[0] + m[4] + m[8];
  if (!(determinant > 1e-12 * size * size * size)) return {};
  const double s = 1.0 / determinant;
  return {s * bc[0], s * ca[0], s * ab[0], s * bc[1], s * ca[1], s * ab[1], s * bc[2], s * ca[2], s * ab[2]};
}

Vec3 times(const std::array<double, 9> &m, const Vec3 &v) {
  return {dot({m[0], m[1], m[2]}, v), dot({m[3], m[4], m[5]}, v), dot({m[6], m[7], m[8]}, v)};
}

std::vector<RigidRow> rigid_rows(const std::vector<Dof> &dofs, const Model &model) {
  const Vec3 centre = model.exact.centre();
  std::vector<RigidRow> rows(dofs.size(), RigidRow{});
  for (std::size_t r = 0; r < dofs.size(); ++r) {
    const int position = model.node_position(dofs[r].node);
    const auto direction = static_cast<std::size_t>(dofs[r].direction - 1);
    if (position < 0) continue;  // an inner degree of freedom of an element: it is at rest in rigid motions
    rows[r][direction] = 1.0;
    if (direction >= 3) continue;
    const Vec3 arm = model.nodes[static_cast<std::size_t>(position)].place - centre;
    for (std::size_t j = 0; j < 3; ++j) {
      Vec3 axis{};
      axis[j] = 1.0;
      rows[r][3 + j] = cross(axis, arm)[direction];
    }
  }
  return rows;
}

bool interface_holds(const Model &model) {
  for (const ReferenceNode &reference : model.mesh.references)
    if (std::binary_search(model.interface_nodes.begin(), model.interface_nodes.end(), reference.node)) return true;
  Moments moments;
  const Vec3 first = model.nodes[static_cast<std::size_t>(model.node_position(model.interface_nodes.front()))].place;
  for (const int id : model.interface_nodes)
    moments.add(1.0, model.nodes[static_cast<std::size_t>(model.node_position(id))].place - first);
  return inverse(moments.inertia(moments.centre())) != std::array<double, 9>{};
}

}  // namespace sbrtranslate
