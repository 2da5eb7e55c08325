// Small pictures of a body for a page on paper: drawn by the program itself, so that they need neither a browser nor a
// screen.
#ifndef SBRKIT_TOOLS_SBR_SHEETPICTURE_H
#define SBRKIT_TOOLS_SBR_SHEETPICTURE_H

#include <array>
#include <string>
#include <vector>

#include "exportbody.h"

namespace sbrtool {

// A colour for a part from 0 to 1: dark blue over green to yellow, of evenly rising lightness, so that it can be read
// in grey as well.
std::array<unsigned char, 3> colour_of(double part);

// A picture, as the bytes of a PNG file, of a body moved by a shape (three values per node): coloured by the length of
// the displacement, before the body at rest in light grey. The largest displacement is drawn as a tenth of the extent.
// Seen askew from above, the longest side of the body across the picture. Nodes whose displacement is no number stay
// where they are, and are drawn dark.
std::string picture_of(const Geometry &geometry, const std::vector<double> &shape, int width, int height);

}  // namespace sbrtool

#endif
