// Header texts, node data, faces, interface nodes and generalized matrices entered by the setters.
#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <numeric>
#include <random>
#include <regex>

#include "support/body_state.h"
#include "support/body_view.h"
#include "support/messages.h"

namespace sbrtest {
namespace {

using ConstructionTest = LibraryTest;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
const Message kNoBody = error("The database has not been initialized.");

bool flag(SBR body, int block) { return SBR_Exists(body, block); }

std::vector<int> faces_of(SBR body) {
  int faces = -1;
  int length = -1;
  SBR_FaceListSize(body, &faces, &length);
  std::vector<int> list(static_cast<std::size_t>(length));
  if (length > 0) SBR_ElementFaces(body, list.data());
  return list;
}

std::vector<int> interface_ids(SBR body) {
  int count = -1;
  int *ids = SBR_InterfaceNodeIDs(body, &count);
  std::vector<int> list(ids, ids + count);
  SBR_FreeMemory(ids);
  return list;
}

struct HeaderStrings {
  std::string title, name, type, comment1, comment2, comment3;
  int set(SBR body) {
    return SBR_SetHeader(body, title.data(), name.data(), type.data(), comment1.data(), comment2.data(),
                         comment3.data());
  }
};

struct HeaderOut {
  char title[128], date[32], name[128], type[16], comment1[80], comment2[80], comment3[80];
  explicit HeaderOut(SBR body) {
    std::memset(this, 'x', sizeof *this);
    SBR_Header(body, title, date, name, type, comment1, comment2, comment3);
  }
};

// ---- header ---------------------------------------------------------------------------------------------

TEST_F(ConstructionTest, HeaderTextsComeBackAndAreReportedInOrder) {
  SBR body = SBR_Create(1, 1);
  HeaderStrings given{"A wing", "wing.dat", "FEM", "first", "second", "third"};
  EXPECT_EQ(given.set(body), 1);
  EXPECT_EQ(log.take(),
            (std::vector<Message>{info("Title: A wing"), info("Name : wing.dat"), info("Type : FEM"),
                                  info("Comment 1: first"), info("Comment 2: second"), info("Comment 3: third")}));
  const HeaderOut out(body);
  EXPECT_STREQ(out.title, "A wing");
  EXPECT_STREQ(out.name, "wing.dat");
  EXPECT_STREQ(out.type, "FEM");
  EXPECT_STREQ(out.comment1, "first");
  EXPECT_STREQ(out.comment2, "second");
  EXPECT_STREQ(out.comment3, "third");
}

TEST_F(ConstructionTest, HeaderDateIsTheClockWithABlankForItsLineFeed) {
  SBR body = SBR_Create(1, 1);
  HeaderStrings given;
  given.set(body);
  const HeaderOut out(body);
  EXPECT_TRUE(std::regex_match(out.date, std::regex("[A-Z][a-z]{2} [A-Z][a-z]{2} [ 0-9][0-9] "
                                                    "[0-9]{2}:[0-9]{2}:[0-9]{2} [0-9]{4} ")))
      << out.date;
}

TEST_F(ConstructionTest, HeaderDropsALineFeedAtTheEndOfAStoredDate) {
  SBR body = SBR_Create(1, 1);
  std::strcpy(state::header(body).date, "yesterday\n");
  EXPECT_STREQ(HeaderOut(body).date, "yesterday");
}

TEST_F(ConstructionTest, TheInputFileTypeIsGivenAsItsSixteenCharacters) {
  SBR body = SBR_Create(1, 1);
  HeaderStrings given{"t", "n", "FEM", "a", "b", "c"};
  given.set(body);
  char type[17];
  std::memset(type, 'x', sizeof type);
  SBR_Header(body, nullptr, nullptr, nullptr, type, nullptr, nullptr, nullptr);
  EXPECT_EQ(std::string(type, 17), "FEM" + std::string(13, '\0') + "x");
  std::memcpy(state::header(body).input_file_type, "sixteen letters!", 16);
  SBR_Header(body, nullptr, nullptr, nullptr, type, nullptr, nullptr, nullptr);
  EXPECT_EQ(std::string(type, 17), "sixteen letters!x");
}

TEST_F(ConstructionTest, ALongTitleIsCutTo127CharactersWithAWarning) {
  SBR body = SBR_Create(1, 1);
  HeaderStrings given{std::string(200, 't'), "", "", "", "", ""};
  EXPECT_EQ(given.set(body), 1);
  const std::string kept(127, 't');
  EXPECT_EQ(log.all()[0], warning("Title too big: max size 127, specified size 200.\nTruncating title."));
  EXPECT_EQ(log.all()[1], info("Title: " + kept));
  EXPECT_EQ(HeaderOut(body).title, kept);
}

TEST_F(ConstructionTest, EachHeaderTextWarnsWithItsOwnWordsAndLimit) {
  SBR body = SBR_Create(1, 1);
  HeaderStrings given{"t",
                      std::string(128, 'n'),
                      std::string(16, 'y'),
                      std::string(80, 'a'),
                      std::string(81, 'b'),
                      std::string(500, 'c')};
  EXPECT_EQ(given.set(body), 1);
  EXPECT_EQ(log.take_complaints(),
            (std::vector<Message>{
                warning("Input file name too big: max size 127, specified size 128.\nTruncating input file name."),
                warning("Input file type spec too big: max size 15, specified size 16.\nTruncating input file type."),
                warning("Comment 1 too big: max size 79, specified size 80.\nTruncating Comment 1."),
                warning("Comment 2 too big: max size 79, specified size 81.\nTruncating Comment 2."),
                warning("Comment 3 too big: max size 79, specified size 500.\nTruncating Comment 3.")}));
  const HeaderOut out(body);
  EXPECT_EQ(out.name, std::string(127, 'n'));
  EXPECT_EQ(out.type, std::string(15, 'y'));
  EXPECT_EQ(out.comment3, std::string(79, 'c'));
}

TEST_F(ConstructionTest, TextsAtTheirLimitsAreKeptWithoutAWarning) {
  SBR body = SBR_Create(1, 1);
  HeaderStrings given{std::string(127, 't'), std::string(127, 'n'), std::string(15, 'y'),
                      std::string(79, 'a'),  std::string(79, 'b'),  std::string(79, 'c')};
  given.set(body);
  EXPECT_TRUE(log.take_complaints().empty());
  EXPECT_EQ(HeaderOut(body).comment2, std::string(79, 'b'));
}

TEST_F(ConstructionTest, LineFeedsTurnIntoBlanksHereAndInTheCallersText) {
  SBR body = SBR_Create(1, 1);
  HeaderStrings given{"two\nlines\n", "", "", "", "", std::string(100, '\n')};
  given.set(body);
  EXPECT_STREQ(HeaderOut(body).title, "two lines ");
  EXPECT_EQ(given.title, "two lines ");
  EXPECT_EQ(given.comment3, std::string(100, ' '));
}

TEST_F(ConstructionTest, AShorterTitleLeavesNothingOfALongerOne) {
  SBR body = SBR_Create(1, 1);
  HeaderStrings longer{"a long title", "", "", "", "", ""};
  HeaderStrings shorter{"short", "", "", "", "", ""};
  longer.set(body);
  shorter.set(body);
  EXPECT_TRUE(
      std::all_of(state::header(body).title + 5, state::header(body).title + 128, [](char c) { return c == '\0'; }));
}

TEST_F(ConstructionTest, NullHeaderTextsCountAsEmptyAndNullOutputsAreSkipped) {
  SBR body = SBR_Create(1, 1);
  EXPECT_EQ(SBR_SetHeader(body, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), 1);
  EXPECT_EQ(log.all()[0], info("Title: "));
  char title[128] = "x";
  SBR_Header(body, title, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
  EXPECT_STREQ(title, "");
  SBR_Header(nullptr, title, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
}

// ---- nodes ----------------------------------------------------------------------------------------------

TEST_F(ConstructionTest, CoordinatesOfANewNodeAreStoredAndRaiseTheirFlag) {
  SBR body = SBR_Create(1, 1);
  EXPECT_FALSE(flag(body, 3));
  EXPECT_EQ(SBR_SetNodeCoordinates(body, 17, 1.5, -2.0, 3.25), 1);
  double xyz[3] = {};
  EXPECT_EQ(SBR_NodeCoordinates(body, SBR_NodeIndex(body, 17), xyz), 1);
  EXPECT_EQ(xyz[0], 1.5);
  EXPECT_EQ(xyz[1], -2.0);
  EXPECT_EQ(xyz[2], 3.25);
  EXPECT_TRUE(flag(body, 3));
}

TEST_F(ConstructionTest, InfiniteAndUndefinedCoordinatesAndMassesAreStoredAsGiven) {
  SBR body = SBR_Create(1, 1);
  EXPECT_EQ(SBR_SetNodeCoordinates(body, 1, kInfinity, std::nan(""), -0.0), 1);
  EXPECT_EQ(SBR_SetNodalMass(body, 1, -kInfinity), 1);
  double xyz[3] = {};
  SBR_NodeCoordinates(body, 0, xyz);
  EXPECT_EQ(xyz[0], kInfinity);
  EXPECT_TRUE(std::isnan(xyz[1]));
  EXPECT_TRUE(std::signbit(xyz[2]));
  EXPECT_EQ(SBR_NodalMass(body, 0), -kInfinity);
}

TEST_F(ConstructionTest, TheNodeTableMayExceedTheNodeCapacity) {
  SBR body = SBR_Create(0, 1);
  for (int id = 1; id <= 2500; ++id) ASSERT_EQ(SBR_SetNodeCoordinates(body, id, id, 0, 0), 1);
  EXPECT_EQ(SBR_NodeCount(body), 2500);
  double xyz[3] = {};
  SBR_NodeCoordinates(body, SBR_NodeIndex(body, 2500), xyz);
  EXPECT_EQ(xyz[0], 2500.0);
}

TEST_F(ConstructionTest, SetNodalMassReplacesAndAddNodalMassAdds) {
  SBR body = SBR_Create(1, 1);
  EXPECT_EQ(SBR_AddNodalMass(body, 4, 1.5), 1);
  EXPECT_TRUE(flag(body, 8));
  EXPECT_EQ(SBR_AddNodalMass(body, 4, 2.0), 1);
  EXPECT_EQ(SBR_NodalMass(body, 0), 3.5);
  EXPECT_EQ(SBR_SetNodalMass(body, 4, 7.0), 1);
  EXPECT_EQ(SBR_NodalMass(body, 0), 7.0);
  EXPECT_FALSE(flag(body, 3));
}

TEST_F(ConstructionTest, NodalInertiaKeepsTheOrderOfItsArguments) {
  SBR body = SBR_Create(1, 1);
  double out[9] = {};
  SBR_SetNodeCoordinates(body, 1, 0, 0, 0);
  EXPECT_EQ(SBR_NodalInertia(body, 0, out), 0);
  EXPECT_EQ(SBR_SetNodalInertia(body, 2, 11, 22, 33, 12, 13, 23), 1);
  EXPECT_TRUE(flag(body, 9));
  EXPECT_EQ(SBR_NodalInertia(body, 1, out), 1);
  EXPECT_EQ(std::vector<double>(out, out + 9), (std::vector<double>{11, 12, 13, 12, 22, 23, 13, 23, 33}));
}

TEST_F(ConstructionTest, InertiaEntriesFallOnOnePlaceFromBothSides) {
  for (const bool swapped : {false, true}) {
    SBR body = SBR_Create(1, 1);
    for (int row = 1; row <= 3; ++row)
      for (int column = row; column <= 3; ++column)
        EXPECT_EQ(SBR_SetNodalInertiaEntry(body, 5, swapped ? column : row, swapped ? row : column, 10 * row + column),
                  1);
    double out[9] = {};
    EXPECT_EQ(SBR_NodalInertia(body, 0, out), 1);
    EXPECT_EQ(std::vector<double>(out, out + 9), (std::vector<double>{11, 12, 13, 12, 22, 23, 13, 23, 33}));
    EXPECT_TRUE(flag(body, 9));
  }
}

TEST_F(ConstructionTest, InertiaEntriesOutsideTheTensorAreRefusedBeforeTheNodeIsMade) {
  SBR body = SBR_Create(1, 1);
  for (const auto &[row, column] : {std::pair{0, 1}, {1, 0}, {4, 1}, {3, 4}, {-1, 2}, {2, 1 << 30}})
    EXPECT_EQ(SBR_SetNodalInertiaEntry(body, 5, row, column, 1.0), 0);
  EXPECT_EQ(log.take_complaints()[0],
            error("The inertia entry (0, 1) is illegal.\nThe row and column must be 1 to 3."));
  EXPECT_EQ(SBR_NodeCount(body), 0);
  EXPECT_FALSE(flag(body, 9));
}

// ---- faces ----------------------------------------------------------------------------------------------

TEST_F(ConstructionTest, AFaceIsStoredAsItsCountAndNodeIndices) {
  SBR body = SBR_Create(1, 1);
  SBR_SetNodeCoordinates(body, 40, 0, 0, 0);
  const int ids[] = {10, 20, 30, 40};
  EXPECT_EQ(SBR_SetFaceList(body, 4, ids), 1);
  EXPECT_EQ(faces_of(body), (std::vector<int>{4, 1, 2, 3, 0}));
  EXPECT_TRUE(flag(body, 13));
  EXPECT_EQ(SBR_NodeCount(body), 4);
}

TEST_F(ConstructionTest, RepeatedNodesOfAFaceAreDropped) {
  const std::vector<std::pair<std::vector<int>, std::vector<int>>> cases = {
      {{1, 2, 2, 3}, {3, 0, 1, 2}},     // a middle node equal to the one before it
      {{1, 2, 3, 1}, {3, 0, 1, 2}},     // a closed polygon comes out open
      {{1, 1, 2, 3}, {3, 0, 1, 2}},     // a second node equal to the first
      {{1, 2, 3, 3}, {3, 0, 1, 2}},     // a last node equal to the one before it
      {{1, 2, 1, 3}, {4, 0, 1, 0, 2}},  // a middle node equal to the first but not to the one before it stays
      {{1, 2, 1}, {2, 0, 1}},           // two nodes are a face
      {{1, 2, 2, 2, 1}, {2, 0, 1}},
  };
  for (const auto &[ids, expected] : cases) {
    SBR body = SBR_Create(1, 1);
    EXPECT_EQ(SBR_SetFaceList(body, static_cast<int>(ids.size()), ids.data()), 1);
    EXPECT_EQ(faces_of(body), expected);
  }
}

TEST_F(ConstructionTest, AFaceOfFewerThanTwoNodesIsNotEnteredButItsNodesStay) {
  SBR body = SBR_Create(1, 1);
  const int twice[] = {1, 1};
  const int one[] = {5};
  EXPECT_EQ(SBR_SetFaceList(body, 2, twice), 0);
  EXPECT_EQ(SBR_SetFaceList(body, 1, one), 0);
  EXPECT_TRUE(faces_of(body).empty());
  EXPECT_FALSE(flag(body, 13));
  EXPECT_EQ(SBR_NodeCount(body), 2);
  EXPECT_TRUE(log.take_complaints().empty());
}

TEST_F(ConstructionTest, ARefusedFaceLeavesNoTraceInTheNextOne) {
  SBR body = SBR_Create(1, 1);
  const int bad[] = {8, 8, 8};
  const int good[] = {9, 8};
  SBR_SetFaceList(body, 3, bad);
  EXPECT_EQ(SBR_SetFaceList(body, 2, good), 1);
  EXPECT_EQ(faces_of(body), (std::vector<int>{2, 1, 0}));
}

TEST_F(ConstructionTest, FaceCountsBelowOneAndNullListsAreRefused) {
  SBR body = SBR_Create(1, 1);
  const int ids[] = {1, 2, 3};
  EXPECT_EQ(SBR_SetFaceList(body, 0, ids), 0);
  EXPECT_EQ(SBR_SetFaceList(body, -1, ids), 0);
  EXPECT_EQ(SBR_SetFaceList(body, std::numeric_limits<int>::min(), ids), 0);
  EXPECT_EQ(SBR_SetFaceList(body, 3, nullptr), 0);
  EXPECT_EQ(SBR_SetFace(body, 0), 0);
  EXPECT_EQ(SBR_SetFace(body, -5), 0);
  EXPECT_EQ(SBR_NodeCount(body), 0);
}

TEST_F(ConstructionTest, TheFaceListExistsFromTheFirstCallOn) {
  SBR body = SBR_Create(1, 1);
  int out[4] = {7, 7, 7, 7};
  EXPECT_EQ(SBR_ElementFaces(body, out), 0);
  SBR_SetFaceList(body, 0, out);
  EXPECT_EQ(SBR_ElementFaces(body, out), 1);
  EXPECT_EQ(out[0], 7);
}

TEST_F(ConstructionTest, AFaceLongerThanAStepOfTheListIsStoredWhole) {
  SBR body = SBR_Create(1, 1);
  std::vector<int> ids(5000);
  std::iota(ids.begin(), ids.end(), 1);
  for (int repeat = 0; repeat < 3; ++repeat)
    ASSERT_EQ(SBR_SetFaceList(body, static_cast<int>(ids.size()), ids.data()), 1);
  const std::vector<int> list = faces_of(body);
  ASSERT_EQ(list.size(), 15003U);
  EXPECT_EQ(list[5001], 5000);
  EXPECT_EQ(list[15002], 4999);
}

TEST_F(ConstructionTest, ThousandsOfFacesGrowTheList) {
  SBR body = SBR_Create(1, 1);
  for (int i = 0; i < 3000; ++i) {
    const int ids[] = {i, i + 1, i + 2};
    ASSERT_EQ(SBR_SetFaceList(body, 3, ids), 1);
  }
  int faces = 0;
  int length = 0;
  EXPECT_EQ(SBR_FaceListSize(body, &faces, &length), 1);
  EXPECT_EQ(faces, 3000);
  EXPECT_EQ(length, 12000);
  EXPECT_EQ(faces_of(body)[11999], 3001);
}

TEST_F(ConstructionTest, SetFaceTakesItsNodesAsArguments) {
  SBR body = SBR_Create(1, 1);
  EXPECT_EQ(SBR_SetFace(body, 5, 1, 2, 3, 4, 1), 1);
  EXPECT_EQ(faces_of(body), (std::vector<int>{4, 0, 1, 2, 3}));
}

TEST_F(ConstructionTest, SetFaceRefusesMoreThan256Nodes) {
  SBR body = SBR_Create(1, 1);
  EXPECT_EQ(SBR_SetFace(body, 257, 1, 2, 3), 0);
  EXPECT_EQ(log.take_complaints(), std::vector<Message>{error("Face too big: max size 256, specified size 257.")});
  EXPECT_EQ(SBR_NodeCount(body), 0);
}

TEST_F(ConstructionTest, FaceSizesOfANullHandleAreZero) {
  int faces = 5;
  int length = 5;
  EXPECT_EQ(SBR_FaceListSize(nullptr, &faces, &length), 0);
  EXPECT_EQ(faces, 0);
  EXPECT_EQ(length, 0);
  EXPECT_EQ(SBR_FaceListSize(SBR_Create(1, 1), nullptr, nullptr), 1);
  EXPECT_EQ(SBR_ElementFaces(nullptr, &faces), 0);
}

// ---- interface nodes ------------------------------------------------------------------------------------

TEST_F(ConstructionTest, AnUnknownInterfaceNodeIsRefusedSilently) {
  SBR body = SBR_Create(1, 1);
  EXPECT_EQ(SBR_SetInterfaceNode(body, 3), 0);
  SBR_SetNodeCoordinates(body, 1, 0, 0, 0);
  EXPECT_EQ(SBR_SetInterfaceNode(body, 3), 0);
  EXPECT_EQ(SBR_NodeCount(body), 1);
  EXPECT_FALSE(flag(body, 16));
  EXPECT_TRUE(log.take_complaints().empty());
}

TEST_F(ConstructionTest, AnInterfaceNodeSetTwiceIsKeptOnce) {
  SBR body = SBR_Create(1, 1);
  for (const int id : {30, 20, 10}) SBR_SetNodeCoordinates(body, id, 0, 0, 0);
  EXPECT_EQ(SBR_SetInterfaceNode(body, 10), 1);
  EXPECT_EQ(SBR_SetInterfaceNode(body, 30), 1);
  EXPECT_EQ(SBR_SetInterfaceNode(body, 10), 1);
  EXPECT_TRUE(flag(body, 16));
  EXPECT_EQ(interface_ids(body), (std::vector<int>{10, 30}));
  int count = 0;
  int *indices = SBR_InterfaceNodes(body, &count);
  EXPECT_EQ(std::vector<int>(indices, indices + count), (std::vector<int>{2, 0}));
  SBR_FreeMemory(indices);
}

TEST_F(ConstructionTest, InterfaceNodesMayComeBetweenNewNodes) {
  SBR body = SBR_Create(1, 1);
  std::vector<int> expected;
  for (int id = 1; id <= 500; ++id) {
    SBR_SetNodeCoordinates(body, id, 0, 0, 0);
    EXPECT_EQ(SBR_SetInterfaceNode(body, id), 1);
    EXPECT_EQ(SBR_SetInterfaceNode(body, 1 + id / 2), 1);
    expected.push_back(id);
  }
  EXPECT_EQ(interface_ids(body), expected);
}

TEST_F(ConstructionTest, AnInterfaceListRewrittenElsewhereIsLookedUpAnew) {
  SBR body = SBR_Create(1, 1);
  for (const int id : {1, 2, 3}) SBR_SetNodeCoordinates(body, id, 0, 0, 0);
  SBR_SetInterfaceNode(body, 1);
  SBR_SetInterfaceNode(body, 2);
  state::interface_nodes(body)[0] = 2;
  state::interface_nodes(body)[1] = 0;
  state::forget_interface_places(body);
  EXPECT_EQ(SBR_SetInterfaceNode(body, 1), 1);
  EXPECT_EQ(SBR_SetInterfaceNode(body, 2), 1);
  EXPECT_EQ(interface_ids(body), (std::vector<int>{3, 1, 2}));
}

TEST_F(ConstructionTest, NoInterfaceNodesGiveNull) {
  int count = 9;
  EXPECT_EQ(SBR_InterfaceNodes(SBR_Create(1, 1), &count), nullptr);
  EXPECT_EQ(count, 0);
  count = 9;
  EXPECT_EQ(SBR_InterfaceNodeIDs(nullptr, &count), nullptr);
  EXPECT_EQ(count, 0);
  EXPECT_EQ(SBR_InterfaceNodeIDs(nullptr, nullptr), nullptr);
}

TEST_F(ConstructionTest, AnInterfaceIndexOutsideTheNodeTableHasTheId0) {
  SBR body = SBR_Create(1, 1);
  SBR_SetNodeCoordinates(body, 8, 0, 0, 0);
  SBR_SetInterfaceNode(body, 8);
  ASSERT_TRUE(state::interface_nodes(body).push_back(77));
  ASSERT_TRUE(state::interface_nodes(body).push_back(-1));
  EXPECT_EQ(interface_ids(body), (std::vector<int>{8, 0, 0}));
}

// ---- generalized matrices -------------------------------------------------------------------------------

TEST_F(ConstructionTest, MatrixEntriesAddTheirModesAndKeepTheirOrder) {
  SBR body = SBR_Create(1, 3);
  EXPECT_EQ(SBR_SetGeneralizedStiffness(body, 7, 7, 70.0), 1);
  EXPECT_EQ(SBR_SetGeneralizedStiffness(body, 9, 9, 90.0), 1);
  EXPECT_EQ(SBR_SetGeneralizedStiffness(body, 7, 7, 71.0), 1);
  EXPECT_EQ(SBR_SetGeneralizedMass(body, 9, 9, 1.0), 1);
  EXPECT_EQ(SBR_SetGeneralizedDamping(body, 8, 7, 0.5), 1);
  EXPECT_EQ(stiffness_of(body), (MatrixEntries{{0, 0, 70}, {1, 1, 90}, {0, 0, 71}}));
  EXPECT_EQ(mass_of(body), (MatrixEntries{{1, 1, 1}}));
  EXPECT_EQ(damping_of(body), (MatrixEntries{{2, 0, 0.5}}));
  EXPECT_TRUE(flag(body, 11) && flag(body, 12) && flag(body, 14));
  EXPECT_EQ(SBR_ModeCount(body), 3);
}

TEST_F(ConstructionTest, OffDiagonalStiffnessAndMassMarkTheModesAsNotOrthogonal) {
  SBR stiff = SBR_Create(1, 3);
  SBR_SetGeneralizedStiffness(stiff, 1, 2, 0.0);
  EXPECT_EQ(state::modes_not_orthogonal(stiff), 1);
  SBR heavy = SBR_Create(1, 3);
  SBR_SetGeneralizedMass(heavy, 1, 2, 5.0);
  EXPECT_EQ(state::modes_not_orthogonal(heavy), 1);
  EXPECT_EQ(state::modes_not_normalized(heavy), 0);
  SBR damped = SBR_Create(1, 3);
  SBR_SetGeneralizedDamping(damped, 1, 2, 5.0);
  EXPECT_EQ(state::modes_not_orthogonal(damped), 0);
}

TEST_F(ConstructionTest, ADiagonalMassOtherThanOneMarksTheModesAsNotNormalized) {
  for (const auto &[value, marked] :
       {std::pair{2.0, 1}, {1.000000001, 0}, {1.00000002, 1}, {0.99999998, 1}, {1.0, 0}}) {
    SBR body = SBR_Create(1, 3);
    EXPECT_EQ(SBR_SetGeneralizedMass(body, 1, 1, value), 1);
    EXPECT_EQ(state::modes_not_normalized(body), marked) << value;
    EXPECT_EQ(state::modes_not_orthogonal(body), 0);
  }
}

TEST_F(ConstructionTest, AnUndefinedMassIsStoredAndMarksNothing) {
  SBR body = SBR_Create(1, 3);
  EXPECT_EQ(SBR_SetGeneralizedMass(body, 1, 1, std::nan("")), 1);
  EXPECT_EQ(state::modes_not_normalized(body), 0);
  EXPECT_EQ(SBR_SetGeneralizedMass(body, 1, 1, kInfinity), 1);
  EXPECT_EQ(state::modes_not_normalized(body), 1);
}

TEST_F(ConstructionTest, AModeWithoutRoomIsStoredAsIndexMinusOne) {
  SBR body = SBR_Create(1, 1);
  SBR_SetGeneralizedStiffness(body, 1, 1, 1.0);
  EXPECT_EQ(SBR_SetGeneralizedStiffness(body, 1, 2, 3.0), 1);
  EXPECT_EQ(SBR_SetGeneralizedMass(body, 2, 2, 4.0), 1);
  EXPECT_EQ(SBR_SetGeneralizedDamping(body, 3, 1, 5.0), 1);
  EXPECT_EQ(stiffness_of(body), (MatrixEntries{{0, 0, 1}, {0, -1, 3}}));
  EXPECT_EQ(mass_of(body), (MatrixEntries{{-1, -1, 4}}));
  EXPECT_EQ(damping_of(body), (MatrixEntries{{-1, 0, 5}}));
  EXPECT_EQ(state::modes_not_orthogonal(body), 1);
  EXPECT_EQ(state::modes_not_normalized(body), 1);
  const std::vector<Message> complaints = log.take_complaints();
  ASSERT_EQ(complaints.size(), 4U);
  EXPECT_EQ(complaints[0], error("Insufficient room for mode 2 in temporary mode shape file.  \n"
                                 "Specify larger number of modes in SBR_Create.\n"));
}

TEST_F(ConstructionTest, ANewDampingListIsNotOnPrincipalAxes) {
  SBR body = SBR_Create(1, 2);
  state::damping_on_principal_axes(body) = 1;
  SBR_SetGeneralizedDamping(body, 1, 1, 1.0);
  EXPECT_EQ(state::damping_on_principal_axes(body), 0);
  state::damping_on_principal_axes(body) = 1;
  SBR_SetGeneralizedDamping(body, 2, 2, 1.0);
  EXPECT_EQ(state::damping_on_principal_axes(body), 1);
}

TEST_F(ConstructionTest, MatrixListsGrowPastTheirSteps) {
  SBR body = SBR_Create(1, 2);
  for (int i = 0; i < 1050; ++i) ASSERT_EQ(SBR_SetGeneralizedMass(body, 1, 2, i), 1);
  EXPECT_EQ(SBR_NumberOfGenMass(body), 1050);
  EXPECT_EQ(mass_of(body)[1049].value, 1049.0);
}

// ---- null handles ---------------------------------------------------------------------------------------

TEST_F(ConstructionTest, EverySetterRefusesANullHandleWithOneReport) {
  const int ids[] = {1, 2, 3};
  char text[] = "x";
  const std::vector<int> results = {SBR_SetHeader(nullptr, text, text, text, text, text, text),
                                    SBR_SetNodeCoordinates(nullptr, 1, 0, 0, 0),
                                    SBR_SetNodalMass(nullptr, 1, 1),
                                    SBR_AddNodalMass(nullptr, 1, 1),
                                    SBR_SetNodalInertia(nullptr, 1, 1, 1, 1, 0, 0, 0),
                                    SBR_SetNodalInertiaEntry(nullptr, 1, 1, 1, 1),
                                    SBR_SetFace(nullptr, 3, 1, 2, 3),
                                    SBR_SetFaceList(nullptr, 3, ids),
                                    SBR_SetInterfaceNode(nullptr, 1),
                                    SBR_SetGeneralizedStiffness(nullptr, 1, 1, 1),
                                    SBR_SetGeneralizedMass(nullptr, 1, 1, 1),
                                    SBR_SetGeneralizedDamping(nullptr, 1, 1, 1)};
  for (const int result : results) EXPECT_EQ(result, 0);
  EXPECT_EQ(log.take(), std::vector<Message>(results.size(), kNoBody));
}

}  // namespace
}  // namespace sbrtest
