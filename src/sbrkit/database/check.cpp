// The check of a ".MASTER" file. The header is read as logical words in each of the four forms that machines write; the
// first form whose offsets fit is the file's.
#include "database/check.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "base/reports.h"
#include "database/binding.h"
#include "sbrkit/sbrkit.h"

namespace sbr {
namespace {

// ---- logical words -------------------------------------------------------------------------------------------------

// Where a form keeps the value and the four characters of a word.
struct WordForm {
  int word_size;
  int value_offset;
  int value_size;
  int text_offset;
  bool big_endian;
  bool text_reversed;
};

// The platform's own form.
constexpr WordForm kOwnForm{8, 0, 8, 0, false, false};

// The foreign forms in the order in which they are tried. A big-endian machine may have its values and its characters
// in either half of a 64-bit word, and its characters may have been stored as numbers.
constexpr WordForm kForeignForms[] = {
    {8, 0, 8, 0, true, false}, {8, 0, 8, 4, true, false}, {8, 0, 8, 4, true, true},
    {8, 0, 8, 0, true, true},  {8, 0, 4, 0, true, false}, {8, 0, 4, 0, true, true},
    {4, 0, 4, 0, true, false}, {4, 0, 4, 0, true, true},  {4, 0, 4, 0, false, false},
};

// The header as words of one form. A word beyond the header is 0, its characters are blank.
class Words {
 public:
  Words(std::span<const unsigned char, kTimeStampHeaderSize> bytes, const WordForm &form) noexcept
      : bytes_(bytes), form_(form) {}

  [[nodiscard]] std::int64_t operator[](std::int64_t index) const noexcept {
    if (!has(index)) return 0;
    const unsigned char *value = word(index) + form_.value_offset;
    std::uint64_t bits = 0;
    for (int i = 0; i < form_.value_size; ++i) {
      const int place = form_.big_endian ? i : form_.value_size - 1 - i;
      bits = bits << 8 | value[place];
    }
    return form_.value_size == 8 ? static_cast<std::int64_t>(bits)
                                 : static_cast<std::int64_t>(static_cast<std::int32_t>(bits));
  }

  // Copies the characters of consecutive words, four each.
  void text(std::int64_t index, int words, char *out) const noexcept {
    for (int i = 0; i < 4 * words; ++i) {
      const std::int64_t place = index + i / 4;
      const int character = form_.text_reversed ? 3 - i % 4 : i % 4;
      out[i] = has(place) ? static_cast<char>(word(place)[form_.text_offset + character]) : ' ';
    }
  }

 private:
  [[nodiscard]] bool has(std::int64_t index) const noexcept {
    return index >= 0 && index < static_cast<std::int64_t>(bytes_.size()) / form_.word_size;
  }
  [[nodiscard]] const unsigned char *word(std::int64_t index) const noexcept {
    return bytes_.data() + index * form_.word_size;
  }

