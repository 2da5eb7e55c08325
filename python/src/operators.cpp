// Monitor points and matrix operators.
#include <array>

#include "handle.h"

namespace sbrpy {
namespace {

// ---- monitor points ------------------------------------------------------------------------------------------------

// What one point says of itself, but its operators.
py::tuple monitor_point(const Body &self, int point) {
  struct Facts {
    int type, result_type, component, load_operators;
    double location[3];
    char name[9], label[57];
  } facts{};
  call(self, [&](SBR body) {
    facts.type = SBR_GetMonitorPointType(body, point);
    facts.result_type = SBR_GetMonitorPointResultType(body, point);
    facts.component = SBR_GetMonitorPointComponent(body, point);
    facts.load_operators = SBR_GetMonitorPointNumLoadOperator(body, point);
    return SBR_GetMonitorPointLocation(body, point, facts.location) +
           SBR_GetMonitorPointNameLabel(body, point, facts.name, facts.label);
  });
  return py::make_tuple(facts.type, facts.result_type, facts.component, facts.load_operators,
                        Doubles(std::vector<py::ssize_t>{3}, facts.location), text_of(facts.name),
                        text_of(facts.label));
}

int add_monitor_point(const Body &self, int type, int result_type, int component, int load_operators,
                      const Doubles &location, const std::string &name, const std::string &label) {
  require_shape(location, {3}, "the location");
  const double *at = location.data();
  int index = -1;
  require(self, "the monitor point could not be stored", [&](SBR body) {
    index =
        SBR_SetMonitorPointInfo(body, type, result_type, component, load_operators, at, name.c_str(), label.c_str());
    return index >= 0;
  });
  return index;
}

// The matrices of an operator: one, or for type 4 as many as the point has load operators.
std::vector<py::ssize_t> operator_shape(const Body &self, int point, int type) {
  int rows = 0;
  int columns = 0;
  const int loads = call(self, [&](SBR body) {
    SBR_GetMonitorPointOperatorSize(body, point, &rows, &columns);
    return SBR_GetMonitorPointNumLoadOperator(body, point);
  });
  return type == 4 ? std::vector<py::ssize_t>{loads, rows, columns} : std::vector<py::ssize_t>{rows, columns};
}

py::object monitor_operator(const Body &self, int point, int type) {
  const auto handle = open_handle(self);
  if (call_library([&] { return SBR_MonitorPointHasOperator(handle->body, point, type) == 0; })) return py::none();
  Doubles result(operator_shape(self, point, type));
  double *out = result.mutable_data();
  std::fill(out, out + result.size(), 0.0);
  require_library("the operator cannot be had",
                  [&] { return SBR_GetMonitorPointOperator(handle->body, point, type, out) == 0; });
  return result;
}

void set_monitor_operator(const Body &self, int point, int type, const Doubles &values) {
  const auto shape = operator_shape(self, point, type);
  py::ssize_t size = 1;
  for (const py::ssize_t length : shape) size *= length;
  if (values.size() != size) throw py::value_error("the operator must have " + std::to_string(size) + " values");
  const double *in = values.data();
  require(self, "the operator could not be stored",
          [&](SBR body) { return SBR_SetMonitorPointOperator(body, point, type, in) == 0; });
}

// ---- matrix operators ----------------------------------------------------------------------------------------------

int add_operator(const Body &self, const std::string &name, const std::vector<std::string> &labels) {
  std::vector<const char *> texts;
  for (const std::string &label : labels) texts.push_back(label.c_str());
  int index = -1;
  require(self, "the matrix operator could not be stored", [&](SBR body) {
    index = SBR_SetMatrixOperatorInfo(body, name.c_str(), texts.data(), static_cast<int>(texts.size()));
    return index >= 0;
  });
  return index;
}

int add_columns(const Body &self, int op, const std::string &tag, const Doubles &values) {
  const int rows = call(self, [&](SBR body) { return SBR_GetMatrixOperatorNumRows(body, op); });
  if (rows < 0) throw py::index_error("there is no such matrix operator");
  require_shape(values, {rows, -1}, "the columns");
  const int columns = static_cast<int>(values.shape(1));
  const double *in = values.data();
  int index = -1;
  require(self, "the columns could not be stored", [&](SBR body) {
    index = SBR_SetMatrixOperatorData(body, op, tag.c_str(), columns, in);
    return index >= 0;
  });
  return index;
}

// The columns of one block, with its tag.
py::tuple column_block(const Body &self, int op, int sub, int rows) {
  char tag[9] = {};
  const auto handle = open_handle(self);
  const int columns = call_library([&] {
    SBR_GetMatrixOperatorSubTag(handle->body, op, sub, tag);
    return SBR_GetMatrixOperatorSubNumCols(handle->body, op, sub);
  });
  Doubles values({rows, std::max(columns, 0)});
  double *out = values.mutable_data();
  if (values.size() > 0)
    require_library("the columns cannot be had",
                    [&] { return SBR_GetMatrixOperatorSubData(handle->body, op, sub, out) == 0; });
  return py::make_tuple(text_of(tag), values);
}

// Name, row labels and column blocks of an operator.
py::tuple matrix_operator(const Body &self, int op) {
  const auto handle = open_handle(self);
  const int rows = call_library([&] { return SBR_GetMatrixOperatorNumRows(handle->body, op); });
  if (rows < 0) throw py::index_error("there is no such matrix operator");
  char name[81] = {};
  std::vector<std::array<char, 81>> labels(static_cast<std::size_t>(rows));
  std::vector<char *> buffers;
  for (auto &label : labels) buffers.push_back(label.data());
  const int blocks = call_library([&] {
    SBR_GetMatrixOperatorName(handle->body, op, name);
    SBR_GetMatrixOperatorLabels(handle->body, op, buffers.data());
    return SBR_GetMatrixOperatorNumSubOperator(handle->body, op);
  });
  py::list texts;
  for (auto &label : labels) {
    label[80] = '\0';
    texts.append(text_of(label.data()));
  }
  py::list columns;
  for (int sub = 0; sub < blocks; ++sub) columns.append(column_block(self, op, sub, rows));
  return py::make_tuple(text_of(name), texts, columns);
}

}  // namespace

void bind_operators(py::class_<Body> &body) {
  body.def("monitor_point_count",
           [](const Body &self) { return call(self, [](SBR b) { return SBR_GetMonitorPointCount(b); }); })
      .def("monitor_point", monitor_point)
      .def("add_monitor_point", add_monitor_point)
      .def("monitor_operator", monitor_operator)
      .def("set_monitor_operator", set_monitor_operator)
      .def("matrix_operator_count",
           [](const Body &self) { return call(self, [](SBR b) { return SBR_GetMatrixOperatorCount(b); }); })
      .def("matrix_operator", matrix_operator)
      .def("add_matrix_operator", add_operator)
      .def("add_operator_columns", add_columns);
}

}  // namespace sbrpy
