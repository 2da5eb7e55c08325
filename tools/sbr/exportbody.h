// What the exports of a body's geometry share: its nodes and faces, its modes one after the other, its units.
#ifndef SBRKIT_TOOLS_SBR_EXPORTBODY_H
#define SBRKIT_TOOLS_SBR_EXPORTBODY_H

#include <array>
#include <cstddef>
#include <string>
#include <vector>

#include "session.h"

namespace sbrtool {

// The labels of a body's units, and those that follow from them.
struct UnitLabels {
  explicit UnitLabels(SBR body);
  [[nodiscard]] std::string mass_length() const { return mass + " " + length; }
  [[nodiscard]] std::string mass_length2() const { return mass + " " + length + "^2"; }
  [[nodiscard]] std::string stress() const { return force + "/" + length + "^2"; }
  [[nodiscard]] std::string eigenvalue() const { return force + "/(" + mass + " " + length + ")"; }
  // "mass MEGAGRAM, length MILLIMETER, time SECOND, force NEWTON"
  [[nodiscard]] std::string all() const;
  std::string mass, length, time, force;
};

// The title of a body, as readable text.
std::string title_of(SBR body);

// Nodes in the order of the body and faces in the order of the record, as polygons of node indices.
struct Geometry {
  std::vector<int> ids;
  std::vector<double> xyz;             // three per node
  std::vector<int> corners;            // of all faces, one after the other
  std::vector<std::size_t> face_ends;  // where each face ends in `corners`
  std::vector<int> loose;              // nodes that no face refers to

  [[nodiscard]] int nodes() const { return static_cast<int>(ids.size()); }
  [[nodiscard]] std::size_t faces() const { return face_ends.size(); }
  [[nodiscard]] std::size_t begin(std::size_t face) const { return face == 0 ? 0 : face_ends[face - 1]; }
  [[nodiscard]] std::size_t size(std::size_t face) const { return face_ends[face] - begin(face); }
  [[nodiscard]] const double *at(int node) const { return xyz.data() + 3 * static_cast<std::size_t>(node); }
  // The diagonal of the box around all nodes.
  [[nodiscard]] double extent() const;
};

// The geometry of a body. Ends the command for a body without nodes, a node whose place is no number (a picture of it
// would be wrong), and a face that names a node that is not there.
Geometry geometry_of(SBR body);

// Where the values of a kind of mode data belong: the node index of each kind position; none where the body has neither
// modes nor a pre-vector of the kind. Ends the command when two nodes
// have one ID, so that the place of a value cannot be told.
std::vector<int> nodes_of_kind(SBR body, const Geometry &geometry, int kind);

// One part of a mode, three values for each node of the geometry; no number where the kind has no value. `places` comes
// from nodes_of_kind(). Ends the command when the record cannot be read.
std::vector<double> part_of_mode(SBR body, int number, int kind, int part, const std::vector<int> &places, int nodes);

// The stress after von Mises (statistics.h has the formula) of normal and shear components, a value for each node.
std::vector<double> von_mises(const std::vector<double> &normal, const std::vector<double> &shear);

// The largest length among vectors of three values. Those with a value that is no number do not count.
double largest_length(const std::vector<double> &vectors);

inline constexpr std::array<const char *, 6> kTensorNames = {"xx", "yy", "zz", "xy", "xz", "yz"};

}  // namespace sbrtool

#endif
