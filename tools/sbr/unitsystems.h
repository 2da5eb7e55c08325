// Unit systems by name, for options such as --to and --units.
#ifndef SBRKIT_TOOLS_SBR_UNITSYSTEMS_H
#define SBRKIT_TOOLS_SBR_UNITSYSTEMS_H

#include <string>
#include <utility>
#include <vector>

namespace sbrtool {

struct UnitSystem {
  std::string mass;
  std::string length;
  std::string time;
  std::string force;
};

// The system of a name ("SI", "mm-t-s-N", ...) or of four labels "MASS,LENGTH,TIME,FORCE". Ends the command with the
// list of names when there is none.
UnitSystem unit_system(const std::string &name);
// All systems by name, each system once.
std::vector<std::pair<std::string, UnitSystem>> unit_systems();
// The names, for help texts.
std::string unit_system_names();

}  // namespace sbrtool

#endif
