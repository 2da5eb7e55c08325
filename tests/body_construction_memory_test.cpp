// Every allocation of every setter fails in turn: the setter gives its failure result and says so, or does without the
// memory; the body stays whole, and the same call succeeds when there is memory again.
#include <functional>

#include "support/allocations.h"
#include "support/body_state.h"
#include "support/messages.h"

namespace sbrtest {
namespace {

struct Call {
  const char *name;
  const char *unit;  // what the report of a failed allocation names
  std::function<bool(SBR)> run;
};

// Of every list there is nothing yet, so that each call has to make its own.
SBR fresh_body() {
  SBR body = SBR_Create(4, 4);
  SBR_AddNode(body, 1);
  SBR_AddMode(body, 1);
  SBR_AddMode(body, 2);
  return body;
}

constexpr double kSix[6] = {1, 2, 3, 4, 5, 6};

int set_face(SBR body) {
  const int ids[] = {1, 1000, 1001};
  return SBR_SetFaceList(body, 3, ids);
}

bool monitor_operator(SBR body) {
  return SBR_SetMonitorPointInfo(body, 1, 1, 1, 1, kSix, "N", "L") >= 0 &&
         SBR_SetMonitorPointOperator(body, SBR_GetMonitorPointCount(body) - 1, 1, kSix) == 0;
}

bool matrix_operator(SBR body) {
  return SBR_SetMatrixOperatorInfo(body, "N", nullptr, 2) >= 0 &&
         SBR_SetMatrixOperatorData(body, SBR_GetMatrixOperatorCount(body) - 1, "T", 3, kSix) >= 0;
}

std::vector<Call> calls() {
  return {
      {"inertia", "sbrset", [](SBR b) { return SBR_SetNodalInertia(b, 1, 1, 2, 3, 4, 5, 6) == 1; }},
      {"inertia entry", "sbrset", [](SBR b) { return SBR_SetNodalInertiaEntry(b, 1, 1, 2, 3) == 1; }},
      {"face", "sbrset", [](SBR b) { return set_face(b) == 1; }},
      {"interface node", "sbrset", [](SBR b) { return SBR_SetInterfaceNode(b, 1) == 1; }},
      {"pre-stress", "sbrset", [](SBR b) { return SBR_SetPreStressVec(b, 1, kSix) == 1; }},
      {"pre-strain", "sbrset", [](SBR b) { return SBR_SetPreStrainVec(b, 1, kSix) == 1; }},
      {"stiffness", "sbrset", [](SBR b) { return SBR_SetGeneralizedStiffness(b, 1, 1, 1) == 1; }},
      {"mass", "sbrset", [](SBR b) { return SBR_SetGeneralizedMass(b, 1, 1, 1) == 1; }},
      {"damping", "sbrset", [](SBR b) { return SBR_SetGeneralizedDamping(b, 1, 1, 1) == 1; }},
      {"modal load", "sbrset", [](SBR b) { return SBR_SetModalLoad(b, 3, 1, 1) == 1; }},
      {"modal load label", "sbrset", [](SBR b) { return SBR_SetModalLoadLabel(b, 2, "x") == 1; }},
      {"nodal load", "sbrset", [](SBR b) { return SBR_SetModalLoadNodal(b, 2, 1, 1, 1) == 1; }},
      {"preload", "sbrset", [](SBR b) { return SBR_SetModalPreload(b, 1, 1) == 1; }},
      {"monitor point", "sbrmonpnt", monitor_operator},
      {"matrix operator", "sbrmtxop", matrix_operator},
  };
}

bool reports_no_memory(const std::vector<Message> &messages) {
  return messages.size() == 1 && (messages[0].text.rfind("Failed to allocate memory at line ", 0) == 0 ||
                                  messages[0].text.rfind("Failed to allocate memory for Pre-Str", 0) == 0);
}

using ConstructionMemoryTest = LibraryTest;

TEST_F(ConstructionMemoryTest, EveryFailedAllocationIsReportedOnceAndTheCallSucceedsLater) {
  int cases = 0;
  for (const Call &call : calls()) {
    for (int n = 1; n < 100; ++n) {
      SBR body = fresh_body();
      log.clear();
      bool good = false;
      bool happened = false;
      {
        const FailingAllocation failing(n);
        good = call.run(body);
        happened = failing.happened();
      }
      if (!happened) {
        EXPECT_TRUE(good) << call.name;
        EXPECT_GT(n, 1) << call.name << " allocates nothing";
        break;
      }
      ++cases;
      const std::vector<Message> complaints = log.take_complaints();
      if (!good) {
        EXPECT_TRUE(reports_no_memory(complaints))
            << call.name << ", allocation " << n << ": " << ::testing::PrintToString(complaints);
      } else {
        EXPECT_TRUE(complaints.empty()) << call.name << ", allocation " << n;
      }
      EXPECT_TRUE(call.run(body)) << call.name << " after allocation " << n << " failed";
      SBR_Destroy(body);
    }
  }
  RecordProperty("failed_allocations", cases);
  EXPECT_GT(cases, 30);
}

TEST_F(ConstructionMemoryTest, TheUnitsOfTheReports) {
  for (const Call &call : calls()) {
    if (std::string(call.name).rfind("pre-", 0) == 0) continue;
    SBR body = fresh_body();
    log.clear();
    {
      const FailingAllocation failing(1);
      EXPECT_FALSE(call.run(body)) << call.name;
    }
    const std::vector<Message> complaints = log.take_complaints();
    ASSERT_EQ(complaints.size(), 1U) << call.name;
    EXPECT_TRUE(is_no_memory(complaints[0], call.unit)) << call.name << complaints[0].text;
  }
}

TEST_F(ConstructionMemoryTest, PreStressAndPreStrainReportInTheirOwnWords) {
  for (const int kind : {1, 2}) {
    SBR body = fresh_body();
    // The node is in the kind's list already, so the vector's own allocation is the first.
    EXPECT_EQ(SBR_SetMode(body, 1, 1, kind, 1, 1, 1, 1, 1, 1), 1);
    log.clear();
    {
      const FailingAllocation failing(1);
      EXPECT_EQ(SBR_SetModeVec(body, 0, 1, kind, kSix), 0);
    }
    const std::string word = kind == 1 ? "Pre-Stress" : "Pre-Strain";
    ASSERT_EQ(log.all().size(), 1U);
    EXPECT_EQ(log.all()[0].text.rfind("Failed to allocate memory for " + word + " at line ", 0), 0U);
    EXPECT_NE(log.all()[0].text.find(" in file sbrset.\n"), std::string::npos);
    EXPECT_EQ(SBR_SetModeVec(body, 0, 1, kind, kSix), 1);
  }
}

TEST_F(ConstructionMemoryTest, ModesAreEnteredWithoutMemoryForWaitingValues) {
  for (int n = 1; n <= 2; ++n) {
    SBR body = fresh_body();
    // The file is there; what the next write allocates is its waiting room.
    EXPECT_EQ(SBR_SetMode(body, 1, 1, 0, 1, 1, 1, 1, 1, 1), 1);
    double three[3] = {};
    SBR_ModeByNodeWithoutCache(body, 1, 0, 1, three, 0);
    state::pending_modes(body, sbr::Kind::shape).runs.release();
    state::pending_modes(body, sbr::Kind::shape).values.release();
    {
      const FailingAllocation failing(n);
      EXPECT_EQ(SBR_SetMode(body, 2, 1, 0, 7, 8, 9, 1, 1, 1), 1);
      EXPECT_TRUE(failing.happened());
    }
    EXPECT_EQ(SBR_SetMode(body, 1, 1, 0, 4, 5, 6, 1, 1, 1), 1);
    EXPECT_EQ(SBR_ModeByNodeWithoutCache(body, 2, 0, 1, three, 0), 1);
    EXPECT_EQ(three[0], 7.0);
    EXPECT_EQ(SBR_ModeByNodeWithoutCache(body, 1, 0, 1, three, 0), 1);
    EXPECT_EQ(three[0], 4.0);
  }
}

TEST_F(ConstructionMemoryTest, ARecordThatFoundNoMemoryLeavesAnEmptyPlace) {
  SBR body = fresh_body();
  {
    const FailingAllocation failing(2);
    EXPECT_EQ(SBR_SetMonitorPointInfo(body, 1, 1, 1, 1, kSix, "N", "L"), -1);
  }
  EXPECT_EQ(SBR_GetMonitorPointCount(body), 1);
  EXPECT_EQ(SBR_GetMonitorPointType(body, 0), -1);
  EXPECT_EQ(SBR_MonitorPointHasOperator(body, 0, 1), 0);
  EXPECT_EQ(SBR_SetMonitorPointInfo(body, 1, 1, 1, 1, kSix, "N", "L"), 1);
  {
    const FailingAllocation failing(2);
    EXPECT_EQ(SBR_SetMatrixOperatorInfo(body, "N", nullptr, 0), -1);
  }
  EXPECT_EQ(SBR_GetMatrixOperatorCount(body), 1);
  EXPECT_EQ(SBR_GetMatrixOperatorNumRows(body, 0), -1);
  EXPECT_EQ(SBR_GetMatrixOperatorNumSubOperator(body, 0), 0);
}

}  // namespace
}  // namespace sbrtest
