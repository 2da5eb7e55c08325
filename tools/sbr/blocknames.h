// The blocks of a record by their names in reports.
#ifndef SBRKIT_TOOLS_SBR_BLOCKNAMES_H
#define SBRKIT_TOOLS_SBR_BLOCKNAMES_H

#include <array>
#include <string>

namespace sbrtool {

inline constexpr std::array<const char *, 36> kBlockNames = {"Version code",
                                                             "Header",
                                                             "Content_summary",
                                                             "Nodal_coords",
                                                             "Element_topology",
                                                             "Global_body_props",
                                                             "Eigenvalues",
                                                             "Mode_shapes",
                                                             "Nodal_masses",
                                                             "Nodal_inertias",
                                                             "Units",
                                                             "Generalized_stiffness",
                                                             "Generalized_mass",
                                                             "Element_faces",
                                                             "Generalized_damping",
                                                             "Mode_Shape_Transformation",
                                                             "Interface_Nodes",
                                                             "Modal Stress",
                                                             "Invariants 1",
                                                             "Invariants 2",
                                                             "Invariants 3",
                                                             "Invariants 4",
                                                             "Invariants 5",
                                                             "Invariants 7",
                                                             "Invariants 8",
                                                             "Invariants 9",
                                                             "Modal Preload",
                                                             "Modal Loads",
                                                             "Modal Strain",
                                                             "Modal Statistics",
                                                             "Nodal Pre-Stress",
                                                             "Nodal Pre-Strain",
                                                             "Monitor Points (old place)",
                                                             "Matrix Operator",
                                                             "Modal Load Nodal",
                                                             "Monitor Points"};

// The list with the block numbers, in three columns.
std::string block_list();

}  // namespace sbrtool

#endif
