// Writing a record from a record, beside a copy of the same bytes in pieces of 1 MB; and the report of the mode shapes,
// beside a bare fprintf of the same lines. Each benchmark times both in turn and gives the ratio of their best times.
//
// The full size is 100 modes x 1,000,000 nodes (with SBRKIT_BENCH_FULL set in the environment: 5 GB in the temporary
// directory, twice); without it 20 modes x 100,000 nodes.
#include <benchmark/benchmark.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "sbrkit/sbrkit.h"

namespace {

using Clock = std::chrono::steady_clock;

double seconds_since(Clock::time_point start) { return std::chrono::duration<double>(Clock::now() - start).count(); }

constexpr double kNever = 1e30;
constexpr const char *kWriteOnce = "--write-once";

struct Size {
  int nodes;
  int modes;
};
Size size_of_run() { return std::getenv("SBRKIT_BENCH_FULL") != nullptr ? Size{1000000, 100} : Size{100000, 20}; }

// Writes big- or little-endian fields straight to a file.
class Fields {
 public:
  Fields(const std::string &path, bool xdr) : file_(std::fopen(path.c_str(), "wb")), xdr_(xdr) {
    if (file_ == nullptr) std::abort();
  }
  ~Fields() { std::fclose(file_); }
  Fields(const Fields &) = delete;
  Fields &operator=(const Fields &) = delete;
  void integer(std::int32_t value) {
    auto bits = static_cast<std::uint32_t>(value);
    if (xdr_) bits = __builtin_bswap32(bits);
    std::fwrite(&bits, 4, 1, file_);
  }
  void real(double value) {
    auto bits = std::bit_cast<std::uint64_t>(value);
    if (xdr_) bits = __builtin_bswap64(bits);
    std::fwrite(&bits, 8, 1, file_);
  }
  void text(const char *text, int width) {
    for (int i = 0; i < width; ++i) {
      const char c = *text != '\0' ? *text++ : '\0';
      if (xdr_)
        integer(c);
      else
        std::fwrite(&c, 1, 1, file_);
    }
  }

