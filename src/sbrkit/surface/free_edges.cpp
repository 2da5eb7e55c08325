// Free edges: the rims of the surface of a body, as chains of node IDs.
//
// The sides of all faces are gathered by their lower end, where the uses of an edge meet; an edge with one use is free.
// The few free edges are then walked as the classes of free_edges.hpp walk them.
#include "surface/free_edges.h"

#include <algorithm>

#include "body/node_table.h"
#include "body/registry.h"
#include "surface/discard.h"

namespace sbr {
namespace {

// One side of a face.
struct Side {
  std::int32_t low;
  std::int32_t high;
  std::uint32_t order;  // its place among all sides
};

bool by_ends(const Side &a, const Side &b) noexcept { return a.low != b.low ? a.low < b.low : a.high < b.high; }
bool by_order(const Side &a, const Side &b) noexcept { return a.order < b.order; }

// Calls use(low, high) for every side, in the order of the face list; the closing side of a face comes last.
template <class Use>
void for_each_side(FaceWalk walk, Use use) noexcept {
  while (walk.next()) {
    const std::span<const std::int32_t> face = walk.face();
    if (face.size() < 3) continue;
    for (std::size_t k = 0; k < face.size(); ++k) {
      const std::int32_t a = face[k];
      const std::int32_t b = face[k + 1 < face.size() ? k + 1 : 0];
      use(std::min(a, b), std::max(a, b));
    }
  }
}

struct SideCount {
  std::int64_t sides = 0;
  std::int32_t lowest = INT32_MAX;  // of the numbers in the sides
  std::int32_t highest = INT32_MIN;

  [[nodiscard]] std::int64_t range() const noexcept { return static_cast<std::int64_t>(highest) - lowest + 1; }
};

SideCount count_sides(FaceWalk walk) noexcept {
  SideCount count;
  for_each_side(walk, [&](std::int32_t low, std::int32_t high) {
    count.sides += 1;
    count.lowest = std::min(count.lowest, low);
    count.highest = std::max(count.highest, high);
  });
  return count;
}

// Appends the sides of a run, sorted by their ends, that no other side of the run repeats.
bool append_free(std::span<const Side> run, Array<Side> &free_sides) noexcept {
  for (std::size_t i = 0; i < run.size();) {
    std::size_t next = i + 1;
    while (next < run.size() && run[next].low == run[i].low && run[next].high == run[i].high) ++next;
    if (next == i + 1 && !free_sides.push_back(run[i])) return false;
    i = next;
  }
  return true;
}

// Node numbers that lie close together: the sides go into one bucket per lower end.
bool free_sides_by_bucket(FaceWalk walk, const SideCount &count, Array<Side> &free_sides) noexcept {
  Array<std::uint32_t> bucket_end;
  Array<Side> sides;
  if (!bucket_end.allocate(count.range() + 1) || !sides.allocate(count.sides)) return false;
  const auto bucket_of = [&](std::int32_t low) {
    return static_cast<std::size_t>(static_cast<std::int64_t>(low) - count.lowest);
  };
  for_each_side(walk, [&](std::int32_t low, std::int32_t) { bucket_end[bucket_of(low) + 1] += 1; });
  for (std::size_t n = 1; n < bucket_end.size(); ++n) bucket_end[n] += bucket_end[n - 1];
  // Filling a bucket moves its mark from its start to its end.
  std::uint32_t order = 0;
  for_each_side(walk, [&](std::int32_t low, std::int32_t high) {
    sides[bucket_end[bucket_of(low)]++] = {low, high, order++};
  });
  std::size_t start = 0;
  for (std::size_t n = 0; n + 1 < bucket_end.size(); ++n) {
    const std::span<Side> bucket = sides.span().subspan(start, bucket_end[n] - start);
    std::sort(bucket.begin(), bucket.end(), by_ends);
    if (!append_free(bucket, free_sides)) return false;
    start = bucket_end[n];
  }
  return true;
}

// Any numbers.
bool free_sides_by_sorting(FaceWalk walk, const SideCount &count, Array<Side> &free_sides) noexcept {
  Array<Side> sides;
  if (!sides.allocate(count.sides)) return false;
  std::uint32_t order = 0;
  for_each_side(walk, [&](std::int32_t low, std::int32_t high) {
    sides[order] = {low, high, order};
    order += 1;
  });
  std::sort(sides.begin(), sides.end(), by_ends);
  return append_free(sides.span(), free_sides);
}

// The sides that no other side repeats, in the order of the face list.
bool find_free_sides(FaceWalk walk, Array<Side> &free_sides) noexcept {
  const SideCount count = count_sides(walk);
  if (count.sides == 0) return true;
  const bool close = count.range() <= 2 * count.sides;
  if (!(close ? free_sides_by_bucket(walk, count, free_sides) : free_sides_by_sorting(walk, count, free_sides)))
    return false;
  std::sort(free_sides.begin(), free_sides.end(), by_order);
  return true;
}

// The free edges by node: per node the places of its edges, in the order of the face list. An edge from a node to
// itself is linked there twice.
class Rims {
 public:
  [[nodiscard]] bool build(const Array<Side> &edges) noexcept {
    edges_ = edges.span();
    if (edges_.empty()) return true;
    const auto ends = 2 * static_cast<std::int64_t>(edges_.size());
    if (!ids_.reserve(ends) || !links_.allocate(ends) || !eaten_.allocate(edges.count())) return false;
    for (const Side &edge : edges_)
      if (!ids_.push_back(edge.low) || !ids_.push_back(edge.high)) return false;
    std::sort(ids_.begin(), ids_.end());
    (void)ids_.resize(std::unique(ids_.begin(), ids_.end()) - ids_.begin());
    return link_edges();
  }

