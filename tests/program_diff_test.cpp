// `sbr diff` from the outside: a second run of a model is the same body, and what is another body is told with its
// place.
#include <cmath>
#include <cstring>
#include <random>

#include "support/messages.h"
#include "support/program.h"

namespace sbrtest {
namespace {

constexpr int kModes = 10;
using Mixture = std::vector<std::vector<double>>;  // row: mode of the sample, column: mode that is built

Mixture identity() {
  Mixture mixture(kModes, std::vector<double>(kModes, 0.0));
  for (std::size_t i = 0; i < kModes; ++i) mixture[i][i] = 1.0;
  return mixture;
}

class ProgramDiffTest : public ProgramTest {
 protected:
  ~ProgramDiffTest() override { SBR_Terminate(); }

  // Builds the beam anew from its modes in a mixture, with noise relative to the largest displacement, and has the
  // library compute all invariants of it.
  void build(const std::string &name, const Mixture &mixture, double noise = 0.0) {
    const SBR from = SBR_CreateFromSBR(scratch.file(sample("beam_13c")).c_str());
    ASSERT_NE(from, nullptr);
    const SBR body = SBR_Create(SBR_NodeCount(from), kModes);
    SBR_SetUnits(body, "MEGAGRAM", "MILLIMETER", "SECOND", "NEWTON");
    for (int i = 0; i < SBR_NodeCount(from); ++i) {
      double xyz[3];
      SBR_NodeCoordinates(from, i, xyz);
      SBR_SetNodeCoordinates(body, SBR_NodeID(from, i), xyz[0], xyz[1], xyz[2]);
      SBR_SetNodalMass(body, SBR_NodeID(from, i), SBR_NodalMass(from, i));
    }
    copy_faces(from, body);
    copy_modes(from, body, mixture, noise);
    const ScopedEnvironment options("KTX_SBRWRITE_OPTIONS", "full_invar");
    ASSERT_EQ(SBR_write_SBR(body, scratch.file(name).c_str()), 1);
    SBR_DeReference(body);
    SBR_DeReference(from);
  }

  // Another mixture of rigid-body modes, other signs, and two elastic modes that change places.
  static Mixture second_run() {
    Mixture mixture = identity();
    std::mt19937 random(7);
    for (int turn = 0; turn < 20; ++turn) {
      const auto a = random() % 6;
      const auto b = (a + 1 + random() % 5) % 6;
      const double angle = static_cast<double>(random() % 1000) * 0.01;
      for (auto &row : mixture) {
        const double x = row[a];
        row[a] = std::cos(angle) * x - std::sin(angle) * row[b];
        row[b] = std::sin(angle) * x + std::cos(angle) * row[b];
      }
    }
    mixture[6][6] = -1.0;
    mixture[7][7] = mixture[8][8] = 0.0;
    mixture[7][8] = 1.0;
    mixture[8][7] = -1.0;
    return mixture;
  }

  // What a block is told to be.
  static Json block_of(const Json &report, const std::string &name) {
    for (const Json &block : report["blocks"])
      if (block["block"] == name) return block;
    return {};
  }
  Json differing(const std::string &arguments) const {
    const Outcome run = sbr("diff --json " + arguments);
    EXPECT_EQ(run.code, 1) << run.out.substr(0, 2000);
    return Json::parse(run.out);
  }

