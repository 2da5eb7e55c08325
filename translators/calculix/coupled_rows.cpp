#include "calculix/coupled_rows.h"

#include <Eigen/Dense>
#include <algorithm>
#include <map>
#include <set>

namespace sbrtranslate {
namespace {

class Coupler {
 public:
  Coupler(std::vector<Dof> rows, const Mesh &mesh, const std::string &file) : mesh_(mesh), file_(file) {
    result_.dofs = std::move(rows);
    result_.file_rows = result_.dofs.size();
    for (std::size_t r = 0; r < result_.dofs.size(); ++r) {
      const Dof &dof = result_.dofs[r];
      row_[{dof.node, dof.direction}] = static_cast<int>(r);
    }
  }
  CoupledRows couple(const std::vector<ReferenceNode> &all) {
    name_rotations(all);
    for (const ReferenceNode &reference : mesh_.references)
      reference.distributing ? distribute(reference) : follow(reference);
    return std::move(result_);
  }

 private:
  void name_rotations(const std::vector<ReferenceNode> &all);
  void follow(const ReferenceNode &reference);
  void distribute(const ReferenceNode &reference);
  [[nodiscard]] int row_of(int node, int direction) const {
    const auto found = row_.find({node, direction});
    return found == row_.end() ? -1 : found->second;
  }
  int append(int node, int direction) {
    result_.dofs.push_back({node, direction});
    const int row = static_cast<int>(result_.dofs.size()) - 1;
    row_[{node, direction}] = row;
    return row;
  }
  [[nodiscard]] std::string text(const ReferenceNode &reference) const {
    return "reference node " + std::to_string(reference.node);
  }

  const Mesh &mesh_;
  const std::string &file_;
  CoupledRows result_;
  std::map<std::pair<int, int>, int> row_;
  std::set<int> following_;  // rows that follow others or that others follow
};

// Nodes that the deck does not have are those that the solver has made for the rotations, in the order of the cards.
void Coupler::name_rotations(const std::vector<ReferenceNode> &all) {
  std::vector<int> made;
  for (const Dof &dof : result_.dofs)
    if (mesh_.node_position(dof.node) < 0 && (made.empty() || made.back() != dof.node)) made.push_back(dof.node);
  std::sort(made.begin(), made.end());
  made.erase(std::unique(made.begin(), made.end()), made.end());
  std::size_t next = 0;
  for (const ReferenceNode &reference : all) {
    if (reference.distributing || row_of(reference.node, 1) < 0) continue;
    int node = reference.rotation_node;
    if (node == 0) {
      if (next == made.size())
        throw InputError({file_, 0},
                         text(reference) + " has no rows for its rotations: are the rows those of the deck?");
      node = made[next++];
    }
    for (int d = 1; d <= 3; ++d) {
      const int row = row_of(node, d);
      if (row < 0) throw InputError({file_, 0}, "a rotation of " + text(reference) + " has no row");
      result_.dofs[static_cast<std::size_t>(row)] = {reference.node, d + 3};
      row_.erase({node, d});
      row_[{reference.node, d + 3}] = row;
    }
  }
}

// Members of rigid bodies and kinematic couplings: u = u_ref + theta x (x - x_ref).
void Coupler::follow(const ReferenceNode &reference) {
  const bool has_rows = row_of(reference.node, 1) >= 0;
  for (int d = 1; d <= 6; ++d)
    if (row_of(reference.node, d) < 0) {
      if (has_rows) throw InputError({file_, 0}, text(reference) + " has rows for some directions only");
      append(reference.node, d);
    }
  for (std::size_t i = 0; i < reference.members.size(); ++i) {
    const Vec3 arm = reference.member_places[i] - reference.place;
    for (std::size_t k = 0; k < 3; ++k) {
      if (!reference.coupled[k]) continue;
      const int direction = static_cast<int>(k) + 1;
      int row = row_of(reference.members[i], direction);
      if ((row >= 0) == has_rows)
        throw InputError({file_, row + 1},
                         "node " + std::to_string(reference.members[i]) + ", direction " + std::to_string(direction) +
                             (has_rows ? ", has a row although it follows " : ", has no row, nor has ") +
                             text(reference));
      if (row < 0) row = append(reference.members[i], direction);
      DependentRow dependent{row, {{row_of(reference.node, direction), 1.0}}};
      for (std::size_t j = 0; j < 3; ++j) {
        Vec3 axis{};
        axis[j] = 1.0;
        if (const double factor = cross(axis, arm)[k]; factor != 0.0)
          dependent.terms.emplace_back(row_of(reference.node, static_cast<int>(j) + 4), factor);
      }
      following_.insert(row);
      result_.dependent.push_back(std::move(dependent));
    }
  }
}

// q = G u: six of the members' degrees of freedom follow from q and the others. They are chosen by pivots, so that the
// inverse of their part of G is as small as can be.
void Coupler::distribute(const ReferenceNode &reference) {
  const std::size_t count = reference.members.size();
  const std::vector<double> factors = mean_motion(reference);
  std::vector<int> rows;
  for (const int member : reference.members)
    for (int d = 1; d <= 3; ++d) {
      const int row = row_of(member, d);
      if (row < 0 || following_.count(row) != 0)
        throw InputError({file_, 0}, "node " + std::to_string(member) + " of " + text(reference) +
                                         " is supported or follows another node: it cannot be part of a mean");
      rows.push_back(row);
    }
  const Eigen::Map<const Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>> g(
      factors.data(), 6, static_cast<Eigen::Index>(3 * count));
  const Eigen::ColPivHouseholderQR<Eigen::MatrixXd> pivots(g);
  std::vector<Eigen::Index> chosen;
  Eigen::MatrixXd own(6, 6);
  for (Eigen::Index j = 0; j < 6; ++j) {
    chosen.push_back(pivots.colsPermutation().indices()[j]);
    own.col(j) = g.col(chosen.back());
  }
  const Eigen::MatrixXd inverse = own.inverse();
  std::vector<int> references;
  for (int d = 1; d <= 6; ++d) references.push_back(append(reference.node, d));
  const Eigen::MatrixXd rest = -inverse * g;
  for (Eigen::Index j = 0; j < 6; ++j) {
    DependentRow dependent{rows[static_cast<std::size_t>(chosen[static_cast<std::size_t>(j)])], {}};
    for (Eigen::Index q = 0; q < 6; ++q)
      dependent.terms.emplace_back(references[static_cast<std::size_t>(q)], inverse(j, q));
    for (std::size_t c = 0; c < rows.size(); ++c)
      if (std::find(chosen.begin(), chosen.end(), static_cast<Eigen::Index>(c)) == chosen.end())
        dependent.terms.emplace_back(rows[c], rest(j, static_cast<Eigen::Index>(c)));
    following_.insert(dependent.row);
    result_.dependent.push_back(std::move(dependent));
  }
  following_.insert(rows.begin(), rows.end());
}

}  // namespace

CoupledRows couple_rows(std::vector<Dof> rows, const Mesh &mesh, const std::vector<ReferenceNode> &all,
                        const std::string &file) {
  return Coupler(std::move(rows), mesh, file).couple(all);
}

}  // namespace sbrtranslate
