#include "record/layout.h"

#include <array>

namespace sbr {
namespace {

constexpr std::array<BlockEntry, kBlockCount> kBlocks = {{
    {"Version code", nullptr},
    {"Header", nullptr},
    {"Content_summary", nullptr},
    {"Nodal_coords", "Problem in nodal coords block"},
    {"Element_topology", "Problem in old style element topology block"},
    {"Global_body_props", nullptr},
    {"Eigenvalues", "Problem in eigenvalues block"},
    {"Mode_shapes", "Problem in mode shapes block"},
    {"Nodal_masses", "Problem in nodal mass block"},
    {"Nodal_inertias", "Problem in nodal inertia block"},
    {"Units", nullptr},
    {"Generalized_stiffness", "Problem in generalized stiffness block"},
    {"Generalized_mass", "Problem in generalized mass block"},
    {"Element_faces", "Problem in element face block"},
    {"Generalized_damping", "Problem in generalized damping block"},
    {"Mode_Shape_Transformation", "Problem in mode shape transformation block"},
    {"Interface_Nodes", "Problem in interface node block"},
    {"Modal Stress", "Problem in modal stress block"},
    {"Invariants 1", nullptr},
    {"Invariants 2", nullptr},
    {"Invariants 3", "Problem in invar 3 block"},
    {"Invariants 4", "Problem in invar 4 block"},
    {"Invariants 5", "Problem in invar 5 block"},
    {"Invariants 7", nullptr},
    {"Invariants 8", "Problem in invar 8 block"},
    {"Invariants 9", "Problem in invar 9 block"},
    {"Modal Preload", "Problem in modal preload block"},
    {"Modal Loads", "Problem in modal load block"},
    {"Modal Strain", "Problem in modal strain block"},
    {"Modal Statistics", "Problem in modal statistics block"},
    {"Nodal Pre-Stress", "Problem in nodal pre-stress block"},
    {"Nodal Pre-Strain", "Problem in nodal pre-strain block"},
    {nullptr, "Problem in monitor point block"},
    {"Matrix Operator", "Problem in matrix operator block"},
    {"Modal Load Nodal", "Problem in modal load nodal block"},
    {"Monitor Points", "Problem in monitor point block"},
}};

}  // namespace

const BlockEntry &block_entry(int block) noexcept { return kBlocks[block]; }

}  // namespace sbr
