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
#include <numeric>
#include <span>
#include <utility>

#include "base/reports.h"
#include "surface/coarsen_mesh.h"

namespace sbr::coarse {
namespace {

// The marks of the nodes. Writing a mark could change anything as far as a compiler knows, so that loops over a polygon
// keep where they are by value.
class MarkTable {
 public:
  explicit MarkTable(Mesh &mesh) noexcept : marks_(mesh.marks.data()), size_(mesh.marks.size()) {}
  [[nodiscard]] bool has(std::int32_t node) const noexcept { return static_cast<std::uint32_t>(node) < size_; }
  [[nodiscard]] unsigned char &operator[](std::int32_t node) const noexcept { return marks_[node]; }

 private:
  unsigned char *marks_;
  std::size_t size_;
};
static_assert(kSeen << 1U == kSeenAgain);

// Marks the nodes of the polygon, those that stand more than once apart. Gives how many vertices repeat one in front of
// them. A vertex that is no node counts as two.
std::int64_t mark_vertices(Mesh &mesh) noexcept {
  const MarkTable table(mesh);
  std::int64_t repeats = 0;
  for (const std::int32_t node : mesh.polygon.span()) {
    if (!table.has(node)) {
      repeats += 2;
      continue;
    }
    const unsigned char marks = table[node];
    const unsigned seen = marks & kSeen;
    table[node] = static_cast<unsigned char>(marks | kSeen | (seen << 1U));
    repeats += seen / kSeen;
  }
  return repeats;
}

void clear_marks(Mesh &mesh) noexcept {
  const MarkTable table(mesh);
  for (const std::int32_t node : mesh.polygon.span())
    if (table.has(node)) table[node] &= kInPlay;
}

// What pruning knows about one polygon, in the scratch arrays of the mesh. Only the vertices of nodes that stand more
// than once are listed; the others play no part but that they go with an excursion.
class Pruning {
 public:
  Pruning(Mesh &mesh, std::int32_t reach) noexcept
      : mesh_(mesh), scratch_(mesh.pruning), n_(mesh.polygon.count()), reach_(reach), tail_(n_) {}

  // Lists the vertices that mark_vertices has found repeated, and takes its marks away. False when memory is short.
  [[nodiscard]] bool prepare(std::int64_t repeats) noexcept {
    const std::int64_t most = std::min<std::int64_t>(2 * repeats, n_);
    if (!scratch_.occurrences.reserve(most) || !scratch_.by_group.reserve(most) || !scratch_.group_ends.reserve(most) ||
        !scratch_.strangers.reserve(most) || !scratch_.next_piece.reserve(2 * most + 2) || !mesh_.pruned.reserve(n_)) {
      clear_marks(mesh_);
      return false;
    }
    scratch_.group_ends.clear();
    list_occurrences();
    group_strangers();
    rank_occurrences();
    (void)scratch_.next_piece.resize(2 * std::int64_t{scratch_.occurrences.count()} + 2);
    std::iota(scratch_.next_piece.begin(), scratch_.next_piece.end(), 0);
    return true;
  }

  void blank_excursions() noexcept {
    const std::int32_t count = scratch_.occurrences.count();
    for (std::int32_t i = 0; i < count; ++i) {
      if (scratch_.occurrences[i].blank) continue;
      const std::int32_t near = last_within_reach(scratch_.occurrences[i]);
      if (near >= 0) blank_pieces(piece_of(i) + 1, piece_of(near));
      const std::int32_t far = first_around_the_end(scratch_.occurrences[i]);
      if (far < 0) continue;
      blank_pieces(0, piece_of(i));
      blank_pieces(piece_of(far), piece_of(count));
      tail_ = std::min(tail_, scratch_.occurrences[far].position);
    }
  }

  // Takes the blanks out of the polygon and lists their nodes.
  void squeeze() noexcept {
    mesh_.pruned.clear();
    if (!any_blank_) return;
    std::int32_t *out = mesh_.polygon.data();
    std::int32_t from = 0;
    for (std::int32_t i = 0; i <= scratch_.occurrences.count(); ++i) {
      const bool last = i == scratch_.occurrences.count();
      const std::int32_t end = last ? n_ : scratch_.occurrences[i].position;
      out = squeeze_gap(from, end, is_asked(piece_of(i) - 1), out);
      if (last) break;
      const std::int32_t node = scratch_.occurrences[i].node;
      if (scratch_.occurrences[i].blank)
        (void)mesh_.pruned.push_back(node);
      else
        *out++ = node;
      from = end + 1;
    }
    (void)mesh_.polygon.resize(out - mesh_.polygon.data());
  }

