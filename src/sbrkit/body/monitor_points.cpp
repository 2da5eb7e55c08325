// Monitor points: named results of the finite-element model and the operators that recover them from modal coordinates.
#include "body/monitor_points.h"

#include <algorithm>
#include <cstdio>

#include "base/reports.h"
#include "base/texts.h"
#include "body/node_table.h"
#include "body/registry.h"

namespace sbr {
namespace {

constexpr std::size_t kLabelCharacters = 56;
constexpr int kLoadOperator = 4;

// The record of a point; null for a null handle and an index outside the list.
MonitorPoint *point_at(const SbrBody *body, int point) noexcept {
  if (body == nullptr || point < 0 || point >= body->monitor_points.count()) return nullptr;
  return body->monitor_points[point];
}

// The rows of an operator: as many as the component number has characters.
int digits_of(int component) noexcept {
  char text[16] = {};
  return std::snprintf(text, sizeof text, "%d", component);
}

// The doubles of an operator over `modes` modes; 0 when that is not a size.
std::int64_t operator_size(const MonitorPoint &record, int type, int modes) noexcept {
  std::int64_t size = static_cast<std::int64_t>(record.operator_rows) * modes;
  if (type == kLoadOperator && __builtin_mul_overflow(size, record.load_operators, &size)) return 0;
  return std::max<std::int64_t>(size, 0);
}

bool valid_type(int type) noexcept { return type >= 1 && type <= 4; }

int flag_of(int type) noexcept { return 1 << (type - 1); }

}  // namespace

int monitor_point_has_operator(const SbrBody &body, int point, int type) noexcept {
  const MonitorPoint *record = point_at(&body, point);
  return record != nullptr && valid_type(type) ? record->flags & flag_of(type) : 0;
}

void drop_operators_behind(SbrBody &body, int modes) noexcept {
  const auto kept = static_cast<std::size_t>(std::max(modes, 0));
  for (std::size_t p = 0; p < body.monitor_points.size(); ++p) {
    MonitorPoint *point = body.monitor_points[p];
    if (point == nullptr) continue;
    for (int type = 1; type <= kLoadOperator; ++type) {
      Array<double> &values = point->operators[type - 1];
      // The rows are as long as the modes were many when the operator was entered.
      const std::int64_t rows = operator_size(*point, type, 1);
      const std::size_t had = rows > 0 ? values.size() / static_cast<std::size_t>(rows) : 0;
      if (had <= kept) continue;
      std::size_t out = 0;
      for (std::size_t row = 0; row + had <= values.size(); row += had, out += kept)
        std::copy_n(values.data() + row, kept, values.data() + out);
      (void)values.resize(static_cast<std::int64_t>(out));
    }
  }
}

}  // namespace sbr

using sbr::point_at;

extern "C" {

// ---- setters --------------------------------------------------------------------------------------------

int SBR_SetMonitorPointInfo(SBR body, int type, int result_type, int component, int load_operators,
                            const double *location3, const char *name, const char *label) {
  if (!sbr::require_body(body)) return -1;
  if (!body->monitor_points.add_place()) {
    sbr::report_no_memory(sbr::unit_name::kMonitorPoints);
    return -1;
  }
  const int index = body->monitor_points.count() - 1;
  sbr::MonitorPoint *record = body->monitor_points.create(static_cast<std::size_t>(index));
  if (record == nullptr) {
    sbr::report_no_memory(sbr::unit_name::kMonitorPoints);
    return -1;
  }
  record->type = type;
  record->result_type = result_type;
  record->component = component;
  sbr::store_text(record->name, name);
  sbr::store_text(record->label, label, sbr::kLabelCharacters);
  record->operator_rows = sbr::digits_of(component);
  record->load_operators = load_operators;
  if (location3 != nullptr) std::copy(location3, location3 + 3, record->location);
  sbr::set_block(*body, sbr::kMonitorPoints);
  return index;
}

int SBR_SetMonitorPointOperator(SBR body, int point, int type, const double *data) {
  sbr::MonitorPoint *record = point_at(body, point);
  if (record == nullptr) {
    sbr::report_error("Invalid monitor point index: %d.\n", point);
    return -1;
  }
  if (!sbr::valid_type(type)) {
    sbr::report_error("Invalid operator type. Valid choices are: 1 for disp operator, 2 for load operator.\n");
    return -1;
  }
  if (data == nullptr) return -1;
  sbr::Array<double> &values = record->operators[type - 1];
  values.release();
  record->flags &= ~sbr::flag_of(type);
  if (!values.allocate(sbr::operator_size(*record, type, sbr::mode_count(*body)))) {
    sbr::report_no_memory(sbr::unit_name::kMonitorPoints);
    return -1;
  }
  std::copy(data, data + values.size(), values.data());
  record->flags |= sbr::flag_of(type);
  return 0;
}

// ---- getters --------------------------------------------------------------------------------------------

int SBR_GetMonitorPointCount(SBR body) { return sbr::require_body(body) ? body->monitor_points.count() : -1; }

int SBR_GetMonitorPointType(SBR body, int point) {
  const sbr::MonitorPoint *record = point_at(body, point);
  return record != nullptr ? record->type : -1;
}

int SBR_GetMonitorPointResultType(SBR body, int point) {
  const sbr::MonitorPoint *record = point_at(body, point);
  return record != nullptr ? record->result_type : -1;
}

int SBR_GetMonitorPointComponent(SBR body, int point) {
  const sbr::MonitorPoint *record = point_at(body, point);
  return record != nullptr ? record->component : -1;
}

int SBR_GetMonitorPointLocation(SBR body, int point, double *location3) {
  const sbr::MonitorPoint *record = point_at(body, point);
  if (record == nullptr || location3 == nullptr) return -1;
  std::copy(record->location, record->location + 3, location3);
  return 0;
}

int SBR_GetMonitorPointNameLabel(SBR body, int point, char *name, char *label) {
  const sbr::MonitorPoint *record = point_at(body, point);
  if (record == nullptr) return -1;
  sbr::give_text(name, record->name);
  sbr::give_text(label, record->label, sbr::kLabelCharacters + 1);
  return 0;
}

int SBR_GetMonitorPointNumLoadOperator(SBR body, int point) {
  const sbr::MonitorPoint *record = point_at(body, point);
  return record != nullptr ? record->load_operators : 0;
}

int SBR_GetMonitorPointOperatorSize(SBR body, int point, int *rows, int *columns) {
  const sbr::MonitorPoint *record = point_at(body, point);
  if (record == nullptr) return -1;
  if (rows != nullptr) *rows = record->operator_rows;
  if (columns != nullptr) *columns = sbr::mode_count(*body);
  return 0;
}

int SBR_MonitorPointHasOperator(SBR body, int point, int type) {
  return body != nullptr ? sbr::monitor_point_has_operator(*body, point, type) : 0;
}

int SBR_GetMonitorPointOperator(SBR body, int point, int type, double *data) {
  const sbr::MonitorPoint *record = point_at(body, point);
  if (record == nullptr || data == nullptr || sbr::monitor_point_has_operator(*body, point, type) == 0) return -1;
  const sbr::Array<double> &values = record->operators[type - 1];
  // The caller's array has the size of the present mode count, which may differ from that at the time of entry.
  const std::int64_t size = sbr::operator_size(*record, type, sbr::mode_count(*body));
  std::copy(values.data(), values.data() + std::min(size, static_cast<std::int64_t>(values.size())), data);
  return 0;
}

}  // extern "C"
