// Reading modal preload, modal loads, nodal loads, matrix operators and monitor points; fields that cannot be read.
#include <cstring>

#include "support/body_state.h"
#include "support/body_view.h"
#include "support/record_test.h"

namespace sbrtest {
namespace {

using LoadReaderTest = RecordTest;

// Two nodes and two mode shapes, numbers 1 and 2.
RecordBuilder two_modes(std::uint32_t word = 0x3C) {
  RecordBuilder record = two_nodes(word);
  const std::vector<double> shape = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
  record.modes(7, {10, 20}, {{1, shape}, {2, shape}});
  return record;
}

// The result of reading a record, and that the only message is the one of short memory.
void expect_no_memory(const std::vector<Message> &messages) {
  ASSERT_EQ(messages.size(), 1U);
  EXPECT_TRUE(is_no_memory(messages[0], "sbrread"));
}

// ---- preload -------------------------------------------------------------------------------------------------------

TEST_F(LoadReaderTest, ThePreloadHasAValuePerMode) {
  for (const std::uint32_t word : {41, 50, 0x33C}) {
    RecordBuilder record = two_modes(word);
    record.preload(1, {0.5, -2});
    SBR body = expect_opened(record);
    ASSERT_EQ(modal_preload_of(body).size(), 2U);
    EXPECT_EQ(modal_preload_of(body)[1], -2.0);
    EXPECT_EQ(SBR_ModalPreloadProcessed(body), 1);
  }
}

TEST_F(LoadReaderTest, BrokenPreloadsAreRefused) {
  RecordBuilder record = two_modes();
  record.preload(0, {1, 2, 3});
  expect_refused(record, {error("Number of modal preloads does not match the number of modes")});
  record.preload(0, {1, 2});
  const Message problem = error("Problem when reading Modal Preloads Block");
  expect_refused_when_cut(record, 26, 2, {error("Problem in modal preload block"), problem});
  // The size needs the first word only.
  expect_refused_when_cut(record, 26, 4, {problem});
  expect_refused_when_cut(record, 26, 6, {problem});
  expect_refused_when_cut(record, 26, 8 + 15, {problem});
  RecordBuilder none = two_nodes();
  none.preload(0, {});
  expect_refused(none, {error("Out of memory while reading Modal Preload Block")});
}

// ---- modal loads ---------------------------------------------------------------------------------------------------

TEST_F(LoadReaderTest, ModalLoadsHaveALabelAFlagAndAValuePerMode) {
  for (const std::uint32_t word : {40, 51, 0x13C}) {
    RecordBuilder record = two_modes(word);
    record.loads(2, {{"FIRST", 1, {1, 2}}, {std::string(256, 'x'), 0, {3, 4}}});
    SBR body = expect_opened(record);
    ASSERT_EQ(SBR_GetModalLoadCaseCount(body), 2);
    EXPECT_EQ(modal_load_label_of(body, 0), "FIRST");
    EXPECT_EQ(SBR_ModalLoadProcessed(body, 0), 1);
    EXPECT_EQ(modal_load_label_of(body, 1), std::string(256, 'x'));
    EXPECT_EQ(SBR_ModalLoadProcessed(body, 1), 0);
    EXPECT_EQ(modal_load_of(body, 1)[1], 4.0);
  }
}

TEST_F(LoadReaderTest, LoadsOfABodyWithoutModesHaveLabelsOnly) {
  RecordBuilder record = two_nodes();
  record.loads(0, {{"EMPTY", 1, {}}});
  EXPECT_EQ(record.block(27).size(), 8U + 256 + 4);
  SBR body = expect_opened(record);
  ASSERT_EQ(SBR_GetModalLoadCaseCount(body), 1);
  EXPECT_EQ(modal_load_label_of(body, 0), "EMPTY");
  EXPECT_EQ(modal_load_of(body, 0).size(), 0U);
}

TEST_F(LoadReaderTest, BrokenModalLoadsAreRefused) {
  RecordBuilder record = two_modes();
  record.loads(3, {{"A", 0, {1, 2, 3}}});
  expect_refused(record, {error("Number of modal load components does not match the number of modes")});
  record.loads(2, {});
  expect_refused(record, {error("Out of memory while reading Modal Loads Block")});
  record.loads(2, {{"A", 0, {1, 2}}, {"B", 0, {1, 2}}});
  const Message problem = error("Problem when reading Modal Loads Block");
  const Message sizing = error("Problem in modal load block");
  expect_refused_when_cut(record, 27, 3, {sizing, problem});
  expect_refused_when_cut(record, 27, 7, {sizing, problem});
  expect_refused_when_cut(record, 27, 8 + 100, {problem});
  expect_refused_when_cut(record, 27, 8 + 276 + 275, {problem});
}

// ---- nodal loads ---------------------------------------------------------------------------------------------------

TEST_F(LoadReaderTest, NodalLoadsComeByCase) {
  for (const std::uint32_t word : {40, 51, 0x13C}) {
    RecordBuilder record = two_nodes(word);
    record.nodal_loads({{{1, 3, -5}, {0, 6, 2}}, {}, {{0, 1, 7}}});
    SBR body = expect_opened(record);
    ASSERT_EQ(SBR_GetModalLoadNodalCaseCount(body), 3);
    EXPECT_EQ(SBR_GetModalLoadNodalCount(body, 0), 2);
    EXPECT_EQ(SBR_GetModalLoadNodalCount(body, 1), 0);
    EXPECT_EQ(SBR_GetModalLoadNodalCount(body, 2), 1);
    EXPECT_EQ(nodal_loads_of(body, 0), (std::vector<NodalLoad>{{1, 3, -5.0}, {0, 6, 2.0}}));
    EXPECT_EQ(nodal_loads_of(body, 2), (std::vector<NodalLoad>{{0, 1, 7.0}}));
  }
}

TEST_F(LoadReaderTest, NoNodalLoadCasesAreOutOfMemory) {
  RecordBuilder record = two_nodes();
  record.nodal_loads({});
  EXPECT_EQ(open(record), nullptr);
  expect_no_memory(log.take());
}

TEST_F(LoadReaderTest, CutNodalLoadsAreRefused) {
  RecordBuilder record = two_nodes();
  record.nodal_loads({{{1, 3, -5}}, {{0, 1, 7}}});
  const Message problem = error("Problem when reading Modal Load Nodal Block");
  const Message sizing = error("Problem in modal load nodal block");
  expect_refused_when_cut(record, 34, 2, {sizing, problem});
  expect_refused_when_cut(record, 34, 4 + 4 + 15, {sizing, problem});
  expect_refused_when_cut(record, 34, 4 + 20 + 19, {problem});
}

TEST_F(LoadReaderTest, ANegativeEntryCountIsAnEmptyCase) {
  RecordBuilder record = two_nodes();
  record.block(34).integers({1, -4});
  SBR body = read_bytes(record.bytes());
  EXPECT_EQ(result, 1);
  EXPECT_EQ(SBR_GetModalLoadNodalCount(body, 0), 0);
}

// ---- matrix operators ----------------------------------------------------------------------------------------------

TEST_F(LoadReaderTest, MatrixOperatorsHaveRowsAndSubOperators) {
  for (const std::uint32_t word : {40, 51, 0x13C}) {
    SBR body = expect_opened(full_record(word));
    ASSERT_EQ(SBR_GetMatrixOperatorCount(body), 1);
    char name[81] = {};
    EXPECT_EQ(SBR_GetMatrixOperatorName(body, 0, name), 0);
    EXPECT_STREQ(name, "OPER");
    ASSERT_EQ(SBR_GetMatrixOperatorNumRows(body, 0), 2);
    char labels[2][81] = {};
    char *places[] = {labels[0], labels[1]};
    EXPECT_EQ(SBR_GetMatrixOperatorLabels(body, 0, places), 0);
    EXPECT_STREQ(labels[1], "row two");
    ASSERT_EQ(SBR_GetMatrixOperatorNumSubOperator(body, 0), 2);
    char tag[9] = {};
    EXPECT_EQ(SBR_GetMatrixOperatorSubTag(body, 0, 0, tag), 0);
    EXPECT_EQ(std::string(tag, 4), "SUBA");
    EXPECT_EQ(SBR_GetMatrixOperatorSubNumCols(body, 0, 0), 3);
    EXPECT_EQ(sub_operator_of(body, 0, 0).at(5), 6.0);
    EXPECT_EQ(sub_operator_of(body, 0, 1).at(1), 8.0);
  }
}

TEST_F(LoadReaderTest, AnOperatorWithoutRowsOrSubOperatorsIsAccepted) {
  RecordBuilder record = two_nodes();
  record.operators({{"A", {}, {{3, "S", {}}}}, {"B", {"row"}, {}}});
  SBR body = expect_opened(record);
  ASSERT_EQ(SBR_GetMatrixOperatorCount(body), 2);
  EXPECT_EQ(SBR_GetMatrixOperatorSubNumCols(body, 0, 0), 3);
  EXPECT_EQ(SBR_GetMatrixOperatorNumSubOperator(body, 1), 0);
}

TEST_F(LoadReaderTest, NoMatrixOperatorsEndTheReadWithMinusOneAndTheBodyIsKept) {
  RecordBuilder record = two_nodes();
  record.operators({});
  record.nodal_loads({{{0, 1, 1}}});
  SBR body = read_bytes(record.bytes());
  EXPECT_EQ(result, -1);
  expect_no_memory(log.take());
  SBR opened = open(record);
  ASSERT_NE(opened, nullptr);
  expect_no_memory(log.take());
  // What comes behind was not read.
  EXPECT_EQ(SBR_GetModalLoadNodalCaseCount(body), 0);
  EXPECT_EQ(SBR_GetModalLoadNodalCaseCount(opened), 0);
}

TEST_F(LoadReaderTest, CutMatrixOperatorsAreRefused) {
  RecordBuilder record = two_nodes();
  record.operators({{"OPER", {"one"}, {{2, "SUB", {1, 2}}}}});
  const Message problem = error("Problem when reading Matrix Operator Block");
  const Message sizing = error("Problem in matrix operator block");
  expect_refused_when_cut(record, 33, 3, {sizing, problem});
  expect_refused_when_cut(record, 33, 4 + 10, {sizing, problem});
  expect_refused_when_cut(record, 33, 4 + 12 + 40, {sizing, problem});
  // Sizing passes over tags and data without a look.
  expect_refused_when_cut(record, 33, 4 + 12 + 80 + 4 + 3, {sizing, problem});
  expect_refused_when_cut(record, 33, 4 + 12 + 80 + 4 + 6, {problem});
  expect_refused_when_cut(record, 33, 4 + 12 + 80 + 4 + 12 + 15, {problem});
}

TEST_F(LoadReaderTest, ANegativeProductOfCountsInAMatrixOperatorEndsTheReadWithMinusOne) {
  for (const std::uint32_t word : {0x3CU, 0x13CU}) {
    RecordBuilder record = two_nodes(word);
    record.block(33).integers({1, 2}).text("OPER", 8).text("a", 80).text("b", 80).integers({1, -3}).text("S", 8);
    record.nodal_loads({{{0, 1, 1}}});
    log.clear();
    SBR body = read_bytes(record.bytes());
    EXPECT_EQ(result, -1);
    expect_no_memory(log.take());
    EXPECT_EQ(SBR_GetModalLoadNodalCaseCount(body), 0);
    SBR opened = open(record);
    ASSERT_NE(opened, nullptr);
    EXPECT_EQ(SBR_GetMatrixOperatorNumRows(opened, 0), 2);
    expect_no_memory(log.take());
  }
}

TEST_F(LoadReaderTest, LabelsAndTagsThatFillTheirFieldsAreGivenWhole) {
  const std::string row(80, 'r');
  const std::string load(256, 'l');
  for (const std::uint32_t word : {0x3CU, 0x13CU}) {
    RecordBuilder record = full_record(word);
    record.header("T", "D", "N", "sixteen letters!", "a", "b", "c");
    record.operators({{"EIGHTCHR", {row, "short"}, {{1, "TAGEIGHT", {1, 2}}}}});
    record.loads(2, {{load, 0, {1, 2}}});
    SBR body = expect_opened(record);
    char type[17] = {};
    SBR_Header(body, nullptr, nullptr, nullptr, type, nullptr, nullptr, nullptr);
    EXPECT_STREQ(type, "sixteen letters!");
    char label[257] = {};
    ASSERT_EQ(SBR_GetModalLoadCaseLabel(body, 0, label), 1);
    EXPECT_EQ(label, load);
    char name[81] = {};
    ASSERT_EQ(SBR_GetMatrixOperatorName(body, 0, name), 0);
    EXPECT_STREQ(name, "EIGHTCHR");
    char rows[2][81] = {};
    char *labels[2] = {rows[0], rows[1]};
    ASSERT_EQ(SBR_GetMatrixOperatorLabels(body, 0, labels), 0);
    EXPECT_EQ(rows[0], row);
    EXPECT_STREQ(rows[1], "short");
    char tag[9] = {};
    ASSERT_EQ(SBR_GetMatrixOperatorSubTag(body, 0, 0, tag), 0);
    EXPECT_STREQ(tag, "TAGEIGHT");
  }
}

// ---- monitor points ------------------------------------------------------------------------------------------------

TEST_F(LoadReaderTest, MonitorPointsHaveTheOperatorsOfTheirFlags) {
  for (const std::uint32_t word : {40, 51, 0x13C}) {
    RecordBuilder record = two_modes(word);
    record.monitor_points({{4, 5, 123, "POINT 1", "of the tip", 1, 2, 15, {{1, 2}, {3, 4}, {5, 6}, {7, 8, 9, 10}}},
                           {1, 2, 3, "POINT 2", "nothing", 3, 0, 0, {}}});
    SBR body = expect_opened(record);
    ASSERT_EQ(SBR_GetMonitorPointCount(body), 2);
    EXPECT_EQ(SBR_GetMonitorPointType(body, 0), 4);
    EXPECT_EQ(SBR_GetMonitorPointResultType(body, 0), 5);
    EXPECT_EQ(SBR_GetMonitorPointComponent(body, 0), 123);
    EXPECT_EQ(monitor_name_of(body, 0), "POINT 1");
    EXPECT_EQ(monitor_label_of(body, 0), "of the tip");
    EXPECT_EQ(SBR_GetMonitorPointNumLoadOperator(body, 0), 2);
    double location[3] = {9.0, 9.0, 9.0};
    EXPECT_EQ(SBR_GetMonitorPointLocation(body, 0, location), 0);
    EXPECT_EQ(location[0], 0.0);
    EXPECT_EQ(monitor_operator_of(body, 0, 2).at(1), 4.0);
    EXPECT_EQ(monitor_operator_of(body, 0, 4).at(3), 10.0);
    // The record says one row, the component has three digits: the file counts.
    EXPECT_EQ(state::monitor_point(body, 0).operator_rows, 1);
    EXPECT_EQ(state::monitor_point(body, 0).operators[3].count(), 4);
    for (int type = 1; type <= 4; ++type) EXPECT_EQ(SBR_MonitorPointHasOperator(body, 1, type), 0) << type;
  }
}

TEST_F(LoadReaderTest, OldMonitorPointsMoveToTheCurrentBlock) {
  RecordBuilder record = two_modes(0x13C);
  record.monitor_points({{1, 1, 1, "OLD", "", 1, 1, 1, {{3, 4}}}}, 32);
  SBR body = expect_opened(record);
  ASSERT_EQ(SBR_GetMonitorPointCount(body), 1);
  EXPECT_EQ(monitor_name_of(body, 0), "OLD");
  EXPECT_EQ(SBR_Exists(body, 32), 0);
  EXPECT_NE(SBR_Exists(body, 35), 0);
}

TEST_F(LoadReaderTest, TheCurrentMonitorPointsAreTakenBeforeTheOldOnes) {
  RecordBuilder record = two_modes();
  record.monitor_points({{1, 1, 1, "OLD", "", 1, 1, 1, {{3, 4}}}}, 32);
  record.monitor_points({{1, 1, 1, "NEW", "", 1, 1, 1, {{3, 4}}}}, 35);
  SBR body = expect_opened(record);
  EXPECT_EQ(monitor_name_of(body, 0), "NEW");
  EXPECT_EQ(SBR_Exists(body, 32), 0);
}

TEST_F(LoadReaderTest, NoMonitorPointsOrEmptyOperatorsEndTheReadWithMinusOne) {
  RecordBuilder none = two_modes();
  none.monitor_points({});
  SBR body = read_bytes(none.bytes());
  EXPECT_EQ(result, -1);
  expect_no_memory(log.take());
  EXPECT_EQ(SBR_GetMonitorPointCount(body), 0);
  RecordBuilder empty = two_modes();
  empty.monitor_points({{1, 1, 1, "A", "", 0, 1, 1, {}}});
  read_bytes(empty.bytes());
  EXPECT_EQ(result, -1);
  expect_no_memory(log.take());
  EXPECT_NE(open(empty), nullptr);
  log.clear();
  // An old block stays where it is when the read ends before its end.
  RecordBuilder old = two_modes();
  old.monitor_points({}, 32);
  body = read_bytes(old.bytes());
  EXPECT_NE(SBR_Exists(body, 32), 0);
  EXPECT_EQ(SBR_Exists(body, 35), 0);
}

TEST_F(LoadReaderTest, CutMonitorPointsAreRefused) {
  RecordBuilder record = two_modes();
  record.monitor_points({{1, 1, 1, "A", "", 1, 1, 1, {{3, 4}}}});
  const Message problem = error("Problem when reading Monitor Point Block");
  expect_refused_when_cut(record, 35, 2, {problem});
  expect_refused_when_cut(record, 35, 4 + 60, {problem});
  expect_refused_when_cut(record, 35, 4 + 88 + 15, {problem});
}

TEST_F(LoadReaderTest, TheSizeOfOldMonitorPointsNeedsTheCountsOfTheirOperatorsOnly) {
  RecordBuilder record = two_modes();
  record.monitor_points({{1, 1, 1, "A", "", 1, 1, 1, {{3, 4}}}}, 32);
  const Message problem = error("Problem when reading Monitor Point Block");
  const Message sizing = error("Problem in monitor point block");
  expect_refused_when_cut(record, 32, 4 + 76 + 7, {sizing, problem});
  expect_refused_when_cut(record, 32, 4 + 76 + 8, {problem});
  expect_refused_when_cut(record, 32, 4 + 76 + 11, {problem});
}

// ---- damaged media -------------------------------------------------------------------------------------------------

// A file in memory of which some bytes cannot be read.
struct DamagedFile {
  std::string bytes;
  std::size_t bad_from = 0;
  std::size_t bad_to = 0;
  std::size_t at = 0;

