// Modal loads, nodal loads and the modal preload.
#include <cmath>
#include <cstring>
#include <limits>

#include "support/body_state.h"
#include "support/messages.h"

namespace sbrtest {
namespace {

using LoadsTest = LibraryTest;

constexpr int kFarIndex = std::numeric_limits<int>::max();
const Message kNoBody = error("The database has not been initialized.");

bool flag(SBR body, int block) { return SBR_Exists(body, block); }

std::string label_of(SBR body, int load_case) {
  char label[256] = "";
  EXPECT_NE(SBR_GetModalLoadCaseLabel(body, load_case, label), 0);
  return label;
}

template <class T>
std::vector<T> taken(T *block, int count) {
  std::vector<T> out(block, block + (block != nullptr ? count : 0));
  SBR_FreeMemory(block);
  return out;
}

std::vector<double> load_of(SBR body, int load_case) {
  int count = -1;
  double *values = SBR_GetModalLoad(body, load_case, &count);
  return taken(values, count);
}

std::vector<double> preload_of(SBR body) {
  int count = -1;
  double *values = SBR_GetModalPreload(body, &count);
  return taken(values, count);
}

Message illegal_case(int load_case) {
  return error("The load case index " + std::to_string(load_case) +
               " is illegal.\nThe load case index must be non-negative.");
}

// ---- modal loads ----------------------------------------------------------------------------------------

TEST_F(LoadsTest, AHighCaseIndexMakesTheCasesBelowIt) {
  SBR body = SBR_Create(1, 3);
  SBR_AddMode(body, 1);
  EXPECT_EQ(SBR_SetModalLoad(body, 2, 5, 2.5), 1);
  EXPECT_TRUE(flag(body, 27));
  EXPECT_EQ(SBR_GetModalLoadCaseCount(body), 3);
  EXPECT_EQ(label_of(body, 0), "Load Case 1");
  EXPECT_EQ(label_of(body, 1), "Load Case 2");
  EXPECT_EQ(label_of(body, 2), "Load Case 3");
  EXPECT_EQ(load_of(body, 0), (std::vector<double>{0, 0}));
  EXPECT_EQ(load_of(body, 2), (std::vector<double>{0, 2.5}));
  EXPECT_EQ(SBR_ModalLoadProcessed(body, 2), 0);
}

TEST_F(LoadsTest, ANegativeCaseIsIllegalForEverySetter) {
  SBR body = SBR_Create(1, 3);
  EXPECT_EQ(SBR_SetModalLoad(body, -1, 1, 1.0), 0);
  EXPECT_EQ(SBR_SetModalLoadLabel(body, -7, "x"), 0);
  EXPECT_EQ(SBR_SetModalLoadNodal(body, std::numeric_limits<int>::min(), 1, 1, 1.0), 0);
  EXPECT_EQ(log.take(),
            (std::vector<Message>{illegal_case(-1), illegal_case(-7), illegal_case(std::numeric_limits<int>::min())}));
  EXPECT_EQ(SBR_ModeCount(body) + SBR_NodeCount(body), 0);
}

TEST_F(LoadsTest, ACaseIndexNoMachineCanHoldIsAFailedAllocation) {
  SBR body = SBR_Create(1, 3);
  SBR_SetModalLoad(body, 0, 1, 1.0);
  EXPECT_EQ(SBR_SetModalLoad(body, kFarIndex, 1, 1.0), 0);
  EXPECT_EQ(SBR_SetModalLoadLabel(body, kFarIndex, "x"), 0);
  const std::vector<Message> messages = log.take();
  ASSERT_EQ(messages.size(), 2U);
  EXPECT_TRUE(is_no_memory(messages[0], "sbrset") && is_no_memory(messages[1], "sbrset"));
  EXPECT_EQ(SBR_GetModalLoadCaseCount(body), 1);
  EXPECT_EQ(load_of(body, 0), std::vector<double>{1.0});
}

TEST_F(LoadsTest, AModeWithoutRoomIsRefused) {
  SBR body = SBR_Create(1, 1);
  EXPECT_EQ(SBR_SetModalLoad(body, 0, 1, 1.0), 1);
  EXPECT_EQ(SBR_SetModalLoad(body, 1, 2, 1.0), 0);
  EXPECT_EQ(SBR_SetModalPreload(body, 2, 1.0), 0);
  EXPECT_EQ(SBR_GetModalLoadCaseCount(body), 1);
  EXPECT_EQ(SBR_ModalPreloadExist(body), 0);
  EXPECT_EQ(log.take_complaints().size(), 2U);
}

TEST_F(LoadsTest, LoadsAndPreloadGrowWithModesThatComeLater) {
  SBR body = SBR_Create(1, 4);
  SBR_SetModalLoad(body, 0, 1, 1.5);
  SBR_SetModalPreload(body, 1, 2.5);
  SBR_AddMode(body, 2);
  EXPECT_EQ(load_of(body, 0), (std::vector<double>{1.5, 0}));
  EXPECT_EQ(preload_of(body), (std::vector<double>{2.5, 0}));
  EXPECT_EQ(SBR_SetModalLoad(body, 0, 4, 9.0), 1);
  EXPECT_EQ(SBR_SetModalPreload(body, 3, std::numeric_limits<double>::infinity()), 1);
  EXPECT_EQ(load_of(body, 0), (std::vector<double>{1.5, 0, 9.0, 0}));
  EXPECT_EQ(preload_of(body), (std::vector<double>{2.5, 0, 0, std::numeric_limits<double>::infinity()}));
}

TEST_F(LoadsTest, LabelsAreStoredAndMakeTheirCase) {
  SBR body = SBR_Create(1, 1);
  SBR_AddMode(body, 1);
  EXPECT_EQ(SBR_SetModalLoadLabel(body, 1, "gust"), 1);
  EXPECT_EQ(SBR_GetModalLoadCaseCount(body), 2);
  EXPECT_EQ(label_of(body, 0), "Load Case 1");
  EXPECT_EQ(label_of(body, 1), "gust");
  EXPECT_FALSE(flag(body, 27));
  EXPECT_EQ(SBR_SetModalLoadLabel(body, 1, "g"), 1);
  EXPECT_EQ(label_of(body, 1), "g");
}

TEST_F(LoadsTest, AnEmptyLabelStoresTheShortForm) {
  SBR body = SBR_Create(1, 1);
  SBR_AddMode(body, 1);
  EXPECT_EQ(SBR_SetModalLoadLabel(body, 0, ""), 1);
  EXPECT_EQ(label_of(body, 0), "1");
  EXPECT_EQ(SBR_SetModalLoadLabel(body, 11, ""), 1);
  EXPECT_EQ(label_of(body, 11), "12");
}

TEST_F(LoadsTest, ALongLabelIsCutTo255CharactersWithAWarning) {
  SBR body = SBR_Create(1, 1);
  SBR_AddMode(body, 1);
  EXPECT_EQ(SBR_SetModalLoadLabel(body, 0, std::string(300, 'g').c_str()), 1);
  EXPECT_EQ(log.take(), std::vector<Message>{
                            warning("Modal load label too big: max size 255, specified size 300.  Truncating label.")});
  EXPECT_EQ(label_of(body, 0), std::string(255, 'g'));
  EXPECT_EQ(SBR_SetModalLoadLabel(body, 0, std::string(255, 'h').c_str()), 1);
  EXPECT_TRUE(log.take().empty());
}

TEST_F(LoadsTest, ALabelWithoutAnyModeIsAFailedAllocation) {
  SBR body = SBR_Create(1, 1);
  EXPECT_EQ(SBR_SetModalLoadLabel(body, 0, "x"), 0);
  ASSERT_EQ(log.all().size(), 1U);
  EXPECT_TRUE(is_no_memory(log.all()[0], "sbrset"));
  EXPECT_EQ(SBR_GetModalLoadCaseCount(body), 0);
  EXPECT_EQ(SBR_SetModalLoadLabel(body, 0, nullptr), 0);
}

TEST_F(LoadsTest, TheLabelFillsAllOf256Characters) {
  SBR body = SBR_Create(1, 1);
  SBR_SetModalLoad(body, 0, 1, 1);
  char label[256];
  std::memset(label, 'x', sizeof label);
  EXPECT_NE(SBR_GetModalLoadCaseLabel(body, 0, label), 0);
  EXPECT_EQ(std::string(label, 256), "Load Case 1" + std::string(245, '\0'));
}

TEST_F(LoadsTest, ALabelThatFillsItsFieldIsGivenWhole) {
  SBR body = SBR_Create(1, 1);
  SBR_SetModalLoad(body, 0, 1, 1);
  std::memset(state::modal_loads(body)[0]->label, 'l', 256);
  char label[257];
  std::memset(label, 'x', sizeof label);
  EXPECT_NE(SBR_GetModalLoadCaseLabel(body, 0, label), 0);
  EXPECT_EQ(std::string(label, 256), std::string(256, 'l'));
  EXPECT_EQ(label[256], 'x');
}

TEST_F(LoadsTest, BadCaseIndicesGiveNothing) {
  SBR body = SBR_Create(1, 1);
  SBR_SetModalLoad(body, 0, 1, 1);
  char label[256] = "kept";
  for (const auto &[handle, load_case] : {std::pair<SBR, int>{body, 1}, {body, -1}, {body, kFarIndex}, {nullptr, 0}}) {
    int count = 9;
    EXPECT_EQ(SBR_GetModalLoad(handle, load_case, &count), nullptr);
    EXPECT_EQ(count, 0);
    EXPECT_EQ(SBR_GetModalLoadCaseLabel(handle, load_case, label), 0);
    EXPECT_EQ(SBR_ModalLoadProcessed(handle, load_case), 0);
    SBR_SetModalLoadProcessed(handle, load_case, 1);
  }
  EXPECT_STREQ(label, "kept");
  EXPECT_EQ(SBR_GetModalLoadCaseLabel(body, 0, nullptr), 0);
  EXPECT_EQ(SBR_GetModalLoadCaseCount(nullptr), 0);
  EXPECT_TRUE(log.take().empty());
  SBR_FreeMemory(SBR_GetModalLoad(body, 0, nullptr));
}

TEST_F(LoadsTest, TheProcessedFlagOfACaseIsKept) {
  SBR body = SBR_Create(1, 1);
  SBR_SetModalLoad(body, 1, 1, 1);
  SBR_SetModalLoadProcessed(body, 1, 5);
  EXPECT_EQ(SBR_ModalLoadProcessed(body, 0), 0);
  EXPECT_EQ(SBR_ModalLoadProcessed(body, 1), 5);
}

// ---- nodal loads ----------------------------------------------------------------------------------------

TEST_F(LoadsTest, NodalEntriesKeepTheirOrder) {
  SBR body = SBR_Create(1, 1);
  SBR_SetNodeCoordinates(body, 30, 0, 0, 0);
  EXPECT_EQ(SBR_SetModalLoadNodal(body, 1, 20, 6, 1.5), 1);
  EXPECT_EQ(SBR_SetModalLoadNodal(body, 1, 30, 1, -2.5), 1);
  EXPECT_TRUE(flag(body, 34));
  EXPECT_EQ(SBR_GetModalLoadNodalCaseCount(body), 2);
  EXPECT_EQ(SBR_GetModalLoadNodalCount(body, 0), 0);
  EXPECT_EQ(SBR_GetModalLoadNodalCount(body, 1), 2);
  EXPECT_EQ(taken(SBR_GetModalLoadNodalNode(body, 1), 2), (std::vector<int>{1, 0}));
  EXPECT_EQ(taken(SBR_GetModalLoadNodalCoord(body, 1), 2), (std::vector<int>{6, 1}));
  EXPECT_EQ(taken(SBR_GetModalLoadNodalLoad(body, 1), 2), (std::vector<double>{1.5, -2.5}));
  EXPECT_EQ(SBR_GetModalLoadNodalNode(body, 0), nullptr);
  EXPECT_EQ(SBR_GetModalLoadNodalCoord(body, 0), nullptr);
  EXPECT_EQ(SBR_GetModalLoadNodalLoad(body, 0), nullptr);
}

TEST_F(LoadsTest, NodalCoordinatesOutsideOneToSixAreIllegal) {
  SBR body = SBR_Create(1, 1);
  for (const int coordinate : {0, 7, -1}) EXPECT_EQ(SBR_SetModalLoadNodal(body, 0, 1, coordinate, 1.0), 0);
  const std::string tail = " is illegal.\nThe coordinate number must be 1 to 6.";
  EXPECT_EQ(log.take(),
            (std::vector<Message>{error("The coordinate number 0" + tail), error("The coordinate number 7" + tail),
                                  error("The coordinate number -1" + tail)}));
  EXPECT_EQ(SBR_NodeCount(body), 0);
  EXPECT_EQ(SBR_GetModalLoadNodalCaseCount(body), 0);
  EXPECT_FALSE(flag(body, 34));
}

TEST_F(LoadsTest, TheEleventhNodalEntryHasRoom) {
  SBR body = SBR_Create(1, 1);
  for (int i = 0; i < 105; ++i) ASSERT_EQ(SBR_SetModalLoadNodal(body, 0, i, 1 + i % 6, i), 1);
  EXPECT_EQ(SBR_GetModalLoadNodalCount(body, 0), 105);
  EXPECT_EQ(taken(SBR_GetModalLoadNodalNode(body, 0), 105)[10], 10);
  EXPECT_EQ(taken(SBR_GetModalLoadNodalCoord(body, 0), 105)[10], 5);
  EXPECT_EQ(taken(SBR_GetModalLoadNodalLoad(body, 0), 105)[104], 104.0);
}

TEST_F(LoadsTest, BadNodalCaseIndicesGiveNothing) {
  SBR body = SBR_Create(1, 1);
  SBR_SetModalLoadNodal(body, 0, 1, 1, 1);
  EXPECT_EQ(SBR_SetModalLoadNodal(body, kFarIndex, 1, 1, 1), 0);
  ASSERT_EQ(log.all().size(), 1U);
  EXPECT_TRUE(is_no_memory(log.all()[0], "sbrset"));
  for (const auto &[handle, load_case] : {std::pair<SBR, int>{body, 1}, {body, -1}, {body, kFarIndex}, {nullptr, 0}}) {
    EXPECT_EQ(SBR_GetModalLoadNodalCount(handle, load_case), 0);
    EXPECT_EQ(SBR_GetModalLoadNodalNode(handle, load_case), nullptr);
    EXPECT_EQ(SBR_GetModalLoadNodalCoord(handle, load_case), nullptr);
    EXPECT_EQ(SBR_GetModalLoadNodalLoad(handle, load_case), nullptr);
  }
  EXPECT_EQ(SBR_GetModalLoadNodalCaseCount(nullptr), 0);
  EXPECT_EQ(SBR_GetModalLoadNodalCaseCount(body), 1);
}

// ---- modal preload --------------------------------------------------------------------------------------

TEST_F(LoadsTest, ThePreloadExistsFromItsFirstValueOn) {
  SBR body = SBR_Create(1, 2);
  SBR_AddMode(body, 9);
  EXPECT_EQ(SBR_ModalPreloadExist(body), 0);
  EXPECT_TRUE(preload_of(body).empty());
  EXPECT_EQ(SBR_SetModalPreload(body, 7, 3.5), 1);
  EXPECT_EQ(SBR_ModalPreloadExist(body), 1);
  EXPECT_TRUE(flag(body, 26));
  EXPECT_EQ(preload_of(body), (std::vector<double>{0, 3.5}));
}

TEST_F(LoadsTest, ThePreloadIsNotProcessedBeforeItIsSet) {
  SBR body = SBR_Create(1, 2);
  state::preload_on_principal_axes(body) = 1;
  EXPECT_EQ(SBR_ModalPreloadProcessed(body), 0);
  SBR_SetModalPreloadProcessed(body, 4);
  EXPECT_EQ(state::preload_on_principal_axes(body), 1);
  SBR_SetModalPreload(body, 1, 1.0);
  EXPECT_EQ(SBR_ModalPreloadProcessed(body), 0);
  SBR_SetModalPreloadProcessed(body, 4);
  EXPECT_EQ(SBR_ModalPreloadProcessed(body), 4);
  SBR_SetModalPreload(body, 2, 1.0);
  EXPECT_EQ(SBR_ModalPreloadProcessed(body), 4);
}

TEST_F(LoadsTest, NullHandles) {
  EXPECT_EQ(SBR_SetModalLoad(nullptr, 0, 1, 1), 0);
  EXPECT_EQ(SBR_SetModalLoadLabel(nullptr, 0, "x"), 0);
  EXPECT_EQ(SBR_SetModalLoadNodal(nullptr, 0, 1, 1, 1), 0);
  EXPECT_EQ(SBR_SetModalPreload(nullptr, 1, 1), 0);
  EXPECT_EQ(log.take(), std::vector<Message>(4, kNoBody));
  int count = 9;
  EXPECT_EQ(SBR_GetModalPreload(nullptr, &count), nullptr);
  EXPECT_EQ(count, 0);
  EXPECT_EQ(SBR_GetModalPreload(nullptr, nullptr), nullptr);
  EXPECT_EQ(SBR_ModalPreloadExist(nullptr), 0);
  EXPECT_EQ(SBR_ModalPreloadProcessed(nullptr), 0);
  SBR_SetModalPreloadProcessed(nullptr, 1);
  EXPECT_TRUE(log.take().empty());
}

}  // namespace
}  // namespace sbrtest
