// Stripping of shared faces: which faces stay, in what order, from which vertex on.
#include <algorithm>
#include <map>
#include <random>
#include <set>

#include "support/body_state.h"
#include "support/meshes.h"
#include "support/messages.h"

namespace sbrtest {
namespace {

class StrippingTest : public LibraryTest {
 protected:
  static SBR body_with(const Faces &faces, int nodes = 8) {
    Surface surface{{}, faces};
    for (int i = 0; i < nodes; ++i) surface.points.push_back({static_cast<double>(i), 0, 0});
    return make_body(surface);
  }
  static Faces strip(const Faces &faces) {
    SBR body = body_with(faces);
    SBR_StripCommonFaces(body);
    Faces left = faces_of(body);
    SBR_Destroy(body);
    return left;
  }
};

TEST_F(StrippingTest, TwoBricksLoseTheFaceTheyShare) {
  SBR body = make_body(brick_block(2, 1, 1));
  EXPECT_EQ(face_count(body), 12);
  log.clear();
  SBR_StripCommonFaces(body);
  EXPECT_EQ(log.take(), (std::vector<Message>{info(" Stripping interior faces\n")}));
  // Node (x, y, z) is 6 z + 3 y + x. Each face starts at its largest node; ordered by that node, then by the others
  // read towards the larger neighbour.
  EXPECT_EQ(faces_of(body), (Faces{{4, 1, 0, 3},
                                   {5, 2, 1, 4},
                                   {7, 6, 0, 1},
                                   {8, 7, 1, 2},
                                   {9, 3, 0, 6},
                                   {10, 4, 3, 9},
                                   {10, 9, 6, 7},
                                   {11, 8, 2, 5},
                                   {11, 5, 4, 10},
                                   {11, 10, 7, 8}}));
  EXPECT_EQ(face_words(body).size(), 50U);
}

TEST_F(StrippingTest, ACopyWithTheSameWindingGoes) {
  EXPECT_EQ(strip({{0, 1, 2, 3}, {2, 3, 0, 1}}), (Faces{{3, 0, 1, 2}}));
}

TEST_F(StrippingTest, ManyCopiesWithTheSameWindingLeaveOne) {
  EXPECT_EQ(strip({{0, 1, 2}, {1, 2, 0}, {2, 0, 1}, {0, 1, 2}}), (Faces{{2, 0, 1}}));
}

TEST_F(StrippingTest, ACopyWithTheOppositeWindingTakesBoth) {
  EXPECT_EQ(strip({{0, 1, 2, 3}, {1, 0, 3, 2}, {4, 5, 6}}), (Faces{{6, 4, 5}}));
}

TEST_F(StrippingTest, FacesOfTheSameNodesInAnotherOrderDiffer) {
  EXPECT_EQ(strip({{0, 1, 2, 3}, {0, 2, 1, 3}}).size(), 2U);
}

TEST_F(StrippingTest, FewerVerticesComeFirst) {
  EXPECT_EQ(strip({{0, 1, 2, 3}, {7, 6, 5}, {4, 3}, {6}}), (Faces{{6}, {4, 3}, {7, 6, 5}, {3, 0, 1, 2}}));
}

TEST_F(StrippingTest, DirectionCountsTowardsTheLargerNeighbour) {
  // Both start at 5. The first runs 5 1 2 4, so it is read backwards as 4 2 1; the second as 3 2 0.
  EXPECT_EQ(strip({{5, 1, 2, 4}, {5, 3, 2, 0}}), (Faces{{5, 3, 2, 0}, {5, 1, 2, 4}}));
}

TEST_F(StrippingTest, TheLastFaceGoesWhenThePairBeforeItWasUsedUp) {
  // Three copies, winding one way, the other, and the first again: the first two go as a pair, the third one because it
  // equals the second with the opposite winding.
  EXPECT_EQ(strip({{0, 1, 2}, {2, 1, 0}, {0, 1, 2}}), Faces{});
  // With another face behind them the third copy stays.
  EXPECT_EQ(strip({{0, 1, 2}, {2, 1, 0}, {0, 1, 2}, {0, 1, 3}}), (Faces{{2, 0, 1}, {3, 0, 1}}));
}

TEST_F(StrippingTest, EqualFacesKeepTheOrderOfTheList) {
  EXPECT_EQ(strip({{0, 1, 2}, {0, 1, 2}, {2, 1, 0}, {0, 1, 3}}), (Faces{{3, 0, 1}}));
}

TEST_F(StrippingTest, ASingleFaceIsTurnedToItsLargestNode) { EXPECT_EQ(strip({{1, 4, 2}}), (Faces{{4, 2, 1}})); }

TEST_F(StrippingTest, ARepeatedLargestNodeStartsAtItsFirstPlace) {
  EXPECT_EQ(strip({{1, 5, 2, 5, 3}}), (Faces{{5, 2, 5, 3, 1}}));
}

TEST_F(StrippingTest, LargePolygonsAreComparedInFull) {
  EXPECT_EQ(strip({{0, 1, 2, 3, 4, 5, 6}, {6, 5, 4, 3, 2, 1, 0}, {0, 1, 2, 4, 3, 5, 6}}),
            (Faces{{6, 0, 1, 2, 4, 3, 5}}));
}

TEST_F(StrippingTest, RunsOnce) {
  SBR body = body_with({{0, 1, 2}});
  SBR_StripCommonFaces(body);
  set_faces(body, {{0, 1, 2}, {0, 2, 1}});
  log.clear();
  SBR_StripCommonFaces(body);
  EXPECT_TRUE(log.take().empty());
  EXPECT_EQ(faces_of(body), (Faces{{0, 1, 2}, {0, 2, 1}}));
}

TEST_F(StrippingTest, AnEmptyListIsAnAllocationFailure) {
  SBR body = SBR_Create(1, 1);
  SBR_StripCommonFaces(body);
  const std::vector<Message> messages = log.take();
  ASSERT_EQ(messages.size(), 1U);
  EXPECT_TRUE(is_no_memory(messages[0], "sbrtools"));
  EXPECT_EQ(state::internal_geometry_removed(body), 0);
}

TEST_F(StrippingTest, ANullHandleIsReported) {
  SBR_StripCommonFaces(nullptr);
  EXPECT_EQ(log.take(), (std::vector<Message>{error("The database has not been initialized.")}));
}

TEST_F(StrippingTest, DamagedListsLeaveTheirSoundFaces) {
  SBR body = body_with({});
  set_face_words(body, 9, {0, 3, 0, 1, 2, 1, 7, 2, -5, 70000, 4, 0, 1});
  SBR_StripCommonFaces(body);
  EXPECT_EQ(faces_of(body), (Faces{{}, {7}, {70000, -5}, {2, 0, 1}}));
}

// Counts of the copies of each polygon, whatever their start and winding.
std::multiset<std::vector<int>> canonical(const Faces &faces) {
  std::multiset<std::vector<int>> result;
  for (const auto &face : faces) {
    std::vector<int> best;
    for (int flip = 0; flip < 2; ++flip)
      for (std::size_t start = 0; start < face.size(); ++start) {
        std::vector<int> turned = face;
        std::rotate(turned.begin(), turned.begin() + static_cast<std::ptrdiff_t>(start), turned.end());
        if (flip != 0) std::reverse(turned.begin(), turned.end());
        if (best.empty() || turned < best) best = turned;
      }
    result.insert(best);
  }
  return result;
}

TEST_F(StrippingTest, ABlockOfBricksKeepsTheFacesThatOnlyOneBrickHas) {
  const Surface block = brick_block(4, 3, 5);
  const auto all = canonical(block.faces);
  std::multiset<std::vector<int>> expected;
  for (const auto &face : all)
    if (all.count(face) == 1) expected.insert(face);
  Faces shuffled = block.faces;
  std::mt19937 random(5);
  std::shuffle(shuffled.begin(), shuffled.end(), random);
  SBR body = make_body({block.points, shuffled});
  SBR_StripCommonFaces(body);
  EXPECT_EQ(canonical(faces_of(body)), expected);
  EXPECT_EQ(faces_of(body).size(), 2U * (12 + 15 + 20));
  EXPECT_TRUE(boundary(faces_of(body)).empty());
}

}  // namespace
}  // namespace sbrtest
