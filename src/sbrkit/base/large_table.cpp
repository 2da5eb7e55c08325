#include "base/large_table.h"

#include <sys/mman.h>

namespace sbr {

void prefer_large_pages(void *block, std::size_t bytes) noexcept {
#ifdef MADV_HUGEPAGE
  (void)madvise(block, (bytes + kLargePage - 1) / kLargePage * kLargePage, MADV_HUGEPAGE);
#else
  (void)block;
  (void)bytes;
#endif
}

}  // namespace sbr
