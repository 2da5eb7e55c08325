#include "support/allocations.h"

#include <malloc.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

sbrtest::Countdown countdown;
sbrtest::MemoryInUse in_use;
std::int64_t peak = 0;

void *counted(void *block) {
  if (block == nullptr) return block;
  in_use.blocks += 1;
  in_use.bytes += static_cast<std::int64_t>(malloc_usable_size(block));
  peak = std::max(peak, in_use.bytes);
  return block;
}

void *discounted(void *block) {
  if (block == nullptr) return block;
  in_use.blocks -= 1;
  in_use.bytes -= static_cast<std::int64_t>(malloc_usable_size(block));
  return block;
}

}  // namespace

namespace sbrtest {

FailingAllocation::FailingAllocation(long n, Failing failing) { countdown = {n, failing, 0}; }
FailingAllocation::~FailingAllocation() { countdown = {}; }
bool FailingAllocation::happened() const { return countdown.happened(); }
long FailingAllocation::seen() const { return countdown.seen; }

MemoryInUse memory_in_use() { return in_use; }
std::int64_t peak_memory() { return peak; }
void set_peak_memory_back() { peak = in_use.bytes; }

}  // namespace sbrtest

// The linker sends the calls of the program's objects here. The operators are replaced as a whole: a delete does not
// know which new made what it frees.
extern "C" {
void *__real_malloc(std::size_t size);
void *__real_calloc(std::size_t count, std::size_t size);
void *__real_realloc(void *block, std::size_t size);
int __real_posix_memalign(void **block, std::size_t alignment, std::size_t size);
void __real_free(void *block);

void *__wrap_malloc(std::size_t size) { return countdown.fails_now() ? nullptr : counted(__real_malloc(size)); }
void *__wrap_calloc(std::size_t count, std::size_t size) {
  return countdown.fails_now() ? nullptr : counted(__real_calloc(count, size));
}
void *__wrap_realloc(void *block, std::size_t size) {
  if (countdown.fails_now()) return nullptr;
  discounted(block);
  void *moved = __real_realloc(block, size);
  if (moved == nullptr) counted(block);
  return counted(moved);
}
int __wrap_posix_memalign(void **block, std::size_t alignment, std::size_t size) {
  if (countdown.fails_now()) return ENOMEM;
  const int result = __real_posix_memalign(block, alignment, size);
  if (result == 0) counted(*block);
  return result;
}
void __wrap_free(void *block) { __real_free(discounted(block)); }
}

void *operator new(std::size_t size) {
  if (void *block = counted(__real_malloc(size == 0 ? 1 : size)); block != nullptr) return block;
  throw std::bad_alloc();
}
void *operator new[](std::size_t size) { return operator new(size); }
void *operator new(std::size_t size, const std::nothrow_t &) noexcept {
  return countdown.fails_now() ? nullptr : counted(__real_malloc(size == 0 ? 1 : size));
}
void *operator new[](std::size_t size, const std::nothrow_t &tag) noexcept { return operator new(size, tag); }
void operator delete(void *block) noexcept { __real_free(discounted(block)); }
void operator delete[](void *block) noexcept { operator delete(block); }
void operator delete(void *block, std::size_t) noexcept { operator delete(block); }
void operator delete[](void *block, std::size_t) noexcept { operator delete(block); }
void operator delete(void *block, const std::nothrow_t &) noexcept { operator delete(block); }
void operator delete[](void *block, const std::nothrow_t &) noexcept { operator delete(block); }