  // Whether no node stands twice among the vertices that are left.
  [[nodiscard]] bool is_distinct() const noexcept {
    if (!scratch_.strangers.empty()) return false;
    std::int32_t previous = -1;
    for (const std::int32_t place : scratch_.by_group) {
      const Occurrence &occurrence = scratch_.occurrences[place];
      if (occurrence.blank) continue;
      if (occurrence.group == previous) return false;
      previous = occurrence.group;
    }
    return true;
  }

 private:
  void list_occurrences() noexcept {
    scratch_.occurrences.clear();
    scratch_.strangers.clear();
    const MarkTable table(mesh_);
    const std::int32_t *polygon = mesh_.polygon.data();
    for (std::int32_t p = 0, n = n_; p < n; ++p) {
      const std::int32_t node = polygon[p];
      if (!table.has(node)) {
        (void)scratch_.strangers.push_back(scratch_.occurrences.count());
        (void)scratch_.occurrences.push_back({node, p, 0, 0, false});
      } else if ((table[node] & kSeenAgain) == 0) {
        table[node] &= kInPlay;
      } else {
        (void)scratch_.occurrences.push_back({node, p, group_of(node, table[node]), 0, false});
      }
    }
    for (const Occurrence &occurrence : scratch_.occurrences.span())
      if (table.has(occurrence.node)) table[occurrence.node] &= kInPlay;
  }

  // Until the occurrences are ranked, group_ends counts the members of each group.
  std::int32_t group_of(std::int32_t node, unsigned char &marks) noexcept {
    if ((marks & kGrouped) == 0) {
      marks |= kGrouped;
      mesh_.group_of[node] = add_group();
    }
    const std::int32_t group = mesh_.group_of[node];
    scratch_.group_ends[group] += 1;
    return group;
  }
  std::int32_t add_group() noexcept {
    (void)scratch_.group_ends.push_back(0);
    return scratch_.group_ends.count() - 1;
  }

  // Vertices that are no nodes form groups by their number.
  void group_strangers() noexcept {
    Array<Occurrence> &occurrences = scratch_.occurrences;
    std::sort(scratch_.strangers.begin(), scratch_.strangers.end(), [&](std::int32_t a, std::int32_t b) {
      return occurrences[a].node != occurrences[b].node ? occurrences[a].node < occurrences[b].node : a < b;
    });
    const Occurrence *previous = nullptr;
    for (const std::int32_t place : scratch_.strangers) {
      Occurrence &stranger = occurrences[place];
      stranger.group = previous != nullptr && previous->node == stranger.node ? previous->group : add_group();
      scratch_.group_ends[stranger.group] += 1;
      previous = &stranger;
    }
  }

  void rank_occurrences() noexcept {
    (void)scratch_.by_group.resize(scratch_.occurrences.count());
    std::int32_t start = 0;
    for (std::int32_t &members : scratch_.group_ends) start += std::exchange(members, start);
    // Ranking a member moves the mark of its group from the start to the end.
    for (std::int32_t i = 0; i < scratch_.occurrences.count(); ++i) {
      Occurrence &occurrence = scratch_.occurrences[i];
      occurrence.rank = scratch_.group_ends[occurrence.group]++;
      scratch_.by_group[occurrence.rank] = i;
    }
  }

  // The piece of an occurrence; the one in front of it is a gap. Behind the last gap comes the end.
  static std::int32_t piece_of(std::int32_t occurrence) noexcept { return 2 * occurrence + 1; }
  [[nodiscard]] bool is_asked(std::int32_t piece) const noexcept { return scratch_.next_piece[piece] != piece; }

  // The first piece from one on that has not been asked to go, with the path to it shortened.
  std::int32_t find_unasked(std::int32_t piece) noexcept {
    Array<std::int32_t> &next = scratch_.next_piece;
    std::int32_t unasked = piece;
    while (next[unasked] != unasked) unasked = next[unasked];
    while (piece != unasked) {
      const std::int32_t step = next[piece];
      next[piece] = unasked;
      piece = step;
    }
    return unasked;
  }

