// Decks: every element type with a body of known volume, odd formatting, and what is wrong with a deck.
#include <gmock/gmock.h>

#include <cmath>

#include "calculix/deck.h"
#include "calculix/steps.h"
#include "common/model.h"
#include "support/complaint.h"
#include "support/files.h"
#include "support/messages.h"

namespace sbrtest {
namespace {

using sbrtranslate::cross;
using sbrtranslate::dot;
using sbrtranslate::InputError;
using sbrtranslate::Model;
using sbrtranslate::Vec3;
using sbrtranslate::operator+;
using sbrtranslate::operator*;

class DeckTest : public LibraryTest {
 protected:
  Model model(const std::string &text, const std::vector<std::string> &interfaces = {}) {
    write_file(path, text);
    return sbrtranslate::build_model(sbrtranslate::read_deck(path), interfaces);
  }
  // What the reading of a deck complains of, with the place; empty when it does not.
  std::string complaint(const std::string &text, const std::vector<std::string> &interfaces = {}) {
    return complaint_of(scratch, [&] { model(text, interfaces); });
  }
  ScratchDirectory scratch;
  std::string path = scratch.file("job.inp");
};

const std::string kSteel = "*MATERIAL, NAME=STEEL\n*DENSITY\n8.0\n";
const std::string kSolid = "*SOLID SECTION, ELSET=E, MATERIAL=STEEL\n";

// ---- Element types. The parent element is mapped by an affine map of determinant 2 x 3 x 5 with shear, or bent.

Vec3 affine(const Vec3 &p) { return {2 * p[0] + p[1] + 7, 3 * p[1] - p[2], 5 * p[2]}; }

const std::vector<Vec3> kTet = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
const std::vector<Vec3> kWedge = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {1, 0, 1}, {0, 1, 1}};
const std::vector<Vec3> kBrick = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0},
                                  {0, 0, 1}, {1, 0, 1}, {1, 1, 1}, {0, 1, 1}};
const std::vector<std::array<std::size_t, 2>> kTetEdges = {{0, 1}, {1, 2}, {2, 0}, {0, 3}, {1, 3}, {2, 3}};
const std::vector<std::array<std::size_t, 2>> kWedgeEdges = {{0, 1}, {1, 2}, {2, 0}, {3, 4}, {4, 5},
                                                             {5, 3}, {0, 3}, {1, 4}, {2, 5}};
const std::vector<std::array<std::size_t, 2>> kBrickEdges = {{0, 1}, {1, 2}, {2, 3}, {3, 0}, {4, 5}, {5, 6},
                                                             {6, 7}, {7, 4}, {0, 4}, {1, 5}, {2, 6}, {3, 7}};

std::vector<Vec3> with_edges(std::vector<Vec3> corners, const std::vector<std::array<std::size_t, 2>> &edges) {
  const std::vector<Vec3> ends = corners;
  for (const auto &[a, b] : edges) corners.push_back(0.5 * (ends[a] + ends[b]));
  return corners;
}

std::string one_element(const std::string &type, const std::vector<Vec3> &places, const std::string &section = kSolid) {
  std::ostringstream deck;
  deck.precision(17);
  deck << "*NODE\n";
  for (std::size_t i = 0; i < places.size(); ++i)
    deck << i + 1 << ", " << places[i][0] << ", " << places[i][1] << ", " << places[i][2] << '\n';
  deck << "*ELEMENT, TYPE=" << type << ", ELSET=E\n1";
  for (std::size_t i = 0; i < places.size(); ++i) deck << (i % 10 == 9 ? ",\n" : ", ") << i + 1;
  deck << '\n' << kSteel << section;
  return deck.str();
}

struct SolidCase {
  const char *type;
  std::vector<Vec3> places;
  double volume;  // of the parent
  int faces;
};

std::vector<SolidCase> solid_cases() {
  return {{"C3D4", kTet, 1.0 / 6.0, 4},
          {"C3D10", with_edges(kTet, kTetEdges), 1.0 / 6.0, 4},
          {"C3D6", kWedge, 0.5, 5},
          {"C3D15", with_edges(kWedge, kWedgeEdges), 0.5, 5},
          {"C3D8", kBrick, 1.0, 6},
          {"C3D8R", kBrick, 1.0, 6},
          {"C3D8I", kBrick, 1.0, 6},
          {"C3D20", with_edges(kBrick, kBrickEdges), 1.0, 6},
          {"C3D20R", with_edges(kBrick, kBrickEdges), 1.0, 6}};
}

