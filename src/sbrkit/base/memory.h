// Memory that reports failure by value: zeroing allocation, arrays that own what they hold, and no exceptions.
#ifndef SBRKIT_BASE_MEMORY_H
#define SBRKIT_BASE_MEMORY_H

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <span>
#include <type_traits>
#include <utility>

namespace sbr {

// A zeroed block of count elements; null for a count of 0, a product that overflows, and exhaustion.
inline void *allocate_zeroed(std::size_t count, std::size_t size) noexcept {
  if (count == 0 || size == 0) return nullptr;
  return std::calloc(count, size);
}

// An array of plain values that owns its memory. New elements are zero. Every operation that needs memory answers
// false when there is none and leaves the array as it was.
template <class T>
class Array {
  static_assert(std::is_trivially_copyable_v<T>, "Array holds plain values");

 public:
  Array() = default;
  Array(const Array &) = delete;
  Array &operator=(const Array &) = delete;
  Array(Array &&other) noexcept { swap(other); }
  Array &operator=(Array &&other) noexcept {
    if (this != &other) {
      release();
      swap(other);
    }
    return *this;
  }
  ~Array() { release(); }

  void swap(Array &other) noexcept {
    std::swap(data_, other.data_);
    std::swap(size_, other.size_);
    std::swap(capacity_, other.capacity_);
  }

  // Replaces the contents by count zeros. A count below 1 is refused, as the house's allocations do.
  [[nodiscard]] bool allocate(std::int64_t count) noexcept {
    if (count < 1) return false;
    auto *fresh = static_cast<T *>(allocate_zeroed(static_cast<std::size_t>(count), sizeof(T)));
    if (fresh == nullptr) return false;
    release();
    data_ = fresh;
    size_ = capacity_ = static_cast<std::size_t>(count);
    return true;
  }

  // Makes the size count, keeping what stands in front; new elements are zero. Grows geometrically.
  [[nodiscard]] bool resize(std::int64_t count) noexcept {
    if (count < 0) return false;
    const auto wanted = static_cast<std::size_t>(count);
    if (!reserve(count)) return false;
    if (wanted > size_) std::memset(static_cast<void *>(data_ + size_), 0, (wanted - size_) * sizeof(T));
    size_ = wanted;
    return true;
  }

  [[nodiscard]] bool reserve(std::int64_t count) noexcept {
    const auto wanted = static_cast<std::size_t>(count < 0 ? 0 : count);
    if (wanted <= capacity_) return true;
    const std::size_t doubled = capacity_ < 8 ? 16 : capacity_ + capacity_ / 2;
    const std::size_t target = wanted > doubled ? wanted : doubled;
    if (target > std::numeric_limits<std::size_t>::max() / sizeof(T)) return false;
    void *moved = std::realloc(static_cast<void *>(data_), target * sizeof(T));
    if (moved == nullptr) return false;
    data_ = static_cast<T *>(moved);
    capacity_ = target;
    return true;
  }

  [[nodiscard]] bool push_back(const T &value) noexcept {
    const T copy = value;
    if (!reserve(static_cast<std::int64_t>(size_) + 1)) return false;
    data_[size_++] = copy;
    return true;
  }

  // Adds count values that stand elsewhere.
  [[nodiscard]] bool append(const T *values, std::int64_t count) noexcept {
    if (count < 1) return count == 0;
    if (!reserve(static_cast<std::int64_t>(size_) + count)) return false;
    std::memcpy(static_cast<void *>(data_ + size_), values, static_cast<std::size_t>(count) * sizeof(T));
    size_ += static_cast<std::size_t>(count);
    return true;
  }

  void release() noexcept {
    std::free(static_cast<void *>(data_));
    data_ = nullptr;
    size_ = capacity_ = 0;
  }

  // Hands the memory to the caller, who frees it with std::free.
  [[nodiscard]] T *detach() noexcept {
    T *block = data_;
    data_ = nullptr;
    size_ = capacity_ = 0;
    return block;
  }

  void clear() noexcept { size_ = 0; }
  void fill_zero() noexcept {
    if (size_ != 0) std::memset(static_cast<void *>(data_), 0, size_ * sizeof(T));
  }

  explicit operator bool() const noexcept { return data_ != nullptr; }
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
  [[nodiscard]] std::span<T> span() noexcept { return {data_, size_}; }
  [[nodiscard]] std::span<const T> span() const noexcept { return {data_, size_}; }

 private:
  T *data_ = nullptr;
  std::size_t size_ = 0;
  std::size_t capacity_ = 0;
};

// A list of heap records that it owns. Places may be empty (null). T has a no-throw default constructor.
template <class T>
class OwnedList {
 public:
  OwnedList() = default;
  OwnedList(const OwnedList &) = delete;
  OwnedList &operator=(const OwnedList &) = delete;
  OwnedList(OwnedList &&other) noexcept { swap(other); }
  OwnedList &operator=(OwnedList &&other) noexcept {
    if (this != &other) {
      release();
      swap(other);
    }
    return *this;
  }
  ~OwnedList() { release(); }
  void swap(OwnedList &other) noexcept { places_.swap(other.places_); }

  // Appends an empty place; false when memory is short.
  [[nodiscard]] bool add_place() noexcept { return places_.push_back(nullptr); }
  // Makes the list count places long; new places are empty, surplus records go.
  [[nodiscard]] bool resize(std::int64_t count) noexcept {
    for (auto i = static_cast<std::size_t>(count < 0 ? 0 : count); i < places_.size(); ++i) reset(i);
    return places_.resize(count);
  }
  // A new record at a place, in place of what stood there; null when memory is short.
  T *create(std::size_t place) noexcept {
    reset(place);
    places_[place] = new (std::nothrow) T();
    return places_[place];
  }
  // Appends a new record; null when memory is short, with the list as it was.
  T *add() noexcept {
    T *record = new (std::nothrow) T();
    if (record == nullptr) return nullptr;
    if (places_.push_back(record)) return record;
    delete record;
    return nullptr;
  }
  void reset(std::size_t place) noexcept {
    delete places_[place];
    places_[place] = nullptr;
  }
  void release() noexcept {
    for (T *record : places_) delete record;
    places_.release();
  }

  explicit operator bool() const noexcept { return static_cast<bool>(places_); }
  [[nodiscard]] std::size_t size() const noexcept { return places_.size(); }
  [[nodiscard]] int count() const noexcept { return places_.count(); }
  template <std::integral Index>
  T *operator[](Index i) const noexcept {
    return places_[i];
  }

 private:
  Array<T *> places_;
};

}  // namespace sbr

#endif
