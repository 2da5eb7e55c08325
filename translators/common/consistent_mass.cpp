#include "common/consistent_mass.h"

#include <Eigen/Eigenvalues>
#include <algorithm>
#include <cmath>

namespace sbrtranslate {
namespace {

using Eigen::Matrix3d;
using Eigen::Vector3d;
using Vector4 = Eigen::Matrix<double, 4, 1>;
using Matrix4 = Eigen::Matrix<double, 4, 4>;

using Vector10 = Eigen::Matrix<double, 10, 1>;
using Matrix10 = Eigen::Matrix<double, 10, 10>;

constexpr double kLeastFactor = 0.05;
// A direction in which the body is thinner than this part of its length has no extent.
constexpr double kNoExtent = 1e-9;
// Eigenvalues below this part of the mass stand for combinations of terms that are the same at all nodes.
constexpr double kDependent = 1e-9;
// A last change of the masses that is nothing.
constexpr double kMet = 1e-12;
constexpr int kMostRounds = 60;
// What masses at the nodes do not give of the moments of inertia counts from this part of them on.
constexpr double kLeastRest = 1e-9;

Vector3d vector(const Vec3 &v) { return {v[0], v[1], v[2]}; }

// Second moments about the center of mass as a matrix.
Matrix3d central(const Moments &m) {
  Matrix3d s;
  s << m.second[0], m.second[3], m.second[4], m.second[3], m.second[1], m.second[5], m.second[4], m.second[5],
      m.second[2];
  const Vector3d first = vector(m.first);
  return s - first * first.transpose() / m.mass;
}

// The second moments whose trace differences are an inertia tensor (xx, yy, zz, xy, xz, yz), and back.
Matrix3d second_of_inertia(const std::array<double, 6> &i) {
  const double half = 0.5 * (i[0] + i[1] + i[2]);
  Matrix3d s;
  s << half - i[0], -i[3], -i[4], -i[3], half - i[1], -i[5], -i[4], -i[5], half - i[2];
  return s;
}

Matrix3d inertia_of_second(const Matrix3d &s) { return s.trace() * Matrix3d::Identity() - s; }

// Coordinates along the principal axes, in units of the body's extent along each: all second moments are of order 1.
struct Frame {
  Vector3d origin;
  Matrix3d axes;  // columns
  Vector3d size;  // 0 where the body has no extent

  Frame(const Vector3d &from, const Matrix3d &second, double mass) : origin(from) {
    const Eigen::SelfAdjointEigenSolver<Matrix3d> solver(second / mass);
    axes = solver.eigenvectors();
    const double most = std::sqrt(std::max(solver.eigenvalues().maxCoeff(), 0.0));
    for (int k = 0; k < 3; ++k) {
      const double s = std::sqrt(std::max(solver.eigenvalues()[k], 0.0));
      size[k] = s > kNoExtent * most ? s : 0.0;
    }
  }
  [[nodiscard]] Vector3d at(const Vec3 &place) const {
    Vector3d p = axes.transpose() * (vector(place) - origin);
    for (int k = 0; k < 3; ++k) p[k] = size[k] > 0.0 ? p[k] / size[k] : 0.0;
    return p;
  }
  [[nodiscard]] Matrix3d scaled(const Matrix3d &second) const {
    Matrix3d s = axes.transpose() * second * axes;
    for (int a = 0; a < 3; ++a)
      for (int b = 0; b < 3; ++b) s(a, b) = size[a] * size[b] > 0.0 ? s(a, b) / (size[a] * size[b]) : 0.0;
    return s;
  }
};

Vector4 linear_terms(const Vector3d &p) { return {1.0, p[0], p[1], p[2]}; }

Vector10 all_terms(const Vector3d &p) {
  Vector10 q;
  q << linear_terms(p), p[0] * p[0], p[1] * p[1], p[2] * p[2], p[0] * p[1], p[0] * p[2], p[1] * p[2];
  return q;
}

// The solution of least length of a symmetric system that may have dependent rows: eigenvalues that are nothing beside
// `scale` count as zero.
template <class Matrix, class Vector>
Vector least_solution(const Matrix &matrix, const Vector &right, double scale) {
  const Eigen::SelfAdjointEigenSolver<Matrix> solver(matrix);
  const double least = kDependent * scale;
  Vector parts = solver.eigenvectors().transpose() * right;
  for (Eigen::Index k = 0; k < parts.size(); ++k)
    parts[k] = solver.eigenvalues()[k] > least ? parts[k] / solver.eigenvalues()[k] : 0.0;
  return solver.eigenvectors() * parts;
}

class Corrector {
 public:
  explicit Corrector(Model &model)
      : model_(model),
        mass_(model.exact.mass),
        frame_(vector(model.exact.centre()), central(mass_moments(model)), mass_) {
    before_ = masses();
  }
  MassCorrection run() {
    match_centre();
    const std::vector<double> centred = masses();
    if (match_second())
      match_centre();  // of what rounding left
    else
      for (std::size_t i = 0; i < centred.size(); ++i) model_.nodes[i].mass = centred[i];
    MassCorrection result;
    share_rest(result);
    for (std::size_t i = 0; i < before_.size(); ++i) {
      if (!(before_[i] > 0.0)) continue;  // belongs to no element
      const double factor = model_.nodes[i].mass / before_[i];
      result.smallest_factor = std::min(result.smallest_factor, factor);
      result.largest_factor = std::max(result.largest_factor, factor);
    }
    for (BodyNode &node : model_.nodes) node.element_mass = node.mass;
    model_.lumped = nodal_moments(model_);
    return result;
  }

