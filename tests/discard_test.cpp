// The keep list, and the discarding of nodes with the mode data and loads that hang on them.
#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>

#include "support/body_state.h"
#include "support/bracket.h"
#include "support/files.h"
#include "support/meshes.h"
#include "support/messages.h"

namespace sbrtest {
namespace {

const Message kNoBody = error("The database has not been initialized.");

// A square with two triangles on nodes 1, 2, 4, 5; nodes 0, 3, 6 belong to no face.
Surface square_with_strays() {
  Surface surface;
  for (int i = 0; i < 7; ++i) surface.points.push_back({i + 0.25, i + 0.5, i + 0.75});
  surface.faces = {{1, 2, 4}, {1, 4, 5}};
  return surface;
}

// Value c of a node in a mode: tells kind, mode, node ID and component.
double value(int kind, int mode, int id, int c) { return 10000.0 * kind + 1000.0 * mode + id + 0.125 * c; }

// The values of an array that the library gave, which goes.
template <class T>
std::vector<T> copied(T *values, std::size_t count) {
  std::vector<T> copy(values, values + count);
  SBR_FreeMemory(values);
  return copy;
}

class DiscardingTest : public LibraryTest {
 protected:
  DiscardingTest() : body(make_body(square_with_strays())) {}

  void set_mode(int kind, int mode, int index) {
    double six[6];
    for (int c = 0; c < 6; ++c) six[c] = value(kind, mode, mesh_id(index), c);
    ASSERT_EQ(SBR_SetModeVec(body, mode, mesh_id(index), kind, six), 1);
  }
  void give_shapes() {
    for (int mode = 1; mode <= 2; ++mode)
      for (int i = 0; i < 7; ++i) set_mode(0, mode, i);
  }
  void give(int kind, const std::vector<int> &nodes) {
    for (int mode = 1; mode <= 2; ++mode)
      for (const int node : nodes) set_mode(kind, mode, node);
  }
  void expect_values(int kind, const std::vector<int> &nodes) {
    ASSERT_EQ(SBR_ModeNodeCount(body, kind), static_cast<int>(nodes.size()));
    for (std::size_t p = 0; p < nodes.size(); ++p)
      EXPECT_EQ(SBR_ModeNodeID(body, kind, static_cast<int>(p)), mesh_id(nodes[p]));
    for (int mode = 1; mode <= 2; ++mode)
      for (int part = 0; part < 2; ++part) {
        std::vector<double> out(3 * nodes.size());
        ASSERT_EQ(SBR_Mode(body, mode, kind, out.data(), part), 1);
        for (std::size_t p = 0; p < nodes.size(); ++p)
          for (int c = 0; c < 3; ++c)
            EXPECT_EQ(out[3 * p + static_cast<std::size_t>(c)], value(kind, mode, mesh_id(nodes[p]), 3 * part + c));
        for (const int node : nodes) {
          double three[3];
          ASSERT_EQ(SBR_ModeByNode(body, mode, kind, mesh_id(node), three, part), 1);
          EXPECT_EQ(three[0], value(kind, mode, mesh_id(node), 3 * part));
        }
      }
  }
  std::vector<int> ids() const {
    std::vector<int> list;
    for (int i = 0; i < SBR_NodeCount(body); ++i) list.push_back(SBR_NodeID(body, i));
    return list;
  }
  std::vector<int> keep() {
    int count = -1;
    int *nodes = SBR_GeometryNodes(body, &count);
    std::vector<int> list(nodes, nodes + count);
    SBR_FreeMemory(nodes);
    return list;
  }

