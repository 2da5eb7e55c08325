// Emission of loads, matrix operators and monitor points.
#include <cstring>

#include "base/reports.h"
#include "blocks/emission.h"
#include "body/loads.h"
#include "body/monitor_points.h"
#include "body/node_table.h"

namespace sbr {
namespace {

// The exported values of a vector over all modes. Without values there is no block.
bool put_exported_values(Emission &run, const Values &values, int count) noexcept {
  if (values == nullptr || count < 1) return false;
  if (run.plan.exported_modes < 1) return true;
  if (run.plan.end_mode > count) return false;
  return run.out.reals(values.get() + run.plan.first_mode, run.plan.exported_modes);
}

bool put_load_case(Emission &run, int load_case) noexcept {
  ModalLoadRow row;
  row.on_principal_axes = SBR_ModalLoadProcessed(&run.body, load_case);
  SBR_GetModalLoadCaseLabel(&run.body, load_case, row.label);
  if (!run.put(row)) return false;
  int count = 0;
  const Values values(SBR_GetModalLoad(&run.body, load_case, &count));
  return put_exported_values(run, values, count);
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

bool put_nodal_case(Emission &run, const NodalLoadCase *nodal) noexcept {
  const std::size_t count = nodal == nullptr ? 0 : nodal->nodes.size();
  if (!run.put(CountHead{static_cast<std::int32_t>(count)})) return false;
  for (std::size_t i = 0; i < count; ++i)
    if (!run.put(NodalLoadRow{nodal->nodes[i], nodal->coordinates[i], nodal->loads[i]})) return false;
  return true;
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

}  // namespace

bool emit_modal_preload(Emission &run) noexcept {
  int count = 0;
  const Values values(SBR_GetModalPreload(&run.body, &count));
  if (count == 0) return false;
  return run.put(ModalPreloadHead{run.plan.exported_modes, run.body.loads.preload_on_principal_axes}) &&
         put_exported_values(run, values, count);
}

bool emit_modal_loads(Emission &run) noexcept {
  const int cases = load_case_count(run.body);
  if (!run.put(ModalLoadsHead{run.plan.exported_modes, cases})) return false;
  for (int load_case = 0; load_case < cases; ++load_case)
    if (!put_load_case(run, load_case)) return false;
  return true;
}

bool emit_matrix_operators(Emission &run) noexcept {
  const OwnedList<MatrixOperator> &operators = run.body.matrix_operators;
  report_info("\nMatrix Operator Info:\n   Count: %ld", static_cast<long>(operators.count()));
  if (!run.put(CountHead{operators.count()})) return false;
  for (std::size_t i = 0; i < operators.size(); ++i)
    if (!put_matrix_operator(run, operators[i])) return false;
  return true;
}

bool emit_modal_load_nodal(Emission &run) noexcept {
  const OwnedList<NodalLoadCase> &cases = run.body.loads.nodal;
  report_info("\nModal Load Nodal Info:\n   Count: %ld", static_cast<long>(cases.count()));
  if (!run.put(CountHead{cases.count()})) return false;
  for (std::size_t i = 0; i < cases.size(); ++i)
    if (!put_nodal_case(run, cases[i])) return false;
  return true;
}

bool emit_monitor_points(Emission &run) noexcept {
  const OwnedList<MonitorPoint> &points = run.body.monitor_points;
  report_info("\nMonitor Point info:\n   Count: %ld", static_cast<long>(points.count()));
  if (!run.put(CountHead{points.count()})) return false;
  for (int i = 0; i < points.count(); ++i)
    if (!put_monitor_point(run, points[i], i)) return false;
  return true;
}

}  // namespace sbr
