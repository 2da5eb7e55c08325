// Moving the reference frame to the center of mass.
#include "support/body_state.h"
#include "support/body_view.h"
#include "support/files.h"
#include "support/mass_body.h"
#include "support/messages.h"

namespace sbrtest {
namespace {

// Masses 1 and 3 at (0, 0, 0) and (4, 2, 1): center (3, 1.5, 0.75). Seven modes, of which some are rigid.
class ToMassCenter : public LibraryTest {
 protected:
  SBR make(int rigid) {
    SBR body = SBR_Create(2, 8);
    SBR_SetNodeCoordinates(body, 1, 0, 0, 0);
    SBR_SetNodalMass(body, 1, 1.0);
    SBR_SetNodeCoordinates(body, 2, 4, 2, 1);
    SBR_SetNodalMass(body, 2, 3.0);
    std::vector<double> hz;
    for (int number = 1; number <= 7; ++number) {
      SBR_AddMode(body, number);
      hz.push_back(number <= rigid ? 0.0 : 100.0);
    }
    set_frequencies(body, hz);
    for (int number = 1; number <= 7; ++number) {
      SBR_SetModalPreload(body, number, number);
      SBR_SetModalLoad(body, 0, number, number);
      SBR_SetModalLoad(body, 1, number, number);
    }
    log.clear();
    return body;
  }
  const std::vector<double> kept{1, 2, 3, 4, 5, 6, 7};
  // c x F = (1.5 * 3 - 0.75 * 2, 0.75 * 1 - 3 * 3, 3 * 2 - 1.5 * 1) is taken off the moments.
  const std::vector<double> moved{1, 2, 3, 4 - 3.0, 5 + 8.25, 6 - 4.5, 7};
  const Message shifted = info("Shifting LBRF to CM at (3.000e+00,1.500e+00,7.500e-01)\n");
  const ScopedEnvironment no_threshold{"SBR_RIGID_BODY_THRESHOLD", std::nullopt};
};

TEST_F(ToMassCenter, CoordinatesMoveByTheCenterOfMass) {
  SBR body = make(6);
  SBR_ShiftLBRFtoCM(body);
  EXPECT_EQ(log.take(), std::vector<Message>{shifted});
  double xyz[3];
  SBR_NodeCoordinates(body, 0, xyz);
  EXPECT_EQ((std::vector<double>(xyz, xyz + 3)), (std::vector<double>{-3.0, -1.5, -0.75}));
  SBR_NodeCoordinates(body, 1, xyz);
  EXPECT_EQ((std::vector<double>(xyz, xyz + 3)), (std::vector<double>{1.0, 0.5, 0.25}));
}

TEST_F(ToMassCenter, OnlyTheFirstComponentOfTheGlobalCenterIsCleared) {
  SBR body = make(6);
  state::global(body).center[0] = 3.0;
  state::global(body).center[1] = 1.5;
  state::global(body).center[2] = 0.75;
  SBR_ShiftLBRFtoCM(body);
  EXPECT_EQ(state::global(body).center[0], 0.0);
  EXPECT_EQ(state::global(body).center[1], 1.5);
  EXPECT_EQ(state::global(body).center[2], 0.75);
}

TEST_F(ToMassCenter, ProcessedLoadsMoveTheirMoments) {
  SBR body = make(6);
  SBR_SetModalPreloadProcessed(body, 1);
  SBR_SetModalLoadProcessed(body, 1, 1);
  SBR_ShiftLBRFtoCM(body);
  EXPECT_EQ(modal_preload_of(body), moved);
  EXPECT_EQ(modal_load_of(body, 0), kept);
  EXPECT_EQ(modal_load_of(body, 1), moved);
}

TEST_F(ToMassCenter, UnprocessedLoadsStay) {
  SBR body = make(6);
  SBR_ShiftLBRFtoCM(body);
  EXPECT_EQ(modal_preload_of(body), kept);
  EXPECT_EQ(modal_load_of(body, 1), kept);
}

TEST_F(ToMassCenter, WithOtherThanSixRigidModesLoadsStay) {
  SBR body = make(5);
  SBR_SetModalPreloadProcessed(body, 1);
  SBR_SetModalLoadProcessed(body, 0, 1);
  SBR_ShiftLBRFtoCM(body);
  EXPECT_EQ(log.take(), std::vector<Message>{shifted});
  EXPECT_EQ(modal_preload_of(body), kept);
  EXPECT_EQ(modal_load_of(body, 0), kept);
}

TEST_F(ToMassCenter, WithoutMassOrNodesNothingChanges) {
  SBR body = SBR_Create(1, 1);
  state::global(body).center[0] = 3.0;
  SBR_ShiftLBRFtoCM(body);
  SBR_SetNodeCoordinates(body, 1, 1, 2, 3);
  SBR_ShiftLBRFtoCM(body);
  double xyz[3];
  SBR_NodeCoordinates(body, 0, xyz);
  EXPECT_EQ(xyz[0], 1.0);
  EXPECT_EQ(state::global(body).center[0], 3.0);
  EXPECT_TRUE(log.take().empty());
}

TEST_F(ToMassCenter, ANullBodyIsRefused) {
  SBR_ShiftLBRFtoCM(nullptr);
  EXPECT_EQ(log.take(), std::vector<Message>{error("The database has not been initialized.")});
}

}  // namespace
}  // namespace sbrtest
