// Coarsening of random meshes: against the rules applied one by one, and against what any reduction of a surface must
// keep.
#include <algorithm>
#include <cmath>
#include <ctime>
#include <numeric>
#include <random>
#include <sstream>

#include "support/coarsen_reference.h"
#include "support/messages.h"
#include "surface/coarsen_mesh.h"

namespace sbrtest {
namespace {

using CoarseningRandomTest = LibraryTest;
using Random = std::mt19937;

double uniform(Random &random, double low, double high) {
  return std::uniform_real_distribution<double>(low, high)(random);
}
int below(Random &random, int n) { return std::uniform_int_distribution<int>(0, n - 1)(random); }

// A grid whose nodes are moved a little and numbered at random, with some cells split, flipped, left out and fused.
Surface random_grid(Random &random) {
  const int nx = 1 + below(random, 9);
  const int ny = 1 + below(random, 9);
  Surface grid = flat_grid(nx, ny);
  const double roughness = below(random, 3) * 0.05;
  for (Point &p : grid.points)
    for (double &c : p) c += uniform(random, -roughness, roughness);
  Surface surface{grid.points, {}};
  for (auto face : grid.faces) {
    const int fate = below(random, 12);
    if (fate == 0) continue;
    if (fate == 1) std::reverse(face.begin(), face.end());
    std::rotate(face.begin(), face.begin() + below(random, 4), face.end());
    if (fate <= 4) {
      surface.faces.push_back({face[0], face[1], face[2]});
      surface.faces.push_back({face[0], face[2], face[3]});
    } else {
      surface.faces.push_back(face);
    }
  }
  std::shuffle(surface.faces.begin(), surface.faces.end(), random);
  if (below(random, 2) == 0) return surface;
  std::vector<int> order(surface.points.size());
  for (std::size_t i = 0; i < order.size(); ++i) order[i] = static_cast<int>(i);
  std::shuffle(order.begin(), order.end(), random);
  Surface renumbered{std::vector<Point>(order.size()), surface.faces};
  for (std::size_t i = 0; i < order.size(); ++i)
    renumbered.points[static_cast<std::size_t>(order[i])] = surface.points[i];
  for (auto &face : renumbered.faces)
    for (int &v : face) v = order[static_cast<std::size_t>(v)];
  return renumbered;
}

// Faces of any nodes in a plane: repeated vertices, shared edges of many faces, one or two vertices.
Surface random_soup(Random &random) {
  Surface surface;
  const int nodes = 3 + below(random, 9);
  for (int i = 0; i < nodes; ++i) surface.points.push_back({uniform(random, 0, 1), uniform(random, 0, 1), 0.0});
  const int faces = 1 + below(random, 12);
  for (int f = 0; f < faces; ++f) {
    std::vector<int> face;
    const int count = 1 + below(random, 9);
    for (int k = 0; k < count; ++k) face.push_back(below(random, nodes));
    surface.faces.push_back(face);
  }
  return surface;
}

CoarseningOptions random_options(Random &random, const Surface &surface) {
  CoarseningOptions options;
  options.resolution = uniform(random, 0.05, 0.5);
  options.angle = uniform(random, 1.0, 45.0);
  options.colinear = below(random, 2) == 0;
  if (below(random, 3) == 0)
    for (int k = below(random, 6); k > 0; --k)
      options.preserved.insert(below(random, static_cast<int>(surface.points.size())));
  return options;
}

std::string text_of(const CoarseningOptions &options) {
  std::ostringstream text;
  text.precision(17);
  text << options.resolution << ',' << options.angle << ',' << (options.colinear ? 1 : 0);
  for (const int node : options.preserved) text << ',' << mesh_id(node);
  return text.str();
}

Faces coarsen(const Surface &surface, const CoarseningOptions &options) {
  SBR body = make_body(surface);
  SBR_TrimGeometry(body, text_of(options).c_str());
  Faces faces = faces_of(body);
  SBR_Destroy(body);
  return faces;
}

TEST_F(CoarseningRandomTest, GridsGiveTheWholeListOfTheRules) {
  Random random(20240501);
  int reduced = 0;
  for (int round = 0; round < 1500; ++round) {
    const Surface surface = random_grid(random);
    if (surface.faces.empty()) continue;
    const CoarseningOptions options = random_options(random, surface);
    const Faces faces = coarsen(surface, options);
    ASSERT_EQ(faces, coarsen_by_the_book(surface, options)) << "round " << round << ", " << text_of(options);
    if (faces.size() < surface.faces.size()) reduced += 1;
  }
  EXPECT_GT(reduced, 700);
}

TEST_F(CoarseningRandomTest, SoupsGiveTheWholeListOfTheRules) {
  Random random(7);
  for (int round = 0; round < 4000; ++round) {
    const Surface surface = random_soup(random);
    const CoarseningOptions options = random_options(random, surface);
    ASSERT_EQ(coarsen(surface, options), coarsen_by_the_book(surface, options))
        << "round " << round << ", " << text_of(options);
  }
}

TEST_F(CoarseningRandomTest, LargeFansGiveTheWholeListOfTheRules) {
  // A node with more faces than are tried one after the other, in several sectors that may or may not meet.
  Random random(99);
  for (int round = 0; round < 200; ++round) {
    Surface surface;
    surface.points.push_back({0, 0, 0});
    const int rim = 20 + below(random, 30);
    for (int k = 0; k < rim; ++k) {
      const double angle = 2 * std::acos(-1.0) * k / rim;
      surface.points.push_back({std::cos(angle), std::sin(angle), 0});
    }
    for (int k = 0; k < rim; ++k) {
      std::vector<int> face{0, 1 + k, 1 + (k + 1) % rim};
      if (below(random, 3) == 0) std::swap(face[1], face[2]);
      if (below(random, 20) != 0) surface.faces.push_back(face);
    }
    std::shuffle(surface.faces.begin(), surface.faces.end(), random);
    surface.points.push_back({100, 0, 0});
    CoarseningOptions options;
    options.resolution = 0.011;
    options.colinear = true;
    for (int k = 1; k <= rim; ++k) options.preserved.insert(k);
    ASSERT_EQ(coarsen(surface, options), coarsen_by_the_book(surface, options)) << "round " << round;
  }
}

// A hub whose faces form several chains: arcs and closed rims of triangles, strays that share the hub alone or a rim
// node too, faces that stand twice.
Surface random_hub(Random &random) {
  Surface hub;
  hub.points.push_back({0, 0, 0});
  const auto add_point = [&] {
    const double angle = uniform(random, 0, 6.28);
    hub.points.push_back({std::cos(angle), std::sin(angle), 0});
    return static_cast<int>(hub.points.size()) - 1;
  };
  for (int arcs = 1 + below(random, 3); arcs > 0; --arcs) {
    const int first = add_point();
    int from = first;
    for (int k = 2 + below(random, 30); k > 0; --k) {
      const int to = add_point();
      hub.faces.push_back({0, from, to});
      from = to;
    }
    if (below(random, 2) == 0) hub.faces.push_back({0, from, first});
  }
  for (int strays = below(random, 4); strays > 0; --strays) {
    const int on_rim = 1 + below(random, static_cast<int>(hub.points.size()) - 1);
    const int from = below(random, 2) == 0 ? on_rim : add_point();
    hub.faces.push_back({0, from, add_point()});
  }
  for (int copies = below(random, 3); copies > 0; --copies)
    hub.faces.push_back(hub.faces[static_cast<std::size_t>(below(random, static_cast<int>(hub.faces.size())))]);
  for (auto &face : hub.faces) {
    if (below(random, 3) == 0) std::swap(face[1], face[2]);
    std::rotate(face.begin(), face.begin() + below(random, 3), face.end());
  }
  if (below(random, 2) == 0) std::shuffle(hub.faces.begin(), hub.faces.end(), random);
  return hub;
}

TEST_F(CoarseningRandomTest, HubsThatCannotBeWalkedGiveTheWholeListOfTheRules) {
  Random random(98);
  int large = 0;
  int stayed = 0;
  for (int round = 0; round < 600; ++round) {
    const Surface surface = random_hub(random);
    CoarseningOptions options;
    options.resolution = 0.5;
    // Without the rim the hub alone is tried, and its faces show what the attempts have left reversed.
    if (below(random, 2) == 0)
      for (int k = 1; k < static_cast<int>(surface.points.size()); ++k) options.preserved.insert(k);
    const Faces faces = coarsen(surface, options);
    ASSERT_EQ(faces, coarsen_by_the_book(surface, options)) << "round " << round;
    large += surface.faces.size() > 16 ? 1 : 0;
    stayed += faces.size() == surface.faces.size() ? 1 : 0;
  }
  EXPECT_GT(large, 300);
  EXPECT_GT(stayed, 100);
}

// A flat plate whose nodes are numbered at random: polygons grow in many places and run into each other.
Surface scattered_plate(Random &random, int side) {
  const Surface plate = flat_grid(side, side);
  std::vector<int> order(plate.points.size());
  std::iota(order.begin(), order.end(), 0);
  std::shuffle(order.begin(), order.end(), random);
  Surface scattered = plate;
  for (std::size_t i = 0; i < order.size(); ++i) scattered.points[static_cast<std::size_t>(order[i])] = plate.points[i];
  for (auto &face : scattered.faces)
    for (int &v : face) v = order[static_cast<std::size_t>(v)];
  return scattered;
}

TEST_F(CoarseningRandomTest, LargePolygonsOfScatteredPlatesFollowTheRules) {
  Random random(96);
  std::size_t largest = 0;
  for (int round = 0; round < 24; ++round) {
    // Small ones with much in common, and some of so many nodes that they get numbers of their own.
    const Surface surface = scattered_plate(random, round % 3 == 0 ? 33 + below(random, 8) : 14 + below(random, 12));
    CoarseningOptions options;
    options.resolution = uniform(random, 0.25, 0.5);
    options.colinear = below(random, 3) == 0;
    for (int k = below(random, 2) * 5; k > 0; --k)
      options.preserved.insert(below(random, static_cast<int>(surface.points.size())));
    const Faces faces = coarsen(surface, options);
    ASSERT_EQ(faces, coarsen_by_the_book(surface, options)) << "round " << round << ", " << text_of(options);
    for (const auto &face : faces) largest = std::max(largest, face.size());
  }
  EXPECT_GT(largest, 128U);
}

TEST_F(CoarseningRandomTest, LargePolygonsOfPlatesWithHolesFollowTheRules) {
  // Rims run around holes and meet themselves behind them; the interface of a hole stays, and so do some nodes inside.
  Random random(97);
  std::size_t large = 0;
  for (int round = 0; round < 40; ++round) {
    Surface surface = scattered_plate(random, 16 + below(random, 12));
    const std::size_t holes = surface.faces.size() / static_cast<std::size_t>(8 + below(random, 60));
    std::shuffle(surface.faces.begin(), surface.faces.end(), random);
    surface.faces.resize(surface.faces.size() - holes);
    for (auto &face : surface.faces) {
      if (below(random, 5) == 0) std::reverse(face.begin(), face.end());
      std::rotate(face.begin(), face.begin() + below(random, 4), face.end());
    }
    CoarseningOptions options;
    options.resolution = uniform(random, 0.3, 0.5);
    for (int k = below(random, 2) * 20; k > 0; --k)
      options.preserved.insert(below(random, static_cast<int>(surface.points.size())));
    const Faces faces = coarsen(surface, options);
    ASSERT_EQ(faces, coarsen_by_the_book(surface, options)) << "round " << round << ", " << text_of(options);
    for (const auto &face : faces) large += face.size() > 64 ? 1 : 0;
  }
  EXPECT_GT(large, 40U);
}

TEST_F(CoarseningRandomTest, LargePolygonsOfOrderedGridsFollowTheRules) {
  Random random(95);
  for (int round = 0; round < 4; ++round) {
    const Surface surface = flat_grid(30, 30);
    CoarseningOptions options;
    options.resolution = uniform(random, 0.3, 0.5);
    ASSERT_EQ(coarsen(surface, options), coarsen_by_the_book(surface, options)) << text_of(options);
  }
}

TEST_F(CoarseningRandomTest, SecondCoarseningsFollowTheRules) {
  Random random(94);
  for (int round = 0; round < 600; ++round) {
    Surface surface = below(random, 2) == 0 ? random_soup(random) : random_grid(random);
    if (surface.faces.empty()) continue;
    surface.faces = coarsen(surface, random_options(random, surface));
    if (surface.faces.empty()) continue;
    const CoarseningOptions options = random_options(random, surface);
    ASSERT_EQ(coarsen(surface, options), coarsen_by_the_book(surface, options))
        << "round " << round << ", " << text_of(options);
  }
}

TEST_F(CoarseningRandomTest, AHubWithAStrayCostsNoMoreThanItsSize) {
  // Every one of 32,000 attempts would walk 16,000 faces.
  constexpr int kRim = 16000;
  Surface disk;
  disk.points.push_back({0, 0, 0});
  for (int i = 0; i < kRim; ++i) {
    const double angle = 2.0 * std::acos(-1.0) * i / kRim;
    disk.points.push_back({std::cos(angle), std::sin(angle), 0});
    disk.faces.push_back({0, 1 + i, 1 + (i + 1) % kRim});
  }
  disk.points.push_back({0.5, 0.1, 0});
  disk.points.push_back({0.5, 0.2, 0});
  disk.faces.push_back({0, kRim + 1, kRim + 2});
  disk.points.push_back({100, 0, 0});
  SBR body = make_body(disk);
  for (int i = 1; i <= kRim; ++i) SBR_SetInterfaceNode(body, mesh_id(i));
  const std::clock_t start = std::clock();
  SBR_TrimGeometry(body, "0.011,10,0");
  EXPECT_LT(static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC, 10.0);
  EXPECT_EQ(faces_of(body).size(), disk.faces.size());
}

TEST_F(CoarseningRandomTest, PruningGivesWhatAllPairsGive) {
  Random random(3);
  int pruned = 0;
  for (int round = 0; round < 20000; ++round) {
    const int nodes = 2 + below(random, 30);
    std::vector<int> polygon(static_cast<std::size_t>(1 + below(random, 60)));
    for (int &v : polygon) v = below(random, nodes);
    // The last vertices may be no nodes of the table.
    const int listed = std::max(1, nodes - below(random, 4));
    std::vector<bool> in_play(static_cast<std::size_t>(nodes), false);
    sbr::coarse::Mesh mesh;
    ASSERT_TRUE(mesh.marks.allocate(listed) && mesh.group_of.allocate(listed));
    for (int i = 0; i < listed; ++i) {
      in_play[static_cast<std::size_t>(i)] = below(random, 4) != 0;
      mesh.marks[i] = in_play[static_cast<std::size_t>(i)] ? sbr::coarse::kInPlay : 0;
    }
    for (const int v : polygon) ASSERT_TRUE(mesh.polygon.push_back(v));
    sbr::coarse::prune_polygon_loops(mesh);
    const std::vector<int> result(mesh.polygon.begin(), mesh.polygon.end());
    ASSERT_EQ(result, prune_by_the_book(polygon, in_play)) << "round " << round;
    if (result.size() < polygon.size()) pruned += 1;
    // What was marked on the way is forgotten.
    for (int i = 0; i < listed; ++i) ASSERT_EQ(mesh.marks[i] != 0, in_play[static_cast<std::size_t>(i)]);
    for (const unsigned char marks : mesh.marks) ASSERT_LE(marks, sbr::coarse::kInPlay);
  }
  EXPECT_GT(pruned, 5000);
}

TEST_F(CoarseningRandomTest, PruningAPolygonOfOneNodeRepeatedIsNotSlow) {
  constexpr int kVertices = 1000000;
  for (const bool in_play : {false, true}) {
    sbr::coarse::Mesh mesh;
    ASSERT_TRUE(mesh.marks.allocate(1) && mesh.group_of.allocate(1) && mesh.polygon.allocate(kVertices));
    mesh.marks[0] = in_play ? sbr::coarse::kInPlay : 0;
    sbr::coarse::prune_polygon_loops(mesh);
    if (in_play)
      EXPECT_LT(mesh.polygon.count(), 10);
    else
      EXPECT_EQ(mesh.polygon.count(), kVertices);
  }
}

// ---- what a reduction keeps -------------------------------------------------------------------------------

Surface bumpy_grid(Random &random, int n, double height) {
  Surface surface = flat_grid(n, n);
  for (Point &p : surface.points) p[2] = uniform(random, 0, height);
  return surface;
}

TEST_F(CoarseningRandomTest, TheBoundaryStays) {
  Random random(11);
  for (int round = 0; round < 40; ++round) {
    const Surface surface = bumpy_grid(random, 12, 0.1);
    CoarseningOptions options;
    options.resolution = uniform(random, 0.1, 0.4);
    options.angle = 45;
    const Faces faces = coarsen(surface, options);
    EXPECT_LT(faces.size(), surface.faces.size());
    EXPECT_EQ(boundary(faces), boundary(surface.faces));
  }
}

TEST_F(CoarseningRandomTest, AClosedSurfaceStaysClosed) {
  Random random(12);
  for (int round = 0; round < 20; ++round) {
    Surface block = brick_block(4, 5, 6);
    for (Point &p : block.points)
      for (double &c : p) c += uniform(random, -0.02, 0.02);
    SBR body = make_body(block);
    SBR_StripCommonFaces(body);
    ASSERT_TRUE(boundary(faces_of(body)).empty());
    SBR_TrimGeometry(body, "0.2,20,0");
    EXPECT_LT(faces_of(body).size(), 2U * (20 + 24 + 30));
    EXPECT_TRUE(boundary(faces_of(body)).empty());
    SBR_Destroy(body);
  }
}

TEST_F(CoarseningRandomTest, TheAreaOfAPlanarSurfaceStays) {
  Random random(13);
  for (int round = 0; round < 40; ++round) {
    Surface surface = flat_grid(10, 10);
    for (std::size_t i = 0; i < surface.points.size(); ++i)
      for (std::size_t c = 0; c < 2; ++c) surface.points[i][c] += uniform(random, -0.3, 0.3);
    CoarseningOptions options;
    options.resolution = uniform(random, 0.1, 0.4);
    const Faces faces = coarsen(surface, options);
    EXPECT_LT(faces.size(), surface.faces.size());
    EXPECT_NEAR(area(surface, faces), area(surface, surface.faces), 1e-9);
  }
}

TEST_F(CoarseningRandomTest, TheAreaOfABumpySurfaceStaysWithinTheAngle) {
  Random random(14);
  for (int round = 0; round < 20; ++round) {
    const Surface surface = bumpy_grid(random, 15, 0.15);
    CoarseningOptions options;
    options.resolution = 0.1;
    options.angle = 15;
    const double before = area(surface, surface.faces);
    const double after = area(surface, coarsen(surface, options));
    // A fused polygon is a projection of its faces, none of which is steeper against it than the angle, twice.
    EXPECT_LE(after, before * (1 + 1e-9));
    EXPECT_GE(after, before * std::cos(2 * 15 * std::acos(-1.0) / 180));
  }
}

}  // namespace
}  // namespace sbrtest
