// How many modes are rigid, and what they are in terms of the six rigid motions.
#include <cmath>
#include <limits>

#include "support/files.h"
#include "support/mass_body.h"
#include "support/messages.h"

namespace sbrtest {
namespace {

const Message kNoBody = error("The database has not been initialized.");

class RigidCount : public LibraryTest {
 protected:
  // The count for modes of these frequencies in hertz.
  static int count(const std::vector<double> &hz) {
    SBR body = SBR_Create(1, static_cast<int>(hz.size()) + 1);
    for (std::size_t i = 0; i < hz.size(); ++i) SBR_AddMode(body, 10 + static_cast<int>(i));
    set_frequencies(body, hz);
    const int result = SBR_RigidBodyModeCount(body);
    SBR_UnLink(body);
    return result;
  }
  const ScopedEnvironment no_threshold{"SBR_RIGID_BODY_THRESHOLD", std::nullopt};
};

TEST_F(RigidCount, TheDefaultThresholdHasAFloorOfOneHertz) {
  EXPECT_EQ(count({0, 0, 0.0009, 0.001, 0.0011, 0.4, 0.5}), 4);
}

TEST_F(RigidCount, TheDefaultThresholdIsAThousandthOfTheSeventhFrequency) {
  EXPECT_EQ(count({0, 0, 0, 0.1, 0.100001, 50, 100}), 4);
}

TEST_F(RigidCount, NegativeFrequenciesCount) { EXPECT_EQ(count({-5, -1e-4, 0, 1e-4, 2e-4, 3e-4, 20}), 6); }

TEST_F(RigidCount, TheSixAreCountedNotScanned) { EXPECT_EQ(count({0, 30, 0, 30, 0, 30, 100}), 3); }

TEST_F(RigidCount, ModesBeyondTheSixthNeverCount) { EXPECT_EQ(count({0, 0, 0, 0, 0, 0, 0, 0, 0}), 6); }

TEST_F(RigidCount, TheEnvironmentSetsTheThreshold) {
  const ScopedEnvironment threshold("SBR_RIGID_BODY_THRESHOLD", "25.5");
  EXPECT_EQ(count({0, 10, 20, 25.5, 25.6, 40, 100}), 4);
}

TEST_F(RigidCount, AThresholdWithoutANumberIsZero) {
  const ScopedEnvironment threshold("SBR_RIGID_BODY_THRESHOLD", "none");
  EXPECT_EQ(count({-1, 0, 1e-9, 1, 2, 3, 100}), 2);
}

TEST_F(RigidCount, WithoutASeventhFrequencyThereAreNone) {
  SBR body = SBR_Create(1, 8);
  for (int number = 1; number <= 7; ++number) {
    SBR_AddMode(body, number);
    SBR_SetGeneralizedMass(body, number, number, 1.0);
  }
  SBR_SetGeneralizedStiffness(body, 1, 2, 1.0);  // matrices that are not diagonal have no eigenvalues
  EXPECT_EQ(SBR_RigidBodyModeCount(body), 0);
}

TEST_F(RigidCount, FrequenciesCanComeFromTheGeneralizedMatrices) {
  SBR body = SBR_Create(1, 8);
  for (int number = 1; number <= 8; ++number) {
    SBR_AddMode(body, number);
    SBR_SetGeneralizedMass(body, number, number, 1.0);
    SBR_SetGeneralizedStiffness(body, number, number, number <= 3 ? 0.0 : 1e6 * number);
  }
  EXPECT_EQ(SBR_RigidBodyModeCount(body), 3);
}

TEST_F(RigidCount, UpToSixModesAreSplitAtAGap) {
  EXPECT_EQ(count({0, 0, 0, 20}), 3);
  EXPECT_EQ(count({0, 0, 0, 0, 0, 0}), 0);
  EXPECT_EQ(count({0.05, 0.06, 11}), 2);
  EXPECT_EQ(count({0.2, 0.3, 11}), 0);
  EXPECT_EQ(count({0.2, 0.3, 3000.1}), 2);  // ten thousand times the one before
}

TEST_F(RigidCount, TheLastGapDecides) {
  EXPECT_EQ(count({0, 0, 0, 20, 30}), 4);
  EXPECT_EQ(count({1, 20000, 30000}), 1);
}

TEST_F(RigidCount, UpToSixModesIgnoreTheEnvironment) {
  const ScopedEnvironment threshold("SBR_RIGID_BODY_THRESHOLD", "100");
  EXPECT_EQ(count({0, 0, 0, 20}), 3);
}

TEST_F(RigidCount, OneModeOrNoneIsNeverRigid) {
  EXPECT_EQ(count({0}), 0);
  EXPECT_EQ(count({}), 0);
}

TEST_F(RigidCount, ANullBodyHasNone) {
  EXPECT_EQ(SBR_RigidBodyModeCount(nullptr), 0);
  EXPECT_EQ(log.take(), std::vector<Message>{kNoBody});
}

// ---- participation -------------------------------------------------------------------------------------------------

class Participation : public LibraryTest {
 protected:
  Participation() {
    for (int a = 0; a < 6; ++a) rows[a] = values[a];
  }
  double values[6][8] = {};
  double *rows[6];
};

TEST_F(Participation, IsTheMassWeightedRatioToEachRigidMotion) {
  const MassBody mass = random_mass_body(21, 30, 3);
  SBR body = mass.build();
  ASSERT_EQ(SBR_RigidModes2VENTA(body, rows, 3), 1);
  for (std::size_t i = 0; i < 3; ++i) {
    Vector3 translation{};
    Vector3 rotation{};
    Exact square = 0;
    for (std::size_t k = 0; k < mass.nodes.size(); ++k) {
      const Exact w = mass.nodes[k].mass;
      translation = translation + w * mass.phi(k, i);
      rotation = rotation + w * cross(mass.nodes[k].r(), mass.phi(k, i));
      square += w * dot(mass.phi(k, i), mass.phi(k, i));
    }
    for (std::size_t c = 0; c < 3; ++c) {
      EXPECT_NEAR(values[c][i], static_cast<double>(translation[c] / square), 1e-13);
      EXPECT_NEAR(values[3 + c][i], static_cast<double>(rotation[c] / square), 1e-13);
    }
  }
}

TEST_F(Participation, OfPureRigidMotionsIsOneInItsOwnRow) {
  // Two nodes of mass 1 at +z and -z: translations and rotations do not mix.
  SBR body = SBR_Create(2, 2);
  for (const int side : {1, -1}) {
    const int id = side + 2;
    SBR_SetNodeCoordinates(body, id, 0, 0, side);
    SBR_SetNodalMass(body, id, 1.0);
    SBR_SetMode(body, 1, id, 0, 1, 0, 0, 0, 0, 0);
    SBR_SetMode(body, 2, id, 0, 0, -side, 0, 1, 0, 0);
  }
  ASSERT_EQ(SBR_RigidModes2VENTA(body, rows, 2), 1);
  for (int row = 0; row < 6; ++row) {
    EXPECT_EQ(values[row][0], row == 0 ? 1.0 : 0.0);
    EXPECT_EQ(values[row][1], row == 3 ? 1.0 : 0.0);
  }
}

TEST_F(Participation, SmallValuesBecomeExactlyZero) {
  SBR body = SBR_Create(1, 1);
  SBR_SetNodeCoordinates(body, 1, 0, 0, 0);
  SBR_SetNodalMass(body, 1, 1.0);
  SBR_SetMode(body, 1, 1, 0, 1.0, 1e-10, 1.1e-10, 0, 0, 0);
  ASSERT_EQ(SBR_RigidModes2VENTA(body, rows, 1), 1);
  EXPECT_EQ(values[0][0], 1.0);
  EXPECT_EQ(values[1][0], 0.0);
  EXPECT_EQ(values[2][0], 1.1e-10);
}

TEST_F(Participation, OfAModeWithoutWeightedMotionIsZero) {
  SBR body = SBR_Create(1, 1);
  SBR_SetNodeCoordinates(body, 1, 1, 1, 1);
  SBR_SetMode(body, 1, 1, 0, 1.0, 1.0, 1.0, 0, 0, 0);
  values[0][0] = 5.0;
  ASSERT_EQ(SBR_RigidModes2VENTA(body, rows, 1), 1);
  EXPECT_EQ(values[0][0], 0.0);
}

TEST_F(Participation, PositionsBeyondTheModeTableHaveNone) {
  SBR body = random_mass_body(3, 4, 1).build();
  values[0][1] = 5.0;
  ASSERT_EQ(SBR_RigidModes2VENTA(body, rows, 2), 1);
  EXPECT_EQ(values[0][1], 0.0);
  EXPECT_NE(values[0][0], 0.0);
}

TEST_F(Participation, NeedsModesAndNodes) {
  SBR no_modes = SBR_Create(1, 1);
  SBR_SetNodalMass(no_modes, 1, 1.0);
  EXPECT_EQ(SBR_RigidModes2VENTA(no_modes, rows, 0), 0);
  SBR no_nodes = SBR_Create(1, 1);
  SBR_AddMode(no_nodes, 1);
  EXPECT_EQ(SBR_RigidModes2VENTA(no_nodes, rows, 1), 0);
  const std::vector<Message> messages = log.take();
  ASSERT_EQ(messages.size(), 2U);
  for (const Message &message : messages) EXPECT_TRUE(is_no_memory(message, "sbrtools")) << message.text;
}

TEST_F(Participation, RefusesMissingRowsAndNullBodies) {
  SBR body = random_mass_body(3, 4, 1).build();
  log.clear();
  EXPECT_EQ(SBR_RigidModes2VENTA(body, nullptr, 1), 0);
  rows[5] = nullptr;
  EXPECT_EQ(SBR_RigidModes2VENTA(body, rows, 1), 0);
  EXPECT_TRUE(log.take().empty());
  EXPECT_EQ(SBR_RigidModes2VENTA(nullptr, rows, 1), 0);
  EXPECT_EQ(log.take(), std::vector<Message>{kNoBody});
}

}  // namespace
}  // namespace sbrtest
