// Coarsening, the pruning of a fused polygon that runs into itself.
//
// With n vertices and T = 30 % of n, cut to a whole number, two positions a < b of the same node bound an excursion:
// the vertices between them when b - a < T, else those outside them when n - (b - a) < T. The vertices of an excursion
// go, but for nodes that are out of play. Pairs are taken in order of a, then b; positions that went no longer count.
//
// For one a only two of its pairs matter. The excursions between a and each b within reach grow with b, so the last of
// them contains the others; those outside a and b shrink with b, so the first contains the others. That keeps a polygon
// that repeats one node n times from costing n squared.
#include <algorithm>
#include <limits>
#include <numeric>

#include "base/reports.h"
#include "surface/coarsen_mesh.h"

namespace sbr::coarse {
namespace {

bool in_order(const Occurrence &a, const Occurrence &b) noexcept {
  return a.node != b.node ? a.node < b.node : a.position < b.position;
}

bool is_listed(const Mesh &mesh, std::int32_t node) noexcept {
  return node >= 0 && static_cast<std::size_t>(node) < mesh.seen.size();
}

// Marks the nodes of the polygon: with Mesh::seen_mark where a node stands once, with the number above it where it
// stands more often. Gives how many vertices repeat one in front of them. A vertex that is no node counts as two.
std::int32_t mark_vertices(Mesh &mesh) noexcept {
  if (mesh.seen_mark >= std::numeric_limits<std::uint32_t>::max() - 3) {
    mesh.seen.fill_zero();
    mesh.seen_mark = 0;
  }
  mesh.seen_mark += 2;
  std::int32_t repeats = 0;
  for (const std::int32_t node : mesh.polygon) {
    if (!is_listed(mesh, node)) {
      repeats += 2;
      continue;
    }
    std::uint32_t &mark = mesh.seen[node];
    const bool again = mark >= mesh.seen_mark;
    mark = again ? mesh.seen_mark + 1 : mesh.seen_mark;
    repeats += again ? 1 : 0;
  }
  return repeats;
}

// What pruning knows about one polygon, in the scratch arrays of the mesh. Only the vertices of nodes that stand more
// than once are listed; the others play no part but that they go with an excursion.
class Pruning {
 public:
  Pruning(Mesh &mesh, std::int32_t reach) noexcept
      : mesh_(mesh), scratch_(mesh.pruning), n_(mesh.polygon.count()), reach_(reach), tail_(n_) {}

  // Lists the repeated vertices; false when memory is short.
  [[nodiscard]] bool prepare() noexcept {
    if (!scratch_.occurrences.reserve(n_) || !scratch_.sorted.reserve(n_) || !scratch_.rank.reserve(n_) ||
        !scratch_.blank.reserve(n_) || !scratch_.next_live.reserve(static_cast<std::int64_t>(n_) + 1) ||
        !mesh_.pruned.reserve(n_))
      return false;
    scratch_.occurrences.clear();
    scratch_.sorted.clear();
    for (std::int32_t p = 0; p < n_; ++p) {
      const std::int32_t node = mesh_.polygon[p];
      if (is_listed(mesh_, node) && mesh_.seen[node] == mesh_.seen_mark) continue;
      (void)scratch_.sorted.push_back({node, p, scratch_.occurrences.count()});
      (void)scratch_.occurrences.push_back({node, p, 0});
    }
    std::sort(scratch_.sorted.begin(), scratch_.sorted.end(), in_order);
    (void)scratch_.rank.resize(scratch_.sorted.count());
    for (std::int32_t i = 0; i < scratch_.sorted.count(); ++i) scratch_.rank[scratch_.sorted[i].place] = i;
    (void)scratch_.blank.resize(n_);
    scratch_.blank.fill_zero();
    (void)scratch_.next_live.resize(static_cast<std::int64_t>(n_) + 1);
    std::iota(scratch_.next_live.begin(), scratch_.next_live.end(), 0);
    return true;
  }

  void blank_excursions() noexcept {
    for (std::int32_t i = 0; i < scratch_.occurrences.count(); ++i) {
      const std::int32_t a = scratch_.occurrences[i].position;
      if (is_blank(a)) continue;
      const Occurrence *own = scratch_.sorted.begin() + scratch_.rank[i];
      const std::int32_t near = last_within_reach(own);
      if (near >= 0) blank_range(a + 1, near);
      const std::int32_t far = first_around_the_end(own);
      if (far < 0) continue;
      blank_range(0, a);
      blank_range(far, n_);
      tail_ = std::min(tail_, far);
    }
  }