  SBR body;
};

// ---- the keep list ----------------------------------------------------------------------------------------

TEST_F(DiscardingTest, FaceNodesAreKeptInAscendingOrder) { EXPECT_EQ(keep(), (std::vector<int>{1, 2, 4, 5})); }

TEST_F(DiscardingTest, InterfaceAndLoadNodesAreKept) {
  SBR_SetInterfaceNode(body, 70);
  SBR_SetModalLoadNodal(body, 0, 40, 1, 5.0);
  EXPECT_EQ(keep(), (std::vector<int>{1, 2, 3, 4, 5, 6}));
}

TEST_F(DiscardingTest, LoadNodesGoWhenTheyAreOptimizedAway) {
  const ScopedEnvironment options("KTX_SBRWRITE_OPTIONS", "full optimize_mforce_nodes");
  SBR_SetInterfaceNode(body, 70);
  SBR_SetModalLoadNodal(body, 0, 40, 1, 5.0);
  EXPECT_EQ(keep(), (std::vector<int>{1, 2, 4, 5, 6}));
}

TEST_F(DiscardingTest, AnInterfaceNodeWithoutAPositiveIdKeepsTheFirstNode) {
  SBR_SetInterfaceNode(body, 70);
  state::set_node_id(body, 6, -70);
  EXPECT_EQ(keep(), (std::vector<int>{0, 1, 2, 4, 5}));
}

TEST_F(DiscardingTest, TheKeepListLastsUntilNodesAreDiscarded) {
  EXPECT_EQ(keep(), (std::vector<int>{1, 2, 4, 5}));
  set_faces(body, {{0, 1, 2}});
  EXPECT_EQ(keep(), (std::vector<int>{1, 2, 4, 5}));
  EXPECT_EQ(SBR_DiscardUnreferencedNodes(body), 0);  // older than the faces: refused, and the list goes
  EXPECT_EQ(keep(), (std::vector<int>{0, 1, 2}));
}

TEST_F(DiscardingTest, EveryCallerGetsACopyOfTheKeepList) {
  int count = 0;
  int *first = SBR_GeometryNodes(body, &count);
  first[0] = -1;
  SBR_FreeMemory(first);
  EXPECT_EQ(keep(), (std::vector<int>{1, 2, 4, 5}));
}

TEST_F(DiscardingTest, KeepListsNeedFaces) {
  SBR faceless = SBR_Create(1, 1);
  int count = -1;
  EXPECT_EQ(SBR_GeometryNodes(faceless, &count), nullptr);
  EXPECT_EQ(count, 0);
  std::vector<Message> messages = log.take();
  ASSERT_EQ(messages.size(), 1U);
  EXPECT_TRUE(is_no_memory(messages[0], "sbrtools"));
  SBR_SetNodeCoordinates(faceless, 1, 0, 0, 0);
  SBR_SetInterfaceNode(faceless, 1);
  EXPECT_EQ(SBR_GeometryNodes(faceless, nullptr), nullptr);
  EXPECT_EQ(log.take(), (std::vector<Message>{warning("Missing element face information.")}));
}

TEST_F(DiscardingTest, AKeepListOfNothingIsAnAllocationFailure) {
  set_face_words(body, 2, {0, 0});
  int count = -1;
  EXPECT_EQ(SBR_GeometryNodes(body, &count), nullptr);
  EXPECT_EQ(count, 0);
  const std::vector<Message> messages = log.take();
  ASSERT_EQ(messages.size(), 1U);
  EXPECT_TRUE(is_no_memory(messages[0], "sbrtools"));
}

TEST_F(DiscardingTest, IndicesOutsideTheTableAreNotKept) {
  set_face_words(body, 2, {4, 1, -9, 7, 1000000, 2, 2, 5});
  EXPECT_EQ(keep(), (std::vector<int>{1, 2, 5}));
}

TEST_F(DiscardingTest, NullHandlesAreReported) {
  int count = 5;
  EXPECT_EQ(SBR_GeometryNodes(nullptr, &count), nullptr);
  EXPECT_EQ(count, 0);
  EXPECT_EQ(SBR_DiscardUnreferencedNodes(nullptr), 0);
  EXPECT_EQ(SBR_RemoveInternalGeometry(nullptr), 0);
  EXPECT_EQ(SBR_ShortenModeFile(nullptr, nullptr, 0, 0), 0);
  EXPECT_EQ(SBR_CompactModalLoadNodal(nullptr, nullptr, 0), 0);
  EXPECT_EQ(log.take(), std::vector<Message>(5, kNoBody));
}

// ---- discarding -------------------------------------------------------------------------------------------

TEST_F(DiscardingTest, NodesShapesAndReferencesShrinkTogether) {
  give_shapes();
  SBR_SetNodalMass(body, 30, 3.5);
  SBR_SetNodalInertia(body, 10, 9, 9, 9, 9, 9, 9);
  SBR_SetNodalInertia(body, 50, 1, 2, 3, 4, 5, 6);
  SBR_SetInterfaceNode(body, 60);
  SBR_SetInterfaceNode(body, 20);
  EXPECT_EQ(SBR_DiscardUnreferencedNodes(body), 1);
  EXPECT_EQ(ids(), (std::vector<int>{20, 30, 50, 60}));
  for (int i = 0; i < 4; ++i) EXPECT_EQ(SBR_NodeIndex(body, ids()[static_cast<std::size_t>(i)]), i);
  EXPECT_EQ(SBR_NodeIndex(body, 10), -1);
  double xyz[3];
  SBR_NodeCoordinates(body, 2, xyz);
  EXPECT_EQ(xyz[1], 4.5);
  EXPECT_EQ(SBR_NodalMass(body, 1), 3.5);
  double inertia[9];
  ASSERT_EQ(SBR_NodalInertia(body, 2, inertia), 1);
  EXPECT_EQ((std::vector<double>{inertia, inertia + 9}), (std::vector<double>{1, 4, 5, 4, 2, 6, 5, 6, 3}));
  EXPECT_EQ(SBR_NodalInertia(body, 0, inertia), 0);
  EXPECT_EQ(faces_of(body), (Faces{{0, 1, 2}, {0, 2, 3}}));
  int count = 0;
  int *interface_ids = SBR_InterfaceNodeIDs(body, &count);
  EXPECT_EQ((std::vector<int>{interface_ids, interface_ids + count}), (std::vector<int>{60, 20}));
  SBR_FreeMemory(interface_ids);
  expect_values(0, {1, 2, 4, 5});
}

TEST_F(DiscardingTest, EachKindIsAnnouncedWithItsFile) {
  give_shapes();
  give(1, {1, 4});
  give(2, {2});
  log.clear();
  EXPECT_EQ(SBR_DiscardUnreferencedNodes(body), 1);
  const std::vector<Message> messages = log.take();
  ASSERT_EQ(messages.size(), 3U);
  const char *const names[] = {"Shape", "Stress", "Strain"};
  for (int kind = 0; kind < 3; ++kind)
    EXPECT_EQ(messages[static_cast<std::size_t>(kind)],
              info(std::string(" Shortened ") + names[kind] + " mode file: " + state::mode_file(body, kind) + "\n"));
}

TEST_F(DiscardingTest, StressAndStrainKeepTheirKeptNodes) {
  give_shapes();
  give(1, {5, 0, 1});
  give(2, {3, 4, 2});
  EXPECT_EQ(SBR_DiscardUnreferencedNodes(body), 1);
  expect_values(0, {1, 2, 4, 5});
  expect_values(1, {1, 5});
  expect_values(2, {2, 4});
  EXPECT_TRUE(log.take_complaints().empty());
}

TEST_F(DiscardingTest, CachedModesDoNotOutliveTheirNodes) {
  SBR_SetKeepModesInMemory(body, 1);
  give_shapes();
  std::vector<double> out(21);
  ASSERT_EQ(SBR_Mode(body, 1, 0, out.data(), 0), 1);
  EXPECT_EQ(SBR_DiscardUnreferencedNodes(body), 1);
  int kept = -1;
  SBR_GetKeepModesInMemory(body, &kept);
  EXPECT_EQ(kept, 1);
  expect_values(0, {1, 2, 4, 5});
}

TEST_F(DiscardingTest, StressWithoutAKeptNodeIsEliminated) {
  give_shapes();
  give(1, {0, 3});
  give(2, {6});
  const double six[6] = {1, 2, 3, 4, 5, 6};
  SBR_SetPreStressVec(body, 10, six);
  SBR_SetPreStrainVec(body, 70, six);
  EXPECT_EQ(SBR_DiscardUnreferencedNodes(body), 1);
  EXPECT_EQ(log.take_complaints(),
            (std::vector<Message>{
                warning("All the nodes referenced in Stress Mode have been removed. Stress Mode data is eliminated."),
                warning("All the nodes referenced in Pre-Stress have been removed. Pre-Stress data is eliminated."),
                warning("All the nodes referenced in Strain Mode have been removed. Strain Mode data is eliminated."),
                warning("All the nodes referenced in Pre-Strain have been removed. Pre-Strain data is eliminated.")}));
  for (const int block : {17, 28, 30, 31}) EXPECT_EQ(SBR_Exists(body, block), 0) << block;
  EXPECT_EQ(SBR_ModeNodeCount(body, 1), 0);
  expect_values(0, {1, 2, 4, 5});
}

TEST_F(DiscardingTest, PreStressRowsMoveToTheirPlaceInTheKeepList) {
  // Stress at nodes 0, 2, 4, 5 in this order; kept are 1, 2, 4, 5. The source rows in order of the keep list are none,
  // 1, 2, 3: row k := row of the node kept k-th, so that all rows stay, the first one, of a node that goes, too.
  give_shapes();
  give(1, {0, 2, 4, 5});
  for (const int node : {0, 2, 4, 5}) {
    const double six[6] = {1.0 * node, 0, 0, 0, 0, 0};
    SBR_SetPreStressVec(body, mesh_id(node), six);
  }
  EXPECT_EQ(SBR_DiscardUnreferencedNodes(body), 1);
  std::vector<double> rows;
  for (const auto &row : state::pre_stress(body)) rows.push_back(row[0]);
  rows.resize(4);
  EXPECT_EQ(rows, (std::vector<double>{0, 2, 4, 5}));
}

TEST_F(DiscardingTest, PreStrainRowsLineUpWhenAllKeptNodesHaveStrain) {
  give_shapes();
  give(2, {0, 1, 2, 3, 4, 5});
  for (int node = 0; node < 6; ++node) {
    const double six[6] = {1.0 * node, 0, 0, 0, 0, 0};
    SBR_SetPreStrainVec(body, mesh_id(node), six);
  }
  EXPECT_EQ(SBR_DiscardUnreferencedNodes(body), 1);
  std::vector<double> rows;
  for (const auto &row : pre_vectors_of(body, 2)) rows.push_back(row[0]);
  EXPECT_EQ(rows, (std::vector<double>{1, 2, 4, 5}));
}

TEST_F(DiscardingTest, NodalLoadsFollowTheirNodes) {
  const ScopedEnvironment options("KTX_SBRWRITE_OPTIONS", "optimize_mforce_nodes");
  give_shapes();
  SBR_SetModalLoadNodal(body, 0, 10, 1, 0.5);
  SBR_SetModalLoadNodal(body, 0, 60, 2, 1.5);
  SBR_SetModalLoadNodal(body, 0, 20, 3, 2.5);
  SBR_SetModalLoadNodal(body, 1, 40, 4, 3.5);
  ASSERT_EQ(SBR_GetModalLoadNodalCaseCount(body), 2);
  EXPECT_EQ(SBR_DiscardUnreferencedNodes(body), 1);
  ASSERT_EQ(SBR_GetModalLoadNodalCount(body, 0), 2);
  EXPECT_EQ(copied(SBR_GetModalLoadNodalNode(body, 0), 2), (std::vector<int>{3, 0}));
  EXPECT_EQ(copied(SBR_GetModalLoadNodalCoord(body, 0), 2), (std::vector<int>{2, 3}));
  EXPECT_EQ(copied(SBR_GetModalLoadNodalLoad(body, 0), 2), (std::vector<double>{1.5, 2.5}));
  EXPECT_EQ(SBR_GetModalLoadNodalCount(body, 1), 0);
}

TEST_F(DiscardingTest, ABodyWithoutModesKeepsItsNodes) {
  log.clear();
  EXPECT_EQ(SBR_DiscardUnreferencedNodes(body), 0);
  EXPECT_EQ(ids().size(), 7U);
  EXPECT_EQ(faces_of(body), square_with_strays().faces);
  EXPECT_EQ(log.take_complaints(), (std::vector<Message>{warning("No Mode Shape Data found in this SBR file. \n")}));
}

TEST_F(DiscardingTest, ABodyWithoutFacesIsLeftAlone) {
  SBR faceless = SBR_Create(1, 1);
  SBR_SetNodeCoordinates(faceless, 1, 0, 0, 0);
  EXPECT_EQ(SBR_DiscardUnreferencedNodes(faceless), 1);
  EXPECT_EQ(SBR_NodeCount(faceless), 1);
}

TEST_F(DiscardingTest, AListOlderThanTheFacesIsRefused) {
  give_shapes();
  keep();
  set_faces(body, {{1, 2, 0}});
  log.clear();
  EXPECT_EQ(SBR_DiscardUnreferencedNodes(body), 0);
  EXPECT_EQ(
      log.take(),
      (std::vector<Message>{error("A face refers to node 10, which is not in the list of nodes to keep.  No nodes are "
                                  "discarded.\nThe list is older than the face; the next call makes it anew.")}));
  EXPECT_EQ(faces_of(body), (Faces{{1, 2, 0}}));
  expect_values(0, {0, 1, 2, 3, 4, 5, 6});
  EXPECT_EQ(SBR_DiscardUnreferencedNodes(body), 1);
  EXPECT_EQ(faces_of(body), (Faces{{1, 2, 0}}));
  expect_values(0, {0, 1, 2});
}

TEST_F(DiscardingTest, AnInterfaceNodeThatTheListDoesNotHaveIsRefused) {
  give_shapes();
  keep();
  SBR_SetInterfaceNode(body, 70);
  log.clear();
  EXPECT_EQ(SBR_DiscardUnreferencedNodes(body), 0);
  ASSERT_EQ(log.all().size(), 1U);
  EXPECT_THAT(log.all()[0].text, ::testing::StartsWith("Interface node 70 is not in the list of nodes to keep."));
  EXPECT_EQ(SBR_DiscardUnreferencedNodes(body), 1);
  EXPECT_EQ(ids(), (std::vector<int>{20, 30, 50, 60, 70}));
}

TEST_F(DiscardingTest, ANodeOutsideTheTableIsNeverMadeAnIndex) {
  give_shapes();
  set_faces(body, {{1, 2, 4000}});
  EXPECT_EQ(SBR_DiscardUnreferencedNodes(body), 0);
  EXPECT_EQ(faces_of(body), (Faces{{1, 2, 4000}}));
  EXPECT_EQ(SBR_NodeCount(body), 7);
}

// ---- pre-vectors without modes ----------------------------------------------------------------------------

// What a body has of a pre-stress: the first values, by the IDs of their nodes.
std::vector<std::pair<int, double>> pre_stress_of(SBR body) {
  const int count = SBR_ModeNodeCount(body, 1);
  std::vector<double> values(3 * static_cast<std::size_t>(count), -1.0);
  if (count > 0) {
    EXPECT_EQ(SBR_Mode(body, 0, 1, values.data(), 0), 1);
  }
  std::vector<std::pair<int, double>> pairs;
  for (int p = 0; p < count; ++p)
    pairs.emplace_back(SBR_ModeNodeID(body, 1, p), values[3 * static_cast<std::size_t>(p)]);
  return pairs;
}

void set_pre_stress(SBR body, const std::vector<int> &node_ids) {
  for (const int id : node_ids) {
    const double six[6] = {0.5 * id, 0, 0, 0, 0, 0};
    SBR_SetPreStressVec(body, id, six);
  }
}

TEST_F(DiscardingTest, APreStressAloneMovesWithItsNodes) {
  give_shapes();
  set_pre_stress(body, {60, 10, 20, 40});
  EXPECT_EQ(SBR_DiscardUnreferencedNodes(body), 1);
  EXPECT_TRUE(log.take_complaints().empty());
  EXPECT_EQ(SBR_Exists(body, 30), 1);
  EXPECT_EQ(pre_stress_of(body), (std::vector<std::pair<int, double>>{{20, 10.0}, {60, 30.0}}));
}

TEST_F(DiscardingTest, APreStressAloneSurvivesTheRemovalOfInternalGeometry) {
  give_shapes();
  set_pre_stress(body, {20, 70, 50});
  EXPECT_EQ(SBR_RemoveInternalGeometry(body), 1);
  EXPECT_EQ(pre_stress_of(body), (std::vector<std::pair<int, double>>{{20, 10.0}, {50, 25.0}}));
}

TEST_F(DiscardingTest, APreStressAloneOfNodesThatGoIsEliminated) {
  give_shapes();
  set_pre_stress(body, {10, 70});
  EXPECT_EQ(SBR_DiscardUnreferencedNodes(body), 1);
  EXPECT_EQ(log.take_complaints(),
            (std::vector<Message>{
                warning("All the nodes referenced in Pre-Stress have been removed. Pre-Stress data is eliminated.")}));
  EXPECT_EQ(SBR_Exists(body, 30), 0);
  EXPECT_EQ(SBR_ModeNodeCount(body, 1), 0);
}

TEST_F(DiscardingTest, ABodyWithAPreStressAloneIsWrittenWithInvariants) {
  give_shapes();
  for (int mode = 1; mode <= 2; ++mode) {
    SBR_SetGeneralizedMass(body, mode, mode, 1.0);
    SBR_SetGeneralizedStiffness(body, mode, mode, 100.0 * mode);
  }
  for (const int id : ids()) SBR_SetNodalMass(body, id, 1.0);
  SBR_SetUnits(body, "KILOGRAM", "METER", "SECOND", "NEWTON");
  set_pre_stress(body, {10, 20, 60});
  const ScratchDirectory scratch;
  const std::string path = scratch.file("pre.sbr");
  log.clear();
  ASSERT_EQ(write_record(body, path, "fast_invar"), 1);
  EXPECT_TRUE(log.take_complaints().empty());
  SBR written = SBR_CreateFromSBR(path.c_str());
  ASSERT_NE(written, nullptr);
  EXPECT_EQ(SBR_NodeCount(written), 4);
  EXPECT_EQ(SBR_Exists(written, 30), 1);
  EXPECT_EQ(SBR_size_of_block(written, 30), 4 + 2 * 6 * 8);
  EXPECT_EQ(pre_stress_of(body), (std::vector<std::pair<int, double>>{{20, 10.0}, {60, 30.0}}));
}

TEST_F(DiscardingTest, AFailureOfALaterKindLeavesTheBodyAsItWas) {
  give_shapes();
  give(1, {1});
  state::kind_node_count(body, sbr::Kind::stress) = 0;  // a stress block without nodes cannot be fetched
  log.clear();
  EXPECT_EQ(SBR_DiscardUnreferencedNodes(body), 0);
  const std::vector<Message> complaints = log.take_complaints();
  ASSERT_EQ(complaints.size(), 1U);
  EXPECT_THAT(complaints[0].text, ::testing::StartsWith("Insufficient disk space for file "));
  EXPECT_THAT(complaints[0].text,
              ::testing::EndsWith(".  Specify different temporary\nfile directory by setting the TMP environment "
                                  "variable"));
  EXPECT_EQ(ids().size(), 7U);
  expect_values(0, {0, 1, 2, 3, 4, 5, 6});
}

// ---- shortening -------------------------------------------------------------------------------------------

TEST_F(DiscardingTest, ShorteningReplacesTheTemporaryFile) {
  const ScratchDirectory directory;
  const ScopedEnvironment tmp("TMP", directory.path().string());
  give_shapes();
  const std::string old_path = state::mode_file(body, sbr::Kind::shape);
  const int kept[] = {1, 2};
  EXPECT_EQ(SBR_ShortenModeFile(body, kept, 2, 0), 1);
  const std::string new_path = state::mode_file(body, sbr::Kind::shape);
  EXPECT_NE(new_path, old_path);
  EXPECT_FALSE(std::filesystem::exists(old_path));
  EXPECT_EQ(std::filesystem::path(new_path).parent_path(), directory.path());
  EXPECT_EQ(std::filesystem::path(new_path).filename().string().rfind("sbr_", 0), 0U);
}

TEST_F(DiscardingTest, ShorteningWritesTheKeptRowsOfEachModeInTheUnitsOfTheFile) {
  give_shapes();
  state::all_changes(body).length = 1000.0;
  const int kept[] = {2, 0};
  ASSERT_EQ(SBR_ShortenModeFile(body, kept, 2, 0), 1);
  ASSERT_EQ(std::fflush(state::mode_stream(body, sbr::Kind::shape)), 0);
  const std::string bytes = read_file(state::mode_file(body, sbr::Kind::shape));
  ASSERT_EQ(bytes.size(), 2U * 2 * 6 * 8);
  std::vector<double> values(24);
  std::memcpy(values.data(), bytes.data(), bytes.size());
  std::size_t at = 0;
  for (int mode = 1; mode <= 2; ++mode)
    for (const int id : {30, 10})
      for (int c = 0; c < 6; ++c) EXPECT_NEAR(values[at++], value(0, mode, id, c), 1e-9);
  EXPECT_EQ(state::mode_offsets(body, sbr::Kind::shape)[1], 96);
}

TEST_F(DiscardingTest, ShorteningStressTakesForceAndLengthOutOfAllSixValues) {
  give_shapes();
  give(1, {1, 2});
  state::all_changes(body).length = 10.0;
  state::all_changes(body).force = 4.0;
  const int kept[] = {0, 2};
  ASSERT_EQ(SBR_ShortenModeFile(body, kept, 2, 1), 1);
  ASSERT_EQ(std::fflush(state::mode_stream(body, sbr::Kind::stress)), 0);
  const std::string bytes = read_file(state::mode_file(body, sbr::Kind::stress));
  ASSERT_EQ(bytes.size(), 2U * 6 * 8);  // node 0 has no stress
  std::vector<double> values(12);
  std::memcpy(values.data(), bytes.data(), bytes.size());
  for (int c = 0; c < 6; ++c) EXPECT_NEAR(values[static_cast<std::size_t>(c)], value(1, 1, 30, c), 1e-9);
}

TEST_F(DiscardingTest, ShorteningWithoutAKeepListDoesNothing) {
  give_shapes();
  SBR_SetModalLoadNodal(body, 0, 30, 1, 1.5);
  const std::string path = state::mode_file(body, sbr::Kind::shape);
  log.clear();
  EXPECT_EQ(SBR_ShortenModeFile(body, nullptr, 3, 0), 1);
  EXPECT_EQ(SBR_CompactModalLoadNodal(body, nullptr, 3), 1);
  EXPECT_TRUE(log.take().empty());
  EXPECT_EQ(state::mode_file(body, sbr::Kind::shape), path);
  expect_values(0, {0, 1, 2, 3, 4, 5, 6});
  EXPECT_EQ(copied(SBR_GetModalLoadNodalNode(body, 0), 1), (std::vector<int>{2}));
}

TEST_F(DiscardingTest, ShorteningRefusesKindsThatDoNotExist) {
  const int kept[] = {0};
  EXPECT_EQ(SBR_ShortenModeFile(body, kept, 1, 3), 0);
  EXPECT_EQ(SBR_ShortenModeFile(body, kept, 1, -1), 0);
}

TEST_F(DiscardingTest, ShorteningNamesTheFileThatCannotBeMade) {
  give_shapes();
  const std::string old_path = state::mode_file(body, sbr::Kind::shape);
  const ScopedEnvironment tmp("TMP", "/no/such/directory");
  log.clear();
  const int kept[] = {1, 2};
  EXPECT_EQ(SBR_ShortenModeFile(body, kept, 2, 0), 0);
  const std::vector<Message> messages = log.take();
  ASSERT_EQ(messages.size(), 1U);
  EXPECT_THAT(messages[0].text, ::testing::StartsWith("Unable to open /no/such/directory/sbr_"));
  EXPECT_THAT(messages[0].text, ::testing::EndsWith(" for write.  Specify different temporary file directory by\n"
                                                    "setting the TMP environment variable"));
  EXPECT_EQ(state::mode_file(body, sbr::Kind::shape), old_path);
  expect_values(0, {0, 1, 2, 3, 4, 5, 6});
}

TEST_F(DiscardingTest, CompactingFindsTheFirstPlaceInAnUnsortedList) {
  SBR_SetModalLoadNodal(body, 0, 30, 1, 1.0);
  SBR_SetModalLoadNodal(body, 0, 20, 2, 2.0);
  const int kept[] = {5, 2, 1, 2};
  EXPECT_EQ(SBR_CompactModalLoadNodal(body, kept, 4), 1);
  EXPECT_EQ(copied(SBR_GetModalLoadNodalNode(body, 0), 2), (std::vector<int>{1, 2}));
}

// ---- stripping and discarding together --------------------------------------------------------------------

TEST_F(DiscardingTest, RemovingInternalGeometryStripsAndDiscards) {
  SBR block = make_body(brick_block(2, 2, 2));
  const double six[6] = {};
  for (int i = 0; i < 27; ++i) SBR_SetModeVec(block, 1, mesh_id(i), 0, six);
  EXPECT_EQ(SBR_RemoveInternalGeometry(block), 1);
  EXPECT_EQ(face_count(block), 24);
  EXPECT_EQ(SBR_NodeCount(block), 26);  // the middle node is inside
  EXPECT_EQ(SBR_NodeIndex(block, mesh_id(13)), -1);
  log.clear();
  EXPECT_EQ(SBR_RemoveInternalGeometry(block), 1);
  EXPECT_TRUE(log.take().empty());
}

TEST_F(DiscardingTest, RemovingInternalGeometryAfterStrippingDiscardsNothing) {
  give_shapes();
  SBR_StripCommonFaces(body);
  EXPECT_EQ(SBR_RemoveInternalGeometry(body), 1);
  EXPECT_EQ(SBR_NodeCount(body), 7);
}

}  // namespace
}  // namespace sbrtest
