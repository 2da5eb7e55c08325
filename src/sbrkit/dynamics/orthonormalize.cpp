// Orthonormal modes: eigenproblem, order, Gram-Schmidt, eigenvalue table, and all that goes along with the modes.
#include "dynamics/orthonormalize.h"

#include <algorithm>

#include "base/reports.h"
#include "body/loads.h"
#include "body/matrices.h"
#include "body/monitor_points.h"
#include "body/node_table.h"
#include "body/registry.h"
#include "body/units.h"
#include "dynamics/rigid_modes.h"
#include "modes/access.h"
#include "modes/store.h"
#include "modes/transform.h"

namespace sbr {
namespace {

void set_identity(double *matrix, int order) noexcept {
  const auto n = static_cast<std::size_t>(order);
  std::fill_n(matrix, n * n, 0.0);
  for (std::size_t i = 0; i < n; ++i) matrix[i * n + i] = 1.0;
}

// ---- the eigenproblem ----------------------------------------------------------------------------------------------

// All memory of the eigenproblem, taken before anything of the body changes.
struct EigenProblem {
  int n = 0;
  double ucf = 1.0;
  SquareMatrix vectors;  // Z of the solver; later the copy that Gram-Schmidt works on
  SquareMatrix stiffness;
  SquareMatrix mass;
  Array<double> alfr;  // real parts, then the real eigenvalues
  Array<double> alfi;
  Array<double> beta;
  Array<double> column;  // one eigenvector
  Array<double> weights;
  Array<double> products;
  Array<int> order;
  Array<EigenRecord> table;
  Array<std::int32_t> numbers_before;

