// Rows of the solver's matrices: those that are missing follow equations, supports, or nothing at all.
#include <gmock/gmock.h>

#include "calculix/dof_table.h"
#include "support/model_job.h"

namespace sbrtest {
namespace {

using sbrtranslate::Model;
using ::testing::HasSubstr;
using ::testing::StartsWith;

using DofTableTest = ModelJobTest;

// The reduction has as many normal modes that its lowest frequencies are those of the full model within a percent; it
// is stiffer.
TEST_F(DofTableTest, DegreesOfFreedomThatDependOnOthersFollowTheirEquations) {
  take_matrices("tied_EQUATION");
  ASSERT_EQ(complaint(), "");
  const auto at = [&](int mode, int node) {
    std::array<double, 3> u{};
    EXPECT_EQ(SBR_ModeByNode(body.get(), mode, 0, node, u.data(), 0), 1);
    return u;
  };
  const Model &model = report.model;
  int pairs = 0;
  for (const auto &a : model.nodes)
    for (const auto &b : model.nodes) {
      if (a.id >= b.id || a.place != b.place) continue;
      ++pairs;
      for (int mode = 1; mode <= SBR_ModeCount(body.get()); ++mode) EXPECT_EQ(at(mode, a.id), at(mode, b.id));
    }
  EXPECT_EQ(pairs, 9);
  write_both();
}

TEST_F(DofTableTest, IncompatibleModesAreInnerRows) {
  take_matrices("bar_C3D8I");
  ASSERT_EQ(complaint(), "");
  write_both();
  take_matrices("bar_C3D8I");
  deck.replace(deck.find("TYPE=C3D8I"), 10, "TYPE=C3D8");
  EXPECT_THAT(complaint(), HasSubstr("bar_C3D8I.dof.gz:190: node 64 is not a node of the deck's elements"));
}

TEST_F(DofTableTest, OtherTiesAreRefusedWithMatrices) {
  take_matrices("tied_TIE");
  EXPECT_THAT(complaint(), StartsWith("job.inp:" + std::to_string(line_of("*TIE")) + ": *TIE ties degrees of freedom"));
  for (const std::string card : {"*MPC\nPLANE, 1, 2, 3, 4", "*PRE-TENSION SECTION", "*SUBMODEL"}) {
    take_matrices("tied_EQUATION");
    deck.insert(deck.find("*STEP"), card + "\n");
    EXPECT_THAT(complaint(), StartsWith("job.inp:" + std::to_string(line_of(card)) + ": *"));
    EXPECT_THAT(complaint(), HasSubstr("ties degrees of freedom in a way that the matrices do not tell"));
  }
  take_matrices("tied_EQUATION");
  deck.insert(deck.find("*STEP"), "*TRANSFORM, NSET=IFACE\n1,1,0,0,1,1\n*BOUNDARY\nIFACE,1\n");
  EXPECT_THAT(complaint(), StartsWith("job.inp:" + std::to_string(line_of("*TRANSFORM")) + ": *TRANSFORM with"));
}

TEST_F(DofTableTest, RowsThatAreMissingNeedAReason) {
  take_matrices("tied_EQUATION");
  const std::size_t first = deck.find("*EQUATION");
  const std::size_t second = deck.find("*EQUATION", first + 1);
  deck.erase(first, second - first);
  EXPECT_THAT(complaint(), HasSubstr(" has no row, and the deck has neither *BOUNDARY nor *EQUATION for it"));
  take_matrices("tied_EQUATION");
  deck.insert(deck.find("*STEP"), "*EQUATION\n2\n1,1,1.0,2,1,-1.0\n");
  EXPECT_THAT(complaint(), StartsWith("job.inp:" + std::to_string(line_of("\n1,1,1.0,2,1")) +
                                      ": degree of freedom 1 of " + "node 1 depends on others here, and is held"));
}

TEST_F(DofTableTest, EquationsInACircleAndInterfacesThatDependAreRefused) {
  take_matrices("tied_EQUATION");
  // The first equation of the deck: right node, left node. Its own dependent degree of freedom is made a term of what
  // it depends on.
  const std::size_t first = deck.find("*EQUATION\n2\n") + 12;
  const std::size_t end = deck.find('\n', first);
  const std::string line = deck.substr(first, end - first);
  const std::size_t next = deck.find("*EQUATION\n2\n", end) + 12;
  const std::string other = deck.substr(next, deck.find('\n', next) - next);
  const std::string a = line.substr(0, line.find(", 1.0"));
  const std::string b = other.substr(0, other.find(", 1.0"));
  deck.replace(next, other.size(), b + ", 1.0, " + a + ", -1.0");
  deck.replace(first, line.size(), a + ", 1.0, " + b + ", -1.0");
  EXPECT_THAT(complaint(), HasSubstr(": equations that depend on each other in a circle"));
  take_matrices("tied_EQUATION");
  const std::string node = a.substr(0, a.find(','));
  deck.insert(deck.find("*STEP"), "*NSET, NSET=JOINT\n" + node + ",1,2\n");
  options.interfaces = {"JOINT"};
  EXPECT_THAT(complaint(), HasSubstr("node " + node + " is an interface node and depends on others here"));
}

TEST_F(DofTableTest, ShellsAreRefusedWithMatricesAtTheirElement) {
  take("fold_S4");
  options.frd.reset();
  options.matrices = sbrtranslate::MatrixFiles{"none.mas", "none.sti", "none.dof"};
  options.interfaces = {"NALL"};
  options.normal = 4;
  const std::string line = std::to_string(line_of("*ELEMENT") + 1);
  EXPECT_THAT(complaint(),
              StartsWith("job.inp:" + line + ": element 1 is a shell, and matrices are reduced for solids only"));
}

// Shells with an OFFSET have a middle each where they meet at an angle; and flat results do not tell the middle.
TEST_F(DofTableTest, OffsetsAtFoldsAndInFlatResultsAreRefused) {
  take("fold_S8R", "MATERIAL=STEEL\n1.5", "MATERIAL=STEEL, OFFSET=0.5\n1.5");
  EXPECT_THAT(complaint(), HasSubstr("shells with an OFFSET meet at an angle at node "));
  take("flat2d", "MATERIAL=STEEL\n1.5", "MATERIAL=STEEL, OFFSET=0.5\n1.5");
  options.stress = sbrtranslate::Where::none;
  EXPECT_THAT(complaint(), HasSubstr("in two dimensions (OUTPUT=2D), and they have an OFFSET"));
}

}  // namespace
}  // namespace sbrtest
