// Renumbering of nodes and the re-expression of a body in another frame.
#include <array>
#include <climits>
#include <vector>

#include "body/node_table.h"
#include "support/body_state.h"
#include "support/messages.h"

namespace sbrtest {
namespace {

class RenumberingTest : public LibraryTest {
 protected:
  RenumberingTest() {
    for (const int id : {10, 20, 30, 40}) SBR_SetNodeCoordinates(body, id, id, 0, 0);
    const double six[6] = {1, 2, 3, 4, 5, 6};
    SBR_SetModeVec(body, 1, 20, 1, six);
    SBR_SetModeVec(body, 1, 40, 1, six);
    SBR_SetModeVec(body, 1, 30, 2, six);
    SBR_SetInterfaceNode(body, 20);
    SBR_SetInterfaceNode(body, 30);
    log.clear();
  }
  [[nodiscard]] std::vector<int> ids() const {
    std::vector<int> all;
    for (int i = 0; i < SBR_NodeCount(body); ++i) all.push_back(SBR_NodeID(body, i));
    return all;
  }
  // Every ID finds its node, in the node table and in the lists of stress and strain.
  void expect_consistent() const {
    for (int i = 0; i < SBR_NodeCount(body); ++i) EXPECT_EQ(SBR_NodeIndex(body, SBR_NodeID(body, i)), i);
    for (int kind = 1; kind < 3; ++kind)
      for (int p = 0; p < SBR_ModeNodeCount(body, kind); ++p)
        EXPECT_EQ(SBR_ModeNodeIndex(body, kind, SBR_ModeNodeID(body, kind, p)), p) << kind;
    for (int kind = 0; kind < 3; ++kind) {
      const auto keys = sbr::sorted_keys(*body, sbr::kKinds[kind]);
      for (std::size_t i = 1; i < keys.size(); ++i) EXPECT_LT(keys[i - 1].id, keys[i].id);
    }
  }
  SBR body = SBR_Create(10, 1);
};

TEST_F(RenumberingTest, AnOffsetShiftsEveryId) {
  EXPECT_EQ(SBR_RenumberNodes(body, 5), 1);
  EXPECT_EQ(ids(), (std::vector<int>{15, 25, 35, 45}));
  EXPECT_EQ(SBR_NodeIndex(body, 20), -1);
  expect_consistent();
  EXPECT_EQ(SBR_RenumberNodes(body, -14), 1);
  EXPECT_EQ(ids(), (std::vector<int>{1, 11, 21, 31}));
  expect_consistent();
}

TEST_F(RenumberingTest, AnOffsetThatTakesAnIdBelowOneOrBeyondTheRangeIsRefused) {
  EXPECT_EQ(SBR_RenumberNodes(body, -10), 0);
  EXPECT_EQ(SBR_RenumberNodes(body, INT_MAX), 0);
  EXPECT_EQ(SBR_RenumberNodes(body, INT_MIN), 0);
  EXPECT_EQ(ids(), (std::vector<int>{10, 20, 30, 40}));
  expect_consistent();
}

TEST_F(RenumberingTest, InterfaceNodesTakeFreeIdsInEveryList) {
  const int fresh[] = {7, 99};
  EXPECT_EQ(SBR_RenumberInterfaceNodes(body, 2, fresh), 1);
  EXPECT_EQ(ids(), (std::vector<int>{10, 7, 99, 40}));
  EXPECT_EQ(SBR_ModeNodeIndex(body, 1, 7), 0);
  EXPECT_EQ(SBR_ModeNodeIndex(body, 2, 99), 0);
  expect_consistent();
}

TEST_F(RenumberingTest, AnIdThatANodeHasAlreadyChangesNothing) {
  const int same[] = {20};
  EXPECT_EQ(SBR_RenumberInterfaceNodes(body, 1, same), 1);
  EXPECT_EQ(ids(), (std::vector<int>{10, 20, 30, 40}));
  expect_consistent();
}

TEST_F(RenumberingTest, TheIdOfAnotherNodeIsExchanged) {
  // 20 and 40 have stress both; 30 and 10: strain and nothing.
  const int taken[] = {40, 10};
  EXPECT_EQ(SBR_RenumberInterfaceNodes(body, 2, taken), 1);
  EXPECT_EQ(ids(), (std::vector<int>{30, 40, 10, 20}));
  EXPECT_EQ(SBR_ModeNodeIndex(body, 1, 40), 0);
  EXPECT_EQ(SBR_ModeNodeIndex(body, 1, 20), 1);
  EXPECT_EQ(SBR_ModeNodeIndex(body, 2, 10), 0);
  EXPECT_EQ(SBR_ModeNodeIndex(body, 2, 30), -1);
  expect_consistent();
}

TEST_F(RenumberingTest, AnExchangeWithANodeThatAloneHasStressMovesItsKey) {
  const int taken[] = {20, 40};  // 20 stays; 30 (no stress) takes 40 (stress)
  EXPECT_EQ(SBR_RenumberInterfaceNodes(body, 2, taken), 1);
  EXPECT_EQ(ids(), (std::vector<int>{10, 20, 40, 30}));
  EXPECT_EQ(SBR_ModeNodeIndex(body, 1, 30), 1);
  EXPECT_EQ(SBR_ModeNodeIndex(body, 1, 40), -1);
  expect_consistent();
}

TEST_F(RenumberingTest, EachStepSeesTheStepsBefore) {
  const int chain[] = {30, 20};  // 20 <-> 30, and then the second interface node, now 20, is at its goal
  EXPECT_EQ(SBR_RenumberInterfaceNodes(body, 2, chain), 1);
  EXPECT_EQ(ids(), (std::vector<int>{10, 30, 20, 40}));
  expect_consistent();
}

TEST_F(RenumberingTest, SurplusIdsAreIgnoredWithAWarning) {
  const int many[] = {1, 2, 3, 4};
  EXPECT_EQ(SBR_RenumberInterfaceNodes(body, 4, many), 1);
  EXPECT_EQ(log.take(),
            std::vector<Message>{warning("Too many interface ID are given. Only the first 2 will be used.\n")});
  EXPECT_EQ(ids(), (std::vector<int>{10, 1, 2, 40}));
  EXPECT_EQ(SBR_RenumberInterfaceNodes(body, 0, nullptr), 1);
  EXPECT_EQ(SBR_RenumberInterfaceNodes(body, -3, nullptr), 1);
  EXPECT_EQ(SBR_RenumberInterfaceNodes(body, 1, nullptr), 0);
  EXPECT_EQ(SBR_RenumberInterfaceNodes(nullptr, 1, many), 0);
}

TEST_F(RenumberingTest, APermutationMovesScalesAndCutsTheModeCount) {
  SBR_SetNodalMass(body, 10, 2.0);
  SBR_SetNodalInertia(body, 10, 1, 2, 3, 4, 5, 6);
  state::global(body).center[0] = 7.0;
  const double origin[3] = {10, 1, 0};
  // A quarter turn about z; vectors move with its transpose as row vectors, that is with the matrix itself as columns.
  const double R[9] = {0, -1, 0, 1, 0, 0, 0, 0, 1};
  EXPECT_EQ(SBR_PermuteSBR(body, origin, 0, 3.0, nullptr, R), 1);
  EXPECT_EQ(SBR_ModeCount(body), 0);
  EXPECT_EQ(SBR_NodalMass(body, 0), 6.0);
  double nine[9];
  ASSERT_EQ(SBR_NodalInertia(body, 0, nine), 1);
  EXPECT_EQ(nine[0], 3.0);
  EXPECT_EQ(nine[5], 18.0);
  double at[3];
  SBR_NodeCoordinates(body, 1, at);
  // (20, 0, 0) - (10, 1, 0) = (10, -1, 0); R (10, -1, 0)^T = (1, 10, 0).
  EXPECT_EQ((std::array<double, 3>{at[0], at[1], at[2]}), (std::array<double, 3>{1, 10, 0}));
  EXPECT_EQ(state::global(body).center[0], 1.0);
  EXPECT_EQ(state::global(body).center[1], -3.0);
  EXPECT_EQ(SBR_PermuteSBR(body, nullptr, 0, 1.0, nullptr, R), 0);
  EXPECT_EQ(SBR_PermuteSBR(nullptr, origin, 0, 1.0, nullptr, R), 0);
}

TEST_F(RenumberingTest, APermutationCutsWhatHasAValuePerMode) {
  SBR two = SBR_Create(1, 2);
  const double six[6] = {1, 2, 3, 4, 5, 6};
  for (int mode = 1; mode <= 2; ++mode) SBR_SetModeVec(two, mode, 7, 0, six);
  const double location[3] = {0, 0, 0};
  const double rows[4] = {1, 2, 3, 4};
  SBR_SetMonitorPointInfo(two, 1, 1, 12, 1, location, "POINT", "label");
  SBR_SetMonitorPointOperator(two, 0, 1, rows);
  const double first[3] = {1, 2, 3};
  const double second[3] = {4, 5, 6};
  SBR_SetInvar3(two, 1, first);
  SBR_SetInvar3(two, 2, second);
  const double unit[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
  ASSERT_EQ(SBR_PermuteSBR(two, location, 1, 1.0, nullptr, unit), 1);
  double left[2] = {};
  ASSERT_EQ(SBR_GetMonitorPointOperator(two, 0, 1, left), 0);
  EXPECT_EQ((std::array<double, 2>{left[0], left[1]}), (std::array<double, 2>{1, 3}));
  double *third = SBR_Invar3(two);
  EXPECT_EQ((std::vector<double>{third, third + 3}), (std::vector<double>{1, 2, 3}));
  SBR_FreeMemory(third);
}

TEST_F(RenumberingTest, AUnitDiagonalSkipsTheRotation) {
  const double origin[3] = {0, 0, 0};
  const double sheared[9] = {1, 5, 0, 0, 1, 0, 0, 0, 1};
  EXPECT_EQ(SBR_PermuteSBR(body, origin, 1, 1.0, nullptr, sheared), 1);
  double at[3];
  SBR_NodeCoordinates(body, 1, at);
  EXPECT_EQ(at[1], 0.0);
  EXPECT_TRUE(log.take().empty()) << "no mode file was rewritten";
}

TEST_F(RenumberingTest, PreprocessingDropsWhatAPermutationMadeStale) {
  SBR_SetGeneralizedMass(body, 1, 1, 2.0);
  SBR_SetGeneralizedStiffness(body, 1, 1, 3.0);
  SBR_SetGeneralizedDamping(body, 1, 1, 4.0);
  SBR_SetNodalMass(body, 10, 2.0);
  state::modes_not_orthogonal(body) = 1;
  EXPECT_EQ(SBR_PreprocessBAPSBR(body), 1);
  EXPECT_EQ(SBR_Exists(body, 8), 0);
  EXPECT_EQ(SBR_NodalMass(body, 0), 2.0) << "the masses stay in the nodes";
  EXPECT_EQ(SBR_NumberOfGenDamp(body), 0);
  EXPECT_EQ(SBR_NumberOfGenMass(body), 1) << "no list: the mode count";
  EXPECT_EQ(state::modes_not_orthogonal(body), 0);
  EXPECT_EQ(SBR_PreprocessBAPSBR(nullptr), 0);
}

}  // namespace
}  // namespace sbrtest
