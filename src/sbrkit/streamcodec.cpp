#include "streamcodec.h"

#include <sys/stat.h>

#include <bit>
#include <cstdlib>
#include <cstring>

#include "sbrkit/sbrkit.h"

namespace sbr {

bool bind_xdr(StreamChannel &channel, xdr_op direction) noexcept {
  auto *xdr = static_cast<XDR *>(allocate_zeroed(1, sizeof(XDR)));
  if (xdr == nullptr) return false;
  xdrstdio_create(xdr, channel.stream, direction);
  channel.xdr = xdr;
  channel.xdr_encoded = 1;
  return true;
}

void release_xdr(StreamChannel &channel) noexcept {
  if (channel.xdr == nullptr) return;
  xdr_destroy(channel.xdr);
  std::free(channel.xdr);
  channel.xdr = nullptr;
}

void close_channel(StreamChannel &channel, bool remove_file) noexcept {
  release_xdr(channel);
  if (channel.stream != nullptr) std::fclose(channel.stream);
  channel.stream = nullptr;
  if (remove_file && channel.path) std::remove(channel.path.data());
  channel.path.release();
  channel.xdr_encoded = 0;
  channel.is_temporary = 0;
}

bool set_path(StreamChannel &channel, const char *path) noexcept {
  const std::size_t bytes = std::strlen(path) + 1;
  if (!channel.path.allocate(static_cast<std::int64_t>(bytes))) return false;
  std::memcpy(channel.path.data(), path, bytes);
  return true;
}

bool read_int(StreamChannel &channel, std::int32_t &value) noexcept {
  if (channel.xdr_encoded != 0) return xdr_int(channel.xdr, &value) != 0;
  return std::fread(&value, 4, 1, channel.stream) == 1;
}

bool read_chars(StreamChannel &channel, char *buffer, std::int64_t count) noexcept {
  if (channel.xdr_encoded != 0)
    return xdr_vector(channel.xdr, buffer, static_cast<u_int>(count), 1, reinterpret_cast<xdrproc_t>(xdr_char)) != 0;
  return std::fread(buffer, 1, static_cast<std::size_t>(count), channel.stream) == static_cast<std::size_t>(count);
}

bool read_ints(StreamChannel &channel, std::int32_t *buffer, std::int64_t count) noexcept {
  if (channel.xdr_encoded != 0)
    return xdr_vector(channel.xdr, reinterpret_cast<char *>(buffer), static_cast<u_int>(count), 4,
                      reinterpret_cast<xdrproc_t>(xdr_int)) != 0;
  return std::fread(buffer, 4, static_cast<std::size_t>(count), channel.stream) == static_cast<std::size_t>(count);
}

bool read_reals(StreamChannel &channel, double *buffer, std::int64_t count) noexcept {
  const auto n = static_cast<std::size_t>(count);
  if (channel.double_precision != 0) {
    if (channel.xdr_encoded != 0)
      return xdr_vector(channel.xdr, reinterpret_cast<char *>(buffer), static_cast<u_int>(count), 8,
                        reinterpret_cast<xdrproc_t>(xdr_double)) != 0;
    return std::fread(buffer, 8, n, channel.stream) == n;
  }
  if (!read_floats(channel, reinterpret_cast<float *>(buffer), count)) return false;
  float2double(buffer, reinterpret_cast<float *>(buffer), static_cast<int>(count));
  return true;
}

bool read_floats(StreamChannel &channel, float *buffer, std::int64_t count) noexcept {
  const auto n = static_cast<std::size_t>(count);
  if (channel.xdr_encoded != 0)
    return xdr_vector(channel.xdr, reinterpret_cast<char *>(buffer), static_cast<u_int>(count), 4,
                      reinterpret_cast<xdrproc_t>(xdr_float)) != 0;
  return std::fread(buffer, 4, n, channel.stream) == n;
}

bool write_int(StreamChannel &channel, std::int32_t value) noexcept {
  if (channel.xdr_encoded != 0) return xdr_int(channel.xdr, &value) != 0;
  return std::fwrite(&value, 4, 1, channel.stream) == 1;
}

bool write_chars(StreamChannel &channel, const char *buffer, std::int64_t count) noexcept {
  if (channel.xdr_encoded != 0)
    return xdr_vector(channel.xdr, const_cast<char *>(buffer), static_cast<u_int>(count), 1,
                      reinterpret_cast<xdrproc_t>(xdr_char)) != 0;
  return std::fwrite(buffer, 1, static_cast<std::size_t>(count), channel.stream) == static_cast<std::size_t>(count);
}

bool write_ints(StreamChannel &channel, const std::int32_t *buffer, std::int64_t count) noexcept {
  if (channel.xdr_encoded != 0)
    return xdr_vector(channel.xdr, reinterpret_cast<char *>(const_cast<std::int32_t *>(buffer)),
                      static_cast<u_int>(count), 4, reinterpret_cast<xdrproc_t>(xdr_int)) != 0;
  return std::fwrite(buffer, 4, static_cast<std::size_t>(count), channel.stream) == static_cast<std::size_t>(count);
}

bool write_reals(StreamChannel &channel, const double *buffer, std::int64_t count) noexcept {
  const auto n = static_cast<std::size_t>(count);
  if (channel.double_precision != 0) {
    if (channel.xdr_encoded != 0)
      return xdr_vector(channel.xdr, reinterpret_cast<char *>(const_cast<double *>(buffer)), static_cast<u_int>(count),
                        8, reinterpret_cast<xdrproc_t>(xdr_double)) != 0;
    return std::fwrite(buffer, 8, n, channel.stream) == n;
  }
  if (channel.single_scratch == nullptr || !channel.single_scratch->resize(count)) return count == 0;
  float *narrow = double2float(channel.single_scratch->data(), buffer, static_cast<int>(count));
  if (channel.xdr_encoded != 0)
    return xdr_vector(channel.xdr, reinterpret_cast<char *>(narrow), static_cast<u_int>(count), 4,
                      reinterpret_cast<xdrproc_t>(xdr_float)) != 0;
  return std::fwrite(narrow, 4, n, channel.stream) == n;
}

std::int64_t bytes_left(StreamChannel &channel) noexcept {
  struct stat status {};
  if (channel.stream == nullptr || fstat(fileno(channel.stream), &status) != 0) return 0;
  const std::int64_t here = FileTell_Win32(channel.stream);
  return here < 0 || here > status.st_size ? 0 : status.st_size - here;
}

}  // namespace sbr

