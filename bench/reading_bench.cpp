// Opening large records, decoding runs of values, and the growth of the node table, each against a baseline.
#include <benchmark/benchmark.h>
#include <rpc/rpc.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <numeric>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>

#include "record/field_reader.h"
#include "sbrkit/sbrkit.h"

namespace {

constexpr int kNodes = 1'000'000;

// ---- a record whose mode vectors are holes -------------------------------------------------------------------------

class Bytes {
 public:
  void word(std::uint32_t value) {
    for (int shift = 24; shift >= 0; shift -= 8) bytes_.push_back(static_cast<char>((value >> shift) & 0xFFU));
  }
  void real(double value) {
    const auto bits = std::bit_cast<std::uint64_t>(value);
    word(static_cast<std::uint32_t>(bits >> 32U));
    word(static_cast<std::uint32_t>(bits));
  }
  void append_to(std::FILE *file) {
    if (std::fwrite(bytes_.data(), 1, bytes_.size(), file) != bytes_.size()) std::abort();
    bytes_.clear();
  }

 private:
  std::string bytes_;
};

// An XDR record of kNodes nodes with nodal masses and the given number of modes: about 48 MB a mode, as holes.
class SparseRecord {
 public:
  explicit SparseRecord(int modes)
      : path_((std::filesystem::temp_directory_path() /
               ("sbrkit_bench_" + std::to_string(getpid()) + "_" + std::to_string(modes) + ".sbr"))
                  .string()) {
    std::FILE *file = std::fopen(path_.c_str(), "wb");
    if (file == nullptr) std::abort();
    write_small_blocks(file, modes);
    for (int mode = 0; mode < modes; ++mode) {
      bytes_.word(static_cast<std::uint32_t>(mode + 1));
      bytes_.append_to(file);
      if (fseeko(file, std::int64_t{48} * kNodes, SEEK_CUR) != 0) std::abort();
    }
    bytes_.word(kNodes);
    bytes_.word(1);
    for (int i = 0; i < kNodes; ++i) {
      bytes_.word(static_cast<std::uint32_t>(i + 1));
      bytes_.real(0.5);
    }
    bytes_.append_to(file);
    std::fclose(file);
  }
  ~SparseRecord() { std::remove(path_.c_str()); }
  SparseRecord(const SparseRecord &) = delete;
  SparseRecord &operator=(const SparseRecord &) = delete;
  [[nodiscard]] const std::string &path() const { return path_; }

 private:
  void write_small_blocks(std::FILE *file, int modes) {
    bytes_.word(0x13C);
    for (int i = 0; i < 544; ++i) bytes_.word(0);
    for (int i = 0; i < 100; ++i) bytes_.word(i == 0 || i == 3 || i == 4 || i == 5 ? 1 : 0);
    bytes_.word(kNodes);
    bytes_.word(3);
    for (int i = 0; i < kNodes; ++i) {
      bytes_.word(static_cast<std::uint32_t>(i + 1));
      for (int c = 0; c < 3; ++c) bytes_.real(i * 0.001 + c);
    }
    bytes_.word(static_cast<std::uint32_t>(modes));
    for (int mode = 0; mode < modes; ++mode) {
      bytes_.word(static_cast<std::uint32_t>(mode + 1));
      for (int column = 0; column < 5; ++column) bytes_.real(1.0);
    }
    bytes_.word(static_cast<std::uint32_t>(modes));
    bytes_.word(kNodes);
    for (int i = 0; i < kNodes; ++i) bytes_.word(static_cast<std::uint32_t>(i + 1));
    bytes_.append_to(file);
  }

  std::string path_;
  Bytes bytes_;
};

std::int64_t resident_bytes() {
  std::ifstream in("/proc/self/statm");
  std::int64_t total = 0;
  std::int64_t resident = 0;
  in >> total >> resident;
  return resident * sysconf(_SC_PAGESIZE);
}

void OpenRecord(benchmark::State &state) {
  const SparseRecord record(static_cast<int>(state.range(0)));
  std::int64_t resident = 0;
  for (auto _ : state) {
    const std::int64_t before = resident_bytes();
    SBR body = SBR_CreateFromSBR(record.path().c_str());
    if (body == nullptr || SBR_ModeCount(body) != state.range(0)) state.SkipWithError("the record does not open");
    state.PauseTiming();
    resident = std::max(resident, resident_bytes() - before);
    SBR_Terminate();
    state.ResumeTiming();
  }
  state.counters["resident_bytes_per_node"] = static_cast<double>(resident) / kNodes;
}
BENCHMARK(OpenRecord)->ArgName("modes")->Arg(2)->Arg(200)->Unit(benchmark::kMillisecond)->MinWarmUpTime(0.2);

// ---- decoding ------------------------------------------------------------------------------------------------------

constexpr std::int64_t kValues = 1 << 20;

// A file of 28 bytes times kValues that stays in the page cache, and a channel on it.
class ValueFile {
 public:
  explicit ValueFile(bool xdr, bool single) : stream_(std::tmpfile()) {
    if (stream_ == nullptr) std::abort();
    std::vector<std::uint32_t> words(static_cast<std::size_t>(kValues) * 7);
    std::mt19937 random(1);
    for (std::uint32_t &word : words) word = static_cast<std::uint32_t>(random()) & 0x3FFFFFFFU;
    if (std::fwrite(words.data(), 4, words.size(), stream_) != words.size()) std::abort();
    std::rewind(stream_);
    channel.own(stream_);
    channel.double_precision = !single;
    if (xdr && !channel.bind_xdr(XDR_DECODE)) std::abort();
  }
  ~ValueFile() { channel.close(); }
  ValueFile(const ValueFile &) = delete;
  ValueFile &operator=(const ValueFile &) = delete;
  void rewind() { FileSeek_Win32(stream_, 0, 0); }

