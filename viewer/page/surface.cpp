#include "surface.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <numeric>

namespace sbrview {
namespace {

using Words = std::vector<std::int32_t>;

struct FaceList {
  Words words;
  int count = 0;
};

// The face list with the faces that make sense: vertices of the node table, with places that are numbers.
FaceList faces_of(SBR body, const std::vector<char> &placed, int &refused) {
  int count = 0;
  int length = 0;
  SBR_FaceListSize(body, &count, &length);
  Words raw(static_cast<std::size_t>(std::max(length, 0)));
  FaceList list;
  refused = 0;
  if (raw.empty() || SBR_ElementFaces(body, raw.data()) == 0) return list;
  list.words.reserve(raw.size());
  for (std::size_t at = 0; at < raw.size();) {
    const std::int32_t vertices = raw[at];
    if (vertices < 0 || static_cast<std::size_t>(vertices) > raw.size() - at - 1) {
      ++refused;
      break;
    }
    const auto first = raw.begin() + static_cast<std::ptrdiff_t>(at) + 1;
    const bool sound = vertices > 0 && std::all_of(first, first + vertices, [&](std::int32_t node) {
                         return node >= 0 && static_cast<std::size_t>(node) < placed.size() &&
                                placed[static_cast<std::size_t>(node)] != 0;
                       });
    if (sound) {
      list.words.insert(list.words.end(), first - 1, first + vertices);
      ++list.count;
    } else {
      ++refused;
    }
    at += static_cast<std::size_t>(vertices) + 1;
  }
  return list;
}

// Marks the nodes that the faces use, and counts them.
int mark_used(const FaceList &list, std::vector<char> &used) {
  int count = 0;
  for (std::size_t at = 0; at < list.words.size();) {
    const auto vertices = static_cast<std::size_t>(list.words[at++]);
    for (std::size_t k = 0; k < vertices; ++k) {
      char &mark = used[static_cast<std::size_t>(list.words[at++])];
      if (mark == 0) ++count;
      mark = 1;
    }
  }
  return count;
}

int used_nodes(const FaceList &list, std::size_t nodes) {
  std::vector<char> used(nodes, 0);
  return mark_used(list, used);
}

// Widens the neighbourhood step by step until few enough nodes are left, or none goes any more.
void coarsen(SBR body, const std::vector<char> &placed, int most_nodes, FaceList &list, Surface &surface) {
  const int before = used_nodes(list, placed.size());
  if (before <= most_nodes) return;
  surface.surface_nodes = before;
  int now = before;
  double resolution = 0.002;
  for (; resolution < 0.1 && now > most_nodes; resolution *= 1.7) {
    char options[64];
    std::snprintf(options, sizeof options, "%.5f,20,1", resolution);
    SBR_TrimGeometry(body, options);
    int refused = 0;
    list = faces_of(body, placed, refused);
    now = used_nodes(list, placed.size());
  }
  surface.coarsened = now < before;
  if (surface.coarsened)
    surface.notes.push_back("The surface is coarsened for display: " + std::to_string(now) + " of its " +
                            std::to_string(before) +
                            " nodes are shown. Values at the nodes shown are those of the record.");
  if (now > most_nodes)
    surface.notes.push_back("The surface cannot be coarsened to " + std::to_string(most_nodes) +
                            " nodes; the page may be slow.");
}

// Leaves out the faces that two elements share. A shell whose two sides are given as faces would lose all: it keeps
// them.
FaceList outer_faces(SBR body, const std::vector<char> &placed, Surface &surface) {
  int refused = 0;
  FaceList all = faces_of(body, placed, refused);
  if (refused > 0)
    surface.notes.push_back(
        std::to_string(refused) +
        (refused == 1 ? " face is left out: it names a node" : " faces are left out: they name nodes") +
        " that the record does not have, or one without a place.");
  if (all.count == 0) return all;
  SBR_StripCommonFaces(body);
  FaceList outer = faces_of(body, placed, refused);
  if (outer.count == 0) {
    surface.notes.emplace_back("Every face occurs once from each side: none is taken for an inner one.");
    return all;
  }
  surface.inner_faces = all.count - outer.count;
  return outer;
}

// Interleaves the bits of three numbers below 2^21 (G. M. Morton, A computer oriented geodetic data base, 1966).
std::uint64_t spread(std::uint64_t x) {
  x &= 0x1FFFFF;
  x = (x | x << 32U) & 0x1F00000000FFFF;
  x = (x | x << 16U) & 0x1F0000FF0000FF;
  x = (x | x << 8U) & 0x100F00F00F00F00F;
  x = (x | x << 4U) & 0x10C30C30C30C30C3;
  return (x | x << 2U) & 0x1249249249249249;
}

void measure(const std::vector<double> &xyz, Surface &surface) {
  double low[3];
  double high[3];
  std::fill(low, low + 3, std::numeric_limits<double>::infinity());
  std::fill(high, high + 3, -std::numeric_limits<double>::infinity());
  for (const std::int32_t node : surface.nodes) {
    for (std::size_t c = 0; c < 3; ++c) {
      const double value = xyz[3 * static_cast<std::size_t>(node) + c];
      low[c] = std::min(low[c], value);
      high[c] = std::max(high[c], value);
    }
  }
  if (surface.nodes.empty()) return;
  double half[3];
  for (std::size_t c = 0; c < 3; ++c) {
    surface.center[c] = 0.5 * low[c] + 0.5 * high[c];
    half[c] = 0.5 * high[c] - 0.5 * low[c];
  }
  // The page multiplies by it.
  constexpr double kMostSize = std::numeric_limits<double>::max() / 4.0;
  const double size = std::min(std::hypot(half[0], half[1], half[2]), kMostSize);
  surface.has_extent = size > 0.0;
  if (surface.has_extent) surface.half_size = size;
}

void order_by_place(const std::vector<double> &xyz, Surface &surface) {
  std::vector<std::pair<std::uint64_t, std::int32_t>> keyed;
  keyed.reserve(surface.nodes.size());
  for (const std::int32_t node : surface.nodes) {
    std::uint64_t key = 0;
    for (std::size_t c = 0; c < 3; ++c) {
      const double at = (xyz[3 * static_cast<std::size_t>(node) + c] - surface.center[c]) / surface.half_size;
      const double cell = (std::clamp(at, -1.0, 1.0) + 1.0) * 0.5 * 0x1FFFFF;
      key |= spread(static_cast<std::uint64_t>(cell)) << c;
    }
    keyed.emplace_back(key, node);
  }
  std::sort(keyed.begin(), keyed.end());
  std::transform(keyed.begin(), keyed.end(), surface.nodes.begin(), [](const auto &pair) { return pair.second; });
}

// All nodes of a body without faces; of too many every k-th.
void take_points(const std::vector<char> &placed, int most_nodes, std::vector<char> &shown, Surface &surface) {
  const auto all = static_cast<std::int64_t>(std::count(placed.begin(), placed.end(), 1));
  const std::int64_t step = (all + most_nodes - 1) / std::max(most_nodes, 1);
  std::int64_t seen = 0;
  for (std::size_t i = 0; i < placed.size(); ++i)
    if (placed[i] != 0 && seen++ % std::max<std::int64_t>(step, 1) == 0) shown[i] = 1;
  surface.notes.emplace_back("The record has no faces: its nodes are drawn as points.");
  if (step > 1) surface.notes.push_back("One node in " + std::to_string(step) + " is shown.");
}

void add_interface_nodes(SBR body, const std::vector<char> &placed, std::vector<char> &shown) {
  int count = 0;
  int *indices = SBR_InterfaceNodes(body, &count);
  for (int i = 0; i < count && indices != nullptr; ++i)
    if (indices[i] >= 0 && static_cast<std::size_t>(indices[i]) < placed.size())
      shown[static_cast<std::size_t>(indices[i])] = placed[static_cast<std::size_t>(indices[i])];
  SBR_FreeMemory(indices);
}

}  // namespace

Surface surface_of(SBR body, int most_nodes, const std::vector<std::int32_t> &besides) {
  Surface surface;
  const auto count = static_cast<std::size_t>(std::max(SBR_NodeCount(body), 0));
  std::vector<double> xyz(3 * count, 0.0);
  if (count > 0) SBR_NodeCoordinateList(body, xyz.data(), nullptr);
  std::vector<char> placed(count, 0);
  for (std::size_t i = 0; i < count; ++i)
    placed[i] = std::isfinite(xyz[3 * i]) && std::isfinite(xyz[3 * i + 1]) && std::isfinite(xyz[3 * i + 2]) ? 1 : 0;
  if (const auto lost = std::count(placed.begin(), placed.end(), 0); lost > 0)
    surface.notes.push_back(std::to_string(lost) + (lost == 1 ? " node is" : " nodes are") +
                            " left out: a coordinate is not a number.");

  FaceList list = outer_faces(body, placed, surface);
  if (list.count > 0) coarsen(body, placed, most_nodes, list, surface);
  std::vector<char> shown(count, 0);
  if (list.count > 0)
    mark_used(list, shown);
  else
    take_points(placed, most_nodes, shown, surface);
  add_interface_nodes(body, placed, shown);
  for (const std::int32_t node : besides)
    if (node >= 0 && static_cast<std::size_t>(node) < count)
      shown[static_cast<std::size_t>(node)] = placed[static_cast<std::size_t>(node)];

  for (std::size_t i = 0; i < count; ++i)
    if (shown[i] != 0) surface.nodes.push_back(static_cast<std::int32_t>(i));
  measure(xyz, surface);
  order_by_place(xyz, surface);
  surface.place.assign(count, -1);
  for (std::size_t i = 0; i < surface.nodes.size(); ++i)
    surface.place[static_cast<std::size_t>(surface.nodes[i])] = static_cast<std::int32_t>(i);
  surface.face_count = list.count;
  surface.faces = std::move(list.words);
  for (std::size_t at = 0; at < surface.faces.size();) {
    const auto vertices = static_cast<std::size_t>(surface.faces[at++]);
    for (std::size_t k = 0; k < vertices; ++k, ++at)
      surface.faces[at] = surface.place[static_cast<std::size_t>(surface.faces[at])];
  }
  return surface;
}

}  // namespace sbrview
