#include "fields.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

#include "encode.h"

namespace sbrview {
namespace {

using Six = std::array<double, 6>;

// See sbrkit/statistics.h for both.
double von_mises(const Six &v, int kind) {
  const double normal = v[0] * v[0] + v[1] * v[1] + v[2] * v[2] - v[0] * v[1] - v[1] * v[2] - v[0] * v[2];
  const double shear = v[3] * v[3] + v[4] * v[4] + v[5] * v[5];
  return kind == 1 ? std::sqrt(normal + 3.0 * shear) : std::sqrt(4.0 / 9.0 * normal + shear / 3.0);
}

void note_largest(const Six &v, int kind, Field &field) {
  const double first = kind == 0 ? std::hypot(v[0], v[1], v[2]) : von_mises(v, kind);
  if (std::isfinite(first)) field.largest = std::max(field.largest, first);
  if (kind == 0)
    if (const double turn = std::hypot(v[3], v[4], v[5]); std::isfinite(turn))
      field.largest_rotation = std::max(field.largest_rotation, turn);
}

void measure(const std::vector<double> (&parts)[2], const KindNodes &nodes, int kind, Field &field) {
  field.low.fill(std::numeric_limits<double>::infinity());
  field.high.fill(-std::numeric_limits<double>::infinity());
  for (const std::int32_t position : nodes.positions) {
    Six v{};
    bool whole = true;
    for (std::size_t c = 0; c < 6; ++c) {
      v[c] = parts[c / 3][3 * static_cast<std::size_t>(position) + c % 3];
      if (!std::isfinite(v[c])) {
        whole = false;
        continue;
      }
      field.low[c] = std::min(field.low[c], v[c]);
      field.high[c] = std::max(field.high[c], v[c]);
      field.scale[c / 3] = std::max(field.scale[c / 3], std::fabs(v[c]));
    }
    if (whole)
      note_largest(v, kind, field);
    else
      ++field.not_numbers;
  }
}

std::int16_t rounded(double value, double scale, int most) {
  if (!std::isfinite(value)) return kNoNumber;
  if (scale == 0.0) return 0;
  return static_cast<std::int16_t>(std::lround(value / scale * most));
}

}  // namespace

Steps choose_steps(std::int64_t translations, std::int64_t rotations, std::int64_t tensors) {
  // Base64 makes four bytes of three, and the program of the page takes its part.
  constexpr double kBudget = 28.5e6;
  struct Choice {
    int bits;
    int other_bits;
  };
  // Of the bits of a value, neighbours of a fine mesh have about four in common.
  const auto bytes = [](std::int64_t values, int bits) { return static_cast<double>(values) * (bits - 4) / 8.0; };
  const auto steps = [](int bits) { return (1 << (bits - 1)) - 1; };
  constexpr Choice kChoices[] = {{16, 16}, {16, 12}, {16, 10}, {16, 8}, {14, 8}, {12, 8}};
  for (const Choice &choice : kChoices)
    if (bytes(translations, choice.bits) + bytes(rotations + tensors, choice.other_bits) <= kBudget)
      return {steps(choice.bits), steps(choice.other_bits)};
  return {steps(12), steps(8)};
}

KindNodes nodes_of_kind(SBR body, const Surface &surface, int kind) {
  KindNodes nodes;
  if (kind == 0) {
    nodes.positions = surface.nodes;
    nodes.places.resize(surface.nodes.size());
    std::iota(nodes.places.begin(), nodes.places.end(), 0);
    nodes.all = true;
    return nodes;
  }
  std::vector<std::int32_t> position(surface.nodes.size(), -1);
  const int count = SBR_ModeNodeCount(body, kind);
  for (int i = 0; i < count; ++i) {
    const int node = SBR_NodeIndex(body, SBR_ModeNodeID(body, kind, i));
    if (node < 0) continue;
    if (const std::int32_t place = surface.place[static_cast<std::size_t>(node)]; place >= 0)
      position[static_cast<std::size_t>(place)] = i;
  }
  for (std::size_t place = 0; place < position.size(); ++place) {
    if (position[place] < 0) continue;
    nodes.places.push_back(static_cast<std::int32_t>(place));
    nodes.positions.push_back(position[place]);
  }
  nodes.all = nodes.places.size() == surface.nodes.size();
  return nodes;
}

bool read_field(SBR body, int number, int kind, const KindNodes &nodes, const std::array<int, 2> &most, Field &field) {
  const int count = SBR_ModeNodeCount(body, kind);
  if (count < 1 || nodes.places.empty()) return false;
  std::vector<double> parts[2];
  for (int part = 0; part < 2; ++part) {
    parts[part].assign(3 * static_cast<std::size_t>(count), std::nan(""));
    if (SBR_Mode(body, number, kind, parts[part].data(), part) == 0) return false;
  }
  field = Field{};
  measure(parts, nodes, kind, field);
  for (std::size_t part = 0; part < 2; ++part) {
    const bool numbers = field.not_numbers == 0;
    field.kept[part] = field.scale[part] > 0.0 || !numbers;
    if (!field.kept[part]) continue;
    for (std::size_t c = 0; c < 3; ++c)
      for (const std::int32_t position : nodes.positions)
        field.steps.push_back(
            rounded(parts[part][3 * static_cast<std::size_t>(position) + c], field.scale[part], most[part]));
  }
  return true;
}

}  // namespace sbrview
