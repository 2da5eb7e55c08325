// Matrix operators: named matrices in column blocks, with one label per row.
#include <algorithm>

#include "base/reports.h"
#include "base/texts.h"
#include "body/registry.h"

namespace sbr {
namespace {

// The record of an operator; null for a null handle and an index outside the list.
MatrixOperator *operator_at(SBR body, int op) noexcept {
  if (body == nullptr || op < 0 || op >= body->matrix_operators.count()) return nullptr;
  return body->matrix_operators[op];
}

SubOperator *sub_operator_at(SBR body, int op, int sub) noexcept {
  const MatrixOperator *record = operator_at(body, op);
  if (record == nullptr || sub < 0 || sub >= record->sub_operators.count()) return nullptr;
  return record->sub_operators[sub];
}

int refuse_no_memory(int line = __builtin_LINE()) noexcept {
  report_no_memory(unit_name::kMatrixOperators, line);
  return -1;
}

void store_label(RowLabel &field, const char *label) noexcept {
  if (label != nullptr) std::copy_n(label, strnlen(label, field.size()), field.data());
}

}  // namespace
}  // namespace sbr

using sbr::operator_at;
using sbr::sub_operator_at;

extern "C" {

// ---- setters --------------------------------------------------------------------------------------------

int SBR_SetMatrixOperatorInfo(SBR body, const char *name, const char **row_labels, int rows) {
  if (!sbr::require_body(body)) return -1;
  // The labels come first: a size that cannot be had leaves the list as it was.
  sbr::Array<sbr::RowLabel> labels;
  if (rows < 0 || !labels.resize(rows)) return sbr::refuse_no_memory();
  for (int i = 0; row_labels != nullptr && i < rows; ++i) sbr::store_label(labels[i], row_labels[i]);
  if (!body->matrix_operators.add_place()) return sbr::refuse_no_memory();
  const int index = body->matrix_operators.count() - 1;
  sbr::MatrixOperator *record = body->matrix_operators.create(static_cast<std::size_t>(index));
  if (record == nullptr) return sbr::refuse_no_memory();
  sbr::store_text(record->name, name);
  record->row_count = rows;
  record->row_labels.swap(labels);
  sbr::set_block(*body, sbr::kMatrixOperator);
  return index;
}

int SBR_SetMatrixOperatorData(SBR body, int op, const char *tag, int columns, const double *data) {
  sbr::MatrixOperator *record = operator_at(body, op);
  if (record == nullptr) {
    sbr::report_error("Invalid monitor point index: %d.\n", op);
    return -1;
  }
  if (data == nullptr) return -1;
  sbr::Array<double> values;
  if (columns < 0 || !values.allocate(static_cast<std::int64_t>(record->row_count) * columns))
    return sbr::refuse_no_memory();
  sbr::SubOperator *sub = record->sub_operators.add();
  if (sub == nullptr) return sbr::refuse_no_memory();
  std::copy(data, data + values.size(), values.data());
  sbr::store_field(sub->tag, tag);
  sub->column_count = columns;
  sub->data.swap(values);
  return record->sub_operators.count() - 1;
}

// ---- getters --------------------------------------------------------------------------------------------

int SBR_GetMatrixOperatorCount(SBR body) { return sbr::require_body(body) ? body->matrix_operators.count() : -1; }

int SBR_GetMatrixOperatorName(SBR body, int op, char *name) {
  const sbr::MatrixOperator *record = operator_at(body, op);
  if (record == nullptr || name == nullptr) return -1;
  sbr::give_text(name, record->name);
  return 0;
}

int SBR_GetMatrixOperatorLabels(SBR body, int op, char **labels) {
  const sbr::MatrixOperator *record = operator_at(body, op);
  if (record == nullptr || labels == nullptr) return -1;
  for (std::size_t i = 0; i < record->row_labels.size(); ++i)
    sbr::give_field(labels[i], record->row_labels[i].data(), record->row_labels[i].size());
  return 0;
}

int SBR_GetMatrixOperatorNumRows(SBR body, int op) {
  const sbr::MatrixOperator *record = operator_at(body, op);
  return record != nullptr ? record->row_count : -1;
}

int SBR_GetMatrixOperatorNumSubOperator(SBR body, int op) {
  const sbr::MatrixOperator *record = operator_at(body, op);
  return record != nullptr ? record->sub_operators.count() : 0;
}

int SBR_GetMatrixOperatorSubNumCols(SBR body, int op, int sub) {
  const sbr::SubOperator *record = sub_operator_at(body, op, sub);
  return record != nullptr ? record->column_count : -1;
}

int SBR_GetMatrixOperatorSubTag(SBR body, int op, int sub, char *tag) {
  const sbr::SubOperator *record = sub_operator_at(body, op, sub);
  if (record == nullptr || tag == nullptr) return -1;
  sbr::give_field(tag, record->tag);
  return 0;
}

int SBR_GetMatrixOperatorSubData(SBR body, int op, int sub, double *data) {
  const sbr::SubOperator *record = sub_operator_at(body, op, sub);
  if (record == nullptr || data == nullptr) return -1;
  std::copy(record->data.begin(), record->data.end(), data);
  return 0;
}

}  // extern "C"
