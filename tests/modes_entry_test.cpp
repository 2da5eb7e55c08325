// Mode data, pre-stress and pre-strain entered by the setters.
#include <fcntl.h>
#include <unistd.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <map>
#include <random>
#include <tuple>

#include "body/node_table.h"
#include "modes/pending.h"
#include "support/body_state.h"
#include "support/files.h"
#include "support/messages.h"

namespace sbrtest {
namespace {

using ModeEntryTest = LibraryTest;

bool flag(SBR body, int block) { return SBR_Exists(body, block); }

// The six values of a node in a mode, through the accessors.
std::vector<double> six_of(SBR body, int number, int kind, int id) {
  std::vector<double> six(6, -99.0);
  if (SBR_ModeByNode(body, number, kind, id, six.data(), 0) == 0) return {};
  if (SBR_ModeByNode(body, number, kind, id, six.data() + 3, 1) == 0) return {};
  return six;
}

std::vector<double> doubles_of(const std::string &bytes) {
  std::vector<double> out(bytes.size() / 8);
  std::memcpy(out.data(), bytes.data(), out.size() * 8);
  return out;
}

TEST_F(ModeEntryTest, TheFirstValueMakesModeNodeAndFile) {
  SBR body = SBR_Create(2, 2);
  EXPECT_EQ(SBR_SetMode(body, 7, 100, 0, 1, 2, 3, 4, 5, 6), 1);
  EXPECT_EQ(SBR_ModeIndex(body, 7), 0);
  EXPECT_EQ(SBR_NodeIndex(body, 100), 0);
  EXPECT_TRUE(flag(body, 7));
  ASSERT_EQ(log.all().size(), 1U);
  EXPECT_EQ(log.all()[0].text.rfind("Temp modeshape file: ", 0), 0U);
  EXPECT_EQ(six_of(body, 7, 0, 100), (std::vector<double>{1, 2, 3, 4, 5, 6}));
}

TEST_F(ModeEntryTest, RecordsLieInTheFileNodeAfterNodeAtEightBytesAValue) {
  const ScratchDirectory scratch;
  const ScopedEnvironment where("KTX_TMP_MOD", scratch.file("modes"));
  SBR body = SBR_Create(3, 2);
  SBR_SetMode(body, 2, 50, 0, 1, 2, 3, 4, 5, 6);
  SBR_SetMode(body, 1, 40, 0, 7, 8, 9, 10, 11, 12);
  SBR_SetModeEntry(body, 2, 30, 0, 4, 0.5);
  ASSERT_TRUE(sbr::flush_mode_writes(*body, sbr::Kind::shape));
  // Two records of three nodes, reserved as zeros.
  std::vector<double> expected(36, 0.0);
  for (int i = 0; i < 6; ++i) {
    expected[static_cast<std::size_t>(i)] = 1 + i;       // mode 2 at node index 0
    expected[static_cast<std::size_t>(24 + i)] = 7 + i;  // mode 1 at node index 1
  }
  expected[12 + 4] = 0.5;  // mode 2 at node index 2
  EXPECT_EQ(doubles_of(read_file(scratch.file("modes"))), expected);
}

TEST_F(ModeEntryTest, UnsetValuesAreZero) {
  SBR body = SBR_Create(3, 3);
  SBR_SetMode(body, 1, 1, 0, 1, 1, 1, 1, 1, 1);
  SBR_SetNodeCoordinates(body, 2, 0, 0, 0);
  SBR_SetModeEntry(body, 2, 1, 0, 5, 8.0);
  EXPECT_EQ(six_of(body, 1, 0, 2), std::vector<double>(6, 0.0));
  EXPECT_EQ(six_of(body, 2, 0, 1), (std::vector<double>{0, 0, 0, 0, 0, 8}));
}

TEST_F(ModeEntryTest, ALaterValueReplacesAnEarlierOne) {
  SBR body = SBR_Create(2, 1);
  SBR_SetMode(body, 1, 1, 0, 1, 2, 3, 4, 5, 6);
  SBR_SetMode(body, 1, 2, 0, 1, 1, 1, 1, 1, 1);
  SBR_SetMode(body, 1, 1, 0, 6, 5, 4, 3, 2, 1);
  SBR_SetModeEntry(body, 1, 1, 0, 2, 40);
  EXPECT_EQ(six_of(body, 1, 0, 1), (std::vector<double>{6, 5, 40, 3, 2, 1}));
}

TEST_F(ModeEntryTest, InfiniteAndUndefinedValuesAreStoredAsGiven) {
  SBR body = SBR_Create(1, 1);
  SBR_SetMode(body, 1, 1, 0, std::numeric_limits<double>::infinity(), std::nan(""), -0.0, 0, 0, 5e-324);
  const std::vector<double> six = six_of(body, 1, 0, 1);
  EXPECT_TRUE(std::isinf(six[0]) && std::isnan(six[1]) && std::signbit(six[2]));
  EXPECT_EQ(six[5], 5e-324);
}

TEST_F(ModeEntryTest, ModeNumberZeroOfKindZeroIsAnOrdinaryMode) {
  SBR body = SBR_Create(1, 1);
  EXPECT_EQ(SBR_SetMode(body, 0, 1, 0, 1, 2, 3, 4, 5, 6), 1);
  EXPECT_EQ(SBR_ModeIndex(body, 0), 0);
  EXPECT_EQ(six_of(body, 0, 0, 1), (std::vector<double>{1, 2, 3, 4, 5, 6}));
}

TEST_F(ModeEntryTest, StressAndStrainListsGrowAsNodesAreMentioned) {
  SBR body = SBR_Create(3, 2);
  for (const int id : {1, 2, 3}) SBR_SetNodeCoordinates(body, id, 0, 0, 0);
  EXPECT_EQ(SBR_SetMode(body, 1, 3, 1, 1, 2, 3, 4, 5, 6), 1);
  EXPECT_EQ(SBR_SetMode(body, 1, 1, 1, 7, 8, 9, 10, 11, 12), 1);
  EXPECT_EQ(SBR_SetModeEntry(body, 1, 2, 2, 0, 5.0), 1);
  EXPECT_TRUE(flag(body, 17) && flag(body, 28));
  EXPECT_FALSE(flag(body, 7));
  EXPECT_EQ(SBR_ModeNodeCount(body, 1), 2);
  EXPECT_EQ(SBR_ModeNodeIndex(body, 1, 3), 0);
  EXPECT_EQ(SBR_ModeNodeIndex(body, 1, 1), 1);
  EXPECT_EQ(SBR_ModeNodeIndex(body, 1, 2), -1);
  EXPECT_EQ(SBR_ModeNodeID(body, 1, 0), 3);
  EXPECT_EQ(SBR_ModeNodeCount(body, 2), 1);
  EXPECT_EQ(six_of(body, 1, 1, 1), (std::vector<double>{7, 8, 9, 10, 11, 12}));
  EXPECT_EQ(six_of(body, 1, 2, 2), (std::vector<double>{5, 0, 0, 0, 0, 0}));
}

// ---- refusals -------------------------------------------------------------------------------------------

TEST_F(ModeEntryTest, AModeBeyondTheCapacityIsRefused) {
  SBR body = SBR_Create(1, 1);
  SBR_SetMode(body, 1, 1, 0, 1, 1, 1, 1, 1, 1);
  EXPECT_EQ(SBR_SetMode(body, 2, 1, 0, 1, 1, 1, 1, 1, 1), 0);
  EXPECT_EQ(log.take_complaints(),
            std::vector<Message>{error("Insufficient room for mode 2 in temporary mode shape file.  \n"
                                       "Specify larger number of modes in SBR_Create.\n")});
}

TEST_F(ModeEntryTest, AFileThatCannotBeOpenedFailsEverySetter) {
  const ScratchDirectory scratch;
  const ScopedEnvironment where("KTX_TMP_MOD", scratch.file("nowhere/modes"));
  SBR body = SBR_Create(1, 1);
  EXPECT_EQ(SBR_SetMode(body, 1, 1, 0, 1, 1, 1, 1, 1, 1), 0);
  EXPECT_EQ(SBR_SetModeEntry(body, 1, 1, 0, 0, 1), 0);
  EXPECT_EQ(log.take_complaints().size(), 2U);
  // The mode was added before the file was tried, the node was not.
  EXPECT_EQ(SBR_ModeCount(body), 1);
  EXPECT_EQ(SBR_NodeCount(body), 0);
}

TEST_F(ModeEntryTest, UnknownKindsAndValuePositionsAreRefusedWithoutATrace) {
  SBR body = SBR_Create(2, 2);
  for (const int kind : {-1, 3, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()}) {
    EXPECT_EQ(SBR_SetMode(body, 1, 1, kind, 1, 1, 1, 1, 1, 1), 0);
    EXPECT_EQ(SBR_SetModeEntry(body, 1, 1, kind, 0, 1), 0);
  }
  EXPECT_EQ(log.take_complaints()[2], error("The kind of mode data 3 is illegal.\nThe kind must be 0 to 2."));
  for (const int position : {-1, 6, std::numeric_limits<int>::max()})
    EXPECT_EQ(SBR_SetModeEntry(body, 1, 1, 0, position, 1), 0);
  EXPECT_EQ(log.take_complaints()[1], error("The value position 6 is illegal.\nThe value position must be 0 to 5."));
  EXPECT_EQ(SBR_ModeCount(body), 0);
  EXPECT_EQ(SBR_NodeCount(body), 0);
}

TEST_F(ModeEntryTest, NullHandlesAreReportedAndNullValuesRefused) {
  const double six[6] = {};
  EXPECT_EQ(SBR_SetMode(nullptr, 1, 1, 0, 1, 1, 1, 1, 1, 1), 0);
  EXPECT_EQ(SBR_SetModeVec(nullptr, 1, 1, 0, six), 0);
  EXPECT_EQ(SBR_SetModeVec(nullptr, 0, 1, 1, six), 0);
  EXPECT_EQ(SBR_SetModeEntry(nullptr, 1, 1, 0, 0, 1), 0);
  EXPECT_EQ(SBR_SetPreStressVec(nullptr, 1, six), 0);
  EXPECT_EQ(SBR_SetPreStrainVec(nullptr, 1, six), 0);
  EXPECT_EQ(log.take(), std::vector<Message>(6, error("The database has not been initialized.")));
  SBR body = SBR_Create(1, 1);
  EXPECT_EQ(SBR_SetModeVec(body, 1, 1, 0, nullptr), 0);
  EXPECT_EQ(SBR_SetPreStressVec(body, 1, nullptr), 0);
  EXPECT_EQ(SBR_SetPreStrainVec(body, 1, nullptr), 0);
  EXPECT_EQ(SBR_ModeCount(body) + SBR_NodeCount(body), 0);
}

TEST_F(ModeEntryTest, TheModesOfARecordFileAreNotWritten) {
  const ScratchDirectory scratch;
  write_file(scratch.file("record"), std::string(96, 'r'));
  SBR body = SBR_Create(2, 2);
  SBR_SetNodeCoordinates(body, 1, 0, 0, 0);
  SBR_AddMode(body, 1);
  // As a body read from a file stands: the kind's channel is the record's.
  state::record(body).own(std::fopen(scratch.file("record").c_str(), "r+b"));
  state::mode_channel(body, sbr::Kind::shape).view(state::record(body));
  ASSERT_TRUE(state::mode_offsets(body, sbr::Kind::shape).allocate(2));
  EXPECT_EQ(SBR_SetMode(body, 1, 1, 0, 1, 1, 1, 1, 1, 1), 0);
  EXPECT_EQ(SBR_SetModeEntry(body, 1, 1, 0, 3, 1), 0);
  EXPECT_TRUE(log.take_complaints().empty());
  EXPECT_EQ(read_file(scratch.file("record")), std::string(96, 'r'));
  EXPECT_FALSE(flag(body, 7));
}

// ---- single precision -----------------------------------------------------------------------------------

TEST_F(ModeEntryTest, SinglePrecisionRecordsKeepTheEightByteStride) {
  const ScratchDirectory scratch;
  const ScopedEnvironment where("KTX_TMP_MOD", scratch.file("modes"));
  SBR body = SBR_Create(4, 1);
  state::record(body).double_precision = false;
  EXPECT_EQ(SBR_SetMode(body, 1, 10, 0, 1, 2, 3, 4, 5, 6), 1);
  EXPECT_EQ(SBR_SetMode(body, 1, 20, 0, 7, 8, 9, 10, 11, 12), 1);
  EXPECT_EQ(SBR_SetModeEntry(body, 1, 10, 0, 4, 0.5), 1);
  std::fflush(state::mode_stream(body, sbr::Kind::shape));
  const std::string bytes = read_file(scratch.file("modes"));
  ASSERT_EQ(bytes.size(), 4U * 6U * 4U);
  std::vector<float> floats(24);
  std::memcpy(floats.data(), bytes.data(), bytes.size());
  std::vector<float> expected(24, 0.0F);
  for (int i = 0; i < 6; ++i) {
    expected[static_cast<std::size_t>(i)] = static_cast<float>(1 + i);       // byte 0
    expected[static_cast<std::size_t>(12 + i)] = static_cast<float>(7 + i);  // byte 48
  }
  expected[8] = 0.5F;  // byte 4 * 8
  EXPECT_EQ(floats, expected);
}

// ---- order of arrival -----------------------------------------------------------------------------------

enum class Order { mode_major, node_major, random };

class ModeOrderTest : public LibraryTest,
                      public ::testing::WithParamInterface<std::tuple<Order, std::pair<int, int>>> {};

// Every value that went in comes out, whatever the order, with reads in between and values entered again.
TEST_P(ModeOrderTest, WhatWentInComesOut) {
  const auto [order, sizes] = GetParam();
  const auto [mode_count, node_count] = sizes;
  const ScratchDirectory scratch;
  const ScopedEnvironment where("KTX_TMP_STR", scratch.file("stress"));
  SBR body = SBR_Create(node_count, mode_count);
  SBR_SetKeepModesInMemory(body, 0);
  std::mt19937 random(17);
  std::vector<std::pair<int, int>> visits;
  for (int i = 0; i < mode_count * node_count; ++i)
    visits.emplace_back(order == Order::node_major ? i % mode_count : i / node_count,
                        order == Order::node_major ? i / mode_count : i % node_count);
  if (order == Order::random) {
    visits.insert(visits.end(), visits.begin(), visits.end());
    std::shuffle(visits.begin(), visits.end(), random);
  }
  for (int kind = 0; kind < 3; ++kind)
    for (int p = 0; p < node_count; ++p)
      ASSERT_GE(sbr::kind_position_or_add(*body, sbr::kKinds[kind], 1000 - p, SBR_LookupOrAddNode(body, 1000 - p)), 0);
  for (int m = 0; m < mode_count; ++m) SBR_AddMode(body, m + 1);
  std::vector<double> expected(6U * static_cast<std::size_t>(node_count) * static_cast<std::size_t>(mode_count), 0.0);
  std::uniform_real_distribution<double> value(-1, 1);
  int step = 0;
  for (const auto &[m, p] : visits) {
    double *at = expected.data() + 6 * (static_cast<std::ptrdiff_t>(m) * node_count + p);
    if (order == Order::random && step % 3 == 0) {
      const int position = step % 6;
      at[position] = value(random);
      ASSERT_EQ(SBR_SetModeEntry(body, m + 1, 1000 - p, 1, position, at[position]), 1);
    } else {
      for (int c = 0; c < 6; ++c) at[c] = value(random);
      ASSERT_EQ(SBR_SetModeVec(body, m + 1, 1000 - p, 1, at), 1);
    }
    if (++step % 997 == 0) {
      double three[3] = {};
      ASSERT_EQ(SBR_ModeByNodeWithoutCache(body, m + 1, 1, 1000 - p, three, 1), 1);
      ASSERT_EQ(std::memcmp(three, at + 3, 24), 0);
    }
  }
  std::vector<double> record(6U * static_cast<std::size_t>(node_count));
  for (int m = 0; m < mode_count; ++m) {
    ASSERT_EQ(SBR_Read_Mode_Double(body, m + 1, 1, record.data()), 1);
    ASSERT_EQ(std::memcmp(record.data(), expected.data() + 6 * static_cast<std::ptrdiff_t>(m) * node_count,
                          record.size() * 8),
              0)
        << "mode " << m;
  }
  EXPECT_EQ(doubles_of(read_file(scratch.file("stress"))), expected);
}

INSTANTIATE_TEST_SUITE_P(AllOrders, ModeOrderTest,
                         ::testing::Combine(::testing::Values(Order::mode_major, Order::node_major, Order::random),
                                            ::testing::Values(std::pair{1, 900}, std::pair{7, 400}, std::pair{300, 61},
                                                              std::pair{4200, 4})));

// ---- failures of the file -------------------------------------------------------------------------------

// A file that cannot be reached any more: its descriptor leads nowhere.
void cut_off(SBR body, int kind) { close(fileno(state::mode_stream(body, kind))); }

TEST_F(ModeEntryTest, AFailedSeekNamesModeAndNode) {
  SBR body = SBR_Create(3, 1);
  SBR_SetMode(body, 11, 21, 0, 1, 1, 1, 1, 1, 1);
  SBR_SetMode(body, 11, 22, 0, 1, 1, 1, 1, 1, 1);
  SBR_SetMode(body, 11, 23, 0, 1, 1, 1, 1, 1, 1);
  cut_off(body, 0);
  log.clear();
  // The three nodes wait as one run, which goes out as a whole.
  EXPECT_FALSE(sbr::flush_mode_writes(*body, sbr::Kind::shape));
  EXPECT_EQ(log.take_complaints(),
            std::vector<Message>{error("Couldn't seek to mode 11 node 21 position in temporary file")});
}

TEST_F(ModeEntryTest, AFailedSeekOfASingleValueNamesItsDof) {
  SBR body = SBR_Create(3, 1);
  SBR_SetModeEntry(body, 11, 21, 0, 4, 1);
  cut_off(body, 0);
  log.clear();
  EXPECT_EQ(SBR_SetModeEntry(body, 11, 21, 0, 0, 1), 0);
  EXPECT_EQ(log.take_complaints(),
            std::vector<Message>{error("Couldn't seek to mode 11 node 21 dof 5 position in temporary file")});
}

TEST_F(ModeEntryTest, AFailedWriteIsSilentAndGivesZero) {
  SBR body = SBR_Create(3, 1);
  SBR_SetMode(body, 1, 1, 0, 1, 1, 1, 1, 1, 1);
  ASSERT_TRUE(sbr::flush_mode_writes(*body, sbr::Kind::shape));
  // The stream's descriptor now is one that can be positioned but not written.
  const ScratchDirectory scratch;
  write_file(scratch.file("read_only"), std::string(1000, 'x'));
  const int read_only = open(scratch.file("read_only").c_str(), O_RDONLY);
  ASSERT_GE(dup2(read_only, fileno(state::mode_stream(body, sbr::Kind::shape))), 0);
  close(read_only);
  log.clear();
  EXPECT_EQ(SBR_SetMode(body, 1, 2, 0, 2, 2, 2, 2, 2, 2), 1);  // waits
  EXPECT_FALSE(sbr::flush_mode_writes(*body, sbr::Kind::shape));
  EXPECT_TRUE(log.take_complaints().empty());
}

TEST_F(ModeEntryTest, AReaderOfAModeTellsThatItsValuesAreLost) {
  SBR body = SBR_Create(1, 1);
  SBR_SetMode(body, 5, 1, 0, 1, 1, 1, 1, 1, 1);
  cut_off(body, 0);
  log.clear();
  double three[3] = {};
  EXPECT_EQ(SBR_Mode(body, 5, 0, three, 0), 1);
  EXPECT_EQ(log.take_complaints(),
            (std::vector<Message>{error("Couldn't seek to mode 5 node 1 position in temporary file"),
                                  error("Problem reading mode shape 5")}));
}

// ---- pre-stress and pre-strain --------------------------------------------------------------------------

TEST_F(ModeEntryTest, ModeNumberZeroOfKindOneIsThePreStress) {
  SBR body = SBR_Create(0, 0);
  const double six[6] = {1, 2, 3, 4, 5, 6};
  EXPECT_EQ(SBR_SetModeVec(body, 0, 9, 1, six), 1);
  EXPECT_TRUE(flag(body, 30));
  EXPECT_FALSE(flag(body, 17));
  EXPECT_EQ(SBR_ModeCount(body), 0);
  EXPECT_EQ(six_of(body, 0, 1, 9), (std::vector<double>{1, 2, 3, 4, 5, 6}));
}

TEST_F(ModeEntryTest, ModeNumberZeroOfAnyOtherKindIsThePreStrain) {
  for (const int kind : {2, 3, -1}) {
    SBR body = SBR_Create(0, 0);
    EXPECT_EQ(SBR_SetMode(body, 0, 9, kind, 1, 2, 3, 4, 5, 6), 1);
    EXPECT_TRUE(flag(body, 31));
    EXPECT_FALSE(flag(body, 28));
    EXPECT_EQ(six_of(body, 0, 2, 9), (std::vector<double>{1, 2, 3, 4, 5, 6}));
  }
}

TEST_F(ModeEntryTest, SetModeEntryDoesNotReachThePreVectors) {
  SBR body = SBR_Create(1, 1);
  EXPECT_EQ(SBR_SetModeEntry(body, 0, 9, 1, 0, 4.0), 1);
  EXPECT_FALSE(flag(body, 30));
  EXPECT_TRUE(flag(body, 17));
  EXPECT_EQ(SBR_ModeIndex(body, 0), 0);
}

TEST_F(ModeEntryTest, PreStressSharesTheNodeListOfTheStressModes) {
  SBR body = SBR_Create(3, 1);
  const double a[6] = {1, 1, 1, 1, 1, 1};
  const double b[6] = {2, 2, 2, 2, 2, 2};
  EXPECT_EQ(SBR_SetModeVec(body, 4, 30, 1, a), 1);
  EXPECT_EQ(SBR_SetPreStressVec(body, 20, b), 1);
  EXPECT_EQ(SBR_SetPreStressVec(body, 30, a), 1);
  EXPECT_EQ(SBR_ModeNodeIndex(body, 1, 30), 0);
  EXPECT_EQ(SBR_ModeNodeIndex(body, 1, 20), 1);
  EXPECT_EQ(SBR_ModeNodeCount(body, 1), 2);
  EXPECT_EQ(SBR_ModeNodeCount(body, 2), 0);
  double normal[6] = {};
  EXPECT_EQ(SBR_Mode(body, 0, 1, normal, 0), 1);
  EXPECT_EQ(std::vector<double>(normal, normal + 6), (std::vector<double>{1, 1, 1, 2, 2, 2}));
  EXPECT_EQ(six_of(body, 4, 1, 20), std::vector<double>(6, 0.0));
}

TEST_F(ModeEntryTest, PreVectorsGrowByAThousandRecordsOfZeros) {
  SBR body = SBR_Create(0, 0);
  const double six[6] = {1, 2, 3, 4, 5, 6};
  for (int id = 1; id <= 1000; ++id) ASSERT_EQ(SBR_SetPreStrainVec(body, id, six), 1);
  EXPECT_EQ(state::pre_strain(body).count(), 1000);
  SBR_SetPreStrainVec(body, 1001, six);
  EXPECT_EQ(state::pre_strain(body).count(), 2000);
  EXPECT_EQ(state::pre_strain(body)[1999][5], 0.0);
  EXPECT_EQ(six_of(body, 0, 2, 1001), (std::vector<double>{1, 2, 3, 4, 5, 6}));
}

TEST_F(ModeEntryTest, PreStressBehindALongStressListHasRoom) {
  SBR body = SBR_Create(5000, 1);
  const double six[6] = {1, 2, 3, 4, 5, 6};
  for (int id = 1; id <= 5000; ++id) ASSERT_EQ(SBR_SetModeVec(body, 1, id, 1, six), 1);
  EXPECT_EQ(SBR_SetPreStressVec(body, 5000, six), 1);
  EXPECT_EQ(state::pre_stress(body).count(), 5000);
  EXPECT_EQ(six_of(body, 0, 1, 5000), (std::vector<double>{1, 2, 3, 4, 5, 6}));
  EXPECT_EQ(six_of(body, 0, 1, 1), std::vector<double>(6, 0.0));
}

}  // namespace
}  // namespace sbrtest
