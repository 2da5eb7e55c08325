// Coarsening, the fan of faces around a node: it is walked edge by edge, from every face in turn, until a walk takes
// all faces. What a failed walk has reversed stays reversed for the walks after it.
//
// A large fan that cannot be walked would cost the square of its size. Seen from the node a face is an edge between the
// two vertices next to it. Where exactly two edges meet, a walk has no choice: such edges form chains, and a walk goes
// through a chain as a whole. The trials of a large fan therefore move from chain to chain, and a walk that turns half
// a chain round notes just that.
#include <algorithm>
#include <cstdlib>

#include "base/reports.h"
#include "surface/coarsen_mesh.h"

namespace sbr::coarse {
namespace {

// Fans of more faces than this look their neighbours up by vertex instead of trying face after face.
constexpr std::size_t kSmallFan = 16;

// ---- walking the fan --------------------------------------------------------------------------------------

// Reversing is put off until the attempts at a node are over: a failed attempt then costs its walk, not its vertices.
void reverse(Face &face) noexcept { face.reversed ^= 1U; }

// The vertices next to position 0, as the face is to be read. Asked of faces of two or more vertices.
std::int32_t second_vertex(const Face &face) noexcept { return face.nodes[face.reversed ? face.count - 1 : 1]; }
std::int32_t last_vertex(const Face &face) noexcept { return face.nodes[face.reversed ? 1 : face.count - 1]; }

bool starts_with(const Face &face, std::int32_t vertex) noexcept {
  return face.count > 1 && second_vertex(face) == vertex;
}
bool ends_with(const Face &face, std::int32_t vertex) noexcept {
  return face.count > 1 ? last_vertex(face) == vertex : face.nodes[0] == vertex;
}

bool by_vertex(const FanEnd &a, const FanEnd &b) noexcept {
  return a.vertex != b.vertex ? a.vertex < b.vertex : a.place < b.place;
}

// Notes both ends of every face of a large fan. Reversing a face swaps its ends, so the table holds for all attempts.
// Of a slot that stands several times in the list only the first place counts: it is found first.
bool note_fan_ends(Mesh &mesh, std::span<const std::int32_t> slots) noexcept {
  mesh.fan_ends.clear();
  if (slots.size() <= kSmallFan) return true;
  std::int32_t previous = -1;
  for (std::size_t place = 0; place < slots.size(); ++place) {
    if (slots[place] == previous) continue;
    previous = slots[place];
    const Face &face = mesh.face(slots[place]);
    const auto at = static_cast<std::int32_t>(place);
    if (face.count > 1 && !mesh.fan_ends.push_back({face.nodes[1], at})) return false;
    if (!mesh.fan_ends.push_back({face.nodes[face.count - 1], at})) return false;
  }
  std::sort(mesh.fan_ends.begin(), mesh.fan_ends.end(), by_vertex);
  return true;
}

// The slot of the first present face, in order of the list, that goes on from a vertex; -1 when there is none.
template <class GoesOn>
std::int32_t first_face(const Mesh &mesh, std::span<const std::int32_t> slots, std::int32_t vertex,
                        GoesOn goes_on) noexcept {
  if (mesh.fan_ends.empty()) {
    for (const std::int32_t slot : slots)
      if (mesh.face(slot).present && goes_on(mesh.face(slot), vertex)) return slot;
    return -1;
  }
  const FanEnd *end = std::lower_bound(mesh.fan_ends.begin(), mesh.fan_ends.end(), FanEnd{vertex, 0}, by_vertex);
  for (; end != mesh.fan_ends.end() && end->vertex == vertex; ++end) {
    const std::int32_t slot = slots[end->place];
    if (mesh.face(slot).present && goes_on(mesh.face(slot), vertex)) return slot;
  }
  return -1;
}

// Takes the faces edge by edge, from a start on, until all are taken. False when no face goes on; the faces taken so
// far are in Mesh::taken.
bool walk_fan(Mesh &mesh, std::span<const std::int32_t> slots, std::int32_t start) noexcept {
  mesh.taken.clear();
  mesh.face(start).present = 0;
  (void)mesh.taken.push_back(start);
  if (mesh.face(start).count < 2) return false;  // nothing would be left of the face without its node
  std::int32_t vertex = last_vertex(mesh.face(start));
  while (mesh.taken.size() < slots.size()) {
    std::int32_t slot = first_face(mesh, slots, vertex, starts_with);
    if (slot < 0) {
      slot = first_face(mesh, slots, vertex, ends_with);
      if (slot < 0) return false;
      reverse(mesh.face(slot));
    }
    mesh.face(slot).present = 0;
    (void)mesh.taken.push_back(slot);
    if (mesh.face(slot).count > 2) vertex = last_vertex(mesh.face(slot));
  }
  return true;
}

// ---- the trials of a large fan ----------------------------------------------------------------------------

// Numbers by position, of which only the largest of a range is asked. A number set later is larger.
class LatestOf {
 public:
  [[nodiscard]] bool allocate(std::int32_t count) noexcept {
    leaves_ = static_cast<std::size_t>(count);
    return tree_.allocate(2 * std::int64_t{count});
  }
  void set(std::int32_t position, std::int64_t number) noexcept {
    for (std::size_t at = leaves_ + static_cast<std::size_t>(position); at > 0; at /= 2) tree_[at] = number;
  }
  // From first to last, both included; 0 when nothing was set there.
  [[nodiscard]] std::int64_t largest(std::int32_t first, std::int32_t last) const noexcept {
    std::int64_t found = 0;
    std::size_t low = leaves_ + static_cast<std::size_t>(first);
    std::size_t high = leaves_ + static_cast<std::size_t>(last) + 1;
    for (; low < high; low /= 2, high /= 2) {
      if (low % 2 != 0) found = std::max(found, tree_[low++]);
      if (high % 2 != 0) found = std::max(found, tree_[--high]);
    }
    return found;
  }

