// `sbr check` from the outside: every sample is sound, and each kind of fault is found at its level, with its place.
#include <cmath>
#include <cstring>
#include <limits>

#include "support/messages.h"
#include "support/program.h"

namespace sbrtest {
namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

class ProgramCheckTest : public ProgramTest {
 protected:
  ProgramCheckTest() : blocks_(expected("beam_03c")["blocks"]) {}
  ~ProgramCheckTest() override { SBR_Terminate(); }

  // The native beam: 1221 nodes, 10 modes, all invariants.
  std::string beam() const { return read_gzip(SBRKIT_TEST_DATA "/samples/beam_03c.sbr.gz"); }
  std::size_t offset(int block) const { return blocks_.at(std::to_string(block))["offset"].get<std::size_t>(); }
  std::size_t mass_at(int node) const { return offset(8) + 8 + 12 * static_cast<std::size_t>(node) + 4; }
  std::size_t node_at(int node) const { return offset(3) + 8 + 28 * static_cast<std::size_t>(node) + 4; }
  std::size_t eigen_at(int mode, int column) const {
    return offset(6) + 4 + 44 * static_cast<std::size_t>(mode) + 4 + 8 * static_cast<std::size_t>(column);
  }
  std::size_t shape_at(int mode) const {
    return offset(7) + 8 + 4 * kNodes + static_cast<std::size_t>(mode) * kModeBytes + 4;
  }
  std::size_t face_word_at(int word) const { return offset(13) + 16 + 4 * static_cast<std::size_t>(word); }

  template <class T>
  static T get(const std::string &bytes, std::size_t at) {
    T value;
    std::memcpy(&value, bytes.data() + at, sizeof value);
    return value;
  }
  template <class T>
  static void put(std::string &bytes, std::size_t at, T value) {
    std::memcpy(bytes.data() + at, &value, sizeof value);
  }
  void scale_mode(std::string &bytes, int mode, double factor) const {
    for (std::size_t i = 0; i < 6 * kNodes; ++i)
      put(bytes, shape_at(mode) + 8 * i, factor * get<double>(bytes, shape_at(mode) + 8 * i));
  }

  // Checks the bytes as a record; the findings of a level with a subject, as "what @ place".
  std::string findings(const std::string &bytes, const std::string &level, const std::string &subject) const {
    write_file(scratch.file("x.sbr"), bytes);
    const Outcome run = sbr("check --json x.sbr");
    EXPECT_TRUE(run.code == 1 || level != "error") << subject;
    std::string text;
    const Json report = Json::parse(run.out);
    for (const Json &one : report["findings"]) {
      if (one["level"] != level || one["subject"] != subject) continue;
      text += one["what"].get<std::string>() + " @ " + one["place"].get<std::string>() + '\n';
      EXPECT_FALSE(one["meaning"].get<std::string>().empty());
    }
    return text;
  }

  static constexpr std::size_t kNodes = 1221;
  static constexpr std::size_t kModeBytes = 4 + 48 * kNodes;

