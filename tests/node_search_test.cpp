// Node search: closest node, closest few, neighbourhood, and their different tie rules.
#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "support/messages.h"

namespace sbrtest {
namespace {

class NodeSearchTest : public LibraryTest {
 protected:
  void add(double x, double y, double z) { ASSERT_EQ(SBR_SetNodeCoordinates(body, next_id++, x, y, z), 1); }
  std::vector<int> closest(std::vector<double> point, int how_many, int interface_only = 0) {
    int count = -1;
    int *found = SBR_ClosestNodes(body, point.data(), how_many, interface_only, &count);
    std::vector<int> nodes(found, found + (found != nullptr ? count : 0));
    EXPECT_EQ(count, static_cast<int>(nodes.size()));
    SBR_FreeMemory(found);
    return nodes;
  }
  std::vector<int> within(std::vector<double> point, double radius, int interface_only = 0) {
    int count = -1;
    int *found = SBR_ClosestNodesInNeighborhood(body, point.data(), radius, interface_only, &count);
    std::vector<int> nodes(found, found + (found != nullptr ? count : 0));
    EXPECT_EQ(count, static_cast<int>(nodes.size()));
    SBR_FreeMemory(found);
    return nodes;
  }
  int walk(const double *p) const {
    int best = -1;
    double best_distance = 0.0;
    for (int i = 0; i < SBR_NodeCount(body); ++i) {
      double at[3];
      SBR_NodeCoordinates(body, i, at);
      const double dx = p[0] - at[0];
      const double dy = p[1] - at[1];
      const double dz = p[2] - at[2];
      const double d = dx * dx + dy * dy + dz * dz;
      if (best < 0 || d < best_distance) {
        best = i;
        best_distance = d;
      }
    }
    return best;
  }

