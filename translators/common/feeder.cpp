#include "common/feeder.h"

#include <cmath>
#include <stdexcept>

#include "common/text_input.h"

namespace sbrtranslate {

void require(int result, const char *what) {
  if (result == 0) throw std::runtime_error(std::string("the library refused ") + what);
}

void feed_model(SBR body, const Model &model, const UnitLabels &units, const std::string &program,
                const std::string &source, const std::array<std::string, 3> &comments) {
  if (SBR_SetUnits(body, units.mass.c_str(), units.length.c_str(), units.time.c_str(), units.force.c_str()) == 0)
    throw std::invalid_argument("unknown units " + units.mass + ", " + units.length + ", " + units.time + ", " +
                                units.force);
  const double consistency = SBR_UCF(body);
  if (!(std::fabs(consistency - 1.0) < 1e-3))
    throw std::invalid_argument("the units are not consistent: force is " + show(consistency) +
                                " times mass x length / time^2, and a finite-element model needs 1");
  const auto limited = [](const std::string &text, std::size_t most) { return text.substr(0, most); };
  std::string title = limited(model.mesh.title, 127);
  std::string file = source.size() > 127 ? "..." + source.substr(source.size() - 124) : source;
  std::string type = program;
  std::array<std::string, 3> texts;
  for (std::size_t i = 0; i < 3; ++i) texts[i] = limited(comments[i], 79);
  require(
      SBR_SetHeader(body, title.data(), file.data(), type.data(), texts[0].data(), texts[1].data(), texts[2].data()),
      "the header texts");
  for (std::size_t n = 0; n < model.nodes.size(); ++n) {
    const BodyNode &node = model.nodes[n];
    require(SBR_SetNodeCoordinates(body, node.id, node.place[0], node.place[1], node.place[2]), "a node");
    if (!model.has_masses) continue;
    require(SBR_SetNodalMass(body, node.id, node.mass), "a nodal mass");
    const NodalInertia &i = model.inertia(n);
    if (node.has_inertia)
      require(SBR_SetNodalInertia(body, node.id, i[0], i[1], i[2], i[3], i[4], i[5]), "a nodal inertia");
  }
  model.visit_faces([&](std::span<const int> face) {
    require(SBR_SetFaceList(body, static_cast<int>(face.size()), face.data()), "a face");
  });
  for (const int id : model.interface_nodes) require(SBR_SetInterfaceNode(body, id), "an interface node");
}

BodyHandle create_body(const Model &model, const UnitLabels &units, const std::string &program, int modes,
                       const std::string &source, const std::array<std::string, 3> &comments) {
  BodyHandle body(SBR_Create(static_cast<int>(model.nodes.size()), modes));
  if (!body) throw std::runtime_error("the library made no body");
  feed_model(body.get(), model, units, program, source, comments);
  return body;
}

void feed_shape(SBR body, int mode, const Model &model, const NodalMotion &motion) {
  for (std::size_t i = 0; i < model.nodes.size(); ++i)
    require(SBR_SetModeVec(body, mode, model.nodes[i].id, 0, motion.six(i).data()), "values of a mode");
}

void feed_matrix(SBR body, const std::vector<double> &matrix, int count, int (*set)(SBR, int, int, double)) {
  for (int r = 0; r < count; ++r)
    for (int c = r; c < count; ++c) {
      const double value =
          matrix[static_cast<std::size_t>(r) * static_cast<std::size_t>(count) + static_cast<std::size_t>(c)];
      if (r == c || value != 0.0) require(set(body, r + 1, c + 1, value), "a generalized matrix");
    }
}

}  // namespace sbrtranslate
