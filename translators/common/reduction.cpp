#include "common/reduction.h"

#include <Spectra/SymGEigsShiftSolver.h>

#include <Eigen/Dense>
#include <Eigen/SparseCholesky>
#include <Eigen/SparseCore>
#include <algorithm>
#include <cmath>
#include <memory>
#include <numbers>
#include <stdexcept>

namespace sbrtranslate {
namespace {

using Sparse = Eigen::SparseMatrix<double>;
using Dense = Eigen::MatrixXd;
using Factor = Eigen::SimplicialLDLT<Sparse>;

// A symmetric matrix parted into interior (i) and held (b) rows.
struct Parted {
  Sparse ii, ib;
  Dense bb;
};

// Where each row stands in its part.
struct Rows {
  std::vector<int> place;
  std::span<const char> held;
  int interior = 0;
  int boundary = 0;
};

Rows part_rows(std::span<const char> held) {
  Rows rows{std::vector<int>(held.size()), held, 0, 0};
  for (std::size_t r = 0; r < held.size(); ++r) rows.place[r] = held[r] != 0 ? rows.boundary++ : rows.interior++;
  return rows;
}

struct Entry {
  int row, column;
  double value;
};

bool read_entry(LineReader &reader, std::size_t rows, Entry &entry) {
  std::string_view line;
  while (reader.next(line)) {
    const auto words = split_words(line);
    if (words.empty()) continue;
    const auto value = words.size() == 3 ? to_double(words[2]) : std::nullopt;
    if (!value) reader.fail("an entry 'row column value' expected");
    const int row = to_int(words[0]).value_or(0);
    const int column = to_int(words[1]).value_or(0);
    if (row < 1 || column < row || static_cast<std::size_t>(column) > rows)
      reader.fail("an entry of the upper triangle of a matrix of " + std::to_string(rows) + " rows expected");
    entry = {row - 1, column - 1, *value};
    return true;
  }
  return false;
}

Parted read_matrix(const std::string &path, const Rows &rows) {
  using Triplet = Eigen::Triplet<double>;
  std::vector<Triplet> ii;
  std::vector<Triplet> ib;
  Parted parted;
  parted.bb = Dense::Zero(rows.boundary, rows.boundary);
  LineReader reader(path);
  Entry entry{};
  while (read_entry(reader, rows.place.size(), entry)) {
    const auto r = static_cast<std::size_t>(entry.row);
    const auto c = static_cast<std::size_t>(entry.column);
    const int a = rows.place[r];
    const int b = rows.place[c];
    if (rows.held[r] != 0 && rows.held[c] != 0) {
      parted.bb(a, b) = parted.bb(b, a) = entry.value;
    } else if (rows.held[r] != 0) {
      ib.emplace_back(b, a, entry.value);
    } else if (rows.held[c] != 0) {
      ib.emplace_back(a, b, entry.value);
    } else {
      ii.emplace_back(a, b, entry.value);
      if (a != b) ii.emplace_back(b, a, entry.value);
    }
  }
  if (ii.empty()) throw InputError({path, 0}, "the matrix has no entries");
  parted.ii.resize(rows.interior, rows.interior);
  parted.ib.resize(rows.interior, rows.boundary);
  parted.ii.setFromTriplets(ii.begin(), ii.end());
  parted.ib.setFromTriplets(ib.begin(), ib.end());
  return parted;
}

// The factors of the interior stiffness; the interface has to hold the body.
void factorize(Factor &factor, const Sparse &stiffness) {
  factor.compute(stiffness);
  bool sound = factor.info() == Eigen::Success;
  if (sound) {
    const Eigen::VectorXd pivots = factor.vectorD();
    const Eigen::VectorXd diagonal = factor.permutationP() * Eigen::VectorXd(stiffness.diagonal());
    for (Eigen::Index k = 0; k < pivots.size() && sound; ++k) sound = pivots[k] > 1e-12 * std::fabs(diagonal[k]);
  }
  if (!sound)
    throw std::runtime_error("the stiffness matrix is singular with the interface held: a mechanism or a loose part?");
}

// How many eigenvalues lie below a shift: the negative pivots of K - shift M (Sylvester's law of inertia).
int count_below(const Parted &k, const Parted &m, double shift) {
  const Factor factor(k.ii - shift * m.ii);
  if (factor.info() != Eigen::Success)
    throw std::runtime_error("the frequency limit falls on a natural frequency; choose another");
  const Eigen::VectorXd pivots = factor.vectorD();
  return static_cast<int>((pivots.array() < 0.0).count());
}

// The operations of the eigenvalue solver: (K - 0 M)^-1 x by the factors at hand, and M x.
struct Solve {
  using Scalar = double;
  const Factor *factor;
  Eigen::Index size;
  [[nodiscard]] Eigen::Index rows() const { return size; }
  [[nodiscard]] Eigen::Index cols() const { return size; }
  void set_shift(double) {}
  void perform_op(const double *x, double *y) const {
    Eigen::Map<Eigen::VectorXd>(y, size) = factor->solve(Eigen::Map<const Eigen::VectorXd>(x, size));
  }
};
struct Multiply {
  using Scalar = double;
  const Sparse *matrix;
  [[nodiscard]] Eigen::Index rows() const { return matrix->rows(); }
  [[nodiscard]] Eigen::Index cols() const { return matrix->cols(); }
  void perform_op(const double *x, double *y) const {
    Eigen::Map<Eigen::VectorXd>(y, rows()) = *matrix * Eigen::Map<const Eigen::VectorXd>(x, cols());
  }
};

struct NormalModes {
  Dense shapes;  // one column each, unit generalized mass
  Eigen::VectorXd eigenvalues;
};

NormalModes normal_modes(const Factor &factor, const Parted &k, const Parted &m, int count) {
  const Eigen::Index size = k.ii.rows();
  if (count == 0) return {Dense(size, 0), Eigen::VectorXd(0)};
  if (count >= size)
    throw std::runtime_error("more normal modes asked for than the interior has degrees of freedom (" +
                             std::to_string(size) + ")");
  Solve solve{&factor, size};
  Multiply multiply{&m.ii};
  const Eigen::Index space = std::min<Eigen::Index>(size, std::max<Eigen::Index>(2 * count + 1, 20));
  Spectra::SymGEigsShiftSolver<Solve, Multiply, Spectra::GEigsMode::ShiftInvert> solver(solve, multiply, count, space,
                                                                                        0.0);
  solver.init();
  solver.compute(Spectra::SortRule::LargestMagn, 1000, 1e-12, Spectra::SortRule::SmallestAlge);
  if (solver.info() != Spectra::CompInfo::Successful)
    throw std::runtime_error("the eigenvalues of the normal modes did not converge");
  NormalModes modes{solver.eigenvectors(), solver.eigenvalues()};
  for (Eigen::Index j = 0; j < count; ++j) {
    const double mass = modes.shapes.col(j).dot(m.ii * modes.shapes.col(j));
    if (!(mass > 0.0)) throw std::runtime_error("a normal mode without mass: the mass matrix is not positive");
    modes.shapes.col(j) /= std::sqrt(mass);
  }
  return modes;
}

// The shapes of the reduced body; they live as long as its shape function. All constraint and normal modes are held at
// once: the pair products of the reduced matrices need them.
struct Basis {
  Rows rows;
  Dense constraint;       // interior part of the constraint modes
  Eigen::VectorXd scale;  // of the constraint modes
  Dense normal;
};

void shape_of(const Basis &basis, int mode, std::vector<double> &values) {
  const auto boundary = static_cast<int>(basis.constraint.cols());
  values.assign(basis.rows.place.size(), 0.0);
  for (std::size_t r = 0; r < values.size(); ++r) {
    const int place = basis.rows.place[r];
    if (mode >= boundary) {
      if (basis.rows.held[r] == 0) values[r] = basis.normal(place, mode - boundary);
    } else if (basis.rows.held[r] == 0) {
      values[r] = basis.scale[mode] * basis.constraint(place, mode);
    } else if (place == mode) {
      values[r] = basis.scale[mode];
    }
  }
}

std::vector<double> row_by_row(const Dense &matrix) {
  std::vector<double> values;
  values.reserve(static_cast<std::size_t>(matrix.size()));
  for (Eigen::Index r = 0; r < matrix.rows(); ++r)
    for (Eigen::Index c = 0; c < matrix.cols(); ++c) values.push_back(matrix(r, c));
  return values;
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
  const auto basis = std::make_shared<Basis>();
  // The caller's list of held rows ends with the call.
  const auto held = std::make_shared<std::vector<char>>(request.held.begin(), request.held.end());
  basis->rows = part_rows(*held);
  if (basis->rows.boundary == 0 || basis->rows.interior == 0)
    throw std::runtime_error("the interface holds no degree of freedom, or all of them");
  const Parted k = read_matrix(request.stiffness_file, basis->rows);
  const Parted m = read_matrix(request.mass_file, basis->rows);
  Factor factor;
  factorize(factor, k.ii);

  int count = request.normal.value_or(0);
  if (request.max_hz) {
    const double rad = 2.0 * std::numbers::pi * *request.max_hz;
    const int below = count_below(k, m, rad * rad);
    count = request.normal ? std::min(count, below) : below;
  }
  const NormalModes normal = normal_modes(factor, k, m, count);
  basis->normal = normal.shapes;
  basis->constraint = -factor.solve(Dense(k.ib));

  const Dense &psi = basis->constraint;
  const Dense m_psi = m.ii * psi + m.ib;
  const Dense m_cross = psi.transpose() * m.ib;
  Dense k_cc = k.bb + k.ib.transpose() * psi;
  Dense m_cc = m.bb + psi.transpose() * (m.ii * psi) + m_cross + m_cross.transpose();
  // Unit generalized masses bring constraint and normal modes to one scale.
  const Eigen::Index boundary = psi.cols();
  basis->scale = Eigen::VectorXd::Ones(boundary);
  for (Eigen::Index j = 0; j < boundary; ++j)
    if (m_cc(j, j) > 0.0) basis->scale[j] = 1.0 / std::sqrt(m_cc(j, j));
  const auto scale = basis->scale.asDiagonal();

  Dense mass = Dense::Identity(boundary + count, boundary + count);
  Dense stiffness = Dense::Zero(boundary + count, boundary + count);
  mass.topLeftCorner(boundary, boundary) = scale * (0.5 * (m_cc + m_cc.transpose())) * scale;
  stiffness.topLeftCorner(boundary, boundary) = scale * (0.5 * (k_cc + k_cc.transpose())) * scale;
  const Dense coupling = scale * (m_psi.transpose() * normal.shapes);
  mass.topRightCorner(boundary, count) = coupling;
  mass.bottomLeftCorner(count, boundary) = coupling.transpose();
  stiffness.bottomRightCorner(count, count) = normal.eigenvalues.asDiagonal();

  Reduction reduction;
  reduction.constraint_modes = static_cast<int>(boundary);
  reduction.normal_modes = count;
  reduction.mass = row_by_row(mass);
  reduction.stiffness = row_by_row(stiffness);
  for (Eigen::Index j = 0; j < count; ++j)
    reduction.normal_hz.push_back(std::sqrt(std::max(normal.eigenvalues[j], 0.0)) / (2.0 * std::numbers::pi));
  reduction.shape = [basis, held](int mode, std::vector<double> &values) { shape_of(*basis, mode, values); };
  return reduction;
}

}  // namespace sbrtranslate
