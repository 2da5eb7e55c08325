#include "modes/rewrite.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>

#include "base/reports.h"
#include "base/temporary_file.h"
#include "modes/access.h"
#include "modes/pending.h"

namespace sbr {
namespace {

// Growth lays the same values out anew: what is held in memory still tells them.
constexpr bool changes_values(RewritePurpose purpose) noexcept { return purpose != RewritePurpose::growth; }

// The unit that a report of missing memory names.
const char *unit_of(RewritePurpose purpose) noexcept {
  switch (purpose) {
    case RewritePurpose::motion:
      return unit_name::kMotion;
    case RewritePurpose::shortening:
      return unit_name::kTools;
    case RewritePurpose::basis:
      return unit_name::kWriting;
    case RewritePurpose::growth:
      break;
  }
  return unit_name::kData;
}

void report_information(RewritePurpose purpose, Kind kind, const char *path) noexcept {
  if (purpose == RewritePurpose::basis)
    report_info("Orthogonal mode file: %s", path);
  else if (purpose != RewritePurpose::growth)
    report_info(" Shortened %s mode file: %s\n", kKindFacts[kind].short_name, path);
}

bool report_unable(RewritePurpose purpose, Kind kind, const char *path) noexcept {
  if (purpose == RewritePurpose::growth) return report_unable_to_open(kind, path);
  report_error(
      "Unable to open %s for write.  Specify different temporary file directory by\n"
      "setting the %s environment variable%s",
      path, "TMP", purpose == RewritePurpose::basis ? "." : "");
  return false;
}

}  // namespace

// ---- the new file --------------------------------------------------------------------------------------------------

bool TemporaryModeFile::name(const char *beside) noexcept {
  return beside != nullptr ? temporary_name_beside(channel_.path, beside) : temporary_name(channel_.path);
}

bool TemporaryModeFile::create(const StreamChannel &like) noexcept {
  channel_.own(create_exclusive(channel_.path.data()), Holding::temporary_file);
  channel_.double_precision = like.double_precision;
  channel_.single_scratch = like.single_scratch;
  return channel_.stream != nullptr;
}

void TemporaryModeFile::remove() noexcept { channel_.close(); }

void TemporaryModeFile::replace(StreamChannel &store) noexcept { store.take(channel_); }

// ---- the rewriting -------------------------------------------------------------------------------------------------

bool ModeRewrite::begin() noexcept {
  if (changes_values(purpose_)) without_cache_.emplace(body_);
  const StreamChannel &store = body_.modes[kind_];
  // A store that grows stays in the directory that the host may have chosen for it.
  const bool stays = purpose_ == RewritePurpose::growth && store.path;
  if (!file_.name(stays ? store.path.data() : nullptr)) return report_no_memory(unit_of(purpose_));
  if (!file_.create(store)) return report_unable(purpose_, kind_, file_.path());
  report_information(purpose_, kind_, file_.path());
  return true;
}

// The table of places keeps the body's capacity of modes: the records of later modes lie behind those written now.
bool ModeRewrite::lay_out(int modes, std::int64_t values) noexcept {
  const int places = std::max(modes, body_.mode_table.mode_capacity);
  if (!offsets_.resize(places)) return false;
  modes_ = modes;
  record_bytes_ = values * real_size(file_.channel());
  std::int64_t end = 0;
  for (std::int64_t &offset : offsets_) {
    offset = end;
    end += record_bytes_;
  }
  return true;
}

Rewriting ModeRewrite::claim_space() noexcept {
  const std::int64_t bytes = record_bytes_ * modes_;
  if (bytes < 1) return Rewriting::done;
  int failure = EINTR;
  while (failure == EINTR) failure = posix_fallocate(fileno(file_.channel().stream), 0, bytes);
  return failure == 0 ? Rewriting::done : Rewriting::disk_full;
}

bool ModeRewrite::put_at(int mode, std::int64_t first, const double *values, std::int64_t count) noexcept {
  StreamChannel &channel = file_.channel();
  return seek_stream(channel.stream, offsets_[mode] + first * real_size(channel)) &&
         write_reals(channel, values, count);
}

// What the disk could not take shows at the latest here.
bool ModeRewrite::complete(Rewriting outcome) noexcept {
  if (outcome == Rewriting::done && std::fflush(file_.channel().stream) != 0) outcome = Rewriting::disk_full;
  const bool good = outcome == Rewriting::done;
  if (!good) {
    report(outcome);
    file_.remove();
  }
  end_suspension(good);
  return good;
}

void ModeRewrite::abandon() noexcept {
  file_.remove();
  end_suspension(true);
}

// After a rigid transformation that failed the cache stays off.
void ModeRewrite::end_suspension(bool good) noexcept {
  if (!without_cache_) return;
  if (!good && purpose_ == RewritePurpose::motion) without_cache_->keep_off();
  without_cache_.reset();
}

void ModeRewrite::install() noexcept {
  forget_mode_writes(body_, kind_);
  file_.replace(body_.modes[kind_]);
  ModeStore &store = body_.store;
  store.offsets[kind_].swap(offsets_);
  store.record_bytes[kind_] = record_bytes_;
  store.reserved_bytes[kind_] = record_bytes_ * modes_;
  if (!changes_values(purpose_)) return;
  void_cached_parts(body_, kind_);
  body_.access.current_mode[kind_] = kNoMode;
}

void ModeRewrite::report(Rewriting outcome) const noexcept {
  if (outcome == Rewriting::no_memory) {
    report_no_memory(unit_of(purpose_));
  } else if (outcome == Rewriting::unreadable && purpose_ == RewritePurpose::basis) {
    report_error("Failed to extract mode information for SBR.\n");
  } else if (purpose_ == RewritePurpose::growth) {
    report_disk_full(kind_, file_.path());
  } else {
    report_error(
        "Insufficient disk space for file %s.  Specify different temporary\n"
        "file directory by setting the %s environment variable",
        file_.path(), "TMP");
  }
}

}  // namespace sbr
