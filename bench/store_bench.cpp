// The open store with 10,000 bodies against one with 10: listing them with the program, and storing and taking out one.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "sbrkit/sbrkit.h"

#if defined(SBRKIT_STORE_DIRECTORY) && defined(SBR_PROGRAM)

namespace {

namespace fs = std::filesystem;

// A directory with a database of so many bodies, which goes at the end.
class Store {
 public:
  explicit Store(int bodies) {
    std::string name = fs::temp_directory_path() / "sbrkit_bench_XXXXXX";
    if (mkdtemp(name.data()) == nullptr) std::abort();
    directory_ = name;
    setenv("KTX_USER_PLUGIN_DIR", SBRKIT_STORE_DIRECTORY, 1);
    setenv("KTX_QSRVHOME_DIR", "/", 1);
    fs::current_path(directory_);
    put(1, bodies);
  }
  ~Store() {
    fs::current_path("/");
    fs::remove_all(directory_);
  }
  Store(const Store &) = delete;
  Store &operator=(const Store &) = delete;

  [[nodiscard]] std::string master() const { return directory_ / "plane.MASTER"; }
  // Stores bodies of 1,000 words in one run.
  void put(int first, int bodies) const {
    const std::vector<double> values(1000, 1.0);
    if (DB_StartWrite(master().c_str()) == 0) std::abort();
    for (int i = first; i < first + bodies; ++i) {
      const std::string qualifiers = "selabel='component number " + std::to_string(i) + "',projno=1,version=1";
      const db_block block{DB_CreateSBRblk(qualifiers.c_str()), {0, 0}};
      if (block.unit == 0) std::abort();
      DB_WriteDOUBLEs(block, values.data(), static_cast<int>(values.size()));
      DB_WriteEOR(block);
      DB_CloseDatablk(block.unit);
    }
    if (DB_TermWrite() == 0) std::abort();
  }

 private:
  fs::path directory_;
};

// Runs the program with its output dropped; the memory that it took, in bytes.
double run_program(const std::vector<std::string> &arguments) {
  const pid_t child = fork();
  if (child == 0) {
    const int nothing = open("/dev/null", O_WRONLY);
    dup2(nothing, STDOUT_FILENO);
    std::vector<char *> texts{const_cast<char *>(SBR_PROGRAM)};
    for (const std::string &argument : arguments) texts.push_back(const_cast<char *>(argument.c_str()));
    texts.push_back(nullptr);
    execv(SBR_PROGRAM, texts.data());
    _exit(127);
  }
  int status = 0;
  rusage usage{};
  if (wait4(child, &status, 0, &usage) != child || status != 0) std::abort();
  return static_cast<double>(usage.ru_maxrss) * 1024.0;
}

// ---- listing -------------------------------------------------------------------------------------------------------

void ListBodies(benchmark::State &state) {
  const Store store(static_cast<int>(state.range(0)));
  double memory = 0.0;
  for (auto step : state) memory = run_program({"db", "list", store.master()});
  state.counters["memory"] = benchmark::Counter(memory, benchmark::Counter::kDefaults, benchmark::Counter::kIs1024);
}
BENCHMARK(ListBodies)->Arg(10)->Arg(10000)->Unit(benchmark::kMillisecond)->UseRealTime();

// ---- one body among many -------------------------------------------------------------------------------------------

// As a host stores it: start, one body, end.
void PutOne(benchmark::State &state) {
  const Store store(static_cast<int>(state.range(0)));
  int number = static_cast<int>(state.range(0));
  for (auto step : state) store.put(++number, 1);
}
BENCHMARK(PutOne)->Arg(10)->Arg(10000)->Unit(benchmark::kMillisecond)->UseRealTime();

// The row that the program asks for, as one step of a run that reads.
void GetOneByRow(benchmark::State &state) {
  const Store store(static_cast<int>(state.range(0)));
  if (CDB_LoadLibrary() == 0 || DB_StartBase() == 0) std::abort();
  const std::string row = std::to_string(state.range(0) / 2);
  double value = 0.0;
  int status = 0;
  int unit = 0;
  int count = 0;
  CDB_QS_DbCommand(("assign bench='" + store.master() + "'").c_str(), &status);
  for (auto step : state) {
    CDB_QS_DbCommand(("dblocate logical=bench datablk=(sbrdb) convert(highqual=-7) row=" + row).c_str(), &status);
    CDB_QS_AllocDatablk("datablk=(sbrdb) where(highqual=-7)", &unit, &count, &status);
    if (status != 0 || count != 1) std::abort();
    CDB_Ruvo_Open(unit, 0, 0);
    if (DB_ReadDOUBLEs({unit, {0, 0}}, &value, 1) == 0) std::abort();
    CDB_Ruvo_Close(unit, 1);
  }
  DB_TermBase();
  CDB_UnloadLibrary();
}
BENCHMARK(GetOneByRow)->Arg(10)->Arg(10000)->Unit(benchmark::kMicrosecond)->UseRealTime();

// By its index through the front, which asks for the list of all bodies each time.
void GetOneThroughTheFront(benchmark::State &state) {
  const Store store(static_cast<int>(state.range(0)));
  if (CDB_LoadLibrary() == 0 || DB_StartBase() == 0) std::abort();
  const std::string master = store.master();
  for (auto step : state) {
    const int unit = DB_OpenDatablk(master.c_str(), static_cast<int>(state.range(0) / 2), nullptr);
    if (unit == 0) std::abort();
    DB_CloseDatablk(unit);
  }
  DB_TermBase();
  CDB_UnloadLibrary();
}
BENCHMARK(GetOneThroughTheFront)->Arg(10)->Arg(10000)->Unit(benchmark::kMicrosecond)->UseRealTime();

}  // namespace

#endif
