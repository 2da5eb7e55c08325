// Two records: loads, statistics, pre-stress, monitor points, matrix operators.
#include <algorithm>
#include <cmath>

#include "diff.h"
#include "givenarray.h"

namespace sbrtool {
namespace {

// ---- modal loads
// -----------------------------------------------------------------------------------------------------

// Loads by modes follow the modes of B. On the principal axes the rigid entries are a force and a moment instead.
void compare_by_modes(DiffRun &run, Block &block, const std::string &what, double *first, int count_a, double *second,
                      int count_b, bool on_axes) {
  const Given<double> p(first);
  const Given<double> q(second);
  block.count(what + " count", count_a, count_b);
  if (!p || !q) return;
  double largest = 0.0;
  for (int i = 0; i < count_b; ++i) largest = std::fmax(largest, std::fabs(q[static_cast<std::size_t>(i)]));
  block.set_floor(largest);
  const int axes = on_axes ? std::max(SBR_RigidBodyModeCount(run.a), SBR_RigidBodyModeCount(run.b)) : 0;
  for (const MatchedMode &mode : run.match.modes) {
    if (mode.b >= count_b) continue;
    double sum = 0.0;
    if (mode.b < axes)
      sum = mode.b < count_a ? p[static_cast<std::size_t>(mode.b)] : 0.0;
    else
      for (const auto &[k, weight] : mode.parts) sum += k < count_a ? weight * p[static_cast<std::size_t>(k)] : 0.0;
    block.value(sum, q[static_cast<std::size_t>(mode.b)],
                [&] { return what + at(" mode", SBR_ModeNumber(run.b, mode.b)); });
  }
}

void compare_preload(DiffRun &run) {
  Block block = run.block("modal preload");
  if (!run.in_both(block, 26)) return;
  int n = 0;
  int m = 0;
  double *p = SBR_GetModalPreload(run.a, &n);
  double *q = SBR_GetModalPreload(run.b, &m);
  const int axes = SBR_ModalPreloadProcessed(run.b);
  block.count("on principal axes", SBR_ModalPreloadProcessed(run.a), axes);
  compare_by_modes(run, block, "preload", p, n, q, m, axes != 0);
  run.blocks.push_back(block);
}

void compare_modal_loads(DiffRun &run) {
  Block block = run.block("modal loads");
  if (!run.in_both(block, 27)) return;
  const int cases = std::min(SBR_GetModalLoadCaseCount(run.a), SBR_GetModalLoadCaseCount(run.b));
  block.count("case count", SBR_GetModalLoadCaseCount(run.a), SBR_GetModalLoadCaseCount(run.b));
  for (int i = 0; i < cases; ++i) {
    const std::string name = at("case", i + 1);
    char p[257] = {};
    char q[257] = {};
    SBR_GetModalLoadCaseLabel(run.a, i, p);
    SBR_GetModalLoadCaseLabel(run.b, i, q);
    block.text(name + " label", p, q);
    const int axes = SBR_ModalLoadProcessed(run.b, i);
    block.count(name + " on principal axes", SBR_ModalLoadProcessed(run.a, i), axes);
    int n = 0;
    int m = 0;
    double *x = SBR_GetModalLoad(run.a, i, &n);
    double *y = SBR_GetModalLoad(run.b, i, &m);
    compare_by_modes(run, block, name, x, n, y, m, axes != 0);
  }
  run.blocks.push_back(block);
}

// ---- nodal loads
// -----------------------------------------------------------------------------------------------------

struct NodalCase {
  NodalCase(SBR body, int number)
      : count(SBR_GetModalLoadNodalCount(body, number)),
        nodes(given_array(SBR_GetModalLoadNodalNode(body, number), count)),
        places(given_array(SBR_GetModalLoadNodalCoord(body, number), count)),
        values(given_array(SBR_GetModalLoadNodalLoad(body, number), count)) {}
  [[nodiscard]] bool whole() const { return nodes && places && values; }
  int count;
  Given<int> nodes;
  Given<int> places;
  Given<double> values;
};

void compare_nodal_loads(DiffRun &run) {
  Block block = run.block("nodal loads");
  if (!run.in_both(block, 34)) return;
  const int cases = std::min(SBR_GetModalLoadNodalCaseCount(run.a), SBR_GetModalLoadNodalCaseCount(run.b));
  block.count("case count", SBR_GetModalLoadNodalCaseCount(run.a), SBR_GetModalLoadNodalCaseCount(run.b));
  for (int i = 0; i < cases; ++i) {
    const NodalCase p(run.a, i);
    const NodalCase q(run.b, i);
    block.count(at("case", i + 1) + " count", p.count, q.count);
    if (!p.whole() || !q.whole()) continue;
    for (std::size_t k = 0; k < static_cast<std::size_t>(std::min(p.count, q.count)); ++k) {
      const std::string place = at("case", i + 1) + at(" entry", static_cast<int>(k) + 1);
      block.count(place + " node", SBR_NodeID(run.a, p.nodes[k]), SBR_NodeID(run.b, q.nodes[k]));
      block.count(place + " coordinate", p.places[k], q.places[k]);
      block.value(p.values[k], q.values[k], [&] { return place; });
    }
  }
  run.blocks.push_back(block);
}

// ---- statistics
// ------------------------------------------------------------------------------------------------------

// The largest figures of a mode. Those of mixtures have nothing to be compared with, and figures of a mode without
// stress (or strain) are not asked for: the record has none.
void compare_statistics(DiffRun &run) {
  Block block = run.block("modal statistics");
  if (!run.in_both(block, 29)) return;
  using Figure = int (*)(SBR, int, int *, double *);
  const struct {
    const char *name;
    Figure figure;
    int kind;
  } figures[] = {{"translation", SBR_GetMaxModeDisplacement, 0},
                 {"rotation", SBR_GetMaxModeRotation, 0},
                 {"stress", SBR_GetMaxVonMisesStress, 1},
                 {"strain", SBR_GetMaxVonMisesStrain, 2}};
  for (const auto &one : figures) {
    if (SBR_ModeNodeCount(run.a, one.kind) < 1 || SBR_ModeNodeCount(run.b, one.kind) < 1) continue;
    std::vector<double> p;
    std::vector<double> q;
    std::vector<int> modes;
    for (const MatchedMode &mode : run.match.modes) {
      if (!mode.alone()) continue;
      modes.push_back(SBR_ModeNumber(run.b, mode.b));
      one.figure(run.a, SBR_ModeNumber(run.a, mode.parts[0].first), nullptr, &p.emplace_back(0.0));
      one.figure(run.b, modes.back(), nullptr, &q.emplace_back(0.0));
    }
    block.values(p.data(), q.data(), p.size(), [&](std::size_t i) { return at("mode", modes[i]) + " " + one.name; });
  }
  run.blocks.push_back(block);
}

void compare_pre_vectors(DiffRun &run, int kind) {
  Block block = run.block(kind == 1 ? "pre-stress" : "pre-strain");
  if (!run.in_both(block, 29 + kind)) return;
  for (int part = 0; part < 2; ++part) {
    std::vector<double> values[2];
    for (int i = 0; i < 2; ++i) {
      SBR body = i == 0 ? run.a : run.b;
      values[i].resize(3 * static_cast<std::size_t>(std::max(SBR_ModeNodeCount(body, kind), 1)));
      SBR_Mode(body, 0, kind, values[i].data(), part);
    }
    block.count("node count", static_cast<double>(values[0].size() / 3), static_cast<double>(values[1].size() / 3));
    block.values(values[0].data(), values[1].data(), std::min(values[0].size(), values[1].size()), [&](std::size_t i) {
      return at("node", SBR_ModeNodeID(run.b, kind, static_cast<int>(i / 3))) + at(" part", part);
    });
  }
  run.blocks.push_back(block);
}

// ---- monitor points and matrix operators
// -----------------------------------------------------------------------------

// The rows of an operator stand on the modes.
void compare_operator(DiffRun &run, Block &block, const std::string &name, int point, int type) {
  int rows[2] = {};
  int columns[2] = {};
  SBR_GetMonitorPointOperatorSize(run.a, point, &rows[0], &columns[0]);
  SBR_GetMonitorPointOperatorSize(run.b, point, &rows[1], &columns[1]);
  block.count(name + " rows", rows[0], rows[1]);
  const int loads = type == 4 ? SBR_GetMonitorPointNumLoadOperator(run.a, point) : 1;
  const int loads_b = type == 4 ? SBR_GetMonitorPointNumLoadOperator(run.b, point) : 1;
  block.count(name + " load operators", loads, loads_b);
  if (rows[0] != rows[1] || loads != loads_b || rows[0] < 1 || loads < 1) return;
  const auto all_rows = static_cast<std::size_t>(rows[0]) * static_cast<std::size_t>(loads);
  const auto n = static_cast<std::size_t>(columns[0]);
  const auto m = static_cast<std::size_t>(columns[1]);
  std::vector<double> p(all_rows * n);
  std::vector<double> q(all_rows * m);
  SBR_GetMonitorPointOperator(run.a, point, type, p.data());
  SBR_GetMonitorPointOperator(run.b, point, type, q.data());
  double largest = 0.0;
  for (const double value : q) largest = std::fmax(largest, std::fabs(value));
  block.set_floor(largest);
  for (std::size_t row = 0; row < all_rows; ++row)
    for (const MatchedMode &mode : run.match.modes) {
      double sum = 0.0;
      for (const auto &[k, weight] : mode.parts) sum += weight * p[row * n + static_cast<std::size_t>(k)];
      block.value(sum, q[row * m + static_cast<std::size_t>(mode.b)], [&] {
        return name + at(" row", static_cast<int>(row) + 1) + at(" mode", SBR_ModeNumber(run.b, mode.b));
      });
    }
}

void compare_points(DiffRun &run) {
  Block block = run.block("monitor points");
  if (!run.in_both(block, 35)) return;
  block.count("point count", SBR_GetMonitorPointCount(run.a), SBR_GetMonitorPointCount(run.b));
  for (int i = 0; i < std::min(SBR_GetMonitorPointCount(run.a), SBR_GetMonitorPointCount(run.b)); ++i) {
    const std::string where = at("point", i + 1);
    char texts[2][2][64] = {};
    SBR_GetMonitorPointNameLabel(run.a, i, texts[0][0], texts[0][1]);
    SBR_GetMonitorPointNameLabel(run.b, i, texts[1][0], texts[1][1]);
    block.text(where + " name", texts[0][0], texts[1][0]);
    block.text(where + " label", texts[0][1], texts[1][1]);
    block.count(where + " type", SBR_GetMonitorPointType(run.a, i), SBR_GetMonitorPointType(run.b, i));
    block.count(where + " result type", SBR_GetMonitorPointResultType(run.a, i),
                SBR_GetMonitorPointResultType(run.b, i));
    block.count(where + " component", SBR_GetMonitorPointComponent(run.a, i), SBR_GetMonitorPointComponent(run.b, i));
    for (int type = 1; type <= 4; ++type) {
      const int has_a = SBR_MonitorPointHasOperator(run.a, i, type);
      const int has_b = SBR_MonitorPointHasOperator(run.b, i, type);
      block.count(where + at(" operator", type), has_a, has_b);
      if (has_a != 0 && has_b != 0) compare_operator(run, block, where + at(" operator", type), i, type);
    }
  }
  run.blocks.push_back(block);
}

void compare_sub_operators(DiffRun &run, Block &block, const std::string &where, int i, int rows) {
  const int subs[2] = {SBR_GetMatrixOperatorNumSubOperator(run.a, i), SBR_GetMatrixOperatorNumSubOperator(run.b, i)};
  block.count(where + " sub-operators", subs[0], subs[1]);
  for (int s = 0; s < std::min(subs[0], subs[1]); ++s) {
    const int columns[2] = {SBR_GetMatrixOperatorSubNumCols(run.a, i, s), SBR_GetMatrixOperatorSubNumCols(run.b, i, s)};
    block.count(where + at(" columns of", s + 1), columns[0], columns[1]);
    if (columns[0] != columns[1] || columns[0] < 1 || rows < 1) continue;
    const auto size = static_cast<std::size_t>(rows) * static_cast<std::size_t>(columns[0]);
    std::vector<double> p(size);
    std::vector<double> q(size);
    SBR_GetMatrixOperatorSubData(run.a, i, s, p.data());
    SBR_GetMatrixOperatorSubData(run.b, i, s, q.data());
    block.values(p.data(), q.data(), size,
                 [&](std::size_t k) { return where + at(" sub", s + 1) + at(" value", static_cast<int>(k) + 1); });
  }
}

void compare_operators(DiffRun &run) {
  Block block = run.block("matrix operators");
  if (!run.in_both(block, 33)) return;
  block.count("operator count", SBR_GetMatrixOperatorCount(run.a), SBR_GetMatrixOperatorCount(run.b));
  for (int i = 0; i < std::min(SBR_GetMatrixOperatorCount(run.a), SBR_GetMatrixOperatorCount(run.b)); ++i) {
    const std::string where = at("operator", i + 1);
    char names[2][81] = {};
    SBR_GetMatrixOperatorName(run.a, i, names[0]);
    SBR_GetMatrixOperatorName(run.b, i, names[1]);
    block.text(where + " name", names[0], names[1]);
    const int rows[2] = {SBR_GetMatrixOperatorNumRows(run.a, i), SBR_GetMatrixOperatorNumRows(run.b, i)};
    block.count(where + " rows", rows[0], rows[1]);
    if (rows[0] == rows[1]) compare_sub_operators(run, block, where, i, rows[0]);
  }
  run.blocks.push_back(block);
}

}  // namespace

void compare_loads(DiffRun &run) {
  compare_preload(run);
  compare_modal_loads(run);
  compare_nodal_loads(run);
  compare_statistics(run);
  compare_pre_vectors(run, 1);
  compare_pre_vectors(run, 2);
  compare_points(run);
  compare_operators(run);
}

}  // namespace sbrtool
