// The content report's blocks of loads, matrix operators and monitor points.
#include "blocks/report.h"
#include "body/loads.h"
#include "body/monitor_points.h"
#include "body/node_table.h"

namespace sbr {
namespace {

// ---- modal loads ----------------------------------------------------------------------------------------------------

void put_load_case(const Report &report, int load_case) noexcept {
  SbrBody &body = report.body;
  char label[257] = {};
  SBR_GetModalLoadCaseLabel(&body, load_case, label);
  if (label[0] == '\0') std::snprintf(label, sizeof label, "%d", load_case + 1);
  int count = 0;
  const ReportedReals values(SBR_GetModalLoad(&body, load_case, &count));
  if (values == nullptr) {
    std::fprintf(report.out, "\tNo Modal load information for load case %s.\n\n", label);
    return;
  }
  const bool processed = SBR_ModalLoadProcessed(&body, load_case) != 0;
  std::fprintf(report.out, "\nCase: %s     (%s projected on principal axes)\n", label,
               processed ? "already" : "not yet");
  for (int m = 0; m < count; ++m) std::fprintf(report.out, "%d % 17.10lf\n", mode_number(body, m), values.get()[m]);
}

// ---- matrix operators -----------------------------------------------------------------------------------------------

void put_sub_operator(const Report &report, const SubOperator &sub, int operator_place, int rows) noexcept {
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

void put_matrix_operator(const Report &report, const MatrixOperator &matrix, int place) noexcept {
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
    if (sub != nullptr && sub->column_count > 0) put_sub_operator(report, *sub, place, matrix.row_count);
  }
}

// ---- nodal loads ----------------------------------------------------------------------------------------------------

void put_nodal_case(const Report &report, const NodalLoadCase &nodal, int place) noexcept {
  std::fprintf(report.out, "\nCase Number %d ===========================\n\n", place);
  std::fprintf(report.out, " node_id     coord         load       \n");
  std::fprintf(report.out, "~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~\n");
  for (std::size_t i = 0; i < nodal.nodes.size(); ++i)
    std::fprintf(report.out, "%8d%8d    % 16.9e\n", node_id(report.body, nodal.nodes[i]), nodal.coordinates[i],
                 nodal.loads[i]);
}

// ---- monitor points -------------------------------------------------------------------------------------------------

const char *type_name(int type) noexcept {
  constexpr const char *kNames[] = {"MONPNT1", "MONPNT2", "MONPNT3", "MONDSP1"};
  return type >= 1 && type <= 4 ? kNames[type - 1] : "";
}

const char *result_name(int result_type) noexcept {
  constexpr const char *kNames[] = {"DISP", "STRESS", "STRAIN", "FORCE", "GENERAL"};
  return result_type >= 1 && result_type <= 5 ? kNames[result_type - 1] : "";
}

// The columns of `matrices` matrices of p rows and M columns, each column on a line. False when there are none, or
// fewer values than that.
bool put_operator_data(const Report &report, const Array<double> &data, int matrices, int p, int modes) noexcept {
  if (matrices < 1 || p < 1 || modes < 1) return false;
  const std::size_t rows = static_cast<std::size_t>(matrices) * static_cast<std::size_t>(p);
  const auto stride = static_cast<std::size_t>(modes);
  if (rows > data.size() || rows * stride > data.size()) return false;
  for (std::size_t matrix = 0; matrix < rows; matrix += static_cast<std::size_t>(p))
    for (std::size_t m = 0; m < stride; ++m) {
      for (std::size_t row = matrix; row < matrix + static_cast<std::size_t>(p); ++row)
        std::fprintf(report.out, " %16.9e ", data[row * stride + m]);
      std::fprintf(report.out, "\n ");
    }
  return true;
}

bool put_operator(const Report &report, const MonitorPoint &point, int type) noexcept {
  constexpr const char *kNames[] = {"Displacement", "Velocity", "Acceleration"};
  const int modes = mode_count(report.body);
  const int p = point.operator_rows;
  const int q = point.load_operators;
  if (p == 0 || modes == 0 || (type == 4 && q == 0)) return report.no_memory();
  if (type == 4)
    std::fprintf(report.out, "Modal Load Operator: %8d X %-8d X %-8d CORDER\n ", q, p, modes);
  else
    std::fprintf(report.out, "Modal %s Operator: %8d X %-8d  CORDER\n ", kNames[type - 1], p, modes);
  return put_operator_data(report, point.operators[type - 1], type == 4 ? q : 1, p, modes) || report.no_memory();
}

bool put_monitor_point(const Report &report, const MonitorPoint &point, int index) noexcept {
  std::fprintf(report.out, "\n=======      Monitor Point: %-8d=======\n \n ", index + 1);
  std::fprintf(report.out, "Name: %-8s\n ", point.name);
  std::fprintf(report.out, "Label: %-56s\n ", point.label);
  std::fprintf(report.out, "Type: %-8s\n ", type_name(point.type));
  std::fprintf(report.out, "Result Type: %-8s\n ", result_name(point.result_type));
  std::fprintf(report.out, "Component: %-6d\n ", point.component);
  for (int type = 1; type <= 4; ++type)
    if (monitor_point_has_operator(report.body, index, type) && !put_operator(report, point, type)) return false;
  return true;
}

}  // namespace

bool report_preload(const Report &report) noexcept {
  int count = 0;
  const ReportedReals values(SBR_GetModalPreload(&report.body, &count));
  if (values == nullptr) std::fputs("\tNo Preload information.\n\n", report.out);
  for (int m = 0; values != nullptr && m < count; ++m)
    std::fprintf(report.out, "\n%d % 17.10lf\n", mode_number(report.body, m), values.get()[m]);
  return true;
}

bool report_modal_loads(const Report &report) noexcept {
  const int cases = load_case_count(report.body);
  if (cases < 1) std::fputs("\tNo Modal Load information.\n\n", report.out);
  for (int load_case = 0; load_case < cases; ++load_case) put_load_case(report, load_case);
  return true;
}

bool report_matrix_operators(const Report &report) noexcept {
  const OwnedList<MatrixOperator> &operators = report.body.matrix_operators;
  if (!has_block(report.body, kMatrixOperator) || operators.count() < 1) {
    std::fputs("\tNo Matrix Operator Information.\n\n", report.out);
    return true;
  }
  std::fprintf(report.out, "Number of Matrix Operator: %d\n", operators.count());
  for (int i = 0; i < operators.count(); ++i) {
    const MatrixOperator *matrix = operators[i];
    if (matrix != nullptr && matrix->row_count > 0 && matrix->sub_operators.count() > 0)
      put_matrix_operator(report, *matrix, i + 1);
  }
  return true;
}

bool report_modal_load_nodal(const Report &report) noexcept {
  const OwnedList<NodalLoadCase> &cases = report.body.loads.nodal;
  if (!has_block(report.body, kModalLoadNodal) || cases.count() < 1) {
    std::fputs("\tNo Modal Load Nodal Information.\n\n", report.out);
    return true;
  }
  std::fprintf(report.out, "Number of Modal Load Nodal: %d\n", cases.count());
  for (int i = 0; i < cases.count(); ++i) {
    const NodalLoadCase *nodal = cases[i];
    if (nodal != nullptr && !nodal->nodes.empty()) put_nodal_case(report, *nodal, i + 1);
  }
  return true;
}

bool report_monitor_points(const Report &report) noexcept {
  const OwnedList<MonitorPoint> &points = report.body.monitor_points;
  if (!has_block(report.body, kMonitorPoints) || points.count() < 1) {
    std::fputs("\tNo Monitor Point Information\n\n", report.out);
    return true;
  }
  std::fprintf(report.out, " Number of Monitor Points: %d\n ", points.count());
  for (int i = 0; i < points.count(); ++i) {
    const MonitorPoint *point = points[i];
    if (point != nullptr && !put_monitor_point(report, *point, i)) return false;
  }
  return true;
}

}  // namespace sbr
