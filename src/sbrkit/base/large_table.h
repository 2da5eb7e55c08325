// A large table of plain values that is read here and there: it begins at a cache line, and lies in large pages where
// the system has them, so that finding an address costs less than reading what is there.
#ifndef SBRKIT_BASE_LARGE_TABLE_H
#define SBRKIT_BASE_LARGE_TABLE_H

#include <algorithm>

#include "base/memory.h"

namespace sbr {

// The size of a page that saves a processor many look-ups of addresses.
constexpr std::size_t kLargePage = std::size_t{1} << 21U;

// Asks for large pages under a block that begins at one. Nothing depends on it but the time.
void prefer_large_pages(void *block, std::size_t bytes) noexcept;

template <class T>
class LargeTable {
  static_assert(std::is_trivially_copyable_v<T>, "LargeTable holds plain values");

 public:
  // Replaces the contents by count zeros. False when count is below 1 or memory is short; the contents stay then.
  [[nodiscard]] bool allocate(std::int64_t count) noexcept {
    constexpr std::size_t kMost = std::numeric_limits<std::size_t>::max() / sizeof(T) - 2 * kLargePage;
    if (count < 1 || static_cast<std::size_t>(count) > kMost) return false;
    const std::size_t bytes = static_cast<std::size_t>(count) * sizeof(T);
    // Memory that is never used costs nothing, so that a large table has its last page for itself as well.
    const bool large = bytes >= kLargePage;
    const std::size_t step = large ? kLargePage : kLine;
    auto *fresh = static_cast<unsigned char *>(allocate_zeroed(bytes + (large ? 2 : 1) * step, 1));
    if (fresh == nullptr) return false;
    const std::size_t past = reinterpret_cast<std::uintptr_t>(fresh) % step;
    unsigned char *first = past == 0 ? fresh : fresh + (step - past);
    if (large) prefer_large_pages(first, bytes);
    std::free(block_);
    block_ = fresh;
    data_ = reinterpret_cast<T *>(first);
    size_ = static_cast<std::size_t>(count);
    return true;
  }

  // Makes the table longer; the new elements are zero. False when memory is short; the table is as it was then.
  [[nodiscard]] bool grow(std::int64_t count) noexcept {
    LargeTable longer;
    if (!longer.allocate(count)) return false;
    if (size_ != 0) std::memcpy(static_cast<void *>(longer.data_), data_, std::min(size_, longer.size_) * sizeof(T));
    swap(longer);
    return true;
  }

  LargeTable() = default;
  LargeTable(const LargeTable &) = delete;
  LargeTable &operator=(const LargeTable &) = delete;
  ~LargeTable() { std::free(block_); }

  void swap(LargeTable &other) noexcept {
    std::swap(block_, other.block_);
    std::swap(data_, other.data_);
    std::swap(size_, other.size_);
  }

  [[nodiscard]] bool empty() const noexcept { return size_ == 0; }
  [[nodiscard]] std::size_t size() const noexcept { return size_; }
  [[nodiscard]] int count() const noexcept { return static_cast<int>(size_); }
  T *data() noexcept { return data_; }
  const T *data() const noexcept { return data_; }
  // Any integer type is an index; it is the caller's to know that it lies within the size.
  template <std::integral Index>
  T &operator[](Index i) noexcept {
    return data_[static_cast<std::size_t>(i)];
  }
  template <std::integral Index>
  const T &operator[](Index i) const noexcept {
    return data_[static_cast<std::size_t>(i)];
  }
  T *begin() noexcept { return data_; }
  T *end() noexcept { return data_ + size_; }
  const T *begin() const noexcept { return data_; }
  const T *end() const noexcept { return data_ + size_; }

 private:
  static constexpr std::size_t kLine = 64;

  void *block_ = nullptr;  // what the table stands in
  T *data_ = nullptr;
  std::size_t size_ = 0;
};

}  // namespace sbr

#endif
