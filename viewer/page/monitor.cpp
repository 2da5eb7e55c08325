#include "monitor.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <string>

namespace sbrview {
namespace {

constexpr int kDisplacement = 1;  // as a type of operator and as a result type
constexpr double kAlike = 1e-5;   // of the largest motion of the mode: what single precision keeps

struct Point {
  int index = 0;
  int columns = 0;
  std::vector<int> axes;            // of the rows; 3 and more for rotations
  std::vector<double> matrix;       // rows x columns
  std::vector<std::int32_t> nodes;  // that move alike in the modes seen so far
};

// A point whose operator gives all three translations; with less, too many nodes would do.
bool take(SBR body, int index, Point &point) {
  int rows = 0;
  if (SBR_GetMonitorPointResultType(body, index) != kDisplacement) return false;
  if (SBR_MonitorPointHasOperator(body, index, kDisplacement) == 0) return false;
  if (SBR_GetMonitorPointOperatorSize(body, index, &rows, &point.columns) != 0 || rows < 3 || point.columns < 1)
    return false;
  const std::string digits = std::to_string(SBR_GetMonitorPointComponent(body, index));
  if (digits.size() != static_cast<std::size_t>(rows)) return false;
  for (const char digit : digits) point.axes.push_back(digit - '1');
  for (int axis = 0; axis < 3; ++axis)
    if (std::find(point.axes.begin(), point.axes.end(), axis) == point.axes.end()) return false;
  point.index = index;
  point.matrix.assign(static_cast<std::size_t>(rows) * static_cast<std::size_t>(point.columns), 0.0);
  if (SBR_GetMonitorPointOperator(body, index, kDisplacement, point.matrix.data()) != 0) return false;
  point.nodes.resize(static_cast<std::size_t>(SBR_NodeCount(body)));
  std::iota(point.nodes.begin(), point.nodes.end(), 0);
  return true;
}

void keep_alike(Point &point, int mode, const std::vector<double> &shape) {
  double most = 0.0;
  for (const double value : shape)
    if (std::isfinite(value)) most = std::max(most, std::fabs(value));
  const auto differs = [&](std::int32_t node) {
    for (std::size_t row = 0; row < point.axes.size(); ++row) {
      const int axis = point.axes[row];
      if (axis < 0 || axis > 2) continue;
      const double wanted =
          point.matrix[row * static_cast<std::size_t>(point.columns) + static_cast<std::size_t>(mode)];
      const double given = shape[3 * static_cast<std::size_t>(node) + static_cast<std::size_t>(axis)];
      if (!(std::fabs(given - wanted) <= kAlike * most)) return true;
    }
    return false;
  };
  point.nodes.erase(std::remove_if(point.nodes.begin(), point.nodes.end(), differs), point.nodes.end());
}

}  // namespace

std::vector<std::int32_t> monitored_nodes(SBR body) {
  std::vector<std::int32_t> found(static_cast<std::size_t>(std::max(SBR_GetMonitorPointCount(body), 0)), -1);
  std::vector<Point> points;
  for (int i = 0; i < static_cast<int>(found.size()); ++i)
    if (Point point; take(body, i, point)) points.push_back(std::move(point));
  if (points.empty() || SBR_ModeExist(body, 0) == 0) return found;
  std::vector<double> shape(3 * static_cast<std::size_t>(SBR_NodeCount(body)));
  for (int mode = 0; mode < SBR_ModeCount(body); ++mode) {
    if (SBR_Mode(body, SBR_ModeNumber(body, mode), 0, shape.data(), 0) == 0) return found;
    for (Point &point : points)
      if (mode < point.columns) keep_alike(point, mode, shape);
  }
  for (const Point &point : points)
    if (point.nodes.size() == 1) found[static_cast<std::size_t>(point.index)] = point.nodes[0];
  return found;
}

}  // namespace sbrview
