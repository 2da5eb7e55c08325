#include "frame/to_mass_center.h"

#include "base/reports.h"
#include "body/registry.h"
#include "dynamics/rigid_modes.h"

namespace sbr {
namespace {

// Moves a load given as forces (0, 1, 2) and moments (3, 4, 5) to a reference point at c.
void move_moments(Array<double> &load, const double *c) noexcept {
  if (load.size() < 6) return;
  load[3] -= c[1] * load[2] - c[2] * load[1];
  load[4] -= c[2] * load[0] - c[0] * load[2];
  load[5] -= c[0] * load[1] - c[1] * load[0];
}

}  // namespace

void shift_to_mass_center(SbrBody &body) noexcept {
  const int rigid_modes = rigid_mode_count(body);
  double mass = 0.0;
  double moment[3] = {};
  for (const NodeRecord &node : body.nodes.nodes) {
    mass += node.mass;
    moment[0] += node.mass * node.x;
    moment[1] += node.mass * node.y;
    moment[2] += node.mass * node.z;
  }
  if (body.nodes.nodes.empty() || mass == 0.0) return;
  const double c[3] = {moment[0] / mass, moment[1] / mass, moment[2] / mass};
  for (NodeRecord &node : body.nodes.nodes) {
    node.x -= c[0];
    node.y -= c[1];
    node.z -= c[2];
  }
  body.search.drop();
  report_info("Shifting LBRF to CM at (%.3e,%.3e,%.3e)\n", c[0], c[1], c[2]);
  body.global.center[0] = 0.0;  // the other two components keep their values
  if (rigid_modes != 6) return;
  if (body.loads.preload_on_principal_axes != 0) move_moments(body.loads.preload, c);
  for (std::size_t i = 0; i < body.loads.modal.size(); ++i)
    if (ModalLoad *load = body.loads.modal[i]; load != nullptr && load->processed != 0) move_moments(load->values, c);
}

}  // namespace sbr

extern "C" void SBR_ShiftLBRFtoCM(SBR body) {
  if (sbr::require_body(body)) sbr::shift_to_mass_center(*body);
}
