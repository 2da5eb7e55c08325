#include "modematch.h"

#include <Eigen/Dense>
#include <algorithm>
#include <cmath>

#include "comparing.h"

namespace sbrtool {
namespace {

using Eigen::MatrixXd;

constexpr std::size_t kMostNodes = 20000;  // that are looked at for the match; the comparison looks at all
constexpr double kAlike = 0.9;
constexpr double kSpaceRest = 0.1;  // of the length of a mode that a mixture may leave over
constexpr double kOneFrequency = 1e-3;

std::string name_of(const char *side, SBR body, int mode) {
  return "mode " + std::to_string(SBR_ModeNumber(body, mode)) + " of " + side;
}

double frequency(SBR body, int mode) {
  double hz = NAN;
  SBR_Eigenvalue(body, SBR_ModeNumber(body, mode), nullptr, &hz, nullptr, nullptr, nullptr);
  return hz;
}

// Positions of common nodes in the shapes of both.
std::vector<std::pair<int, int>> common_nodes(SBR a, SBR b) {
  std::vector<std::pair<int, int>> common;
  const int count = SBR_ModeNodeCount(a, 0);
  const int step = std::max(1, count / static_cast<int>(kMostNodes));
  for (int i = 0; i < count; i += step)
    if (const int k = SBR_ModeNodeIndex(b, 0, SBR_ModeNodeID(a, 0, i)); k >= 0) common.emplace_back(i, k);
  return common;
}

// The translations of all modes at the common nodes, a column for each mode.
MatrixXd shapes_of(SBR body, const std::vector<std::pair<int, int>> &nodes, bool first) {
  MatrixXd shapes = MatrixXd::Zero(static_cast<Eigen::Index>(3 * nodes.size()), SBR_ModeCount(body));
  for (int m = 0; m < SBR_ModeCount(body); ++m) {
    const std::vector<double> all = mode_part(body, m, 0, 0);
    for (std::size_t n = 0; n < nodes.size(); ++n) {
      const auto at = 3 * static_cast<std::size_t>(first ? nodes[n].first : nodes[n].second);
      if (at + 3 > all.size()) continue;
      for (std::size_t c = 0; c < 3; ++c) shapes(static_cast<Eigen::Index>(3 * n + c), m) = all[at + c];
    }
  }
  return shapes;
}

class Matcher {
 public:
  Matcher(SBR a, SBR b) : a_(a), b_(b) {
    const auto nodes = common_nodes(a, b);
    p_ = shapes_of(a, nodes, true);
    q_ = shapes_of(b, nodes, false);
    free_a_.assign(static_cast<std::size_t>(p_.cols()), true);
    free_b_.assign(static_cast<std::size_t>(q_.cols()), true);
    const Eigen::VectorXd pp = p_.colwise().squaredNorm();
    const Eigen::VectorXd qq = q_.colwise().squaredNorm();
    products_ = p_.transpose() * q_;
    mac_ = MatrixXd::Zero(p_.cols(), q_.cols());
    for (Eigen::Index i = 0; i < p_.cols(); ++i)
      for (Eigen::Index k = 0; k < q_.cols(); ++k)
        if (pp[i] * qq[k] > 0.0) mac_(i, k) = products_(i, k) * products_(i, k) / (pp[i] * qq[k]);
  }

  ModeMatch run() {
    match_rigid();
    match_alone();
    match_spaces();
    std::sort(match_.modes.begin(), match_.modes.end(),
              [](const MatchedMode &x, const MatchedMode &y) { return x.b < y.b; });
    tell_unmatched();
    for (const MatchedMode &mode : match_.modes)
      match_.in_order = match_.in_order && (!mode.alone() || mode.parts[0].first == mode.b);
    return match_;
  }

 private:
  void match_rigid() {
    const int rigid = std::max(SBR_RigidBodyModeCount(a_), SBR_RigidBodyModeCount(b_));
    if (rigid < 1 || rigid > std::min(p_.cols(), q_.cols())) return;
    std::vector<int> first;
    for (int i = 0; i < rigid; ++i) first.push_back(i);
    match_space(first, first);
  }

  // The best pairs first, so that no mode is taken by a worse one.
  void match_alone() {
    struct Pair {
      double mac;
      int a;
      int b;
    };
    std::vector<Pair> pairs;
    for (Eigen::Index i = 0; i < mac_.rows(); ++i)
      for (Eigen::Index k = 0; k < mac_.cols(); ++k)
        if (mac_(i, k) >= kAlike) pairs.push_back({mac_(i, k), static_cast<int>(i), static_cast<int>(k)});
    std::stable_sort(pairs.begin(), pairs.end(), [](const Pair &x, const Pair &y) { return x.mac > y.mac; });
    for (const Pair &pair : pairs) {
      if (!is_free(free_a_, pair.a) || !is_free(free_b_, pair.b)) continue;
      const double sign = products_(pair.a, pair.b) < 0.0 ? -1.0 : 1.0;
      match_.modes.push_back({pair.b, {{pair.a, sign}}, pair.mac});
      take(pair.a, pair.b);
    }
  }

