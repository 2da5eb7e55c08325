// sbr reduce: a body with a smaller surface and without the nodes that it does not need.
//
// The mass of a node goes with it. So the inertia invariants are taken from the body while it still has all its nodes,
// and stored: the record then tells mass, center and inertia of the body as it was given. This is what the write
// pipeline does with a body that has invariants, so the reduction is a write under the right options.
#include <iostream>

#include "changing.h"
#include "rawrecord.h"

namespace sbrtool {
namespace {

struct Counts {
  int faces = 0;
  int nodes = 0;
};

Counts counts_of(SBR body) {
  Counts counts;
  int words = 0;
  SBR_FaceListSize(body, &counts.faces, &words);
  counts.nodes = SBR_NodeCount(body);
  return counts;
}

bool has_mass_of_nodes(SBR body) { return SBR_Exists(body, kMassBlock) != 0 || SBR_Exists(body, kThirdInvariant) != 0; }

// With all nodes kept the invariants are not stored: the library drops the nodes of a body that has them.
Body open_with_all_nodes(const Job &job) {
  if (!job.options.invariants.empty())
    throw Failure(kUsage,
                  "--keep-nodes and --invariants exclude each other: a record with invariants is written "
                  "without the nodes that nothing refers to");
  Body body = open_record(job.input);
  if (SBR_Exists(body.get(), kThirdInvariant) == 0) return body;
  if (const auto share = nodal_share(body.get()); !is_whole(share))
    throw Failure(kUsage, "--keep-nodes: nodes of " + job.input + " were dropped before, those left hold " +
                              brief(100.0 * *share, 4) + " % of the mass; leave the option out");
  body.reset();
  return open_without_blocks(job.input, kFirstInvariant, kLastInvariant);
}

// Chooses the invariants with which the reduced body keeps its mass.
void choose_invariants(SBR body, WriteOptions &options) {
  if (!options.layout.empty())
    throw Failure(kUsage, "--layout " + options.layout +
                              ": the old layouts hold no invariants, so that the mass of the "
                              "dropped nodes would be lost; use --keep-nodes, or no --layout");
  if (options.invariants == "fast")
    throw Failure(kUsage,
                  "--invariants fast leaves out invariants 5 and 9, which cannot be had from the nodes that are "
                  "left; reduce stores all invariants by itself");
  // What was stored before nodes went stays as it is.
  const bool stored = SBR_Exists(body, kThirdInvariant) != 0;
  if (options.invariants.empty() && !(stored && !is_whole(nodal_share(body)))) options.invariants = "full";
}

void tell(SBR body, const Counts &before) {
  const Counts after = counts_of(body);
  std::cout << "faces " << before.faces << " -> " << after.faces << ", nodes " << before.nodes << " -> " << after.nodes
            << '\n';
  const double mass = SBR_Invar1(body);
  if (mass > 0.0 && has_mass_of_nodes(body) && !is_whole(share_of_nodes(body, mass)))
    std::cout << "mass, center and inertia are kept in the invariants; the nodes that are left hold "
              << brief(100.0 * share_of_nodes(body, mass), 4) << " % of the mass\n";
}

// Nodes without mass data take nothing with them.
void discard_massless(SBR body, WriteOptions &options) {
  if (!options.sketch.empty()) SBR_SketchGrid(body, options.sketch.c_str());
  if (options.strip_faces) SBR_StripCommonFaces(body);
  if (!options.coarsen.empty()) SBR_TrimGeometry(body, (full_coarsening(options.coarsen) + ")").c_str());
  options.sketch.clear();
  options.coarsen.clear();
  options.strip_faces = false;
  if (SBR_DiscardUnreferencedNodes(body) == 0)
    throw Failure(kFailed, "the nodes without a reference could not be discarded");
}

void reduce(Job &job, bool keep_nodes) {
  const Body body = keep_nodes ? open_with_all_nodes(job) : open_to_write(job.input, job.options);
  const Counts before = counts_of(body.get());
  job.options.strip_faces = job.options.sketch.empty() && before.faces > 0;
  const bool has_modes = SBR_ModeCount(body.get()) > 0;
  if (!keep_nodes && !has_modes)
    std::cerr << "warning: a body without modes keeps its nodes\n";
  else if (!keep_nodes && has_mass_of_nodes(body.get()))
    choose_invariants(body.get(), job.options);
  else if (!keep_nodes)
    discard_massless(body.get(), job.options);
  write_record(body.get(), job.input, job.output, job.options);
  tell(body.get(), before);
}

}  // namespace

void add_reduce_command(CLI::App &app) {
  CLI::App *command = app.add_subcommand("reduce", "Make the surface smaller and drop what it does not need");
  const auto job = add_job(*command);
  const auto keep_nodes = std::make_shared<bool>(false);
  command->add_flag("--keep-nodes", *keep_nodes, "Keep nodes that no face, interface or load refers to");
  command->callback([job, keep_nodes] { reduce(*job, *keep_nodes); });
}

}  // namespace sbrtool