TEST_F(DeckTest, EverySolidHasItsExactVolumeAndPositiveMassesThatSumToItsMass) {
  for (const SolidCase &solid : solid_cases()) {
    std::vector<Vec3> places;
    for (const Vec3 &p : solid.places) places.push_back(affine(p));
    const Model body = model(one_element(solid.type, places));
    EXPECT_NEAR(body.volume, 30.0 * solid.volume, 1e-12) << solid.type;
    EXPECT_NEAR(body.exact.mass, 240.0 * solid.volume, 1e-11) << solid.type;
    EXPECT_NEAR(body.lumped.mass, 240.0 * solid.volume, 1e-11) << solid.type;
    for (const auto &node : body.nodes) EXPECT_GT(node.mass, 0.0) << solid.type << " node " << node.id;
    EXPECT_EQ(body.face_count, solid.faces) << solid.type;
    EXPECT_EQ(body.surface_face_count, solid.faces) << solid.type;
    for (const auto &node : body.nodes) EXPECT_TRUE(node.surface) << solid.type << " node " << node.id;
  }
}

// The divergence theorem: a third of the flux of r through faces that look outward is the volume.
TEST_F(DeckTest, FacesOfEverySolidLookOutward) {
  for (const SolidCase &solid : solid_cases()) {
    std::vector<Vec3> places;
    for (const Vec3 &p : solid.places) places.push_back(affine(p));
    const Model body = model(one_element(solid.type, places));
    double volume = 0.0;
    body.visit_faces([&](std::span<const int> face) {
      const auto corner = [&](std::size_t k) {
        return body.nodes[static_cast<std::size_t>(body.node_position(face[k]))].place;
      };
      for (std::size_t k = 2; k < face.size(); ++k) volume += dot(corner(0), cross(corner(k - 1), corner(k))) / 6.0;
    });
    EXPECT_NEAR(volume, 30.0 * solid.volume, 1e-12) << solid.type;
  }
}

// ---- Shells whose thickness or whose place is not plain: a sheet of 4 x 3 at z = 2.

const std::string kSheetNodes = "*NODE\n1,0,0,2\n2,4,0,2\n3,4,3,2\n4,0,3,2\n5,8,0,2\n6,8,3,2\n";
const std::string kSheet = kSheetNodes + "*ELEMENT, TYPE=S4, ELSET=E\n1,1,2,3,4\n" + kSteel;

TEST_F(DeckTest, NodesOfAShellWithAnOffsetArePutToItsMiddle) {
  for (const auto &[offset, z] : {std::pair("0.5", 1.75), std::pair("-0.5", 2.25), std::pair("0.2", 1.9)}) {
    const Model body =
        model(kSheet + "*SHELL SECTION, ELSET=E, MATERIAL=STEEL, OFFSET=" + std::string(offset) + "\n0.5\n");
    ASSERT_EQ(body.nodes.size(), 4U);
    for (const auto &node : body.nodes) EXPECT_NEAR(node.place[2], z, 1e-15);
    EXPECT_EQ(body.mesh.moved_nodes.size(), 4U);
    EXPECT_NEAR(body.exact.mass, 8.0 * 12.0 * 0.5, 1e-12);
    EXPECT_NEAR(body.exact.centre()[2], z, 1e-14);
    EXPECT_NEAR(body.lumped.centre()[2], z, 1e-14);
  }
}

