// Node search: the closest node, the closest few, and all within a radius. The tie rules differ on purpose.
#include <algorithm>
#include <cmath>
#include <limits>
#include <span>

#include "base/reports.h"
#include "body/node_table.h"
#include "body/registry.h"

namespace sbr {
namespace {

constexpr std::size_t kLeaf = 12;
// A walk over n nodes costs about a hundredth of building the index.
constexpr int kWalksBeforeIndex = 24;
constexpr int kNodesWorthAnIndex = 2000;

double squared_distance(const double *point, double x, double y, double z) noexcept {
  const double dx = point[0] - x;
  const double dy = point[1] - y;
  const double dz = point[2] - z;
  return dx * dx + dy * dy + dz * dz;
}

double squared_distance(const SbrBody &body, const double *point, int node) noexcept {
  const NodeRecord &record = body.nodes.nodes[node];
  return squared_distance(point, record.x, record.y, record.z);
}

// The candidates of a search in table order: the interface nodes, or all nodes.
class Candidates {
 public:
  Candidates(const SbrBody &body, bool interface_nodes) noexcept
      : interface_(interface_nodes ? body.interface_nodes.nodes.span() : std::span<const std::int32_t>{}),
        nodes_(node_count(body)),
        count_(interface_nodes ? static_cast<int>(interface_.size()) : nodes_),
        only_interface_(interface_nodes) {}
  [[nodiscard]] int count() const noexcept { return count_; }
  // The node index of a candidate; -1 for an interface node outside the table.
  [[nodiscard]] int node(int candidate) const noexcept {
    if (!only_interface_) return candidate;
    const int node = interface_[candidate];
    return node >= 0 && node < nodes_ ? node : -1;
  }

 private:
  std::span<const std::int32_t> interface_;
  int nodes_;
  int count_;
  bool only_interface_;
};

int walk_closest(const SbrBody &body, const Candidates &candidates, const double *point) noexcept {
  int best = -1;
  double best_distance = std::numeric_limits<double>::infinity();
  for (int c = 0; c < candidates.count(); ++c) {
    const int node = candidates.node(c);
    if (node < 0) continue;
    const double distance = squared_distance(body, point, node);
    if (best >= 0 && !(distance < best_distance)) continue;
    best = node;
    best_distance = std::isnan(distance) ? std::numeric_limits<double>::infinity() : distance;
    if (distance == 0.0) break;
  }
  return best;
}

struct Found {
  double distance;
  std::int32_t order;  // place among the candidates
  std::int32_t node;
};

bool nearer_then_earlier(const Found &a, const Found &b) noexcept {
  return a.distance != b.distance ? a.distance < b.distance : a.order < b.order;
}

bool nearer_then_later(const Found &a, const Found &b) noexcept {
  return a.distance != b.distance ? a.distance < b.distance : a.order > b.order;
}

// A new array of the nodes found, for the caller; null (with a count of 0) when there are none.
int *hand_out(const Array<Found> &found, std::size_t how_many, int *count) noexcept {
  Array<std::int32_t> nodes;
  if (how_many == 0) return nullptr;
  if (!nodes.allocate(static_cast<std::int64_t>(how_many))) {
    report_no_memory(unit_name::kTools);
    return nullptr;
  }
  for (std::size_t i = 0; i < how_many; ++i) nodes[i] = found[i].node;
  *count = static_cast<int>(how_many);
  return nodes.detach();
}

}  // namespace

// ---- the index -----------------------------------------------------------------------------------------------------

void NodeSearchIndex::drop() noexcept {
  items_.release();
  axis_of_.release();
  walks_ = 0;
  unusable_ = false;
}

bool NodeSearchIndex::build(const SbrBody &body) noexcept {
  const auto &nodes = body.nodes.nodes;
  if (!items_.allocate(nodes.count()) || !axis_of_.allocate(nodes.count())) {
    items_.release();
    return false;
  }
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    items_[i] = {{nodes[i].x, nodes[i].y, nodes[i].z}, static_cast<std::int32_t>(i)};
    if (!std::isfinite(nodes[i].x) || !std::isfinite(nodes[i].y) || !std::isfinite(nodes[i].z)) {
      drop();
      unusable_ = true;
      return false;
    }
  }
  arrange(0, items_.size());
  return true;
}

void NodeSearchIndex::arrange(std::size_t first, std::size_t last) noexcept {
  while (last - first > kLeaf) {
    double low[3];
    double high[3];
    for (int a = 0; a < 3; ++a) low[a] = high[a] = items_[first].at[a];
    for (std::size_t i = first + 1; i < last; ++i)
      for (int a = 0; a < 3; ++a) {
        low[a] = std::min(low[a], items_[i].at[a]);
        high[a] = std::max(high[a], items_[i].at[a]);
      }
    int axis = 0;
    for (int a = 1; a < 3; ++a)
      if (high[a] - low[a] > high[axis] - low[axis]) axis = a;
    const std::size_t middle = first + (last - first) / 2;
    std::nth_element(items_.begin() + first, items_.begin() + middle, items_.begin() + last,
                     [axis](const Item &p, const Item &q) { return p.at[axis] < q.at[axis]; });
    axis_of_[middle] = static_cast<unsigned char>(axis);
    arrange(first, middle);
    first = middle + 1;
  }
}

