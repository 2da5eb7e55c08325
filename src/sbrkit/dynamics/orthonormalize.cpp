// Orthonormal modes: eigenproblem, order, Gram-Schmidt, eigenvalue table, and all that goes along with the modes.
#include "dynamics/orthonormalize.h"

#include <algorithm>

#include "base/reports.h"
#include "body/loads.h"
#include "body/matrices.h"
#include "body/matrix_entry.h"
#include "body/monitor_points.h"
#include "body/node_table.h"
#include "body/registry.h"
#include "body/units.h"
#include "dynamics/drop_modes.h"
#include "dynamics/eigen_table.h"
#include "dynamics/qz.h"
#include "dynamics/rigid_modes.h"
#include "dynamics/square_matrix.h"
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

  [[nodiscard]] bool allocate(int order_of_matrices) noexcept {
    n = order_of_matrices;
    return vectors.allocate(n) && stiffness.allocate(n) && mass.allocate(n) && alfr.allocate(n) && alfi.allocate(n) &&
           beta.allocate(n) && column.allocate(n) && weights.allocate(n) && products.allocate(n) && order.allocate(n);
  }
};

// Runs the four stages of QZ on the full matrices, whose columns are their rows. The eigenvectors come as columns of T.
void run_qz(EigenProblem &p, SquareMatrix &T) noexcept {
  double *a = p.stiffness.data();
  double *b = p.mass.data();
  double *z = p.vectors.data();
  report_info("  (Finding upper Hessenberg and upper triangular forms)");
  qz::to_hessenberg(p.n, p.n, a, b, z);
  report_info("  (Converting upper Hessenberg form to quasi-upper triangular)");
  (void)qz::iterate(p.n, p.n, a, b, 0.0, z);  // eigenvalues that were not reached come as they are
  report_info("  (Calculating Eigenvalues)");
  qz::eigenvalues(p.n, p.n, a, b, p.alfr.data(), p.alfi.data(), p.beta.data(), z);
  report_info("  (Calculating Eigenvectors)");
  qz::eigenvectors(p.n, p.n, a, b, p.alfr.data(), p.alfi.data(), p.beta.data(), z);
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
void fill_table(EigenProblem &p, const SquareMatrix &T, Array<EigenRecord> &rows) noexcept {
  for (int i = 0; i < p.n; ++i) {
    take_column(T, i, p.column.data());
    const double s = quadratic_form(p.stiffness, p.column.data());
    EigenRecord &row = rows[i];
    row.generalized_mass = 1.0;
    row.generalized_stiffness = s;
    set_eigenvalue(row, p.alfr[i] == kInfiniteEigenvalue ? kInfiniteEigenvalue : s, p.ucf);
  }
}

// Solves the eigenproblem of the generalized matrices into T and a table. False after a report when memory is short.
bool solve_eigenproblem(SbrBody &body, SquareMatrix &T, EigenTable &table) noexcept {
  report_info("\nSolving Generalized Eigenvalue Problem to orthogonalize mode shapes.");
  EigenProblem p;
  if (!p.allocate(T.order()) || !table.allocate(T.order())) return report_no_memory(unit_name::kWriting);
  p.ucf = consistency_factor(body);
  full_stiffness(body, p.stiffness.data(), p.n);
  full_mass(body, p.mass.data(), p.n);
  run_qz(p, T);
  take_real_eigenvalues(p);
  sort_eigenpairs(p, T);
  print_eigenvalues(p.alfr.data(), p.n, p.ucf);
  // The solver has used both matrices up.
  full_mass(body, p.mass.data(), p.n);
  full_stiffness(body, p.stiffness.data(), p.n);
  report_info("\n  Applying Gram-Schmidt to eigenvectors \n ");
  orthonormalize_columns(p, T);
  fill_table(p, T, table.rows);
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
void transform_modal_vector(Array<double> &values, int start, const double *T, Array<double> &sums) noexcept {
  const int n = sums.count();
  sums.fill_zero();
  for (int k = start; k < n; ++k) {
    const double *row = T + static_cast<std::ptrdiff_t>(k) * n;
    const double old = values[k];
    for (int j = start; j < n; ++j) sums[j] += old * row[j];
  }
  std::copy(sums.begin() + start, sums.end(), values.begin() + start);
}

// All load cases and the preload, which have a value for every mode.
void transform_loads(SbrBody &body, int rigid, const double *T, Array<double> &sums) noexcept {
  for (std::size_t c = 0; c < body.loads.modal.size(); ++c)
    if (ModalLoad *load = body.loads.modal[c]; load != nullptr)
      transform_modal_vector(load->values, load->processed != 0 ? rigid : 0, T, sums);
  if (!body.loads.preload.empty())
    transform_modal_vector(body.loads.preload, preload_processed(body) != 0 ? rigid : 0, T, sums);
}

// One run. All that can fail happens beside the body or can be taken back; then the body changes as a whole.
class Orthonormalization {
 public:
  explicit Orthonormalization(SbrBody &body) noexcept : body_(body), n_(mode_count(body)) {}
  ~Orthonormalization() {
    if (!done_) take_back();
  }
  Orthonormalization(const Orthonormalization &) = delete;
  Orthonormalization &operator=(const Orthonormalization &) = delete;

  [[nodiscard]] bool run() noexcept {
    if (!make_transformation()) return false;
    if (!body_.matrices.eigenvalues) {
      if (!build_eigen_table(body_, table_)) return false;
      install_table();
    }
    const int finite = count_finite_modes(body_, n_);
    double *T = body_.access.transformation.data();
    if (modes_need_work(body_)) {
      if (!carry_over(T, finite)) return false;
    } else if (finite < n_ && finite >= 1) {
      set_identity(T, finite);
    }
    drop_modes_behind(body_, finite);
    done_ = true;
    return true;
  }

 private:
  bool make_transformation() noexcept {
    if (!T_.allocate(n_)) return report_no_memory(unit_name::kWriting);
    if (body_.matrices.modes_not_orthogonal == 0) {
      set_identity(T_.data(), n_);
    } else {
      if (!solve_eigenproblem(body_, T_, table_)) return false;
      install_table();
    }
    body_.access.transformation.swap(T_.values());
    transformation_installed_ = true;
    return true;
  }

  void install_table() noexcept {
    install_eigen_table(body_, table_);
    table_installed_ = true;
  }

  // Scales the transformation to unit masses and carries all modal quantities over.
  bool carry_over(double *T, int finite) noexcept {
    Array<double> scales;
    if (!scales.allocate(n_)) {
      report_no_memory(unit_name::kWriting);
      report_error("Failed to mass normalize the eigen vectors\n");
      return false;
    }
    Array<double> sums;
    if (!remember_rows() || !sums.allocate(n_) || !extend_modal_vectors(body_))
      return report_no_memory(unit_name::kWriting);
    normalize_masses(body_, scales.span());
    scale_columns(T, n_, scales.data());
    const int rigid = std::clamp(rigid_mode_count(body_), 0, n_);
    PerKind<ModeTransformation> kinds{{{body_, Kind::shape}, {body_, Kind::stress}, {body_, Kind::strain}}};
    for (const Kind kind : kKinds)
      if ((kind == Kind::shape || has_block(body_, kKindFacts[kind].block)) && !kinds[kind].prepare(finite, T))
        return false;
    if (monitor_point_count(body_) > 0 && !transform_monitor_points(body_, T)) return false;
    // From here on nothing fails.
    for (ModeTransformation &transformation : kinds) transformation.install();
    scale_damping(body_, n_, scales.data());
    transform_loads(body_, rigid, T, sums);
    return true;
  }

  bool remember_rows() noexcept {
    const Array<EigenRecord> &rows = body_.matrices.eigenvalues;
    if (!former_rows_.allocate(rows.count())) return rows.empty();
    std::copy(rows.begin(), rows.end(), former_rows_.begin());
    return true;
  }

  void take_back() noexcept {
    std::copy(former_rows_.begin(), former_rows_.end(), body_.matrices.eigenvalues.begin());
    if (transformation_installed_) body_.access.transformation.swap(T_.values());
    if (table_installed_) withdraw_eigen_table(body_, table_);
  }

  SbrBody &body_;
  int n_;
  SquareMatrix T_;    // the new transformation; once it is installed, the former one
  EigenTable table_;  // likewise
  bool transformation_installed_ = false;
  bool table_installed_ = false;
  Array<EigenRecord> former_rows_;  // before their masses were normalized
  bool done_ = false;
};

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
      const int row = mode_index(body, i);
      const int column = mode_index(body, j);
      good = enter_generalized_mass(body, row, column, value) && enter_generalized_mass(body, column, row, value);
    }
    if (!good) {
      report_error("Failed to extract mode information for SBR.\n");
      return;
    }
  }
}

}  // namespace

bool orthonormalize(SbrBody &body) noexcept {
  if (!modes_need_work(body) && body.access.transformation) return true;
  return mode_count(body) >= 1 && Orthonormalization(body).run();
}

}  // namespace sbr

extern "C" {

int SBR_OrthoNormalize(SBR body) { return sbr::require_body(body) && sbr::orthonormalize(*body) ? 1 : 0; }

void SBR_AnsysAddGenMass(SBR body, int first_count, int extra_count) {
  if (!sbr::require_body(body)) return;
  if (static_cast<std::int64_t>(first_count) + extra_count != sbr::mode_count(*body)) {
    sbr::report_error("Mode count mismatch while generating additional generalized masses.");
    return;
  }
  if (first_count >= 1 && extra_count >= 1) sbr::add_masses_between(*body, first_count, extra_count);
}

}  // extern "C"