  // Takes the blanks out of the polygon and lists their nodes.
  void squeeze() noexcept {
    mesh_.pruned.clear();
    if (!any_blank_) return;
    std::size_t kept = 0;
    for (std::int32_t p = 0; p < n_; ++p) {
      if (is_blank(p))
        (void)mesh_.pruned.push_back(mesh_.polygon[p]);
      else
        mesh_.polygon[kept++] = mesh_.polygon[p];
    }
    (void)mesh_.polygon.resize(static_cast<std::int64_t>(kept));
  }

  // Whether no node stands twice among the vertices that are left.
  [[nodiscard]] bool is_distinct() const noexcept {
    const Occurrence *previous = nullptr;
    for (const Occurrence &occurrence : scratch_.sorted) {
      if (!is_listed(mesh_, occurrence.node)) return false;
      if (is_blank(occurrence.position)) continue;
      if (previous != nullptr && previous->node == occurrence.node) return false;
      previous = &occurrence;
    }
    return true;
  }

 private:
  [[nodiscard]] bool is_blank(std::int32_t p) const noexcept { return scratch_.blank[p] != 0; }
  [[nodiscard]] const Occurrence *end_of_list() const noexcept { return scratch_.sorted.end(); }

  // The first position from p on that may still be blanked, with the path to it shortened.
  std::int32_t find_live(std::int32_t p) noexcept {
    Array<std::int32_t> &next = scratch_.next_live;
    std::int32_t live = p;
    while (next[live] != live) live = next[live];
    while (p != live) {
      const std::int32_t step = next[p];
      next[p] = live;
      p = step;
    }
    return live;
  }

  // Blanks the positions from begin up to, without, end whose node is in play.
  void blank_range(std::int32_t begin, std::int32_t end) noexcept {
    for (std::int32_t p = find_live(begin); p < end; p = find_live(p)) {
      if (mesh_.in_play(mesh_.polygon[p])) {
        scratch_.blank[p] = 1;
        any_blank_ = true;
      }
      scratch_.next_live[p] = p + 1;
    }
  }

  // The last position of a's node in (a, a + T) that is not blank; -1 when there is none.
  [[nodiscard]] std::int32_t last_within_reach(const Occurrence *own) const noexcept {
    const std::int32_t a = own->position;
    const Occurrence *end =
        std::lower_bound(own + 1, end_of_list(), Occurrence{own->node, a + std::min(reach_, n_ - a), 0}, in_order);
    for (const Occurrence *b = end - 1; b > own; --b)
      if (!is_blank(b->position)) return b->position;
    return -1;
  }

  // The first position of a's node behind a + n - T that is not blank; -1 when there is none.
  [[nodiscard]] std::int32_t first_around_the_end(const Occurrence *own) const noexcept {
    const std::int32_t a = own->position;
    if (a >= reach_ - 1) return -1;  // a + n - T is the last position or lies behind it
    const Occurrence *b =
        std::lower_bound(own + 1, end_of_list(), Occurrence{own->node, a + n_ - reach_ + 1, 0}, in_order);
    const bool may_go = mesh_.in_play(own->node);
    for (; b != end_of_list() && b->node == own->node; ++b) {
      if (!is_blank(b->position)) return b->position;
      if (may_go && b->position >= tail_) return -1;
    }
    return -1;
  }

