// The element types of the translators: names, faces, shape functions, and the mass of one element.
#ifndef SBRKIT_TRANSLATORS_COMMON_ELEMENTS_H
#define SBRKIT_TRANSLATORS_COMMON_ELEMENTS_H

#include <array>
#include <span>
#include <string_view>
#include <vector>

namespace sbrtranslate {

using Vec3 = std::array<double, 3>;

inline Vec3 operator+(const Vec3 &a, const Vec3 &b) { return {a[0] + b[0], a[1] + b[1], a[2] + b[2]}; }
inline Vec3 operator-(const Vec3 &a, const Vec3 &b) { return {a[0] - b[0], a[1] - b[1], a[2] - b[2]}; }
inline Vec3 operator*(double s, const Vec3 &a) { return {s * a[0], s * a[1], s * a[2]}; }
inline double dot(const Vec3 &a, const Vec3 &b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }
inline Vec3 cross(const Vec3 &a, const Vec3 &b) {
  return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
double length(const Vec3 &a);

enum class Family { tetrahedron, wedge, brick, triangle, quadrangle };

// The nodes of an element stand in the order of the solver's deck: corners, then one node per edge of `edges`.
struct ElementType {
  Family family;
  int nodes;
  int corners;
  std::vector<std::vector<int>> faces;    // corners of each face, counted from 0, outward by the right-hand rule
  std::vector<std::array<int, 2>> edges;  // the corners on both sides of each mid-edge node
  [[nodiscard]] bool quadratic() const { return nodes > corners; }
  [[nodiscard]] bool shell() const { return family == Family::triangle || family == Family::quadrangle; }
  // The mid-edge nodes on a face, counted from 0.
  [[nodiscard]] std::vector<int> mid_nodes(const std::vector<int> &face) const;
};

// The type of an element name of the deck in capitals, as C3D10 or S8R; null for a name that is not known.
const ElementType *element_type(std::string_view name);

// Mass, first moments and second moments (xx, yy, zz, xy, xz, yz, about the origin) of a body or a part of it.
struct Moments {
  double mass = 0.0;
  Vec3 first{};
  std::array<double, 6> second{};
  void add(double m, const Vec3 &r);
  [[nodiscard]] Vec3 centre() const;
  // Inertia tensor about a point, row by row, products of inertia negative.
  [[nodiscard]] std::array<double, 9> inertia(const Vec3 &about) const;
};

struct ElementMass {
  double volume = 0.0;
  std::vector<double> nodal;          // lumped: all positive, with the mass of the element as their sum
  std::vector<Vec3> normals;          // of shells: the unit normal at each node
  double smallest_determinant = 0.0;  // of the map from the parent element; positive in a sound element
};

// Lumps the mass of one element of a density (and of a shell's thickness at its nodes; empty for solids) at its nodes:
// row sums of the consistent mass
// matrix for linear elements; for quadratic ones its diagonal, scaled to the mass of the element (Hinton, Rock,
// Zienkiewicz, "A note on mass lumping and related processes in the finite element method", 1976). The integrals are
// exact for solids with straight and curved edges alike. `moments` gains what the element itself holds, unlumped.
ElementMass lump_mass(const ElementType &type, std::span<const Vec3> places, double density,
                      std::span<const double> thicknesses, Moments &moments);
// The unit normal at each node of a shell.
std::vector<Vec3> normals_at_nodes(const ElementType &type, std::span<const Vec3> places);

// The integral over an element of the square of a vector that its shape functions carry from the nodes: over the volume
// of solids, over the area of shells times their thickness. By few points: exact for elements whose edges are straight
// and parallel.
double integrate_square(const ElementType &type, std::span<const Vec3> places, std::span<const double> thicknesses,
                        std::span<const Vec3> values);
// The integral of each shape function over an element: over its volume, or over the middle surface of a shell times its
// thickness.
std::vector<double> shape_integrals(const ElementType &type, std::span<const Vec3> places,
                                    std::span<const double> thicknesses);
// The integral of each shape function of a sheet times its unit normal.
std::vector<Vec3> normal_integrals(const ElementType &sheet, std::span<const Vec3> places);
// The sheet (S3, S4, S6 or S8) that a face of an element with so many corners is, and the face's nodes in its order,
// counted from 0.
const ElementType &face_type(const ElementType &type, std::size_t corners);
std::vector<int> face_nodes(const ElementType &type, const std::vector<int> &corners);

}  // namespace sbrtranslate

#endif
