// Data blocks of the open database: creating, opening and closing them, and the words of their records.
#ifndef SBRKIT_DATABASE_BLOCKS_H
#define SBRKIT_DATABASE_BLOCKS_H

#include <cstdint>

namespace sbr::db {

// A place in a data block: two words.
struct Position {
  std::int64_t words[2] = {};
};

// ---- blocks --------------------------------------------------------------------------------------------------------

// Gives the name that an assignment puts to a file's path: sends "assign <logical>='<path>'". The status of the
// command.
[[nodiscard]] int assign(const char *logical, int number, const char *path) noexcept;
// Creates a data block for a body and opens it for writing. Its unit, or 0 after a report. Null qualifiers are none.
[[nodiscard]] int create_body_block(const char *qualifiers) noexcept;
// The same for intermediate results; number tells it apart.
[[nodiscard]] int open_scratch(int *number) noexcept;
[[nodiscard]] bool reopen_scratch(int unit) noexcept;
// Opens body number index of a database file for reading. Its unit, or 0 after a report.
[[nodiscard]] int open_body_block(const char *path, int index, int *number) noexcept;
// Closes a data block and keeps it; unit 0 is nothing.
[[nodiscard]] bool close_block(int unit) noexcept;
[[nodiscard]] bool write_trailer(const std::int64_t *trailer7) noexcept;

// ---- words of the present record ------------------------------------------------------------------------------------

// Append values; a count below 1 and null values are nothing to write. False when memory is short or the library lacks
// the entry, after a report.
[[nodiscard]] bool write_ints(int unit, const std::int32_t *values, std::int64_t count) noexcept;
[[nodiscard]] bool write_longs(int unit, const std::int64_t *values, std::int64_t count) noexcept;
[[nodiscard]] bool write_reals(int unit, const double *values, std::int64_t count) noexcept;
[[nodiscard]] bool write_characters(int unit, const char *text, std::int64_t count) noexcept;
[[nodiscard]] bool end_record(int unit) noexcept;

// Read values; false on a status, as when the record has fewer words left.
[[nodiscard]] bool read_ints(int unit, std::int32_t *values, std::int64_t count) noexcept;
[[nodiscard]] bool read_reals(int unit, double *values, std::int64_t count) noexcept;
[[nodiscard]] bool read_characters(int unit, char *text, std::int64_t count) noexcept;
// Goes to the start of the next record; false when there is none.
[[nodiscard]] bool skip_record(int unit) noexcept;
// Reads and drops words.
[[nodiscard]] bool skip_words(int unit, std::int64_t count) noexcept;

[[nodiscard]] bool save_position(int unit, std::int64_t *words2) noexcept;
[[nodiscard]] bool restore_position(int unit, const std::int64_t *words2) noexcept;

}  // namespace sbr::db

#endif
