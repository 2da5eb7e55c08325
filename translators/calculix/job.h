// From a CalculiX job to a body: deck and modal results, or deck and matrices, become a body that is ready to be
// written.
#ifndef SBRKIT_TRANSLATORS_CCXIMPORT_H
#define SBRKIT_TRANSLATORS_CCXIMPORT_H

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "model.h"

namespace sbrtranslate {

enum class Where { none, surface, all };
// Which side of a shell's expanded results its stress and strain are taken from.
enum class ShellSide { top, middle, bottom };

struct MatrixFiles {
  std::string mass, stiffness, dofs;
};

struct ImportOptions {
  std::string deck;
  std::optional<std::string> frd;  // default: beside the deck, plain or with .gz
  std::optional<std::string> dat;  // likewise; may be missing then
  UnitLabels units;
  std::vector<std::string> interfaces;
  std::optional<Where> stress;  // default: at the surface, if the results have it
  std::optional<Where> strain;  // default: none
  ShellSide shell_side = ShellSide::top;
  std::optional<int> modes;  // the first so many modes; default: all
  std::optional<MatrixFiles> matrices;
  std::optional<int> normal;     // fixed-interface normal modes to be added
  std::optional<double> max_hz;  // or all of them up to a frequency
};

struct ModeReport {
  int number = 0;
  double eigenvalue = 0.0;
  double hz = 0.0;
  double lumped_mass = 0.0;    // generalized mass with the lumped nodal masses
  double elastic_share = 0.0;  // of that mass, what no rigid motion explains
  double largest_displacement = 0.0;
  int displacement_node = 0;
  double largest_stress = 0.0;  // von Mises
  int stress_node = 0;
  bool rigid = false;  // the shape is a rigid motion
};

struct ImportReport {
  Model model;
  UnitLabels units;
  std::string results;  // the file that the modes come from
  std::vector<ModeReport> modes;
  std::vector<double> full_model_hz;  // with matrices: the frequencies of the .dat file, if there is one
  int constraint_modes = 0;
  int normal_modes = 0;
  int stress_nodes = 0;
  int strain_nodes = 0;
  bool has_stress = false;
  std::vector<std::string> warnings;
};

struct ReleaseBody {
  void operator()(SBR body) const { SBR_DeReference(body); }
};
using BodyHandle = std::unique_ptr<SbrBody, ReleaseBody>;

// Builds the body. Throws InputError for what is wrong with an input, std::invalid_argument for the options.
BodyHandle import_ccx(const ImportOptions &options, ImportReport &report);

// What the modes of a body tell, by its own accessors: for bodies whose modes the library has made orthogonal.
void report_body_modes(SBR body, ImportReport &report);

// Warnings that follow from the modes: negative eigenvalues, rigid motions missing or too many.
void judge_modes(ImportReport &report);

}  // namespace sbrtranslate

#endif
