#include "common/reduction.h"

#include <Eigen/Dense>
#include <algorithm>
#include <chrono>
#include <cmath>
#include <ctime>
#include <memory>
#include <numbers>
#include <stdexcept>

#include "common/eigen_solver.h"
#include "common/parted_matrix.h"
#include "common/sparse_solver.h"

namespace sbrtranslate {
namespace {

// Up to this size the modes below a frequency are counted by another factorization, beyond it they are looked for.
constexpr int kMostCountedRows = 60000;
constexpr double kTwoPi = 2.0 * std::numbers::pi;

double hertz(double eigenvalue) { return std::sqrt(std::max(eigenvalue, 0.0)) / kTwoPi; }

// The shapes of the reduced body; they live as long as its shape function. All of them are held at once: the pair
// products of the reduced matrices need them.
struct Basis {
  Rows rows;
  Dense boundary;  // the held rows of the constraint or interface modes
  Dense interior;  // their interior rows
  Dense fixed;     // the interior rows of normal and residual modes
};

void shape_of(const Basis &basis, int mode, std::vector<double> &values) {
  const auto first_fixed = static_cast<int>(basis.interior.cols());
  values.assign(basis.rows.count(), 0.0);
  for (std::size_t r = 0; r < values.size(); ++r) {
    const int row = static_cast<int>(r);
    if (basis.rows.combination(row) != nullptr) continue;
    const int place = basis.rows.place(row);
    if (!basis.rows.held(row))
      values[r] = mode < first_fixed ? basis.interior(place, mode) : basis.fixed(place, mode - first_fixed);
    else if (mode < first_fixed)
      values[r] = basis.boundary(place, mode);
  }
  for (const DependentRow &dependent : basis.rows.dependent()) {
    double value = 0.0;
    for (const auto &[row, factor] : dependent.terms) value += factor * values[static_cast<std::size_t>(row)];
    values[static_cast<std::size_t>(dependent.row)] = value;
  }
}

std::vector<double> row_by_row(const Dense &matrix) {
  std::vector<double> values;
  values.reserve(static_cast<std::size_t>(matrix.size()));
  for (Eigen::Index r = 0; r < matrix.rows(); ++r)
    for (Eigen::Index c = 0; c < matrix.cols(); ++c) values.push_back(matrix(r, c));
  return values;
}

Dense symmetric(const Dense &matrix) { return 0.5 * (matrix + matrix.transpose()); }

// The parts of a motion of the whole body.
struct Motion {
  Dense interior, boundary;
};

Motion force_of(const PartedMatrix &a, const Motion &u) {
  return {times_symmetric(a.ii, u.interior) + a.ib * u.boundary, a.ib.transpose() * u.interior + a.bb * u.boundary};
}

// Makes columns orthogonal to shapes of unit mass and to each other, in mass and stiffness; what depends on the others
// is dropped. Returns the eigenvalues of what is left.
Vector orthogonalize(Dense &columns, const Dense &shapes, const PartedMatrix &k, const PartedMatrix &m) {
  const auto masses = [&](const Dense &x) { return Dense(x.transpose() * times_symmetric(m.ii, x)); };
  const Vector before = masses(columns).diagonal();
  const Dense m_shapes = times_symmetric(m.ii, shapes);
  for (int pass = 0; pass < 2; ++pass) columns -= shapes * (m_shapes.transpose() * columns);
  const Vector after = masses(columns).diagonal();
  std::vector<Eigen::Index> kept;
  for (Eigen::Index j = 0; j < columns.cols(); ++j)
    if (after[j] > 1e-16 * before[j] && after[j] > 0.0) kept.push_back(j);
  Dense unit(columns.rows(), static_cast<Eigen::Index>(kept.size()));
  for (std::size_t j = 0; j < kept.size(); ++j)
    unit.col(static_cast<Eigen::Index>(j)) = columns.col(kept[j]) / std::sqrt(after[kept[j]]);
  if (kept.empty()) {
    columns = unit;
    return Vector(0);
  }
  const Eigen::SelfAdjointEigenSolver<Dense> gram(masses(unit));
  Eigen::Index first = 0;
  while (gram.eigenvalues()[first] < 1e-10 * gram.eigenvalues().tail(1)[0]) ++first;
  const Eigen::Index rank = unit.cols() - first;
  const Vector roots = gram.eigenvalues().tail(rank).cwiseSqrt().cwiseInverse();
  unit = Dense(unit * (gram.eigenvectors().rightCols(rank) * roots.asDiagonal()));
  const Eigen::SelfAdjointEigenSolver<Dense> own(symmetric(unit.transpose() * times_symmetric(k.ii, unit)));
  columns = unit * own.eigenvectors();
  return own.eigenvalues();
}

// The eigenpairs of small dense matrices, ascending, unit generalized mass. The mass may be singular: what has none has
// no finite eigenvalue and is left out.
struct DensePairs {
  Vector values;
  Dense shapes;
};

// Solves M x = mu (K + s M) x, with lambda = 1/mu - s, for a shift s of the size of the lowest elastic eigenvalue: K +
// s M is positive definite though K may be singular for rigid motions, `rigid` in number, and M for what has no mass.
DensePairs dense_eigenpairs(const Dense &k, const Dense &m, Eigen::Index rigid) {
  double shift = 1e-6 * k.trace() / m.trace();
  DensePairs pairs;
  for (int pass = 0; pass < 3; ++pass) {
    const Eigen::GeneralizedSelfAdjointEigenSolver<Dense> solver(m, k + shift * m);
    if (solver.info() != Eigen::Success) throw std::runtime_error("the modes of the reduced body did not converge");
    const Vector mu = solver.eigenvalues().reverse();
    const auto count = static_cast<Eigen::Index>((mu.array() > 1e-14 * mu[0]).count());
    pairs.values = mu.head(count).cwiseInverse().array() - shift;
    const Vector scale = mu.head(count).cwiseSqrt().cwiseInverse();
    pairs.shapes = solver.eigenvectors().rowwise().reverse().leftCols(count) * scale.asDiagonal();
    // What is zero within rounding is a rigid motion too, though nobody told of it.
    const double least = 1e-11 * k.trace() / m.trace();
    const auto elastic = std::find_if(pairs.values.begin() + std::min(rigid, count), pairs.values.end(),
                                      [&](double value) { return value > least; });
    if (elastic != pairs.values.end()) shift = *elastic;
  }
  return pairs;
}

class Reducer {
 public:
  explicit Reducer(const ReductionRequest &request)
      : request_(request), basis_(std::make_shared<Basis>(Basis{Rows(request.held, request.dependent), {}, {}, {}})) {}
  Reduction run();

