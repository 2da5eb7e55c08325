// The one place that knows encodings and precisions: how integers, characters and reals lie in a file.
//
// A StreamChannel owns one open file, with its XDR stream record and, when it is a temporary one, the file itself; all
// of it goes with the channel. Or it views what another channel owns: the three mode channels of a body that was read
// view its record channel, until they get temporary files of their own.
#ifndef SBRKIT_RECORD_CHANNEL_H
#define SBRKIT_RECORD_CHANNEL_H

#include <rpc/rpc.h>

#include <bit>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "base/memory.h"

namespace sbr {

// What a channel owns of the stream that it reads and writes.
enum class Holding { nothing, stream, temporary_file };

struct StreamChannel {
  std::FILE *stream = nullptr;
  XDR *xdr = nullptr;  // the stream record of an XDR file
  Array<char> path;    // zero-terminated; empty when there is none
  bool xdr_encoded = false;
  bool double_precision = true;
  bool lost = false;  // where the stream stands is not known: nothing is read until a move succeeds
  Array<float> *single_scratch = nullptr;  // the body's float_buffer; not owned

  StreamChannel() = default;
  ~StreamChannel() { close(); }
  StreamChannel(const StreamChannel &) = delete;
  StreamChannel &operator=(const StreamChannel &) = delete;

  // Takes a stream to own, native for the time being; what the channel held before goes, but for its path. A stream
  // that it holds already stays open. With null it holds nothing.
  void own(std::FILE *file, Holding what = Holding::stream) noexcept;
  // Takes all that another channel owns, path included, and leaves it nothing; what this one held goes.
  void take(StreamChannel &other) noexcept;
  // Reads what another channel reads, in its encoding and precision; what this one held goes, path included.
  void view(const StreamChannel &owner) noexcept;
  // Lets go of everything: the XDR stream record, the stream, a temporary file, the path.
  void close() noexcept;
  // Closes the stream alone: the path and a temporary file stay. False when the stream reports that bytes were lost.
  [[nodiscard]] bool close_stream() noexcept;

  [[nodiscard]] bool is_temporary() const noexcept { return holding_ == Holding::temporary_file; }
  [[nodiscard]] bool set_path(const char *text) noexcept;
  // Binds a new XDR stream record to the stream in place of one that was bound, and makes the channel XDR encoded.
  // False when memory is short.
  [[nodiscard]] bool bind_xdr(xdr_op direction) noexcept;

 private:
  void let_go() noexcept;
  void release_xdr() noexcept;

  Holding holding_ = Holding::nothing;
};

inline int real_size(const StreamChannel &channel) { return channel.double_precision ? 8 : 4; }
inline int char_size(const StreamChannel &channel) { return channel.xdr_encoded ? 4 : 1; }

// Moves a stream to offset bytes from its start (origin 0), from where it stands (1) or from its end (2). False for
// another origin, for a null stream and for a place that cannot be reached; the position is then as it was.
[[nodiscard]] bool seek_stream(std::FILE *stream, std::int64_t offset, int origin = 0) noexcept;
// Where a stream stands, -1 when that cannot be told.
[[nodiscard]] std::int64_t tell_stream(std::FILE *stream) noexcept;
// Moves a channel to a position. One that cannot be reached leaves it lost, so that the next read fails.
void go_to(StreamChannel &channel, std::int64_t position) noexcept;
// Where a channel stands, -1 when it is lost or that cannot be told.
[[nodiscard]] std::int64_t place_of(const StreamChannel &channel) noexcept;
// Moves a channel ahead as go_to does.
void pass_over(StreamChannel &channel, std::int64_t bytes) noexcept;
// Ends a text field of `size` characters: trailing blanks go, and the last character is an end.
void terminate_text(char *buffer, int size) noexcept;

// Puts a channel back to where it stood.
class PositionKeeper {
 public:
  explicit PositionKeeper(StreamChannel &channel) noexcept : channel_(channel), position_(place_of(channel)) {}
  ~PositionKeeper() {
    if (channel_.stream != nullptr) go_to(channel_, position_);
  }
  PositionKeeper(const PositionKeeper &) = delete;
  PositionKeeper &operator=(const PositionKeeper &) = delete;

