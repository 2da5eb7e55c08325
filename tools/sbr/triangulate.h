// The faces of a body as triangles of single precision, for formats that know nothing else.
#ifndef SBRKIT_TOOLS_SBR_TRIANGULATE_H
#define SBRKIT_TOOLS_SBR_TRIANGULATE_H

#include <array>
#include <vector>

#include "exportbody.h"

namespace sbrtool {

// A polygon in space, flat or nearly so, as triangles of the same winding: n - 2 of them, three places in `corners`
// each. Polygons need not be convex, and may touch themselves at corners that stand in them twice. Ears are cut off one
// by one (Meisters: Polygons have ears, 1975), in the projection along the polygon's area vector; only corners that
// turn inwards can lie in an ear, and a grid tells which of them are near. One that crosses itself gives n - 2
// triangles too, whose signed areas in that projection add up to that of the polygon.
std::vector<std::array<int, 3>> triangulate(const std::vector<std::array<double, 3>> &corners);

struct Triangles {
  std::vector<int> corners;  // node indices, three per triangle
  std::size_t flat = 0;      // faces of fewer than three corners, which give none
};
Triangles triangles_of(const Geometry &geometry);

// A value in single precision.
inline float single(double value) { return static_cast<float>(value); }
// Ends the command when a coordinate is beyond single precision, with the node.
void require_single(const Geometry &geometry);

}  // namespace sbrtool

#endif
