// The modal mass data of a record: stored invariants against sums over nodes and modes, the scale of each mode, and the
// rigid-body modes.
#include <Eigen/Dense>
#include <cmath>

#include "check.h"
#include "rawrecord.h"

namespace sbrtool {
namespace {

using Eigen::Matrix3d;
using Eigen::Matrix3Xd;
using Eigen::Vector3d;
using RowMatrix = Eigen::Matrix<double, 3, 3, Eigen::RowMajor>;

constexpr double kRigidTolerance = 1e-3;

// One part of a mode at all nodes.
Matrix3Xd matrix_of(CheckRun &run, int mode, int part) {
  std::vector<double> values = run.shape(mode, part);
  values.resize(3 * static_cast<std::size_t>(run.nodes()), 0.0);
  return Eigen::Map<Matrix3Xd>(values.data(), 3, run.nodes());
}

// ---- sums over nodes and modes
// ---------------------------------------------------------------------------------------

class Sums {
 public:
  explicit Sums(CheckRun &run) : run_(run), masses_(run.nodes()), at_(3, run.nodes()) {
    for (int i = 0; i < run.nodes(); ++i) {
      double mass = 0.0;
      SBR_NodalMassAndGeometry(run.body(), i, &mass, at_.col(i).data());
      masses_[i] = mass;
    }
    extent_ = std::max(at_.cwiseAbs().maxCoeff(), 1e-300);
  }

  void compare_all() {
    const int modes = run_.modes();
    const Given<double> third(run_.has(20) ? SBR_Invar3(run_.body()) : nullptr);
    const Given<double> fourth(run_.has(21) ? SBR_Invar4(run_.body()) : nullptr);
    const bool eighth = run_.has(24);
    const bool pairs = run_.has(22) || run_.has(25);
    if (!third && !fourth && !eighth && !pairs) return;
    for (int j = 0; j < modes; ++j) {
      const Matrix3Xd phi = matrix_of(run_, j, 0);
      const double size = std::max(phi.cwiseAbs().maxCoeff(), 1e-300) * masses_.cwiseAbs().sum();
      if (third) compare_vector("invariant 3", j, third.get(), phi * masses_, size);
      if (fourth) compare_fourth(j, fourth.get(), phi, size * extent_);
      if (eighth) {
        const Given<double> stored(SBR_Invar8(run_.body(), j));
        if (stored) compare_product("invariant 8", run_.mode_name(j), stored.get(), at_, phi, size * extent_);
      }
      if (pairs) compare_pairs(j, phi, size);
    }
    for (const auto &[name, worst] : worst_)
      run_.expect(worst.figure <= run_.tolerance() * 10.0,
                  {Level::error, name, "stored against recomputed from nodes and modes, relative", worst.figure,
                   worst.place, "The invariant is not that of the nodes and modes of this record."});
  }

 private:
  struct Worst {
    double figure = 0.0;
    std::string place;
  };

  void take(const std::string &name, const std::string &place, double stored, double computed, double scale) {
    Worst &worst = worst_[name];
    const double difference = std::fabs(stored - computed) / (scale > 0.0 ? scale : 1.0);
    if (!std::isnan(difference) && difference <= worst.figure) return;
    worst = {difference, place};
  }
  void compare_vector(const std::string &name, int j, const double *stored, const Vector3d &sum, double scale) {
    for (int c = 0; c < 3; ++c) take(name, run_.mode_name(j), stored[c * run_.modes() + j], sum[c], scale);
  }
  void compare_fourth(int j, const double *stored, const Matrix3Xd &phi, double scale) {
    const Matrix3Xd theta = matrix_of(run_, j, 1);
    Vector3d sum = Vector3d::Zero();
    for (int i = 0; i < run_.nodes(); ++i) {
      sum += masses_[i] * at_.col(i).cross(phi.col(i));
      double nine[9];
      if (SBR_NodalInertia(run_.body(), i, nine) != 0) sum += Eigen::Map<RowMatrix>(nine) * theta.col(i);
    }
    compare_vector("invariant 4", j, stored, sum, scale);
  }
  // sum of m ~a ~b, with ~a ~b = b a^T - (a . b) E.
  void compare_product(const std::string &name, const std::string &place, const double *stored, const Matrix3Xd &a,
                       const Matrix3Xd &b, double scale) {
    const Matrix3d outer = b * masses_.asDiagonal() * a.transpose();
    const Matrix3d sum = outer - outer.trace() * Matrix3d::Identity();
    for (int r = 0; r < 3; ++r)
      for (int c = 0; c < 3; ++c) take(name, place, stored[3 * r + c], sum(r, c), scale);
  }
  void compare_pairs(int j, const Matrix3Xd &phi_j, double size_j) {
    const Given<double> fifth(run_.has(22) ? SBR_Invar5(run_.body(), j) : nullptr);
    for (int k = 0; k < run_.modes(); ++k) {
      const Matrix3Xd phi_k = matrix_of(run_, k, 0);
      const double scale = size_j * std::max(phi_k.cwiseAbs().maxCoeff(), 1e-300);
      const std::string place = run_.mode_name(j) + " and " + std::to_string(SBR_ModeNumber(run_.body(), k));
      if (fifth) {
        Vector3d sum = Vector3d::Zero();
        for (int i = 0; i < run_.nodes(); ++i) sum += masses_[i] * phi_j.col(i).cross(phi_k.col(i));
        for (int c = 0; c < 3; ++c) take("invariant 5", place, fifth[c * run_.modes() + k], sum[c], scale);
      }
      if (!run_.has(25)) continue;
      const Given<double> ninth(SBR_Invar9(run_.body(), j, k));
      if (ninth) compare_product("invariant 9", place, ninth.get(), phi_j, phi_k, scale);
    }
  }

