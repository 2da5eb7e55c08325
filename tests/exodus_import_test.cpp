// `sbr import exodus` from the outside, on files that the netCDF library wrote without ours; what they hold is known by
// formula (data/sources/make_exodus.py).
#include "support/program.h"

namespace sbrtest {
namespace {

class ExodusImportTest : public ProgramTest {
 protected:
  ExodusImportTest() {
    for (const char *name : {"bar.exo", "types.exo"})
      std::filesystem::copy_file(std::string(SBRKIT_TEST_DATA "/sources/") + name, scratch.file(name));
  }
  void SetUp() override {
    if (sbr("import exodus --help").code != 0) GTEST_SKIP() << "this build reads no Exodus II files";
  }
  std::string refusal(const std::string &arguments, int code) const {
    const Outcome run = sbr("import exodus " + arguments, true);
    EXPECT_EQ(run.code, code) << run.out;
    return run.out;
  }
};

TEST_F(ExodusImportTest, MeshMassSetsAndFrequenciesAreThoseOfTheFile) {
  const Json bar = json("import exodus bar.exo -o bar.sbr --units SI --density 7850 --interface 'left END' --json");
  EXPECT_EQ(bar["title"], "A bar of bricks");
  EXPECT_EQ(bar["nodes"], 30);
  EXPECT_EQ(bar["elements"], 8);
  EXPECT_EQ(bar["surface_faces"], 28);
  EXPECT_EQ(bar["interface_nodes"], 6);
  const double mass = 7850 * 0.4 * 0.2 * 0.1;
  EXPECT_NEAR(bar["mass"].get<double>(), mass, 1e-12 * mass);
  EXPECT_NEAR(bar["center_of_mass"][0].get<double>(), 0.2, 1e-12);
  EXPECT_NEAR(bar["inertia"][0].get<double>(), mass / 12 * (0.04 + 0.01), 1e-12);
  EXPECT_NEAR(bar["inertia"][8].get<double>(), mass / 12 * (0.16 + 0.04), 1e-12);
  ASSERT_EQ(bar["modes"].size(), 8U);
  for (std::size_t i = 0; i < 8; ++i) {
    EXPECT_EQ(bar["modes"][i]["rigid"], i < 6);
    EXPECT_NEAR(bar["modes"][i]["hz"].get<double>(), i < 6 ? 0.0 : 100.0 * (static_cast<double>(i) - 5), 1e-9);
  }
  for (const char *set : {"NODESET_7", "SIDESET_3", "'end face'"})
    EXPECT_EQ(json("import exodus bar.exo -o bar.sbr --units SI --interface " + std::string(set) +
                   " --json")["interface_nodes"],
              6)
        << set;
}

TEST_F(ExodusImportTest, ShapesAndStressesComeToTheirNodes) {
  ASSERT_EQ(sbr("import exodus bar.exo -o bar.sbr --units SI --density 7850 --stress all --no-ortho").code, 0);
  const Json nodes = json("nodes --json bar.sbr");
  ASSERT_EQ(nodes.size(), 30U);
  const Json bending = json("mode bar.sbr 7 --json")["nodes"];
  const Json turning = json("mode bar.sbr 6 --json")["nodes"];
  const Json stress = json("mode bar.sbr 2 --kind stress --json")["nodes"];
  ASSERT_EQ(stress.size(), 30U);
  for (std::size_t i = 0; i < 30; ++i) {
    const auto at = [&](std::size_t k) { return nodes[i]["xyz"][k].get<double>(); };
    EXPECT_NEAR(bending[i]["values"][2].get<double>(), 10 * at(0) * at(0), 1e-12);
    EXPECT_EQ(bending[i]["values"][0].get<double>(), 0.0);
    EXPECT_NEAR(turning[i]["values"][0].get<double>(), -at(1), 1e-15);
    EXPECT_NEAR(turning[i]["values"][1].get<double>(), at(0), 1e-15);
    // The mean over the bricks around a node: of their centers, which lie evenly about it inside of the bar.
    const auto mean = [](double place, double end) {
      return place < 1e-9 ? 0.05 : place > end - 1e-9 ? end - 0.05 : place;
    };
    const double wanted[6] = {2 * (1 + mean(at(0), 0.4)), 2 * (2 + mean(at(1), 0.2)), 2 * 3.05, 8, 12, 10};
    for (std::size_t k = 0; k < 6; ++k) EXPECT_NEAR(stress[i]["values"][k].get<double>(), wanted[k], 1e-12) << i << k;
  }
}

TEST_F(ExodusImportTest, GeneralizedMassesFollowTheRule) {
  const auto masses = [&](const std::string &options) {
    EXPECT_EQ(sbr("import exodus bar.exo -o bar.sbr --units SI --no-ortho " + options).code, 0);
    return json("modes --json bar.sbr");
  };
  EXPECT_NEAR(masses("--density 7850")[0]["generalized_mass"].get<double>(), 62.8, 1e-9) << "not scaled to 1";
  EXPECT_EQ(masses("--density 7850 --modal-mass unit")[0]["generalized_mass"], 1.0);
  EXPECT_EQ(masses("")[0]["generalized_mass"], 1.0);
  const Outcome told = sbr("import exodus bar.exo -o bar.sbr --density 7850", true);
  EXPECT_NE(told.out.find("not scaled to unit generalized mass"), std::string::npos);
  EXPECT_NE(refusal("bar.exo -o bar.sbr --modal-mass nodes", 2).find("give the density"), std::string::npos);
}

TEST_F(ExodusImportTest, WithoutADensityTheRecordHasNoMasses) {
  const Json bar = json("import exodus bar.exo -o bar.sbr --units SI --json");
  EXPECT_TRUE(bar["mass"].is_null());
  EXPECT_EQ(bar["written"]["mass"], 0.0);
  EXPECT_EQ(bar["modes"][6]["rigid"], false);
  EXPECT_TRUE(bar["modes"][6]["mass_by_nodes"].is_null());
}

TEST_F(ExodusImportTest, TimesMayBeRatesOrEigenvalues) {
  const double pi = 3.14159265358979324;
  EXPECT_NEAR(json("import exodus bar.exo -o b.sbr --times rad --json")["modes"][7]["hz"].get<double>(), 200 / (2 * pi),
              1e-9);
  EXPECT_NEAR(json("import exodus bar.exo -o b.sbr --times eigenvalue --json")["modes"][7]["eigenvalue"].get<double>(),
              200, 1e-9);
}

// Mid-edge nodes in another order would give other volumes.
TEST_F(ExodusImportTest, QuadraticElementsKeepTheirVolumes) {
  const Json types = json("import exodus types.exo -o t.sbr --units SI --density 1000 --json");
  EXPECT_NEAR(types["volume"].get<double>(), 6 + 3 + 1 + 2 * 0.25, 1e-12) << "the shell with its own thickness";
  EXPECT_NEAR(types["center_of_mass"][0].get<double>(), (6 * 0.5 + 3 * (10 + 1.0 / 3) + 20.25 + 0.5 * 30.5) / 10.5,
              1e-12);
  EXPECT_NEAR(types["center_of_mass"][2].get<double>(), (6 * 1.5 + 3 * 1.5 + 0.75) / 10.5, 1e-12);
}

TEST_F(ExodusImportTest, WhatCannotBeRightIsRefused) {
  EXPECT_NE(refusal("none.exo -o b.sbr", 3).find("none.exo: "), std::string::npos);
  write_file(scratch.file("text.exo"), "hello world\n");
  EXPECT_NE(refusal("text.exo -o b.sbr", 3).find("not an Exodus II file"), std::string::npos);
  EXPECT_NE(refusal("bar.exo -o b.sbr --interface nowhere", 3).find("NODESET_7"), std::string::npos);
  EXPECT_NE(refusal("bar.exo -o b.sbr --modes 9", 3).find("the file has 8"), std::string::npos);
  EXPECT_NE(refusal("bar.exo -o b.sbr --displacement velocity", 3).find("--displacement"), std::string::npos);
  EXPECT_NE(refusal("types.exo -o b.sbr --stress all", 3).find("no stress"), std::string::npos);
  const std::string whole = read_file(scratch.file("bar.exo"));
  const auto damaged = [&](const std::string &bytes) {
    write_file(scratch.file("bad.exo"), bytes);
    const Outcome run = sbr("import exodus bad.exo -o bad.sbr", true);
    return std::make_pair(run.code, run.out);
  };
  // Any prefix is told, or is whole for what is asked for; nothing crashes.
  for (std::size_t size : {4U, 100U, 1000U, 5000U, 9000U, 12000U}) {
    const auto [code, text] = damaged(whole.substr(0, size));
    EXPECT_TRUE(code == 3 || code == 0) << size << ": " << code << text;
  }
  EXPECT_FALSE(std::filesystem::exists(scratch.file("b.sbr")));
}

TEST_F(ExodusImportTest, FilesOfFlippedBytesDoNotCrash) {
  const std::string whole = read_file(scratch.file("bar.exo"));
  std::mt19937 random(5);
  for (int i = 0; i < 60; ++i) {
    std::string bytes = whole;
    for (int k = 0; k < 3; ++k)
      bytes[random() % (i % 2 == 0 ? 3000 : bytes.size())] = static_cast<char>(random() % 256);
    write_file(scratch.file("bad.exo"), bytes);
    const Outcome run = sbr("import exodus bad.exo -o bad.sbr --stress all", true);
    EXPECT_TRUE(run.code == 0 || run.code == 2 || run.code == 3 || run.code == 4) << run.code << run.out;
  }
}

}  // namespace
}  // namespace sbrtest
