// Data files that nobody's store has written: a clear status, no phantom, no hang, no harm.
#include <gmock/gmock.h>
#include <sqlite3.h>

#include <chrono>
#include <cstring>
#include <filesystem>
#include <random>

#include "support/store_test.h"

#ifdef SBRKIT_STORE_DIRECTORY

namespace sbrtest {
namespace {

namespace fs = std::filesystem;

class StoreDamageTest : public StoreTest {
 protected:
  void SetUp() override {
    ASSERT_EQ(DB_StartWrite(kMaster), 1);
    for (int i = 1; i <= kBodies; ++i) ASSERT_TRUE(add("selabel='body " + std::to_string(i) + "'", {i}));
    ASSERT_EQ(DB_TermWrite(), 1);
    good = read_file("wing.DBALL");
  }
  // Changes the data file past all rules.
  static void damage(const std::string &sql) {
    sqlite3 *connection = nullptr;
    ASSERT_EQ(sqlite3_open("wing.DBALL", &connection), SQLITE_OK);
    char *message = nullptr;
    EXPECT_EQ(
        sqlite3_exec(connection, ("PRAGMA ignore_check_constraints = ON; " + sql).c_str(), nullptr, nullptr, &message),
        SQLITE_OK)
        << message;
    sqlite3_free(message);
    sqlite3_close(connection);
  }
  static int root_page(const std::string &table) {
    sqlite3 *connection = nullptr;
    sqlite3_stmt *statement = nullptr;
    EXPECT_EQ(sqlite3_open("wing.DBALL", &connection), SQLITE_OK);
    sqlite3_prepare_v2(connection, "SELECT rootpage FROM sqlite_schema WHERE name = ?", -1, &statement, nullptr);
    sqlite3_bind_text(statement, 1, table.c_str(), -1, SQLITE_TRANSIENT);
    EXPECT_EQ(sqlite3_step(statement), SQLITE_ROW);
    const int page = sqlite3_column_int(statement, 0);
    sqlite3_finalize(statement);
    sqlite3_close(connection);
    return page;
  }
  static constexpr int kBodies = 400;
  std::string good;
};

TEST_F(StoreDamageTest, QualifiersThatNoCommandCanNameAreDamage) {
  for (const char *value :
       {"'a' || char(10) || 'b'", "'a' || char(0) || 'b'", "'it''s'", "x'61'", "'a' || char(127)"}) {
    write_file("wing.DBALL", good);
    damage(std::string("UPDATE entry SET selabel = ") + value + " WHERE id = 7");
    start_reading();
    EXPECT_EQ(list_status(), 107) << value;
    EXPECT_EQ(DB_BodyBrowser(kMaster, 0, nullptr), 0U) << value;
    EXPECT_EQ(open_body(1).unit, 0) << value;
    end_reading();
  }
  for (const char *value : {"''", "'a b'", "'1,2'", "'*'"}) {
    write_file("wing.DBALL", good);
    damage(std::string("UPDATE entry SET projno = ") + value + " WHERE id = 7");
    start_reading();
    EXPECT_EQ(list_status(), 107) << value;
    end_reading();
  }
}

TEST_F(StoreDamageTest, ForeignTablesViewsAndTriggersAreRefused) {
  const std::string endless =
      "CREATE VIEW entry AS WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n) SELECT i AS id, i AS place,"
      " 'sbrdb' AS name, '' AS selabel, '1' AS projno, '1' AS version, '0' AS peid, '0' AS desiter, '0' AS stepcur,"
      " '0' AS highqual FROM n";
  for (const std::string &sql :
       {"DROP TABLE entry; " + endless, std::string("DROP TABLE piece; CREATE VIEW piece AS SELECT 1 AS block"),
        std::string("DROP INDEX entry_place"), std::string("CREATE TABLE more(a)"),
        std::string("CREATE TRIGGER t AFTER INSERT ON block BEGIN DELETE FROM entry; END"),
        std::string("ALTER TABLE record RENAME COLUMN words TO w"), std::string("PRAGMA user_version = 4"),
        std::string("PRAGMA user_version = 1"), std::string("PRAGMA user_version = 0")}) {
    write_file("wing.DBALL", good);
    damage(sql);
    start_reading();
    EXPECT_EQ(list_status(), 107) << sql;
    EXPECT_EQ(DB_BodyBrowser(kMaster, 0, nullptr), 0U) << sql;
    end_reading();
    log.clear();
    EXPECT_EQ(put("selabel='more'", {1}), 0) << sql;
    EXPECT_EQ(log.take(), std::vector<Message>{error("Cannot open the database, 107.")}) << sql;
  }
}

TEST_F(StoreDamageTest, NumbersThatCannotBeAreDamage) {
  for (const char *sql : {"UPDATE record SET words = -1", "UPDATE record SET first_word = 9223372036854775807",
                          "UPDATE record SET words = 9223372036854775807", "UPDATE piece SET data = x'00'",
                          "UPDATE piece SET data = 'text'", "DELETE FROM piece", "DELETE FROM record"}) {
    write_file("wing.DBALL", good);
    damage(sql);
    start_reading();
    int values[3] = {5, 5, 5};
    const db_block block = open_body(3);
    EXPECT_EQ(DB_ReadINTs(block, values, 3), 0) << sql;
    end_reading();
  }
}

// Pages of a tree that lead to each other: every row comes again and again.
TEST_F(StoreDamageTest, TreesThatLeadRoundInCirclesEnd) {
  constexpr std::size_t kPage = 4096;
  constexpr std::size_t kHeader = 12;
  for (const char *table : {"entry", "block", "record", "piece", "entry_place", "entry_qualifiers"}) {
    const auto root = static_cast<std::size_t>(root_page(table));
    const std::size_t start = (root - 1) * kPage;
    std::string bytes = good;
    const bool is_interior = bytes[start] == 5 || bytes[start] == 2;
    if (!is_interior) continue;
    const auto word = [&](std::size_t at) {
      return static_cast<std::size_t>(static_cast<unsigned char>(bytes[at])) << 8U |
             static_cast<unsigned char>(bytes[at + 1]);
    };
    for (const std::string &target :
         {bytes.substr(start + 8, 4), std::string{0, 0, static_cast<char>(root >> 8U), static_cast<char>(root)}}) {
      std::string changed = bytes;
      for (std::size_t cell = 0; cell < word(start + 3); ++cell)
        changed.replace(start + word(start + kHeader + 2 * cell), 4, target);
      write_file("wing.DBALL", changed);
      const auto began = std::chrono::steady_clock::now();
      start_reading();
      const int status = list_status();
      EXPECT_TRUE(status == 107 || std::string(table) != "entry") << table << ' ' << status;
      for (int index = 1; index <= 20; ++index) EXPECT_TRUE(first_value(index) == -1 || first_value(index) == index);
      end_reading();
      put("selabel='body 3'", {3});
      put("selabel='more'", {3});
      EXPECT_LT(std::chrono::duration<double>(std::chrono::steady_clock::now() - began).count(), 20.0) << table;
    }
  }
}

TEST_F(StoreDamageTest, DamagedPagesShowNoBodyThatIsNotThere) {
  std::set<std::string> labels;
  for (int i = 1; i <= kBodies; ++i)
    labels.insert("SELABEL='body " + std::to_string(i) + "',projno=1,version=1,PEID=0,DESITER=0,STEPCUR=0");
  std::mt19937 random(11);
  int listed = 0;
  int refused = 0;
  for (int round = 0; round < 150; ++round) {
    std::string bytes = good;
    const std::size_t page = random() % (bytes.size() / 4096) * 4096;
    if (round % 3 == 0)  // a whole page is lost
      bytes.replace(page, 4096, round % 2 == 0 ? std::string(4096, '\0') : bytes.substr(random() % 8 * 4096, 4096));
    else  // the structure of one is
      for (int i = 0; i < 4; ++i) bytes[page + random() % 64] = static_cast<char>(random());
    write_file("wing.DBALL", bytes);
    start_reading();
    const auto bodies = DB_BodyBrowser(kMaster, 0, nullptr);
    ++(bodies > 0 ? listed : refused);
    EXPECT_LE(bodies, static_cast<unsigned>(kBodies));
    std::set<std::string> seen;
    for (unsigned i = 1; i <= bodies; i += 37) {
      const std::string label = describe(static_cast<int>(i));
      EXPECT_TRUE(seen.insert(label).second) << label;
      first_value(static_cast<int>(i));
    }
    end_reading();
    log.clear();
    put("selabel='body 3'", {3});
  }
  EXPECT_GT(listed, 0);
  EXPECT_GT(refused, 0);
}

TEST_F(StoreDamageTest, DataThatAreCutOffAreDamage) {
  for (std::size_t size = 0; size < good.size(); size += 4096 * 3 + 100) {
    write_file("wing.DBALL", good.substr(0, size));
    start_reading();
    EXPECT_EQ(list_status(), 107) << size;
    end_reading();
  }
}

}  // namespace
}  // namespace sbrtest

#endif
