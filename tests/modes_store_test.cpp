// Temporary mode files: where they are made, how they are reserved, and how they go.
#include <sys/stat.h>

#include <filesystem>
#include <vector>

#include "modes/store.h"
#include "support/body_state.h"
#include "support/files.h"
#include "support/messages.h"

namespace sbrtest {
namespace {

class ModeStoreTest : public LibraryTest {
 protected:
  static bool enter(SBR body, int kind) {
    const double six[6] = {1, 2, 3, 4, 5, 6};
    return SBR_SetModeVec(body, 1, 10, kind, six) == 1;
  }
  ScratchDirectory scratch;
  ScopedEnvironment tmp{"TMP", scratch.path().string()};
  ScopedEnvironment shape{"KTX_TMP_MOD", std::nullopt};
  ScopedEnvironment stress{"KTX_TMP_STR", std::nullopt};
  ScopedEnvironment strain{"KTX_TMP_STN", std::nullopt};
};

TEST_F(ModeStoreTest, TheFirstEntryReservesAllRecordsInAPrivateFile) {
  SBR body = SBR_Create(100, 7);
  ASSERT_TRUE(enter(body, 0));
  const std::string path = state::mode_file(body, sbr::Kind::shape);
  EXPECT_EQ(std::filesystem::path(path).parent_path(), scratch.path());
  EXPECT_EQ(std::filesystem::path(path).filename().string().substr(0, 4), "sbr_");
  struct stat status {};
  ASSERT_EQ(stat(path.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0600U);
  EXPECT_EQ(status.st_size, 7 * 100 * 6 * 8);
  EXPECT_EQ(state::mode_offsets(body, sbr::Kind::shape)[3], 3 * 100 * 6 * 8);
  EXPECT_EQ(log.take(), std::vector<Message>{info("Temp modeshape file: " + path)});
  SBR_DeReference(body);
  EXPECT_EQ(scratch.count_files(), 0);
}

TEST_F(ModeStoreTest, EachKindHasItsOwnFileAndInformation) {
  SBR body = SBR_Create(10, 2);
  for (int kind = 0; kind < 3; ++kind) ASSERT_TRUE(enter(body, kind));
  EXPECT_EQ(scratch.count_files(), 3);
  const auto path = [&](int kind) { return state::mode_file(body, kind); };
  EXPECT_EQ(log.take(),
            (std::vector<Message>{info("Temp modeshape file: " + path(0)), info("Temp modal stress file: " + path(1)),
                                  info("Temp modal strain file: " + path(2))}));
}

TEST_F(ModeStoreTest, AVariableNamesTheWholePath) {
  const std::string path = scratch.file("here.tmp");
  const ScopedEnvironment variable("KTX_TMP_STR", path);
  SBR body = SBR_Create(10, 2);
  ASSERT_TRUE(enter(body, 1));
  EXPECT_TRUE(std::filesystem::exists(path));
  SBR_DeReference(body);
  EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(ModeStoreTest, AFileThatCannotBeOpenedIsReportedWithTheWayOut) {
  const std::string path = scratch.file("missing/here.tmp");
  const ScopedEnvironment shapes("KTX_TMP_MOD", path);
  const ScopedEnvironment stresses("KTX_TMP_STR", path);
  const ScopedEnvironment strains("KTX_TMP_STN", path);
  SBR body = SBR_Create(10, 2);
  const char *const names[] = {"mode shape", "modal stress", "modal strain"};
  const char *const variables[] = {"KTX_TMP_MOD", "KTX_TMP_STR", "KTX_TMP_STN"};
  for (int kind = 0; kind < 3; ++kind) {
    EXPECT_FALSE(enter(body, kind));
    EXPECT_EQ(log.take(),
              std::vector<Message>{error("Unable to open temporary " + std::string(names[kind]) + " file " + path +
                                         ".\nTo write elsewhere, specify directory name in environment variable TMP,"
                                         "\nor specify path name (file name) in environment variable " +
                                         variables[kind] + ".")});
  }
}

TEST_F(ModeStoreTest, AnUnusableTmpDirectoryIsReported) {
  const ScopedEnvironment nowhere("TMP", scratch.file("missing"));
  SBR body = SBR_Create(10, 2);
  EXPECT_FALSE(enter(body, 0));
  ASSERT_EQ(log.all().size(), 1U);
  EXPECT_EQ(log.all()[0].text.rfind("Unable to open temporary mode shape file " + scratch.file("missing/sbr_"), 0), 0U);
}

TEST_F(ModeStoreTest, AFullDiskShowsAtTheFirstEntry) {
  const char *const texts[] = {"mode shape file  /dev/full", "modal stress file /dev/full",
                               "modal strain file /dev/full"};
  const char *const variables[] = {"KTX_TMP_MOD", "KTX_TMP_STR", "KTX_TMP_STN"};
  // The device stands in for a full disk; the handle would remove the file at its end, so a link takes its place.
  const std::string link = scratch.file("full");
  for (int kind = 0; kind < 3; ++kind) {
    std::filesystem::create_symlink("/dev/full", link);
    const ScopedEnvironment variable(variables[kind], link);
    SBR body = SBR_Create(1000, 2);
    EXPECT_FALSE(enter(body, kind));
    std::string expected = std::string("Insufficient disk space for temporary ") + texts[kind] +
                           ".\nTo write elsewhere, specify directory name in environment variable TMP,\nor specify "
                           "path name (file name) in environment variable " +
                           variables[kind] + ".";
    expected.replace(expected.find("/dev/full"), 9, link);
    EXPECT_EQ(log.take_complaints(), std::vector<Message>{error(expected)});
    SBR_DeReference(body);
    EXPECT_FALSE(std::filesystem::exists(link));
  }
}

TEST_F(ModeStoreTest, WithoutANodeCapacityNoFileCanBeReserved) {
  SBR body = SBR_Create(0, 3);
  EXPECT_FALSE(enter(body, 0));
  ASSERT_EQ(log.all().size(), 2U);
  EXPECT_TRUE(is_no_memory(log.all()[1], "sbrdata"));
}

TEST_F(ModeStoreTest, APartIsCachedOnlyForAModeInTheTable) {
  SBR body = SBR_Create(10, 3);
  ASSERT_TRUE(enter(body, 0));
  const double three[3] = {1, 2, 3};
  EXPECT_EQ(SBR_ModetoMemory(body, 1, 0, three, 0), 1);
  EXPECT_EQ(SBR_ModetoMemory(body, 2, 0, three, 0), 0);
  EXPECT_EQ(SBR_ModetoMemory(body, 1, 0, three, 2), 0);
  EXPECT_EQ(state::cached_parts(body), 1);
  log.clear();
  EXPECT_EQ(SBR_ModetoMemory(body, 1, 1, three, 0), 0) << "no nodes of this kind";
  EXPECT_TRUE(is_no_memory(log.take().at(0), "sbrdata"));
  EXPECT_EQ(SBR_Double_Prec(nullptr), 0);
}

}  // namespace
}  // namespace sbrtest
