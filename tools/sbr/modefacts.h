// What the table of eigenvalues tells of a mode.
#ifndef SBRKIT_TOOLS_SBR_MODEFACTS_H
#define SBRKIT_TOOLS_SBR_MODEFACTS_H

#include <vector>

#include "session.h"

namespace sbrtool {

// In the units of the body. `known` is false, and the figures are no numbers, for a mode without an eigenvalue.
struct ModeFacts {
  int number = 0;
  bool known = false;
  double eigenvalue = 0.0;
  double hz = 0.0;  // signed as the eigenvalue
  double rad = 0.0;
  double mass = 0.0;
  double stiffness = 0.0;
};

ModeFacts facts_of_mode(SBR body, int number);
// All modes, in the order of the body.
std::vector<ModeFacts> facts_of_modes(SBR body);

// The place of the first mode that is no rigid-body mode; that behind the last mode, or beyond, where there is none.
std::size_t first_elastic_mode(SBR body);

}  // namespace sbrtool

#endif
