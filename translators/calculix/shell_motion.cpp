#include "calculix/shell_motion.h"

#include <Eigen/Eigenvalues>
#include <algorithm>

namespace sbrtranslate {
namespace {

using Eigen::Matrix2d;
using Eigen::Matrix3d;
using Eigen::Vector2d;
using Eigen::Vector3d;

// Two shells that meet at less than 20 degrees do not fix the turn about their normal well: below this part of the
// largest moment of the points.
constexpr double kSeen = 0.03;
// Points that lie in one line, or all in one place.
constexpr double kLine = 1e-6;

Vector3d vector(const Vec3 &v) { return {v[0], v[1], v[2]}; }

// Points with their displacements.
class Cloud {
 public:
  Cloud(std::span<const ShellPoint> points, const std::vector<double> &raw) {
    for (const ShellPoint &point : points) {
      const double *u = &raw[6 * std::size_t{point.value}];
      places_.push_back(vector(point.place));
      moves_.emplace_back(u[0], u[1], u[2]);
      centre_ += places_.back();
      mean_ += moves_.back();
    }
    centre_ /= static_cast<double>(places_.size());
    mean_ /= static_cast<double>(places_.size());
  }
  [[nodiscard]] const Vector3d &centre() const { return centre_; }
  [[nodiscard]] const Vector3d &mean() const { return mean_; }

  // The turn that fits best, and, where there is one, the direction about which the points do not see it.
  Vector3d turn(double seen, Vector3d &unseen) const {
    Matrix3d moment = Matrix3d::Zero();
    Vector3d spin = Vector3d::Zero();
    for (std::size_t i = 0; i < places_.size(); ++i) {
      const Vector3d d = places_[i] - centre_;
      moment += d.dot(d) * Matrix3d::Identity() - d * d.transpose();
      spin += d.cross(moves_[i]);
    }
    const Eigen::SelfAdjointEigenSolver<Matrix3d> solver(moment);
    const double most = solver.eigenvalues()[2];
    Vector3d w = Vector3d::Zero();
    unseen = Vector3d::Zero();
    for (int k = 0; k < 3; ++k) {
      const Vector3d axis = solver.eigenvectors().col(k);
      if (most > 0.0 && solver.eigenvalues()[k] > seen * most)
        w += axis * (axis.dot(spin) / solver.eigenvalues()[k]);
      else
        unseen = axis;
    }
    return w;
  }

  // The turn about an axis through the center, besides a turn w that is known.
  [[nodiscard]] double turn_about(const Vector3d &axis, const Vector3d &w) const {
    const Vector3d e = axis.unitOrthogonal();
    const Vector3d f = axis.cross(e);
    Matrix2d across = Matrix2d::Zero();
    Matrix2d products = Matrix2d::Zero();
    for (std::size_t i = 0; i < places_.size(); ++i) {
      const Vector3d d = places_[i] - centre_;
      const Vector3d u = moves_[i] - mean_ - w.cross(d);
      const Vector2d flat(e.dot(d), f.dot(d));
      across += flat * flat.transpose();
      products += Vector2d(e.dot(u), f.dot(u)) * flat.transpose();
    }
    const double size = across.trace();
    if (!(size > 0.0)) return 0.0;
    if (across.determinant() <= kLine * size * size) return (products(1, 0) - products(0, 1)) / size;
    const Matrix2d gradient = products * across.inverse();
    return 0.5 * (gradient(1, 0) - gradient(0, 1));
  }

 private:
  std::vector<Vector3d> places_;
  std::vector<Vector3d> moves_;
  Vector3d centre_ = Vector3d::Zero();
  Vector3d mean_ = Vector3d::Zero();
};

}  // namespace

ShellMotion::ShellMotion(const Model &model, std::vector<ShellPoint> points)
    : model_(model), points_(std::move(points)), first_point_(model.nodes.size() + 1, 0) {
  for (const ShellPoint &point : points_) ++first_point_[point.node + 1];
  for (std::size_t i = 1; i < first_point_.size(); ++i) first_point_[i] += first_point_[i - 1];
  const Mesh &mesh = model.mesh;
  first_element_.assign(model.nodes.size() + 1, 0);
  const auto each = [&](const auto &visit) {
    for (std::size_t e = 0; e < mesh.elements.size(); ++e) {
      if (!mesh.elements[e].type->shell()) continue;
      const int *ids = mesh.nodes_of(mesh.elements[e]);
      for (int i = 0; i < mesh.elements[e].type->nodes; ++i)
        visit(static_cast<std::size_t>(model_.node_position(ids[i])), static_cast<std::uint32_t>(e));
    }
  };
  each([&](std::size_t node, std::uint32_t) { ++first_element_[node + 1]; });
  for (std::size_t i = 1; i < first_element_.size(); ++i) first_element_[i] += first_element_[i - 1];
  elements_.resize(first_element_.back());
  std::vector<std::uint32_t> next(first_element_.begin(), first_element_.end() - 1);
  each([&](std::size_t node, std::uint32_t element) { elements_[next[node]++] = element; });
}

std::span<const ShellPoint> ShellMotion::points_of(std::size_t node) const {
  return {points_.data() + first_point_[node], points_.data() + first_point_[node + 1]};
}

void ShellMotion::gather_around(std::size_t node, std::vector<ShellPoint> &around) const {
  std::vector<std::size_t> nodes;
  for (std::uint32_t at = first_element_[node]; at < first_element_[node + 1]; ++at) {
    const MeshElement &element = model_.mesh.elements[elements_[at]];
    const int *ids = model_.mesh.nodes_of(element);
    for (int i = 0; i < element.type->nodes; ++i)
      nodes.push_back(static_cast<std::size_t>(model_.node_position(ids[i])));
  }
  std::sort(nodes.begin(), nodes.end());
  nodes.erase(std::unique(nodes.begin(), nodes.end()), nodes.end());
  around.clear();
  for (const std::size_t other : nodes) {
    const auto points = points_of(other);
    around.insert(around.end(), points.begin(), points.end());
  }
}

void ShellMotion::apply(const std::vector<double> &raw, std::vector<double> &values) const {
  std::vector<ShellPoint> around;
  for (std::size_t node = 0; node < model_.nodes.size(); ++node) {
    const auto points = points_of(node);
    if (points.empty()) continue;
    const Cloud own(points, raw);
    Vector3d unseen;
    Vector3d w;
    if (points.size() == 1) {
      gather_around(node, around);
      w = Cloud(around, raw).turn(kLine, unseen);
    } else {
      w = own.turn(kSeen, unseen);
      if (!unseen.isZero()) {
        gather_around(node, around);
        w += unseen * Cloud(around, raw).turn_about(unseen, w);
      }
    }
    const Vector3d v = own.mean() + w.cross(vector(model_.nodes[node].place) - own.centre());
    for (int k = 0; k < 3; ++k) {
      values[6 * node + static_cast<std::size_t>(k)] = v[k];
      values[6 * node + 3 + static_cast<std::size_t>(k)] = w[k];
    }
  }
}

}  // namespace sbrtranslate
