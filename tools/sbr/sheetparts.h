// The pieces of a sheet as HTML and SVG. Texts of a record go through escaped() wherever they stand: none of them
// becomes markup.
#ifndef SBRKIT_TOOLS_SBR_SHEETPARTS_H
#define SBRKIT_TOOLS_SBR_SHEETPARTS_H

#include <string>
#include <vector>

#include "modefacts.h"
#include "modematch.h"
#include "page/markup.h"

namespace sbrtool {

using sbrview::base64;
using sbrview::escaped;

// A table; headings and cells are HTML already. Columns whose heading begins with '<' are texts, the others numbers.
std::string html_table(const std::vector<std::string> &headings, const std::vector<std::vector<std::string>> &rows);
// A list of names and values, both HTML already; pairs without a value are left out.
std::string html_pairs(const std::vector<std::pair<std::string, std::string>> &pairs);
std::string html_section(const std::string &heading, const std::string &content, const std::string &kind = "");
// A picture in PNG with the text that stands for it.
std::string html_picture(const std::string &png, int width, int height, const std::string &text);

// A part from 0 to 1 as a percentage; a dash for what is no number.
std::string percent(double part);
// A number for a table; a dash for what is no number.
std::string figure(double value, int digits = 6);

// Frequencies over the modes, as bars with the numbers of some modes below.
std::string frequency_chart(const std::vector<ModeFacts> &modes);
// A square for each pair of modes, from white (0) to dark (1), with the numbers of the modes at its sides.
std::string mac_chart(const MacTable &table, const std::vector<ModeFacts> &rows, const std::vector<ModeFacts> &columns);

// The style of a sheet, for screen and paper.
extern const char *const kSheetStyle;

}  // namespace sbrtool

#endif
