// The content report: golden texts of a body with everything, of one with nothing, and the odd cases.
#include <cstdio>
#include <cstdlib>

#include "support/body_state.h"
#include "support/bracket.h"
#include "support/files.h"
#include "support/messages.h"

namespace sbrtest {
namespace {

const std::string kRule = std::string(112, '~') + "\n\n";

std::string banner(int number, const std::string &title) {
  const std::string dashes = std::string(74, '-') + "\n";
  const std::string blank = "|" + std::string(72, ' ') + "|\n";
  char line[128];
  std::snprintf(line, sizeof line, "|    Block %3d:      %-30s                      |\n", number, title.c_str());
  return "\n\n" + dashes + blank + line + blank + dashes + "\n\n";
}

class ContentsTest : public LibraryTest {
 protected:
  ScratchDirectory scratch;

  static std::string contents(SBR body, int block) {
    char *text = nullptr;
    std::size_t size = 0;
    std::FILE *stream = open_memstream(&text, &size);
    SBR_Contents(body, block, stream);
    std::fclose(stream);
    std::string result(text, size);
    std::free(text);
    return result;
  }
  SBR read(const RecordBuilder &record) {
    const std::string path = scratch.file("record" + std::to_string(++count_) + ".sbr");
    record.write(path);
    return SBR_CreateFromSBR(path.c_str());
  }

