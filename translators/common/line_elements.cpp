#include "common/line_elements.h"

#include <cmath>

namespace sbrtranslate {
namespace {

struct LinePoint {
  double mass = 0.0;
  Vec3 place{};
  Vec3 tangent{};
};

// Three Gauss points along the line: exact for the moments of straight lines.
std::vector<LinePoint> points_along(const LineElement &line, const std::vector<Vec3> &places, double &length_sum) {
  const double a = std::sqrt(0.6);
  std::vector<LinePoint> points;
  for (const auto &[x, weight] : {std::array{-a, 5.0 / 9.0}, std::array{0.0, 8.0 / 9.0}, std::array{a, 5.0 / 9.0}}) {
    std::vector<double> n = {0.5 * (1 - x), 0.5 * (1 + x)};
    std::vector<double> d = {-0.5, 0.5};
    if (places.size() == 3) {
      n = {0.5 * x * (x - 1), 1 - x * x, 0.5 * x * (x + 1)};
      d = {x - 0.5, -2 * x, x + 0.5};
    }
    LinePoint point;
    for (std::size_t i = 0; i < places.size(); ++i) {
      point.place = point.place + n[i] * places[i];
      point.tangent = point.tangent + d[i] * places[i];
    }
    const double speed = length(point.tangent);
    if (!(speed > 0.0)) throw InputError(line.place, "element " + std::to_string(line.id) + " has no length");
    point.tangent = (1.0 / speed) * point.tangent;
    point.mass = line.density * line.area * weight * speed;
    length_sum += weight * speed;
    points.push_back(point);
  }
  return points;
}

// The second moments of a section of unit mass about its middle, xx, yy, zz, xy, xz, yz.
std::array<double, 6> section_moments(const LineElement &line, const Vec3 &tangent) {
  std::array<double, 6> moments{};
  if (line.kind != LineElement::Kind::beam) return moments;
  const Vec3 &first = line.axis;
  if (std::fabs(dot(first, tangent)) > 1e-3)
    throw InputError(line.place, "the section axis of beam " + std::to_string(line.id) + " is not across it");
  const Vec3 second = cross(tangent, first);
  const double s1 = line.square_1 / line.area;
  const double s2 = line.square_2 / line.area;
  static constexpr std::size_t kPairs[6][2] = {{0, 0}, {1, 1}, {2, 2}, {0, 1}, {0, 2}, {1, 2}};
  for (std::size_t k = 0; k < 6; ++k) {
    const auto [i, j] = kPairs[k];
    moments[k] = s1 * first[i] * first[j] + s2 * second[i] * second[j];
  }
  return moments;
}

}  // namespace

std::vector<LineShare> line_shares(const LineElement &line, const std::vector<Vec3> &places, Moments &moments,
                                   double &volume) {
  double whole_length = 0.0;
  const std::vector<LinePoint> points = points_along(line, places, whole_length);
  volume += line.area * whole_length;
  double mass = 0.0;
  std::array<double, 6> section{};
  for (const LinePoint &point : points) {
    mass += point.mass;
    moments.add(point.mass, point.place);
    const std::array<double, 6> own = section_moments(line, point.tangent);
    for (std::size_t k = 0; k < 6; ++k) {
      moments.second[k] += point.mass * own[k];
      section[k] += point.mass * own[k];
    }
  }
  const double trace = section[0] + section[1] + section[2];
  const std::vector<double> parts =
      places.size() == 3 ? std::vector<double>{1.0 / 6, 2.0 / 3, 1.0 / 6} : std::vector<double>{0.5, 0.5};
  std::vector<LineShare> shares;
  for (const double part : parts) {
    LineShare share{part * mass, {}};
    for (std::size_t k = 0; k < 6; ++k) share.inertia[k] = part * ((k < 3 ? trace : 0.0) - section[k]);
    shares.push_back(share);
  }
  return shares;
}

}  // namespace sbrtranslate