 private:
  std::size_t leaves_ = 0;
  Array<std::int64_t> tree_;
};

// Finds out which start of a fan succeeds, and what the failed ones leave reversed. All faces have three or more
// vertices.
class FanTrials {
 public:
  FanTrials(Mesh &mesh, std::span<const std::int32_t> slots) noexcept : mesh_(mesh), slots_(slots) {}

  [[nodiscard]] bool prepare() noexcept {
    const auto places = static_cast<std::int64_t>(slots_.size());
    if (!edges_.reserve(places) || !edge_of_place_.reserve(places)) return false;
    for (const std::int32_t slot : slots_) {
      if (edges_.empty() || edges_[edges_.size() - 1].slot != slot) (void)edges_.push_back(edge_of(slot));
      (void)edge_of_place_.push_back(edges_.count() - 1);
    }
    const std::int32_t edges = edges_.count();
    if (!ends_.allocate(2 * std::int64_t{edges}) || !at_.allocate(edges) || !up_to_.allocate(edges) ||
        !from_.allocate(edges) || !chains_.reserve(edges) || !turns_.reserve(edges + 1))
      return false;
    sort_ends();
    find_chains();
    return true;
  }

  // Runs the trials behind the first one, in their order. True when one succeeds: k is then its number, and
  // the faces are as the trials before it left them. Otherwise they are as all trials left them.
  [[nodiscard]] bool find_start(int &k) noexcept {
    const auto count = static_cast<int>(slots_.size());
    for (k = 1; k < count; ++k)
      if (trial(edge_of_place_[k], false)) return settle_faces(true);
    for (k = 0; k > -count; --k)
      if (trial(edge_of_place_[-k], k < 0)) return settle_faces(true);
    return settle_faces(false);
  }

 private:
  // An edge has end 0 at position 1 of its face and end 1 at the last position.
  struct Edge {
    std::int32_t slot;
    std::int32_t vertex[2];
    std::int32_t group[2];  // where the ends at the same vertex start in ends_
    std::int32_t chain;     // -1 until it is found
    std::int32_t position;  // among all edges, chain by chain
    std::int32_t entry;     // the end at which the chain, followed forwards, enters
    bool forward;           // before the trials it was read in the direction of the chain
  };
  struct End {
    std::int32_t vertex;
    std::int32_t edge;
    std::int32_t end;
  };
  struct Chain {
    std::int32_t first;  // positions of its edges
    std::int32_t last;
    bool closed;
    std::int32_t trial;  // the last one that went through it
  };
  // Edges that a walk has taken in one direction: from a position to the end of its chain, or from the start up to it.
  struct Turn {
    LatestOf *reach;
    std::int32_t position;
    bool forward;
  };

  [[nodiscard]] Edge edge_of(std::int32_t slot) const noexcept {
    const Face &face = mesh_.face(slot);
    return {slot, {face.nodes[1], face.nodes[face.count - 1]}, {0, 0}, -1, 0, 0, false};
  }

  void sort_ends() noexcept {
    for (std::int32_t e = 0; e < edges_.count(); ++e)
      for (std::int32_t end = 0; end < 2; ++end) ends_[2 * e + end] = {edges_[e].vertex[end], e, end};
    std::sort(ends_.begin(), ends_.end(), [](const End &a, const End &b) {
      if (a.vertex != b.vertex) return a.vertex < b.vertex;
      return a.edge != b.edge ? a.edge < b.edge : a.end < b.end;
    });
    std::int32_t group = 0;
    for (std::int32_t i = 0; i < ends_.count(); ++i) {
      if (ends_[i].vertex != ends_[group].vertex) group = i;
      edges_[ends_[i].edge].group[ends_[i].end] = group;
    }
  }

