// The bytes of a written record, for every layout that can be written.
#include <cmath>

#include "support/bracket.h"
#include "support/files.h"
#include "support/messages.h"

namespace sbrtest {
namespace {

class WriteLayoutTest : public LibraryTest {
 protected:
  ScratchDirectory scratch;
  const std::string path = scratch.file("out.sbr");
};

struct LayoutCase {
  const char *options;
  std::uint32_t word;
};

class WrittenLayouts : public WriteLayoutTest, public ::testing::WithParamInterface<LayoutCase> {};

TEST_P(WrittenLayouts, HoldEveryBlockByteForByte) {
  SBR body = build_bracket();
  ASSERT_EQ(write_record(body, path, (std::string("no_ortho ") + GetParam().options).c_str()), 1);
  EXPECT_EQ(first_difference(expected_bracket(body, GetParam().word), read_file(path)), "");
  EXPECT_TRUE(log.take_complaints().empty());
}

TEST_P(WrittenLayouts, AreTheSameWhenReadAndWrittenAgain) {
  SBR body = build_bracket();
  const std::string options = std::string("no_ortho ") + GetParam().options;
  ASSERT_EQ(write_record(body, path, options.c_str()), 1);
  const std::string first = read_file(path);
  SBR copy = SBR_CreateFromSBR(path.c_str());
  ASSERT_NE(copy, nullptr);
  const std::string second_path = scratch.file("second.sbr");
  ASSERT_EQ(write_record(copy, second_path, options.c_str()), 1);
  RecordBuilder expected = expected_bracket(body, GetParam().word);
  if (GetParam().word == 10 || GetParam().word == 20) {
    // The short layouts are read up to block 17 only.
    for (const int block : {26, 27, 28, 30, 31, 33, 34, 35}) expected.remove(block);
    expected.statistics({{{35, 10, 35}, {2.5, 1, std::sqrt(1098.0)}}, {{10, 35, 35}, {3, 2, std::sqrt(1098.0)}}});
  } else {
    EXPECT_TRUE(first == read_file(second_path));
  }
  EXPECT_EQ(first_difference(expected, read_file(second_path)), "");
}

INSTANTIATE_TEST_SUITE_P(Words, WrittenLayouts,
                         ::testing::Values(LayoutCase{"", 0x13C}, LayoutCase{"no_xdr", 0x3C},
                                           LayoutCase{"single", 0x33C}, LayoutCase{"single,no_xdr", 0x23C},
                                           LayoutCase{"full_str", 41}, LayoutCase{"full_str no_xdr", 40},
                                           LayoutCase{"full_str single", 51}, LayoutCase{"full_str single no_xdr", 50},
                                           LayoutCase{"82_comp", 20}, LayoutCase{"81_comp", 10},
                                           LayoutCase{"82_comp 81_comp no_xdr", 10}),
                         [](const auto &layout) {
                           const std::string name = "Word" + std::to_string(layout.param.word);
                           return layout.index == 10 ? name + "From82And81" : name;
                         });

}  // namespace
}  // namespace sbrtest
