#include "calculix/dof_table.h"

#include <algorithm>
#include <set>
#include <utility>

namespace sbrtranslate {
namespace {

std::string dof_text(int node, int direction) {
  return "degree of freedom " + std::to_string(direction) + " of node " + std::to_string(node);
}

}  // namespace

DofTable::DofTable(std::vector<Dof> dofs, const Model &model, const DeckNotes &notes, const std::string &file)
    : model_(model), rows_(std::move(dofs)), held_(rows_.size(), 0), has_row_(6 * model.nodes.size(), 0) {
  if (!notes.relations.empty())
    throw InputError(notes.relations.front().place,
                     notes.relations.front().keyword +
                         " ties degrees of freedom in a way that the matrices do not tell; " +
                         "import the modes, or use *EQUATION");
  if (!notes.transforms.empty() && !notes.supports.empty())
    throw InputError(notes.transforms.front().place,
                     "*TRANSFORM with *BOUNDARY ties degrees of freedom in a way that the matrices do not tell; import "
                     "the modes");
  take_rows(notes, file);
  explain_missing(notes, file);
}

std::size_t DofTable::dof_of(int node, int direction, const Place &place) const {
  const int position = model_.node_position(node);
  if (position < 0) throw InputError(place, "node " + std::to_string(node) + " is not a node of the deck's elements");
  const bool turns = model_.nodes[static_cast<std::size_t>(position)].reference;
  if (direction < 1 || direction > (turns ? 6 : 3))
    throw InputError(place, dof_text(node, direction) + ": the node has no such direction");
  return 6 * static_cast<std::size_t>(position) + static_cast<std::size_t>(direction - 1);
}

bool DofTable::is_inner(const Dof &row, const DeckNotes &notes) const {
  return notes.incompatible != 0 && row.node > model_.mesh.nodes.back().id;
}

void DofTable::take_rows(const DeckNotes &notes, const std::string &file) {
  const auto &interface_nodes = model_.interface_nodes;
  std::set<std::pair<int, int>> inner;
  for (std::size_t r = 0; r < rows_.size(); ++r) {
    const Place place{file, static_cast<long>(r) + 1};
    if (is_inner(rows_[r], notes)) {
      if (!inner.emplace(rows_[r].node, rows_[r].direction).second)
        throw InputError(place, "the degree of freedom comes a second time");
      dof_of_row_.push_back(kInner);
      continue;
    }
    const std::size_t dof = dof_of(rows_[r].node, rows_[r].direction, place);
    if (has_row_[dof] != 0) throw InputError(place, "the degree of freedom comes a second time");
    has_row_[dof] = 1;
    dof_of_row_.push_back(dof);
    held_[r] = std::binary_search(interface_nodes.begin(), interface_nodes.end(), rows_[r].node) ? 1 : 0;
  }
  if (inner.size() != 9 * notes.incompatible)
    throw InputError({file, 0}, std::to_string(inner.size()) +
                                    " rows are of no node of the deck, and the incompatible " +
                                    "modes of its C3D8I have " + std::to_string(9 * notes.incompatible));
}

// The equation of each degree of freedom that depends on others, or -1.
std::vector<int> DofTable::dependents(const DeckNotes &notes, const std::vector<char> &supported) const {
  std::vector<int> equation_of(supported.size(), -1);
  for (std::size_t e = 0; e < notes.equations.size(); ++e) {
    const Place &place = notes.equations[e].place;
    const EquationTerm &first = notes.equations[e].terms.front();
    const std::size_t dof = dof_of(first.node, first.direction, place);
    if (first.factor == 0.0) throw InputError(place, "the first factor of the equation is 0");
    if (has_row_[dof] != 0 || supported[dof] != 0 || equation_of[dof] >= 0)
      throw InputError(place, dof_text(first.node, first.direction) +
                                  " depends on others here, and is held, has a matrix row or another equation: " +
                                  "matrices of another deck?");
    if (std::binary_search(model_.interface_nodes.begin(), model_.interface_nodes.end(), first.node))
      throw InputError(place, "node " + std::to_string(first.node) + " is an interface node and depends on others " +
                                  "here; put another node of the equation first");
    equation_of[dof] = static_cast<int>(e);
  }
  return equation_of;
}

// Orders the equations so that the terms of each are known: an equation waits for those that its terms depend on.
void DofTable::order_equations(const DeckNotes &notes, const std::vector<char> &supported) {
  const std::vector<int> equation_of = dependents(notes, supported);
  const auto &equations = notes.equations;
  std::vector<Step> steps(equations.size());
  std::vector<std::vector<std::size_t>> followers(equations.size());
  std::vector<std::size_t> waits(equations.size(), 0);
  for (std::size_t e = 0; e < equations.size(); ++e) {
    const auto &terms = equations[e].terms;
    steps[e].dof = dof_of(terms[0].node, terms[0].direction, equations[e].place);
    for (std::size_t t = 1; t < terms.size(); ++t) {
      const std::size_t dof = dof_of(terms[t].node, terms[t].direction, equations[e].place);
      steps[e].terms.emplace_back(dof, -terms[t].factor / terms[0].factor);
      if (equation_of[dof] < 0) continue;
      followers[static_cast<std::size_t>(equation_of[dof])].push_back(e);
      ++waits[e];
    }
  }
  std::vector<std::size_t> ready;
  for (std::size_t e = 0; e < waits.size(); ++e)
    if (waits[e] == 0) ready.push_back(e);
  for (std::size_t at = 0; at < ready.size(); ++at) {
    for (const std::size_t follower : followers[ready[at]])
      if (--waits[follower] == 0) ready.push_back(follower);
    steps_.push_back(std::move(steps[ready[at]]));
  }
  for (std::size_t e = 0; e < waits.size(); ++e)
    if (waits[e] != 0) throw InputError(equations[e].place, "equations that depend on each other in a circle");
}

void DofTable::explain_missing(const DeckNotes &notes, const std::string &file) {
  std::vector<char> explained(has_row_.size(), 0);
  for (const Support &support : notes.supports)
    if (const int position = model_.node_position(support.node); position >= 0)
      explained[6 * static_cast<std::size_t>(position) + static_cast<std::size_t>(support.direction - 1)] = 1;
  order_equations(notes, explained);
  for (const Step &step : steps_) explained[step.dof] = 2;
  for (std::size_t dof = 0; dof < explained.size(); ++dof) {
    const BodyNode &node = model_.nodes[dof / 6];
    if (has_row_[dof] != 0 || (dof % 6 >= 3 && !node.reference)) continue;
    if (explained[dof] == 0)
      throw InputError({file, 0},
                       dof_text(node.id, static_cast<int>(dof % 6) + 1) +
                           " has no row, and the deck has neither *BOUNDARY nor *EQUATION for it: matrices " +
                           "of another deck?");
    if (explained[dof] == 1) ++supported_;
  }
}

void DofTable::spread(const std::vector<double> &row_values, std::vector<double> &node_values) const {
  node_values.assign(6 * model_.nodes.size(), 0.0);
  for (std::size_t r = 0; r < row_values.size(); ++r)
    if (dof_of_row_[r] != kInner) node_values[dof_of_row_[r]] = row_values[r];
  for (const Step &step : steps_) {
    double value = 0.0;
    for (const auto &[dof, factor] : step.terms) value += factor * node_values[dof];
    node_values[step.dof] = value;
  }
}

}  // namespace sbrtranslate
