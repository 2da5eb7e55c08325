// From a CalculiX job to a body: deck and modal results, or deck and matrices, become a body that is ready to be
// written.
#ifndef SBRKIT_TRANSLATORS_CALCULIX_JOB_H
#define SBRKIT_TRANSLATORS_CALCULIX_JOB_H

#include <functional>
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
  std::optional<Where> stress;          // default: at the surface, if the results have it
  std::optional<Where> strain;          // default: none
  std::optional<ShellSide> shell_side;  // default: top, and the middle where the results have no sides
  std::optional<int> step;              // the frequency step whose modes are taken; default: the only one
  bool no_loads = false;                // leaves the loads of static steps out
  std::optional<int> modes;             // the first so many modes; default: all
  bool force = false;                   // take results that do not fit the deck
  bool shared_faces = true;             // whether the body gets the faces that two solids share
  std::optional<MatrixFiles> matrices;
  std::optional<int> normal;             // fixed-interface normal modes to be added
  std::optional<double> max_hz;          // or all of them up to a frequency
  std::optional<int> interface_modes;    // in the place of the constraint modes
  std::vector<std::string> attachments;  // node sets with residual attachment modes
  bool residual_inertia = false;         // residual modes of rigid accelerations
  std::optional<int> free_modes;         // of the full matrices, to be compared with
  std::function<void(const ReductionProgress &)> progress;
};

// Builds the body. Throws InputError for what is wrong with an input, std::invalid_argument for the options.
BodyHandle import_ccx(const ImportOptions &options, ImportReport &report);

}  // namespace sbrtranslate

#endif
