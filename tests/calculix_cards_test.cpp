// The cards of a deck: the table and its page, what is refused with file and line, included files, and results that are
// not what they seem.
#include <gmock/gmock.h>

#include "calculix/cards.h"
#include "calculix/deck.h"
#include "calculix/job.h"
#include "common/model.h"
#include "support/complaint.h"
#include "support/files.h"
#include "support/messages.h"

namespace sbrtest {
namespace {

using sbrtranslate::Card;
using sbrtranslate::card_rules;
using sbrtranslate::CardRole;
using sbrtranslate::CardRule;
using sbrtranslate::DeckNotes;
using sbrtranslate::ImportOptions;
using sbrtranslate::ImportReport;
using sbrtranslate::InputError;
using sbrtranslate::Model;
using sbrtranslate::ShellSide;
using sbrtranslate::Where;
using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::StartsWith;

const std::string kBrick =
    "*NODE\n1,0,0,0\n2,1,0,0\n3,1,1,0\n4,0,1,0\n5,0,0,1\n6,1,0,1\n7,1,1,1\n8,0,1,1\n"
    "*ELEMENT, TYPE=C3D8, ELSET=E\n1,1,2,3,4,5,6,7,8\n";
const std::string kSteel = "*MATERIAL, NAME=STEEL\n*DENSITY\n8.0\n*SOLID SECTION, ELSET=E, MATERIAL=STEEL\n";

class CardTest : public LibraryTest {
 protected:
  Model model(const std::string &text, const std::vector<std::string> &interfaces = {}, DeckNotes *notes = nullptr) {
    write_file(path, text);
    return sbrtranslate::build_model(sbrtranslate::read_deck(path, notes), interfaces);
  }
  std::string complaint(const std::string &text, const std::vector<std::string> &interfaces = {}) {
    return complaint_of(scratch, [&] { model(text, interfaces); });
  }
  ScratchDirectory scratch;
  std::string path = scratch.file("job.inp");
};

const char *word_of(CardRole role) {
  return role == CardRole::read      ? "read"
         : role == CardRole::results ? "in the results"
         : role == CardRole::passed  ? "passed over"
                                     : "refused";
}

// ---- The table

TEST_F(CardTest, ThePageShowsTheTableOfTheReader) {
  std::vector<std::string> rows;
  std::istringstream page(read_file(SBRKIT_SOURCE_DIR "/docs/calculix-cards.md"));
  for (std::string line; std::getline(page, line);)
    if (line.rfind("| `*", 0) == 0) rows.push_back(line);
  std::vector<std::string> wanted;
  for (const CardRule &rule : card_rules())
    wanted.push_back("| `" + std::string(rule.card) + (rule.parameter.empty() ? "" : ", ") +
                     std::string(rule.parameter) + "` | " + word_of(rule.role) + " | " + std::string(rule.words) +
                     " |");
  EXPECT_EQ(rows, wanted);
}

TEST_F(CardTest, EveryCardOfTheTableDoesWhatItsRowSays) {
  int refused = 0;
  for (const CardRule &rule : card_rules()) {
    Card card;
    card.keyword = sbrtranslate::squeeze(rule.card);
    card.place = {"deck", 7};
    if (!rule.parameter.empty()) {
      const std::string parameter = sbrtranslate::squeeze(rule.parameter);
      const std::size_t equals = parameter.find('=');
      card.parameters[parameter.substr(0, equals)] =
          equals == std::string::npos ? std::string("1") : parameter.substr(equals + 1);
    }
    const std::string text = complaint_of(scratch, [&] { (void)sbrtranslate::judge_card(card); });
    if (rule.role != CardRole::refused) {
      EXPECT_EQ(text, "") << rule.card;
      continue;
    }
    ++refused;
    EXPECT_THAT(text, StartsWith("deck:7: " + std::string(rule.card)));
    EXPECT_THAT(text, HasSubstr(std::string(rule.words)));
  }
  EXPECT_GT(refused, 20);
}

TEST_F(CardTest, TheTableIsSortedAndSaysSomethingOfEachCard) {
  const auto rules = card_rules();
  for (std::size_t i = 0; i < rules.size(); ++i) {
    EXPECT_FALSE(rules[i].words.empty()) << rules[i].card;
    if (i != 0) {
      EXPECT_LE(rules[i - 1].card, rules[i].card);
    }
    // Rules of parameters stand behind that of their card.
    if (!rules[i].parameter.empty()) {
      EXPECT_EQ(rules[i - 1].card, rules[i].card);
    }
  }
}

TEST_F(CardTest, WhatChangesTheBodyIsRefusedWithFileAndLine) {
  ASSERT_EQ(complaint(kBrick + kSteel), "");
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"*GAP, ELSET=M\n1.\n", "job.inp:16: *GAP is refused: "},
      {"*NORMAL\n1,1,0,0,1\n", "job.inp:16: *NORMAL is refused: "},
      {"*NODAL THICKNESS\n1, -2.\n", "job.inp:17: a node or a set and its thickness expected"},
      {"*NODAL THICKNESS\nNOWHERE, 2.\n", "job.inp:17: no node set 'NOWHERE'"},
      {"*MODEL CHANGE, TYPE=ELEMENT, REMOVE\nE\n", "job.inp:16: *MODEL CHANGE is refused: "},
      {"*STEP\n*BUCKLE\n5\n*END STEP\n", "job.inp:17: *BUCKLE is refused: "},
      {"*STEP\n*COMPLEX FREQUENCY, CORIOLIS\n5\n*END STEP\n", "job.inp:17: *COMPLEX FREQUENCY is refused: "},
      {"*Restart, Read, Step=1\n", "job.inp:16: *RESTART, READ is refused: "},
      {"*EL FILE, SECTION FORCES\nS\n", "job.inp:16: *EL FILE, SECTION FORCES is refused: "},
      {"*NSET, NSET=A, ELSET=E\n", "job.inp:16: *NSET, ELSET is refused: list the nodes"},
      {"*DENSTIY\n8\n", "job.inp:16: *DENSTIY is not a known card"},
      {"*MATERIAL, NAME=M\n*DENSITY\n8, 20\n7, 400\n", "job.inp:19: material M has densities that change with"},
      {"*EQUATION\n2\n1,1,1.0\n", "job.inp:17: the equation lacks 1 of its terms"},
      {"*EQUATION\n0\n", "job.inp:17: an equation needs a term"},
      {"*BOUNDARY\nNOWHERE,1,3\n", "job.inp:17: no node set 'NOWHERE' so far"},
  };
  for (const auto &[text, want] : cases) EXPECT_THAT(complaint(kBrick + kSteel + text), StartsWith(want));
}

