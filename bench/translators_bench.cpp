// Text results of a finite-element run: reading an .frd file of 200,000 nodes, and the whole way from deck and results
// to a body, against counting the lines of the same file in the same run.
//
// SBR_BENCH_MODES sets the number of modes, 4 unless it is there; 20 make a file of 560 MB. The files lie in TMP, or in
// /tmp, while the benchmark runs.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <malloc.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "calculix/job.h"
#include "calculix/results.h"
#include "sbrkit/sbrkit.h"

namespace {

constexpr int kNx = 100;
constexpr int kNy = 50;
constexpr int kNz = 40;
constexpr int kNodes = kNx * kNy * kNz;

int mode_count() {
  const char *text = std::getenv("SBR_BENCH_MODES");
  const int count = text != nullptr ? std::atoi(text) : 4;
  return count > 0 ? count : 4;
}

// A job of bricks in a directory of its own, which goes with it.
class Job {
 public:
  Job() {
    const char *parent = std::getenv("TMP");
    std::string pattern = std::string(parent != nullptr ? parent : "/tmp") + "/sbr_bench_XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) std::exit(1);
    directory_ = pattern;
    fields();
    write_deck();
    write_results();
  }
  ~Job() { std::filesystem::remove_all(directory_); }
  Job(const Job &) = delete;
  Job &operator=(const Job &) = delete;
  [[nodiscard]] std::string deck() const { return directory_ + "/job.inp"; }
  [[nodiscard]] std::string results() const { return directory_ + "/job.frd"; }
  [[nodiscard]] double bytes() const { return static_cast<double>(std::filesystem::file_size(results())); }

