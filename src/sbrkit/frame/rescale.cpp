#include "frame/rescale.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "body/units.h"
#include "dynamics/rigid_modes.h"
#include "modes/access.h"
#include "modes/cache.h"

namespace sbr {
namespace {

// The dimensional factors that follow from the four ratios, old unit over new unit.
struct Factors {
  explicit Factors(const UnitFactors &ratio) : F(ratio.force), L(ratio.length), M(ratio.mass), T(ratio.time) {}
  double F, L, M, T;
  double stiffness = F * L;
  double inertia = L * (L * M);
  double damping = T * (F * L);
  double eigenvalue = stiffness / inertia;
  double frequency = std::sqrt(stiffness / (T * F * T / (L * M) * inertia));
  double stress = F / L / L;
};

void scale(double &value, const DecimalFactor &factor) noexcept { value = factor.apply(value); }

void scale_nodes(NodeTable &table, const Factors &by) noexcept {
  const DecimalFactor mass(by.M);
  const DecimalFactor length(by.L);
  const DecimalFactor inertia(by.inertia);
  for (NodeRecord &node : table.nodes) {
    scale(node.mass, mass);
    scale(node.x, length);
    scale(node.y, length);
    scale(node.z, length);
  }
  for (SixVector &six : table.inertias) inertia.apply(six);
}

void scale_list(Array<SparseEntry> &list, double factor) noexcept {
  const DecimalFactor by(factor);
  for (SparseEntry &entry : list) scale(entry.value, by);
}

// On principal axes rows and columns 0 to 2 are translations of the rigid body; from 3 up all count as rotations.
void scale_damping(GeneralizedMatrices &matrices, const Factors &by) noexcept {
  if (matrices.damping_on_principal_axes == 0) return scale_list(matrices.damping, by.damping);
  const double mixed = by.F * by.T;
  const DecimalFactor translations(mixed / by.L);
  const DecimalFactor rotations(mixed * by.L);
  const DecimalFactor others(mixed);
  for (SparseEntry &entry : matrices.damping) {
    const bool row_translates = entry.row < 3;
    const bool column_translates = entry.column < 3;
    if (row_translates != column_translates)
      scale(entry.value, others);
    else
      scale(entry.value, row_translates ? translations : rotations);
  }
}

// A modal vector: on principal axes the first entries are forces.
void scale_modal_vector(Array<double> &values, int forces, const Factors &by) noexcept {
  const auto split = static_cast<std::size_t>(std::clamp(forces, 0, values.count()));
  DecimalFactor(by.F).apply(values.span().first(split));
  DecimalFactor(by.stiffness).apply(values.span().subspan(split));
}

void scale_modal_loads(SbrBody &body, const Factors &by) noexcept {
  Loads &loads = body.loads;
  if (!loads.preload && loads.modal.size() == 0) return;
  const int forces = std::min(rigid_mode_count(body), 3);
  scale_modal_vector(loads.preload, loads.preload_on_principal_axes != 0 ? forces : 0, by);
  for (std::size_t i = 0; i < loads.modal.size(); ++i) {
    ModalLoad *load = loads.modal[i];
    if (load != nullptr) scale_modal_vector(load->values, load->processed != 0 ? forces : 0, by);
  }
}

void scale_global_properties(GlobalProperties &global, const Factors &by) noexcept {
  convert_units(&global.mass, 1, by.M);
  convert_units(global.center, 3, by.L);
  convert_units(global.inertia, 9, by.inertia);
}

void scale_eigenvalues(Array<EigenRecord> &table, const Factors &by) noexcept {
  const DecimalFactor eigenvalue(by.eigenvalue);
  const DecimalFactor frequency(by.frequency);
  const DecimalFactor mass(by.inertia);
  const DecimalFactor stiffness(by.stiffness);
  for (EigenRecord &record : table) {
    scale(record.eigenvalue, eigenvalue);
    scale(record.frequency_hz, frequency);
    scale(record.frequency_rad, frequency);
    scale(record.generalized_mass, mass);
    scale(record.generalized_stiffness, stiffness);
  }
}

void scale_invariants(Invariants &cells, const Factors &by) noexcept {
  const double moment = by.L * by.M;
  const DecimalFactor first(moment);
  const DecimalFactor second(by.L * moment);
  DecimalFactor(by.M).apply(cells.invar1.span());
  first.apply(cells.invar2.span());
  first.apply(cells.invar3.span());
  for (Array<double> *cell : {&cells.invar4, &cells.invar5, &cells.invar7, &cells.invar8, &cells.invar9})
    second.apply(cell->span());
}

void scale_statistics(Array<ModalStatistics> &statistics, const Factors &by) noexcept {
  const DecimalFactor length(by.L);
  const DecimalFactor stress(by.stress);
  for (ModalStatistics &mode : statistics) {
    scale(mode.values[0], length);
    scale(mode.values[2], stress);
  }
}

// The factor of one row of a monitor point's operator (0 displacement, 1 velocity, 2 acceleration, 3 load); 1 where
// the row is left alone. The result type is 1 DISP, 2 STRESS, 3 STRAIN, 4 FORCE, 5 GENERAL.
double operator_row_factor(int result_type, int op, bool rotational, const Factors &by) noexcept {
  const bool is_rate = op == 1 || op == 2;
  double factor = 1.0;
  switch (result_type) {
    case 1:
      factor = rotational ? 1.0 : by.L;
      break;
    case 2:
      factor = by.stress;
      break;
    case 3:
      break;
    case 4:
    case 5:
      factor = rotational ? by.stiffness : by.F;
      break;
    default:
      return 1.0;
  }
  if (is_rate) factor /= by.T;
  if (op == 2) factor /= by.T;
  return factor;
}

// Each digit of the component is a row of the operator; digits from 4 up are rotational. The load operator repeats
// the rows for each of its matrices.
void scale_operator(MonitorPoint &point, int op, const Factors &by) noexcept {
  Array<double> &data = point.operators[op];
  char component[16];
  const int digits = std::snprintf(component, sizeof component, "%d", point.component);
  const std::int64_t matrices = op == 3 ? point.load_operators : 1;
  if (digits < 1 || matrices < 1) return;
  const std::size_t rows = static_cast<std::size_t>(digits) * static_cast<std::size_t>(matrices);
  const std::size_t length = data.size() / rows;
  for (std::size_t row = 0; row < rows && length != 0; ++row) {
    const bool rotational = component[row % static_cast<std::size_t>(digits)] >= '4';
    const double factor = operator_row_factor(point.result_type, op, rotational, by);
    if (factor != 1.0) DecimalFactor(factor).apply(data.span().subspan(row * length, length));
  }
}

void scale_monitor_points(SbrBody &body, const Factors &by) noexcept {
  if (!has_block(body, kMonitorPoints)) return;
  for (std::size_t i = 0; i < body.monitor_points.size(); ++i) {
    MonitorPoint *point = body.monitor_points[i];
    for (int op = 0; point != nullptr && op < 4; ++op) scale_operator(*point, op, by);
  }
}

// Forces and, for coordinates above 3, moments; by plain multiplication.
void scale_nodal_loads(OwnedList<NodalLoadCase> &cases, const Factors &by) noexcept {
  for (std::size_t i = 0; i < cases.size(); ++i) {
    NodalLoadCase *load_case = cases[i];
    if (load_case == nullptr) continue;
    const std::size_t count = load_case->loads.size();
    for (std::size_t k = 0; k < count; ++k) {
      double &load = load_case->loads[k];
      load *= by.F;
      if (k < load_case->coordinates.size() && load_case->coordinates[k] > 3) load *= by.L;
    }
  }
}

}  // namespace

void rescale(SbrBody &body) noexcept {
  const Factors by(body.units.scale);
  clean_mode_memory(body);
  scale_nodes(body.nodes, by);
  body.search.drop();
  for (int &mode : body.access.current_mode) mode = kNoMode;
  scale_list(body.matrices.mass, by.inertia);
  scale_list(body.matrices.stiffness, by.stiffness);
  scale_damping(body.matrices, by);
  scale_modal_loads(body, by);
  scale_global_properties(body.global, by);
  scale_eigenvalues(body.matrices.eigenvalues, by);
  scale_invariants(body.invariants, by);
  scale_statistics(body.statistics, by);
  scale_monitor_points(body, by);
  scale_nodal_loads(body.loads.nodal, by);
}

}  // namespace sbr

extern "C" void SBR_ScaleDatabase(SBR body) {
  if (body != nullptr) sbr::rescale(*body);
}
