#include "blocks/operators.h"

#include <cstring>

#include "base/reports.h"
#include "body/monitor_points.h"
#include "body/node_table.h"

namespace sbr {
namespace {

// In the blocks of operators and points a failed read is told once, by the block; running out of memory ends the whole
// read at once, without making it a failure. A count below zero is a size that cannot be had.

// ---- matrix operators ----------------------------------------------------------------------------------------------

Reading read_sub_operator(StreamChannel &channel, const MatrixOperator &op, SubOperator &sub) noexcept {
  FieldReader reader(channel);
  SubOperatorHead head;
  if (!transfer(reader, head)) return Reading::failed;
  const std::int64_t cells = std::int64_t{op.row_count} * head.column_count;
  if (cells < 0) return ended_for_memory();
  sub.column_count = head.column_count;
  std::memcpy(sub.tag, head.tag, sizeof sub.tag);
  if (cells == 0) return Reading::complete;
  if (!rows_left(channel, cells, real_size(channel))) return Reading::failed;
  if (!sub.data.allocate(cells)) return ended_for_memory();
  return reader.reals(sub.data.data(), cells) ? Reading::complete : Reading::failed;
}

Reading read_row_labels(StreamChannel &channel, MatrixOperator &op) noexcept {
  if (!rows_left(channel, op.row_count, field_bytes<RowLabel>(encoding_of(channel)))) return Reading::failed;
  if (!op.row_labels.resize(op.row_count)) return ended_for_memory();
  FieldReader reader(channel);
  for (RowLabel &label : op.row_labels)
    if (!transfer(reader, label)) return Reading::failed;
  return Reading::complete;
}

Reading read_matrix_operator(StreamChannel &channel, MatrixOperator &op) noexcept {
  FieldReader reader(channel);
  MatrixOperatorHead head;
  if (!transfer(reader, head)) return Reading::failed;
  std::memcpy(op.name, head.name, sizeof head.name);
  if (head.row_count < 0) return ended_for_memory();
  op.row_count = head.row_count;
  if (const Reading labels = read_row_labels(channel, op); labels != Reading::complete) return labels;
  CountHead subs;
  if (!transfer(reader, subs)) return Reading::failed;
  if (subs.count < 0) return ended_for_memory();
  if (!rows_left(channel, subs.count, field_bytes<SubOperatorHead>(encoding_of(channel)))) return Reading::failed;
  // All places at once: an empty sub-operator costs a file next to nothing.
  if (!op.sub_operators.resize(subs.count)) return ended_for_memory();
  for (std::int32_t i = 0; i < subs.count; ++i) {
    SubOperator *sub = op.sub_operators.create(static_cast<std::size_t>(i));
    const Reading reading = sub != nullptr ? read_sub_operator(channel, op, *sub) : ended_for_memory();
    if (reading == Reading::complete) continue;
    static_cast<void>(op.sub_operators.resize(sub != nullptr ? i + 1 : i));
    return reading;
  }
  return Reading::complete;
}

Reading read_matrix_operators(SbrBody &body) noexcept {
  constexpr const char *kProblem = "Problem when reading Matrix Operator Block";
  if (!go_to_block(body, kMatrixOperator)) return Reading::complete;
  StreamChannel &channel = body.record;
  FieldReader reader(channel);
  CountHead head;
  if (!transfer(reader, head)) return failed(kProblem);
  if (head.count < 1) return ended_for_memory();
  const Encoding encoding = encoding_of(channel);
  if (!rows_left(channel, head.count, field_bytes<MatrixOperatorHead>(encoding) + field_bytes<CountHead>(encoding)))
    return failed(kProblem);
  for (std::int32_t i = 0; i < head.count; ++i) {
    MatrixOperator *op = body.matrix_operators.add();
    const Reading reading = op != nullptr ? read_matrix_operator(channel, *op) : ended_for_memory();
    if (reading == Reading::failed) return failed(kProblem);
    if (reading != Reading::complete) return reading;
  }
  return Reading::complete;
}

bool put_sub_operator(Emission &run, const SubOperator *sub, int rows) noexcept {
  if (sub == nullptr) return false;
  const std::int64_t values = static_cast<std::int64_t>(rows) * sub->column_count;
  if (values > static_cast<std::int64_t>(sub->data.size())) return false;
  SubOperatorHead head;
  head.column_count = sub->column_count;
  std::memcpy(head.tag, sub->tag, sizeof head.tag);
  return run.put(head) && run.out.reals(sub->data.data(), values);
}

bool put_matrix_operator(Emission &run, const MatrixOperator *matrix) noexcept {
  if (matrix == nullptr || matrix->row_count > matrix->row_labels.count()) return false;
  // A name keeps its first eight characters.
  MatrixOperatorHead head;
  head.row_count = matrix->row_count;
  std::memcpy(head.name, matrix->name, sizeof head.name);
  if (!run.put(head)) return false;
  for (int row = 0; row < matrix->row_count; ++row)
    if (!run.out.chars(matrix->row_labels[row].data(), kRowLabelChars)) return false;
  if (!run.put(CountHead{matrix->sub_operators.count()})) return false;
  for (std::size_t i = 0; i < matrix->sub_operators.size(); ++i)
    if (!put_sub_operator(run, matrix->sub_operators[i], matrix->row_count)) return false;
  return true;
}

bool write_matrix_operators(Emission &run) noexcept {
  const OwnedList<MatrixOperator> &operators = run.body.matrix_operators;
  report_info("\nMatrix Operator Info:\n   Count: %ld", static_cast<long>(operators.count()));
  if (!run.put(CountHead{operators.count()})) return false;
  for (std::size_t i = 0; i < operators.size(); ++i)
    if (!put_matrix_operator(run, operators[i])) return false;
  return true;
}

void print_sub_operator(const Report &report, const SubOperator &sub, int operator_place, int rows) noexcept {
  // The heading deliberately counts the operators, not the sub-operators.
  std::fprintf(report.out, "\n Sub Matrix Operator Number %d ---------------------\n\n", operator_place);
  std::fprintf(report.out, " Tag:            %.8s\n", sub.tag);
  std::fprintf(report.out, " Size of column: %d\n", sub.column_count);
  std::fprintf(report.out, " Data:\n");
  std::size_t at = 0;
  for (int row = 0; row < rows && at < sub.data.size(); ++row) {
    for (int column = 0; column < sub.column_count && at < sub.data.size(); ++column)
      std::fprintf(report.out, " % 16.9e", sub.data[at++]);
    std::fprintf(report.out, "\n");
  }
}

void print_matrix_operator(const Report &report, const MatrixOperator &matrix, int place) noexcept {
  std::fprintf(report.out, "\nMatrix Operator Number %d ===========================\n\n", place);
  std::fprintf(report.out, "Name of operator:     %.80s\n", matrix.name);
  std::fprintf(report.out, "Size of row:          %d\n", matrix.row_count);
  std::fprintf(report.out, "Size of sub operator: %d\n", matrix.sub_operators.count());
  for (int row = 0; row < matrix.row_count && row < matrix.row_labels.count(); ++row) {
    const char *label = matrix.row_labels[row].data();
    if (label[0] != '\0') std::fprintf(report.out, "Label of row %d:      %.80s\n", row + 1, label);
  }
  std::fprintf(report.out, "\n");
  for (std::size_t i = 0; i < matrix.sub_operators.size(); ++i) {
    const SubOperator *sub = matrix.sub_operators[i];
    if (sub != nullptr && sub->column_count > 0) print_sub_operator(report, *sub, place, matrix.row_count);
  }
}

bool print_matrix_operators(const Report &report) noexcept {
  const OwnedList<MatrixOperator> &operators = report.body.matrix_operators;
  if (!has_block(report.body, kMatrixOperator) || operators.count() < 1) {
    std::fputs("\tNo Matrix Operator Information.\n\n", report.out);
    return true;
  }
  std::fprintf(report.out, "Number of Matrix Operator: %d\n", operators.count());
  for (int i = 0; i < operators.count(); ++i) {
    const MatrixOperator *matrix = operators[i];
    if (matrix != nullptr && matrix->row_count > 0 && matrix->sub_operators.count() > 0)
      print_matrix_operator(report, *matrix, i + 1);
  }
  return true;
}

// ---- monitor points ------------------------------------------------------------------------------------------------

Reading read_monitor_point(StreamChannel &channel, std::int32_t modes, MonitorPoint &point) noexcept {
  FieldReader reader(channel);
  MonitorPointHead head;
  if (!transfer(reader, head)) return Reading::failed;
  point.type = head.type;
  point.result_type = head.result_type;
  point.component = head.component;
  std::memcpy(point.name, head.name, sizeof head.name);
  std::memcpy(point.label, head.label, sizeof head.label);
  point.operator_rows = head.operator_rows;
  point.load_operators = head.load_operators;
  point.flags = head.flags;
  for (int bit = 0; bit < 4; ++bit) {
    if ((head.flags & (1 << bit)) == 0) continue;
    const std::int64_t cells = monitor_operator_reals(bit, head.operator_rows, head.load_operators, modes);
    if (cells > 0 && !rows_left(channel, cells, real_size(channel))) return Reading::failed;
    if (!point.operators[bit].allocate(cells)) return ended_for_memory();
    if (!reader.reals(point.operators[bit].data(), cells)) return Reading::failed;
  }
  return Reading::complete;
}

// The points of the block at which the record channel stands.
Reading read_points(SbrBody &body) noexcept {
  constexpr const char *kProblem = "Problem when reading Monitor Point Block";
  StreamChannel &channel = body.record;
  const std::int32_t modes = mode_count(body);
  FieldReader reader(channel);
  CountHead head;
  if (!transfer(reader, head)) return failed(kProblem);
  if (head.count < 1) return ended_for_memory();
  if (!rows_left(channel, head.count, field_bytes<MonitorPointHead>(encoding_of(channel)))) return failed(kProblem);
  for (std::int32_t i = 0; i < head.count; ++i) {
    MonitorPoint *point = body.monitor_points.add();
    const Reading reading = point != nullptr ? read_monitor_point(channel, modes, *point) : ended_for_memory();
    if (reading == Reading::failed) return failed(kProblem);
    if (reading != Reading::complete) return reading;
  }
  return Reading::complete;
}

Reading read_monitor_points(SbrBody &body) noexcept {
  return go_to_block(body, kMonitorPoints) ? read_points(body) : Reading::complete;
}

// The old place counts only where the body has no points at the present one.
Reading read_old_monitor_points(SbrBody &body) noexcept {
  if (has_block(body, kMonitorPoints) || !go_to_block(body, kOldMonitorPoints)) return Reading::complete;
  return read_points(body);
}

// A monitor point's operators stand on all modes of the body, not on the exported ones.
bool put_monitor_point(Emission &run, const MonitorPoint *point, int index) noexcept {
  if (point == nullptr) return false;
  MonitorPointHead head{point->type, point->result_type,   point->component,      {},
                        {},          point->operator_rows, point->load_operators, point->flags};
  std::memcpy(head.name, point->name, sizeof head.name);
  std::memcpy(head.label, point->label, sizeof head.label);
  if (!run.put(head)) return false;
  for (int type = 1; type <= 4; ++type) {
    if (!monitor_point_has_operator(run.body, index, type)) continue;
    const std::int64_t values =
        monitor_operator_reals(type - 1, point->operator_rows, point->load_operators, mode_count(run.body));
    const Array<double> &data = point->operators[type - 1];
    if (values > static_cast<std::int64_t>(data.size()) || !run.out.reals(data.data(), values)) return false;
  }
  return true;
}

bool write_monitor_points(Emission &run) noexcept {
  const OwnedList<MonitorPoint> &points = run.body.monitor_points;
  report_info("\nMonitor Point info:\n   Count: %ld", static_cast<long>(points.count()));
  if (!run.put(CountHead{points.count()})) return false;
  for (int i = 0; i < points.count(); ++i)
    if (!put_monitor_point(run, points[i], i)) return false;
  return true;
}

const char *type_name(int type) noexcept {
  constexpr const char *kNames[] = {"MONPNT1", "MONPNT2", "MONPNT3", "MONDSP1"};
  return type >= 1 && type <= 4 ? kNames[type - 1] : "";
}

const char *result_name(int result_type) noexcept {
  constexpr const char *kNames[] = {"DISP", "STRESS", "STRAIN", "FORCE", "GENERAL"};
  return result_type >= 1 && result_type <= 5 ? kNames[result_type - 1] : "";
}

// The columns of `matrices` matrices of p rows and M columns, each column on a line. The values are those that a caller
// gets: an operator that was entered for fewer modes has zeros behind its end.
void print_operator_data(const Report &report, const Array<double> &data, int matrices, int p, int modes) noexcept {
  const std::int64_t rows = std::int64_t{matrices} * p;
  for (std::int64_t matrix = 0; matrix < rows; matrix += p)
    for (std::int64_t m = 0; m < modes; ++m) {
      for (std::int64_t row = matrix; row < matrix + p; ++row) {
        const std::int64_t at = row * modes + m;
        std::fprintf(report.out, " %16.9e ", at < data.count() ? data[at] : 0.0);
      }
      std::fprintf(report.out, "\n ");
    }
}

bool print_operator(const Report &report, const MonitorPoint &point, int type) noexcept {
  constexpr const char *kNames[] = {"Displacement", "Velocity", "Acceleration"};
  const int modes = mode_count(report.body);
  const int p = point.operator_rows;
  const int q = point.load_operators;
  // An operator of no size is told like a failed allocation.
  if (p < 1 || modes < 1 || (type == 4 && q < 1)) return report.no_memory();
  if (type == 4)
    std::fprintf(report.out, "Modal Load Operator: %8d X %-8d X %-8d CORDER\n ", q, p, modes);
  else
    std::fprintf(report.out, "Modal %s Operator: %8d X %-8d  CORDER\n ", kNames[type - 1], p, modes);
  print_operator_data(report, point.operators[type - 1], type == 4 ? q : 1, p, modes);
  return true;
}

bool print_monitor_point(const Report &report, const MonitorPoint &point, int index) noexcept {
  std::fprintf(report.out, "\n=======      Monitor Point: %-8d=======\n \n ", index + 1);
  std::fprintf(report.out, "Name: %-8s\n ", point.name);
  std::fprintf(report.out, "Label: %-56s\n ", point.label);
  std::fprintf(report.out, "Type: %-8s\n ", type_name(point.type));
  std::fprintf(report.out, "Result Type: %-8s\n ", result_name(point.result_type));
  std::fprintf(report.out, "Component: %-6d\n ", point.component);
  for (int type = 1; type <= 4; ++type)
    if (monitor_point_has_operator(report.body, index, type) && !print_operator(report, point, type)) return false;
  return true;
}

bool print_monitor_points(const Report &report) noexcept {
  const OwnedList<MonitorPoint> &points = report.body.monitor_points;
  if (!has_block(report.body, kMonitorPoints) || points.count() < 1) {
    std::fputs("\tNo Monitor Point Information\n\n", report.out);
    return true;
  }
  std::fprintf(report.out, " Number of Monitor Points: %d\n ", points.count());
  for (int i = 0; i < points.count(); ++i) {
    const MonitorPoint *point = points[i];
    if (point != nullptr && !print_monitor_point(report, *point, i)) return false;
  }
  return true;
}

}  // namespace

constinit const BlockFunctions kMatrixOperatorBlock{
    .read = read_matrix_operators, .write = write_matrix_operators, .print = print_matrix_operators};
constinit const BlockFunctions kMonitorPointsBlock{
    .read = read_monitor_points, .write = write_monitor_points, .print = print_monitor_points};
constinit const BlockFunctions kOldMonitorPointsBlock{.read = read_old_monitor_points};

}  // namespace sbr
