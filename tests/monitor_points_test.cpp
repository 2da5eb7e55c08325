// Monitor points: setters, getters, operators.
#include <cmath>
#include <cstring>
#include <limits>
#include <numeric>

#include "support/body_state.h"
#include "support/messages.h"

namespace sbrtest {
namespace {

using MonitorPointTest = LibraryTest;

constexpr int kFarIndex = std::numeric_limits<int>::max();
constexpr double kOrigin[3] = {0, 0, 0};

std::vector<double> ramp(std::size_t n, double first = 1.0) {
  std::vector<double> out(n);
  std::iota(out.begin(), out.end(), first);
  return out;
}

// A body of that many modes.
SBR body_of_modes(int modes) {
  SBR body = SBR_Create(1, modes);
  for (int number = 1; number <= modes; ++number) SBR_AddMode(body, number);
  return body;
}

int add_point(SBR body, int component, int load_operators = 1) {
  return SBR_SetMonitorPointInfo(body, 1, 1, component, load_operators, kOrigin, "P", "point");
}

TEST_F(MonitorPointTest, FieldsComeBackAsSet) {
  SBR body = SBR_Create(1, 1);
  const double location[3] = {1.5, -2.5, 3.5};
  EXPECT_EQ(SBR_SetMonitorPointInfo(body, 4, 2, 135, 3, location, "TIPDISP", "tip displacement"), 0);
  EXPECT_EQ(SBR_SetMonitorPointInfo(body, 1, 5, 2, 0, kOrigin, "B", "second"), 1);
  EXPECT_TRUE(SBR_Exists(body, 35));
  EXPECT_EQ(SBR_GetMonitorPointCount(body), 2);
  EXPECT_EQ(SBR_GetMonitorPointType(body, 0), 4);
  EXPECT_EQ(SBR_GetMonitorPointResultType(body, 0), 2);
  EXPECT_EQ(SBR_GetMonitorPointComponent(body, 0), 135);
  EXPECT_EQ(SBR_GetMonitorPointNumLoadOperator(body, 0), 3);
  double out[3] = {};
  EXPECT_EQ(SBR_GetMonitorPointLocation(body, 0, out), 0);
  EXPECT_EQ(std::vector<double>(out, out + 3), (std::vector<double>{1.5, -2.5, 3.5}));
  char name[9] = "";
  char label[57] = "";
  EXPECT_EQ(SBR_GetMonitorPointNameLabel(body, 0, name, label), 0);
  EXPECT_STREQ(name, "TIPDISP");
  EXPECT_STREQ(label, "tip displacement");
  EXPECT_EQ(SBR_GetMonitorPointNameLabel(body, 1, nullptr, label), 0);
  EXPECT_STREQ(label, "second");
  EXPECT_EQ(SBR_GetMonitorPointNameLabel(body, 1, name, nullptr), 0);
  EXPECT_STREQ(name, "B");
}

TEST_F(MonitorPointTest, RowsAreTheCharactersOfTheComponent) {
  SBR body = body_of_modes(4);
  for (const auto &[component, expected] : {std::pair{123456, 6}, {3, 1}, {0, 1}, {12, 2}, {-12, 3}}) {
    const int point = add_point(body, component);
    int rows = 0;
    int columns = 0;
    EXPECT_EQ(SBR_GetMonitorPointOperatorSize(body, point, &rows, &columns), 0);
    EXPECT_EQ(rows, expected) << component;
    EXPECT_EQ(columns, 4);
  }
  EXPECT_EQ(SBR_GetMonitorPointOperatorSize(body, 0, nullptr, nullptr), 0);
}

TEST_F(MonitorPointTest, LongNamesAndLabelsAreCutToTheirFields) {
  SBR body = SBR_Create(1, 1);
  SBR_SetMonitorPointInfo(body, 1, 1, 1, 1, kOrigin, std::string(300, 'n').c_str(), std::string(300, 'l').c_str());
  char name[9];
  char label[57];
  EXPECT_EQ(SBR_GetMonitorPointNameLabel(body, 0, name, label), 0);
  EXPECT_EQ(name, std::string(8, 'n'));
  EXPECT_EQ(label, std::string(56, 'l'));
}

TEST_F(MonitorPointTest, NullNameLabelAndLocationCountAsEmpty) {
  SBR body = SBR_Create(1, 1);
  EXPECT_EQ(SBR_SetMonitorPointInfo(body, 1, 1, 1, 1, nullptr, nullptr, nullptr), 0);
  char name[9] = "x";
  char label[57] = "x";
  double location[3] = {1, 1, 1};
  SBR_GetMonitorPointNameLabel(body, 0, name, label);
  SBR_GetMonitorPointLocation(body, 0, location);
  EXPECT_STREQ(name, "");
  EXPECT_STREQ(label, "");
  EXPECT_EQ(location[2], 0.0);
}

TEST_F(MonitorPointTest, FiftyPointsKeepTheirPlaces) {
  SBR body = SBR_Create(1, 1);
  for (int i = 0; i < 50; ++i) ASSERT_EQ(add_point(body, i + 1), i);
  EXPECT_EQ(SBR_GetMonitorPointCount(body), 50);
  for (int i = 0; i < 50; ++i) EXPECT_EQ(SBR_GetMonitorPointComponent(body, i), i + 1);
}

// ---- operators ------------------------------------------------------------------------------------------

TEST_F(MonitorPointTest, EachOperatorTypeHasItsBitAndItsSize) {
  SBR body = body_of_modes(3);
  const int point = add_point(body, 12, 4);
  for (int type = 1; type <= 4; ++type) {
    EXPECT_EQ(SBR_MonitorPointHasOperator(body, point, type), 0);
    const std::vector<double> data = ramp(type == 4 ? 4 * 2 * 3 : 2 * 3, 100.0 * type);
    EXPECT_EQ(SBR_SetMonitorPointOperator(body, point, type, data.data()), 0);
    EXPECT_EQ(SBR_MonitorPointHasOperator(body, point, type), 1 << (type - 1));
    std::vector<double> out(data.size());
    EXPECT_EQ(SBR_GetMonitorPointOperator(body, point, type, out.data()), 0);
    EXPECT_EQ(out, data);
  }
  EXPECT_EQ(SBR_MonitorPointHasOperator(body, point, 4), 8);
  EXPECT_EQ(state::monitor_point(body, 0).flags, 15);
}

TEST_F(MonitorPointTest, SettingAnOperatorTwiceReplacesIt) {
  SBR body = body_of_modes(2);
  const int point = add_point(body, 1);
  const double first[2] = {1, 2};
  const double second[2] = {3, std::numeric_limits<double>::infinity()};
  EXPECT_EQ(SBR_SetMonitorPointOperator(body, point, 1, first), 0);
  EXPECT_EQ(SBR_SetMonitorPointOperator(body, point, 1, second), 0);
  EXPECT_EQ(SBR_MonitorPointHasOperator(body, point, 1), 1);
  double out[2] = {};
  SBR_GetMonitorPointOperator(body, point, 1, out);
  EXPECT_EQ(out[0], 3.0);
  EXPECT_TRUE(std::isinf(out[1]));
}

TEST_F(MonitorPointTest, ABadOperatorTypeIsReportedInTheOldWords) {
  SBR body = body_of_modes(1);
  const int point = add_point(body, 1);
  const double data[1] = {1};
  const Message refused =
      error("Invalid operator type. Valid choices are: 1 for disp operator, 2 for load operator.\n");
  for (const int type : {5, 0, -1, kFarIndex}) {
    EXPECT_EQ(SBR_SetMonitorPointOperator(body, point, type, data), -1);
    EXPECT_EQ(log.take(), std::vector<Message>{refused});
    EXPECT_EQ(SBR_MonitorPointHasOperator(body, point, type), 0);
    double out[1] = {};
    EXPECT_EQ(SBR_GetMonitorPointOperator(body, point, type, out), -1);
  }
}

TEST_F(MonitorPointTest, ABadPointIndexIsReported) {
  SBR body = body_of_modes(1);
  add_point(body, 1);
  const double data[1] = {1};
  EXPECT_EQ(SBR_SetMonitorPointOperator(body, -1, 1, data), -1);
  EXPECT_EQ(SBR_SetMonitorPointOperator(body, 1, 9, data), -1);
  EXPECT_EQ(SBR_SetMonitorPointOperator(nullptr, 0, 1, data), -1);
  EXPECT_EQ(log.take(), (std::vector<Message>{error("Invalid monitor point index: -1.\n"),
                                              error("Invalid monitor point index: 1.\n"),
                                              error("Invalid monitor point index: 0.\n")}));
}

TEST_F(MonitorPointTest, AnOperatorOfNoSizeIsAFailedAllocation) {
  const double data[1] = {1};
  SBR without_modes = SBR_Create(1, 1);
  add_point(without_modes, 1);
  EXPECT_EQ(SBR_SetMonitorPointOperator(without_modes, 0, 1, data), -1);
  SBR body = body_of_modes(2);
  for (const int loads : {0, -3, std::numeric_limits<int>::min()}) {
    const int point = add_point(body, 1, loads);
    EXPECT_EQ(SBR_SetMonitorPointOperator(body, point, 4, data), -1);
    EXPECT_EQ(SBR_MonitorPointHasOperator(body, point, 4), 0);
  }
  const std::vector<Message> messages = log.take();
  ASSERT_EQ(messages.size(), 4U);
  for (const Message &message : messages) EXPECT_TRUE(is_no_memory(message, "sbrmonpnt")) << message.text;
}

TEST_F(MonitorPointTest, NullDataIsRefusedAndLeavesTheOperator) {
  SBR body = body_of_modes(2);
  add_point(body, 1);
  const double data[2] = {1, 2};
  SBR_SetMonitorPointOperator(body, 0, 2, data);
  EXPECT_EQ(SBR_SetMonitorPointOperator(body, 0, 2, nullptr), -1);
  EXPECT_EQ(SBR_MonitorPointHasOperator(body, 0, 2), 2);
  EXPECT_EQ(SBR_GetMonitorPointOperator(body, 0, 2, nullptr), -1);
}

TEST_F(MonitorPointTest, AnOperatorOlderThanSomeModesGivesWhatItHolds) {
  SBR body = SBR_Create(1, 3);
  SBR_AddMode(body, 1);
  add_point(body, 1);
  const double data[1] = {5};
  SBR_SetMonitorPointOperator(body, 0, 1, data);
  SBR_AddMode(body, 2);
  double out[2] = {-1, -1};
  EXPECT_EQ(SBR_GetMonitorPointOperator(body, 0, 1, out), 0);
  EXPECT_EQ(out[0], 5.0);
  EXPECT_EQ(out[1], -1.0);
}

// ---- bad indices ----------------------------------------------------------------------------------------

TEST_F(MonitorPointTest, GettersRefuseBadIndicesSilently) {
  SBR body = body_of_modes(1);
  add_point(body, 1);
  SBR empty = body_of_modes(1);
  double three[3] = {};
  char text[64] = "";
  int rows = 0;
  for (const auto &[handle, point] : {std::pair<SBR, int>{body, -1},
                                      {body, 1},
                                      {body, kFarIndex},
                                      {empty, 0},
                                      {nullptr, 0},
                                      {body, std::numeric_limits<int>::min()}}) {
    EXPECT_EQ(SBR_GetMonitorPointType(handle, point), -1);
    EXPECT_EQ(SBR_GetMonitorPointResultType(handle, point), -1);
    EXPECT_EQ(SBR_GetMonitorPointComponent(handle, point), -1);
    EXPECT_EQ(SBR_GetMonitorPointLocation(handle, point, three), -1);
    EXPECT_EQ(SBR_GetMonitorPointNameLabel(handle, point, text, text), -1);
    EXPECT_EQ(SBR_GetMonitorPointNumLoadOperator(handle, point), 0);
    EXPECT_EQ(SBR_GetMonitorPointOperatorSize(handle, point, &rows, &rows), -1);
    EXPECT_EQ(SBR_MonitorPointHasOperator(handle, point, 1), 0);
    EXPECT_EQ(SBR_GetMonitorPointOperator(handle, point, 1, three), -1);
  }
  EXPECT_EQ(SBR_GetMonitorPointLocation(body, 0, nullptr), -1);
  EXPECT_TRUE(log.take().empty());
}

TEST_F(MonitorPointTest, CountAndInfoReportANullHandle) {
  EXPECT_EQ(SBR_GetMonitorPointCount(nullptr), -1);
  EXPECT_EQ(SBR_SetMonitorPointInfo(nullptr, 1, 1, 1, 1, kOrigin, "", ""), -1);
  EXPECT_EQ(log.take(), std::vector<Message>(2, error("The database has not been initialized.")));
  EXPECT_EQ(SBR_GetMonitorPointCount(SBR_Create(1, 1)), 0);
}

}  // namespace
}  // namespace sbrtest
