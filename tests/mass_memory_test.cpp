// Every allocation of the invariants, of the projections and of the small solver failed in turn.
#include <algorithm>
#include <functional>
#include <optional>
#include <string>

#include "support/allocations.h"
#include "support/body_state.h"
#include "support/files.h"
#include "support/mass_body.h"
#include "support/messages.h"

namespace sbrtest {
namespace {

class InvariantMemory : public LibraryTest {
 protected:
  // Fails the first, second, third allocation of an operation until one no longer comes; gives the number tried. The
  // operation gets a body that is fresh each time, with its modes uncached.
  int fail_each(const std::function<void(SBR, bool)> &operation) {
    for (int n = 1;; ++n) {
      SBR body = random_mass_body(41, 12, 8).build();
      set_frequencies(body, {0, 0, 0, 0, 0, 0, 100, 200});
      for (int j = 0; j < 8; ++j)
        SBR_SetGeneralizedDamping(body, SBR_ModeNumber(body, j), SBR_ModeNumber(body, j), 1.0);
      for (int j = 0; j < 8; ++j) SBR_SetModalLoad(body, 0, SBR_ModeNumber(body, j), 1.0);
      SBR_SetKeepModesInMemory(body, 0);
      log.clear();
      bool happened = false;
      {
        const FailingAllocation failing(n);
        operation(body, true);
        happened = failing.happened();
      }
      operation(body, false);  // the body is usable as before
      SBR_UnLink(body);
      if (!happened) return n - 1;
    }
  }
  const ScopedEnvironment no_threshold{"SBR_RIGID_BODY_THRESHOLD", std::nullopt};
};

// Asks for an array; without a failure it must come, with one it may be missing.
void expect_array(double *values, bool failing) {
  if (!failing) {
    EXPECT_NE(values, nullptr);
  }
  SBR_FreeMemory(values);
}

TEST_F(InvariantMemory, AccessorsReportAndRecover) {
  EXPECT_GE(fail_each([](SBR body, bool failing) {
              if (!failing) {
                EXPECT_GT(SBR_Invar1(body), 0.0);
              }
              if (failing) SBR_Invar1(body);
            }),
            1);
  EXPECT_GE(fail_each([](SBR body, bool failing) { expect_array(SBR_Invar2(body), failing); }), 2);
  EXPECT_GE(fail_each([](SBR body, bool failing) { expect_array(SBR_Invar3(body), failing); }), 3);
  EXPECT_GE(fail_each([](SBR body, bool failing) { expect_array(SBR_Invar4(body), failing); }), 3);
  EXPECT_GE(fail_each([](SBR body, bool failing) { expect_array(SBR_Invar6(body), failing); }), 1);
  EXPECT_GE(fail_each([](SBR body, bool failing) { expect_array(SBR_Invar7(body), failing); }), 2);
  EXPECT_GE(fail_each([](SBR body, bool failing) { expect_array(SBR_Invar8(body, 1), failing); }), 3);
}

TEST_F(InvariantMemory, AFailedCopyIsReportedWithTheUnit) {
  SBR body = random_mass_body(41, 3, 2).build();
  SBR_FreeMemory(SBR_Invar2(body));
  log.clear();
  const FailingAllocation failing(1);
  EXPECT_EQ(SBR_Invar2(body), nullptr);
  const std::vector<Message> messages = log.take();
  ASSERT_EQ(messages.size(), 1U);
  EXPECT_TRUE(is_no_memory(messages[0], "sbrinvar"));
}

TEST_F(InvariantMemory, PairInvariantsFailOrComeOutRight) {
  const MassBody mass = random_mass_body(41, 12, 8);
  EXPECT_GE(fail_each([&](SBR body, bool failing) {
              const OwnedDoubles row = own(SBR_Invar5(body, 2));
              if (!failing) {
                ASSERT_NE(row, nullptr);
              }
              if (row) {
                EXPECT_NEAR(row[8 + 5], static_cast<double>(mass.invariant5(2, 5)[1]), 1e-12);
              }
            }),
            8);
}

TEST_F(InvariantMemory, EntryReportsAndRecovers) {
  const double v[9] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
  const std::function<int(SBR)> entries[] = {
      [&](SBR body) { return SBR_SetInvar1(body, 1.0); },
      [&](SBR body) { return SBR_SetInvar2(body, v); },
      [&](SBR body) { return SBR_SetInvar3(body, 100, v); },
      [&](SBR body) { return SBR_SetInvar4(body, 100, v); },
      [&](SBR body) { return SBR_SetInvar5(body, 100, 49, v); },
      [&](SBR body) { return SBR_SetInvar7(body, v); },
      [&](SBR body) { return SBR_SetInvar8(body, 100, v); },
      [&](SBR body) { return SBR_SetInvar9(body, 100, 49, v); },
  };
  for (const auto &entry : entries) {
    const int tried = fail_each([&](SBR body, bool failing) {
      const int result = entry(body);
      if (!failing) {
        EXPECT_EQ(result, 1);
      }
      if (failing && result == 0) {
        const std::vector<Message> messages = log.take();
        ASSERT_EQ(messages.size(), 1U);
        EXPECT_TRUE(is_no_memory(messages[0], "sbrinvar"));
      }
    });
    EXPECT_EQ(tried, 1);
  }
}

TEST_F(InvariantMemory, GlobalMassSurvivesMissingInvariants) {
  const double center[3] = {};
  const double inertia[9] = {};
  EXPECT_GE(fail_each([&](SBR body, bool) {
              EXPECT_EQ(SBR_SetGlobalMass(body, 2.0, center, inertia), 1);
              EXPECT_EQ(state::global(body).mass, 2.0);
              EXPECT_EQ(SBR_CalculateGlobalMassFromNodeMass(body), 1);
            }),
            3);
}

TEST_F(InvariantMemory, DampingIsCarriedWholeOrNotAtAll) {
  EXPECT_GE(fail_each([](SBR body, bool failing) {
              const int result = SBR_DampingOnPrincipalAxes(body);
              if (!failing) {
                EXPECT_EQ(result, 1);
              }
              EXPECT_EQ(state::damping_on_principal_axes(body), result);
              if (result == 0) {
                EXPECT_EQ(SBR_NumberOfGenDamp(body), 8);
              }
            }),
            5);
}

TEST_F(InvariantMemory, SelectedDampingFailsOrFillsTheRows) {
  EXPECT_GE(fail_each([](SBR body, bool failing) {
              double values[8][8];
              double *rows[8];
              for (int i = 0; i < 8; ++i) rows[i] = values[i];
              const int selected[2] = {43, 106};
              const int result = SBR_GenDampPrincipalAndSelected(body, rows, 2, selected);
              if (!failing) {
                EXPECT_EQ(result, 1);
              }
              if (result == 1) {
                EXPECT_EQ(values[6][6], 1.0);
              }
            }),
            8);
}

TEST_F(InvariantMemory, AFailedProjectionLeavesTheLoad) {
  for (const std::optional<std::string> &by_fit : {std::optional<std::string>(), std::optional<std::string>("1")}) {
    const ScopedEnvironment environment("KTX_MFORCE_NO_FEA_MASS", by_fit);
    const auto carry = [&](SBR body, bool failing) {
      if (!failing) return;
      SBR_RigidBodyForcesOnPrincipalAxes(body);
      const auto &values = state::modal_loads(body)[0]->values;  // a copy would need memory
      const bool kept = std::all_of(values.begin(), values.end(), [](double value) { return value == 1.0; });
      const std::vector<Message> messages = log.take();
      EXPECT_EQ(kept, !messages.empty());
      for (const Message &message : messages) EXPECT_EQ(message.severity, Severity::error) << message.text;
      EXPECT_EQ(SBR_ModalLoadProcessed(body, 0), 1);
    };
    EXPECT_GE(fail_each(carry), 1);
  }
}

TEST_F(InvariantMemory, TheSolverReportsAndLeavesTheMatrix) {
  double a[2] = {2, 0};
  double b[2] = {0, 4};
  double *rows[2] = {a, b};
  int permutation[2];
  ASSERT_EQ(SBR_LUPDecomposition(rows, 2, permutation), 1);
  for (int n = 1; n <= 3; ++n) {
    const FailingAllocation failing(n);
    EXPECT_EQ(SBR_LUPInvert(rows, 2, permutation), 0);
    EXPECT_TRUE(failing.happened());
  }
  EXPECT_EQ(a[0], 2.0);
  const std::vector<Message> messages = log.take();
  ASSERT_EQ(messages.size(), 3U);
  for (const Message &message : messages) EXPECT_TRUE(is_no_memory(message, "sbrtools"));
  EXPECT_EQ(SBR_LUPInvert(rows, 2, permutation), 1);
  EXPECT_EQ(a[0], 0.5);
}

}  // namespace
}  // namespace sbrtest
