#include "blocks/reading.h"

#include "base/reports.h"

namespace sbr {

Reading failed(const char *message) noexcept {
  report_error("%s", message);
  return Reading::failed;
}

Reading failed_for_memory(int line) noexcept {
  report_no_memory(unit_name::kReading, line);
  return Reading::failed;
}

Reading ended_for_memory(int line) noexcept {
  report_no_memory(unit_name::kReading, line);
  return Reading::out_of_memory;
}

bool rows_left(StreamChannel &channel, std::int64_t count, std::int64_t row_bytes) noexcept {
  return count >= 0 && bounded_product(count, row_bytes) <= bytes_left(channel);
}

}  // namespace sbr
