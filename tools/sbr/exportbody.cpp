#include "exportbody.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace sbrtool {

UnitLabels::UnitLabels(SBR body) {
  char labels[4][17] = {};
  SBR_Units(body, labels[0], labels[1], labels[2], labels[3]);
  mass = clean(labels[0]);
  length = clean(labels[1]);
  time = clean(labels[2]);
  force = clean(labels[3]);
}

std::string UnitLabels::all() const {
  return "mass " + mass + ", length " + length + ", time " + time + ", force " + force;
}

std::string title_of(SBR body) {
  char title[129] = {};
  SBR_Header(body, title, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
  std::string text = clean(title);
  text.erase(text.find_last_not_of(' ') + 1);
  return text;
}

// ---- geometry ------------------------------------------------------------------------------------------------------

namespace {

void take_nodes(SBR body, Geometry &geometry) {
  const int nodes = SBR_NodeCount(body);
  if (nodes < 1) throw Failure(kUsage, "the record has no nodes: there is nothing to draw");
  geometry.ids.resize(static_cast<std::size_t>(nodes));
  geometry.xyz.resize(3 * static_cast<std::size_t>(nodes));
  int count = 0;
  if (SBR_NodeCoordinateList(body, geometry.xyz.data(), &count) == 0 || count != nodes)
    throw Failure(kFailed, "the nodes cannot be had");
  for (int i = 0; i < nodes; ++i) {
    geometry.ids[static_cast<std::size_t>(i)] = SBR_NodeID(body, i);
    const double *place = geometry.at(i);
    if (!std::all_of(place, place + 3, [](double value) { return std::isfinite(value); }))
      throw Failure(kUsage, "node " + std::to_string(geometry.ids[static_cast<std::size_t>(i)]) +
                                " has a coordinate that is no finite number: there is no place to draw it at. "
                                "'sbr export --csv' writes such a record, 'sbr check' tells more");
  }
}

void take_faces(SBR body, Geometry &geometry) {
  int faces = 0;
  int length = 0;
  SBR_FaceListSize(body, &faces, &length);
  std::vector<int> list(static_cast<std::size_t>(std::max(length, 0)));
  if (list.empty() || SBR_ElementFaces(body, list.data()) == 0) return;
  geometry.corners.reserve(list.size());
  for (std::size_t at = 0; at < list.size();) {
    const int corners = list[at++];
    if (corners < 1 || static_cast<std::size_t>(corners) > list.size() - at)
      throw Failure(kUnreadable, "face " + std::to_string(geometry.faces() + 1) + " has " + std::to_string(corners) +
                                     " corners, which the face list does not hold");
    for (int k = 0; k < corners; ++k, ++at) {
      if (list[at] < 0 || list[at] >= geometry.nodes())
        throw Failure(kUnreadable, "face " + std::to_string(geometry.faces() + 1) + " names the node index " +
                                       std::to_string(list[at]) + ", which is not there");
      geometry.corners.push_back(list[at]);
    }
    geometry.face_ends.push_back(geometry.corners.size());
  }
}

}  // namespace

double Geometry::extent() const {
  if (ids.empty()) return 0.0;
  double low[3] = {xyz[0], xyz[1], xyz[2]};
  double high[3] = {xyz[0], xyz[1], xyz[2]};
  for (std::size_t i = 0; i < xyz.size(); ++i) {
    low[i % 3] = std::min(low[i % 3], xyz[i]);
    high[i % 3] = std::max(high[i % 3], xyz[i]);
  }
  return std::hypot(high[0] - low[0], high[1] - low[1], high[2] - low[2]);
}

Geometry geometry_of(SBR body) {
  Geometry geometry;
  take_nodes(body, geometry);
  take_faces(body, geometry);
  std::vector<bool> used(geometry.ids.size());
  for (const int corner : geometry.corners) used[static_cast<std::size_t>(corner)] = true;
  for (int i = 0; i < geometry.nodes(); ++i)
    if (!used[static_cast<std::size_t>(i)]) geometry.loose.push_back(i);
  return geometry;
}

// ---- modes ---------------------------------------------------------------------------------------------------------

std::vector<int> nodes_of_kind(SBR body, const Geometry &geometry, int kind) {
  const bool pre_vector = kind > 0 && SBR_Exists(body, 29 + kind) != 0;
  const int count = SBR_ModeExist(body, kind) != 0 || pre_vector ? SBR_ModeNodeCount(body, kind) : 0;
  std::vector<int> places(static_cast<std::size_t>(std::max(count, 0)));
  std::vector<bool> taken(geometry.ids.size());
  for (int i = 0; i < count; ++i) {
    const int id = SBR_ModeNodeID(body, kind, i);
    // Shapes go node by node in the order of the table.
    const bool in_order = i < geometry.nodes() && geometry.ids[static_cast<std::size_t>(i)] == id;
    const int node = kind == 0 && in_order ? i : SBR_NodeIndex(body, id);
    if (node < 0 || node >= geometry.nodes())
      throw Failure(kUnreadable, "mode data names node " + std::to_string(id) + ", which is not in the record");
    if (taken[static_cast<std::size_t>(node)])
      throw Failure(kUsage, "mode data names node " + std::to_string(id) +
                                " twice, so that the place of its values cannot be told. 'sbr check' tells more");
    taken[static_cast<std::size_t>(node)] = true;
    places[static_cast<std::size_t>(i)] = node;
  }
  return places;
}

std::vector<double> part_of_mode(SBR body, int number, int kind, int part, const std::vector<int> &places, int nodes) {
  std::vector<double> given(3 * std::max<std::size_t>(places.size(), 1));
  const int errors = reported_errors();
  if (SBR_Mode(body, number, kind, given.data(), part) == 0 || reported_errors() != errors)
    throw Failure(kUnreadable, "mode " + std::to_string(number) + " cannot be read from the record");
  std::vector<double> values(3 * static_cast<std::size_t>(nodes), std::numeric_limits<double>::quiet_NaN());
  for (std::size_t i = 0; i < places.size(); ++i)
    std::copy_n(given.data() + 3 * i, 3, values.data() + 3 * static_cast<std::size_t>(places[i]));
  return values;
}

std::vector<double> von_mises(const std::vector<double> &normal, const std::vector<double> &shear) {
  std::vector<double> values(normal.size() / 3);
  for (std::size_t i = 0; i < values.size(); ++i) {
    const double *n = normal.data() + 3 * i;
    const double *s = shear.data() + 3 * i;
    const double square = n[0] * n[0] + n[1] * n[1] + n[2] * n[2] - n[0] * n[1] - n[1] * n[2] - n[0] * n[2] +
                          3.0 * (s[0] * s[0] + s[1] * s[1] + s[2] * s[2]);
    // Rounding may leave a little less than nothing; what is no number stays none.
    values[i] = std::sqrt(std::max(square, 0.0));
  }
  return values;
}

double largest_length(const std::vector<double> &vectors) {
  double largest = 0.0;
  for (std::size_t i = 0; i + 2 < vectors.size(); i += 3) {
    const double length = std::hypot(vectors[i], vectors[i + 1], vectors[i + 2]);
    if (std::isfinite(length)) largest = std::max(largest, length);
  }
  return largest;
}

}  // namespace sbrtool
