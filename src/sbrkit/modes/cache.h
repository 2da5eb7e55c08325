// The memory cache of mode data: parts of modes as they are delivered, kept until the cache is cleaned. It fills once,
// first come, first kept. The unit owns the cache's members of SbrBody::store.
//
// A host may hold the address of a cached part until it cleans the cache. So a part that another takes the place of,
// and one that new mode data made void, stays in memory until then and counts against the limit like any other.
#ifndef SBRKIT_MODES_CACHE_H
#define SBRKIT_MODES_CACHE_H

#include "body/body.h"

namespace sbr {

// The cached part of a mode, told by its index: three doubles per node of the kind. Null when there is none.
[[nodiscard]] const double *cached_part(const SbrBody &body, int mode, Kind kind, int part) noexcept;
// The same as long as the cache is switched on.
[[nodiscard]] const double *kept_part(const SbrBody &body, int mode, Kind kind, int part) noexcept;
// Whether the limit leaves room for one more part. Works the limit out when that has not been done.
[[nodiscard]] bool cache_has_room(SbrBody &body) noexcept;
// Stores a copy of a part. False when there is no room, for a mode that the table does not have, and after a report
// of missing memory.
bool mode_to_memory(SbrBody &body, int mode, Kind kind, const double *values, int part) noexcept;
// No part of a kind counts any more: its mode data is other data now.
void void_cached_parts(SbrBody &body, Kind kind) noexcept;
// Frees every part; the limit is worked out anew at the next store.
void clean_mode_memory(SbrBody &body) noexcept;
// How many parts may be stored: the budget, or all parts that there can be.
void size_mode_memory(SbrBody &body) noexcept;

[[nodiscard]] inline bool cache_is_on(const SbrBody &body) noexcept { return body.store.keep_in_memory != 0; }
// Switches the cache; switching it off cleans it.
void keep_modes_in_memory(SbrBody &body, int keep) noexcept;

// The cache stays switched off while this lives.
class WithoutModeCache {
 public:
  explicit WithoutModeCache(SbrBody &body) noexcept : body_(body), before_(body.store.keep_in_memory) {
    keep_modes_in_memory(body_, 0);
  }
  ~WithoutModeCache() { keep_modes_in_memory(body_, before_); }
  WithoutModeCache(const WithoutModeCache &) = delete;
  WithoutModeCache &operator=(const WithoutModeCache &) = delete;
  // The cache is to stay off for good.
  void keep_off() noexcept { before_ = 0; }

 private:
  SbrBody &body_;
  int before_;
};

}  // namespace sbr

#endif
