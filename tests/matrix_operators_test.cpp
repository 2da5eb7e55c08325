// Matrix operators: setters, getters, sub-operators.
#include <array>
#include <cstring>
#include <limits>
#include <numeric>

#include "support/messages.h"

namespace sbrtest {
namespace {

using MatrixOperatorTest = LibraryTest;

constexpr int kFarIndex = std::numeric_limits<int>::max();
const Message kBadIndex0 = error("Invalid monitor point index: 0.\n");

std::vector<std::string> labels_of(SBR body, int op) {
  const auto rows = static_cast<std::size_t>(SBR_GetMatrixOperatorNumRows(body, op));
  std::vector<std::array<char, 80>> room(rows);
  std::vector<char *> out;
  for (auto &field : room) out.push_back(field.data());
  EXPECT_EQ(SBR_GetMatrixOperatorLabels(body, op, out.data()), 0);
  std::vector<std::string> labels;
  for (const auto &field : room) labels.emplace_back(field.data(), strnlen(field.data(), field.size()));
  return labels;
}

TEST_F(MatrixOperatorTest, NameLabelsAndRowsComeBack) {
  SBR body = SBR_Create(1, 1);
  const char *labels[] = {"lift", "drag", "moment"};
  EXPECT_EQ(SBR_SetMatrixOperatorInfo(body, "AERO", labels, 3), 0);
  EXPECT_EQ(SBR_SetMatrixOperatorInfo(body, "OTHER", labels, 1), 1);
  EXPECT_TRUE(SBR_Exists(body, 33) != 0);
  EXPECT_EQ(SBR_GetMatrixOperatorCount(body), 2);
  EXPECT_EQ(SBR_GetMatrixOperatorNumRows(body, 0), 3);
  EXPECT_EQ(SBR_GetMatrixOperatorNumSubOperator(body, 0), 0);
  char name[80] = "";
  EXPECT_EQ(SBR_GetMatrixOperatorName(body, 1, name), 0);
  EXPECT_STREQ(name, "OTHER");
  EXPECT_EQ(labels_of(body, 0), (std::vector<std::string>{"lift", "drag", "moment"}));
}

TEST_F(MatrixOperatorTest, NullLabelsAreEmptyLabels) {
  SBR body = SBR_Create(1, 1);
  const char *with_a_gap[] = {"a", nullptr, "c"};
  EXPECT_EQ(SBR_SetMatrixOperatorInfo(body, "A", nullptr, 4), 0);
  EXPECT_EQ(SBR_SetMatrixOperatorInfo(body, nullptr, with_a_gap, 3), 1);
  EXPECT_EQ(labels_of(body, 0), std::vector<std::string>(4, ""));
  EXPECT_EQ(labels_of(body, 1), (std::vector<std::string>{"a", "", "c"}));
  char name[80] = "x";
  SBR_GetMatrixOperatorName(body, 1, name);
  EXPECT_STREQ(name, "");
  char *nowhere[3] = {nullptr, nullptr, nullptr};
  EXPECT_EQ(SBR_GetMatrixOperatorLabels(body, 1, nowhere), 0);
}

TEST_F(MatrixOperatorTest, LongNamesLabelsAndTagsAreCutToTheirFields) {
  SBR body = SBR_Create(1, 1);
  const std::string longer(200, 'l');
  const char *labels[] = {longer.c_str()};
  EXPECT_EQ(SBR_SetMatrixOperatorInfo(body, longer.c_str(), labels, 1), 0);
  const double data[1] = {1};
  EXPECT_EQ(SBR_SetMatrixOperatorData(body, 0, longer.c_str(), 1, data), 0);
  char name[80];
  char tag[9] = "........";
  SBR_GetMatrixOperatorName(body, 0, name);
  SBR_GetMatrixOperatorSubTag(body, 0, 0, tag);
  EXPECT_EQ(name, std::string(79, 'l'));
  EXPECT_EQ(labels_of(body, 0)[0], std::string(80, 'l'));
  EXPECT_EQ(tag, std::string(8, 'l'));
}

TEST_F(MatrixOperatorTest, ATagFillsAllOfItsEightCharactersAndNoMore) {
  SBR body = SBR_Create(1, 1);
  SBR_SetMatrixOperatorInfo(body, "A", nullptr, 1);
  const double data[1] = {1};
  SBR_SetMatrixOperatorData(body, 0, "ABCDEFGH", 1, data);
  SBR_SetMatrixOperatorData(body, 0, "T", 1, data);
  for (const auto &[sub, expected] :
       {std::pair<int, std::string>{0, "ABCDEFGH"}, {1, std::string("T\0\0\0\0\0\0\0", 8)}}) {
    char tag[9];
    std::memset(tag, 'x', sizeof tag);
    EXPECT_EQ(SBR_GetMatrixOperatorSubTag(body, 0, sub, tag), 0);
    EXPECT_EQ(std::string(tag, 9), expected + "x");
  }
}

TEST_F(MatrixOperatorTest, SubOperatorsKeepTagColumnsAndData) {
  SBR body = SBR_Create(1, 1);
  SBR_SetMatrixOperatorInfo(body, "A", nullptr, 2);
  for (int sub = 0; sub < 12; ++sub) {
    std::vector<double> data(static_cast<std::size_t>(2 * (sub + 1)));
    std::iota(data.begin(), data.end(), 1000.0 * sub);
    ASSERT_EQ(SBR_SetMatrixOperatorData(body, 0, ("S" + std::to_string(sub)).c_str(), sub + 1, data.data()), sub);
  }
  EXPECT_EQ(SBR_GetMatrixOperatorNumSubOperator(body, 0), 12);
  for (int sub = 0; sub < 12; ++sub) {
    EXPECT_EQ(SBR_GetMatrixOperatorSubNumCols(body, 0, sub), sub + 1);
    char tag[8] = "";
    EXPECT_EQ(SBR_GetMatrixOperatorSubTag(body, 0, sub, tag), 0);
    EXPECT_EQ(tag, "S" + std::to_string(sub));
    std::vector<double> out(static_cast<std::size_t>(2 * (sub + 1)));
    EXPECT_EQ(SBR_GetMatrixOperatorSubData(body, 0, sub, out.data()), 0);
    EXPECT_EQ(out.front(), 1000.0 * sub);
    EXPECT_EQ(out.back(), 1000.0 * sub + 2 * sub + 1);
  }
}

TEST_F(MatrixOperatorTest, ABadOperatorIndexIsReportedInTheWordsOfMonitorPoints) {
  SBR body = SBR_Create(1, 1);
  const double data[1] = {1};
  EXPECT_EQ(SBR_SetMatrixOperatorData(body, 0, "T", 1, data), -1);
  EXPECT_EQ(SBR_SetMatrixOperatorData(body, -1, "T", 1, data), -1);
  EXPECT_EQ(SBR_SetMatrixOperatorData(nullptr, 0, "T", 1, data), -1);
  EXPECT_EQ(log.take(), (std::vector<Message>{kBadIndex0, error("Invalid monitor point index: -1.\n"), kBadIndex0}));
}

TEST_F(MatrixOperatorTest, SubOperatorsOfNoSizeAreFailedAllocations) {
  SBR body = SBR_Create(1, 1);
  SBR_SetMatrixOperatorInfo(body, "A", nullptr, 2);
  SBR_SetMatrixOperatorInfo(body, "B", nullptr, 0);
  const double data[1] = {1};
  EXPECT_EQ(SBR_SetMatrixOperatorData(body, 0, "T", 0, data), -1);
  EXPECT_EQ(SBR_SetMatrixOperatorData(body, 0, "T", -1, data), -1);
  EXPECT_EQ(SBR_SetMatrixOperatorData(body, 1, "T", 3, data), -1);
  const std::vector<Message> messages = log.take();
  ASSERT_EQ(messages.size(), 3U);
  for (const Message &message : messages) EXPECT_TRUE(is_no_memory(message, "sbrmtxop")) << message.text;
  EXPECT_EQ(SBR_SetMatrixOperatorData(body, 0, "T", 1, nullptr), -1);
  EXPECT_EQ(SBR_GetMatrixOperatorNumSubOperator(body, 0), 0);
}

TEST_F(MatrixOperatorTest, ANegativeRowCountIsAFailedAllocationAndNoRowsAreFine) {
  SBR body = SBR_Create(1, 1);
  EXPECT_EQ(SBR_SetMatrixOperatorInfo(body, "A", nullptr, -1), -1);
  ASSERT_EQ(log.all().size(), 1U);
  EXPECT_TRUE(is_no_memory(log.all()[0], "sbrmtxop"));
  EXPECT_EQ(SBR_GetMatrixOperatorCount(body), 0);
  EXPECT_FALSE(SBR_Exists(body, 33) != 0);
  EXPECT_EQ(SBR_SetMatrixOperatorInfo(body, "A", nullptr, 0), 0);
  EXPECT_EQ(SBR_GetMatrixOperatorNumRows(body, 0), 0);
}

TEST_F(MatrixOperatorTest, GettersRefuseBadIndicesSilently) {
  SBR body = SBR_Create(1, 1);
  SBR_SetMatrixOperatorInfo(body, "A", nullptr, 1);
  const double data[1] = {1};
  SBR_SetMatrixOperatorData(body, 0, "T", 1, data);
  char text[80] = "";
  char *labels[1] = {text};
  double out[1] = {};
  for (const auto &[handle, op] :
       {std::pair<SBR, int>{body, -1}, {body, 1}, {body, kFarIndex}, {nullptr, 0}, {SBR_Create(1, 1), 0}}) {
    EXPECT_EQ(SBR_GetMatrixOperatorName(handle, op, text), -1);
    EXPECT_EQ(SBR_GetMatrixOperatorLabels(handle, op, labels), -1);
    EXPECT_EQ(SBR_GetMatrixOperatorNumRows(handle, op), -1);
    EXPECT_EQ(SBR_GetMatrixOperatorNumSubOperator(handle, op), 0);
    EXPECT_EQ(SBR_GetMatrixOperatorSubNumCols(handle, op, 0), -1);
    EXPECT_EQ(SBR_GetMatrixOperatorSubTag(handle, op, 0, text), -1);
    EXPECT_EQ(SBR_GetMatrixOperatorSubData(handle, op, 0, out), -1);
  }
  for (const int sub : {-1, 1, kFarIndex}) {
    EXPECT_EQ(SBR_GetMatrixOperatorSubNumCols(body, 0, sub), -1);
    EXPECT_EQ(SBR_GetMatrixOperatorSubTag(body, 0, sub, text), -1);
    EXPECT_EQ(SBR_GetMatrixOperatorSubData(body, 0, sub, out), -1);
  }
  EXPECT_EQ(SBR_GetMatrixOperatorName(body, 0, nullptr), -1);
  EXPECT_EQ(SBR_GetMatrixOperatorLabels(body, 0, nullptr), -1);
  EXPECT_EQ(SBR_GetMatrixOperatorSubTag(body, 0, 0, nullptr), -1);
  EXPECT_EQ(SBR_GetMatrixOperatorSubData(body, 0, 0, nullptr), -1);
  EXPECT_TRUE(log.take().empty());
}

TEST_F(MatrixOperatorTest, CountAndInfoReportANullHandle) {
  EXPECT_EQ(SBR_GetMatrixOperatorCount(nullptr), -1);
  EXPECT_EQ(SBR_SetMatrixOperatorInfo(nullptr, "A", nullptr, 1), -1);
  EXPECT_EQ(log.take(), std::vector<Message>(2, error("The database has not been initialized.")));
  EXPECT_EQ(SBR_GetMatrixOperatorCount(SBR_Create(1, 1)), 0);
}

}  // namespace
}  // namespace sbrtest
