// What an import tells its user: the model, the modes with their figures, and warnings. The report does not know the
// source that the body came from.
#ifndef SBRKIT_TRANSLATORS_COMMON_REPORT_H
#define SBRKIT_TRANSLATORS_COMMON_REPORT_H

#include <string>
#include <vector>

#include "common/feeder.h"
#include "common/model.h"
#include "common/reduction.h"

namespace sbrtranslate {

// At which nodes a kind of result is taken.
enum class Where { none, surface, all };

struct ModeReport {
  int number = 0;
  double eigenvalue = 0.0;
  double hz = 0.0;
  double lumped_mass = 0.0;    // generalized mass with the lumped nodal masses
  double elastic_share = 0.0;  // of that mass, what no rigid motion explains
  bool rigid = false;          // the shape is a rigid motion
  Vec3 velocity{};             // the rigid motion that is nearest to it: of the center of mass
  Vec3 rotation{};
};

struct ImportReport {
  Model model;
  UnitLabels units;
  std::string results;  // the file that the modes come from
  std::vector<ModeReport> modes;
  std::vector<double> full_model_hz;  // with matrices: the frequencies of the full model, if they are known
  int constraint_modes = 0;
  int normal_modes = 0;
  ReductionFigures reduction;  // with matrices
  int stress_nodes = 0;
  int strain_nodes = 0;
  bool has_stress = false;
  int load_cases = 0;
  bool has_state = false;    // pre-stress of the state that the modes start from
  bool has_preload = false;  // and its forces
  std::vector<std::string> warnings;
};

// Warnings that follow from the model: nodes without elements, loose pieces, lumped masses that miss the inertia.
void judge_model(ImportReport &report);

// What the modes of a body tell, by its own accessors: for bodies whose modes the library has made orthogonal.
void report_body_modes(SBR body, ImportReport &report);

// Warnings that follow from the modes: negative eigenvalues, rigid motions missing or too many.
void judge_modes(ImportReport &report);

}  // namespace sbrtranslate

#endif
