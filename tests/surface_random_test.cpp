// Random bodies through stripping, free edges, discarding and renaming, against the rules applied one by one.
#include <algorithm>
#include <numeric>
#include <random>

#include "support/files.h"
#include "support/messages.h"
#include "support/surface_model.h"

namespace sbrtest {
namespace {

using SurfaceRandomTest = LibraryTest;
using Random = std::mt19937;

int below(Random &random, int n) { return std::uniform_int_distribution<int>(0, n - 1)(random); }
bool one_in(Random &random, int n) { return below(random, n) == 0; }

// Faces over few nodes, so that sides and whole faces meet again and again: turned, reversed, repeated.
Faces random_faces(Random &random, int nodes) {
  Faces faces;
  for (int f = 1 + below(random, 14); f > 0; --f) {
    if (!faces.empty() && one_in(random, 3)) {
      std::vector<int> again = faces[static_cast<std::size_t>(below(random, static_cast<int>(faces.size())))];
      if (one_in(random, 2)) std::reverse(again.begin(), again.end());
      if (!again.empty())
        std::rotate(again.begin(), again.begin() + below(random, static_cast<int>(again.size())), again.end());
      faces.push_back(again);
      continue;
    }
    std::vector<int> face;
    for (int k = one_in(random, 6) ? below(random, 8) : 3 + below(random, 2); k > 0; --k)
      face.push_back(below(random, nodes));
    faces.push_back(face);
  }
  std::shuffle(faces.begin(), faces.end(), random);
  return faces;
}

SBR body_with(const Faces &faces, int nodes) {
  Surface surface;
  for (int i = 0; i < nodes; ++i) surface.points.push_back({1.0 * i, 0.5 * i * i, 0.0});
  surface.faces = faces;
  return make_body(surface);
}

TEST_F(SurfaceRandomTest, StrippingLeavesTheFacesOfTheRules) {
  Random random(31);
  int shortened = 0;
  for (int round = 0; round < 4000; ++round) {
    const int nodes = 3 + below(random, 6);
    const Faces faces = random_faces(random, nodes);
    SBR body = body_with(faces, nodes);
    SBR_StripCommonFaces(body);
    const Faces left = faces_of(body);
    ASSERT_EQ(left, strip_by_the_book(faces)) << "round " << round;
    shortened += left.size() < faces.size() ? 1 : 0;
    SBR_Destroy(body);
  }
  EXPECT_GT(shortened, 1000);
}

TEST_F(SurfaceRandomTest, FreeEdgesAreTheChainsOfTheRules) {
  Random random(32);
  int branching = 0;
  for (int round = 0; round < 3000; ++round) {
    const int nodes = 3 + below(random, 12);
    Faces faces = random_faces(random, nodes);
    SBR body = body_with(faces, nodes);
    SBR_StripCommonFaces(body);  // so that the query discards no nodes
    faces = faces_of(body);
    const auto chains = free_edges_by_the_book(faces);
    ASSERT_EQ(SBR_GetFreeEdgeCount(body), static_cast<int>(chains.size())) << "round " << round;
    for (int c = 0; c < static_cast<int>(chains.size()); ++c) {
      std::vector<int> expected;
      for (const int node : chains[static_cast<std::size_t>(c)]) expected.push_back(mesh_id(node));
      std::vector<int> ids(static_cast<std::size_t>(SBR_GetFreeEdgeSize(body, c)));
      ASSERT_EQ(SBR_GetFreeEdge(body, c, ids.data()), static_cast<int>(ids.size()));
      ASSERT_EQ(ids, expected) << "round " << round << ", chain " << c;
      branching += expected.front() != expected.back() ? 1 : 0;
    }
    SBR_Destroy(body);
  }
  EXPECT_GT(branching, 500);
}

// ---- discarding -------------------------------------------------------------------------------------------

double value_of(int kind, int id) { return 1000.0 * (kind + 1) + id; }

std::vector<int> some_of(Random &random, int nodes) {
  std::vector<int> all(static_cast<std::size_t>(nodes));
  std::iota(all.begin(), all.end(), 0);
  std::shuffle(all.begin(), all.end(), random);
  all.resize(static_cast<std::size_t>(below(random, nodes + 1)));
  return all;
}

void enter_kind(SBR body, int kind, const NodeModel &model, const NodeModel::ListedKind &listed) {
  for (std::size_t p = 0; p < listed.nodes.size(); ++p) {
    const int id = model.ids[static_cast<std::size_t>(listed.nodes[p])];
    const double six[6] = {value_of(kind, id)};
    if (listed.has_modes) SBR_SetModeVec(body, 1, id, kind, six);
    const double pre[6] = {listed.pre.empty() ? 0.0 : listed.pre[p]};
    if (!listed.has_pre) continue;
    if (kind == 1)
      SBR_SetPreStressVec(body, id, pre);
    else
      SBR_SetPreStrainVec(body, id, pre);
  }
}

NodeModel::ListedKind random_kind(Random &random, int nodes) {
  NodeModel::ListedKind kind;
  kind.has_modes = one_in(random, 2);
  kind.has_pre = one_in(random, 2);
  if (!kind.has_modes && !kind.has_pre) return kind;
  kind.nodes = some_of(random, nodes);
  if (kind.nodes.empty()) return {};
  if (kind.has_pre)
    for (const int node : kind.nodes) kind.pre.push_back(0.5 + node);
  return kind;
}

NodeModel random_model(Random &random) {
  NodeModel model;
  const int nodes = 3 + below(random, 12);
  for (int i = 0; i < nodes; ++i) model.ids.push_back(mesh_id(i));
  for (int f = 1 + below(random, 4); f > 0; --f) {
    model.faces.emplace_back();
    for (int k = 3 + below(random, 2); k > 0; --k) model.faces.back().push_back(below(random, nodes));
  }
  model.interface_nodes = one_in(random, 2) ? some_of(random, nodes / 2 + 1) : std::vector<int>{};
  model.loads.resize(static_cast<std::size_t>(below(random, 3)));
  for (auto &load_case : model.loads)
    for (int k = 1 + below(random, 4); k > 0; --k)
      load_case.push_back({below(random, nodes), 1 + below(random, 6), 0.25 * below(random, 100)});
  model.stress = random_kind(random, nodes);
  model.strain = random_kind(random, nodes);
  return model;
}

SBR body_of(const NodeModel &model) {
  SBR body = body_with(model.faces, static_cast<int>(model.ids.size()));
  for (const int id : model.ids) {
    const double six[6] = {value_of(0, id)};
    SBR_SetModeVec(body, 1, id, 0, six);
  }
  for (const int node : model.interface_nodes) SBR_SetInterfaceNode(body, model.ids[static_cast<std::size_t>(node)]);
  for (std::size_t c = 0; c < model.loads.size(); ++c)
    for (const NodeModel::Load &load : model.loads[c])
      SBR_SetModalLoadNodal(body, static_cast<int>(c), model.ids[static_cast<std::size_t>(load.node)], load.coordinate,
                            load.value);
  enter_kind(body, 1, model, model.stress);
  enter_kind(body, 2, model, model.strain);
  return body;
}

void expect_kind(SBR body, int kind, const NodeModel &model, const NodeModel::ListedKind &listed) {
  ASSERT_EQ(SBR_ModeNodeCount(body, kind), static_cast<int>(listed.nodes.size()));
  ASSERT_EQ(SBR_Exists(body, kind == 1 ? 17 : 28), listed.has_modes ? 1 : 0);
  ASSERT_EQ(SBR_Exists(body, kind == 1 ? 30 : 31), listed.has_pre ? 1 : 0);
  std::vector<double> values(3 * listed.nodes.size());
  std::vector<double> pre(3 * listed.nodes.size());
  if (listed.has_modes) {
    ASSERT_EQ(SBR_Mode(body, 1, kind, values.data(), 0), 1);
  }
  if (listed.has_pre) {
    ASSERT_EQ(SBR_Mode(body, 0, kind, pre.data(), 0), 1);
  }
  for (std::size_t p = 0; p < listed.nodes.size(); ++p) {
    const int id = model.ids[static_cast<std::size_t>(listed.nodes[p])];
    ASSERT_EQ(SBR_ModeNodeID(body, kind, static_cast<int>(p)), id);
    ASSERT_EQ(SBR_ModeNodeIndex(body, kind, id), static_cast<int>(p));
    if (listed.has_modes) {
      ASSERT_EQ(values[3 * p], value_of(kind, id));
    }
    if (listed.has_pre) {
      ASSERT_EQ(pre[3 * p], listed.pre[p]);
    }
  }
}

void expect_loads(SBR body, const NodeModel &model) {
  for (std::size_t c = 0; c < model.loads.size(); ++c) {
    const auto &expected = model.loads[c];
    const int load_case = static_cast<int>(c);
    ASSERT_EQ(SBR_GetModalLoadNodalCount(body, load_case), static_cast<int>(expected.size()));
    int *nodes = SBR_GetModalLoadNodalNode(body, load_case);
    double *loads = SBR_GetModalLoadNodalLoad(body, load_case);
    for (std::size_t k = 0; k < expected.size(); ++k) {
      EXPECT_EQ(nodes[k], expected[k].node);
      EXPECT_EQ(loads[k], expected[k].value);
    }
    SBR_FreeMemory(nodes);
    SBR_FreeMemory(loads);
  }
}

void expect_body(SBR body, const NodeModel &model) {
  ASSERT_EQ(SBR_NodeCount(body), static_cast<int>(model.ids.size()));
  std::vector<double> shapes(3 * model.ids.size());
  ASSERT_EQ(SBR_Mode(body, 1, 0, shapes.data(), 0), 1);
  for (std::size_t i = 0; i < model.ids.size(); ++i) {
    ASSERT_EQ(SBR_NodeID(body, static_cast<int>(i)), model.ids[i]);
    ASSERT_EQ(shapes[3 * i], value_of(0, model.ids[i]));
    double xyz[3] = {};
    SBR_NodeCoordinates(body, static_cast<int>(i), xyz);
    ASSERT_EQ(mesh_id(static_cast<int>(xyz[0])), model.ids[i]);
  }
  ASSERT_EQ(faces_of(body), model.faces);
  int count = 0;
  int *interface_nodes = SBR_InterfaceNodes(body, &count);
  ASSERT_EQ((std::vector<int>(interface_nodes, interface_nodes + count)), model.interface_nodes);
  SBR_FreeMemory(interface_nodes);
  expect_loads(body, model);
  expect_kind(body, 1, model, model.stress);
  expect_kind(body, 2, model, model.strain);
}

TEST_F(SurfaceRandomTest, DiscardingLeavesTheBodyOfTheRules) {
  Random random(33);
  int pre_alone = 0;
  for (int round = 0; round < 400; ++round) {
    NodeModel model = random_model(random);
    SBR body = body_of(model);
    pre_alone += model.stress.has_pre && !model.stress.has_modes ? 1 : 0;
    const bool keep_load_nodes = one_in(random, 2);
    const ScopedEnvironment options("KTX_SBRWRITE_OPTIONS", keep_load_nodes ? "full" : "full optimize_mforce_nodes");
    ASSERT_EQ(SBR_DiscardUnreferencedNodes(body), 1);
    discard_by_the_book(model, keep_load_nodes);
    expect_body(body, model);
    if (HasFatalFailure()) FAIL() << "round " << round;
    // What is left needs all of its nodes.
    if (keep_load_nodes) {
      ASSERT_EQ(SBR_DiscardUnreferencedNodes(body), 1);
      ASSERT_EQ(SBR_NodeCount(body), static_cast<int>(model.ids.size()));
    }
    SBR_Destroy(body);
  }
  EXPECT_GT(pre_alone, 50);
}

// ---- renaming ---------------------------------------------------------------------------------------------

void expect_names(SBR body, const RenamingModel &model, int highest) {
  for (int i = 0; i < static_cast<int>(model.ids().size()); ++i)
    ASSERT_EQ(SBR_NodeID(body, i), model.ids()[static_cast<std::size_t>(i)]);
  for (int id = 0; id <= highest; ++id) {
    ASSERT_EQ(SBR_NodeIndex(body, id), model.position(0, id)) << id;
    for (int kind = 1; kind <= 2; ++kind) {
      ASSERT_EQ(SBR_ModeNodeIndex(body, kind, id), model.position(kind, id)) << kind << ", " << id;
    }
  }
}

TEST_F(SurfaceRandomTest, RenamingGivesTheTablesOfTheRules) {
  Random random(34);
  for (int round = 0; round < 250; ++round) {
    const int nodes = 2 + below(random, 8);
    std::vector<int> ids(30);
    std::iota(ids.begin(), ids.end(), 1);
    std::shuffle(ids.begin(), ids.end(), random);
    ids.resize(static_cast<std::size_t>(nodes));
    const std::vector<int> stress = some_of(random, nodes);
    const std::vector<int> strain = some_of(random, nodes);
    const std::vector<int> interface_nodes = some_of(random, nodes);
    SBR body = SBR_Create(nodes, 2);
    const auto id_of = [&](int node) { return ids[static_cast<std::size_t>(node)]; };
    const double six[6] = {1, 2, 3, 4, 5, 6};
    for (const int id : ids) SBR_SetNodeCoordinates(body, id, id, 0, 0);
    for (const int node : stress) SBR_SetModeVec(body, 1, id_of(node), 1, six);
    for (const int node : strain) SBR_SetModeVec(body, 1, id_of(node), 2, six);
    for (const int node : interface_nodes) SBR_SetInterfaceNode(body, id_of(node));
    RenamingModel model(ids, stress, strain);
    for (int step = 0; step < 6; ++step) {
      if (one_in(random, 3)) {
        const int offset = below(random, 21) - 10;
        ASSERT_EQ(SBR_RenumberNodes(body, offset), model.shift(offset) ? 1 : 0);
      } else {
        std::vector<int> wanted;
        for (int k = below(random, nodes + 1); k > 0; --k) wanted.push_back(1 + below(random, 40));
        ASSERT_EQ(SBR_RenumberInterfaceNodes(body, static_cast<int>(wanted.size()), wanted.data()), 1);
        model.rename_interface(interface_nodes, wanted);
      }
      expect_names(body, model, 100);
      if (HasFatalFailure()) FAIL() << "round " << round << ", step " << step;
    }
    SBR_Destroy(body);
  }
}

}  // namespace
}  // namespace sbrtest
