// Text files of a solver, plain or gzip-packed, line by line, and the numbers and names on their lines. An error in an
// input names its file and line.
#ifndef SBRKIT_TRANSLATORS_COMMON_TEXT_INPUT_H
#define SBRKIT_TRANSLATORS_COMMON_TEXT_INPUT_H

#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace sbrtranslate {

// A place in an input; line 0 means the file as a whole.
struct Place {
  std::string file;
  long line = 0;
};

// What is wrong with an input: "file:line: text".
class InputError : public std::runtime_error {
 public:
  InputError(const Place &place, const std::string &text);
};

// Reads a plain or gzip-packed text file line by line, without line ends. Binary data, overlong lines and damaged or
// truncated archives are input errors.
class LineReader {
 public:
  explicit LineReader(std::string path);
  ~LineReader();
  LineReader(const LineReader &) = delete;
  LineReader &operator=(const LineReader &) = delete;

  // The next line; false at the end. The text is valid until the next call.
  bool next(std::string_view &line);
  // The place of the line that came last.
  [[nodiscard]] Place place() const { return {path_, line_}; }
  [[nodiscard]] const std::string &path() const { return path_; }
  [[nodiscard]] long line() const { return line_; }
  // Plain files are open under this descriptor, for reading by place; packed ones and pipes have -1.
  [[nodiscard]] int descriptor() const { return plain_; }
  // The size of the file on disk, and how many of these bytes have been read.
  [[nodiscard]] std::uint64_t size() const { return size_; }
  [[nodiscard]] std::uint64_t position() const;
  // Goes on at another place of a plain file, the start of the line behind line `line`.
  void go_to(std::uint64_t position, long line);
  // Ends the reading with an input error at the present line.
  [[noreturn]] void fail(const std::string &text) const { throw InputError(place(), text); }

 private:
  bool fill();
  std::size_t read_plain(char *to, std::size_t most);
  std::size_t read_packed(char *to, std::size_t most);

  std::string path_;
  long line_ = 0;
  void *file_ = nullptr;  // of zlib; null for a plain file
  int plain_ = -1;
  std::uint64_t size_ = 0;
  std::uint64_t read_ = 0;  // of a plain file: bytes that are in the buffer or have been
  std::vector<char> buffer_;
  std::size_t begin_ = 0;
  std::size_t end_ = 0;
};

std::string_view trim(std::string_view text);
std::string upper(std::string_view text);
// The fields between commas, trimmed. A trailing comma gives an empty last field.
std::vector<std::string_view> split_fields(std::string_view line);
// The words between blanks.
std::vector<std::string_view> split_words(std::string_view line);
// A whole number, or nothing when the text is anything else.
std::optional<int> to_int(std::string_view text);
// A finite number in any notation of Fortran or C, or nothing.
std::optional<double> to_double(std::string_view text);
// A number in few digits, for messages.
std::string show(double value, int digits = 6);

}  // namespace sbrtranslate

#endif
