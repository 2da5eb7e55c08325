// The database front, data blocks: creating, opening and closing them, and the words of their records.
#include <cstring>

#include "base/reports.h"
#include "database/front.h"
#include "sbrkit/sbrkit.h"

namespace {

using sbr::Array;
using sbr::print;
using sbr::Text;
using sbr::text_of;
using sbr::view_of;

constexpr int kRead = 0;
constexpr int kWrite = 1;
constexpr int kRewind = 10;
constexpr int kCharactersPerWord = 4;

// ---- counters ------------------------------------------------------------------------------------------------------

int scratch_count = 1000;  // data blocks that hold intermediate results
int allocation_count = 0;  // logical numbers of opened bodies

// ---- data blocks ---------------------------------------------------------------------------------------------------

// Creates a data block and opens it for writing. Its unit, or 0 with the message, whose %d is the status.
int create_block(const Text &command, const char *message) noexcept {
  int unit = 0;
  int count = 0;
  int status = 0;
  CDB_QS_CreateDatablk(text_of(command), &unit, &count, &status);
  if (status != 0) {
    sbr::report_error(message, status);
    return 0;
  }
  return CDB_Ruvo_Open(unit, 0, kWrite) != 0 ? unit : 0;
}

// Makes the body with those qualifiers known in the open database under highqual = number. The status.
int locate_body(const char *path, const Text &qualifiers, int number) noexcept {
  Text where;
  Text command;
  if (!sbr::replace_commas(where, view_of(qualifiers), " and ") ||
      !print(command, "dblocate logical=dbalc%d datablk=(sbrdb) where(%s) convert(highqual=%d)", number, text_of(where),
             number)) {
    sbr::report_no_memory(sbr::unit_name::kDatabaseBlocks);
    return 1;
  }
  int status = sbr::assign("dbalc", number, path);
  if (status == 0) CDB_QS_DbCommand(text_of(command), &status);
  return status;
}

// ---- words ---------------------------------------------------------------------------------------------------------

std::int64_t words_of(std::int64_t characters) noexcept { return (characters - 1) / kCharactersPerWord + 1; }

int write_words(const db_block &block, const std::int64_t *words, int count) noexcept {
  return CDB_Ruvo_Write(block.unit, words, count, 0);
}

int read_words(const db_block &block, std::int64_t *words, int count) noexcept {
  int status = 0;
  int value = 0;
  CDB_Ruvo_Read(&status, block.unit, words, count, 0, &value);
  return status == 0 ? 1 : 0;
}

// True when there is nothing to move; the result of the operation is then 1.
bool is_nothing(const void *data, int count) noexcept { return data == nullptr || count <= 0; }

}  // namespace

namespace sbr {

int assign(const char *logical, int number, const char *path) noexcept {
  Text quoted;
  Text command;
  if (!double_quotes(quoted, path != nullptr ? path : "") ||
      !print(command, "assign %s%d='%s'", logical, number, text_of(quoted))) {
    sbr::report_no_memory(sbr::unit_name::kDatabaseBlocks);
    return 1;
  }
  int status = 0;
  CDB_QS_DbCommand(text_of(command), &status);
  return status;
}

}  // namespace sbr