  [[nodiscard]] bool in_group(std::int32_t i, std::int32_t group) const noexcept {
    return i < ends_.count() && ends_[i].vertex == ends_[group].vertex;
  }
  // Whether exactly two edges meet at a vertex: a walk that comes in by one has only the other to go on.
  [[nodiscard]] bool passes_on(std::int32_t group) const noexcept {
    return in_group(group + 1, group) && !in_group(group + 2, group) && ends_[group].edge != ends_[group + 1].edge;
  }

  void find_chains() noexcept {
    for (const End &end : ends_)
      if (edges_[end.edge].chain < 0 && !passes_on(edges_[end.edge].group[end.end])) follow(end.edge, end.end);
    for (std::int32_t e = 0; e < edges_.count(); ++e)
      if (edges_[e].chain < 0) follow(e, 0);
  }

  // Makes the chain that enters an edge at an end.
  void follow(std::int32_t e, std::int32_t entry) noexcept {
    const std::int32_t number = chains_.count();
    const std::int32_t first = placed_;
    bool closed = false;
    for (;;) {
      Edge &edge = edges_[e];
      edge.chain = number;
      edge.position = placed_;
      edge.entry = entry;
      edge.forward = (mesh_.face(edge.slot).reversed ? 1 : 0) == entry;
      at_[placed_++] = e;
      const std::int32_t group = edge.group[1 - entry];
      if (!passes_on(group)) break;
      const End &next = ends_[ends_[group].edge == e ? group + 1 : group];
      closed = edges_[next.edge].chain >= 0;
      if (closed) break;
      e = next.edge;
      entry = next.end;
    }
    (void)chains_.push_back({first, placed_ - 1, closed, 0});
  }

  // Whether an edge is read in the direction of its chain now: as the latest turn that reached it left it.
  [[nodiscard]] bool is_forward(const Edge &edge) const noexcept {
    const Chain &chain = chains_[edge.chain];
    const std::int64_t latest =
        std::max(up_to_.largest(edge.position, chain.last), from_.largest(chain.first, edge.position));
    return latest != 0 ? latest % 2 != 0 : edge.forward;
  }
  // The end of an edge that is read first.
  [[nodiscard]] std::int32_t second_end(const Edge &edge) const noexcept {
    return is_forward(edge) ? edge.entry : 1 - edge.entry;
  }

  // Walks the fan from an edge on, reversed first or not. A walk that takes all faces leaves the directions alone.
  bool trial(std::int32_t e, bool reversed) noexcept {
    trial_ += 1;
    turns_.clear();
    const Edge &start = edges_[e];
    const bool forward = is_forward(start) != reversed;
    Chain &chain = chains_[start.chain];
    start_ = start.position;
    start_chain_ = start.chain;
    rest_ = chain.closed ? Rest::taken : forward ? Rest::in_front : Rest::behind;
    std::size_t taken = take(chain.closed ? (forward ? chain.first : chain.last) : start_, forward, chain);
    std::int32_t group = chain.closed ? -1 : far_group(chain, forward);
    while (group >= 0 && taken < slots_.size()) taken += go_on(group);
    if (taken == slots_.size()) return true;
    for (const Turn &turn : turns_) turn.reach->set(turn.position, 2 * ++time_ + (turn.forward ? 1 : 0));
    return false;
  }

  // Takes the edges from a position on to the end of the chain, or back to its start. Gives how many.
  std::size_t take(std::int32_t position, bool forward, const Chain &chain) noexcept {
    (void)turns_.push_back({forward ? &from_ : &up_to_, position, forward});
    return static_cast<std::size_t>(forward ? chain.last - position : position - chain.first) + 1;
  }

  // The vertex at which a walk leaves a chain.
  [[nodiscard]] std::int32_t far_group(const Chain &chain, bool forward) const noexcept {
    const Edge &edge = edges_[at_[forward ? chain.last : chain.first]];
    return edge.group[forward ? 1 - edge.entry : edge.entry];
  }

  [[nodiscard]] bool is_free(const Edge &edge) const noexcept {
    if (edge.chain != start_chain_) return chains_[edge.chain].trial != trial_;
    return (rest_ == Rest::in_front && edge.position < start_) || (rest_ == Rest::behind && edge.position > start_);
  }