 private:
  StreamChannel &channel_;
  std::int64_t position_;
};

// The read primitives: true only when all elements came. None of them reports.
[[nodiscard]] bool read_int(StreamChannel &channel, std::int32_t &value) noexcept;
[[nodiscard]] bool read_chars(StreamChannel &channel, char *buffer, std::int64_t count) noexcept;
[[nodiscard]] bool read_ints(StreamChannel &channel, std::int32_t *buffer, std::int64_t count) noexcept;
// buffer holds count doubles, whatever the precision of the file.
[[nodiscard]] bool read_reals(StreamChannel &channel, double *buffer, std::int64_t count) noexcept;
// The values of a single-precision file as they stand.
[[nodiscard]] bool read_floats(StreamChannel &channel, float *buffer, std::int64_t count) noexcept;

// As many of the values as the file has from here on, into the front of the buffer, and their number. When that is less
// than count, what stands behind them in the buffer is nothing to rely on, and neither is the position.
[[nodiscard]] std::int64_t read_available(StreamChannel &channel, double *buffer, std::int64_t count) noexcept;
[[nodiscard]] std::int64_t read_available(StreamChannel &channel, float *buffer, std::int64_t count) noexcept;

// The write primitives. write_reals narrows through the channel's single_scratch in a single-precision file.
[[nodiscard]] bool write_int(StreamChannel &channel, std::int32_t value) noexcept;
[[nodiscard]] bool write_chars(StreamChannel &channel, const char *buffer, std::int64_t count) noexcept;
[[nodiscard]] bool write_ints(StreamChannel &channel, const std::int32_t *buffer, std::int64_t count) noexcept;
[[nodiscard]] bool write_reals(StreamChannel &channel, const double *buffer, std::int64_t count) noexcept;

// Bytes from the present position to the end of the file; 0 when that cannot be told. Does not move the position.
[[nodiscard]] std::int64_t bytes_left(StreamChannel &channel) noexcept;
// Bytes of the whole file, likewise.
[[nodiscard]] std::int64_t file_bytes(StreamChannel &channel) noexcept;

// Decodes a run of `rows` rows of `row_bytes` bytes each, whose fields are asked for one after the other. It takes the
// bytes from the stream in blocks, never beyond the run, so that after the last field the stream stands behind the
// run. A field that is not there whole is refused, as are all behind it.
class RowReader {
 public:
  RowReader(StreamChannel &channel, std::int64_t row_bytes, std::int64_t rows) noexcept;
  bool integer(std::int32_t &value) noexcept {
    const unsigned char *at = take(4);
    if (at == nullptr) return false;
    value = load_word(at);
    return true;
  }
  bool chars(char *text, std::int64_t count) noexcept;
  bool reals(double *values, std::int64_t count) noexcept {
    constexpr std::int64_t kAtOnce = 64;
    for (; count > kAtOnce; count -= kAtOnce, values += kAtOnce)
      if (!reals(values, kAtOnce)) return false;
    const unsigned char *at = take(static_cast<std::size_t>(count) * real_bytes_);
    if (at == nullptr) return false;
    if (real_bytes_ == 8) {
      for (std::int64_t i = 0; i < count; ++i) values[i] = load_double(at + 8 * i);
    } else {
      for (std::int64_t i = 0; i < count; ++i) values[i] = static_cast<double>(load_single(at + 4 * i));
    }
    return true;
  }

 private:
  static constexpr std::size_t kBytes = 16384;
  [[nodiscard]] const unsigned char *take(std::size_t bytes) noexcept {
    if (end_ - at_ < bytes && !refill(bytes)) return nullptr;
    const unsigned char *field = block_ + at_;
    at_ += bytes;
    return field;
  }
  bool refill(std::size_t bytes) noexcept;
  [[nodiscard]] std::int32_t load_word(const unsigned char *at) const noexcept {
    std::uint32_t word = 0;
    std::memcpy(&word, at, 4);
    return static_cast<std::int32_t>(reversed_ ? __builtin_bswap32(word) : word);
  }
  [[nodiscard]] double load_double(const unsigned char *at) const noexcept {
    std::uint64_t word = 0;
    std::memcpy(&word, at, 8);
    return std::bit_cast<double>(reversed_ ? __builtin_bswap64(word) : word);
  }
  [[nodiscard]] float load_single(const unsigned char *at) const noexcept {
    return std::bit_cast<float>(load_word(at));
  }

  std::FILE *stream_;
  std::int64_t left_;  // bytes of the run that have not been taken from the stream
  bool reversed_;
  std::size_t real_bytes_;
  std::size_t at_ = 0;
  std::size_t end_ = 0;
  unsigned char block_[kBytes];
};

}  // namespace sbr

#endif
