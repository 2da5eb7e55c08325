#include "common/text_input.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>

namespace sbrtranslate {
namespace {

constexpr std::size_t kChunk = std::size_t{1} << 18;
// No line of a solver's text file is near this length; a file without line ends is something else.
constexpr std::size_t kLongestLine = std::size_t{1} << 20;

std::string located(const Place &place, const std::string &text) {
  return place.line > 0 ? place.file + ":" + std::to_string(place.line) + ": " + text : place.file + ": " + text;
}

}  // namespace

InputError::InputError(const Place &place, const std::string &text) : std::runtime_error(located(place, text)) {}

LineReader::LineReader(std::string path) : path_(std::move(path)), buffer_(kChunk) {
  if (std::filesystem::is_directory(path_)) fail("is a directory, not a text file");
  errno = 0;
  const int descriptor = open(path_.c_str(), O_RDONLY | O_CLOEXEC);
  if (descriptor < 0) fail(errno != 0 ? std::strerror(errno) : "cannot be opened");
  struct stat facts = {};
  unsigned char magic[2] = {};
  if (fstat(descriptor, &facts) == 0 && S_ISREG(facts.st_mode)) {
    size_ = static_cast<std::uint64_t>(facts.st_size);
    const bool packed = pread(descriptor, magic, 2, 0) == 2 && magic[0] == 0x1f && magic[1] == 0x8b;
    if (!packed) {
      plain_ = descriptor;
      return;
    }
  }
  file_ = gzdopen(descriptor, "rb");
  if (file_ == nullptr) {
    close(descriptor);
    fail("cannot be opened");
  }
  gzbuffer(static_cast<gzFile>(file_), static_cast<unsigned>(kChunk));
}

LineReader::~LineReader() {
  if (file_ != nullptr) gzclose(static_cast<gzFile>(file_));
  if (plain_ >= 0) close(plain_);
}

std::uint64_t LineReader::position() const {
  if (plain_ >= 0) return read_ - (end_ - begin_);
  const auto offset = gzoffset(static_cast<gzFile>(file_));
  return offset > 0 ? static_cast<std::uint64_t>(offset) : 0;
}

void LineReader::go_to(std::uint64_t position, long line) {
  read_ = position;
  begin_ = end_ = 0;
  line_ = line;
}

std::size_t LineReader::read_plain(char *to, std::size_t most) {
  ssize_t count = -1;
  do {
    count = pread(plain_, to, most, static_cast<off_t>(read_));
  } while (count < 0 && errno == EINTR);
  if (count < 0) fail(std::strerror(errno));
  read_ += static_cast<std::uint64_t>(count);
  return static_cast<std::size_t>(count);
}

std::size_t LineReader::read_packed(char *to, std::size_t most) {
  auto *file = static_cast<gzFile>(file_);
  const int count = gzread(file, to, static_cast<unsigned>(most));
  int code = Z_OK;
  const char *text = gzerror(file, &code);
  if (count < 0 || (code != Z_OK && code != Z_STREAM_END)) {
    if (code == Z_BUF_ERROR) fail("the packed file ends too early");
    fail(code == Z_ERRNO ? std::strerror(errno) : std::string("the packed file is damaged: ") + text);
  }
  return static_cast<std::size_t>(count);
}

// Brings more bytes behind those that are still to be read; false at the end of the file.
bool LineReader::fill() {
  if (begin_ != 0) {
    std::memmove(buffer_.data(), buffer_.data() + begin_, end_ - begin_);
    end_ -= begin_;
    begin_ = 0;
  }
  if (end_ > kLongestLine) fail("a line of more than a million characters: not a text file");
  if (buffer_.size() - end_ < kChunk) buffer_.resize(end_ + kChunk);
  const std::size_t count =
      plain_ >= 0 ? read_plain(buffer_.data() + end_, kChunk) : read_packed(buffer_.data() + end_, kChunk);
  end_ += count;
  return count > 0;
}

bool LineReader::next(std::string_view &line) {
  std::size_t searched = 0;
  const char *found = nullptr;
  while (true) {
    const char *start = buffer_.data() + begin_;
    found = static_cast<const char *>(std::memchr(start + searched, '\n', end_ - begin_ - searched));
    if (found != nullptr) break;
    searched = end_ - begin_;
    if (!fill()) break;
  }
  if (found == nullptr && begin_ == end_) return false;
  const char *start = buffer_.data() + begin_;
  const std::size_t length = found != nullptr ? static_cast<std::size_t>(found - start) : end_ - begin_;
  ++line_;
  line = std::string_view(start, length);
  begin_ += length + (found != nullptr ? 1 : 0);
  if (line.find('\0') != std::string_view::npos) fail("binary data in what should be a text file");
  while (!line.empty() && line.back() == '\r') line.remove_suffix(1);
  return true;
}

std::string_view trim(std::string_view text) {
  const auto blank = [](char c) { return c == ' ' || c == '\t' || c == '\r'; };
  while (!text.empty() && blank(text.front())) text.remove_prefix(1);
  while (!text.empty() && blank(text.back())) text.remove_suffix(1);
  return text;
}

std::string upper(std::string_view text) {
  std::string result(text);
  for (char &c : result)
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  return result;
}

std::vector<std::string_view> split_fields(std::string_view line) {
  std::vector<std::string_view> fields;
  while (true) {
    const std::size_t comma = line.find(',');
    fields.push_back(trim(line.substr(0, comma)));
    if (comma == std::string_view::npos) return fields;
    line.remove_prefix(comma + 1);
  }
}

std::vector<std::string_view> split_words(std::string_view line) {
  std::vector<std::string_view> words;
  for (line = trim(line); !line.empty(); line = trim(line)) {
    const std::size_t length = std::min(line.find_first_of(" \t"), line.size());
    words.push_back(line.substr(0, length));
    line.remove_prefix(length);
  }
  return words;
}

std::optional<int> to_int(std::string_view text) {
  if (text.size() > 1 && text.front() == '+') text.remove_prefix(1);
  int value = 0;
  const auto [end, code] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (code != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return value;
}

std::optional<double> to_double(std::string_view text) {
  if (text.size() > 1 && text.front() == '+') text.remove_prefix(1);
  char copy[64];
  // Fortran also writes the exponent with a D.
  if (const std::size_t d = text.find_first_of("dD"); d != std::string_view::npos && text.size() <= sizeof copy) {
    std::copy(text.begin(), text.end(), copy);
    copy[d] = 'e';
    text = std::string_view(copy, text.size());
  }
  double value = 0.0;
  auto [end, code] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (end != text.data() + text.size() || text.empty()) return std::nullopt;
  // What is too small for a double counts as zero.
  if (code == std::errc::result_out_of_range && text.find("-", 1) != std::string_view::npos) return 0.0;
  if (code != std::errc() || !std::isfinite(value)) return std::nullopt;
  return value;
}

std::string show(double value, int digits) {
  char text[40];
  std::snprintf(text, sizeof text, "%.*g", digits, value);
  return text;
}

}  // namespace sbrtranslate
