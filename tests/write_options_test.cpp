// The option vocabulary: plain substrings, values of any length, and scans that meet the end of the text.
#include <fstream>
#include <random>
#include <regex>
#include <set>
#include <sstream>

#include "support/bracket.h"
#include "support/files.h"
#include "support/messages.h"
#include "write/options.h"
#include "write/plan.h"

namespace sbrtest {
namespace {

class WriteOptionsTest : public LibraryTest {
 protected:
  sbr::WriteOptions options;

  void parse(const std::string &text) { ASSERT_TRUE(sbr::parse_write_options(text.c_str(), options)); }
  std::uint32_t word(const std::string &text, const sbr::VersionRules &rules = sbr::kFileVersion) {
    sbr::WriteOptions parsed;
    EXPECT_TRUE(sbr::parse_write_options(text.c_str(), parsed));
    bool conflict = false;
    const std::uint32_t result = sbr::plan_version_word(parsed, rules, conflict);
    EXPECT_FALSE(conflict);
    return result;
  }
};

TEST_F(WriteOptionsTest, NoTextAsksForNothing) {
  ASSERT_TRUE(sbr::parse_write_options(nullptr, options));
  EXPECT_FALSE(options.sparse_stress || options.full_stress || options.no_ortho || options.any_invariants ||
               options.empty);
  EXPECT_EQ(options.lowpass, 1e8);
  EXPECT_EQ(options.highpass, -1.0);
}

TEST_F(WriteOptionsTest, KeywordsAreSubstringsWhereverTheyStand) {
  parse("xno_orthox;full_invar/sketch(/tmp/empty.txt)mks");
  EXPECT_TRUE(options.no_ortho);
  EXPECT_TRUE(options.full_invariants);
  EXPECT_TRUE(options.any_invariants);
  EXPECT_TRUE(options.empty);
  EXPECT_FALSE(options.mks);
  EXPECT_FALSE(options.fast_invariants);
}

TEST_F(WriteOptionsTest, KeywordsAreCaseSensitive) {
  parse("NO_ORTHO Empty MKS SINGLE");
  EXPECT_FALSE(options.no_ortho || options.empty || options.single);
  EXPECT_TRUE(options.mks);
}

TEST_F(WriteOptionsTest, ASketchTakesTheFirstFormThatGivesAName) {
  const std::pair<const char *, const char *> cases[] = {
      {"sketch(a/b c.txt)", "a/b c.txt"},
      {"sketch('a(1).txt')", "a(1).txt"},
      {"sketch(\"it's\")", "it's"},
      {"sketch('a) sketch(\"b\")", "b"},
      {"sketch(\"\")", "\"\""},
      {"sketch(unclosed", "unclosed"},
      {"sketch('')", "''"},
  };
  for (const auto &[text, name] : cases) {
    SCOPED_TRACE(text);
    sbr::WriteOptions parsed;
    ASSERT_TRUE(sbr::parse_write_options(text, parsed));
    ASSERT_TRUE(parsed.sketch_path);
    EXPECT_STREQ(parsed.sketch_path.data(), name);
  }
  for (const char *text : {"sketch", "sketch()", "sketch(", "sketch(\"", "sketch('"}) {
    SCOPED_TRACE(text);
    sbr::WriteOptions parsed;
    ASSERT_TRUE(sbr::parse_write_options(text, parsed));
    EXPECT_FALSE(parsed.sketch_path);
  }
}

TEST_F(WriteOptionsTest, CoarseningTakesDigitsPunctuationAndItsKeyword) {
  parse("no_ortho,coarsen(0.02, 10,1,1001,preserve_str)single");
  ASSERT_TRUE(options.coarsen);
  EXPECT_STREQ(options.coarsen.data(), "0.02, 10,1,1001,preserve_str");
  sbr::WriteOptions stopped;
  ASSERT_TRUE(sbr::parse_write_options("coarsen(0.1;2)", stopped));
  EXPECT_STREQ(stopped.coarsen.data(), "0.1");
  sbr::WriteOptions nothing;
  ASSERT_TRUE(sbr::parse_write_options("coarsen(;)", nothing));
  EXPECT_FALSE(nothing.coarsen);
  sbr::WriteOptions end;
  ASSERT_TRUE(sbr::parse_write_options("coarsen(", end));
  ASSERT_TRUE(end.coarsen);
  EXPECT_STREQ(end.coarsen.data(), "");
}

TEST_F(WriteOptionsTest, FrequenciesAreNumbersAsFarAsTheyGo) {
  parse("lowpass( 1.5e2 )highpass(-3x)");
  EXPECT_EQ(options.lowpass, 150.0);
  EXPECT_EQ(options.highpass, -3.0);
  sbr::WriteOptions strange;
  ASSERT_TRUE(sbr::parse_write_options("lowpass(+5) highpass(", strange));
  EXPECT_EQ(strange.lowpass, 1e8);
  EXPECT_EQ(strange.highpass, 0.0);
}

TEST_F(WriteOptionsTest, ValuesMayHaveAnyLength) {
  const std::string name(1 << 20, 'n');
  parse("sketch(\"" + name + "\") coarsen(" + std::string(300000, '1') + ") lowpass(" + std::string(5000, ' ') + "7)");
  EXPECT_EQ(std::string(options.sketch_path.data()), name);
  EXPECT_EQ(std::string(options.coarsen.data()).size(), 300000U);
  EXPECT_EQ(options.lowpass, 7.0);
}

TEST_F(WriteOptionsTest, TheWordFollowsFromTheOptions) {
  EXPECT_EQ(word(""), 0x13CU);
  EXPECT_EQ(word("single"), 0x33CU);
  EXPECT_EQ(word("no_xdr"), 0x3CU);
  EXPECT_EQ(word("no_xdr single"), 0x23CU);
  EXPECT_EQ(word("full_str"), 41U);
  EXPECT_EQ(word("full_str no_xdr"), 40U);
  EXPECT_EQ(word("full_str single"), 51U);
  EXPECT_EQ(word("single no_xdr full_str"), 50U);
  EXPECT_EQ(word("82_comp"), 20U);
  EXPECT_EQ(word("82_comp no_xdr"), 20U);
  EXPECT_EQ(word("81_comp 82_comp"), 10U);
  EXPECT_EQ(word("full_str 81_comp"), 10U);
}

TEST_F(WriteOptionsTest, TheWordOfADatabaseIsNativeAndMarked) {
  EXPECT_EQ(word("", sbr::kDatabaseVersion), 0x103CU);
  EXPECT_EQ(word("no_xdr", sbr::kDatabaseVersion), 0x103CU);
  EXPECT_EQ(word("single", sbr::kDatabaseVersion), 0x123CU);
  EXPECT_EQ(word("full_str", sbr::kDatabaseVersion), 0x1000U + 40);
  EXPECT_EQ(word("full_str single", sbr::kDatabaseVersion), 0x1000U + 50);
  EXPECT_EQ(word("82_comp", sbr::kDatabaseVersion), 0x1000U + 20);
  EXPECT_EQ(word("81_comp", sbr::kDatabaseVersion), 0x1000U + 10);
}

// ---- the tables -----------------------------------------------------------------------------------------------------

std::vector<std::string> lines_of_the_document() {
  std::ifstream in(SBRKIT_SOURCE_DIR "/docs/write-options.md");
  std::vector<std::string> lines;
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

// The words between backticks of a text.
std::vector<std::string> backticked(const std::string &text) {
  static const std::regex kQuoted("`([^`]*)`");
  std::vector<std::string> words;
  for (std::sregex_iterator found(text.begin(), text.end(), kQuoted), end; found != end; ++found)
    words.push_back((*found)[1]);
  return words;
}

TEST(WriteOptionTable, EveryKeywordStandsOnceAndLeadsSomewhere) {
  std::set<std::string_view> keywords;
  std::set<std::pair<std::string_view, std::string_view>> flags;
  for (const sbr::WriteOption &option : sbr::kWriteOptions) {
    SCOPED_TRACE(option.keyword);
    EXPECT_TRUE(keywords.insert(option.keyword).second);
    EXPECT_EQ(option.member != nullptr, option.value == sbr::OptionValue::none);
    if (option.flag.empty()) continue;
    EXPECT_TRUE(option.flag.starts_with("--"));
    EXPECT_TRUE(flags.insert({option.flag, option.choice}).second);
  }
}

// A text of one keyword sets its own member, and that of a keyword which it contains.
TEST(WriteOptionTable, AKeywordSetsTheMemberOfItsRow) {
  for (const sbr::WriteOption &option : sbr::kWriteOptions) {
    SCOPED_TRACE(option.keyword);
    sbr::WriteOptions parsed;
    ASSERT_TRUE(sbr::parse_write_options(std::string(option.keyword).c_str(), parsed));
    for (const sbr::WriteOption &other : sbr::kWriteOptions) {
      if (other.member == nullptr) continue;
      EXPECT_EQ(parsed.*other.member, option.keyword.find(other.keyword) != std::string_view::npos) << other.keyword;
    }
  }
}

TEST(WriteOptionTable, TheDocumentHasEveryKeywordInTheOrderOfTheTableWithItsFlag) {
  std::vector<std::pair<std::string, std::string>> expected;
  for (const sbr::WriteOption &option : sbr::kWriteOptions) {
    std::string flag(option.flag);
    if (!option.choice.empty()) flag += " " + std::string(option.choice);
    expected.emplace_back(std::string(option.keyword) + (option.value == sbr::OptionValue::none ? "" : "(...)"), flag);
  }
  std::vector<std::pair<std::string, std::string>> documented;
  bool in_table = false;
  for (const std::string &line : lines_of_the_document()) {
    if (line.starts_with("| Keyword ")) in_table = true;
    if (line.empty()) in_table = false;
    if (!in_table || !line.starts_with("| `")) continue;
    std::istringstream cells(line);
    std::string nothing;
    std::string keyword;
    std::string flag;
    std::getline(std::getline(std::getline(cells, nothing, '|'), keyword, '|'), flag, '|');
    const std::vector<std::string> words = backticked(flag);
    std::string named = words.empty() ? "" : words.front();
    // A flag for a value shows what the value is.
    const bool has_value = backticked(keyword).front().ends_with("(...)");
    if (has_value) named = named.substr(0, named.find(' '));
    documented.emplace_back(backticked(keyword).front(), named);
  }
  EXPECT_EQ(documented, expected);
}

TEST(WriteOptionTable, TheDocumentHasEveryContradiction) {
  const auto keyword_of = [](bool sbr::WriteFlags::*member) {
    for (const sbr::WriteOption &option : sbr::kWriteOptions)
      if (option.member == member) return std::string(option.keyword);
    return std::string();
  };
  std::set<std::pair<std::string, std::string>> expected;
  for (const sbr::WriteContradiction &pair : sbr::kWriteContradictions)
    expected.emplace(keyword_of(pair.option), keyword_of(pair.other));
  std::set<std::pair<std::string, std::string>> documented;
  bool in_section = false;
  for (const std::string &line : lines_of_the_document()) {
    if (line.starts_with("## ")) in_section = line == "## Contradictions";
    const std::size_t with = line.find(" with ");
    if (!in_section || !line.starts_with("- ") || with == std::string::npos) continue;
    for (const std::string &first : backticked(line.substr(0, with)))
      for (const std::string &second : backticked(line.substr(with))) documented.emplace(first, second);
  }
  EXPECT_EQ(documented, expected);
}

// ---- any text -------------------------------------------------------------------------------------------------------

// Texts glued together from keywords, halves of keywords, brackets and noise: every write ends with a record or
// without a file, and never says nothing about a failure.
TEST_F(WriteOptionsTest, AnyTextIsSurvived) {
  const char *const pieces[] = {"lbrf2cm",
                                "sketch",
                                "sketch(",
                                "sketch(\"",
                                "sketch('",
                                "strip_face",
                                "coarsen(",
                                "0.1,20,1",
                                "sparse_str",
                                "full_str",
                                "no_ortho",
                                "single",
                                "no_xdr",
                                "82_comp",
                                "81_comp",
                                "invar",
                                "full_invar",
                                "fast_invar",
                                "lowpass(",
                                "highpass(",
                                "2",
                                "1e-3",
                                "empty",
                                "MKS",
                                ")",
                                "\"",
                                "'",
                                ",",
                                " ",
                                "%s%n%d",
                                "\xff\x80",
                                "preserve_str",
                                "optimize_mforce_nodes"};
  const ScratchDirectory scratch;
  const std::string path = scratch.file("out.sbr");
  std::mt19937 random(20240506);
  int records = 0;
  for (int round = 0; round < 300; ++round) {
    std::string text;
    const int count = static_cast<int>(random() % 9);
    for (int i = 0; i < count; ++i) {
      const std::string piece = pieces[random() % std::size(pieces)];
      text += random() % 8 == 0 ? piece.substr(0, random() % (piece.size() + 1)) : piece;
      if (random() % 50 == 0) text += std::string(random() % 5000, static_cast<char>('!' + random() % 90));
    }
    SBR body = build_bracket();
    log.clear();
    const int result = write_record(body, path, text.c_str());
    EXPECT_EQ(std::filesystem::exists(path), result == 1) << text;
    EXPECT_TRUE(result == 1 || !log.take_complaints().empty()) << text;
    if (result == 1) {
      ++records;
      // Two kinds of record no reader takes: a preload without values, as a range without modes leaves it, and the
      // 8.1 layout of a coarsened body, whose mode words its version code does not announce.
      const bool has_modes = SBR_ModalStatisticsExist(body) != 0;
      const bool is_announced = SBR_IsCoarsened(body) == 0 || text.find("81_comp") == std::string::npos;
      EXPECT_EQ(SBR_CreateFromSBR(path.c_str()) != nullptr, has_modes && is_announced) << text;
      std::filesystem::remove(path);
    }
    SBR_Terminate();
  }
  EXPECT_GT(records, 50);
}

}  // namespace
}  // namespace sbrtest
