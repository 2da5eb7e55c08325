// One operation of the library at a time, over the public interface alone, so that the same source measures two
// states of the library: copied into the bench/ of another checkout it builds there as well.
//
//   operations_bench CASE [SCALE]   prints the case, the processor time in seconds, and a figure of the outcome
//   operations_bench                lists the cases
//
// bench/compare.py runs two such programs in turn. Under callgrind with --collect-atstart=no the operation alone is
// counted.
#if __has_include(<valgrind/callgrind.h>)
#include <valgrind/callgrind.h>
#else
#define CALLGRIND_TOGGLE_COLLECT
#endif

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "sbrkit/sbrkit.h"

namespace {

int scale = 1;

double processor_seconds() {
  timespec now{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

// The time of the measured parts so far.
double spent = 0.0;

template <class Work>
auto measured(Work work) {
  CALLGRIND_TOGGLE_COLLECT;
  const double start = processor_seconds();
  const auto result = work();
  spent += processor_seconds() - start;
  CALLGRIND_TOGGLE_COLLECT;
  return result;
}

class Uniform {
 public:
  double operator()() { return distribution_(generator_); }

 private:
  std::mt19937_64 generator_{7};
  std::uniform_real_distribution<double> distribution_{-1.0, 1.0};
};

// ---- bodies -----------------------------------------------------------------------------------------------

SBR body_of_nodes(int nodes, int modes) {
  SBR body = SBR_Create(nodes, modes);
  for (int i = 0; i < nodes; ++i) {
    SBR_SetNodeCoordinates(body, i + 1, std::sin(i * 0.7), std::cos(i * 0.3), std::sin(i * 1.1));
    SBR_SetNodalMass(body, i + 1, 1.0 + 0.5 * std::sin(i));
  }
  for (int m = 0; m < modes; ++m) SBR_AddMode(body, m + 1);
  return body;
}

SBR body_of_modes(int nodes, int modes) {
  SBR body = body_of_nodes(nodes, modes);
  Uniform uniform;
  for (int m = 1; m <= modes; ++m)
    for (int i = 1; i <= nodes; ++i) {
      std::array<double, 6> six;
      std::generate(six.begin(), six.end(), std::ref(uniform));
      SBR_SetModeVec(body, m, i, 0, six.data());
    }
  return body;
}

// A value of the last mode.
double outcome(SBR body, int nodes, int mode) {
  std::vector<double> values(6 * static_cast<std::size_t>(nodes));
  SBR_Read_Mode_Double(body, mode, 0, values.data());
  return std::fabs(values[1]);
}

// ---- construction -----------------------------------------------------------------------------------------

double build(bool scattered) {
  const int nodes = 100000 * scale;
  const auto id_of = [=](int n) {
    return scattered ? 1 + static_cast<int>(static_cast<long long>(n) * 618'034'001 % nodes) : 1 + n;
  };
  return measured([&] {
    SBR body = SBR_Create(nodes, 1);
    for (int n = 0; n < nodes; ++n) {
      SBR_SetNodeCoordinates(body, id_of(n), n, 2.0 * n, 3.0 * n);
      SBR_SetNodalMass(body, id_of(n), 0.5 * n);
    }
    for (int n = 0; n < nodes; ++n) {
      const int ids[4] = {id_of(n), id_of((n + 1) % nodes), id_of((n + 1001) % nodes), id_of((n + 1000) % nodes)};
      SBR_SetFaceList(body, 4, ids);
    }
    return SBR_NodeCount(body);
  });
}

double enter_modes(bool by_node) {
  const int nodes = 20000 * scale;
  const int modes = 20;
  SBR body = body_of_nodes(nodes, modes);
  std::array<double, 6> six{1, 2, 3, 4, 5, 6};
  const auto enter = [&](int mode, int node) {
    six[0] = mode + node;
    SBR_SetModeVec(body, mode + 1, node + 1, 0, six.data());
  };
  std::vector<double> values(6 * static_cast<std::size_t>(nodes));
  return measured([&] {
    if (by_node)
      for (int node = 0; node < nodes; ++node)
        for (int mode = 0; mode < modes; ++mode) enter(mode, node);
    else
      for (int mode = 0; mode < modes; ++mode)
        for (int node = 0; node < nodes; ++node) enter(mode, node);
    return SBR_Read_Mode_Double(body, modes, 0, values.data());
  });
}

// ---- records ----------------------------------------------------------------------------------------------

constexpr int kRecordNodes = 100000;
constexpr int kRecordModes = 20;

// A record of nodes and mode shapes, written anew for each run.
class Record {
 public:
  explicit Record(const char *options) {
    std::string pattern = (std::filesystem::temp_directory_path() / "sbrkit_bench_XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) std::abort();
    folder_ = pattern;
    setenv("KTX_SBRWRITE_OPTIONS", (std::string(options) + " no_ortho no_invar").c_str(), 1);
    SBR body = body_of_modes(kRecordNodes, kRecordModes);
    if (SBR_write_SBR(body, file("source.sbr").c_str()) != 1) std::abort();
    SBR_Destroy(body);
  }
  ~Record() { std::filesystem::remove_all(folder_); }
  Record(const Record &) = delete;
  Record &operator=(const Record &) = delete;
  [[nodiscard]] std::string file(const char *name) const { return (folder_ / name).string(); }
  [[nodiscard]] SBR open() const { return SBR_CreateFromSBR(file("source.sbr").c_str()); }

 private:
  std::filesystem::path folder_;
};

double open_record(const char *options) {
  const Record record(options);
  return measured([&] { return SBR_NodeCount(record.open()); });
}

double read_record(const char *options) {
  const Record record(options);
  std::vector<double> values(6 * static_cast<std::size_t>(kRecordNodes));
  return measured([&] {
    SBR body = record.open();
    double sum = 0.0;
    for (int m = 1; m <= kRecordModes; ++m) {
      SBR_Read_Mode_Double(body, m, 0, values.data());
      sum += values.back();
    }
    return sum;
  });
}

double write_record(const char *options) {
  const Record record(options);
  SBR body = record.open();
  return measured([&] {
    int written = 0;
    for (int k = 0; k < scale; ++k) written += SBR_write_SBR(body, record.file("target.sbr").c_str());
    return written;
  });
}

// ---- the surface ------------------------------------------------------------------------------------------

// A flat square of about this many quadrilaterals.
SBR plate(int faces) {
  const int side = static_cast<int>(std::lround(std::sqrt(faces)));
  const int row = side + 1;
  SBR body = SBR_Create(0, 0);
  for (int i = 0; i < row * row; ++i) SBR_SetNodeCoordinates(body, i + 1, i % row, i / row, 0.0);
  for (int i = 0; i < side; ++i)
    for (int j = 0; j < side; ++j) {
      const int first = i * row + j + 1;
      const int ids[4] = {first, first + 1, first + row + 1, first + row};
      SBR_SetFaceList(body, 4, ids);
    }
  return body;
}

// About this many bricks with all their faces.
SBR block(int bricks) {
  const int n = static_cast<int>(std::lround(std::cbrt(bricks)));
  const auto at = [n](int x, int y, int z) { return 1 + (z * (n + 1) + y) * (n + 1) + x; };
  constexpr int kSides[6][4] = {{0, 3, 2, 1}, {4, 5, 6, 7}, {0, 1, 5, 4}, {1, 2, 6, 5}, {2, 3, 7, 6}, {3, 0, 4, 7}};
  SBR body = SBR_Create(0, 0);
  for (int i = 0; i < (n + 1) * (n + 1) * (n + 1); ++i)
    SBR_SetNodeCoordinates(body, i + 1, i % (n + 1), i / (n + 1) % (n + 1), i / (n + 1) / (n + 1));
  for (int i = 0; i < n * n * n; ++i) {
    const int x = i % n;
    const int y = i / n % n;
    const int z = i / n / n;
    const int c[8] = {at(x, y, z),     at(x + 1, y, z),     at(x + 1, y + 1, z),     at(x, y + 1, z),
                      at(x, y, z + 1), at(x + 1, y, z + 1), at(x + 1, y + 1, z + 1), at(x, y + 1, z + 1)};
    for (const auto &side : kSides) {
      const int ids[4] = {c[side[0]], c[side[1]], c[side[2]], c[side[3]]};
      SBR_SetFaceList(body, 4, ids);
    }
  }
  return body;
}

double coarsen() {
  SBR body = plate(60000 * scale);
  return measured([&] {
    SBR_TrimGeometry(body, "0.02,10,0");
    return SBR_IsCoarsened(body);
  });
}

double strip() {
  SBR body = block(10000 * scale);
  return measured([&] {
    SBR_StripCommonFaces(body);
    return 1;
  });
}

double free_edges() {
  SBR body = plate(60000 * scale);
  return measured([&] {
    SBR_GenerateFreeEdges(body);
    return SBR_GetFreeEdgeSize(body, 0);
  });
}

// ---- modes ------------------------------------------------------------------------------------------------

double invariants() {
  SBR body = body_of_modes(5000 * scale, 20);
  measured([&] {
    SBR_FullComputeInvars(body);
    return 0;
  });
  double *tensor = SBR_Invar5(body, 0);
  const double value = tensor != nullptr ? std::fabs(tensor[0]) : -1.0;
  SBR_FreeMemory(tensor);
  return value;
}

double transform_modes() {
  const int nodes = 2000 * scale;
  const int modes = 50;
  SBR body = body_of_modes(nodes, modes);
  Uniform uniform;
  std::vector<double> matrix(static_cast<std::size_t>(modes) * modes);
  std::generate(matrix.begin(), matrix.end(), std::ref(uniform));
  const int done = measured([&] { return SBR_TransformModes(body, 0, modes, matrix.data()); });
  return done + outcome(body, nodes, modes);
}

double orthonormalize(bool full) {
  const int nodes = 1000 * scale;
  const int modes = 60;
  SBR body = body_of_modes(nodes, modes);
  Uniform uniform;
  for (int row = 1; row <= modes; ++row)
    for (int column = full ? 1 : row; column <= row; ++column) {
      SBR_SetGeneralizedStiffness(body, row, column, row == column ? 1000.0 * row : uniform());
      SBR_SetGeneralizedMass(body, row, column, row == column ? 2.0 + 0.01 * row : 0.01 * uniform());
    }
  const int done = measured([&] { return SBR_OrthoNormalize(body); });
  return done + outcome(body, nodes, modes);
}

// ---- the program ------------------------------------------------------------------------------------------

struct Case {
  const char *name;
  double (*run)();
};

const Case kCases[] = {
    {"build_ordered", [] { return build(false); }},
    {"build_scattered", [] { return build(true); }},
    {"enter_by_mode", [] { return enter_modes(false); }},
    {"enter_by_node", [] { return enter_modes(true); }},
    {"open_native", [] { return open_record("no_xdr"); }},
    {"open_xdr", [] { return open_record(""); }},
    {"read_native", [] { return read_record("no_xdr"); }},
    {"read_xdr", [] { return read_record(""); }},
    {"write_native", [] { return write_record("no_xdr"); }},
    {"write_xdr", [] { return write_record(""); }},
    {"invariants", invariants},
    {"coarsen", coarsen},
    {"strip", strip},
    {"free_edges", free_edges},
    {"transform_modes", transform_modes},
    {"orthonormalize", [] { return orthonormalize(true); }},
    {"normalize", [] { return orthonormalize(false); }},
};

}  // namespace

int main(int argc, char **argv) {
  if (argc > 2) scale = std::max(1, std::atoi(argv[2]));
  for (const Case &one : kCases) {
    if (argc < 2) std::printf("%s\n", one.name);
    if (argc < 2 || std::string(argv[1]) != one.name) continue;
    const double figure = one.run();
    std::printf("%s %.6f %.12g\n", one.name, spent, figure);
    return 0;
  }
  return argc < 2 ? 0 : 2;
}