// Thicknesses a + b x: mass, center and the plate's own inertia are integrals of polynomials.
TEST_F(DeckTest, NodalThicknessesAreCarriedByTheShapeFunctions) {
  const Model body =
      model(kSheet + "*NSET, NSET=FAR\n2, 3\n*SHELL SECTION, ELSET=E, MATERIAL=STEEL, NODAL THICKNESS\n9.\n" +
            "*NODAL THICKNESS\n1, 0.1\n4, 0.1\nFAR, 0.5\n");
  const double rho = 8.0 * 3.0;  // by length
  const double mass = rho * (0.1 * 4 + 0.1 * 8);
  EXPECT_NEAR(body.exact.mass, mass, 1e-12);
  EXPECT_NEAR(body.exact.centre()[0], rho * (0.1 * 8 + 0.1 * 64.0 / 3) / mass, 1e-12);
  // The integral of t^3 / 12 along x, t from 0.1 to 0.5: (0.5^4 - 0.1^4) / (4 * 0.1) / 12.
  const double own = rho * (0.0625 - 0.0001) / 0.4 / 12;
  EXPECT_NEAR(body.exact.second[2] - 4.0 * mass, own, 1e-12) << "second moment across the sheet";
  EXPECT_NEAR(body.lumped.mass, mass, 1e-12);
}

TEST_F(DeckTest, OffsetsThatGiveANodeTwoPlacesAreRefused) {
  const std::string more = kSheetNodes +
                           "*ELEMENT, TYPE=S4, ELSET=E\n1,1,2,3,4\n*ELEMENT, TYPE=S4, ELSET=F\n2,2,5,6,3\n" + kSteel +
                           "*SHELL SECTION, ELSET=E, MATERIAL=STEEL, OFFSET=0.5\n0.5\n";
  const std::string second = "*SHELL SECTION, ELSET=F, MATERIAL=STEEL";
  EXPECT_EQ(complaint(more + second + ", OFFSET=0.25\n1.0\n"), "") << "as high above the middle";
  EXPECT_THAT(complaint(more + second + ", OFFSET=0.5\n1.0\n"),
              ::testing::StartsWith("job.inp:17: node 2 has other offsets in other shells"));
  EXPECT_THAT(complaint(more + second + "\n1.0\n"),
              ::testing::StartsWith("job.inp:11: node 2 also belongs to a shell with an OFFSET"));
  const std::string one = kSheet + "*SHELL SECTION, ELSET=E, MATERIAL=STEEL, OFFSET=0.5\n0.5\n";
  EXPECT_THAT(complaint(one + "*ELEMENT, TYPE=MASS, ELSET=M\n9, 3\n*MASS, ELSET=M\n1.\n"),
              ::testing::StartsWith("job.inp:16: node 3 of element 9 belongs to a shell with an OFFSET"));
  EXPECT_THAT(
      complaint(kSheet + "*SHELL SECTION, ELSET=E, MATERIAL=STEEL, NODAL THICKNESS\n1.\n*NODAL THICKNESS\n1,1.\n"),
      ::testing::StartsWith("job.inp:13: node 2 has no *NODAL THICKNESS"));
  EXPECT_THAT(complaint(kSheet + "*SHELL SECTION, ELSET=E, MATERIAL=STEEL, NODAL THICKNESS, OFFSET=0.5\n1.\n" +
                        "*NODAL THICKNESS\n1,1.\n2,1.\n3,1.\n4,2.\n"),
              ::testing::StartsWith("job.inp:13: an OFFSET with thicknesses that change within element 1"));
  EXPECT_THAT(complaint(kSheet + "*SHELL SECTION, ELSET=E, MATERIAL=STEEL, OFFSET=SPOS\n1.\n"),
              ::testing::StartsWith("job.inp:13: an offset expected, found 'SPOS'"));
}

TEST_F(DeckTest, CenterAndInertiaOfABrickAreThoseOfTheBook) {
  std::vector<Vec3> places;
  for (const Vec3 &p : kBrick) places.push_back({4 * p[0] - 2, 2 * p[1] - 1, 6 * p[2] + 1});
  const Model body = model(one_element("C3D8", places));
  const double m = 8.0 * 48.0;
  EXPECT_NEAR(body.exact.mass, m, 1e-10);
  EXPECT_NEAR(body.exact.centre()[2], 4.0, 1e-13);
  const auto inertia = body.exact.inertia(body.exact.centre());
  EXPECT_NEAR(inertia[0], m * (4.0 + 36.0) / 12.0, 1e-9);
  EXPECT_NEAR(inertia[4], m * (16.0 + 36.0) / 12.0, 1e-9);
  EXPECT_NEAR(inertia[8], m * (16.0 + 4.0) / 12.0, 1e-9);
  EXPECT_NEAR(inertia[1], 0.0, 1e-10);
}