 private:
  int count_ = 0;
};

// ---- choice of the block --------------------------------------------------------------------------------------------

TEST_F(ContentsTest, TheBannerIsABoxOf74Columns) {
  EXPECT_EQ(contents(build_bracket(), 5),
            "\n\n"
            "--------------------------------------------------------------------------\n"
            "|                                                                        |\n"
            "|    Block   5:      Element Topology:                                   |\n"
            "|                                                                        |\n"
            "--------------------------------------------------------------------------\n"
            "\n\n"
            "Obsolete: Reported as part of face list, block 14\n\n");
}

TEST_F(ContentsTest, NumbersWithoutAReportPrintNothing) {
  SBR body = build_bracket();
  for (const int number : {-1, 0, 33, 37, 1000}) EXPECT_EQ(contents(body, number), "") << number;
}

TEST_F(ContentsTest, ANullHandleIsReportedAndANullStreamIsNot) {
  EXPECT_EQ(contents(nullptr, 1), "");
  EXPECT_EQ(log.take(), std::vector<Message>{error("The database has not been initialized.")});
  SBR body = build_bracket();
  log.clear();
  SBR_Contents(body, 3, nullptr);
  EXPECT_TRUE(log.all().empty());
}

TEST_F(ContentsTest, EndsWithAFlush) {
  const std::string path = scratch.file("report.txt");
  std::FILE *stream = std::fopen(path.c_str(), "w");
  ASSERT_NE(stream, nullptr);
  SBR_Contents(build_bracket(), 5, stream);
  EXPECT_GT(std::filesystem::file_size(path), 0U);
  std::fclose(stream);
}

// ---- texts ----------------------------------------------------------------------------------------------------------

TEST_F(ContentsTest, TheVersionIsToldInWords) {
  const auto version = [](const char *number, const char *precision, const char *xdr, const char *coarse) {
    return banner(1, "Version Code:") + "SBR version:" + number + "\nPrecision: " + precision +
           "   \nPlatform independent (XDR encoded): " + xdr + " \nCoarsened or sketched mesh: " + coarse + " \n\n";
  };
  EXPECT_EQ(contents(read(RecordBuilder(0x13C)), 1), version(" 6.0", "Double", "Yes", "No"));
  EXPECT_EQ(contents(read(RecordBuilder(0x63C)), 1), version(" 6.0", "Single", "No", "Yes"));
  EXPECT_EQ(contents(read(RecordBuilder(51)), 1), version(" 5.1", "Single", "Yes", "No"));
  EXPECT_EQ(contents(read(RecordBuilder(10)), 1), version(" 1.0", "Double", "No", "No"));
  EXPECT_EQ(contents(SBR_Create(0, 0), 1), version(" 3.1", "Double", "Yes", "No"));
}

TEST_F(ContentsTest, TheHeaderIsToldLineByLine) {
  EXPECT_EQ(contents(read(full_record(0x3C)), 2),
            banner(2, "Header:") +
                "Title: Bracket\nDate: 2024-05-06\nInput file name: bracket.inp\nInput file type: solid model     \n"
                "Comments:\n  first\n  second\n  third\n\n");
}

TEST_F(ContentsTest, TextsThatFillTheirFieldsAreToldWhole) {
  RecordBuilder record = full_record(0x3C);
  record.header("T", "D", "N", "sixteen letters!", "a", "b", "c", '\0');
  record.loads(2, {{std::string(256, 'l'), 0, {1, 2}}});
  SBR body = read(record);
  EXPECT_NE(contents(body, 2).find("Input file type: sixteen letters!\n"), std::string::npos);
  EXPECT_NE(contents(body, 28).find("\nCase: " + std::string(256, 'l') + "     (not yet"), std::string::npos);
}

TEST_F(ContentsTest, TheSummaryHasARowForEveryBlockButTheOldMonitorPoints) {
  SBR body = build_bracket();
  EXPECT_EQ(contents(body, 3), banner(3, "Content Summary:") +
                                   "Existence:\n"
                                   "              Version code (1) Yes\n"
                                   "                    Header (2) Yes\n"
                                   "           Content_summary (3) Yes\n"
                                   "              Nodal_coords (4) Yes\n"
                                   "          Element_topology (5) No\n"
                                   "         Global_body_props (6) No\n"
                                   "               Eigenvalues (7) No\n"
                                   "               Mode_shapes (8) Yes\n"
                                   "              Nodal_masses (9) Yes\n"
                                   "           Nodal_inertias (10) Yes\n"
                                   "                    Units (11) No\n"
                                   "    Generalized_stiffness (12) Yes\n"
                                   "         Generalized_mass (13) Yes\n"
                                   "            Element_faces (14) Yes\n"
                                   "      Generalized_damping (15) Yes\n"
                                   "Mode_Shape_Transformation (16) No\n"
                                   "          Interface_Nodes (17) Yes\n"
                                   "             Modal Stress (18) Yes\n"
                                   "             Invariants 1 (19) No\n"
                                   "             Invariants 2 (20) No\n"
                                   "             Invariants 3 (21) No\n"
                                   "             Invariants 4 (22) No\n"
                                   "             Invariants 5 (23) No\n"
                                   "             Invariants 7 (24) No\n"
                                   "             Invariants 8 (25) No\n"
                                   "             Invariants 9 (26) No\n"
                                   "            Modal Preload (27) Yes\n"
                                   "              Modal Loads (28) Yes\n"
                                   "             Modal Strain (29) Yes\n"
                                   "         Modal Statistics (30) No\n"
                                   "         Nodal Pre-Stress (31) Yes\n"
                                   "         Nodal Pre-Strain (32) Yes\n"
                                   "          Matrix Operator (34) Yes\n"
                                   "         Modal Load Nodal (35) Yes\n"
                                   "           Monitor Points (36) Yes\n"
                                   "\n");
}

// ---- geometry and mass ----------------------------------------------------------------------------------------------

TEST_F(ContentsTest, NodesComeInAscendingOrder) {
  SBR body = SBR_Create(2, 0);
  SBR_SetNodeCoordinates(body, 70, 1, 2, 3);
  SBR_SetNodeCoordinates(body, -5, -0.5, 0, 1e10);
  SBR_SetNodalMass(body, 70, 2.5);
  EXPECT_EQ(contents(body, 4), banner(4, "Nodal Coords:") +
                                   "       -5    -5.0000000000e-01     0.0000000000e+00     1.0000000000e+10 \n"
                                   "       70     1.0000000000e+00     2.0000000000e+00     3.0000000000e+00 \n\n");
  EXPECT_EQ(contents(body, 9), banner(9, "Nodal Masses:") + "       -5\t0.000000e+00\n       70\t2.500000e+00\n\n");
}

TEST_F(ContentsTest, GlobalPropertiesInertiasUnitsAndFaces) {
  SBR body = build_bracket();
  EXPECT_EQ(contents(body, 6), banner(6, "Global Body Properties:") +
                                   "Mass:      4.0000000000\n"
                                   "Center of Mass:      0.7500000000      1.1250000000      0.0000000000\n"
                                   "Inertia Tensor:     14.5000000000     -0.5000000000     -0.0000000000\n"
                                   "                    -0.5000000000      8.0000000000     -0.0000000000\n"
                                   "                    -0.0000000000     -0.0000000000     22.5000000000\n\n");
  EXPECT_EQ(contents(body, 10), banner(10, "Nodal Inertias:") +
                                    "Inertia Tensor of Node        20:      1.0000000000      0.5000000000      "
                                    "0.0000000000\n"
                                    "                                       0.5000000000      2.0000000000      "
                                    "0.0000000000\n"
                                    "                                       0.0000000000      0.0000000000      "
                                    "3.0000000000\n\n");
  EXPECT_EQ(contents(body, 11), banner(11, "SBR Default Units:") +
                                    "Units:\nMass Units    KILOGRAM\nLength Units  METER\nTime Units    SECOND\n"
                                    "Force Units   NEWTON\n\n");
  EXPECT_EQ(contents(body, 14), banner(14, "Element Faces:") +
                                    "number of faces 2\n\n"
                                    "        1             10       20       35\n"
                                    "        2             10       35\n\n");
  EXPECT_EQ(contents(body, 17), banner(17, "Interface Nodes:") + "   1        10 \n   2        35 \n");
}

TEST_F(ContentsTest, AFaceListThatRunsPastItsEndIsCutThere) {
  SBR body = build_bracket();
  state::face_list(body)[4] = 9;
  EXPECT_EQ(contents(body, 14), banner(14, "Element Faces:") +
                                    "number of faces 2\n\n"
                                    "        1             10       20       35\n"
                                    "        2             10       35\n\n");
}

// ---- modes ----------------------------------------------------------------------------------------------------------

TEST_F(ContentsTest, EigenvaluesCarryTheConsistencyFactor) {
  const std::string heading =
      "                          Natural Freq.     Natural Freq.     Generalized       Generalized    \n"
      " Mode   Eigenvalue        (Hz)              (Rad/Sec)         Mass              Stiffness      \n"
      "===== ================= ================= ================= ================= =================\n";
  EXPECT_EQ(contents(read(full_record(0x3C)), 7),
            // MEGAGRAM, MILLIMETER, SECOND, NEWTON is a consistent system.
            banner(7, "Eigenvalues:") + heading +
                "    1  1.0000000000e+02  1.5000000000e+00  1.0000000000e+01  1.0000000000e+00  1.0000000000e+02\n"
                "    2  4.0000000000e+02  3.0000000000e+00  2.0000000000e+01  1.0000000000e+00  4.0000000000e+02\n\n");
  RecordBuilder record = full_record(0x3C);
  record.units("KILOGRAM", "MILLIMETER", "SECOND", "NEWTON");
  EXPECT_NE(contents(read(record), 7).find("    1  1.0000000000e+05  1.5000000000e+00"), std::string::npos);
}

TEST_F(ContentsTest, ModeShapesAreListedModeByMode) {
  SBR body = SBR_Create(2, 2);
  SBR_SetMode(body, 4, 30, 0, 1, -2, 3, 4, 5, 6);
  SBR_SetMode(body, 4, 20, 0, 0.5, 0, 0, 0, 0, 0);
  SBR_SetMode(body, 2, 20, 0, -1e-10, 0, 0, 0, 0, 0);
  const std::string heading =
      "     ID            dx               dy               dz               ax               ay               az\n" +
      kRule;
  EXPECT_EQ(contents(body, 8), banner(8, "Mode Shapes:") + "Number of Mode Shapes 2\n\n" +
                                   "\nMODE NUMBER 4=================================\n\n" + heading +
                                   "       20   5.000000000e-01  0.000000000e+00  0.000000000e+00  0.000000000e+00  "
                                   "0.000000000e+00  0.000000000e+00\n"
                                   "       30   1.000000000e+00 -2.000000000e+00  3.000000000e+00  4.000000000e+00  "
                                   "5.000000000e+00  6.000000000e+00\n" +
                                   "\nMODE NUMBER 2=================================\n\n" + heading +
                                   "       20  -1.000000000e-10  0.000000000e+00  0.000000000e+00  0.000000000e+00  "
                                   "0.000000000e+00  0.000000000e+00\n"
                                   "       30   0.000000000e+00  0.000000000e+00  0.000000000e+00  0.000000000e+00  "
                                   "0.000000000e+00  0.000000000e+00\n");
}

TEST_F(ContentsTest, StressAndStrainAreListedAtTheirOwnNodes) {
  SBR body = build_bracket();
  const std::string stress_heading =
      "       ID       sigma_x          sigma_y          sigma_z           tau_xy           tau_xz           tau_yz\n" +
      kRule;
  const std::string strain_heading =
      "       ID     epsilon_x        epsilon_y        epsilon_z         gamma_xy         gamma_xz         gamma_yz\n" +
      kRule;
  const std::string stress_rows =
      "       20   1.000000000e+00  2.000000000e+00  3.000000000e+00  4.000000000e+00  5.000000000e+00  "
      "6.000000000e+00\n"
      "       35   7.000000000e+00  8.000000000e+00  9.000000000e+00  1.000000000e+01  1.100000000e+01  "
      "1.200000000e+01\n";
  const std::string strain_rows =
      "       10   5.000000000e-01  2.500000000e-01  0.000000000e+00  0.000000000e+00  0.000000000e+00  "
      "0.000000000e+00\n"
      "       35   0.000000000e+00  0.000000000e+00  1.250000000e-01  0.000000000e+00  0.000000000e+00  "
      "2.000000000e+00\n";
  EXPECT_EQ(contents(body, 18), banner(18, "Node Stress per Mode:") + "Number of Stress Shapes 2\n\n" +
                                    "\nSTRESS SHAPE NUMBER 1=================================\n\n" + stress_heading +
                                    stress_rows + "\nSTRESS SHAPE NUMBER 2=================================\n\n" +
                                    stress_heading + stress_rows);
  EXPECT_EQ(contents(body, 29), banner(29, "Node Strain per Mode:") + "Number of Strain Shapes 2\n\n" +
                                    "\nSTRAIN SHAPE NUMBER 1=================================\n\n" + strain_heading +
                                    strain_rows + "\nSTRAIN SHAPE NUMBER 2=================================\n\n" +
                                    strain_heading + strain_rows);
  EXPECT_EQ(contents(body, 31), banner(31, "Nodal Pre-Stress:") + stress_heading +
                                    "       20  -1.000000000e+00 -2.000000000e+00 -3.000000000e+00 -4.000000000e+00 "
                                    "-5.000000000e+00 -6.000000000e+00\n"
                                    "       35   1.000000000e+00  1.000000000e+00  1.000000000e+00  0.000000000e+00  "
                                    "0.000000000e+00  0.000000000e+00\n");
  EXPECT_EQ(contents(body, 32), banner(32, "Nodal Pre-Strain:") + strain_heading +
                                    "       10   5.000000000e-01  0.000000000e+00  0.000000000e+00  0.000000000e+00  "
                                    "0.000000000e+00  0.000000000e+00\n"
                                    "       35   0.000000000e+00  0.000000000e+00  0.000000000e+00  0.000000000e+00  "
                                    "0.000000000e+00  5.000000000e-01\n");
}

TEST_F(ContentsTest, StatisticsNameTheNodesOfTheMaxima) {
  const std::string mode =
      "Max. Trans. Magnitude:      Node ID = 35  Magnitude = 2.500000e+00\n"
      "Max. Small Rot. Magnitude:  Node ID = 10  Magnitude = 1.000000e+00\n"
      "Max. Von Mises Stress:      Node ID = 20  Magnitude = 1.200000e+01\n"
      "Max. Von Mises Strain:      Node ID = 10  Magnitude = 1.400000e+01\n";
  EXPECT_EQ(contents(read(full_record(0x3C)), 30), banner(30, "Modal Statistics:") + "Number of Modes 2\n\n" +
                                                       "\nMODE NUMBER 1=================================\n\n" + mode +
                                                       "\nMODE NUMBER 2=================================\n\n" + mode);
  RecordBuilder no_stress = full_record(0x3C);
  for (const int block : {17, 28, 30, 31}) no_stress.remove(block);
  EXPECT_EQ(contents(read(no_stress), 30).find("Von Mises"), std::string::npos);
}

TEST_F(ContentsTest, CachedPartsAreWhatTheReportShows) {
  SBR body = build_bracket();
  SBR_SetKeepModesInMemory(body, 1);
  const std::vector<double> shape = {9, 8, 7, 6, 5, 4, 3, 2, 1};
  ASSERT_EQ(SBR_ModetoMemory(body, 1, 0, shape.data(), 0), 1);
  const std::string text = contents(body, 8);
  // Part 0 comes from the cache, part 1 from the record.
  EXPECT_NE(text.find("       10   9.000000000e+00  8.000000000e+00  7.000000000e+00 "), std::string::npos);
  EXPECT_NE(text.find("       35   3.000000000e+00  2.000000000e+00  1.000000000e+00 "), std::string::npos);
}

// The rows of a block's last mode: all behind the last rule.
std::string last_rows(const std::string &text) { return text.substr(text.rfind(kRule) + kRule.size()); }

TEST_F(ContentsTest, AModeWithoutDataIsZerosAndTheReportGoesOn) {
  const std::string zeros =
      "  0.000000000e+00  0.000000000e+00  0.000000000e+00  0.000000000e+00  0.000000000e+00  0.000000000e+00\n";
  const std::vector<double> six = {1, 2, 3, 4, 5, 6};
  RecordBuilder record(0x3C);
  record.nodes({{1, {0, 0, 0}}});
  // Number 0 among the modes of stress is that of the pre-stress, which this body does not have.
  record.modes(7, {1}, {{0, six}, {2, six}}).modes(17, {1}, {{0, six}, {2, six}});
  SBR body = read(record);
  log.clear();
  std::string text = contents(body, 18);
  EXPECT_NE(text.find("STRESS SHAPE NUMBER 0="), std::string::npos);
  EXPECT_NE(text.find("        1 " + zeros), std::string::npos);
  EXPECT_NE(last_rows(text).find("1.000000000e+00"), std::string::npos);
  EXPECT_TRUE(log.all().empty());
  // With pre-stress that is what a caller gets for number 0.
  record.pre_vectors(30, {7, 7, 7, 7, 7, 7});
  EXPECT_NE(contents(read(record), 18).find("7.000000000e+00"), std::string::npos);

  // More modes of stress than shapes: the version has no words that would tell.
  RecordBuilder more(30);
  more.nodes({{1, {0, 0, 0}}});
  more.modes(7, {1}, {{1, six}}).modes(17, {1}, {{1, six}, {2, six}});
  body = read(more);
  ASSERT_NE(body, nullptr);
  ASSERT_EQ(SBR_ModeCount(body), 2);
  log.clear();
  text = contents(body, 8);
  EXPECT_EQ(last_rows(text), "        1 " + zeros);
  EXPECT_TRUE(log.all().empty());
}

// ---- matrices and invariants ----------------------------------------------------------------------------------------

TEST_F(ContentsTest, GeneralizedMatricesNameModesAndDampingPositions) {
  SBR body = SBR_Create(1, 2);
  SBR_SetMode(body, 7, 1, 0, 1, 0, 0, 0, 0, 0);
  SBR_SetMode(body, 9, 1, 0, 1, 0, 0, 0, 0, 0);
  SBR_SetGeneralizedStiffness(body, 7, 9, 1.5);
  SBR_SetGeneralizedMass(body, 9, 9, 1);
  SBR_SetGeneralizedDamping(body, 7, 9, 0.25);
  EXPECT_EQ(contents(body, 12), banner(12, "Generalized Stiffness:") + "    7       9       1.5000000000e+00\n\n");
  EXPECT_EQ(contents(body, 13), banner(13, "Generalized Mass:") + "    9       9       1.0000000000e+00\n\n");
  EXPECT_EQ(contents(body, 15), banner(15, "Generalized Damping:") +
                                    "Note:\tThe generalized damping matrix has not been projected onto\n"
                                    "\tprincipal coordinates.  Rows and columns correspond to rigid body\n"
                                    "\tand flexible modes.\n\n"
                                    "    1       2       2.5000000000e-01\n\n");
  state::damping_on_principal_axes(body) = 1;
  EXPECT_EQ(contents(body, 15), banner(15, "Generalized Damping:") +
                                    "Note:\tThe generalized damping matrix has been projected onto principal\n"
                                    "\tcoordinates.  The first 6 rows and columns correspond VENTA\n"
                                    "\tprincipal rigid body degrees of freedom.  The remaining rows\n"
                                    "\tand columns correspond to flexible modes.\n\n"
                                    "    1       2       2.5000000000e-01\n\n");
}

TEST_F(ContentsTest, TheTransformationIsAMatrix) {
  RecordBuilder record = full_record(0x3C);
  record.transformation({1, 2}, {1, -0.5, 0.25, 12345.678});
  EXPECT_EQ(contents(read(record), 16), banner(16, "Mode Shape Transformation:") +
                                            "Number of modes: 2\n\n"
                                            "1.00000e+00 -5.00000e-01 \n"
                                            "2.50000e-01 1.23457e+04 \n");
}

TEST_F(ContentsTest, InvariantsAreListed) {
  SBR body = read(full_record(0x3C));
  EXPECT_EQ(contents(body, 19), banner(19, "Invariant 1:") + "\t4.000000 \n\n");
  EXPECT_EQ(contents(body, 20), banner(20, "Invariant 2:") + "\t4.000000\t8.000000\t12.000000 \n\n");
  EXPECT_EQ(contents(body, 21), banner(21, "Invariant 3:") +
                                    "    1,   1.0000000000e+00  3.0000000000e+00  5.0000000000e+00 \n"
                                    "    2,   2.0000000000e+00  4.0000000000e+00  6.0000000000e+00 \n\n");
  EXPECT_EQ(contents(body, 22), banner(22, "Invariant 4:") +
                                    "    1,   6.0000000000e+00  4.0000000000e+00  2.0000000000e+00 \n"
                                    "    2,   5.0000000000e+00  3.0000000000e+00  1.0000000000e+00 \n\n");
  EXPECT_EQ(contents(body, 23), banner(23, "Invariant 5:") +
                                    "\nMode: 1 \n"
                                    "    1,   1.0000000000e+00  3.0000000000e+00  5.0000000000e+00 \n"
                                    "    2,   2.0000000000e+00  4.0000000000e+00  6.0000000000e+00 \n"
                                    "\nMode: 2 \n"
                                    "    1,   7.0000000000e+00  9.0000000000e+00  1.1000000000e+01 \n"
                                    "    2,   8.0000000000e+00  1.0000000000e+01  1.2000000000e+01 \n\n");
  EXPECT_EQ(contents(body, 24), banner(24, "Invariant 7:") +
                                    "     5.0000000000e+00 -5.0000000000e-01 -2.5000000000e-01 \n"
                                    "    -5.0000000000e-01  6.0000000000e+00 -1.2500000000e-01 \n"
                                    "    -2.5000000000e-01 -1.2500000000e-01  7.0000000000e+00 \n\n");
  EXPECT_EQ(contents(body, 25), banner(25, "Invariant 8:") +
                                    "\nMode: 1\n"
                                    "     5.0000000000e-01  0.0000000000e+00  0.0000000000e+00 \n"
                                    "     0.0000000000e+00  0.0000000000e+00  1.0000000000e+00 \n"
                                    "     0.0000000000e+00  1.5000000000e+00  0.0000000000e+00 \n\n"
                                    "\nMode: 2\n"
                                    "     0.0000000000e+00  1.0000000000e+00  0.0000000000e+00 \n"
                                    "     0.0000000000e+00  0.0000000000e+00  2.5000000000e+00 \n"
                                    "     1.0000000000e+00  0.0000000000e+00  0.0000000000e+00 \n\n");
  const std::string nine = contents(body, 26);
  EXPECT_TRUE(nine.starts_with(banner(26, "Invariant 9:") + "\nModes: 1 1\n     5.0000000000e-01"));
  // The inner mode walks first and is named first.
  EXPECT_LT(nine.find("\nModes: 2 1\n"), nine.find("\nModes: 1 2\n"));
}

TEST_F(ContentsTest, AFilledCellIsInformationAlsoWhenItsSourceIsGone) {
  SBR body = build_bracket();
  SBR_FullComputeInvars(body);
  std::vector<std::string> before;
  for (int number = 19; number <= 26; ++number) before.push_back(contents(body, number));
  state::set_block(body, sbr::kNodalMasses, false);
  for (int number = 19; number <= 26; ++number) {
    EXPECT_EQ(contents(body, number), before[static_cast<std::size_t>(number - 19)]) << number;
    EXPECT_EQ(before[static_cast<std::size_t>(number - 19)].find("information"), std::string::npos) << number;
  }
}

TEST_F(ContentsTest, InvariantsOutliveTheNodesOfAPreprocessedBody) {
  SBR body = build_bracket();
  SBR_FullComputeInvars(body);
  const std::string second = contents(body, 20);
  const std::string seventh = contents(body, 24);
  ASSERT_EQ(SBR_PreprocessBAPSBR(body), 1);
  EXPECT_EQ(contents(body, 20), second);
  EXPECT_EQ(contents(body, 24), seventh);
}

TEST_F(ContentsTest, TheGlobalPropertiesAreInformationForTheInvariantsThatFollowFromThem) {
  RecordBuilder record(0x3C);
  record.nodes({{1, {0, 0, 0}}}).global(2, {1, 0.5, 0}, {4, 0.5, 0, 0.5, 5, 0, 0, 0, 6});
  SBR body = read(record);
  EXPECT_EQ(contents(body, 20), banner(20, "Invariant 2:") + "\t2.000000\t1.000000\t0.000000 \n\n");
  EXPECT_EQ(contents(body, 24), banner(24, "Invariant 7:") +
                                    "     4.0000000000e+00 -5.0000000000e-01 -0.0000000000e+00 \n"
                                    "    -5.0000000000e-01  5.0000000000e+00 -0.0000000000e+00 \n"
                                    "    -0.0000000000e+00 -0.0000000000e+00  6.0000000000e+00 \n\n");
}

TEST_F(ContentsTest, WhatABlockSaysDoesNotDependOnTheBlocksThatWerePrintedBefore) {
  // Bodies without any mass data, with one block of invariants, and with global properties only.
  RecordBuilder records[3] = {RecordBuilder(0x3C), RecordBuilder(0x3C), RecordBuilder(0x3C)};
  for (RecordBuilder &record : records) {
    record.nodes({{1, {0, 0, 0}}, {2, {1, 0, 0}}});
    record.modes(7, {1, 2}, {{1, std::vector<double>(12, 1.0)}, {2, std::vector<double>(12, 2.0)}});
  }
  records[1].block(18).real(4);
  records[2].global(2, {1, 0.5, 0}, {4, 0.5, 0, 0.5, 5, 0, 0, 0, 6});
  for (const RecordBuilder &record : records)
    for (int first = 1; first <= 36; ++first)
      for (int number = 20; number <= 26; ++number) {
        if (first == number) continue;
        const std::string alone = contents(read(record), number);
        SBR body = read(record);
        contents(body, first);
        EXPECT_EQ(contents(body, number), alone) << number << " behind " << first;
        SBR_Terminate();
      }
}

TEST_F(ContentsTest, GlobalPropertiesOfNothingAreZerosAndNoInvariant) {
  SBR body = SBR_Create(0, 0);
  EXPECT_NE(contents(body, 6).find("Mass:      0.0000000000\n"), std::string::npos);
  EXPECT_EQ(contents(body, 20), "\tNo Invariant 2 information\n\n");
  EXPECT_EQ(contents(body, 24), banner(24, "Invariant 7:") + "\tNo Invariant 7 information.\n\n");
}

// ---- loads, operators, monitor points -------------------------------------------------------------------------------

TEST_F(ContentsTest, LoadsAreListedCaseByCase) {
  SBR body = build_bracket();
  SBR_SetModalLoadProcessed(body, 1, 1);
  EXPECT_EQ(contents(body, 27), banner(27, "Modal Preload:") + "\n1      0.5000000000\n\n2      1.5000000000\n");
  EXPECT_EQ(contents(body, 28), banner(28, "Modal Loads:") +
                                    "\nCase: FIRST     (not yet projected on principal axes)\n"
                                    "1      1.0000000000\n2      2.0000000000\n"
                                    "\nCase: Load Case 2     (already projected on principal axes)\n"
                                    "1      3.0000000000\n2      4.0000000000\n");
  state::modal_loads(body)[1]->label[0] = '\0';
  EXPECT_NE(contents(body, 28).find("\nCase: 2     (already"), std::string::npos);
}

TEST_F(ContentsTest, ACaseWithoutValuesSaysSo) {
  SBR body = build_bracket();
  state::mode_count(body) = 0;
  EXPECT_EQ(contents(body, 28), banner(28, "Modal Loads:") +
                                    "\tNo Modal load information for load case FIRST.\n\n"
                                    "\tNo Modal load information for load case Load Case 2.\n\n");
}

TEST_F(ContentsTest, MatrixOperatorsNodalLoadsAndMonitorPoints) {
  SBR body = build_bracket();
  const char *labels[] = {"", "only this"};
  SBR_SetMatrixOperatorInfo(body, "SECOND", labels, 2);
  SBR_SetMatrixOperatorInfo(body, "NOSUB", labels, 2);
  const double data[] = {0.5, -0.5};
  SBR_SetMatrixOperatorData(body, 1, "T", 1, data);
  EXPECT_EQ(contents(body, 34), banner(34, "Matrix Operator:") +
                                    "Number of Matrix Operator: 3\n"
                                    "\nMatrix Operator Number 1 ===========================\n\n"
                                    "Name of operator:     OPER\nSize of row:          2\nSize of sub operator: 2\n"
                                    "Label of row 1:      row one\nLabel of row 2:      row two\n\n"
                                    "\n Sub Matrix Operator Number 1 ---------------------\n\n"
                                    " Tag:            SUBA\n Size of column: 3\n Data:\n"
                                    "  1.000000000e+00  2.000000000e+00  3.000000000e+00\n"
                                    "  4.000000000e+00  5.000000000e+00  6.000000000e+00\n"
                                    "\n Sub Matrix Operator Number 1 ---------------------\n\n"
                                    " Tag:            SUBB\n Size of column: 1\n Data:\n"
                                    "  7.000000000e+00\n  8.000000000e+00\n"
                                    "\nMatrix Operator Number 2 ===========================\n\n"
                                    "Name of operator:     SECOND\nSize of row:          2\nSize of sub operator: 1\n"
                                    "Label of row 2:      only this\n\n"
                                    "\n Sub Matrix Operator Number 2 ---------------------\n\n"
                                    " Tag:            T\n Size of column: 1\n Data:\n"
                                    "  5.000000000e-01\n -5.000000000e-01\n");
  SBR_SetModalLoadNodal(body, 2, 20, 6, 0.5);
  EXPECT_EQ(contents(body, 35), banner(35, "Modal Load Nodal:") +
                                    "Number of Modal Load Nodal: 3\n"
                                    "\nCase Number 1 ===========================\n\n"
                                    " node_id     coord         load       \n" +
                                    std::string(38, '~') +
                                    "\n      10       1     1.000000000e+01\n      35       3    -5.000000000e+00\n"
                                    "\nCase Number 3 ===========================\n\n"
                                    " node_id     coord         load       \n" +
                                    std::string(38, '~') + "\n      20       6     5.000000000e-01\n");
  EXPECT_EQ(contents(body, 36), banner(36, "Monitor Point:") +
                                    " Number of Monitor Points: 1\n "
                                    "\n=======      Monitor Point: 1       =======\n \n "
                                    "Name: POINT   \n "
                                    "Label: a point                                                 \n "
                                    "Type: MONPNT1 \n "
                                    "Result Type: STRESS  \n "
                                    "Component: 12    \n "
                                    "Modal Displacement Operator:        2 X 2         CORDER\n "
                                    "  1.000000000e+00   3.000000000e+00 \n "
                                    "  2.000000000e+00   4.000000000e+00 \n "
                                    "Modal Load Operator:        1 X 2        X 2        CORDER\n "
                                    "  5.000000000e+00   7.000000000e+00 \n "
                                    "  6.000000000e+00   8.000000000e+00 \n ");
}

TEST_F(ContentsTest, TypesOutsideTheTablesHaveNoName) {
  SBR body = build_bracket();
  state::monitor_point(body, 0).type = 5;
  state::monitor_point(body, 0).result_type = -1;
  EXPECT_NE(contents(body, 36).find("Type:         \n Result Type:         \n "), std::string::npos);
}

TEST_F(ContentsTest, AnOperatorOlderThanAModeHasZerosBehindItsEnd) {
  SBR body = SBR_Create(1, 3);
  for (const int mode : {1, 2}) SBR_SetMode(body, mode, 10, 0, 1, 0, 0, 0, 0, 0);
  const double location[3] = {};
  const double values[] = {1, 2, 3, 4};
  SBR_SetMonitorPointInfo(body, 1, 2, 12, 1, location, "POINT", "a point");
  SBR_SetMonitorPointOperator(body, 0, 1, values);
  SBR_SetMode(body, 3, 10, 0, 1, 0, 0, 0, 0, 0);
  ASSERT_EQ(SBR_ModeCount(body), 3);
  double data[6] = {};
  ASSERT_EQ(SBR_GetMonitorPointOperator(body, 0, 1, data), 0);
  const std::string text = contents(body, 36);
  const std::string heading = "Modal Displacement Operator:        2 X 3         CORDER\n ";
  ASSERT_NE(text.find(heading), std::string::npos);
  // What a caller gets, column by column.
  std::string columns;
  for (int m = 0; m < 3; ++m) {
    char line[64];
    std::snprintf(line, sizeof line, " %16.9e  %16.9e \n ", data[m], data[3 + m]);
    columns += line;
  }
  EXPECT_EQ(text.substr(text.find(heading) + heading.size()), columns);
  EXPECT_EQ(data[0], 1.0);
  EXPECT_EQ(data[5], 0.0);
  EXPECT_TRUE(log.take_complaints().empty());
}

TEST_F(ContentsTest, AnOperatorOfNoSizeEndsTheReportUnflushed) {
  SBR body = build_bracket();
  state::monitor_point(body, 0).load_operators = 0;
  log.clear();
  const std::string text = contents(body, 36);
  EXPECT_EQ(text.find("Modal Load Operator"), std::string::npos);
  ASSERT_EQ(log.all().size(), 1U);
  EXPECT_TRUE(is_no_memory(log.all()[0], "sbrtoc"));
}

// ---- a body with nothing --------------------------------------------------------------------------------------------

TEST_F(ContentsTest, ABodyWithNothingSaysSoBlockByBlock) {
  SBR body = SBR_Create(0, 0);
  const std::pair<int, std::string> cases[] = {
      {4, banner(4, "Nodal Coords:") + "\n"},
      {7, banner(7, "Eigenvalues:") + "No eigenvalue information\n\n"},
      {8, banner(8, "Mode Shapes:")},
      {9, banner(9, "Nodal Masses:") + "\n"},
      {10, banner(10, "Nodal Inertias:") + "\tNo Nodal Inertia information.\n\n"},
      {12, banner(12, "Generalized Stiffness:") + "No generalized stiffness information.\n\n"},
      {13, banner(13, "Generalized Mass:") + "No generalized mass information in SBR\n\n"},
      {14, banner(14, "Element Faces:")},
      {15, banner(15, "Generalized Damping:") + "No generalized damping information in SBR.\n\n"},
      {16, banner(16, "Mode Shape Transformation:") + "\tNo Mode Shape Transformation, modes used as is.\n\n"},
      {17, banner(17, "Interface Nodes:")},
      {18, banner(18, "Node Stress per Mode:") + "\tNo Modal Stress Information\n\n"},
      {19, banner(19, "Invariant 1:") + "\t0.000000 \n\n"},
      {20, "\tNo Invariant 2 information\n\n"},
      {21, "\tNo Invariant 3 information\n\n"},
      {22, "\tNo Invariant 4 information\n\n"},
      {23, banner(23, "Invariant 5:")},
      {24, banner(24, "Invariant 7:") + "\tNo Invariant 7 information.\n\n"},
      {25, banner(25, "Invariant 8:")},
      {26, banner(26, "Invariant 9:")},
      {27, banner(27, "Modal Preload:") + "\tNo Preload information.\n\n"},
      {28, banner(28, "Modal Loads:") + "\tNo Modal Load information.\n\n"},
      {29, banner(29, "Node Strain per Mode:") + "\tNo Modal Strain Information\n\n"},
      {30, banner(30, "Modal Statistics:") + "\tNo Modal Statistic Information\n\n"},
      {31, banner(31, "Nodal Pre-Stress:") + "\tNo Nodal Pre-Stress Information\n\n"},
      {32, banner(32, "Nodal Pre-Strain:") + "\tNo Nodal Pre-Strain Information\n\n"},
      {34, banner(34, "Matrix Operator:") + "\tNo Matrix Operator Information.\n\n"},
      {35, banner(35, "Modal Load Nodal:") + "\tNo Modal Load Nodal Information.\n\n"},
      {36, banner(36, "Monitor Point:") + "\tNo Monitor Point Information\n\n"},
  };
  for (const auto &[number, text] : cases) {
    log.clear();
    EXPECT_EQ(contents(body, number), text);
    // An empty face list is told by an allocation message.
    EXPECT_EQ(log.all().size(), number == 14 ? 1U : 0U) << number;
  }
}

TEST_F(ContentsTest, ModesWithoutMassDataHaveNoInvariants) {
  SBR body = SBR_Create(1, 2);
  for (const int mode : {3, 5}) SBR_SetMode(body, mode, 1, 0, 1, 0, 0, 0, 0, 0);
  EXPECT_EQ(contents(body, 21), "\tNo Invariant 3 information\n\n");
  EXPECT_EQ(contents(body, 23), banner(23, "Invariant 5:") +
                                    "\tNo Invariant 5 information for mode 3.\n\n"
                                    "\tNo Invariant 5 information for mode 5.\n\n");
  EXPECT_EQ(contents(body, 25), banner(25, "Invariant 8:") +
                                    "\tNo Invariant 8 information for mode 3.\n\n"
                                    "\tNo Invariant 8 information for mode 5.\n\n");
  EXPECT_EQ(contents(body, 26), banner(26, "Invariant 9:") +
                                    "\tNo Invariant 9 information for mode pair (0, 0).\n\n"
                                    "\tNo Invariant 9 information for mode pair (1, 0).\n\n"
                                    "\tNo Invariant 9 information for mode pair (0, 1).\n\n"
                                    "\tNo Invariant 9 information for mode pair (1, 1).\n\n");
}

}  // namespace
}  // namespace sbrtest
