// Component mode synthesis after Craig and Bampton, "Coupling of substructures for dynamic analyses", AIAA Journal 6
// (1968): constraint modes of the interface degrees of freedom, and normal modes with the interface held.
#ifndef SBRKIT_TRANSLATORS_COMMON_REDUCTION_H
#define SBRKIT_TRANSLATORS_COMMON_REDUCTION_H

#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "common/text_input.h"

namespace sbrtranslate {

// The degree of freedom of a matrix row: node ID and direction 1 to 3.
struct Dof {
  int node = 0;
  int direction = 0;
};

// Reads the list of rows, one "node.direction" a line.
std::vector<Dof> read_dofs(const std::string &path);

struct ReductionRequest {
  std::string mass_file, stiffness_file;
  std::span<const Dof> dofs;
  std::span<const char> held;    // by row: belongs to the interface
  std::optional<int> normal;     // this many normal modes
  std::optional<double> max_hz;  // or all up to this frequency
};

// The reduced body. Modes are the constraint modes in row order of the interface, then the normal modes by frequency.
struct Reduction {
  int constraint_modes = 0;
  int normal_modes = 0;
  std::vector<double> mass;  // full symmetric matrices, row by row
  std::vector<double> stiffness;
  std::vector<double> normal_hz;  // of the normal modes
  // Called per mode with its value in each matrix row.
  std::function<void(int mode, std::vector<double> &rows)> shape;
  [[nodiscard]] int count() const { return constraint_modes + normal_modes; }
};

// Reads the matrices and reduces them. Throws InputError, or std::runtime_error when the eigenvalues do not come.
Reduction reduce_matrices(const ReductionRequest &request);

}  // namespace sbrtranslate

#endif
