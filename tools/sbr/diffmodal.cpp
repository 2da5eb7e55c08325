// Two records: what stands by modes. A's modes are brought into the order, the signs and the mixtures of B's first.
#include <algorithm>
#include <cmath>

#include "comparing.h"
#include "diff.h"

namespace sbrtool {

std::vector<double> mode_part(SBR body, int mode_index, int kind, int part) {
  const int nodes = SBR_ModeNodeCount(body, kind);
  if (nodes < 1) return {};
  std::vector<double> values(3 * static_cast<std::size_t>(nodes));
  if (SBR_Mode(body, SBR_ModeNumber(body, mode_index), kind, values.data(), part) == 0) values.clear();
  return values;
}

namespace {

// The sum of A's data over the parts of a mode of B.
template <class Values>
std::vector<double> mixed(const MatchedMode &mode, Values values_of) {
  std::vector<double> sum;
  for (const auto &[k, weight] : mode.parts) {
    const std::vector<double> values = values_of(k);
    if (sum.empty()) sum.assign(values.size(), 0.0);
    for (std::size_t i = 0; i < std::min(sum.size(), values.size()); ++i) sum[i] += weight * values[i];
  }
  return sum;
}

std::string mode_name(const DiffRun &run, const MatchedMode &mode) { return at("mode", SBR_ModeNumber(run.b, mode.b)); }

// ---- eigenvalues
// -----------------------------------------------------------------------------------------------------

double lowest_elastic(SBR body) {
  double lowest = HUGE_VAL;
  for (int m = SBR_RigidBodyModeCount(body); m < SBR_ModeCount(body); ++m) {
    double e = 0.0;
    if (SBR_Eigenvalue(body, SBR_ModeNumber(body, m), &e, nullptr, nullptr, nullptr, nullptr) != 0 && e > 0.0)
      lowest = std::min(lowest, e);
  }
  return lowest < HUGE_VAL ? lowest : 1.0;
}

// Eigenvalues of rigid-body modes are zero within rounding: a thousandth of the lowest elastic frequency is nothing.
void compare_eigenvalue(DiffRun &run, Block &block, const MatchedMode &mode, double lowest) {
  const int other = mode.alone() ? mode.parts[0].first : mode.b;
  const char *const names[] = {"eigenvalue", "Hz", "rad/s", "generalized mass", "generalized stiffness"};
  double p[5] = {};
  double q[5] = {};
  if (other >= SBR_ModeCount(run.a)) return;
  const int known_a = SBR_Eigenvalue(run.a, SBR_ModeNumber(run.a, other), p, p + 1, p + 2, p + 3, p + 4);
  const int known_b = SBR_Eigenvalue(run.b, SBR_ModeNumber(run.b, mode.b), q, q + 1, q + 2, q + 3, q + 4);
  block.count(mode_name(run, mode) + ": eigenvalue known", known_a, known_b);
  const bool zero = !run.tolerances.exact() && std::fabs(p[0]) <= 1e-6 * lowest && std::fabs(q[0]) <= 1e-6 * lowest;
  for (int c = 0; c < 5; ++c)
    if (!zero || c == 3) block.value(p[c], q[c], [&] { return mode_name(run, mode) + " " + names[c]; });
}

void compare_eigenvalues(DiffRun &run) {
  Block block = run.block("eigenvalues");
  block.count("mode count", SBR_ModeCount(run.a), SBR_ModeCount(run.b));
  const double lowest = std::min(lowest_elastic(run.a), lowest_elastic(run.b));
  for (const MatchedMode &mode : run.match.modes) compare_eigenvalue(run, block, mode, lowest);
  run.blocks.push_back(block);
  Block modes = run.block("modes");
  for (const std::string &text : run.match.unmatched) modes.differs(text);
  if (!run.match.unmatched.empty()) run.blocks.push_back(modes);
}

// ---- shapes, stress, strain
// ------------------------------------------------------------------------------------------

double largest_value(SBR body, int kind, int part) {
  double largest = 0.0;
  for (int m = 0; m < SBR_ModeCount(body); ++m)
    for (const double value : mode_part(body, m, kind, part))
      if (std::isfinite(value)) largest = std::max(largest, std::fabs(value));
  return largest;
}

void compare_part(DiffRun &run, Block &block, int kind, const MatchedMode &mode, int part) {
  const auto p = mixed(mode, [&](int k) { return mode_part(run.a, k, kind, part); });
  const auto q = mode_part(run.b, mode.b, kind, part);
  for (std::size_t i = 0; 3 * i + 2 < p.size(); ++i) {
    const int id = SBR_ModeNodeID(run.a, kind, static_cast<int>(i));
    const int k = SBR_ModeNodeIndex(run.b, kind, id);
    const auto place = [&] { return mode_name(run, mode) + at(" node", id) + at(" part", part); };
    if (k < 0 || 3 * static_cast<std::size_t>(k) + 2 >= q.size()) {
      block.differs(place() + " is missing in B");
      continue;
    }
    for (std::size_t c = 0; c < 3; ++c) block.value(p[3 * i + c], q[3 * static_cast<std::size_t>(k) + c], place);
  }
}

void compare_kinds(DiffRun &run) {
  const char *const names[] = {"mode shapes", "modal stress", "modal strain"};
  for (int kind = 0; kind < 3; ++kind) {
    Block block = run.block(names[kind]);
    if (!run.in_both(block, SBR_ModeExist(run.a, kind) != 0, SBR_ModeExist(run.b, kind) != 0)) continue;
    block.count("node count", SBR_ModeNodeCount(run.a, kind), SBR_ModeNodeCount(run.b, kind));
    for (int part = 0; part < 2; ++part) {
      block.set_floor(largest_value(run.b, kind, part));
      for (const MatchedMode &mode : run.match.modes) compare_part(run, block, kind, mode, part);
    }
    run.blocks.push_back(block);
  }
}

// ---- matrices
// --------------------------------------------------------------------------------------------------------

using Matrix = std::vector<double>;  // row by row

// Q' A Q, Q being the mixture: an entry for each pair of matched modes.
double mixed_entry(const Matrix &matrix, std::size_t n, const MatchedMode &row, const MatchedMode &column) {
  double sum = 0.0;
  for (const auto &[i, x] : row.parts)
    for (const auto &[k, y] : column.parts)
      sum += x * y * matrix[static_cast<std::size_t>(i) * n + static_cast<std::size_t>(k)];
  return sum;
}

void compare_matrix(DiffRun &run, Block &block, const Matrix &p, const Matrix &q, std::size_t n) {
  double largest = 0.0;
  for (const double value : q)
    if (std::isfinite(value)) largest = std::max(largest, std::fabs(value));
  block.set_floor(largest);
  for (const MatchedMode &row : run.match.modes)
    for (const MatchedMode &column : run.match.modes)
      block.value(mixed_entry(p, n, row, column),
                  q[static_cast<std::size_t>(row.b) * n + static_cast<std::size_t>(column.b)],
                  [&] { return mode_name(run, row) + at(" and", SBR_ModeNumber(run.b, column.b)); });
}

void compare_matrices(DiffRun &run) {
  using Full = int (*)(SBR, double *, int);
  const struct {
    const char *name;
    int block;
    Full full;
  } kinds[] = {{"generalized stiffness", 11, SBR_GenStiffFull},
               {"generalized mass", 12, SBR_GenMassFull},
               {"generalized damping", 14, SBR_GenDampFull}};
  for (const auto &kind : kinds) {
    Block block = run.block(kind.name);
    if (!run.in_both(block, kind.block)) continue;
    // Damping on the principal axes may have places behind the modes.
    const int n = std::max(SBR_ModeCount(run.a), SBR_ModeCount(run.b)) + 6;
    const auto size = static_cast<std::size_t>(n) * static_cast<std::size_t>(n);
    Matrix p(size);
    Matrix q(size);
    kind.full(run.a, p.data(), n);
    kind.full(run.b, q.data(), n);
    compare_matrix(run, block, p, q, static_cast<std::size_t>(n));
    run.blocks.push_back(block);
  }
}

// The transformation leads from former modes to those of the record. The former ones may have come with other signs and
// mixtures too, or not: what fits better counts.
void compare_transformation(DiffRun &run) {
  Block block = run.block("mode shape transformation");
  if (!run.in_both(block, 15)) return;
  const auto n = static_cast<std::size_t>(SBR_ModeCount(run.a));
  block.count("mode count", SBR_ModeCount(run.a), SBR_ModeCount(run.b));
  if (SBR_ModeCount(run.a) != SBR_ModeCount(run.b)) {
    run.blocks.push_back(block);
    return;
  }
  Matrix p(n * n);
  Matrix q(n * n);
  SBR_Transformation(run.a, p.data());
  SBR_Transformation(run.b, q.data());
  Block both = block;
  compare_matrix(run, both, p, q, n);
  for (std::size_t i = 0; i < n; ++i)
    for (const MatchedMode &column : run.match.modes) {
      double sum = 0.0;
      for (const auto &[k, weight] : column.parts) sum += weight * p[i * n + static_cast<std::size_t>(k)];
      block.value(sum, q[i * n + static_cast<std::size_t>(column.b)],
                  [&] { return mode_name(run, column) + at(" row", static_cast<int>(i) + 1); });
    }
  run.blocks.push_back(both.same() ? both : block);
}

}  // namespace

void compare_modes(DiffRun &run) {
  compare_eigenvalues(run);
  compare_kinds(run);
  compare_matrices(run);
  compare_transformation(run);
}

// ---- invariants
// ------------------------------------------------------------------------------------------------------

namespace {

std::vector<double> taken(double *given, std::size_t count) {
  const Given<double> values(given);
  return values ? std::vector<double>(values.get(), values.get() + count) : std::vector<double>(count, NAN);
}

// The three values of a mode out of 3 x M, component-major.
std::vector<double> triple(const std::vector<double> &all, std::size_t modes, int mode) {
  const auto j = static_cast<std::size_t>(mode);
  return {all[j], all[modes + j], all[2 * modes + j]};
}

void compare_plain(DiffRun &run, Block &block, int which) {
  using Get = double *(*)(SBR);
  if (which == 1) {
    block.value(SBR_Invar1(run.a), SBR_Invar1(run.b), [] { return std::string("value"); });
    return;
  }
  const Get get = which == 2 ? SBR_Invar2 : SBR_Invar7;
  const std::size_t count = which == 2 ? 3 : 9;
  const std::vector<double> p = taken(get(run.a), count);
  const std::vector<double> q = taken(get(run.b), count);
  if (which == 2) {
    block.set_floor(std::fabs(SBR_Invar1(run.b)) * SBR_BodySize(run.b));
    for (std::size_t i = 0; i < 3; ++i) block.value(p[i], q[i], [&] { return at("value", static_cast<int>(i) + 1); });
    return;
  }
  block.values(p.data(), q.data(), count, [](std::size_t i) { return at("value", static_cast<int>(i) + 1); });
}

// Data of single modes: invariants 3, 4 and 8.
void compare_by_mode(DiffRun &run, Block &block, int which) {
  const auto data_of = [&](SBR body) {
    const auto M = static_cast<std::size_t>(SBR_ModeCount(body));
    std::vector<std::vector<double>> data;
    data.reserve(M);
    const std::vector<double> all =
        which == 8 ? std::vector<double>() : taken(which == 3 ? SBR_Invar3(body) : SBR_Invar4(body), 3 * M);
    for (int j = 0; j < static_cast<int>(M); ++j)
      data.push_back(which == 8 ? taken(SBR_Invar8(body, j), 9) : triple(all, M, j));
    return data;
  };
  const auto p = data_of(run.a);
  const auto q = data_of(run.b);
  double largest = 0.0;
  for (const auto &values : q)
    for (const double value : values) largest = std::fmax(largest, std::fabs(value));
  block.set_floor(largest);
  for (const MatchedMode &mode : run.match.modes) {
    const auto sum = mixed(mode, [&](int k) { return p[static_cast<std::size_t>(k)]; });
    const auto &other = q[static_cast<std::size_t>(mode.b)];
    for (std::size_t i = 0; i < sum.size(); ++i)
      block.value(sum[i], other[i], [&] { return mode_name(run, mode) + at(" value", static_cast<int>(i) + 1); });
  }
}

// Data of pairs of modes: invariants 5 and 9, as one matrix for each component.
void compare_by_pair(DiffRun &run, Block &block, int which) {
  const std::size_t components = which == 5 ? 3 : 9;
  const std::size_t n = static_cast<std::size_t>(std::max(SBR_ModeCount(run.a), SBR_ModeCount(run.b)));
  const auto data_of = [&](SBR body) {
    const auto M = static_cast<std::size_t>(SBR_ModeCount(body));
    std::vector<Matrix> data(components, Matrix(n * n));
    for (std::size_t j = 0; j < M; ++j) {
      const auto fifth = which == 5 ? taken(SBR_Invar5(body, static_cast<int>(j)), 3 * M) : std::vector<double>();
      for (std::size_t k = 0; k < M; ++k) {
        const auto ninth = which == 9 ? taken(SBR_Invar9(body, static_cast<int>(j), static_cast<int>(k)), 9)
                                      : triple(fifth, M, static_cast<int>(k));
        for (std::size_t c = 0; c < components; ++c) data[c][j * n + k] = ninth[c];
      }
    }
    return data;
  };
  const auto p = data_of(run.a);
  const auto q = data_of(run.b);
  double largest = 0.0;
  for (const Matrix &matrix : q)
    for (const double value : matrix) largest = std::fmax(largest, std::fabs(value));
  block.set_floor(largest);
  for (const MatchedMode &row : run.match.modes)
    for (const MatchedMode &column : run.match.modes)
      for (std::size_t c = 0; c < components; ++c)
        block.value(mixed_entry(p[c], n, row, column),
                    q[c][static_cast<std::size_t>(row.b) * n + static_cast<std::size_t>(column.b)], [&] {
                      return mode_name(run, row) + at(" and", SBR_ModeNumber(run.b, column.b)) +
                             at(" value", static_cast<int>(c) + 1);
                    });
}

}  // namespace

void compare_invariants(DiffRun &run) {
  const int numbers[] = {1, 2, 3, 4, 5, 7, 8, 9};
  for (int i = 0; i < 8; ++i) {
    Block block = run.block("invariant " + std::to_string(numbers[i]));
    if (!run.in_both(block, 18 + i)) continue;
    const int which = numbers[i];
    if (which == 1 || which == 2 || which == 7)
      compare_plain(run, block, which);
    else if (which == 5 || which == 9)
      compare_by_pair(run, block, which);
    else
      compare_by_mode(run, block, which);
    run.blocks.push_back(block);
  }
}

}  // namespace sbrtool
