// The blocks of eigenvalues, generalized matrices and the mode transformation.
#ifndef SBRKIT_BLOCKS_MATRICES_H
#define SBRKIT_BLOCKS_MATRICES_H

#include "blocks/table.h"

namespace sbr {

extern const BlockFunctions kEigenvaluesBlock;
extern const BlockFunctions kGeneralizedStiffnessBlock;
extern const BlockFunctions kGeneralizedMassBlock;
extern const BlockFunctions kGeneralizedDampingBlock;
extern const BlockFunctions kModeShapeTransformationBlock;

}  // namespace sbr

#endif
