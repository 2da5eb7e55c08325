// What of a body is drawn: its outer faces, or its points where it has none, and the nodes that they need.
#ifndef SBRKIT_VIEWER_PAGE_SURFACE_H
#define SBRKIT_VIEWER_PAGE_SURFACE_H

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "sbrkit/sbrkit.h"

namespace sbrview {

struct Surface {
  std::vector<std::int32_t>
      nodes;  // node index in the body of each shown node; neighbours in space stand close together
  std::vector<std::int32_t> faces;  // per face its vertex count and then that many places in `nodes`
  std::vector<std::int32_t> place;  // place in `nodes` of each node of the body, -1 where it is not shown
  std::array<double, 3> center{};   // of the box around the shown nodes
  double half_size = 1.0;           // half the diagonal of that box; 1 for one without extent
  bool has_extent = false;
  int face_count = 0;
  int inner_faces = 0;             // left out since two elements share them
  bool coarsened = false;          // for display
  int surface_nodes = 0;           // before the coarsening
  std::vector<std::string> notes;  // what a reader of the page has to know
};

// Takes the surface of a body. Strips inner faces and, where more than `most_nodes` nodes would be shown, coarsens:
// both change the handle's face list and nothing else, and never the file. The body is not to be written afterwards.
// Nodes of `besides` (node indices, or -1) are shown in any case.
Surface surface_of(SBR body, int most_nodes, const std::vector<std::int32_t> &besides);

}  // namespace sbrview

#endif
