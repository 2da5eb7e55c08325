// What a body holds, as plain values, asked for through the public operations alone; and matrices entered by them.
#ifndef SBRKIT_TESTS_SUPPORT_BODY_VIEW_H
#define SBRKIT_TESTS_SUPPORT_BODY_VIEW_H

#include <array>
#include <string>
#include <vector>

#include "sbrkit/sbrkit.h"

namespace sbrtest {

// ---- header and units

struct HeaderView {
  std::string title, date, input_file_name, comment1, comment2, comment3;
  std::string input_file_type;  // all 16 characters
};
HeaderView header_of(SBR body);

struct UnitLabels {
  std::string mass, length, time, force;
};
UnitLabels units_of(SBR body);

// ---- nodes, faces and interface nodes

std::array<double, 3> coordinates_of(SBR body, int index);
int face_count(SBR body);
// Per face its node count, then that many node indices.
std::vector<int> face_words(SBR body);
// Node indices, in order of entry.
std::vector<int> interface_nodes_of(SBR body);

// ---- matrices and modes

// Mode indices, or coordinates of the principal axes.
struct MatrixEntry {
  int row = 0;
  int column = 0;
  double value = 0.0;
  bool operator==(const MatrixEntry &) const = default;
};
using MatrixEntries = std::vector<MatrixEntry>;
// Without a list the diagonal that stands in for it (stiffness and mass), or nothing (damping).
MatrixEntries stiffness_of(SBR body);
MatrixEntries mass_of(SBR body);
MatrixEntries damping_of(SBR body);
// Enters entries of mode indices: they must be in the mode table.
void enter_stiffness(SBR body, const MatrixEntries &entries);
void enter_mass(SBR body, const MatrixEntries &entries);
void enter_damping(SBR body, const MatrixEntries &entries);

struct EigenValues {
  double eigenvalue = 0.0;
  double frequency_hz = 0.0;
  double frequency_rad = 0.0;
  double generalized_mass = 0.0;
  double generalized_stiffness = 0.0;
};
// By mode index.
std::vector<EigenValues> eigenvalues_of(SBR body);
// The pre-stress (kind 1) or pre-strain (kind 2) of the nodes of the kind; empty when there is none.
std::vector<std::array<double, 6>> pre_vectors_of(SBR body, int kind);
// M x M values, row by row; empty when the body has no transformation.
std::vector<double> transformation_of(SBR body);

// ---- loads

// By mode index; empty when there is no such case, or no preload.
std::vector<double> modal_load_of(SBR body, int load_case);
std::vector<double> modal_preload_of(SBR body);
// All that stands before the first zero, at most 256 characters.
std::string modal_load_label_of(SBR body, int load_case);

struct NodalLoad {
  int node = 0;  // node index
  int coordinate = 0;
  double value = 0.0;
  bool operator==(const NodalLoad &) const = default;
};
std::vector<NodalLoad> nodal_loads_of(SBR body, int load_case);

// ---- operators

// An operator of a monitor point, by its type 1 to 4; empty when the point does not have it.
std::vector<double> monitor_operator_of(SBR body, int point, int type);
std::string monitor_name_of(SBR body, int point);
std::string monitor_label_of(SBR body, int point);
std::vector<double> sub_operator_of(SBR body, int op, int sub);

}  // namespace sbrtest

#endif
