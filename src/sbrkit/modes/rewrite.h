// Rewriting one kind of mode data: the modes stream into a new temporary file, which takes the place of the old store
// only when all went well. Rigid transformation, orthonormalization and shortening are the users; each writes what
// happens to one mode and keeps its own messages.
//
//   ModeRewrite rewrite(body, kind);
//   if (!rewrite.name()) ...            no memory for the name
//   if (!rewrite.open()) ...            the file cannot be made; rewrite.path() is its name
//   for each mode: if (!rewrite.begin_mode() || !rewrite.put(values, count)) ...
//   if (!rewrite.install()) ...         the file is complete and swapped in
//
// The object owns the new file until install; when it goes before that, the file goes with it and the old store stays.
#ifndef SBRKIT_MODES_REWRITE_H
#define SBRKIT_MODES_REWRITE_H

#include "body/body.h"

namespace sbr {

class ModeRewrite {
 public:
  ModeRewrite(SbrBody &body, Kind kind) noexcept : body_(body), kind_(kind) {}
  ~ModeRewrite();
  ModeRewrite(const ModeRewrite &) = delete;
  ModeRewrite &operator=(const ModeRewrite &) = delete;

  // Chooses the file's name. False when memory is short.
  [[nodiscard]] bool name() noexcept;
  // Creates the file, native, in the precision of the kind's present store.
  [[nodiscard]] bool open() noexcept;
  [[nodiscard]] const char *path() const noexcept { return channel_.path ? channel_.path.data() : ""; }
  // Notes the present position as the start of the next mode.
  [[nodiscard]] bool begin_mode() noexcept;
  [[nodiscard]] bool put(const double *values, std::int64_t count) noexcept;
  // In place of begin_mode and put: notes the positions of modes of equal length, whose values may then come in any
  // order.
  [[nodiscard]] bool reserve_modes(int modes, std::int64_t values_per_mode) noexcept;
  [[nodiscard]] bool put_at(int mode, std::int64_t first, const double *values, std::int64_t count) noexcept;
  // Writes out what is buffered. When this is good, install no longer fails.
  [[nodiscard]] bool complete() noexcept;
  // Completes and makes the file the kind's store: temporary, native, positions as noted. The kind's current record and
  // cached parts no longer count. A former temporary file of the kind is closed and removed.
  [[nodiscard]] bool install() noexcept;

 private:
  SbrBody &body_;
  Kind kind_;
  StreamChannel channel_;
  Array<std::int64_t> offsets_;
};

}  // namespace sbr

#endif
