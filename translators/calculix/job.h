// From a CalculiX job to a body: deck and modal results, or deck and matrices, become a body that is ready to be
// written.
#ifndef SBRKIT_TRANSLATORS_CALCULIX_JOB_H
#define SBRKIT_TRANSLATORS_CALCULIX_JOB_H

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "common/feeder.h"
#include "common/report.h"

namespace sbrtranslate {

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

// Builds the body. Throws InputError for what is wrong with an input, std::invalid_argument for the options.
BodyHandle import_ccx(const ImportOptions &options, ImportReport &report);

}  // namespace sbrtranslate

#endif
