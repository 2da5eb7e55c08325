// Bodies with a surface, and what their face lists hold.
#ifndef SBRKIT_TESTS_SUPPORT_MESHES_H
#define SBRKIT_TESTS_SUPPORT_MESHES_H

#include <array>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "sbrkit/sbrkit.h"
#include "support/body_view.h"

namespace sbrtest {

using Point = std::array<double, 3>;
using Faces = std::vector<std::vector<int>>;  // node indices per face

struct Surface {
  std::vector<Point> points;
  Faces faces;
};

// Node i of a body made here has this ID.
constexpr int mesh_id(int index) { return 10 * (index + 1); }

SBR make_body(const Surface &surface);
void set_faces(SBR body, const Faces &faces);
// Any words as a face list, well formed or not.
void set_face_words(SBR body, int face_count, const std::vector<int> &words);
Faces faces_of(SBR body);

// nx x ny quadrilaterals of unit size in the plane z = 0; node (column, row) is row * (nx + 1) + column.
Surface flat_grid(int nx, int ny);
// The six faces, wound outwards, of every brick of a block; shared faces appear twice.
Surface brick_block(int nx, int ny, int nz);

using Edge = std::pair<int, int>;  // lower node first
// How many face sides use each edge. A side from a node to itself is none.
std::map<Edge, int> edge_uses(const Faces &faces);
// The edges with one use.
std::vector<Edge> boundary(const Faces &faces);
// The area of a planar polygon list, by the shoelace vector of each face.
double area(const Surface &surface, const Faces &faces);

}  // namespace sbrtest

#endif
