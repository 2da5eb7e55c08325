// Invariants 5 and 9: the sums over the nodes for every pair of modes.
//
// The modes are taken in blocks. A block of row modes is held, the columns that follow it stream past in chunks. What
// is held lies in the mode cache or in a fixed number of buffers over the nodes, so that memory grows with the node
// count and not with nodes times modes; the more is held, the fewer times a mode is fetched.
#include "mass/pairs.h"

#include <algorithm>

#include "body/node_table.h"
#include "mass/invariants.h"
#include "mass/node_sums.h"
#include "mass/pair_sums.h"
#include "modes/access.h"
#include "modes/cache.h"

namespace sbr {
namespace {

constexpr int kColumnChunk = 8;     // buffers kept free for the columns that stream past
constexpr int kFewestBuffers = 12;  // held beside the cache, however small the memory limit is
constexpr int kSlab = 64;           // columns whose tiles are laid out at a time
constexpr int kRowBlock = 64;       // rows whose sums are kept at a time
constexpr int kSlabGroups = kSlab / kPairLanes;

// The modes of the present blocks: translations, three values per node, from the cache or in a buffer of their own.
class HeldModes {
 public:
  explicit HeldModes(SbrBody &body) noexcept : body_(body) {}

  // Takes the buffers; false when not even two can be had.
  bool open(int modes) noexcept {
    if (!held_.allocate(modes) || !buffer_of_.allocate(modes)) return false;
    std::fill(buffer_of_.begin(), buffer_of_.end(), -1);
    const int wanted = std::max(2, std::min(modes, buffer_limit()));
    while (buffers_.count() < wanted) {
      Array<double> *buffer = buffers_.add();
      if (buffer == nullptr || !allocate_mode_buffer(body_, *buffer)) {
        if (buffer != nullptr) (void)buffers_.resize(buffers_.count() - 1);
        break;
      }
      if (!free_.push_back(buffers_.count() - 1)) return false;
    }
    return buffers_.count() >= 2;
  }

  // Buffers that rows leave to the columns.
  [[nodiscard]] int reserve() const noexcept { return std::min(kColumnChunk, 2 * buffers_.count() / 3); }
  [[nodiscard]] int free_buffers() const noexcept { return free_.count(); }
  [[nodiscard]] const double *const *held() const noexcept { return held_.data(); }
  // Whether a mode can be held without a buffer.
  [[nodiscard]] bool is_cached(int index) const noexcept { return cached(index) != nullptr; }

  // Holds a mode. There is a free buffer, or the mode is cached.
  void hold(int index) noexcept {
    const auto at = static_cast<std::size_t>(index);
    held_[at] = cached(index);
    if (held_[at] != nullptr) return;
    const int place = free_[free_.size() - 1];
    Array<double> &buffer = *buffers_[place];
    if (!mode_part(body_, index, Kind::shape, 0, buffer.data())) buffer.fill_zero();
    held_[at] = cached(index);
    if (held_[at] != nullptr) return;  // the cache has taken its copy; the buffer is free again
    held_[at] = buffer.data();
    buffer_of_[at] = place;
    (void)free_.resize(free_.count() - 1);
  }

  void let_go(int index) noexcept {
    const auto at = static_cast<std::size_t>(index);
    held_[at] = nullptr;
    if (buffer_of_[at] >= 0) (void)free_.push_back(buffer_of_[at]);
    buffer_of_[at] = -1;
  }

 private:
  [[nodiscard]] const double *cached(int index) const noexcept {
    if (body_.store.keep_in_memory == 0 || body_.nodes.kinds[Kind::shape].count < node_count(body_)) return nullptr;
    return cached_part(body_, index, Kind::shape, 0);
  }

  // While the cache is on it has the memory limit to itself and half of it comes on top for modes that it does not
  // take; while it is off, the limit is for the block of modes.
  [[nodiscard]] int buffer_limit() noexcept {
    const bool caching = body_.store.keep_in_memory != 0;
    const int before = body_.store.memory_limit;
    if (before == 0) size_mode_memory(body_);
    const int slots = body_.store.memory_limit;
    if (!caching) body_.store.memory_limit = before;
    return std::max(kFewestBuffers, caching ? slots / 2 : slots);
  }

  SbrBody &body_;
  OwnedList<Array<double>> buffers_;
  Array<int> free_;       // places in buffers_
  Array<int> buffer_of_;  // per mode index its place in buffers_, -1 without
  Array<const double *> held_;
};

struct Range {
  int first;
  int last;  // one past the end
};

class PairSums {
 public:
  PairSums(SbrBody &body, int modes, Array<double> &invar5, Array<double> &invar9) noexcept
      : body_(body), modes_(modes), invar5_(invar5), invar9_(invar9), kernel_(pair_kernel()) {}

  bool open() noexcept {
    if (!masses_.allocate(node_count(body_)) || !weighted_.allocate(kRowTile) ||
        !columns_.allocate(kSlabGroups * static_cast<std::int64_t>(kColumnTile)) ||
        !sums_.allocate(std::int64_t{kRowBlock} * kSlabGroups * static_cast<std::int64_t>(kGroupSums)))
      return false;
    for (std::size_t i = 0; i < masses_.size(); ++i) masses_[i] = body_.nodes.nodes[i].mass;
    return true;
  }

