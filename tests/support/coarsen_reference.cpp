#include "support/coarsen_reference.h"

#include <algorithm>
#include <cmath>
#include <memory>

namespace sbrtest {
namespace {

struct Polygon {
  std::vector<int> nodes;
  Point normal{};
};

struct Vertex {
  Point at;
  std::vector<int> faces;
};

using PolygonSlot = std::shared_ptr<Polygon>;
using VertexSlot = std::shared_ptr<Vertex>;

double dot(const Point &a, const Point &b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }
Point minus(const Point &a, const Point &b) { return {a[0] - b[0], a[1] - b[1], a[2] - b[2]}; }

class Coarsening {
 public:
  Coarsening(const Surface &surface, const CoarseningOptions &options) : options_(options) {
    for (const auto &face : surface.faces) slots_.push_back(std::make_shared<Polygon>(Polygon{face, {}}));
    for (const Point &point : surface.points) nodes_.push_back(std::make_shared<Vertex>(Vertex{point, {}}));
    Point low = surface.points[0];
    Point high = low;
    for (const Point &p : surface.points)
      for (std::size_t c = 0; c < 3; ++c) {
        low[c] = std::min(low[c], p[c]);
        high[c] = std::max(high[c], p[c]);
      }
    const Point d = minus(high, low);
    diagonal_ = std::sqrt(dot(d, d));
    points_ = surface.points;
  }

  Faces run() {
    fill_incidence();
    normals();
    for (const int node : options_.preserved) nodes_[static_cast<std::size_t>(node)] = nullptr;
    for (int i = 0; i < static_cast<int>(nodes_.size()); ++i)
      if (passes(i)) merge(i);
    if (options_.colinear) thin();
    Faces faces;
    for (const auto &slot : slots_)
      if (slot != nullptr && !slot->nodes.empty()) faces.push_back(slot->nodes);
    return faces;
  }

 private:
  VertexSlot &node(int i) { return nodes_[static_cast<std::size_t>(i)]; }
  PolygonSlot &slot(int s) { return slots_[static_cast<std::size_t>(s)]; }

  void fill_incidence() {
    for (int s = 0; s < static_cast<int>(slots_.size()); ++s)
      for (const int v : slot(s)->nodes) node(v)->faces.push_back(s);
    for (auto &vertex : nodes_)
      if (vertex->faces.empty()) vertex = nullptr;
  }