  // Blanks the vertices of the pieces from begin up to, without, end whose node is in play. What that is in a gap shows
  // when the polygon is squeezed.
  void blank_pieces(std::int32_t begin, std::int32_t end) noexcept {
    for (std::int32_t piece = find_unasked(begin); piece < end; piece = find_unasked(piece)) {
      scratch_.next_piece[piece] = piece + 1;
      any_blank_ = true;
      if (piece % 2 == 0) continue;
      Occurrence &occurrence = scratch_.occurrences[piece / 2];
      occurrence.blank = mesh_.in_play(occurrence.node);
    }
  }

  // Moves what stays of a gap. Gives the end of it.
  std::int32_t *squeeze_gap(std::int32_t from, std::int32_t end, bool asked, std::int32_t *out) noexcept {
    std::int32_t *polygon = mesh_.polygon.data();
    if (!asked) return out == polygon + from ? polygon + end : std::copy(polygon + from, polygon + end, out);
    for (std::int32_t p = from; p < end; ++p) {
      if (mesh_.in_play(polygon[p]))
        (void)mesh_.pruned.push_back(polygon[p]);
      else
        *out++ = polygon[p];
    }
    return out;
  }

  // Of the group of an occurrence, the members that come behind it.
  [[nodiscard]] std::span<const std::int32_t> members_behind(const Occurrence &own) const noexcept {
    return {scratch_.by_group.begin() + own.rank + 1, scratch_.by_group.begin() + scratch_.group_ends[own.group]};
  }
  // How many of them stand before a position.
  [[nodiscard]] std::size_t count_before(std::span<const std::int32_t> members, std::int32_t position) const noexcept {
    const auto end = std::partition_point(members.begin(), members.end(), [&](std::int32_t place) {
      return scratch_.occurrences[place].position < position;
    });
    return static_cast<std::size_t>(end - members.begin());
  }

  // The last occurrence of a's node in (a, a + T) that is not blank; -1 when there is none.
  [[nodiscard]] std::int32_t last_within_reach(const Occurrence &own) const noexcept {
    const std::span<const std::int32_t> members = members_behind(own);
    for (std::size_t i = count_before(members, own.position + std::min(reach_, n_ - own.position)); i > 0; --i)
      if (!scratch_.occurrences[members[i - 1]].blank) return members[i - 1];
    return -1;
  }

