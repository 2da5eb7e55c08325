// The surfaces of a real beam (bricks) and a real connecting rod (tetrahedra): stripped, discarded, coarsened.
#include <cmath>
#include <nlohmann/json.hpp>
#include <set>

#include "support/body_state.h"
#include "support/files.h"
#include "support/meshes.h"
#include "support/messages.h"
#include "support/samples.h"

namespace sbrtest {
namespace {

using nlohmann::json;

class SurfaceOfSampleTest : public LibraryTest, public ::testing::WithParamInterface<std::string> {
 protected:
  SurfaceOfSampleTest() { write_file(path, read_gzip(kSamples + GetParam() + ".sbr.gz")); }
  [[nodiscard]] const json &figures() const { return expected_figures().at(GetParam()); }

  ScratchDirectory scratch;
  std::string path = scratch.file("sample.sbr");
};

INSTANTIATE_TEST_SUITE_P(Samples, SurfaceOfSampleTest, ::testing::ValuesIn(sample_names()),
                         [](const auto &sample) { return sample.param; });

Surface surface_of(SBR body) {
  Surface surface;
  for (int i = 0; i < SBR_NodeCount(body); ++i) {
    Point p;
    SBR_NodeCoordinates(body, i, p.data());
    surface.points.push_back(p);
  }
  surface.faces = faces_of(body);
  return surface;
}

// The volume inside a closed surface, by tetrahedra to the origin from a fan of each face.
double volume(const Surface &surface) {
  double six_volumes = 0.0;
  for (const auto &face : surface.faces)
    for (std::size_t k = 1; k + 1 < face.size(); ++k) {
      const Point &a = surface.points[static_cast<std::size_t>(face[0])];
      const Point &b = surface.points[static_cast<std::size_t>(face[k])];
      const Point &c = surface.points[static_cast<std::size_t>(face[k + 1])];
      six_volumes +=
          a[0] * (b[1] * c[2] - b[2] * c[1]) + a[1] * (b[2] * c[0] - b[0] * c[2]) + a[2] * (b[0] * c[1] - b[1] * c[0]);
    }
  return six_volumes / 6;
}

TEST_P(SurfaceOfSampleTest, StrippingLeavesTheOuterFacesAsAClosedSurface) {
  SBR body = SBR_CreateFromSBR(path.c_str());
  ASSERT_NE(body, nullptr);
  SBR_StripCommonFaces(body);
  EXPECT_EQ(face_count(body), figures().at("surface_face_count_after_stripping").get<int>());
  EXPECT_TRUE(boundary(faces_of(body)).empty());
  EXPECT_EQ(SBR_NodeCount(body), figures().at("node_count").get<int>());
}

TEST_P(SurfaceOfSampleTest, TheSurfaceMeshKeepsTheDataOfTheNodesItKeeps) {
  SBR whole = SBR_CreateFromSBR(path.c_str());
  SBR mesh = SBR_CreateFromSBR_SurfaceMesh(path.c_str());
  ASSERT_NE(mesh, nullptr);
  ASSERT_NE(mesh, whole);
  EXPECT_EQ(face_count(mesh), figures().at("surface_face_count_after_stripping").get<int>());
  std::set<int> needed;
  for (const auto &face : faces_of(mesh))
    for (const int node : face) needed.insert(SBR_NodeID(mesh, node));
  for (const int node : interface_nodes_of(mesh)) needed.insert(SBR_NodeID(mesh, node));
  for (int i = 0; i < SBR_GetModalLoadNodalCaseCount(mesh); ++i)
    for (const NodalLoad &load : nodal_loads_of(mesh, i)) needed.insert(SBR_NodeID(mesh, load.node));
  ASSERT_EQ(SBR_NodeCount(mesh), static_cast<int>(needed.size()));
  EXPECT_LE(SBR_NodeCount(mesh), SBR_NodeCount(whole));
  for (int kind = 0; kind < 3; ++kind) {
    if (SBR_ModeExist(mesh, kind) == 0) continue;
    for (const int mode : {0, 7, SBR_ModeCount(whole) - 1})
      for (int p = 0; p < SBR_ModeNodeCount(mesh, kind); p += 17)
        for (int part = 0; part < 2; ++part) {
          const int id = SBR_ModeNodeID(mesh, kind, p);
          double a[3] = {-1, -1, -1};
          double b[3] = {-2, -2, -2};
          ASSERT_EQ(SBR_ModeByNode(whole, SBR_ModeNumber(whole, mode), kind, id, a, part), 1);
          ASSERT_EQ(SBR_ModeByNode(mesh, SBR_ModeNumber(mesh, mode), kind, id, b, part), 1);
          for (int c = 0; c < 3; ++c) ASSERT_EQ(a[c], b[c]) << "kind " << kind << " node " << id;
        }
  }
  EXPECT_TRUE(log.take_complaints().empty());
  EXPECT_EQ(SBR_GetFreeEdgeCount(mesh), 0);
}

TEST_P(SurfaceOfSampleTest, CoarseningKeepsTheSurfaceClosedAndTheShape) {
  SBR body = SBR_CreateFromSBR(path.c_str());
  SBR_StripCommonFaces(body);
  const Surface before = surface_of(body);
  SBR_TrimGeometry(body, "0.03,12,0,preserve_str");
  const Surface after = surface_of(body);
  EXPECT_LT(after.faces.size(), before.faces.size());
  EXPECT_TRUE(boundary(after.faces).empty());
  const double area_before = area(before, before.faces);
  EXPECT_NEAR(area(after, after.faces), area_before, 0.02 * area_before);
  EXPECT_EQ(SBR_IsCoarsened(body), 1);
}

TEST_P(SurfaceOfSampleTest, StrippedFacesEncloseTheVolumeOfTheBody) {
  SBR body = SBR_CreateFromSBR(path.c_str());
  SBR_StripCommonFaces(body);
  const double steel = 7.85e-9;  // t/mm^3
  const double expected = figures().at("mass").get<double>() / steel;
  EXPECT_NEAR(std::fabs(volume(surface_of(body))), expected, 0.01 * expected);
}

// ---- opening a surface mesh -------------------------------------------------------------------------------

class SurfaceMeshTest : public LibraryTest {
 protected:
  SurfaceMeshTest() { write_file(path, read_gzip(kSamples + "beam_13c.sbr.gz")); }
  ScratchDirectory scratch;
  std::string path = scratch.file("beam.sbr");
};

TEST_F(SurfaceMeshTest, IsSharedByFileNameBesideThePlainBody) {
  SBR mesh = SBR_CreateFromSBR_SurfaceMesh(path.c_str());
  SBR plain = SBR_CreateFromSBR(path.c_str());
  ASSERT_NE(mesh, nullptr);
  EXPECT_NE(mesh, plain);
  EXPECT_EQ(SBR_CreateFromSBR_SurfaceMesh(path.c_str()), mesh);
  EXPECT_EQ(SBR_CreateFromSBR(path.c_str()), plain);
  EXPECT_EQ(state::references(mesh), 2);
  EXPECT_EQ(state::references(plain), 2);
  EXPECT_LT(face_count(mesh), face_count(plain));
}

TEST_F(SurfaceMeshTest, OfAFileThatDoesNotOpenIsNull) {
  EXPECT_EQ(SBR_CreateFromSBR_SurfaceMesh("/no/such/file"), nullptr);
  EXPECT_EQ(SBR_CreateFromSBR_SurfaceMesh(nullptr), nullptr);
  EXPECT_TRUE(log.take().empty());
}

TEST_F(SurfaceMeshTest, OfAFileThatCannotBeReadIsNull) {
  const std::string whole = read_file(path);
  for (const std::size_t size : {std::size_t{0}, std::size_t{3}, std::size_t{1000}, whole.size() / 2}) {
    write_file(path, whole.substr(0, size));
    EXPECT_EQ(SBR_CreateFromSBR_SurfaceMesh(path.c_str()), nullptr) << size;
    EXPECT_FALSE(log.take_complaints().empty()) << size;
  }
}

TEST_F(SurfaceMeshTest, WithoutStressOnItsSurfaceLosesTheStress) {
  SBR body = SBR_CreateFromSBR(path.c_str());
  // Faces that hold none of the stressed nodes.
  std::set<int> stressed;
  for (int p = 0; p < SBR_ModeNodeCount(body, 1); ++p) stressed.insert(SBR_NodeIndex(body, SBR_ModeNodeID(body, 1, p)));
  Faces bare;
  for (const auto &face : faces_of(body))
    if (std::none_of(face.begin(), face.end(), [&](int node) { return stressed.count(node) != 0; }))
      bare.push_back(face);
  ASSERT_FALSE(bare.empty());
  set_faces(body, bare);
  state::interface_nodes(body).release();
  state::nodal_loads(body).release();
  EXPECT_EQ(SBR_DiscardUnreferencedNodes(body), 1);
  const std::vector<Message> complaints = log.take_complaints();
  ASSERT_FALSE(complaints.empty());
  EXPECT_EQ(complaints[0],
            warning("All the nodes referenced in Stress Mode have been removed. Stress Mode data is eliminated."));
  EXPECT_EQ(SBR_Exists(body, 17), 0);
}

}  // namespace
}  // namespace sbrtest
