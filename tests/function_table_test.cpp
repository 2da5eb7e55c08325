// The function table and the message entry points.
#include <cstring>
#include <set>

#include "support/messages.h"

namespace sbrtest {
namespace {

using FunctionTableTest = LibraryTest;

template <class Operation>
bool holds(const interface_table &table, int slot, Operation *operation) {
  return table.slot[slot] == reinterpret_cast<void (*)(void)>(operation);
}

void host_function() {}

TEST_F(FunctionTableTest, SlotsHoldTheirOperations) {
  interface_table table{};
  EXPECT_EQ(PopulateInterface(&table), 1);
  EXPECT_TRUE(holds(table, 0, SBR_Create));
  EXPECT_TRUE(holds(table, 1, SBR_CreateFromSBR));
  EXPECT_TRUE(holds(table, 2, SBR_CreateFromSBR_SurfaceMesh));
  EXPECT_TRUE(holds(table, 3, SBR_SetInvar1));
  EXPECT_TRUE(holds(table, 4, SBR_SetInvar2));
  EXPECT_TRUE(holds(table, 5, SBR_SetInvar3));
  EXPECT_TRUE(holds(table, 6, SBR_SetInvar4));
  EXPECT_TRUE(holds(table, 7, SBR_SetInvar5));
  EXPECT_TRUE(holds(table, 8, SBR_SetInvar6));
  EXPECT_TRUE(holds(table, 9, SBR_SetInvar7));
  EXPECT_TRUE(holds(table, 10, SBR_SetInvar8));
  EXPECT_TRUE(holds(table, 11, SBR_SetInvar9));
  EXPECT_TRUE(holds(table, 12, SBR_SetUnits));
  EXPECT_TRUE(holds(table, 13, SBR_SetUnitsByMultiplierOnSI));
  EXPECT_TRUE(holds(table, 14, SBR_Units));
  EXPECT_TRUE(holds(table, 15, SBR_Mass2Kilogram));
  EXPECT_TRUE(holds(table, 16, SBR_Force2Newton));
  EXPECT_TRUE(holds(table, 17, SBR_Length2Meter));
  EXPECT_TRUE(holds(table, 18, SBR_Time2Second));
  EXPECT_TRUE(holds(table, 19, SBR_SetHeader));
  EXPECT_TRUE(holds(table, 20, SBR_Header));
  EXPECT_TRUE(holds(table, 21, SBR_SetGlobalMass));
  EXPECT_TRUE(holds(table, 22, SBR_TotalMassInertia));
  EXPECT_TRUE(holds(table, 23, SBR_BodySize));
  EXPECT_TRUE(holds(table, 24, SBR_NodeIndex));
  EXPECT_TRUE(holds(table, 25, SBR_NodeID));
  EXPECT_TRUE(holds(table, 26, SBR_ModeIndex));
  EXPECT_TRUE(holds(table, 27, SBR_ModeNumber));
  EXPECT_TRUE(holds(table, 28, SBR_ModeNodeCount));
  EXPECT_TRUE(holds(table, 29, SBR_ModeNodeIndex));
  EXPECT_TRUE(holds(table, 30, SBR_ModeNodeID));
  EXPECT_TRUE(holds(table, 31, SBR_NodeCount));
  EXPECT_TRUE(holds(table, 32, SBR_SetNodeCoordinates));
  EXPECT_TRUE(holds(table, 33, SBR_NodeCoordinates));
  EXPECT_TRUE(holds(table, 34, SBR_NodeCoordinateList));
  EXPECT_TRUE(holds(table, 35, SBR_ClosestNode));
  EXPECT_TRUE(holds(table, 36, SBR_ClosestNodes));
  EXPECT_TRUE(holds(table, 37, SBR_ClosestNodesInNeighborhood));
  EXPECT_TRUE(holds(table, 38, SBR_SetNodalMass));
  EXPECT_TRUE(holds(table, 39, SBR_NodalMass));
  EXPECT_TRUE(holds(table, 40, SBR_SetNodalInertia));
  EXPECT_TRUE(holds(table, 41, SBR_NodalInertia));
  EXPECT_TRUE(holds(table, 42, SBR_SetNodalInertiaEntry));
  EXPECT_TRUE(holds(table, 43, SBR_SetFaceList));
  EXPECT_TRUE(holds(table, 45, SBR_FaceListSize));
  EXPECT_TRUE(holds(table, 46, SBR_ElementFaces));
  EXPECT_TRUE(holds(table, 47, SBR_RemoveInternalGeometry));
  EXPECT_TRUE(holds(table, 48, SBR_IsCoarsened));
  EXPECT_TRUE(holds(table, 49, SBR_SetInterfaceNode));
  EXPECT_TRUE(holds(table, 50, SBR_InterfaceNodeIDs));
  EXPECT_TRUE(holds(table, 51, SBR_SetModeVec));
  EXPECT_TRUE(holds(table, 52, SBR_SetMode));
  EXPECT_TRUE(holds(table, 53, SBR_ModeCount));
  EXPECT_TRUE(holds(table, 54, SBR_ModeExist));
  EXPECT_TRUE(holds(table, 55, SBR_Mode));
  EXPECT_TRUE(holds(table, 56, SBR_Double_Prec));
  EXPECT_TRUE(holds(table, 57, SBR_Read_Mode_Single));
  EXPECT_TRUE(holds(table, 58, SBR_Read_Mode_Double));
  EXPECT_TRUE(holds(table, 59, SBR_ModeByNode));
  EXPECT_TRUE(holds(table, 60, SBR_ModeByNodeWithoutCache));
  EXPECT_TRUE(holds(table, 61, SBR_SetModeEntry));
  EXPECT_TRUE(holds(table, 62, SBR_SetGeneralizedMass));
  EXPECT_TRUE(holds(table, 63, SBR_SetGeneralizedStiffness));
  EXPECT_TRUE(holds(table, 64, SBR_SetGeneralizedDamping));
  EXPECT_TRUE(holds(table, 65, SBR_NumberOfGenStiff));
  EXPECT_TRUE(holds(table, 66, SBR_GenStiffSelected));
  EXPECT_TRUE(holds(table, 67, SBR_GenStiffFull));
  EXPECT_TRUE(holds(table, 68, SBR_GenStiffSparse));
  EXPECT_TRUE(holds(table, 69, SBR_NumberOfGenMass));
  EXPECT_TRUE(holds(table, 70, SBR_GenMassSelected));
  EXPECT_TRUE(holds(table, 71, SBR_GenMassSparse));
  EXPECT_TRUE(holds(table, 72, SBR_GenMassFull));
  EXPECT_TRUE(holds(table, 73, SBR_GenDampExist));
  EXPECT_TRUE(holds(table, 74, SBR_NumberOfGenDamp));
  EXPECT_TRUE(holds(table, 75, SBR_GenDampPrincipalAndSelected));
  EXPECT_TRUE(holds(table, 76, SBR_GenDampSparse));
  EXPECT_TRUE(holds(table, 77, SBR_GenDampFull));
  EXPECT_TRUE(holds(table, 78, SBR_Eigenvalue));
  EXPECT_TRUE(holds(table, 79, SBR_Transformation));
  EXPECT_TRUE(holds(table, 80, SBR_SetTransformation));
  EXPECT_TRUE(holds(table, 81, SBR_SetModalPreload));
  EXPECT_TRUE(holds(table, 82, SBR_GetModalPreload));
  EXPECT_TRUE(holds(table, 83, SBR_ModalPreloadExist));
  EXPECT_TRUE(holds(table, 84, SBR_SetModalLoadLabel));
  EXPECT_TRUE(holds(table, 85, SBR_GetModalLoadCaseLabel));
  EXPECT_TRUE(holds(table, 86, SBR_SetModalLoad));
  EXPECT_TRUE(holds(table, 87, SBR_GetModalLoad));
  EXPECT_TRUE(holds(table, 88, SBR_GetModalLoadCaseCount));
  EXPECT_TRUE(holds(table, 89, SBR_SetModalLoadNodal));
  EXPECT_TRUE(holds(table, 90, SBR_GetModalLoadNodalCaseCount));
  EXPECT_TRUE(holds(table, 91, SBR_GetModalLoadNodalCount));
  EXPECT_TRUE(holds(table, 92, SBR_GetModalLoadNodalNode));
  EXPECT_TRUE(holds(table, 93, SBR_GetModalLoadNodalCoord));
  EXPECT_TRUE(holds(table, 94, SBR_GetModalLoadNodalLoad));
  EXPECT_TRUE(holds(table, 95, SBR_ModalStatisticsExist));
  EXPECT_TRUE(holds(table, 96, SBR_GetMaxModeDisplacement));
  EXPECT_TRUE(holds(table, 97, SBR_GetMaxModeRotation));
  EXPECT_TRUE(holds(table, 98, SBR_GetMaxVonMisesStress));
  EXPECT_TRUE(holds(table, 99, SBR_GetMaxVonMisesStrain));
  EXPECT_TRUE(holds(table, 100, SBR_write_SBR));
  EXPECT_TRUE(holds(table, 101, SBR_write_DB));
  EXPECT_TRUE(holds(table, 102, SBR_Version));
  EXPECT_TRUE(holds(table, 103, SBR_Destroy));
  EXPECT_TRUE(holds(table, 104, SBR_UnLink));
  EXPECT_TRUE(holds(table, 105, SBR_DeReference));
  EXPECT_TRUE(holds(table, 106, SBR_Terminate));
  EXPECT_TRUE(holds(table, 107, SBR_FreeMemory));
  EXPECT_TRUE(holds(table, 111, SBR_AnsysAddGenMass));
  EXPECT_TRUE(holds(table, 112, SBR_Contents));
  EXPECT_TRUE(holds(table, 113, SBR_Invar1));
  EXPECT_TRUE(holds(table, 114, SBR_Invar2));
  EXPECT_TRUE(holds(table, 115, SBR_Invar3));
  EXPECT_TRUE(holds(table, 116, SBR_Invar4));
  EXPECT_TRUE(holds(table, 117, SBR_Invar5));
  EXPECT_TRUE(holds(table, 118, SBR_Invar6));
  EXPECT_TRUE(holds(table, 119, SBR_Invar7));
  EXPECT_TRUE(holds(table, 120, SBR_Invar8));
  EXPECT_TRUE(holds(table, 121, SBR_Invar9));
  EXPECT_TRUE(holds(table, 122, SBR_RigidBodyModeCount));
  EXPECT_TRUE(holds(table, 123, SBR_RigidBodyForcesOnPrincipalAxes));
  EXPECT_TRUE(holds(table, 124, SBR_DampingOnPrincipalAxes));
  EXPECT_TRUE(holds(table, 125, SBR_Exists));
  EXPECT_TRUE(holds(table, 127, SBR_UCF));
  EXPECT_TRUE(holds(table, 128, SBR_ModalLoadProcessed));
  EXPECT_TRUE(holds(table, 129, SBR_InterfaceNodes));
  EXPECT_TRUE(holds(table, 130, SBR_SetVersion));
  EXPECT_TRUE(holds(table, 131, SBR_SetModalLoadProcessed));
  EXPECT_TRUE(holds(table, 132, SBR_ModalPreloadProcessed));
  EXPECT_TRUE(holds(table, 133, SBR_SetModalPreloadProcessed));
  EXPECT_TRUE(holds(table, 134, SBR_SetShouldMassNormalizeModes));
  EXPECT_TRUE(holds(table, 139, SBR_IsValid));
  EXPECT_TRUE(holds(table, 140, SBR_ModeByRef));
  EXPECT_TRUE(holds(table, 141, SBR_GetFlexType));
  EXPECT_TRUE(holds(table, 142, SBR_SetMonitorPointInfo));
  EXPECT_TRUE(holds(table, 143, SBR_SetMonitorPointOperator));
  EXPECT_TRUE(holds(table, 144, SBR_GetMonitorPointCount));
  EXPECT_TRUE(holds(table, 145, SBR_GetMonitorPointType));
  EXPECT_TRUE(holds(table, 146, SBR_GetMonitorPointResultType));
  EXPECT_TRUE(holds(table, 147, SBR_GetMonitorPointComponent));
  EXPECT_TRUE(holds(table, 148, SBR_GetMonitorPointNameLabel));
  EXPECT_TRUE(holds(table, 149, SBR_GetMonitorPointOperatorSize));
  EXPECT_TRUE(holds(table, 150, SBR_GetMonitorPointNumLoadOperator));
  EXPECT_TRUE(holds(table, 151, SBR_GetMonitorPointOperator));
  EXPECT_TRUE(holds(table, 152, SBR_MonitorPointHasOperator));
  EXPECT_TRUE(holds(table, 153, SBR_Mirror));
  EXPECT_TRUE(holds(table, 154, SBR_Rotate));
  EXPECT_TRUE(holds(table, 155, SBR_Translate));
  EXPECT_TRUE(holds(table, 156, SBR_RenumberInterfaceNodes));
  EXPECT_TRUE(holds(table, 157, SBR_RenumberNodes));
  EXPECT_TRUE(holds(table, 158, SBR_GetFreeEdgeCount));
  EXPECT_TRUE(holds(table, 159, SBR_GetFreeEdgeSize));
  EXPECT_TRUE(holds(table, 160, SBR_GetFreeEdge));
  EXPECT_TRUE(holds(table, 161, SBR_PermuteSBR));
  EXPECT_TRUE(holds(table, 162, SBR_PreprocessBAPSBR));
  EXPECT_TRUE(holds(table, 163, SBR_SetMatrixOperatorInfo));
  EXPECT_TRUE(holds(table, 164, SBR_SetMatrixOperatorData));
  EXPECT_TRUE(holds(table, 165, SBR_GetMatrixOperatorCount));
  EXPECT_TRUE(holds(table, 166, SBR_GetMatrixOperatorNumRows));
  EXPECT_TRUE(holds(table, 167, SBR_GetMatrixOperatorName));
  EXPECT_TRUE(holds(table, 168, SBR_GetMatrixOperatorLabels));
  EXPECT_TRUE(holds(table, 169, SBR_GetMatrixOperatorNumSubOperator));
  EXPECT_TRUE(holds(table, 170, SBR_GetMatrixOperatorSubNumCols));
  EXPECT_TRUE(holds(table, 171, SBR_GetMatrixOperatorSubTag));
  EXPECT_TRUE(holds(table, 172, SBR_GetMatrixOperatorSubData));
}

TEST_F(FunctionTableTest, EmptySlotsStayAsTheHostSetThem) {
  interface_table table;
  for (auto &slot : table.slot) slot = host_function;
  PopulateInterface(&table);
  std::set<int> untouched;
  for (int i = 0; i < SBR_INTERFACE_SLOTS; ++i)
    if (table.slot[i] == host_function) untouched.insert(i);
  EXPECT_EQ(untouched, (std::set<int>{44, 108, 109, 110, 126, 135, 136, 137, 138}));
}

TEST_F(FunctionTableTest, ANullTableIsHarmless) { EXPECT_EQ(PopulateInterface(nullptr), 1); }

TEST_F(FunctionTableTest, AHandlerSeesTheTextAsFormatted) {
  SBR_Error("%d of %s", 3, "four");
  SBR_Warning("line\n");
  SBR_Info("plain");
  EXPECT_EQ(log.take(), (std::vector<Message>{error("3 of four"), warning("line\n"), info("plain")}));
}

TEST_F(FunctionTableTest, AReportGivesTheHandlersResult) {
  const message_handlers handlers{[](const char *) { return 7; }, [](const char *) { return 8; },
                                  [](const char *) { return 9; }};
  EXPECT_EQ(SetMessageHandlers(&handlers), 1);
  EXPECT_EQ(SBR_Error("x"), 7);
  EXPECT_EQ(SBR_Warning("x"), 8);
  EXPECT_EQ(SBR_Info("x"), 9);
}

TEST_F(FunctionTableTest, WithoutHandlersReportsAreDropped) {
  const message_handlers none{nullptr, nullptr, nullptr};
  EXPECT_EQ(SetMessageHandlers(&none), 1);
  EXPECT_EQ(SBR_Error("nobody hears %d", 1), 0);
  EXPECT_EQ(SetMessageHandlers(nullptr), 1);
  EXPECT_EQ(SBR_Info("nobody hears"), 0);
}

TEST_F(FunctionTableTest, AnOverlongReportIsCutAndNotOverrun) {
  const std::string long_name(5000, 'x');
  SBR_Error("%s", long_name.c_str());
  ASSERT_EQ(log.all().size(), 1U);
  EXPECT_EQ(log.all()[0].text, std::string(1007, 'x'));
}

}  // namespace
}  // namespace sbrtest
