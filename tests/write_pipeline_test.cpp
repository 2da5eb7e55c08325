// The steps of a write: what is reported, in which order, and what stays behind.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "support/body_state.h"
#include "support/bracket.h"
#include "support/files.h"
#include "support/messages.h"

namespace sbrtest {
namespace {

class WritePipelineTest : public LibraryTest {
 protected:
  ScratchDirectory scratch;
  const std::string path = scratch.file("out.sbr");

  int write(SBR body, const char *options) { return write_record(body, path, options); }
  [[nodiscard]] bool written() const { return std::filesystem::exists(path); }
  std::uint32_t word() const {
    const std::string bytes = read_file(path);
    const auto byte = [&](std::size_t i) {
      return static_cast<std::uint32_t>(static_cast<unsigned char>(bytes.at(i)));
    };
    // A native word has its low byte first, an XDR word last.
    const std::uint32_t native = byte(0) | byte(1) << 8 | byte(2) << 16 | byte(3) << 24;
    return native < 0x10000 ? native : byte(3) | byte(2) << 8 | byte(1) << 16 | byte(0) << 24;
  }
  // The content byte of a block in a native file.
  bool has_block(int block) const {
    const int byte = block <= 9 ? block - 3 : block <= 12 ? block - 2 : block - 1;
    return read_file(path).at(548 + static_cast<std::size_t>(byte)) != 0;
  }
  // The rows of the summary that say Yes.
  std::vector<std::string> present_rows() {
    std::vector<std::string> rows;
    for (const Message &message : log.all()) {
      const std::string &text = message.text;
      if (text.size() == 34 && text.substr(30) == " Yes")
        rows.push_back(text.substr(text.find_first_not_of(' '), 30 - text.find_first_not_of(' ')));
    }
    return rows;
  }
  bool reported(const Message &message) const {
    return std::find(log.all().begin(), log.all().end(), message) != log.all().end();
  }
};

// A body of modes with the given frequencies in Hz (unit masses, or the masses given), one node.
SBR body_of_frequencies(const std::vector<double> &hz, const std::vector<double> &masses = {}) {
  SBR body = SBR_Create(2, static_cast<int>(hz.size()));
  SBR_SetNodeCoordinates(body, 1, 1, 0, 0);
  SBR_SetNodeCoordinates(body, 2, 0, 1, 0);
  for (std::size_t i = 0; i < hz.size(); ++i) {
    const int number = static_cast<int>(i) + 1;
    const double rad = hz[i] * 6.28318530718;
    SBR_SetGeneralizedStiffness(body, number, number, rad * rad);
    SBR_SetGeneralizedMass(body, number, number, masses.empty() ? 1.0 : masses[i]);
    SBR_SetMode(body, number, 1, 0, number, 0, 0, 0, 0, 0);
    SBR_SetMode(body, number, 2, 0, 0, number, 0, 0, 0, 0);
  }
  return body;
}

// ---- entry ----------------------------------------------------------------------------------------------------------

TEST_F(WritePipelineTest, RefusesANullHandle) {
  EXPECT_EQ(write(nullptr, nullptr), 0);
  EXPECT_EQ(log.take(), std::vector<Message>{error("The database has not been initialized.")});
  EXPECT_FALSE(written());
}

TEST_F(WritePipelineTest, RefusesThePathOfItsSourceAndLeavesItIntact) {
  full_record(0x13C).write(path);
  const std::string before = read_file(path);
  SBR body = SBR_CreateFromSBR(path.c_str());
  ASSERT_NE(body, nullptr);
  log.clear();
  EXPECT_EQ(write(body, "lbrf2cm"), 0);
  EXPECT_EQ(log.take(), std::vector<Message>{
                            error("The output SBR name must be different than the current SBR name.\n  Current SBR "
                                  "name:  " +
                                  path + "\n  Output SBR name:  " + path)});
  EXPECT_EQ(read_file(path), before);
}

TEST_F(WritePipelineTest, RefusesItsSourceUnderAnotherName) {
  full_record(0x13C).write(path);
  const std::string before = read_file(path);
  SBR body = SBR_CreateFromSBR(path.c_str());
  ASSERT_NE(body, nullptr);
  const std::string other = scratch.file("link.sbr");
  std::filesystem::create_symlink(path, other);
  EXPECT_EQ(write_record(body, other, nullptr), 0);
  EXPECT_EQ(read_file(path), before);
}

TEST_F(WritePipelineTest, ReportsAPathThatCannotBeOpened) {
  SBR body = build_bracket();
  log.clear();
  const std::string missing = scratch.file("no/such/place.sbr");
  EXPECT_EQ(write_record(body, missing, "sketch(x) full_str sparse_str"), 0);
  EXPECT_EQ(log.take(),
            std::vector<Message>{error("Unable to open " + missing + " for write. Please check write permissions.")});
  const std::string directory = scratch.path().string();
  EXPECT_EQ(write_record(body, directory, nullptr), 0);
  EXPECT_EQ(log.take(),
            std::vector<Message>{error("Unable to open " + directory + " for write. Please check write permissions.")});
  EXPECT_EQ(SBR_write_SBR(body, nullptr), 0);
  EXPECT_EQ(log.take(), std::vector<Message>{error("Unable to open  for write. Please check write permissions.")});
}

// ---- version word ---------------------------------------------------------------------------------------------------

TEST_F(WritePipelineTest, WithoutTheVariableTheWordIsTheDefault) {
  EXPECT_EQ(write(build_bracket(), nullptr), 1);
  EXPECT_EQ(word(), 0x13CU);
  EXPECT_TRUE(reported(info("Exporting frequency range [-1.000000e+00,1.000000e+08]\n")));
}

TEST_F(WritePipelineTest, ACoarsenedBodyMarksTheWordWhateverTheLayout) {
  const std::string sketch = scratch.file("faces.txt");
  write_file(sketch, "1 3 10 20 35\n");
  SBR body = build_bracket();
  ASSERT_EQ(write(body, ("no_xdr no_ortho sketch(" + sketch + ")").c_str()), 1);
  EXPECT_EQ(word(), 0x43CU);
  // With the flag, the word is no longer that of the old layout: faces in the current block, and mode words.
  ASSERT_EQ(write(body, "no_ortho 81_comp"), 1);
  EXPECT_EQ(word(), 0x40AU);
  EXPECT_TRUE(has_block(13));
  EXPECT_FALSE(has_block(4));
  RecordBuilder expected = expected_bracket(body, 0x3C);
  expected.faces({{0, 1, 2}});
  const std::string bytes = read_file(path);
  EXPECT_EQ(bytes.substr(4), expected.bytes().substr(4));
}

struct Conflict {
  const char *options;
  std::vector<std::string> errors;
};

TEST_F(WritePipelineTest, ReportsEveryConflictAndRemovesTheFile) {
  const Conflict conflicts[] = {
      {"full_str sparse_str", {"Cannot specify full and sparse stress and strain modes."}},
      {"82_comp invar", {"8.2 compatible SBR cannot contain Invariants"}},
      {"82_comp single", {"8.2 compatible SBR cannot be single precision"}},
      {"82_comp sparse_str", {"8.2 compatible SBR cannot have sparse stress or strain modes"}},
      {"sparse_str single full_invar 82_comp",
       {"8.2 compatible SBR cannot contain Invariants", "8.2 compatible SBR cannot be single precision",
        "8.2 compatible SBR cannot have sparse stress or strain modes"}},
      {"81_comp invar", {"8.1 compatible SBR cannot contain Invariants"}},
      {"81_comp,single,sparse_str",
       {"8.1 compatible SBR cannot be single precision",
        "8.1 compatible SBR cannot have sparse stress or strain modes"}},
      {"81_comp 82_comp single full_str sparse_str",
       {"Cannot specify full and sparse stress and strain modes.", "8.2 compatible SBR cannot be single precision",
        "8.2 compatible SBR cannot have sparse stress or strain modes", "8.1 compatible SBR cannot be single precision",
        "8.1 compatible SBR cannot have sparse stress or strain modes"}},
  };
  for (const Conflict &conflict : conflicts) {
    SCOPED_TRACE(conflict.options);
    SBR body = build_bracket();
    log.clear();
    EXPECT_EQ(write(body, conflict.options), 0);
    std::vector<Message> expected;
    for (const std::string &text : conflict.errors) expected.push_back(error(text));
    expected.push_back(error("Problem writing version number."));
    EXPECT_EQ(log.take(), expected);
    EXPECT_FALSE(written());
  }
}

TEST_F(WritePipelineTest, ReducesTheBodyEvenWhenTheOptionsContradictEachOther) {
  SBR body = build_bracket();
  EXPECT_EQ(write(body, "81_comp single lbrf2cm"), 0);
  double xyz[3];
  SBR_NodeCoordinates(body, 1, xyz);
  EXPECT_DOUBLE_EQ(xyz[0], 2 - 0.75);
}

// ---- reductions -----------------------------------------------------------------------------------------------------

TEST_F(WritePipelineTest, ReducesInItsOwnOrderWhateverTheOrderOfTheKeywords) {
  const std::string sketch = scratch.file("faces.txt");
  write_file(sketch, "2 3 10 20 35 3 35 20 10\n");
  SBR body = build_bracket();
  log.clear();
  ASSERT_EQ(write(body, ("coarsen(0.02,10,0,) strip_face no_ortho sketch(\"" + sketch + "\") empty lbrf2cm").c_str()),
            0);
  std::vector<std::string> order;
  for (const Message &message : log.take())
    for (const char *start : {"Shifting LBRF", "Using sketch file", " Stripping interior", "Coarsening to"})
      if (message.text.starts_with(start)) order.emplace_back(start);
  EXPECT_EQ(order,
            (std::vector<std::string>{"Shifting LBRF", "Using sketch file", " Stripping interior", "Coarsening to"}));
}

TEST_F(WritePipelineTest, ASketchWithNothingBehindItsBracketIsLeftOut) {
  for (const char *options : {"no_ortho sketch", "no_ortho sketch()", "no_ortho sketch(", "no_ortho sketch(\""}) {
    SCOPED_TRACE(options);
    SBR body = build_bracket();
    log.clear();
    EXPECT_EQ(write(body, options), 1);
    EXPECT_TRUE(log.take_complaints().empty());
    SBR_Terminate();
  }
}

TEST_F(WritePipelineTest, TakesTheFirstQuotedFormOfASketch) {
  for (const char *options : {"no_ortho sketch(\"a b\")", "no_ortho sketch('a b')", "no_ortho sketch(a b)",
                              "no_ortho sketch(x)sketch(\"a b\""}) {
    SCOPED_TRACE(options);
    SBR body = build_bracket();
    log.clear();
    EXPECT_EQ(write(body, options), 1);
    EXPECT_EQ(log.take_complaints(), std::vector<Message>{warning("Failed to open sketch file a b")});
    SBR_Terminate();
  }
}

// ---- frequency range ------------------------------------------------------------------------------------------------

struct Range {
  const char *options;
  const char *text;
  std::vector<int> modes;  // of 5 modes at 1, 2, 3, 4, 5 Hz
};

TEST_F(WritePipelineTest, ExportsTheModesBetweenTheFrequencies) {
  const Range ranges[] = {
      {"no_xdr", "[-1.000000e+00,1.000000e+08]", {1, 2, 3, 4, 5}},
      {"no_xdr lowpass(3.5)", "[-1.000000e+00,3.500000e+00]", {1, 2, 3}},
      {"no_xdr highpass(2.5)", "[2.500000e+00,1.000000e+08]", {3, 4, 5}},
      {"no_xdr highpass( 1.5 ) lowpass(45e-1)", "[1.500000e+00,4.500000e+00]", {2, 3, 4}},
      {"no_xdr highpass(99)", "[9.900000e+01,1.000000e+08]", {1, 2, 3, 4, 5}},
      {"no_xdr highpass(x) lowpass(y)", "[-1.000000e+00,1.000000e+08]", {1, 2, 3, 4, 5}},
      {"no_xdr highpass(", "[0.000000e+00,1.000000e+08]", {1, 2, 3, 4, 5}},
      {"no_xdr lowpass(", "[-1.000000e+00,0.000000e+00]", {}},
  };
  for (const Range &range : ranges) {
    SCOPED_TRACE(range.options);
    SBR body = body_of_frequencies({1, 2, 3, 4, 5});
    log.clear();
    ASSERT_EQ(write(body, range.options), 1);
    EXPECT_TRUE(reported(info(std::string("Exporting frequency range ") + range.text + "\n")));
    SBR copy = SBR_CreateFromSBR(path.c_str());
    if (range.modes.empty()) {
      EXPECT_EQ(SBR_ModeCount(copy), 0);
      SBR_Terminate();
      continue;
    }
    ASSERT_NE(copy, nullptr);
    ASSERT_EQ(SBR_ModeCount(copy), static_cast<int>(range.modes.size()));
    for (int i = 0; i < SBR_ModeCount(copy); ++i) {
      // Numbered from 1, with the shape of the mode that it was.
      EXPECT_EQ(SBR_ModeNumber(copy, i), i + 1);
      double shape[6];
      ASSERT_EQ(SBR_Mode(copy, i + 1, 0, shape, 0), 1);
      EXPECT_EQ(shape[0], range.modes[static_cast<std::size_t>(i)]);
    }
    SBR_Terminate();
  }
}

TEST_F(WritePipelineTest, KeepsTheNewModeNumbersInTheBody) {
  SBR body = body_of_frequencies({1, 2, 3, 4, 5});
  ASSERT_EQ(write(body, "highpass(2.5)"), 1);
  EXPECT_EQ(SBR_ModeCount(body), 5);
  EXPECT_EQ(SBR_ModeNumber(body, 0), -1);
  EXPECT_EQ(SBR_ModeNumber(body, 2), 1);
  EXPECT_EQ(SBR_ModeNumber(body, 4), 3);
}

TEST_F(WritePipelineTest, AModeWithoutMassEndsTheExportedModes) {
  // The eigenvalue table of a read body may hold a mass of exactly zero.
  RecordBuilder record(0x3C);
  record.nodes({{1, {1, 0, 0}}});
  record.eigenvalues({{1, 1, 1, 1, 1, 1}, {2, 4, 2, 2, 1, 4}, {3, 9, 3, 3, 0, 9}, {4, 16, 4, 4, 1, 16}});
  record.modes(7, {1},
               {{1, {1, 0, 0, 0, 0, 0}}, {2, {2, 0, 0, 0, 0, 0}}, {3, {3, 0, 0, 0, 0, 0}}, {4, {4, 0, 0, 0, 0, 0}}});
  record.transformation({1, 2, 3, 4}, {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1});
  const std::string source = scratch.file("source.sbr");
  record.write(source);
  SBR body = SBR_CreateFromSBR(source.c_str());
  ASSERT_NE(body, nullptr);
  ASSERT_EQ(write(body, nullptr), 1);
  SBR copy = SBR_CreateFromSBR(path.c_str());
  ASSERT_NE(copy, nullptr);
  EXPECT_EQ(SBR_ModeCount(copy), 2);
}

TEST_F(WritePipelineTest, ARangeThatEndsBeforeItBeginsIsNoRecord) {
  SBR body = body_of_frequencies({1, 2, 3});
  log.clear();
  EXPECT_EQ(write(body, "lowpass(0.5) highpass(2.5)"), 0);
  EXPECT_EQ(log.take_complaints(),
            std::vector<Message>{error("No mode lies in the frequency range [2.500000e+00,5.000000e-01].")});
  EXPECT_FALSE(written());
}

TEST_F(WritePipelineTest, AnEmptyRecordNeedsNoModesInTheRange) {
  SBR body = body_of_frequencies({1, 2, 3});
  log.clear();
  EXPECT_EQ(write(body, "no_xdr empty lowpass(0.5) highpass(2.5)"), 1);
  EXPECT_EQ(log.take_complaints(),
            (std::vector<Message>{error("There is insufficient mass data to compute a full set of mass "
                                        "invariants.\nSome or all mass invariants will be set to zero.")}));
  EXPECT_TRUE(has_block(18));
  EXPECT_FALSE(has_block(7));
  EXPECT_FALSE(has_block(29));
}

TEST_F(WritePipelineTest, ARangeLeavesMonitorPointsOnAllModesAndCutsTheRest) {
  SBR body = build_bracket();
  // 20 rad/s is above 2 Hz, 10 rad/s below.
  ASSERT_EQ(write(body, "no_xdr highpass(2) full_invar"), 1);
  const std::string bytes = read_file(path);
  SBR copy = SBR_CreateFromSBR(path.c_str());
  ASSERT_NE(copy, nullptr);
  EXPECT_EQ(SBR_ModeCount(copy), 1);
  double shape[9];
  ASSERT_EQ(SBR_Mode(copy, 1, 0, shape, 0), 1);
  EXPECT_EQ(shape[0], 3);
  EXPECT_EQ(SBR_size_of_block(copy, 6), 4 + 44);
  EXPECT_EQ(SBR_size_of_block(copy, 20), 4 + 24);
  EXPECT_EQ(SBR_size_of_block(copy, 22), 4 + 24);
  EXPECT_EQ(SBR_size_of_block(copy, 24), 4 + 72);
  EXPECT_EQ(SBR_size_of_block(copy, 25), 4 + 72);
  EXPECT_EQ(SBR_size_of_block(copy, 29), 4 + 13 * 12);
  int count = 0;
  double *preload = SBR_GetModalPreload(copy, &count);
  EXPECT_EQ(count, 1);
  SBR_FreeMemory(preload);
  // The last block: a count, 12 + 64 + 12 bytes, and two operators of 2 x 2 reals.
  const std::string tail = bytes.substr(bytes.size() - 64);
  double values[8];
  std::memcpy(values, tail.data(), 64);
  EXPECT_EQ((std::vector<double>(values, values + 8)), (std::vector<double>{1, 2, 3, 4, 5, 6, 7, 8}));
}

// ---- invariants and global properties -------------------------------------------------------------------------------

TEST_F(WritePipelineTest, InvariantsComeInFullOrFast) {
  SBR full = build_bracket();
  log.clear();
  ASSERT_EQ(write(full, "no_xdr full_invar"), 1);
  EXPECT_TRUE(reported(info("Computing *all* invariants")));
  for (int block = 18; block <= 25; ++block) EXPECT_TRUE(has_block(block)) << block;
  SBR fast = build_bracket();
  log.clear();
  ASSERT_EQ(write(fast, "no_xdr fast_invar"), 1);
  EXPECT_TRUE(reported(info("Computing fast set of invariants")));
  for (const int block : {18, 19, 20, 21, 23, 24}) EXPECT_TRUE(has_block(block)) << block;
  for (const int block : {22, 25}) EXPECT_FALSE(has_block(block)) << block;
}

TEST_F(WritePipelineTest, AnIllegalInvariantsOptionIsReportedAndTheRecordWritten) {
  SBR body = build_bracket();
  log.clear();
  EXPECT_EQ(write(body, "no_xdr invar MKS"), 1);
  EXPECT_EQ(log.take_complaints(),
            std::vector<Message>{error("Illegal invariants option, use full_invar or fast_invar.")});
  EXPECT_TRUE(written());
  EXPECT_FALSE(has_block(18));
}

TEST_F(WritePipelineTest, AnIllegalInvariantsOptionLeavesOutTheChangeOfUnits) {
  SBR body = build_bracket();
  ASSERT_EQ(SBR_SetUnits(body, "MEGAGRAM", "MILLIMETER", "SECOND", "NEWTON"), 1);
  ASSERT_EQ(write(body, "invar MKS"), 1);
  char mass[16] = {};
  char other[16] = {};
  SBR_Units(body, mass, other, other, other);
  EXPECT_STREQ(mass, "MEGAGRAM");
  ASSERT_EQ(write(body, "MKS"), 1);
  SBR_Units(body, mass, other, other, other);
  EXPECT_STREQ(mass, "KILOGRAM");
}

TEST_F(WritePipelineTest, InvariantsDiscardNodesThatNothingRefersTo) {
  SBR body = build_bracket();
  SBR_Terminate();
  body = SBR_Create(5, 2);
  const int face[] = {1, 2, 3};
  for (int id = 1; id <= 5; ++id) {
    SBR_SetNodeCoordinates(body, id, id, id % 2, 1);
    SBR_SetNodalMass(body, id, 1);
    for (int mode = 1; mode <= 2; ++mode) SBR_SetMode(body, mode, id, 0, mode, id, 0, 0, 0, 0);
  }
  SBR_SetFaceList(body, 3, face);
  for (int mode = 1; mode <= 2; ++mode) {
    SBR_SetGeneralizedMass(body, mode, mode, 1);
    SBR_SetGeneralizedStiffness(body, mode, mode, mode);
  }
  ASSERT_EQ(write(body, "full_invar"), 1);
  EXPECT_EQ(SBR_NodeCount(body), 3);
  SBR copy = SBR_CreateFromSBR(path.c_str());
  ASSERT_NE(copy, nullptr);
  EXPECT_EQ(SBR_NodeCount(copy), 3);
  // The mass is that of all five nodes: it was computed before three of them were left.
  EXPECT_EQ(SBR_Invar1(copy), 5);
  double mass = 0;
  double inertia[9];
  double center[3];
  SBR_TotalMassInertia(copy, &mass, inertia, center);
  EXPECT_EQ(mass, 5);
  EXPECT_EQ(center[0], 3);
}

// ---- modes by index -------------------------------------------------------------------------------------------------

constexpr double kStress1 = 10;
constexpr double kStress2 = 20;
constexpr double kPreStress = 30;

// Five nodes, of which a face names three; modes of 1 Hz and 3 Hz with stress kStress1 and kStress2 in xx, and a
// pre-stress. A cut above 1 Hz gives the mode of 1 Hz the number 0, by which hosts ask for the pre-stress.
SBR stressed_body() {
  SBR body = SBR_Create(5, 2);
  SBR_SetUnits(body, "MEGAGRAM", "MILLIMETER", "SECOND", "NEWTON");
  const int face[] = {1, 2, 3};
  for (int id = 1; id <= 5; ++id) {
    SBR_SetNodeCoordinates(body, id, id, id % 2, 1);
    SBR_SetNodalMass(body, id, 1);
    for (int mode = 1; mode <= 2; ++mode) {
      SBR_SetMode(body, mode, id, 0, mode, id, 0, 0, 0, 0);
      SBR_SetMode(body, mode, id, 1, mode == 1 ? kStress1 : kStress2, id, 0, 0, 0, 0);
    }
    SBR_SetMode(body, 0, id, 1, kPreStress, id, 0, 0, 0, 0);
  }
  SBR_SetFaceList(body, 3, face);
  for (int mode = 1; mode <= 2; ++mode) {
    const double rad = (mode == 1 ? 1.0 : 3.0) * 6.28318530718;
    SBR_SetGeneralizedMass(body, mode, mode, 1);
    SBR_SetGeneralizedStiffness(body, mode, mode, rad * rad / SBR_UCF(body));
  }
  return body;
}

TEST_F(WritePipelineTest, ACutStopsNeitherTheDiscardNorTheChangeOfUnits) {
  SBR body = stressed_body();
  log.clear();
  EXPECT_EQ(write(body, "highpass(1.5) fast_invar MKS"), 1);
  EXPECT_TRUE(log.take_complaints().empty());
  EXPECT_EQ(SBR_ModeNumber(body, 0), 0);
  EXPECT_EQ(SBR_ModeNumber(body, 1), 1);
  EXPECT_EQ(SBR_NodeCount(body), 3);
  char mass[16] = {};
  char other[16] = {};
  SBR_Units(body, mass, other, other, other);
  EXPECT_STREQ(mass, "KILOGRAM");
}

// The xx and yy stress of the first node in each mode of a native record, and in its pre-stress.
struct WrittenStress {
  double modes[2][2];
  double before[2];
};
WrittenStress stress_of(const std::string &path) {
  SBR record = SBR_CreateFromSBR(path.c_str());
  EXPECT_NE(record, nullptr);
  const auto nodes = static_cast<std::size_t>(SBR_ModeNodeCount(record, 1));
  const std::string bytes = read_file(path);
  const auto place = static_cast<std::size_t>(state::block_offset(record, sbr::kModalStress));
  WrittenStress stress{};
  for (std::size_t mode = 0; mode < 2; ++mode)
    std::memcpy(stress.modes[mode], bytes.data() + place + 8 + 4 * nodes + mode * (4 + 48 * nodes) + 4, 16);
  double six[3 * 5] = {};
  EXPECT_EQ(SBR_Mode(record, 0, 1, six, 0), 1);
  std::copy_n(six, 2, stress.before);
  SBR_DeReference(record);
  return stress;
}

TEST_F(WritePipelineTest, AModeThatIsNumberedZeroKeepsItsStressBesideThePreStress) {
  SBR body = stressed_body();
  ASSERT_EQ(write(body, "highpass(1.5) fast_invar"), 1);
  ASSERT_EQ(SBR_ModeNumber(body, 0), 0);
  // All modes, under the numbers that they have now.
  ASSERT_EQ(write(body, "no_ortho no_xdr"), 1);
  const WrittenStress stress = stress_of(path);
  EXPECT_EQ(stress.modes[0][0], kStress1);
  EXPECT_EQ(stress.modes[1][0], kStress2);
  EXPECT_EQ(stress.before[0], kPreStress);
}

TEST_F(WritePipelineTest, AModeThatIsNumberedZeroTurnsWithTheBody) {
  SBR body = stressed_body();
  ASSERT_EQ(write(body, "highpass(1.5)"), 1);
  const double axis[] = {0, 0, 1};
  const double point[] = {0, 0, 0};
  ASSERT_EQ(SBR_Rotate(body, axis, point, 90), 1);
  log.clear();
  ASSERT_EQ(write(body, "no_ortho no_xdr"), 1);
  EXPECT_TRUE(log.take_complaints().empty());
  const WrittenStress stress = stress_of(path);
  // What was xx is yy now; the first node's yy was 1.
  for (const int mode : {0, 1}) EXPECT_NEAR(stress.modes[mode][0], 1, 1e-12);
  EXPECT_NEAR(stress.modes[0][1], kStress1, 1e-12);
  EXPECT_NEAR(stress.modes[1][1], kStress2, 1e-12);
  EXPECT_NEAR(stress.before[0], 1, 1e-12);
  EXPECT_NEAR(stress.before[1], kPreStress, 1e-12);
}

// ---- references -----------------------------------------------------------------------------------------------------

// The keep list is made once and outlives a change of the faces. No record gets an index that is none: the nodes stay.
TEST_F(WritePipelineTest, AKeepListOlderThanTheFacesDiscardsNothing) {
  SBR body = stressed_body();
  int count = 0;
  SBR_FreeMemory(SBR_GeometryNodes(body, &count));
  ASSERT_EQ(count, 3);
  const int late[] = {3, 4, 5};
  SBR_SetFaceList(body, 3, late);
  log.clear();
  EXPECT_EQ(write(body, "no_xdr fast_invar"), 1);
  const std::vector<Message> complaints = log.take_complaints();
  ASSERT_EQ(complaints.size(), 1U);
  EXPECT_TRUE(complaints[0].text.starts_with("A face refers to node 4, which is not in the list of nodes to keep."));
  SBR copy = SBR_CreateFromSBR(path.c_str());
  ASSERT_NE(copy, nullptr);
  EXPECT_EQ(SBR_NodeCount(copy), 5);
  int list[8] = {};
  ASSERT_EQ(SBR_ElementFaces(copy, list), 1);
  EXPECT_EQ(std::vector<int>(list, list + 8), (std::vector<int>{3, 0, 1, 2, 3, 2, 3, 4}));
}

TEST_F(WritePipelineTest, ReferencesOfAForeignRecordOutsideItsNodesAreNotWritten) {
  const std::string source = scratch.file("source.sbr");
  const auto base = [] {
    RecordBuilder record(0x3C);
    record.nodes({{10, {0, 0, 0}}, {20, {1, 2, 3}}});
    return record;
  };
  const std::pair<RecordBuilder, const char *> cases[] = {
      {base().faces({{0, 1, 2}}), "Face 1 refers to node index 2"},
      {base().interface_nodes({1, -5}), "Interface node 2 refers to node index -5"},
      {base().nodal_loads({{{0, 1, 10}}, {{7, 1, 10}}}), "Nodal load case 2 refers to node index 7"}};
  for (const auto &[record, text] : cases) {
    SCOPED_TRACE(text);
    record.write(source);
    SBR body = SBR_CreateFromSBR(source.c_str());
    ASSERT_NE(body, nullptr);
    log.clear();
    EXPECT_EQ(write(body, nullptr), 0);
    EXPECT_EQ(log.take_complaints(),
              std::vector<Message>{error(std::string(text) + "; the body has 2 nodes.  The record is not written.")});
    EXPECT_FALSE(written());
    SBR_Terminate();
  }
}

// ---- the environment ------------------------------------------------------------------------------------------------

int forget_the_options(const char *text) {
  if (std::strstr(text, "Exporting frequency range") != nullptr) unsetenv("KTX_SBRWRITE_OPTIONS");
  return 0;
}

TEST_F(WritePipelineTest, TheOptionsAreReadOncePerWrite) {
  SBR body = stressed_body();
  SBR_SetModalLoadNodal(body, 0, 5, 1, 10);
  const message_handlers handlers = {nullptr, nullptr, forget_the_options};
  SetMessageHandlers(&handlers);
  EXPECT_EQ(write(body, "fast_invar optimize_mforce_nodes"), 1);
  // Node 5 is known to the load only, and the option was there when the write began.
  EXPECT_EQ(SBR_NodeCount(body), 3);
}

// ---- the empty record and units -------------------------------------------------------------------------------------

// The rows of stiffness and mass tell what the body has; neither is in the record.
TEST_F(WritePipelineTest, AnEmptyRecordHoldsGeometryMassAndRigidInvariants) {
  SBR body = build_bracket();
  log.clear();
  ASSERT_EQ(write(body, "empty no_xdr"), 1);
  EXPECT_TRUE(reported(info("Computing *rigid* invariants")));
  EXPECT_EQ(present_rows(), (std::vector<std::string>{"Nodal Coords", "Element Faces", "Global Mass Properties",
                                                      "Nodal Masses", "Nodal Inertias", "Generalized Stiffness",
                                                      "Generalized Mass", "Interface Nodes", "Inertia Invariants"}));
  for (int block = 3; block <= 35; ++block) {
    const bool expected = block == 3 || block == 5 || block == 8 || block == 9 || block == 10 || block == 13 ||
                          block == 16 || block == 18 || block == 19 || block == 23;
    EXPECT_EQ(has_block(block), expected) << block;
  }
}

TEST_F(WritePipelineTest, MksWritesTheBodyInSiUnits) {
  SBR body = build_bracket();
  ASSERT_EQ(SBR_SetUnits(body, "MEGAGRAM", "MILLIMETER", "SECOND", "NEWTON"), 1);
  ASSERT_EQ(write(body, "no_ortho MKS"), 1);
  SBR copy = SBR_CreateFromSBR(path.c_str());
  ASSERT_NE(copy, nullptr);
  char mass[16] = {};
  char length[16] = {};
  char time[16] = {};
  char force[16] = {};
  SBR_Units(copy, mass, length, time, force);
  EXPECT_STREQ(mass, "KILOGRAM");
  EXPECT_STREQ(length, "METER");
  double xyz[3];
  SBR_NodeCoordinates(copy, 1, xyz);
  EXPECT_NEAR(xyz[0], 0.002, 1e-15);
}

// ---- whole runs -----------------------------------------------------------------------------------------------------

TEST_F(WritePipelineTest, ReportsAWholeRunStepByStep) {
  SBR body = build_bracket();
  SBR_SetNodeCoordinates(body, 20, 0, 0, 0);
  log.clear();
  ASSERT_EQ(write(body, "no_ortho"), 1);
  EXPECT_EQ(log.take(),
            (std::vector<Message>{
                info("\nCreating a Shape Body Record with the following information:\n"),
                info("                  Nodal Coords Yes"),
                info("                 Element Faces Yes"),
                info("                   Eigenvalues No"),
                info("                   Mode Shapes Yes"),
                info("        Global Mass Properties Yes"),
                info("                  Nodal Masses Yes"),
                info("                Nodal Inertias Yes"),
                info("         Generalized Stiffness Yes"),
                info("              Generalized Mass Yes"),
                info("           Generalized Damping Yes"),
                info("           Mode Transformation No"),
                info("                  Stress Modes Yes"),
                info("               Interface Nodes Yes"),
                info("            Inertia Invariants No"),
                info("                 Modal Preload Yes"),
                info("                   Modal Loads Yes"),
                info("                  Strain Modes Yes"),
                info("              Nodal Pre-Stress Yes"),
                info("              Nodal Pre-Strain Yes"),
                info("              Matrix Operators Yes"),
                info("              Modal Load Nodal Yes"),
                info("                Monitor Points Yes"),
                info("\nNode info:\n   Count: 3"),
                warning("Found 2 node(s) with coordinates (0,0,0).  They are:"),
                warning("   10"),
                warning("   20"),
                info("\nGlobal body properties:"),
                info("Mass          : 4.000000\n"),
                info("Center of Mass: 0.000000 1.125000 0.000000"),
                info("Inertia Tensor: 14.500000 -0.500000 -0.000000"),
                info("                -0.500000 2.000000 -0.000000"),
                info("                -0.000000 -0.000000 16.500000"),
                info("\nTrans Mode info:\n   Modes: 2\n   Nodes: 3"),
                info("\nWriting Mode Shapes"),
                info("\nNodal inertia info:\n   Sparse matrix entries: 4"),
                info("\nUnits:\n   Mass:   KILOGRAM\n   Length: METER\n   Time:   SECOND\n   Force:  NEWTON"),
                info("\nNumber of Element Faces: 2"),
                info("\nStress Mode info:\n   Modes: 2\n   Nodes: 2"),
                info("\nStrain Mode info:\n   Modes: 2\n   Nodes: 2"),
                info("\nPre-Stress info:\n   Nodes: 2"),
                info("\nPre-Strain info:\n   Nodes: 2"),
                info("\nMatrix Operator Info:\n   Count: 1"),
                info("\nModal Load Nodal Info:\n   Count: 1"),
                info("\nMonitor Point info:\n   Count: 1"),
            }));
}

TEST_F(WritePipelineTest, TheDefaultRunOrthonormalizesAndExportsEigenvalues) {
  SBR body = build_bracket();
  log.clear();
  ASSERT_EQ(write(body, "no_xdr"), 1);
  std::vector<Message> run = log.take();
  ASSERT_GE(run.size(), 3U);
  EXPECT_EQ(run[0], info("Exporting frequency range [-1.000000e+00,1.000000e+08]\n"));
  EXPECT_EQ(run[1], info("\nCreating a Shape Body Record with the following information:\n"));
  RecordBuilder expected = expected_bracket(body, 0x3C);
  expected.remove(11);
  expected.remove(12);
  const double hz = 10 / 6.28318530718;
  expected.eigenvalues({{1, 100, hz, 10, 1, 100}, {2, 400, 20 / 6.28318530718, 20, 1, 400}});
  expected.transformation({1, 2}, {1, 0, 0, 1});
  EXPECT_EQ(read_file(path), expected.bytes());
}

TEST_F(WritePipelineTest, ABodyWithNothingInItIsARecordOfUnits) {
  SBR body = SBR_Create(0, 0);
  log.clear();
  ASSERT_EQ(write(body, "no_xdr"), 1);
  EXPECT_TRUE(log.take_complaints().empty());
  RecordBuilder expected(0x3C);
  expected.header("", "", "", "", "", "", "", '\0');
  expected.units("KILOGRAM", "METER", "SECOND", "NEWTON");
  EXPECT_EQ(read_file(path), expected.bytes());
}

TEST_F(WritePipelineTest, ABodyWithNothingInItHasNoMatricesToWrite) {
  SBR body = SBR_Create(0, 0);
  log.clear();
  EXPECT_EQ(write(body, "no_ortho"), 0);
  const std::vector<Message> complaints = log.take_complaints();
  ASSERT_EQ(complaints.size(), 2U);
  EXPECT_TRUE(is_no_memory(complaints[0], "sbrwrite"));
  EXPECT_EQ(complaints[1], error("Problem writing Generalized Stiffness info."));
  EXPECT_FALSE(written());
}

TEST_F(WritePipelineTest, RestoresTheModeCacheSetting) {
  for (const int keep : {0, 1}) {
    SBR body = build_bracket();
    SBR_SetKeepModesInMemory(body, keep);
    ASSERT_EQ(write(body, "full_invar"), 1);
    int after = -1;
    SBR_GetKeepModesInMemory(body, &after);
    EXPECT_EQ(after, keep);
    SBR_Terminate();
  }
}

TEST_F(WritePipelineTest, ABodyFromAFileOfEveryVersionCanBeWritten) {
  for (const std::uint32_t source : {10U, 20U, 30U, 31U, 40U, 41U, 50U, 51U, 0x3CU, 0x13CU, 0x23CU, 0x33CU}) {
    SCOPED_TRACE(source);
    const std::string source_path = scratch.file("source.sbr");
    full_record(source).write(source_path);
    SBR body = SBR_CreateFromSBR(source_path.c_str());
    ASSERT_NE(body, nullptr);
    EXPECT_EQ(write(body, "full_invar"), 1);
    SBR copy = SBR_CreateFromSBR(path.c_str());
    ASSERT_NE(copy, nullptr);
    double before[9];
    double after[9];
    for (const int mode : {1, 2}) {
      ASSERT_EQ(SBR_Mode(body, mode, 0, before, 0), 1);
      ASSERT_EQ(SBR_Mode(copy, mode, 0, after, 0), 1);
      EXPECT_TRUE(std::equal(before, before + 9, after));
    }
    SBR_Terminate();
  }
}

}  // namespace
}  // namespace sbrtest