  CheckRun &run_;
  Eigen::VectorXd masses_;
  Matrix3Xd at_;
  double extent_ = 1.0;
  std::map<std::string, Worst> worst_;
};

// ---- scales
// ----------------------------------------------------------------------------------------------------------

// The sum of m phi . phi (and of the rotations) of a mode over the nodes.
double mass_by_nodes(CheckRun &run, int mode) {
  const Matrix3Xd phi = matrix_of(run, mode, 0);
  const Matrix3Xd theta = matrix_of(run, mode, 1);
  double sum = 0.0;
  for (int i = 0; i < run.nodes(); ++i) {
    sum += SBR_NodalMass(run.body(), i) * phi.col(i).squaredNorm();
    double nine[9];
    if (SBR_NodalInertia(run.body(), i, nine) != 0) sum += theta.col(i).dot(Eigen::Map<RowMatrix>(nine) * theta.col(i));
  }
  return sum;
}

// The same from invariant 9, which holds it also for nodes that were dropped: ~a ~a has the trace - 2 a . a.
double mass_by_ninth(CheckRun &run, int mode) {
  const Given<double> ninth(SBR_Invar9(run.body(), mode, mode));
  return ninth ? -0.5 * (ninth[0] + ninth[4] + ninth[8]) : NAN;
}

double generalized_mass(CheckRun &run, int mode) {
  double mass = 0.0;
  const int known =
      SBR_Eigenvalue(run.body(), SBR_ModeNumber(run.body(), mode), nullptr, nullptr, nullptr, &mass, nullptr);
  return known != 0 ? mass : NAN;
}

// ---- rigid-body modes
// ------------------------------------------------------------------------------------------------

// A shape as translation a and rotation b about the origin: what a least-squares fit gives, and what it leaves over.
struct RigidMotion {
  Vector3d a;
  Vector3d b;
  double rest;
  double size;
};

class RigidFit {
 public:
  explicit RigidFit(CheckRun &run) : run_(run), motions_(3 * run.nodes(), 6) {
    for (int i = 0; i < run.nodes(); ++i) {
      double r[3];
      SBR_NodeCoordinates(run.body(), i, r);
      motions_.block<3, 3>(3 * i, 0).setIdentity();
      motions_.block<3, 3>(3 * i, 3) << 0, r[2], -r[1], -r[2], 0, r[0], r[1], -r[0], 0;
    }
    fit_.compute(motions_);
  }
  RigidMotion of(int mode) {
    const Matrix3Xd shape = matrix_of(run_, mode, 0);
    const Eigen::Map<const Eigen::VectorXd> flat(shape.data(), shape.size());
    const Eigen::VectorXd motion = fit_.solve(flat);
    const double norm = flat.norm();
    const double rest = norm > 0.0 ? (flat - motions_ * motion).norm() / norm : 0.0;
    return {motion.head<3>(), motion.tail<3>(), rest, shape.cwiseAbs().maxCoeff()};
  }

