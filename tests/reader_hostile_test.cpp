// Small files made to cost much: whatever a kilobyte announces, opening it and asking for everything takes no more than
// 16 MB and a second of the processor.
#include <ctime>

#include "support/allocations.h"
#include "support/record_test.h"

namespace sbrtest {
namespace {

constexpr std::int64_t kMostBytes = 16'000'000;
constexpr double kMostSeconds = 1.0;
constexpr std::size_t kFileBytes = 1024;

double seconds_used() {
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

class HostileFileTest : public RecordTest {
 protected:
  // Opens a file, has everything made of it, and closes it.
  void expect_cheap(const std::string &bytes, const std::string &what) {
    write_file(path, bytes);
    log.take();
    const std::int64_t before = memory_in_use().bytes;
    set_peak_memory_back();
    const double start = seconds_used();
    if (SBR body = SBR_CreateFromSBR(path.c_str()); body != nullptr) {
      ++opened;
      use(body);
      SBR_UnLink(body);
    }
    EXPECT_LE(peak_memory() - before, kMostBytes) << what;
    EXPECT_LE(seconds_used() - start, kMostSeconds) << what;
    most = std::max(most, peak_memory() - before);
    longest = std::max(longest, seconds_used() - start);
    log.take();
    EXPECT_EQ(memory_in_use().bytes, before) << what;
    ++files;
  }

  void use(SBR body) const {
    SBR_BodySize(body);
    SBR_FullComputeInvars(body);
    SBR_GetFreeEdgeCount(body);
    for (int block = 0; block < 36; ++block) {
      SBR_size_of_block(body, block);
      SBR_Contents(body, block + 1, nowhere);
    }
    for (const char *options : {"no_ortho", "full_invar"}) {
      const ScopedEnvironment environment("KTX_SBRWRITE_OPTIONS", options);
      SBR_write_SBR(body, "/dev/null");
    }
  }

  HostileFileTest() { path = scratch.file("hostile.sbr"); }
  ~HostileFileTest() override { std::fclose(nowhere); }
  std::FILE *nowhere = std::fopen("/dev/null", "w");
  ScopedEnvironment tmp{"TMP", scratch.path().string()};
  int files = 0;
  int opened = 0;
  std::int64_t most = 0;
  double longest = 0.0;
};

// A record of one block that starts with some counts, filled with zeros to its size.
std::string crafted(std::uint32_t word, int block, const std::vector<std::int64_t> &counts) {
  RecordBuilder record(word);
  if (block != 3) record.nodes({{1, {0, 0, 0}}});
  if (block != 6 && block != 7) record.eigenvalues({{1, 1.0}});
  FieldBytes &out = record.fresh(block);
  for (const std::int64_t count : counts) out.integer(count);
  // The header of an XDR file alone is longer than a native file.
  const std::size_t size = std::max(kFileBytes, record.offset(block) + 300);
  std::string bytes = record.bytes();
  const std::size_t end = record.offset(block) + out.size();
  if (bytes.size() < size) bytes.insert(end, size - bytes.size(), '\0');
  return bytes;
}

TEST_F(HostileFileTest, NoCountOfAnyBlockMakesAKilobyteCostly) {
  const std::vector<std::int64_t> values = {0, 1, 2, 60, 90, 255, 256, 0x7FFFFFFF, -1};
  for (const std::uint32_t word : {10U, 30U, 31U, 0x3CU, 0x13CU, 0x23CU})
    for (const int block :
         {3, 4, 6, 7, 8, 9, 11, 12, 13, 14, 15, 16, 17, 20, 22, 25, 26, 27, 28, 29, 30, 31, 33, 34, 35})
      for (const std::int64_t first : values)
        for (const std::int64_t second : values)
          expect_cheap(crafted(word, block, {first, second}), "word " + std::to_string(word) + ", block " +
                                                                  std::to_string(block) + ", counts " +
                                                                  std::to_string(first) + " " + std::to_string(second));
  std::printf("%d files, %d opened, at most %ld bytes and %.3f s\n", files, opened, static_cast<long>(most), longest);
  EXPECT_GT(opened, 1000);
}

// ---- records without data, which cost a file next to nothing --------------------------------------------------------

class EmptyRecordsTest : public RecordTest {
 protected:
  // How many bytes of memory an opened record takes for each byte of its file.
  double cost_of(const RecordBuilder &record) {
    const std::string bytes = record.bytes();
    path = scratch.file("empty.sbr");
    write_file(path, bytes);
    const std::int64_t before = memory_in_use().bytes;
    set_peak_memory_back();
    EXPECT_NE(SBR_CreateFromSBR(path.c_str()), nullptr);
    return static_cast<double>(peak_memory() - before) / static_cast<double>(bytes.size());
  }
};

TEST_F(EmptyRecordsTest, EmptyLoadCasesTakeNoMoreThanFourTimesTheFile) {
  RecordBuilder record = two_nodes();
  record.nodal_loads(std::vector<std::vector<BuiltNodalLoad>>(100000));
  EXPECT_LE(cost_of(record), 4.0);
  SBR body = SBR_CreateFromSBR(path.c_str());
  EXPECT_EQ(SBR_GetModalLoadNodalCaseCount(body), 100000);
  EXPECT_EQ(SBR_GetModalLoadNodalCount(body, 99999), 0);
  EXPECT_EQ(SBR_GetModalLoadNodalNode(body, 99999), nullptr);
  EXPECT_EQ(SBR_SetModalLoadNodal(body, 99999, 10, 1, 5.0), 1);
  EXPECT_EQ(SBR_GetModalLoadNodalCount(body, 99999), 1);
}

TEST_F(EmptyRecordsTest, EmptySubOperatorsTakeNoMoreThanFiveTimesTheFile) {
  RecordBuilder record = two_nodes();
  record.operators({{"OP", {}, std::vector<BuiltSubOperator>(100000)}});
  EXPECT_LE(cost_of(record), 5.0);
  EXPECT_EQ(SBR_GetMatrixOperatorNumSubOperator(SBR_CreateFromSBR(path.c_str()), 0), 100000);
}

TEST_F(EmptyRecordsTest, EmptyOperatorsTakeNoMoreThanTenTimesTheFile) {
  RecordBuilder operators = two_nodes();
  operators.operators(std::vector<BuiltOperator>(10000));
  EXPECT_LE(cost_of(operators), 10.0);
}

TEST_F(EmptyRecordsTest, OtherRecordsTakeNoMoreThanFourTimesTheFile) {
  RecordBuilder points = two_nodes();
  points.monitor_points(std::vector<BuiltMonitorPoint>(10000));
  EXPECT_LE(cost_of(points), 4.0);
  RecordBuilder loads = two_nodes();
  loads.loads(0, std::vector<BuiltLoad>(10000));
  EXPECT_LE(cost_of(loads), 4.0);
}

}  // namespace
}  // namespace sbrtest