void NodeSearchIndex::search(std::size_t first, std::size_t last, const double *point, Best &best) const noexcept {
  const auto offer = [&](const Item &item) {
    const double distance = squared_distance(point, item.at[0], item.at[1], item.at[2]);
    if (distance < best.distance || (distance == best.distance && item.node < best.node)) best = {distance, item.node};
  };
  if (last - first <= kLeaf) {
    for (std::size_t i = first; i < last; ++i) offer(items_[i]);
    return;
  }
  const std::size_t middle = first + (last - first) / 2;
  const int axis = axis_of_[middle];
  const double gap = point[axis] - items_[middle].at[axis];
  offer(items_[middle]);
  const bool left = gap < 0.0;
  search(left ? first : middle + 1, left ? middle : last, point, best);
  // Rounding is monotonic, so that no distance across the plane comes out below gap * gap; an equal one may still win
  // by its lower index.
  if (gap * gap <= best.distance) search(left ? middle + 1 : first, left ? last : middle, point, best);
}

int NodeSearchIndex::closest(const SbrBody &body, const double *point3) noexcept {
  const int nodes = node_count(body);
  if (unusable_ || nodes < kNodesWorthAnIndex) return -1;
  if (!std::isfinite(point3[0]) || !std::isfinite(point3[1]) || !std::isfinite(point3[2])) return -1;
  if (items_.count() != nodes) {
    if (++walks_ <= kWalksBeforeIndex) return -1;
    if (!build(body)) return -1;
  }
  Best best{std::numeric_limits<double>::infinity(), std::numeric_limits<std::int32_t>::max()};
  search(0, items_.size(), point3, best);
  // Distances that overflow are all the same infinity, and the first node stands.
  return std::isinf(best.distance) ? -1 : best.node;
}

}  // namespace sbr

extern "C" {

int SBR_ClosestNode(SBR body, const double *point3, int interface_only) {
  if (!sbr::require_body(body) || point3 == nullptr) return -1;
  const bool interface_nodes = interface_only != 0 && !body->interface_nodes.nodes.empty();
  if (!interface_nodes)
    if (const int node = body->search.closest(*body, point3); node >= 0) return node;
  return sbr::walk_closest(*body, sbr::Candidates(*body, interface_nodes), point3);
}

int *SBR_ClosestNodes(SBR body, const double *point3, int how_many, int interface_only, int *count) {
  int unused = 0;
  if (count == nullptr) count = &unused;
  *count = 0;
  if (!sbr::require_body(body)) return nullptr;
  const sbr::Candidates candidates(*body, interface_only != 0);
  sbr::Array<sbr::Found> found;
  if (how_many < 0 || !found.reserve(std::min(how_many, candidates.count()) + 1)) {
    sbr::report_no_memory(sbr::unit_name::kTools);
    return nullptr;
  }
  if (point3 == nullptr || how_many == 0) return nullptr;
  bool ordered = true;
  for (int c = 0; c < candidates.count(); ++c) {
    const int node = candidates.node(c);
    if (node < 0) continue;
    const double distance = sbr::squared_distance(*body, point3, node);
    ordered = ordered && !std::isnan(distance);
    if (!found.push_back({distance, c, node})) {
      sbr::report_no_memory(sbr::unit_name::kTools);
      return nullptr;
    }
  }
  // A distance that is not a number has no place in an order: such candidates go behind all others.
  if (!ordered)
    for (sbr::Found &candidate : found)
      if (std::isnan(candidate.distance)) candidate.distance = std::numeric_limits<double>::infinity();
  const std::size_t wanted = std::min(static_cast<std::size_t>(how_many), found.size());
  std::nth_element(found.begin(), found.begin() + wanted, found.end(), sbr::nearer_then_earlier);
  std::sort(found.begin(), found.begin() + wanted, sbr::nearer_then_earlier);
  return sbr::hand_out(found, wanted, count);
}

int *SBR_ClosestNodesInNeighborhood(SBR body, const double *point3, double radius, int interface_only, int *count) {
  int unused = 0;
  if (count == nullptr) count = &unused;
  *count = 0;
  if (!sbr::require_body(body) || point3 == nullptr) return nullptr;
  const sbr::Candidates candidates(*body, interface_only != 0);
  sbr::Array<sbr::Found> found;
  for (int c = 0; c < candidates.count(); ++c) {
    const int node = candidates.node(c);
    if (node < 0) continue;
    const double distance = sbr::squared_distance(*body, point3, node);
    if (distance <= radius * radius && !found.push_back({distance, c, node}))
      sbr::report_no_memory(sbr::unit_name::kTools);
  }
  std::sort(found.begin(), found.end(), sbr::nearer_then_later);
  return sbr::hand_out(found, found.size(), count);
}

}  // extern "C"
