#include "base/temporary_file.h"

#include <fcntl.h>
#include <sys/random.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace sbr {
namespace {

constexpr char kPrefix[] = "/sbr_";
constexpr int kRandomLetters = 12;

std::uint64_t random_bits() noexcept {
  std::uint64_t bits = 0;
  if (getrandom(&bits, sizeof bits, GRND_NONBLOCK) == static_cast<ssize_t>(sizeof bits)) return bits;
  static std::atomic<std::uint64_t> counter{0};
  const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
  return static_cast<std::uint64_t>(now) * 0x9E3779B97F4A7C15U + ++counter;
}

// A free name in a directory given by the first `length` characters of a text.
bool name_in(const char *directory, std::size_t length, Array<char> &path) noexcept {
  if (!path.allocate(static_cast<std::int64_t>(length + sizeof kPrefix + kRandomLetters))) return false;
  static constexpr char kLetters[] = "abcdefghijklmnopqrstuvwxyz0123456789";
  do {
    char *to = path.data();
    std::memcpy(to, directory, length);
    std::memcpy(to + length, kPrefix, sizeof kPrefix - 1);
    to += length + sizeof kPrefix - 1;
    std::uint64_t bits = random_bits();
    for (int i = 0; i < kRandomLetters; ++i, bits /= 36) to[i] = kLetters[bits % 36];
    to[kRandomLetters] = '\0';
  } while (access(path.data(), F_OK) == 0);
  return true;
}

}  // namespace

bool temporary_name(Array<char> &path) noexcept {
  const char *directory = std::getenv("TMP");
  if (directory == nullptr || *directory == '\0') directory = "/tmp";
  return name_in(directory, std::strlen(directory), path);
}

bool temporary_name_beside(Array<char> &path, const char *file) noexcept {
  const char *end = std::strrchr(file, '/');
  if (end == nullptr) return name_in(".", 1, path);
  return name_in(file, static_cast<std::size_t>(end - file), path);
}

std::FILE *create_exclusive(const char *path) noexcept {
  const int descriptor = open(path, O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR);
  if (descriptor < 0) return nullptr;
  std::FILE *stream = fdopen(descriptor, "wb+");
  if (stream == nullptr) {
    close(descriptor);
    unlink(path);
  }
  return stream;
}

}  // namespace sbr