 private:
  static int id(int x, int y, int z) { return 1 + x + kNx * (y + kNy * z); }
  // Reals as the solver writes them, of many sizes.
  void fields() {
    std::mt19937 random(1);
    std::uniform_real_distribution<double> mantissa(-9.9, 9.9);
    std::uniform_int_distribution<int> exponent(-9, 5);
    for (int i = 0; i < 1 << 16; ++i) {
      char text[32];
      std::snprintf(text, sizeof text, "%12.5E", mantissa(random) * std::pow(10.0, exponent(random)));
      fields_.append(text, 12);
    }
  }
  void elements(FILE *file, bool deck) const {
    int element = 0;
    for (int z = 0; z + 1 < kNz; ++z)
      for (int y = 0; y + 1 < kNy; ++y)
        for (int x = 0; x + 1 < kNx; ++x) {
          const std::array<int, 8> n = {
              id(x, y, z),     id(x + 1, y, z),     id(x + 1, y + 1, z),     id(x, y + 1, z),
              id(x, y, z + 1), id(x + 1, y, z + 1), id(x + 1, y + 1, z + 1), id(x, y + 1, z + 1)};
          ++element;
          std::fprintf(file, deck ? "%d" : " -1%10d    1    0    1\n -2", element);
          for (const int node : n) std::fprintf(file, deck ? ",%d" : "%10d", node);
          std::fputc('\n', file);
        }
  }
  template <class Line>
  void nodes(const Line &line) const {
    for (int z = 0; z < kNz; ++z)
      for (int y = 0; y < kNy; ++y)
        for (int x = 0; x < kNx; ++x) line(id(x, y, z), 10.0 * x, 10.0 * y, 10.0 * z);
  }
  void write_deck() const {
    FILE *file = std::fopen(deck().c_str(), "w");
    std::fputs("*NODE\n", file);
    nodes([&](int node, double x, double y, double z) { std::fprintf(file, "%d,%g,%g,%g\n", node, x, y, z); });
    std::fputs("*ELEMENT,TYPE=C3D8,ELSET=ALL\n", file);
    elements(file, true);
    std::fputs("*MATERIAL,NAME=STEEL\n*DENSITY\n7.85e-9\n*SOLID SECTION,ELSET=ALL,MATERIAL=STEEL\n", file);
    std::fclose(file);
  }
  void write_set(FILE *file, int mode, const char *name, int values, std::size_t &at) const {
    std::fprintf(file, "    1PSTEP%26d\n    1PGM                1.000000E+00\n    1PGK  %26.6E\n    1PMODE%26d\n", mode,
                 1e6 * mode, mode);
    std::fprintf(file, "  100CL  101 %11.5E%12d                     2%5dMODAL      1\n -4  %-8s%5d    1\n",
                 std::sqrt(1e6 * mode) / 6.283185307179586, kNodes, mode, name, values + (values == 3 ? 1 : 0));
    for (int i = 0; i < values; ++i) std::fprintf(file, " -5  V%-7d    1    2%5d    0\n", i, i + 1);
    if (values == 3) std::fputs(" -5  ALL         1    2    0    0    1ALL\n", file);
    std::string line;
    for (int node = 1; node <= kNodes; ++node) {
      char head[16];
      std::snprintf(head, sizeof head, " -1%10d", node);
      line = head;
      at = (at + 12 * 977) % (fields_.size() - 72);
      at -= at % 12;
      line.append(fields_, at, static_cast<std::size_t>(12 * values));
      line += '\n';
      std::fwrite(line.data(), 1, line.size(), file);
    }
    std::fputs(" -3\n", file);
  }
  void write_results() const {
    FILE *file = std::fopen(results().c_str(), "w");
    std::fprintf(file, "    1C\n    2C  %28d%38d\n", kNodes, 1);
    nodes([&](int node, double x, double y, double z) {
      std::fprintf(file, " -1%10d%12.5E%12.5E%12.5E\n", node, x, y, z);
    });
    std::fprintf(file, " -3\n    3C  %28d%38d\n", (kNx - 1) * (kNy - 1) * (kNz - 1), 1);
    elements(file, false);
    std::fputs(" -3\n", file);
    std::size_t at = 0;
    for (int mode = 1; mode <= mode_count(); ++mode) {
      write_set(file, mode, "DISP", 3, at);
      write_set(file, mode, "STRESS", 6, at);
    }
    std::fputs(" 9999\n", file);
    std::fclose(file);
  }
  std::string directory_;
  std::string fields_;
};

const Job &job() {
  static const Job kJob;
  return kJob;
}

void throughput(benchmark::State &state) {
  state.SetBytesProcessed(static_cast<std::int64_t>(job().bytes()) * static_cast<std::int64_t>(state.iterations()));
}

// What `wc -l` does.
void baseline_CountLines(benchmark::State &state) {
  std::vector<char> buffer(1 << 18);
  for (auto _ : state) {
    const int file = open(job().results().c_str(), O_RDONLY);
    long lines = 0;
    for (ssize_t count = 0; (count = read(file, buffer.data(), buffer.size())) > 0;)
      for (const char *at = buffer.data(), *end = at + count;
           (at = static_cast<const char *>(std::memchr(at, '\n', static_cast<std::size_t>(end - at)))) != nullptr; ++at)
        ++lines;
    close(file);
    benchmark::DoNotOptimize(lines);
  }
  throughput(state);
}

// Adds up all values.
class Sum : public sbrtranslate::ResultHandler {
 public:
  void node(int, const sbrtranslate::Vec3 &xyz, const sbrtranslate::Place &) override { sum += xyz[0]; }
  void element(int, int, std::span<const int>, const sbrtranslate::Place &) override {}
  void mesh_done(const sbrtranslate::Place &) override {}
  bool begin_set(const sbrtranslate::ResultSet &, const sbrtranslate::Place &) override { return true; }
  void value(int, std::span<const double> values, const sbrtranslate::Place &) override {
    for (const double v : values) sum += v;
  }
  void end_set(const sbrtranslate::Place &) override {}
  double sum = 0.0;
};

void ReadResults(benchmark::State &state) {
  for (auto _ : state) {
    Sum sum;
    sbrtranslate::read_results(job().results(), sum);
    benchmark::DoNotOptimize(sum.sum);
  }
  throughput(state);
}

double resident_bytes(int who) {
  rusage usage = {};
  getrusage(who, &usage);
  return 1024.0 * static_cast<double>(usage.ru_maxrss);
}

// Deck and results to a body, stress at all nodes, in a process of its own: what it needs at most, by node.
void ImportJob(benchmark::State &state) {
  const Job &files = job();
  double most = 0.0;
  for (auto _ : state) {
    state.PauseTiming();
    int pipe_ends[2];
    if (pipe(pipe_ends) != 0) return state.SkipWithError("no pipe");
    state.ResumeTiming();
    rusage before = {};
    getrusage(RUSAGE_CHILDREN, &before);
    const pid_t child = fork();
    if (child == 0) {
      mallopt(M_MMAP_THRESHOLD, 1 << 18);  // as the program does
      const double start = resident_bytes(RUSAGE_SELF);
      sbrtranslate::ImportOptions options;
      options.deck = files.deck();
      options.stress = sbrtranslate::Where::all;
      options.shared_faces = false;  // as the program does
      options.force = true;          // the values are of no mesh
      sbrtranslate::ImportReport report;
      const auto body = sbrtranslate::import_ccx(options, report);
      const double grown = resident_bytes(RUSAGE_SELF) - start;
      _exit(write(pipe_ends[1], &grown, sizeof grown) == sizeof grown ? 0 : 1);
    }
    double grown = 0.0;
    int status = 0;
    close(pipe_ends[1]);
    if (read(pipe_ends[0], &grown, sizeof grown) != sizeof grown) grown = 0.0;
    close(pipe_ends[0]);
    waitpid(child, &status, 0);
    if (status != 0) return state.SkipWithError("the import failed");
    rusage after = {};
    getrusage(RUSAGE_CHILDREN, &after);
    const auto seconds = [](const timeval &t) {
      return static_cast<double>(t.tv_sec) + 1e-6 * static_cast<double>(t.tv_usec);
    };
    state.SetIterationTime(seconds(after.ru_utime) - seconds(before.ru_utime) + seconds(after.ru_stime) -
                           seconds(before.ru_stime));
    most = std::max(most, grown);
  }
  throughput(state);
  state.counters["bytes_a_node"] = most / kNodes;
}

BENCHMARK(baseline_CountLines)->Unit(benchmark::kMillisecond);
// With its threads, so that the processor time counts all of them.
BENCHMARK(ReadResults)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime();
BENCHMARK(ImportJob)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(1);

}  // namespace
