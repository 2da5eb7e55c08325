// Every allocation of the reductions fails in turn: nothing is lost or leaked, what is promised to stay stays, and the
// same call succeeds when there is memory again.
#include <algorithm>

#include "support/allocations.h"
#include "support/body_state.h"
#include "support/files.h"
#include "support/meshes.h"
#include "support/messages.h"

namespace sbrtest {
namespace {

using MeshMemoryTest = LibraryTest;

// Two bricks with modes, stress, strain and loads, and a node of no face.
SBR two_bricks() {
  Surface surface = brick_block(2, 1, 1);
  surface.points.push_back({9, 9, 9});
  SBR body = make_body(surface);
  SBR_SetInterfaceNode(body, 20);
  const double six[6] = {1, 2, 3, 4, 5, 6};
  for (int i = 0; i < 13; ++i) {
    SBR_SetModeVec(body, 1, mesh_id(i), 0, six);
    if (i % 2 == 0) SBR_SetModeVec(body, 1, mesh_id(i), 1, six);
    if (i % 3 == 0) SBR_SetModeVec(body, 1, mesh_id(i), 2, six);
  }
  for (const int i : {0, 1, 3, 4}) SBR_SetModalLoadNodal(body, 0, mesh_id(i), 1, i);
  SBR_SetNodalInertia(body, 10, 1, 2, 3, 4, 5, 6);
  return body;
}

int count_errors(MessageLog &log) {
  int errors = 0;
  for (const Message &message : log.take()) errors += message.severity == Severity::error ? 1 : 0;
  return errors;
}

TEST_F(MeshMemoryTest, CoarseningLeavesASoundSurface) {
  const Surface grid = flat_grid(6, 6);
  SBR whole = make_body(grid);
  SBR_TrimGeometry(whole, "0.3,10,1,10");
  const Faces undisturbed = faces_of(whole);
  int failures = 0;
  for (int n = 1;; ++n) {
    SBR body = make_body(grid);
    SBR_NodeIndex(body, 10);
    log.clear();
    bool happened = false;
    {
      const FailingAllocation failing(n);
      SBR_TrimGeometry(body, "0.3,10,1,10");
      happened = failing.happened();
    }
    // A failed merge leaves its faces; a failure of the tables leaves them all.
    EXPECT_NEAR(area(grid, faces_of(body)), 36.0, 1e-9);
    if (happened) failures += 1;
    // What is not reported made no difference.
    if (count_errors(log) == 0) {
      EXPECT_EQ(faces_of(body), undisturbed) << "allocation " << n;
    }
    SBR_Destroy(body);
    if (!happened) break;
  }
  EXPECT_GE(failures, 8);
}

TEST_F(MeshMemoryTest, StrippingLeavesTheFaces) {
  int failures = 0;
  for (int n = 1;; ++n) {
    SBR body = make_body(brick_block(2, 1, 1));
    log.clear();
    bool happened = false;
    {
      const FailingAllocation failing(n);
      SBR_StripCommonFaces(body);
      happened = failing.happened();
    }
    if (!happened) break;
    failures += 1;
    const std::vector<Message> messages = log.take();
    ASSERT_EQ(messages.size(), 1U);
    EXPECT_TRUE(is_no_memory(messages[0], "sbrtools"));
    EXPECT_EQ(faces_of(body), brick_block(2, 1, 1).faces);
    SBR_StripCommonFaces(body);
    EXPECT_EQ(face_count(body), 10);
  }
  EXPECT_EQ(failures, 3);
}

TEST_F(MeshMemoryTest, SketchingLeavesTheFaces) {
  const ScratchDirectory directory;
  const std::string path = directory.file("faces.txt");
  std::string text = "1000\n";
  for (int i = 0; i < 1000; ++i) text += "3 10 20 40\n";
  write_file(path, text);
  int failures = 0;
  for (int n = 1;; ++n) {
    SBR body = make_body(flat_grid(2, 1));
    SBR_NodeIndex(body, 10);
    log.clear();
    bool happened = false;
    {
      const FailingAllocation failing(n);
      SBR_SketchGrid(body, path.c_str());
      happened = failing.happened();
    }
    if (!happened) {
      EXPECT_EQ(face_count(body), 1000);
      break;
    }
    failures += 1;
    const std::vector<Message> messages = log.take_complaints();
    ASSERT_EQ(messages.size(), 1U);
    EXPECT_TRUE(is_no_memory(messages[0], "sbrwrite"));
    EXPECT_EQ(faces_of(body), flat_grid(2, 1).faces);
  }
  EXPECT_GE(failures, 3);
}

TEST_F(MeshMemoryTest, DiscardingIsAllOrNothing) {
  int failures = 0;
  for (int n = 1;; ++n) {
    SBR body = two_bricks();
    const Faces before = faces_of(body);
    set_faces(body, {before.begin(), before.begin() + 6});
    log.clear();
    int result = -1;
    bool happened = false;
    {
      const FailingAllocation failing(n);
      result = SBR_DiscardUnreferencedNodes(body);
      happened = failing.happened();
    }
    if (happened && result == 0) {
      failures += 1;
      EXPECT_GE(count_errors(log), 1) << "allocation " << n;
      EXPECT_EQ(SBR_NodeCount(body), 13) << "allocation " << n;
      EXPECT_EQ(SBR_ModeNodeCount(body, 1), 7);
      EXPECT_EQ(faces_of(body).front(), before.front());
      EXPECT_EQ(SBR_DiscardUnreferencedNodes(body), 1);
    }
    if (SBR_NodeCount(body) == 13) {
      // Without a keep list nothing happens, which counts as success; it was reported.
      EXPECT_EQ(result, 1);
      EXPECT_GE(count_errors(log), 1);
    }
    double out[39];
    EXPECT_EQ(SBR_Mode(body, 1, 0, out, 0), 1);
    EXPECT_EQ(out[1], 2.0);
    EXPECT_TRUE(SBR_NodeCount(body) == 13 || SBR_NodeCount(body) == 8);
    SBR_Destroy(body);
    if (!happened) break;
  }
  EXPECT_GE(failures, 10);
}

TEST_F(MeshMemoryTest, FreeEdgesStayUngeneratedUntilThereIsMemory) {
  const Faces faces{{0, 1, 2}, {3, 4, 5}};
  int failures = 0;
  for (int n = 1;; ++n) {
    SBR body = make_body({flat_grid(2, 1).points, faces});
    state::internal_geometry_removed(body) = 1;
    bool happened = false;
    int count = -2;
    {
      const FailingAllocation failing(n);
      count = SBR_GetFreeEdgeCount(body);
      happened = failing.happened();
    }
    EXPECT_EQ(count, happened ? -1 : 2) << "allocation " << n;
    EXPECT_EQ(SBR_GetFreeEdgeCount(body), 2);
    SBR_Destroy(body);
    if (!happened) break;
    failures += 1;
  }
  EXPECT_GE(failures, 8);
}

}  // namespace
}  // namespace sbrtest
