#include "support/messages.h"

namespace sbrtest {
namespace {

using RegistryTest = LibraryTest;

TEST_F(RegistryTest, CheckReportsANullHandle) {
  EXPECT_EQ(CheckSBR(nullptr), 0);
  EXPECT_EQ(log.take(), std::vector<Message>{error("The database has not been initialized.")});
}

TEST_F(RegistryTest, AReferenceCountOfTwoSurvivesOneDereference) {
  SBR body = SBR_Create(1, 1);
  SBR_DeReference(body);
  EXPECT_EQ(SBR_IsValid(body), 0);
}

TEST_F(RegistryTest, UnlinkingAStrangerTouchesNothing) {
  SBR body = SBR_Create(1, 1);
  int stranger = 0;
  SBR_UnLink(reinterpret_cast<SBR>(&stranger));
  SBR_DeReference(reinterpret_cast<SBR>(&stranger));
  EXPECT_EQ(SBR_IsValid(body), 1);
  EXPECT_EQ(CheckSBR(reinterpret_cast<SBR>(&stranger)), 1);
  EXPECT_EQ(SBR_IsValid(reinterpret_cast<SBR>(&stranger)), 0);
}

TEST_F(RegistryTest, DestroyGivesTheFormerNextBody) {
  SBR first = SBR_Create(1, 1);
  SBR second = SBR_Create(1, 1);
  EXPECT_EQ(SBR_Destroy(first), second);
  EXPECT_EQ(SBR_Destroy(second), nullptr);
  EXPECT_EQ(SBR_Destroy(nullptr), nullptr);
}

}  // namespace
}  // namespace sbrtest
