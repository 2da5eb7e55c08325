// How the rows of the solver's matrices stand for the nodes of a body with reference nodes.
#ifndef SBRKIT_TRANSLATORS_CALCULIX_COUPLED_ROWS_H
#define SBRKIT_TRANSLATORS_CALCULIX_COUPLED_ROWS_H

#include <vector>

#include "common/mesh.h"
#include "common/reduction.h"

namespace sbrtranslate {

// The solver takes the nodes of rigid bodies and kinematic couplings out of its matrices and gives each reference node
// six rows; three of them bear the number of a node of their own, which stands for the rotations. Matrices of the body
// without its couplings have rows for all nodes and none for reference nodes: then the rows are coupled here.
// Distributing couplings are always coupled here, the solver knows no motion of their reference nodes.
struct CoupledRows {
  std::vector<Dof> dofs;                // of the file, rotations renamed to directions 4 to 6, and the rows behind them
  std::size_t file_rows = 0;            // the first so many are those of the file
  std::vector<DependentRow> dependent;  // rows that follow reference nodes
};

// `mesh.references` are the reference nodes of the body, `all` those of the deck. Throws InputError with the file of
// the rows when they fit neither case.
CoupledRows couple_rows(std::vector<Dof> rows, const Mesh &mesh, const std::vector<ReferenceNode> &all,
                        const std::string &file);

}  // namespace sbrtranslate

#endif
