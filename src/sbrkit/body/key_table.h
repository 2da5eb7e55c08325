// The sorted table that turns node IDs into positions.
//
// A table owns its keys. In the eyes of its users it is an array of (ID, position) in ascending signed ID order, in
// which a new key goes behind its equals. Keys are appended and sorted when somebody wants the order; lookups of a
// growing table go through a hash index, so that building a body of n nodes costs n, whatever the order of the IDs.
#ifndef SBRKIT_BODY_KEY_TABLE_H
#define SBRKIT_BODY_KEY_TABLE_H

#include <cstdint>
#include <span>

#include "base/memory.h"

namespace sbr {

struct NodeKey {
  std::int32_t id;
  std::int32_t position;
};

// Orders by the first 32-bit member, signed: -1, 0 or 1.
[[nodiscard]] int compare_ids(const void *a, const void *b) noexcept;

class KeyTable {
 public:
  // A table is absent until it is built or a key is inserted.
  [[nodiscard]] bool present() const noexcept { return present_; }
  [[nodiscard]] int count() const noexcept { return keys_.count(); }
  // Makes the table of (id_of(i), i) for i below count. False when memory is short.
  template <class IdOf>
  [[nodiscard]] bool build(int count, IdOf id_of) noexcept {
    clear();
    if (!keys_.reserve(count)) return false;
    for (int i = 0; i < count; ++i)
      if (!keys_.push_back({id_of(i), i})) return false;
    present_ = true;
    sort_keys();
    return true;
  }
  [[nodiscard]] bool insert(std::int32_t id, std::int32_t position) noexcept;
  // The position of an ID, or -1.
  [[nodiscard]] std::int32_t find(std::int32_t id) noexcept;
  // All keys in ascending ID order.
  [[nodiscard]] std::span<const NodeKey> sorted() noexcept;
  // Gives the key at a position another ID. Two keys may share an ID for a moment, while two nodes exchange theirs; the
  // key renamed last is the one that is found.
  void rename(std::int32_t position, std::int32_t id) noexcept;
  // Adds an offset to every ID.
  void shift_ids(std::int32_t offset) noexcept;
  void clear() noexcept;

 private:
  static constexpr std::int32_t kFree = -1;
  static constexpr std::int32_t kRepeated = -2;  // several keys share the ID: the sorted keys decide

  void sort_keys() noexcept;
  // Whether the key that a lookup came by may answer for its ID.
  [[nodiscard]] bool stands_alone(std::int32_t id) const noexcept {
    for (int i = 0; i < repeated_count_ && i < kFew; ++i)
      if (repeated_ids_[i] == id) return false;
    return repeated_count_ <= kFew;
  }
  [[nodiscard]] std::int32_t find_sorted(std::int32_t id) noexcept;
  [[nodiscard]] bool build_index() noexcept;
  void enter(NodeKey key) noexcept;
  [[nodiscard]] std::size_t slot_of(std::int32_t id) const noexcept;
  void vacate(std::size_t slot) noexcept;
  [[nodiscard]] bool build_places() noexcept;

  Array<NodeKey> keys_;
  Array<NodeKey> ordered_;        // a sorted copy, while an indexed table is asked for its order
  Array<NodeKey> slots_;          // open addressing, a power of two; position kFree or kRepeated, or that of the ID
  Array<std::int32_t> place_of_;  // position -> place in keys_, for rename; built on demand
  bool present_ = false;
  bool sorted_ = true;
  bool indexed_ = false;
  std::size_t recent_ = 0;  // a place in keys_ that a lookup may try first
  bool renamed_ = false;    // IDs were changed one by one and may repeat for a while: no such short cut
  // The first few IDs that are those of several keys. Beyond them there is no short cut.
  static constexpr int kFew = 8;
  std::int32_t repeated_ids_[kFew] = {};
  int repeated_count_ = 0;
};

}  // namespace sbr

#endif
