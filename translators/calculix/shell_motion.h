// Translation and rotation at the nodes of shells, from the displacements of the solids that the solver has made of
// them.
#ifndef SBRKIT_TRANSLATORS_CALCULIX_SHELL_MOTION_H
#define SBRKIT_TRANSLATORS_CALCULIX_SHELL_MOTION_H

#include <cstdint>
#include <span>
#include <vector>

#include "common/model.h"

namespace sbrtranslate {

// A node of the results that moves with a node of a shell.
struct ShellPoint {
  std::uint32_t node = 0;   // place among the body's nodes
  std::uint32_t value = 0;  // place among the nodes of the results
  Vec3 place{};
};

// At each node of a shell the rigid motion that fits the displacements of its points best, in the sense of least
// squares:
//
//   u(x) = v + w x (x - c),   sum (|d|^2 E - d d^T) w = sum d x u,   d = x - c, c the mean of the points,
//
// so that a rigid motion of the body comes out as that motion whatever the shape of the shell. The points of a node are
// those on both sides of each shell that meets there; at folds and joints they fix all of w. Where they lie in one
// line, along the normal n, they leave w.n open: that is half the curl, in the plane across n, of what else the points
// of the elements around do,
//
//   u' = u0 + G d',   w.n = (G21 - G12) / 2,
//
// or, where these points lie in one line too, the turn of that line. A node with one point, of a shell that was not
// expanded, has the rigid motion that fits the points of the elements around.
class ShellMotion {
 public:
  // The points sorted by node. Keeps a reference to the model.
  ShellMotion(const Model &model, std::vector<ShellPoint> points);

  // From six values a node of the results, the first three of them displacements, to six values a node of the body:
  // translations and rotations of the nodes that have points. Others stay as they are.
  void apply(const std::vector<double> &raw, std::vector<double> &values) const;

 private:
  [[nodiscard]] std::span<const ShellPoint> points_of(std::size_t node) const;
  // The points of all nodes of the elements that have the node, each once.
  void gather_around(std::size_t node, std::vector<ShellPoint> &around) const;

  const Model &model_;
  std::vector<ShellPoint> points_;
  std::vector<std::uint32_t> first_point_;    // by node of the body, and one more
  std::vector<std::uint32_t> first_element_;  // likewise, in elements_
  std::vector<std::uint32_t> elements_;       // the shells at each node
};

}  // namespace sbrtranslate

#endif
