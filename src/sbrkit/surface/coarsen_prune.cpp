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

#include "base/reports.h"
#include "surface/coarsen.h"

namespace sbr::coarse {
namespace {

struct Occurrence {
  std::int32_t node;
  std::int32_t position;
};

bool in_order(const Occurrence &a, const Occurrence &b) noexcept {
  return a.node != b.node ? a.node < b.node : a.position < b.position;
}

// What pruning knows about one polygon.
struct Pruning {
  Mesh &mesh;
  std::int32_t n;
  std::int32_t reach;             // T
  Array<Occurrence> occurrences;  // all positions by node, then position
  Array<std::int32_t> rank;       // per position its place in `occurrences`
  Array<unsigned char> blank;     // per position, 1 when its vertex goes
  Array<std::int32_t> next_live;  // per position the first one from it on that may still be blanked; n behind the last
  std::int32_t tail = 0;          // from here on everything that may be blanked is blank

  [[nodiscard]] bool is_blank(std::int32_t p) const noexcept { return blank[p] != 0; }
};

bool prepare(Pruning &pruning) noexcept {
  const std::int32_t n = pruning.n;
  pruning.tail = n;
  if (!pruning.occurrences.allocate(n) || !pruning.rank.allocate(n) || !pruning.blank.allocate(n) ||
      !pruning.next_live.allocate(static_cast<std::int64_t>(n) + 1))
    return false;
  for (std::int32_t p = 0; p < n; ++p) pruning.occurrences[p] = {pruning.mesh.polygon[p], p};
  std::sort(pruning.occurrences.begin(), pruning.occurrences.end(), in_order);
  for (std::int32_t i = 0; i < n; ++i) pruning.rank[pruning.occurrences[i].position] = i;
  pruning.next_live[n] = n;
  for (std::int32_t p = n - 1; p >= 0; --p) {
    const bool may_go = pruning.mesh.in_play(pruning.mesh.polygon[p]);
    pruning.next_live[p] = may_go ? p : p + 1;
  }
  return true;
}

// The first position from p on that may still be blanked, with the path to it shortened.
std::int32_t find_live(Pruning &pruning, std::int32_t p) noexcept {
  Array<std::int32_t> &next = pruning.next_live;
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
void blank_range(Pruning &pruning, std::int32_t begin, std::int32_t end) noexcept {
  for (std::int32_t p = find_live(pruning, begin); p < end; p = find_live(pruning, p)) {
    pruning.blank[p] = 1;
    pruning.next_live[p] = p + 1;
  }
}

// The last position of a's node in (a, a + T) that is not blank; -1 when there is none.
std::int32_t last_within_reach(const Pruning &pruning, std::int32_t a) noexcept {
  const std::int32_t node = pruning.mesh.polygon[a];
  const Occurrence *own = pruning.occurrences.begin() + pruning.rank[a];
  const Occurrence *end = std::lower_bound(own + 1, pruning.occurrences.end(),
                                           Occurrence{node, a + std::min(pruning.reach, pruning.n - a)}, in_order);
  for (const Occurrence *b = end - 1; b > own; --b)
    if (!pruning.is_blank(b->position)) return b->position;
  return -1;
}

// The first position of a's node behind a + n - T that is not blank; -1 when there is none.
std::int32_t first_around_the_end(const Pruning &pruning, std::int32_t a) noexcept {
  const std::int32_t node = pruning.mesh.polygon[a];
  if (a >= pruning.reach - 1) return -1;  // a + n - T is the last position or lies behind it
  const Occurrence *own = pruning.occurrences.begin() + pruning.rank[a];
  const Occurrence *b = std::lower_bound(own + 1, pruning.occurrences.end(),
                                         Occurrence{node, a + pruning.n - pruning.reach + 1}, in_order);
  const bool may_go = pruning.mesh.in_play(node);
  for (; b != pruning.occurrences.end() && b->node == node; ++b) {
    if (!pruning.is_blank(b->position)) return b->position;
    if (may_go && b->position >= pruning.tail) return -1;
  }
  return -1;
}

void blank_excursions(Pruning &pruning) noexcept {
  for (std::int32_t a = 0; a < pruning.n; ++a) {
    if (pruning.is_blank(a)) continue;
    const std::int32_t near = last_within_reach(pruning, a);
    if (near >= 0) blank_range(pruning, a + 1, near);
    const std::int32_t far = first_around_the_end(pruning, a);
    if (far < 0) continue;
    blank_range(pruning, 0, a);
    blank_range(pruning, far, pruning.n);
    pruning.tail = std::min(pruning.tail, far);
  }
}

// True when a node stands twice among the first `count` vertices of the polygon, or might.
bool has_repeats(Mesh &mesh, std::int32_t count) noexcept {
  if (++mesh.seen_mark == 0) {
    mesh.seen.fill_zero();
    mesh.seen_mark = 1;
  }
  for (std::int32_t p = 0; p < count; ++p) {
    const std::int32_t node = mesh.polygon[p];
    if (node < 0 || static_cast<std::size_t>(node) >= mesh.seen.size()) return true;
    std::uint32_t &mark = mesh.seen[node];
    if (mark == mesh.seen_mark) return true;
    mark = mesh.seen_mark;
  }
  return false;
}

// ---- telling a simple rim without looking at all of it ------------------------------------------------------

constexpr std::int32_t kSmallFace = 8;
constexpr std::size_t kSmallFan = 8;

// How many of the taken faces the list of a node names; -1 when that cannot be told cheaply. A list may name faces that
// the node has left, never too few. The slots of taken faces are empty now, those of all others are not.
int taken_faces_of(const Mesh &mesh, std::int32_t node) noexcept {
  if (node < 0 || static_cast<std::size_t>(node) >= mesh.nodes.size()) return -1;
  const Node &record = mesh.node(node);
  const std::span<const std::int32_t> slots =
      mesh.incidence.span().subspan(static_cast<std::size_t>(record.first), static_cast<std::size_t>(record.count));
  if (slots.size() > kSmallFan) return -1;
  std::int32_t roots[kSmallFan];
  int count = 0;
  for (const std::int32_t slot : slots) {
    const std::int32_t root = root_of(mesh, slot);
    if (mesh.face(root).present || std::find(roots, roots + count, root) != roots + count) continue;
    roots[count++] = root;
  }
  return count;
}

bool is_distinct(const Face &face) noexcept {
  if (face.count > kSmallFace) return face.distinct;
  for (std::int32_t p = 0; p < face.count; ++p)
    if (std::find(face.nodes, face.nodes + p, face.nodes[p]) != face.nodes + p) return false;
  return true;
}

// How many taken faces have a node next to the middle of the fan.
int ends_at(const Mesh &mesh, std::int32_t node) noexcept {
  int count = 0;
  for (const std::int32_t slot : mesh.taken) {
    const Face &face = mesh.face(slot);
    count += (face.nodes[1] == node ? 1 : 0) + (face.nodes[face.count - 1] == node ? 1 : 0);
  }
  return count;
}

// The ends of a face are shared by two faces of the fan at most, and by no face elsewhere on its way.
bool ends_are_distinct(const Mesh &mesh, const Face &face) noexcept {
  for (const std::int32_t end : {face.nodes[1], face.nodes[face.count - 1]}) {
    const int ends = ends_at(mesh, end);
    if (ends > 2 || taken_faces_of(mesh, end) != ends) return false;
  }
  return true;
}

// The other vertices of a face belong to no other face of the fan.
bool inside_is_distinct(const Mesh &mesh, const Face &face) noexcept {
  for (std::int32_t p = 2; p + 1 < face.count; ++p)
    if (taken_faces_of(mesh, face.nodes[p]) != 1) return false;
  return true;
}

}  // namespace

// Of the faces, all but the largest one are looked at; what they do not share with it, it shares with none of them.
bool rim_is_distinct(const Mesh &mesh) noexcept {
  if (mesh.taken.size() > kSmallFan) return false;
  const Face *largest = nullptr;
  for (const std::int32_t slot : mesh.taken) {
    const Face &face = mesh.face(slot);
    if (face.count < 3 || !is_distinct(face)) return false;
    if (largest == nullptr || face.count > largest->count) largest = &face;
  }
  for (const std::int32_t slot : mesh.taken) {
    const Face &face = mesh.face(slot);
    if (&face == largest) continue;
    if (face.count > kSmallFace || !ends_are_distinct(mesh, face) || !inside_is_distinct(mesh, face)) return false;
  }
  return true;
}

bool prune_polygon_loops(Mesh &mesh, bool rim_distinct) noexcept {
  const std::int32_t n = mesh.polygon.count();
  const auto reach = static_cast<std::int32_t>(n * 0.3);
  if (reach < 2) return false;  // no pair is that close
  const std::int32_t last = mesh.polygon[static_cast<std::size_t>(n) - 1];
  const bool closed = mesh.polygon[0] == last;
  if (rim_distinct || !has_repeats(mesh, n - 1)) {
    // Most polygons come here: at most the last vertex repeats one of the others.
    if (closed) {
      if (mesh.in_play(last)) (void)mesh.polygon.resize(n - 1);
      return mesh.in_play(last);
    }
    if (rim_distinct || !has_repeats(mesh, n)) return true;
  }
  Pruning pruning{mesh, n, reach, {}, {}, {}, {}};
  if (!prepare(pruning)) {
    report_no_memory(unit_name::kCoarsening);
    return false;
  }
  blank_excursions(pruning);
  std::size_t kept = 0;
  for (std::int32_t p = 0; p < n; ++p)
    if (!pruning.is_blank(p)) mesh.polygon[kept++] = mesh.polygon[p];
  (void)mesh.polygon.resize(static_cast<std::int64_t>(kept));
  return false;
}

}  // namespace sbr::coarse
