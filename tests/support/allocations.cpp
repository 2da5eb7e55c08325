#include "support/allocations.h"

#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

int allocations_left = 0;  // until the one that fails; 0 when none is to fail
bool failed = false;

bool fails_now() {
  if (allocations_left == 0) return false;
  if (--allocations_left > 0) return false;
  failed = true;
  return true;
}

}  // namespace

namespace sbrtest {

FailingAllocation::FailingAllocation(int n) {
  allocations_left = n;
  failed = false;
}
FailingAllocation::~FailingAllocation() { allocations_left = 0; }
bool FailingAllocation::happened() const { return failed; }

}  // namespace sbrtest

extern "C" {
// Weak: a program may leave malloc alone.
__attribute__((weak)) void *__real_malloc(std::size_t size);
void *__real_calloc(std::size_t count, std::size_t size);
void *__real_realloc(void *block, std::size_t size);
void *__real__ZnwmRKSt9nothrow_t(std::size_t size, const std::nothrow_t &);
// The compiler may turn a realloc of a null pointer into a malloc.
void *__wrap_malloc(std::size_t size) { return fails_now() ? nullptr : __real_malloc(size); }
void *__wrap_calloc(std::size_t count, std::size_t size) { return fails_now() ? nullptr : __real_calloc(count, size); }
void *__wrap_realloc(void *block, std::size_t size) { return fails_now() ? nullptr : __real_realloc(block, size); }
void *__wrap__ZnwmRKSt9nothrow_t(std::size_t size, const std::nothrow_t &tag) {
  return fails_now() ? nullptr : __real__ZnwmRKSt9nothrow_t(size, tag);
}
}
