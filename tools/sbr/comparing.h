// Pieces that checking and comparing share.
#ifndef SBRKIT_TOOLS_SBR_COMPARING_H
#define SBRKIT_TOOLS_SBR_COMPARING_H

#include <CLI/CLI.hpp>
#include <vector>

#include "session.h"

namespace sbrtool {

// One part of a mode by its index: three values per node of the kind, empty when there is none.
std::vector<double> mode_part(SBR body, int mode_index, int kind, int part);

void add_diff_command(CLI::App &app, int &exit_code);

}  // namespace sbrtool

#endif