  [[nodiscard]] bool allocate(int order_of_matrices) noexcept {
    n = order_of_matrices;
    return vectors.allocate(n) && stiffness.allocate(n) && mass.allocate(n) && alfr.allocate(n) && alfi.allocate(n) &&
           beta.allocate(n) && column.allocate(n) && weights.allocate(n) && products.allocate(n) && order.allocate(n) &&
           table.allocate(n) && numbers_before.allocate(n);
  }
};

// Runs the four stages of QZ on the full matrices, whose columns are their rows. The eigenvectors come as columns of T.
void run_qz(EigenProblem &p, SquareMatrix &T) noexcept {
  const int with_vectors = 1;
  const double eps1 = 0.0;
  int ierr = 0;
  double *a = p.stiffness.data();
  double *b = p.mass.data();
  double *z = p.vectors.data();
  report_info("  (Finding upper Hessenberg and upper triangular forms)");
  SBR_QZHESS(&p.n, &p.n, a, b, &with_vectors, z);
  report_info("  (Converting upper Hessenberg form to quasi-upper triangular)");
  SBR_QZITT(&p.n, &p.n, a, b, &eps1, &with_vectors, z, &ierr);
  report_info("  (Calculating Eigenvalues)");
  SBR_QZVALL(&p.n, &p.n, a, b, p.alfr.data(), p.alfi.data(), p.beta.data(), &with_vectors, z);
  report_info("  (Calculating Eigenvectors)");
  SBR_QZVECC(&p.n, &p.n, a, b, p.alfr.data(), p.alfi.data(), p.beta.data(), z);
  for (int i = 0; i < p.n; ++i)
    for (int j = 0; j < p.n; ++j) T.row(i)[j] = p.vectors.row(j)[i];
}

// Turns the quotients of the solver into real eigenvalues, in alfr.
void take_real_eigenvalues(EigenProblem &p) noexcept {
  for (int i = 0; i < p.n; ++i) {
    const auto k = static_cast<std::size_t>(i);
    if (p.alfi[k] == 0.0 && p.beta[k] == 0.0) {
      report_warning(
          "Mode %d is not physically meaningful\n"
          "It contains an infinite eigenvalue.  Ignoring this mode.\n",
          i + 1);
      p.alfr[k] = kInfiniteEigenvalue;
      continue;
    }
    if (p.alfi[k] != 0.0)
      report_warning(
          "Flexible component is not physically meaningful\n"
          "It contains an eigenvalue with a nonzero imaginary part, %lf\n"
          "This imaginary part is being ignored.  Please verify that this is acceptable.",
          p.alfi[k] / p.beta[k]);
    p.alfr[k] = p.alfr[k] / p.beta[k];
  }
}

// Brings eigenvalues and columns of T to ascending order. The list is reversed first and then sorted by neighbours, so
// that ties keep the reversed order, and a NaN stays where it stands and parts the list.
void sort_eigenpairs(EigenProblem &p, SquareMatrix &T) noexcept {
  double *e = p.alfr.data();
  int *order = p.order.data();
  for (int i = 0; i < p.n; ++i) order[i] = i;
  std::reverse(e, e + p.n);
  std::reverse(order, order + p.n);
  for (bool swapped = true; swapped;) {
    swapped = false;
    for (int i = 1; i < p.n; ++i) {
      if (!(e[i - 1] > e[i])) continue;
      std::swap(e[i - 1], e[i]);
      std::swap(order[i - 1], order[i]);
      swapped = true;
    }
  }
  double *sorted = p.column.data();
  for (int i = 0; i < p.n; ++i) {
    double *row = T.row(i);
    for (int j = 0; j < p.n; ++j) sorted[j] = row[order[j]];
    std::copy(sorted, sorted + p.n, row);
  }
}

// x^T A x, summed row by row.
double quadratic_form(const SquareMatrix &A, const double *x) noexcept {
  double sum = 0.0;
  for (int r = 0; r < A.order(); ++r) {
    const double *row = A.row(r);
    for (int s = 0; s < A.order(); ++s) sum += x[r] * row[s] * x[s];
  }
  return sum;
}

void take_column(const SquareMatrix &T, int c, double *out) noexcept {
  for (int i = 0; i < T.order(); ++i) out[i] = T.row(i)[c];
}

// Scales column c of W to unit generalized mass. False for a column whose mass is not positive; it stays.
bool normalize_column(const SquareMatrix &mass, SquareMatrix &W, int c, double *column) noexcept {
  take_column(W, c, column);
  const double m = quadratic_form(mass, column);
  if (!(m > 0.0)) return false;
  const double root = std::sqrt(m);
  for (int i = 0; i < W.order(); ++i) {
    column[i] = column[i] / root;
    W.row(i)[c] = column[i];
  }
  return true;
}

// Takes the part along a unit column out of the later columns of W. The parts are those of T, as it stood before.
void project_out(EigenProblem &p, const SquareMatrix &T, SquareMatrix &W, int c) noexcept {
  double *w = p.weights.data();
  double *d = p.products.data();
  const double *column = p.column.data();
  std::fill(w, w + p.n, 0.0);
  for (int r = 0; r < p.n; ++r)
    for (int s = 0; s < p.n; ++s) w[r] += column[s] * p.mass.row(r)[s];
  std::fill(d, d + p.n, 0.0);
  for (int i = 0; i < p.n; ++i)
    for (int j = c + 1; j < p.n; ++j) d[j] += T.row(i)[j] * w[i];
  for (int i = 0; i < p.n; ++i) {
    double *row = W.row(i);
    for (int j = c + 1; j < p.n; ++j) row[j] = row[j] - d[j] * column[i];
  }
}

// Gram-Schmidt of the columns of T against the mass matrix.
void orthonormalize_columns(EigenProblem &p, SquareMatrix &T) noexcept {
  SquareMatrix &W = p.vectors;
  std::copy(T.data(), T.data() + T.values().size(), W.data());
  for (int c = 0; c < p.n - 1; ++c)
    if (normalize_column(p.mass, W, c, p.column.data())) project_out(p, T, W, c);
  normalize_column(p.mass, W, p.n - 1, p.column.data());
  T.values().swap(W.values());
}

// The table of the transformed modes: unit masses, and stiffnesses from the given matrix.
void install_table(SbrBody &body, EigenProblem &p, const SquareMatrix &T) noexcept {
  for (int i = 0; i < p.n; ++i) {
    const auto k = static_cast<std::size_t>(i);
    take_column(T, i, p.column.data());
    const double s = quadratic_form(p.stiffness, p.column.data());
    EigenRecord &row = p.table[k];
    row.generalized_mass = 1.0;
    row.generalized_stiffness = s;
    set_eigenvalue(row, p.alfr[k] == kInfiniteEigenvalue ? kInfiniteEigenvalue : s, p.ucf);
  }
  body.matrices.eigenvalues.swap(p.table);
  body.matrices.eigenvalue_count = p.n;
  body.matrices.stiffness.release();
  renumber_modes_from_one(body, p.numbers_before);
}

// Solves the eigenproblem of the generalized matrices into T and the eigenvalue table. False when memory is short,
// before anything has changed.
bool solve_eigenproblem(SbrBody &body, SquareMatrix &T) noexcept {
  report_info("\nSolving Generalized Eigenvalue Problem to orthogonalize mode shapes.");
  EigenProblem p;
  if (!p.allocate(T.order())) return report_no_memory(unit_name::kWriting) != 0;
  p.ucf = consistency_factor(body);
  full_stiffness(body, p.stiffness.data(), p.n);
  full_mass(body, p.mass.data(), p.n);
  run_qz(p, T);
  take_real_eigenvalues(p);
  sort_eigenpairs(p, T);
  print_eigenvalues(p.alfr.data(), p.n, p.ucf);
  // The solver has used both matrices up. They are read again before the table they may stem from is replaced.
  full_mass(body, p.mass.data(), p.n);
  full_stiffness(body, p.stiffness.data(), p.n);
  body.matrices.mass.release();
  report_info("\n  Applying Gram-Schmidt to eigenvectors \n ");
  orthonormalize_columns(p, T);
  install_table(body, p, T);
  return true;
}

// ---- what goes along with the modes --------------------------------------------------------------------------------

// Modes from the first infinite eigenvalue on are dropped; this is how many stay.
int count_finite_modes(const SbrBody &body, int n) noexcept {
  const Array<EigenRecord> &table = body.matrices.eigenvalues;
  const int reach = std::min(n, table.count());
  for (int i = 0; i < reach; ++i)
    if (table[i].eigenvalue == kInfiniteEigenvalue) return i;
  return n;
}

void scale_columns(double *T, int n, const double *scale) noexcept {
  for (int i = 0; i < n; ++i) {
    double *row = T + static_cast<std::ptrdiff_t>(i) * n;
    for (int j = 0; j < n; ++j) row[j] = row[j] / scale[j];
  }
}

// General damping goes along with the scales only. Entries outside the mode table stay.
void scale_damping(SbrBody &body, int n, const double *scale) noexcept {
  for (SparseEntry &entry : body.matrices.damping) {
    if (entry.row < 0 || entry.row >= n || entry.column < 0 || entry.column >= n) continue;
    const double p = scale[entry.row] * scale[entry.column];
    if (p != 0.0) entry.value = entry.value / p;
  }
}

// A vector of modal forces in the new modes. The values before `start` stand on the principal axes and stay.
bool transform_modal_vector(Array<double> &values, int start, const double *T, int n) noexcept {
  // A vector that was entered before all modes were there is no load on these modes: the body is inconsistent.
  if (values.size() < static_cast<std::size_t>(n)) {
    report_error("Failed to transform modal loads following orthonormalization.\n");
    return false;
  }
  Array<double> sums;
  if (!sums.allocate(n)) return report_no_memory(unit_name::kWriting) != 0;
  for (int k = start; k < n; ++k) {
    const double *row = T + static_cast<std::ptrdiff_t>(k) * n;
    const double old = values[k];
    for (int j = start; j < n; ++j) sums[j] += old * row[j];
  }
  std::copy(sums.begin() + start, sums.end(), values.begin() + start);
  return true;
}

// All load cases and the preload. False when one of them could not be transformed; the others are all the same.
bool transform_loads(SbrBody &body, const double *T, int n) noexcept {
  const int rigid = std::clamp(rigid_mode_count(body), 0, n);
  bool good = true;
  for (int c = 0; c < load_case_count(body); ++c) {
    ModalLoad *load = body.loads.modal[c];
    if (load != nullptr && !transform_modal_vector(load->values, load->processed != 0 ? rigid : 0, T, n)) good = false;
  }
  if (!body.loads.preload.empty()) {
    const int start = preload_processed(body) != 0 ? rigid : 0;
    if (!transform_modal_vector(body.loads.preload, start, T, n)) good = false;
  }
  return good;
}

bool transform_mode_data(SbrBody &body, const double *T, int new_count) noexcept {
  for (const Kind kind : kKinds) {
    if (kind != Kind::shape && !has_block(body, kind_block(kind))) continue;
    if (!transform_modes(body, kind, new_count, T)) return false;
  }
  if (monitor_point_count(body) > 0) transform_monitor_points(body, T);
  return true;
}

// Scales the transformation to unit masses and carries all modal quantities over.
int carry_over(SbrBody &body, double *T, int n, int finite) noexcept {
  double *scale = nullptr;
  if (SBR_MassNormalizationScales(&body, &scale) == 0) {
    report_error("Failed to mass normalize the eigen vectors\n");
    return 0;
  }
  scale_columns(T, n, scale);
  scale_damping(body, n, scale);
  std::free(scale);
  if (!transform_loads(body, T, n) || !transform_mode_data(body, T, finite)) return 0;
  body.mode_table.mode_count = finite;
  return 1;
}

// ---- generalized masses between two groups of modes ----------------------------------------------------------------

// Both halves of a mode shape, three values per node.
struct ModeHalves {
  Array<double> translations;
  Array<double> rotations;

