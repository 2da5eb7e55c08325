#include "triangulate.h"

#include <algorithm>
#include <cmath>
#include <iostream>

namespace sbrtool {
namespace {

using Point = std::array<double, 3>;
using Flat = std::array<double, 2>;

// The corners relative to the first, their largest coordinate 1, so that no product overflows or vanishes.
std::vector<Point> scaled(const std::vector<Point> &corners) {
  std::vector<Point> result = corners;
  double largest = 0.0;
  for (Point &point : result)
    for (std::size_t c = 0; c < 3; ++c) largest = std::max(largest, std::abs(point[c] -= corners[0][c]));
  for (Point &point : result)
    for (double &value : point) value = largest > 0.0 ? value / largest : 0.0;
  return result;
}

Point cross(const Point &a, const Point &b) {
  return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

double dot(const Point &a, const Point &b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

// In the plane across the area vector, counter-clockwise; empty for a polygon without area.
std::vector<Flat> projected(const std::vector<Point> &corners) {
  const std::vector<Point> points = scaled(corners);
  Point area{};
  for (std::size_t i = 0; i < points.size(); ++i) {
    const Point part = cross(points[i], points[(i + 1) % points.size()]);
    for (std::size_t c = 0; c < 3; ++c) area[c] += part[c];
  }
  const double size = std::sqrt(dot(area, area));
  if (!(size > 0.0)) return {};
  for (double &value : area) value /= size;
  const std::size_t least = static_cast<std::size_t>(
      std::min_element(area.begin(), area.end(), [](double a, double b) { return std::abs(a) < std::abs(b); }) -
      area.begin());
  Point axis{};
  axis[least] = 1.0;
  Point u = cross(axis, area);
  const double length = std::sqrt(dot(u, u));
  for (double &value : u) value /= length;
  const Point v = cross(area, u);
  std::vector<Flat> flat;
  for (const Point &point : points) flat.push_back({dot(point, u), dot(point, v)});
  return flat;
}

double turn(const Flat &a, const Flat &b, const Flat &c) {
  return (b[0] - a[0]) * (c[1] - a[1]) - (b[1] - a[1]) * (c[0] - a[0]);
}

// The corners that turn inwards or not at all, by the cells of a grid.
class InwardCorners {
 public:
  InwardCorners(const std::vector<Flat> &points, const std::vector<int> &inward) {
    low_ = high_ = points[0];
    for (const Flat &point : points)
      for (std::size_t c = 0; c < 2; ++c) {
        low_[c] = std::min(low_[c], point[c]);
        high_[c] = std::max(high_[c], point[c]);
      }
    side_ = static_cast<int>(std::sqrt(static_cast<double>(inward.size()))) + 1;
    cells_.resize(static_cast<std::size_t>(side_) * static_cast<std::size_t>(side_));
    for (const int corner : inward) {
      const Flat &point = points[static_cast<std::size_t>(corner)];
      cell(place(point[0], 0), place(point[1], 1)).push_back(corner);
    }
  }

  // Whether a corner that is near a box fulfils a condition.
  template <class Condition>
  bool any_near(const Flat &low, const Flat &high, Condition condition) {
    for (int x = place(low[0], 0); x <= place(high[0], 0); ++x)
      for (int y = place(low[1], 1); y <= place(high[1], 1); ++y) {
        const std::vector<int> &corners = cell(x, y);
        effort_ += 1 + corners.size();
        if (std::any_of(corners.begin(), corners.end(), condition)) return true;
      }
    return false;
  }
  // How many cells and corners were looked at.
  [[nodiscard]] std::size_t effort() const { return effort_; }

 private:
  [[nodiscard]] int place(double value, std::size_t c) const {
    const double size = high_[c] - low_[c];
    return size > 0.0 ? std::min(side_ - 1, static_cast<int>((value - low_[c]) / size * side_)) : 0;
  }
  std::vector<int> &cell(int x, int y) { return cells_[static_cast<std::size_t>(x * side_ + y)]; }

  Flat low_{}, high_{};
  int side_ = 1;
  std::size_t effort_ = 0;
  std::vector<std::vector<int>> cells_;
};

// The polygon as a ring that ears are cut from.
class Ring {
 public:
  explicit Ring(const std::vector<Flat> &points)
      : points_(points), count_(static_cast<int>(points.size())), inward_(points, turning_inwards()) {
    for (int i = 0; i < count_; ++i) {
      before_.push_back((i + count_ - 1) % count_);
      after_.push_back((i + 1) % count_);
    }
  }

  PolygonTriangles cut() {
    PolygonTriangles result;
    const std::size_t most_effort = 20'000'000 + 500 * points_.size();
    int passed = 0;
    for (int left = count_, corner = 0; left > 2;) {
      // What crosses itself may be left without ears, and is cut open somewhere.
      const bool tired = inward_.effort() > most_effort;
      const bool forced = tired || passed > left;
      const bool wanted = forced ? passed > 2 * left || turn_at(corner) > 0.0 : is_ear(corner);
      if (!wanted) {
        ++passed;
        corner = after(corner);
        continue;
      }
      result.sound = result.sound && (!forced || is_flat(left));
      result.triangles.push_back({before(corner), corner, after(corner)});
      corner = remove(corner);
      --left;
      passed = 0;
    }
    return result;
  }

 private:
  [[nodiscard]] const Flat &point(int corner) const { return points_[static_cast<std::size_t>(corner)]; }
  [[nodiscard]] int before(int corner) const { return before_[static_cast<std::size_t>(corner)]; }
  [[nodiscard]] int after(int corner) const { return after_[static_cast<std::size_t>(corner)]; }
  [[nodiscard]] double turn_at(int corner) const {
    return turn(point(before(corner)), point(corner), point(after(corner)));
  }
  [[nodiscard]] std::vector<int> turning_inwards() const {
    std::vector<int> inward;
    for (int i = 0; i < count_; ++i)
      if (turn(point((i + count_ - 1) % count_), point(i), point((i + 1) % count_)) <= 0.0) inward.push_back(i);
    return inward;
  }

  // The last three corners may stand in a line, and that is no fault.
  [[nodiscard]] static bool is_flat(int left) { return left == 3; }

  // Takes a corner out and gives the next but one: taking turns keeps the triangles small.
  int remove(int corner) {
    after_[static_cast<std::size_t>(before(corner))] = after(corner);
    before_[static_cast<std::size_t>(after(corner))] = before(corner);
    const int next = after(after(corner));
    after_[static_cast<std::size_t>(corner)] = -1;
    return next;
  }

  bool is_ear(int corner) {
    const Flat &a = point(before(corner));
    const Flat &b = point(corner);
    const Flat &c = point(after(corner));
    if (!(turn(a, b, c) > 0.0)) return false;
    const Flat low = {std::min({a[0], b[0], c[0]}), std::min({a[1], b[1], c[1]})};
    const Flat high = {std::max({a[0], b[0], c[0]}), std::max({a[1], b[1], c[1]})};
    return !inward_.any_near(low, high, [&](int other) {
      const Flat &p = point(other);
      if (after(other) < 0 || p == a || p == b || p == c) return false;
      return turn(a, b, p) >= 0.0 && turn(b, c, p) >= 0.0 && turn(c, a, p) >= 0.0 && turn_at(other) <= 0.0;
    });
  }

  const std::vector<Flat> &points_;
  int count_;
  std::vector<int> before_, after_;  // -1 after a corner that was cut off
  InwardCorners inward_;
};

}  // namespace

PolygonTriangles triangulate(const std::vector<std::array<double, 3>> &corners) {
  const int count = static_cast<int>(corners.size());
  if (count < 3) return {};
  if (count == 3) return {{{0, 1, 2}}, true};
  const std::vector<Flat> flat = projected(corners);
  if (!flat.empty()) return Ring(flat).cut();
  PolygonTriangles fan;
  for (int i = 1; i + 1 < count; ++i) fan.triangles.push_back({0, i, i + 1});
  return fan;
}

Triangles triangles_of(const Geometry &geometry) {
  Triangles triangles;
  std::size_t doubtful = 0;
  std::size_t first = 0;
  std::vector<std::array<double, 3>> places;
  for (std::size_t f = 0; f < geometry.faces(); ++f) {
    const std::size_t size = geometry.size(f);
    const int *corners = geometry.corners.data() + geometry.begin(f);
    if (size < 3) {
      ++triangles.flat;
      continue;
    }
    places.resize(size);
    for (std::size_t k = 0; k < size; ++k) std::copy_n(geometry.at(corners[k]), 3, places[k].begin());
    const PolygonTriangles cut = triangulate(places);
    for (const auto &triangle : cut.triangles)
      for (const int corner : triangle) triangles.corners.push_back(corners[corner]);
    if (!cut.sound && doubtful++ == 0) first = f + 1;
  }
  if (doubtful > 0)
    std::cerr << "warning: " << doubtful << " faces cross themselves, the first is face " << first
              << ": their triangles may overlap\n";
  return triangles;
}

void require_single(const Geometry &geometry) {
  for (int i = 0; i < geometry.nodes(); ++i)
    for (int c = 0; c < 3; ++c)
      if (!std::isfinite(single(geometry.at(i)[c])))
        throw Failure(kUsage, "node " + std::to_string(geometry.ids[static_cast<std::size_t>(i)]) + " lies at " +
                                  brief(geometry.at(i)[c]) + ", beyond the numbers of this format; --vtu holds it");
}

}  // namespace sbrtool