  std::FILE *open() {
    const cookie_io_functions_t functions{
        [](void *cookie, char *buffer, std::size_t size) -> ssize_t {
          auto &file = *static_cast<DamagedFile *>(cookie);
          const std::size_t count = file.at >= file.bytes.size() ? 0 : std::min(size, file.bytes.size() - file.at);
          if (file.at < file.bad_to && file.at + count > file.bad_from) return -1;
          std::memcpy(buffer, file.bytes.data() + file.at, count);
          file.at += count;
          return static_cast<ssize_t>(count);
        },
        nullptr,
        [](void *cookie, off64_t *offset, int origin) -> int {
          auto &file = *static_cast<DamagedFile *>(cookie);
          const auto base =
              origin == SEEK_SET ? 0 : static_cast<off64_t>(origin == SEEK_CUR ? file.at : file.bytes.size());
          if (base + *offset < 0) return -1;
          *offset += base;
          file.at = static_cast<std::size_t>(*offset);
          return 0;
        },
        nullptr};
    std::FILE *stream = fopencookie(this, "rb", functions);
    std::setvbuf(stream, nullptr, _IONBF, 0);
    return stream;
  }
};

TEST_F(LoadReaderTest, AHeaderThatCannotBeReadIsRefused) {
  DamagedFile file{two_nodes().bytes(), 10, 500};
  SBR body = SBR_Create(0, 0);
  EXPECT_EQ(SBR_ReadSBR(body, file.open(), "damaged"), 0);
  EXPECT_EQ(log.take(), std::vector<Message>{error("Problem reading Header information")});
}

TEST_F(LoadReaderTest, ARecordThatIsNoFileIsReadAllTheSame) {
  DamagedFile file{full_record(0x13C).bytes()};
  SBR body = SBR_Create(0, 0);
  EXPECT_EQ(SBR_ReadSBR(body, file.open(), "whole"), 1);
  EXPECT_EQ(SBR_ModeCount(body), 2);
  EXPECT_TRUE(log.all().empty());
}

TEST_F(LoadReaderTest, WhateverByteCannotBeReadTheReaderAnswers) {
  const std::string bytes = full_record(0x3C).bytes();
  int refused = 0;
  for (std::size_t at = 0; at < bytes.size(); at += 3) {
    DamagedFile file{bytes, at, at + 1};
    SBR body = SBR_Create(0, 0);
    const int answer = SBR_ReadSBR(body, file.open(), "damaged");
    if (answer == 0) {
      ++refused;
      EXPECT_FALSE(log.all().empty()) << at;
    }
    SBR_UnLink(body);
    log.clear();
  }
  EXPECT_GT(refused, 100);
}

}  // namespace
}  // namespace sbrtest
