// From a mesh and its modes to a body, whatever they were read from.
#ifndef SBRKIT_TRANSLATORS_COMMON_MODAL_BODY_H
#define SBRKIT_TRANSLATORS_COMMON_MODAL_BODY_H

#include <functional>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "common/importer.h"
#include "common/report.h"

namespace sbrtranslate {

struct ModeHead {
  double hz = 0.0;  // negative for a negative eigenvalue
  // Not a number where the source does not tell it.
  double generalized_mass = std::numeric_limits<double>::quiet_NaN();
};

// What a source tells of its modes. The functions fill six values for each node of the model, in its order:
// translations and rotations; stress xx, yy, zz, xy, xz, yz.
struct ModalSource {
  std::string program;  // type of the input in the header, at most 15 characters
  std::string file;
  std::string comment;
  std::vector<ModeHead> modes;
  std::function<void(std::size_t mode, std::vector<double> &six)> shape;
  std::function<void(std::size_t mode, std::vector<double> &six)> stress;  // empty: the source has none
};

// Where the generalized masses come from that a source does not tell.
enum class MassRule {
  automatic,  // 1 where the nodal masses give 0.5 to 2 for every mode, else what they give, with a warning
  unit,       // 1: the shapes are scaled to unit generalized mass
  nodes       // the sum of nodal mass times squared displacement
};

// The options that importers of modes have in common, and what they ask for.
struct ModalOptions {
  std::vector<std::string> interfaces;
  std::optional<Where> stress;
  std::optional<int> modes;
  MassRule rule = MassRule::automatic;
  std::optional<double> density;
  std::optional<double> thickness;
  // Appends the options, without those of stress where the source has none.
  void describe(std::vector<ImporterOption> &list, bool has_stress);
};

// Gives every element of a mesh without sections the density and, to shells, the thickness of the options. Without a
// density the model is weighed with density 1 and `report.model.has_masses` is false. `thickness_of` gives the
// thickness that the source has for an element, or 0. Throws std::invalid_argument where a shell has no thickness.
void build_modal_model(Mesh mesh, const ModalOptions &options, const std::function<double(std::size_t)> &thickness_of,
                       ImportReport &report);

// A model of nodes alone, with neither faces nor masses, for modes without a mesh. Node sets become interfaces.
void build_point_model(Mesh mesh, const ModalOptions &options, ImportReport &report);

// Makes the body of the report's model with the modes of a source, and fills the report.
BodyHandle make_modal_body(const ModalSource &source, const ModalOptions &options, ImportReport &report);

}  // namespace sbrtranslate

#endif
