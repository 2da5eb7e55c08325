// `sbr modes --plot`: frequencies and modal statistics as bars in the terminal.
#ifndef SBRKIT_TOOLS_SBR_MODEPLOT_H
#define SBRKIT_TOOLS_SBR_MODEPLOT_H

#include <string>

#include "session.h"

namespace sbrtool {

// A bar for a part (0 to 1) of some columns: eighths of a block with `unicode`, else number signs. A part above nothing
// is never without a mark; one that is no number has none.
std::string bar(double part, int columns, bool unicode);

// Prints the bars of all modes. Lines fit into the width of the terminal, COLUMNS or 80; blocks are drawn where the
// locale says UTF-8 and the terminal is not a dumb one.
void plot_modes(SBR body);

}  // namespace sbrtool

#endif
