// Lists of many bodies: what they cost, and that they show what is stored.
#include <gmock/gmock.h>
#include <sys/resource.h>

#include <chrono>
#include <filesystem>
#include <fstream>

#include "support/store_test.h"

#ifdef SBRKIT_STORE_DIRECTORY

namespace sbrtest {
namespace {

namespace fs = std::filesystem;

// GCC defines a name under its sanitizer, clang has a feature.
#if defined(__SANITIZE_ADDRESS__)
constexpr bool kSanitized = true;
#elif defined(__has_feature)
constexpr bool kSanitized = __has_feature(address_sanitizer);
#else
constexpr bool kSanitized = false;
#endif

int open_descriptors() {
  return static_cast<int>(std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator()));
}

long resident_kilobytes() {
  std::ifstream status("/proc/self/statm");
  long pages = 0;
  status >> pages >> pages;
  return pages * (sysconf(_SC_PAGESIZE) / 1024);
}

void add_many(int bodies) {
  for (int i = 1; i <= bodies; ++i) {
    const db_block block{DB_CreateSBRblk(("selabel='body " + std::to_string(i) + "'").c_str()), {0, 0}};
    ASSERT_GT(block.unit, 0);
    DB_WriteINTs(block, &i, 1);
    DB_WriteEOR(block);
    DB_CloseDatablk(block.unit);
  }
}

class StoreListingTest : public StoreTest {
 protected:
  static void store_many(int bodies, const char *path = kMaster) {
    ASSERT_EQ(DB_StartWrite(path), 1);
    add_many(bodies);
    ASSERT_EQ(DB_TermWrite(), 1);
  }
};

TEST_F(StoreListingTest, OpeningManyBodiesNeedsOneConnection) {
  constexpr int kBodies = 1000;
  store_many(kBodies);
  start_reading();
  ASSERT_EQ(first_value(1), 1);
  const int descriptors = open_descriptors();
  for (int i = 1; i <= kBodies; ++i) ASSERT_EQ(first_value(i), i);
  EXPECT_EQ(open_descriptors(), descriptors);
}

TEST_F(StoreListingTest, ManyBodiesCanBeOpenAtTheSameTime) {
  constexpr int kBodies = 600;
  store_many(kBodies);
  start_reading();
  const rlimit few{64, 64};
  rlimit former{};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &former), 0);
  const rlimit lowered{few.rlim_cur, former.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &lowered), 0);
  std::vector<db_block> blocks;
  for (int i = 1; i <= kBodies; ++i) blocks.push_back(open_body(i));
  for (int i = 1; i <= kBodies; ++i) {
    int value = 0;
    EXPECT_EQ(DB_ReadINTs(blocks[static_cast<std::size_t>(i - 1)], &value, 1), 1);
    EXPECT_EQ(value, i);
  }
  setrlimit(RLIMIT_NOFILE, &former);
}

TEST_F(StoreListingTest, ManyDatabasesCanBeReadOneAfterAnother) {
  constexpr int kDatabases = 40;
  for (int i = 1; i <= kDatabases; ++i) ASSERT_EQ(put("", {i}, (std::to_string(i) + ".MASTER").c_str()), 1);
  start_reading();
  const int descriptors = open_descriptors();
  for (int round = 0; round < 2; ++round)
    for (int i = 1; i <= kDatabases; ++i) ASSERT_EQ(first_value(1, (std::to_string(i) + ".MASTER").c_str()), i);
  EXPECT_LT(open_descriptors(), descriptors + kDatabases);
}

TEST_F(StoreListingTest, BrowsingAgainAndAgainDoesNotFillTheMemory) {
  if (kSanitized) GTEST_SKIP() << "the sanitizer keeps freed memory for a while";
  store_many(100);
  start_reading();
  const auto browse = [](int times) {
    for (int i = 0; i < times; ++i) ASSERT_EQ(DB_BodyBrowser(kMaster, 1, nullptr), 100U);
  };
  browse(200);
  const long before_browsing = resident_kilobytes();
  browse(5000);
  // 100 entries of each browse would make over 50 MB.
  EXPECT_LT(resident_kilobytes() - before_browsing, 4096);
}