extern "C" {

int FileSeek_Win32(FILE *stream, int64_t offset, int origin) {
  if (stream == nullptr || origin < 0 || origin > 2) return 1;
  return fseeko(stream, offset, origin == 0 ? SEEK_SET : origin == 1 ? SEEK_CUR : SEEK_END) == 0 ? 0 : 1;
}

int64_t FileTell_Win32(FILE *stream) { return stream == nullptr ? -1 : static_cast<int64_t>(ftello(stream)); }

float *double2float(float *dst, const double *src, int n) {
  // Byte copies: the two arrays may be one.
  auto *out = reinterpret_cast<unsigned char *>(dst);
  const auto *in = reinterpret_cast<const unsigned char *>(src);
  for (int i = 0; i < n; ++i) {
    double value = 0.0;
    std::memcpy(&value, in + 8 * static_cast<std::size_t>(i), 8);
    const auto narrow = static_cast<float>(value);
    std::memcpy(out + 4 * static_cast<std::size_t>(i), &narrow, 4);
  }
  return dst;
}

double *float2double(double *dst, const float *src, int n) {
  auto *out = reinterpret_cast<unsigned char *>(dst);
  const auto *in = reinterpret_cast<const unsigned char *>(src);
  for (int i = n - 1; i >= 0; --i) {
    float narrow = 0.0F;
    std::memcpy(&narrow, in + 4 * static_cast<std::size_t>(i), 4);
    const double value = narrow;
    std::memcpy(out + 8 * static_cast<std::size_t>(i), &value, 8);
  }
  return dst;
}

void terminate_string(char *buffer, int size) {
  if (buffer == nullptr || size < 1) return;
  buffer[size - 1] = '\0';
  for (int i = size - 2; i >= 0 && buffer[i] == ' '; --i) buffer[i] = '\0';
}

}  // extern "C"
