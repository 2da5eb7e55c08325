// Large tables: where they begin, what they hold, and what is refused.
#include "base/large_table.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>

namespace sbrtest {
namespace {

template <class T>
bool is_zero(const sbr::LargeTable<T> &table) {
  return std::all_of(table.begin(), table.end(), [](const T &value) { return value == T{}; });
}

TEST(LargeTableTest, BeginsAtALineOrALargePageAndIsZero) {
  for (const std::int64_t count : {1, 3, 1000, 524287, 524288, 600001, 3000000}) {
    sbr::LargeTable<std::int32_t> table;
    ASSERT_TRUE(table.allocate(count));
    ASSERT_EQ(table.size(), static_cast<std::size_t>(count));
    const std::size_t step = count * 4 >= static_cast<std::int64_t>(sbr::kLargePage) ? sbr::kLargePage : 64;
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(table.data()) % step, 0U) << count;
    EXPECT_TRUE(is_zero(table)) << count;
    // Every element is the table's own, the last one too.
    std::fill(table.begin(), table.end(), 7);
    EXPECT_EQ(table[count - 1], 7);
  }
}

TEST(LargeTableTest, IsZeroInMemoryThatWasUsedBefore) {
  for (int round = 0; round < 3; ++round) {
    sbr::LargeTable<std::int32_t> table;
    ASSERT_TRUE(table.allocate(700000));
    EXPECT_TRUE(is_zero(table)) << round;
    std::fill(table.begin(), table.end(), -1);
  }
}

TEST(LargeTableTest, GrowsWithWhatItHolds) {
  sbr::LargeTable<std::int32_t> table;
  ASSERT_TRUE(table.grow(5));
  for (int i = 0; i < 5; ++i) table[i] = i + 1;
  ASSERT_TRUE(table.grow(1000000));
  ASSERT_EQ(table.count(), 1000000);
  for (int i = 0; i < 5; ++i) EXPECT_EQ(table[i], i + 1);
  EXPECT_EQ(std::count(table.begin() + 5, table.end(), 0), 1000000 - 5);
}

TEST(LargeTableTest, RefusesWhatItCannotHoldAndStays) {
  sbr::LargeTable<double> table;
  ASSERT_TRUE(table.allocate(2));
  table[1] = 4.0;
  EXPECT_FALSE(table.allocate(0));
  EXPECT_FALSE(table.allocate(-1));
  EXPECT_FALSE(table.allocate(INT64_MAX));
  EXPECT_FALSE(table.grow(INT64_MAX));
  ASSERT_EQ(table.count(), 2);
  EXPECT_EQ(table[1], 4.0);
}

}  // namespace
}  // namespace sbrtest
