// Bodies as data blocks: the records that SBR_write_DB makes, and the calls by which it makes them.
#include <dlfcn.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <map>
#include <set>

#include "plugins/standin.h"
#include "support/body_state.h"
#include "support/files.h"
#include "support/messages.h"
#include "support/record_builder.h"

namespace sbrtest {
namespace {

namespace fs = std::filesystem;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

// Two nodes, two modes, and everything small enough to count by hand.
SBR small_body() {
  SBR body = SBR_Create(2, 2);
  char title[] = "bracket";
  char none[] = "";
  SBR_SetHeader(body, title, none, none, none, none, none);
  SBR_SetNodeCoordinates(body, 10, 1, 2, 3);
  SBR_SetNodeCoordinates(body, 20, 4, 5, 6);
  for (int mode = 1; mode <= 2; ++mode) {
    SBR_SetMode(body, mode, 10, 0, mode, 0, 0, 0, 0, 0.5);
    SBR_SetMode(body, mode, 20, 0, 0, mode, 0, 0, 0, 0);
    SBR_SetGeneralizedStiffness(body, mode, mode, 100.0 * mode);
    SBR_SetGeneralizedMass(body, mode, mode, 1.0);
  }
  return body;
}

class DatabaseWriteTest : public LibraryTest {
 protected:
  explicit DatabaseWriteTest(const std::string &plugin) : plugins("KTX_USER_PLUGIN_DIR", plugin) {
    fs::current_path(directory.path());
  }
  ~DatabaseWriteTest() override {
    DB_TermBase();
    DB_TermWrite();
    CDB_UnloadLibrary();
    fs::current_path(before);
  }
  int write(SBR body, const char *options, const char *path = "wing.MASTER", const char *qualifiers = "projno=1") {
    const ScopedEnvironment set("KTX_SBRWRITE_OPTIONS", options);
    return SBR_write_DB(body, path, qualifiers);
  }

  fs::path before = fs::current_path();
  ScratchDirectory directory;
  ScopedEnvironment plugins;
  ScopedEnvironment home{"KTX_QSRVHOME_DIR", "/qsrv"};
};

// ---- records in the open store -------------------------------------------------------------------------------------

#ifdef SBRKIT_STORE_DIRECTORY

class StoredBodyTest : public DatabaseWriteTest {
 protected:
  StoredBodyTest() : DatabaseWriteTest(SBRKIT_STORE_DIRECTORY) {}

  void open(int index = 1) {
    ASSERT_EQ(CDB_LoadLibrary(), 1);
    ASSERT_EQ(DB_StartBase(), 1);
    block.unit = DB_OpenDatablk("wing.MASTER", index, nullptr);
    ASSERT_GT(block.unit, 0);
  }
  int integer() {
    int value = -99;
    EXPECT_EQ(DB_ReadINTs(block, &value, 1), 1);
    return value;
  }
  std::vector<int> integers(int count) {
    std::vector<int> values(static_cast<std::size_t>(count));
    EXPECT_EQ(DB_ReadINTs(block, values.data(), count), 1);
    return values;
  }
  std::vector<double> reals(int count) {
    std::vector<double> values(static_cast<std::size_t>(count));
    EXPECT_EQ(DB_ReadDOUBLEs(block, values.data(), count), 1);
    return values;
  }
  std::vector<int64_t> longs(int count) {
    const std::vector<double> values = reals(count);
    std::vector<int64_t> result(values.size());
    std::memcpy(result.data(), values.data(), values.size() * sizeof values[0]);
    return result;
  }
  std::string text(int bytes) {
    std::string characters(static_cast<std::size_t>(bytes), '?');
    EXPECT_EQ(DB_ReadCHARs(block, characters.data(), bytes), 1);
    return characters.substr(0, characters.find('\0'));
  }
  // True at the end of the record.
  bool at_end() {
    int64_t here[2];
    int value = 0;
    DB_FSAVE(here, block);
    const bool end = DB_ReadINTs(block, &value, 1) == 0;
    DB_FRESTORE(here, block);
    return end;
  }
  void next() { ASSERT_EQ(DB_SkipRecord(block), 1); }
  // The words of the present record from here on.
  std::vector<int64_t> rest() {
    std::vector<int64_t> words;
    double word = 0.0;
    while (DB_ReadDOUBLEs(block, &word, 1) != 0) {
      int64_t bits = 0;
      std::memcpy(&bits, &word, sizeof bits);
      words.push_back(bits);
    }
    return words;
  }
  std::array<int64_t, 2> position() {
    std::array<int64_t, 2> here{};
    DB_FSAVE(here.data(), block);
    return here;
  }
  std::uint32_t word_of(SBR body, const char *options) {
    EXPECT_EQ(write(body, options), 1) << options;
    open();
    EXPECT_EQ(integer(), 1);
    const auto word = static_cast<std::uint32_t>(integer());
    EXPECT_TRUE(at_end());
    DB_TermBase();
    CDB_UnloadLibrary();
    return word;
  }

