#include "common/elements.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <string>

namespace sbrtranslate {
namespace {

using sbrtranslate::operator+;
using sbrtranslate::operator-;
using sbrtranslate::operator*;

// A value with its derivatives by the three parent coordinates.
struct Dual {
  double v = 0.0;
  Vec3 d{};
};
Dual operator+(const Dual &a, const Dual &b) { return {a.v + b.v, a.d + b.d}; }
Dual operator-(const Dual &a, const Dual &b) { return {a.v - b.v, a.d - b.d}; }
Dual operator*(const Dual &a, const Dual &b) { return {a.v * b.v, b.v * a.d + a.v * b.d}; }
Dual operator*(double s, const Dual &a) { return {s * a.v, s * a.d}; }
Dual operator+(double s, const Dual &a) { return {s + a.v, a.d}; }
Dual operator-(double s, const Dual &a) { return {s - a.v, -1.0 * a.d}; }

using Parent = std::array<Dual, 3>;

// Barycentric coordinates of triangles and tetrahedra; the first stands for the corner at the origin.
std::array<Dual, 4> barycentric(const Parent &p, bool solid) {
  const Dual first = 1.0 - p[0] - p[1];
  return {solid ? first - p[2] : first, p[0], p[1], p[2]};
}

std::vector<Dual> simplex_shapes(const ElementType &type, const Parent &p) {
  const auto corner = barycentric(p, !type.shell());
  std::vector<Dual> shapes;
  for (std::size_t i = 0; i < static_cast<std::size_t>(type.corners); ++i)
    shapes.push_back(type.quadratic() ? corner[i] * (2.0 * corner[i] - Dual{1.0, {}}) : corner[i]);
  for (const auto &[a, b] : type.edges)
    shapes.push_back(4.0 * (corner[static_cast<std::size_t>(a)] * corner[static_cast<std::size_t>(b)]));
  return shapes;
}

// Triangle times line: corners 0 to 2 at the lower end, 3 to 5 at the upper.
std::vector<Dual> wedge_shapes(const ElementType &type, const Parent &p) {
  const auto corner = barycentric(p, false);
  const Dual z = p[2];
  std::vector<Dual> shapes;
  for (std::size_t i = 0; i < 6; ++i) {
    const Dual &l = corner[i % 3];
    const Dual up = (i < 3 ? -1.0 : 1.0) * z;
    shapes.push_back(type.quadratic() ? 0.5 * (l * (1.0 + up) * (-2.0 + (2.0 * l + up))) : 0.5 * (l * (1.0 + up)));
  }
  for (const auto &[a, b] : type.edges) {
    const Dual &la = corner[static_cast<std::size_t>(a % 3)];
    const Dual &lb = corner[static_cast<std::size_t>(b % 3)];
    if (a % 3 == b % 3)
      shapes.push_back(la * (1.0 - z * z));
    else
      shapes.push_back(2.0 * (la * lb * (1.0 + (a < 3 ? -1.0 : 1.0) * z)));
  }
  return shapes;
}

constexpr std::array<Vec3, 8> kBrickCorners = {
    {{-1, -1, -1}, {1, -1, -1}, {1, 1, -1}, {-1, 1, -1}, {-1, -1, 1}, {1, -1, 1}, {1, 1, 1}, {-1, 1, 1}}};

// Serendipity functions of bricks and quadrangles.
std::vector<Dual> box_shapes(const ElementType &type, const Parent &p) {
  const std::size_t dimensions = type.shell() ? 2 : 3;
  const double scale = type.shell() ? 0.25 : 0.125;
  std::vector<Dual> shapes;
  for (std::size_t i = 0; i < static_cast<std::size_t>(type.corners); ++i) {
    Dual shape{scale, {}};
    Dual sum{1.0 - static_cast<double>(dimensions), {}};
    for (std::size_t k = 0; k < dimensions; ++k) {
      const Dual at = kBrickCorners[i][k] * p[k];
      shape = shape * (1.0 + at);
      sum = sum + at;
    }
    shapes.push_back(type.quadratic() ? shape * sum : shape);
  }
  for (const auto &[a, b] : type.edges) {
    Dual shape{2.0 * scale, {}};
    for (std::size_t k = 0; k < dimensions; ++k) {
      const double from = kBrickCorners[static_cast<std::size_t>(a)][k];
      const double to = kBrickCorners[static_cast<std::size_t>(b)][k];
      shape = shape * (from == to ? 1.0 + from * p[k] : 1.0 - p[k] * p[k]);
    }
    shapes.push_back(shape);
  }
  return shapes;
}

std::vector<Dual> shapes_at(const ElementType &type, const Vec3 &at) {
  Parent p;
  for (std::size_t k = 0; k < 3; ++k) {
    p[k].v = at[k];
    p[k].d[k] = 1.0;
  }
  switch (type.family) {
    case Family::tetrahedron:
    case Family::triangle:
      return simplex_shapes(type, p);
    case Family::wedge:
      return wedge_shapes(type, p);
    default:
      return box_shapes(type, p);
  }
}

struct Point {
  double weight;
  std::vector<Dual> shapes;
};

// Gauss-Legendre points and weights on [0, 1].
std::vector<std::array<double, 2>> gauss_points(int count) {
  if (count == 2) {
    const double a = std::sqrt(1.0 / 12.0);
    return {{0.5 - a, 0.5}, {0.5 + a, 0.5}};
  }
  if (count == 3) {
    const double a = std::sqrt(0.15);
    return {{0.5 - a, 5.0 / 18.0}, {0.5, 8.0 / 18.0}, {0.5 + a, 5.0 / 18.0}};
  }
  const double root = std::sqrt(10.0 / 7.0);
  const double a = std::sqrt(5.0 - 2.0 * root) / 6.0;
  const double b = std::sqrt(5.0 + 2.0 * root) / 6.0;
  const double wa = (322.0 + 13.0 * std::sqrt(70.0)) / 1800.0;
  const double wb = (322.0 - 13.0 * std::sqrt(70.0)) / 1800.0;
  return {{0.5 - b, wb}, {0.5 - a, wa}, {0.5, 64.0 / 225.0}, {0.5 + a, wa}, {0.5 + b, wb}};
}

// The parent point and weight of three coordinates in [0, 1]: triangles and tetrahedra are collapsed cubes.
std::array<double, 4> collapse(const ElementType &type, double a, double b, double c) {
  switch (type.family) {
    case Family::tetrahedron:
      return {a, (1 - a) * b, (1 - a) * (1 - b) * c, (1 - a) * (1 - a) * (1 - b)};
    case Family::triangle:
      return {a, (1 - a) * b, 0.0, 1 - a};
    case Family::wedge:
      return {a, (1 - a) * b, 2 * c - 1, 2 * (1 - a)};
    case Family::quadrangle:
      return {2 * a - 1, 2 * b - 1, 0.0, 4.0};
    default:
      return {2 * a - 1, 2 * b - 1, 2 * c - 1, 8.0};
  }
}

enum class Rule { exact, coarse };

// The points of a type. With five points a way polynomials up to degree 9 are exact: diagonal mass terms of curved
// elements (4 + 5 in a brick, 7 + 2 of the collapse in a tetrahedron). With three, degree 5: all of linear elements.
// The coarse rule has two for linear and three for quadratic elements: exact where edges are straight and opposite ones
// parallel.
const std::vector<Point> &points_of(const ElementType &type, Rule rule = Rule::exact) {
  static std::map<std::pair<const ElementType *, Rule>, std::vector<Point>> tables;
  auto &points = tables[{&type, rule}];
  if (!points.empty()) return points;
  const bool many = type.quadratic() || (type.shell() && rule == Rule::exact);
  const auto line = gauss_points(rule == Rule::coarse ? (many ? 3 : 2) : (many ? 5 : 3));
  for (const auto &[a, wa] : line)
    for (const auto &[b, wb] : line)
      for (const auto &[c, wc] : line) {
        if (type.shell() && c != line.front()[0]) continue;
        const auto [x, y, z, jacobian] = collapse(type, a, b, c);
        points.push_back({jacobian * wa * wb * (type.shell() ? 1.0 : wc), shapes_at(type, {x, y, z})});
      }
  return points;
}

// The place of a point and the columns of the map's derivative.
struct Mapped {
  Vec3 place{};
  std::array<Vec3, 3> columns{};
};

Mapped map_point(const std::vector<Dual> &shapes, std::span<const Vec3> places) {
  Mapped mapped;
  for (std::size_t i = 0; i < places.size(); ++i) {
    mapped.place = mapped.place + shapes[i].v * places[i];
    for (std::size_t k = 0; k < 3; ++k) mapped.columns[k] = mapped.columns[k] + shapes[i].d[k] * places[i];
  }
  return mapped;
}

// The thickness at a point: 1 for solids.
double thickness_at(const Point &point, std::span<const double> thicknesses) {
  if (thicknesses.empty()) return 1.0;
  double sum = 0.0;
  for (std::size_t i = 0; i < thicknesses.size(); ++i) sum += point.shapes[i].v * thicknesses[i];
  return sum;
}

// The second moments that a shell's thickness adds: t^2 / 12 along the normal.
void add_thickness(Moments &moments, double m, const Vec3 &normal, double thickness) {
  const double s = m * thickness * thickness / 12.0;
  const Vec3 &n = normal;
  const std::array<double, 6> terms = {n[0] * n[0], n[1] * n[1], n[2] * n[2], n[0] * n[1], n[0] * n[2], n[1] * n[2]};
  for (std::size_t k = 0; k < 6; ++k) moments.second[k] += s * terms[k];
}

// ---- types

std::vector<std::array<int, 2>> edge_list(Family family) {
  switch (family) {
    case Family::tetrahedron:
      return {{0, 1}, {1, 2}, {2, 0}, {0, 3}, {1, 3}, {2, 3}};
    case Family::wedge:
      return {{0, 1}, {1, 2}, {2, 0}, {3, 4}, {4, 5}, {5, 3}, {0, 3}, {1, 4}, {2, 5}};
    case Family::brick:
      return {{0, 1}, {1, 2}, {2, 3}, {3, 0}, {4, 5}, {5, 6}, {6, 7}, {7, 4}, {0, 4}, {1, 5}, {2, 6}, {3, 7}};
    case Family::triangle:
      return {{0, 1}, {1, 2}, {2, 0}};
    default:
      return {{0, 1}, {1, 2}, {2, 3}, {3, 0}};
  }
}

std::vector<std::vector<int>> face_list(Family family) {
  switch (family) {
    case Family::tetrahedron:
      return {{0, 2, 1}, {0, 1, 3}, {1, 2, 3}, {2, 0, 3}};
    case Family::wedge:
      return {{0, 2, 1}, {3, 4, 5}, {0, 1, 4, 3}, {1, 2, 5, 4}, {2, 0, 3, 5}};
    case Family::brick:
      return {{0, 3, 2, 1}, {4, 5, 6, 7}, {0, 1, 5, 4}, {1, 2, 6, 5}, {2, 3, 7, 6}, {3, 0, 4, 7}};
    case Family::triangle:
      return {{0, 1, 2}};
    default:
      return {{0, 1, 2, 3}};
  }
}

ElementType make_type(Family family, bool quadratic) {
  static constexpr std::array<int, 5> kCorners = {4, 6, 8, 3, 4};
  ElementType type{family,
                   kCorners[static_cast<std::size_t>(family)],
                   kCorners[static_cast<std::size_t>(family)],
                   face_list(family),
                   {}};
  if (quadratic) {
    type.edges = edge_list(family);
    type.nodes += static_cast<int>(type.edges.size());
  }
  return type;
}

}  // namespace

double length(const Vec3 &a) { return std::sqrt(dot(a, a)); }

std::vector<int> ElementType::mid_nodes(const std::vector<int> &face) const {
  const auto on_face = [&](int corner) { return std::find(face.begin(), face.end(), corner) != face.end(); };
  std::vector<int> nodes_on_face;
  for (std::size_t e = 0; e < edges.size(); ++e)
    if (on_face(edges[e][0]) && on_face(edges[e][1])) nodes_on_face.push_back(corners + static_cast<int>(e));
  return nodes_on_face;
}

const ElementType *element_type(std::string_view name) {
  static const ElementType kTypes[10] = {make_type(Family::tetrahedron, false), make_type(Family::tetrahedron, true),
                                         make_type(Family::wedge, false),       make_type(Family::wedge, true),
                                         make_type(Family::brick, false),       make_type(Family::brick, true),
                                         make_type(Family::triangle, false),    make_type(Family::triangle, true),
                                         make_type(Family::quadrangle, false),  make_type(Family::quadrangle, true)};
  static const std::map<std::string, int, std::less<>> kNames = {
      {"C3D4", 0},  {"C3D10", 1},  {"C3D10T", 1}, {"C3D6", 2},  {"C3D15", 3}, {"C3D8", 4}, {"C3D8R", 4}, {"C3D8I", 4},
      {"C3D20", 5}, {"C3D20R", 5}, {"S3", 6},     {"S6", 7},    {"S4", 8},    {"S4R", 8},  {"S8", 9},    {"S8R", 9},
      {"M3D3", 6},  {"M3D6", 7},   {"M3D4", 8},   {"M3D4R", 8}, {"M3D8", 9},  {"M3D8R", 9}};
  const auto found = kNames.find(name);
  return found == kNames.end() ? nullptr : &kTypes[found->second];
}

void Moments::add(double m, const Vec3 &r) {
  mass += m;
  first = first + m * r;
  const std::array<double, 6> terms = {r[0] * r[0], r[1] * r[1], r[2] * r[2], r[0] * r[1], r[0] * r[2], r[1] * r[2]};
  for (std::size_t k = 0; k < 6; ++k) second[k] += m * terms[k];
}

Vec3 Moments::centre() const { return mass != 0.0 ? (1.0 / mass) * first : Vec3{}; }

std::array<double, 9> Moments::inertia(const Vec3 &about) const {
  // Second moments about the point: sum m (r - a)(r - a)^T.
  const auto moved = [&](std::size_t k, std::size_t i, std::size_t j) {
    return second[k] - about[i] * first[j] - about[j] * first[i] + mass * about[i] * about[j];
  };
  const double xx = moved(0, 0, 0);
  const double yy = moved(1, 1, 1);
  const double zz = moved(2, 2, 2);
  const double xy = moved(3, 0, 1);
  const double xz = moved(4, 0, 2);
  const double yz = moved(5, 1, 2);
  return {yy + zz, -xy, -xz, -xy, xx + zz, -yz, -xz, -yz, xx + yy};
}

std::vector<Vec3> normals_at_nodes(const ElementType &type, std::span<const Vec3> places) {
  static constexpr std::array<Vec3, 3> kTriangle = {{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}};
  std::vector<Vec3> corners;
  for (std::size_t i = 0; i < static_cast<std::size_t>(type.corners); ++i) {
    corners.push_back(type.family == Family::triangle ? kTriangle[i] : kBrickCorners[i]);
    if (type.family == Family::quadrangle) corners.back()[2] = 0.0;
  }
  std::vector<Vec3> at = corners;
  for (const auto &[a, b] : type.edges)
    at.push_back(0.5 * (corners[static_cast<std::size_t>(a)] + corners[static_cast<std::size_t>(b)]));
  std::vector<Vec3> normals;
  for (const Vec3 &point : at) {
    const Mapped mapped = map_point(shapes_at(type, point), places);
    const Vec3 normal = cross(mapped.columns[0], mapped.columns[1]);
    const double size = length(normal);
    normals.push_back(size > 0.0 ? (1.0 / size) * normal : Vec3{});
  }
  return normals;
}

ElementMass lump_mass(const ElementType &type, std::span<const Vec3> places, double density,
                      std::span<const double> thicknesses, Moments &moments) {
  ElementMass result;
  result.nodal.assign(places.size(), 0.0);
  result.smallest_determinant = std::numeric_limits<double>::infinity();
  double mass = 0.0;
  for (const Point &point : points_of(type)) {
    const Mapped mapped = map_point(point.shapes, places);
    const Vec3 normal = cross(mapped.columns[0], mapped.columns[1]);
    const double determinant = type.shell() ? length(normal) : dot(normal, mapped.columns[2]);
    result.smallest_determinant = std::min(result.smallest_determinant, determinant);
    const double thickness = thickness_at(point, thicknesses);
    const double volume = point.weight * determinant * thickness;
    const double m = density * volume;
    result.volume += volume;
    mass += m;
    moments.add(m, mapped.place);
    if (type.shell() && determinant > 0.0) add_thickness(moments, m, (1.0 / determinant) * normal, thickness);
    for (std::size_t i = 0; i < places.size(); ++i)
      result.nodal[i] += m * point.shapes[i].v * (type.quadratic() ? point.shapes[i].v : 1.0);
  }
  double sum = 0.0;
  for (const double m : result.nodal) sum += m;
  if (sum > 0.0)
    for (double &m : result.nodal) m *= mass / sum;
  if (type.shell()) result.normals = normals_at_nodes(type, places);
  return result;
}

double integrate_square(const ElementType &type, std::span<const Vec3> places, std::span<const double> thicknesses,
                        std::span<const Vec3> values) {
  double sum = 0.0;
  for (const Point &point : points_of(type, Rule::coarse)) {
    const Mapped mapped = map_point(point.shapes, places);
    const Vec3 normal = cross(mapped.columns[0], mapped.columns[1]);
    Vec3 value{};
    for (std::size_t i = 0; i < values.size(); ++i) value = value + point.shapes[i].v * values[i];
    sum += point.weight * thickness_at(point, thicknesses) *
           (type.shell() ? length(normal) : dot(normal, mapped.columns[2])) * dot(value, value);
  }
  return sum;
}

std::vector<double> shape_integrals(const ElementType &type, std::span<const Vec3> places,
                                    std::span<const double> thicknesses) {
  std::vector<double> integrals(places.size(), 0.0);
  for (const Point &point : points_of(type)) {
    const Mapped mapped = map_point(point.shapes, places);
    const Vec3 normal = cross(mapped.columns[0], mapped.columns[1]);
    const double size = point.weight * thickness_at(point, thicknesses) *
                        (type.shell() ? length(normal) : dot(normal, mapped.columns[2]));
    for (std::size_t i = 0; i < places.size(); ++i) integrals[i] += size * point.shapes[i].v;
  }
  return integrals;
}

std::vector<Vec3> normal_integrals(const ElementType &sheet, std::span<const Vec3> places) {
  std::vector<Vec3> integrals(places.size(), Vec3{});
  for (const Point &point : points_of(sheet)) {
    const Mapped mapped = map_point(point.shapes, places);
    const Vec3 normal = point.weight * cross(mapped.columns[0], mapped.columns[1]);
    for (std::size_t i = 0; i < places.size(); ++i) integrals[i] = integrals[i] + point.shapes[i].v * normal;
  }
  return integrals;
}

const ElementType &face_type(const ElementType &type, std::size_t corners) {
  const char *names[2][2] = {{"S3", "S6"}, {"S4", "S8"}};
  return *element_type(names[corners == 4 ? 1 : 0][type.quadratic() ? 1 : 0]);
}

std::vector<int> face_nodes(const ElementType &type, const std::vector<int> &corners) {
  std::vector<int> nodes = corners;
  if (!type.quadratic()) return nodes;
  for (std::size_t c = 0; c < corners.size(); ++c) {
    const int a = corners[c];
    const int b = corners[(c + 1) % corners.size()];
    for (std::size_t e = 0; e < type.edges.size(); ++e)
      if ((type.edges[e][0] == a && type.edges[e][1] == b) || (type.edges[e][0] == b && type.edges[e][1] == a))
        nodes.push_back(type.corners + static_cast<int>(e));
  }
  return nodes;
}

}  // namespace sbrtranslate
