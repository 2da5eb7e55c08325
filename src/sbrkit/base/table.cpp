#include "base/table.h"

#include <sys/mman.h>

namespace sbr {

// Pages that lie wholly inside the block: the memory next to it keeps what it has.
void prefer_large_pages(void *block, std::size_t bytes) noexcept {
#ifdef MADV_HUGEPAGE
  constexpr std::size_t kLargePage = std::size_t{1} << 21U;
  if (bytes < 2 * kLargePage) return;
  const std::size_t past = reinterpret_cast<std::uintptr_t>(block) % kLargePage;
  const std::size_t front = past == 0 ? 0 : kLargePage - past;
  const std::size_t length = (bytes - front) / kLargePage * kLargePage;
  if (length != 0) (void)madvise(static_cast<unsigned char *>(block) + front, length, MADV_HUGEPAGE);
#else
  (void)block;
  (void)bytes;
#endif
}

}  // namespace sbr