// A quadratic edge bends as a parabola: a brick whose top mid-edge nodes along x are raised by h gains 2/3 h of height.
TEST_F(DeckTest, CurvedEdgesCountInVolume) {
  std::vector<Vec3> brick = with_edges(kBrick, kBrickEdges);
  brick[12][2] += 0.3;  // between corners 5 and 6
  brick[14][2] += 0.3;  // between corners 7 and 8
  EXPECT_NEAR(model(one_element("C3D20", brick)).volume, 1.2, 1e-13);
  // A tetrahedron with one edge's middle moved by d: the change is the integral of 4 La Lb d.n over the two faces, 2 x
  // (1/12) x 2 A n.d; here only the face z = 0 moves, along -z: 4/12 x 2 x 1/2 x 0.1 and none of the side face y = 0.
  std::vector<Vec3> tet = with_edges(kTet, kTetEdges);
  tet[4][2] -= 0.1;
  EXPECT_NEAR(model(one_element("C3D10", tet)).volume, 1.0 / 6.0 + 0.1 / 6.0, 1e-13);
}

struct ShellCase {
  const char *type;
  std::vector<Vec3> places;
  double area;
};

TEST_F(DeckTest, EveryShellHasItsAreaTimesThicknessAndTheInertiaOfAPlate) {
  const std::vector<Vec3> triangle = {{0, 0, 0}, {6, 0, 0}, {0, 4, 0}};
  const std::vector<Vec3> quad = {{0, 0, 0}, {6, 0, 0}, {6, 4, 0}, {0, 4, 0}};
  const std::vector<ShellCase> cases = {{"S3", triangle, 12.0},
                                        {"S6", with_edges(triangle, {{0, 1}, {1, 2}, {2, 0}}), 12.0},
                                        {"S4", quad, 24.0},
                                        {"S4R", quad, 24.0},
                                        {"S8", with_edges(quad, {{0, 1}, {1, 2}, {2, 3}, {3, 0}}), 24.0},
                                        {"S8R", with_edges(quad, {{0, 1}, {1, 2}, {2, 3}, {3, 0}}), 24.0}};
  for (const ShellCase &shell : cases) {
    const Model body = model(one_element(shell.type, shell.places, "*SHELL SECTION, ELSET=E, MATERIAL=STEEL\n0.5\n"));
    const double mass = 8.0 * 0.5 * shell.area;
    EXPECT_NEAR(body.exact.mass, mass, 1e-11) << shell.type;
    EXPECT_NEAR(body.lumped.mass, mass, 1e-11) << shell.type;
    EXPECT_EQ(body.face_count, 1) << shell.type;
    for (const auto &node : body.nodes) EXPECT_GT(node.mass, 0.0) << shell.type;
    for (std::size_t k = 0; k < 9; ++k)
      EXPECT_NEAR(body.lumped.inertia({})[k], body.exact.inertia({})[k], 1e-10) << shell.type;
    if (shell.area == 24.0) {
      const auto inertia = body.exact.inertia(body.exact.centre());
      EXPECT_NEAR(inertia[0], mass * (16.0 + 0.25) / 12.0, 1e-10) << shell.type;
      EXPECT_NEAR(inertia[4], mass * (36.0 + 0.25) / 12.0, 1e-10) << shell.type;
      EXPECT_NEAR(inertia[8], mass * (36.0 + 16.0) / 12.0, 1e-10) << shell.type;
    }
  }
}

// ---- Formatting

const std::string kNodes =
    "*NODE\n1,0,0,0\n2,1,0,0\n3,1,1,0\n4,0,1,0\n5,0,0,1\n6,1,0,1\n7,1,1,1\n8,0,1,1\n9,2,0,0\n10,2,1,0\n11,2,0,1\n"
    "12,2,1,1\n";
const std::string kTwoBricks = "*ELEMENT, TYPE=C3D8, ELSET=E\n1,1,2,3,4,5,6,7,8\n2,2,9,10,3,6,11,12,7\n";

