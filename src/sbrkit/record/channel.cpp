#include "record/channel.h"

#include <sys/stat.h>

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <utility>

#include "sbrkit/sbrkit.h"

namespace sbr {
namespace {

// Long XDR runs pass through a block of this size that stays in the processor's cache.
constexpr std::size_t kBlockBytes = 65536;
// Runs of so many floats are worth a look at the size of the file.
constexpr std::int64_t kLongRun = 2048;

std::uint32_t load32(const unsigned char *from) noexcept {
  std::uint32_t word = 0;
  std::memcpy(&word, from, 4);
  return word;
}

std::uint64_t load64(const unsigned char *from) noexcept {
  std::uint64_t word = 0;
  std::memcpy(&word, from, 8);
  return word;
}

// Copies elements of 4 or 8 bytes with their bytes reversed.
void copy_reversed(unsigned char *__restrict to, const unsigned char *__restrict from, std::size_t count,
                   std::size_t size) noexcept {
  if (size == 4) {
    for (std::size_t i = 0; i < count; ++i) {
      const std::uint32_t word = __builtin_bswap32(load32(from + 4 * i));
      std::memcpy(to + 4 * i, &word, 4);
    }
    return;
  }
  for (std::size_t i = 0; i < count; ++i) {
    const std::uint64_t word = __builtin_bswap64(load64(from + 8 * i));
    std::memcpy(to + 8 * i, &word, 8);
  }
}

// Decodes the elements of an XDR run as the XDR library would: it takes an element in words of four bytes, high word
// first, stores each word that came whole at its place, and passes over the bytes of a word that did not.
bool read_xdr_words(std::FILE *stream, unsigned char *buffer, std::int64_t count, std::size_t size) noexcept {
  unsigned char block[kBlockBytes];
  auto left = static_cast<std::size_t>(count);
  while (left > 0) {
    const std::size_t wanted = std::min(left, kBlockBytes / size);
    const std::size_t got = std::fread(block, 1, wanted * size, stream);
    const std::size_t whole = got / size;
    copy_reversed(buffer, block, whole, size);
    if (whole < wanted) {
      if (size == 8 && got % 8 >= 4) copy_reversed(buffer + 8 * whole + 4, block + 8 * whole, 1, 4);
      return false;
    }
    buffer += whole * size;
    left -= whole;
  }
  return true;
}

bool write_xdr_words(std::FILE *stream, const unsigned char *buffer, std::int64_t count, std::size_t size) noexcept {
  unsigned char block[kBlockBytes];
  auto left = static_cast<std::size_t>(count);
  while (left > 0) {
    const std::size_t piece = std::min(left, kBlockBytes / size);
    copy_reversed(block, buffer, piece, size);
    if (std::fwrite(block, size, piece, stream) != piece) return false;
    buffer += piece * size;
    left -= piece;
  }
  return true;
}

bool may_read(const StreamChannel &channel) noexcept { return channel.stream != nullptr && !channel.lost; }

bool read_words(StreamChannel &channel, void *buffer, std::int64_t count, std::size_t size) noexcept {
  if (!may_read(channel) || count < 0) return false;
  if (count == 0) return true;
  if (channel.xdr_encoded) return read_xdr_words(channel.stream, static_cast<unsigned char *>(buffer), count, size);
  const auto n = static_cast<std::size_t>(count);
  return std::fread(buffer, size, n, channel.stream) == n;
}

bool write_words(StreamChannel &channel, const void *buffer, std::int64_t count, std::size_t size) noexcept {
  if (channel.stream == nullptr || count < 0) return false;
  if (count == 0) return true;
  if (channel.xdr_encoded)
    return write_xdr_words(channel.stream, static_cast<const unsigned char *>(buffer), count, size);
  const auto n = static_cast<std::size_t>(count);
  return std::fwrite(buffer, size, n, channel.stream) == n;
}

// Forward, so that the floats may stand where the doubles do.
void narrow(unsigned char *floats, const unsigned char *doubles, std::int64_t count) noexcept {
  for (std::int64_t i = 0; i < count; ++i) {
    double value = 0.0;
    std::memcpy(&value, doubles + 8 * i, 8);
    const auto single = static_cast<float>(value);
    std::memcpy(floats + 4 * i, &single, 4);
  }
}

// Widens a group of values through memory of its own, so that it is converted at once.
template <std::size_t kCount>
void widen_group(unsigned char *doubles, const unsigned char *floats) noexcept {
  float singles[kCount];
  double wide[kCount];
  std::memcpy(singles, floats, sizeof singles);
  for (std::size_t i = 0; i < kCount; ++i) wide[i] = singles[i];
  std::memcpy(doubles, wide, sizeof wide);
}

// Backward, for the same reason.
void widen(unsigned char *doubles, const unsigned char *floats, std::int64_t count) noexcept {
  constexpr std::size_t kGroup = 16;
  auto left = static_cast<std::size_t>(count);
  for (; left % kGroup != 0; --left) widen_group<1>(doubles + 8 * (left - 1), floats + 4 * (left - 1));
  for (; left > 0; left -= kGroup) widen_group<kGroup>(doubles + 8 * (left - kGroup), floats + 4 * (left - kGroup));
}

// A long XDR run of floats that the file holds whole, straight into doubles. Should the device fail all the same, the
// floats that came stand at the front of the buffer, as after any failed read.
bool read_xdr_singles(std::FILE *stream, double *buffer, std::int64_t count) noexcept {
  alignas(16) unsigned char block[kBlockBytes];
  constexpr std::int64_t kFloats = kBlockBytes / 4;
  for (std::int64_t done = 0; done < count;) {
    const auto wanted = static_cast<std::size_t>(std::min(count - done, kFloats));
    const std::size_t got = std::fread(block, 4, wanted, stream);
    if (got < wanted) {
      auto *front = reinterpret_cast<unsigned char *>(buffer);
      narrow(front, front, done);
      copy_reversed(front + 4 * done, block, got, 4);
      return false;
    }
    for (std::size_t i = 0; i < wanted; ++i)
      buffer[done + static_cast<std::int64_t>(i)] = std::bit_cast<float>(__builtin_bswap32(load32(block + 4 * i)));
    done += static_cast<std::int64_t>(wanted);
  }
  return true;
}

}  // namespace

void StreamChannel::release_xdr() noexcept {
  if (xdr != nullptr && holding_ != Holding::nothing) {
    xdr_destroy(xdr);
    std::free(xdr);
  }
  xdr = nullptr;
  xdr_encoded = false;
}

void StreamChannel::let_go() noexcept {
  (void)close_stream();
  if (is_temporary() && path) std::remove(path.data());
  holding_ = Holding::nothing;
}

void StreamChannel::own(std::FILE *file, Holding what) noexcept {
  if (file != nullptr && file == stream)
    release_xdr();
  else
    let_go();
  stream = file;
  lost = false;
  holding_ = file != nullptr ? what : Holding::nothing;
}

void StreamChannel::take(StreamChannel &other) noexcept {
  let_go();
  stream = std::exchange(other.stream, nullptr);
  xdr = std::exchange(other.xdr, nullptr);
  path = std::move(other.path);
  xdr_encoded = std::exchange(other.xdr_encoded, false);
  double_precision = other.double_precision;
  lost = other.lost;
  single_scratch = other.single_scratch;
  holding_ = std::exchange(other.holding_, Holding::nothing);
}

void StreamChannel::view(const StreamChannel &owner) noexcept {
  close();
  stream = owner.stream;
  xdr = owner.xdr;
  xdr_encoded = owner.xdr_encoded;
  double_precision = owner.double_precision;
  lost = owner.lost;
}

void StreamChannel::close() noexcept {
  let_go();
  path.release();
}

bool StreamChannel::close_stream() noexcept {
  release_xdr();
  bool sound = true;
  if (stream != nullptr && holding_ != Holding::nothing) {
    sound = std::ferror(stream) == 0;
    sound = std::fclose(stream) == 0 && sound;
  }
  stream = nullptr;
  return sound;
}

bool StreamChannel::set_path(const char *text) noexcept {
  const std::size_t bytes = std::strlen(text) + 1;
  if (!path.allocate(static_cast<std::int64_t>(bytes))) return false;
  std::memcpy(path.data(), text, bytes);
  return true;
}

bool StreamChannel::bind_xdr(xdr_op direction) noexcept {
  release_xdr();
  xdr = static_cast<XDR *>(allocate_zeroed(1, sizeof(XDR)));
  if (xdr == nullptr) return false;
  xdrstdio_create(xdr, stream, direction);
  xdr_encoded = true;
  return true;
}

bool read_int(StreamChannel &channel, std::int32_t &value) noexcept {
  if (!may_read(channel)) return false;
  if (channel.xdr_encoded) return xdr_int(channel.xdr, &value) != 0;
  return std::fread(&value, 4, 1, channel.stream) == 1;
}

bool read_chars(StreamChannel &channel, char *buffer, std::int64_t count) noexcept {
  if (!may_read(channel) || count < 0) return false;
  if (channel.xdr_encoded) {
    if (count > std::numeric_limits<u_int>::max()) return false;
    return xdr_vector(channel.xdr, buffer, static_cast<u_int>(count), 1, reinterpret_cast<xdrproc_t>(xdr_char)) != 0;
  }
  return std::fread(buffer, 1, static_cast<std::size_t>(count), channel.stream) == static_cast<std::size_t>(count);
}

bool read_ints(StreamChannel &channel, std::int32_t *buffer, std::int64_t count) noexcept {
  return read_words(channel, buffer, count, 4);
}

bool read_reals(StreamChannel &channel, double *buffer, std::int64_t count) noexcept {
  if (channel.double_precision) return read_words(channel, buffer, count, 8);
  if (channel.xdr_encoded && !channel.lost && count >= kLongRun && bytes_left(channel) / 4 >= count)
    return read_xdr_singles(channel.stream, buffer, count);
  if (!read_words(channel, buffer, count, 4)) return false;
  widen(reinterpret_cast<unsigned char *>(buffer), reinterpret_cast<const unsigned char *>(buffer), count);
  return true;
}

bool read_floats(StreamChannel &channel, float *buffer, std::int64_t count) noexcept {
  return read_words(channel, buffer, count, 4);
}

namespace {

bool read_values(StreamChannel &channel, double *buffer, std::int64_t count) noexcept {
  return read_reals(channel, buffer, count);
}
bool read_values(StreamChannel &channel, float *buffer, std::int64_t count) noexcept {
  return read_floats(channel, buffer, count);
}

// A read that broke off is made again as far as the file goes, so that what came stands as whole values.
template <class Real>
std::int64_t read_what_is_there(StreamChannel &channel, Real *buffer, std::int64_t count) noexcept {
  const std::int64_t start = place_of(channel);
  if (read_values(channel, buffer, count)) return count;
  go_to(channel, start);
  const std::int64_t there = std::min(count, bytes_left(channel) / real_size(channel));
  return there > 0 && read_values(channel, buffer, there) ? there : 0;
}

}  // namespace

std::int64_t read_available(StreamChannel &channel, double *buffer, std::int64_t count) noexcept {
  return read_what_is_there(channel, buffer, count);
}

std::int64_t read_available(StreamChannel &channel, float *buffer, std::int64_t count) noexcept {
  return read_what_is_there(channel, buffer, count);
}

bool write_int(StreamChannel &channel, std::int32_t value) noexcept {
  if (channel.stream == nullptr) return false;
  if (channel.xdr_encoded) return xdr_int(channel.xdr, &value) != 0;
  return std::fwrite(&value, 4, 1, channel.stream) == 1;
}

bool write_chars(StreamChannel &channel, const char *buffer, std::int64_t count) noexcept {
  if (channel.stream == nullptr || count < 0) return false;
  if (channel.xdr_encoded) {
    if (count > std::numeric_limits<u_int>::max()) return false;
    return xdr_vector(channel.xdr, const_cast<char *>(buffer), static_cast<u_int>(count), 1,
                      reinterpret_cast<xdrproc_t>(xdr_char)) != 0;
  }
  return std::fwrite(buffer, 1, static_cast<std::size_t>(count), channel.stream) == static_cast<std::size_t>(count);
}

bool write_ints(StreamChannel &channel, const std::int32_t *buffer, std::int64_t count) noexcept {
  return write_words(channel, buffer, count, 4);
}

bool write_reals(StreamChannel &channel, const double *buffer, std::int64_t count) noexcept {
  if (channel.double_precision) return write_words(channel, buffer, count, 8);
  if (channel.stream == nullptr || count < 0) return false;
  if (count == 0) return true;
  if (channel.single_scratch == nullptr || !channel.single_scratch->resize(count)) return false;
  auto *scratch = reinterpret_cast<unsigned char *>(channel.single_scratch->data());
  narrow(scratch, reinterpret_cast<const unsigned char *>(buffer), count);
  return write_words(channel, scratch, count, 4);
}

bool seek_stream(std::FILE *stream, std::int64_t offset, int origin) noexcept {
  if (stream == nullptr || origin < 0 || origin > 2) return false;
  if (origin == 0) return fseeko(stream, offset, SEEK_SET) == 0;
  if (origin == 2 && fseeko(stream, 0, SEEK_END) != 0) return false;
  const std::int64_t here = tell_stream(stream);
  std::int64_t target = 0;
  if (here < 0 || __builtin_add_overflow(here, offset, &target)) return false;
  return fseeko(stream, target, SEEK_SET) == 0;
}

std::int64_t tell_stream(std::FILE *stream) noexcept {
  return stream == nullptr ? -1 : static_cast<std::int64_t>(ftello(stream));
}

void go_to(StreamChannel &channel, std::int64_t position) noexcept {
  channel.lost = !seek_stream(channel.stream, position);
}

std::int64_t place_of(const StreamChannel &channel) noexcept { return channel.lost ? -1 : tell_stream(channel.stream); }

void pass_over(StreamChannel &channel, std::int64_t bytes) noexcept {
  const std::int64_t here = place_of(channel);
  std::int64_t target = 0;
  if (__builtin_add_overflow(here, bytes, &target)) target = std::numeric_limits<std::int64_t>::max();
  if (here < 0)
    channel.lost = true;
  else
    go_to(channel, target);
}

void terminate_text(char *buffer, int size) noexcept {
  if (buffer == nullptr || size < 1) return;
  buffer[size - 1] = '\0';
  for (int i = size - 2; i >= 0 && buffer[i] == ' '; --i) buffer[i] = '\0';
}

std::int64_t bytes_left(StreamChannel &channel) noexcept {
  const std::int64_t here = place_of(channel);
  const std::int64_t size = file_bytes(channel);
  return here < 0 || here > size ? 0 : size - here;
}

std::int64_t file_bytes(StreamChannel &channel) noexcept {
  if (channel.stream == nullptr) return 0;
  struct stat status {};
  const int descriptor = fileno(channel.stream);
  if (descriptor >= 0 && fstat(descriptor, &status) == 0) return S_ISREG(status.st_mode) ? status.st_size : 0;
  // A stream without a file behind it, such as a piece of memory.
  const std::int64_t here = tell_stream(channel.stream);
  if (here < 0 || !seek_stream(channel.stream, 0, 2)) return 0;
  const std::int64_t size = tell_stream(channel.stream);
  (void)seek_stream(channel.stream, here);
  return size < 0 ? 0 : size;
}

RowReader::RowReader(StreamChannel &channel, std::int64_t row_bytes, std::int64_t rows) noexcept
    : stream_(channel.stream),
      left_(0),
      reversed_(channel.xdr_encoded),
      real_bytes_(static_cast<std::size_t>(real_size(channel))) {
  if (!may_read(channel) || row_bytes <= 0 || rows <= 0) return;
  if (__builtin_mul_overflow(row_bytes, rows, &left_)) left_ = std::numeric_limits<std::int64_t>::max();
}

bool RowReader::refill(std::size_t bytes) noexcept {
  std::memmove(block_, block_ + at_, end_ - at_);
  end_ -= at_;
  at_ = 0;
  const auto room = static_cast<std::int64_t>(kBytes - end_);
  const auto wanted = static_cast<std::size_t>(std::min(left_, room));
  const std::size_t got = wanted == 0 ? 0 : std::fread(block_ + end_, 1, wanted, stream_);
  // A short read is the end of the run: no later read may find more.
  left_ = got < wanted ? 0 : left_ - static_cast<std::int64_t>(got);
  end_ += got;
  if (end_ >= bytes) return true;
  at_ = end_;
  return false;
}

bool RowReader::chars(char *text, std::int64_t count) noexcept {
  for (std::int64_t i = 0; i < count; ++i) {
    const unsigned char *at = take(reversed_ ? 4 : 1);
    if (at == nullptr) return false;
    text[i] = static_cast<char>(reversed_ ? at[3] : at[0]);
  }
  return true;
}

}  // namespace sbr

extern "C" {

int FileSeek_Win32(FILE *stream, int64_t offset, int origin) {
  return sbr::seek_stream(stream, offset, origin) ? 0 : 1;
}

int64_t FileTell_Win32(FILE *stream) { return sbr::tell_stream(stream); }

float *double2float(float *dst, const double *src, int n) {
  if (n > 0) sbr::narrow(reinterpret_cast<unsigned char *>(dst), reinterpret_cast<const unsigned char *>(src), n);
  return dst;
}

double *float2double(double *dst, const float *src, int n) {
  if (n > 0) sbr::widen(reinterpret_cast<unsigned char *>(dst), reinterpret_cast<const unsigned char *>(src), n);
  return dst;
}

void terminate_string(char *buffer, int size) { sbr::terminate_text(buffer, size); }

}  // extern "C"
