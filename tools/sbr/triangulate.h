// The faces of a body as triangles of single precision, for formats that know nothing else.
#ifndef SBRKIT_TOOLS_SBR_TRIANGULATE_H
#define SBRKIT_TOOLS_SBR_TRIANGULATE_H

#include <array>
#include <vector>

#include "exportbody.h"

namespace sbrtool {

struct PolygonTriangles {
  std::vector<std::array<int, 3>> triangles;  // places in the list of corners
  bool sound = true;                          // false where triangles may overlap
};

// A polygon in space, flat or nearly so, as triangles of the same winding, two fewer than it has corners. Polygons need
// not be convex, and may touch themselves at corners that stand in them twice. Ears are cut off one by one (Meisters:
// Polygons have ears, 1975), in the projection along the polygon's area vector; only corners that turn inwards can lie
// in an ear, and a grid tells which of them are near. A polygon that crosses itself has no such triangles: there, and
// where the search takes too long, the signed areas still add up to that of the polygon, and the outcome is not sound.
PolygonTriangles triangulate(const std::vector<std::array<double, 3>> &corners);

struct Triangles {
  std::vector<int> corners;  // node indices, three per triangle
  std::size_t flat = 0;      // faces of fewer than three corners, which give none
};
// Warns of faces whose triangles may overlap.
Triangles triangles_of(const Geometry &geometry);

// A value in single precision.
inline float single(double value) { return static_cast<float>(value); }
// Ends the command when a coordinate is beyond single precision, with the node.
void require_single(const Geometry &geometry);

}  // namespace sbrtool

#endif
