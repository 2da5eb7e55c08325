// Decks and results that do not belong together, and units without sense.
#include "common/consistency.h"

#include <gmock/gmock.h>

#include "support/model_job.h"

namespace sbrtest {
namespace {

using ::testing::Contains;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

using ConsistencyTest = ModelJobTest;

TEST_F(ConsistencyTest, ADensityThatWasChangedAfterTheRunIsRefused) {
  for (const char *name : {"solid_C3D4", "solid_C3D8R", "solid_C3D8I", "solid_C3D10", "layer_C3D8", "tied_TIE"}) {
    take(name);
    EXPECT_EQ(complaint(), "") << name;
    take(name, "7.85e-9", "7.88e-9");
    EXPECT_THAT(complaint(), HasSubstr(".frd.gz: the modes are those of a body with the mass ")) << name;
  }
  for (const char *name : {"fold_S4", "corner_S8R", "flat2d"}) {
    take(name, "7.85e-9", "8.0e-9");
    EXPECT_THAT(complaint(), HasSubstr("the modes are those of a body with the mass ")) << name;
  }
}

TEST_F(ConsistencyTest, ForceTakesTheModesNevertheless) {
  take("solid_C3D10", "7.85e-9", "2.7e-9");
  EXPECT_THAT(complaint(), EndsWith("--force takes them nevertheless"));
  options.force = true;
  EXPECT_EQ(complaint(), "");
  EXPECT_THAT(report.warnings, Contains(HasSubstr("the modes are those of a body with the mass 0.000101736, and the "
                                                  "elements have 3.4992e-05")));
}

TEST_F(ConsistencyTest, TheMassOfOnePartMovesTheCenter) {
  take("tied_EQUATION", "*SOLID SECTION, ELSET=BODY, MATERIAL=STEEL",
       "*ELSET, ELSET=A, GENERATE\n1,8\n*ELSET, ELSET=B, GENERATE\n9,16\n*MATERIAL, NAME=HEAVY\n*DENSITY\n8.0e-9\n"
       "*MATERIAL, NAME=LIGHT\n*DENSITY\n7.7e-9\n*SOLID SECTION, ELSET=A, MATERIAL=HEAVY\n"
       "*SOLID SECTION, ELSET=B, MATERIAL=LIGHT");
  EXPECT_THAT(complaint(), HasSubstr("the modes are those of a body whose center of mass is 0.2"));
}

TEST_F(ConsistencyTest, ASupportedBodyIsJudgedByItsElasticModes) {
  take("clamped");
  EXPECT_EQ(complaint(), "");
  take("clamped", "7.85e-9", "2.7e-9");
  EXPECT_THAT(complaint(), HasSubstr("the elements give the modes 0.34"));
}

TEST_F(ConsistencyTest, AnotherMeshIsRefusedUnlessItIsForced) {
  take("solid_C3D8");
  const std::size_t start = deck.find("\n20, ") + 5;
  const double x = std::stod(deck.substr(start));
  deck.replace(start, deck.find(',', start) - start, std::to_string(x + 0.05));
  EXPECT_THAT(complaint(), HasSubstr("the mesh is not that of the deck: node 20 lies elsewhere there; --force takes"));
  options.force = true;
  EXPECT_EQ(complaint(), "");
  // Other nodes cannot be forced.
  options.frd = model_file("solid_C3D10.frd.gz");
  EXPECT_NE(complaint(), "");
}

TEST_F(ConsistencyTest, UnitsWithoutSenseAreWarnedOf) {
  take("solid_C3D8");
  EXPECT_EQ(complaint(), "");
  EXPECT_THAT(report.warnings, Not(Contains(HasSubstr("--units"))));
  options.units = {"KILOGRAM", "METER", "SECOND", "NEWTON"};
  EXPECT_EQ(complaint(), "");
  EXPECT_THAT(report.warnings,
              Contains("the density of STEEL is 7.85e-09 kg/m^3 in the units that are given (--units); "
                       "is that right?"));
  // 210000 Pa is a gel's modulus, which is possible.
  options.units = {"MEGAGRAM", "MILLIMETER", "SECOND", "NEWTON"};
  take("solid_C3D8", "210000, 0.3", "2.1e11, 0.3");
  EXPECT_EQ(complaint(), "");
  EXPECT_THAT(report.warnings, Contains(StartsWith("Young's modulus of STEEL is 2.1e+17 Pa")));
}

}  // namespace
}  // namespace sbrtest
