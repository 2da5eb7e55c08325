// Modal statistics: the largest translation, rotation, von Mises stress and strain of each mode.
#include <gmock/gmock.h>

#include <cmath>
#include <cstdio>
#include <functional>
#include <random>
#include <vector>

#include "body/node_table.h"
#include "support/body_state.h"
#include "support/messages.h"

namespace sbrtest {
namespace {

using Figure = std::function<int(SBR, int, int *, double *)>;

// A figure of a mode, asked for once.
struct Answer {
  int result = -1;
  int id = -1;
  double value = -1.0;
};
Answer ask(const Figure &figure, SBR body, int number) {
  Answer answer;
  answer.result = figure(body, number, &answer.id, &answer.value);
  return answer;
}

class StatisticsTest : public LibraryTest {
 protected:
  // A body with nodes of the given IDs in all three kinds, and the modes 1, 2, ...
  SBR make(const std::vector<int> &ids, int modes = 2) {
    SBR body = SBR_Create(static_cast<int>(ids.size()), modes);
    for (const int id : ids) {
      const int index = SBR_AddNode(body, id);
      for (const int kind : {1, 2}) EXPECT_GE(sbr::kind_position_or_add(*body, sbr::kKinds[kind], id, index), 0);
    }
    for (int i = 0; i < modes; ++i) EXPECT_EQ(SBR_AddMode(body, i + 1), i);
    return body;
  }
  // Puts one part of a mode where mode access finds it: three values per node.
  static void put(SBR body, int number, int kind, int part, const std::vector<double> &values) {
    ASSERT_EQ(values.size(), 3 * static_cast<std::size_t>(SBR_ModeNodeCount(body, kind)));
    ASSERT_EQ(SBR_ModetoMemory(body, number, kind, values.data(), part), 1);
  }
};

// ---- figures -------------------------------------------------------------------------------------------------------

TEST_F(StatisticsTest, TheLargestTranslationIsThatOfTheLongestVector) {
  SBR body = make({7, 5, 9});
  put(body, 1, 0, 0, {1.0, 0.0, 0.0, 0.0, 3.0, 4.0, 2.0, 2.0, 1.0});
  const Answer answer = ask(SBR_GetMaxModeDisplacement, body, 1);
  EXPECT_EQ(answer.result, 1);
  EXPECT_EQ(answer.id, 5);
  EXPECT_EQ(answer.value, 5.0);
}

TEST_F(StatisticsTest, TheLargestRotationComesFromTheSecondPart) {
  SBR body = make({7, 5});
  put(body, 1, 0, 0, {9.0, 0.0, 0.0, 0.0, 0.0, 0.0});
  put(body, 1, 0, 1, {0.0, 0.0, 0.5, 0.0, -1.5, -2.0});
  const Answer answer = ask(SBR_GetMaxModeRotation, body, 1);
  EXPECT_EQ(answer.result, 1);
  EXPECT_EQ(answer.id, 5);
  EXPECT_EQ(answer.value, 2.5);
}

TEST_F(StatisticsTest, OfEqualMaximaTheFirstInKindPositionCounts) {
  SBR body = make({9, 5, 2});
  put(body, 1, 0, 0, {1.0, 0.0, 0.0, 0.0, 0.0, 2.0, 0.0, -2.0, 0.0});
  EXPECT_EQ(ask(SBR_GetMaxModeDisplacement, body, 1).id, 5);
}

TEST_F(StatisticsTest, APurelyNormalStressIsItsOwnVonMisesStress) {
  SBR body = make({4, 6});
  put(body, 1, 1, 0, {0.0, 0.0, 0.0, -7.0, 0.0, 0.0});
  put(body, 1, 1, 1, {0.0, 0.0, 0.0, 0.0, 0.0, 0.0});
  const Answer answer = ask(SBR_GetMaxVonMisesStress, body, 1);
  EXPECT_EQ(answer.result, 1);
  EXPECT_EQ(answer.id, 6);
  EXPECT_EQ(answer.value, 7.0);
}

TEST_F(StatisticsTest, APureShearStressCountsRootThreeTimes) {
  SBR body = make({4});
  put(body, 1, 1, 0, {0.0, 0.0, 0.0});
  put(body, 1, 1, 1, {0.0, 2.0, 0.0});
  EXPECT_EQ(ask(SBR_GetMaxVonMisesStress, body, 1).value, std::sqrt(12.0));
}

TEST_F(StatisticsTest, AHydrostaticStressHasNoVonMisesStress) {
  SBR body = make({4});
  put(body, 1, 1, 0, {5.0, 5.0, 5.0});
  put(body, 1, 1, 1, {0.0, 0.0, 0.0});
  const Answer answer = ask(SBR_GetMaxVonMisesStress, body, 1);
  EXPECT_EQ(answer.result, 1);
  EXPECT_EQ(answer.id, 0);
  EXPECT_EQ(answer.value, 0.0);
}

TEST_F(StatisticsTest, APurelyNormalStrainCountsTwoThirds) {
  SBR body = make({4});
  put(body, 1, 2, 0, {0.0, 3.0, 0.0});
  put(body, 1, 2, 1, {0.0, 0.0, 0.0});
  const Answer answer = ask(SBR_GetMaxVonMisesStrain, body, 1);
  EXPECT_EQ(answer.result, 1);
  EXPECT_EQ(answer.id, 4);
  EXPECT_DOUBLE_EQ(answer.value, 2.0);
}

TEST_F(StatisticsTest, APureShearStrainCountsItsRootThirdPart) {
  SBR body = make({4});
  put(body, 1, 2, 0, {0.0, 0.0, 0.0});
  put(body, 1, 2, 1, {0.0, 0.0, 6.0});
  EXPECT_DOUBLE_EQ(ask(SBR_GetMaxVonMisesStrain, body, 1).value, 6.0 / std::sqrt(3.0));
}

TEST_F(StatisticsTest, StrainAddsTheShearShareToTheNormalShareInThatOrder) {
  std::mt19937_64 random(11);
  std::uniform_real_distribution<double> number(-1.0, 1.0);
  SBR body = make({4}, 200);
  for (int mode = 1; mode <= 200; ++mode) {
    const double a = number(random), b = number(random), c = number(random);
    const double d = number(random), e = number(random), f = number(random);
    put(body, mode, 2, 0, {a, b, c});
    put(body, mode, 2, 1, {d, e, f});
    double expected = (d * d + e * e + f * f) * 0.3333333333333333;
    expected += (a * a + b * b + c * c - a * b - b * c - a * c) * 0.4444444444444444;
    EXPECT_EQ(ask(SBR_GetMaxVonMisesStrain, body, mode).value, std::sqrt(expected));
  }
}

TEST_F(StatisticsTest, VonMisesStressAgreesWithTheStressDeviator) {
  // sqrt(3/2 s:s) with s the stress less its mean.
  SBR body = make({4});
  put(body, 1, 1, 0, {10.0, -4.0, 3.0});
  put(body, 1, 1, 1, {2.0, -5.0, 1.0});
  const double mean = 3.0;
  double sum = 0.0;
  for (const double s : {10.0 - mean, -4.0 - mean, 3.0 - mean}) sum += s * s;
  for (const double t : {2.0, -5.0, 1.0}) sum += 2.0 * t * t;
  EXPECT_DOUBLE_EQ(ask(SBR_GetMaxVonMisesStress, body, 1).value, std::sqrt(1.5 * sum));
}

TEST_F(StatisticsTest, StressNodesAreThoseOfTheStressList) {
  SBR body = SBR_Create(3, 1);
  for (const int id : {10, 20, 30}) ASSERT_GE(SBR_AddNode(body, id), 0);
  ASSERT_EQ(SBR_AddMode(body, 1), 0);
  ASSERT_EQ(sbr::kind_position_or_add(*body, sbr::Kind::stress, 30, 2), 0);
  ASSERT_EQ(sbr::kind_position_or_add(*body, sbr::Kind::stress, 10, 0), 1);
  put(body, 1, 1, 0, {8.0, 0.0, 0.0, 2.0, 0.0, 0.0});
  put(body, 1, 1, 1, {0.0, 0.0, 0.0, 0.0, 0.0, 0.0});
  EXPECT_EQ(ask(SBR_GetMaxVonMisesStress, body, 1).id, 30);
}

// ---- the table -----------------------------------------------------------------------------------------------------

TEST_F(StatisticsTest, TheTableComesIntoBeingWithTheFirstRequest) {
  SBR body = make({4});
  EXPECT_EQ(SBR_ModalStatisticsExist(body), 0);
  put(body, 1, 0, 0, {1.0, 0.0, 0.0});
  EXPECT_EQ(SBR_GetMaxModeDisplacement(body, 1, nullptr, nullptr), 1);
  EXPECT_EQ(SBR_ModalStatisticsExist(body), 1);
}

TEST_F(StatisticsTest, AFigureIsComputedAndKeptEvenWhenNobodyTakesIt) {
  SBR body = make({4});
  put(body, 1, 0, 0, {3.0, 4.0, 0.0});
  EXPECT_EQ(SBR_GetMaxModeDisplacement(body, 1, nullptr, nullptr), 1);
  EXPECT_EQ(state::statistics(body)[0].node_ids[0], 4);
  EXPECT_EQ(state::statistics(body)[0].values[0], 5.0);
}

TEST_F(StatisticsTest, AKnownFigureStaysWhenTheModeChanges) {
  SBR body = make({4});
  put(body, 1, 0, 0, {3.0, 4.0, 0.0});
  EXPECT_EQ(ask(SBR_GetMaxModeDisplacement, body, 1).value, 5.0);
  SBR_CleanModesInMemory(body);
  put(body, 1, 0, 0, {8.0, 0.0, 0.0});
  EXPECT_EQ(ask(SBR_GetMaxModeDisplacement, body, 1).value, 5.0);
}

TEST_F(StatisticsTest, AModeOfZerosIsComputedAtEachRequest) {
  SBR body = make({4});
  put(body, 1, 0, 0, {0.0, 0.0, 0.0});
  const Answer answer = ask(SBR_GetMaxModeDisplacement, body, 1);
  EXPECT_EQ(answer.result, 1);
  EXPECT_EQ(answer.id, 0);
  EXPECT_EQ(answer.value, 0.0);
  SBR_CleanModesInMemory(body);
  put(body, 1, 0, 0, {8.0, 0.0, 0.0});
  EXPECT_EQ(ask(SBR_GetMaxModeDisplacement, body, 1).value, 8.0);
}

TEST_F(StatisticsTest, AnUnknownModeFailsBehindTheMakingOfTheTable) {
  SBR body = make({4});
  const Answer answer = ask(SBR_GetMaxModeDisplacement, body, 99);
  EXPECT_EQ(answer.result, 0);
  EXPECT_EQ(answer.id, -1);
  EXPECT_EQ(SBR_ModalStatisticsExist(body), 1);
  EXPECT_TRUE(log.all().empty());
}

TEST_F(StatisticsTest, ABodyWithoutModesHasNoStatistics) {
  SBR body = make({4}, 0);
  EXPECT_EQ(ask(SBR_GetMaxModeDisplacement, body, 1).result, 0);
  EXPECT_EQ(SBR_ModalStatisticsExist(body), 0);
}

TEST_F(StatisticsTest, ModesAddedBehindTheTableGetTheirRecords) {
  SBR body = SBR_Create(1, 3);
  ASSERT_EQ(SBR_AddNode(body, 4), 0);
  ASSERT_EQ(SBR_AddMode(body, 1), 0);
  put(body, 1, 0, 0, {1.0, 0.0, 0.0});
  EXPECT_EQ(ask(SBR_GetMaxModeDisplacement, body, 1).value, 1.0);
  ASSERT_EQ(SBR_AddMode(body, 2), 1);
  SBR_CleanModesInMemory(body);
  put(body, 2, 0, 0, {6.0, 0.0, 0.0});
  EXPECT_EQ(ask(SBR_GetMaxModeDisplacement, body, 2).value, 6.0);
  EXPECT_EQ(ask(SBR_GetMaxModeDisplacement, body, 1).value, 1.0);
}

TEST_F(StatisticsTest, ABodyWithoutStressReportsAnAllocationOfNothing) {
  SBR body = SBR_Create(1, 1);
  ASSERT_EQ(SBR_AddNode(body, 4), 0);
  ASSERT_EQ(SBR_AddMode(body, 1), 0);
  for (const Figure &figure : {Figure(SBR_GetMaxVonMisesStress), Figure(SBR_GetMaxVonMisesStrain)}) {
    const Answer answer = ask(figure, body, 1);
    EXPECT_EQ(answer.result, 0);
    EXPECT_EQ(answer.id, 0);
    EXPECT_EQ(answer.value, 0.0);
    const std::vector<Message> messages = log.take();
    ASSERT_EQ(messages.size(), 1U);
    EXPECT_TRUE(is_no_memory(messages[0], "sbrdata"));
  }
}

TEST_F(StatisticsTest, AFailedFetchFailsTheRequest) {
  SBR body = make({4});
  state::current_modes(body)[sbr::Kind::shape] = -1;
  SBR_SetKeepModesInMemory(body, 0);
  state::mode_number(body, 0) = 0;  // number 0 of kind 1 stands for a pre-stress vector, which is not there
  const Answer answer = ask(SBR_GetMaxVonMisesStress, body, 0);
  EXPECT_EQ(answer.result, 0);
  EXPECT_EQ(answer.id, 0);
  EXPECT_EQ(answer.value, 0.0);
}

TEST_F(StatisticsTest, ANullBodyIsReportedExceptByTheQuestionForTheTable) {
  EXPECT_EQ(SBR_ModalStatisticsExist(nullptr), 0);
  EXPECT_TRUE(log.take().empty());
  for (const Figure &figure : {Figure(SBR_GetMaxModeDisplacement), Figure(SBR_GetMaxModeRotation),
                               Figure(SBR_GetMaxVonMisesStress), Figure(SBR_GetMaxVonMisesStrain)}) {
    EXPECT_EQ(ask(figure, nullptr, 1).result, 0);
    EXPECT_EQ(log.take(), std::vector<Message>{error("The database has not been initialized.")});
  }
}

// ---- the block of a file -------------------------------------------------------------------------------------------

// How a record file spells numbers.
struct Spelling {
  bool xdr;
  bool single;
};

class StatisticsBlockTest : public StatisticsTest, public ::testing::WithParamInterface<Spelling> {
 protected:
  static void put_bytes(std::string &bytes, const void *data, std::size_t size) {
    std::string piece(static_cast<const char *>(data), size);
    if (GetParam().xdr) piece = std::string(piece.rbegin(), piece.rend());
    bytes += piece;
  }
  static void put_int(std::string &bytes, std::int32_t value) { put_bytes(bytes, &value, sizeof value); }
  static void put_real(std::string &bytes, double value) {
    const auto single = static_cast<float>(value);
    GetParam().single ? put_bytes(bytes, &single, sizeof single) : put_bytes(bytes, &value, sizeof value);
  }
  // A block of `count` modes in which slot s of mode m has node 100 m + s + 1 and value m + s / 16.
  static std::string block(int count) {
    std::string bytes;
    put_int(bytes, count);
    for (int m = 0; m < count; ++m) {
      for (int s = 0; s < 13; ++s) put_int(bytes, 100 * m + s + 1);
      for (int s = 0; s < 13; ++s) put_real(bytes, m + s / 16.0);
    }
    return bytes;
  }
  // Gives a body a record file with a statistics block behind 8 bytes of something else.
  static void attach(SBR body, const std::string &bytes) {
    std::FILE *stream = std::tmpfile();
    ASSERT_NE(stream, nullptr);
    std::fwrite("whatever", 1, 8, stream);
    std::fwrite(bytes.data(), 1, bytes.size(), stream);
    state::record(body).own(stream);
    state::record(body).double_precision = !GetParam().single;
    if (GetParam().xdr) {
      ASSERT_TRUE(state::record(body).bind_xdr(XDR_DECODE));
    }
    state::set_block(body, sbr::kModalStatistics);
    state::block_offset(body, sbr::kModalStatistics) = 8;
  }
};

TEST_P(StatisticsBlockTest, TheFirstRequestReadsTheBlock) {
  SBR body = make({4});
  attach(body, block(2));
  const Answer answer = ask(SBR_GetMaxModeRotation, body, 2);
  EXPECT_EQ(answer.result, 1);
  EXPECT_EQ(answer.id, 102);
  EXPECT_EQ(answer.value, 1.0 + 1.0 / 16.0);
  EXPECT_EQ(ask(SBR_GetMaxVonMisesStrain, body, 1).id, 4);
  EXPECT_EQ(state::statistics(body)[1].node_ids[12], 113);
  EXPECT_EQ(state::statistics(body)[1].values[12], 1.75);
}

TEST_P(StatisticsBlockTest, TranslationsAndStressesComeInTheUnitsOfTheBody) {
  SBR body = make({4});
  attach(body, block(2));
  state::all_changes(body).length = 1000.0;
  state::all_changes(body).force = 2.0;
  EXPECT_EQ(ask(SBR_GetMaxModeDisplacement, body, 2).value, 1000.0);
  EXPECT_EQ(ask(SBR_GetMaxModeRotation, body, 2).value, 1.0625);
  EXPECT_DOUBLE_EQ(ask(SBR_GetMaxVonMisesStress, body, 2).value, 1.125 * 2.0 / 1000.0 / 1000.0);
  EXPECT_EQ(ask(SBR_GetMaxVonMisesStrain, body, 2).value, 1.1875);
}

TEST_P(StatisticsBlockTest, AnotherModeCountIsReportedOnceAndThenTheModesServe) {
  SBR body = make({4});
  attach(body, block(3));
  put(body, 1, 0, 0, {3.0, 4.0, 0.0});
  EXPECT_EQ(ask(SBR_GetMaxModeDisplacement, body, 1).result, 0);
  const std::vector<Message> messages = log.take();
  ASSERT_EQ(messages.size(), 1U);
  EXPECT_EQ(messages[0].severity, Severity::error);
  EXPECT_THAT(messages[0].text,
              ::testing::MatchesRegex("Inconsistent number of modes detected at line [0-9]+ in file sbrdata"));
  EXPECT_EQ(SBR_ModalStatisticsExist(body), 1);
  const Answer again = ask(SBR_GetMaxModeDisplacement, body, 1);
  EXPECT_EQ(again.result, 1);
  EXPECT_EQ(again.id, 4);
  EXPECT_EQ(again.value, 5.0);
  EXPECT_TRUE(log.take().empty());
}

TEST_P(StatisticsBlockTest, ABlockThatEndsAnywhereFailsQuietly) {
  const std::string whole = block(2);
  for (std::size_t length = 0; length < whole.size(); ++length) {
    SBR body = make({4});
    attach(body, whole.substr(0, length));
    EXPECT_EQ(ask(SBR_GetMaxModeRotation, body, 1).result, 0) << length << " bytes";
    EXPECT_TRUE(log.take().empty());
    SBR_UnLink(body);
  }
}

TEST_P(StatisticsBlockTest, AnAbsurdCountTakesNoMemory) {
  for (const int count : {-1, 0, 2147483647}) {
    SBR body = make({4});
    std::string bytes;
    put_int(bytes, count);
    attach(body, bytes);
    EXPECT_EQ(ask(SBR_GetMaxModeRotation, body, 1).result, 0);
    EXPECT_EQ(state::statistics(body).size(), 2U);
    SBR_UnLink(body);
  }
}

INSTANTIATE_TEST_SUITE_P(Spellings, StatisticsBlockTest,
                         ::testing::Values(Spelling{false, false}, Spelling{false, true}, Spelling{true, false},
                                           Spelling{true, true}),
                         [](const auto &spelling) {
                           return std::string(spelling.param.xdr ? "Xdr" : "Native") +
                                  (spelling.param.single ? "Single" : "Double");
                         });

}  // namespace
}  // namespace sbrtest