  std::span<const unsigned char, kTimeStampHeaderSize> bytes_;
  const WordForm &form_;
};

// ---- the rules of a header -----------------------------------------------------------------------------------------

// The places of the header's three parts: stamp, set name, creation.
bool offsets_fit(const Words &w) noexcept {
  const std::int64_t start = w[3];
  const std::int64_t stamp = w[6];
  const std::int64_t set = w[8];
  const std::int64_t creation = w[10];
  return start >= 1 && start <= 124 && w[5] >= 3 && start <= stamp && stamp < 125 && set >= 1 && set <= 124 &&
         start <= creation && creation < 125;
}

bool signature_fits(const Words &w) noexcept {
  char text[12];
  w.text(w[6] + 3, 3, text);
  return std::memcmp(text, "*TIME STAMP*", sizeof text) == 0;
}

bool record_length_fits(const Words &w, std::int64_t limit) noexcept { return w[4] > 0 && w[4] <= limit; }

DecimalFields decimal_fields(std::int64_t value) noexcept {
  return {static_cast<int>(value / 10000 % 100), static_cast<int>(value / 100 % 100), static_cast<int>(value % 100)};
}

NumberForm number_form(std::int64_t flags) noexcept {
  return {static_cast<int>(flags & 1), static_cast<int>(flags >> 1 & 1), static_cast<int>(flags >> 2 & 3)};
}

// "major.minor", a year of two digits counting from 2000.
void read_version(const Words &w, std::int64_t index, FileReport &report) noexcept {
  char text[9] = {};
  w.text(index, 2, text);
  char *rest = nullptr;
  const long major = std::strtol(text, &rest, 10);
  report.version_major = static_cast<int>(major < 30 ? major + 2000 : major);
  report.version_minor = *rest == '.' ? static_cast<int>(std::strtol(rest + 1, nullptr, 10)) : 0;
}

void fill_report(const Words &w, std::int64_t file_size, FileReport &report) noexcept {
  const std::int64_t stamp = w[6];
  const std::int64_t set = w[8];
  const std::int64_t creation = w[10];
  report.file = number_form(w[creation + 15]);
  for (int i = 0; i < 4; ++i) report.stamps[i] = decimal_fields(w[stamp + 6 + i]);
  report.machine = w[creation + 3];
  report.machine_detail = w[creation + 4];
  report.stamp_detail = w[stamp + 10];
  w.text(set + 3, 2, report.set_name);
  report.is_master = std::memcmp(report.set_name, "MASTER  ", 8) == 0;
  read_version(w, creation + 8, report);
  const std::int64_t record_length = w[4];
  const std::int64_t word_size = report.file.word == 1 ? 8 : 4;
  report.block_count = record_length > 0 ? file_size / word_size / record_length : 0;
}

// A file of another machine, or of this machine's numbers in another form.
FileCheck foreign_code(const FileReport &report) noexcept {
  if (report.file.endian != report.platform.endian || report.file.format != report.platform.format)
    return FileCheck::other_platform;
  return report.file.word == 1 ? FileCheck::other_form_64 : FileCheck::other_form_32;
}

// ---- messages ------------------------------------------------------------------------------------------------------

void report_other_platform(const FileReport &report) noexcept {
  static const char *const word[] = {"32-bit", "64-bit"};
  static const char *const endian[] = {"big-endian", "little-endian"};
  static const char *const format[] = {"IEEE", "CRAY", "IBM", "VAX"};
  report_error("%s\n%s\nCurrent Platform: %s/%s/%s \nQS DB file      : %s/%s/%s.  ",
               "The specified QS DB file is valid but its numeric format ", "is not compatible with this platform.",
               word[report.platform.word], endian[report.platform.endian], format[report.platform.format],
               word[report.file.word], endian[report.file.endian], format[report.file.format]);
}

void report_bad_header(const char *reason) noexcept {
  report_error("%s\n%s\n%s", "The specified QS DB file exists.",
               "However, the timestamp header could not be validated.", reason);
}

}  // namespace

FileCheck decode_header(std::span<const unsigned char, kTimeStampHeaderSize> bytes, std::int64_t limit,
                        std::int64_t file_size, FileReport &report) noexcept {
  const Words own(bytes, kOwnForm);
  if (offsets_fit(own)) {
    if (!signature_fits(own)) return FileCheck::bad_signature;
    fill_report(own, file_size, report);
    if (own[own[10] + 15] != 3) return FileCheck::bad_flags;
    return record_length_fits(own, limit) ? FileCheck::usable : FileCheck::bad_record_length;
  }
  for (const WordForm &form : kForeignForms) {
    const Words foreign(bytes, form);
    if (!offsets_fit(foreign) || !signature_fits(foreign) || !record_length_fits(foreign, limit)) continue;
    fill_report(foreign, file_size, report);
    return foreign_code(report);
  }
  return FileCheck::bad_offsets;
}

FileCheck check_file(const char *path, FileReport &report) noexcept {
  const std::int64_t limit = db::record_limit();
  report = FileReport{};
  struct stat facts {};
  if (path == nullptr) return FileCheck::unknown_error;
  if (stat(path, &facts) != 0) {
    if (errno == ENOENT) return FileCheck::not_found;
    return errno == EACCES ? FileCheck::no_access : FileCheck::unknown_error;
  }
  if (!S_ISREG(facts.st_mode)) return FileCheck::not_regular;
  report.readable = access(path, R_OK) == 0;

  const auto close = [](std::FILE *stream) { std::fclose(stream); };
  const std::unique_ptr<std::FILE, decltype(close)> stream(std::fopen(path, "rb"), close);
  if (!stream) return FileCheck::not_opened;
  unsigned char bytes[kTimeStampHeaderSize];
  if (std::fread(bytes, 8, kTimeStampHeaderSize / 8, stream.get()) != kTimeStampHeaderSize / 8)
    return std::ferror(stream.get()) != 0 ? FileCheck::not_read : FileCheck::too_short;
  return decode_header(bytes, limit, facts.st_size, report);
}

FileCheck judge_file(const char *path) noexcept {
  FileReport report;
  const FileCheck code = check_file(path, report);
  const char *shown = path != nullptr ? path : "";
  switch (code) {
    case FileCheck::usable:
      break;
    case FileCheck::unknown_error:
      report_error("An unknown error was encountered while opening QS DB file %s.", shown);
      break;
    case FileCheck::other_platform:
    case FileCheck::other_form_64:
    case FileCheck::other_form_32:
      report_other_platform(report);
      break;
    case FileCheck::not_found:
      report_error("The QS DB file %s could not be found.", shown);
      break;
    case FileCheck::no_access:
      report_warning("QS DB file %s could be read-only.", shown);
      return FileCheck::usable;
    case FileCheck::not_regular:
      report_error("Specified QS DB file %s not a normal/regular file.", shown);
      break;
    case FileCheck::not_opened:
      report_error("Unable to open the QS DB file %s.", shown);
      break;
    case FileCheck::too_short:
      report_error("QS DB file %s is too short.", shown);
      break;
    case FileCheck::not_read:
      report_error("Read failed for the QS DB file %s.", shown);
      break;
    case FileCheck::bad_offsets:
      report_bad_header("Reason: Timestamp signature offset is invalid.");
      break;
    case FileCheck::bad_signature:
      report_bad_header("Reason: Timestamp signature is invalid.");
      break;
    case FileCheck::bad_flags:
      report_bad_header("Reason: Floating point, endian word length invalid for this platform.");
      break;
    case FileCheck::bad_record_length:
      report_bad_header("Reason: DBset record length (BUFFSIZE) is out of range.");
      break;
    default:
      report_error("Unknown Error code?");
      break;
  }
  return code;
}

}  // namespace sbr

extern "C" {

int DB_CheckDBset(const char *path) { return static_cast<int>(sbr::judge_file(path)); }

}  // extern "C"
