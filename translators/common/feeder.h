// Feeding a body through the library's public operations.
#ifndef SBRKIT_TRANSLATORS_COMMON_FEEDER_H
#define SBRKIT_TRANSLATORS_COMMON_FEEDER_H

#include <array>
#include <memory>
#include <string>
#include <vector>

#include "common/model.h"
#include "sbrkit/sbrkit.h"

namespace sbrtranslate {

struct ReleaseBody {
  void operator()(SBR body) const { SBR_DeReference(body); }
};
using BodyHandle = std::unique_ptr<SbrBody, ReleaseBody>;

// The labels of the record's units.
struct UnitLabels {
  std::string mass = "MEGAGRAM";
  std::string length = "MILLIMETER";
  std::string time = "SECOND";
  std::string force = "NEWTON";
};

// Gives a body the model's nodes, masses, faces, interface nodes, units and header texts; `program` is the type of the
// input, `source` its name. Units that are unknown or not
// consistent throw std::invalid_argument.
void feed_model(SBR body, const Model &model, const UnitLabels &units, const std::string &program,
                const std::string &source, const std::array<std::string, 3> &comments);

// Ends a translation when the library has refused a call; its own message has gone to the handlers.
void require(int result, const char *what);

// A new body of the model with room for its modes, fed as above.
BodyHandle create_body(const Model &model, const UnitLabels &units, const std::string &program, int modes,
                       const std::string &source, const std::array<std::string, 3> &comments);

// Enters a mode's displacements and rotations.
void feed_shape(SBR body, int mode, const Model &model, const NodalMotion &motion);
// Enters a full symmetric matrix of count x count values, row by row; zeros off the diagonal are left out.
void feed_matrix(SBR body, const std::vector<double> &matrix, int count, int (*set)(SBR, int, int, double));

}  // namespace sbrtranslate

#endif
