// Reducing a record from the outside: what goes are nodes and faces, never mass.
#include <cmath>

#include "support/messages.h"
#include "support/program.h"

namespace sbrtest {
namespace {

class ProgramReduceTest : public ProgramTest {
 protected:
  ~ProgramReduceTest() override { SBR_Terminate(); }
  SBR open(const std::string &name) const { return SBR_CreateFromSBR(scratch.file(name).c_str()); }
};

// All values of all invariants, with the largest of each kind to measure differences by.
struct Invariants {
  std::vector<std::vector<double>> kinds;
};

Invariants invariants_of(SBR body) {
  Invariants all;
  const auto M = static_cast<std::size_t>(SBR_ModeCount(body));
  const auto take = [&](std::size_t kind, double *values, std::size_t count) {
    ASSERT_NE(values, nullptr);
    if (all.kinds.size() <= kind) all.kinds.resize(kind + 1);
    all.kinds[kind].insert(all.kinds[kind].end(), values, values + count);
    SBR_FreeMemory(values);
  };
  all.kinds.push_back({SBR_Invar1(body)});
  take(1, SBR_Invar2(body), 3);
  take(2, SBR_Invar3(body), 3 * M);
  take(3, SBR_Invar4(body), 3 * M);
  take(4, SBR_Invar7(body), 9);
  for (int j = 0; j < static_cast<int>(M); ++j) {
    take(5, SBR_Invar5(body, j), 3 * M);
    take(6, SBR_Invar8(body, j), 9);
    for (int k = 0; k < static_cast<int>(M); ++k) take(7, SBR_Invar9(body, j, k), 9);
  }
  return all;
}

void expect_equal(const Invariants &a, const Invariants &b, double tolerance) {
  ASSERT_EQ(a.kinds.size(), b.kinds.size());
  for (std::size_t kind = 0; kind < a.kinds.size(); ++kind) {
    ASSERT_EQ(a.kinds[kind].size(), b.kinds[kind].size());
    double largest = 0.0;
    double worst = 0.0;
    for (std::size_t i = 0; i < a.kinds[kind].size(); ++i) {
      largest = std::max(largest, std::fabs(a.kinds[kind][i]));
      worst = std::max(worst, std::fabs(a.kinds[kind][i] - b.kinds[kind][i]));
    }
    EXPECT_LE(worst, tolerance * largest) << "kind " << kind;
  }
}

TEST_F(ProgramReduceTest, AReducedRodKeepsAllInvariantsOfTheWholeRod) {
  const std::string rod = sample("conrod_13c");
  const Outcome run = sbr("reduce " + rod + " small.sbr");
  ASSERT_EQ(run.code, 0);
  EXPECT_NE(run.out.find("nodes 5224 -> 931"), std::string::npos) << run.out;
  EXPECT_NE(run.out.find("11.59 % of the mass"), std::string::npos) << run.out;
  // The whole rod has no invariants: the library sums them over its 5224 nodes.
  expect_equal(invariants_of(open(rod)), invariants_of(open("small.sbr")), 1e-14);
}

TEST_F(ProgramReduceTest, TheFiguresOfAReducedRodAreTheIndependentOnes) {
  const Json want = expected("conrod_13c");
  ASSERT_EQ(sbr("reduce " + sample("conrod_13c") + " small.sbr --coarsen 0.05,15").code, 0);
  const SBR body = open("small.sbr");
  EXPECT_NEAR(SBR_Invar1(body), want["mass"].get<double>(), 1e-15);
  double *third = SBR_Invar3(body);
  double *fourth = SBR_Invar4(body);
  for (std::size_t i = 0; i < 36; ++i) {
    EXPECT_NEAR(third[i], want["invariant3_component_major"][i].get<double>(), 1e-13) << i;
    EXPECT_NEAR(fourth[i], want["invariant4_component_major"][i].get<double>(), 1e-12) << i;
  }
  SBR_FreeMemory(third);
  SBR_FreeMemory(fourth);
  // The global properties of the record are those of the invariants.
  const Json mass = json("mass --json small.sbr");
  for (std::size_t c = 0; c < 3; ++c)
    EXPECT_NEAR(mass["center"][c].get<double>(), want["center"][c].get<double>(), 1e-9);
}

TEST_F(ProgramReduceTest, ABeamThatHasInvariantsKeepsThemWordForWord) {
  const std::string beam = sample("beam_03c");
  ASSERT_EQ(sbr("reduce " + beam + " small.sbr").code, 0);
  expect_equal(invariants_of(open(beam)), invariants_of(open("small.sbr")), 0.0);
  ASSERT_EQ(sbr("reduce small.sbr smaller.sbr").code, 0);
  expect_equal(invariants_of(open(beam)), invariants_of(open("smaller.sbr")), 0.0);
}

TEST_F(ProgramReduceTest, SinglePrecisionKeepsThemToItsDigits) {
  const std::string rod = sample("conrod_13c");
  ASSERT_EQ(sbr("reduce " + rod + " small.sbr --single").code, 0);
  expect_equal(invariants_of(open(rod)), invariants_of(open("small.sbr")), 1.2e-7);
}

TEST_F(ProgramReduceTest, AReducedBodyMovesAndChangesUnitsAsTheWholeOne) {
  const std::string rod = sample("conrod_13c");
  ASSERT_EQ(sbr("reduce " + rod + " small.sbr").code, 0);
  const std::string steps = " --rotate 1,2,0,33 --translate 5,-4,3";
  ASSERT_EQ(sbr("transform " + rod + " whole_moved.sbr" + steps).code, 0);
  ASSERT_EQ(sbr("transform small.sbr small_moved.sbr" + steps).code, 0);
  expect_equal(invariants_of(open("whole_moved.sbr")), invariants_of(open("small_moved.sbr")), 1e-11);
  EXPECT_EQ(json("nodes --json small.sbr --id 1")[0]["mass"], json("nodes --json small_moved.sbr --id 1")[0]["mass"]);
  ASSERT_EQ(sbr("units small.sbr small_si.sbr --to SI").code, 0);
  EXPECT_NEAR(json("mass --json small_si.sbr")["mass"].get<double>(), 1.2164283092984695, 1e-12);
}

TEST_F(ProgramReduceTest, KeepingNodesKeepsThemAlsoWhereInvariantsAreStored) {
  ASSERT_EQ(sbr("reduce " + sample("beam_13c") + " whole.sbr --keep-nodes").code, 0);
  const Json info = json("info --json whole.sbr");
  EXPECT_EQ(info["counts"]["nodes"], 1221);
  EXPECT_EQ(info["counts"]["faces"], 328);
  EXPECT_EQ(info["mass_source"], "nodal masses");
  EXPECT_NEAR(info["mass"].get<double>(), 4.71e-3, 1e-15);
  EXPECT_EQ(sbr("reduce beam_13c.sbr x.sbr --keep-nodes --invariants full").code, 2);
}

TEST_F(ProgramReduceTest, WhatWouldLoseMassIsRefusedWithTheFigure) {
  const std::string rod = sample("conrod_13c");
  EXPECT_EQ(sbr("reduce " + rod + " x.sbr --layout 82").code, 2);
  EXPECT_EQ(sbr("reduce " + rod + " x.sbr --invariants fast").code, 2);
  ASSERT_EQ(sbr("reduce " + rod + " small.sbr").code, 0);
  const Outcome layout = sbr("write small.sbr x.sbr --layout 81", true);
  EXPECT_EQ(layout.code, 2);
  EXPECT_NE(layout.out.find("11.59 %"), std::string::npos) << layout.out;
  EXPECT_EQ(sbr("reduce small.sbr x.sbr --keep-nodes").code, 2);
  // Invariants 5 and 9 were left out while the nodes went: they are gone for good.
  ASSERT_EQ(sbr("write " + rod + " fast.sbr --invariants fast").code, 0);
  const Outcome full = sbr("write fast.sbr x.sbr --invariants full", true);
  EXPECT_EQ(full.code, 2);
  EXPECT_NE(full.out.find("invariants 5, 9 cannot be computed"), std::string::npos) << full.out;
  EXPECT_EQ(sbr("reduce fast.sbr kept.sbr").code, 0);
  EXPECT_EQ(json("info --json kept.sbr")["invariants"]["in_record"], Json({1, 2, 3, 4, 7, 8}));
  EXPECT_FALSE(std::filesystem::exists(scratch.file("x.sbr")));
}

TEST_F(ProgramReduceTest, AnOldLayoutOfABodyWithInvariantsKeepsItsNodesAndItsMass) {
  for (const char *layout : {"81", "82"}) {
    ASSERT_EQ(sbr("write " + sample("beam_13c") + " old.sbr --layout " + layout).code, 0);
    const Json info = json("info --json old.sbr");
    EXPECT_EQ(info["counts"]["nodes"], 1221) << layout;
    EXPECT_NEAR(info["mass"].get<double>(), 4.71e-3, 1e-15) << layout;
  }
}

TEST_F(ProgramReduceTest, TheCenterOfMassBecomesTheOriginAlsoWhereInvariantsAreStored) {
  ASSERT_EQ(sbr("write " + sample("beam_13c") + " centered.sbr --shift-to-cm").code, 0);
  const Json mass = json("mass --json centered.sbr");
  EXPECT_EQ(mass["source"], "inertia invariants stored in the record");
  for (std::size_t c = 0; c < 3; ++c) EXPECT_NEAR(mass["center"][c].get<double>(), 0.0, 1e-9) << c;
  EXPECT_NEAR(mass["principal_moments"][0].get<double>(), expected("beam_13c")["invariant7"][0].get<double>(), 1e-9);
  // Of a reduced body the library knows the center no more.
  ASSERT_EQ(sbr("reduce beam_13c.sbr small.sbr").code, 0);
  EXPECT_EQ(sbr("write small.sbr x.sbr --shift-to-cm").code, 2);
}

TEST_F(ProgramReduceTest, ABodyWithoutModesKeepsItsNodes) {
  ASSERT_EQ(sbr("write " + sample("conrod_13c") + " plain.sbr --empty").code, 0);
  const Outcome run = sbr("reduce plain.sbr small.sbr", true);
  EXPECT_EQ(run.code, 0) << run.out;
  EXPECT_NE(run.out.find("without modes keeps its nodes"), std::string::npos);
  EXPECT_NEAR(json("mass --json small.sbr")["mass"].get<double>(), 0.0012164283092984695, 1e-15);
}

}  // namespace
}  // namespace sbrtest
