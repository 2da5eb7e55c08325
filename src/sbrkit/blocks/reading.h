// Reading a block into a body: what a reader answers, and what the readers share. The readers stand by family.
#ifndef SBRKIT_BLOCKS_READING_H
#define SBRKIT_BLOCKS_READING_H

#include "body/body.h"
#include "record/field_reader.h"

namespace sbr {

// What reading a block gave. A block that does not exist is complete.
enum class Reading {
  complete = 1,
  failed = 0,         // reported; the read as a whole fails
  out_of_memory = -1  // reported; the read ends here, and the body lacks what comes behind
};

using ReadBlock = Reading (*)(SbrBody &body) noexcept;

// Reports an error; gives Reading::failed.
Reading failed(const char *message) noexcept;
// Reports a failed allocation, which makes the read fail.
Reading failed_for_memory(int line = __builtin_LINE()) noexcept;
// Reports a failed allocation, which ends the read without making it fail.
Reading ended_for_memory(int line = __builtin_LINE()) noexcept;

// True when what is left of the file can hold count rows of row_bytes bytes each.
// Asked before memory is taken for what a count announces.
[[nodiscard]] bool rows_left(StreamChannel &channel, std::int64_t count, std::int64_t row_bytes) noexcept;

}  // namespace sbr

#endif
