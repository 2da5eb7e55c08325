// The blocks of a record: their indices and where the content summary notes them.
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

}  // namespace sbr

#endif