 private:
  std::FILE *file_;
  bool xdr_;
};

// A record of nodes, eigenvalues, mode shapes and the transformation that says that they need no more work.
void make_record(const std::string &path, bool xdr, Size size) {
  Fields out(path, xdr);
  out.integer(xdr ? 0x13C : 0x3C);
  out.text("", 544);
  for (int byte = 0; byte < 100; ++byte) {
    const char flag[2] = {static_cast<char>(byte == 0 || byte == 3 || byte == 4 || byte == 14 ? 1 : 0), 0};
    out.text(flag, 1);
  }
  out.integer(size.nodes);
  out.integer(3);
  for (int i = 0; i < size.nodes; ++i) {
    out.integer(i + 1);
    for (int c = 0; c < 3; ++c) out.real(i + 0.25 * (c + 1));
  }
  out.integer(size.modes);
  for (int m = 0; m < size.modes; ++m) {
    out.integer(m + 1);
    for (const double value : {100.0 * (m + 1), 1.0, 10.0, 1.0, 100.0 * (m + 1)}) out.real(value);
  }
  out.integer(size.modes);
  out.integer(size.nodes);
  for (int i = 0; i < size.nodes; ++i) out.integer(i + 1);
  for (int m = 0; m < size.modes; ++m) {
    out.integer(m + 1);
    for (int i = 0; i < size.nodes; ++i)
      for (int c = 0; c < 6; ++c) out.real(1e-3 * ((i * 7 + m * 13 + c * 29) % 2003 - 1001));
  }
  out.integer(size.modes);
  for (int m = 0; m < size.modes; ++m) out.integer(m + 1);
  for (int m = 0; m < size.modes; ++m)
    for (int k = 0; k < size.modes; ++k) out.real(m == k ? 1.0 : 0.0);
}

void copy_in_pieces(const std::string &from, const std::string &to) {
  std::vector<char> piece(1 << 20);
  std::FILE *in = std::fopen(from.c_str(), "rb");
  std::FILE *out = std::fopen(to.c_str(), "wb");
  if (in == nullptr || out == nullptr) std::abort();
  std::size_t got = 0;
  while ((got = std::fread(piece.data(), 1, piece.size(), in)) > 0) std::fwrite(piece.data(), 1, got, out);
  std::fclose(in);
  std::fclose(out);
}

class Scratch {
 public:
  Scratch() {
    std::string pattern = (std::filesystem::temp_directory_path() / "sbrkit_bench_XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) std::abort();
    path_ = pattern;
  }
  ~Scratch() { std::filesystem::remove_all(path_); }
  Scratch(const Scratch &) = delete;
  Scratch &operator=(const Scratch &) = delete;
  [[nodiscard]] std::string file(const char *name) const { return (path_ / name).string(); }

 private:
  std::filesystem::path path_;
};

// The peak resident memory that opening and writing the record adds to a process, in bytes: of a program of its own,
// since a copy of this one would count what earlier runs have left behind.
double peak_of_a_write(const std::string &from, const std::string &to) {
  const std::string program = std::filesystem::read_symlink("/proc/self/exe").string();
  const pid_t child = fork();
  if (child == 0) {
    execl(program.c_str(), program.c_str(), kWriteOnce, from.c_str(), to.c_str(), nullptr);
    _exit(1);
  }
  int status = 0;
  if (waitpid(child, &status, 0) != child || status != 0) std::abort();
  double bytes = 0.0;
  std::FILE *in = std::fopen((to + ".peak").c_str(), "r");
  if (in == nullptr || std::fscanf(in, "%lf", &bytes) != 1) std::abort();
  std::fclose(in);
  return bytes;
}

// Of this program alone: getrusage would count what the process was before it.
long peak_kilobytes() {
  std::FILE *in = std::fopen("/proc/self/status", "r");
  if (in == nullptr) std::abort();
  long kilobytes = -1;
  char line[256];
  while (kilobytes < 0 && std::fgets(line, sizeof line, in) != nullptr) std::sscanf(line, "VmHWM: %ld", &kilobytes);
  std::fclose(in);
  return kilobytes;
}

// What that program does: it writes the peak beside the record.
int write_once(const std::string &from, const std::string &to) {
  const long before = peak_kilobytes();
  SBR body = SBR_CreateFromSBR(from.c_str());
  if (body == nullptr || SBR_write_SBR(body, to.c_str()) != 1) return 1;
  const double added = 1024.0 * static_cast<double>(peak_kilobytes() - before);
  std::FILE *out = std::fopen((to + ".peak").c_str(), "w");
  if (out == nullptr) return 1;
  std::fprintf(out, "%.0f\n", added);
  return std::fclose(out) == 0 ? 0 : 1;
}

void write_from_a_record(benchmark::State &state, bool xdr) {
  const Size size = size_of_run();
  const Scratch scratch;
  const std::string source = scratch.file("source.sbr");
  const std::string target = scratch.file("target.sbr");
  setenv("KTX_SBRWRITE_OPTIONS", xdr ? "" : "no_xdr", 1);
  make_record(source, xdr, size);
  SBR body = SBR_CreateFromSBR(source.c_str());
  if (body == nullptr) std::abort();
  double copying = kNever;
  double writing = kNever;
  for (auto _ : state) {
    std::filesystem::remove(target);
    auto start = Clock::now();
    copy_in_pieces(source, target);
    copying = std::min(copying, seconds_since(start));
    std::filesystem::remove(target);
    start = Clock::now();
    if (SBR_write_SBR(body, target.c_str()) != 1) state.SkipWithError("the write failed");
    const double spent = seconds_since(start);
    writing = std::min(writing, spent);
    state.SetIterationTime(spent);
  }
  SBR_Terminate();
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(std::filesystem::file_size(source)));
  state.counters["speed_of_copying"] = copying / writing;
  state.counters["peak_bytes_per_node"] = peak_of_a_write(source, target) / size.nodes;
}

void BM_WriteNative(benchmark::State &state) { write_from_a_record(state, false); }
void BM_WriteXdr(benchmark::State &state) { write_from_a_record(state, true); }
BENCHMARK(BM_WriteNative)->UseManualTime()->Unit(benchmark::kMillisecond)->MinTime(2);
BENCHMARK(BM_WriteXdr)->UseManualTime()->Unit(benchmark::kMillisecond)->MinTime(2);

// ---- the report of the mode shapes ----------------------------------------------------------------------------------

void BM_ReportModeShapes(benchmark::State &state) {
  const Size size{100000, 10};
  const Scratch scratch;
  const std::string source = scratch.file("source.sbr");
  make_record(source, false, size);
  SBR body = SBR_CreateFromSBR(source.c_str());
  if (body == nullptr) std::abort();
  std::vector<double> values(6 * static_cast<std::size_t>(size.nodes));
  double printing = kNever;
  double reporting = kNever;
  for (auto _ : state) {
    std::FILE *out = std::fopen(scratch.file("bare.txt").c_str(), "w");
    auto start = Clock::now();
    for (int m = 1; m <= size.modes; ++m) {
      SBR_Read_Mode_Double(body, m, 0, values.data());
      const double *v = values.data();
      for (int i = 0; i < size.nodes; ++i, v += 6)
        std::fprintf(out, "%9d  % 16.9e % 16.9e % 16.9e % 16.9e % 16.9e % 16.9e\n", i + 1, v[0], v[1], v[2], v[3], v[4],
                     v[5]);
    }
    std::fclose(out);
    printing = std::min(printing, seconds_since(start));
    out = std::fopen(scratch.file("report.txt").c_str(), "w");
    start = Clock::now();
    SBR_Contents(body, 8, out);
    std::fclose(out);
    const double spent = seconds_since(start);
    reporting = std::min(reporting, spent);
    state.SetIterationTime(spent);
  }
  SBR_Terminate();
  state.counters["speed_of_fprintf"] = printing / reporting;
}
BENCHMARK(BM_ReportModeShapes)->UseManualTime()->Unit(benchmark::kMillisecond)->MinTime(1);

}  // namespace

int main(int argc, char **argv) {
  if (argc == 4 && std::string(argv[1]) == kWriteOnce) return write_once(argv[2], argv[3]);
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
