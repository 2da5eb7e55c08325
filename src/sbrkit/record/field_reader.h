// Reading the rows of a record from a channel.
#ifndef SBRKIT_RECORD_FIELD_READER_H
#define SBRKIT_RECORD_FIELD_READER_H

#include "record/channel.h"
#include "record/rows.h"

namespace sbr {

inline Encoding encoding_of(const StreamChannel &channel) { return {real_size(channel), char_size(channel)}; }

// Io that reads a channel field by field.
class FieldReader {
 public:
  explicit FieldReader(StreamChannel &channel) noexcept : channel_(channel) {}
  bool count(std::int32_t &value) noexcept { return read_int(channel_, value); }
  bool integer(std::int32_t &value) noexcept { return read_int(channel_, value); }
  bool chars(char *text, std::int64_t count) noexcept { return read_chars(channel_, text, count); }
  bool reals(double *values, std::int64_t count) noexcept { return read_reals(channel_, values, count); }

 private:
  StreamChannel &channel_;
};

}  // namespace sbr

#endif
