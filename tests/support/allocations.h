// Allocations that fail on demand: malloc, calloc, realloc and new(std::nothrow) of the library's objects. A program
// that uses this has "failing-allocations" among its needs in tests/CMakeLists.txt, so that the linker wraps them.
#ifndef SBRKIT_TESTS_SUPPORT_ALLOCATIONS_H
#define SBRKIT_TESTS_SUPPORT_ALLOCATIONS_H

namespace sbrtest {

// While it lives, the n-th allocation from its start (counted from 1) fails, once.
class FailingAllocation {
 public:
  explicit FailingAllocation(int n);
  ~FailingAllocation();
  FailingAllocation(const FailingAllocation &) = delete;
  FailingAllocation &operator=(const FailingAllocation &) = delete;
  // Whether the n-th allocation came.
  [[nodiscard]] bool happened() const;
};

}  // namespace sbrtest

#endif
