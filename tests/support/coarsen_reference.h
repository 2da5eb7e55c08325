// Coarsening as it is told, rule by rule, without regard to cost: every redirection goes through all nodes, every pair
// of repeated vertices is looked at. The library's result must equal it word for word.
#ifndef SBRKIT_TESTS_SUPPORT_COARSEN_REFERENCE_H
#define SBRKIT_TESTS_SUPPORT_COARSEN_REFERENCE_H

#include <set>

#include "support/meshes.h"

namespace sbrtest {

struct CoarseningOptions {
  double resolution = 0.02;
  double angle = 10.0;
  bool colinear = false;
  std::set<int> preserved = {};  // node indices
};

Faces coarsen_by_the_book(const Surface &surface, const CoarseningOptions &options);
// The pruning of one polygon; in_play says per node whether it may go.
std::vector<int> prune_by_the_book(std::vector<int> polygon, const std::vector<bool> &in_play);

}  // namespace sbrtest

#endif