 private:
  [[nodiscard]] std::vector<double> masses() const {
    std::vector<double> list;
    for (const BodyNode &node : model_.nodes) list.push_back(node.mass);
    return list;
  }
  // Of the masses alone, without nodal inertia.
  static Moments mass_moments(const Model &model) {
    Moments moments;
    const Vec3 centre = model.exact.centre();
    for (const BodyNode &node : model.nodes) moments.add(node.mass, node.place - centre);
    return moments;
  }
  // The second moments about the center that the masses lack, in the frame's units.
  [[nodiscard]] Matrix3d missing() const {
    Matrix3d wanted = central(model_.exact);
    for (std::size_t i = 0; i < model_.nodes.size(); ++i)
      if (model_.nodes[i].has_inertia) wanted -= second_of_inertia(model_.inertia(i));
    const Moments have = mass_moments(model_);
    Matrix3d second;
    second << have.second[0], have.second[3], have.second[4], have.second[3], have.second[1], have.second[5],
        have.second[4], have.second[5], have.second[2];
    return wanted - second;
  }
  void match_centre();
  bool match_second();
  void part_terms();
  [[nodiscard]] Vector10 terms(const BodyNode &node) const;
  [[nodiscard]] double longest_step(const std::vector<double> &change) const;
  void share_rest(MassCorrection &result);