  sbr::StreamChannel channel;

 private:
  std::FILE *stream_;
};

template <class Word>
Word reversed(Word word) {
  if constexpr (sizeof(Word) == 8) return __builtin_bswap64(word);
  return static_cast<Word>(__builtin_bswap32(static_cast<std::uint32_t>(word)));
}

// The baseline: one fread of all bytes, then every word reversed in place.
template <class Word>
void FreadAndSwap(benchmark::State &state) {
  ValueFile file(false, false);
  const auto words = static_cast<std::size_t>(state.range(0)) / sizeof(Word);
  std::vector<Word> values(words);
  for (auto _ : state) {
    file.rewind();
    if (std::fread(values.data(), sizeof(Word), words, file.channel.stream) != words) state.SkipWithError("short");
    for (Word &word : values) word = reversed(word);
    benchmark::DoNotOptimize(values.data());
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(FreadAndSwap<std::uint64_t>)->Name("baseline_double")->ArgName("bytes")->Arg(8 * kValues);
BENCHMARK(FreadAndSwap<std::uint32_t>)->Name("baseline_single")->ArgName("bytes")->Arg(4 * kValues);
BENCHMARK(FreadAndSwap<std::uint32_t>)->Name("baseline_node_rows")->ArgName("bytes")->Arg(28 * kValues);

void ReadReals(benchmark::State &state, bool xdr, bool single) {
  ValueFile file(xdr, single);
  std::vector<double> values(static_cast<std::size_t>(kValues));
  for (auto _ : state) {
    file.rewind();
    if (!sbr::read_reals(file.channel, values.data(), kValues)) state.SkipWithError("short");
    benchmark::DoNotOptimize(values.data());
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * kValues * (single ? 4 : 8));
}
BENCHMARK_CAPTURE(ReadReals, native_double, false, false);
BENCHMARK_CAPTURE(ReadReals, xdr_double, true, false);
BENCHMARK_CAPTURE(ReadReals, native_single, false, true);
BENCHMARK_CAPTURE(ReadReals, xdr_single, true, true);

void ReadInts(benchmark::State &state) {
  ValueFile file(true, false);
  std::vector<std::int32_t> values(static_cast<std::size_t>(kValues));
  for (auto _ : state) {
    file.rewind();
    if (!sbr::read_ints(file.channel, values.data(), kValues)) state.SkipWithError("short");
    benchmark::DoNotOptimize(values.data());
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * kValues * 4);
}
BENCHMARK(ReadInts)->Name("ReadInts/xdr");

void ReadNodeRows(benchmark::State &state, bool xdr) {
  ValueFile file(xdr, false);
  std::vector<sbr::NodeRow> rows(static_cast<std::size_t>(kValues));
  for (auto _ : state) {
    file.rewind();
    sbr::RowReader reader(file.channel, sbr::field_bytes<sbr::NodeRow>(sbr::encoding_of(file.channel)), kValues);
    bool ok = true;
    for (sbr::NodeRow &row : rows) ok = ok && transfer(reader, row);
    if (!ok) state.SkipWithError("short");
    benchmark::DoNotOptimize(rows.data());
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * kValues * 28);
}
BENCHMARK_CAPTURE(ReadNodeRows, native, false);
BENCHMARK_CAPTURE(ReadNodeRows, xdr, true);

// What element-by-element decoding costs.
void ElementCalls(benchmark::State &state) {
  ValueFile file(true, false);
  std::vector<double> values(static_cast<std::size_t>(kValues));
  for (auto _ : state) {
    file.rewind();
    if (xdr_vector(file.channel.xdr, reinterpret_cast<char *>(values.data()), kValues, 8,
                   reinterpret_cast<xdrproc_t>(xdr_double)) == 0)
      state.SkipWithError("short");
  }
  state.SetBytesProcessed(state.iterations() * kValues * 8);
}
BENCHMARK(ElementCalls)->Name("xdr_library_double");

// ---- the node table ------------------------------------------------------------------------------------------------

std::vector<int> node_ids(bool random_order) {
  std::vector<int> ids(kNodes);
  std::iota(ids.begin(), ids.end(), 1);
  if (random_order) std::shuffle(ids.begin(), ids.end(), std::mt19937(1));
  return ids;
}

void InsertIntoMap(benchmark::State &state, bool random_order) {
  const std::vector<int> ids = node_ids(random_order);
  for (auto _ : state) {
    std::unordered_map<int, int> map;
    int next = 0;
    for (const int id : ids)
      if (map.try_emplace(id, next).second) ++next;
    benchmark::DoNotOptimize(map);
  }
  state.SetItemsProcessed(state.iterations() * kNodes);
}
BENCHMARK_CAPTURE(InsertIntoMap, ascending, false)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(InsertIntoMap, random, true)->Unit(benchmark::kMillisecond);

void LookupOrAddNode(benchmark::State &state, bool random_order) {
  const std::vector<int> ids = node_ids(random_order);
  for (auto _ : state) {
    SBR body = SBR_Create(kNodes, 1);
    for (const int id : ids)
      if (SBR_LookupOrAddNode(body, id) < 0) state.SkipWithError("no node");
    SBR_UnLink(body);
  }
  state.SetItemsProcessed(state.iterations() * kNodes);
}
BENCHMARK_CAPTURE(LookupOrAddNode, ascending, false)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(LookupOrAddNode, random, true)->Unit(benchmark::kMillisecond);

}  // namespace
