#include "calculix/importer.h"

#include <stdexcept>

#include "calculix/job.h"

namespace sbrtranslate {
namespace {

class CalculixImporter : public Importer {
 public:
  std::vector<ImporterOption> options() override;
  BodyHandle run(const ImportInput &input, ImportReport &report) override;

 private:
  void take_matrices();
  ImportOptions options_;
  std::vector<std::string> matrices_;
};

std::vector<ImporterOption> CalculixImporter::options() {
  const std::vector<std::pair<std::string, Where>> places = {
      {"all", Where::all}, {"none", Where::none}, {"surface", Where::surface}};
  const std::vector<std::pair<std::string, ShellSide>> sides = {
      {"bottom", ShellSide::bottom}, {"middle", ShellSide::middle}, {"top", ShellSide::top}};
  std::vector<ImporterOption> list;
  const auto add = [&](ImporterOption &&option) { list.push_back(std::move(option)); };
  const auto option = [](const char *name, ImporterOption::Target target, const char *text) {
    return ImporterOption{name, std::move(target), text, {}, {}};
  };
  add(option("--frd", &options_.frd, "The results; by default JOB.frd or JOB.frd.gz beside the deck").shown("FILE"));
  add(option("--dat", &options_.dat, "The eigenvalue table; by default JOB.dat or JOB.dat.gz, if there is one")
          .shown("FILE"));
  add(option("--interface", &options_.interfaces, "Node sets that become the interface nodes").shown("SET,..."));
  add(choice("--stress", places, options_.stress, "Nodes with modal stress; by default those at the surface"));
  add(choice("--strain", places, options_.strain, "Nodes with modal strain; by default none"));
  add(choice(
      "--shell-side", sides, options_.shell_side,
      "Side of shells that stress and strain are taken from; by default the top, and the middle where the results "
      "have no sides"));
  add(option("--step", &options_.step, "The frequency step whose modes are taken; by default the only one")
          .at_least(1));
  add(option("--no-loads", &options_.no_loads, "Leave the loads of the deck's static steps out"));
  add(option("--modes", &options_.modes, "Take the first N modes only").at_least(1));
  add(option("--matrices", &matrices_, "Reduce the solver's matrices instead").shown("JOB.mas,JOB.sti,JOB.dof"));
  add(option("--normal", &options_.normal, "With --matrices: add N fixed-interface normal modes"));
  add(option("--max-hz", &options_.max_hz, "With --matrices: add the normal modes up to this frequency").shown("HZ"));
  add(option("--force", &options_.force, "Take results whose mesh or mass is not that of the deck"));
  add(option("--interface-modes", &options_.interface_modes,
             "With --matrices: N eigenmodes of the condensed interface instead of its constraint modes")
          .at_least(1));
  add(option("--residual-attachment", &options_.attachments,
             "With --matrices: node sets whose nodes get residual modes for unit forces")
          .shown("SET,..."));
  add(option("--residual-inertia", &options_.residual_inertia,
             "With --matrices: residual modes for rigid accelerations"));
  add(option("--mac", &options_.free_modes,
             "With --matrices: compare with N elastic modes of the free body by the full matrices"));
  return list;
}

void CalculixImporter::take_matrices() {
  const bool limits = options_.normal || options_.max_hz;
  if (matrices_.empty()) {
    if (options_.interface_modes || !options_.attachments.empty() || options_.residual_inertia || options_.free_modes)
      throw std::invalid_argument(
          "--interface-modes, --residual-attachment, --residual-inertia and --mac belong to --matrices");
    if (limits) throw std::invalid_argument("--normal and --max-hz belong to --matrices");
    return;
  }
  if (!limits) throw std::invalid_argument("--matrices needs --normal or --max-hz");
  if (matrices_.size() != 3)
    throw std::invalid_argument("--matrices: three files are needed, JOB.mas,JOB.sti,JOB.dof, not " +
                                std::to_string(matrices_.size()));
  options_.matrices = MatrixFiles{matrices_[0], matrices_[1], matrices_[2]};
}

BodyHandle CalculixImporter::run(const ImportInput &input, ImportReport &report) {
  take_matrices();
  options_.deck = input.path;
  options_.progress = input.progress;
  options_.shared_faces = input.shared_faces;
  options_.units = input.units.value_or(UnitLabels());
  return import_ccx(options_, report);
}

}  // namespace

ImporterEntry calculix_importer() {
  return {
      "ccx",
      "From a CalculiX job: deck, .frd and .dat, or deck and matrices",
      "JOB.inp",
      "The deck",
      "mm-t-s-N",
      "The deck is read with its results JOB.frd and JOB.dat, plain or packed. With --matrices the solver's own mass "
      "and stiffness matrices are reduced to the interface nodes instead, with fixed-interface normal modes.\n"
      "\n"
      "A card that would make the body wrong is refused with file and line, and so are results whose mass is not that "
      "of the deck.\n"
      "\n"
      "Interfaces are node sets, numbers of nodes or names of couplings. The reference node of a rigid body or a "
      "coupling "
      "is an interface with six degrees of freedom.\n"
      "\n"
      "Static steps become load cases, on nodes and on modes. Where a frequency step starts from the state of a static "
      "one (PERTURBATION), its stress becomes the pre-stress and its forces the preload.\n"
      "\n"
      "A reduction tells the effective mass of each mode with the interface held; what the modes lack in sum, residual "
      "inertia modes add. With --mac it compares its free modes with those of the full matrices.",
      {{"sbr import ccx rod.inp --frd rod.frd.gz -o rod.sbr --interface LEFT,RIGHT --stress all",
        "Results that stand elsewhere, stress at all nodes."},
       {"sbr import ccx rod.inp --matrices rod.mas,rod.sti,rod.dof --normal 10 --interface LEFT -o rod.sbr",
        "A reduction with 10 normal modes."},
       {"sbr import ccx rod.inp --matrices M,K,D --normal 10 --interface LEFT --interface-modes 9 --mac 8 -o rod.sbr",
        "The same with few modes for a large interface, and a comparison."}},
      [] { return std::unique_ptr<Importer>(std::make_unique<CalculixImporter>()); }};
}

}  // namespace sbrtranslate