  [[nodiscard]] bool make_chains(OwnedList<Array<std::int32_t>> &chains) noexcept {
    for (std::int32_t node = 0; node < ids_.count(); ++node) {
      if (edge_count_[node] == 0) continue;
      Array<std::int32_t> *chain = chains.add();
      if (chain == nullptr || !find_free_edge(node, *chain)) return false;
    }
    return true;
  }

 private:
  [[nodiscard]] std::int32_t node_of(std::int32_t id) const noexcept {
    return static_cast<std::int32_t>(std::lower_bound(ids_.begin(), ids_.end(), id) - ids_.begin());
  }

  bool link_edges() noexcept {
    if (!first_.allocate(ids_.count() + 1) || !edge_count_.allocate(ids_.count())) return false;
    for (const Side &edge : edges_) {
      edge_count_[node_of(edge.low)] += 1;
      edge_count_[node_of(edge.high)] += 1;
    }
    for (std::size_t n = 0; n < ids_.size(); ++n) first_[n + 1] = first_[n] + edge_count_[n];
    edge_count_.fill_zero();
    for (std::size_t e = 0; e < edges_.size(); ++e)
      for (const std::int32_t id : {edges_[e].low, edges_[e].high}) {
        const auto node = static_cast<std::size_t>(node_of(id));
        links_[first_[node] + edge_count_[node]++] = static_cast<std::uint32_t>(e);
      }
    return true;
  }

  // The node at the other end of the edge that leads to the lowest ID, which is eaten; -1 when no edge is left.
  std::int32_t connected_node(std::int32_t node) noexcept {
    const std::int32_t own = ids_[node];
    std::int64_t best = -1;
    std::int32_t other = 0;
    for (std::uint32_t l = first_[node]; l < first_[static_cast<std::size_t>(node) + 1]; ++l) {
      const std::uint32_t edge = links_[l];
      if (eaten_[edge] != 0) continue;
      const std::int32_t end = edges_[edge].low != own ? edges_[edge].low : edges_[edge].high;
      if (best >= 0 && end >= other) continue;
      best = edge;
      other = end;
    }
    if (best < 0) return -1;
    const std::int32_t next = node_of(other);
    eaten_[best] = 1;
    edge_count_[node] -= 1;
    edge_count_[next] -= 1;
    return next;
  }

