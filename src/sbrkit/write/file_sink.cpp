// Writing a body to a record file: the file as a sink of the write pipeline.
#include <sys/stat.h>

#include <cstdio>

#include "base/reports.h"
#include "body/registry.h"
#include "record/channel.h"
#include "write/pipeline.h"

namespace sbr {
namespace {

// Writes of this size cost the system least per byte.
constexpr std::int64_t kBufferBytes = 1 << 20;

struct OutputFile {
  Array<char> buffer;  // of the stream, so that it must go after it
  StreamChannel channel;
  bool removable = false;  // a regular file, not a device that happens to be writable
};

OutputFile &file_of(void *target) noexcept { return *static_cast<OutputFile *>(target); }

bool put_ints(void *target, const std::int32_t *values, std::int64_t count) noexcept {
  return write_ints(file_of(target).channel, values, count);
}
bool put_chars(void *target, const char *text, std::int64_t count) noexcept {
  return write_chars(file_of(target).channel, text, count);
}
bool put_reals(void *target, const double *values, std::int64_t count) noexcept {
  return write_reals(file_of(target).channel, values, count);
}
bool begin_block(void * /*target*/, int /*block*/) noexcept { return true; }
// A block is written when its bytes have left the buffer: a full disk shows at the block that it cut.
bool end_block(void *target) noexcept { return std::fflush(file_of(target).channel.stream) == 0; }
bool mark_mode(void * /*target*/, Kind /*kind*/) noexcept { return true; }

bool prepare(void *target, SbrBody &body, std::uint32_t word) noexcept {
  StreamChannel &channel = file_of(target).channel;
  channel.double_precision = !means_single(word);
  channel.single_scratch = &body.float_buffer;
  if (!means_xdr(word) || channel.bind_xdr(XDR_ENCODE)) return true;
  report_no_memory(unit_name::kWriting);
  return false;
}

bool open_output(OutputFile &file, const char *path) noexcept {
  file.channel.own(std::fopen(path, "wb"));
  if (file.channel.stream == nullptr) {
    report_error("Unable to open %s for write. Please check write permissions.", path);
    return false;
  }
  // Without the memory, the stream keeps the small buffer of its own.
  if (file.buffer.allocate(kBufferBytes))
    std::setvbuf(file.channel.stream, file.buffer.data(), _IOFBF, static_cast<std::size_t>(kBufferBytes));
  struct stat status {};
  file.removable = fstat(fileno(file.channel.stream), &status) == 0 && S_ISREG(status.st_mode);
  return true;
}

// Closes the file; a failed write leaves none behind. Gives the result of the write.
bool close_output(OutputFile &file, bool ok) noexcept {
  StreamChannel &channel = file.channel;
  const bool whole = channel.close_stream();
  if (ok && !whole) {
    report_error("Problem writing %s.", channel.path.data());
    ok = false;
  }
  if (!ok && file.removable) std::remove(channel.path.data());
  return ok;
}

bool write_record_file(SbrBody &body, const char *path) noexcept {
  if (is_own_source(body, path)) return false;
  OutputFile file;
  if (!file.channel.set_path(path)) return report_no_memory(unit_name::kWriting);
  if (!open_output(file, file.channel.path.data())) return false;
  const WriteTarget target{{&file, put_ints, put_chars, put_reals, begin_block, end_block, mark_mode},
                           kFileVersion,
                           unit_name::kWriting,
                           prepare};
  WritePlan plan;
  const bool ok = run_write_pipeline(body, target, plan);
  return close_output(file, ok);
}

}  // namespace
}  // namespace sbr

extern "C" {

int SBR_write_SBR(SBR body, const char *path) {
  if (!sbr::require_body(body)) return 0;
  return sbr::write_record_file(*body, path != nullptr ? path : "") ? 1 : 0;
}

}  // extern "C"