extern "C" {

int DB_CreateSBRblk(const char *qualifiers) {
  Text list;
  Text command;
  if (!sbr::replace_commas(list, qualifiers != nullptr ? qualifiers : "", ";") ||
      !print(command, "dbcreate datablk=(sbrdb) quals(%s)", text_of(list)))
    return sbr::report_no_memory(sbr::unit_name::kDatabaseBlocks);
  return create_block(command, "Cannot create sbr datablock, %d.");
}

int DB_OpenScratch(int *number) {
  const int scratch = ++scratch_count;
  Text command;
  if (!print(command, "dbcreate datablk=(sbrtmp) quals(highqual=%d)", scratch))
    return sbr::report_no_memory(sbr::unit_name::kDatabaseBlocks);
  if (number != nullptr) *number = scratch;
  return create_block(command, "Cannot open temporary datablock, %d.");
}

int DB_ReOpenScratch(int unit) {
  const int closed = CDB_Ruvo_Close(unit, 1);
  return closed != 0 ? CDB_Ruvo_Open(unit, 0, kRewind) : 0;
}

int DB_OpenDatablk(const char *path, int index, int *number) {
  Text qualifiers;
  const std::int64_t bodies = sbr::browse(path, index, qualifiers);
  if (bodies == 0 || bodies == sbr::kUnusableFile) return 0;
  if (index < 1 || index > bodies) {
    sbr::report_error(index < 1 ? "The index is too small, %d." : "The index is too big, %d.", index);
    return 0;
  }
  if (qualifiers.empty()) return 0;

  const int allocation = ++allocation_count;
  if (number != nullptr) *number = allocation;
  int unit = 0;
  int count = 0;
  int status = locate_body(path, qualifiers, allocation);
  Text command;
  if (!print(command, "datablk=(sbrdb) where(projno=* and version=* and highqual=%d and wildcard=true)", allocation))
    return sbr::report_no_memory(sbr::unit_name::kDatabaseBlocks);
  if (status == 0) CDB_QS_AllocDatablk(text_of(command), &unit, &count, &status);
  if (status != 0) {
    sbr::report_error("Cannot open the datablock, %d.", status);
    return 0;
  }
  if (count != 1) {
    sbr::report_error("%d datablocks are assigned.", count);
    return 0;
  }
  return CDB_Ruvo_Open(unit, 0, kRead) != 0 ? unit : 0;
}

int DB_CloseDatablk(int unit) { return unit == 0 ? 1 : CDB_Ruvo_Close(unit, 1); }

int DB_WriteTrailer(const int64_t *trailer7) { return trailer7 == nullptr ? 0 : CDB_Ruvo_WriteTrailer(trailer7); }

// ---- writing -------------------------------------------------------------------------------------------------------

int DB_WriteINTs(db_block block, const int *data, int count) {
  if (is_nothing(data, count)) return 1;
  Array<std::int64_t> words;
  if (!words.allocate(count)) return sbr::report_no_memory(sbr::unit_name::kDatabaseBlocks);
  for (int i = 0; i < count; ++i) words[i] = data[i];
  return write_words(block, words.data(), count);
}

int DB_WriteLONGs(db_block block, const int64_t *data, int count) {
  return is_nothing(data, count) ? 1 : write_words(block, data, count);
}

int DB_WriteDOUBLEs(db_block block, const double *data, int count) {
  if (is_nothing(data, count)) return 1;
  static_assert(sizeof(double) == sizeof(std::int64_t));
  return write_words(block, reinterpret_cast<const std::int64_t *>(data), count);
}

int DB_WriteCHARs(db_block block, const char *data, int bytes) {
  if (is_nothing(data, bytes)) return 1;
  Array<std::int64_t> words;
  if (!words.allocate(words_of(bytes))) return sbr::report_no_memory(sbr::unit_name::kDatabaseBlocks);
  for (int i = 0; i < bytes; ++i) {
    const auto character = static_cast<std::uint64_t>(static_cast<unsigned char>(data[i]));
    auto &word = words[i / kCharactersPerWord];
    word = static_cast<std::int64_t>(static_cast<std::uint64_t>(word) | character << 8 * (i % kCharactersPerWord));
  }
  return write_words(block, words.data(), words.count());
}

int DB_WriteEOR(db_block block) { return CDB_Ruvo_Write(block.unit, nullptr, 0, 1); }

// ---- reading -------------------------------------------------------------------------------------------------------

int DB_ReadINTs(db_block block, int *data, int count) {
  if (is_nothing(data, count)) return 1;
  Array<std::int64_t> words;
  if (!words.allocate(count)) return sbr::report_no_memory(sbr::unit_name::kDatabaseBlocks);
  const int result = read_words(block, words.data(), count);
  for (int i = 0; i < count; ++i) data[i] = static_cast<int>(words[i]);
  return result;
}

int DB_ReadDOUBLEs(db_block block, double *data, int count) {
  return is_nothing(data, count) ? 1 : read_words(block, reinterpret_cast<std::int64_t *>(data), count);
}

int DB_ReadMODE(db_block block, double *data, int count) { return DB_ReadDOUBLEs(block, data, count); }

int DB_ReadCHARs(db_block block, char *data, int bytes) {
  if (is_nothing(data, bytes)) return 1;
  Array<std::int64_t> words;
  if (!words.allocate(words_of(bytes))) return sbr::report_no_memory(sbr::unit_name::kDatabaseBlocks);
  const int result = read_words(block, words.data(), words.count());
  for (int i = 0; i < bytes; ++i) {
    const auto word = static_cast<std::uint64_t>(words[i / kCharactersPerWord]);
    data[i] = static_cast<char>(word >> 8 * (i % kCharactersPerWord));
  }
  return result;
}

int DB_SkipRecord(db_block block) {
  int status = 0;
  CDB_Ruvo_SkipRecord(&status, block.unit);
  return status == 0 ? 1 : 0;
}

int DB_SeekFWD(db_block block, int negative_count) {
  if (negative_count > 0) return 0;
  constexpr std::int64_t kPiece = 1024;
  std::int64_t dropped[kPiece];
  for (std::int64_t left = -static_cast<std::int64_t>(negative_count); left > 0; left -= kPiece)
    if (read_words(block, dropped, static_cast<int>(left < kPiece ? left : kPiece)) == 0) return 0;
  return 1;
}

// ---- positions -----------------------------------------------------------------------------------------------------

int DB_FSAVE(int64_t *position2, db_block block) {
  int first = 0;
  int second = 0;
  return position2 == nullptr ? 0 : CDB_Ruvo_SavePos(block.unit, position2, &first, &second);
}

int DB_FRESTORE(const int64_t *position2, db_block block) {
  return position2 == nullptr ? 0 : CDB_Ruvo_SetPos(block.unit, position2);
}

int DB_REWIND(db_block block) { return CDB_Ruvo_SetPos(block.unit, block.start_position); }

}  // extern "C"
