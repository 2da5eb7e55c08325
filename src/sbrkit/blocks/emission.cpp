// The order of the blocks, and what is reported when one cannot be written.
#include "blocks/emission.h"

#include "base/reports.h"

namespace sbr {
namespace {

struct Step {
  int block;
  EmitBlock emit;
  const char *message;
};

constexpr Step kSteps[] = {
    {kNodalCoords, emit_nodal_coordinates, "Problem writing nodal coordinates.\n"},
    {kElementTopology, emit_element_topology, "Problem writing element topology map."},
    {kGlobalBodyProps, emit_global_properties, "Problem writing Global Body Properties."},
    {kEigenvalues, emit_eigenvalues, "Problem writing eigenvalues."},
    {kModeShapes, emit_mode_shapes, "Problem writing Mode Shapes."},
    {kNodalMasses, emit_nodal_masses, "Problem writing Nodal Masses.\n"},
    {kNodalInertias, emit_nodal_inertias, "Problem writing Nodal Inertia info."},
    {kUnits, emit_units, "Problem writing Units strings."},
    {kGeneralizedStiffness, emit_generalized_stiffness, "Problem writing Generalized Stiffness info."},
    {kGeneralizedMass, emit_generalized_mass, "Problem writing Generalized Mass info."},
    {kElementFaces, emit_element_faces, "Problem writing element face info."},
    {kGeneralizedDamping, emit_generalized_damping, "Problem writing Generalized Damping info."},
    {kModeShapeTransformation, emit_transformation, "Problem writing Mode Shape Transformation."},
    {kInterfaceNodes, emit_interface_nodes, "Problem writing Interface Nodes."},
    {kModalStress, emit_modal_stress, "Problem writing Modal Stress.\n"},
    {kInvariant1, emit_invariant_1, "Problem writing Invariant 1.\n"},
    {kInvariant2, emit_invariant_2, "Problem writing Invariant 2.\n"},
    {kInvariant3, emit_invariant_3, "Problem writing Invariant 3.\n"},
    {kInvariant4, emit_invariant_4, "Problem writing Invariant 4.\n"},
    {kInvariant5, emit_invariant_5, "Problem writing Invariant 5.\n"},
    {kInvariant7, emit_invariant_7, "Problem writing Invariant 7.\n"},
    {kInvariant8, emit_invariant_8, "Problem writing Invariant 8.\n"},
    {kInvariant9, emit_invariant_9, "Problem writing Invariant 9.\n"},
    {kModalPreload, emit_modal_preload, "Problem writing Preload.\n"},
    {kModalLoads, emit_modal_loads, "Problem writing Modal Loads.\n"},
    {kModalStrain, emit_modal_strain, "Problem writing Modal Strain."},
    {kModalStatistics, emit_modal_statistics, "Problem writing Modal Statistics.\n"},
    {kNodalPreStress, emit_pre_stress, "Problem writing Pre-Stress.\n"},
    {kNodalPreStrain, emit_pre_strain, "Problem writing Pre-Strain.\n"},
    {kMatrixOperator, emit_matrix_operators, "Problem writing Matrix Operator Data.\n"},
    {kModalLoadNodal, emit_modal_load_nodal, "Problem writing Modal Load Nodal.\n"},
    {kMonitorPoints, emit_monitor_points, "Problem writing Monitor Point Data.\n"},
};

// What is left of the nodal masses and of Invariant 9 when their count went out well: nobody asks whether it arrived.
bool end_is_checked(int block) noexcept { return block != kNodalMasses && block != kInvariant9; }

bool emit_block(Emission &run, const Step &step) noexcept {
  if (!run.out.begin(step.block) || !step.emit(run)) return false;
  return run.out.end() || !end_is_checked(step.block);
}

}  // namespace

bool emit_blocks(SbrBody &body, const WritePlan &plan, const Sink &out, const char *unit) noexcept {
  Emission run{body, plan, out, unit, {}, {}};
  for (const Step &step : kSteps) {
    if (!plan.has(step.block) || emit_block(run, step)) continue;
    report_error("%s", step.message);
    return false;
  }
  return true;
}

}  // namespace sbr
