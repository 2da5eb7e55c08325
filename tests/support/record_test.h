// A fixture for tests that open records made by RecordBuilder.
#ifndef SBRKIT_TESTS_SUPPORT_RECORD_TEST_H
#define SBRKIT_TESTS_SUPPORT_RECORD_TEST_H

#include "support/files.h"
#include "support/messages.h"
#include "support/record_builder.h"

namespace sbrtest {

// Version words that show every layout, encoding and precision.
inline constexpr std::uint32_t kAllWords[] = {10, 20, 30, 31, 40, 41, 50, 51, 0x3C, 0x13C, 0x23C, 0x33C, 0x73C};

class RecordTest : public LibraryTest {
 protected:
  SBR open_bytes(const std::string &bytes) {
    path = scratch.file("record" + std::to_string(++files) + ".sbr");
    write_file(path, bytes);
    return SBR_CreateFromSBR(path.c_str());
  }
  SBR open(const RecordBuilder &record) { return open_bytes(record.bytes()); }
  // Reads bytes into a body that stays alive whatever the result; `result` is that of the read.
  SBR read_bytes(const std::string &bytes) {
    path = scratch.file("record" + std::to_string(++files) + ".sbr");
    write_file(path, bytes);
    SBR body = SBR_Create(0, 0);
    result = SBR_ReadSBR(body, std::fopen(path.c_str(), "rb"), path.c_str());
    return body;
  }
  // A record that cannot be opened, and what is said about it.
  void expect_refused(const std::string &bytes, const std::vector<Message> &messages) {
    log.clear();
    EXPECT_EQ(open_bytes(bytes), nullptr);
    EXPECT_EQ(log.take(), messages);
  }
  void expect_refused(const RecordBuilder &record, const std::vector<Message> &messages) {
    expect_refused(record.bytes(), messages);
  }
  // The same, for a file that is cut behind the first `size` bytes of a block.
  void expect_refused_when_cut(const RecordBuilder &record, int block, std::size_t size,
                               const std::vector<Message> &messages) {
    expect_refused(record.bytes().substr(0, record.offset(block) + size), messages);
  }
  // A record that opens, and what is said about it.
  SBR expect_opened(const RecordBuilder &record, const std::vector<Message> &messages = {}) {
    log.clear();
    SBR body = open(record);
    EXPECT_NE(body, nullptr);
    EXPECT_EQ(log.take(), messages);
    return body;
  }

  ScratchDirectory scratch;
  std::string path;
  int result = 0;

 private:
  int files = 0;
};

// Two nodes, nothing else.
inline RecordBuilder two_nodes(std::uint32_t word = 0x3C) {
  RecordBuilder record(word);
  record.nodes({{10, {0, 0, 0}}, {20, {1, 2, 3}}});
  return record;
}

}  // namespace sbrtest

#endif
