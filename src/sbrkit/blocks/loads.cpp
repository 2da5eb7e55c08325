// Reading modal preload, modal loads, nodal loads, matrix operators and monitor points.
#include <cstring>

#include "base/reports.h"
#include "body/node_table.h"
#include "read/reader.h"

namespace sbr {
namespace {}  // namespace

// ---- loads ---------------------------------------------------------------------------------------------------------

Reading read_preload(SbrBody &body) noexcept {
  constexpr const char *kProblem = "Problem when reading Modal Preloads Block";
  if (!go_to_block(body, kModalPreload)) return Reading::complete;
  StreamChannel &channel = body.record;
  FieldReader reader(channel);
  ModalPreloadHead head;
  if (!transfer(reader, head)) return failed(kProblem);
  body.loads.preload_on_principal_axes = head.on_principal_axes;
  if (head.mode_count != body.mode_table.mode_count)
    return failed("Number of modal preloads does not match the number of modes");
  if (head.mode_count > 0 && !rows_left(channel, head.mode_count, real_size(channel))) return failed(kProblem);
  if (!body.loads.preload.allocate(head.mode_count)) return failed("Out of memory while reading Modal Preload Block");
  return read_reals(channel, body.loads.preload.data(), head.mode_count) ? Reading::complete : failed(kProblem);
}

Reading read_modal_loads(SbrBody &body) noexcept {
  constexpr const char *kProblem = "Problem when reading Modal Loads Block";
  constexpr const char *kNoMemory = "Out of memory while reading Modal Loads Block";
  if (!go_to_block(body, kModalLoads)) return Reading::complete;
  StreamChannel &channel = body.record;
  const std::int32_t modes = body.mode_table.mode_count;
  FieldReader reader(channel);
  ModalLoadsHead head;
  if (!reader.integer(head.mode_count)) return failed(kProblem);
  if (head.mode_count != modes) return failed("Number of modal load components does not match the number of modes");
  if (!reader.integer(head.load_count)) return failed(kProblem);
  const std::int64_t load_bytes =
      bounded_sum(field_bytes<ModalLoadRow>(encoding_of(channel)), bounded_product(modes, real_size(channel)));
  if (head.load_count > 0 && !rows_left(channel, head.load_count, load_bytes)) return failed(kProblem);
  if (head.load_count < 1 || !body.loads.modal.resize(head.load_count)) return failed(kNoMemory);
  for (std::int32_t i = 0; i < head.load_count; ++i) {
    ModalLoad *load = body.loads.modal.create(static_cast<std::size_t>(i));
    if (load == nullptr || (modes > 0 && !load->values.allocate(modes))) {
      failed(kNoMemory);
      return failed(kProblem);
    }
    ModalLoadRow row;
    if (!transfer(reader, row) || !reader.reals(load->values.data(), modes)) return failed(kProblem);
    std::memcpy(load->label, row.label, sizeof load->label);
    load->processed = row.on_principal_axes;
  }
  return Reading::complete;
}

namespace {

// The entries of one case. A case may be empty.
Reading read_nodal_load_case(StreamChannel &channel, NodalLoadCase &load_case) noexcept {
  constexpr const char *kProblem = "Problem when reading Modal Load Nodal Block";
  FieldReader reader(channel);
  CountHead head;
  if (!transfer(reader, head)) return failed(kProblem);
  if (head.count < 1) return Reading::complete;
  const std::int64_t row_bytes = field_bytes<NodalLoadRow>(encoding_of(channel));
  if (!rows_left(channel, head.count, row_bytes)) return failed(kProblem);
  if (!load_case.nodes.allocate(head.count) || !load_case.coordinates.allocate(head.count) ||
      !load_case.loads.allocate(head.count))
    return static_cast<Reading>(report_no_memory(unit_name::kReading));
  RowReader rows(channel, row_bytes, head.count);
  for (std::size_t i = 0; i < load_case.nodes.size(); ++i) {
    NodalLoadRow row;
    if (!transfer(rows, row)) return failed(kProblem);
    load_case.nodes[i] = row.node;
    load_case.coordinates[i] = row.coordinate;
    load_case.loads[i] = row.load;
  }
  return Reading::complete;
}

}  // namespace

Reading read_nodal_loads(SbrBody &body) noexcept {
  constexpr const char *kProblem = "Problem when reading Modal Load Nodal Block";
  if (!go_to_block(body, kModalLoadNodal)) return Reading::complete;
  StreamChannel &channel = body.record;
  FieldReader reader(channel);
  CountHead head;
  if (!transfer(reader, head)) return failed(kProblem);
  if (head.count > 0 && !rows_left(channel, head.count, field_bytes<CountHead>(encoding_of(channel))))
    return failed(kProblem);
  if (head.count < 1 || !body.loads.nodal.resize(head.count))
    return static_cast<Reading>(report_no_memory(unit_name::kReading));
  for (std::int32_t i = 0; i < head.count; ++i) {
    NodalLoadCase *load_case = body.loads.nodal.create(static_cast<std::size_t>(i));
    if (load_case == nullptr) return static_cast<Reading>(report_no_memory(unit_name::kReading));
    if (const Reading reading = read_nodal_load_case(channel, *load_case); reading != Reading::complete) return reading;
  }
  return Reading::complete;
}

// ---- matrix operators ----------------------------------------------------------------------------------------------

namespace {

// In the blocks of operators and points a failed read is told once, by the block; running out of memory ends the whole
// read at once, without making it a failure.

Reading no_memory_ends_reading() noexcept {
  report_no_memory(unit_name::kReading);
  return Reading::out_of_memory;
}

Reading read_sub_operator(StreamChannel &channel, const MatrixOperator &op, SubOperator &sub) noexcept {
  FieldReader reader(channel);
  SubOperatorHead head;
  if (!transfer(reader, head)) return Reading::failed;
  sub.column_count = head.column_count;
  std::memcpy(sub.tag, head.tag, sizeof sub.tag);
  const std::int64_t cells = std::int64_t{op.row_count} * head.column_count;
  if (cells == 0) return Reading::complete;
  if (!rows_left(channel, cells, real_size(channel))) return Reading::failed;
  if (!sub.data.allocate(cells)) return no_memory_ends_reading();
  return reader.reals(sub.data.data(), cells) ? Reading::complete : Reading::failed;
}

Reading read_row_labels(StreamChannel &channel, MatrixOperator &op) noexcept {
  if (!rows_left(channel, op.row_count, std::int64_t{kRowLabelChars} * char_size(channel))) return Reading::failed;
  if (!op.row_labels.resize(op.row_count)) return no_memory_ends_reading();
  for (std::array<char, 80> &label : op.row_labels)
    if (!read_chars(channel, label.data(), kRowLabelChars)) return Reading::failed;
  return Reading::complete;
}

Reading read_matrix_operator(StreamChannel &channel, MatrixOperator &op) noexcept {
  FieldReader reader(channel);
  MatrixOperatorHead head;
  if (!transfer(reader, head)) return Reading::failed;
  op.row_count = head.row_count;
  std::memcpy(op.name, head.name, sizeof head.name);
  if (const Reading labels = read_row_labels(channel, op); labels != Reading::complete) return labels;
  CountHead subs;
  if (!transfer(reader, subs)) return Reading::failed;
  if (!rows_left(channel, subs.count, field_bytes<SubOperatorHead>(encoding_of(channel)))) return Reading::failed;
  for (std::int32_t i = 0; i < subs.count; ++i) {
    SubOperator *sub = op.sub_operators.add();
    if (sub == nullptr) return no_memory_ends_reading();
    if (const Reading reading = read_sub_operator(channel, op, *sub); reading != Reading::complete) return reading;
  }
  return Reading::complete;
}

}  // namespace

Reading read_matrix_operators(SbrBody &body) noexcept {
  constexpr const char *kProblem = "Problem when reading Matrix Operator Block";
  if (!go_to_block(body, kMatrixOperator)) return Reading::complete;
  StreamChannel &channel = body.record;
  FieldReader reader(channel);
  CountHead head;
  if (!transfer(reader, head)) return failed(kProblem);
  if (head.count < 1) return no_memory_ends_reading();
  const Encoding encoding = encoding_of(channel);
  if (!rows_left(channel, head.count, field_bytes<MatrixOperatorHead>(encoding) + field_bytes<CountHead>(encoding)))
    return failed(kProblem);
  for (std::int32_t i = 0; i < head.count; ++i) {
    MatrixOperator *op = body.matrix_operators.add();
    const Reading reading = op != nullptr ? read_matrix_operator(channel, *op) : no_memory_ends_reading();
    if (reading == Reading::failed) return failed(kProblem);
    if (reading != Reading::complete) return reading;
  }
  return Reading::complete;
}

// ---- monitor points ------------------------------------------------------------------------------------------------

namespace {

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
    if (!point.operators[bit].allocate(cells)) return no_memory_ends_reading();
    if (!reader.reals(point.operators[bit].data(), cells)) return Reading::failed;
  }
  return Reading::complete;
}

}  // namespace

Reading read_monitor_points(SbrBody &body) noexcept {
  constexpr const char *kProblem = "Problem when reading Monitor Point Block";
  if (!go_to_block(body, kMonitorPoints) && !go_to_block(body, kOldMonitorPoints)) return Reading::complete;
  StreamChannel &channel = body.record;
  const std::int32_t modes = mode_count(body);
  FieldReader reader(channel);
  CountHead head;
  if (!transfer(reader, head)) return failed(kProblem);
  if (head.count < 1) return no_memory_ends_reading();
  if (!rows_left(channel, head.count, field_bytes<MonitorPointHead>(encoding_of(channel)))) return failed(kProblem);
  for (std::int32_t i = 0; i < head.count; ++i) {
    MonitorPoint *point = body.monitor_points.add();
    const Reading reading = point != nullptr ? read_monitor_point(channel, modes, *point) : no_memory_ends_reading();
    if (reading == Reading::failed) return failed(kProblem);
    if (reading != Reading::complete) return reading;
  }
  return Reading::complete;
}

}  // namespace sbr
