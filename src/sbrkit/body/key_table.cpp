#include "body/key_table.h"

#include <algorithm>
#include <bit>

#include "sbrkit/sbrkit.h"

namespace sbr {
namespace {

std::size_t mix(std::int32_t id) noexcept {
  std::uint64_t x = static_cast<std::uint32_t>(id);
  x *= 0x9E3779B97F4A7C15U;
  return static_cast<std::size_t>(x >> 20U);
}

bool before(const NodeKey &a, const NodeKey &b) noexcept { return a.id < b.id; }

}  // namespace

void KeyTable::clear() noexcept {
  keys_.release();
  ordered_.release();
  slots_.release();
  place_of_.release();
  present_ = false;
  sorted_ = true;
  indexed_ = false;
  repeated_count_ = 0;
  renamed_ = false;
}

void KeyTable::sort_keys() noexcept {
  if (!std::is_sorted(keys_.begin(), keys_.end(), before)) {
    // A stable order keeps a later key behind its equals. std::stable_sort falls back to a slower merge, without
    // throwing, when its buffer cannot be had.
    std::stable_sort(keys_.begin(), keys_.end(), before);
  }
  sorted_ = true;
  place_of_.release();
}

// An indexed table keeps its keys in the order in which they came, since lookups mostly come in that order too.
std::span<const NodeKey> KeyTable::sorted() noexcept {
  if (sorted_) return keys_.span();
  if (indexed_ && ordered_.empty() && ordered_.resize(static_cast<std::int64_t>(keys_.size()))) {
    std::copy(keys_.begin(), keys_.end(), ordered_.begin());
    std::stable_sort(ordered_.begin(), ordered_.end(), before);
  }
  if (!ordered_.empty()) return ordered_.span();
  sort_keys();
  return keys_.span();
}

bool KeyTable::build_index() noexcept {
  const std::size_t wanted = std::bit_ceil(keys_.size() * 2 + 16);
  if (!slots_.allocate(static_cast<std::int64_t>(wanted))) return false;
  for (NodeKey &slot : slots_) slot.position = kFree;
  repeated_count_ = 0;
  indexed_ = true;
  for (const NodeKey &key : keys_) enter(key);
  return true;
}

void KeyTable::enter(NodeKey key) noexcept {
  const std::size_t mask = slots_.size() - 1;
  std::size_t i = mix(key.id) & mask;
  while (slots_[i].position != kFree) {
    if (slots_[i].id == key.id) {
      if (slots_[i].position == kRepeated) return;
      slots_[i].position = kRepeated;
      if (repeated_count_ < kFew) repeated_ids_[repeated_count_] = key.id;
      repeated_count_ += 1;
      return;
    }
    i = (i + 1) & mask;
  }
  slots_[i] = key;
}

bool KeyTable::insert(std::int32_t id, std::int32_t position) noexcept {
  if (!keys_.push_back({id, position})) return false;
  present_ = true;
  ordered_.release();
  place_of_.release();
  const std::size_t n = keys_.size();
  if (sorted_ && n > 1 && keys_[n - 2].id > id) sorted_ = false;
  if (!indexed_ || keys_.size() * 2 > slots_.size()) {
    if (!build_index()) {
      keys_.clear();
      return false;
    }
    return true;
  }
  enter({id, position});
  return true;
}

std::int32_t KeyTable::find(std::int32_t id) noexcept {
  if (keys_.empty()) return -1;
  if (indexed_) {
    // Hosts mostly walk the nodes in the order in which they made them: the key found last, or the one behind it.
    for (std::size_t at = recent_; !renamed_ && at < recent_ + 2 && at < keys_.size(); ++at)
      if (keys_[at].id == id && stands_alone(id)) {
        recent_ = at;
        return keys_[at].position;
      }
    const std::size_t mask = slots_.size() - 1;
    for (std::size_t i = mix(id) & mask; slots_[i].position != kFree; i = (i + 1) & mask) {
      if (slots_[i].id != id) continue;
      if (slots_[i].position == kRepeated) return find_sorted(id);
      recent_ = static_cast<std::size_t>(slots_[i].position);
      return slots_[i].position;
    }
    return -1;
  }
  return find_sorted(id);
}

std::int32_t KeyTable::find_sorted(std::int32_t id) noexcept {
  const std::span<const NodeKey> keys = sorted();
  const NodeKey key{id, 0};
  const auto *found =
      static_cast<const NodeKey *>(std::bsearch(&key, keys.data(), keys.size(), sizeof(NodeKey), compare_ids));
  return found == nullptr ? -1 : found->position;
}

std::size_t KeyTable::slot_of(std::int32_t id) const noexcept {
  const std::size_t mask = slots_.size() - 1;
  std::size_t i = mix(id) & mask;
  while (slots_[i].position != kFree && slots_[i].id != id) i = (i + 1) & mask;
  return i;
}

// Frees a slot and moves up those behind it that would no longer be reached.
void KeyTable::vacate(std::size_t slot) noexcept {
  const std::size_t mask = slots_.size() - 1;
  std::size_t hole = slot;
  for (std::size_t i = (slot + 1) & mask; slots_[i].position != kFree; i = (i + 1) & mask) {
    const std::size_t home = mix(slots_[i].id) & mask;
    if (((i - home) & mask) < ((i - hole) & mask)) continue;
    slots_[hole] = slots_[i];
    hole = i;
  }
  slots_[hole].position = kFree;
}

bool KeyTable::build_places() noexcept {
  std::int32_t top = -1;
  for (const NodeKey &key : keys_) top = std::max(top, key.position);
  if (!place_of_.allocate(static_cast<std::int64_t>(top) + 1)) return false;
  std::fill(place_of_.begin(), place_of_.end(), -1);
  for (std::size_t i = keys_.size(); i-- > 0;)
    if (keys_[i].position >= 0) place_of_[keys_[i].position] = static_cast<std::int32_t>(i);
  return true;
}

void KeyTable::rename(std::int32_t position, std::int32_t id) noexcept {
  if (position < 0 || keys_.empty()) return;
  const bool indexed = indexed_ || build_index();
  std::size_t at = keys_.size();
  if (place_of_ || build_places()) {
    const auto p = static_cast<std::size_t>(position);
    if (p < place_of_.size() && place_of_[p] >= 0) at = static_cast<std::size_t>(place_of_[p]);
  } else {
    const auto *found =
        std::find_if(keys_.begin(), keys_.end(), [&](const NodeKey &k) { return k.position == position; });
    at = static_cast<std::size_t>(found - keys_.begin());
  }
  if (at >= keys_.size()) return;
  const std::int32_t old = keys_[at].id;
  renamed_ = true;
  keys_[at].id = id;
  sorted_ = false;
  ordered_.release();
  if (!indexed) {
    indexed_ = false;
    sort_keys();
    return;
  }
  if (const std::size_t slot = slot_of(old); old != id && slots_[slot].position == position) vacate(slot);
  if (const std::size_t slot = slot_of(id); slots_[slot].position != kRepeated) slots_[slot] = {id, position};
}

void KeyTable::shift_ids(std::int32_t offset) noexcept {
  for (NodeKey &key : keys_)
    key.id = static_cast<std::int32_t>(static_cast<std::uint32_t>(key.id) + static_cast<std::uint32_t>(offset));
  indexed_ = false;
  ordered_.release();
}

int compare_ids(const void *a, const void *b) noexcept {
  std::int32_t first = 0;
  std::int32_t second = 0;
  std::memcpy(&first, a, sizeof first);
  std::memcpy(&second, b, sizeof second);
  return first < second ? -1 : first > second ? 1 : 0;
}

}  // namespace sbr

extern "C" int By_Id(const void *a, const void *b) { return sbr::compare_ids(a, b); }
