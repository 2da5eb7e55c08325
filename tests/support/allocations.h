// Allocations that fail on demand: malloc, calloc, realloc and new(std::nothrow) of the library's objects. A program
// that uses this says so to the linker, in its .libraries.cmake:
//   set(libraries -Wl,--wrap=malloc -Wl,--wrap=calloc -Wl,--wrap=realloc -Wl,--wrap=_ZnwmRKSt9nothrow_t)
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
