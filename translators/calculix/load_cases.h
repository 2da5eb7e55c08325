// The loads of a deck's static steps as load cases of a body, on nodes and on modes; and the state that a frequency
// step starts from.
#ifndef SBRKIT_TRANSLATORS_CALCULIX_LOAD_CASES_H
#define SBRKIT_TRANSLATORS_CALCULIX_LOAD_CASES_H

#include <optional>
#include <string>
#include <vector>

#include "calculix/steps.h"
#include "sbrkit/sbrkit.h"

namespace sbrtranslate {

// The frequency step whose modes are taken, and the static step whose end state it starts from; null where the deck has
// none.
struct StepChoice {
  const DeckStep *modal = nullptr;
  const DeckStep *state = nullptr;
  int modal_ordinal = 0;  // among the frequency steps, from 1
};

// Chooses by number, or the only frequency step. Throws InputError at the deck when that is no frequency step, or when
// there are several and none is chosen.
StepChoice choose_step(const Mesh &mesh, const std::vector<DeckStep> &steps, std::optional<int> number);

class LoadCases {
 public:
  // Every static step that loads the body is a case, labelled "Step N".
  LoadCases(const Model &model, const std::vector<DeckStep> &steps, const StepChoice &choice);
  // Enters the nodal cases.
  void feed_nodes(SBR body) const;
  // Enters what the forces do on a mode, the sum of force times displacement over the nodes, and, where modes start
  // from a loaded state, that state's forces as the preload.
  void feed_mode(SBR body, int number, const NodalMotion &motion) const;
  [[nodiscard]] std::size_t count() const { return cases_.size(); }
  [[nodiscard]] bool has_preload() const { return preload_ >= 0; }

 private:
  struct Force {
    std::size_t node = 0;  // position in the model
    NodalForce value{};
  };
  struct Case {
    std::string label;
    std::vector<Force> forces;
  };
  const Model &model_;
  std::vector<Case> cases_;
  int preload_ = -1;  // the case that is the preload
};

}  // namespace sbrtranslate

#endif
