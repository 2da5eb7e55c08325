// Node and mode tables: positions, growth, lookups.
#include "body/node_table.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "support/body_state.h"
#include "support/body_view.h"
#include "support/messages.h"

namespace sbrtest {
namespace {

using NodeTableTest = LibraryTest;

TEST_F(NodeTableTest, NodesKeepTheirOrderOfAppearance) {
  SBR body = SBR_Create(10, 2);
  EXPECT_EQ(SBR_AddNode(body, 5), 0);
  EXPECT_EQ(SBR_AddNode(body, 3), 1);
  EXPECT_EQ(SBR_AddNode(body, 9), 2);
  EXPECT_EQ(SBR_NodeIndex(body, 3), 1);
  EXPECT_EQ(SBR_NodeID(body, 1), 3);
  EXPECT_EQ(SBR_NodeCount(body), 3);
  EXPECT_EQ(SBR_ModeNodeCount(body, 0), 3);
  EXPECT_EQ(SBR_ModeNodeID(body, 0, 2), 9);
}

TEST_F(NodeTableTest, ANegativeIdSortsBeforeAllPositiveOnes) {
  SBR body = SBR_Create(10, 2);
  for (const int id : {7, -4, 1}) SBR_AddNode(body, id);
  const auto keys = sbr::sorted_keys(*body, sbr::Kind::shape);
  ASSERT_EQ(keys.size(), 3U);
  EXPECT_EQ(keys[0].id, -4);
  EXPECT_EQ(keys[0].position, 1);
  EXPECT_EQ(keys[2].id, 7);
  EXPECT_EQ(SBR_NodeIndex(body, -4), 1);
}

TEST_F(NodeTableTest, LookupsFindEveryNodeOfALargeTableInAnyOrderOfArrival) {
  SBR body = SBR_Create(10, 2);
  std::vector<int> ids(20000);
  for (std::size_t i = 0; i < ids.size(); ++i) ids[i] = static_cast<int>(3 * i) - 5000;
  std::shuffle(ids.begin(), ids.end(), std::mt19937(7));
  for (std::size_t i = 0; i < ids.size(); ++i) ASSERT_EQ(SBR_LookupOrAddNode(body, ids[i]), static_cast<int>(i));
  for (std::size_t i = 0; i < ids.size(); ++i) {
    ASSERT_EQ(SBR_NodeIndex(body, ids[i]), static_cast<int>(i));
    ASSERT_EQ(SBR_LookupOrAddNode(body, ids[i]), static_cast<int>(i));
    ASSERT_EQ(SBR_NodeIndex(body, ids[i] + 1), -1);
  }
  EXPECT_EQ(SBR_NodeCount(body), 20000);
}

TEST_F(NodeTableTest, StressAndStrainListsPointAtTheirNodesAfterTheTableHasGrown) {
  SBR body = SBR_Create(10, 2);
  for (int id = 1; id <= 1000; ++id) SBR_AddNode(body, id);
  ASSERT_EQ(sbr::kind_position_or_add(*body, sbr::Kind::stress, 700, SBR_NodeIndex(body, 700)), 0);
  ASSERT_EQ(sbr::kind_position_or_add(*body, sbr::Kind::stress, 20, SBR_NodeIndex(body, 20)), 1);
  ASSERT_EQ(sbr::kind_position_or_add(*body, sbr::Kind::strain, 999, SBR_NodeIndex(body, 999)), 0);
  for (int id = 1001; id <= 3500; ++id) SBR_AddNode(body, id);
  EXPECT_EQ(SBR_ModeNodeID(body, 1, 0), 700);
  EXPECT_EQ(SBR_ModeNodeID(body, 1, 1), 20);
  EXPECT_EQ(SBR_ModeNodeID(body, 2, 0), 999);
  EXPECT_EQ(SBR_ModeNodeIndex(body, 1, 20), 1);
  EXPECT_EQ(SBR_ModeNodeIndex(body, 2, 20), -1);
}

TEST_F(NodeTableTest, ADuplicateIdGetsAPlaceOfItsOwn) {
  SBR body = SBR_Create(10, 2);
  SBR_AddNode(body, 4);
  EXPECT_EQ(SBR_AddNode(body, 4), 1);
  EXPECT_EQ(SBR_NodeCount(body), 2);
  const auto keys = sbr::sorted_keys(*body, sbr::Kind::shape);
  EXPECT_EQ(keys[0].position, 0);
  EXPECT_EQ(keys[1].position, 1);
}

TEST_F(NodeTableTest, TheModeTableRefusesMoreThanItsCapacity) {
  SBR body = SBR_Create(10, 2);
  EXPECT_EQ(SBR_AddMode(body, 11), 0);
  EXPECT_EQ(SBR_LookupOrAddMode(body, 12), 1);
  EXPECT_EQ(SBR_LookupOrAddMode(body, 11), 0);
  EXPECT_EQ(SBR_AddMode(body, 13), -1);
  EXPECT_EQ(log.take(), std::vector<Message>{error("Insufficient room for mode 13 in temporary mode shape file.  \n"
                                                   "Specify larger number of modes in SBR_Create.\n")});
  EXPECT_EQ(SBR_ModeCount(body), 2);
  EXPECT_EQ(SBR_ModeNumber(body, 1), 12);
  EXPECT_EQ(SBR_ModeNumber(body, -1), -1);
  EXPECT_EQ(SBR_ModeNumber(body, 2), -1);
  EXPECT_EQ(SBR_ModeIndex(body, 12), 1);
  EXPECT_EQ(SBR_ModeIndex(body, 99), -1);
}

TEST_F(NodeTableTest, AnEmptyKindListHasNoPositions) {
  SBR body = SBR_Create(10, 2);
  SBR_AddNode(body, 1);
  EXPECT_EQ(SBR_ModeNodeIndex(body, 1, 1), -1);
  EXPECT_FALSE(state::has_kind_keys(body, sbr::Kind::stress));
  EXPECT_EQ(SBR_ModeNodeID(body, 1, 0), 0);
  EXPECT_EQ(SBR_ModeNodeCount(body, 3), 0);
  EXPECT_EQ(SBR_ModeNodeIndex(body, -1, 1), -1);
}

TEST_F(NodeTableTest, ABadIndexGivesZeroCoordinatesAndAZeroId) {
  SBR body = SBR_Create(10, 2);
  double xyz[3] = {1, 2, 3};
  EXPECT_EQ(SBR_NodeCoordinates(body, 0, xyz), 0);
  EXPECT_EQ(xyz[0], 1.0) << "without a table the output stays";
  SBR_AddNode(body, 8);
  for (const int index : {-1, 1, 1000000}) {
    double at[3] = {1, 2, 3};
    EXPECT_EQ(SBR_NodeCoordinates(body, index, at), 0);
    EXPECT_EQ(at[0] + at[1] + at[2], 0.0);
    EXPECT_EQ(SBR_NodeID(body, index), 0);
    EXPECT_EQ(SBR_NodalMass(body, index), 0.0);
    double nine[9] = {5};
    EXPECT_EQ(SBR_NodalInertia(body, index, nine), 0);
    EXPECT_EQ(nine[0], 5.0);
  }
}

TEST_F(NodeTableTest, NodalInertiaExpandsToASymmetricMatrix) {
  SBR body = SBR_Create(10, 2);
  SBR_AddNode(body, 8);
  double nine[9];
  EXPECT_EQ(SBR_NodalInertia(body, 0, nine), 0);
  double *six = sbr::node_inertia_or_add(*body, 0);
  for (int i = 0; i < 6; ++i) six[i] = i + 1;
  EXPECT_EQ(SBR_NodalInertia(body, 0, nine), 1);
  EXPECT_EQ(std::vector<double>(nine, nine + 9), (std::vector<double>{1, 4, 5, 4, 2, 6, 5, 6, 3}));
}

TEST_F(NodeTableTest, TheCoordinateListHoldsAllNodesInTableOrder) {
  SBR body = SBR_Create(10, 2);
  int count = -5;
  double xyz[6];
  EXPECT_EQ(SBR_NodeCoordinateList(body, xyz, &count), 0);
  EXPECT_EQ(count, -5);
  SBR_AddNode(body, 8);
  SBR_AddNode(body, 2);
  SBR_SetNodeCoordinates(body, 8, 1.5, 0, 0);
  SBR_SetNodeCoordinates(body, 2, 0, 0, 2.5);
  SBR_SetNodalMass(body, 2, 4.0);
  EXPECT_EQ(SBR_NodeCoordinateList(body, xyz, &count), 1);
  EXPECT_EQ(count, 2);
  EXPECT_EQ(std::vector<double>(xyz, xyz + 6), (std::vector<double>{1.5, 0, 0, 0, 0, 2.5}));
  double mass = 0.0;
  double at[3];
  EXPECT_EQ(SBR_NodalMassAndGeometry(body, 1, &mass, at), 1);
  EXPECT_EQ(mass, 4.0);
  EXPECT_EQ(at[2], 2.5);
  EXPECT_EQ(SBR_NodalMassAndGeometry(body, 2, &mass, at), 0);
  EXPECT_EQ(mass, 0.0);
}

TEST_F(NodeTableTest, ASwapExchangesRecordsButNotWhatTheIdsFind) {
  SBR body = SBR_Create(10, 2);
  SBR_AddNode(body, 10);
  SBR_AddNode(body, 20);
  SBR_SetNodeCoordinates(body, 10, 1, 0, 0);
  SBR_SwapNodesByID(body, 10, 20);
  EXPECT_EQ(SBR_NodeID(body, 0), 20);
  EXPECT_EQ(SBR_NodeID(body, 1), 10);
  EXPECT_EQ(coordinates_of(body, 1)[0], 1.0);
  EXPECT_EQ(SBR_NodeIndex(body, 10), 0) << "the key of 10 still names the place that 20 has taken";
  SBR_SwapNodesByID(body, 10, 999);
  EXPECT_EQ(SBR_NodeID(body, 0), 20);
  EXPECT_TRUE(log.take().empty());
}

TEST_F(NodeTableTest, SelectedModesAreFoundByBinarySearch) {
  const int numbers[] = {-3, 1, 4, 9};
  EXPECT_EQ(SelectedModeIndex(4, numbers, 4), 2);
  EXPECT_EQ(SelectedModeIndex(-3, numbers, 4), 0);
  EXPECT_EQ(SelectedModeIndex(5, numbers, 4), -1);
  EXPECT_EQ(SelectedModeIndex(5, numbers, 0), -1);
  EXPECT_EQ(SelectedModeIndex(5, nullptr, 4), -1);
}

TEST_F(NodeTableTest, KeysCompareAsSignedIntegers) {
  const int low = -1;
  const int high = 1;
  EXPECT_EQ(By_Id(&low, &high), -1);
  EXPECT_EQ(By_Id(&high, &low), 1);
  EXPECT_EQ(By_Id(&low, &low), 0);
}

TEST_F(NodeTableTest, TheBodySizeIsTheDiagonalOfTheFaceNodes) {
  SBR body = SBR_Create(10, 2);
  SBR_SetNodeCoordinates(body, 1, 0, 0, 0);
  SBR_SetNodeCoordinates(body, 2, 3, 0, 0);
  SBR_SetNodeCoordinates(body, 3, 0, 4, 0);
  SBR_SetNodeCoordinates(body, 4, 0, 0, 100);
  EXPECT_EQ(SBR_BodySize(body), 0.0) << "without faces only the first node counts";
  const int corners[] = {1, 2, 3};
  ASSERT_EQ(SBR_SetFaceList(body, 3, corners), 1);
  EXPECT_EQ(SBR_BodySize(body), 5.0);
  SBR_SetNodeCoordinates(body, 2, 30, 0, 0);
  EXPECT_EQ(SBR_BodySize(body), 5.0) << "kept once it is known";
}

TEST_F(NodeTableTest, AFaceIndexOutsideTheTableCountsAsTheOrigin) {
  SBR body = SBR_Create(10, 2);
  SBR_SetNodeCoordinates(body, 1, 2, 0, 0);
  for (const int word : {2, 0, 77}) ASSERT_TRUE(state::face_list(body).push_back(word));
  EXPECT_EQ(SBR_BodySize(body), 2.0);
}

TEST_F(NodeTableTest, ANotANumberBodySizeIsKept) {
  SBR body = SBR_Create(10, 2);
  state::body_size(body) = std::numeric_limits<double>::quiet_NaN();
  EXPECT_TRUE(std::isnan(SBR_BodySize(body)));
}

TEST_F(NodeTableTest, NullHandlesGetTheFailureResults) {
  const Message complaint = error("The database has not been initialized.");
  EXPECT_EQ(SBR_NodeIndex(nullptr, 1), -1);
  EXPECT_EQ(SBR_AddNode(nullptr, 1), -1);
  EXPECT_EQ(SBR_AddMode(nullptr, 1), -1);
  EXPECT_EQ(SBR_LookupOrAddNode(nullptr, 1), -1);
  EXPECT_EQ(SBR_LookupOrAddMode(nullptr, 1), -1);
  EXPECT_EQ(SBR_ModeNodeIndex(nullptr, 1, 1), -1);
  EXPECT_EQ(log.take(), std::vector<Message>(6, complaint));
  double xyz[3] = {1, 2, 3};
  EXPECT_EQ(SBR_NodeCount(nullptr) + SBR_ModeCount(nullptr) + SBR_ModeNodeCount(nullptr, 0), 0);
  EXPECT_EQ(SBR_ModeNodeID(nullptr, 0, 0) + SBR_NodeID(nullptr, 0) + SBR_NodeCoordinates(nullptr, 0, xyz), 0);
  EXPECT_EQ(SBR_ModeIndex(nullptr, 1), -1);
  EXPECT_EQ(SBR_ModeNumber(nullptr, 0), -1);
  EXPECT_EQ(SBR_NodalMass(nullptr, 0), 0.0);
  EXPECT_EQ(SBR_DiscreteMethod(nullptr) + SBR_GetFlexType(nullptr), 0);
  EXPECT_EQ(xyz[1], 2.0);
  EXPECT_TRUE(log.take().empty());
}

TEST_F(NodeTableTest, AKeyTableAnswersAfterAnyMixtureOfRenames) {
  sbr::KeyTable table;
  std::vector<int> id_of(300);
  std::mt19937 random(11);
  for (int i = 0; i < 300; ++i) {
    id_of[static_cast<std::size_t>(i)] = 2 * ((i * 71) % 300);
    ASSERT_TRUE(table.insert(id_of[static_cast<std::size_t>(i)], i));
  }
  for (int step = 0; step < 5000; ++step) {
    const int p = static_cast<int>(random() % 300);
    const int wanted = static_cast<int>(random() % 900);
    const auto holder = std::find(id_of.begin(), id_of.end(), wanted);
    const int old = id_of[static_cast<std::size_t>(p)];
    table.rename(p, wanted);
    if (holder != id_of.end() && holder - id_of.begin() != p) {
      table.rename(static_cast<int>(holder - id_of.begin()), old);
      *holder = old;
    }
    id_of[static_cast<std::size_t>(p)] = wanted;
    ASSERT_EQ(table.find(wanted), p);
    const int probe = static_cast<int>(random() % 900);
    const auto expected = std::find(id_of.begin(), id_of.end(), probe);
    ASSERT_EQ(table.find(probe), expected == id_of.end() ? -1 : static_cast<int>(expected - id_of.begin()));
    if (step % 500 == 0) {
      const auto keys = table.sorted();
      ASSERT_TRUE(std::is_sorted(keys.begin(), keys.end(), [](auto &a, auto &b) { return a.id < b.id; }));
    }
  }
}

// The literal model: an array in ascending order of the IDs, equal ones in order of arrival, searched by bisection.
int found_by_bisection(const std::vector<int> &ids, int id) {
  std::vector<sbr::NodeKey> keys;
  for (std::size_t i = 0; i < ids.size(); ++i) keys.push_back({ids[i], static_cast<int>(i)});
  std::stable_sort(keys.begin(), keys.end(), [](auto &a, auto &b) { return a.id < b.id; });
  const sbr::NodeKey key{id, 0};
  const auto *found =
      static_cast<const sbr::NodeKey *>(std::bsearch(&key, keys.data(), keys.size(), sizeof(sbr::NodeKey), By_Id));
  return found == nullptr ? -1 : found->position;
}

TEST_F(NodeTableTest, AKeyTableWithRepeatedIdsAnswersAsTheSortedArrayWould) {
  std::mt19937 random(5);
  for (int round = 0; round < 20; ++round) {
    sbr::KeyTable table;
    std::vector<int> ids;
    for (int step = 0; step < 300; ++step) {
      const int id = static_cast<int>(random() % 200);
      ASSERT_TRUE(table.insert(id, static_cast<int>(ids.size())));
      ids.push_back(id);
      const int probe = static_cast<int>(random() % 220);
      ASSERT_EQ(table.find(probe), found_by_bisection(ids, probe)) << "round " << round << " step " << step;
    }
    table.shift_ids(7);
    for (int &id : ids) id += 7;
    for (int probe = 0; probe < 230; ++probe) ASSERT_EQ(table.find(probe), found_by_bisection(ids, probe));
  }
}

TEST_F(NodeTableTest, RenamesAmongRepeatedIdsFindANodeOfThatId) {
  std::mt19937 random(6);
  sbr::KeyTable table;
  std::vector<int> ids;
  for (int i = 0; i < 300; ++i) {
    ids.push_back(static_cast<int>(random() % 200));
    ASSERT_TRUE(table.insert(ids.back(), i));
  }
  for (int step = 0; step < 3000; ++step) {
    const auto p = random() % 300;
    const int wanted = static_cast<int>(random() % 300);
    const int old = ids[p];
    const int q = table.find(wanted);
    if (q == static_cast<int>(p)) continue;
    table.rename(static_cast<int>(p), wanted);
    ids[p] = wanted;
    if (q >= 0) {
      ASSERT_EQ(ids[static_cast<std::size_t>(q)], wanted);
      table.rename(q, old);
      ids[static_cast<std::size_t>(q)] = old;
    }
    const int probe = static_cast<int>(random() % 300);
    const int found = table.find(probe);
    if (std::count(ids.begin(), ids.end(), probe) == 0)
      ASSERT_EQ(found, -1) << step;
    else
      ASSERT_EQ(ids.at(static_cast<std::size_t>(found)), probe) << step;
  }
}

TEST_F(NodeTableTest, ASwapReportsANullHandleOnce) {
  SBR_SwapNodesByID(nullptr, 1, 2);
  EXPECT_EQ(log.take(), std::vector<Message>{error("The database has not been initialized.")});
}

}  // namespace
}  // namespace sbrtest
