// Free edges: the public classes, the flat search behind the C operations, and that both give the same chains.
#include "sbrkit/free_edges.hpp"

#include <algorithm>
#include <random>

#include "support/meshes.h"
#include "support/messages.h"
#include "surface/free_edges.h"

namespace sbrtest {
namespace {

using Chains = std::vector<std::vector<int>>;

std::vector<int> words_of(const Faces &faces) {
  std::vector<int> words;
  for (const auto &face : faces) {
    words.push_back(static_cast<int>(face.size()));
    words.insert(words.end(), face.begin(), face.end());
  }
  return words;
}

Chains chains_of_classes(const Faces &faces) {
  cSBRFreeEdges rims;
  const std::vector<int> words = words_of(faces);
  rims.FindFreeEdges(static_cast<int>(faces.size()), words.data());
  Chains chains;
  for (const std::list<int> &chain : rims.GetFreeEdges()) chains.emplace_back(chain.begin(), chain.end());
  return chains;
}

Chains chains_of_library(const Faces &faces) {
  const std::vector<int> words = words_of(faces);
  sbr::OwnedList<sbr::Array<std::int32_t>> found;
  EXPECT_TRUE(sbr::find_free_edges(sbr::FaceWalk(words, static_cast<int>(faces.size())), found));
  Chains chains;
  for (std::size_t c = 0; c < found.size(); ++c) chains.emplace_back(found[c]->begin(), found[c]->end());
  return chains;
}

// ---- classes ----------------------------------------------------------------------------------------------

TEST(FreeEdgeClassesTest, AnEdgeOrdersItsEndsAndLinksItself) {
  cSBRNode a(7);
  cSBRNode b(-2);
  {
    cSBREdge edge(&a, &b);
    EXPECT_EQ(edge.Key(), "-2_7");
    EXPECT_EQ(edge.RefCount(), 1);
    edge.AddRef();
    EXPECT_EQ(edge.RefCount(), 2);
    EXPECT_EQ(edge.GetAnotherNode(&a), &b);
    EXPECT_EQ(edge.GetAnotherNode(&b), &a);
    EXPECT_EQ(a.EdgeCount(), 1);
    EXPECT_EQ(b.EdgeCount(), 1);
  }
  EXPECT_EQ(a.EdgeCount(), 0);
  EXPECT_EQ(b.EdgeCount(), 0);
}

TEST(FreeEdgeClassesTest, EndsOfEqualIdsAreExchanged) {
  cSBRNode a(3);
  cSBRNode b(3);
  const cSBREdge edge(&a, &b);
  cSBRNode stranger(9);
  // Whoever is not the first node is answered with the first node.
  EXPECT_EQ(edge.GetAnotherNode(&stranger), &b);
  EXPECT_EQ(edge.Key(), "3_3");
}

TEST(FreeEdgeClassesTest, ADegenerateEdgeIsLinkedTwiceAndRemovedAtOnce) {
  cSBRNode a(3);
  cSBREdge edge(&a, &a);
  EXPECT_EQ(a.EdgeCount(), 2);
  EXPECT_EQ(a.GetConnectedNode(), &a);
  EXPECT_EQ(a.EdgeCount(), 0);
}

TEST(FreeEdgeClassesTest, AWalkGoesToTheLowestIdAndEatsTheEdge) {
  cSBRNode hub(5);
  cSBRNode high(8);
  cSBRNode low(2);
  cSBREdge to_high(&hub, &high);
  cSBREdge to_low(&hub, &low);
  EXPECT_EQ(hub.GetConnectedNode(), &low);
  EXPECT_EQ(low.EdgeCount(), 0);
  EXPECT_EQ(hub.EdgeCount(), 1);
  EXPECT_EQ(hub.GetConnectedNode(), &high);
  EXPECT_EQ(hub.GetConnectedNode(), nullptr);
}

TEST(FreeEdgeClassesTest, AnOpenChainRunsBothWaysFromItsStart) {
  cSBRNode n1(1);
  cSBRNode n2(2);
  cSBRNode n3(3);
  cSBRNode n4(4);
  cSBREdge a(&n1, &n3);
  cSBREdge b(&n1, &n2);
  cSBREdge c(&n3, &n4);
  EXPECT_EQ(n1.FindFreeEdge(), (std::list<int>{4, 3, 1, 2}));
}

TEST(FreeEdgeClassesTest, ANodeWithoutEdgesIsAChainOfItself) {
  cSBRNode lonely(6);
  EXPECT_EQ(lonely.FindFreeEdge(), std::list<int>{6});
}

// ---- chains -----------------------------------------------------------------------------------------------

struct Case {
  const char *name;
  Faces faces;
  Chains chains;
};

void PrintTo(const Case &which, std::ostream *out) { *out << which.name; }

class ChainsTest : public ::testing::TestWithParam<Case> {};

TEST_P(ChainsTest, AreTheSameFromClassesAndLibrary) {
  EXPECT_EQ(chains_of_classes(GetParam().faces), GetParam().chains);
  EXPECT_EQ(chains_of_library(GetParam().faces), GetParam().chains);
}

const Case kCases[] = {
    {"Nothing", {}, {}},
    {"ClosedCube", brick_block(1, 1, 1).faces, {}},
    {"OneTriangle", {{0, 1, 2}}, {{0, 1, 2, 0}}},
    {"TwoTriangles", {{0, 1, 2}, {1, 3, 2}}, {{0, 1, 3, 2, 0}}},
    {"OneQuadrilateralFromItsLowestNode", {{7, 3, 9, 5}}, {{3, 7, 5, 9, 3}}},
    {"TwoFaces", {{0, 1, 2}, {5, 6, 4}}, {{0, 1, 2, 0}, {4, 5, 6, 4}}},
    {"TwoVerticesHaveNoEdges", {{0, 1}, {3}, {}}, {}},
    // The walk from 0 ends at the branching node 4 both ways; the rest is picked up from node 5.
    {"SquaresThatTouchAtACorner", {{0, 1, 4, 3}, {4, 5, 8, 7}}, {{4, 3, 0, 1, 4}, {4, 5, 8, 7, 4}}},
    // The branching node 0 comes first and closes a square. With two edges left it no longer branches.
    {"SquaresThatTouchAtTheLowestNode", {{0, 1, 2, 3}, {0, 4, 5, 6}}, {{0, 1, 2, 3, 0}, {4, 0, 6, 5, 4}}},
    // Edge 0-1 is inner. Forward from 0 over 2 to 1, where two edges are left; then backward from 0 over 3, and 1 and 4
    // with the one edge each that the walk has left them, back to 0.
    {"AnEdgeOfThreeFacesIsInner", {{0, 1, 2}, {0, 1, 3}, {0, 1, 4}}, {{0, 4, 1, 3, 0, 2, 1}}},
    {"ASideListedTwiceByOneFaceIsInner", {{0, 1, 2, 1}}, {}},
    // The edge from 2 to itself makes 2 a branching node, and is a chain of its own.
    {"ARepeatedVertexIsAnEdgeToItself", {{0, 1, 2, 2}}, {{2, 0, 1, 2}, {2, 2}}},
    {"NumbersFarApart", {{-2000000000, 5, 2000000000}}, {{-2000000000, 5, 2000000000, -2000000000}}},
};

INSTANTIATE_TEST_SUITE_P(FreeEdges, ChainsTest, ::testing::ValuesIn(kCases),
                         [](const auto &parameter) { return parameter.param.name; });

TEST(FreeEdgeSearchTest, RandomFacesGiveTheChainsOfTheClasses) {
  std::mt19937 random(1);
  const auto below = [&](int n) { return std::uniform_int_distribution<int>(0, n - 1)(random); };
  std::size_t total = 0;
  for (int round = 0; round < 4000; ++round) {
    const int nodes = 1 + below(25);
    const int spread = below(3) == 0 ? 100000 : 1;
    const int offset = below(2) == 0 ? 0 : -10;
    Faces faces(static_cast<std::size_t>(below(20)));
    for (auto &face : faces) {
      face.resize(static_cast<std::size_t>(below(7)));
      for (int &v : face) v = spread * (below(nodes) + offset);
    }
    const Chains chains = chains_of_classes(faces);
    ASSERT_EQ(chains_of_library(faces), chains) << "round " << round;
    total += chains.size();
  }
  EXPECT_GT(total, 4000U);
}

TEST(FreeEdgeSearchTest, AGridWithHolesGivesTheChainsOfTheClasses) {
  std::mt19937 random(2);
  for (int round = 0; round < 20; ++round) {
    Faces faces = flat_grid(30, 30).faces;
    std::shuffle(faces.begin(), faces.end(), random);
    faces.resize(600);
    ASSERT_EQ(chains_of_library(faces), chains_of_classes(faces));
  }
}

TEST(FreeEdgeSearchTest, AHubOfManyFreeEdgesIsNotSlow) {
  Faces faces;
  for (int i = 0; i < 200000; ++i) faces.push_back({0, 2 * i + 1, 2 * i + 2});
  const Chains chains = chains_of_library(faces);
  EXPECT_GE(chains.size(), 199999U);
}

// ---- bodies -----------------------------------------------------------------------------------------------

using FreeEdgesTest = LibraryTest;

std::vector<int> chain(SBR body, int index) {
  std::vector<int> ids(static_cast<std::size_t>(SBR_GetFreeEdgeSize(body, index)) + 1, -77);
  EXPECT_EQ(SBR_GetFreeEdge(body, index, ids.data()), static_cast<int>(ids.size()) - 1);
  EXPECT_EQ(ids.back(), -77);
  ids.pop_back();
  return ids;
}

void give_modes(SBR body) {
  const double six[6] = {1, 2, 3, 4, 5, 6};
  for (int i = 0; i < SBR_NodeCount(body); ++i) SBR_SetModeVec(body, 1, SBR_NodeID(body, i), 0, six);
}

TEST_F(FreeEdgesTest, ChainsOfABodyAreNodeIds) {
  SBR body = make_body({{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{0, 1, 2}}});
  EXPECT_EQ(SBR_GetFreeEdgeCount(body), 1);
  EXPECT_EQ(SBR_GetFreeEdgeSize(body, 0), 4);
  EXPECT_EQ(chain(body, 0), (std::vector<int>{10, 20, 30, 10}));
}

TEST_F(FreeEdgesTest, TheSizeAloneGeneratesTheChains) {
  SBR body = make_body({{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{0, 1, 2}}});
  EXPECT_EQ(SBR_GetFreeEdgeSize(body, 0), 4);
}

TEST_F(FreeEdgesTest, AChainIsNotGeneratedByAskingForIt) {
  SBR body = make_body({{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{0, 1, 2}}});
  int ids[4];
  EXPECT_EQ(SBR_GetFreeEdge(body, 0, ids), 0);
}

TEST_F(FreeEdgesTest, AClosedSurfaceHasNone) {
  SBR body = make_body(brick_block(1, 1, 1));
  EXPECT_EQ(SBR_GetFreeEdgeCount(body), 0);
}

TEST_F(FreeEdgesTest, InternalFacesAreRemovedFirst) {
  // Two bricks, of which one lacks its outer end; node 13 belongs to no face.
  Surface surface = brick_block(2, 1, 1);
  surface.faces.erase(std::find(surface.faces.begin(), surface.faces.end(), std::vector<int>{2, 5, 11, 8}));
  surface.points.push_back({9, 9, 9});
  SBR body = make_body(surface);
  give_modes(body);
  log.clear();
  EXPECT_EQ(SBR_GetFreeEdgeCount(body), 1);
  const std::vector<Message> messages = log.take();
  ASSERT_GE(messages.size(), 2U);
  EXPECT_EQ(messages[0], info("\n Remove internal geometry of SBR\n"));
  EXPECT_EQ(messages[1], info(" Stripping interior faces\n"));
  EXPECT_EQ(face_count(body), 9);
  EXPECT_EQ(SBR_NodeCount(body), 12);
  EXPECT_EQ(chain(body, 0), (std::vector<int>{30, 60, 120, 90, 30}));
}

TEST_F(FreeEdgesTest, ChainsStayUntilTheyAreGeneratedAnew) {
  SBR body = make_body({{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 0}}, {{0, 1, 2}}});
  EXPECT_EQ(SBR_GetFreeEdgeSize(body, 0), 4);
  set_faces(body, {{0, 1, 3, 2}});
  EXPECT_EQ(SBR_GetFreeEdgeSize(body, 0), 4);
  SBR_GenerateFreeEdges(body);
  EXPECT_EQ(SBR_GetFreeEdgeSize(body, 0), 5);
}

TEST_F(FreeEdgesTest, ChainIndicesOutsideTheCountGiveNothing) {
  SBR body = make_body({{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{0, 1, 2}}});
  for (const int index : {-1, 1, 1000000}) {
    EXPECT_EQ(SBR_GetFreeEdgeSize(body, index), 0);
    EXPECT_EQ(SBR_GetFreeEdge(body, index, nullptr), 0);
  }
  EXPECT_EQ(SBR_GetFreeEdge(body, 0, nullptr), 4);
}

TEST_F(FreeEdgesTest, NullHandlesAreReported) {
  SBR_GenerateFreeEdges(nullptr);
  EXPECT_EQ(SBR_GetFreeEdgeCount(nullptr), 0);
  EXPECT_EQ(SBR_GetFreeEdgeSize(nullptr, 0), 0);
  EXPECT_EQ(SBR_GetFreeEdge(nullptr, 0, nullptr), 0);
  EXPECT_EQ(log.take(), std::vector<Message>(4, error("The database has not been initialized.")));
}

TEST_F(FreeEdgesTest, ABodyWithoutFacesHasNone) {
  SBR body = SBR_Create(1, 1);
  EXPECT_EQ(SBR_GetFreeEdgeCount(body), 0);
}

}  // namespace
}  // namespace sbrtest
