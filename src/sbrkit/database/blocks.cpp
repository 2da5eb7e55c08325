// Data blocks of the open database, and the words of their records.
#include "database/blocks.h"

#include <algorithm>
#include <cstring>

#include "base/reports.h"
#include "database/binding.h"
#include "database/browse.h"
#include "database/text.h"
#include "sbrkit/sbrkit.h"

namespace sbr::db {
namespace {

constexpr int kRead = 0;
constexpr int kWrite = 1;
constexpr int kRewind = 10;
constexpr int kCharactersPerWord = 4;
constexpr std::int64_t kPiece = 1 << 22;  // values moved at once; a multiple of the characters in a word

// ---- counters ------------------------------------------------------------------------------------------------------

int scratch_count = 1000;  // data blocks that hold intermediate results
int allocation_count = 0;  // logical numbers of opened bodies

// ---- data blocks ---------------------------------------------------------------------------------------------------

// Creates a data block and opens it for writing. Its unit, or 0 with the message, whose %d is the status.
int create_block(const Text &command, const char *message) noexcept {
  int unit = 0;
  int count = 0;
  int status = 0;
  entries().create_datablk(text_of(command), &unit, &count, &status);
  if (status != 0) {
    report_error(message, status);
    return 0;
  }
  return entries().open(unit, 0, kWrite) ? unit : 0;
}

// Makes the body with those qualifiers known in the open database under highqual = number. The status.
int locate_body(const char *path, const Text &qualifiers, int number) noexcept {
  Text where;
  Text command;
  if (!replace_commas(where, view_of(qualifiers), " and ") ||
      !print(command, "dblocate logical=dbalc%d datablk=(sbrdb) where(%s) convert(highqual=%d)", number, text_of(where),
             number)) {
    report_no_memory(unit_name::kDatabaseBlocks);
    return 1;
  }
  int status = assign("dbalc", number, path);
  if (status == 0) entries().db_command(text_of(command), &status);
  return status;
}

// Attaches the body that is known under highqual = number. Its unit, or 0 after a report; `status` so far.
int attach_body(int number, int status) noexcept {
  Text command;
  if (!print(command, "datablk=(sbrdb) where(projno=* and version=* and highqual=%d and wildcard=true)", number)) {
    report_no_memory(unit_name::kDatabaseBlocks);
    return 0;
  }
  int unit = 0;
  int count = 0;
  if (status == 0) entries().alloc_datablk(text_of(command), &unit, &count, &status);
  if (status != 0) {
    report_error("Cannot open the datablock, %d.", status);
    return 0;
  }
  if (count != 1) {
    report_error("%d datablocks are assigned.", count);
    return 0;
  }
  return entries().open(unit, 0, kRead) ? unit : 0;
}

// ---- words ---------------------------------------------------------------------------------------------------------

// True when there is nothing to move.
bool is_nothing(const void *data, std::int64_t count) noexcept { return data == nullptr || count < 1; }

bool write_words(int unit, const std::int64_t *words, std::int64_t count) noexcept {
  return entries().write(unit, words, static_cast<int>(count), 0);
}

bool read_words(int unit, std::int64_t *words, std::int64_t count) noexcept {
  int status = 0;
  int value = 0;
  entries().read(&status, unit, words, static_cast<int>(count), 0, &value);
  return status == 0;
}

// Calls move(where a piece starts, its length) for pieces that the library can count; false when one gives false.
template <class Move>
bool in_pieces(std::int64_t count, Move move) noexcept {
  for (std::int64_t done = 0; done < count; done += kPiece)
    if (!move(done, std::min(kPiece, count - done))) return false;
  return true;
}

// The same with room for the words of a piece, `per_word` values to a word.
template <class Move>
bool in_words(std::int64_t count, int per_word, Move move) noexcept {
  Array<std::int64_t> words;
  return in_pieces(count, [&](std::int64_t first, std::int64_t length) {
    if (!words.allocate((length - 1) / per_word + 1)) return report_no_memory(unit_name::kDatabaseBlocks);
    return move(words, first, length);
  });
}

static_assert(sizeof(double) == sizeof(std::int64_t));

}  // namespace

// ---- blocks --------------------------------------------------------------------------------------------------------

int assign(const char *logical, int number, const char *path) noexcept {
  Text quoted;
  Text command;
  if (!double_quotes(quoted, path != nullptr ? path : "") ||
      !print(command, "assign %s%d='%s'", logical, number, text_of(quoted))) {
    report_no_memory(unit_name::kDatabaseBlocks);
    return 1;
  }
  int status = 0;
  entries().db_command(text_of(command), &status);
  return status;
}

int create_body_block(const char *qualifiers) noexcept {
  Text list;
  Text command;
  if (!replace_commas(list, qualifiers != nullptr ? qualifiers : "", ";") ||
      !print(command, "dbcreate datablk=(sbrdb) quals(%s)", text_of(list))) {
    report_no_memory(unit_name::kDatabaseBlocks);
    return 0;
  }
  return create_block(command, "Cannot create sbr datablock, %d.");
}

int open_scratch(int *number) noexcept {
  const int scratch = ++scratch_count;
  Text command;
  if (!print(command, "dbcreate datablk=(sbrtmp) quals(highqual=%d)", scratch)) {
    report_no_memory(unit_name::kDatabaseBlocks);
    return 0;
  }
  if (number != nullptr) *number = scratch;
  return create_block(command, "Cannot open temporary datablock, %d.");
}

bool reopen_scratch(int unit) noexcept { return entries().close(unit, 1) && entries().open(unit, 0, kRewind); }

int open_body_block(const char *path, int index, int *number) noexcept {
  Text qualifiers;
  const std::int64_t bodies = browse(path, index, qualifiers);
  if (bodies == 0 || bodies == kUnusableFile) return 0;
  if (index < 1 || index > bodies) {
    report_error(index < 1 ? "The index is too small, %d." : "The index is too big, %d.", index);
    return 0;
  }
  if (qualifiers.empty()) return 0;
  const int allocation = ++allocation_count;
  if (number != nullptr) *number = allocation;
  return attach_body(allocation, locate_body(path, qualifiers, allocation));
}

bool close_block(int unit) noexcept { return unit == 0 || entries().close(unit, 1); }

bool write_trailer(const std::int64_t *trailer7) noexcept {
  return trailer7 != nullptr && entries().write_trailer(trailer7);
}

// ---- writing -------------------------------------------------------------------------------------------------------

bool write_ints(int unit, const std::int32_t *values, std::int64_t count) noexcept {
  if (is_nothing(values, count)) return true;
  return in_words(count, 1, [&](Array<std::int64_t> &words, std::int64_t first, std::int64_t length) {
    std::copy_n(values + first, length, words.begin());
    return write_words(unit, words.data(), length);
  });
}

bool write_longs(int unit, const std::int64_t *values, std::int64_t count) noexcept {
  if (is_nothing(values, count)) return true;
  return in_pieces(count,
                   [&](std::int64_t first, std::int64_t length) { return write_words(unit, values + first, length); });
}

bool write_reals(int unit, const double *values, std::int64_t count) noexcept {
  return write_longs(unit, reinterpret_cast<const std::int64_t *>(values), count);
}

bool write_characters(int unit, const char *text, std::int64_t count) noexcept {
  if (is_nothing(text, count)) return true;
  return in_words(count, kCharactersPerWord, [&](Array<std::int64_t> &words, std::int64_t first, std::int64_t length) {
    for (std::int64_t i = 0; i < length; ++i) {
      const auto character = static_cast<std::uint64_t>(static_cast<unsigned char>(text[first + i]));
      auto &word = words[i / kCharactersPerWord];
      word = static_cast<std::int64_t>(static_cast<std::uint64_t>(word) | character << 8 * (i % kCharactersPerWord));
    }
    return write_words(unit, words.data(), words.count());
  });
}

bool end_record(int unit) noexcept { return entries().write(unit, nullptr, 0, 1); }

// ---- reading -------------------------------------------------------------------------------------------------------

bool read_ints(int unit, std::int32_t *values, std::int64_t count) noexcept {
  if (is_nothing(values, count)) return true;
  return in_words(count, 1, [&](Array<std::int64_t> &words, std::int64_t first, std::int64_t length) {
    const bool whole = read_words(unit, words.data(), length);
    for (std::int64_t i = 0; i < length; ++i) values[first + i] = static_cast<std::int32_t>(words[i]);
    return whole;
  });
}

bool read_reals(int unit, double *values, std::int64_t count) noexcept {
  if (is_nothing(values, count)) return true;
  return in_pieces(count, [&](std::int64_t first, std::int64_t length) {
    return read_words(unit, reinterpret_cast<std::int64_t *>(values + first), length);
  });
}

bool read_characters(int unit, char *text, std::int64_t count) noexcept {
  if (is_nothing(text, count)) return true;
  return in_words(count, kCharactersPerWord, [&](Array<std::int64_t> &words, std::int64_t first, std::int64_t length) {
    const bool whole = read_words(unit, words.data(), words.count());
    for (std::int64_t i = 0; i < length; ++i) {
      const auto word = static_cast<std::uint64_t>(words[i / kCharactersPerWord]);
      text[first + i] = static_cast<char>(word >> 8 * (i % kCharactersPerWord));
    }
    return whole;
  });
}

bool skip_record(int unit) noexcept {
  int status = 0;
  entries().skip_record(&status, unit);
  return status == 0;
}

bool skip_words(int unit, std::int64_t count) noexcept {
  constexpr std::int64_t kDropped = 1024;
  std::int64_t dropped[kDropped];
  for (std::int64_t left = count; left > 0; left -= kDropped)
    if (!read_words(unit, dropped, std::min(left, kDropped))) return false;
  return true;
}

// ---- positions -----------------------------------------------------------------------------------------------------

bool save_position(int unit, std::int64_t *words2) noexcept {
  int first = 0;
  int second = 0;
  return words2 != nullptr && entries().save_pos(unit, words2, &first, &second);
}

bool restore_position(int unit, const std::int64_t *words2) noexcept {
  return words2 != nullptr && entries().set_pos(unit, words2);
}

}  // namespace sbr::db

