// Coarsening of small meshes worked out by hand, with the whole face list, and the messages of a run.
#include <gmock/gmock.h>

#include <cmath>
#include <limits>

#include "support/body_state.h"
#include "support/coarsen_reference.h"
#include "support/meshes.h"
#include "support/messages.h"

namespace {
int monitor_total = 0;
int monitor_stamps = 0;
}  // namespace

// The program is a host with a progress monitor of its own.
extern "C" void SBR_TimeMonitor(int total) {
  monitor_total = total;
  monitor_stamps = 0;
}
extern "C" void SBR_TimeMonitorStamp(void) { monitor_stamps += 1; }

namespace sbrtest {
namespace {

using ::testing::ElementsAre;

class CoarseningTest : public LibraryTest {
 protected:
  SBR body_of(const Surface &surface) { return make_body(surface); }
  Faces coarsen(const Surface &surface, const char *options) {
    SBR body = make_body(surface);
    log.clear();
    SBR_TrimGeometry(body, options);
    Faces faces = faces_of(body);
    SBR_Destroy(body);
    return faces;
  }
};

// The surface beside a lone node far away, which makes the model 100 long: 2 % of it reach over a cell and its
// neighbour.
Surface in_a_large_model(Surface surface) {
  surface.points.push_back({100.0, 0.0, 0.0});
  return surface;
}

// ---- the walk ---------------------------------------------------------------------------------------------

TEST_F(CoarseningTest, InteriorNodesVanishAndBoundaryNodesStay) {
  EXPECT_EQ(coarsen(flat_grid(2, 2), "0.5,10,0"), (Faces{{3, 0, 1, 2, 5, 8, 7, 6}}));
}

TEST_F(CoarseningTest, AnOpenFanKeepsItsNodeAtTheEndOfThePolygon) {
  // Node 1 has no face that goes on from node 0, so that the first start fails and the second one succeeds.
  EXPECT_EQ(coarsen(in_a_large_model(flat_grid(2, 1)), "0.02,10,0"), (Faces{{2, 5, 4, 3, 0, 1}}));
}

TEST_F(CoarseningTest, ASmallClosedPolygonKeepsItsRepeatedLastVertex) {
  // Four triangles around node 4: the polygon has 5 entries, too few for an excursion.
  const Surface fan{{{0, 0, 0}, {2, 0, 0}, {2, 2, 0}, {0, 2, 0}, {1, 1, 0}},
                    {{0, 1, 4}, {1, 2, 4}, {2, 3, 4}, {3, 0, 4}}};
  // 0.36 of the diagonal is less than the side between corners, so that only node 4 is free to go.
  EXPECT_EQ(coarsen(fan, "0.36,10,0"), fan.faces);
  // With half the diagonal node 4 sees all corners; the corners do not see each other.
  const Faces merged = coarsen(fan, "0.5,10,0");
  EXPECT_EQ(merged, (Faces{{0, 1, 2, 3, 0}}));
}

TEST_F(CoarseningTest, DistanceIsMeasuredToEveryNodeInPlay) {
  // Node 3 would have to reach node 2 of the polygon fused at node 1: it stays out of the first merge of the corner.
  EXPECT_EQ(coarsen(flat_grid(2, 2), "0.3,10,0"), flat_grid(2, 2).faces);
}

TEST_F(CoarseningTest, TwoTrianglesThatShareOnlyANodeStay) {
  const Surface bow{{{0, 0, 0}, {-1, 1, 0}, {-1, -1, 0}, {1, 1, 0}, {1, -1, 0}, {100, 0, 0}}, {{0, 1, 2}, {0, 4, 3}}};
  // Every start fails; the second round reverses the second start (the first one has no negative number).
  EXPECT_EQ(coarsen(bow, "0.5,10,0"), (Faces{{0, 1, 2}, {0, 3, 4}}));
}

TEST_F(CoarseningTest, AFailedAttemptLeavesItsReversals) {
  // Two pairs of triangles around node 0 that meet only there; the nodes between the pairs are preserved. Each start
  // eats its own pair and gets stuck; the face that ends where the walk stands is reversed on the way and put back like
  // that.
  const Surface pairs{{{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {-1, 0, 0}, {-1, -1, 0}, {0, -1, 0}, {100, 0, 0}},
                      {{0, 1, 2}, {0, 3, 2}, {0, 4, 5}, {0, 5, 6}}};
  // k = 0 takes 1-2 and reverses the second face to 2-3. k = 1 starts at 2-3 and is stuck at once. k = 2 takes 4-5,
  // 5-6. k = 3 starts 5-6, stuck. Second round: 0 takes 1-2, 2-3. -1 reverses the second face to 3-2, goes to the
  // first, which ends at 2 and is reversed to 2-1. -2 reverses the third to 5-4, stuck. -3 reverses the fourth to 6-5,
  // and takes 5-4.
  EXPECT_EQ(coarsen(pairs, "0.015,10,0,30,60"), (Faces{{0, 2, 1}, {0, 3, 2}, {0, 5, 4}, {0, 6, 5}}));
}

TEST_F(CoarseningTest, FlippedNeighboursAreParallelAndAreReversedOnTheWay) {
  Surface surface = flat_grid(2, 1);
  surface.faces[1] = {4, 5, 2, 1};
  // At node 1 the flipped face reads 1, 4, 5, 2 and the first one 1, 4, 3, 0. Start 0 ends at 0, start 1 at 2; then 0
  // again; start -1 reverses the flipped face to 1, 2, 5, 4 and goes on with the first.
  EXPECT_EQ(coarsen(in_a_large_model(surface), "0.02,10,0"), (Faces{{2, 5, 4, 3, 0, 1}}));
}

TEST_F(CoarseningTest, ARidgeStays) {
  Surface roof = flat_grid(2, 1);
  for (const int ridge : {1, 4}) roof.points[static_cast<std::size_t>(ridge)][2] = 1.0;
  EXPECT_EQ(coarsen(roof, "0.5,10,0"), roof.faces);
  EXPECT_EQ(coarsen(roof, "0.5,45,0"), roof.faces);
}

TEST_F(CoarseningTest, TheFaceAngleDecidesBetweenFlatAndRidge) {
  Surface roof = flat_grid(2, 1);
  const double rise = std::tan(10.0 * std::acos(-1.0) / 180.0);  // the two planes meet at 20 degrees
  for (const int ridge : {1, 4}) roof.points[static_cast<std::size_t>(ridge)][2] = rise;
  EXPECT_EQ(coarsen(in_a_large_model(roof), "0.02,19,0").size(), 2U);
  EXPECT_EQ(coarsen(in_a_large_model(roof), "0.02,21,0").size(), 1U);
}

TEST_F(CoarseningTest, AFusedFaceInheritsTheNormalOfItsStart) {
  // Three strips that bend by 8 degrees each. Node 1 fuses the first two; its start is the second strip, so that the
  // third one is 8 degrees off the fused polygon, although it is 16 off the first strip.
  const double pi = std::acos(-1.0);
  Surface bend;
  double x = 0.0;
  double z = 0.0;
  for (int i = 0; i <= 3; ++i) {
    bend.points.push_back({x, 0.0, z});
    bend.points.push_back({x, 1.0, z});
    x += std::cos(8.0 * i * pi / 180.0);
    z += std::sin(8.0 * i * pi / 180.0);
  }
  bend.faces = {{0, 2, 3, 1}, {2, 4, 5, 3}, {4, 6, 7, 5}};
  bend.points.push_back({100.0, 0.0, 0.0});
  EXPECT_EQ(coarsen(bend, "0.04,10,0"), (Faces{{6, 7, 5, 3, 1, 0, 2, 4}}));
}

// ---- co-linear vertices -----------------------------------------------------------------------------------

TEST_F(CoarseningTest, CoLinearRemovalLeavesTheCorners) {
  EXPECT_EQ(coarsen(in_a_large_model(flat_grid(2, 2)), "0.02,10,1"), (Faces{{0, 2, 8, 6}}));
  EXPECT_EQ(coarsen(in_a_large_model(flat_grid(2, 2)), "0.02,10,0"), (Faces{{3, 0, 1, 2, 5, 8, 7, 6}}));
}

TEST_F(CoarseningTest, LongSidesAreNotCoLinear) {
  // The sides are 1 long, 5 % of the model 0.14.
  EXPECT_EQ(coarsen(flat_grid(2, 2), "0.5,10,1"), (Faces{{3, 0, 1, 2, 5, 8, 7, 6}}));
}

TEST_F(CoarseningTest, APreservedNeighbourKeepsACoLinearVertex) {
  // Node 1 (ID 20) is out of play: it stays, and so do its neighbours; the other sides lose their middle nodes. Node 4
  // still goes.
  EXPECT_EQ(coarsen(in_a_large_model(flat_grid(2, 2)), "0.02,10,1,20,"), (Faces{{6, 0, 1, 2, 8}}));
}

TEST_F(CoarseningTest, CoLinearRemovalDropsOneOfTwoVerticesInOnePlace) {
  const Surface surface{{{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {0, 0, 0}}, {{0, 1, 2, 3, 4}}};
  // The last vertex comes first as the previous one, so that the first position goes and the last one stays.
  EXPECT_EQ(coarsen(in_a_large_model(surface), "0.02,10,1"), (Faces{{1, 2, 3, 4}}));
}

TEST_F(CoarseningTest, CoLinearRemovalDropsAFoldedSpike) {
  // From 1 the side runs out to 4 and back to 2: nearly folded.
  Surface surface{{{0, 0, 0}, {1, -1, 0}, {1.2, -0.8, 0}, {0, 1, 0}, {3, 0.05, 0}, {100, 0, 0}}, {{0, 1, 4, 2, 3}}};
  EXPECT_EQ(coarsen(surface, "0.0001,10,1"), (Faces{{0, 1, 2, 3}}));
}

TEST_F(CoarseningTest, TrianglesAreNotThinned) {
  Surface surface{{{0, 0, 0}, {1, 0, 0}, {2, 0, 0}, {100, 0, 0}}, {{0, 1, 2}}};
  EXPECT_EQ(coarsen(surface, "0.02,10,1"), (Faces{{0, 1, 2}}));
}

// ---- preserved nodes --------------------------------------------------------------------------------------

TEST_F(CoarseningTest, APreservedNodeInTheMiddleStaysAndItsNeighboursStillMerge) {
  SBR body = make_body(flat_grid(2, 2));
  SBR_TrimGeometry(body, "0.5,10,0,50");
  bool found = false;
  for (const auto &face : faces_of(body)) found = found || std::find(face.begin(), face.end(), 4) != face.end();
  EXPECT_TRUE(found);
  EXPECT_EQ(faces_of(body)[0], (std::vector<int>{2, 5, 4, 3, 0, 1}));
  EXPECT_LT(faces_of(body).size(), 4U);
}

TEST_F(CoarseningTest, PreservedNodesDoNotCountInTheDistance) {
  // Node 1 reaches 0, 2 and 4, but not the far ends 3 and 5 of its faces; with those preserved it merges.
  EXPECT_EQ(coarsen(flat_grid(2, 1), "0.46,10,0").size(), 2U);
  EXPECT_EQ(coarsen(flat_grid(2, 1), "0.46,10,0,40,60,").size(), 1U);
}

TEST_F(CoarseningTest, PreserveListIsReadItemByItemWithOneSeparatorEach) {
  SBR body = make_body(flat_grid(2, 2));
  log.clear();
  SBR_TrimGeometry(body, "0.5x10;1/10 +20|77:30");
  EXPECT_EQ(log.take(),
            (std::vector<Message>{
                info("Coarsening to resolution 50%% with face-angle 10.00 deg and co-linear vertex removal"),
                info("Preserving nodes: "), info("10 "), info("20 "), info("30 "),
                info("\nFace reduction from 4 to " + std::to_string(faces_of(body).size()))}));
}

TEST_F(CoarseningTest, AnIdOfZeroEndsThePreserveList) {
  SBR body = make_body(flat_grid(2, 2));
  log.clear();
  SBR_TrimGeometry(body, "0.5,10,0,10,0,20");
  EXPECT_THAT(log.take(), ElementsAre(info("Coarsening to resolution 50%% with face-angle 10.00 deg"),
                                      info("Preserving nodes: "), info("10 "), testing::_));
}

TEST_F(CoarseningTest, AnIdIsPreservedOnce) {
  SBR body = make_body(flat_grid(2, 2));
  log.clear();
  SBR_TrimGeometry(body, "0.5,10,0,10,10");
  EXPECT_THAT(log.take(), ElementsAre(testing::_, info("Preserving nodes: "), info("10 "), testing::_));
}

TEST_F(CoarseningTest, AnIdBeyond32BitsIsUnknown) {
  SBR body = make_body(flat_grid(2, 2));
  state::set_node_id(body, 0, std::numeric_limits<int>::max());
  log.clear();
  SBR_TrimGeometry(body, "0.5,10,0,99999999999999999999,20");
  EXPECT_THAT(log.take(), ElementsAre(testing::_, info("Preserving nodes: "), info("20 "), testing::_));
}

TEST_F(CoarseningTest, InterfaceNodesArePreserved) {
  SBR body = make_body(flat_grid(2, 2));
  SBR_SetInterfaceNode(body, 50);
  log.clear();
  SBR_TrimGeometry(body, "0.5,10,0,50");
  EXPECT_THAT(log.take(), ElementsAre(testing::_, info("Preserving nodes: "), info("50 "), testing::_));
}

TEST_F(CoarseningTest, NothingPreservedSaysNone) {
  SBR body = make_body(flat_grid(2, 2));
  log.clear();
  SBR_TrimGeometry(body, "0.5,10,0");
  EXPECT_EQ(log.take(),
            (std::vector<Message>{info("Coarsening to resolution 50%% with face-angle 10.00 deg"),
                                  info("Preserving nodes: "), info(" NONE"), info("\nFace reduction from 4 to 1")}));
}

class StressNodesTest : public CoarseningTest {
 protected:
  SBR stressed_grid() {
    SBR body = make_body(flat_grid(2, 2));
    const double six[6] = {};
    SBR_SetModeVec(body, 1, 50, 1, six);
    SBR_SetModeVec(body, 1, 20, 2, six);
    log.clear();
    return body;
  }
};

TEST_F(StressNodesTest, StayWithTheirKeyword) {
  SBR body = stressed_grid();
  SBR_TrimGeometry(body, "0.5,10,0,10,preserve_str");
  EXPECT_THAT(log.take(),
              ElementsAre(testing::_, info("Preserving nodes: "), info("10 "), info("50 "), info("20 "), testing::_));
}

TEST_F(StressNodesTest, StayWhenTheKeywordStandsSomewhereInTheRest) {
  SBR body = stressed_grid();
  SBR_TrimGeometry(body, "0.5,10,0,0 and so on: preserve_strength");
  EXPECT_THAT(log.take(), ElementsAre(testing::_, info("Preserving nodes: "), info("50 "), info("20 "), testing::_));
}

TEST_F(StressNodesTest, AreNotPreservedWithoutTheKeyword) {
  SBR body = stressed_grid();
  SBR_TrimGeometry(body, "0.5,10,0,10");
  EXPECT_THAT(log.take(), ElementsAre(testing::_, info("Preserving nodes: "), info("10 "), testing::_));
}

TEST_F(StressNodesTest, LoseTheirKeywordToTheSeparatorOfTheFlag) {
  SBR body = stressed_grid();
  SBR_TrimGeometry(body, "0.5,10,0preserve_str");
  EXPECT_THAT(log.take(), ElementsAre(testing::_, info("Preserving nodes: "), info(" NONE"), testing::_));
}

// ---- options ----------------------------------------------------------------------------------------------

struct Announcement {
  const char *options;
  std::vector<Message> messages;
};

class OptionsTest : public CoarseningTest, public ::testing::WithParamInterface<Announcement> {};

TEST_P(OptionsTest, AreAnnouncedAsTheyAreUsed) {
  SBR body = make_body(flat_grid(1, 1));
  log.clear();
  SBR_TrimGeometry(body, GetParam().options);
  std::vector<Message> expected = GetParam().messages;
  expected.insert(expected.end(), {info("Preserving nodes: "), info(" NONE"), info("\nFace reduction from 1 to 1")});
  EXPECT_EQ(log.take(), expected);
}

const Message kResolution0 =
    warning("Coarsening resolution outside the 0-50 percent range not supported.  You selected 0.000000\n");
const Message kAngle0 = warning("Face angles outside the 0-45 degree range not supported.  You selected 0.000000\n");
const Message kDefaults = info("Coarsening to resolution 2%% with face-angle 10.00 deg");

const Announcement kAnnouncements[] = {
    Announcement{"0.5,45,0", {info("Coarsening to resolution 50%% with face-angle 45.00 deg")}},
    Announcement{"0.29,7.125,2",
                 {info("Coarsening to resolution 28%% with face-angle  7.12 deg and co-linear vertex removal")}},
    Announcement{"0,0,0", {kResolution0, kAngle0, kDefaults}},
    Announcement{"", {kResolution0, kAngle0, kDefaults}},
    Announcement{"abc", {kResolution0, kAngle0, kDefaults}},
    Announcement{"0.625,10",
                 {warning("Coarsening resolution outside the 0-50 percent range not supported.  "
                          "You selected 62.000000\n"),
                  kDefaults}},
    Announcement{"-0.256,10",
                 {warning("Coarsening resolution outside the 0-50 percent range not supported.  "
                          "You selected -25.000000\n"),
                  kDefaults}},
    Announcement{"-0.001,10", {kResolution0, kDefaults}},
    Announcement{
        "0.02,45.5,0",
        {warning("Face angles outside the 0-45 degree range not supported.  You selected 45.500000\n"), kDefaults}},
    Announcement{
        "0.02,-3,0",
        {warning("Face angles outside the 0-45 degree range not supported.  You selected -3.000000\n"), kDefaults}},
    Announcement{"nan,nan,0",
                 {warning("Coarsening resolution outside the 0-50 percent range not supported.  "
                          "You selected nan\n"),
                  warning("Face angles outside the 0-45 degree range not supported.  You selected nan\n"), kDefaults}},
    Announcement{"1e999,10",
                 {warning("Coarsening resolution outside the 0-50 percent range not supported.  "
                          "You selected inf\n"),
                  kDefaults}}};

INSTANTIATE_TEST_SUITE_P(Coarsening, OptionsTest, ::testing::ValuesIn(kAnnouncements));

// ---- the run ----------------------------------------------------------------------------------------------

TEST_F(CoarseningTest, NoOptionsDoNothing) {
  SBR body = make_body(flat_grid(2, 2));
  log.clear();
  SBR_TrimGeometry(body, nullptr);
  EXPECT_TRUE(log.take().empty());
  EXPECT_EQ(faces_of(body), flat_grid(2, 2).faces);
  EXPECT_EQ(SBR_IsCoarsened(body), 0);
}

TEST_F(CoarseningTest, ANullHandleIsReported) {
  SBR_TrimGeometry(nullptr, "0.02,10,0");
  EXPECT_EQ(SBR_IsCoarsened(nullptr), 0);
  const Message no_body = error("The database has not been initialized.");
  EXPECT_EQ(log.take(), (std::vector<Message>{no_body, no_body}));
}

TEST_F(CoarseningTest, ABodyWithoutFacesIsAProblemAfterTheAnnouncement) {
  SBR body = make_body({flat_grid(1, 1).points, {}});
  log.clear();
  SBR_TrimGeometry(body, "0.02,10,0");
  EXPECT_EQ(log.take(), (std::vector<Message>{kDefaults, error("Problem encountered while trimming geometry\n")}));
  EXPECT_EQ(SBR_IsCoarsened(body), 0);
}

TEST_F(CoarseningTest, ABodyWithoutNodesIsAProblemAfterTheAnnouncement) {
  SBR body = SBR_Create(0, 0);
  set_faces(body, {{0, 1, 2}});
  SBR_TrimGeometry(body, "0.02,10,0");
  EXPECT_EQ(log.take(), (std::vector<Message>{kDefaults, error("Problem encountered while trimming geometry\n")}));
}

TEST_F(CoarseningTest, EveryRunMarksTheBody) {
  SBR body = make_body(flat_grid(1, 1));
  EXPECT_EQ(SBR_IsCoarsened(body), 0);
  SBR_TrimGeometry(body, "0.02,10,0");
  EXPECT_EQ(faces_of(body), flat_grid(1, 1).faces);
  EXPECT_EQ(SBR_IsCoarsened(body), 1);
}

TEST_F(CoarseningTest, AFaceOfFiveVerticesMarksTheBodyForGood) {
  Surface surface = flat_grid(2, 2);
  surface.faces.push_back({0, 1, 2, 5, 4});
  SBR body = make_body(surface);
  EXPECT_EQ(SBR_IsCoarsened(body), 1);
  set_faces(body, flat_grid(2, 2).faces);
  EXPECT_EQ(SBR_IsCoarsened(body), 1);
}

TEST_F(CoarseningTest, TheNodeTableStays) {
  SBR body = make_body(flat_grid(2, 2));
  SBR_TrimGeometry(body, "0.5,10,0");
  EXPECT_EQ(SBR_NodeCount(body), 9);
}

TEST_F(CoarseningTest, ProgressIsReportedEveryHundredthOfTheNodes) {
  SBR body = make_body(flat_grid(15, 15));  // 256 nodes: every second one
  SBR_TrimGeometry(body, "0.02,10,0");
  EXPECT_EQ(monitor_total, 100);
  EXPECT_EQ(monitor_stamps, 128);
}

TEST_F(CoarseningTest, SmallBodiesReportNoProgress) {
  SBR body = make_body(flat_grid(9, 9));  // 100 nodes
  SBR_TrimGeometry(body, "0.02,10,0");
  EXPECT_EQ(monitor_total, 100);
  EXPECT_EQ(monitor_stamps, 0);
}

// ---- damaged and degenerate faces -------------------------------------------------------------------------

TEST_F(CoarseningTest, FacesWithoutVerticesVanish) {
  SBR body = make_body(flat_grid(1, 1));
  set_face_words(body, 3, {0, 3, 0, 1, 2, 0});
  SBR_TrimGeometry(body, "0.02,10,0");
  EXPECT_EQ(faces_of(body), (Faces{{0, 1, 2}}));
}

TEST_F(CoarseningTest, NothingButEmptyFacesGivesAnEmptyList) {
  SBR body = make_body(flat_grid(1, 1));
  set_face_words(body, 2, {0, 0});
  log.clear();
  SBR_TrimGeometry(body, "0.02,10,0");
  EXPECT_TRUE(faces_of(body).empty());
  EXPECT_TRUE(log.take_complaints().empty());
}

TEST_F(CoarseningTest, FacesOfOneOrTwoVerticesStay) {
  Surface surface = flat_grid(2, 2);
  surface.faces.insert(surface.faces.begin(), {{4}, {4, 4}, {0, 4}});
  const Faces faces = coarsen(surface, "0.5,10,0");
  EXPECT_EQ((Faces{faces.begin(), faces.begin() + 3}), (Faces{{4}, {4, 4}, {0, 4}}));
}

TEST_F(CoarseningTest, IndicesOutsideTheTableStayInTheirFaces) {
  Surface surface = flat_grid(2, 1);
  surface.faces[0] = {-7, 1, 4, 1000000};
  EXPECT_EQ(coarsen(surface, "0.5,10,0"), surface.faces);
  surface.faces[0] = {1, 4, 1000000, -7};
  const Faces faces = coarsen(surface, "0.5,10,0");
  // A face without a normal is not flat against another one: nothing is fused, and every face keeps its numbers.
  EXPECT_EQ(faces, surface.faces);
}

TEST_F(CoarseningTest, AListThatEndsInTheMiddleOfAFaceGivesTheFacesBefore) {
  SBR body = make_body(flat_grid(1, 1));
  set_face_words(body, 2, {3, 0, 1, 2, 4, 0, 1});
  SBR_TrimGeometry(body, "0.02,10,0");
  EXPECT_EQ(faces_of(body), (Faces{{0, 1, 2}}));
  set_face_words(body, 7, {-3, 0, 1, 2});
  log.clear();
  SBR_TrimGeometry(body, "0.02,10,0");
  EXPECT_EQ(log.take().back(), error("Problem encountered while trimming geometry\n"));
}

TEST_F(CoarseningTest, CoincidentNodesHaveNoNormalsAndStay) {
  Surface surface = flat_grid(3, 3);
  for (Point &point : surface.points) point = {1.0, 2.0, 3.0};
  EXPECT_EQ(coarsen(surface, "0.02,10,0"), surface.faces);
}

TEST_F(CoarseningTest, ANodeWithoutNumbersIsNeverTooFarAndNeverFlat) {
  Surface surface = flat_grid(4, 4);
  surface.points[12] = {std::nan(""), 0.0, 0.0};
  const Faces faces = coarsen(surface, "0.4,10,0");
  EXPECT_EQ(faces, coarsen_by_the_book(surface, {.resolution = 0.4}));
  // The four faces around it have no normal that could be compared, and stay.
  int around = 0;
  for (const auto &face : faces) around += std::count(face.begin(), face.end(), 12) > 0 ? 1 : 0;
  EXPECT_EQ(around, 4);
}

TEST_F(CoarseningTest, ANodeAtInfinityKeepsItsNeighbours) {
  Surface surface = flat_grid(4, 4);
  surface.points[3][1] = std::numeric_limits<double>::infinity();
  // The diagonal is infinite, and so is the limit; what is left of the body is reduced by the angle alone.
  const Faces faces = coarsen(surface, "0.1,10,0");
  EXPECT_EQ(faces, coarsen_by_the_book(surface, {.resolution = 0.1}));
  EXPECT_LT(faces.size(), 16U);
}

TEST_F(CoarseningTest, AFaceThatRepeatsItsNodesThousandsOfTimesFollowsTheRules) {
  for (const int repeats : {6, 400}) {
    Surface surface = flat_grid(2, 2);
    std::vector<int> &face = surface.faces[0];
    for (int i = 0; i < repeats; ++i) face.insert(face.begin() + 2, i % 2 == 0 ? 4 : 1);
    EXPECT_EQ(coarsen(surface, "0.5,45,1"),
              coarsen_by_the_book(surface, {.resolution = 0.5, .angle = 45.0, .colinear = true}));
  }
  Surface surface = flat_grid(2, 2);
  std::vector<int> &face = surface.faces[0];
  face.clear();
  for (int i = 0; i < 20000; ++i) face.push_back(i % 2 == 0 ? 4 : 1);
  for (const int node : {3, 0}) face.push_back(node);
  const Faces faces = coarsen(surface, "0.5,45,1");
  std::size_t words = 0;
  for (const auto &left : faces) {
    EXPECT_FALSE(left.empty());
    words += left.size();
  }
  EXPECT_LE(words, 20000U + 2 + 12);
}

TEST_F(CoarseningTest, AFaceThatWasFusedDoesNotComeBack) {
  // Both faces become one polygon, and pruning takes out nodes that both lists still name. The next of them has no face
  // left to fuse: nothing is tried, and nothing is put back.
  Surface surface;
  surface.points = {{1, 0.8, 0}, {0.6, 0.5, 0}, {0.7, 0.8, 0}, {0.6, 0.86, 0}, {1, 0.5, 0},
                    {0, 0, 0},   {1, 1, 0},     {0.4, 0.2, 0}, {0, 0.6, 0},    {1, 0, 0}};
  surface.faces = {{4, 1, 8, 7, 3, 4, 7}, {1, 2, 0, 2, 3, 4, 6, 3, 8}};
  const Faces faces = coarsen(surface, "0.5,45,0");
  EXPECT_EQ(faces, (Faces{{2, 2, 3, 3, 3, 4, 4, 1}}));
  EXPECT_EQ(faces, coarsen_by_the_book(surface, {.resolution = 0.5, .angle = 45.0}));
}

TEST_F(CoarseningTest, AHubOfManyTrianglesBecomesOnePolygon) {
  constexpr int kRim = 5000;
  Surface disk;
  disk.points.push_back({0, 0, 0});
  for (int i = 0; i < kRim; ++i) {
    const double angle = 2.0 * std::acos(-1.0) * i / kRim;
    disk.points.push_back({std::cos(angle), std::sin(angle), 0});
    disk.faces.push_back({0, 1 + i, 1 + (i + 1) % kRim});
  }
  disk.points.push_back({100, 0, 0});
  const Faces faces = coarsen(disk, "0.0101,10,0");
  ASSERT_EQ(faces.size(), 1U);
  EXPECT_EQ(faces[0].size(), static_cast<std::size_t>(kRim));
}

}  // namespace
}  // namespace sbrtest
