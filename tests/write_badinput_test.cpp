// Records that were tampered with: whatever a reader lets pass is written and reported without harm.
#include <cstdio>
#include <random>

#include "support/bracket.h"
#include "support/files.h"
#include "support/messages.h"
#include "support/record_builder.h"

namespace sbrtest {
namespace {

class WriteBadInputTest : public LibraryTest {
 protected:
  ScratchDirectory scratch;
  const std::string source = scratch.file("source.sbr");
  const std::string target = scratch.file("target.sbr");

  // Reads, writes and reports a record of these bytes; true when it could be read.
  bool survive(const std::string &bytes, const char *options) {
    write_file(source, bytes);
    SBR body = SBR_CreateFromSBR(source.c_str());
    if (body == nullptr) return false;
    log.clear();
    const int result = write_record(body, target, options);
    EXPECT_EQ(std::filesystem::exists(target), result == 1);
    EXPECT_TRUE(result == 1 || !log.take_complaints().empty());
    if (std::FILE *out = std::fopen("/dev/null", "w"); out != nullptr) {
      for (int block = 0; block <= 37; ++block) SBR_Contents(body, block, out);
      std::fclose(out);
    }
    std::filesystem::remove(target);
    SBR_Terminate();
    return true;
  }
};

constexpr const char *kOptions[] = {"no_ortho no_xdr",   "full_invar",       "full_str",
                                    "sparse_str single", "81_comp no_ortho", "strip_face lbrf2cm coarsen(0.3,40,1)",
                                    "empty MKS"};

TEST_F(WriteBadInputTest, AnyWordOfTheRecordMayBeWrong) {
  std::mt19937 random(7);
  int read = 0;
  for (const std::uint32_t word : {10U, 40U, 0x3CU}) {
    const std::string good = full_record(word).bytes();
    for (std::size_t at = 548; at + 4 <= good.size(); at += 4) {
      if (random() % 4 != 0) continue;
      std::string bad = good;
      const std::int32_t values[] = {-1, 0, 1, 2, 3, 7, 100, 0x7FFFFFFF, static_cast<std::int32_t>(0x80000000U)};
      const std::int32_t value = values[random() % std::size(values)];
      for (int i = 0; i < 4; ++i) bad[at + static_cast<std::size_t>(i)] = static_cast<char>(value >> (8 * i));
      if (survive(bad, kOptions[random() % std::size(kOptions)])) ++read;
    }
  }
  EXPECT_GT(read, 200);
}

TEST_F(WriteBadInputTest, AnyBlockMayBeMissing) {
  for (int missing = 3; missing <= 35; ++missing) {
    for (const char *options : kOptions) {
      RecordBuilder record = full_record(0x3C);
      record.remove(missing);
      SCOPED_TRACE(missing);
      survive(record.bytes(), options);
    }
  }
}

TEST_F(WriteBadInputTest, ARecordMayEndInItsModes) {
  const RecordBuilder record = full_record(0x3C);
  const std::string good = record.bytes();
  for (const int block : {7, 17, 28}) {
    // The reader passes modes by a seek, so it may open a record whose last modes are cut.
    for (std::size_t cut = record.offset(block) + 20; cut < record.offset(block + 1); cut += 31)
      for (const char *options : kOptions) survive(good.substr(0, cut), options);
  }
}

}  // namespace
}  // namespace sbrtest