  SBR body = SBR_Create(10, 1);
  int next_id = 100;
};

TEST_F(NodeSearchTest, OfEquallyCloseNodesTheEarliestIsTheClosest) {
  add(1, 0, 0);
  add(-1, 0, 0);
  const double origin[3] = {0, 0, 0};
  EXPECT_EQ(SBR_ClosestNode(body, origin, 0), 0);
}

TEST_F(NodeSearchTest, ClosestNodesListsTiesInTableOrderAndTheNeighbourhoodInReverse) {
  add(1, 0, 0);
  add(-1, 0, 0);
  add(0, 0.5, 0);
  EXPECT_EQ(closest({0, 0, 0}, 3), (std::vector<int>{2, 0, 1}));
  EXPECT_EQ(within({0, 0, 0}, 1.0), (std::vector<int>{2, 1, 0}));
}

TEST_F(NodeSearchTest, TheInterfaceFlagFallsBackToAllNodesInOneSearchOnly) {
  add(1, 0, 0);
  const double origin[3] = {0, 0, 0};
  EXPECT_EQ(SBR_ClosestNode(body, origin, 1), 0);
  EXPECT_TRUE(closest({0, 0, 0}, 4, 1).empty());
  EXPECT_TRUE(within({0, 0, 0}, 4, 1).empty());
  EXPECT_TRUE(log.take().empty());
}

TEST_F(NodeSearchTest, InterfaceNodesAreSearchedInTheirOwnOrder) {
  add(5, 0, 0);
  add(1, 0, 0);
  add(-1, 0, 0);
  for (const int node : {2, 1}) ASSERT_EQ(SBR_SetInterfaceNode(body, SBR_NodeID(body, node)), 1);
  const double origin[3] = {0, 0, 0};
  EXPECT_EQ(SBR_ClosestNode(body, origin, 1), 2);
  EXPECT_EQ(closest({0, 0, 0}, 5, 1), (std::vector<int>{2, 1}));
  EXPECT_EQ(within({0, 0, 0}, 5, 1), (std::vector<int>{1, 2}));
}

TEST_F(NodeSearchTest, AskingForMoreNodesThanThereAreGivesAllSorted) {
  add(3, 0, 0);
  add(1, 0, 0);
  add(2, 0, 0);
  EXPECT_EQ(closest({0, 0, 0}, 100), (std::vector<int>{1, 2, 0}));
  EXPECT_EQ(closest({0, 0, 0}, 2), (std::vector<int>{1, 2}));
  EXPECT_TRUE(closest({0, 0, 0}, 0).empty());
}

TEST_F(NodeSearchTest, ARadiusOfZeroFindsANodeOnThePoint) {
  add(3, 4, 5);
  add(3, 4, 6);
  EXPECT_EQ(within({3, 4, 5}, 0.0), (std::vector<int>{0}));
}

TEST_F(NodeSearchTest, EmptyTablesNullsAndOddNumbersAreHarmless) {
  const double origin[3] = {0, 0, 0};
  EXPECT_EQ(SBR_ClosestNode(body, origin, 0), -1);
  EXPECT_EQ(SBR_ClosestNode(body, nullptr, 0), -1);
  EXPECT_TRUE(closest({0, 0, 0}, 3).empty());
  add(std::nan(""), 0, 0);
  add(1, 0, 0);
  EXPECT_EQ(SBR_ClosestNode(body, origin, 0), 1);
  EXPECT_EQ(closest({0, 0, 0}, 2), (std::vector<int>{1, 0}));
  EXPECT_EQ(within({0, 0, 0}, 2.0), (std::vector<int>{1}));
  int count = 7;
  EXPECT_EQ(SBR_ClosestNodes(nullptr, origin, 1, 0, &count), nullptr);
  EXPECT_EQ(count, 0);
  EXPECT_EQ(log.take(), std::vector<Message>{error("The database has not been initialized.")});
  EXPECT_EQ(SBR_ClosestNodes(body, origin, -1, 0, &count), nullptr);
  EXPECT_TRUE(is_no_memory(log.take().at(0), "sbrtools"));
}

TEST_F(NodeSearchTest, TheIndexedSearchEqualsAWalkOverAllNodesTiesIncluded) {
  std::mt19937 random(3);
  // A coarse lattice with repeats gives many exact ties.
  for (int i = 0; i < 6000; ++i) add(random() % 17, random() % 17, random() % 17);
  for (int i = 0; i < 600; ++i) {
    const double p[3] = {static_cast<double>(random() % 70) / 4 - 0.5, static_cast<double>(random() % 70) / 4 - 0.5,
                         static_cast<double>(random() % 70) / 4 - 0.5};
    ASSERT_EQ(SBR_ClosestNode(body, p, 0), walk(p)) << i;
  }
}

TEST_F(NodeSearchTest, MovingTheBodyIsSeenByLaterSearches) {
  std::mt19937 random(3);
  for (int i = 0; i < 3000; ++i) add(random() % 1000, random() % 1000, 0);
  const double p[3] = {500, 500, 0};
  for (int i = 0; i < 100; ++i) SBR_ClosestNode(body, p, 0);
  add(500, 500, 0);
  EXPECT_EQ(SBR_ClosestNode(body, p, 0), walk(p));
  const double origin[3] = {250, 250, 0};
  const double unit[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
  for (int i = 0; i < 100; ++i) SBR_ClosestNode(body, p, 0);
  SBR_PermuteSBR(body, origin, 0, 1.0, nullptr, unit);
  EXPECT_EQ(SBR_ClosestNode(body, p, 0), walk(p));
}

TEST_F(NodeSearchTest, EveryOperationThatMovesNodesIsSeen) {
  std::mt19937 random(9);
  for (int i = 0; i < 3000; ++i) add(random() % 1000, random() % 1000, random() % 10);
  for (int i = 0; i < 6; ++i) SBR_SetNodalMass(body, 100 + i, 1.0 + i);
  SBR_SetUnits(body, "KILOGRAM", "METER", "SECOND", "NEWTON");
  const double x[3] = {1, 0, 0};
  const double origin[3] = {0, 0, 0};
  const std::vector<std::function<void()>> moves = {
      [&] { SBR_SetNodeCoordinates(body, 150, 500, 500, 0.25); },
      [&] { SBR_Translate(body, x, 250.0); },
      [&] { SBR_Rotate(body, x, origin, 30.0); },
      [&] { SBR_Mirror(body, x, origin); },
      [&] { SBR_SetUnits(body, "KILOGRAM", "CENTIMETER", "SECOND", "NEWTON"); },
      [&] { SBR_ShiftLBRFtoCM(body); },
      [&] { SBR_SwapNodesByID(body, 100, 101); }};
  const double p[3] = {500, 500, 0.5};
  for (const auto &move : moves) {
    for (int i = 0; i < 40; ++i) SBR_ClosestNode(body, p, 0);
    move();
    for (int i = 0; i < 40; ++i) ASSERT_EQ(SBR_ClosestNode(body, p, 0), walk(p));
  }
}

}  // namespace
}  // namespace sbrtest