namespace db = sbr::db;

extern "C" {

int DB_CreateSBRblk(const char *qualifiers) { return db::create_body_block(qualifiers); }
int DB_OpenScratch(int *number) { return db::open_scratch(number); }
int DB_ReOpenScratch(int unit) { return db::reopen_scratch(unit) ? 1 : 0; }
int DB_OpenDatablk(const char *path, int index, int *number) { return db::open_body_block(path, index, number); }
int DB_CloseDatablk(int unit) { return db::close_block(unit) ? 1 : 0; }
int DB_WriteTrailer(const int64_t *trailer7) { return db::write_trailer(trailer7) ? 1 : 0; }

int DB_WriteINTs(db_block block, const int *data, int count) { return db::write_ints(block.unit, data, count) ? 1 : 0; }
int DB_WriteLONGs(db_block block, const int64_t *data, int count) {
  return db::write_longs(block.unit, data, count) ? 1 : 0;
}
int DB_WriteDOUBLEs(db_block block, const double *data, int count) {
  return db::write_reals(block.unit, data, count) ? 1 : 0;
}
int DB_WriteCHARs(db_block block, const char *data, int bytes) {
  return db::write_characters(block.unit, data, bytes) ? 1 : 0;
}
int DB_WriteEOR(db_block block) { return db::end_record(block.unit) ? 1 : 0; }

int DB_ReadINTs(db_block block, int *data, int count) { return db::read_ints(block.unit, data, count) ? 1 : 0; }
int DB_ReadDOUBLEs(db_block block, double *data, int count) { return db::read_reals(block.unit, data, count) ? 1 : 0; }
int DB_ReadMODE(db_block block, double *data, int count) { return db::read_reals(block.unit, data, count) ? 1 : 0; }
int DB_ReadCHARs(db_block block, char *data, int bytes) { return db::read_characters(block.unit, data, bytes) ? 1 : 0; }
int DB_SkipRecord(db_block block) { return db::skip_record(block.unit) ? 1 : 0; }
int DB_SeekFWD(db_block block, int negative_count) {
  return negative_count <= 0 && db::skip_words(block.unit, -static_cast<std::int64_t>(negative_count)) ? 1 : 0;
}

int DB_FSAVE(int64_t *position2, db_block block) { return db::save_position(block.unit, position2) ? 1 : 0; }
int DB_FRESTORE(const int64_t *position2, db_block block) {
  return db::restore_position(block.unit, position2) ? 1 : 0;
}
int DB_REWIND(db_block block) { return db::restore_position(block.unit, block.start_position) ? 1 : 0; }

}  // extern "C"
