// Component mode synthesis after Craig and Bampton, "Coupling of substructures for dynamic analyses", AIAA Journal 6
// (1968): constraint modes of the interface degrees of freedom, and normal modes with the interface held. On request
// also interface modes in the place of the constraint modes (eigenmodes of the statically condensed body; Craig and
// Chang, "Substructure coupling for dynamic analysis and testing", NASA CR-2781, 1977), and residual modes for unit
// forces and for the inertia of rigid accelerations, less what the normal modes hold of them already.
#ifndef SBRKIT_TRANSLATORS_COMMON_REDUCTION_H
#define SBRKIT_TRANSLATORS_COMMON_REDUCTION_H

#include <array>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "common/dependent_row.h"
#include "common/text_input.h"

namespace sbrtranslate {

// The degree of freedom of a matrix row: node ID and direction, 1 to 3 along x, y, z, and 4 to 6 about them.
struct Dof {
  int node = 0;
  int direction = 0;
};

// Reads the list of rows, one "node.direction" a line; directions 1 to 3.
std::vector<Dof> read_dofs(const std::string &path);

// Where a reduction stands: its present step, how much of it is done (0 to 1), and the seconds that the step is likely
// to take from now on; negative where that cannot be told.
struct ReductionProgress {
  const char *step = "";
  double done = 0.0;
  double seconds_left = -1.0;
};

// The values of one row under unit rigid motions of the body: along x, y, z and about x, y, z.
using RigidRow = std::array<double, 6>;

struct MatrixEntry {
  int row = 0, column = 0;  // counted from 0, row <= column
  double value = 0.0;
};

struct ReductionRequest {
  std::string mass_file, stiffness_file;
  std::span<const Dof> dofs;
  std::span<const char> held;    // by row: belongs to the interface
  std::optional<int> normal;     // this many normal modes
  std::optional<double> max_hz;  // or all up to this frequency
  // Rows of the files; the rows behind them, of reference nodes, are in `dofs` and `held` only. By default all.
  std::optional<std::size_t> file_rows = std::nullopt;
  std::vector<DependentRow> dependent = {};  // rows that follow others
  std::span<const RigidRow> rigid = {};      // by row, about the center of mass; needed by what is told below
  std::optional<int> interface_modes = std::nullopt;
  std::vector<int> attachments = {};  // rows with a unit force each, for residual attachment modes
  bool residual_inertia = false;      // six residual modes at most; needs `rigid`
  int free_modes = 0;                 // elastic modes of the free body to compare with
  // Instead of the files, where they are given: the upper triangles.
  const std::vector<MatrixEntry> *mass_entries = nullptr;
  const std::vector<MatrixEntry> *stiffness_entries = nullptr;
  std::function<void(const ReductionProgress &)> progress = {};
};

// What the steps cost.
struct ReductionCost {
  std::string solver;
  double rows = 0.0, entries = 0.0;  // of the interior stiffness, upper triangle
  double factor_entries = 0.0, factor_flops = 0.0;
  double reading = 0.0, analysis = 0.0, factorization = 0.0, normal = 0.0, constraint = 0.0, products = 0.0;  // seconds
  // Processor time of all threads: of the factorization, and of all steps together.
  double factorization_cpu = 0.0, cpu = 0.0;
  int solutions = 0;  // by the eigenvalue solver, one column each
};

// The full body free of supports, and how the reduced one resembles it.
struct FreeModes {
  std::vector<double> full_hz, reduced_hz;  // elastic modes, ascending
  // Modal assurance criterion with the mass matrix: (a^t M b)^2 / ((a^t M a)(b^t M b)), row by row: a row for each mode
  // of the full body, a column for each of the reduced one.
  std::vector<double> mac;
};

// What a reduction tells besides its modes.
struct ReductionFigures {
  int residual_modes = 0;
  std::vector<double> interface_hz;  // of the interface modes
  std::vector<double> normal_hz;     // of the normal modes, then of the residual modes
  // With rigid rows: for each of the normal and residual modes the effective mass along x, y, z and the effective
  // inertia about them, and those of the whole body.
  std::vector<std::array<double, 6>> effective_mass;
  std::array<double, 6> total_mass{};
  // With rigid rows: the largest force of a unit rigid motion, by the sum of the sizes of the forces that cancel in it.
  double rigid_residual = 0.0;
  FreeModes free;
  ReductionCost cost;
};

// The reduced body. Modes are the constraint modes in row order of the interface, or the interface modes by frequency;
// then the normal modes by frequency; then the residual modes by frequency.
struct Reduction : ReductionFigures {
  int constraint_modes = 0;  // or interface modes
  int normal_modes = 0;
  std::vector<double> mass;  // full symmetric matrices, row by row
  std::vector<double> stiffness;
  // Called per mode with its value in each matrix row, dependent rows included.
  std::function<void(int mode, std::vector<double> &rows)> shape;
  [[nodiscard]] int count() const { return constraint_modes + normal_modes + residual_modes; }
};

// Reads the matrices and reduces them. Throws InputError, or std::runtime_error when the stiffness is singular with the
// interface held, when the eigenvalues do not come, or when memory does not suffice.
Reduction reduce_matrices(const ReductionRequest &request);

}  // namespace sbrtranslate

#endif
