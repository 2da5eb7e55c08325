#include "faults/calls.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "faults/server_protocol.h"

namespace sbrtest::faults {
namespace {

using What = Fate::What;

// Memory without a file behind it is no affair of the file system, and without standard error nobody could be told.
bool counts(const SystemCall &call) {
  if (call.number == SYS_mmap) return static_cast<int>(call.arguments[4]) >= 0;
  const bool writes = call.number == SYS_write || call.number == SYS_writev;
  return !writes || call.arguments[0] != STDERR_FILENO;
}

}  // namespace

std::vector<CallFault> all_call_faults() {
  const std::vector<long> reads = {SYS_read, SYS_pread64, SYS_readv};
  const std::vector<long> writes = {SYS_write, SYS_pwrite64, SYS_writev};
  const std::vector<long> opens = {SYS_open, SYS_openat};
  const std::vector<long> renames = {SYS_rename, SYS_renameat, SYS_renameat2};
  const std::vector<long> syncs = {SYS_fsync, SYS_fdatasync};
  const std::vector<long> sizes = {SYS_ftruncate, SYS_fallocate};
  std::vector<CallFault> all;
  for (const Failing failing : {Failing::once, Failing::from_then_on}) {
    all.push_back({"read", reads, {What::is_refused, EIO}, failing});
    all.push_back({"write", writes, {What::is_refused, ENOSPC}, failing});
    all.push_back({"seek", {SYS_lseek}, {What::is_refused, EIO}, failing});
    all.push_back({"open", opens, {What::is_refused, EMFILE}, failing});
    all.push_back({"close", {SYS_close}, {What::is_made_and_fails, EIO}, failing});
    all.push_back({"rename", renames, {What::is_refused, EIO}, failing});
    all.push_back({"sync", syncs, {What::is_refused, EIO}, failing});
    all.push_back({"resize", sizes, {What::is_refused, ENOSPC}, failing});
    all.push_back({"map", {SYS_mmap}, {What::is_refused, ENODEV}, failing});
    all.push_back({"short read", reads, {What::is_shortened, 0}, failing});
    all.push_back({"short write", writes, {What::is_shortened, 0}, failing});
  }
  all.push_back({"interrupted read", reads, {What::is_refused, EINTR}, Failing::once});
  all.push_back({"interrupted write", writes, {What::is_refused, EINTR}, Failing::once});
  all.push_back({"interrupted open", opens, {What::is_refused, EINTR}, Failing::once});
  all.push_back({"interrupted close", {SYS_close}, {What::is_made_and_fails, EINTR}, Failing::once});
  return all;
}

void mark_begin() { syscall(SYS_getsid, kBeginMark); }
void mark_end() { syscall(SYS_getsid, kEndMark); }

Fate Dealer::operator()(const SystemCall &call) {
  if (call.number == SYS_getsid && call.arguments[0] == kBeginMark) counts_ = true;
  if (call.number == SYS_getsid && call.arguments[0] == kEndMark) return {What::ends_the_watch, 0};
  const bool meant = std::find(fault_.calls.begin(), fault_.calls.end(), call.number) != fault_.calls.end();
  return counts_ && meant && counts(call) && countdown_.fails_now() ? fault_.fate : Fate{};
}

std::string Dealer::words(long count) const {
  return fault_.name + " " + std::to_string(countdown_.nth) + " of " + std::to_string(count) +
         (fault_.failing == Failing::once ? "" : " and all behind");
}

}  // namespace sbrtest::faults
