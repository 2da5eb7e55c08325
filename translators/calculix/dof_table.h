// The degrees of freedom behind the rows of the solver's matrices: which row is which, and what those do that have
// none.
#ifndef SBRKIT_TRANSLATORS_CALCULIX_DOF_TABLE_H
#define SBRKIT_TRANSLATORS_CALCULIX_DOF_TABLE_H

#include <string>
#include <vector>

#include "calculix/cards.h"
#include "common/model.h"
#include "common/reduction.h"

namespace sbrtranslate {

// Rows of nodes that the deck does not have belong to the incompatible modes of its C3D8I, three nodes an element; they
// are inner rows like others, and no node of the body has their values.
//
// The solver's matrices have no row for a degree of freedom that *BOUNDARY holds, and none for one that depends on
// others by an equation: the first of each *EQUATION. The table keeps a reference to the model only.
class DofTable {
 public:
  // `dofs` are the rows of the file and those of reference nodes behind them. `file` is the list of rows, for messages.
  // Throws InputError for a list that does not fit the mesh, for a degree of freedom without a row that the deck does
  // not explain, for equations that cannot be solved one after the other, for interface nodes that depend on others,
  // and for cards that tie degrees of freedom in other ways.
  DofTable(std::vector<Dof> dofs, const Model &model, const DeckNotes &notes, const std::string &file);

  [[nodiscard]] const std::vector<Dof> &rows() const { return rows_; }
  // By row: belongs to the interface.
  [[nodiscard]] const std::vector<char> &held() const { return held_; }
  [[nodiscard]] std::size_t supported() const { return supported_; }
  [[nodiscard]] std::size_t dependent() const { return steps_.size(); }
  // From the values of the rows to six values at each node of the model; rotations are 0 but at reference nodes.
  void spread(const std::vector<double> &row_values, std::vector<double> &node_values) const;

 private:
  static constexpr std::size_t kInner = static_cast<std::size_t>(-1);
  // A degree of freedom as a sum of others, all of which are known by then.
  struct Step {
    std::size_t dof = 0;
    std::vector<std::pair<std::size_t, double>> terms;
  };
  [[nodiscard]] std::size_t dof_of(int node, int direction, const Place &place) const;
  void take_rows(const DeckNotes &notes, const std::string &file);
  // A row of the incompatible modes of an element.
  [[nodiscard]] bool is_inner(const Dof &row, const DeckNotes &notes) const;
  [[nodiscard]] std::vector<int> dependents(const DeckNotes &notes, const std::vector<char> &supported) const;
  void order_equations(const DeckNotes &notes, const std::vector<char> &supported);
  void explain_missing(const DeckNotes &notes, const std::string &file);

  const Model &model_;
  std::vector<Dof> rows_;
  std::vector<char> held_;
  std::vector<std::size_t> dof_of_row_;  // kInner for those of no node of the body
  std::vector<char> has_row_;            // by degree of freedom, six to a node
  std::vector<Step> steps_;
  std::size_t supported_ = 0;
};

}  // namespace sbrtranslate

#endif
