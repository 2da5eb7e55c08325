#include "unitsystems.h"

#include <algorithm>
#include <cctype>
#include <sstream>

#include "session.h"

namespace sbrtool {
namespace {

const std::vector<std::pair<std::string, UnitSystem>> kSystems = {
    {"SI", {"KILOGRAM", "METER", "SECOND", "NEWTON"}},
    {"m-kg-s-N", {"KILOGRAM", "METER", "SECOND", "NEWTON"}},
    {"mm-t-s-N", {"MEGAGRAM", "MILLIMETER", "SECOND", "NEWTON"}},
    {"mm-kg-s-N", {"KILOGRAM", "MILLIMETER", "SECOND", "NEWTON"}},
    {"mm-kg-ms-kN", {"KILOGRAM", "MILLIMETER", "MILLISECOND", "KNEWTON"}},
    {"cm-g-s-dyn", {"GRAM", "CENTIMETER", "SECOND", "DYNE"}},
    {"in-lbm-s-lbf", {"POUND_MASS", "INCH", "SECOND", "POUND_FORCE"}},
    {"in-slinch-s-lbf", {"SLINCH", "INCH", "SECOND", "POUND_FORCE"}},
    {"ft-slug-s-lbf", {"SLUG", "FOOT", "SECOND", "POUND_FORCE"}},
};

std::string lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

}  // namespace

std::string unit_system_names() {
  std::string names;
  for (const auto &[name, system] : kSystems) names += (names.empty() ? "" : ", ") + name;
  return names;
}

std::vector<std::pair<std::string, UnitSystem>> unit_systems() {
  // "SI" is a second name.
  return {kSystems.begin() + 1, kSystems.end()};
}

UnitSystem unit_system(const std::string &name) {
  for (const auto &[known, system] : kSystems)
    if (lower(known) == lower(name)) return system;
  std::vector<std::string> labels;
  std::istringstream words(name);
  for (std::string label; std::getline(words, label, ',');) labels.push_back(CLI::detail::trim_copy(label));
  if (labels.size() == 4) return {labels[0], labels[1], labels[2], labels[3]};
  throw Failure(kUsage, "unknown unit system '" + name + "'; known are " + unit_system_names() +
                            ", or four labels MASS,LENGTH,TIME,FORCE");
}

}  // namespace sbrtool
