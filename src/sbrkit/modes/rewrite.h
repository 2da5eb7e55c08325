// Rewriting one kind of mode data: the one mechanism behind every change of whole modes. A new temporary file takes the
// place of the old store only when all went well; what went wrong is reported here, in the words of the purpose.
//
//   ModeRewrite rewrite(body, kind, RewritePurpose::motion);
//   if (!rewrite.begin()) return false;                      the cache is off, the new file is there
//   Rewriting outcome = rewrite.change_modes(values, [&](int mode, double *record) { ... });
//   if (!rewrite.complete(outcome)) return false;            all is in the file, the cache is as it was
//   rewrite.install();                                       the file is the kind's store
//
// The object owns the new file until install; when it goes before that, the file goes with it and the old store stays.
// Installing makes every cached part of the kind void, and the modes that the body has room for beyond those written
// find their records behind them. Growth changes no value: it leaves the cache alone.
#ifndef SBRKIT_MODES_REWRITE_H
#define SBRKIT_MODES_REWRITE_H

#include <optional>

#include "modes/cache.h"
#include "modes/store.h"

namespace sbr {

// What the rewriting is for. It decides about the words of the reports.
enum class RewritePurpose { motion, shortening, basis, growth };

enum class Rewriting { done, no_memory, unreadable, disk_full };

// A temporary file of mode data with its stream, removed with the object.
class TemporaryModeFile {
 public:
  // Chooses a name beside a file, or with null in the directory of temporary files. False when memory is short.
  [[nodiscard]] bool name(const char *beside) noexcept;
  // Creates the file, native, in the precision of a store.
  [[nodiscard]] bool create(const StreamChannel &like) noexcept;
  void remove() noexcept;
  // Hands stream and file over to a channel, whose own temporary file goes.
  void replace(StreamChannel &store) noexcept;
  [[nodiscard]] StreamChannel &channel() noexcept { return channel_; }
  [[nodiscard]] const char *path() const noexcept { return channel_.path ? channel_.path.data() : ""; }

 private:
  StreamChannel channel_;
};

class ModeRewrite {
 public:
  ModeRewrite(SbrBody &body, Kind kind, RewritePurpose purpose) noexcept
      : body_(body), kind_(kind), purpose_(purpose) {}
  ~ModeRewrite() { end_suspension(false); }
  ModeRewrite(const ModeRewrite &) = delete;
  ModeRewrite &operator=(const ModeRewrite &) = delete;

  // Switches the mode cache off until the rewriting is complete, and makes the new file. False after a report.
  [[nodiscard]] bool begin() noexcept;

  // Writes the modes one after the other, each of `values` values. change(mode index, record) fills the record, which
  // comes as the mode before left it, and gives what happened.
  template <class Change>
  [[nodiscard]] Rewriting write_modes(int modes, std::int64_t values, Change change) noexcept {
    if (!lay_out(modes, values)) return Rewriting::no_memory;
    Array<double> record;
    if (modes > 0 && values > 0 && !record.allocate(values)) return Rewriting::no_memory;
    for (int mode = 0; mode < modes; ++mode) {
      if (const Rewriting outcome = change(mode, record.data()); outcome != Rewriting::done) return outcome;
      if (!write_reals(file_.channel(), record.data(), values)) return Rewriting::disk_full;
    }
    return Rewriting::done;
  }
  // Every mode of the body that way. Modes without a place in the table of modes cannot be read.
  template <class Change>
  [[nodiscard]] Rewriting change_modes(std::int64_t values, Change change) noexcept {
    if (mode_count(body_) > known_mode_count(body_)) return Rewriting::unreadable;
    return write_modes(mode_count(body_), values, change);
  }
  // In place of write_modes, when modes come in pieces: the records of `modes` modes, and a piece of one of them.
  [[nodiscard]] bool lay_out(int modes, std::int64_t values) noexcept;
  // Claims the disk space of all records, so that a full disk shows now. What is not written reads as zeros.
  [[nodiscard]] Rewriting claim_space() noexcept;
  [[nodiscard]] bool put_at(int mode, std::int64_t first, const double *values, std::int64_t count) noexcept;

  // Brings all to the file and the cache back to what it was. False after a report: of a failure so far, or of a disk
  // that is full now. When this is good, installing cannot fail.
  [[nodiscard]] bool complete(Rewriting outcome) noexcept;
  // Makes the file the kind's store.
  void install() noexcept;
  // In place of all that follows begin: there is nothing to rewrite. The file goes, and the cache is as it was.
  void abandon() noexcept;

 private:
  void end_suspension(bool good) noexcept;
  void report(Rewriting outcome) const noexcept;

  SbrBody &body_;
  Kind kind_;
  RewritePurpose purpose_;
  std::optional<WithoutModeCache> without_cache_;
  TemporaryModeFile file_;
  Array<std::int64_t> offsets_;
  std::int64_t record_bytes_ = 0;
  int modes_ = 0;
};

}  // namespace sbr

#endif