TEST_F(DeckTest, OddFormattingReadsLikeAnyOther) {
  const Model body = model(
      "** a comment first\n"
      "*heading\n  Two bricks  \nmore of the heading\n"
      "\t*Node , nset = all ,\n  frequency=1\r\n"
      " 1 , 0. , +0.0, 0.\r\n2,1.d0,0,0,\n3,10.E-1,1.0D+00,0\n4,,1\n**2,9,9,9\n5,0,0,1e0\n6,1,0,1\n7,1,1,1\n8,0,1,1\n\n"
      "9,2,0,0\n10,2,1,0\n11,2,0,1\n12,2,1,1\n"
      "*ELEMENT,\nTYPE = c3d8r,\nELSET=\"left\"\n1,1,2,3,\n4,5,6,\n7,8\n"
      "*Element,type=C3D8,elset=Right\n2,2,9,10,3\n6,11,12,7\n"
      "*ElSet, ElSet=both\nLEFT, right,\n"
      "*NSET,NSET=ends,GENERATE\n1,4\n9,12,\n*nset, nset=more\n5, ENDS\n 6,\n"
      "*MATERIAL,NAME=Light\n*ELASTIC\n1.,.3\n*DENSITY\n2.0,20.\n2.0,400.\n"
      "*solid section, material=light, elset=BOTH\n*STEP\n*FREQUENCY\n10\n*END STEP\n",
      {"more"});
  EXPECT_EQ(body.mesh.title, "Two bricks");
  EXPECT_EQ(body.mesh.elements.size(), 2u);
  EXPECT_NEAR(body.exact.mass, 4.0, 1e-13);
  EXPECT_EQ(body.interface_nodes, (std::vector<int>{1, 2, 3, 4, 5, 6, 9, 10, 11, 12}));
  EXPECT_EQ(body.face_count, 12);
  EXPECT_EQ(body.surface_face_count, 10);
}

TEST_F(DeckTest, GenerateTakesAStep) {
  const Model body = model(kNodes + kTwoBricks + "*NSET,NSET=ODD,GENERATE\n1,12,2\n" + kSteel + kSolid, {"odd"});
  EXPECT_EQ(body.interface_nodes, (std::vector<int>{1, 3, 5, 7, 9, 11}));
}

TEST_F(DeckTest, IncludedFilesAreReadWhereTheyStand) {
  std::filesystem::create_directory(scratch.path() / "parts");
  write_file(scratch.path() / "parts" / "mesh.inc", kNodes + "*INCLUDE, INPUT='parts/elements.inc'\n");
  write_file(scratch.path() / "parts" / "elements.inc", kTwoBricks);
  const Model body = model("*Include, input=parts/mesh.inc\n" + kSteel + kSolid);
  EXPECT_NEAR(body.volume, 2.0, 1e-13);
}

TEST_F(DeckTest, PartsHaveMaterialsOfTheirOwn) {
  const Model body = model(kNodes +
                           "*ELEMENT, TYPE=C3D8, ELSET=A\n1,1,2,3,4,5,6,7,8\n*ELEMENT, TYPE=C3D8, ELSET=B\n"
                           "2,2,9,10,3,6,11,12,7\n*MATERIAL, NAME=M1\n*DENSITY\n1\n*MATERIAL, NAME=M2\n*DENSITY\n3\n"
                           "*SOLID SECTION, ELSET=A, MATERIAL=M1\n*SOLID SECTION, ELSET=B, MATERIAL=M2\n");
  EXPECT_NEAR(body.exact.mass, 4.0, 1e-13);
  EXPECT_NEAR(body.exact.centre()[0], (0.5 + 3.0 * 1.5) / 4.0, 1e-13);
  EXPECT_EQ(body.pieces, 1);
}