  // Modes that are left and have one frequency.
  void match_spaces() {
    for (int i = 0; i < p_.cols(); ++i) {
      if (!is_free(free_a_, i)) continue;
      const double hz = frequency(a_, i);
      std::vector<int> first;
      std::vector<int> second;
      for (int k = i; k < p_.cols(); ++k)
        if (is_free(free_a_, k) && std::fabs(frequency(a_, k) - hz) <= kOneFrequency * std::fabs(hz))
          first.push_back(k);
      for (int k = 0; k < q_.cols(); ++k)
        if (is_free(free_b_, k) && std::fabs(frequency(b_, k) - hz) <= kOneFrequency * std::fabs(hz))
          second.push_back(k);
      if (first.size() > 1 && first.size() == second.size()) match_space(first, second);
    }
  }

  void match_space(const std::vector<int> &first, const std::vector<int> &second) {
    const auto n = static_cast<Eigen::Index>(first.size());
    MatrixXd p(p_.rows(), n);
    MatrixXd q(q_.rows(), n);
    for (Eigen::Index i = 0; i < n; ++i) {
      p.col(i) = p_.col(first[static_cast<std::size_t>(i)]);
      q.col(i) = q_.col(second[static_cast<std::size_t>(i)]);
    }
    if (p.rows() < n || !p.allFinite() || !q.allFinite()) return;
    const MatrixXd mixture = p.colPivHouseholderQr().solve(q);
    const Eigen::JacobiSVD<MatrixXd> svd(mixture, Eigen::ComputeFullU | Eigen::ComputeFullV);
    const MatrixXd turn = svd.matrixU() * svd.matrixV().transpose();
    if ((p * mixture - q).norm() > kSpaceRest * q.norm()) return;
    for (Eigen::Index k = 0; k < n; ++k) {
      MatchedMode mode;
      mode.b = second[static_cast<std::size_t>(k)];
      for (Eigen::Index i = 0; i < n; ++i) mode.parts.emplace_back(first[static_cast<std::size_t>(i)], turn(i, k));
      const Eigen::VectorXd fitted = p * turn.col(k);
      const double product = fitted.dot(q.col(k));
      mode.mac = product * product / std::max(fitted.squaredNorm() * q.col(k).squaredNorm(), 1e-300);
      match_.modes.push_back(mode);
    }
    for (std::size_t i = 0; i < first.size(); ++i) take(first[i], second[i]);
  }

  void tell_unmatched() {
    const auto tell = [&](const char *side, SBR body, int mode, double best, const std::string &with) {
      match_.unmatched.push_back(name_of(side, body, mode) + " (" + brief(frequency(body, mode)) +
                                 " Hz) has no partner; the most alike is " + with + ", MAC " + brief(best, 3));
    };
    for (int i = 0; i < p_.cols() && q_.cols() > 0; ++i) {
      if (!is_free(free_a_, i)) continue;
      Eigen::Index k = 0;
      const double best = mac_.row(i).maxCoeff(&k);
      tell("A", a_, i, best, name_of("B", b_, static_cast<int>(k)));
    }
    for (int k = 0; k < q_.cols() && p_.cols() > 0; ++k) {
      if (!is_free(free_b_, k)) continue;
      Eigen::Index i = 0;
      const double best = mac_.col(k).maxCoeff(&i);
      tell("B", b_, k, best, name_of("A", a_, static_cast<int>(i)));
    }
  }

  static bool is_free(const std::vector<bool> &list, int mode) { return list[static_cast<std::size_t>(mode)]; }
  void take(int a, int b) {
    free_a_[static_cast<std::size_t>(a)] = false;
    free_b_[static_cast<std::size_t>(b)] = false;
  }

  SBR a_;
  SBR b_;
  MatrixXd p_;
  MatrixXd q_;
  MatrixXd products_;
  MatrixXd mac_;
  std::vector<bool> free_a_;
  std::vector<bool> free_b_;
  ModeMatch match_;
};

}  // namespace

MacTable mac_table(SBR a, SBR b) {
  MacTable table;
  if (SBR_ModeExist(a, 0) == 0 || SBR_ModeExist(b, 0) == 0) return table;
  const auto nodes = common_nodes(a, b);
  table.nodes = static_cast<int>(nodes.size());
  const MatrixXd p = shapes_of(a, nodes, true);
  const MatrixXd q = shapes_of(b, nodes, false);
  const MatrixXd products = p.transpose() * q;
  table.values.assign(static_cast<std::size_t>(p.cols()),
                      std::vector<double>(static_cast<std::size_t>(q.cols()), std::nan("")));
  for (Eigen::Index i = 0; i < p.cols(); ++i)
    for (Eigen::Index k = 0; k < q.cols(); ++k) {
      const double squares = p.col(i).squaredNorm() * q.col(k).squaredNorm();
      if (squares > 0.0 && std::isfinite(squares))
        table.values[static_cast<std::size_t>(i)][static_cast<std::size_t>(k)] =
            products(i, k) * products(i, k) / squares;
    }
  return table;
}

ModeMatch match_by_place(SBR a, SBR b) {
  ModeMatch match;
  const int both = std::min(SBR_ModeCount(a), SBR_ModeCount(b));
  for (int m = 0; m < both; ++m) match.modes.push_back({m, {{m, 1.0}}, NAN});
  for (int m = both; m < SBR_ModeCount(a); ++m) match.unmatched.push_back(name_of("A", a, m) + " has no partner");
  for (int m = both; m < SBR_ModeCount(b); ++m) match.unmatched.push_back(name_of("B", b, m) + " has no partner");
  return match;
}

ModeMatch match_by_shape(SBR a, SBR b) {
  if (SBR_ModeExist(a, 0) == 0 || SBR_ModeExist(b, 0) == 0) return match_by_place(a, b);
  return Matcher(a, b).run();
}

}  // namespace sbrtool