TEST_F(CardTest, ADensityThatIsTheSameAtAllTemperaturesIsOne) {
  const Model body = model(kBrick +
                           "*MATERIAL, NAME=STEEL\n*DENSITY\n8, 20\n8.0, 400\n*SOLID SECTION, ELSET=E, "
                           "MATERIAL=STEEL\n");
  EXPECT_NEAR(body.exact.mass, 8.0, 1e-13);
}

TEST_F(CardTest, EquationsSupportsAndModuliAreNoted) {
  DeckNotes notes;
  model(kBrick + "*NSET, NSET=FOOT\n1,2\n*BOUNDARY\nFOOT,2,3\n7,1\n*EQUATION\n3\n8,1,1.0,\n7,1,-0.5,6,1,-0.5\n" +
            "*MATERIAL, NAME=STEEL\n*ELASTIC\n210000, 0.3\n*DENSITY\n8.0\n*SOLID SECTION, ELSET=E, MATERIAL=STEEL\n",
        {}, &notes);
  ASSERT_EQ(notes.supports.size(), 5u);
  EXPECT_EQ(notes.supports[1].node, 1);
  EXPECT_EQ(notes.supports[1].direction, 3);
  EXPECT_EQ(notes.supports[4].direction, 1);
  ASSERT_EQ(notes.equations.size(), 1u);
  ASSERT_EQ(notes.equations[0].terms.size(), 3u);
  EXPECT_EQ(notes.equations[0].terms[2].node, 6);
  EXPECT_EQ(notes.equations[0].terms[2].factor, -0.5);
  EXPECT_EQ(notes.moduli.at("STEEL"), 210000.0);
}

// ---- Included files

TEST_F(CardTest, AnIncludedFileMayHoldDataLinesOnly) {
  write_file(scratch.file("nodes.txt"), "2,1,0,0\n3,1,1,0\n4,0,1,0\n5,0,0,1\n6,1,0,1\n7,1,1,1\n");
  const Model body = model(
      "*NODE\n1,0,0,0\n*INCLUDE, INPUT=nodes.txt\n8,0,1,1\n*ELEMENT, TYPE=C3D8, ELSET=E\n1,1,2,3,4,\n"
      "*INCLUDE, INPUT=rest.txt\n" +
      (write_file(scratch.file("rest.txt"), "5,6,7,8\n"), kSteel));
  EXPECT_EQ(body.nodes.size(), 8u);
  EXPECT_NEAR(body.volume, 1.0, 1e-13);
}

TEST_F(CardTest, NestedFilesCountFromTheFolderOfTheDeck) {
  std::filesystem::create_directory(scratch.path() / "parts");
  write_file(scratch.file("parts/mesh.inc"), kBrick + "*INCLUDE, INPUT=steel.inc\n");
  write_file(scratch.file("parts/steel.inc"), "*MATERIAL, NAME=STEEL\n*DENSITY\n1.0\n");
  const std::string deck = "*INCLUDE, INPUT=parts/mesh.inc\n*SOLID SECTION, ELSET=E, MATERIAL=STEEL\n";
  EXPECT_EQ(complaint(deck), "parts/mesh.inc:12: no such file to include: steel.inc");
  write_file(scratch.file("steel.inc"), "*MATERIAL, NAME=STEEL\n*DENSITY\n8.0\n");
  EXPECT_NEAR(model(deck).exact.mass, 8.0, 1e-13) << "not that beside the file that includes it";
}