  void normals() {
    for (auto &face : slots_) {
      if (face->nodes.size() < 3) continue;
      const auto at = [&](std::size_t k) { return points_[static_cast<std::size_t>(face->nodes[k])]; };
      const Point a = minus(at(2), at(1));
      const Point b = minus(at(0), at(1));
      Point n{a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
      const double length = std::sqrt(dot(n, n));
      if (length != 0.0)
        for (double &c : n) c /= length;
      face->normal = n;
    }
  }

  bool passes(int i) {
    if (node(i) == nullptr) return false;
    const double limit = options_.resolution * diagonal_;
    std::vector<int> near;
    for (const int s : node(i)->faces)
      if (slot(s) != nullptr)
        for (const int v : slot(s)->nodes)
          if (node(v) != nullptr) near.push_back(v);
    std::sort(near.begin(), near.end());
    for (const int v : near) {
      const Point d = minus(node(v)->at, node(i)->at);
      if (dot(d, d) > limit * limit) return false;
    }
    if (node(i)->faces.size() < 2) return false;
    const double cosine = std::cos(options_.angle * 3.141592653589793 / 180);
    PolygonSlot reference;
    for (const int s : node(i)->faces) {
      if (slot(s) == nullptr) continue;
      if (reference == nullptr) {
        reference = slot(s);
        continue;
      }
      if (slot(s)->nodes.size() < 3) return false;
      if (!(std::fabs(dot(slot(s)->normal, reference->normal)) - cosine >= 0)) return false;
    }
    return true;
  }

  static void reverse(Polygon &face) {
    if (face.nodes.size() > 2) std::reverse(face.nodes.begin() + 1, face.nodes.end());
  }

  void rotate(int i) {
    std::vector<int> kept;
    for (const int s : node(i)->faces) {
      auto &nodes = slot(s)->nodes;
      const auto place = std::find(nodes.begin(), nodes.end(), i);
      if (place == nodes.end()) continue;
      std::rotate(nodes.begin(), place, nodes.end());
      kept.push_back(s);
    }
    node(i)->faces = kept;
  }

  PolygonSlot fan(int i, int k) {
    const std::vector<int> list = node(i)->faces;
    auto fused = std::make_shared<Polygon>();
    std::vector<std::pair<int, PolygonSlot>> taken;
    const int start = list[static_cast<std::size_t>(std::abs(k))];
    if (k < 0) reverse(*slot(start));
    fused->nodes.assign(slot(start)->nodes.begin() + 1, slot(start)->nodes.end());
    fused->normal = slot(start)->normal;
    taken.emplace_back(start, std::exchange(slot(start), nullptr));
    while (taken.size() < list.size() && !fused->nodes.empty()) {
      const int v = fused->nodes.back();
      int found = -1;
      for (const int s : list)
        if (found < 0 && slot(s) != nullptr && slot(s)->nodes.size() > 1 && slot(s)->nodes[1] == v) found = s;
      if (found < 0) {
        for (const int s : list)
          if (found < 0 && slot(s) != nullptr && slot(s)->nodes.back() == v) found = s;
        if (found < 0) break;
        reverse(*slot(found));
      }
      const auto &nodes = slot(found)->nodes;
      if (nodes.size() > 2) fused->nodes.insert(fused->nodes.end(), nodes.begin() + 2, nodes.end());
      taken.emplace_back(found, std::exchange(slot(found), nullptr));
    }
    if (taken.size() == list.size() && !fused->nodes.empty()) return fused;
    for (auto &[s, face] : taken) slot(s) = face;
    return nullptr;
  }

  void merge(int i) {
    rotate(i);
    const int count = static_cast<int>(node(i)->faces.size());
    PolygonSlot fused;
    for (int k = 0; k < count && fused == nullptr; ++k) fused = fan(i, k);
    for (int k = 0; k > -count && fused == nullptr; --k) fused = fan(i, k);
    if (fused == nullptr) return;
    slot(node(i)->faces[0]) = fused;
    const bool open = fused->nodes.front() != fused->nodes.back();
    if (open) fused->nodes.push_back(i);
    redirect(i);
    if (!open) node(i) = nullptr;
    std::vector<bool> in_play;
    for (const auto &vertex : nodes_) in_play.push_back(vertex != nullptr);
    fused->nodes = prune_by_the_book(fused->nodes, in_play);
  }

  void redirect(int i) {
    const std::vector<int> list = node(i)->faces;
    for (int j = i + 1; j < static_cast<int>(nodes_.size()); ++j) {
      if (node(j) == nullptr) continue;
      bool changed = false;
      for (int &s : node(j)->faces)
        if (std::find(list.begin() + 1, list.end(), s) != list.end()) {
          s = list[0];
          changed = true;
        }
      if (!changed) continue;
      auto &faces = node(j)->faces;
      std::sort(faces.begin(), faces.end());
      faces.erase(std::unique(faces.begin(), faces.end()), faces.end());
    }
  }

  bool dropped(int before, int current, int after) {
    if (node(before) == nullptr || node(current) == nullptr || node(after) == nullptr) return false;
    const double longest = 0.05 * diagonal_;
    const double limit = longest * longest;
    const Point a = minus(node(before)->at, node(current)->at);
    if (dot(a, a) == 0.0) return true;
    if (dot(a, a) > limit) return false;
    const Point b = minus(node(after)->at, node(current)->at);
    if (dot(b, b) == 0.0 || dot(b, b) > limit) return false;
    return std::fabs(dot(a, b)) / (std::sqrt(dot(a, a)) * std::sqrt(dot(b, b))) >= std::cos(0.17453292519943295);
  }

  void thin() {
    for (auto &face : slots_) {
      if (face == nullptr || face->nodes.size() < 4) continue;
      auto &nodes = face->nodes;
      int before = nodes.back();
      std::size_t out = 0;
      for (std::size_t p = 0; p < nodes.size(); ++p) {
        const int current = nodes[p];
        const int after = nodes[(p + 1) % nodes.size()];
        if (dropped(before, current, after)) continue;
        nodes[out++] = current;
        before = current;
      }
      nodes.resize(out);
    }
  }

  CoarseningOptions options_;
  std::vector<PolygonSlot> slots_;
  std::vector<VertexSlot> nodes_;
  std::vector<Point> points_;
  double diagonal_ = 0.0;
};

}  // namespace

std::vector<int> prune_by_the_book(std::vector<int> polygon, const std::vector<bool> &in_play) {
  const int n = static_cast<int>(polygon.size());
  const int T = static_cast<int>(n * 0.3);
  std::vector<bool> blank(polygon.size(), false);
  const auto at = [&](int p) { return polygon[static_cast<std::size_t>(p)]; };
  const auto is_blank = [&](int p) { return static_cast<bool>(blank[static_cast<std::size_t>(p)]); };
  const auto erase = [&](int begin, int end) {
    for (int p = begin; p < end; ++p)
      if (in_play[static_cast<std::size_t>(at(p))]) blank[static_cast<std::size_t>(p)] = true;
  };
  for (int a = 0; a < n; ++a)
    for (int b = a + 1; b < n; ++b) {
      if (is_blank(a) || is_blank(b) || at(a) != at(b)) continue;
      if (b - a < T) {
        erase(a + 1, b);
      } else if (n - (b - a) < T) {
        erase(0, a);
        erase(b, n);
      }
    }
  std::vector<int> left;
  for (int p = 0; p < n; ++p)
    if (!is_blank(p)) left.push_back(at(p));
  return left;
}

Faces coarsen_by_the_book(const Surface &surface, const CoarseningOptions &options) {
  return Coarsening(surface, options).run();
}

}  // namespace sbrtest
