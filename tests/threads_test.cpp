// Bodies in many threads: each handle with one user at a time, the registry and the handlers shared by all.
#include <barrier>
#include <mutex>
#include <thread>

#include "support/bracket.h"
#include "support/files.h"
#include "support/messages.h"
#include "support/modal_body.h"
#include "support/record_builder.h"

namespace sbrtest {
namespace {

constexpr int kThreads = 16;
constexpr int kRounds = 12;

class ThreadsTest : public LibraryTest {
 protected:
  ThreadsTest() { full_record(0x13C).write(common); }
  // Runs the work in all threads at once; gives what they found wrong.
  template <class Work>
  std::vector<std::string> in_all_threads(Work work) {
    std::vector<std::string> wrong(kThreads);
    std::barrier start(kThreads);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
      threads.emplace_back([&, t] {
        start.arrive_and_wait();
        for (int round = 0; round < kRounds && wrong[static_cast<std::size_t>(t)].empty(); ++round)
          wrong[static_cast<std::size_t>(t)] = work(t);
      });
    for (std::thread &thread : threads) thread.join();
    return wrong;
  }
  [[nodiscard]] std::string own(const char *what, int t) const { return scratch.file(what + std::to_string(t)); }

  ScratchDirectory scratch;
  ScopedEnvironment tmp{"TMP", scratch.path().string()};
  ScopedEnvironment options{"KTX_SBRWRITE_OPTIONS", "no_ortho no_xdr"};
  const std::string common = scratch.file("common.sbr");
};

// Reads, moves, writes and reads back a record of its own. Gives what it has written and what it has read there.
std::string work_on_a_body(const std::string &input, const std::string &output) {
  SBR body = SBR_CreateFromSBR(input.c_str());
  if (body == nullptr) return "not opened";
  const double axis[] = {1, 2, 3};
  const double point[] = {0.5, 0, 0};
  SBR_Rotate(body, axis, point, 20.0);
  SBR_SetUnits(body, "GRAM", "MILLIMETER", "SECOND", "NEWTON");
  double *invariant = SBR_Invar4(body);
  SBR_FreeMemory(invariant);
  const bool written = SBR_write_SBR(body, output.c_str()) == 1;
  SBR_DeReference(body);
  if (!written) return "not written";
  SBR again = SBR_CreateFromSBR(output.c_str());
  if (again == nullptr) return "not read back";
  std::string found;
  for (const double value : whole_mode_of(again, 2, 0)) found += std::to_string(value) + " ";
  SBR_DeReference(again);
  return found + read_file(output);
}

TEST_F(ThreadsTest, SixteenThreadsOnBodiesOfTheirOwnDoWhatOneDoes) {
  for (int t = 0; t < kThreads; ++t) std::filesystem::copy_file(common, own("in", t));
  const std::string expected = work_on_a_body(common, scratch.file("alone"));
  ASSERT_GT(expected.size(), 1000U);
  const auto wrong = in_all_threads([&](int t) -> std::string {
    return work_on_a_body(own("in", t), own("out", t)) == expected ? "" : "another result";
  });
  EXPECT_EQ(wrong, std::vector<std::string>(kThreads));
}

TEST_F(ThreadsTest, AFileThatAllThreadsOpenByItsNameIsOneHandleAtATime) {
  std::mutex one_user;
  SBR first = SBR_CreateFromSBR(common.c_str());
  const auto wrong = in_all_threads([&](int) -> std::string {
    SBR body = SBR_CreateFromSBR(common.c_str());
    if (body != first || SBR_IsValid(body) == 0) return "another handle";
    {
      const std::lock_guard hold(one_user);
      if (whole_mode_of(body, 1, 0).size() != 18) return "no mode";
    }
    SBR_DeReference(body);
    return "";
  });
  EXPECT_EQ(wrong, std::vector<std::string>(kThreads));
  SBR_DeReference(first);
  EXPECT_EQ(SBR_IsValid(first), 0) << "every reference was given back";
}

TEST_F(ThreadsTest, AFileThatNobodyHoldsIsOpenedAndLetGoByAllThreads) {
  const auto wrong = in_all_threads([&](int t) -> std::string {
    SBR body = t % 4 == 0 ? SBR_CreateFromSBR_SurfaceMesh(common.c_str()) : SBR_CreateFromSBR(common.c_str());
    if (body == nullptr || SBR_IsValid(body) == 0) return "not opened";
    SBR_DeReference(body);
    return "";
  });
  EXPECT_EQ(wrong, std::vector<std::string>(kThreads));
  SBR next = SBR_Create(1, 1);
  EXPECT_EQ(SBR_Destroy(next), nullptr) << "the registry is empty";
}

TEST_F(ThreadsTest, BodiesAreBuiltAndEndedInAllThreads) {
  const auto wrong = in_all_threads([&](int t) -> std::string {
    SBR body = build_bracket();
    const bool written = SBR_write_SBR(body, own("built", t).c_str()) == 1;
    SBR_DeReference(body);
    return written ? "" : "not written";
  });
  EXPECT_EQ(wrong, std::vector<std::string>(kThreads));
}

// Plain memory: calls at the same time would be a data race, and be missing from the count.
int reports = 0;

TEST_F(ThreadsTest, HandlersAreCalledOneAtATime) {
  const message_handlers counting{[](const char *) {
                                    ++reports;
                                    return SBR_Info("a handler may report itself");
                                  },
                                  nullptr, [](const char *) { return ++reports; }};
  SetMessageHandlers(&counting);
  reports = 0;
  in_all_threads([](int) -> std::string {
    for (int i = 0; i < 100; ++i) CheckSBR(nullptr);
    return "";
  });
  SetMessageHandlers(nullptr);
  EXPECT_EQ(reports, 2 * kThreads * kRounds * 100);
}

}  // namespace
}  // namespace sbrtest
