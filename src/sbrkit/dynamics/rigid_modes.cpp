// Rigid-body modes: how many of the leading modes are rigid, and what they are in terms of the six rigid motions.
#include "dynamics/rigid_modes.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "base/reports.h"
#include "body/matrices.h"
#include "body/node_table.h"
#include "body/registry.h"
#include "mass/node_sums.h"
#include "modes/access.h"

namespace sbr {
namespace {

// The signed frequency in hertz of the mode at a position of the mode table; false when it is not known.
bool frequency_at(SbrBody &body, int position, double &hz) noexcept {
  return eigen_values(body, position, nullptr, &hz, nullptr, nullptr, nullptr);
}

// With elastic modes behind them, rigid modes are those of the first six below a threshold.
int count_below_threshold(SbrBody &body) noexcept {
  const char *text = std::getenv("SBR_RIGID_BODY_THRESHOLD");
  double f6 = 0.0;
  if (!frequency_at(body, 6, f6)) return 0;
  const double threshold = text != nullptr ? std::atof(text) : 0.001 * (f6 > 1.0 ? f6 : 1.0);
  int count = 0;
  for (int i = 0; i < 6; ++i) {
    double f = 0.0;
    (void)frequency_at(body, i, f);
    if (f <= threshold) ++count;
  }
  return count;
}

// Up to six modes may all be rigid: look for a gap in the frequencies. The last gap decides.
int count_before_gap(SbrBody &body, int modes) noexcept {
  double first = 0.0;
  (void)frequency_at(body, 0, first);
  double previous = first;
  int count = 0;
  for (int i = 1; i < modes; ++i) {
    double f = 0.0;
    (void)frequency_at(body, i, f);
    if ((std::fabs(first) < 0.1 && f > 10.0) || std::fabs(f) > 10000.0 * std::fabs(previous)) count = i;
    previous = f;
  }
  return count;
}

// The participation of a mode in the six rigid motions: mass-weighted projections over its mass-weighted square.
void project_on_rigid_motions(std::span<const NodeRecord> nodes, const double *masses, const double *phi,
                              double *ratios) noexcept {
  double motion[6] = {};
  double square = 0.0;
  for (std::size_t k = 0; k < nodes.size(); ++k, phi += 3) {
    const double w = masses[k];
    const double x = nodes[k].x;
    const double y = nodes[k].y;
    const double z = nodes[k].z;
    for (int c = 0; c < 3; ++c) motion[c] += w * phi[c];
    motion[3] += w * (-z * phi[1] + y * phi[2]);
    motion[4] += w * (z * phi[0] - x * phi[2]);
    motion[5] += w * (-y * phi[0] + x * phi[1]);
    square += w * (phi[0] * phi[0] + phi[1] * phi[1] + phi[2] * phi[2]);
  }
  // A mode without weighted motion takes part in none of the six.
  for (int c = 0; c < 6; ++c) ratios[c] = square != 0.0 ? motion[c] / square : 0.0;
}

}  // namespace

int rigid_mode_count(SbrBody &body) noexcept {
  const int modes = mode_count(body);
  if (modes < 2) return 0;
  return modes >= 7 ? count_below_threshold(body) : count_before_gap(body, modes);
}

bool rigid_participation(SbrBody &body, double *const *six_rows, int count) noexcept {
  const int listed = kind_count(body, Kind::shape);
  Array<double> masses;
  Array<double> phi;
  if (mode_count(body) < 1 || !masses.allocate(listed) || !allocate_mode_buffer(body, phi))
    return report_no_memory(unit_name::kTools);
  for (int k = 0; k < listed; ++k) masses[k] = nodal_mass(body, k);
  const auto nodes = body.nodes.nodes.span().first(std::min(body.nodes.nodes.size(), masses.size()));
  for (int i = 0; i < count; ++i) {
    double ratios[6] = {};
    if (mode_part(body, i, Kind::shape, 0, phi.data()))
      project_on_rigid_motions(nodes, masses.data(), phi.data(), ratios);
    for (int c = 0; c < 6; ++c) six_rows[c][i] = cut_small(ratios[c]);
  }
  return true;
}

}  // namespace sbr

extern "C" {

int SBR_RigidBodyModeCount(SBR body) { return sbr::require_body(body) ? sbr::rigid_mode_count(*body) : 0; }

int SBR_RigidModes2VENTA(SBR body, double **six_rows, int count) {
  if (!sbr::require_body(body)) return 0;
  const bool rows_missing =
      six_rows == nullptr ||
      (count > 0 && std::any_of(six_rows, six_rows + 6, [](double *row) { return row == nullptr; }));
  // A body without modes is reported first.
  const int wanted = rows_missing ? 0 : count;
  return sbr::rigid_participation(*body, six_rows, wanted) && !rows_missing ? 1 : 0;
}

}  // extern "C"
