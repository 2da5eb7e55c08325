#include "sbrkit/dynamic_library.hpp"

#include <gmock/gmock.h>
#include <unistd.h>

#include <filesystem>

#include "database/library_names.h"
#include "support/files.h"

namespace sbrtest {
namespace {

using ::testing::HasSubstr;

namespace fs = std::filesystem;

const fs::path kPlugins = fs::path(SBRKIT_TEST_PLUGINS) / "hooks";

// Nothing in the environment leads to a library, and the current directory is an empty one.
class DynamicLibraryTest : public ::testing::Test {
 protected:
  DynamicLibraryTest() {
    fs::current_path(directory.path());
    fs::create_directories(directory.path() / "a");
    fs::create_directories(directory.path() / "b");
  }
  ~DynamicLibraryTest() override { fs::current_path(before); }

  // Places a copy of a test library.
  void place(const std::string &source, const std::string &target) {
    fs::copy_file(kPlugins / source, directory.path() / target);
  }
  std::string in(const std::string &name) { return directory.file(name); }

  fs::path before = fs::current_path();
  ScratchDirectory directory;
  ScopedEnvironment user_dir{"KTX_USER_PLUGIN_DIR", std::nullopt};
  ScopedEnvironment path{"PATH", std::nullopt};
  ScopedEnvironment cpu{"KTX_CPU", std::nullopt};
  ScopedEnvironment top{"short_topdir", std::nullopt};
  ScopedEnvironment hooked{"HOOKED_CALLS", std::nullopt};
  ScopedEnvironment named{"NAMED_CALLS", std::nullopt};
};

std::string taken(char *text) {
  std::string result = text != nullptr ? text : "(null)";
  std::free(text);
  return result;
}

std::string variable(const char *name) {
  const char *value = std::getenv(name);
  return value != nullptr ? value : "";
}

// ---- the name ------------------------------------------------------------------------------------------------------

TEST(DynamicLibraryName, TheEndingCountsBehindTheLastSingleDot) {
  EXPECT_TRUE(ktx::has_library_suffix("plain.so"));
  EXPECT_TRUE(ktx::has_library_suffix("plain.1.so"));
  EXPECT_FALSE(ktx::has_library_suffix("plain"));
  EXPECT_FALSE(ktx::has_library_suffix(".so"));
  EXPECT_FALSE(ktx::has_library_suffix("plain..so"));
  EXPECT_FALSE(ktx::has_library_suffix("plain.so.1"));
  EXPECT_FALSE(ktx::has_library_suffix("plain.SO"));
  EXPECT_FALSE(ktx::has_library_suffix("plain.so/file"));
}

TEST(DynamicLibraryName, APrefixGoesWithNamesWithoutDirectoryAndWithoutLib) {
  EXPECT_TRUE(ktx::takes_library_prefix("plain"));
  EXPECT_FALSE(ktx::takes_library_prefix("libplain"));
  EXPECT_FALSE(ktx::takes_library_prefix("sub/plain"));
}

TEST(DynamicLibraryName, APathIsToldByItsStart) {
  EXPECT_TRUE(ktx::is_path("/usr/plain"));
  EXPECT_TRUE(ktx::is_path("-plain"));
  EXPECT_TRUE(ktx::is_path("./plain"));
  EXPECT_TRUE(ktx::is_path("../plain"));
  EXPECT_TRUE(ktx::is_path("c:/plain"));
  EXPECT_FALSE(ktx::is_path("sub/plain"));
  EXPECT_FALSE(ktx::is_path(".plain"));
  EXPECT_FALSE(ktx::is_path("..plain"));
  EXPECT_FALSE(ktx::is_path("_plain"));
  EXPECT_FALSE(ktx::is_path("9plain"));
}

TEST(DynamicLibraryName, ListsAreJoinedByTheirSeparators) {
  EXPECT_EQ(ktx::join_lists("a:b", "c"), "a:b:c");
  EXPECT_EQ(ktx::join_lists("a:", "c"), "a:c");
  EXPECT_EQ(ktx::join_lists(":a", "c"), "c:a");
  EXPECT_EQ(ktx::join_lists(":a:", "c"), ":a:");
}

TEST(DynamicLibraryName, TheBaseNameHasNoDirectoryEndingAndLib) {
  EXPECT_EQ(ktx::base_name_of("/x/libnamed.so"), "named");
  EXPECT_EQ(ktx::base_name_of("Qsrv_22_2.so"), "Qsrv_22_2");
  EXPECT_EQ(ktx::base_name_of(".hidden"), ".hidden");
}

// ---- the search ----------------------------------------------------------------------------------------------------

TEST_F(DynamicLibraryTest, APlainNameIsFoundInTheCurrentDirectoryLast) {
  place("plain.so", "plain.so");
  ktxDynamicLibrary library;
  EXPECT_EQ(taken(library.full_name("plain")), "./plain.so");
  EXPECT_TRUE(library.load("plain"));
}

TEST_F(DynamicLibraryTest, TheUsersDirectoryComesBeforePath) {
  place("plain.so", "a/plain.so");
  place("plain.so", "b/plain.so");
  const ScopedEnvironment user("KTX_USER_PLUGIN_DIR", in("b"));
  const ScopedEnvironment paths("PATH", in("a"));
  EXPECT_EQ(taken(ktxDynamicLibrary().full_name("plain")), in("b/plain.so"));
}

TEST_F(DynamicLibraryTest, AUsersListThatStartsWithTheSeparatorComesBehindPath) {
  place("plain.so", "a/plain.so");
  place("plain.so", "b/plain.so");
  const ScopedEnvironment user("KTX_USER_PLUGIN_DIR", ":" + in("b"));
  const ScopedEnvironment paths("PATH", in("a"));
  EXPECT_EQ(taken(ktxDynamicLibrary().full_name("plain")), in("a/plain.so"));
}

TEST_F(DynamicLibraryTest, AUsersListBetweenSeparatorsKeepsPathOut) {
  place("plain.so", "a/plain.so");
  const ScopedEnvironment user("KTX_USER_PLUGIN_DIR", ":" + in("b") + ":");
  const ScopedEnvironment paths("PATH", in("a"));
  EXPECT_EQ(taken(ktxDynamicLibrary().full_name("plain")), "(null)");
}

TEST_F(DynamicLibraryTest, PathIsSearchedBehindTheUsersDirectory) {
  place("plain.so", "a/plain.so");
  const ScopedEnvironment user("KTX_USER_PLUGIN_DIR", in("b"));
  const ScopedEnvironment paths("PATH", in("none") + "::" + in("a"));
  EXPECT_EQ(taken(ktxDynamicLibrary().full_name("plain")), in("a/plain.so"));
}

TEST_F(DynamicLibraryTest, TheSearchListComesBeforePath) {
  place("plain.so", "a/plain.so");
  place("plain.so", "b/plain.so");
  const ScopedEnvironment paths("PATH", in("a"));
  ktxDynamicLibrary library;
  ktxDynamicLibrary::set_search_list(in("b").c_str(), false);
  EXPECT_EQ(taken(library.full_name("plain")), in("b/plain.so"));
}

TEST_F(DynamicLibraryTest, TheSearchListComesBehindPathThatTheUsersDirectoryBroughtIn) {
  place("plain.so", "a/plain.so");
  place("plain.so", "b/plain.so");
  const ScopedEnvironment user("KTX_USER_PLUGIN_DIR", in("none"));
  const ScopedEnvironment paths("PATH", in("a"));
  ktxDynamicLibrary library;
  ktxDynamicLibrary::set_search_list(in("b").c_str(), false);
  EXPECT_EQ(taken(library.full_name("plain")), in("a/plain.so"));
  fs::remove(in("a/plain.so"));
  EXPECT_EQ(taken(library.full_name("plain")), in("b/plain.so"));
}

TEST_F(DynamicLibraryTest, TheProductsDirectoryNeedsBothVariables) {
  fs::create_directories(directory.path() / "top/lx");
  place("plain.so", "top/lx/plain.so");
  const ScopedEnvironment set_top("short_topdir", in("top"));
  EXPECT_EQ(taken(ktxDynamicLibrary().full_name("plain")), "(null)");
  const ScopedEnvironment set_cpu("KTX_CPU", "lx");
  EXPECT_EQ(taken(ktxDynamicLibrary().full_name("plain")), in("top/lx/plain.so"));
}

TEST_F(DynamicLibraryTest, TheProductsDirectoryIsOneEvenWithTheSeparatorInItsName) {
  fs::create_directories(directory.path() / "top:a/lx");
  place("plain.so", "top:a/lx/plain.so");
  const ScopedEnvironment set_top("short_topdir", in("top:a"));
  const ScopedEnvironment set_cpu("KTX_CPU", "lx");
  EXPECT_EQ(taken(ktxDynamicLibrary().full_name("plain")), in("top:a/lx/plain.so"));
}

TEST_F(DynamicLibraryTest, ANameThatBeginsWithLibFindsTheFileWithoutThoseLetters) {
  place("plain.so", "a/plain.so");
  const ScopedEnvironment paths("PATH", in("a"));
  EXPECT_EQ(taken(ktxDynamicLibrary().full_name("libplain")), in("a/plain.so"));
  EXPECT_EQ(taken(ktxDynamicLibrary().full_name("lib")), "(null)");
}

TEST_F(DynamicLibraryTest, TheFormWithLibAheadServesTheReportOnly) {
  place("plain.so", "a/libplain.so");
  const ScopedEnvironment paths("PATH", in("a"));
  EXPECT_EQ(taken(ktxDynamicLibrary().full_name("plain")), "(null)");
}

TEST_F(DynamicLibraryTest, APathIsSearchedForNowhere) {
  place("plain.so", "a/plain.so");
  const ScopedEnvironment paths("PATH", in("a"));
  ktxDynamicLibrary library;
  EXPECT_EQ(taken(library.full_name(in("a/plain").c_str())), in("a/plain.so"));
  EXPECT_EQ(taken(library.full_name(in("b/plain").c_str())), "(null)");
  EXPECT_FALSE(library.load("./plain"));
  EXPECT_STREQ(ktxDynamicLibrary::error_text(),
               "The user library \"./plain\" could not be located. These name(s) were searched for: ./plain, "
               "./plain.so.");
}

TEST_F(DynamicLibraryTest, ADirectoryIsNoLibrary) {
  fs::create_directories(directory.path() / "plain.so");
  fs::create_directories(directory.path() / "plain");
  EXPECT_EQ(taken(ktxDynamicLibrary().full_name("plain")), "(null)");
}

TEST_F(DynamicLibraryTest, ANameMayBeTheFileItself) {
  place("plain.so", "a/plain.7");
  const ScopedEnvironment paths("PATH", in("a"));
  EXPECT_EQ(taken(ktxDynamicLibrary().full_name("plain.7")), in("a/plain.7"));
}

TEST_F(DynamicLibraryTest, VeryLongNamesAndListsAreSearchedSafely) {
  std::string list;
  for (int i = 0; i < 2000; ++i) list += in("directory_that_does_not_exist") + std::to_string(i) + ":";
  const ScopedEnvironment paths("PATH", list + in("a"));
  place("plain.so", "a/plain.so");
  EXPECT_EQ(taken(ktxDynamicLibrary().full_name("plain")), in("a/plain.so"));
  EXPECT_EQ(taken(ktxDynamicLibrary().full_name(std::string(100000, 'x').c_str())), "(null)");
}

// ---- reports -------------------------------------------------------------------------------------------------------

TEST_F(DynamicLibraryTest, TheReportNamesAllNamesAndPlaces) {
  const ScopedEnvironment user("KTX_USER_PLUGIN_DIR", "/u");
  const ScopedEnvironment paths("PATH", "/p:/q");
  const ScopedEnvironment set_top("short_topdir", "/t");
  const ScopedEnvironment set_cpu("KTX_CPU", "c");
  ktxDynamicLibrary library;
  ktxDynamicLibrary::set_search_list("/s", false);
  const char *reason = nullptr;
  EXPECT_FALSE(library.load("absent", &reason));
  EXPECT_STREQ(reason,
               "The user library \"absent\" could not be located. These name(s) were searched for: absent, libabsent, "
               "absent.so, libabsent.so. They were not located in the path list:/u:/s:/p:/q:/t/c:./");
}

TEST_F(DynamicLibraryTest, TheReportKeepsToTheFormsOfTheName) {
  const char *reason = nullptr;
  ktxDynamicLibrary library("libabsent.so", &reason);
  EXPECT_FALSE(library.is_loaded());
  EXPECT_STREQ(reason,
               "The user library \"libabsent.so\" could not be located. These name(s) were searched for: libabsent.so. "
               "They were not located in the path list:./");
}

TEST_F(DynamicLibraryTest, ALongReportIsCut) {
  ktxDynamicLibrary library(std::string(5000, 'x').c_str());
  EXPECT_EQ(std::strlen(ktxDynamicLibrary::error_text()), 1024U);
}

TEST_F(DynamicLibraryTest, AFileThatIsNoLibraryGivesTheSystemsReason) {
  write_file(in("broken.so"), "not a library");
  const char *reason = nullptr;
  ktxDynamicLibrary library("broken", &reason, true);
  EXPECT_FALSE(library.is_loaded());
  EXPECT_THAT(reason, HasSubstr("broken.so"));
}

TEST_F(DynamicLibraryTest, AnEmptyNameGivesTheSearchReport) {
  for (const char *name : {static_cast<const char *>(nullptr), ""}) {
    ktxDynamicLibrary library;
    EXPECT_FALSE(library.load(name));
    EXPECT_STREQ(
        ktxDynamicLibrary::error_text(),
        "The user library \"\" could not be located. These name(s) were searched for: , lib, .so, lib.so. They "
        "were not located in the path list:./");
    EXPECT_EQ(library.reference_count_of(name), -1);
  }
}

TEST_F(DynamicLibraryTest, TheTraceTellsEveryStep) {
  // The trace is opened once per process, so that this runs in a process of its own.
  ::testing::FLAGS_gtest_death_test_style = "threadsafe";
  place("plain.so", "plain.so");
  write_file(in("broken.so"), "not a library");
  EXPECT_EXIT(
      {
        fs::current_path(directory.path());
        unsetenv("PATH");
        fs::copy_file(kPlugins / "plain.so", "plain.so", fs::copy_options::overwrite_existing);
        write_file("broken.so", "not a library");
        setenv("VENTA_I_CAN_NOT_LOAD_MY_LIBRARY", "trace.txt", 1);
        {
          ktxDynamicLibrary first("plain");
          ktxDynamicLibrary second("plain");
          first.find_symbol("plain_answer");
          first.find_symbol("other_answer");
          first.unload();
          second.load("broken");
          second.load("absent");
        }
        std::string text = read_file("trace.txt");
        const std::size_t reason = text.find("   ERROR: ./broken.so");
        if (reason == std::string::npos) std::exit(3);
        text.replace(reason, text.find('\n', reason) - reason, "   ERROR: reason");
        std::exit(text == "Loading: plain\n   Full Name: ./plain.so\n   Load OK\n"
                          "Loading: plain\n   Full Name: ./plain.so\n   Already loaded\n"
                          "Looking for function: plain_answer Found\nLooking for function: other_answer Not Found\n"
                          "Unloading: ./plain.so\n"
                          "Loading: broken\n   Full Name: ./broken.so\n   Not Loaded\n   ERROR: reason\n"
                          "Loading: absent\n   Full Name: absent\n"
                          "   ERROR: The user library \"absent\" could not be located. These name(s) were searched "
                          "for: absent, libabsent, absent.so, libabsent.so. They were not located in the path "
                          "list:./\n"
                          "Unloading: ./plain.so\n"
                      ? 0
                      : 4);
      },
      ::testing::ExitedWithCode(0), "");
}

// ---- loading and hooks ---------------------------------------------------------------------------------------------

TEST_F(DynamicLibraryTest, HooksAreCalledOnceForTwoObjects) {
  place("hooked.so", "hooked.so");
  ktxDynamicLibrary first("hooked");
  ktxDynamicLibrary second("hooked");
  EXPECT_EQ(first.reference_count_of("hooked"), 2);
  EXPECT_EQ(variable("HOOKED_CALLS"), "i");
  first.unload();
  EXPECT_EQ(second.reference_count_of("hooked"), 1);
  EXPECT_FALSE(first.is_loaded());
  EXPECT_EQ(variable("HOOKED_CALLS"), "i");
  second.unload();
  EXPECT_EQ(second.reference_count_of("hooked"), 0);
  EXPECT_EQ(variable("HOOKED_CALLS"), "it");
}

TEST_F(DynamicLibraryTest, HooksMayCarryTheBaseName) {
  place("libnamed.so", "libnamed.so");
  { ktxDynamicLibrary library("libnamed"); }
  EXPECT_EQ(variable("NAMED_CALLS"), "it");
}

TEST_F(DynamicLibraryTest, HooksOfLibrariesThatItDependsOnAreNotCalled) {
  const ScopedEnvironment paths("PATH", kPlugins.string());
  ktxDynamicLibrary library("dependent");
  EXPECT_TRUE(library.is_loaded());
  library.unload();
  EXPECT_EQ(variable("HOOKED_CALLS"), "");
}

TEST_F(DynamicLibraryTest, TwoPathsWithOneFileNameAreOneLibrary) {
  place("hooked.so", "a/hooked.so");
  place("hooked.so", "b/hooked.so");
  ktxDynamicLibrary first(in("a/hooked.so").c_str());
  ktxDynamicLibrary second(in("b/hooked.so").c_str());
  EXPECT_EQ(first.reference_count_of(in("b/hooked.so").c_str()), 2);
  EXPECT_EQ(variable("HOOKED_CALLS"), "i");
}

TEST_F(DynamicLibraryTest, SymbolsAreFoundWhileTheLibraryIsLoaded) {
  place("hooked.so", "hooked.so");
  ktxDynamicLibrary library("hooked");
  auto *answer = reinterpret_cast<int (*)()>(library.find_symbol("hooked_answer"));
  ASSERT_NE(answer, nullptr);
  EXPECT_EQ(answer(), 42);
  EXPECT_EQ(library.find_symbol("no_such_function"), nullptr);
  EXPECT_EQ(library.find_symbol(nullptr), nullptr);
  library.unload();
  EXPECT_EQ(library.find_symbol("hooked_answer"), nullptr);
}

TEST_F(DynamicLibraryTest, UnloadingByNameTakesALastReferenceFromItsHolder) {
  place("hooked.so", "hooked.so");
  ktxDynamicLibrary holder("hooked");
  ktxDynamicLibrary other;
  other.unload_by_name("hooked");
  EXPECT_FALSE(holder.is_loaded());
  EXPECT_EQ(variable("HOOKED_CALLS"), "it");
  other.unload_by_name("hooked");
  other.unload_by_name("absent");
  other.unload_by_name(nullptr);
  holder.unload();
  EXPECT_EQ(variable("HOOKED_CALLS"), "it");
}

TEST_F(DynamicLibraryTest, TheLastErrorGoesWithTheRegistry) {
  place("plain.so", "plain.so");
  ktxDynamicLibrary library("plain");
  EXPECT_STREQ(ktxDynamicLibrary::error_text(), "");
  library.unload();
  EXPECT_EQ(ktxDynamicLibrary::error_text(), nullptr);
}

TEST_F(DynamicLibraryTest, LoadingAnotherLibraryLetsTheFormerOneGo) {
  place("hooked.so", "hooked.so");
  place("plain.so", "plain.so");
  ktxDynamicLibrary library("hooked");
  EXPECT_TRUE(library.load("plain"));
  EXPECT_EQ(variable("HOOKED_CALLS"), "it");
  EXPECT_EQ(library.reference_count_of("hooked"), 0);
  EXPECT_NE(library.find_symbol("plain_answer"), nullptr);
}

TEST_F(DynamicLibraryTest, LoadingTheHeldLibraryAddsAReferenceAndDoesNotStartItAnew) {
  place("hooked.so", "hooked.so");
  {
    ktxDynamicLibrary library("hooked");
    EXPECT_TRUE(library.load("hooked"));
    EXPECT_EQ(library.reference_count_of("hooked"), 2);
    EXPECT_EQ(variable("HOOKED_CALLS"), "i");
    library.unload();
    EXPECT_TRUE(library.is_loaded());
    EXPECT_EQ(library.reference_count_of("hooked"), 1);
    EXPECT_TRUE(library.load("hooked"));
  }
  // The object's end drops what it still holds.
  EXPECT_EQ(variable("HOOKED_CALLS"), "it");
  EXPECT_EQ(ktxDynamicLibrary().reference_count_of("hooked"), 0);
}

TEST_F(DynamicLibraryTest, AFailedLoadKeepsWhatIsHeld) {
  place("hooked.so", "hooked.so");
  write_file(in("broken.so"), "not a library");
  ktxDynamicLibrary library("hooked");
  for (const char *name : {"absent", "broken", ""}) {
    EXPECT_FALSE(library.load(name)) << name;
    EXPECT_STRNE(ktxDynamicLibrary::error_text(), "") << name;
    EXPECT_TRUE(library.is_loaded()) << name;
    EXPECT_NE(library.find_symbol("hooked_answer"), nullptr) << name;
    EXPECT_EQ(library.reference_count_of("hooked"), 1) << name;
  }
  EXPECT_EQ(variable("HOOKED_CALLS"), "i");
}

// ---- the search list -----------------------------------------------------------------------------------------------

TEST_F(DynamicLibraryTest, TheSearchListIsReplacedOrAppended) {
  ktxDynamicLibrary library;
  EXPECT_EQ(ktxDynamicLibrary::search_list(), nullptr);
  ktxDynamicLibrary::set_search_list("/a", true);
  ktxDynamicLibrary::set_search_list("/b", true);
  EXPECT_STREQ(ktxDynamicLibrary::search_list(), "/a:/b");
  ktxDynamicLibrary::set_search_list("/c", false);
  EXPECT_STREQ(ktxDynamicLibrary::search_list(), "/c");
  ktxDynamicLibrary::set_search_list("", false);
  EXPECT_EQ(ktxDynamicLibrary::search_list(), nullptr);
}

TEST_F(DynamicLibraryTest, TheSearchListGoesWithTheLastObject) {
  {
    ktxDynamicLibrary one;
    {
      ktxDynamicLibrary two;
      ktxDynamicLibrary::set_search_list("/a", false);
    }
    EXPECT_STREQ(ktxDynamicLibrary::search_list(), "/a");
  }
  EXPECT_EQ(ktxDynamicLibrary::search_list(), nullptr);
}

}  // namespace
}  // namespace sbrtest
