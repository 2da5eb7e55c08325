// Nearest nodes. The search index over a body's nodes is owned by the body, made when enough searches have come to pay
// for it, and dropped by whoever moves, adds or removes nodes (SbrBody::search.drop()).
#ifndef SBRKIT_BODY_NODE_SEARCH_H
#define SBRKIT_BODY_NODE_SEARCH_H

#include <cstdint>

#include "base/memory.h"

struct SbrBody;

namespace sbr {

// A k-d tree over node positions, in flat arrays. Answers are those of a walk over all nodes in table order, ties too.
class NodeSearchIndex {
 public:
  void drop() noexcept;
  // The node closest to a point, the lowest index among equals; -1 when the index is not to be used for this body, and
  // a plain walk has to do.
  [[nodiscard]] int closest(const SbrBody &body, const double *point3) noexcept;

 private:
  struct Item {
    double at[3];
    std::int32_t node;
  };
  struct Best {
    double distance;
    std::int32_t node;
  };
  [[nodiscard]] bool build(const SbrBody &body) noexcept;
  void arrange(std::size_t first, std::size_t last) noexcept;
  void search(std::size_t first, std::size_t last, const double *point, Best &best) const noexcept;

  Array<Item> items_;             // each range split at its middle item
  Array<unsigned char> axis_of_;  // the axis at which the range with this middle is split
  int walks_ = 0;                 // plain walks since the last drop
  bool unusable_ = false;         // coordinates that are not numbers: always walk
};

}  // namespace sbr

#endif
