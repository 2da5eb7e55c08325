#include "calculix/load_cases.h"

#include "common/feeder.h"

namespace sbrtranslate {

StepChoice choose_step(const Mesh &mesh, const std::vector<DeckStep> &steps, std::optional<int> number) {
  StepChoice choice;
  std::string list;
  int ordinal = 0;
  for (const DeckStep &step : steps) {
    if (step.kind != DeckStep::Kind::frequency) continue;
    ++ordinal;
    list += (list.empty() ? "" : ", ") + std::to_string(step.number);
    if (number && step.number != *number) continue;
    if (choice.modal != nullptr)
      throw InputError(step.place, "another frequency step: choose one of " + list + " with --step");
    choice.modal = &step;
    choice.modal_ordinal = ordinal;
  }
  if (number && choice.modal == nullptr)
    throw InputError({mesh.files.front(), 0}, "step " + std::to_string(*number) + " is no frequency step" +
                                                  (list.empty() ? "" : "; there are " + list));
  if (choice.modal == nullptr || !choice.modal->perturbation) return choice;
  for (const DeckStep &step : steps)
    if (&step < choice.modal && step.kind == DeckStep::Kind::statics && !step.perturbation) choice.state = &step;
  return choice;
}

LoadCases::LoadCases(const Model &model, const std::vector<DeckStep> &steps, const StepChoice &choice) : model_(model) {
  for (const DeckStep &step : steps) {
    if (step.kind != DeckStep::Kind::statics) continue;
    Case entry{"Step " + std::to_string(step.number), {}};
    for (const auto &[node, force] : nodal_forces(model, step))
      entry.forces.push_back({static_cast<std::size_t>(model.node_position(node)), force});
    if (entry.forces.empty()) continue;
    // Supports that go leave forces behind that the deck does not tell.
    if (choice.state != nullptr && step.number == choice.state->number && !choice.modal->releases_supports)
      preload_ = static_cast<int>(cases_.size());
    cases_.push_back(std::move(entry));
  }
}

void LoadCases::feed_nodes(SBR body) const {
  for (std::size_t c = 0; c < cases_.size(); ++c)
    for (const Force &force : cases_[c].forces)
      for (std::size_t k = 0; k < 6; ++k)
        if (force.value[k] != 0.0)
          require(SBR_SetModalLoadNodal(body, static_cast<int>(c), model_.nodes[force.node].id, static_cast<int>(k) + 1,
                                        force.value[k]),
                  "a nodal load");
}

void LoadCases::feed_mode(SBR body, int number, const NodalMotion &motion) const {
  for (std::size_t c = 0; c < cases_.size(); ++c) {
    double value = 0.0;
    for (const Force &force : cases_[c].forces) {
      const std::array<double, 6> six = motion.six(force.node);
      for (std::size_t k = 0; k < 6; ++k) value += force.value[k] * six[k];
    }
    const int at = static_cast<int>(c);
    require(SBR_SetModalLoad(body, at, number, value), "a modal load");
    require(SBR_SetModalLoadLabel(body, at, cases_[c].label.c_str()), "the label of a load");
    if (at == preload_) require(SBR_SetModalPreload(body, number, value), "a preload");
  }
}

}  // namespace sbrtranslate