TEST_F(DeckTest, LoadsThatAreNotForcesAreRefusedWithTheirLine) {
  const std::string tet =
      kSteel + "*NODE\n1,0,0,0\n2,1,0,0\n3,0,1,0\n4,0,0,1\n*ELEMENT, TYPE=C3D4, ELSET=E\n1,1,2,3,4\n" + kSolid;
  for (const char *card : {"*TEMPERATURE", "*DFLUX", "*CFLUX", "*FILM", "*RADIATE", "*CONTACT PAIR", "*DSLOAD"}) {
    const Model body = model(tet + "*STEP\n*STATIC\n" + card + "\nE, 1, 1.0\n*END STEP\n");
    const auto steps = sbrtranslate::read_steps(body.mesh);
    ASSERT_EQ(steps.size(), 1U) << card;
    ASSERT_NE(steps[0].other_load, nullptr) << card;
    EXPECT_THROW((void)sbrtranslate::nodal_forces(body, steps[0]), InputError) << card;
    try {
      (void)sbrtranslate::nodal_forces(body, steps[0]);
    } catch (const InputError &error) {
      EXPECT_THAT(error.what(), testing::HasSubstr("job.inp:14: ")) << card;
      EXPECT_THAT(error.what(), testing::HasSubstr("is not turned into forces")) << card;
    }
  }
}

TEST_F(DeckTest, NodesWithoutElementsAreLeftOutAndLoosePiecesCounted) {
  const Model body = model(kNodes + "13,5,5,5\n14,9,0,0\n15,10,0,0\n16,9,1,0\n17,9,0,1\n" + kTwoBricks +
                           "*ELEMENT, TYPE=C3D4, ELSET=E\n3,14,15,16,17\n" + kSteel + kSolid);
  EXPECT_EQ(body.left_out, std::vector<int>{13});
  EXPECT_EQ(body.pieces, 2);
  EXPECT_EQ(body.nodes.size(), 16u);
}

// ---- What is wrong with a deck

