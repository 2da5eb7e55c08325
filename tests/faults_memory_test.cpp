// Every allocation of whole scenarios failed in turn, once and from then on: no crash, nothing lost, nothing wrong
// without a word. SBRKIT_FAULTS=all tries every case; without it a share of them is tried.
#include "faults/scenario.h"
#include "support/allocations.h"

namespace sbrtest::faults {
namespace {

constexpr long kSample = 60;

class FailingMemory : public ScenarioTest {
 protected:
  // Runs the scenario once; gives what is wrong, and whether the allocation came.
  std::pair<std::string, bool> try_case(long n, Failing how, const Reference &reference) const {
    std::optional<FailingAllocation> failing;
    bool happened = false;
    const Faults faults{[&] { failing.emplace(n, how); },
                        [&] {
                          happened = failing->happened();
                          failing.reset();
                        }};
    return {try_once(scenario, *place, faults, &reference, nullptr), happened};
  }
  [[nodiscard]] long count_allocations(const Reference &reference) const {
    std::optional<FailingAllocation> none;
    long count = 0;
    const Faults counting{[&] { none.emplace(0); },
                          [&] {
                            count = none->seen();
                            none.reset();
                          }};
    EXPECT_EQ(try_once(scenario, *place, counting, &reference, nullptr), "");
    return count;
  }
};

TEST_P(FailingMemory, IsReportedAndHarmsNothing) {
  Reference reference;
  ASSERT_EQ(try_once(scenario, *place, {}, nullptr, &reference), "");
  const long count = count_allocations(reference);
  long cases = 0;
  for (const Failing how : {Failing::once, Failing::from_then_on}) {
    for (const long n : cases_to_try(count, kSample)) {
      const std::int64_t before = memory_in_use().blocks;
      const auto [wrong, happened] = try_case(n, how, reference);
      if (wrong.empty()) {
        EXPECT_EQ(memory_in_use().blocks, before) << "a leak at allocation " << n;
      }
      EXPECT_EQ(wrong, "") << "allocation " << n << " of " << count << (how == Failing::once ? "" : " and all behind");
      EXPECT_TRUE(happened) << n;
      ++cases;
    }
  }
  std::printf("%s: %ld allocations, %ld cases\n", scenario.name.c_str(), count, cases);
}

INSTANTIATE_TEST_SUITE_P(Scenarios, FailingMemory, ::testing::ValuesIn(scenario_names()), scenario_test_name);

}  // namespace
}  // namespace sbrtest::faults