  [[nodiscard]] bool allocate(int nodes) noexcept {
    return translations.allocate(3 * static_cast<std::int64_t>(nodes)) &&
           rotations.allocate(3 * static_cast<std::int64_t>(nodes));
  }
  [[nodiscard]] bool read(SbrBody &body, int number) noexcept {
    return mode_part(body, mode_index(body, number), Kind::shape, 0, translations.data()) &&
           mode_part(body, mode_index(body, number), Kind::shape, 1, rotations.data());
  }
};

double dot(const double *a, const double *b) noexcept { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

// The generalized mass of two modes over the nodal masses and inertias.
double generalized_mass_of(SbrBody &body, const ModeHalves &a, const ModeHalves &b, int nodes) noexcept {
  double sum = 0.0;
  for (int k = 0; k < nodes; ++k) {
    const std::ptrdiff_t at = 3 * static_cast<std::ptrdiff_t>(k);
    sum += nodal_mass(body, k) * dot(a.translations.data() + at, b.translations.data() + at);
    double inertia[9] = {};
    if (body.nodes.nodes[k].inertia < 0 || !nodal_inertia(body, k, inertia)) continue;
    const double *turn = a.rotations.data() + at;
    const double moment[3] = {dot(inertia, turn), dot(inertia + 3, turn), dot(inertia + 6, turn)};
    sum += dot(moment, b.rotations.data() + at);
  }
  return sum;
}

void add_masses_between(SbrBody &body, int first_count, int extra_count) noexcept {
  const int nodes = std::min(body.nodes.nodes.count(), kind_count(body, Kind::shape));
  ModeHalves first;
  ModeHalves extra;
  if (!first.allocate(kind_count(body, Kind::shape)) || !extra.allocate(kind_count(body, Kind::shape))) {
    report_no_memory(unit_name::kWriting);
    return;
  }
  for (int i = 1; i <= first_count; ++i) {
    bool good = first.read(body, i);
    for (int j = first_count + 1; good && j <= first_count + extra_count; ++j) {
      good = extra.read(body, j);
      if (!good) break;
      const double value = generalized_mass_of(body, first, extra, nodes);
      good = SBR_SetGeneralizedMass(&body, i, j, value) != 0 && SBR_SetGeneralizedMass(&body, j, i, value) != 0;
    }
    if (!good) {
      report_error("Failed to extract mode information for SBR.\n");
      return;
    }
  }
}

}  // namespace

bool orthonormalize(SbrBody &body) noexcept { return SBR_OrthoNormalize(&body) != 0; }

}  // namespace sbr

extern "C" {

int SBR_OrthoNormalize(SBR body) {
  if (!sbr::require_body(body)) return 0;
  sbr::Array<double> &transformation = body->access.transformation;
  if (!sbr::modes_need_work(*body) && transformation) return 1;
  const int n = sbr::mode_count(*body);
  if (n < 1) return 0;
  sbr::SquareMatrix T;
  if (!T.allocate(n)) return sbr::report_no_memory(sbr::unit_name::kWriting);
  if (body->matrices.modes_not_orthogonal == 0)
    sbr::set_identity(T.data(), n);
  else if (!sbr::solve_eigenproblem(*body, T))
    return 0;
  transformation.swap(T.values());
  if (SBR_EnsureEigenTable(body) == 0) return 0;
  const int finite = sbr::count_finite_modes(*body, n);
  if (sbr::modes_need_work(*body)) return sbr::carry_over(*body, transformation.data(), n, finite);
  body->mode_table.mode_count = finite;
  if (finite < n && finite >= 1) sbr::set_identity(transformation.data(), finite);
  return 1;
}

void SBR_AnsysAddGenMass(SBR body, int first_count, int extra_count) {
  if (!sbr::require_body(body)) return;
  if (static_cast<std::int64_t>(first_count) + extra_count != sbr::mode_count(*body)) {
    sbr::report_error("Mode count mismatch while generating additional generalized masses.");
    return;
  }
  if (first_count >= 1 && extra_count >= 1) sbr::add_masses_between(*body, first_count, extra_count);
}

}  // extern "C"