TEST_F(StoreListingTest, ASupersededHighQualifierShowsNothing) {
  store_many(3);
  start_reading();
  int status = -1;
  int needed = 0;
  char text[1000] = {};
  const auto locate = [&](const char *where, const char *high) {
    CDB_QS_DbCommand("assign here='wing.MASTER'", &status);
    CDB_QS_DbCommand(
        (std::string("dblocate logical=here datablk=(sbrdb) where(") + where + ") convert(highqual=" + high + ")")
            .c_str(),
        &status);
    EXPECT_EQ(status, 0);
  };
  const auto list = [&](const char *high) {
    CDB_QS_GetDbdict((std::string("dbdict datablk(sbrdb) where(highqual=") + high + ") select(selabel)").c_str(), text,
                     sizeof text, &needed, &status);
    EXPECT_EQ(status, 0);
    return needed == 0 ? std::string() : std::string(text);
  };
  locate("projno=*", "-5");
  EXPECT_THAT(list("-5"), ::testing::HasSubstr("'body 3'"));
  locate("selabel='body 2'", "-5");  // another selection under the same high qualifier
  EXPECT_THAT(list("-5"), ::testing::HasSubstr("'body 2'"));
  EXPECT_THAT(list("-5"), ::testing::Not(::testing::HasSubstr("'body 3'")));
  locate("projno=*", "-6");
  locate("projno=*", "-7");  // the same selection under another one
  EXPECT_EQ(list("-6"), "");
  EXPECT_THAT(list("-7"), ::testing::HasSubstr("'body 3'"));
  EXPECT_THAT(list("-5"), ::testing::HasSubstr("'body 2'"));
}

TEST_F(StoreListingTest, OneRowOfTheListIsFoundByItsNumber) {
  store_many(5);
  ASSERT_EQ(put("selabel='body 2'", {22}), 1);
  start_reading();
  int status = -1;
  int unit = 0;
  int count = 0;
  CDB_QS_DbCommand("assign here='wing.MASTER'", &status);
  const auto attach = [&](const std::string &row) {
    CDB_QS_DbCommand(("dblocate logical=here datablk=(sbrdb) convert(highqual=-5) row=" + row).c_str(), &status);
    if (status != 0) return 0;
    CDB_QS_AllocDatablk("datablk=(sbrdb) where(highqual=-5)", &unit, &count, &status);
    if (count != 1) return 0;
    CDB_Ruvo_Open(unit, 0, 0);
    int value = 0;
    EXPECT_EQ(DB_ReadINTs({unit, {0, 0}}, &value, 1), 1);
    CDB_Ruvo_Close(unit, 1);
    return value;
  };
  EXPECT_EQ(attach("1"), 1);
  EXPECT_EQ(attach("2"), 22);
  EXPECT_EQ(attach("5"), 5);
  EXPECT_EQ(attach("6"), 0);
  EXPECT_EQ(status, 0);
  for (const char *row : {"0", "-1", "x", "1x", "99999999999999999999", "(1)"}) {
    attach(row);
    EXPECT_EQ(status, row[0] == '(' ? 0 : 105) << row;
  }
}

TEST_F(StoreListingTest, StoringIntoManyBodiesIsAsQuickAsIntoFew) {
  const auto time = [](const char *path) {
    constexpr int kTimes = 10;
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < kTimes; ++i) EXPECT_EQ(put("selabel='new " + std::to_string(i) + "'", {i}, path), 1);
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count() / kTimes;
  };
  store_many(10, "few.MASTER");
  store_many(10000, "many.MASTER");
  const double few = time("few.MASTER");
  // Looking at 10,000 bodies would take longer than this; the disk's moods do not.
  EXPECT_LT(time("many.MASTER"), 3.0 * few + 0.05);
}

}  // namespace
}  // namespace sbrtest

#endif
