// The units of a record, and whether its figures make sense in them.
#include <algorithm>
#include <array>
#include <cmath>

#include "check.h"

namespace sbrtool {
namespace {

struct Labels {
  std::array<char, 17> mass{};
  std::array<char, 17> length{};
  std::array<char, 17> time{};
  std::array<char, 17> force{};
};

bool check_labels(CheckRun &run, const Labels &labels) {
  const struct {
    const char *quantity;
    const char *label;
    double in_si;
  } all[] = {{"mass", labels.mass.data(), SBR_Mass2Kilogram(run.body(), 1.0)},
             {"length", labels.length.data(), SBR_Length2Meter(run.body(), 1.0)},
             {"time", labels.time.data(), SBR_Time2Second(run.body(), 1.0)},
             {"force", labels.force.data(), SBR_Force2Newton(run.body(), 1.0)}};
  bool known = true;
  for (const auto &one : all) {
    const bool good = one.in_si > 0.0;
    known = known && good;
    run.expect(good, {Level::error, "units", std::string("unit of ") + one.quantity + ": '" + clean(one.label) + "'",
                      one.in_si, "", "The unit is not known, so that no figure of the record can be converted."});
  }
  return known;
}

// The lengths of the box around the nodes, in metres.
std::array<double, 3> box(CheckRun &run) {
  std::array<double, 3> low{HUGE_VAL, HUGE_VAL, HUGE_VAL};
  std::array<double, 3> high{-HUGE_VAL, -HUGE_VAL, -HUGE_VAL};
  for (int i = 0; i < run.nodes(); ++i) {
    std::array<double, 3> at{};
    SBR_NodeCoordinates(run.body(), i, at.data());
    for (std::size_t c = 0; c < 3; ++c) {
      low[c] = std::min(low[c], at[c]);
      high[c] = std::max(high[c], at[c]);
    }
  }
  std::array<double, 3> lengths{};
  for (std::size_t c = 0; c < 3; ++c) lengths[c] = SBR_Length2Meter(run.body(), high[c] - low[c]);
  return lengths;
}

void check_size(CheckRun &run, const std::array<double, 3> &lengths) {
  const double extent = *std::max_element(lengths.begin(), lengths.end());
  run.expect(extent >= 1e-5 && extent <= 1e4,
             {Level::warning, "units", "extent in metres", extent, "",
              extent > 0.0 ? "The size makes no sense for a machine part: is the unit of length right?"
                           : "All nodes stand in one place, or their coordinates are no numbers."});
}

// A solid fills its box in part, so that its density there is at most that of the heaviest metal.
void check_density(CheckRun &run, const std::array<double, 3> &lengths) {
  const double mass = SBR_Mass2Kilogram(run.body(), SBR_Invar1(run.body()));
  const double volume = lengths[0] * lengths[1] * lengths[2];
  const double extent = *std::max_element(lengths.begin(), lengths.end());
  if (!(mass > 0.0) || !(extent > 0.0)) return;
  if (volume > 1e-9 * extent * extent * extent)
    run.expect(mass / volume <= 23000.0,
               {Level::warning, "units", "mass over the volume of the box around the nodes, kg/m3", mass / volume, "",
                "No material is as heavy: are the units of mass and length right?"});
  const double thinnest = mass / (extent * extent * extent);
  run.expect(thinnest >= 1e-4, {Level::warning, "units", "mass over the cube of the extent, kg/m3", thinnest, "",
                                "The body would be lighter than air: are the units of mass and length right?"});
}

void check_frequencies(CheckRun &run) {
  double highest = 0.0;
  std::string place;
  for (int m = 0; m < run.modes(); ++m) {
    double hz = 0.0;
    if (SBR_Eigenvalue(run.body(), SBR_ModeNumber(run.body(), m), nullptr, &hz, nullptr, nullptr, nullptr) == 0) return;
    if (!(hz > highest)) continue;
    highest = hz;
    place = run.mode_name(m);
  }
  const double per_second = highest / SBR_Time2Second(run.body(), 1.0);
  if (run.modes() > SBR_RigidBodyModeCount(run.body()) && highest > 0.0)
    run.expect(per_second >= 1e-3 && per_second <= 1e8,
               {Level::warning, "units", "highest frequency in Hz", per_second, place,
                "The frequency makes no sense for a machine part: are the units of stiffness, mass and time right?"});
}

}  // namespace

void check_units(CheckRun &run) {
  Labels labels;
  SBR_Units(run.body(), labels.mass.data(), labels.length.data(), labels.time.data(), labels.force.data());
  if (!check_labels(run, labels)) return;
  const double ucf = SBR_UCF(run.body());
  if (std::fabs(ucf - 1.0) > 1e-9)
    run.note("units", "force times time squared over length times mass", ucf,
             "The four units are not consistent; frequencies take this factor into account.");
  if (run.nodes() < 1) return;
  const std::array<double, 3> lengths = box(run);
  check_size(run, lengths);
  check_density(run, lengths);
  check_frequencies(run);
}

}  // namespace sbrtool
