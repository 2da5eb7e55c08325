// Invariants read from the blocks of a record.
#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>

#include "support/body_state.h"
#include "support/files.h"
#include "support/mass_body.h"
#include "support/messages.h"
#include "support/record_builder.h"

namespace sbrtest {
namespace {

bool is_wrong_count(const Message &message) {
  return message.severity == Severity::error && message.text.starts_with("nm!=ModeCount at line ") &&
         message.text.ends_with(" in file sbrinvar");
}

using ::testing::DoubleEq;
using ::testing::Pointwise;

std::vector<double> ramp(int count, double first) {
  std::vector<double> values;
  for (int i = 0; i < count; ++i) values.push_back(first + i);
  return values;
}

// Values from blocks pass a conversion of units, by a factor of 1 too: they are compared within its rounding.
class InvariantBlocks : public LibraryTest {
 protected:
  // Two nodes of mass 1 and 2, and two modes.
  static RecordBuilder record(std::uint32_t word) {
    RecordBuilder builder(word);
    builder.header("bar").nodes({{1, {0, 0, 0}}, {2, {1, 2, 3}}});
    builder.eigenvalues({{1, 0.0}, {2, 4.0}});
    builder.modes(7, {1, 2}, {{1, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}}, {2, {2, 1, 0, 0, 0, 0, 5, 3, 4, 0, 0, 0}}});
    builder.masses({{1, {1.0}}, {2, {2.0}}});
    builder.units("KILOGRAM", "METER", "SECOND", "NEWTON");
    return builder;
  }
  static void add_invariants(RecordBuilder &builder, int modes = 2) {
    builder.block(18).real(100.0);
    builder.block(19).reals(ramp(3, 200));
    builder.block(20).integer(modes).reals(ramp(3 * modes, 300));
    builder.block(21).integer(modes).reals(ramp(3 * modes, 400));
    builder.block(22).integer(modes).reals(ramp(3 * modes * modes, 500));
    builder.block(23).reals(ramp(9, 700));
    builder.block(24).integer(modes).reals(ramp(9 * modes, 800));
    builder.block(25).integer(modes).reals(ramp(9 * modes * modes, 900));
  }
  SBR open(const RecordBuilder &builder, std::size_t cut = 0) {
    std::string bytes = builder.bytes();
    bytes.resize(bytes.size() - cut);
    const std::string path = directory.file("body" + std::to_string(++files) + ".sbr");
    write_file(path, bytes);
    SBR body = SBR_CreateFromSBR(path.c_str());
    EXPECT_NE(body, nullptr);
    log.clear();
    return body;
  }
  static std::vector<double> take(double *values, int count) {
    const OwnedDoubles owned = own(values);
    return owned ? std::vector<double>(owned.get(), owned.get() + count) : std::vector<double>{};
  }
  ScratchDirectory directory;
  int files = 0;
};

class EveryEncoding : public InvariantBlocks, public ::testing::WithParamInterface<std::uint32_t> {};
INSTANTIATE_TEST_SUITE_P(Words, EveryEncoding, ::testing::Values(0x3CU, 0x13CU, 0x23CU, 0x33CU));

TEST_P(EveryEncoding, BlocksComeBeforeTheNodes) {
  RecordBuilder builder = record(GetParam());
  add_invariants(builder);
  SBR body = open(builder);
  EXPECT_DOUBLE_EQ(SBR_Invar1(body), 100.0);
  EXPECT_THAT(take(SBR_Invar2(body), 3), Pointwise(DoubleEq(), ramp(3, 200)));
  EXPECT_THAT(take(SBR_Invar3(body), 6), Pointwise(DoubleEq(), ramp(6, 300)));
  EXPECT_THAT(take(SBR_Invar4(body), 6), Pointwise(DoubleEq(), ramp(6, 400)));
  EXPECT_THAT(take(SBR_Invar5(body, 1), 6), Pointwise(DoubleEq(), ramp(6, 506)));
  EXPECT_THAT(take(SBR_Invar7(body), 9), Pointwise(DoubleEq(), ramp(9, 700)));
  EXPECT_THAT(take(SBR_Invar8(body, 1), 9), Pointwise(DoubleEq(), ramp(9, 809)));
  EXPECT_THAT(take(SBR_Invar9(body, 1, 0), 9), Pointwise(DoubleEq(), ramp(9, 918)));
  EXPECT_TRUE(log.take().empty());
}

TEST_F(InvariantBlocks, ValuesComeInTheUnitsOfTheBody) {
  RecordBuilder builder = record(0x13C);
  add_invariants(builder);
  SBR body = open(builder);
  ASSERT_EQ(SBR_SetUnits(body, "GRAM", "MILLIMETER", "SECOND", "NEWTON"), 1);
  EXPECT_NEAR(SBR_Invar1(body) / 100e3, 1.0, 1e-15);
  EXPECT_NEAR(take(SBR_Invar2(body), 3)[1] / 201e6, 1.0, 1e-15);
  EXPECT_NEAR(take(SBR_Invar3(body), 6)[2] / 302e6, 1.0, 1e-15);
  EXPECT_NEAR(take(SBR_Invar4(body), 6)[3] / 403e9, 1.0, 1e-15);
  EXPECT_NEAR(take(SBR_Invar5(body, 0), 6)[4] / 504e9, 1.0, 1e-15);
  EXPECT_NEAR(take(SBR_Invar7(body), 9)[5] / 705e9, 1.0, 1e-15);
  EXPECT_NEAR(take(SBR_Invar8(body, 0), 9)[6] / 806e9, 1.0, 1e-15);
  EXPECT_NEAR(take(SBR_Invar9(body, 0, 1), 9)[7] / 916e9, 1.0, 1e-15);
}

TEST_F(InvariantBlocks, WithoutBlocksTheNodesServe) {
  SBR body = open(record(0x3C));
  EXPECT_EQ(SBR_Invar1(body), 3.0);
  EXPECT_EQ(take(SBR_Invar2(body), 3), (std::vector<double>{2, 4, 6}));
  EXPECT_EQ(take(SBR_Invar3(body), 6), (std::vector<double>{15, 12, 18, 7, 21, 8}));
  EXPECT_EQ(take(SBR_Invar7(body), 9), (std::vector<double>{26, -4, -6, -4, 20, -12, -6, -12, 10}));
}

TEST_F(InvariantBlocks, TheGlobalBlockServesWhenThereIsNoNodalMass) {
  RecordBuilder builder = record(0x3C);
  builder.remove(8);
  builder.global(2.0, {1, 2, 3}, {10, 1, 2, 1, 20, 3, 2, 3, 30});
  SBR body = open(builder);
  EXPECT_EQ(SBR_Invar1(body), 2.0);
  EXPECT_EQ(take(SBR_Invar2(body), 3), (std::vector<double>{2, 4, 6}));
  EXPECT_EQ(take(SBR_Invar7(body), 9), (std::vector<double>{10, -1, -2, -1, 20, -3, -2, -3, 30}));
  EXPECT_EQ(take(SBR_Invar3(body), 6), std::vector<double>(6, 0.0));
}

TEST_F(InvariantBlocks, AMissingBlockNineReplacesTheFiveThatWasRead) {
  RecordBuilder builder = record(0x3C);
  add_invariants(builder);
  builder.remove(25);
  SBR body = open(builder);
  EXPECT_THAT(take(SBR_Invar5(body, 0), 6), Pointwise(DoubleEq(), ramp(6, 500)));
  SBR_FreeMemory(SBR_Invar9(body, 0, 0));
  // phi of mode 1: (1, 2, 3), (7, 8, 9); of mode 2: (2, 1, 0), (5, 3, 4).
  EXPECT_EQ(take(SBR_Invar5(body, 0), 6),
            (std::vector<double>{-0.0, -3.0 + 2 * 5.0, -0.0, 6.0 + 2 * 17.0, -0.0, -3.0 + 2 * -19.0}));
}

TEST_F(InvariantBlocks, AMissingBlockFiveReplacesTheNineThatWasRead) {
  RecordBuilder builder = record(0x3C);
  add_invariants(builder);
  builder.remove(22);
  SBR body = open(builder);
  EXPECT_THAT(take(SBR_Invar9(body, 0, 0), 9), Pointwise(DoubleEq(), ramp(9, 900)));
  SBR_FreeMemory(SBR_Invar5(body, 0));
  EXPECT_EQ(take(SBR_Invar9(body, 0, 0), 9)[0], -(4.0 + 9.0) - 2 * (64.0 + 81.0));
}

TEST_F(InvariantBlocks, AnotherModeCountIsReportedAndTheValuesAreTakenAsTheyCome) {
  RecordBuilder builder = record(0x13C);
  add_invariants(builder, 3);
  SBR body = open(builder);
  EXPECT_THAT(take(SBR_Invar3(body), 6), Pointwise(DoubleEq(), ramp(6, 300)));
  EXPECT_THAT(take(SBR_Invar4(body), 6), Pointwise(DoubleEq(), ramp(6, 400)));
  EXPECT_THAT(take(SBR_Invar5(body, 1), 6), Pointwise(DoubleEq(), ramp(6, 506)));
  EXPECT_THAT(take(SBR_Invar8(body, 1), 9), Pointwise(DoubleEq(), ramp(9, 809)));
  EXPECT_THAT(take(SBR_Invar9(body, 1, 1), 9), Pointwise(DoubleEq(), ramp(9, 927)));
  const std::vector<Message> messages = log.take();
  ASSERT_EQ(messages.size(), 5U);
  for (const Message &message : messages) EXPECT_TRUE(is_wrong_count(message)) << message.text;
}

TEST_F(InvariantBlocks, TheCountIsReportedOnceSinceTheFileIsReadOnce) {
  RecordBuilder builder = record(0x13C);
  add_invariants(builder, 3);
  SBR body = open(builder);
  const std::vector<double> first = take(SBR_Invar3(body), 6);
  const std::vector<double> second = take(SBR_Invar3(body), 6);
  EXPECT_EQ(first, second);
  EXPECT_EQ(log.take().size(), 1U);
}

TEST_F(InvariantBlocks, AShortFileLeavesZerosSilentlyInThePlacesThatWereNotRead) {
  for (const std::uint32_t word : {0x3CU, 0x13CU, 0x23CU, 0x33CU}) {
    RecordBuilder builder = record(word);
    add_invariants(builder);
    // The last run is missing, one value more, and a piece of the value before.
    SBR body = open(builder, static_cast<std::size_t>(builder.real_size()) * 10 + 3);
    EXPECT_THAT(take(SBR_Invar9(body, 0, 1), 9), Pointwise(DoubleEq(), ramp(9, 909)));
    std::vector<double> cut = ramp(9, 918);
    cut[7] = cut[8] = 0.0;
    EXPECT_THAT(take(SBR_Invar9(body, 1, 0), 9), Pointwise(DoubleEq(), cut));
    EXPECT_EQ(take(SBR_Invar9(body, 1, 1), 9), std::vector<double>(9, 0.0));
    EXPECT_TRUE(log.take().empty());
  }
}

TEST_F(InvariantBlocks, ABlockOfOneRunKeepsWhatArrivedInTheUnitsOfTheBody) {
  for (const std::uint32_t word : {0x3CU, 0x13CU, 0x23CU, 0x33CU}) {
    RecordBuilder builder = record(word);
    builder.block(20).integer(2).reals(ramp(6, 300));
    SBR body = open(builder, static_cast<std::size_t>(builder.real_size()) * 2);
    ASSERT_EQ(SBR_SetUnits(body, "KILOGRAM", "MILLIMETER", "SECOND", "NEWTON"), 1);
    EXPECT_THAT(take(SBR_Invar3(body), 6),
                Pointwise(DoubleEq(), std::vector<double>{300e3, 301e3, 302e3, 303e3, 0.0, 0.0}));
  }
}

TEST_F(InvariantBlocks, EveryTruncationOfTheInvariantsIsReadWithoutDamage) {
  RecordBuilder builder = record(0x33C);
  add_invariants(builder);
  const std::size_t first = builder.offset(18);
  const std::string bytes = builder.bytes();
  int cases = 0;
  for (std::size_t size = first; size < bytes.size(); size += 4, ++cases) {
    const std::string path = directory.file("cut.sbr");
    write_file(path, bytes.substr(0, size));
    SBR body = SBR_CreateFromSBR(path.c_str());
    if (body == nullptr) continue;
    SBR_FullComputeInvars(body);
    EXPECT_EQ(take(SBR_Invar9(body, 1, 1), 9).size(), 9U);
    SBR_DeReference(body);
  }
  EXPECT_EQ(cases, 4 * 3 + 1 + 3 + 6 + 6 + 12 + 9 + 18 + 36 - 8 + 1);
}

TEST_F(InvariantBlocks, AWriteToTheCellComesBeforeTheBlock) {
  RecordBuilder builder = record(0x3C);
  add_invariants(builder);
  SBR body = open(builder);
  const double v[3] = {9, 8, 7};
  SBR_SetInvar2(body, v);
  EXPECT_EQ(take(SBR_Invar2(body), 3), (std::vector<double>{9, 8, 7}));
}

// The blocks of the sample come from another program than this library.
TEST_F(InvariantBlocks, BlocksOfASampleAgreeWithItsNodes) {
  const std::string path = directory.file("beam.sbr");
  write_file(path, read_gzip(SBRKIT_TEST_DATA "/samples/beam_13c.sbr.gz"));
  SBR body = SBR_CreateFromSBR(path.c_str());
  ASSERT_NE(body, nullptr);
  const int modes = SBR_ModeCount(body);
  const auto gather = [&] {
    std::vector<double> values;
    const auto append = [&](const std::vector<double> &more) { values.insert(values.end(), more.begin(), more.end()); };
    for (int j = 0; j < modes; ++j) {
      append(take(SBR_Invar5(body, j), 3 * modes));
      append(take(SBR_Invar8(body, j), 9));
      for (int k = 0; k < modes; ++k) append(take(SBR_Invar9(body, j, k), 9));
    }
    return values;
  };
  for (int block = 22; block <= 25; ++block) ASSERT_EQ(SBR_Exists(body, block), 1);
  const std::vector<double> stored = gather();
  state::invariants(body) = sbr::Invariants{};
  for (int block = 22; block <= 25; ++block) state::set_block(body, block, false);
  const std::vector<double> summed = gather();
  double largest = 0.0;
  for (const double value : stored) largest = std::max(largest, std::fabs(value));
  EXPECT_GT(largest, 0.0);
  EXPECT_THAT(summed, Pointwise(::testing::DoubleNear(1e-12 * largest), stored));
}

TEST_F(InvariantBlocks, BlocksSufficeForTheFullSet) {
  RecordBuilder builder = record(0x3C);
  add_invariants(builder);
  builder.remove(8);
  SBR body = open(builder);
  SBR_FullComputeInvars(body);
  EXPECT_EQ(log.take(), std::vector<Message>{info("Computing *all* invariants")});
  EXPECT_THAT(take(SBR_Invar9(body, 0, 0), 9), Pointwise(DoubleEq(), ramp(9, 900)));
}

}  // namespace
}  // namespace sbrtest
