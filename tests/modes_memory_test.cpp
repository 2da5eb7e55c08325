// Mode data when memory is short, and what does not ask for memory at all.
#include <vector>

#include "support/allocations.h"
#include "support/body_state.h"
#include "support/files.h"
#include "support/messages.h"

namespace sbrtest {
namespace {

using Values = std::vector<double>;

class ModeMemoryTest : public LibraryTest {
 protected:
  static Values stored(SBR body, int mode, int kind) {
    Values values(6 * static_cast<std::size_t>(SBR_ModeNodeCount(body, kind)));
    return SBR_Read_Mode_Double(body, mode, kind, values.data()) != 0 ? values : Values{};
  }
  ScratchDirectory scratch;
  ScopedEnvironment tmp{"TMP", scratch.path().string()};
};

TEST_F(ModeMemoryTest, ACacheWithoutASlotCostsNoCopyOfThePart) {
  // One part of 50,000 nodes is larger than the smallest budget there is.
  const ScopedEnvironment budget("SBR_MAX_MODE_MEMORY", "1");
  constexpr int kNodes = 50000;
  SBR body = SBR_Create(kNodes, 1);
  for (int id = 1; id <= kNodes; ++id) ASSERT_EQ(SBR_SetMode(body, 1, id, 0, id, 2, 3, 4, 5, 6), 1);
  double three[3];
  ASSERT_EQ(SBR_ModeByNode(body, 1, 0, 1, three, 0), 1);
  for (const int id : {1, 2, kNodes}) {
    const FailingAllocation any(1);
    ASSERT_EQ(SBR_ModeByNode(body, 1, 0, id, three, 0), 1);
    EXPECT_EQ(three[0], id);
    EXPECT_FALSE(any.happened());
  }
  EXPECT_EQ(state::cache_limit(body), 0);
  EXPECT_EQ(state::cached_parts(body), 0);
}

TEST_F(ModeMemoryTest, GrowthThatFindsNoMemoryLeavesTheStore) {
  for (int kind = 0; kind < 3; ++kind) {
    int failures = 0;
    for (int n = 1; n < 100; ++n) {
      SBR body = SBR_Create(2, 2);
      for (const int mode : {1, 2})
        for (const int id : {1, 2}) ASSERT_EQ(SBR_SetMode(body, mode, id, kind, mode, id, 3, 4, 5, 6), 1);
      SBR_SetNodeCoordinates(body, 3, 0, 0, 0);
      ASSERT_FALSE(stored(body, 1, kind).empty());
      log.clear();
      int result = 0;
      bool happened = false;
      {
        const FailingAllocation failing(n);
        result = SBR_SetMode(body, 2, 3, kind, 2, 3, 3, 4, 5, 6);
        happened = failing.happened();
      }
      const std::vector<Message> complaints = log.take_complaints();
      if (result == 0) {
        failures += 1;
        ASSERT_EQ(complaints.size(), 1U) << n;
        EXPECT_TRUE(is_no_memory(complaints[0], "sbrdata")) << complaints[0].text;
      } else {
        EXPECT_TRUE(complaints.empty()) << n;
      }
      EXPECT_EQ(SBR_SetMode(body, 2, 3, kind, 2, 3, 3, 4, 5, 6), 1) << "the next call has its memory";
      EXPECT_EQ(stored(body, 1, kind), (Values{1, 1, 3, 4, 5, 6, 1, 2, 3, 4, 5, 6, 0, 0, 0, 0, 0, 0})) << n;
      EXPECT_EQ(stored(body, 2, kind), (Values{2, 1, 3, 4, 5, 6, 2, 2, 3, 4, 5, 6, 2, 3, 3, 4, 5, 6})) << n;
      SBR_DeReference(body);
      if (!happened) break;
    }
    EXPECT_GE(failures, 3) << "a name, a table of places, a record";
  }
}

TEST_F(ModeMemoryTest, AReservationThatFoundNoMemoryIsRepairedByTheNextCall) {
  for (int n = 1; n < 100; ++n) {
    SBR body = SBR_Create(3, 2);
    for (const int mode : {1, 2}) ASSERT_GE(SBR_AddMode(body, mode), 0);
    for (const int id : {1, 2}) SBR_SetNodeCoordinates(body, id, 0, 0, 0);
    bool happened = false;
    {
      const FailingAllocation failing(n);
      SBR_SetMode(body, 1, 1, 0, 1, 2, 3, 4, 5, 6);
      happened = failing.happened();
    }
    log.clear();
    for (const int mode : {2, 1})
      for (const int id : {2, 1}) ASSERT_EQ(SBR_SetMode(body, mode, id, 0, mode, id, 3, 4, 5, 6), 1) << n;
    EXPECT_TRUE(log.take_complaints().empty()) << n;
    for (const int mode : {1, 2})
      EXPECT_EQ(stored(body, mode, 0), (Values{1.0 * mode, 1, 3, 4, 5, 6, 1.0 * mode, 2, 3, 4, 5, 6})) << n;
    SBR_DeReference(body);
    if (!happened) break;
  }
}

}  // namespace
}  // namespace sbrtest
