#include "viewrequest.h"

#include <cmath>
#include <filesystem>

#include "massproperties.h"
#include "modematch.h"
#include "unitsystems.h"

namespace sbrtool {
namespace {

namespace fs = std::filesystem;

std::optional<sbrview::MassProperties> mass_of(SBR body) {
  if (!has_mass_data(body)) return std::nullopt;
  const MassProperties from = mass_properties(body);
  if (!from.inertia.allFinite() || !from.center.allFinite() || !std::isfinite(from.mass)) return std::nullopt;
  const PrincipalAxes principal = principal_axes(from);
  sbrview::MassProperties to;
  to.mass = from.mass;
  to.source = from.source;
  for (std::size_t i = 0; i < 3; ++i) {
    const auto row = static_cast<Eigen::Index>(i);
    to.center[i] = from.center[row];
    to.moments[i] = principal.moments[row];
    for (std::size_t c = 0; c < 3; ++c) to.axes[i][c] = principal.axes(row, static_cast<Eigen::Index>(c));
  }
  return to;
}

std::vector<sbrview::MatchedModes> matched(SBR first, SBR second) {
  std::vector<sbrview::MatchedModes> modes;
  for (const MatchedMode &mode : match_by_shape(first, second).modes) modes.push_back({mode.b, mode.parts, mode.mac});
  return modes;
}

}  // namespace

sbrview::Request view_request(const std::vector<std::string> &files, const std::vector<Body> &bodies, int most_nodes) {
  sbrview::Request request;
  request.maker = std::string("sbr ") + SBR_PROGRAM_VERSION;
  request.most_nodes = most_nodes;
  for (std::size_t i = 0; i < bodies.size(); ++i)
    request.bodies.push_back({bodies[i].get(), fs::path(files[i]).filename().string(), mass_of(bodies[i].get())});
  if (bodies.size() == 2) request.match = matched(bodies[0].get(), bodies[1].get());
  for (const auto &[name, system] : unit_systems())
    request.units.push_back({name, {system.mass, system.length, system.time, system.force}});
  return request;
}

}  // namespace sbrtool
