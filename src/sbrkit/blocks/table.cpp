#include "blocks/table.h"

#include <array>

#include "blocks/geometry.h"
#include "blocks/invariants.h"
#include "blocks/loads.h"
#include "blocks/mass.h"
#include "blocks/matrices.h"
#include "blocks/modes.h"
#include "blocks/operators.h"
#include "blocks/statistics.h"
#include "blocks/texts.h"
#include "record/shapes.h"

namespace sbr {
namespace {

constexpr BlockKind row(Block index, const char *sizing_problem, const char *writing_problem,
                        const BlockFunctions &functions, SizeBlock size) {
  return {index, kBlockTexts[index].name, kBlockTexts[index].title, sizing_problem, writing_problem, size, &functions};
}

// A block whose size follows from its shape.
constexpr BlockKind row(Block index, const char *sizing_problem, const char *writing_problem,
                        const BlockFunctions &functions) {
  return row(index, sizing_problem, writing_problem, functions, kShapes<SizingWalk>[index]);
}

constexpr std::array<BlockKind, kBlockCount> kKindsOfBlock = {
    row(kVersionCode, nullptr, nullptr, kVersionCodeBlock),
    row(kHeader, nullptr, nullptr, kHeaderBlock),
    row(kContentSummary, nullptr, nullptr, kContentSummaryBlock),
    row(kNodalCoords, "Problem in nodal coords block", "Problem writing nodal coordinates.\n", kNodalCoordsBlock),
    row(kElementTopology, "Problem in old style element topology block", "Problem writing element topology map.",
        kElementTopologyBlock),
    row(kGlobalBodyProps, nullptr, "Problem writing Global Body Properties.", kGlobalBodyPropsBlock),
    row(kEigenvalues, "Problem in eigenvalues block", "Problem writing eigenvalues.", kEigenvaluesBlock),
    row(kModeShapes, "Problem in mode shapes block", "Problem writing Mode Shapes.", kModeShapesBlock),
    row(kNodalMasses, "Problem in nodal mass block", "Problem writing Nodal Masses.\n", kNodalMassesBlock),
    row(kNodalInertias, "Problem in nodal inertia block", "Problem writing Nodal Inertia info.", kNodalInertiasBlock),
    row(kUnits, nullptr, "Problem writing Units strings.", kUnitsBlock),
    row(kGeneralizedStiffness, "Problem in generalized stiffness block", "Problem writing Generalized Stiffness info.",
        kGeneralizedStiffnessBlock),
    row(kGeneralizedMass, "Problem in generalized mass block", "Problem writing Generalized Mass info.",
        kGeneralizedMassBlock),
    row(kElementFaces, "Problem in element face block", "Problem writing element face info.", kElementFacesBlock,
        size_element_faces),
    row(kGeneralizedDamping, "Problem in generalized damping block", "Problem writing Generalized Damping info.",
        kGeneralizedDampingBlock),
    row(kModeShapeTransformation, "Problem in mode shape transformation block",
        "Problem writing Mode Shape Transformation.", kModeShapeTransformationBlock),
    row(kInterfaceNodes, "Problem in interface node block", "Problem writing Interface Nodes.", kInterfaceNodesBlock),
    row(kModalStress, "Problem in modal stress block", "Problem writing Modal Stress.\n", kModalStressBlock),
    row(kInvariant1, nullptr, "Problem writing Invariant 1.\n", kInvariant1Block),
    row(kInvariant2, nullptr, "Problem writing Invariant 2.\n", kInvariant2Block),
    row(kInvariant3, "Problem in invar 3 block", "Problem writing Invariant 3.\n", kInvariant3Block),
    row(kInvariant4, "Problem in invar 4 block", "Problem writing Invariant 4.\n", kInvariant4Block),
    row(kInvariant5, "Problem in invar 5 block", "Problem writing Invariant 5.\n", kInvariant5Block),
    row(kInvariant7, nullptr, "Problem writing Invariant 7.\n", kInvariant7Block),
    row(kInvariant8, "Problem in invar 8 block", "Problem writing Invariant 8.\n", kInvariant8Block),
    row(kInvariant9, "Problem in invar 9 block", "Problem writing Invariant 9.\n", kInvariant9Block),
    row(kModalPreload, "Problem in modal preload block", "Problem writing Preload.\n", kModalPreloadBlock),
    row(kModalLoads, "Problem in modal load block", "Problem writing Modal Loads.\n", kModalLoadsBlock),
    row(kModalStrain, "Problem in modal strain block", "Problem writing Modal Strain.", kModalStrainBlock),
    row(kModalStatistics, "Problem in modal statistics block", "Problem writing Modal Statistics.\n",
        kModalStatisticsBlock),
    row(kNodalPreStress, "Problem in nodal pre-stress block", "Problem writing Pre-Stress.\n", kNodalPreStressBlock),
    row(kNodalPreStrain, "Problem in nodal pre-strain block", "Problem writing Pre-Strain.\n", kNodalPreStrainBlock),
    row(kOldMonitorPoints, "Problem in monitor point block", nullptr, kOldMonitorPointsBlock),
    row(kMatrixOperator, "Problem in matrix operator block", "Problem writing Matrix Operator Data.\n",
        kMatrixOperatorBlock),
    row(kModalLoadNodal, "Problem in modal load nodal block", "Problem writing Modal Load Nodal.\n",
        kModalLoadNodalBlock),
    row(kMonitorPoints, "Problem in monitor point block", "Problem writing Monitor Point Data.\n", kMonitorPointsBlock),
};

constexpr bool stands_in_order() {
  for (int block = 0; block < kBlockCount; ++block)
    if (kKindsOfBlock[static_cast<std::size_t>(block)].index != block) return false;
  return true;
}
static_assert(stands_in_order());

}  // namespace

const BlockKind &block_kind(int block) noexcept { return kKindsOfBlock[static_cast<std::size_t>(block)]; }

}  // namespace sbr
