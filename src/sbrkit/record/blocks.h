// The blocks of a record: their indices, their names, and where the content summary notes them.
//
// A block's number, which reports show, is its index plus 1. The program `sbr` includes this header as well: see
// record/shapes.h.
#ifndef SBRKIT_RECORD_BLOCKS_H
#define SBRKIT_RECORD_BLOCKS_H

namespace sbr {

enum Block : int {
  kVersionCode = 0,
  kHeader = 1,
  kContentSummary = 2,
  kNodalCoords = 3,
  kElementTopology = 4,
  kGlobalBodyProps = 5,
  kEigenvalues = 6,
  kModeShapes = 7,
  kNodalMasses = 8,
  kNodalInertias = 9,
  kUnits = 10,
  kGeneralizedStiffness = 11,
  kGeneralizedMass = 12,
  kElementFaces = 13,
  kGeneralizedDamping = 14,
  kModeShapeTransformation = 15,
  kInterfaceNodes = 16,
  kModalStress = 17,
  kInvariant1 = 18,
  kInvariant2 = 19,
  kInvariant3 = 20,
  kInvariant4 = 21,
  kInvariant5 = 22,
  kInvariant7 = 23,
  kInvariant8 = 24,
  kInvariant9 = 25,
  kModalPreload = 26,
  kModalLoads = 27,
  kModalStrain = 28,
  kModalStatistics = 29,
  kNodalPreStress = 30,
  kNodalPreStrain = 31,
  kOldMonitorPoints = 32,
  kMatrixOperator = 33,
  kModalLoadNodal = 34,
  kMonitorPoints = 35,
  kBlockCount = 36
};

constexpr int kContentBytes = 100;

// The byte of the content summary that says whether a block exists; -1 for the blocks that always exist.
constexpr int content_byte(int block) {
  if (block < 3 || block >= kBlockCount) return -1;
  if (block <= 9) return block - 3;
  if (block <= 12) return block - 2;
  return block - 1;
}
static_assert(content_byte(kNodalInertias) == 6 && content_byte(kUnits) == 8 && content_byte(kElementFaces) == 12 &&
              content_byte(kMonitorPoints) == 34);

// The texts that name a block.
struct BlockTexts {
  const char *name;   // in lists of blocks
  const char *title;  // over the block's report
};
// Indexed by the block. The old place of the monitor points has neither.
inline constexpr BlockTexts kBlockTexts[kBlockCount] = {
    {"Version code", "Version Code:"},
    {"Header", "Header:"},
    {"Content_summary", "Content Summary:"},
    {"Nodal_coords", "Nodal Coords:"},
    {"Element_topology", "Element Topology:"},
    {"Global_body_props", "Global Body Properties:"},
    {"Eigenvalues", "Eigenvalues:"},
    {"Mode_shapes", "Mode Shapes:"},
    {"Nodal_masses", "Nodal Masses:"},
    {"Nodal_inertias", "Nodal Inertias:"},
    {"Units", "SBR Default Units:"},
    {"Generalized_stiffness", "Generalized Stiffness:"},
    {"Generalized_mass", "Generalized Mass:"},
    {"Element_faces", "Element Faces:"},
    {"Generalized_damping", "Generalized Damping:"},
    {"Mode_Shape_Transformation", "Mode Shape Transformation:"},
    {"Interface_Nodes", "Interface Nodes:"},
    {"Modal Stress", "Node Stress per Mode:"},
    {"Invariants 1", "Invariant 1:"},
    {"Invariants 2", "Invariant 2:"},
    {"Invariants 3", "Invariant 3:"},
    {"Invariants 4", "Invariant 4:"},
    {"Invariants 5", "Invariant 5:"},
    {"Invariants 7", "Invariant 7:"},
    {"Invariants 8", "Invariant 8:"},
    {"Invariants 9", "Invariant 9:"},
    {"Modal Preload", "Modal Preload:"},
    {"Modal Loads", "Modal Loads:"},
    {"Modal Strain", "Node Strain per Mode:"},
    {"Modal Statistics", "Modal Statistics:"},
    {"Nodal Pre-Stress", "Nodal Pre-Stress:"},
    {"Nodal Pre-Strain", "Nodal Pre-Strain:"},
    {nullptr, nullptr},
    {"Matrix Operator", "Matrix Operator:"},
    {"Modal Load Nodal", "Modal Load Nodal:"},
    {"Monitor Points", "Monitor Point:"},
};

}  // namespace sbr

#endif