 private:
  static void copy_faces(SBR from, SBR body) {
    int faces = 0;
    int length = 0;
    SBR_FaceListSize(from, &faces, &length);
    std::vector<int> list(static_cast<std::size_t>(length));
    SBR_ElementFaces(from, list.data());
    for (std::size_t at = 0; at < list.size();) {
      std::vector<int> ids;
      const int count = list[at++];
      for (int k = 0; k < count; ++k) ids.push_back(SBR_NodeID(from, list[at++]));
      SBR_SetFaceList(body, count, ids.data());
    }
  }
  static void copy_modes(SBR from, SBR body, const Mixture &mixture, double noise) {
    const auto nodes = static_cast<std::size_t>(SBR_NodeCount(from));
    std::vector<std::vector<double>> shapes;
    for (int m = 0; m < kModes; ++m) {
      shapes.emplace_back(3 * nodes);
      SBR_Mode(from, m + 1, 0, shapes.back().data(), 0);
    }
    std::mt19937 random(11);
    for (int m = 0; m < kModes; ++m) {
      double eigenvalue = 0.0;
      for (int k = 0; k < kModes; ++k) {
        double e = 0.0;
        const double weight = mixture[static_cast<std::size_t>(k)][static_cast<std::size_t>(m)];
        SBR_Eigenvalue(from, k + 1, &e, nullptr, nullptr, nullptr, nullptr);
        eigenvalue += weight * weight * e;
      }
      SBR_SetGeneralizedMass(body, m + 1, m + 1, 1.0);
      SBR_SetGeneralizedStiffness(body, m + 1, m + 1, eigenvalue * (1.0 + 0.01 * noise));
      for (std::size_t i = 0; i < nodes; ++i) {
        double six[6] = {};
        for (std::size_t c = 0; c < 3; ++c) {
          for (std::size_t k = 0; k < kModes; ++k)
            six[c] += mixture[k][static_cast<std::size_t>(m)] * shapes[k][3 * i + c];
          six[c] += 30.0 * noise * (static_cast<double>(random()) / 2147483648.0 - 1.0);
        }
        SBR_SetModeVec(body, m + 1, SBR_NodeID(from, static_cast<int>(i)), 0, six);
      }
    }
  }
};

TEST_F(ProgramDiffTest, ASecondRunOfAModelIsTheSame) {
  build("first.sbr", identity());
  build("second.sbr", second_run(), 1e-5);
  const Outcome run = sbr("diff first.sbr second.sbr");
  EXPECT_EQ(run.code, 0) << run.out;
  const std::string last = run.out.substr(run.out.rfind("same: "));
  EXPECT_NE(last.find("10 modes matched, 6 as mixtures of modes of one frequency, 2 with the other sign, 2 in another "
                      "place"),
            std::string::npos)
      << last;
  EXPECT_NE(run.out.find("invariant 9"), std::string::npos) << "the invariants are compared too";
  EXPECT_EQ(sbr("diff first.sbr second.sbr --exact").code, 1) << "value by value it is another one";
  // Both ways.
  EXPECT_EQ(sbr("diff second.sbr first.sbr").code, 0);
}

TEST_F(ProgramDiffTest, AModeOfAnotherScaleDiffersInShapeAndInvariants) {
  build("first.sbr", identity());
  Mixture other = second_run();
  for (auto &row : other) row[9] *= 1.001;
  build("second.sbr", other);
  const Json report = differing("first.sbr second.sbr");
  EXPECT_EQ(block_of(report, "mode shapes")["same"], false);
  EXPECT_NE(block_of(report, "mode shapes")["worst"].get<std::string>().find("mode 10"), std::string::npos);
  EXPECT_EQ(block_of(report, "invariant 9")["same"], false);
  EXPECT_EQ(block_of(report, "nodal masses")["same"], true);
  EXPECT_EQ(report["same"], false);
  EXPECT_NE(report["summary"].get<std::string>().find("mode shapes"), std::string::npos);
}

TEST_F(ProgramDiffTest, ARigidModeOfAnotherScaleIsNoMixture) {
  build("first.sbr", identity());
  Mixture other = second_run();
  for (auto &row : other) row[2] *= 1.01;
  build("second.sbr", other);
  EXPECT_EQ(block_of(differing("first.sbr second.sbr"), "mode shapes")["same"], false);
}

TEST_F(ProgramDiffTest, AModeWithoutAPartnerIsNamedWithTheMostAlike) {
  build("first.sbr", identity());
  Mixture other = identity();
  other[9][9] = 0.5;
  other[8][9] = 0.5;
  other[7][9] = std::sqrt(0.5);
  build("second.sbr", other);
  const Json report = differing("first.sbr second.sbr");
  ASSERT_EQ(report["unmatched"].size(), 2U);
  EXPECT_NE(
      report["unmatched"][0].get<std::string>().find("mode 10 of A (435.681 Hz) has no partner; the most alike is"),
      std::string::npos)
      << report["unmatched"];
  EXPECT_EQ(report["modes"].size(), 9U);
}

TEST_F(ProgramDiffTest, SinglePrecisionIsNoDifferenceAsTheHelpSays) {
  for (const char *body : {"beam", "conrod"}) {
    const std::string wide = sample(std::string(body) + "_13c");
    const std::string narrow = sample(std::string(body) + "_33c");
    const Outcome usual = sbr("diff " + wide + ' ' + narrow);
    EXPECT_EQ(usual.code, 0) << usual.out;
    ASSERT_EQ(sbr("write " + wide + " w.sbr").code, 0);
    ASSERT_EQ(sbr("write " + wide + " n.sbr --single").code, 0);
    const Outcome written = sbr("diff w.sbr n.sbr");
    EXPECT_EQ(written.code, 0) << written.out;
  }
  for (const char *layout : {"beam_03c", "beam_041", "beam_051"}) {
    const Outcome run = sbr("diff beam_13c.sbr " + sample(layout));
    EXPECT_EQ(run.code, 0) << run.out;
  }
}

TEST_F(ProgramDiffTest, ADifferenceIsNamedWithBlockPlaceAndBothValues) {
  std::string bytes = read_gzip(SBRKIT_TEST_DATA "/samples/beam_03c.sbr.gz");
  write_file(scratch.file("a.sbr"), bytes);
  const std::size_t masses = expected("beam_03c")["blocks"]["8"]["offset"].get<std::size_t>();
  double mass = 0.0;
  std::memcpy(&mass, bytes.data() + masses + 8 + 12 * 99 + 4, sizeof mass);
  int id = 0;
  std::memcpy(&id, bytes.data() + masses + 8 + 12 * 99, sizeof id);
  mass *= 1.01;
  std::memcpy(bytes.data() + masses + 8 + 12 * 99 + 4, &mass, sizeof mass);
  write_file(scratch.file("b.sbr"), bytes);
  const Json report = differing("a.sbr b.sbr");
  EXPECT_EQ(block_of(report, "nodal masses")["different"], 1);
  EXPECT_EQ(block_of(report, "nodal masses")["worst"].get<std::string>().find("node " + std::to_string(id) + ": "), 0U);
  // One percent of a mass is a hundredth, and less of the largest.
  EXPECT_EQ(sbr("diff a.sbr b.sbr --tolerance 'nodal masses=0.011'").code, 0);
  EXPECT_EQ(sbr("diff a.sbr b.sbr --rtol 0.011").code, 0);
  const Outcome unknown = sbr("diff a.sbr b.sbr --tolerance 'nodal mases=0.011'", true);
  EXPECT_EQ(unknown.code, 2);
  EXPECT_NE(unknown.out.find("did you mean 'nodal masses'?"), std::string::npos) << unknown.out;
  EXPECT_EQ(sbr("diff a.sbr missing.sbr").code, 3);
}

TEST_F(ProgramDiffTest, FacesMayBeginElsewhereButNotWindTheOtherWay) {
  std::string bytes = read_gzip(SBRKIT_TEST_DATA "/samples/beam_03c.sbr.gz");
  write_file(scratch.file("a.sbr"), bytes);
  const std::size_t first = expected("beam_03c")["blocks"]["13"]["offset"].get<std::size_t>() + 16 + 4;
  std::rotate(bytes.begin() + static_cast<std::ptrdiff_t>(first),
              bytes.begin() + static_cast<std::ptrdiff_t>(first) + 4,
              bytes.begin() + static_cast<std::ptrdiff_t>(first) + 16);
  write_file(scratch.file("turned.sbr"), bytes);
  const std::string face = bytes.substr(first, 16);
  for (std::size_t k = 0; k < 4; ++k) bytes.replace(first + 4 * k, 4, face.substr(12 - 4 * k, 4));
  write_file(scratch.file("wound.sbr"), bytes);
  EXPECT_EQ(sbr("diff a.sbr turned.sbr").code, 0);
  EXPECT_EQ(sbr("diff a.sbr turned.sbr --exact").code, 1);
  EXPECT_NE(
      block_of(differing("a.sbr wound.sbr"), "element faces")["worst"].get<std::string>().find("only in A: the face"),
      std::string::npos);
}

}  // namespace
}  // namespace sbrtest
