// What the parts of `sbr diff` share: two bodies, their modes matched, and the blocks compared so far.
#ifndef SBRKIT_TOOLS_SBR_DIFF_H
#define SBRKIT_TOOLS_SBR_DIFF_H

#include <string>
#include <vector>

#include "diffblock.h"
#include "modematch.h"
#include "session.h"

namespace sbrtool {

struct DiffRun {
  DiffRun(SBR first, SBR second, const Tolerances &given)
      : a(first),
        b(second),
        tolerances(given),
        match(given.exact() ? match_by_place(first, second) : match_by_shape(first, second)) {}

  [[nodiscard]] Block block(const std::string &name) const { return {name, tolerances}; }
  // A block that only one of the two has is a difference of its own.
  bool in_both(Block &one, bool in_a, bool in_b);
  bool in_both(Block &one, int index) { return in_both(one, SBR_Exists(a, index) != 0, SBR_Exists(b, index) != 0); }

  SBR a;
  SBR b;
  const Tolerances &tolerances;
  ModeMatch match;
  std::vector<Block> blocks;
};

inline std::string at(const char *what, int i) { return std::string(what) + " " + std::to_string(i); }

// What a comparison of two records came to.
struct DiffOutcome {
  std::vector<Block> blocks;  // those that were compared
  ModeMatch match;
  int different = 0;  // blocks
  // The block with the largest difference that is within its tolerance; null when there is none.
  [[nodiscard]] const Block *farthest() const;
  [[nodiscard]] bool same() const { return different == 0; }
  [[nodiscard]] int compared() const { return static_cast<int>(blocks.size()); }
};
DiffOutcome compare_records(SBR a, SBR b, const Tolerances &tolerances);
// In a line.
std::string summary_of(const DiffOutcome &outcome);

void compare_geometry(DiffRun &run);    // header, units, nodes, faces, global properties, interface nodes
void compare_modes(DiffRun &run);       // eigenvalues, shapes, stress, strain, generalized matrices, transformation
void compare_invariants(DiffRun &run);  // 1 to 9
void compare_loads(DiffRun &run);       // preload, loads, statistics, pre-stress, monitor points, matrix operators

}  // namespace sbrtool

#endif