  // Appends the IDs on the way from a node, while exactly one edge leads on. Gives where the walk ends, -1 for nowhere.
  std::int32_t walk(std::int32_t start, Array<std::int32_t> &chain, bool &room) noexcept {
    std::int32_t next = connected_node(start);
    while (room && next >= 0 && next != start && edge_count_[next] == 1) {
      room = chain.push_back(ids_[next]);
      next = connected_node(next);
    }
    if (next >= 0) room = room && chain.push_back(ids_[next]);
    return next;
  }

  bool find_free_edge(std::int32_t start, Array<std::int32_t> &chain) noexcept {
    bool room = chain.push_back(ids_[start]);
    if (walk(start, chain, room) == start) return room;
    const std::size_t forward = chain.size();
    walk(start, chain, room);
    // What was found behind the start belongs in front of it, the other way round.
    std::reverse(chain.begin(), chain.end());
    std::reverse(chain.begin() + (chain.size() - forward), chain.end());
    return room;
  }

  std::span<const Side> edges_;
  Array<std::int32_t> ids_;         // the nodes of free edges, ascending
  Array<std::uint32_t> first_;      // per node where its edges start in links_
  Array<std::uint32_t> links_;      // places in edges_
  Array<std::int32_t> edge_count_;  // per node the links that are left
  Array<unsigned char> eaten_;      // per edge
};

}  // namespace

bool find_free_edges(FaceWalk walk, OwnedList<Array<std::int32_t>> &chains) noexcept {
  Array<Side> sides;
  if (!find_free_sides(walk, sides)) return false;
  Rims rims;
  return rims.build(sides) && rims.make_chains(chains);
}

void generate_free_edges(SbrBody &body) noexcept {
  // Inner faces would give rims of their own.
  remove_internal_geometry(body);
  OwnedList<Array<std::int32_t>> chains;
  if (!find_free_edges(FaceWalk(body.faces), chains)) return;
  for (std::size_t c = 0; c < chains.size(); ++c)
    for (std::int32_t &node : *chains[c]) node = node_id(body, node);
  body.free_edges.count = chains.count();
  body.free_edges.chains = std::move(chains);
}

namespace {

void ensure_free_edges(SbrBody &body) noexcept {
  if (body.free_edges.count == -1) generate_free_edges(body);
}

// The chain at an index, or null.
const Array<std::int32_t> *chain_at(const SbrBody &body, int chain) noexcept {
  if (chain < 0 || chain >= body.free_edges.count) return nullptr;
  return body.free_edges.chains[chain];
}

}  // namespace
}  // namespace sbr

extern "C" {

void SBR_GenerateFreeEdges(SBR body) {
  if (sbr::require_body(body)) sbr::generate_free_edges(*body);
}

int SBR_GetFreeEdgeCount(SBR body) {
  if (!sbr::require_body(body)) return 0;
  sbr::ensure_free_edges(*body);
  return body->free_edges.count;
}

int SBR_GetFreeEdgeSize(SBR body, int chain) {
  if (!sbr::require_body(body)) return 0;
  sbr::ensure_free_edges(*body);
  const sbr::Array<std::int32_t> *ids = sbr::chain_at(*body, chain);
  return ids != nullptr ? ids->count() : 0;
}

int SBR_GetFreeEdge(SBR body, int chain, int *ids) {
  if (!sbr::require_body(body)) return 0;
  const sbr::Array<std::int32_t> *found = sbr::chain_at(*body, chain);
  if (found == nullptr) return 0;
  if (ids != nullptr) std::copy(found->begin(), found->end(), ids);
  return found->count();
}

}  // extern "C"