 private:
  Json blocks_;
};

#define EXPECT_FINDS(bytes, level, subject, text) \
  EXPECT_NE(findings(bytes, level, subject).find(text), std::string::npos) << findings(bytes, level, subject)

TEST_F(ProgramCheckTest, EverySampleIsSoundAlsoWhenWarningsCount) {
  std::string names;
  const Json samples = Json::parse(read_file(SBRKIT_TEST_DATA "/samples/expected.json"));
  for (const auto &[name, want] : samples.items()) names += ' ' + sample(name);
  const Outcome run = sbr("check --strict" + names);
  EXPECT_EQ(run.code, 0) << run.out;
}

TEST_F(ProgramCheckTest, MassesOfZeroAndBelowAreFound) {
  std::string bytes = beam();
  put(bytes, mass_at(4), -get<double>(bytes, mass_at(4)));
  EXPECT_FINDS(bytes, "error", "nodal masses",
               "nodes with a negative mass @ node " + std::to_string(get<int>(bytes, mass_at(4) - 4)));
  for (int i = 0; i < 1221; ++i) put(bytes, mass_at(i), 0.0);
  EXPECT_FINDS(bytes, "error", "nodal masses", "of all nodes are zero");
  EXPECT_FINDS(bytes, "error", "mass", "share of the mass of invariant 1");
}

TEST_F(ProgramCheckTest, AMassThatDisagreesIsFound) {
  std::string bytes = beam();
  put(bytes, mass_at(100), 0.5 * get<double>(bytes, mass_at(100)));
  EXPECT_FINDS(bytes, "error", "mass", "share of the mass of invariant 1");
  bytes = beam();
  put(bytes, offset(5), 1.01 * get<double>(bytes, offset(5)));
  EXPECT_FINDS(bytes, "error", "global properties", "mass: against the invariants");
  bytes = beam();
  put(bytes, offset(5) + 8, 501.0);
  EXPECT_FINDS(bytes, "error", "global properties", "center: against the invariants");
  bytes = beam();
  put(bytes, offset(23), 0.5 * get<double>(bytes, offset(23)));
  EXPECT_FINDS(bytes, "error", "invariants", "inertia: against the nodes");
  bytes = beam();
  // About the long axis: 0.5 of what the two others differ by.
  put(bytes, offset(23) + 32, 3.0 * get<double>(bytes, offset(23) + 32));
  EXPECT_FINDS(bytes, "error", "invariants", "principal moments");
}

TEST_F(ProgramCheckTest, AModeOfAnotherScaleIsFound) {
  std::string bytes = beam();
  scale_mode(bytes, 7, 1.001);
  EXPECT_FINDS(bytes, "error", "invariant 9", "@ mode 8 and 8");
  scale_mode(bytes, 7, 2.0);
  EXPECT_FINDS(bytes, "error", "generalized masses", "from shapes and nodal masses, over the one stored @ mode 8");
  // A rod without invariants.
  ASSERT_EQ(sbr("write " + sample("conrod_13c") + " rod.sbr --no-xdr").code, 0);
  std::string rod = read_file(scratch.file("rod.sbr"));
  const Json info = json("info --json rod.sbr");
  for (const Json &block : info["blocks"]) {
    if (block["number"] != 8) continue;
    const std::size_t at = block["offset"].get<std::size_t>() + 8 + 4 * 5224 + 9 * (4 + 48 * 5224) + 4;
    for (std::size_t i = 0; i < 6 * 5224; ++i) put(rod, at + 8 * i, 0.5 * get<double>(rod, at + 8 * i));
  }
  EXPECT_FINDS(rod, "error", "generalized masses", "over the one stored @ mode 10");
}

TEST_F(ProgramCheckTest, AModeThatStandsTwiceIsFound) {
  std::string bytes = beam();
  for (std::size_t i = 0; i < 6 * kNodes; ++i)
    put(bytes, shape_at(8) + 8 * i, -get<double>(bytes, shape_at(6) + 8 * i));
  EXPECT_FINDS(bytes, "error", "modes", "pairs of modes with the same shape @ mode 7 and 9");
  for (std::size_t i = 0; i < 6 * kNodes; ++i) put(bytes, shape_at(8) + 8 * i, 0.0);
  EXPECT_FINDS(bytes, "error", "modes", "modes that move no node @ mode 9");
}

TEST_F(ProgramCheckTest, FiguresOfModesThatAreNoNumbersOrDoNotBelongTogetherAreFound) {
  std::string bytes = beam();
  put(bytes, eigen_at(6, 1), kNan);
  EXPECT_FINDS(bytes, "error", "eigenvalues", "modes whose eigenvalue or frequency is no number @ mode 7");
  bytes = beam();
  put(bytes, eigen_at(6, 1), 110.0);
  EXPECT_FINDS(bytes, "error", "eigenvalues", "against frequencies, relative @ mode 7");
  bytes = beam();
  put(bytes, eigen_at(7, 4), 2.0 * get<double>(bytes, eigen_at(7, 4)));
  EXPECT_FINDS(bytes, "error", "eigenvalues", "against generalized stiffness over mass, relative @ mode 8");
  bytes = beam();
  put(bytes, eigen_at(7, 3), -1.0);
  EXPECT_FINDS(bytes, "error", "generalized masses", "is not above zero @ mode 8");
  bytes = beam();
  put(bytes, shape_at(7) + 800, kNan);
  EXPECT_FINDS(bytes, "error", "numbers", "mode shapes with values that are no numbers @ mode 8");
  bytes = beam();
  put(bytes, node_at(9), kNan);
  EXPECT_FINDS(bytes, "error", "numbers", "nodes with coordinates or mass that are no numbers");
}

TEST_F(ProgramCheckTest, ARigidModeThatDeformsIsFound) {
  std::string bytes = beam();
  put(bytes, shape_at(2) + 48 * 600, 100.0);
  EXPECT_FINDS(bytes, "error", "rigid modes", "mode 3: part that is no rigid motion @ mode 3");
}

TEST_F(ProgramCheckTest, UnitsThatAreUnknownOrMakeNoSenseAreFound) {
  std::string bytes = beam();
  bytes.replace(offset(10), 16, std::string("FURLONG") + std::string(9, '\0'));
  EXPECT_FINDS(bytes, "error", "units", "unit of mass: 'FURLONG'");
  bytes = beam();
  bytes.replace(offset(10) + 16, 16, std::string("METER") + std::string(11, '\0'));
  EXPECT_FINDS(bytes, "warning", "units", "mass over the cube of the extent, kg/m3");
  EXPECT_EQ(sbr("check x.sbr --strict").code, 1);
  bytes = beam();
  bytes.replace(offset(10) + 16, 16, std::string("MILE") + std::string(12, '\0'));
  EXPECT_FINDS(bytes, "warning", "units", "extent in metres");
  bytes = beam();
  bytes.replace(offset(10) + 16, 16, std::string("MICROMETER") + std::string(6, '\0'));
  EXPECT_FINDS(bytes, "warning", "units", "mass over the volume of the box");
  bytes = beam();
  bytes.replace(offset(10) + 32, 16, std::string("NANOSECOND") + std::string(6, '\0'));
  write_file(scratch.file("x.sbr"), bytes);
  EXPECT_NE(sbr("check x.sbr").out.find("highest frequency in Hz"), std::string::npos);
}

TEST_F(ProgramCheckTest, FacesThatAreNoneAreFound) {
  std::string bytes = beam();
  put(bytes, face_word_at(2), get<int>(bytes, face_word_at(1)));
  EXPECT_FINDS(bytes, "warning", "faces", "faces that name a node twice @ face 1");
  bytes = beam();
  put(bytes, face_word_at(3), 5000);
  EXPECT_FINDS(bytes, "error", "faces", "faces with nodes outside the node table @ face 1");
  bytes = beam();
  // Four nodes become faces of two nodes and of one.
  put(bytes, face_word_at(0), 2);
  put(bytes, face_word_at(3), 1);
  EXPECT_FINDS(bytes, "error", "faces", "faces announced but not listed");
  EXPECT_FINDS(bytes, "warning", "faces", "faces of fewer than three nodes @ face 1");
}

TEST_F(ProgramCheckTest, AnInterfaceNodeThatStandsTwiceIsFound) {
  std::string bytes = beam();
  put(bytes, offset(16) + 8, get<int>(bytes, offset(16) + 4));
  EXPECT_FINDS(bytes, "error", "interface", "interface nodes that stand more than once @ node 1");
  put(bytes, offset(16) + 8, 70000);
  EXPECT_FINDS(bytes, "error", "interface", "interface nodes outside the node table");
}

TEST_F(ProgramCheckTest, NodesWithoutAnyReferenceAreFound) {
  std::string bytes = beam();
  write_file(scratch.file("x.sbr"), bytes);
  EXPECT_NE(sbr("check x.sbr").out.find("nodes that no face, interface or load refers to"), std::string::npos);
  // The massless ones are of no use. Faces refer to the first node, not to its neighbour in the middle of the end face.
  for (int i = 0; i < 1221; ++i) put(bytes, mass_at(i), 0.0);
  EXPECT_NE(findings(bytes, "warning", "references").find("of them nodes without mass @ node "), std::string::npos);
}

TEST_F(ProgramCheckTest, AFileThatIsLongerOrShorterThanItsBlocksIsFound) {
  write_file(scratch.file("cut.sbr"), beam().substr(0, beam().size() - 8));
  EXPECT_EQ(sbr("check cut.sbr").code, 3);
  EXPECT_NE(findings(beam() + "tail", "note", "sizes").find("blocks hold"), std::string::npos)
      << "the monitor points may be longer than the modes tell";
  // Before the monitor points nothing is left open.
  write_file(scratch.file("plain.sbr"), beam());
  ASSERT_EQ(sbr("write plain.sbr empty.sbr --empty").code, 0);
  EXPECT_FINDS(read_file(scratch.file("empty.sbr")) + "tail", "error", "sizes", "blocks hold");
}

// What reducing once did: nodes go first, and what is left gives the invariants.
class NodesLostFirst : public ProgramCheckTest, public ::testing::WithParamInterface<const char *> {};

TEST_P(NodesLostFirst, ARodThatLostItsMassIsFound) {
  const std::string rod = sample("conrod_13c");
  {
    const ScopedEnvironment options("KTX_SBRWRITE_OPTIONS", GetParam());
    const SBR body = SBR_CreateFromSBR(scratch.file(rod).c_str());
    SBR_StripCommonFaces(body);
    ASSERT_EQ(SBR_DiscardUnreferencedNodes(body), 1);
    ASSERT_EQ(SBR_write_SBR(body, scratch.file("lost.sbr").c_str()), 1);
    SBR_DeReference(body);
  }
  const Outcome run = sbr("check lost.sbr");
  EXPECT_EQ(run.code, 1);
  EXPECT_NE(run.out.find("the nodes do not hold the mass of the body any more"), std::string::npos) << run.out;
  EXPECT_NE(run.out.find("mass that the motion carries over the generalized mass"), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(Reduced, NodesLostFirst, ::testing::Values("", "full_invar", "fast_invar"));

TEST_F(ProgramCheckTest, WhatTheWriterMakesByDroppingNodesIsSound) {
  const std::string rod = sample("conrod_13c");
  ASSERT_EQ(sbr("reduce " + rod + " small.sbr").code, 0);
  ASSERT_EQ(sbr("reduce " + rod + " coarse.sbr --coarsen 0.05,15 --single").code, 0);
  ASSERT_EQ(sbr("write " + rod + " fast.sbr --invariants fast").code, 0);
  ASSERT_EQ(sbr("write " + sample("beam_13c") + " empty.sbr --empty").code, 0);
  ASSERT_EQ(sbr("write " + rod + " low.sbr --invariants full --lowpass 2000").code, 0);
  const Outcome run = sbr("check small.sbr coarse.sbr empty.sbr low.sbr --strict");
  EXPECT_EQ(run.code, 0) << run.out;
  EXPECT_EQ(sbr("check fast.sbr").code, 0);
  const Outcome strict = sbr("check fast.sbr --strict");
  EXPECT_EQ(strict.code, 1) << "invariants 5 and 9 are gone";
  EXPECT_NE(strict.out.find("not sound: 1 warning"), std::string::npos) << strict.out;
}

TEST_F(ProgramCheckTest, OldLayoutsOfThisProgramAreSoundAndShowFrequencies) {
  for (const char *name : {"beam_13c", "conrod_13c"})
    for (const char *layout : {"81", "82"}) {
      ASSERT_EQ(sbr("write " + sample(name) + " old.sbr --layout " + layout).code, 0);
      const Outcome run = sbr("check old.sbr --strict");
      EXPECT_EQ(run.code, 0) << run.out;
      const Outcome modes = sbr("modes old.sbr");
      EXPECT_EQ(modes.out.find("nan"), std::string::npos) << modes.out;
    }
  EXPECT_NEAR(json("modes --json old.sbr")[0]["hz"].get<double>(), -0.0021403517469913594, 1e-15);
}

TEST_F(ProgramCheckTest, SeveralRecordsMakeATableAndTheWorstExitCode) {
  const std::string good = sample("beam_13c");
  std::string bytes = beam();
  put(bytes, eigen_at(6, 1), kNan);
  write_file(scratch.file("bad.sbr"), bytes);
  const Outcome two = sbr("check " + good + " bad.sbr");
  EXPECT_EQ(two.code, 1);
  EXPECT_NE(two.out.find("beam_13c.sbr       0         0"), std::string::npos) << two.out;
  EXPECT_NE(two.out.find("not sound: "), std::string::npos);
  const Outcome three = sbr("check bad.sbr missing.sbr " + good);
  EXPECT_EQ(three.code, 3);
  EXPECT_NE(three.out.find("missing.sbr: no such file"), std::string::npos) << three.out;
  const Outcome listed = sbr("check --json " + good + " bad.sbr");
  const Json all = Json::parse(listed.out);
  ASSERT_EQ(all.size(), 2U);
  EXPECT_EQ(all[0]["sound"], true);
  EXPECT_GE(all[1]["errors"].get<int>(), 1);
}

}  // namespace
}  // namespace sbrtest
