#include "blocks/statistics.h"

#include "body/node_table.h"
#include "modes/statistics.h"

namespace sbr {
namespace {

Reading read_statistics(SbrBody &body) noexcept {
  constexpr const char *kProblem = "Problem when reading Modal Statistics Block";
  if (!go_to_block(body, kModalStatistics)) return Reading::complete;
  FieldReader reader(body.record);
  CountHead head;
  if (!transfer(reader, head)) return failed(kProblem);
  const std::int64_t row_bytes = field_bytes<ModalStatistics>(encoding_of(body.record));
  if (head.count > 0 && !rows_left(body.record, head.count, row_bytes)) return failed(kProblem);
  if (!body.statistics.allocate(head.count)) return failed("Out of memory while reading Modal Statistics Block");
  RowReader rows(body.record, row_bytes, head.count);
  for (ModalStatistics &row : body.statistics)
    if (!transfer(rows, row)) return failed(kProblem);
  return Reading::complete;
}

// The records fill in as the mode blocks pass, which come ahead of this one.
bool write_statistics(Emission &run) noexcept {
  if (!run.put(CountHead{run.plan.exported_modes})) return false;
  for (int i = 0; i < run.plan.exported_modes; ++i)
    if (i >= run.body.statistics.count() || !run.put(run.body.statistics[i])) return false;
  return true;
}

void put_maximum(const Report &report, const char *format, int number, Maximum maximum) noexcept {
  int id = 0;
  double value = 0.0;
  largest_value(report.body, number, maximum, &id, &value);
  std::fprintf(report.out, format, id, value);
}

bool print_statistics(const Report &report) noexcept {
  SbrBody &body = report.body;
  if (!has_block(body, kModalStatistics) && !body.statistics) {
    std::fputs("\tNo Modal Statistic Information\n\n", report.out);
    return true;
  }
  const int modes = mode_count(body);
  std::fprintf(report.out, "Number of Modes %d\n\n", modes);
  for (int m = 0; m < modes; ++m) {
    const int number = mode_number(body, m);
    std::fprintf(report.out, "\nMODE NUMBER %d=================================\n\n", number);
    put_maximum(report, "Max. Trans. Magnitude:      Node ID = %d  Magnitude = %12.6e\n", number, Maximum::translation);
    put_maximum(report, "Max. Small Rot. Magnitude:  Node ID = %d  Magnitude = %12.6e\n", number, Maximum::rotation);
    if (has_block(body, kModalStress))
      put_maximum(report, "Max. Von Mises Stress:      Node ID = %d  Magnitude = %12.6e\n", number, Maximum::stress);
    if (has_block(body, kModalStrain))
      put_maximum(report, "Max. Von Mises Strain:      Node ID = %d  Magnitude = %12.6e\n", number, Maximum::strain);
  }
  return true;
}

}  // namespace

constinit const BlockFunctions kModalStatisticsBlock{
    .read = read_statistics, .write = write_statistics, .print = print_statistics};

}  // namespace sbr
