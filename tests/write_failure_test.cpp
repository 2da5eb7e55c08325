// Writes that cannot be finished: the n-th put of a sink, full files and devices, and memory that runs out.
#include <algorithm>
#include <map>

#include "support/allocations.h"
#include "support/bracket.h"
#include "support/files.h"
#include "support/messages.h"
#include "write/pipeline.h"

namespace sbrtest {
namespace {

// A sink that fails at its n-th put, once or from then on, and knows in which block that was.
class FailingSink {
 public:
  FailingSink(int n, bool once) : n_(n), once_(once) {}

  bool put(std::int64_t count) {
    ++puts_;
    EXPECT_GE(count, 1);
    if (puts_ != n_ && (once_ || puts_ < n_)) return true;
    if (puts_ == n_) {
      failed_block_ = block_;
      put_in_block_ = puts_ - first_put_;
    }
    return false;
  }
  void begin(int block) {
    block_ = block;
    first_put_ = puts_ + 1;
  }
  [[nodiscard]] bool reached() const { return puts_ >= n_; }
  [[nodiscard]] int failed_block() const { return failed_block_; }
  [[nodiscard]] int last_block() const { return block_; }
  [[nodiscard]] int put_in_block() const { return put_in_block_; }

  sbr::WriteTarget target() {
    sbr::WriteTarget target{};
    target.sink.target = this;
    target.sink.put_ints = [](void *self, const std::int32_t *, std::int64_t n) { return of(self).put(n); };
    target.sink.put_chars = [](void *self, const char *, std::int64_t n) { return of(self).put(n); };
    target.sink.put_reals = [](void *self, const double *, std::int64_t n) { return of(self).put(n); };
    target.sink.begin_block = [](void *self, int block) {
      of(self).begin(block);
      return true;
    };
    target.sink.end_block = [](void *) { return true; };
    target.sink.mark_mode = [](void *, sbr::Kind) { return true; };
    target.version = sbr::kFileVersion;
    target.unit = "sbrwrite";
    target.prepare = [](void *, SbrBody &, std::uint32_t) { return true; };
    return target;
  }

 private:
  static FailingSink &of(void *self) { return *static_cast<FailingSink *>(self); }
  int n_;
  bool once_;
  int puts_ = 0;
  int block_ = -1;
  int first_put_ = 0;
  int failed_block_ = -1;
  int put_in_block_ = -1;
};

const std::map<int, std::string> kMessages = {{0, "Problem writing version number."},
                                              {1, "Problem writing header information."},
                                              {2, "Problem writing content summary.\n"},
                                              {3, "Problem writing nodal coordinates.\n"},
                                              {4, "Problem writing element topology map."},
                                              {5, "Problem writing Global Body Properties."},
                                              {6, "Problem writing eigenvalues."},
                                              {7, "Problem writing Mode Shapes."},
                                              {8, "Problem writing Nodal Masses.\n"},
                                              {9, "Problem writing Nodal Inertia info."},
                                              {10, "Problem writing Units strings."},
                                              {11, "Problem writing Generalized Stiffness info."},
                                              {12, "Problem writing Generalized Mass info."},
                                              {13, "Problem writing element face info."},
                                              {14, "Problem writing Generalized Damping info."},
                                              {15, "Problem writing Mode Shape Transformation."},
                                              {16, "Problem writing Interface Nodes."},
                                              {17, "Problem writing Modal Stress.\n"},
                                              {18, "Problem writing Invariant 1.\n"},
                                              {19, "Problem writing Invariant 2.\n"},
                                              {20, "Problem writing Invariant 3.\n"},
                                              {21, "Problem writing Invariant 4.\n"},
                                              {22, "Problem writing Invariant 5.\n"},
                                              {23, "Problem writing Invariant 7.\n"},
                                              {24, "Problem writing Invariant 8.\n"},
                                              {25, "Problem writing Invariant 9.\n"},
                                              {26, "Problem writing Preload.\n"},
                                              {27, "Problem writing Modal Loads.\n"},
                                              {28, "Problem writing Modal Strain."},
                                              {29, "Problem writing Modal Statistics.\n"},
                                              {30, "Problem writing Pre-Stress.\n"},
                                              {31, "Problem writing Pre-Strain.\n"},
                                              {33, "Problem writing Matrix Operator Data.\n"},
                                              {34, "Problem writing Modal Load Nodal.\n"},
                                              {35, "Problem writing Monitor Point Data.\n"}};

// Nobody looks whether the records of block 8, the count of block 21 and the values of block 25 arrive.
bool is_unchecked(const FailingSink &sink) {
  switch (sink.failed_block()) {
    case 8:
      return sink.put_in_block() >= 2;
    case 21:
      return sink.put_in_block() == 0;
    case 25:
      return sink.put_in_block() >= 1;
    default:
      return false;
  }
}

class WriteFailureTest : public LibraryTest {
 protected:
  ScratchDirectory scratch;
  const std::string path = scratch.file("out.sbr");

