// The program from the outside: what it prints, its exit codes, and records that go through it.
#include "support/program.h"

#include <cmath>

namespace sbrtest {
namespace {

TEST_F(ProgramTest, InfoTellsFormatCountsAndBlocksOfEverySample) {
  const Json all = Json::parse(read_file(SBRKIT_TEST_DATA "/samples/expected.json"));
  for (const auto &[name, want] : all.items()) {
    const Json info = json("info --json " + sample(name));
    EXPECT_EQ(info["encoding"], want["xdr"] == true ? "XDR" : "native") << name;
    EXPECT_EQ(info["precision"], want["single"] == true ? "single" : "double") << name;
    EXPECT_DOUBLE_EQ(info["version"].get<double>() * 10.0, want["version_code"].get<double>()) << name;
    EXPECT_EQ(info["counts"]["nodes"], want["node_count"]) << name;
    EXPECT_EQ(info["counts"]["modes"], want["mode_count"]) << name;
    EXPECT_EQ(info["counts"]["faces"], want["face_count"]) << name;
    EXPECT_EQ(info["units"]["length"], want["units"][1]) << name;
    EXPECT_NEAR(info["mass"].get<double>(), want["mass"].get<double>(), 1e-6 * want["mass"].get<double>()) << name;
    for (const Json &block : info["blocks"]) {
      const Json &known = want["blocks"][std::to_string(block["number"].get<int>() - 1)];
      if (!known.is_null() && name != "beam_030" && name != "beam_031") {
        EXPECT_EQ(block["offset"], known["offset"]) << name << ' ' << block;
      }
    }
  }
}

TEST_F(ProgramTest, ModesAndOneModeCarryTheFiguresOfTheRecord) {
  const Json want = expected("conrod_13c");
  const std::string file = sample("conrod_13c");
  const Json modes = json("modes --json " + file);
  ASSERT_EQ(modes.size(), 12U);
  for (std::size_t i = 0; i < 12; ++i)
    EXPECT_NEAR(modes[i]["hz"].get<double>(), want["frequency_hz"][i].get<double>(),
                1e-9 * std::fabs(want["frequency_hz"][i].get<double>()) + 1e-12);
  const Json mode = json("mode --json " + file + " 7 --node 1");
  ASSERT_EQ(mode["nodes"].size(), 1U);
  EXPECT_EQ(mode["nodes"][0]["values"], want["nodes"][0]["shape"]["7"]);
  const Json stress = json("mode --json " + file + " 7 --kind stress --node 1");
  EXPECT_EQ(stress["nodes"][0]["values"], want["stress_nodes"][0]["stress"]["7"]);
  const Json nodes = json("nodes --json " + file + " --id 1");
  EXPECT_EQ(nodes[0]["xyz"], want["nodes"][0]["xyz"]);
}

TEST_F(ProgramTest, MassComesFromTheInvariantsWithPrincipalAxes) {
  const Json want = expected("beam_13c");
  const Json mass = json("mass --json " + sample("beam_13c"));
  EXPECT_NEAR(mass["mass"].get<double>(), want["mass"].get<double>(), 1e-15);
  EXPECT_NEAR(mass["center"][0].get<double>(), 500.0, 1e-9);
  EXPECT_NEAR(mass["principal_moments"][0].get<double>(), want["invariant7"][0].get<double>(), 1e-9);
  EXPECT_NEAR(std::fabs(mass["principal_axes"][0][0].get<double>()), 1.0, 1e-9) << "the beam lies along x";
  EXPECT_EQ(mass["source"], "inertia invariants stored in the record");
}

TEST_F(ProgramTest, FacesOfASolidAreAClosedSurfaceWithInnerFaces) {
  const Json want = expected("beam_13c");
  const Json faces = json("faces --json " + sample("beam_13c"));
  EXPECT_EQ(faces["faces"], want["face_count"]);
  EXPECT_EQ(faces["outer_faces"], want["surface_face_count_after_stripping"]);
  EXPECT_EQ(faces["closed"], true);
}

TEST_F(ProgramTest, ARecordChecksSoundAndADamagedOneDoesNot) {
  const std::string file = sample("beam_03c");
  EXPECT_EQ(sbr("check " + file).code, 0);
  std::string bytes = read_file(scratch.file(file));
  const Json block = expected("beam_03c")["blocks"]["22"];
  // A value in the middle of invariant 5 becomes another one.
  bytes[block["offset"].get<std::size_t>() + 4 + 8 * 125 + 7] = 0x45;
  write_file(scratch.file("damaged.sbr"), bytes);
  const Outcome run = sbr("check --json damaged.sbr");
  EXPECT_EQ(run.code, 1);
  bool named = false;
  const Json report = Json::parse(run.out);
  for (const Json &finding : report["findings"])
    named = named || (finding["level"] == "error" && finding["subject"] == "invariant 5");
  EXPECT_TRUE(named) << run.out;
}

TEST_F(ProgramTest, DiffFindsNothingBetweenEncodingsAndNamesTheWorstPlace) {
  const std::string a = sample("beam_03c");
  const std::string b = sample("beam_13c");
  EXPECT_EQ(sbr("diff " + a + ' ' + b).code, 0);
  // The rod stores no invariants, so that all its nodes stay.
  const std::string rod = sample("conrod_13c");
  ASSERT_EQ(sbr("transform " + rod + " moved.sbr --translate 0,0,2.5").code, 0);
  const Outcome run = sbr("diff --json " + rod + " moved.sbr");
  EXPECT_EQ(run.code, 1);
  const Json report = Json::parse(run.out);
  for (const Json &block : report["blocks"]) {
    if (block["block"] == "nodal coordinates") {
      EXPECT_EQ(block["same"], false);
      EXPECT_NE(block["worst"].get<std::string>().find('z'), std::string::npos);
    }
    if (block["block"] == "mode shapes") {
      EXPECT_EQ(block["same"], true) << block;
    }
  }
}

TEST_F(ProgramTest, TransformStepsRunInTheOrderGiven) {
  const std::string a = sample("beam_03c");
  ASSERT_EQ(sbr("transform " + a + " b.sbr --translate 10,0,0 --rotate 0,0,1,90").code, 0);
  ASSERT_EQ(sbr("transform " + a + " c.sbr --rotate 0,0,1,90 --translate 10,0,0 --renumber 1000").code, 0);
  // Node 1 stands at (0, -10, -15).
  const Json b = json("nodes --json b.sbr --id 1");
  EXPECT_NEAR(b[0]["xyz"][0].get<double>(), 10.0, 1e-12);
  EXPECT_NEAR(b[0]["xyz"][1].get<double>(), 10.0, 1e-12);
  const Json c = json("nodes --json c.sbr --id 1001");
  EXPECT_NEAR(c[0]["xyz"][0].get<double>(), 20.0, 1e-12);
  EXPECT_NEAR(c[0]["xyz"][1].get<double>(), 0.0, 1e-12);
  EXPECT_EQ(sbr("check b.sbr").code, 0);
}

TEST_F(ProgramTest, InterfaceNodesTakeNewIds) {
  const std::string a = sample("beam_03c");
  ASSERT_EQ(sbr("transform " + a + " b.sbr --renumber-interface 9001,9002").code, 0);
  EXPECT_EQ(sbr("nodes b.sbr --id 9001,9002").code, 0);
  EXPECT_EQ(sbr("nodes b.sbr --id 8").code, 2) << "the second interface node had this ID";
}

TEST_F(ProgramTest, UnitsThereAndBackAreTheStart) {
  const std::string a = sample("beam_03c");
  ASSERT_EQ(sbr("units " + a + " si.sbr --to SI").code, 0);
  const Json mass = json("mass --json si.sbr");
  EXPECT_NEAR(mass["mass"].get<double>(), 4.71, 1e-9);
  EXPECT_NEAR(mass["center"][0].get<double>(), 0.5, 1e-12);
  ASSERT_EQ(sbr("units si.sbr back.sbr --to mm-t-s-N").code, 0);
  ASSERT_EQ(sbr("write " + a + " same.sbr").code, 0);
  const Outcome run = sbr("diff same.sbr back.sbr --rtol 1e-9 --atol 1e-9");
  EXPECT_EQ(run.code, 0) << run.out;
  EXPECT_EQ(sbr("units " + a + " x.sbr --to furlongs").code, 2);
}

TEST_F(ProgramTest, ReduceKeepsTheSurfaceAndItsNodes) {
  const std::string a = sample("beam_03c");
  ASSERT_EQ(sbr("reduce " + a + " small.sbr").code, 0);
  const Json info = json("info --json small.sbr");
  EXPECT_EQ(info["counts"]["faces"], 328);
  EXPECT_LT(info["counts"]["nodes"].get<int>(), 1221);
  ASSERT_EQ(sbr("reduce " + a + " coarse.sbr --coarsen 0.05,15").code, 0);
  EXPECT_EQ(json("info --json coarse.sbr")["coarsened"], true);
}

TEST_F(ProgramTest, WriteOptionsReachTheRecord) {
  const std::string a = sample("beam_13c");
  ASSERT_EQ(sbr("write " + a + " b.sbr --single --no-xdr --lowpass 300 --highpass 1").code, 0);
  Json info = json("info --json b.sbr");
  EXPECT_EQ(info["precision"], "single");
  EXPECT_EQ(info["encoding"], "native");
  EXPECT_EQ(info["counts"]["modes"], 3) << "106, 159 and 292 Hz";
  ASSERT_EQ(sbr("write " + a + " e.sbr --empty").code, 0);
  EXPECT_EQ(json("info --json e.sbr")["counts"]["modes"], 0);
  ASSERT_EQ(sbr("write " + a + " o.sbr --layout 82").code, 0);
  EXPECT_EQ(json("info --json o.sbr")["version"], 2.0);
  EXPECT_EQ(sbr("write " + a + " x.sbr --layout 81 --single").code, 4);
  EXPECT_FALSE(std::filesystem::exists(scratch.file("x.sbr")));
  const ScopedEnvironment variable("KTX_SBRWRITE_OPTIONS", "single");
  ASSERT_EQ(sbr("write " + a + " v.sbr").code, 0);
  EXPECT_EQ(json("info --json v.sbr")["precision"], "single");
}

TEST_F(ProgramTest, TheReportPrintsTheBlocksAskedFor) {
  const Outcome run = sbr("report " + sample("beam_13c") + " 1 11");
  EXPECT_EQ(run.code, 0);
  EXPECT_NE(run.out.find("SBR version: 6.0\nPrecision: Double   \nPlatform independent (XDR encoded): Yes \n"),
            std::string::npos);
  EXPECT_NE(run.out.find("Mass Units    MEGAGRAM\n"), std::string::npos);
  EXPECT_EQ(run.out.find("Block   4:"), std::string::npos);
}

TEST_F(ProgramTest, ExitCodesTellUsageInputAndOutputApart) {
  const std::string a = sample("beam_13c");
  write_file(scratch.file("noise.sbr"), "no");
  EXPECT_EQ(sbr("--help").code, 0);
  EXPECT_EQ(sbr("info --help").code, 0);
  EXPECT_EQ(sbr("--version").code, 0);
  EXPECT_EQ(sbr("").code, 2);
  EXPECT_EQ(sbr("frobnicate").code, 2);
  EXPECT_EQ(sbr("info").code, 2);
  EXPECT_EQ(sbr("mode " + a + " 999").code, 2);
  EXPECT_EQ(sbr("nodes " + a + " --id 999999").code, 2);
  EXPECT_EQ(sbr("info missing.sbr").code, 3);
  EXPECT_EQ(sbr("info .").code, 3);
  const Outcome noise = sbr("info noise.sbr", true);
  EXPECT_EQ(noise.code, 3);
  EXPECT_NE(noise.out.find("error: Not a valid SBR format."), std::string::npos);
  EXPECT_EQ(sbr("write " + a + ' ' + a).code, 2) << "a record is not written onto itself";
  EXPECT_EQ(sbr("write " + a + " missing/x.sbr").code, 4);
  EXPECT_EQ(sbr("write " + a + " .").code, 2);
}

TEST_F(ProgramTest, InformationShowsOnRequestOnly) {
  const std::string a = sample("beam_13c");
  EXPECT_EQ(sbr("write " + a + " q.sbr", true).out, "");
  EXPECT_NE(sbr("-v write " + a + " r.sbr", true).out.find("Exporting frequency range"), std::string::npos);
}

}  // namespace
}  // namespace sbrtest