  Model &model_;
  double mass_;
  Frame frame_;
  std::vector<double> before_;
  Eigen::Matrix<double, 4, 6> shares_ = Eigen::Matrix<double, 4, 6>::Zero();
};

// A linear p brings the mass and the center. Twice, for what rounding leaves.
void Corrector::match_centre() {
  for (int round = 0; round < 2; ++round) {
    Matrix4 gram = Matrix4::Zero();
    for (const BodyNode &node : model_.nodes) {
      const Vector4 q = linear_terms(frame_.at(node.place));
      gram += node.mass * q * q.transpose();
    }
    const Vector4 wanted(mass_, 0.0, 0.0, 0.0);
    const Vector4 a = least_solution<Matrix4, Vector4>(gram, wanted - gram.col(0), mass_);
    for (std::size_t i = 0; i < model_.nodes.size(); ++i) {
      BodyNode &node = model_.nodes[i];
      const double factor = 1.0 + a.dot(linear_terms(frame_.at(node.place)));
      if (!(node.mass * factor >= kLeastFactor * before_[i]))
        throw InputError({model_.mesh.files.front(), 0},
                         "the nodal masses cannot have the center of mass of the elements: node " +
                             std::to_string(node.id) + " would get " + show(node.mass * factor) + " in place of " +
                             show(before_[i]) + "; refine the mesh there");
      node.mass *= factor;
    }
  }
}

// How far a change of the exponents may go for all masses to stay where they may be.
double Corrector::longest_step(const std::vector<double> &change) const {
  double step = 1.0;
  for (std::size_t i = 0; i < change.size(); ++i) {
    if (!(before_[i] > 0.0)) continue;
    const double low = std::log(kLeastFactor * before_[i] / model_.nodes[i].mass);
    if (change[i] < low) step = std::min(step, std::min(low, 0.0) / change[i]);
    // One step multiplies no mass by more than e^2: beyond that Newton's quadratic form means nothing.
    if (std::fabs(change[i]) * step > 2.0) step = 2.0 / std::fabs(change[i]);
  }
  return std::max(step, 0.0);
}

// Takes the share in mass and center out of the quadratic terms: what is left of a combination that is the same at all
// nodes is nothing at all, and changes neither.
void Corrector::part_terms() {
  Matrix10 gram = Matrix10::Zero();
  for (const BodyNode &node : model_.nodes) {
    const Vector10 q = all_terms(frame_.at(node.place));
    gram += node.mass * q * q.transpose();
  }
  const Matrix4 linear = gram.topLeftCorner<4, 4>();
  for (int k = 0; k < 6; ++k)
    shares_.col(k) = least_solution<Matrix4, Vector4>(linear, gram.col(4 + k).head<4>(), mass_);
}

Vector10 Corrector::terms(const BodyNode &node) const {
  Vector10 q = all_terms(frame_.at(node.place));
  q.tail<6>() -= shares_.transpose() * q.head<4>();
  return q;
}

// Newton's method on the dual function sum m_i exp(a . q_i) - a . wanted, which is convex in the ten coefficients a.
// False when no masses at the nodes have the moments, or only with some far smaller than they were; of the moments that
// any masses at these nodes have, those that they cannot share in are left alone.
bool Corrector::match_second() {
  const Matrix3d lack = frame_.scaled(missing());
  part_terms();
  Vector10 wanted = Vector10::Zero();
  for (const BodyNode &node : model_.nodes) wanted += node.mass * terms(node);
  wanted.tail<6>() +=
      (Eigen::Matrix<double, 6, 1>() << lack(0, 0), lack(1, 1), lack(2, 2), lack(0, 1), lack(0, 2), lack(1, 2))
          .finished();
  std::vector<double> change(model_.nodes.size());
  for (int round = 0; round < kMostRounds; ++round) {
    Vector10 have = Vector10::Zero();
    Matrix10 slope = Matrix10::Zero();
    for (const BodyNode &node : model_.nodes) {
      const Vector10 q = terms(node);
      have += node.mass * q;
      slope += node.mass * q * q.transpose();
    }
    const Vector10 a = least_solution<Matrix10, Vector10>(slope, wanted - have, mass_);
    double most = 0.0;
    for (std::size_t i = 0; i < change.size(); ++i) {
      change[i] = before_[i] > 0.0 ? a.dot(terms(model_.nodes[i])) : 0.0;
      most = std::max(most, std::fabs(change[i]));
    }
    if (most <= kMet) return true;
    const double step = longest_step(change);
    for (std::size_t i = 0; i < change.size(); ++i) model_.nodes[i].mass *= std::exp(step * change[i]);
    if (step < 1e-3) return false;
  }
  return false;
}

void Corrector::share_rest(MassCorrection &result) {
  const Matrix3d rest = inertia_of_second(missing());
  const Matrix3d whole = inertia_of_second(central(model_.exact));
  const Eigen::GeneralizedSelfAdjointEigenSolver<Matrix3d> shares(rest, whole);
  const double share = shares.info() == Eigen::Success ? shares.eigenvalues().cwiseAbs().maxCoeff()
                                                       : rest.cwiseAbs().maxCoeff() / whole.cwiseAbs().maxCoeff();
  if (!(share > kLeastRest)) return;
  result.rest_share = share;
  for (std::size_t k = 0; k < 9; ++k) result.rest[k] = rest(static_cast<int>(k / 3), static_cast<int>(k % 3));
  const NodalInertia terms = {rest(0, 0), rest(1, 1), rest(2, 2), rest(0, 1), rest(0, 2), rest(1, 2)};
  for (std::size_t i = 0; i < model_.nodes.size(); ++i) {
    if (!(model_.nodes[i].mass > 0.0)) continue;
    const double s = model_.nodes[i].mass / mass_;
    NodalInertia own{};
    for (std::size_t k = 0; k < 6; ++k) own[k] = s * terms[k];
    model_.add_inertia(i, own);
  }
}

}  // namespace

Moments nodal_moments(const Model &model) {
  Moments moments;
  for (std::size_t i = 0; i < model.nodes.size(); ++i) {
    const BodyNode &node = model.nodes[i];
    moments.add(node.mass, node.place);
    if (!node.has_inertia) continue;
    const Matrix3d own = second_of_inertia(model.inertia(i));
    const std::array<double, 6> terms = {own(0, 0), own(1, 1), own(2, 2), own(0, 1), own(0, 2), own(1, 2)};
    for (std::size_t k = 0; k < 6; ++k) moments.second[k] += terms[k];
  }
  return moments;
}

MassCorrection correct_masses(Model &model) {
  const auto &second = model.exact.second;
  if (!std::isfinite(model.exact.mass) || !std::isfinite(second[0] + second[1] + second[2]))
    throw InputError({model.mesh.files.front(), 0}, "the coordinates or densities are too large to have an inertia");
  return Corrector(model).run();
}

}  // namespace sbrtranslate
