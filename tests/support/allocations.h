// Allocations that are counted, and that fail on demand: malloc, calloc, realloc, posix_memalign and new(std::nothrow)
// of the library's objects. A program that uses this has "allocations" among its needs in tests/CMakeLists.txt, so that
// the linker wraps them. What the test itself makes with a throwing new is not among them.
#ifndef SBRKIT_TESTS_SUPPORT_ALLOCATIONS_H
#define SBRKIT_TESTS_SUPPORT_ALLOCATIONS_H

#include <cstdint>

#include "support/countdown.h"

namespace sbrtest {

// While it lives, the n-th allocation from its start (counted from 1) fails, or all from it on. With 0 they are
// counted.
class FailingAllocation {
 public:
  explicit FailingAllocation(long n, Failing failing = Failing::once);
  ~FailingAllocation();
  FailingAllocation(const FailingAllocation &) = delete;
  FailingAllocation &operator=(const FailingAllocation &) = delete;
  // Whether the n-th allocation came.
  [[nodiscard]] bool happened() const;
  // How many have come.
  [[nodiscard]] long seen() const;
};

// What lives now of the allocations that are counted.
struct MemoryInUse {
  std::int64_t blocks = 0;
  std::int64_t bytes = 0;
};
MemoryInUse memory_in_use();
// The most bytes that lived at once since the peak was set back to what lives.
std::int64_t peak_memory();
void set_peak_memory_back();

}  // namespace sbrtest

#endif
