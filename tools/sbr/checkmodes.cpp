// The modes of a record by themselves: numbers, eigenvalues, frequencies, generalized masses, and shapes that stand
// twice.
#include <algorithm>
#include <cmath>
#include <numeric>
#include <random>
#include <set>

#include "check.h"
#include "comparing.h"

namespace sbrtool {
namespace {

constexpr double kTwoPi = 6.28318530718;
constexpr int kOldestLayout = 10;

struct Row {
  double eigenvalue = 0.0;
  double hz = 0.0;
  double rad = 0.0;
  double mass = 0.0;
  double stiffness = 0.0;
};

bool row_of(CheckRun &run, int mode, Row &row) {
  return SBR_Eigenvalue(run.body(), SBR_ModeNumber(run.body(), mode), &row.eigenvalue, &row.hz, &row.rad, &row.mass,
                        &row.stiffness) != 0;
}

// The largest of a figure over the modes, and where it is.
struct Worst {
  double figure = 0.0;
  std::string place;
  void take(double value, const std::string &where) {
    if (!place.empty() && !(value > figure) && !std::isnan(value)) return;
    figure = value;
    place = where;
  }
};

// ---- numbers
// ---------------------------------------------------------------------------------------------------------

void check_nodes_finite(CheckRun &run) {
  int odd = 0;
  std::string first;
  for (int i = 0; i < run.nodes(); ++i) {
    double mass = 0.0;
    double xyz[3];
    SBR_NodalMassAndGeometry(run.body(), i, &mass, xyz);
    if (std::isfinite(mass) && std::isfinite(xyz[0]) && std::isfinite(xyz[1]) && std::isfinite(xyz[2])) continue;
    if (odd++ == 0) first = run.node_name(i);
  }
  run.expect(odd == 0, {Level::error, "numbers", "nodes with coordinates or mass that are no numbers",
                        static_cast<double>(odd), first, "Every sum over the nodes is lost."});
}

void check_modes_finite(CheckRun &run, int kind, const std::string &name) {
  int odd = 0;
  std::string first;
  const int errors = reported_errors();
  for (int m = 0; m < run.modes(); ++m) {
    bool good = true;
    for (int part = 0; part < 2; ++part)
      for (const double value : mode_part(run.body(), m, kind, part)) good = good && std::isfinite(value);
    if (!good && odd++ == 0) first = run.mode_name(m);
  }
  run.expect(odd == 0, {Level::error, "numbers", name + " with values that are no numbers", static_cast<double>(odd),
                        first, "The mode cannot be used, and every sum with it is lost."});
  run.expect(reported_errors() == errors,
             {Level::error, "numbers", name + " that cannot be read", static_cast<double>(reported_errors() - errors),
              "", "The file ends too early or its counts are wrong."});
}

// ---- eigenvalues
// -----------------------------------------------------------------------------------------------------

// The oldest layout has the root of the eigenvalue as frequency: of a negative one that is no number.
bool frequency_may_be_odd(CheckRun &run, const Row &row) {
  return SBR_Version(run.body()) == kOldestLayout && row.eigenvalue < 0.0;
}

void check_frequency_numbers(CheckRun &run) {
  int odd = 0;
  std::string first;
  for (int m = 0; m < run.modes(); ++m) {
    Row row;
    if (!row_of(run, m, row)) continue;
    const bool good = std::isfinite(row.eigenvalue) && std::isfinite(row.mass) && std::isfinite(row.stiffness) &&
                      ((std::isfinite(row.hz) && std::isfinite(row.rad)) || frequency_may_be_odd(run, row));
    if (!good && odd++ == 0) first = run.mode_name(m);
  }
  run.expect(odd == 0, {Level::error, "eigenvalues", "modes whose eigenvalue or frequency is no number",
                        static_cast<double>(odd), first, "The mode has no place among the others and cannot be used."});
}

// Eigenvalue, frequency, generalized mass and stiffness of each mode belong together.
void check_eigenvalues(CheckRun &run) {
  const double ucf = SBR_UCF(run.body());
  Worst ratio;
  Worst frequency;
  int without = 0;
  for (int m = 0; m < run.modes(); ++m) {
    Row row;
    if (!row_of(run, m, row)) {
      ++without;
      continue;
    }
    const double scale = std::max(std::fabs(row.eigenvalue), 1e-6);
    if (row.mass != 0.0) ratio.take(std::fabs(row.eigenvalue - row.stiffness / row.mass) / scale, run.mode_name(m));
    const double e = row.eigenvalue * ucf;
    const double expected = (e < 0.0 ? -std::sqrt(-e) : std::sqrt(e)) / kTwoPi;
    if (std::isfinite(row.hz))
      frequency.take(std::fabs(row.hz - expected) / std::max(std::fabs(expected), 1e-3), run.mode_name(m));
  }
  if (without != 0)
    run.note("eigenvalues", "modes without eigenvalue", without,
             "The generalized matrices are not diagonal; writing the record anew makes the modes orthogonal.");
  run.expect(ratio.figure <= run.tolerance(),
             {Level::error, "eigenvalues", "against generalized stiffness over mass, relative", ratio.figure,
              ratio.place, "Eigenvalue, generalized mass and stiffness of the mode do not belong together."});
  run.expect(frequency.figure <= run.tolerance(),
             {Level::error, "eigenvalues", "against frequencies, relative", frequency.figure, frequency.place,
              "The frequency is not that of the eigenvalue in the units of the record."});
}

void check_generalized_masses(CheckRun &run) {
  Worst away;
  int bad = 0;
  std::string first;
  for (int m = 0; m < run.modes(); ++m) {
    Row row;
    if (!row_of(run, m, row)) return;
    if (!(row.mass > 0.0) && bad++ == 0) first = run.mode_name(m);
    away.take(std::fabs(row.mass - 1.0), run.mode_name(m));
  }
  run.expect(bad == 0, {Level::error, "generalized masses", "modes whose generalized mass is not above zero",
                        static_cast<double>(bad), first, "Such a mode does not move, or adds energy when it does."});
  // Matrices may stand in the record as they came.
  const bool as_they_came = run.has(12);
  run.expect(away.figure <= 1e-6,
             {as_they_came ? Level::note : Level::error, "generalized masses", "away from 1", away.figure, away.place,
              as_they_came ? "The modes are not normalized; writing the record anew does that."
                           : "Solvers take the modes of a record as normalized to unit mass."});
}

// ---- shapes that stand twice
// -----------------------------------------------------------------------------------------

// What some fixed random directions see of a shape of unit length, with the sign of the first.
struct Trace {
  int mode = 0;
  double seen[3] = {};
};

std::vector<Trace> traces_of(CheckRun &run) {
  std::vector<Trace> traces;
  for (int m = 0; m < run.modes(); ++m) {
    const std::vector<double> &shape = run.shape(m, 0);
    const double norm = std::sqrt(std::inner_product(shape.begin(), shape.end(), shape.begin(), 0.0));
    if (!(norm > 0.0) || !std::isfinite(norm)) continue;
    Trace trace{m, {}};
    std::mt19937 random(12345);
    for (const double value : shape)
      for (double &seen : trace.seen) seen += value / norm * (static_cast<double>(random()) / 2147483648.0 - 1.0);
    if (trace.seen[0] < 0.0)
      for (double &seen : trace.seen) seen = -seen;
    traces.push_back(trace);
  }
  return traces;
}

double likeness(CheckRun &run, int a, int b) {
  const std::vector<double> p = run.shape(a, 0);
  const std::vector<double> &q = run.shape(b, 0);
  const double pq = std::inner_product(p.begin(), p.end(), q.begin(), 0.0);
  const double pp = std::inner_product(p.begin(), p.end(), p.begin(), 0.0);
  const double qq = std::inner_product(q.begin(), q.end(), q.begin(), 0.0);
  return pq * pq / (pp * qq);
}

void check_duplicates(CheckRun &run) {
  std::vector<Trace> traces = traces_of(run);
  std::sort(traces.begin(), traces.end(), [](const Trace &a, const Trace &b) { return a.seen[0] < b.seen[0]; });
  int pairs = 0;
  std::string first;
  const double close = std::max(1e-5, run.tolerance());
  for (std::size_t i = 0; i < traces.size(); ++i)
    for (std::size_t k = i + 1; k < traces.size() && traces[k].seen[0] - traces[i].seen[0] <= close; ++k) {
      const Trace &a = traces[i];
      const Trace &b = traces[k];
      if (std::fabs(a.seen[1] - b.seen[1]) > close || std::fabs(a.seen[2] - b.seen[2]) > close) continue;
      if (!(likeness(run, a.mode, b.mode) > 1.0 - 1e-8)) continue;
      if (pairs++ == 0)
        first = run.mode_name(std::min(a.mode, b.mode)) + " and " +
                std::to_string(SBR_ModeNumber(run.body(), std::max(a.mode, b.mode)));
    }
  run.expect(pairs == 0, {Level::error, "modes", "pairs of modes with the same shape", static_cast<double>(pairs),
                          first, "The modes are not independent: the equations of motion become singular."});
}

void check_mode_table(CheckRun &run) {
  std::set<int> numbers;
  std::string first_number;
  int still = 0;
  std::string first_still;
  for (int m = 0; m < run.modes(); ++m) {
    if (!numbers.insert(SBR_ModeNumber(run.body(), m)).second && first_number.empty()) first_number = run.mode_name(m);
    const auto is_zero = [](double value) { return value == 0.0; };
    const std::vector<double> &shape = run.shape(m, 0);
    if (std::all_of(shape.begin(), shape.end(), is_zero) && still++ == 0) first_still = run.mode_name(m);
  }
  run.expect(first_number.empty(), {Level::error, "modes", "mode numbers that stand more than once",
                                    run.modes() - static_cast<double>(numbers.size()), first_number,
                                    "Data that is given by mode number reaches one of them only."});
  run.expect(still == 0, {Level::error, "modes", "modes that move no node", static_cast<double>(still), first_still,
                          "A shape of zeros has no effect and makes the equations of motion singular."});
}

}  // namespace

void check_numbers(CheckRun &run) {
  check_nodes_finite(run);
  static const char *const kinds[] = {"mode shapes", "modal stress vectors", "modal strain vectors"};
  for (int kind = 0; kind < 3; ++kind)
    if (SBR_ModeExist(run.body(), kind) != 0) check_modes_finite(run, kind, kinds[kind]);
}

void check_modes(CheckRun &run) {
  if (run.modes() == 0) return;
  check_frequency_numbers(run);
  check_eigenvalues(run);
  check_generalized_masses(run);
  if (SBR_ModeExist(run.body(), 0) == 0) return;
  check_mode_table(run);
  check_duplicates(run);
}

}  // namespace sbrtool
