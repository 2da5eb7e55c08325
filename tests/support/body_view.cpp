#include "support/body_view.h"

#include <memory>
#include <stdexcept>

namespace sbrtest {
namespace {

struct FreeArray {
  void operator()(void *block) const { SBR_FreeMemory(block); }
};

// The values of an array that an operation handed out, which is freed.
template <class T>
std::vector<T> taken(T *block, int count) {
  const std::unique_ptr<T[], FreeArray> owner(block);
  return block == nullptr ? std::vector<T>() : std::vector<T>(block, block + count);
}

MatrixEntries entries(SBR body, int count, int (*sparse)(SBR, double *, int *, int *)) {
  const auto n = static_cast<std::size_t>(count);
  std::vector<double> values(n);
  std::vector<int> rows(n);
  std::vector<int> columns(n);
  if (sparse(body, values.data(), rows.data(), columns.data()) == 0) return {};
  MatrixEntries list(n);
  for (std::size_t i = 0; i < n; ++i) list[i] = {rows[i], columns[i], values[i]};
  return list;
}

void enter(SBR body, const MatrixEntries &list, int (*set)(SBR, int, int, double)) {
  for (const MatrixEntry &entry : list) {
    const int row = SBR_ModeNumber(body, entry.row);
    const int column = SBR_ModeNumber(body, entry.column);
    if (SBR_ModeIndex(body, row) != entry.row || SBR_ModeIndex(body, column) != entry.column ||
        set(body, row, column, entry.value) != 1)
      throw std::runtime_error("an entry of a mode that is not in the table");
  }
}

}  // namespace

HeaderView header_of(SBR body) {
  std::array<char, 128> title{};
  std::array<char, 32> date{};
  std::array<char, 128> name{};
  std::array<char, 16> type{};
  std::array<std::array<char, 80>, 3> comments{};
  SBR_Header(body, title.data(), date.data(), name.data(), type.data(), comments[0].data(), comments[1].data(),
             comments[2].data());
  return {title.data(),
          date.data(),
          name.data(),
          comments[0].data(),
          comments[1].data(),
          comments[2].data(),
          std::string(type.data(), type.size())};
}

UnitLabels units_of(SBR body) {
  std::array<std::array<char, 16>, 4> labels{};
  SBR_Units(body, labels[0].data(), labels[1].data(), labels[2].data(), labels[3].data());
  return {labels[0].data(), labels[1].data(), labels[2].data(), labels[3].data()};
}

std::array<double, 3> coordinates_of(SBR body, int index) {
  std::array<double, 3> place{};
  if (SBR_NodeCoordinates(body, index, place.data()) == 0) throw std::runtime_error("no such node");
  return place;
}

int face_count(SBR body) {
  int count = -1;
  SBR_FaceListSize(body, &count, nullptr);
  return count;
}

std::vector<int> face_words(SBR body) {
  int length = 0;
  SBR_FaceListSize(body, nullptr, &length);
  std::vector<int> words(static_cast<std::size_t>(length));
  if (length > 0 && SBR_ElementFaces(body, words.data()) == 0) throw std::runtime_error("a face list without faces");
  return words;
}

std::vector<int> interface_nodes_of(SBR body) {
  int count = 0;
  int *nodes = SBR_InterfaceNodes(body, &count);
  return taken(nodes, count);
}

MatrixEntries stiffness_of(SBR body) { return entries(body, SBR_NumberOfGenStiff(body), SBR_GenStiffSparse); }
MatrixEntries mass_of(SBR body) { return entries(body, SBR_NumberOfGenMass(body), SBR_GenMassSparse); }
MatrixEntries damping_of(SBR body) { return entries(body, SBR_NumberOfGenDamp(body), SBR_GenDampSparse); }
void enter_stiffness(SBR body, const MatrixEntries &list) { enter(body, list, SBR_SetGeneralizedStiffness); }
void enter_mass(SBR body, const MatrixEntries &list) { enter(body, list, SBR_SetGeneralizedMass); }
void enter_damping(SBR body, const MatrixEntries &list) { enter(body, list, SBR_SetGeneralizedDamping); }

std::vector<EigenValues> eigenvalues_of(SBR body) {
  std::vector<EigenValues> table(static_cast<std::size_t>(SBR_ModeCount(body)));
  for (int i = 0; i < SBR_ModeCount(body); ++i) {
    EigenValues &row = table[static_cast<std::size_t>(i)];
    SBR_Eigenvalue(body, SBR_ModeNumber(body, i), &row.eigenvalue, &row.frequency_hz, &row.frequency_rad,
                   &row.generalized_mass, &row.generalized_stiffness);
  }
  return table;
}

std::vector<std::array<double, 6>> pre_vectors_of(SBR body, int kind) {
  constexpr int kPreVector = 0;  // in place of a mode number
  const auto nodes = static_cast<std::size_t>(SBR_ModeNodeCount(body, kind));
  std::vector<std::array<double, 6>> vectors(nodes);
  std::vector<double> half(3 * nodes);
  for (std::size_t part = 0; part < 2; ++part) {
    if (SBR_Mode(body, kPreVector, kind, half.data(), static_cast<int>(part)) == 0) return {};
    for (std::size_t n = 0; n < nodes; ++n)
      for (std::size_t c = 0; c < 3; ++c) vectors[n][3 * part + c] = half[3 * n + c];
  }
  return vectors;
}

std::vector<double> transformation_of(SBR body) {
  const auto modes = static_cast<std::size_t>(SBR_ModeCount(body));
  std::vector<double> matrix(modes * modes);
  if (SBR_Transformation(body, matrix.data()) == 0) return {};
  return matrix;
}

std::vector<double> modal_load_of(SBR body, int load_case) {
  int count = 0;
  double *values = SBR_GetModalLoad(body, load_case, &count);
  return taken(values, count);
}

std::vector<double> modal_preload_of(SBR body) {
  int count = 0;
  double *values = SBR_GetModalPreload(body, &count);
  return taken(values, count);
}

std::string modal_load_label_of(SBR body, int load_case) {
  std::array<char, 257> label{};
  if (SBR_GetModalLoadCaseLabel(body, load_case, label.data()) == 0) throw std::runtime_error("no such load case");
  return label.data();
}

std::vector<NodalLoad> nodal_loads_of(SBR body, int load_case) {
  const int count = SBR_GetModalLoadNodalCount(body, load_case);
  const std::vector<int> nodes = taken(SBR_GetModalLoadNodalNode(body, load_case), count);
  const std::vector<int> coordinates = taken(SBR_GetModalLoadNodalCoord(body, load_case), count);
  const std::vector<double> values = taken(SBR_GetModalLoadNodalLoad(body, load_case), count);
  std::vector<NodalLoad> loads(values.size());
  for (std::size_t i = 0; i < loads.size(); ++i) loads[i] = {nodes[i], coordinates[i], values[i]};
  return loads;
}

std::vector<double> monitor_operator_of(SBR body, int point, int type) {
  if (SBR_MonitorPointHasOperator(body, point, type) == 0) return {};
  int rows = 0;
  int columns = 0;
  SBR_GetMonitorPointOperatorSize(body, point, &rows, &columns);
  const int matrices = type == 4 ? SBR_GetMonitorPointNumLoadOperator(body, point) : 1;
  std::vector<double> values(static_cast<std::size_t>(rows) * static_cast<std::size_t>(columns) *
                             static_cast<std::size_t>(matrices));
  if (SBR_GetMonitorPointOperator(body, point, type, values.data()) != 0) return {};
  return values;
}

std::string monitor_name_of(SBR body, int point) {
  std::array<char, 9> name{};
  SBR_GetMonitorPointNameLabel(body, point, name.data(), nullptr);
  return name.data();
}

std::string monitor_label_of(SBR body, int point) {
  std::array<char, 57> label{};
  SBR_GetMonitorPointNameLabel(body, point, nullptr, label.data());
  return label.data();
}

std::vector<double> sub_operator_of(SBR body, int op, int sub) {
  const int rows = SBR_GetMatrixOperatorNumRows(body, op);
  const int columns = SBR_GetMatrixOperatorSubNumCols(body, op, sub);
  if (rows < 1 || columns < 1) return {};
  std::vector<double> values(static_cast<std::size_t>(rows) * static_cast<std::size_t>(columns));
  if (SBR_GetMatrixOperatorSubData(body, op, sub, values.data()) == 0) return values;
  return {};
}

}  // namespace sbrtest
