// `sbr export` to formats of other programs, and `sbr modes --plot`. The files are read back by programs that are not
// ours (tests/pictures): VTK's readers, the Exodus library, the glTF validator; values are compared with the tables.
#include <cmath>
#include <limits>
#include <numbers>
#include <regex>

#include "support/program.h"
#include "support/record_builder.h"

namespace sbrtest {
namespace {

// The Python that Debian's packages are for: another may stand before it.
constexpr const char *kPython = "/usr/bin/python3 -B " SBRKIT_SOURCE_DIR "/tests/pictures/";

class ProgramPictureTest : public ProgramTest {
 protected:
  // Exports to a format and to tables, and lets another program compare the two.
  void compare(const std::string &record, const std::string &format, const std::string &script,
               const std::string &more = "") const {
    // A body has no tables for what it lacks: those of another must not stand there.
    std::filesystem::remove_all(scratch.path() / "tables");
    const Outcome made = sbr("export " + record + " --json tables --" + format + " picture." + format, true);
    ASSERT_EQ(made.code, 0) << format << '\n' << made.out;
    const Outcome run = shell(kPython + script + " tables picture." + format + " " + more + " 2>&1");
    EXPECT_EQ(run.code, 0) << format << '\n' << run.out;
    EXPECT_NE(run.out.find("the same: "), std::string::npos) << run.out;
  }
  void compare_all(const std::string &record, const std::string &meters = "0.001") const {
    compare(record, "vtu", "compare_vtu.py");
    compare(record, "exodus", "compare_exodus.py");
    compare(record, "glb", "compare_glb.py", meters);
    compare(record, "stl", "compare_surface.py");
    compare(record, "obj", "compare_surface.py");
  }
  std::string write(const RecordBuilder &record, const std::string &name = "built.sbr") const {
    record.write(scratch.file(name));
    return name;
  }
};

using Nodes = std::vector<BuiltNode>;

// Modes that move every node in its own way.
RecordBuilder &add_modes(RecordBuilder &record, const std::vector<int> &ids, const std::vector<int> &numbers) {
  std::vector<BuiltEigenvalue> eigenvalues;
  std::vector<BuiltMode> modes;
  for (const int number : numbers) {
    eigenvalues.push_back({number, 100.0 * number, 1.5 * number, 9.4 * number, 1.0, 100.0 * number});
    std::vector<double> values;
    for (std::size_t i = 0; i < 6 * ids.size(); ++i) values.push_back(std::sin(number + 0.7 * static_cast<double>(i)));
    modes.push_back({number, values});
  }
  return record.eigenvalues(eigenvalues).modes(7, ids, modes);
}

std::vector<int> ids_of(const Nodes &nodes) {
  std::vector<int> ids;
  for (const BuiltNode &node : nodes) ids.push_back(node.id);
  return ids;
}

// A flat polygon of many corners, far from convex: a comb, whose teeth are as long as it is wide, or a star.
std::vector<std::array<double, 3>> comb(int teeth) {
  std::vector<std::array<double, 3>> corners = {{0, 0, 0}, {2.0 * teeth, 0, 0}};
  for (int i = teeth; i-- > 0;) {
    corners.push_back({2.0 * i + 1.5, 2.0 * teeth, 0});
    corners.push_back({2.0 * i + 1.0, 0.5, 0});
  }
  corners.push_back({0, 0.5, 0});
  return corners;
}

std::vector<std::array<double, 3>> star(int points) {
  std::vector<std::array<double, 3>> corners;
  for (int i = 0; i < 2 * points; ++i) {
    const double angle = std::numbers::pi * i / points;
    const double radius = i % 2 == 0 ? 10.0 : 1.0;
    corners.push_back({radius * std::cos(angle), 0.0, radius * std::sin(angle)});
  }
  return corners;
}

TEST_F(ProgramPictureTest, OtherProgramsFindTheNodesFacesAndModesOfABeam) { compare_all(sample("beam_13c")); }

TEST_F(ProgramPictureTest, OtherProgramsFindTheNodesFacesAndModesOfAConnectingRod) {
  compare_all(sample("conrod_13c"));
}

TEST_F(ProgramPictureTest, FacesHaveAnyNumberOfCornersAndStressStandsAtSomeNodes) {
  Nodes nodes;
  for (int i = 0; i < 12; ++i) {
    const double angle = 2.0 * std::numbers::pi * i / 12.0;
    const double radius = i % 3 == 0 ? 1.0 : 3.0;
    nodes.push_back({100 - 7 * i, {radius * std::cos(angle), radius * std::sin(angle), 0.01 * i * i}});
  }
  nodes.push_back({500, {0, 0, 5}});  // without a face
  RecordBuilder record(0x13C);
  record.header("Any corners").units("KILOGRAM", "METER", "SECOND", "NEWTON").nodes(nodes);
  record.faces(
      {{0, 1, 2}, {2, 3, 4, 5}, {0, 2, 4, 6, 8, 10}, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}, {7, 9}, {11}, {5, 6, 7}});
  add_modes(record, ids_of(nodes), {3, 1, 12});  // not in order
  record.interface_nodes({12, 0});
  const std::vector<double> stress = {1, 2, 3, 4, 5, 6, -1, 0, 1, 0.5, 0.25, 0.125};
  record.modes(17, {500, 93}, {{3, stress}, {1, stress}, {12, stress}});
  record.modes(28, {93}, {{3, {1, 2, 3, 4, 5, 6}}, {1, {0, 0, 0, 0, 0, 0}}, {12, {6, 5, 4, 3, 2, 1}}});
  compare_all(write(record), "1");
}

TEST_F(ProgramPictureTest, EveryBlockOfARecordMayBeThere) {
  compare_all(write(full_record(0x13C)));
  compare_all(write(full_record(0x00A)), "0.001");
}

TEST_F(ProgramPictureTest, PolygonsThatAreNotConvexAreCutIntoTrianglesThatDoNotOverlap) {
  for (const auto &corners : {comb(300), star(500), comb(2), star(3)}) {
    Nodes nodes;
    std::vector<int> face;
    for (std::size_t i = 0; i < corners.size(); ++i) {
      nodes.push_back({static_cast<int>(i) + 1, corners[i]});
      face.push_back(static_cast<int>(i));
    }
    const std::vector<int> turned(face.rbegin(), face.rend());
    RecordBuilder record(0x13C);
    const std::string name = write(record.nodes(nodes).faces({face, turned}));
    compare(name, "stl", "compare_surface.py");
    compare(name, "glb", "compare_glb.py", "1");
  }
}

TEST_F(ProgramPictureTest, APolygonThatCrossesItselfTakesNoLongTime) {
  Nodes nodes;
  std::vector<int> face;
  for (int i = 0; i < 20000; ++i) {
    nodes.push_back({i + 1, {std::fmod(i * 0.618, 1.0), std::fmod(i * 0.414, 1.0), 0.0}});
    face.push_back(i);
  }
  RecordBuilder record(0x13C);
  const Outcome run = shell("timeout 60 " SBR_PROGRAM " export " + write(record.nodes(nodes).faces({face})) +
                            " --stl picture.stl 2>&1");
  ASSERT_EQ(run.code, 0) << run.out;
  EXPECT_NE(run.out.find("warning: 1 faces cross themselves, the first is face 1"), std::string::npos) << run.out;
  EXPECT_EQ(std::filesystem::file_size(scratch.file("picture.stl")), 84 + 50 * 19998U);
}

TEST_F(ProgramPictureTest, ABodyWithoutFacesIsDrawnAsPoints) {
  RecordBuilder record(0x13C);
  const Nodes nodes = {{5, {0, 0, 0}}, {6, {1, 0, 0}}, {9, {0, 1, 2}}};
  add_modes(record.nodes(nodes), ids_of(nodes), {1, 2});
  const std::string name = write(record);
  compare(name, "vtu", "compare_vtu.py");
  compare(name, "exodus", "compare_exodus.py");
  compare(name, "glb", "compare_glb.py", "1");
  compare(name, "obj", "compare_surface.py");
  const Outcome run = sbr("export " + name + " --stl picture.stl", true);
  EXPECT_EQ(run.code, 2);
  EXPECT_NE(run.out.find("no faces"), std::string::npos) << run.out;
  EXPECT_FALSE(std::filesystem::exists(scratch.file("picture.stl")));
}

TEST_F(ProgramPictureTest, ABodyOfOneNodeWithoutModesHasAPicture) {
  RecordBuilder record(0x13C);
  const std::string name = write(record.nodes({{1, {3, 4, 5}}}));
  compare(name, "vtu", "compare_vtu.py");
  compare(name, "exodus", "compare_exodus.py");
  compare(name, "glb", "compare_glb.py", "1");
  compare(name, "obj", "compare_surface.py");
}

TEST_F(ProgramPictureTest, AShapeOfABodyWithoutExtentIsShownByItsOwnSize) {
  RecordBuilder record(0x13C);
  add_modes(record.nodes({{1, {0, 0, 0}}}), {1}, {1});
  const std::string name = write(record);
  compare(name, "vtu", "compare_vtu.py");
  compare(name, "exodus", "compare_exodus.py");
  compare(name, "glb", "compare_glb.py", "1");
}

TEST_F(ProgramPictureTest, APlaceThatIsNoNumberIsRefusedWithItsNode) {
  for (const double value : {std::nan(""), std::numeric_limits<double>::infinity()}) {
    RecordBuilder record(0x13C);
    const std::string name =
        write(record.nodes({{7, {0, 0, 0}}, {8, {1, value, 0}}, {9, {1, 1, 0}}}).faces({{0, 1, 2}}));
    for (const char *format : {"vtu", "exodus", "glb", "stl", "obj"}) {
      const Outcome run = sbr("export " + name + " --" + format + " picture", true);
      EXPECT_EQ(run.code, 2) << format;
      EXPECT_NE(run.out.find("node 8 has a coordinate that is no finite number"), std::string::npos) << run.out;
      EXPECT_FALSE(std::filesystem::exists(scratch.file("picture"))) << format;
    }
  }
}

TEST_F(ProgramPictureTest, APlaceBeyondSinglePrecisionIsRefusedWhereTheFormatHasNoOther) {
  RecordBuilder record(0x13C);
  const std::string name =
      write(record.nodes({{7, {0, 0, 0}}, {8, {1e39, 0, 0}}, {9, {0, 1e39, 0}}}).faces({{0, 1, 2}}));
  for (const char *format : {"glb", "stl"}) {
    const Outcome run = sbr("export " + name + " --" + format + " picture", true);
    EXPECT_EQ(run.code, 2) << format;
    EXPECT_NE(run.out.find("node 8"), std::string::npos) << run.out;
  }
  compare(name, "vtu", "compare_vtu.py");
}

TEST_F(ProgramPictureTest, AShapeThatIsNoNumberStaysOneWhereTheFormatHasItAndIsLeftOutElsewhere) {
  RecordBuilder record(0x13C);
  record.nodes({{7, {0, 0, 0}}, {8, {1, 0, 0}}, {9, {1, 1, 0}}}).faces({{0, 1, 2}});
  record.eigenvalues({{1, 1}, {2, std::nan("")}});
  std::vector<double> bad(18, 0.5);
  bad[6] = std::nan("");
  record.modes(7, {7, 8, 9}, {{1, bad}, {2, std::vector<double>(18, 0.25)}});
  const std::string name = write(record);
  compare(name, "vtu", "compare_vtu.py");
  compare(name, "glb", "compare_glb.py", "1");
  const Outcome run = sbr("export " + name + " --glb picture.glb", true);
  EXPECT_NE(run.out.find("warning: mode 1 is left out: its shape at node 8"), std::string::npos) << run.out;
  EXPECT_EQ(sbr("export " + name + " --exodus picture.exodus").code, 0);
}

TEST_F(ProgramPictureTest, ABodyWithoutNodesIsRefused) {
  RecordBuilder record(0x13C);
  const std::string name = write(record.header("nothing"));
  for (const char *format : {"vtu", "exodus", "glb", "stl", "obj"}) {
    const Outcome run = sbr("export " + name + " --" + format + " picture", true);
    EXPECT_NE(run.code, 0) << format << run.out;
    EXPECT_FALSE(std::filesystem::exists(scratch.file("picture"))) << format;
  }
}

TEST_F(ProgramPictureTest, ATitleWithMarkupIsText) {
  RecordBuilder record(0x13C);
  record.header("<b>\"A & B\"</b> ]]> \\ \x01 -->").nodes({{1, {0, 0, 0}}, {2, {1, 0, 0}}, {3, {0, 1, 0}}});
  const std::string name = write(record.faces({{0, 1, 2}}));
  compare_all(name, "1");
  const Outcome run = shell(
      "/usr/bin/python3 -c \"import xml.etree.ElementTree as e; "
      "print(''.join(chr(int(c)) for c in e.parse('picture.vtu').find('.//DataArray[@Name=\\\"title\\\"]').text.split()"
      "[:-1]))\"");
  EXPECT_EQ(run.out, "<b>\"A & B\"</b> ]]> \\ ? -->\n");
}

TEST_F(ProgramPictureTest, AnUnknownUnitOfLengthIsToldWhereMetersAreMeant) {
  RecordBuilder record(0x13C);
  const std::string name = write(record.nodes({{1, {0, 0, 0}}}).units("KILOGRAM", "FURLONGISH", "SECOND", "NEWTON"));
  const Outcome run = sbr("export " + name + " --glb picture.glb", true);
  EXPECT_TRUE(run.code != 0 || run.out.find("unit of length is not known") != std::string::npos) << run.out;
}

TEST_F(ProgramPictureTest, AFailedExportLeavesWhatWasThere) {
  const std::string beam = sample("beam_13c");
  for (const char *format : {"vtu", "exodus", "glb", "stl", "obj"}) {
    write_file(scratch.file("picture"), "what was there");
    const Outcome run = shell(std::string("trap '' XFSZ; ulimit -f 20; " SBR_PROGRAM " export ") + beam + " --" +
                              format + " picture 2>&1");
    EXPECT_EQ(run.code, 4) << format << run.out;
    EXPECT_EQ(read_file(scratch.file("picture")), "what was there") << format;
    EXPECT_EQ(shell("ls -A").out, "beam_13c.sbr\npicture\n") << format;
  }
}

TEST_F(ProgramPictureTest, TheInputIsNotReplaced) {
  const std::string beam = sample("beam_13c");
  const std::string before = read_file(scratch.file(beam));
  for (const char *format : {"vtu", "exodus", "glb", "stl", "obj"})
    EXPECT_EQ(sbr("export " + beam + " --" + format + " ./" + beam).code, 2) << format;
  EXPECT_EQ(read_file(scratch.file(beam)), before);
}

// ---- modes --plot --------------------------------------------------------------------------------------------------

class ProgramPlotTest : public ProgramPictureTest {
 protected:
  Outcome plot(const std::string &environment, const std::string &record) const {
    return shell(environment + " " SBR_PROGRAM " modes " + record + " --plot 2>&1");
  }
  // The bar of a mode in the first chart.
  static std::string bar_of(const std::string &text, int mode) {
    std::smatch found;
    const std::regex line("\n *" + std::to_string(mode) + "  +[-0-9.e+]+(  ([^ \n]+))?\n");
    return std::regex_search(text, found, line) ? found[2].str() : "no line";
  }
};

TEST_F(ProgramPlotTest, FrequenciesAreBarsInProportion) {
  const Outcome run = plot("LC_ALL=C COLUMNS=100", sample("beam_13c"));
  ASSERT_EQ(run.code, 0);
  EXPECT_EQ(run.out.substr(0, 15), "Frequency [Hz]\n");
  const Json want = expected("beam_13c");
  const auto hz = [&](std::size_t m) { return std::sqrt(want["eigenvalue"][m].get<double>()) / 2 / std::numbers::pi; };
  const auto longest = static_cast<double>(bar_of(run.out, 10).size());
  EXPECT_GT(longest, 60.0);
  for (int m = 7; m <= 10; ++m)
    EXPECT_NEAR(static_cast<double>(bar_of(run.out, m).size()), longest * hz(static_cast<std::size_t>(m - 1)) / hz(9),
                0.51);
  for (const char *title : {"Largest displacement [MILLIMETER]", "Largest von Mises stress [NEWTON/MILLIMETER^2]"})
    EXPECT_NE(run.out.find(title), std::string::npos) << title;
  std::size_t begin = 0;
  for (std::size_t end = 0; (end = run.out.find('\n', begin)) != std::string::npos; begin = end + 1)
    EXPECT_LE(end - begin, 100U);
}

TEST_F(ProgramPlotTest, BlocksAreDrawnWhereTheTerminalHasThem) {
  const std::string beam = sample("beam_13c");
  EXPECT_NE(plot("LC_ALL=C.UTF-8 TERM=xterm", beam).out.find("█"), std::string::npos);
  EXPECT_EQ(plot("LC_ALL=C.UTF-8 TERM=dumb", beam).out.find("█"), std::string::npos);
  const Outcome plain = plot("LC_ALL=C TERM=xterm", beam);
  EXPECT_TRUE(
      std::all_of(plain.out.begin(), plain.out.end(), [](char c) { return c == '\n' || (c >= ' ' && c <= '~'); }));
  EXPECT_NE(plain.out.find("#"), std::string::npos);
}

TEST_F(ProgramPlotTest, WhatIsNoNumberHasNoBar) {
  RecordBuilder record(0x13C);
  record.nodes({{1, {0, 0, 0}}}).eigenvalues({{1, 4, 2}, {2, std::nan(""), std::nan("")}, {3, 1, 1}});
  record.modes(7, {1}, {{1, {1, 0, 0, 0, 0, 0}}, {2, {0, 0, 0, 0, 0, 0}}, {3, {std::nan(""), 0, 0, 0, 0, 0}}});
  const Outcome run = plot("LC_ALL=C COLUMNS=60", write(record));
  ASSERT_EQ(run.code, 0) << run.out;
  EXPECT_EQ(bar_of(run.out, 2), "") << run.out;
  EXPECT_EQ(run.out.find("nan"), std::string::npos) << run.out;
}

TEST_F(ProgramPlotTest, ABodyWithoutModesSaysSo) {
  RecordBuilder record(0x13C);
  const Outcome run = plot("", write(record.nodes({{1, {0, 0, 0}}})));
  EXPECT_EQ(run.code, 0);
  EXPECT_EQ(run.out, "The record has no modes.\n");
  EXPECT_EQ(sbr("modes built.sbr --plot --json").code, 2);
}

}  // namespace
}  // namespace sbrtest
