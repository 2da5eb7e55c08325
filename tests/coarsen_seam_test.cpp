// The seam at which small faces join a large polygon: what is listed there and cut there must be what a look at all
// pairs of the whole rim gives.
#include <algorithm>
#include <numeric>
#include <random>

#include "support/coarsen_reference.h"
#include "support/messages.h"
#include "surface/coarsen_mesh.h"

namespace sbrtest {
namespace {

using CoarseningSeamTest = LibraryTest;
using Random = std::mt19937;
using sbr::coarse::Mesh;

int below(Random &random, int n) { return std::uniform_int_distribution<int>(0, n - 1)(random); }

constexpr int kNodes = 260;
constexpr int kCenter = 0;
constexpr int kSlot = 1;

// A large polygon turned to the center node, with two vertices of a node in a row here and there, and what small faces
// bring in front of it and behind it.
struct Seam {
  std::vector<int> large;
  std::vector<int> front;
  std::vector<int> behind;
  int dropped = 1;
  std::vector<bool> in_play = std::vector<bool>(kNodes, true);

  std::vector<int> rim() const {
    std::vector<int> rim = front;
    rim.insert(rim.end(), large.begin() + dropped, large.end());
    rim.insert(rim.end(), behind.begin(), behind.end());
    return rim;
  }
};

// Vertices from both ends of the polygon, where seams lie, from all over it, and of nodes that it lacks.
std::vector<int> random_vertices(Random &random, const std::vector<int> &large, int most) {
  std::vector<int> vertices;
  const int last = static_cast<int>(large.size()) - 1;
  for (int k = below(random, most + 1); k > 0; --k) {
    int place = below(random, 6);
    if (below(random, 2) == 0) place = last - place;
    if (below(random, 8) == 0) place = below(random, last + 1);
    vertices.push_back(below(random, 3) == 0 ? 200 + below(random, kNodes - 200)
                                             : large[static_cast<std::size_t>(place)]);
    if (below(random, 6) == 0) vertices.push_back(vertices.back());
  }
  return vertices;
}

Seam random_seam(Random &random) {
  Seam seam;
  std::vector<int> nodes(199);
  std::iota(nodes.begin(), nodes.end(), 1);
  std::shuffle(nodes.begin(), nodes.end(), random);
  nodes.resize(static_cast<std::size_t>(64 + below(random, 130)));
  seam.large.assign(static_cast<std::size_t>(1 + below(random, 4) / 2), kCenter);
  for (const int node : nodes) seam.large.insert(seam.large.end(), below(random, 8) == 0 ? 2 : 1, node);
  if (below(random, 4) == 0) seam.large.push_back(kCenter);
  seam.front = random_vertices(random, seam.large, 8);
  seam.behind = random_vertices(random, seam.large, 8);
  seam.dropped = seam.front.empty() ? 1 : 2;
  if (below(random, 2) == 0) seam.behind.push_back(seam.rim().front());  // the rim is closed
  if (below(random, 2) == 0)
    for (int k = 1 + below(random, 20); k > 0; --k)
      seam.in_play[static_cast<std::size_t>(below(random, kNodes))] = false;
  return seam;
}

// The tables as they are between two merges: the polygon stands in slot 1, some lists name slot 0, which went into it,
// and some name slot 1 although their nodes have left it.
void fill(Random &random, const Seam &seam, std::vector<std::int32_t> &room, Mesh &mesh) {
  ASSERT_TRUE(mesh.marks.allocate(kNodes) && mesh.group_of.allocate(kNodes) && mesh.nodes.allocate(kNodes));
  ASSERT_TRUE(mesh.incidence.allocate(kNodes) && mesh.merged_into.allocate(3) && mesh.faces.allocate(3));
  for (const int slot : {0, 1, 2}) mesh.merged_into[slot] = slot == 0 ? kSlot : slot;
  for (int node = 0; node < kNodes; ++node) {
    const bool stands = std::find(seam.large.begin(), seam.large.end(), node) != seam.large.end();
    mesh.nodes[node] = {0, 0, 0, node, 1};
    mesh.incidence[node] = stands || below(random, 4) == 0 ? below(random, 2) : 2;
    mesh.marks[node] = seam.in_play[static_cast<std::size_t>(node)] ? sbr::coarse::kInPlay : 0;
  }
  room.assign(seam.large.begin(), seam.large.end());
  sbr::coarse::Face &face = mesh.face(kSlot);
  face.nodes = room.data();
  face.count = static_cast<std::int32_t>(room.size());
  face.present = 1;
  face.simple = 1;
  ASSERT_TRUE(mesh.rooms.allocate(1));
  face.room = 1;
  for (const auto *part : {&seam.front, &seam.behind})
    for (const int node : *part) ASSERT_TRUE(mesh.polygon.push_back(node));
}

// Whether each node stands once, or twice in a row.
bool is_simple(const std::vector<int> &polygon) {
  for (std::size_t p = 0; p < polygon.size(); ++p)
    for (std::size_t q = p + 1; q < polygon.size(); ++q)
      if (polygon[p] == polygon[q] && (q != p + 1 || (p > 0 && polygon[p - 1] == polygon[p]))) return false;
  return true;
}

TEST_F(CoarseningSeamTest, CutsWhatAllPairsOfTheRimCut) {
  Random random(20261);
  int cut_inside = 0;
  int simple_again = 0;
  int left_open = 0;
  for (int round = 0; round < 8000; ++round) {
    const Seam seam = random_seam(random);
    Mesh mesh;
    std::vector<std::int32_t> room;
    fill(random, seam, room, mesh);
    ASSERT_TRUE(sbr::coarse::list_seam(mesh, kSlot, seam.dropped, static_cast<std::int32_t>(seam.front.size())));
    std::vector<std::int32_t> rim = seam.rim();
    bool simple = false;
    const auto left = sbr::coarse::prune_seam(mesh, rim, simple);
    const std::vector<int> result(left.begin(), left.end());
    ASSERT_EQ(result, prune_by_the_book(seam.rim(), seam.in_play)) << "round " << round;
    ASSERT_TRUE(!simple || is_simple(result)) << "round " << round;
    ASSERT_EQ(mesh.pruned.size(), seam.rim().size() - result.size());
    for (int node = 0; node < kNodes; ++node)
      ASSERT_EQ(mesh.marks[node], seam.in_play[static_cast<std::size_t>(node)] ? sbr::coarse::kInPlay : 0);
    cut_inside += result.size() + 2 < seam.rim().size() ? 1 : 0;
    simple_again += simple && !is_simple(seam.rim()) ? 1 : 0;
    left_open += simple ? 0 : 1;
  }
  EXPECT_GT(cut_inside, 2000);
  EXPECT_GT(simple_again, 1000);
  EXPECT_GT(left_open, 400);
}

TEST_F(CoarseningSeamTest, TheFirstPlaceOfANodeIsFoundFromBothEnds) {
  Random random(20262);
  for (int round = 0; round < 200; ++round) {
    const int nodes = 1 + below(random, 600);
    std::vector<std::int32_t> polygon;
    for (int node = 0; node < nodes; ++node) polygon.insert(polygon.end(), below(random, 5) == 0 ? 2 : 1, node);
    sbr::coarse::Face face{};
    face.nodes = polygon.data();
    face.count = static_cast<std::int32_t>(polygon.size());
    face.simple = 1;
    for (int node = 0; node < nodes; ++node) {
      const auto place = std::find(polygon.begin(), polygon.end(), node) - polygon.begin();
      ASSERT_EQ(sbr::coarse::find_vertex(face, node), place) << "round " << round << " of " << polygon.size();
    }
    ASSERT_EQ(sbr::coarse::find_vertex(face, nodes), -1);
  }
}

}  // namespace
}  // namespace sbrtest
