#include "rawrecord.h"

#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "record/rows.h"

namespace sbrtool {
namespace {

constexpr std::int64_t kVersionBytes = 4;

std::int64_t character_size(SBR body) { return SBR_size_of_block(body, sbr::kHeader) / sbr::kHeaderChars; }

// Where the summary has the byte of a block from 3 on.
std::int64_t content_offset(SBR body, int block) {
  return kVersionBytes + (sbr::kHeaderChars + sbr::content_byte(block)) * character_size(body);
}

std::ifstream open_bytes(const std::string &path, std::int64_t offset) {
  std::ifstream file(path, std::ios::binary);
  file.seekg(offset);
  if (!file) throw Failure(kUnreadable, path + ": " + std::strerror(errno));
  return file;
}

// What stops before the end of the file is no short file.
void require_readable(const std::istream &file, const std::string &path) {
  if (file.bad()) throw Failure(kUnreadable, path + ": cannot be read");
}

template <class Word, class Real>
double real_of(const char *bytes, bool big_endian) {
  std::array<char, sizeof(Word)> word{};
  std::copy_n(bytes, sizeof(Word), word.begin());
  if (big_endian == (std::endian::native == std::endian::little)) std::reverse(word.begin(), word.end());
  return static_cast<double>(std::bit_cast<Real>(word));
}

void copy_bytes(std::istream &from, std::ostream &to, std::int64_t count) {
  std::array<char, 1 << 16> piece{};
  while (count > 0 && from && to) {
    from.read(piece.data(), std::min<std::int64_t>(count, static_cast<std::int64_t>(piece.size())));
    to.write(piece.data(), from.gcount());
    count -= from.gcount();
  }
}

// A file in the directory of temporary files, which goes at the end.
class TemporaryCopy {
 public:
  TemporaryCopy() {
    const char *directory = std::getenv("TMP");
    const bool given = directory != nullptr && *directory != '\0';
    path_ = ((given ? std::filesystem::path(directory) : std::filesystem::temp_directory_path()) / "sbr_XXXXXX");
    const int descriptor = mkstemp(path_.data());
    if (descriptor < 0) throw Failure(kFailed, path_ + ": " + std::strerror(errno));
    close(descriptor);
  }
  ~TemporaryCopy() { unlink(path_.c_str()); }
  TemporaryCopy(const TemporaryCopy &) = delete;
  TemporaryCopy &operator=(const TemporaryCopy &) = delete;
  [[nodiscard]] const std::string &path() const { return path_; }

 private:
  std::string path_;
};

}  // namespace

std::int64_t block_offset(SBR body, int block) {
  std::int64_t offset = 0;
  for (int i = 0; i < block; ++i) offset += SBR_size_of_block(body, i);
  return offset;
}

bool is_short_layout(SBR body) { return SBR_Version(body) < 40; }

bool is_announced(SBR body, const std::string &path, int block) {
  const std::int64_t size = character_size(body);
  std::ifstream file = open_bytes(path, content_offset(body, block));
  std::array<char, 4> bytes{};
  file.read(bytes.data(), size);
  require_readable(file, path);
  return file && std::any_of(bytes.begin(), bytes.end(), [](char c) { return c != '\0'; });
}

std::optional<std::array<double, 13>> stored_global(SBR body, const std::string &path) {
  if (SBR_Exists(body, kGlobalBlock) == 0) return std::nullopt;
  const bool wide = SBR_Double_Prec(body) != 0;
  const bool big_endian = character_size(body) == 4;
  std::array<double, 13> values{};
  std::array<char, 13 * 8> bytes{};
  const std::size_t size = wide ? 8 : 4;
  std::ifstream file = open_bytes(path, block_offset(body, kGlobalBlock));
  file.read(bytes.data(), static_cast<std::streamsize>(values.size() * size));
  require_readable(file, path);
  if (!file) return std::nullopt;
  for (std::size_t i = 0; i < values.size(); ++i)
    values[i] = wide ? real_of<std::uint64_t, double>(bytes.data() + i * size, big_endian)
                     : real_of<std::uint32_t, float>(bytes.data() + i * size, big_endian);
  return values;
}

Body open_without_blocks(const std::string &path, int first, int last) {
  const Body body = open_record(path);
  const std::int64_t from = block_offset(body.get(), first);
  const std::int64_t to = block_offset(body.get(), last + 1);
  const auto size = static_cast<std::int64_t>(std::filesystem::file_size(path));
  const TemporaryCopy copy;
  std::fstream out(copy.path(), std::ios::binary | std::ios::in | std::ios::out);
  std::ifstream in = open_bytes(path, 0);
  copy_bytes(in, out, from);
  in.seekg(to);
  // Behind the last block there is nothing to copy, whatever the size rules say of it.
  if (last + 1 < kBlockCount) copy_bytes(in, out, size - to);
  const std::string zeros(static_cast<std::size_t>(character_size(body.get())), '\0');
  for (int block = first; block <= last; ++block) {
    out.seekp(content_offset(body.get(), block));
    out.write(zeros.data(), static_cast<std::streamsize>(zeros.size()));
  }
  out.close();
  if (!in || !out) throw Failure(kFailed, copy.path() + ": cannot be written: " + std::strerror(errno));
  return open_record(copy.path());
}

}  // namespace sbrtool
