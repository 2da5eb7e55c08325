// Every system call of whole scenarios that touches files failed in turn, once and from then on, interrupted and cut
// short: whoever makes it, the library, the XDR library or the database's own. SBRKIT_FAULTS=all tries every case;
// without it a share of them is tried.
#include <sys/mman.h>
#include <sys/wait.h>

#include <cstring>

#include "faults/calls.h"
#include "faults/scenario.h"

namespace sbrtest::faults {
namespace {

constexpr long kSample = 6;
class FailingCalls : public ScenarioTest {
 protected:
  FailingCalls() {
    void *memory = mmap(nullptr, kTextSize, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) throw std::runtime_error("no shared memory");
    text_ = static_cast<char *>(memory);
  }
  ~FailingCalls() override { munmap(text_, kTextSize); }

  // Runs the scenario in a process of its own; gives what is wrong.
  std::string try_case(Dealer &dealer, const Reference &reference) {
    std::memset(text_, 0, kTextSize);
    SteppedProcess process([&] {
      const std::string wrong = try_once(scenario, *place, {mark_begin, mark_end}, &reference, nullptr);
      wrong.copy(text_, kTextSize - 1);
      return 0;
    });
    const int status = process.finish_under([&](const SystemCall &call) { return dealer(call); });
    if (WIFSIGNALED(status)) return std::string("ended by ") + strsignal(WTERMSIG(status));
    return text_;
  }

 private:
  static constexpr std::size_t kTextSize = 1 << 16;
  char *text_ = nullptr;
};

TEST_P(FailingCalls, AreReportedAndHarmNothing) {
  if (!SteppedProcess::can_deal_fates()) GTEST_SKIP() << "system calls cannot be changed on this processor";
  Reference reference;
  ASSERT_EQ(try_once(scenario, *place, {}, nullptr, &reference), "");
  std::string counts;
  long counted = 0;
  long cases = 0;
  for (const CallFault &fault : all_call_faults()) {
    Dealer counting(fault, 0);
    ASSERT_EQ(try_case(counting, reference), "");
    const long count = counting.countdown().seen;
    counted += count;
    if (fault.failing == Failing::once) counts += " " + std::to_string(count) + " x " + fault.name;
    for (const long n : cases_to_try(count, kSample)) {
      Dealer dealer(fault, n);
      EXPECT_EQ(try_case(dealer, reference), "") << dealer.words(count);
      // A run can do with fewer calls than the one that was counted: what is tidied up once stays so.
      cases += dealer.countdown().happened() ? 1 : 0;
    }
  }
  EXPECT_EQ(cases > 0, counted > 0);
  std::printf("%s:%s, %ld cases\n", scenario.name.c_str(), counts.c_str(), cases);
}

INSTANTIATE_TEST_SUITE_P(Scenarios, FailingCalls, ::testing::ValuesIn(scenario_names()), scenario_test_name);

}  // namespace
}  // namespace sbrtest::faults