TEST_F(DeckTest, ComplaintsNameFileAndLine) {
  const std::string good = kNodes + kTwoBricks + kSteel + kSolid;  // kNodes: 13 lines, kTwoBricks: 3
  ASSERT_EQ(complaint(good), "");
  const std::vector<std::pair<std::string, std::string>> cases = {
      {kNodes + "*ELEMENT, TYPE=CPS4, ELSET=E\n1,1,2\n", "job.inp:14: element type CPS4 is not supported"},
      {kNodes + "*ELEMENT, ELSET=E\n1,1,2\n", "job.inp:14: *ELEMENT without TYPE="},
      {kNodes + "*ELEMENT, TYPE=C3D8, ELSET=E\n1,1,2,3,4,5,6,7,99\n" + kSteel + kSolid,
       "job.inp:15: element 1 names node 99, which is not in the deck"},
      {kNodes + "*ELEMENT, TYPE=C3D8, ELSET=E\n1,1,2,3,4,5,6,7\n" + kSteel + kSolid,
       "job.inp:15: element 1 has 7 nodes, C3D8 has 8"},
      {kNodes + "*ELEMENT, TYPE=C3D8, ELSET=E\n1,1,2,3,4,5,6,7,8,9\n",
       "job.inp:15: element 1 has more than the 8 nodes"},
      {kNodes + kTwoBricks + "2,1,2,3,4,5,6,7,8\n" + kSteel + kSolid, "job.inp:17: element 2 comes twice"},
      {kNodes + "*ELEMENT, TYPE=C3D8, ELSET=E\n1,1,2,3,4,5,6,7,7\n" + kSteel + kSolid,
       "job.inp:15: element 1 is degenerate: node 7 comes twice"},
      {kNodes + "*ELEMENT, TYPE=C3D8, ELSET=E\n1,5,6,7,8,1,2,3,4\n" + kSteel + kSolid,
       "job.inp:15: element 1 is degenerate: its volume is not positive"},
      {kNodes + "*ELEMENT, TYPE=C3D4, ELSET=E\n1,1,2,3,4\n" + kSteel + kSolid, "job.inp:15: element 1 is degenerate"},
      {kNodes + kTwoBricks + "*MATERIAL, NAME=STEEL\n*DENSITY\n0.0\n" + kSolid,
       "job.inp:19: material STEEL has no density above zero"},
      {kNodes + kTwoBricks + "*MATERIAL, NAME=STEEL\n*DENSITY\n-1\n" + kSolid,
       "job.inp:19: material STEEL has no density"},
      {kNodes + kTwoBricks + "*MATERIAL, NAME=STEEL\n*ELASTIC\n1,.3\n" + kSolid,
       "job.inp:17: material STEEL has no *DENSITY"},
      {kNodes + kTwoBricks + kSteel + "*SOLID SECTION, ELSET=F, MATERIAL=STEEL\n", "job.inp:20: no element set 'F'"},
      {kNodes + kTwoBricks + kSteel + "*SOLID SECTION, ELSET=E, MATERIAL=TIN\n", "job.inp:20: no material 'TIN'"},
      {kNodes + kTwoBricks + kSteel, "job.inp:15: element 1 belongs to no section"},
      {kNodes + kTwoBricks + kSteel + "*SHELL SECTION, ELSET=E, MATERIAL=STEEL\n1\n",
       "job.inp:20: element 1 is a solid in a shell section"},
      {kNodes + kTwoBricks + kSteel + "*SHELL SECTION, ELSET=E, MATERIAL=STEEL\n", "job.inp:20: shell section without"},
      {kNodes + kTwoBricks + kSteel + "*SHELL SECTION, ELSET=E, MATERIAL=STEEL\n0\n", "job.inp:21: a shell thickness"},
      {kNodes + kTwoBricks + kSteel + "*SHELL SECTION, ELSET=E, MATERIAL=STEEL, COMPOSITE\n",
       "job.inp:20: a composite section"},
      {"*NODE\n1,0,zero,0\n", "job.inp:2: a coordinate expected, found 'zero'"},
      {"*NODE\n1.5,0,0,0\n", "job.inp:2: a node number expected, found '1.5'"},
      {"*NODE\n1,0,0,inf\n", "job.inp:2: a coordinate expected, found 'inf'"},
      {kNodes + kTwoBricks + "*NSET, NSET=A\nNOWHERE\n", "job.inp:18: no set 'NOWHERE' so far"},
      {kNodes + kTwoBricks + "*NSET, NSET=A, GENERATE\n5,1\n", "job.inp:18: GENERATE needs"},
      {kNodes + kTwoBricks + "*NSET, NSET=A, GENERATE\n1,2000000000\n", "job.inp:18: GENERATE gives far more"},
      {"*INCLUDE, INPUT=job.inp\n", "job.inp:1: the file includes itself"},
      {"*INCLUDE, INPUT=nothing.inc\n", "job.inp:1: no such file to include"},
      {kNodes + "*SYSTEM\n1,0,0\n", "job.inp:14: *SYSTEM is not a known card"},
      {kNodes, "job.inp: the deck has no elements"},
      {std::string("*NODE\n1,0,\0,0\n", 14), "job.inp:2: binary data"},
  };
  for (const auto &[text, want] : cases) EXPECT_EQ(complaint(text).substr(0, want.size()), want);
}

TEST_F(DeckTest, AMissingNodeSetNamesThoseThatThereAre) {
  const std::string text = kNodes + kTwoBricks + "*NSET, NSET=EYE\n1,2\n*NSET, NSET=PIN\n3\n" + kSteel + kSolid;
  EXPECT_EQ(complaint(text, {"Eye", "bolt"}), "job.inp: no node set 'bolt'; there are EYE, PIN");
  EXPECT_EQ(complaint(text + "*NODE\n50,0,0,0\n*NSET,NSET=PIN\n50\n", {"pin"}),
            "job.inp:19: node set 'pin' names node 50, which belongs to no element");
}

TEST_F(DeckTest, AnErrorInAnIncludedFileNamesThatFile) {
  write_file(scratch.path() / "mesh.inc", kNodes + "*ELEMENT, TYPE=C3D8, ELSET=E\n1,1,2,3\n");
  EXPECT_EQ(complaint("** top\n*INCLUDE, INPUT=mesh.inc\n" + kSteel + kSolid),
            "mesh.inc:15: element 1 has 3 nodes, C3D8 has 8");
}

TEST_F(DeckTest, AMissingDeckIsAComplaint) {
  EXPECT_THROW(sbrtranslate::read_deck(scratch.file("none.inp")), InputError);
  EXPECT_THROW(sbrtranslate::read_deck(scratch.path().string()), InputError);
}

}  // namespace
}  // namespace sbrtest