  // All pairs (j, k) of held rows and held columns with k not before j.
  void add(const double *const *held, Range rows, Range columns) noexcept {
    for (int slab = columns.first; slab < columns.last; slab += kSlab) {
      const Range some_columns{slab, std::min(slab + kSlab, columns.last)};
      for (int block = rows.first; block < std::min(rows.last, some_columns.last); block += kRowBlock) {
        const Range some_rows{block, std::min({block + kRowBlock, rows.last, some_columns.last})};
        sum_block(held, some_rows, some_columns);
        store_block(some_rows, some_columns);
      }
    }
  }

 private:
  [[nodiscard]] double *sums_of(Range rows, int j, int group) noexcept {
    const int place = (j - rows.first) * kSlabGroups + group;
    return sums_.data() + static_cast<std::size_t>(place) * kGroupSums;
  }

  void sum_block(const double *const *held, Range rows, Range columns) noexcept {
    sums_.fill_zero();
    const int groups = (columns.last - columns.first + kPairLanes - 1) / kPairLanes;
    for (std::size_t node = 0; node < masses_.size(); node += kTileNodes) {
      const int nodes = static_cast<int>(std::min<std::size_t>(kTileNodes, masses_.size() - node));
      for (int g = 0; g < groups; ++g) {
        const double *lanes[kPairLanes] = {};
        const int first = columns.first + g * kPairLanes;
        for (int lane = 0; lane < kPairLanes && first + lane < columns.last; ++lane) lanes[lane] = held[first + lane];
        pack_columns(lanes, node, nodes, columns_.data() + static_cast<std::size_t>(g) * kColumnTile);
      }
      for (int j = rows.first; j < rows.last; ++j) {
        const PairRow row{masses_.data() + node, held[j] + 3 * node, weighted_.data()};
        weight_row(row.masses, row.phi, nodes, weighted_.data());
        // Groups that lie wholly before the row belong to pairs that other rows sum.
        for (int g = std::max(0, (j - columns.first) / kPairLanes); g < groups; ++g)
          kernel_(row, columns_.data() + static_cast<std::size_t>(g) * kColumnTile, nodes, sums_of(rows, j, g));
      }
    }
  }

  void store_block(Range rows, Range columns) noexcept {
    for (int j = rows.first; j < rows.last; ++j)
      for (int k = std::max(j, columns.first); k < columns.last; ++k) {
        const int offset = k - columns.first;
        store_pair(j, k, sums_of(rows, j, offset / kPairLanes) + offset % kPairLanes);
      }
  }

  // Writes a pair and its mirror: the transpose of the tensor, the negative of the vector. For a mode with itself the
  // tensor's upper half decides, and the vector's negative stands.
  void store_pair(int j, int k, const double *sums) noexcept {
    const auto modes = static_cast<std::size_t>(modes_);
    const auto row = static_cast<std::size_t>(j);
    const auto column = static_cast<std::size_t>(k);
    double *tensor = invar9_.data() + 9 * (row * modes + column);
    double *mirror = invar9_.data() + 9 * (column * modes + row);
    for (int e = 0; e < 9; ++e) tensor[e] = sums[std::ptrdiff_t{e} * kPairLanes];
    for (int r = 0; r < 3; ++r)
      for (int c = 0; c < 3; ++c) mirror[3 * c + r] = tensor[3 * r + c];
    for (std::size_t c = 0; c < 3; ++c) {
      const double value = sums[(9 + c) * kPairLanes];
      invar5_[3 * modes * row + c * modes + column] = value;
      invar5_[3 * modes * column + c * modes + row] = -value;
    }
  }

  SbrBody &body_;
  int modes_;
  Array<double> &invar5_;
  Array<double> &invar9_;
  PairKernel kernel_;
  Array<double> masses_;
  Array<double> weighted_;
  Array<double> columns_;
  Array<double> sums_;
};

bool sum_all_pairs(SbrBody &body, int modes, Array<double> &invar5, Array<double> &invar9) noexcept {
  HeldModes block(body);
  PairSums sums(body, modes, invar5, invar9);
  if (node_count(body) < 1 || !block.open(modes) || !sums.open()) return false;
  Range rows{0, 0};
  while (rows.first < modes) {
    rows.last = rows.first;
    while (rows.last < modes && (block.is_cached(rows.last) || block.free_buffers() > block.reserve()))
      block.hold(rows.last++);
    sums.add(block.held(), rows, rows);
    for (Range columns{rows.last, rows.last}; columns.first < modes; columns.first = columns.last) {
      while (columns.last < modes && (block.is_cached(columns.last) || block.free_buffers() > 0))
        block.hold(columns.last++);
      sums.add(block.held(), rows, columns);
      for (int k = columns.first; k < columns.last; ++k) block.let_go(k);
    }
    for (int j = rows.first; j < rows.last; ++j) block.let_go(j);
    rows.first = rows.last;
  }
  return true;
}

}  // namespace

bool compute_modal_pair_invariants(SbrBody &body) noexcept {
  const int modes = mode_count(body);
  if (modes < 1) return false;
  Array<double> invar5;
  Array<double> invar9;
  if (!invar5.allocate(pair_cell_size(3, modes)) || !invar9.allocate(pair_cell_size(9, modes))) return false;
  if (has_block(body, kNodalMasses) && !sum_all_pairs(body, modes, invar5, invar9)) return false;
  body.invariants.invar5 = std::move(invar5);
  body.invariants.invar9 = std::move(invar9);
  return true;
}

}  // namespace sbr