  // The first occurrence of a's node behind a + n - T that is not blank; -1 when there is none.
  [[nodiscard]] std::int32_t first_around_the_end(const Occurrence &own) const noexcept {
    const std::int32_t a = own.position;
    if (a >= reach_ - 1) return -1;  // a + n - T is the last position or lies behind it
    const bool may_go = mesh_.in_play(own.node);
    const std::span<const std::int32_t> members = members_behind(own);
    for (const std::int32_t place : members.subspan(count_before(members, a + n_ - reach_ + 1))) {
      const Occurrence &other = scratch_.occurrences[place];
      if (!other.blank) return place;
      if (may_go && other.position >= tail_) return -1;
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

bool has_end(const Face &face, std::int32_t node) noexcept {
  return face.nodes[1] == node || face.nodes[face.count - 1] == node;
}

// Whether the list of a node names the face that now stands in a slot. A list may name faces that the node has left,
// never too few; a long one is not looked through and counts as naming all.
bool names(Mesh &mesh, std::int32_t node, std::int32_t slot) noexcept {
  if (!mesh.is_listed(node)) return true;
  const std::span<const std::int32_t> slots = mesh.faces_of(node);
  return slots.size() > kSmallFan ||
         std::any_of(slots.begin(), slots.end(), [&](std::int32_t named) { return root_of(mesh, named) == slot; });
}

bool has_vertex(const Face &face, std::int32_t node) noexcept {
  if (face.count < kBlock) return std::find(face.nodes, face.nodes + face.count, node) != face.nodes + face.count;
  // The last block may overlap the one in front of it.
  const std::int32_t last = face.count - kBlock;
  for (std::int32_t from = 0; from < last; from += kBlock)
    if (block_has(face.nodes + from, node)) return true;
  return block_has(face.nodes + last, node);
}

// Whether a node may stand in a face. Polygons that are not large are looked through, since they are at hand; for the
// others the list of the node decides.
bool may_hold(Mesh &mesh, std::int32_t slot, std::int32_t node) noexcept {
  const Face &face = mesh.face(slot);
  if (has_end(face, node)) return true;
  if (face.count >= kLargePolygon) return names(mesh, node, slot);
  return has_vertex(face, node);
}

bool is_distinct(const Face &face) noexcept {
  if (face.count > kSmallFace) return face.distinct;
  for (std::int32_t p = 0; p < face.count; ++p)
    if (std::find(face.nodes, face.nodes + p, face.nodes[p]) != face.nodes + p) return false;
  return true;
}

// A vertex of a small face of the fan, other than the node.
struct RimVertex {
  std::int32_t node;
  bool end;  // it is next to the node
};
using RimVertices = RimVertex[kSmallFan * kSmallFace];

// Lists the vertices of all faces taken but the largest. Gives how many; -1 when there is more than a small face.
int list_small_faces(const Mesh &mesh, std::int32_t largest, RimVertices &rim) noexcept {
  int count = 0;
  for (const std::int32_t slot : mesh.taken) {
    if (slot == largest) continue;
    const Face &face = mesh.face(slot);
    if (face.count > kSmallFace) return -1;
    for (std::int32_t p = 1; p < face.count; ++p) rim[count++] = {face.nodes[p], p == 1 || p == face.count - 1};
  }
  return count;
}

// Whether the first vertex stands in no face but its own, unless as an end that it shares with one other face.
bool is_used_once(Mesh &mesh, std::int32_t largest, std::span<const RimVertex> rim) noexcept {
  const RimVertex &vertex = rim[0];
  int others = 0;
  for (const RimVertex &other : rim.subspan(1)) {
    if (other.node != vertex.node) continue;
    if (!vertex.end || !other.end) return false;
    others += 1;
  }
  if (vertex.end && has_end(mesh.face(largest), vertex.node)) return others == 0;
  return others <= 1 && !may_hold(mesh, largest, vertex.node);
}

}  // namespace

// The faces that are taken are distinct each, and all but the largest are small: what those do not share with each
// other nor with the largest, nothing shares.
bool rim_is_distinct(Mesh &mesh) noexcept {
  if (mesh.taken.size() > kSmallFan) return false;
  std::int32_t largest = mesh.taken[0];
  for (const std::int32_t slot : mesh.taken) {
    const Face &face = mesh.face(slot);
    if (face.count < 3 || !is_distinct(face)) return false;
    if (face.count > mesh.face(largest).count) largest = slot;
  }
  RimVertices rim;
  const int count = list_small_faces(mesh, largest, rim);
  for (int i = 0; i < count; ++i)
    if (!is_used_once(mesh, largest, {rim + i, rim + count})) return false;
  return count >= 0;
}

bool prune_polygon_loops(Mesh &mesh, bool rim_distinct) noexcept {
  mesh.pruned.clear();
  const std::int32_t n = mesh.polygon.count();
  const auto reach = static_cast<std::int32_t>(n * 0.3);
  if (reach < 2) return false;  // no pair is that close
  const std::int32_t last = mesh.polygon[static_cast<std::size_t>(n) - 1];
  const bool closed = mesh.polygon[0] == last;
  const std::int64_t repeats = rim_distinct ? (closed ? 1 : 0) : mark_vertices(mesh);
  if (repeats <= (closed ? 1 : 0)) {
    if (!rim_distinct) clear_marks(mesh);
    if (!closed) return true;
    // Most polygons come here: the last vertex repeats the first.
    if (mesh.in_play(last)) (void)mesh.polygon.resize(n - 1);
    return mesh.in_play(last);
  }
  Pruning pruning(mesh, reach);
  if (!pruning.prepare(repeats)) {
    report_no_memory(unit_name::kCoarsening);
    return false;
  }
  pruning.blank_excursions();
  const bool distinct = pruning.is_distinct();
  pruning.squeeze();
  return distinct;
}

}  // namespace sbr::coarse
