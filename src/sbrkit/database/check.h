// The check of a ".MASTER" file by its time-stamp header. Decoding is pure: bytes in, a code and a report out.
#ifndef SBRKIT_DATABASE_CHECK_H
#define SBRKIT_DATABASE_CHECK_H

#include <array>
#include <cstdint>
#include <span>

namespace sbr {

inline constexpr std::size_t kTimeStampHeaderSize = 1024;

// What a file check finds.
enum class FileCheck : int {
  unknown_error = -1,
  usable = 0,
  other_platform = 1,
  not_found = 2,
  no_access = 3,
  not_regular = 4,
  not_opened = 5,
  too_short = 6,
  not_read = 7,
  bad_offsets = 10,
  bad_signature = 11,
  bad_flags = 12,
  bad_record_length = 13,
  other_form_64 = 14,  // this platform's endianness and numbers, but not its form; 64-bit words
  other_form_32 = 15,  // the same with 32-bit words
};

// How numbers are stored: indices into the tables of names.
struct NumberForm {
  int word = -1;    // 0 32-bit, 1 64-bit
  int endian = -1;  // 0 big, 1 little
  int format = -1;  // 0 IEEE, 1 CRAY, 2 IBM, 3 VAX
};

// Two-digit decimal fields of a word: 20231231 is no such word, 231231 is {23, 12, 31}.
using DecimalFields = std::array<int, 3>;

struct FileReport {
  NumberForm platform{1, 1, 0};
  NumberForm file;
  bool readable = false;
  std::array<DecimalFields, 4> stamps{};  // dates and times of the header
  std::int64_t machine = 0;
  std::int64_t machine_detail = 0;
  std::int64_t stamp_detail = 0;
  char set_name[9] = {};
  bool is_master = false;
  int version_major = 0;
  int version_minor = 0;
  std::int64_t block_count = 0;
};

// Judges a header. The limit is the largest record length that can be handled; the file's size gives the block count.
FileCheck decode_header(std::span<const unsigned char, kTimeStampHeaderSize> bytes, std::int64_t limit,
                        std::int64_t file_size, FileReport &report) noexcept;

// Judges the file of that name; report.file stays -1 where the file does not tell.
FileCheck check_file(const char *path, FileReport &report) noexcept;

// Checks the file and reports what is wrong with it. Gives `usable` also where it only warns, that the file could be
// read-only.
FileCheck judge_file(const char *path) noexcept;

}  // namespace sbr

#endif
