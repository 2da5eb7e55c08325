// Building a body through the setters, against the plain bookkeeping that any host would do without the library.
//
// Each benchmark does both in turn and gives the two times and their ratio:
//   nodes_and_faces   coordinates and masses of 1,000,000 nodes and 1,000,000 quadrilaterals, against an unordered_map
//                     from node ID to index beside vectors; "ratio" is setters / containers, at most 5
//   a_repeated_id     look-ups and additions among 200,000 nodes of which two share an ID, against the same without;
//                     "ratio" is with / without, at most 2
//   mode_values       100 modes x 200,000 nodes entered node by node, against 48-byte fwrites at the same places of a
//                     file reserved alike; "speed" is setters / fwrites in values per second, at least 0.25.
//                     Node-major, where each fwrite costs a seek, the first 10,000 nodes of the same records have to
//                     do.
//   mode_growth       20 modes x 200,000 nodes entered into a body that announced one node, against the same with all
//                     of them announced; "ratio" is at most 3
// The times are those of the processor, so that a busy machine does not change the ratios.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>
#include <unordered_map>
#include <vector>

#include "body/body.h"
#include "modes/pending.h"
#include "modes/store.h"

namespace {

// Processor time of this process, the system's part included.
double seconds_now() {
  timespec now{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

template <class Work>
double seconds_of(Work work) {
  const double start = seconds_now();
  work();
  return seconds_now() - start;
}

// ---- nodes and faces ------------------------------------------------------------------------------------

constexpr int kNodes = 1'000'000;
constexpr int kFaces = 1'000'000;

// The ID of the n-th node: in order, or scattered over the same range.
int node_id(int n, bool scattered) {
  return scattered ? 1 + static_cast<int>(static_cast<long long>(n) * 618'034'001 % kNodes) : 1 + n;
}

// The nodes of the n-th face.
void face_ids(int n, bool scattered, int (&ids)[4]) {
  const int corners[4] = {n, n + 1, n + 1001, n + 1000};
  for (int k = 0; k < 4; ++k) ids[k] = node_id(corners[k] % kNodes, scattered);
}

void build_by_setters(bool scattered) {
  SBR body = SBR_Create(kNodes, 1);
  for (int n = 0; n < kNodes; ++n) {
    const int id = node_id(n, scattered);
    SBR_SetNodeCoordinates(body, id, n, 2.0 * n, 3.0 * n);
    SBR_SetNodalMass(body, id, 0.5 * n);
  }
  int ids[4];
  for (int n = 0; n < kFaces; ++n) {
    face_ids(n, scattered, ids);
    SBR_SetFaceList(body, 4, ids);
  }
  benchmark::DoNotOptimize(SBR_NodeCount(body));
  SBR_Destroy(body);
}

struct PlainNode {
  int id;
  double x, y, z, mass;
};

void build_by_containers(bool scattered) {
  std::unordered_map<int, int> index_of;
  std::vector<PlainNode> nodes;
  std::vector<int> faces;
  const auto node_of = [&](int id) {
    const auto [place, fresh] = index_of.try_emplace(id, static_cast<int>(nodes.size()));
    if (fresh) nodes.push_back({id, 0, 0, 0, 0});
    return place->second;
  };
  for (int n = 0; n < kNodes; ++n) {
    const int id = node_id(n, scattered);
    PlainNode &node = nodes[static_cast<std::size_t>(node_of(id))];
    node.x = n;
    node.y = 2.0 * n;
    node.z = 3.0 * n;
    nodes[static_cast<std::size_t>(node_of(id))].mass = 0.5 * n;
  }
  int ids[4];
  for (int n = 0; n < kFaces; ++n) {
    face_ids(n, scattered, ids);
    faces.push_back(4);
    for (const int id : ids) faces.push_back(node_of(id));
  }
  benchmark::DoNotOptimize(nodes.data());
  benchmark::DoNotOptimize(faces.data());
}

void nodes_and_faces(benchmark::State &state) {
  const bool scattered = state.range(0) != 0;
  double setters = 0.0;
  double containers = 0.0;
  for (auto _ : state) {
    containers += seconds_of([&] { build_by_containers(scattered); });
    setters += seconds_of([&] { build_by_setters(scattered); });
  }
  const auto runs = static_cast<double>(state.iterations());
  state.counters["setters_s"] = setters / runs;
  state.counters["containers_s"] = containers / runs;
  state.counters["ratio"] = setters / containers;
}
BENCHMARK(nodes_and_faces)->ArgName("scattered")->Arg(0)->Arg(1)->Iterations(3)->Unit(benchmark::kMillisecond);

// ---- a repeated ID -------------------------------------------------------------------------------------------------

// Looks every node up in the order of arrival and adds as many more, one of all with the ID of another when `repeated`.
double look_up_and_add(bool scattered, bool repeated) {
  constexpr int kSome = 200'000;
  SBR body = SBR_Create(1, 1);
  for (int n = 0; n < kSome; ++n) SBR_AddNode(body, node_id(n, scattered));
  if (repeated) SBR_AddNode(body, node_id(kSome / 2, scattered));
  long sum = 0;
  const double seconds = seconds_of([&] {
    for (int n = 0; n < kSome; ++n) sum += SBR_NodeIndex(body, node_id(n, scattered));
    for (int n = 0; n < kSome; ++n) sum += SBR_LookupOrAddNode(body, 10 * kNodes - n);
    for (int n = 0; n < kSome; ++n) sum += SBR_NodeIndex(body, node_id(n, scattered));
  });
  benchmark::DoNotOptimize(sum);
  SBR_Destroy(body);
  return seconds;
}

void a_repeated_id(benchmark::State &state) {
  const bool scattered = state.range(0) != 0;
  double with = 0.0;
  double without = 0.0;
  for (auto _ : state) {
    without += look_up_and_add(scattered, false);
    with += look_up_and_add(scattered, true);
  }
  state.counters["with_s"] = with / static_cast<double>(state.iterations());
  state.counters["ratio"] = with / without;
}
BENCHMARK(a_repeated_id)->ArgName("scattered")->Arg(0)->Arg(1)->Iterations(5)->Unit(benchmark::kMillisecond);

// ---- mode values ----------------------------------------------------------------------------------------

constexpr int kModes = 100;
constexpr int kModeNodes = 200'000;
constexpr int kNodeMajorNodes = 10'000;
constexpr long kRecordBytes = 48L * kModeNodes;

// Calls enter(mode, node) for all places in one of the two orders.
template <class Enter>
void visit(bool node_major, Enter enter) {
  if (node_major) {
    for (int node = 0; node < kNodeMajorNodes; ++node)
      for (int mode = 0; mode < kModes; ++mode) enter(mode, node);
  } else {
    for (int mode = 0; mode < kModes; ++mode)
      for (int node = 0; node < kModeNodes; ++node) enter(mode, node);
  }
}

double enter_by_setters(bool node_major) {
  SBR body = SBR_Create(kModeNodes, kModes);
  for (int node = 0; node < kModeNodes; ++node) SBR_SetNodeCoordinates(body, node + 1, 0, 0, 0);
  for (int mode = 0; mode < kModes; ++mode) SBR_AddMode(body, mode + 1);
  if (!sbr::open_temporary_mode_file(*body, sbr::Kind::shape)) std::abort();
  double six[6] = {1, 2, 3, 4, 5, 6};
  const double seconds = seconds_of([&] {
    visit(node_major, [&](int mode, int node) {
      six[0] = mode + node;
      SBR_SetModeVec(body, mode + 1, node + 1, 0, six);
    });
    if (!sbr::flush_mode_writes(*body, sbr::Kind::shape)) std::abort();
  });
  SBR_Destroy(body);
  return seconds;
}

// One stream, a seek only where the place is not the next one.
double enter_by_fwrite(bool node_major) {
  const char *directory = std::getenv("TMP");
  std::string path = std::string(directory != nullptr ? directory : "/tmp") + "/construction_bench_XXXXXX";
  const int descriptor = mkstemp(path.data());
  std::FILE *file = descriptor >= 0 ? fdopen(descriptor, "wb+") : nullptr;
  if (file == nullptr) std::abort();
  const std::vector<char> zeros(kRecordBytes, 0);
  for (int mode = 0; mode < kModes; ++mode)
    if (std::fwrite(zeros.data(), 1, zeros.size(), file) != zeros.size()) std::abort();
  std::fflush(file);
  double six[6] = {1, 2, 3, 4, 5, 6};
  long next = -1;
  const double seconds = seconds_of([&] {
    visit(node_major, [&](int mode, int node) {
      six[0] = mode + node;
      const long place = mode * kRecordBytes + 48L * node;
      if (place != next && fseeko(file, place, SEEK_SET) != 0) std::abort();
      if (std::fwrite(six, 8, 6, file) != 6) std::abort();
      next = place + 48;
    });
    if (std::fflush(file) != 0) std::abort();
  });
  std::fclose(file);
  std::remove(path.c_str());
  return seconds;
}

void mode_values(benchmark::State &state) {
  const bool node_major = state.range(0) != 0;
  double setters = 0.0;
  double fwrites = 0.0;
  for (auto _ : state) {
    fwrites += enter_by_fwrite(node_major);
    setters += enter_by_setters(node_major);
  }
  const auto runs = static_cast<double>(state.iterations());
  state.counters["setters_s"] = setters / runs;
  state.counters["fwrites_s"] = fwrites / runs;
  state.counters["speed"] = fwrites / setters;
}
BENCHMARK(mode_values)->ArgName("node_major")->Arg(0)->Arg(1)->Iterations(1)->Unit(benchmark::kMillisecond);

// ---- more nodes than announced --------------------------------------------------------------------------

constexpr int kGrowthModes = 20;
constexpr int kGrowthNodes = 200'000;

// From the body's creation to its last value in the file, nodes and modes as they are mentioned.
double enter_with_announcement(int announced, bool node_major) {
  SBR body = nullptr;
  const double seconds = seconds_of([&] {
    body = SBR_Create(announced, kGrowthModes);
    double six[6] = {1, 2, 3, 4, 5, 6};
    const int outer = node_major ? kGrowthNodes : kGrowthModes;
    const int inner = node_major ? kGrowthModes : kGrowthNodes;
    for (int i = 0; i < outer; ++i)
      for (int k = 0; k < inner; ++k) {
        six[0] = i + k;
        if (SBR_SetModeVec(body, (node_major ? k : i) + 1, (node_major ? i : k) + 1, 0, six) == 0) std::abort();
      }
    if (!sbr::flush_mode_writes(*body, sbr::Kind::shape)) std::abort();
  });
  SBR_Destroy(body);
  return seconds;
}

void mode_growth(benchmark::State &state) {
  const bool node_major = state.range(0) != 0;
  double right = 0.0;
  double one = 0.0;
  for (auto _ : state) {
    right += enter_with_announcement(kGrowthNodes, node_major);
    one += enter_with_announcement(1, node_major);
  }
  const auto runs = static_cast<double>(state.iterations());
  state.counters["announced_s"] = right / runs;
  state.counters["one_s"] = one / runs;
  state.counters["ratio"] = one / right;
}
BENCHMARK(mode_growth)->ArgName("node_major")->Arg(0)->Arg(1)->Iterations(2)->Unit(benchmark::kMillisecond);

}  // namespace