  Mesh &mesh_;
  PruningScratch &scratch_;
  std::int32_t n_;
  std::int32_t reach_;  // T
  std::int32_t tail_;   // from here on everything that may be blanked is blank
  bool any_blank_ = false;
};

// ---- telling a simple rim without looking at all of it ------------------------------------------------------

constexpr std::int32_t kSmallFace = 8;
constexpr std::size_t kSmallFan = 8;

// Whether the list of a node names the face that now stands in a slot. A list may name faces that the node has left,
// never too few; a long one is not looked through and counts as naming all.
bool names(Mesh &mesh, std::int32_t node, std::int32_t slot) noexcept {
  if (node < 0 || static_cast<std::size_t>(node) >= mesh.nodes.size()) return true;
  const Node &record = mesh.node(node);
  const std::span<const std::int32_t> slots =
      mesh.incidence.span().subspan(static_cast<std::size_t>(record.first), static_cast<std::size_t>(record.count));
  return slots.size() > kSmallFan ||
         std::any_of(slots.begin(), slots.end(), [&](std::int32_t named) { return root_of(mesh, named) == slot; });
}

bool is_distinct(const Face &face) noexcept {
  if (face.count > kSmallFace) return face.distinct;
  for (std::int32_t p = 0; p < face.count; ++p)
    if (std::find(face.nodes, face.nodes + p, face.nodes[p]) != face.nodes + p) return false;
  return true;
}

bool has_end(const Face &face, std::int32_t node) noexcept {
  return face.nodes[1] == node || face.nodes[face.count - 1] == node;
}

// How often a node stands in the faces taken, of which all but the largest are small and all are distinct. At an end of
// the largest face it stands nowhere else there.
int uses_of(Mesh &mesh, std::int32_t node, std::int32_t largest) noexcept {
  int uses = 0;
  for (const std::int32_t slot : mesh.taken) {
    const Face &face = mesh.face(slot);
    const bool used = slot == largest ? has_end(face, node) || names(mesh, node, slot)
                                      : std::find(face.nodes, face.nodes + face.count, node) != face.nodes + face.count;
    uses += used ? 1 : 0;
  }
  return uses;
}

// The ends of a face are shared by two faces of the fan at most, and by no face elsewhere on its way.
bool ends_are_distinct(Mesh &mesh, const Face &face, std::int32_t largest) noexcept {
  for (const std::int32_t node : {face.nodes[1], face.nodes[face.count - 1]}) {
    const auto ends = std::count_if(mesh.taken.begin(), mesh.taken.end(),
                                    [&](std::int32_t slot) { return has_end(mesh.face(slot), node); });
    if (ends > 2 || uses_of(mesh, node, largest) != ends) return false;
  }
  return true;
}

// The other vertices of a face belong to no other face of the fan.
bool inside_is_distinct(Mesh &mesh, const Face &face, std::int32_t largest) noexcept {
  return std::all_of(face.nodes + 2, face.nodes + face.count - 1,
                     [&](std::int32_t node) { return uses_of(mesh, node, largest) == 1; });
}

}  // namespace

// Of the faces, all but the largest one are looked at; what they do not share with it, it shares with none of them.
bool rim_is_distinct(Mesh &mesh) noexcept {
  if (mesh.taken.size() > kSmallFan) return false;
  std::int32_t largest = mesh.taken[0];
  for (const std::int32_t slot : mesh.taken) {
    const Face &face = mesh.face(slot);
    if (face.count < 3 || !is_distinct(face)) return false;
    if (face.count > mesh.face(largest).count) largest = slot;
  }
  for (const std::int32_t slot : mesh.taken) {
    const Face &face = mesh.face(slot);
    if (slot == largest) continue;
    if (face.count > kSmallFace || !ends_are_distinct(mesh, face, largest) || !inside_is_distinct(mesh, face, largest))
      return false;
  }
  return true;
}

bool prune_polygon_loops(Mesh &mesh, bool rim_distinct) noexcept {
  mesh.pruned.clear();
  const std::int32_t n = mesh.polygon.count();
  const auto reach = static_cast<std::int32_t>(n * 0.3);
  if (reach < 2) return false;  // no pair is that close
  const std::int32_t last = mesh.polygon[static_cast<std::size_t>(n) - 1];
  const bool closed = mesh.polygon[0] == last;
  const std::int32_t repeats = rim_distinct ? (closed ? 1 : 0) : mark_vertices(mesh);
  if (repeats == 0) return true;
  if (closed && repeats == 1) {
    // Most polygons come here: the last vertex repeats the first.
    if (mesh.in_play(last)) (void)mesh.polygon.resize(n - 1);
    return mesh.in_play(last);
  }
  Pruning pruning(mesh, reach);
  if (!pruning.prepare()) {
    report_no_memory(unit_name::kCoarsening);
    return false;
  }
  pruning.blank_excursions();
  const bool distinct = pruning.is_distinct();
  pruning.squeeze();
  return distinct;
}

}  // namespace sbr::coarse
