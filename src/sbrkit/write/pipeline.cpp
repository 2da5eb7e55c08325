// The steps of a write, in their fixed order.
#include "write/pipeline.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "base/reports.h"
#include "blocks/emission.h"
#include "body/header.h"
#include "body/matrices.h"
#include "body/node_table.h"

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
  if (run.options.lbrf2cm) SBR_ShiftLBRFtoCM(&run.body);
  if (run.options.sketch_path) SBR_SketchGrid(&run.body, run.options.sketch_path.data());
  if (run.options.strip_face) SBR_StripCommonFaces(&run.body);
  if (run.options.coarsen) SBR_TrimGeometry(&run.body, run.options.coarsen.data());
  run.plan.sparse = run.options.sparse;
}

// ---- version word and header ----------------------------------------------------------------------------------------

// The buffer through which reals are narrowed, unless everything is double precision.
bool ensure_float_buffer(WriteRun &run) noexcept {
  SbrBody &body = run.body;
  body.record.single_scratch = &body.float_buffer;
  if (!means_single(run.plan.word) && body.record.double_precision != 0) return true;
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
  if (channel.xdr_encoded == 0 || channel.xdr == nullptr || channel.stream == nullptr) return;
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
  const bool transformed = SBR_OrthoNormalize(&body) != 0;
  run.plan.set(kEigenvalues, mode_count(body) > 0);
  run.plan.set(kModeShapeTransformation, transformed || static_cast<bool>(body.access.transformation));
  limit_frequency_range(run);
}

void plan_invariants(WriteRun &run) noexcept {
  if (!run.options.invariants) return;
  const bool full = run.options.full_invariants;
  if (!full && !run.options.fast_invariants) {
    report_error("Illegal invariants option, use full_invar or fast_invar.");
    run.setup_ok = false;
    return;
  }
  if (full)
    SBR_FullComputeInvars(&run.body);
  else
    SBR_FastComputeInvars(&run.body);
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
  SBR_RigidBodyForcesOnPrincipalAxes(&body);
  static_cast<void>(SBR_DampingOnPrincipalAxes(&body));
  if (run.setup_ok) run.setup_ok = SBR_DiscardUnreferencedNodes(&body) != 0;
  static_cast<void>(SBR_CalculateGlobalMassFromNodeMass(&body));
  run.plan.set(kGlobalBodyProps, true);
}

// Fresh statistics, which the mode blocks fill as they are emitted.
void plan_statistics(WriteRun &run) noexcept {
  SbrBody &body = run.body;
  body.statistics.release();
  if (run.plan.exported_modes != 0 && !body.statistics.allocate(run.plan.exported_modes)) {
    report_no_memory(run.target.unit);
    run.ok = false;
  }
  set_block(body, kModalStatistics, static_cast<bool>(body.statistics));
  run.plan.set(kModalStatistics, run.plan.exported_modes > 0);
}

void plan_last_blocks(WriteRun &run) noexcept {
  take_from_body(run, {kModalStress, kModalPreload, kModalLoads, kModalStrain});
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
  SBR_RigidComputeInvars(&run.body);
  for (const int block : {kInvariant1, kInvariant2, kInvariant7}) run.plan.set(block, true);
}

void make_plan(WriteRun &run) noexcept {
  plan_first_blocks(run);
  plan_modes(run);
  plan_invariants(run);
  plan_global_properties(run);
  plan_last_blocks(run);
  if (!run.ok) return;
  plan_without_modes(run);
  if (run.options.mks && run.setup_ok) SBR_SetUnits(&run.body, "KILOGRAM", "METER", "SECOND", "NEWTON");
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
  int keep = 0;
  SBR_GetKeepModesInMemory(&run.body, &keep);
  SBR_SetKeepModesInMemory(&run.body, 0);
  run.ok = emit_blocks(run.body, run.plan, run.target.sink, run.target.unit);
  SBR_SetKeepModesInMemory(&run.body, keep);
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
  if (!parse_write_options(std::getenv("KTX_SBRWRITE_OPTIONS"), run.options)) {
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