  // Goes on from a vertex where chains meet: with the first edge that starts there, else with the first that ends
  // there. Gives how many edges were taken, and the next such vertex; -1 when the walk is over.
  std::size_t go_on(std::int32_t &group) noexcept {
    const std::int32_t from = group;
    group = -1;
    const End *way = nullptr;
    for (std::int32_t i = from; in_group(i, from); ++i) {
      const Edge &edge = edges_[ends_[i].edge];
      if (!is_free(edge)) continue;
      if (second_end(edge) == ends_[i].end) {
        way = &ends_[i];
        break;
      }
      if (way == nullptr) way = &ends_[i];
    }
    if (way == nullptr) return 0;
    const Edge &edge = edges_[way->edge];
    Chain &chain = chains_[edge.chain];
    const bool forward = way->end == edge.entry;
    if (edge.chain == start_chain_) return take_rest(forward, chain);
    chain.trial = trial_;
    group = far_group(chain, forward);
    return take(forward ? chain.first : chain.last, forward, chain);
  }

  // Comes back through the part of the first chain that lies behind the start; the way ends there.
  std::size_t take_rest(bool forward, const Chain &chain) noexcept {
    rest_ = Rest::taken;
    if (forward) {
      (void)turns_.push_back({&up_to_, start_ - 1, true});
      return static_cast<std::size_t>(start_ - chain.first);
    }
    (void)turns_.push_back({&from_, start_ + 1, false});
    return static_cast<std::size_t>(chain.last - start_);
  }

  bool settle_faces(bool found) noexcept {
    for (const Edge &edge : edges_) mesh_.face(edge.slot).reversed = second_end(edge) != 0 ? 1 : 0;
    return found;
  }

  enum class Rest { in_front, behind, taken };

  Mesh &mesh_;
  std::span<const std::int32_t> slots_;
  Array<Edge> edges_;
  Array<std::int32_t> edge_of_place_;
  Array<End> ends_;         // by vertex, then edge
  Array<std::int32_t> at_;  // edges by position
  Array<Chain> chains_;
  LatestOf up_to_;     // per position the latest turn of all edges up to it
  LatestOf from_;      // and of all edges from it on
  Array<Turn> turns_;  // of the present trial
  std::int64_t time_ = 0;
  std::int32_t placed_ = 0;
  std::int32_t trial_ = 0;
  std::int32_t start_ = 0;
  std::int32_t start_chain_ = 0;
  Rest rest_ = Rest::taken;
};

}  // namespace

bool walk_from(Mesh &mesh, std::int32_t node, int k) noexcept {
  const std::span<const std::int32_t> slots = mesh.faces_of(node);
  const std::int32_t start = slots[std::abs(k)];
  if (k < 0) reverse(mesh.face(start));
  return walk_fan(mesh, slots, start) || give_faces_back(mesh);
}

void settle(Face &face) noexcept {
  if (face.reversed && face.count > 2) std::reverse(face.nodes + 1, face.nodes + face.count);
  face.reversed = 0;
}

bool give_faces_back(Mesh &mesh) noexcept {
  for (const std::int32_t slot : mesh.taken) mesh.face(slot).present = 1;
  mesh.taken.clear();
  return false;
}

namespace {

// Fuses with every start in turn, as listed, then again with the later starts reversed.
bool try_all_starts(Mesh &mesh, std::int32_t node) noexcept {
  const int count = mesh.node(node).count;
  for (int k = 0; k < count; ++k)
    if (walk_from(mesh, node, k)) return true;
  for (int k = 0; k > -count; --k)
    if (walk_from(mesh, node, k)) return true;
  return false;
}

// The same for a large fan, of which only the first start and one that succeeds are walked.
bool try_starts_of_large_fan(Mesh &mesh, std::int32_t node) noexcept {
  if (walk_from(mesh, node, 0)) return true;
  FanTrials trials(mesh, mesh.faces_of(node));
  if (!trials.prepare()) {
    report_no_memory(unit_name::kCoarsening);
    return false;
  }
  int k = 0;
  return trials.find_start(k) && walk_from(mesh, node, k);
}

}  // namespace

bool fuse_fan(Mesh &mesh, std::int32_t node) noexcept {
  mesh.taken.clear();
  const std::span<const std::int32_t> slots = mesh.faces_of(node);
  if (!note_fan_ends(mesh, slots) || !mesh.taken.reserve(static_cast<std::int64_t>(slots.size()))) {
    report_no_memory(unit_name::kCoarsening);
    return false;
  }
  const bool large = !mesh.fan_ends.empty() &&
                     std::all_of(slots.begin(), slots.end(), [&](std::int32_t s) { return mesh.face(s).count >= 3; });
  return large ? try_starts_of_large_fan(mesh, node) : try_all_starts(mesh, node);
}

}  // namespace sbr::coarse
