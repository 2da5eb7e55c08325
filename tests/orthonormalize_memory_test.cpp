// Every allocation of orthonormalization fails in turn.
#include <filesystem>
#include <vector>

#include "support/allocations.h"
#include "support/body_state.h"
#include "support/body_view.h"
#include "support/files.h"
#include "support/messages.h"
#include "support/modal_body.h"

namespace sbrtest {
namespace {

using OrthonormalizationMemoryTest = LibraryTest;

SBR make_body(bool full) {
  SBR body = make_loaded_body(full);
  for (int m = 1; m <= 3; ++m) SBR_SetModalPreload(body, m, m);
  return body;
}

// A body that make_body made, and nothing has changed since.
void expect_untouched(SBR body, bool full, int n) {
  SBR fresh = make_body(full);
  for (int m = 1; m <= 3; ++m) {
    EXPECT_EQ(whole_mode_of(body, m, 0), whole_mode_of(fresh, m, 0)) << n;
    EXPECT_EQ(whole_mode_of(body, m, 1), whole_mode_of(fresh, m, 1)) << n;
  }
  EXPECT_FALSE(state::eigen_table(body)) << n;
  EXPECT_TRUE(transformation_of(body).empty()) << n;
  EXPECT_EQ(SBR_NumberOfGenMass(body), SBR_NumberOfGenMass(fresh)) << n;
  EXPECT_EQ(SBR_NumberOfGenStiff(body), SBR_NumberOfGenStiff(fresh)) << n;
  EXPECT_EQ(modal_load_of(body, 0)[2], 3.0) << n;
  EXPECT_EQ(modal_preload_of(body)[1], 2.0) << n;
  double row[3] = {};
  EXPECT_EQ(SBR_GetMonitorPointOperator(body, 0, 1, row), 0) << n;
  EXPECT_EQ(row[1], 2.0) << n;
  SBR_DeReference(fresh);
}

TEST_F(OrthonormalizationMemoryTest, AnyFailedAllocationIsReportedAndHarmless) {
  for (const bool full : {true, false}) {
    int tried = 0;
    for (int n = 1;; ++n) {
      ASSERT_LT(n, 500);
      SBR body = make_body(full);
      log.clear();
      bool happened = false;
      int result = -1;
      {
        const FailingAllocation failing(n);
        result = SBR_OrthoNormalize(body);
        happened = failing.happened();
      }
      if (!happened) {
        EXPECT_EQ(result, 1);
        EXPECT_TRUE(log.take_complaints().empty());
        SBR_DeReference(body);
        break;
      }
      ++tried;
      if (result == 0) {
        EXPECT_FALSE(log.take_complaints().empty()) << n;
        expect_untouched(body, full, n);
        EXPECT_EQ(SBR_OrthoNormalize(body), 1) << n;
      }
      EXPECT_EQ(SBR_IsValid(body), 1);
      SBR_DeReference(body);
    }
    EXPECT_GT(tried, full ? 20 : 8);
  }
}

TEST_F(OrthonormalizationMemoryTest, TheEigenproblemNeedsItsMemoryBeforeItChangesTheBody) {
  // The first allocations are those of the transformation and of the eigenproblem.
  for (int n = 1; n <= 13; ++n) {
    SBR body = make_body(true);
    const std::vector<double> before = whole_mode_of(body, 2, 0);
    SBR_SetKeepModesInMemory(body, 0);
    log.clear();
    {
      const FailingAllocation failing(n);
      EXPECT_EQ(SBR_OrthoNormalize(body), 0) << n;
      EXPECT_TRUE(failing.happened());
    }
    const auto complaints = log.take_complaints();
    ASSERT_EQ(complaints.size(), 1u);
    EXPECT_TRUE(is_no_memory(complaints[0], "sbrwrite"));
    EXPECT_TRUE(transformation_of(body).empty());
    EXPECT_EQ(SBR_NumberOfGenMass(body), 6);
    EXPECT_EQ(SBR_NumberOfGenStiff(body), 6);
    EXPECT_EQ(whole_mode_of(body, 2, 0), before);
    EXPECT_EQ(SBR_OrthoNormalize(body), 1);
    SBR_DeReference(body);
  }
}

TEST_F(OrthonormalizationMemoryTest, SmallOperationsReportTheirMemory) {
  struct Call {
    const char *name;
    int (*run)(SBR);
  };
  const Call calls[] = {
      {"table", [](SBR b) { return SBR_EnsureEigenTable(b); }},
      {"scales",
       [](SBR b) {
         double *scale = nullptr;
         const int result = SBR_MassNormalizationScales(b, &scale);
         SBR_FreeMemory(scale);
         return result;
       }},
      {"monitor points",
       [](SBR b) {
         const double T[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
         return SBR_TransformMonitorPoints(b, T);
       }},
      {"modes",
       [](SBR b) {
         const double T[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
         return SBR_TransformModes(b, 0, 3, T);
       }},
  };
  for (const Call &call : calls) {
    SBR body = make_body(false);
    log.clear();
    {
      const FailingAllocation failing(1);
      EXPECT_EQ(call.run(body), 0) << call.name;
    }
    const auto found = log.take_complaints();
    ASSERT_EQ(found.size(), 1u) << call.name;
    EXPECT_TRUE(is_no_memory(found[0], "sbrwrite")) << call.name;
    EXPECT_EQ(call.run(body), 1) << call.name;
    SBR_DeReference(body);
  }
}

TEST_F(OrthonormalizationMemoryTest, NoFailureLeavesAFileBehind) {
  const ScratchDirectory scratch;
  const ScopedEnvironment directory("TMP", scratch.path().string());
  for (int n = 1; n <= 40; ++n) {
    SBR body = make_body(n % 2 == 0);
    {
      const FailingAllocation failing(n);
      SBR_OrthoNormalize(body);
    }
    SBR_DeReference(body);
    EXPECT_TRUE(std::filesystem::is_empty(scratch.path())) << n;
  }
}

}  // namespace
}  // namespace sbrtest