 private:
  void read();
  PartedMatrix gather(const std::string &file, const std::vector<MatrixEntry> *entries, const char *step) const;
  void lay_out_rigid_motions();
  void factorize();
  [[nodiscard]] int wanted_modes() const;
  void add_normal_modes();
  EigenPairs solve_normal(int count);
  void add_constraint_modes();
  void add_residual_modes();
  void condense_interface();
  void use_interface_modes();
  void assemble();
  void add_effective_masses();
  void compare_free_modes();
  EigenPairs full_free_modes(double lowest);
  void tell(const char *step, double done, double left = -1.0) const {
    if (request_.progress) request_.progress({step, done, left});
  }
  // The rigid motions that the matrices leave free: six, or none where the body is supported.
  [[nodiscard]] int rigid_motions() const { return !request_.rigid.empty() && result_.rigid_residual < 1e-6 ? 6 : 0; }
  // The seconds since the last call.
  double lap() {
    const auto now = std::chrono::steady_clock::now();
    const std::chrono::duration<double> took = now - last_;
    last_ = now;
    return took.count();
  }
  // Tells of solutions as they come, with what is left by their rate so far.
  std::function<void(int, int)> counter(const char *step) const;

  const ReductionRequest &request_;
  std::shared_ptr<Basis> basis_;
  PartedMatrix k_, m_;
  SparseFactor factor_;
  Motion rigid_;
  Vector values_;      // of the normal and residual modes
  Dense k_cc_, m_cc_;  // of the constraint modes or interface modes
  Reduction result_;
  std::chrono::steady_clock::time_point last_ = std::chrono::steady_clock::now();
};

PartedMatrix Reducer::gather(const std::string &file, const std::vector<MatrixEntry> *entries, const char *step) const {
  PartedMatrixBuilder builder(basis_->rows);
  tell(step, 0.0);
  if (entries != nullptr)
    for (const MatrixEntry &entry : *entries) builder.add(entry.row, entry.column, entry.value);
  else
    read_matrix_entries(file, request_.file_rows.value_or(request_.dofs.size()), builder, {});
  tell(step, 1.0);
  return builder.build();
}

void Reducer::read() {
  if (basis_->rows.boundary() == 0 || basis_->rows.interior() == 0)
    throw std::runtime_error("the interface holds no degree of freedom, or all of them");
  k_ = gather(request_.stiffness_file, request_.stiffness_entries, "reading the stiffness");
  m_ = gather(request_.mass_file, request_.mass_entries, "reading the mass");
  result_.cost.reading = lap();
}

void Reducer::lay_out_rigid_motions() {
  if (request_.rigid.empty()) return;
  const Rows &rows = basis_->rows;
  rigid_.interior = Dense::Zero(rows.interior(), 6);
  rigid_.boundary = Dense::Zero(rows.boundary(), 6);
  for (std::size_t r = 0; r < rows.count(); ++r) {
    const int row = static_cast<int>(r);
    if (rows.combination(row) != nullptr) continue;
    auto &part = rows.held(row) ? rigid_.boundary : rigid_.interior;
    for (std::size_t j = 0; j < 6; ++j) part(rows.place(row), static_cast<Eigen::Index>(j)) = request_.rigid[r][j];
  }
  const Motion force = force_of(k_, rigid_);
  const Motion size = force_of({k_.ii.cwiseAbs(), k_.ib.cwiseAbs(), k_.bb.cwiseAbs()},
                               {rigid_.interior.cwiseAbs(), rigid_.boundary.cwiseAbs()});
  for (Eigen::Index j = 0; j < 6; ++j) {
    const double all = std::max(size.interior.col(j).maxCoeff(), size.boundary.col(j).maxCoeff());
    const double rest =
        std::max(force.interior.col(j).cwiseAbs().maxCoeff(), force.boundary.col(j).cwiseAbs().maxCoeff());
    result_.rigid_residual = std::max(result_.rigid_residual, rest / all);
  }
  const Motion inertia = force_of(m_, rigid_);
  const Dense masses = rigid_.interior.transpose() * inertia.interior + rigid_.boundary.transpose() * inertia.boundary;
  for (Eigen::Index j = 0; j < 6; ++j) result_.total_mass[static_cast<std::size_t>(j)] = masses(j, j);
}

void Reducer::factorize() {
  lap();
  tell("ordering the stiffness", 0.0);
  const SparseFactor::Size size = factor_.analyze(k_.ii);
  result_.cost.analysis = lap();
  tell("factorizing the stiffness", 0.0, size.seconds > 0.0 ? size.seconds : -1.0);
  const std::clock_t before = std::clock();
  const std::int64_t weak = factor_.factorize(k_.ii);
  result_.cost.factorization_cpu = static_cast<double>(std::clock() - before) / CLOCKS_PER_SEC;
  result_.cost.factorization = lap();
  result_.cost.solver = SparseFactor::name();
  result_.cost.rows = static_cast<double>(k_.ii.rows());
  result_.cost.entries = static_cast<double>(k_.ii.nonZeros());
  result_.cost.factor_entries = size.entries;
  result_.cost.factor_flops = size.flops;
  tell("factorizing the stiffness", 1.0, 0.0);
  if (weak < 0) return;
  std::string place;
  for (std::size_t r = 0; r < request_.dofs.size(); ++r)
    if (request_.held[r] == 0 && basis_->rows.combination(static_cast<int>(r)) == nullptr &&
        basis_->rows.place(static_cast<int>(r)) == weak)
      place = "; near node " + std::to_string(request_.dofs[r].node) + ", direction " +
              std::to_string(request_.dofs[r].direction);
  throw std::runtime_error("the stiffness matrix is singular with the interface held: a mechanism or a loose part?" +
                           place);
}

std::function<void(int, int)> Reducer::counter(const char *step) const {
  const auto start = std::chrono::steady_clock::now();
  return [this, step, start](int done, int likely) {
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
    const double left = std::max(likely - done, 0) * took.count() / done;
    tell(step, std::min(1.0, static_cast<double>(done) / likely), left);
  };
}

// The number of normal modes by the number and the frequency asked for, or -1 where they have to be looked for.
int Reducer::wanted_modes() const {
  if (!request_.max_hz) return request_.normal.value_or(0);
  if (k_.ii.rows() > kMostCountedRows) return -1;
  const double rad = kTwoPi * *request_.max_hz;
  const int below = count_eigenvalues_below(k_.ii, m_.ii, rad * rad);
  return request_.normal ? std::min(*request_.normal, below) : below;
}

EigenPairs Reducer::solve_normal(int count) {
  EigenPairs pairs = nearest_eigenpairs(factor_, m_.ii, 0.0, count, counter("normal modes"));
  result_.cost.solutions += pairs.solutions;
  return pairs;
}

void Reducer::add_normal_modes() {
  lap();
  const int wanted = wanted_modes();
  EigenPairs pairs;
  if (wanted >= 0) {
    pairs = solve_normal(wanted);
  } else {
    const double rad = kTwoPi * *request_.max_hz;
    const auto most = static_cast<int>(std::min<std::int64_t>(k_.ii.rows() - 1, request_.normal.value_or(1 << 30)));
    int count = std::min(most, 20);
    for (;; count = std::min(most, 2 * count)) {
      pairs = solve_normal(count);
      if (count == most || pairs.values[count - 1] > rad * rad) break;
    }
    const auto below = static_cast<Eigen::Index>((pairs.values.array() < rad * rad).count());
    pairs.values.conservativeResize(below);
    pairs.shapes.conservativeResize(Eigen::NoChange, below);
  }
  basis_->fixed = std::move(pairs.shapes);
  values_ = pairs.values;
  result_.normal_modes = static_cast<int>(values_.size());
  result_.cost.normal = lap();
}

void Reducer::add_constraint_modes() {
  lap();
  const Eigen::Index boundary = k_.ib.cols();
  basis_->interior.resize(k_.ii.rows(), boundary);
  constexpr Eigen::Index kAtOnce = 32;
  const auto count = counter("constraint modes");
  for (Eigen::Index j = 0; j < boundary; j += kAtOnce) {
    const Eigen::Index columns = std::min(kAtOnce, boundary - j);
    basis_->interior.middleCols(j, columns) = -factor_.solve(Dense(k_.ib.middleCols(j, columns)));
    count(static_cast<int>(j + columns), static_cast<int>(boundary));
  }
  result_.cost.constraint = lap();
}

// Static answers to unit forces and to rigid accelerations with the interface held, less their share in the normal
// modes (Phi Lambda^-1 Phi^t f).
void Reducer::add_residual_modes() {
  const auto forces = static_cast<Eigen::Index>(request_.attachments.size());
  const Eigen::Index inertia = request_.residual_inertia ? 6 : 0;
  if (forces + inertia == 0) return;
  Dense right = Dense::Zero(k_.ii.rows(), forces + inertia);
  for (Eigen::Index j = 0; j < forces; ++j) {
    const int row = request_.attachments[static_cast<std::size_t>(j)];
    if (basis_->rows.combination(row) != nullptr || basis_->rows.held(row))
      throw std::runtime_error(
          "a residual attachment mode needs a degree of freedom that is neither held nor dependent");
    right(basis_->rows.place(row), j) = 1.0;
  }
  if (inertia != 0) right.rightCols(6) = force_of(m_, rigid_).interior;
  tell("residual modes", 0.0);
  Dense columns = factor_.solve(right);
  const Vector own = orthogonalize(columns, basis_->fixed, k_, m_);
  result_.residual_modes = static_cast<int>(own.size());
  Dense all(k_.ii.rows(), values_.size() + own.size());
  all << basis_->fixed, columns;
  basis_->fixed = std::move(all);
  Vector values(values_.size() + own.size());
  values << values_, own;
  values_ = values;
  tell("residual modes", 1.0);
}

// The statically condensed body (Guyan): the matrices of the constraint modes.
void Reducer::condense_interface() {
  const Dense &psi = basis_->interior;
  const Dense m_cross = psi.transpose() * m_.ib;
  k_cc_ = symmetric(k_.bb + k_.ib.transpose() * psi);
  m_cc_ = symmetric(m_.bb + psi.transpose() * times_symmetric(m_.ii, psi) + m_cross + m_cross.transpose());
  basis_->boundary = Dense::Identity(psi.cols(), psi.cols());
}

// The lowest eigenmodes of the condensed body take the place of its constraint modes.
void Reducer::use_interface_modes() {
  if (!request_.interface_modes) return;
  const int count = *request_.interface_modes;
  if (count > k_cc_.rows())
    throw std::runtime_error("more interface modes asked for than the interface has degrees of freedom (" +
                             std::to_string(k_cc_.rows()) + ")");
  const DensePairs pairs = dense_eigenpairs(k_cc_, m_cc_, rigid_motions());
  if (count < rigid_motions())
    throw std::runtime_error(std::to_string(count) +
                             " interface modes leave out a rigid motion of the body, which has " +
                             std::to_string(rigid_motions()) + "; ask for more");
  if (count > pairs.values.size())
    throw std::runtime_error("only " + std::to_string(pairs.values.size()) + " interface modes have mass");
  const Dense chosen = pairs.shapes.leftCols(count);
  const Vector values = pairs.values.head(count);
  basis_->interior = Dense(basis_->interior * chosen);
  basis_->boundary = chosen;
  k_cc_ = values.asDiagonal();
  m_cc_ = Dense::Identity(count, count);
  for (Eigen::Index j = 0; j < count; ++j) result_.interface_hz.push_back(hertz(values[j]));
}

void Reducer::assemble() {
  const Eigen::Index first = basis_->interior.cols();
  const Eigen::Index fixed = values_.size();
  // Unit generalized masses bring constraint and normal modes to one scale.
  Vector scale = Vector::Ones(first);
  for (Eigen::Index j = 0; j < first; ++j)
    if (m_cc_(j, j) > 0.0) scale[j] = 1.0 / std::sqrt(m_cc_(j, j));
  basis_->interior = Dense(basis_->interior * scale.asDiagonal());
  basis_->boundary = Dense(basis_->boundary * scale.asDiagonal());
  const Dense inertia = times_symmetric(m_.ii, basis_->interior) + m_.ib * basis_->boundary;
  const Dense coupling = inertia.transpose() * basis_->fixed;
  Dense mass = Dense::Identity(first + fixed, first + fixed);
  Dense stiffness = Dense::Zero(first + fixed, first + fixed);
  mass.topLeftCorner(first, first) = scale.asDiagonal() * m_cc_ * scale.asDiagonal();
  stiffness.topLeftCorner(first, first) = scale.asDiagonal() * k_cc_ * scale.asDiagonal();
  mass.topRightCorner(first, fixed) = coupling;
  mass.bottomLeftCorner(fixed, first) = coupling.transpose();
  stiffness.bottomRightCorner(fixed, fixed) = values_.asDiagonal();
  result_.constraint_modes = static_cast<int>(first);
  result_.mass = row_by_row(mass);
  result_.stiffness = row_by_row(stiffness);
  for (Eigen::Index j = 0; j < fixed; ++j) result_.normal_hz.push_back(hertz(values_[j]));
}

// The participation of a mode in a rigid acceleration, squared; its generalized mass is 1.
void Reducer::add_effective_masses() {
  if (request_.rigid.empty()) return;
  const Dense factors = basis_->fixed.transpose() * force_of(m_, rigid_).interior;
  for (Eigen::Index i = 0; i < factors.rows(); ++i) {
    auto &row = result_.effective_mass.emplace_back();
    for (Eigen::Index j = 0; j < 6; ++j) row[static_cast<std::size_t>(j)] = factors(i, j) * factors(i, j);
  }
}

// The matrix of interior and held rows together, interior first.
SparseMatrix joined(const PartedMatrix &a) {
  const auto interior = a.ii.rows();
  std::vector<Eigen::Triplet<double, std::int64_t>> entries;
  const auto take = [&](const SparseMatrix &part, std::int64_t first_column) {
    for (Eigen::Index c = 0; c < part.outerSize(); ++c)
      for (SparseMatrix::InnerIterator it(part, c); it; ++it)
        entries.emplace_back(it.row(), first_column + it.col(), it.value());
  };
  take(a.ii, 0);
  take(a.ib, interior);
  for (Eigen::Index c = 0; c < a.bb.cols(); ++c)
    for (Eigen::Index r = 0; r <= c; ++r)
      if (a.bb(r, c) != 0.0) entries.emplace_back(interior + r, interior + c, a.bb(r, c));
  SparseMatrix all(interior + a.bb.rows(), interior + a.bb.rows());
  all.setFromTriplets(entries.begin(), entries.end());
  return all;
}

// Rigid motions have eigenvalue zero: a shift below it leaves the matrix positive definite.
EigenPairs Reducer::full_free_modes(double lowest) {
  const SparseMatrix stiffness = joined(k_);
  const SparseMatrix mass = joined(m_);
  const double shift = -0.3 * lowest;
  const SparseMatrix shifted = stiffness - shift * mass;
  SparseFactor factor;
  const SparseFactor::Size size = factor.analyze(shifted);
  tell("factorizing the free body", 0.0, size.seconds > 0.0 ? size.seconds : -1.0);
  if (factor.factorize(shifted) >= 0) throw std::runtime_error("the matrices of the free body are not positive");
  return nearest_eigenpairs(factor, mass, shift, request_.free_modes + rigid_motions(),
                            counter("modes of the free body"));
}

void Reducer::compare_free_modes() {
  if (request_.free_modes == 0) return;
  const auto count = static_cast<Eigen::Index>(result_.constraint_modes + values_.size());
  const Eigen::Map<const Dense> stiffness(result_.stiffness.data(), count, count);
  const Eigen::Map<const Dense> mass(result_.mass.data(), count, count);
  const DensePairs reduced = dense_eigenpairs(stiffness, mass, rigid_motions());
  const Eigen::Index first = rigid_motions();
  const Eigen::Index elastic = std::min<Eigen::Index>(request_.free_modes, reduced.values.size() - first);
  if (elastic <= 0) return;
  const double lowest = reduced.values[first];
  const EigenPairs full = full_free_modes(lowest);
  const Eigen::Index taken = full.values.size() - first;
  const Dense chosen = full.shapes.rightCols(taken);
  const Motion motion{chosen.topRows(k_.ii.rows()), chosen.bottomRows(k_.bb.rows())};
  const Motion momentum = force_of(m_, motion);
  Dense products(taken, count);
  products << momentum.interior.transpose() * basis_->interior + momentum.boundary.transpose() * basis_->boundary,
      momentum.interior.transpose() * basis_->fixed;
  const Dense mac = (products * reduced.shapes.middleCols(first, elastic)).cwiseAbs2();
  for (Eigen::Index i = 0; i < taken; ++i) result_.free.full_hz.push_back(hertz(full.values[first + i]));
  for (Eigen::Index j = 0; j < elastic; ++j) result_.free.reduced_hz.push_back(hertz(reduced.values[first + j]));
  result_.free.mac = row_by_row(mac);
}

Reduction Reducer::run() {
  const std::clock_t start = std::clock();
  read();
  lay_out_rigid_motions();
  factorize();
  add_normal_modes();
  add_constraint_modes();
  add_residual_modes();
  lap();
  tell("reduced matrices", 0.0);
  condense_interface();
  use_interface_modes();
  assemble();
  add_effective_masses();
  result_.cost.products = lap();
  result_.cost.cpu = static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
  tell("reduced matrices", 1.0);
  compare_free_modes();
  result_.shape = [basis = basis_](int mode, std::vector<double> &values) { shape_of(*basis, mode, values); };
  return std::move(result_);
}

}  // namespace

std::vector<Dof> read_dofs(const std::string &path) {
  LineReader reader(path);
  std::vector<Dof> dofs;
  std::string_view line;
  while (reader.next(line)) {
    line = trim(line);
    if (line.empty()) continue;
    const std::size_t dot = line.find('.');
    const auto node = to_int(line.substr(0, dot));
    const auto direction = dot == std::string_view::npos ? std::nullopt : to_int(line.substr(dot + 1));
    if (!node || !direction || *direction < 1 || *direction > 3)
      reader.fail("a degree of freedom 'node.direction' expected, with a direction of 1 to 3");
    dofs.push_back({*node, *direction});
  }
  if (dofs.empty()) reader.fail("no degrees of freedom");
  return dofs;
}

Reduction reduce_matrices(const ReductionRequest &request) {
  try {
    return Reducer(request).run();
  } catch (const std::bad_alloc &) {
    throw std::runtime_error(
        "the memory does not suffice for the reduction; reference nodes as interfaces, or fewer "
        "interface nodes, need less");
  }
}

}  // namespace sbrtranslate
