// The structure of a record: sizes, nodes, faces, interface nodes, and what refers to what.
#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <set>

#include "check.h"
#include "givenarray.h"
#include "rawrecord.h"

namespace sbrtool {
namespace {

constexpr int kMonitorBlock = 35;

// ---- sizes
// -----------------------------------------------------------------------------------------------------------

// The bytes that the size rule of the monitor points leaves out: it counts one operator array per point.
std::int64_t monitor_points_beyond_rule(SBR body) {
  const std::int64_t real = SBR_Double_Prec(body) != 0 ? 8 : 4;
  std::int64_t beyond = 0;
  for (int point = 0; point < SBR_GetMonitorPointCount(body); ++point) {
    int rows = 0;
    int columns = 0;
    SBR_GetMonitorPointOperatorSize(body, point, &rows, &columns);
    const std::int64_t loads = SBR_GetMonitorPointNumLoadOperator(body, point);
    std::int64_t arrays = -loads;
    for (int type = 1; type <= 3; ++type) arrays += SBR_MonitorPointHasOperator(body, point, type) != 0 ? 1 : 0;
    if (SBR_MonitorPointHasOperator(body, point, 4) != 0) arrays += loads;
    beyond += arrays * rows * columns * real;
  }
  return beyond;
}

void check_short_layout(CheckRun &run, std::int64_t excess, const std::string &text) {
  // Versions 30 and 31 have no mode words in the stress block, although the size rule counts them.
  if (SBR_Version(run.body()) / 10 == 3 && run.has(kStressBlock)) excess += std::int64_t{4} * run.modes();
  bool announced = false;
  for (int block = kFirstInvariant; block < kBlockCount; ++block)
    announced = announced || is_announced(run.body(), run.path(), block);
  if (excess > 0 && announced)
    run.note("sizes", text, static_cast<double>(excess),
             "The layout ends with the modal stress; the later blocks that follow are not read.");
  else
    run.expect(excess == 0, {Level::error, "sizes", text, static_cast<double>(excess), "",
                             "The file is longer or shorter than its blocks."});
}

// The blocks, one behind the other, are the file.
void check_sizes(CheckRun &run) {
  const std::int64_t sum = block_offset(run.body(), kBlockCount);
  const auto size = static_cast<std::int64_t>(std::filesystem::file_size(run.path()));
  const std::string text = "blocks hold " + std::to_string(sum) + " bytes, the file " + std::to_string(size);
  std::int64_t excess = size - sum;
  if (is_short_layout(run.body())) return check_short_layout(run, excess, text);
  if (run.has(kMonitorBlock)) {
    excess -= monitor_points_beyond_rule(run.body());
    // Operators keep all modes where a frequency range has cut the others, and that number is written nowhere.
    if (excess > 0)
      return run.note("sizes", text, static_cast<double>(excess),
                      "The monitor points may stand on more modes than the record has; their size cannot be told.");
  }
  run.expect(excess == 0, {Level::error, "sizes", text, static_cast<double>(excess), "",
                           "The file is longer or shorter than its blocks."});
}

// ---- nodes and what refers to them
// -----------------------------------------------------------------------------------

void check_node_ids(CheckRun &run) {
  std::set<int> ids;
  std::string first;
  for (int i = 0; i < run.nodes(); ++i)
    if (!ids.insert(SBR_NodeID(run.body(), i)).second && first.empty()) first = run.node_name(i);
  run.expect(first.empty(), {Level::error, "nodes", "node IDs that stand more than once",
                             run.nodes() - static_cast<double>(ids.size()), first,
                             "Data that is given by node ID reaches one of them only."});
}

struct FaceFaults {
  int counted = 0;
  int outside = 0;
  int small = 0;
  int repeated = 0;
  std::string first_outside;
  std::string first_small;
  std::string first_repeated;
};

void judge_face(const int *vertices, int count, int nodes, const std::string &name, FaceFaults &faults) {
  bool outside = false;
  for (int k = 0; k < count; ++k) outside = outside || vertices[k] < 0 || vertices[k] >= nodes;
  std::vector<int> sorted(vertices, vertices + count);
  std::sort(sorted.begin(), sorted.end());
  const bool repeated = std::adjacent_find(sorted.begin(), sorted.end()) != sorted.end();
  const auto fault = [&](bool found, int &number, std::string &first) {
    if (!found) return;
    if (number == 0) first = name;
    ++number;
  };
  fault(outside, faults.outside, faults.first_outside);
  fault(count < 3, faults.small, faults.first_small);
  fault(repeated, faults.repeated, faults.first_repeated);
}

// Marks the nodes that faces refer to.
FaceFaults walk_faces(CheckRun &run, std::vector<bool> &referred) {
  FaceFaults faults;
  int announced = 0;
  int length = 0;
  SBR_FaceListSize(run.body(), &announced, &length);
  std::vector<int> list(static_cast<std::size_t>(std::max(length, 0)) + 1);
  if (length < 1 || SBR_ElementFaces(run.body(), list.data()) == 0) return faults;
  for (int at = 0; at < length;) {
    const int count = list[static_cast<std::size_t>(at++)];
    ++faults.counted;
    const std::string name = "face " + std::to_string(faults.counted);
    if (count < 0 || count > length - at) {
      ++faults.outside;
      if (faults.outside == 1) faults.first_outside = name;
      break;
    }
    const int *vertices = list.data() + at;
    judge_face(vertices, count, run.nodes(), name, faults);
    for (int k = 0; k < count; ++k)
      if (vertices[k] >= 0 && vertices[k] < run.nodes()) referred[static_cast<std::size_t>(vertices[k])] = true;
    at += count;
  }
  return faults;
}

void check_faces(CheckRun &run, std::vector<bool> &referred) {
  int announced = 0;
  int length = 0;
  SBR_FaceListSize(run.body(), &announced, &length);
  const FaceFaults faults = walk_faces(run, referred);
  run.expect(faults.outside == 0,
             {Level::error, "faces", "faces with nodes outside the node table", static_cast<double>(faults.outside),
              faults.first_outside, "The face cannot be drawn, and reductions would follow it astray."});
  run.expect(faults.counted == announced,
             {Level::error, "faces", "faces announced but not listed", static_cast<double>(announced - faults.counted),
              "", "The face list is shorter or longer than its count."});
  run.expect(faults.small == 0,
             {Level::warning, "faces", "faces of fewer than three nodes", static_cast<double>(faults.small),
              faults.first_small, "Such a face has no area: it adds nothing to the surface."});
  // Coarsening joins the outline of a hole to the outer one by an edge that is walked twice.
  const bool coarsened = SBR_IsCoarsened(run.body()) != 0;
  run.expect(faults.repeated == 0, {coarsened ? Level::note : Level::warning, "faces", "faces that name a node twice",
                                    static_cast<double>(faults.repeated), faults.first_repeated,
                                    "The face is degenerate; its outline touches itself."});
}

void check_interface(CheckRun &run, std::vector<bool> &referred) {
  int count = 0;
  const Given<int> given = given_array(SBR_InterfaceNodes(run.body(), &count), count);
  int outside = 0;
  int twice = 0;
  std::string first;
  std::set<int> seen;
  for (int i = 0; i < count && given; ++i) {
    const int node = given[static_cast<std::size_t>(i)];
    if (node < 0 || node >= run.nodes()) {
      ++outside;
      continue;
    }
    referred[static_cast<std::size_t>(node)] = true;
    if (seen.insert(node).second) continue;
    if (twice++ == 0) first = run.node_name(node);
  }
  run.expect(outside == 0, {Level::error, "interface", "interface nodes outside the node table",
                            static_cast<double>(outside), "", "Nothing can be attached there."});
  run.expect(twice == 0, {Level::error, "interface", "interface nodes that stand more than once",
                          static_cast<double>(twice), first, "A solver would attach the body twice at that node."});
}

void mark_loaded_nodes(CheckRun &run, std::vector<bool> &referred) {
  for (int i = 0; i < SBR_GetModalLoadNodalCaseCount(run.body()); ++i) {
    const int count = SBR_GetModalLoadNodalCount(run.body(), i);
    const Given<int> nodes = given_array(SBR_GetModalLoadNodalNode(run.body(), i), count);
    for (int k = 0; k < count && nodes; ++k) {
      const int node = nodes[static_cast<std::size_t>(k)];
      if (node >= 0 && node < run.nodes()) referred[static_cast<std::size_t>(node)] = true;
    }
  }
}

// Inner nodes of a solid carry mass; a node that carries nothing and that nothing names is of no use.
void check_references(CheckRun &run, const std::vector<bool> &referred) {
  int alone = 0;
  int useless = 0;
  std::string first;
  for (int i = 0; i < run.nodes(); ++i) {
    if (referred[static_cast<std::size_t>(i)]) continue;
    ++alone;
    if (SBR_NodalMass(run.body(), i) != 0.0) continue;
    if (useless++ == 0) first = run.node_name(i);
  }
  run.set_unreferenced(alone);
  if (alone > 0)
    run.note("references", "nodes that no face, interface or load refers to", alone,
             "'sbr reduce' would leave them out and keep their mass in the invariants.");
  run.expect(useless == 0 || !run.has(kMassBlock),
             {Level::warning, "references", "of them nodes without mass", static_cast<double>(useless), first,
              "The node carries nothing and nothing refers to it: it may have lost its element."});
}

}  // namespace

void check_structure(CheckRun &run) {
  check_sizes(run);
  check_node_ids(run);
  std::vector<bool> referred(static_cast<std::size_t>(std::max(run.nodes(), 0)));
  check_faces(run, referred);
  check_interface(run, referred);
  mark_loaded_nodes(run, referred);
  check_references(run, referred);
}

}  // namespace sbrtool