 private:
  CheckRun &run_;
  Eigen::MatrixXd motions_;
  Eigen::ColPivHouseholderQR<Eigen::MatrixXd> fit_;
};

// A rigid motion carries the mass properties of the body, also where its nodes were dropped: its generalized mass is
// a.a m + 2 a.(b x S) + b.J b, its invariant 3 is m a + b x S.
void check_rigid_mass(CheckRun &run, int mode, const RigidMotion &motion) {
  const double mass = SBR_Invar1(run.body());
  const Given<double> second(SBR_Invar2(run.body()));
  const Given<double> seventh(SBR_Invar7(run.body()));
  if (!(mass > 0.0) || !second || !seventh) return;
  const Vector3d moment = Eigen::Map<Vector3d>(second.get());
  const Matrix3d inertia = Eigen::Map<RowMatrix>(seventh.get());
  const Vector3d &a = motion.a;
  const Vector3d &b = motion.b;
  const double carried = a.dot(a) * mass + 2.0 * a.dot(b.cross(moment)) + b.dot(inertia * b);
  const double ratio = carried / generalized_mass(run, mode);
  if (std::isfinite(ratio))
    run.expect(ratio >= 0.5 && ratio <= 2.0,
               {Level::error, "rigid modes", "mass that the motion carries over the generalized mass", ratio,
                run.mode_name(mode), "The mode is scaled wrongly, or the mass of the body is not what it was."});
  if (!run.has(kThirdInvariant)) return;
  const Given<double> third(SBR_Invar3(run.body()));
  if (!third) return;
  const Vector3d expected = mass * a + b.cross(moment);
  double worst = 0.0;
  for (int c = 0; c < 3; ++c)
    worst = std::fmax(worst, std::fabs(third[c * run.modes() + mode] - expected[c]) / (mass * motion.size));
  run.expect(worst <= kRigidTolerance,
             {Level::error, "rigid modes", "invariant 3 against that of the rigid motion, relative", worst,
              run.mode_name(mode), "Shape and invariants of the mode do not belong together."});
}

}  // namespace

void check_invariants(CheckRun &run) {
  if (!nodes_hold_the_mass(run) || run.nodes() < 1) return;
  if (SBR_ModeExist(run.body(), 0) != 0) Sums(run).compare_all();
}

// Lumping moves the generalized mass of a mode by some tens of percent at most: what is farther off is wrong.
void check_scales(CheckRun &run) {
  if (SBR_ModeExist(run.body(), 0) == 0 || run.nodes() < 1) return;
  const bool by_nodes = nodes_hold_the_mass(run);
  if (!by_nodes && !run.has(kLastInvariant)) return;
  double worst = 0.0;
  double worst_ratio = 1.0;
  std::string place;
  for (int m = 0; m < run.modes(); ++m) {
    const double ratio = (by_nodes ? mass_by_nodes(run, m) : mass_by_ninth(run, m)) / generalized_mass(run, m);
    if (!std::isfinite(ratio)) continue;
    const double away = ratio > 0.0 ? std::fabs(std::log(ratio)) : HUGE_VAL;
    if (!place.empty() && away <= worst) continue;
    worst = away;
    worst_ratio = ratio;
    place = run.mode_name(m);
  }
  if (place.empty()) return;
  const std::string what =
      by_nodes ? "from shapes and nodal masses, over the one stored" : "from invariant 9, over the one stored";
  run.expect(worst_ratio >= 0.5 && worst_ratio <= 2.0,
             {Level::error, "generalized masses", what, worst_ratio, place,
              "The shape is scaled wrongly, or the nodes do not hold the mass of the body any more."});
  if (std::fabs(worst_ratio - 1.0) > 0.01)
    run.note("generalized masses", what + ": the worst, " + place, worst_ratio, "Lumped masses are not exact.");
}

void check_rigid_modes(CheckRun &run) {
  const int rigid = SBR_RigidBodyModeCount(run.body());
  if (SBR_ModeExist(run.body(), 0) == 0 || run.nodes() < 3) return;
  run.note("rigid modes", "rigid-body modes found", rigid, "A free body has six.");
  if (rigid < 1) return;
  RigidFit fit(run);
  for (int m = 0; m < rigid; ++m) {
    const RigidMotion motion = fit.of(m);
    if (motion.size == 0.0) continue;
    run.expect(motion.rest <= kRigidTolerance,
               {Level::error, "rigid modes", run.mode_name(m) + ": part that is no rigid motion", motion.rest,
                run.mode_name(m), "The frequency says that the body moves without deforming, the shape does not."});
    if (motion.rest <= kRigidTolerance) check_rigid_mass(run, m, motion);
  }
}

}  // namespace sbrtool
