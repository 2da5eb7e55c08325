// The steps of a write, in their fixed order.
#include "write/pipeline.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "base/reports.h"
#include "blocks/emission.h"
#include "body/faces.h"
#include "body/header.h"
#include "body/matrices.h"
#include "body/node_table.h"
#include "dynamics/orthonormalize.h"
#include "dynamics/principal_damping.h"
#include "dynamics/principal_loads.h"
#include "frame/switch_units.h"
#include "frame/to_mass_center.h"
#include "mass/entry.h"
#include "mass/invariants.h"
#include "modes/cache.h"
#include "surface/coarsen.h"
#include "surface/discard.h"
#include "surface/sketch.h"
#include "surface/strip.h"

namespace sbr {
namespace {

struct WriteRun {
  SbrBody &body;
  const WriteTarget &target;
  WritePlan &plan;
  WriteOptions options;
  bool ok = true;        // the result of the write
  bool setup_ok = true;  // steps whose failure leaves later ones out without failing the write
};

// ---- reductions -----------------------------------------------------------------------------------------------------

void apply_reductions(WriteRun &run) noexcept {
  if (run.options.shift_to_cm) shift_to_mass_center(run.body);
  if (run.options.sketch_path) sketch_faces(run.body, run.options.sketch_path.data());
  if (run.options.strip_faces) strip_common_faces(run.body);
  if (run.options.coarsen) trim_geometry(run.body, run.options.coarsen.data());
  run.plan.sparse = run.options.sparse_stress;
}

// ---- version word and header ----------------------------------------------------------------------------------------

// The buffer through which reals are narrowed, unless everything is double precision.
bool ensure_float_buffer(WriteRun &run) noexcept {
  SbrBody &body = run.body;
  body.record.single_scratch = &body.float_buffer;
  if (!means_single(run.plan.word) && body.record.double_precision) return true;
  if (body.float_buffer) return true;
  const std::int64_t wanted = std::max({static_cast<std::int64_t>(body.mode_table.mode_count), std::int64_t{512},
                                        6 * static_cast<std::int64_t>(node_count(body))});
  if (body.float_buffer.allocate(wanted)) return true;
  report_no_memory(run.target.unit);
  return false;
}

// Makes the decoder of an XDR encoded mode file anew in its place, so that it keeps no position of earlier reads.
void renew_mode_decoder(SbrBody &body) noexcept {
  StreamChannel &channel = body.modes[Kind::shape];
  if (channel.xdr == nullptr || channel.stream == nullptr) return;
  xdr_destroy(channel.xdr);
  xdrstdio_create(channel.xdr, channel.stream, XDR_DECODE);
}

bool put_version_word(const Sink &sink, std::uint32_t word) noexcept {
  return sink.begin(kVersionCode) && sink.integer(static_cast<std::int32_t>(word)) && sink.end();
}

void write_version(WriteRun &run) noexcept {
  bool conflict = false;
  run.plan.word = plan_version_word(run.options, run.target.version, conflict);
  if (conflict) run.ok = false;
  if (run.ok) run.ok = ensure_float_buffer(run);
  if (run.ok) run.ok = run.target.prepare(run.target.sink.target, run.body, run.plan.word);
  if (run.ok) renew_mode_decoder(run.body);
  if (run.body.geometry.is_coarsened != 0) run.plan.word |= kCoarsenedFlag;
  if (run.ok) run.ok = put_version_word(run.target.sink, run.plan.word);
  if (!run.ok) report_error("Problem writing version number.");
}

void write_header(WriteRun &run) noexcept {
  HeaderTexts texts = header_texts(run.body);
  const Sink &sink = run.target.sink;
  FieldSink io{sink};
  run.ok = sink.begin(kHeader) && transfer(io, texts) && sink.end();
  if (!run.ok) report_error("Problem writing header information.");
}

// ---- plan -----------------------------------------------------------------------------------------------------------

void take_from_body(WriteRun &run, std::initializer_list<int> blocks) noexcept {
  for (const int block : blocks) run.plan.set(block, has_block(run.body, block));
}

// Faces go to the old block in the oldest layouts and to the current one in all others, wherever the body has them.
void plan_faces(WriteRun &run) noexcept {
  const bool faces = has_block(run.body, kElementFaces) || has_block(run.body, kElementTopology);
  const bool old = has_old_topology(run.plan.word);
  run.plan.set(kElementTopology, old && faces);
  run.plan.set(kElementFaces, !old && faces);
}

void plan_first_blocks(WriteRun &run) noexcept {
  take_from_body(
      run, {kNodalCoords, kModeShapes, kNodalMasses, kNodalInertias, kGeneralizedDamping, kInterfaceNodes, kInvariant1,
            kInvariant2, kInvariant3, kInvariant4, kInvariant5, kInvariant7, kInvariant8, kInvariant9});
  plan_faces(run);
  run.plan.set(kUnits, true);
  run.plan.set(kGeneralizedStiffness, run.options.no_ortho);
  run.plan.set(kGeneralizedMass, run.options.no_ortho);
}

// The mode range between the two frequencies. The exported modes are numbered from 1; the body keeps the new numbers.
void limit_frequency_range(WriteRun &run) noexcept {
  SbrBody &body = run.body;
  WritePlan &plan = run.plan;
  report_info("Exporting frequency range [%le,%le]\n", run.options.highpass, run.options.lowpass);
  const int modes = mode_count(body);
  plan.first_mode = 0;
  plan.end_mode = modes;
  bool first_found = false;
  bool end_found = false;
  for (int i = 0; i < modes && !(first_found && end_found); ++i) {
    double hz = 0.0;
    double mass = 0.0;
    if (!eigen_values(body, i, nullptr, &hz, nullptr, &mass, nullptr)) continue;
    if (!first_found && hz > run.options.highpass) {
      plan.first_mode = i;
      first_found = true;
    }
    if (!end_found && (mass == 0.0 || hz > run.options.lowpass)) {
      plan.end_mode = i;
      end_found = true;
    }
  }
  // Unsigned, so that numbers at the end of their range wrap.
  const auto shift = static_cast<std::uint32_t>(mode_number(body, plan.first_mode)) - 1U;
  const int numbered = std::min(modes, body.mode_table.mode_numbers.count());
  for (int i = 0; i < numbered; ++i) {
    std::int32_t &number = body.mode_table.mode_numbers[i];
    number = static_cast<std::int32_t>(static_cast<std::uint32_t>(number) - shift);
  }
  plan.exported_modes = plan.end_mode - plan.first_mode;
}

void plan_modes(WriteRun &run) noexcept {
  SbrBody &body = run.body;
  run.plan.first_mode = 0;
  run.plan.end_mode = run.plan.entry_mode_count;
  run.plan.exported_modes = mode_count(body);
  if (run.options.no_ortho) return;
  const bool transformed = orthonormalize(body);
  run.plan.set(kEigenvalues, mode_count(body) > 0);
  run.plan.set(kModeShapeTransformation, transformed || static_cast<bool>(body.access.transformation));
  limit_frequency_range(run);
}

void plan_invariants(WriteRun &run) noexcept {
  if (!run.options.any_invariants) return;
  const bool full = run.options.full_invariants;
  if (!full && !run.options.fast_invariants) {
    report_error("Illegal invariants option, use full_invar or fast_invar.");
    run.setup_ok = false;
    return;
  }
  if (full)
    compute_full_invariants(run.body);
  else
    compute_fast_invariants(run.body);
  for (const int block : {kInvariant1, kInvariant2, kInvariant3, kInvariant4, kInvariant7, kInvariant8})
    run.plan.set(block, true);
  run.plan.set(kInvariant5, full);
  run.plan.set(kInvariant9, full);
}

// A record with Invariant 3 stands by itself: loads and damping go to the principal axes, nodes that nothing refers to
// go, and the global properties follow from the invariants.
void plan_global_properties(WriteRun &run) noexcept {
  SbrBody &body = run.body;
  if (!run.plan.has(kInvariant3)) {
    run.plan.set(kGlobalBodyProps,
                 has_block(body, kGlobalBodyProps) || (has_block(body, kNodalCoords) && has_block(body, kNodalMasses)));
    return;
  }
  carry_rigid_forces(body);
  static_cast<void>(carry_damping(body));
  if (run.setup_ok) run.setup_ok = discard_unreferenced_nodes(body, !run.options.drop_load_nodes);
  calculate_global_mass(body);
  run.plan.set(kGlobalBodyProps, true);
}

// A range that ends before it begins holds no mode; a record without modal data does not need any.
void require_modes(WriteRun &run) noexcept {
  if (run.plan.exported_modes >= 0) return;
  run.plan.end_mode = run.plan.first_mode;
  run.plan.exported_modes = 0;
  if (run.options.empty) return;
  report_error("No mode lies in the frequency range [%le,%le].", run.options.highpass, run.options.lowpass);
  run.ok = false;
}

// Fresh statistics, which the mode blocks fill as they are emitted.
void plan_statistics(WriteRun &run) noexcept {
  SbrBody &body = run.body;
  body.statistics.release();
  if (run.plan.exported_modes > 0 && !body.statistics.allocate(run.plan.exported_modes)) {
    report_no_memory(run.target.unit);
    run.ok = false;
  }
  set_block(body, kModalStatistics, static_cast<bool>(body.statistics));
  run.plan.set(kModalStatistics, run.plan.exported_modes > 0);
}

void plan_last_blocks(WriteRun &run) noexcept {
  take_from_body(run, {kModalStress, kModalPreload, kModalLoads, kModalStrain});
  require_modes(run);
  plan_statistics(run);
  take_from_body(run, {kNodalPreStress, kNodalPreStrain, kMatrixOperator, kModalLoadNodal, kMonitorPoints});
}

// A record without modal data: geometry, mass, units and the rigid invariants.
void plan_without_modes(WriteRun &run) noexcept {
  if (!run.options.empty) return;
  std::fill(std::begin(run.plan.content), std::end(run.plan.content), static_cast<unsigned char>(0));
  run.plan.set(kUnits, true);
  take_from_body(run, {kNodalCoords, kNodalMasses, kNodalInertias, kInterfaceNodes});
  plan_faces(run);
  run.plan.set(kGlobalBodyProps, true);
  compute_rigid_invariants(run.body);
  for (const int block : {kInvariant1, kInvariant2, kInvariant7}) run.plan.set(block, true);
}

// ---- references

bool is_node(const SbrBody &body, std::int32_t index) noexcept { return index >= 0 && index < node_count(body); }

bool faces_have_their_nodes(const SbrBody &body) noexcept {
  int number = 0;
  for (FaceWalk walk(body.faces); walk.next();) {
    ++number;
    for (const std::int32_t node : walk.face()) {
      if (is_node(body, node)) continue;
      report_error("Face %d refers to node index %d; the body has %d nodes.  The record is not written.", number, node,
                   node_count(body));
      return false;
    }
  }
  return true;
}

bool interface_nodes_exist(const SbrBody &body) noexcept {
  for (std::size_t i = 0; i < body.interface_nodes.nodes.size(); ++i) {
    const std::int32_t node = body.interface_nodes.nodes[i];
    if (is_node(body, node)) continue;
    report_error("Interface node %ld refers to node index %d; the body has %d nodes.  The record is not written.",
                 static_cast<long>(i + 1), node, node_count(body));
    return false;
  }
  return true;
}

bool loaded_nodes_exist(const SbrBody &body) noexcept {
  for (std::size_t i = 0; i < body.loads.nodal.size(); ++i) {
    const NodalLoadCase *load_case = body.loads.nodal[i];
    if (load_case == nullptr) continue;
    for (const std::int32_t node : load_case->nodes) {
      if (is_node(body, node)) continue;
      report_error("Nodal load case %ld refers to node index %d; the body has %d nodes.  The record is not written.",
                   static_cast<long>(i + 1), node, node_count(body));
      return false;
    }
  }
  return true;
}

// No record gets an index outside its node table: a reader could make nothing of it.
bool references_are_good(const WriteRun &run) noexcept {
  const SbrBody &body = run.body;
  const bool faces = run.plan.has(kElementFaces) || run.plan.has(kElementTopology);
  return (!faces || faces_have_their_nodes(body)) && (!run.plan.has(kInterfaceNodes) || interface_nodes_exist(body)) &&
         (!run.plan.has(kModalLoadNodal) || loaded_nodes_exist(body));
}

// ---- the whole

void make_plan(WriteRun &run) noexcept {
  plan_first_blocks(run);
  plan_modes(run);
  plan_invariants(run);
  plan_global_properties(run);
  plan_last_blocks(run);
  if (!run.ok) return;
  plan_without_modes(run);
  run.ok = references_are_good(run);
  if (!run.ok) return;
  if (run.options.mks && run.setup_ok) set_units(run.body, "KILOGRAM", "METER", "SECOND", "NEWTON");
}

// ---- summary --------------------------------------------------------------------------------------------------------

void report_row(const char *name, bool present) noexcept { report_info("%30s %s", name, present ? "Yes" : "No"); }

// The rows of stiffness and mass deliberately show what the body has, not what is written.
void report_summary(const WriteRun &run) noexcept {
  const WritePlan &plan = run.plan;
  report_info("\nCreating a Shape Body Record with the following information:\n");
  report_row("Nodal Coords", plan.has(kNodalCoords));
  report_row("Element Faces", plan.has(kElementFaces));
  report_row("Eigenvalues", plan.has(kEigenvalues));
  report_row("Mode Shapes", plan.has(kModeShapes));
  report_row("Global Mass Properties", plan.has(kGlobalBodyProps));
  report_row("Nodal Masses", plan.has(kNodalMasses));
  report_row("Nodal Inertias", plan.has(kNodalInertias));
  report_row("Generalized Stiffness", has_block(run.body, kGeneralizedStiffness));
  report_row("Generalized Mass", has_block(run.body, kGeneralizedMass));
  report_row("Generalized Damping", plan.has(kGeneralizedDamping));
  report_row("Mode Transformation", plan.has(kModeShapeTransformation));
  report_row("Stress Modes", plan.has(kModalStress));
  report_row("Interface Nodes", plan.has(kInterfaceNodes));
  report_row("Inertia Invariants", plan.has(kInvariant1));
  report_row("Modal Preload", plan.has(kModalPreload));
  report_row("Modal Loads", plan.has(kModalLoads));
  report_row("Strain Modes", plan.has(kModalStrain));
  report_row("Nodal Pre-Stress", plan.has(kNodalPreStress));
  report_row("Nodal Pre-Strain", plan.has(kNodalPreStrain));
  report_row("Matrix Operators", plan.has(kMatrixOperator));
  report_row("Modal Load Nodal", plan.has(kModalLoadNodal));
  report_row("Monitor Points", plan.has(kMonitorPoints));
}

void write_content_summary(WriteRun &run) noexcept {
  const Sink &sink = run.target.sink;
  char content[kContentBytes];
  std::memcpy(content, run.plan.content, sizeof content);
  run.ok = sink.begin(kContentSummary) && sink.chars(content, kContentBytes) && sink.end();
  if (!run.ok) report_error("Problem writing content summary.\n");
}

// ---- blocks ---------------------------------------------------------------------------------------------------------

// Modes pass once each, so they are kept out of the cache.
void write_blocks(WriteRun &run) noexcept {
  const WithoutModeCache past_the_cache(run.body);
  run.ok = emit_blocks(run.body, run.plan, run.target.sink, run.target.unit);
}

}  // namespace

bool is_own_source(const SbrBody &body, const char *path) noexcept {
  if (!body.record.path || path == nullptr) return false;
  bool same = std::strcmp(body.record.path.data(), path) == 0;
  if (!same && body.record.stream != nullptr) {
    // Another name of the file that is being read: opening it for writing would destroy what is left to read.
    struct stat source {};
    struct stat output {};
    same = fstat(fileno(body.record.stream), &source) == 0 && stat(path, &output) == 0 &&
           source.st_dev == output.st_dev && source.st_ino == output.st_ino;
  }
  if (!same) return false;
  report_error(
      "The output SBR name must be different than the current SBR name.\n  Current SBR name:  %s\n  Output SBR name:  "
      "%s",
      body.record.path.data(), path);
  return true;
}

bool run_write_pipeline(SbrBody &body, const WriteTarget &target, WritePlan &plan) noexcept {
  WriteRun run{body, target, plan, {}, true, true};
  plan.entry_mode_count = mode_count(body);
  if (!parse_write_options(std::getenv(kWriteOptionsVariable), run.options)) {
    report_no_memory(target.unit);
    run.ok = false;
  } else {
    apply_reductions(run);
  }
  write_version(run);
  if (run.ok) write_header(run);
  if (run.ok) make_plan(run);
  if (run.ok) report_summary(run);
  if (run.ok) write_content_summary(run);
  if (run.ok) write_blocks(run);
  return run.ok;
}

}  // namespace sbr