  db_block block{};
};

TEST_F(StoredBodyTest, EachBlockIsARecordThatStartsWithItsNumber) {
  ASSERT_EQ(write(small_body(), "no_ortho"), 1);
  open();
  std::map<int, std::array<int64_t, 2>> starts;
  EXPECT_EQ(integer(), 1);
  starts[1] = position();
  EXPECT_EQ(integer(), 0x103C);
  EXPECT_TRUE(at_end());

  next();
  EXPECT_EQ(integer(), 2);
  starts[2] = position();
  EXPECT_EQ(text(128).substr(0, 7), "bracket");

  next();
  EXPECT_EQ(integer(), 3);
  starts[3] = position();
  std::string content(100, '?');
  EXPECT_EQ(DB_ReadCHARs(block, content.data(), 100), 1);
  EXPECT_TRUE(at_end());
  EXPECT_EQ(content.substr(0, 9), std::string("\1\0\0\0\1\0\0\0\1", 9));

  next();
  EXPECT_EQ(integer(), 4);  // block 3, the nodes
  starts[4] = position();
  EXPECT_EQ(integers(2), (std::vector<int>{2, 3}));
  EXPECT_EQ(integer(), 10);
  EXPECT_EQ(reals(3), (std::vector<double>{1, 2, 3}));
  EXPECT_EQ(integer(), 20);
  EXPECT_EQ(reals(3), (std::vector<double>{4, 5, 6}));
  EXPECT_TRUE(at_end());

  next();
  EXPECT_EQ(integer(), 8);  // block 7, the mode shapes
  starts[8] = position();
  EXPECT_EQ(integers(4), (std::vector<int>{2, 2, 10, 20}));
  std::vector<std::array<int64_t, 2>> modes;
  for (int mode = 1; mode <= 2; ++mode) {
    modes.push_back(position());
    EXPECT_EQ(integer(), mode);
    EXPECT_EQ(reals(12), (std::vector<double>{1.0 * mode, 0, 0, 0, 0, 0.5, 0, 1.0 * mode, 0, 0, 0, 0}));
  }
  EXPECT_TRUE(at_end());

  std::vector<int> others;
  int number = 0;
  while (next(), number = integer(), number != 0) {
    starts[number] = position();
    others.push_back(number);
  }
  EXPECT_THAT(others, ElementsAre(11, 12, 13, 30));  // units, stiffness, mass, statistics

  const std::array<int64_t, 2> closing = position();
  starts[0] = closing;
  const std::vector<int64_t> table = longs(200);
  for (int k = 0; k < 100; ++k) {
    const auto start = starts.count(k) == 1 ? starts[k] : std::array<int64_t, 2>{0, 0};
    EXPECT_EQ(
        (std::array<int64_t, 2>{table[static_cast<std::size_t>(2 * k)], table[static_cast<std::size_t>(2 * k) + 1]}),
        start)
        << k;
  }
  const std::vector<int64_t> list = longs(4);
  EXPECT_EQ((std::array<int64_t, 2>{list[0], list[1]}), modes[0]);
  EXPECT_EQ((std::array<int64_t, 2>{list[2], list[3]}), modes[1]);
  EXPECT_EQ(integer(), -1);
  EXPECT_EQ(DB_SeekFWD(block, -1), 1);
  EXPECT_TRUE(at_end());
  EXPECT_EQ(DB_SkipRecord(block), 0);

  // The position table leads back to a block.
  DB_FRESTORE(&table[8], block);
  EXPECT_EQ(integers(2), (std::vector<int>{2, 3}));
}

TEST_F(StoredBodyTest, TheVersionWordFollowsTheOptions) {
  EXPECT_EQ(word_of(small_body(), "no_ortho"), 0x103CU);
  EXPECT_EQ(word_of(small_body(), "no_ortho no_xdr"), 0x103CU);
  EXPECT_EQ(word_of(small_body(), "no_ortho single"), 0x123CU);
  EXPECT_EQ(word_of(small_body(), "no_ortho full_str"), 0x1028U);
  EXPECT_EQ(word_of(small_body(), "no_ortho full_str single"), 0x1032U);
  EXPECT_EQ(word_of(small_body(), "no_ortho 82_comp"), 0x1014U);
  EXPECT_EQ(word_of(small_body(), "no_ortho 81_comp"), 0x100AU);
  EXPECT_EQ(word_of(small_body(), "no_ortho 82_comp 81_comp"), 0x100AU);
  SBR coarse = small_body();
  state::is_coarsened(coarse) = 1;
  EXPECT_EQ(word_of(coarse, "no_ortho"), 0x143CU);
}

TEST_F(StoredBodyTest, SinglePrecisionChangesTheWordAndNotTheData) {
  SBR body = small_body();
  SBR_SetNodeCoordinates(body, 10, 0.1, 2, 3);  // 0.1 is not a float
  ASSERT_EQ(write(body, "no_ortho single"), 1);
  open();
  for (int i = 0; i < 3; ++i) next();
  EXPECT_EQ(integers(4), (std::vector<int>{4, 2, 3, 10}));
  EXPECT_EQ(reals(3), (std::vector<double>{0.1, 2, 3}));
}

TEST_F(StoredBodyTest, ABodyWithoutModesClosesWithThePositionTableAlone) {
  SBR body = SBR_Create(1, 0);
  SBR_SetNodeCoordinates(body, 1, 1, 2, 3);
  ASSERT_EQ(write(body, ""), 1);
  open();
  int number = integer();
  while (number != 0) {
    next();
    number = integer();
  }
  EXPECT_EQ(rest().size(), 202U);
}

TEST_F(StoredBodyTest, SeveralBodiesStandInOneDatabase) {
  ASSERT_EQ(write(small_body(), "no_ortho", "wing.MASTER", "selabel='one, first'"), 1);
  ASSERT_EQ(write(small_body(), "no_ortho", "wing.MASTER", "selabel='two'"), 1);
  ASSERT_EQ(CDB_LoadLibrary(), 1);
  ASSERT_EQ(DB_StartBase(), 1);
  char description[DB_BROWSER_TEXT];
  EXPECT_EQ(DB_BodyBrowser("wing.MASTER", 1, description), 2U);
  EXPECT_STREQ(description, "SELABEL='one, first',projno=1,version=1,PEID=0,DESITER=0,STEPCUR=0");
}

TEST_F(StoredBodyTest, AFailedWriteLeavesNoBody) {
  ASSERT_EQ(write(small_body(), "no_ortho"), 1);
  SBR body = SBR_Create(1, 0);
  SBR_SetNodeCoordinates(body, 1, 1, 2, 3);
  log.clear();
  EXPECT_EQ(write(body, "no_ortho 81_comp single", "wing.MASTER", "selabel='bad'"), 0);
  EXPECT_EQ(log.take_complaints(), (std::vector<Message>{error("8.1 compatible SBR cannot be single precision"),
                                                         error("Problem writing version number.")}));
  ASSERT_EQ(write(small_body(), "no_ortho", "wing.MASTER", "selabel='good'"), 1);
  open(2);
  EXPECT_EQ(DB_BodyBrowser("wing.MASTER", 0, nullptr), 2U);
}

// The ways in which the words of a record can stand for the bytes of a block: a word is a real of eight bytes, an
// integer or four characters of four, or fewer characters at the end of a text.
bool stand_for(const std::vector<int64_t> &words, const std::string &bytes) {
  std::set<std::size_t> places{0};
  for (const int64_t word : words) {
    std::set<std::size_t> next;
    for (const std::size_t place : places) {
      if (place + 8 <= bytes.size() && std::memcmp(&bytes[place], &word, 8) == 0) next.insert(place + 8);
      for (std::size_t size = 1; size <= 4 && place + size <= bytes.size(); ++size) {
        std::int32_t value = 0;
        std::memcpy(&value, &bytes[place], size);
        if (word == value || word == static_cast<std::int64_t>(static_cast<std::uint32_t>(value)))
          next.insert(place + size);
      }
    }
    places = std::move(next);
  }
  return places.count(bytes.size()) == 1;
}

class SameContentTest : public StoredBodyTest, public ::testing::WithParamInterface<const char *> {};

TEST_P(SameContentTest, TheRecordsHoldTheBytesOfTheFilesBlocks) {
  full_record(0x13C).write("one.sbr");
  full_record(0x13C).write("two.sbr");
  const std::string options = GetParam();
  SBR one = SBR_CreateFromSBR("one.sbr");
  SBR two = SBR_CreateFromSBR("two.sbr");
  ASSERT_NE(one, nullptr);
  ASSERT_NE(two, nullptr);
  {
    const ScopedEnvironment set("KTX_SBRWRITE_OPTIONS", options + " no_xdr");
    ASSERT_EQ(SBR_write_SBR(one, "file.sbr"), 1);
  }
  ASSERT_EQ(write(two, options.c_str()), 1);
  SBR file = SBR_CreateFromSBR("file.sbr");
  ASSERT_NE(file, nullptr);
  const std::string bytes = read_file("file.sbr");

  open();
  int compared = 0;
  for (int number = integer(); number != 0; next(), number = integer()) {
    const int index = number - 1;
    if (index < sbr::kContentSummary) continue;  // the words differ, and the headers in their dates
    ASSERT_TRUE(index == sbr::kContentSummary || SBR_Exists(file, index) != 0) << index;
    const auto start = static_cast<std::size_t>(state::block_offset(file, index));
    // The sizing of monitor points counts one operator per point, so that the last block is taken to the file's end.
    const std::size_t size = index == sbr::kContentSummary  ? 100
                             : index == sbr::kMonitorPoints ? bytes.size() - start
                                                            : static_cast<std::size_t>(SBR_size_of_block(file, index));
    EXPECT_TRUE(stand_for(rest(), bytes.substr(start, size))) << "block " << index << " of " << size << " bytes";
    ++compared;
  }
  int present = 1;
  for (int index = 3; index < 36; ++index) present += SBR_Exists(file, index) != 0 ? 1 : 0;
  EXPECT_EQ(compared, present);
  EXPECT_GT(compared, 10);
}

INSTANTIATE_TEST_SUITE_P(Options, SameContentTest,
                         ::testing::Values("no_ortho", "", "full_invar", "sparse_str", "empty"));

#endif

// ---- calls ---------------------------------------------------------------------------------------------------------

class DatabaseCallsTest : public DatabaseWriteTest {
 protected:
  DatabaseCallsTest() : DatabaseWriteTest(SBRKIT_TEST_PLUGINS "/standin") {
    handle = dlopen(SBRKIT_TEST_PLUGINS "/standin/Qsrv_22_2.so", RTLD_NOW | RTLD_LOCAL);
    standin = reinterpret_cast<StandinStateFunction *>(dlsym(handle, "standin_state"))();
    *standin = StandinState{};
    standin->names = {{"F06", "wing_f06"}};
  }
  ~DatabaseCallsTest() override {
    standin->statuses.clear();
    dlclose(handle);
  }
  void *handle = nullptr;
  StandinState *standin = nullptr;
};

TEST_F(DatabaseCallsTest, AWriteOpensTheDatabaseAndEndsWithTheTrailer) {
  ASSERT_EQ(write(small_body(), "no_ortho", "wing.MASTER", "projno=1,selabel='a, b'"), 1);
  const std::vector<std::string> &calls = standin->calls;
  ASSERT_GT(calls.size(), 20U);
  EXPECT_THAT(
      std::vector<std::string>(calls.begin(), calls.begin() + 10),
      ElementsAre("QS_DbaseBst(/qsrv/analysis.msg,./)", "QS_DbaseNew(wing,dbsetdel dball)", "QS_DbaseNdl(/qsrv/SSS)",
                  "QS_CreateDatablk(dbcreate datablk=(sbrdb) quals(projno=1;selabel='a, b'))", "Ruvo_Open(7,0,1)",
                  "Ruvo_Write(7,1,1,0)", "Ruvo_SavePos(7)", "Ruvo_Write(7,4156,1,0)", "Ruvo_Write(7,null,0,1)",
                  "Ruvo_Write(7,2,1,0)"));
  EXPECT_THAT(std::vector<std::string>(calls.end() - 8, calls.end()),
              ElementsAre(::testing::StartsWith("Ruvo_Write(7,11 22 11 22 "), "Ruvo_Write(7,11 22 11 22,4,0)",
                          "Ruvo_Write(7,-1 0,2,0)", "Ruvo_Write(7,null,0,1)", "Ruvo_Close(7,1)",
                          "Ruvo_WriteTrailer(7 2 2 12 2 11 22)", "QS_GetDbName(F06)", "QS_DbaseCls()"));
}

TEST_F(DatabaseCallsTest, EveryRecordIsEndedOnce) {
  ASSERT_EQ(write(small_body(), "no_ortho"), 1);
  const auto ends = std::count(standin->calls.begin(), standin->calls.end(), "Ruvo_Write(7,null,0,1)");
  EXPECT_EQ(ends, 10);  // word, header, summary, nodes, modes, units, stiffness, mass, statistics, closing
}

TEST_F(DatabaseCallsTest, ADatabaseThatDoesNotOpenIsReported) {
  standin->statuses["QS_DbaseNew"] = 4;
  EXPECT_EQ(write(small_body(), "no_ortho"), 0);
  EXPECT_EQ(
      log.take_complaints(),
      (std::vector<Message>{error("Cannot open the database, 4."),
                            error("Unable to open wing.MASTER for write. Please check the name and qualifier.")}));
  standin->statuses = {{"QS_CreateDatablk", 5}};
  EXPECT_EQ(write(small_body(), "no_ortho"), 0);
  EXPECT_EQ(
      log.take_complaints(),
      (std::vector<Message>{error("Cannot create sbr datablock, 5."),
                            error("Unable to open wing.MASTER for write. Please check the name and qualifier.")}));
}

TEST_F(DatabaseCallsTest, AFailedWriteClosesNothing) {
  EXPECT_EQ(write(small_body(), "no_ortho 81_comp single"), 0);
  EXPECT_THAT(standin->calls, ::testing::Not(Contains("Ruvo_Close(7,1)")));
  EXPECT_THAT(standin->calls, ::testing::Not(Contains("QS_DbaseCls()")));
}

TEST_F(DatabaseCallsTest, TheSourceOfTheBodyIsNotWrittenOver) {
  full_record(0x13C).write("one.sbr");
  SBR body = SBR_CreateFromSBR("one.sbr");
  ASSERT_NE(body, nullptr);
  log.clear();
  EXPECT_EQ(write(body, "", "one.sbr"), 0);
  EXPECT_EQ(log.take_complaints().size(), 1U);
  EXPECT_THAT(standin->calls, IsEmpty());
}

TEST_F(DatabaseCallsTest, ANullHandleAndANullPathAreRefused) {
  EXPECT_EQ(SBR_write_DB(nullptr, "wing.MASTER", ""), 0);
  EXPECT_EQ(log.take(), std::vector<Message>{error("The database has not been initialized.")});
  EXPECT_EQ(SBR_write_DB(small_body(), nullptr, nullptr), 0);
  EXPECT_EQ(log.take_complaints(),
            (std::vector<Message>{error("The database file name  does not contain .MASTER."),
                                  error("Unable to open  for write. Please check the name and qualifier.")}));
}

TEST_F(DatabaseCallsTest, AStatusOfTheCloseFailsTheWrite) {
  standin->statuses["QS_DbaseCls"] = 13;
  EXPECT_EQ(write(small_body(), "no_ortho"), 0);
  EXPECT_EQ(log.take_complaints(), std::vector<Message>{error("Cannot close the database, 13.")});
}

}  // namespace
}  // namespace sbrtest
