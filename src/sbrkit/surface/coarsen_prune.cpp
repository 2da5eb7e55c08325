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

// T for n vertices.
std::int32_t reach_of(std::int32_t n) noexcept { return static_cast<std::int32_t>(n * 0.3); }

// What pruning knows about one polygon, in the scratch arrays of the mesh. Only the vertices of nodes that stand more
// than once are listed; the others play no part but that they go with an excursion.
class Pruning {
 public:
  Pruning(Mesh &mesh, std::span<std::int32_t> polygon) noexcept
      : mesh_(mesh),
        scratch_(mesh.pruning),
        polygon_(polygon.data()),
        n_(static_cast<std::int32_t>(polygon.size())),
        reach_(reach_of(n_)),
        tail_(n_) {}

  // Lists the vertices that mark_vertices has found repeated, and takes its marks away. False when memory is short.
  [[nodiscard]] bool prepare(std::int64_t repeats) noexcept {
    const std::int64_t most = std::min<std::int64_t>(2 * repeats, n_);
    if (!scratch_.reserve(most) || !mesh_.pruned.reserve(n_)) {
      clear_marks(mesh_);
      return false;
    }
    scratch_.clear();
    list_occurrences();
    group_strangers();
    prepare_listed();
    return true;
  }

  // The same for occurrences that are listed and counted by group.
  void prepare_listed() noexcept {
    rank_occurrences();
    (void)scratch_.next_piece.resize(2 * std::int64_t{scratch_.occurrences.count()} + 2);
    std::iota(scratch_.next_piece.begin(), scratch_.next_piece.end(), 0);
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

  // Takes the blanks out and lists their nodes. What is left begins where the polygon began.
  std::span<std::int32_t> squeeze_to_front() noexcept {
    mesh_.pruned.clear();
    if (!any_blank_) return {polygon_, polygon_ + n_};
    return {polygon_, squeeze_behind(0, squeeze_gap(0, polygon_))};
  }

  // The same, but the longest gap that stays is left where it is, and the others close up on both sides.
  std::span<std::int32_t> squeeze_around_longest_gap() noexcept {
    const std::int32_t kept = any_blank_ ? longest_gap() : -1;
    if (kept < 0) return squeeze_to_front();
    mesh_.pruned.clear();
    std::int32_t *begin = squeeze_in_front(kept, polygon_ + begin_of_gap(kept));
    return {begin, squeeze_behind(kept, polygon_ + end_of_gap(kept))};
  }

  // Whether each node stands once, or twice in a row, in what squeezing has left.
  [[nodiscard]] bool is_simple() const noexcept {
    if (!scratch_.strangers.empty()) return false;
    std::int32_t group = -1;
    std::int32_t next = -1;  // where the second of a row stands; -1 behind it
    for (const std::int32_t place : scratch_.by_group) {
      const Occurrence &occurrence = scratch_.occurrences[place];
      if (occurrence.blank) continue;
      const bool first = occurrence.group != group;
      if (!first && occurrence.position != next) return false;
      group = occurrence.group;
      next = first ? occurrence.position + 1 : -1;
    }
    return true;
  }

 private:
  void list_occurrences() noexcept {
    const MarkTable table(mesh_);
    const std::int32_t *polygon = polygon_;
    for (std::int32_t p = 0, n = n_; p < n; ++p) {
      const std::int32_t node = polygon[p];
      if (!table.has(node)) {
        (void)scratch_.strangers.push_back(scratch_.occurrences.count());
        (void)scratch_.occurrences.push_back({node, p, 0, 0, false});
      } else if ((table[node] & kSeenAgain) == 0) {
        table[node] &= kInPlay;
      } else {
        (void)scratch_.occurrences.push_back({node, p, count_in_group(mesh_, node), 0, false});
      }
    }
    for (const Occurrence &occurrence : scratch_.occurrences.span())
      if (table.has(occurrence.node)) table[occurrence.node] &= kInPlay;
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
      stranger.group = previous != nullptr && previous->node == stranger.node ? previous->group : scratch_.add_group();
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

  // Gap i comes in front of occurrence i; behind the last occurrence there is another one.
  [[nodiscard]] std::int32_t begin_of_gap(std::int32_t gap) const noexcept {
    return gap == 0 ? 0 : scratch_.occurrences[gap - 1].position + 1;
  }
  [[nodiscard]] std::int32_t end_of_gap(std::int32_t gap) const noexcept {
    return gap == scratch_.occurrences.count() ? n_ : scratch_.occurrences[gap].position;
  }
  [[nodiscard]] bool gap_is_asked(std::int32_t gap) const noexcept { return is_asked(2 * gap); }

  // -1 when all are asked to go.
  [[nodiscard]] std::int32_t longest_gap() const noexcept {
    std::int32_t longest = -1;
    std::int32_t length = -1;
    for (std::int32_t gap = 0; gap <= scratch_.occurrences.count(); ++gap) {
      if (gap_is_asked(gap) || end_of_gap(gap) - begin_of_gap(gap) <= length) continue;
      longest = gap;
      length = end_of_gap(gap) - begin_of_gap(gap);
    }
    return longest;
  }

  // Moves what stays of a gap to a place. Gives the end of it.
  std::int32_t *squeeze_gap(std::int32_t gap, std::int32_t *out) noexcept {
    const std::int32_t *from = polygon_ + begin_of_gap(gap);
    const std::int32_t *end = polygon_ + end_of_gap(gap);
    if (!gap_is_asked(gap)) return out == from ? out + (end - from) : std::copy(from, end, out);
    for (; from < end; ++from) {
      if (mesh_.in_play(*from))
        (void)mesh_.pruned.push_back(*from);
      else
        *out++ = *from;
    }
    return out;
  }
  // The same from the back. Gives the begin of it.
  std::int32_t *squeeze_gap_back(std::int32_t gap, std::int32_t *out) noexcept {
    const std::int32_t *from = polygon_ + begin_of_gap(gap);
    const std::int32_t *end = polygon_ + end_of_gap(gap);
    if (!gap_is_asked(gap)) return out == end ? out - (end - from) : std::copy_backward(from, end, out);
    while (end > from) {
      if (mesh_.in_play(*--end))
        (void)mesh_.pruned.push_back(*end);
      else
        *--out = *end;
    }
    return out;
  }

  // Moves what stays behind a gap up to it, and notes where the occurrences come to stand. Gives the end of it.
  std::int32_t *squeeze_behind(std::int32_t gap, std::int32_t *out) noexcept {
    for (std::int32_t i = gap; i < scratch_.occurrences.count(); ++i) {
      Occurrence &occurrence = scratch_.occurrences[i];
      const std::int32_t *place = out;
      if (occurrence.blank)
        (void)mesh_.pruned.push_back(occurrence.node);
      else
        *out++ = occurrence.node;
      out = squeeze_gap(i + 1, out);
      occurrence.position = static_cast<std::int32_t>(place - polygon_);
    }
    return out;
  }
  // The same for what stays in front of it. Gives the begin of it.
  std::int32_t *squeeze_in_front(std::int32_t gap, std::int32_t *out) noexcept {
    for (std::int32_t i = gap - 1; i >= 0; --i) {
      Occurrence &occurrence = scratch_.occurrences[i];
      if (occurrence.blank)
        (void)mesh_.pruned.push_back(occurrence.node);
      else
        *--out = occurrence.node;
      const std::int32_t *place = out;
      out = squeeze_gap_back(i, out);
      occurrence.position = static_cast<std::int32_t>(place - polygon_);
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
  std::int32_t *polygon_;
  std::int32_t n_;
  std::int32_t reach_;  // T
  std::int32_t tail_;   // from here on everything that may be blanked is blank
  bool any_blank_ = false;
};

}  // namespace

std::int32_t count_in_group(Mesh &mesh, std::int32_t node) noexcept {
  if ((mesh.marks[node] & kGrouped) == 0) {
    mesh.marks[node] |= kGrouped;
    mesh.group_of[node] = mesh.pruning.add_group();
  }
  const std::int32_t group = mesh.group_of[node];
  mesh.pruning.group_ends[group] += 1;
  return group;
}

namespace {

// Of a simple rim only the last vertices, where they repeat the first, are an excursion.
void cut_closing_vertices(Mesh &mesh, std::int32_t reach) noexcept {
  Array<std::int32_t> &polygon = mesh.polygon;
  const std::int32_t first = polygon[0];
  if (!mesh.in_play(first)) return;
  for (std::int32_t cut = 1; cut < reach && polygon[polygon.size() - 1] == first; ++cut)
    (void)polygon.resize(static_cast<std::int64_t>(polygon.size()) - 1);
}

}  // namespace

bool prune_polygon_loops(Mesh &mesh, bool rim_is_simple) noexcept {
  mesh.pruned.clear();
  const std::int32_t n = mesh.polygon.count();
  const std::int32_t reach = reach_of(n);
  if (reach < 2) return false;  // no pair is that close
  const bool closed = mesh.polygon[0] == mesh.polygon[static_cast<std::size_t>(n) - 1];
  const std::int64_t repeats = rim_is_simple ? 0 : mark_vertices(mesh);
  if (repeats <= (closed ? 1 : 0)) {
    if (!rim_is_simple) clear_marks(mesh);
    // Most polygons come here.
    if (closed) cut_closing_vertices(mesh, reach);
    return true;
  }
  Pruning pruning(mesh, mesh.polygon.span());
  if (!pruning.prepare(repeats)) {
    report_no_memory(unit_name::kCoarsening);
    return false;
  }
  pruning.blank_excursions();
  (void)mesh.polygon.resize(static_cast<std::int64_t>(pruning.squeeze_to_front().size()));
  return pruning.is_simple();
}

std::span<std::int32_t> prune_seam(Mesh &mesh, std::span<std::int32_t> rim, bool &simple) noexcept {
  Pruning pruning(mesh, rim);
  pruning.prepare_listed();
  pruning.blank_excursions();
  const std::span<std::int32_t> left = pruning.squeeze_around_longest_gap();
  simple = pruning.is_simple();
  return left;
}

}  // namespace sbr::coarse
