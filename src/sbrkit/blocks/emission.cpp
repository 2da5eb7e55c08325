#include "blocks/emission.h"

#include "blocks/table.h"

namespace sbr {
namespace {

constexpr Block kWritingOrder[] = {
    kNodalCoords,
    kElementTopology,
    kGlobalBodyProps,
    kEigenvalues,
    kModeShapes,
    kNodalMasses,
    kNodalInertias,
    kUnits,
    kGeneralizedStiffness,
    kGeneralizedMass,
    kElementFaces,
    kGeneralizedDamping,
    kModeShapeTransformation,
    kInterfaceNodes,
    kModalStress,
    kInvariant1,
    kInvariant2,
    kInvariant3,
    kInvariant4,
    kInvariant5,
    kInvariant7,
    kInvariant8,
    kInvariant9,
    kModalPreload,
    kModalLoads,
    kModalStrain,
    kModalStatistics,
    kNodalPreStress,
    kNodalPreStrain,
    kMatrixOperator,
    kModalLoadNodal,
    kMonitorPoints,
};

bool emit_block(Emission &run, const BlockKind &kind) noexcept {
  if (!run.out.begin(kind.index) || !kind.functions->write(run)) return false;
  return run.out.end() || !kind.functions->end_is_checked;
}

}  // namespace

bool emit_blocks(SbrBody &body, const WritePlan &plan, const Sink &out, const char *unit) noexcept {
  Emission run{body, plan, out, unit, {}, {}};
  for (const Block block : kWritingOrder) {
    const BlockKind &kind = block_kind(block);
    if (!plan.has(block) || emit_block(run, kind)) continue;
    report_error("%s", kind.writing_problem);
    return false;
  }
  return true;
}

}  // namespace sbr
