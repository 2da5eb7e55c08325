// The commands of the store: what the grammar takes comes out as it went in, and qualifiers of any characters either
// find their body again or are refused.
#include <gmock/gmock.h>

#include <map>
#include <random>

#include "support/store_test.h"

#ifdef SBRKIT_STORE_DIRECTORY

#include "command.h"
#include "status.h"

namespace sbrtest {
namespace {

using qsrv::Command;
using qsrv::Term;

// ---- the grammar ---------------------------------------------------------------------------------------------------

bool is_word(const std::string &text) {
  return !text.empty() && text.find_first_of(" \t\r\n=(),;'") == std::string::npos;
}

std::string quoted(const std::string &value) {
  std::string text = "'";
  for (const char c : value) text.append(c == '\'' ? 2 : 1, c);
  return text + "'";
}

std::string text_of(const Term &term) {
  if (!term.has_value) return term.name;
  return term.name + '=' + (term.quoted ? quoted(term.value) : term.value);
}

// A command as text, with separators and blanks drawn by chance.
std::string text_of(const Command &command, std::mt19937 &random) {
  const char *separators[] = {",", ";", " and ", " ; ", " , ;", "\tAND\n"};
  std::string text = command.verb;
  for (const auto &[name, terms] : command.items) {
    text += ' ' + name + (random() % 2 == 0 ? "=(" : " (");
    for (std::size_t i = 0; i < terms.size(); ++i) text += (i > 0 ? separators[random() % 6] : "") + text_of(terms[i]);
    text += ')';
  }
  return text;
}

bool same(const Term &a, const Term &b) {
  return a.name == b.name && a.value == b.value && a.has_value == b.has_value && a.quoted == b.quoted;
}

std::string random_text(std::mt19937 &random, std::size_t longest) {
  static const std::string special = "and=*'();, \t\n\r\"\\AND";
  std::string text;
  for (std::size_t length = random() % (longest + 1); text.size() < length;)
    text += random() % 2 == 0 ? special[random() % special.size()] : static_cast<char>(1 + random() % 255);
  return text;
}

Term random_term(std::mt19937 &random) {
  Term term;
  do {
    term.name = qsrv::lower_case(random_text(random, 5));
  } while (!is_word(term.name) || term.name == "and");
  term.has_value = random() % 4 != 0;
  if (!term.has_value) return term;
  term.value = random_text(random, 8);
  term.quoted = !is_word(term.value) || random() % 2 == 0;
  return term;
}

TEST(StoreGrammar, WhatIsWrittenDownIsReadTheSame) {
  std::mt19937 random(3);
  for (int i = 0; i < 20000; ++i) {
    Command command;
    if (random() % 2 == 0) command.verb = "dbdict";
    for (std::size_t items = 1 + random() % 3; command.items.size() < items;) {
      std::vector<Term> &terms = command.items["item" + std::to_string(random() % 10)];
      for (std::size_t k = random() % 4; k > 0; --k) terms.push_back(random_term(random));
    }
    const std::string text = text_of(command, random);
    const Command read = qsrv::parse_command(text);
    EXPECT_EQ(read.verb, command.verb) << text;
    ASSERT_EQ(read.items.size(), command.items.size()) << text;
    for (const auto &[name, terms] : command.items) {
      const qsrv::Terms &there = read.item(name);
      ASSERT_EQ(there.size(), terms.size()) << text;
      for (std::size_t k = 0; k < terms.size(); ++k) ASSERT_TRUE(same(there[k], terms[k])) << text;
    }
  }
}

TEST(StoreGrammar, BehindAnEqualsSignEveryWordIsAValue) {
  const qsrv::Terms where = qsrv::parse_command("x where(projno=and and version=AND;peid=or)").item("where");
  ASSERT_EQ(where.size(), 3U);
  EXPECT_EQ(where[0].value, "and");
  EXPECT_EQ(where[1].value, "AND");
  EXPECT_EQ(where[2].value, "or");
}

TEST(StoreGrammar, AnyTextIsTakenOrRefused) {
  std::mt19937 random(4);
  int taken = 0;
  for (int i = 0; i < 50000; ++i) {
    const std::string text = random_text(random, 30);
    try {
      qsrv::parse_command(text);
      ++taken;
    } catch (const qsrv::Failure &failure) {
      EXPECT_EQ(failure.status, qsrv::Status::bad_command) << text;
    }
  }
  EXPECT_GT(taken, 0);
  for (const char *bad : {"a=", "a=(", "a(b=)", "a(b=;c=1)", "a(b c)", "a b=1 b=2", "a b b", "'x'", "a 'x'", "=",
                          "a(b='x)", "a(b=c=d)", "a((b))", "a=(b))", "a='x''"}) {
    EXPECT_THROW(qsrv::parse_command(bad), qsrv::Failure) << bad;
  }
}

// ---- from the outside ----------------------------------------------------------------------------------------------

class StoreQualifierTest : public StoreTest {
 protected:
  // Stores a body for each of the qualifiers in one run. The numbers of those that were taken, in the order of the
  // list.
  std::vector<int> store(const std::vector<std::string> &qualifiers) {
    std::vector<int> taken;
    EXPECT_EQ(DB_StartWrite(kMaster), 1);
    for (std::size_t i = 0; i < qualifiers.size(); ++i) {
      log.clear();
      if (add(qualifiers[i], {static_cast<int>(i)}))
        taken.push_back(static_cast<int>(i));
      else
        EXPECT_THAT(log.take(), ::testing::AnyOf(::testing::ElementsAre(error("Cannot create sbr datablock, 105.")),
                                                 ::testing::ElementsAre(error("Cannot create sbr datablock, 106."))))
            << qualifiers[i];
    }
    EXPECT_EQ(DB_TermWrite(), 1);
    return taken;
  }
  // Every body that was taken is found under its number, and described as it was named.
  void expect_found(const std::vector<int> &taken, const std::vector<std::string> &descriptions) {
    start_reading();
    ASSERT_EQ(DB_BodyBrowser(kMaster, 0, nullptr), taken.size());
    for (std::size_t row = 0; row < taken.size(); ++row) {
      const int number = taken[row];
      EXPECT_EQ(first_value(static_cast<int>(row) + 1), number) << descriptions[static_cast<std::size_t>(number)];
      EXPECT_EQ(describe(static_cast<int>(row) + 1), descriptions[static_cast<std::size_t>(number)]);
    }
    EXPECT_TRUE(log.take().empty());
  }
};

std::string description(const std::string &label, const std::string &project) {
  return "SELABEL='" + label + "',projno=" + project + ",version=1,PEID=0,DESITER=0,STEPCUR=0";
}

TEST_F(StoreQualifierTest, EveryCharacterOfALabelIsFoundAgainOrRefused) {
  std::vector<std::string> qualifiers;
  std::vector<std::string> descriptions;
  for (int c = 1; c < 256; ++c) {
    const std::string label = std::string("x") + static_cast<char>(c) + "y";
    qualifiers.push_back("selabel='" + label + "'");
    descriptions.push_back(description(label, "1"));
  }
  const std::vector<int> taken = store(qualifiers);
  EXPECT_EQ(taken.size(), 255U - 31U - 2U);  // all but control characters and the quote
  expect_found(taken, descriptions);
}

TEST_F(StoreQualifierTest, EveryCharacterOfAnotherQualifierIsFoundAgainOrRefused) {
  std::vector<std::string> qualifiers;
  std::vector<std::string> descriptions;
  for (int c = 1; c < 256; ++c) {
    const std::string value = std::string("x") + static_cast<char>(c) + "y";
    qualifiers.push_back("projno='" + value + "'");
    descriptions.push_back(description("", value));
  }
  const std::vector<int> taken = store(qualifiers);
  EXPECT_EQ(taken.size(), 26U + 26U + 10U + 4U + 128U);
  expect_found(taken, descriptions);
}

TEST_F(StoreQualifierTest, WordsOfTheCommandLanguageAreValuesLikeOthers) {
  std::vector<std::string> qualifiers;
  std::vector<std::string> descriptions;
  for (const char *value :
       {"and",   "AND",   "And",     "or",      "true", "projno", "version", "highqual", "selabel", "wildcard",
        "where", "sbrdb", "datablk", "convert", "1",    "-1",     "+1",      "1e5",      "_",       "."}) {
    qualifiers.push_back(std::string("projno='") + value + "'");
    descriptions.push_back(description("", value));
    qualifiers.push_back(std::string("selabel='") + value + "',projno=" + value);
    descriptions.push_back(description(value, value));
    qualifiers.push_back(std::string("selabel=' and projno=") + value + " and '");
    descriptions.push_back(description(std::string(" and projno=") + value + " and", "1"));
  }
  const std::vector<int> taken = store(qualifiers);
  EXPECT_EQ(taken.size(), qualifiers.size());
  expect_found(taken, descriptions);
}

TEST_F(StoreQualifierTest, RandomLabelsAreFoundAgainOrRefused) {
  std::mt19937 random(5);
  std::map<std::string, std::string> labels;  // without trailing blanks -> as given
  while (labels.size() < 300) {
    const std::string text = random_text(random, 40);
    labels.emplace(text.substr(0, text.find_last_not_of(' ') + 1), text);
  }
  std::vector<std::string> qualifiers;
  std::vector<std::string> descriptions;
  for (const auto &[label, given] : labels) {
    qualifiers.push_back("selabel='" + given + "'");
    descriptions.push_back(description(label, "1"));
  }
  const std::vector<int> taken = store(qualifiers);
  EXPECT_GT(taken.size(), 30U);
  expect_found(taken, descriptions);
}

TEST_F(StoreQualifierTest, WhatTheListDoesNotShowTellsNoBodiesApart) {
  EXPECT_EQ(put("selabel='a',color=red", {1}), 0);
  EXPECT_EQ(put("selabel='a',highqual=2", {1}), 0);
  EXPECT_EQ(log.take(), (std::vector<Message>{error("Cannot create sbr datablock, 106."),
                                              error("Cannot create sbr datablock, 106.")}));
  EXPECT_TRUE(files().empty());
}

}  // namespace
}  // namespace sbrtest

#endif
