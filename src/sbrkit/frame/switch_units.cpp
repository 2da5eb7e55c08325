#include "frame/switch_units.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "body/units.h"
#include "frame/rescale.h"

namespace sbr {
namespace {

// The four quantities of a unit system, in the order of the labels: mass, length, time, force.
constexpr int kQuantities = 4;
const unit_entry *const tables[kQuantities] = {mass_table, length_table, time_table, force_table};

struct Labels {
  char text[kQuantities][16];
};

// Copies four labels, each cut to 15 characters, and asks the companion library about them. False at the first that
// it refuses.
bool take_labels(Labels &labels, const std::array<const char *, kQuantities> &given) noexcept {
  for (int q = 0; q < kQuantities; ++q) {
    if (given[q] == nullptr) return false;
    std::strncpy(labels.text[q], given[q], sizeof labels.text[q]);
    labels.text[q][sizeof labels.text[q] - 1] = '\0';
  }
  return std::all_of(std::begin(labels.text), std::end(labels.text),
                     [](char *label) { return SBR_ConvertUnitsLabel(label) != 0; });
}

}  // namespace

bool set_units(SbrBody &body, const char *mass, const char *length, const char *time, const char *force) noexcept {
  Labels fresh;
  if (!take_labels(fresh, {mass, length, time, force})) return false;

  UnitState &units = body.units;
  char *const held[] = {units.mass_units, units.length_units, units.time_units, units.force_units};
  const auto store_labels = [&] {
    for (int q = 0; q < kQuantities; ++q) std::memcpy(held[q], fresh.text[q], sizeof fresh.text[q]);
  };
  if (std::all_of(std::begin(held), std::end(held), [](const char *label) { return *label == '\0'; })) {
    store_labels();
    units.scale = units.unit = UnitFactors{};
    return true;
  }
  const auto unchanged = [&](int q) { return std::strncmp(held[q], fresh.text[q], sizeof fresh.text[q]) == 0; };
  if (unchanged(0) && unchanged(1) && unchanged(2) && unchanged(3)) return true;

  double ratio[kQuantities];
  for (int q = 0; q < kQuantities; ++q) {
    const double before = units_divider(held[q], tables[q]);
    const double after = units_divider(fresh.text[q], tables[q]);
    if (before == 0.0 || after == 0.0) return false;
    ratio[q] = before / after;
  }
  store_labels();
  units.scale = {.force = ratio[3], .length = ratio[1], .mass = ratio[0], .time = ratio[2]};
  units.unit.force *= units.scale.force;
  units.unit.length *= units.scale.length;
  units.unit.mass *= units.scale.mass;
  units.unit.time *= units.scale.time;
  rescale(body);
  return true;
}

}  // namespace sbr

extern "C" {

int SBR_SetUnits(SBR body, const char *mass, const char *length, const char *time, const char *force) {
  return body != nullptr && sbr::set_units(*body, mass, length, time, force) ? 1 : 0;
}

int SBR_SetUnitsByMultiplierOnSI(SBR body, double mass, double length, double time, double force) {
  if (body == nullptr) return 0;
  const char *labels[] = {sbr::units_label(mass, sbr::mass_table), sbr::units_label(length, sbr::length_table),
                          sbr::units_label(time, sbr::time_table), sbr::units_label(force, sbr::force_table)};
  for (const char *label : labels)
    if (label == nullptr) return 0;
  return sbr::set_units(*body, labels[0], labels[1], labels[2], labels[3]) ? 1 : 0;
}

}  // extern "C"
