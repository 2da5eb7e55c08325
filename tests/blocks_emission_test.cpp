// What the blocks of a written record hold beyond the plain case, and what is reported on the way.
#include <algorithm>
#include <cmath>
#include <limits>

#include "support/body_state.h"
#include "support/bracket.h"
#include "support/files.h"
#include "support/messages.h"

namespace sbrtest {
namespace {

class WriteBlocksTest : public LibraryTest {
 protected:
  ScratchDirectory scratch;
  const std::string path = scratch.file("out.sbr");

  int write(SBR body, const char *options) { return write_record(body, path, options); }
  // Writes, and opens what was written.
  SBR rewritten(SBR body, const char *options) {
    log.clear();
    if (write(body, options) != 1) return nullptr;
    return SBR_CreateFromSBR(path.c_str());
  }
  bool reported(const Message &message) const {
    return std::find(log.all().begin(), log.all().end(), message) != log.all().end();
  }
  // The errors of a write that fails.
  std::vector<Message> failure(SBR body, const char *options) {
    log.clear();
    EXPECT_EQ(write(body, options), 0);
    EXPECT_FALSE(std::filesystem::exists(path));
    return log.take_complaints();
  }
};

TEST_F(WriteBlocksTest, TheInputFileTypeKeepsItsSixteenBytes) {
  RecordBuilder record(0x3C);
  record.header("T", "D", "N", "sixteen letters!", "a", "b", "c");
  record.nodes({{1, {1, 0, 0}}}).units("KILOGRAM", "METER", "SECOND", "NEWTON");
  const std::string source = scratch.file("source.sbr");
  record.write(source);
  ASSERT_EQ(write(SBR_CreateFromSBR(source.c_str()), "no_xdr"), 1);
  EXPECT_EQ(read_file(path).substr(4 + 288, 16), "sixteen letters!");
}

TEST_F(WriteBlocksTest, LabelsAndTagsThatFillTheirFieldsAreWrittenWhole) {
  RecordBuilder record = full_record(0x3C);
  record.header("T", "D", "N", "sixteen letters!", "a", "b", "c");
  record.operators({{"EIGHTCHR", {std::string(80, 'r'), "x"}, {{1, "TAGEIGHT", {1, 2}}}}});
  record.loads(2, {{std::string(256, 'l'), 0, {1, 2}}});
  const std::string source = scratch.file("source.sbr");
  record.write(source);
  SBR body = rewritten(SBR_CreateFromSBR(source.c_str()), "no_ortho no_xdr");
  ASSERT_NE(body, nullptr);
  const std::string bytes = read_file(path);
  const auto label = static_cast<std::size_t>(state::block_offset(body, 27)) + 8;
  EXPECT_EQ(bytes.substr(label, 256), std::string(256, 'l'));
  const auto operators = static_cast<std::size_t>(state::block_offset(body, 33));
  EXPECT_EQ(bytes.substr(operators, record.block(33).size()), record.block(33).bytes());
}

// A host may say such fields as well: what it sets is what is written.
TEST_F(WriteBlocksTest, FullLabelsAndTagsOfAHostAreWrittenWhole) {
  SBR body = build_bracket();
  const std::string row(80, 'r');
  const char *labels[] = {row.c_str()};
  const double data[] = {1};
  ASSERT_EQ(SBR_SetMatrixOperatorInfo(body, "N", labels, 1), 1);
  ASSERT_EQ(SBR_SetMatrixOperatorData(body, 1, "TAGEIGHT", 1, data), 0);
  SBR copy = rewritten(body, "no_ortho no_xdr");
  ASSERT_NE(copy, nullptr);
  char label[81] = {};
  char *out[] = {label};
  ASSERT_EQ(SBR_GetMatrixOperatorLabels(copy, 1, out), 0);
  EXPECT_EQ(label, row);
  char tag[9] = {};
  ASSERT_EQ(SBR_GetMatrixOperatorSubTag(copy, 1, 0, tag), 0);
  EXPECT_STREQ(tag, "TAGEIGHT");
}

// ---- nodes and faces ------------------------------------------------------------------------------------------------

TEST_F(WriteBlocksTest, OneNodeAtTheOriginIsNormal) {
  SBR body = build_bracket();
  log.clear();
  ASSERT_EQ(write(body, "no_ortho"), 1);
  EXPECT_TRUE(log.take_complaints().empty());
}

TEST_F(WriteBlocksTest, ManyNodesAtTheOriginAreListed) {
  SBR body = SBR_Create(250, 0);
  for (int id = 1; id <= 250; ++id) SBR_SetNodeCoordinates(body, id, 0, 0, 0);
  log.clear();
  ASSERT_EQ(write(body, nullptr), 1);
  const std::vector<Message> warnings = log.take_complaints();
  ASSERT_EQ(warnings.size(), 251U);
  EXPECT_EQ(warnings[0], warning("Found 250 node(s) with coordinates (0,0,0).  They are:"));
  EXPECT_EQ(warnings[250], warning("   250"));
}

TEST_F(WriteBlocksTest, MasslessNodesAreCounted) {
  SBR body = build_bracket();
  SBR_SetNodalMass(body, 10, 0);
  SBR_SetNodalMass(body, 20, 0);
  log.clear();
  ASSERT_EQ(write(body, "no_ortho"), 1);
  EXPECT_EQ(log.take_complaints(), std::vector<Message>{warning("Found 2 massless node(s)")});
}

TEST_F(WriteBlocksTest, TheOldTopologySortsFacesByTheirNodeCounts) {
  SBR body = SBR_Create(14, 0);
  std::vector<int> ids;
  for (int id = 1; id <= 13; ++id) {
    SBR_SetNodeCoordinates(body, id, id, 0, 0);
    ids.push_back(id);
  }
  SBR_SetFaceList(body, 13, ids.data());
  SBR_SetFaceList(body, 4, ids.data());
  SBR_SetFaceList(body, 3, ids.data());
  SBR_SetFaceList(body, 4, ids.data() + 1);
  ASSERT_EQ(write(body, "81_comp"), 1);
  RecordBuilder expected(10);
  FieldBytes faces = expected.fields();
  faces.integers({4, 12});
  for (int group = 0; group < 12; ++group)
    faces.integers({group, group == 1 ? 1 : group == 2 ? 2 : group == 11 ? 1 : 0, group + 2});
  faces.integers({0, 0, 1, 2, 3}).integers({0, 0, 1, 2, 3, 4}).integers({0, 0, 2, 3, 4, 5});
  faces.integers({0, 0}).integers(ids);
  const std::string bytes = read_file(path);
  EXPECT_EQ(bytes.substr(648 + 8 + 13 * 28, faces.size()), faces.bytes());
}

TEST_F(WriteBlocksTest, AFaceOfFourteenNodesDoesNotFitTheOldTopology) {
  SBR body = SBR_Create(14, 0);
  std::vector<int> ids;
  for (int id = 1; id <= 14; ++id) {
    SBR_SetNodeCoordinates(body, id, id, 0, 0);
    ids.push_back(id);
  }
  SBR_SetFaceList(body, 14, ids.data());
  EXPECT_EQ(failure(body, "82_comp"),
            (std::vector<Message>{
                error("A face of 14 nodes does not fit an element topology block, which holds faces of 2 to 13 nodes."),
                error("Problem writing element topology map.")}));
  EXPECT_EQ(write(body, nullptr), 1);
}

TEST_F(WriteBlocksTest, AFaceListThatRunsPastItsEndDoesNotFitTheOldTopology) {
  SBR body = build_bracket();
  state::face_list(body)[4] = 7;
  EXPECT_EQ(failure(body, "no_ortho 81_comp"), std::vector<Message>{error("Problem writing element topology map.")});
  state::face_list(body)[4] = -2;
  EXPECT_EQ(failure(body, "no_ortho 81_comp"), std::vector<Message>{error("Problem writing element topology map.")});
}

TEST_F(WriteBlocksTest, AnEmptyFaceListFailsItsBlock) {
  const std::string sketch = scratch.file("faces.txt");
  write_file(sketch, "0\n");
  SBR body = build_bracket();
  const std::vector<Message> complaints = failure(body, ("no_ortho sketch(" + sketch + ")").c_str());
  ASSERT_EQ(complaints.size(), 2U);
  EXPECT_TRUE(is_no_memory(complaints[0], "sbrwrite"));
  EXPECT_EQ(complaints[1], error("Problem writing element face info."));
}

// ---- stress and strain lists ----------------------------------------------------------------------------------------

// 100 nodes with mode shapes, stress in one mode at the nodes 1 to 10; node 3 has none, node 4 only pre-stress.
SBR stressed_body() {
  SBR body = SBR_Create(100, 2);
  for (int id = 1; id <= 100; ++id) {
    SBR_SetNodeCoordinates(body, id, id, 0, 0);
    for (int mode = 1; mode <= 2; ++mode) SBR_SetMode(body, mode, id, 0, mode, 0, 0, 0, 0, 0);
  }
  for (int mode = 1; mode <= 2; ++mode) {
    SBR_SetGeneralizedMass(body, mode, mode, 1);
    SBR_SetGeneralizedStiffness(body, mode, mode, mode);
    for (int id = 1; id <= 10; ++id) {
      const bool loaded = id != 3 && id != 4 && (mode == 1 || id > 5);
      SBR_SetMode(body, mode, id, 1, loaded ? id : 0, 0, 0, 0, 0, 0);
    }
  }
  SBR_SetMode(body, 0, 4, 1, 0, 0, 0, 0, 0, 7);
  return body;
}

TEST_F(WriteBlocksTest, StressStandsAtTheNodesThatHaveIt) {
  SBR copy = rewritten(stressed_body(), nullptr);
  ASSERT_NE(copy, nullptr);
  EXPECT_EQ(SBR_ModeNodeCount(copy, 1), 10);
  EXPECT_TRUE(reported(info("\nStress Mode info:\n   Modes: 2\n   Nodes: 10")));
  EXPECT_TRUE(reported(info("\nPre-Stress info:\n   Nodes: 10")));
  double values[30];
  ASSERT_EQ(SBR_Mode(copy, 0, 1, values, 1), 1);
  EXPECT_EQ(values[3 * 3 + 2], 7);
}

TEST_F(WriteBlocksTest, EveryModeIsWrittenByItsPlaceWhateverItsNumber) {
  // Number 0 is that of the pre-vectors, and numbers may stand twice.
  for (const std::vector<int> &numbers : {std::vector<int>{0, 1}, std::vector<int>{3, 3}}) {
    RecordBuilder record = full_record(0x3C);
    for (const int block : {7, 17, 28}) {
      const std::vector<int> nodes = block == 7 ? std::vector<int>{10, 20, 35} : std::vector<int>{20, 35};
      std::vector<BuiltMode> modes;
      for (std::size_t m = 0; m < 2; ++m)
        modes.push_back({numbers[m], std::vector<double>(6 * nodes.size(),
                                                         static_cast<double>(block) + 0.25 * static_cast<double>(m))});
      record.modes(block, nodes, modes);
    }
    record.pre_vectors(30, std::vector<double>(12, -1.0)).pre_vectors(31, std::vector<double>(12, -2.0));
    const std::string source = scratch.file("source.sbr");
    record.write(source);
    SBR copy = rewritten(SBR_CreateFromSBR(source.c_str()), "no_ortho no_xdr");
    ASSERT_NE(copy, nullptr);
    const std::string bytes = read_file(path);
    for (const int block : {7, 17, 28}) {
      const auto at = static_cast<std::size_t>(state::block_offset(copy, block));
      EXPECT_EQ(bytes.substr(at, record.block(block).size()), record.block(block).bytes()) << block;
    }
    SBR_Terminate();
  }
}

TEST_F(WriteBlocksTest, ANumberThatAFrequencyRangeMakesZeroIsNoPreStress) {
  RecordBuilder record = full_record(0x3C);
  const std::vector<double> twelve(12, 5.0);
  // The numbers of the exported modes are counted from the first one's: 2 and 1 become 1 and 0.
  record.eigenvalues({{2, 100, 1.5, 10, 1, 100}, {1, 400, 3, 20, 1, 400}});
  const std::vector<double> eighteen(18, 3.0);
  record.modes(7, {10, 20, 35}, {{2, eighteen}, {1, eighteen}});
  record.modes(17, {20, 35}, {{2, std::vector<double>(12, 5.0)}, {1, std::vector<double>(12, 6.0)}});
  record.remove(28);
  record.remove(31);
  record.pre_vectors(30, std::vector<double>(12, -1.0));
  const std::string source = scratch.file("source.sbr");
  record.write(source);
  SBR copy = rewritten(SBR_CreateFromSBR(source.c_str()), "no_xdr");
  ASSERT_NE(copy, nullptr);
  ASSERT_EQ(SBR_ModeNumber(copy, 1), 0);
  const std::string bytes = read_file(path);
  const auto second = static_cast<std::size_t>(state::block_offset(copy, 17)) + 8 + 8 + (4 + 96) + 4;
  double value = 0.0;
  std::memcpy(&value, bytes.data() + second, sizeof value);
  EXPECT_EQ(value, 6.0);
}

TEST_F(WriteBlocksTest, FullStressNamesEveryNodeWithZerosWhereItIsUnknown) {
  SBR copy = rewritten(stressed_body(), "full_str");
  ASSERT_NE(copy, nullptr);
  EXPECT_EQ(SBR_ModeNodeCount(copy, 1), 100);
  EXPECT_TRUE(reported(info("\nStress Mode info:\n   Modes: 2\n   Nodes: 100")));
  EXPECT_TRUE(reported(info("\nPre-Stress info:\n   Nodes: 100")));
  std::vector<double> values(300);
  ASSERT_EQ(SBR_Mode(copy, 1, 1, values.data(), 0), 1);
  int nonzero = 0;
  for (const double value : values) nonzero += value != 0.0 ? 1 : 0;
  EXPECT_EQ(nonzero, 8);
  EXPECT_EQ(values[27], 10);
  ASSERT_EQ(SBR_Mode(copy, 0, 1, values.data(), 1), 1);
  EXPECT_EQ(values[3 * 3 + 2], 7);
  EXPECT_EQ(std::count(values.begin(), values.end(), 0.0), 299);
}

TEST_F(WriteBlocksTest, SparseStressKeepsNodesWithStressOrPreStress) {
  SBR copy = rewritten(stressed_body(), "sparse_str");
  ASSERT_NE(copy, nullptr);
  ASSERT_EQ(SBR_ModeNodeCount(copy, 1), 9);
  std::vector<int> ids;
  for (int i = 0; i < 9; ++i) ids.push_back(SBR_ModeNodeID(copy, 1, i));
  EXPECT_EQ(ids, (std::vector<int>{1, 2, 4, 5, 6, 7, 8, 9, 10}));
  double values[27];
  ASSERT_EQ(SBR_Mode(copy, 1, 1, values, 0), 1);
  EXPECT_EQ(values[6], 0);
  EXPECT_EQ(values[24], 10);
  ASSERT_EQ(SBR_Mode(copy, 0, 1, values, 1), 1);
  EXPECT_EQ(values[8], 7);
}

TEST_F(WriteBlocksTest, SparseStressLooksAtTheExportedModesOnly) {
  // Mode 1 lies at 1 / 2 pi Hz, mode 2 at sqrt(2) / 2 pi Hz, about 0.159 and 0.225.
  SBR copy = rewritten(stressed_body(), "sparse_str highpass(0.2)");
  ASSERT_NE(copy, nullptr);
  EXPECT_EQ(SBR_ModeCount(copy), 1);
  std::vector<int> ids;
  for (int i = 0; i < SBR_ModeNodeCount(copy, 1); ++i) ids.push_back(SBR_ModeNodeID(copy, 1, i));
  EXPECT_EQ(ids, (std::vector<int>{4, 6, 7, 8, 9, 10}));
}

TEST_F(WriteBlocksTest, SparseStressWithoutAnyDataIsAnEmptyList) {
  SBR body = SBR_Create(2, 1);
  SBR_SetNodeCoordinates(body, 1, 1, 0, 0);
  SBR_SetMode(body, 1, 1, 0, 1, 0, 0, 0, 0, 0);
  SBR_SetMode(body, 1, 1, 1, 0, 0, 0, 0, 0, 0);
  log.clear();
  ASSERT_EQ(write(body, "sparse_str no_ortho"), 1);
  EXPECT_TRUE(reported(info("\nStress Mode info:\n   Modes: 1\n   Nodes: 0")));
  EXPECT_TRUE(reported(warning("The modal stresses for mode 1 have only zero entries\n")));
}

TEST_F(WriteBlocksTest, AllZeroModesAreWarnedOfAndHaveNoNodeInTheStatistics) {
  SBR body = SBR_Create(2, 2);
  SBR_SetNodeCoordinates(body, 5, 1, 0, 0);
  for (int mode = 1; mode <= 2; ++mode)
    for (int kind = 0; kind <= 2; ++kind) SBR_SetMode(body, mode, 5, kind, 0, 0, 0, 0, mode == 2 ? 1 : 0, 0);
  log.clear();
  ASSERT_EQ(write(body, "no_ortho"), 1);
  EXPECT_EQ(log.take_complaints(),
            (std::vector<Message>{warning("The mode shape for mode 1 has only zero entries\n"),
                                  warning("The modal stresses for mode 1 have only zero entries\n"),
                                  warning("The modal strains for mode 1 have only zero entries\n")}));
  ASSERT_EQ(state::statistics(body).count(), 2);
  for (int slot = 0; slot < 4; ++slot) {
    EXPECT_EQ(state::statistics(body)[0].node_ids[slot], 0);
    EXPECT_EQ(state::statistics(body)[0].values[slot], 0);
  }
  EXPECT_EQ(state::statistics(body)[1].node_ids[0], 0);
  EXPECT_EQ(state::statistics(body)[1].node_ids[1], 5);
  EXPECT_EQ(state::statistics(body)[1].values[2], std::sqrt(3.0));
}

TEST_F(WriteBlocksTest, TheFirstOfEqualNodesStandsInTheStatistics) {
  SBR body = SBR_Create(3, 1);
  for (const int id : {9, 4, 7}) {
    SBR_SetNodeCoordinates(body, id, id, 0, 0);
    SBR_SetMode(body, 1, id, 0, 0, -2, 0, 1, 0, 0);
    SBR_SetMode(body, 1, id, 1, 0, 0, -3, 0, 0, 0);
  }
  ASSERT_EQ(write(body, "no_ortho"), 1);
  EXPECT_EQ(state::statistics(body)[0].node_ids[0], 9);
  EXPECT_EQ(state::statistics(body)[0].values[0], 2);
  EXPECT_EQ(state::statistics(body)[0].node_ids[1], 9);
  EXPECT_EQ(state::statistics(body)[0].node_ids[2], 9);
  EXPECT_EQ(state::statistics(body)[0].values[2], 3);
}

TEST_F(WriteBlocksTest, NotANumberIsWrittenAsItIs) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  SBR body = build_bracket();
  SBR_SetMode(body, 1, 10, 0, nan, nan, nan, nan, nan, nan);
  SBR_SetMode(body, 1, 20, 1, nan, 0, 0, 0, 0, 0);
  SBR_SetNodeCoordinates(body, 20, nan, nan, nan);
  SBR_SetNodalMass(body, 20, nan);
  SBR copy = rewritten(body, "no_ortho full_invar");
  ASSERT_NE(copy, nullptr);
  double shape[9];
  ASSERT_EQ(SBR_Mode(copy, 1, 0, shape, 0), 1);
  EXPECT_TRUE(std::isnan(shape[0]));
  EXPECT_EQ(shape[4], 1.5);
  // No comparison holds for a NaN, so another node has the largest translation.
  int id = 0;
  double value = 0;
  SBR_GetMaxModeDisplacement(copy, 1, &id, &value);
  EXPECT_EQ(id, 35);
  EXPECT_EQ(value, 2.5);
}

TEST_F(WriteBlocksTest, PreStressWithoutStressModesFollowsItsOwnNodes) {
  SBR body = SBR_Create(2, 1);
  SBR_SetNodeCoordinates(body, 1, 1, 0, 0);
  SBR_SetNodeCoordinates(body, 2, 2, 0, 0);
  SBR_SetMode(body, 1, 1, 0, 1, 0, 0, 0, 0, 0);
  SBR_SetMode(body, 0, 2, 1, 1, 2, 3, 4, 5, 6);
  ASSERT_EQ(write(body, "no_ortho no_xdr"), 1);
  const std::string bytes = read_file(path);
  FieldBytes expected(false, false);
  expected.integer(1).reals({1, 2, 3, 4, 5, 6});
  EXPECT_EQ(bytes.substr(bytes.size() - expected.size()), expected.bytes());
}

TEST_F(WriteBlocksTest, ShapesThatDoNotCoverAllNodesStandStillThere) {
  RecordBuilder record(0x3C);
  record.nodes({{1, {1, 0, 0}}, {2, {2, 0, 0}}, {3, {3, 0, 0}}});
  record.modes(7, {1}, {{1, {1, 2, 3, 4, 5, 6}}});
  const std::string source = scratch.file("source.sbr");
  record.write(source);
  SBR copy = rewritten(SBR_CreateFromSBR(source.c_str()), "no_ortho");
  ASSERT_NE(copy, nullptr);
  double shape[9];
  ASSERT_EQ(SBR_Mode(copy, 1, 0, shape, 0), 1);
  EXPECT_EQ((std::vector<double>(shape, shape + 9)), (std::vector<double>{1, 2, 3, 0, 0, 0, 0, 0, 0}));
}

// ---- blocks that fail by rule ---------------------------------------------------------------------------------------

struct RuleCase {
  const char *name;
  void (*spoil)(SBR body);
  const char *options;
  const char *message;
  bool no_memory;
};

// A body that counts as orthonormalized, with no eigenvalue table and a stiffness that is not diagonal.
void spoil_eigenvalues(SBR body) {
  state::stiffness_list(body).clear();
  SBR_SetGeneralizedStiffness(body, 1, 2, 1);
  state::modes_not_orthogonal(body) = 0;
  ASSERT_TRUE(state::transformation(body).allocate(4));
}

TEST_F(WriteBlocksTest, WhatCannotBeToldFailsItsBlock) {
  const RuleCase cases[] = {
      {"nodes",
       [](SBR body) {
         state::nodes(body).clear();
         state::face_list(body).clear();
         state::face_number(body) = 0;
         state::interface_nodes(body).clear();
         state::nodal_loads(body).release();
       },
       "no_ortho", "Problem writing Mode Shapes.", true},
      {"eigenvalues", spoil_eigenvalues, "", "Problem writing eigenvalues.", false},
      {"damping", [](SBR body) { state::damping_list(body).release(); }, "no_ortho",
       "Problem writing Generalized Damping info.", true},
      {"stress nodes", [](SBR body) { state::kind_node_count(body, sbr::Kind::stress) = 0; }, "no_ortho",
       "Problem writing Modal Stress.\n", true},
      {"strain nodes", [](SBR body) { state::kind_node_count(body, sbr::Kind::strain) = 0; }, "no_ortho",
       "Problem writing Modal Strain.", true},
      {"preload", [](SBR body) { state::preload(body).release(); }, "no_ortho", "Problem writing Preload.\n", false},
      {"pre-stress", [](SBR body) { state::pre_stress(body).release(); }, "no_ortho", "Problem writing Pre-Stress.\n",
       false},
      {"pre-strain", [](SBR body) { state::pre_strain(body).release(); }, "no_ortho", "Problem writing Pre-Strain.\n",
       false},
      {"labels", [](SBR body) { state::matrix_operator(body, 0).row_labels.release(); }, "no_ortho",
       "Problem writing Matrix Operator Data.\n", false},
      {"sub-operator", [](SBR body) { state::matrix_operator(body, 0).sub_operators[0]->column_count = 99; },
       "no_ortho", "Problem writing Matrix Operator Data.\n", false},
      {"monitor point", [](SBR body) { state::monitor_point(body, 0).operators[3].release(); }, "no_ortho",
       "Problem writing Monitor Point Data.\n", false},
  };
  for (const RuleCase &rule : cases) {
    SCOPED_TRACE(rule.name);
    SBR body = build_bracket();
    rule.spoil(body);
    std::vector<Message> complaints = failure(body, rule.options);
    ASSERT_FALSE(complaints.empty());
    EXPECT_EQ(complaints.back(), error(rule.message));
    EXPECT_EQ(std::count(complaints.begin(), complaints.end(), error(rule.message)), 1);
    EXPECT_EQ(std::any_of(complaints.begin(), complaints.end(),
                          [](const Message &message) { return is_no_memory(message, "sbrwrite"); }),
              rule.no_memory);
    SBR_Terminate();
  }
}

TEST_F(WriteBlocksTest, ATransformationSmallerThanTheModesFailsItsBlock) {
  SBR body = build_bracket();
  ASSERT_TRUE(state::transformation(body).allocate(3));
  EXPECT_EQ(failure(body, nullptr).back(), error("Problem writing Mode Shape Transformation."));
}

TEST_F(WriteBlocksTest, DroppedModesLeaveTheLeadingRowsOfTheTransformation) {
  // Stiffness 9 over mass 0 is no eigenvalue: the third mode goes, and the matrix keeps its order of three.
  SBR body = SBR_Create(1, 3);
  SBR_SetNodeCoordinates(body, 1, 1, 0, 0);
  for (int mode = 1; mode <= 3; ++mode) SBR_SetMode(body, mode, 1, 0, mode, 0, 0, 0, 0, 0);
  SBR_SetGeneralizedStiffness(body, 1, 1, 4);
  SBR_SetGeneralizedStiffness(body, 2, 2, 9);
  SBR_SetGeneralizedStiffness(body, 3, 3, 9);
  SBR_SetGeneralizedMass(body, 1, 1, 4);
  SBR_SetGeneralizedMass(body, 2, 2, 1);
  SBR_SetGeneralizedMass(body, 3, 3, 0);
  SBR copy = rewritten(body, nullptr);
  ASSERT_NE(copy, nullptr);
  ASSERT_EQ(SBR_ModeCount(copy), 2);
  double matrix[4];
  ASSERT_EQ(SBR_Transformation(copy, matrix), 1);
  EXPECT_EQ((std::vector<double>(matrix, matrix + 4)), (std::vector<double>{0.5, 0, 0, 1}));
}

TEST_F(WriteBlocksTest, GeneralizedMatricesNameModesByNumberAndDampingByPosition) {
  SBR body = SBR_Create(1, 2);
  SBR_SetNodeCoordinates(body, 1, 1, 0, 0);
  for (const int mode : {7, 9}) {
    SBR_SetMode(body, mode, 1, 0, mode, 0, 0, 0, 0, 0);
    SBR_SetGeneralizedStiffness(body, mode, mode, mode);
    SBR_SetGeneralizedDamping(body, mode, mode, mode);
  }
  ASSERT_EQ(write(body, "no_ortho no_xdr"), 1);
  RecordBuilder expected(0x3C);
  expected.nodes({{1, {1, 0, 0}}});
  expected.modes(7, {1}, {{7, {7, 0, 0, 0, 0, 0}}, {9, {9, 0, 0, 0, 0, 0}}});
  expected.units("KILOGRAM", "METER", "SECOND", "NEWTON");
  expected.matrix(11, 2, {{7, 7, 7}, {9, 9, 9}});
  // Without a list of masses each mode gets one that makes its eigenvalue finite.
  expected.matrix(12, 2, {{7, 7, 7 * 1e-16}, {9, 9, 9 * 1e-16}});
  expected.matrix(14, 0, {{1, 1, 7}, {2, 2, 9}});
  expected.statistics({{{1}, {7}}, {{1}, {9}}});
  const std::string bytes = read_file(path);
  EXPECT_EQ(bytes.substr(548), expected.bytes().substr(548));
}

}  // namespace
}  // namespace sbrtest
