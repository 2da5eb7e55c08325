// Which modes of two bodies are the same.
//
// Modes are matched by the modal assurance criterion of their shapes at common nodes, MAC = (a.b)^2 / (a.a b.b),
// whatever their place and sign (Allemang, Brown: A correlation coefficient for modal vector analysis, 1982).
// Rigid-body modes, and modes that have one frequency, come out of every run in another mixture: there the spaces are
// matched, by the orthogonal mixture that fits best (Schoenemann: A generalized solution of the orthogonal Procrustes
// problem, 1966).
#ifndef SBRKIT_TOOLS_SBR_MODEMATCH_H
#define SBRKIT_TOOLS_SBR_MODEMATCH_H

#include <string>
#include <utility>
#include <vector>

#include "session.h"

namespace sbrtool {

// A mode of B as a mixture of modes of A. A mode that is matched alone has one part with the weight 1 or -1.
struct MatchedMode {
  int b = 0;
  std::vector<std::pair<int, double>> parts;  // mode of A, weight
  double mac = 0.0;
  [[nodiscard]] bool alone() const { return parts.size() == 1; }
};

struct ModeMatch {
  std::vector<MatchedMode> modes;  // in the order of B
  std::vector<std::string> unmatched;
  bool in_order = true;  // every mode is matched with itself, or mixed with its neighbours
};

// The criterion of each mode of A (a row) with each mode of B. No numbers for a mode without a shape, or with values
// that are no numbers.
struct MacTable {
  std::vector<std::vector<double>> values;
  int nodes = 0;  // common nodes that were looked at
};
MacTable mac_table(SBR a, SBR b);

// By place, sign included.
ModeMatch match_by_place(SBR a, SBR b);
ModeMatch match_by_shape(SBR a, SBR b);

}  // namespace sbrtool

#endif