TEST_F(CardTest, TwoFilesThatCouldBeMeantAreRefused) {
  std::filesystem::create_directory(scratch.path() / "elsewhere");
  write_file(scratch.file("steel.inc"), kSteel);
  write_file(scratch.file("elsewhere/steel.inc"), kSteel);
  const auto before = std::filesystem::current_path();
  std::filesystem::current_path(scratch.path() / "elsewhere");
  const std::string text = complaint(kBrick + "*INCLUDE, INPUT=steel.inc\n");
  std::filesystem::current_path(scratch.path());
  const std::string same = complaint(kBrick + "*INCLUDE, INPUT=steel.inc\n");
  std::filesystem::current_path(before);
  EXPECT_EQ(text.substr(0, 40), "job.inp:12: two files to include, and th");
  EXPECT_EQ(same, "");
}

TEST_F(CardTest, AMissingIncludeAndALoopAreTold) {
  EXPECT_EQ(complaint("*INCLUDE, INPUT=none.inc\n"), "job.inp:1: no such file to include: none.inc");
  EXPECT_EQ(complaint("*INCLUDE\n"), "job.inp:1: *INCLUDE without INPUT=");
  write_file(scratch.file("a.inc"), "** first\n*INCLUDE, INPUT=b.inc\n");
  write_file(scratch.file("b.inc"), "*INCLUDE, INPUT=./a.inc\n");
  EXPECT_THAT(complaint("*INCLUDE, INPUT=a.inc\n"), StartsWith("b.inc:1: the file includes itself"));
}

// ---- Interfaces

TEST_F(CardTest, AnInterfaceIsASetOfNodesAndNotEmpty) {
  const std::string sets = "*NSET, NSET=NONE\n*NSET, NSET=SOME\n1,2\n";
  EXPECT_EQ(complaint(kBrick + kSteel + sets, {"some"}), "");
  EXPECT_EQ(complaint(kBrick + kSteel + sets, {"None"}), "job.inp:16: node set 'None' is empty, and no interface");
  EXPECT_EQ(complaint(kBrick + kSteel + sets, {"E"}),
            "job.inp: 'E' is a set of elements, and interfaces are sets of nodes");
  EXPECT_EQ(complaint(kBrick + kSteel + "*NSET, NSET=A\nE\n", {"A"}),
            "job.inp:17: 'E' holds elements, and a node set is expected");
}

// ---- Results in local axes and in two dimensions: real results of the solver

class LocalResults : public CardTest {
 protected:
  std::string import(const std::string &name, ImportOptions options = {}) {
    options.deck = std::string(SBRKIT_TEST_DATA) + "/fe/elements/" + name + ".inp";
    return complaint_of(scratch, [&] { body = sbrtranslate::import_ccx(options, report); });
  }
  ~LocalResults() override { body.reset(); }
  ImportReport report;
  sbrtranslate::BodyHandle body;
};

TEST_F(LocalResults, InGlobalAxesTheyAreTaken) {
  EXPECT_EQ(import("local_displacement_global"), "");
  EXPECT_EQ(import("local_stress_global"), "");
}

TEST_F(LocalResults, DisplacementsInTheAxesOfATransformAreRefused) {
  const std::string text = import("local_displacement_local");
  EXPECT_THAT(text, HasSubstr("local_displacement_local.inp:68: displacements are asked for in the local axes of "));
  EXPECT_THAT(text, HasSubstr("local_displacement_local.inp:62; run the solver with GLOBAL=YES"));
  EXPECT_EQ(body, nullptr);
}

TEST_F(LocalResults, StressInTheAxesOfAnOrientationIsRefusedUnlessItIsNotTaken) {
  EXPECT_THAT(import("local_stress_local"),
              HasSubstr("local_stress_local.inp:68: stress and strain are asked for in the local axes of "));
  ImportOptions options;
  options.stress = Where::none;
  EXPECT_EQ(import("local_stress_local", options), "");
}

TEST_F(LocalResults, ShellsInTwoDimensionsHaveNoSides) {
  ImportOptions options;
  for (const ShellSide side : {ShellSide::top, ShellSide::bottom}) {
    options.shell_side = side;
    EXPECT_THAT(import("flat2d", options), HasSubstr("flat2d.frd.gz: the results hold the shells in two dimensions"));
  }
  options.stress = Where::none;
  EXPECT_EQ(import("flat2d", options), "");
  options = {};
  options.shell_side = ShellSide::middle;
  EXPECT_EQ(import("flat2d", options), "");
  report = {};
  EXPECT_EQ(import("flat2d"), "");
  EXPECT_THAT(report.warnings, Contains(HasSubstr("stress and strain are those of the middle")));
}

}  // namespace
}  // namespace sbrtest
