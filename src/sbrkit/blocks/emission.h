// Emission of the blocks of a new record, in file order, through a sink. Working lists live for one call.
#ifndef SBRKIT_BLOCKS_EMISSION_H
#define SBRKIT_BLOCKS_EMISSION_H

#include <cstdlib>
#include <memory>

#include "base/reports.h"
#include "body/body.h"
#include "record/layout.h"
#include "write/plan.h"
#include "blocks/sink.h"

namespace sbr {

// Emits every block that the plan's content summary names, in order. The first failure is reported with the block's
// message and ends the emission with false. `unit` names the source unit in allocation messages. The statistics of the
// exported modes are entered in the body on the way.
[[nodiscard]] bool emit_blocks(SbrBody &body, const WritePlan &plan, const Sink &out, const char *unit) noexcept;

// The node list of a stress or strain block: which entries are written, and where their data lies.
struct ModeList {
  int kept = 0;                  // entries written
  Array<std::int32_t> position;  // per written entry its kind position, -1 for a node without data
  bool formed = false;
};

// Io over a sink, for the descriptions of the fields.
struct FieldSink {
  const Sink &out;
  [[nodiscard]] bool integer(std::int32_t value) const noexcept { return out.integer(value); }
  [[nodiscard]] bool chars(const char *text, std::int64_t count) const noexcept { return out.chars(text, count); }
  [[nodiscard]] bool reals(const double *values, std::int64_t count) const noexcept { return out.reals(values, count); }
};

struct Emission {
  SbrBody &body;
  const WritePlan &plan;
  const Sink &out;
  const char *unit;
  PerKind<ModeList> lists;  // stress and strain have one
  Array<double> packed;     // scratch: the written entries of one mode, a piece at a time

  // Puts one record of fields.
  template <class Record>
  [[nodiscard]] bool put(Record record) const noexcept {
    FieldSink io{out};
    return transfer(io, record);
  }
  // The allocation message; gives false.
  bool no_memory(int line = __builtin_LINE()) const noexcept {
    report_no_memory(unit, line);
    return false;
  }
};

// An array that a public operation gave, freed at the end.
struct FreeBlock {
  void operator()(double *block) const noexcept { std::free(block); }
};
using Values = std::unique_ptr<double, FreeBlock>;

using EmitBlock = bool (*)(Emission &run);

// Geometry and mass: sbremitgeometry.
bool emit_nodal_coordinates(Emission &run) noexcept;
bool emit_element_topology(Emission &run) noexcept;
bool emit_global_properties(Emission &run) noexcept;
bool emit_nodal_masses(Emission &run) noexcept;
bool emit_nodal_inertias(Emission &run) noexcept;
bool emit_units(Emission &run) noexcept;
bool emit_element_faces(Emission &run) noexcept;
bool emit_interface_nodes(Emission &run) noexcept;

// Mode data, statistics and pre-vectors: sbremitmodes.
bool emit_mode_shapes(Emission &run) noexcept;
bool emit_modal_stress(Emission &run) noexcept;
bool emit_modal_strain(Emission &run) noexcept;
bool emit_modal_statistics(Emission &run) noexcept;
bool emit_pre_stress(Emission &run) noexcept;
bool emit_pre_strain(Emission &run) noexcept;

// Eigenvalues, generalized matrices, transformation and invariants: sbremitmatrices.
bool emit_eigenvalues(Emission &run) noexcept;
bool emit_generalized_stiffness(Emission &run) noexcept;
bool emit_generalized_mass(Emission &run) noexcept;
bool emit_generalized_damping(Emission &run) noexcept;
bool emit_transformation(Emission &run) noexcept;
bool emit_invariant_1(Emission &run) noexcept;
bool emit_invariant_2(Emission &run) noexcept;
bool emit_invariant_3(Emission &run) noexcept;
bool emit_invariant_4(Emission &run) noexcept;
bool emit_invariant_5(Emission &run) noexcept;
bool emit_invariant_7(Emission &run) noexcept;
bool emit_invariant_8(Emission &run) noexcept;
bool emit_invariant_9(Emission &run) noexcept;

// Loads, operators and monitor points: sbremitloads.
bool emit_modal_preload(Emission &run) noexcept;
bool emit_modal_loads(Emission &run) noexcept;
bool emit_matrix_operators(Emission &run) noexcept;
bool emit_modal_load_nodal(Emission &run) noexcept;
bool emit_monitor_points(Emission &run) noexcept;

}  // namespace sbr

#endif