  std::vector<Message> errors() {
    std::vector<Message> found;
    for (const Message &message : log.take())
      if (message.severity == Severity::error) found.push_back(message);
    return found;
  }

  // Fails each put in turn, until a run has fewer. Gives the blocks in which a put failed, with the number of puts.
  std::map<int, int> fail_every_put(SBR (*build)(), const char *options) {
    const ScopedEnvironment environment("KTX_SBRWRITE_OPTIONS", options);
    std::map<int, int> failures;
    for (int n = 1;; ++n) {
      SBR body = build();
      log.clear();
      FailingSink sink(n, true);
      const sbr::WriteTarget target = sink.target();
      sbr::WritePlan plan;
      const bool ok = sbr::run_write_pipeline(*body, target, plan);
      SBR_Terminate();
      if (!sink.reached()) {
        EXPECT_TRUE(ok);
        return failures;
      }
      ++failures[sink.failed_block()];
      EXPECT_EQ(ok, is_unchecked(sink)) << "put " << n << " in block " << sink.failed_block();
      std::vector<Message> expected;
      if (!is_unchecked(sink)) {
        expected.push_back(error(kMessages.at(sink.failed_block())));
        EXPECT_EQ(sink.last_block(), sink.failed_block());
      }
      EXPECT_EQ(errors(), expected) << "put " << n;
    }
  }
};

TEST_F(WriteFailureTest, EveryPutThatFailsEndsTheWriteWithTheMessageOfItsBlock) {
  const std::map<int, int> without_ortho = fail_every_put(build_bracket, "no_ortho full_invar");
  const std::map<int, int> with_ortho = fail_every_put(build_bracket, "full_invar");
  const std::map<int, int> old_layout = fail_every_put(build_bracket, "81_comp");
  for (const auto &[block, message] : kMessages) {
    const bool failed = without_ortho.contains(block) || with_ortho.contains(block) || old_layout.contains(block);
    EXPECT_TRUE(failed) << "no put failed in block " << block;
  }
}

TEST_F(WriteFailureTest, AFileThatIsFullAtAnyPlaceFailsOnceAndIsGone) {
  SBR body = build_bracket();
  for (const char *options : {"no_ortho no_xdr", "no_ortho full_invar"}) {
    ASSERT_EQ(write_record(body, path, options), 1);
    const std::string whole = read_file(path);
    int cases = 0;
    for (std::size_t size = 0; size < whole.size(); size += 23, ++cases) {
      log.clear();
      int result = -1;
      {
        const FileSizeLimit limit(size);
        result = write_record(body, path, options);
      }
      EXPECT_EQ(result, 0) << size;
      EXPECT_FALSE(std::filesystem::exists(path)) << size;
      const std::vector<Message> found = errors();
      ASSERT_EQ(found.size(), 1U) << size;
      EXPECT_TRUE(found[0].text.starts_with("Problem writing ")) << found[0].text;
    }
    EXPECT_GT(cases, 150);
    ASSERT_EQ(write_record(body, path, options), 1);
    EXPECT_EQ(read_file(path) == whole, true);
  }
}

TEST_F(WriteFailureTest, AFullDeviceFailsAndStays) {
  if (!std::filesystem::exists("/dev/full")) GTEST_SKIP() << "no /dev/full";
  SBR body = build_bracket();
  log.clear();
  EXPECT_EQ(write_record(body, "/dev/full", "no_ortho"), 0);
  EXPECT_EQ(errors(), std::vector<Message>{error("Problem writing version number.")});
  EXPECT_TRUE(std::filesystem::exists("/dev/full"));
  EXPECT_EQ(write_record(body, path, "no_ortho"), 1);
}

TEST_F(WriteFailureTest, ADeviceThatTakesEverythingIsAGoodTarget) {
  EXPECT_EQ(write_record(build_bracket(), "/dev/null", "no_ortho"), 1);
  EXPECT_TRUE(std::filesystem::exists("/dev/null"));
}

TEST_F(WriteFailureTest, MemoryThatRunsOutAnywhereLeavesTheBodyUsable) {
  const char *const sets[] = {"no_ortho sparse_str single", "full_invar", "full_str", "81_comp"};
  int cases = 0;
  for (const char *options : sets) {
    for (int n = 1;; ++n, ++cases) {
      SBR body = build_bracket();
      log.clear();
      bool happened = false;
      int result = -1;
      {
        const ScopedEnvironment environment("KTX_SBRWRITE_OPTIONS", options);
        const FailingAllocation failing(n);
        result = SBR_write_SBR(body, path.c_str());
        happened = failing.happened();
      }
      EXPECT_EQ(std::filesystem::exists(path), result == 1) << options << " " << n;
      if (result == 0) {
        EXPECT_FALSE(errors().empty()) << options << " " << n;
      }
      EXPECT_EQ(SBR_NodeCount(body), 3);
      std::filesystem::remove(path);
      SBR_Terminate();
      if (!happened) break;
    }
  }
  EXPECT_GT(cases, 40);
}

}  // namespace
}  // namespace sbrtest
