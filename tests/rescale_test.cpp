// What a change of units does to the holders of a body's data.
#include <gmock/gmock.h>

#include <array>
#include <cmath>
#include <string>
#include <vector>

#include "support/body_state.h"
#include "support/body_view.h"
#include "support/files.h"
#include "support/messages.h"

namespace sbrtest {
namespace {

// The ratios from kilogram, meter, second, newton to pound, inch, millisecond, pound force.
constexpr double M = 1.0 / 0.45359237;
constexpr double L = 1.0 / 0.0254;
constexpr double T = 1.0 / 0.001;
constexpr double F = 1.0 / 4.4482216152605;

constexpr int kModes = 8;

MATCHER_P(CloseTo, expected, "") { return std::fabs(arg - expected) <= 4e-15 * std::fabs(expected); }

class RescaleTest : public LibraryTest {
 protected:
  RescaleTest() {
    for (int i = 0; i < kModes; ++i) EXPECT_EQ(SBR_AddMode(body, i + 1), i);
    EXPECT_EQ(SBR_SetUnits(body, "KILOGRAM", "METER", "SECOND", "NEWTON"), 1);
  }
  ~RescaleTest() override { EXPECT_TRUE(log.take_complaints().empty()); }

  void change_units() { ASSERT_EQ(SBR_SetUnits(body, "POUND_MASS", "INCH", "MILLISECOND", "POUND_FORCE"), 1); }

  static std::vector<double> values_from_fill(int count) {
    std::vector<double> values;
    for (int i = 0; i < count; ++i) values.push_back(1.5 + i);
    return values;
  }
  // An operator of point 0 with such values.
  void enter_operator(int type, int count) {
    ASSERT_EQ(SBR_SetMonitorPointOperator(body, 0, type, values_from_fill(count).data()), 0);
  }
  // A preload with such values.
  void enter_preload() {
    for (int i = 0; i < kModes; ++i) ASSERT_EQ(SBR_SetModalPreload(body, i + 1, 1.5 + i), 1);
  }
  static void fill(sbr::Array<double> &values, int count) {
    ASSERT_TRUE(values.allocate(count));
    for (int i = 0; i < count; ++i) values[static_cast<std::size_t>(i)] = 1.5 + i;
  }
  // Every value that fill gave has been multiplied by the factor.
  template <class Values>
  static void expect_scaled(const Values &values, double factor, const char *what) {
    for (std::size_t i = 0; i < values.size(); ++i)
      EXPECT_THAT(values[i], CloseTo((1.5 + static_cast<double>(i)) * factor)) << what << ' ' << i;
  }
  // Frequencies of 0 for the first modes and of 50 Hz and more for the others.
  void set_rigid_modes(int count) {
    ASSERT_TRUE(state::eigen_table(body).allocate(kModes));
    state::eigenvalue_count(body) = kModes;
    for (int i = 0; i < kModes; ++i) {
      sbr::EigenRecord &record = state::eigen_table(body)[static_cast<std::size_t>(i)];
      record.mode = i + 1;
      record.frequency_hz = i < count ? 0.0 : 50.0 + i;
    }
  }

  SBR body = SBR_Create(10, kModes);
};

// ---- nodes and global properties -----------------------------------------------------------------------------------

TEST_F(RescaleTest, NodesHaveLengthsMassesAndInertias) {
  ASSERT_EQ(SBR_SetNodeCoordinates(body, 7, 1.0, -2.0, 3.0), 1);
  ASSERT_EQ(SBR_SetNodalMass(body, 7, 5.0), 1);
  ASSERT_EQ(SBR_SetNodalInertia(body, 7, 1.0, 2.0, 3.0, 4.0, 5.0, 6.0), 1);
  ASSERT_EQ(SBR_SetNodeCoordinates(body, 8, 0.5, 0.0, 0.0), 1);
  change_units();
  double xyz[3];
  ASSERT_EQ(SBR_NodeCoordinates(body, 0, xyz), 1);
  EXPECT_THAT(xyz[0], CloseTo(L));
  EXPECT_THAT(xyz[1], CloseTo(-2.0 * L));
  EXPECT_THAT(xyz[2], CloseTo(3.0 * L));
  EXPECT_THAT(SBR_NodalMass(body, 0), CloseTo(5.0 * M));
  double inertia[9];
  ASSERT_EQ(SBR_NodalInertia(body, 0, inertia), 1);
  const double expected[9] = {1.0, 4.0, 5.0, 4.0, 2.0, 6.0, 5.0, 6.0, 3.0};
  for (int i = 0; i < 9; ++i) EXPECT_THAT(inertia[i], CloseTo(expected[i] * M * L * L));
  EXPECT_EQ(SBR_NodalInertia(body, 1, inertia), 0);
  EXPECT_EQ(SBR_NodalMass(body, 1), 0.0);
}

TEST_F(RescaleTest, GlobalPropertiesFollow) {
  state::global(body).mass = 3.0;
  for (int i = 0; i < 3; ++i) state::global(body).center[i] = 1.0 + i;
  for (int i = 0; i < 9; ++i) state::global(body).inertia[i] = 1.0 + i;
  change_units();
  EXPECT_THAT(state::global(body).mass, CloseTo(3.0 * M));
  for (int i = 0; i < 3; ++i) EXPECT_THAT(state::global(body).center[i], CloseTo((1.0 + i) * L));
  for (int i = 0; i < 9; ++i) EXPECT_THAT(state::global(body).inertia[i], CloseTo((1.0 + i) * M * L * L));
}

// ---- matrices and eigenvalues --------------------------------------------------------------------------------------

TEST_F(RescaleTest, GeneralizedMatricesFollow) {
  enter_mass(body, {{0, 1, 2.0}});
  enter_stiffness(body, {{0, 1, 3.0}});
  enter_damping(body, {{0, 1, 4.0}});
  change_units();
  EXPECT_THAT(mass_of(body)[0].value, CloseTo(2.0 * M * L * L));
  EXPECT_THAT(stiffness_of(body)[0].value, CloseTo(3.0 * F * L));
  EXPECT_THAT(damping_of(body)[0].value, CloseTo(4.0 * F * L * T));
}

TEST_F(RescaleTest, DampingOnPrincipalAxesFollowsByRowAndColumn) {
  struct Pair {
    int row, column;
    double factor;
  };
  const std::vector<Pair> pairs = {{0, 0, F * T / L}, {2, 1, F * T / L}, {3, 3, F * T * L}, {5, 4, F * T * L},
                                   {6, 6, F * T * L}, {3, 7, F * T * L}, {0, 3, F * T},     {5, 2, F * T},
                                   {2, 6, F * T},     {6, 0, F * T}};
  for (const Pair &pair : pairs) enter_damping(body, {{pair.row, pair.column, 4.0}});
  state::damping_on_principal_axes(body) = 1;
  change_units();
  for (std::size_t i = 0; i < pairs.size(); ++i)
    EXPECT_THAT(damping_of(body)[i].value, CloseTo(4.0 * pairs[i].factor)) << pairs[i].row << ' ' << pairs[i].column;
}

TEST_F(RescaleTest, TheEigenvalueTableFollows) {
  set_rigid_modes(0);
  state::eigen_table(body)[3] = {4, 2.0, 3.0, 4.0, 5.0, 6.0};
  change_units();
  const sbr::EigenRecord &record = state::eigen_table(body)[3];
  EXPECT_EQ(record.mode, 4);
  EXPECT_THAT(record.eigenvalue, CloseTo(2.0 * (F * L) / (M * L * L)));
  EXPECT_THAT(record.frequency_hz, CloseTo(3.0 / T));
  EXPECT_THAT(record.frequency_rad, CloseTo(4.0 / T));
  EXPECT_THAT(record.generalized_mass, CloseTo(5.0 * M * L * L));
  EXPECT_THAT(record.generalized_stiffness, CloseTo(6.0 * F * L));
}

TEST_F(RescaleTest, AFrequencyFromTheListsIsTheSameMotionInOtherUnits) {
  for (int i = 0; i < kModes; ++i) {
    enter_stiffness(body, {{i, i, 4.0e6}});
    enter_mass(body, {{i, i, 1.0}});
  }
  double rad = 0.0;
  ASSERT_EQ(SBR_Eigenvalue(body, 1, nullptr, nullptr, &rad, nullptr, nullptr), 1);
  EXPECT_EQ(rad, 2000.0);
  change_units();
  ASSERT_EQ(SBR_Eigenvalue(body, 1, nullptr, nullptr, &rad, nullptr, nullptr), 1);
  EXPECT_DOUBLE_EQ(rad, 2.0);  // per millisecond
}

// ---- modal vectors -------------------------------------------------------------------------------------------------

TEST_F(RescaleTest, AModalPreloadIsMadeOfModalForces) {
  set_rigid_modes(6);
  enter_preload();
  change_units();
  expect_scaled(modal_preload_of(body), F * L, "preload");
}

TEST_F(RescaleTest, AProcessedPreloadBeginsWithThreeForces) {
  set_rigid_modes(6);
  enter_preload();
  SBR_SetModalPreloadProcessed(body, 1);
  change_units();
  for (std::size_t i = 0; i < kModes; ++i)
    EXPECT_THAT(modal_preload_of(body)[i], CloseTo((1.5 + static_cast<double>(i)) * (i < 3 ? F : F * L)));
}

TEST_F(RescaleTest, FewerRigidModesThanThreeMeanFewerForces) {
  set_rigid_modes(2);
  enter_preload();
  SBR_SetModalPreloadProcessed(body, 1);
  change_units();
  for (std::size_t i = 0; i < kModes; ++i)
    EXPECT_THAT(modal_preload_of(body)[i], CloseTo((1.5 + static_cast<double>(i)) * (i < 2 ? F : F * L)));
}

TEST_F(RescaleTest, EachModalLoadFollowsByItsOwnFlag) {
  set_rigid_modes(6);
  for (int i = 0; i < 3; ++i)
    for (int m = 0; m < kModes; ++m) ASSERT_EQ(SBR_SetModalLoad(body, i, m + 1, 1.5 + m), 1);
  SBR_SetModalLoadProcessed(body, 1, 1);
  SBR_SetModalLoadProcessed(body, 2, 1);
  state::modal_loads(body)[2]->values.release();
  change_units();
  expect_scaled(modal_load_of(body, 0), F * L, "unprocessed load");
  for (std::size_t i = 0; i < kModes; ++i)
    EXPECT_THAT(modal_load_of(body, 1)[i], CloseTo((1.5 + static_cast<double>(i)) * (i < 3 ? F : F * L)));
}

TEST_F(RescaleTest, NodalLoadsFollowByPlainMultiplication) {
  for (int coordinate = 1; coordinate <= 6; ++coordinate)
    ASSERT_NE(SBR_SetModalLoadNodal(body, 1, 7, coordinate, 0.3 * coordinate), 0);
  change_units();
  const sbr::UnitFactors &ratio = state::last_change(body);
  const std::vector<NodalLoad> loads = nodal_loads_of(body, 1);
  ASSERT_EQ(loads.size(), 6U);
  for (int coordinate = 1; coordinate <= 6; ++coordinate) {
    double expected = 0.3 * coordinate * ratio.force;
    if (coordinate > 3) expected *= ratio.length;
    EXPECT_EQ(loads[static_cast<std::size_t>(coordinate - 1)].value, expected);
  }
}

// ---- invariants and statistics -------------------------------------------------------------------------------------

TEST_F(RescaleTest, InvariantsFollowByTheirMoments) {
  sbr::Invariants &cells = state::invariants(body);
  fill(cells.invar1, 1);
  fill(cells.invar2, 3);
  fill(cells.invar3, 3 * kModes);
  fill(cells.invar4, 3 * kModes);
  fill(cells.invar5, 3 * kModes * kModes);
  fill(cells.invar7, 9);
  fill(cells.invar8, 9 * kModes);
  fill(cells.invar9, 9 * kModes * kModes);
  change_units();
  expect_scaled(cells.invar1, M, "invariant 1");
  expect_scaled(cells.invar2, M * L, "invariant 2");
  expect_scaled(cells.invar3, M * L, "invariant 3");
  expect_scaled(cells.invar4, M * L * L, "invariant 4");
  expect_scaled(cells.invar5, M * L * L, "invariant 5");
  expect_scaled(cells.invar7, M * L * L, "invariant 7");
  expect_scaled(cells.invar8, M * L * L, "invariant 8");
  expect_scaled(cells.invar9, M * L * L, "invariant 9");
}

TEST_F(RescaleTest, OnlyTranslationsAndStressesOfTheStatisticsFollow) {
  ASSERT_TRUE(state::statistics(body).allocate(kModes));
  for (sbr::ModalStatistics &mode : state::statistics(body))
    for (double &value : mode.values) value = 2.0;
  change_units();
  for (const sbr::ModalStatistics &mode : state::statistics(body)) {
    EXPECT_THAT(mode.values[0], CloseTo(2.0 * L));
    EXPECT_EQ(mode.values[1], 2.0);
    EXPECT_THAT(mode.values[2], CloseTo(2.0 * F / L / L));
    EXPECT_EQ(mode.values[3], 2.0);
    EXPECT_EQ(mode.values[4], 2.0);
  }
}

// ---- monitor points ------------------------------------------------------------------------------------------------

// The factors of the rows "3" and "4" of a displacement, velocity, acceleration and load operator; 1 is left alone.
struct PointCase {
  const char *name;
  int result_type;
  std::array<double, 4> translational;
  std::array<double, 4> rotational;
};

constexpr double S = F / L / L;

class RescalePointTest : public RescaleTest, public ::testing::WithParamInterface<PointCase> {};

TEST_P(RescalePointTest, OperatorRowsFollowByTheirDigit) {
  constexpr int kLoads = 2;
  const double location[3] = {1.0, 2.0, 3.0};
  ASSERT_EQ(SBR_SetMonitorPointInfo(body, 1, GetParam().result_type, 34, kLoads, location, "point", "label"), 0);
  for (int op = 0; op < 4; ++op) enter_operator(op + 1, 2 * kModes * (op == 3 ? kLoads : 1));
  change_units();
  for (std::size_t op = 0; op < 4; ++op) {
    const std::vector<double> after = monitor_operator_of(body, 0, static_cast<int>(op) + 1);
    ASSERT_EQ(after.size(), 2U * kModes * (op == 3 ? kLoads : 1));
    for (std::size_t i = 0; i < after.size(); ++i) {
      const bool rotational = i / kModes % 2 == 1;
      const double before = 1.5 + static_cast<double>(i);
      const double factor = rotational ? GetParam().rotational[op] : GetParam().translational[op];
      if (factor == 1.0)
        EXPECT_EQ(after[i], before) << "operator " << op << ", value " << i;
      else
        EXPECT_THAT(after[i], CloseTo(before * factor)) << "operator " << op << ", value " << i;
    }
  }
  double unchanged[3] = {};
  ASSERT_EQ(SBR_GetMonitorPointLocation(body, 0, unchanged), 0);
  EXPECT_EQ(unchanged[0], 1.0);
}

INSTANTIATE_TEST_SUITE_P(
    ResultTypes, RescalePointTest,
    ::testing::Values(PointCase{"Disp", 1, {L, L / T, L / T / T, L}, {1.0, 1.0 / T, 1.0 / T / T, 1.0}},
                      PointCase{"Stress", 2, {S, S / T, S / T / T, S}, {S, S / T, S / T / T, S}},
                      PointCase{"Strain", 3, {1.0, 1.0 / T, 1.0 / T / T, 1.0}, {1.0, 1.0 / T, 1.0 / T / T, 1.0}},
                      PointCase{"Force", 4, {F, F / T, F / T / T, F}, {F * L, F *L / T, F *L / T / T, F *L}},
                      PointCase{"General", 5, {F, F / T, F / T / T, F}, {F * L, F *L / T, F *L / T / T, F *L}},
                      PointCase{"Zero", 0, {1.0, 1.0, 1.0, 1.0}, {1.0, 1.0, 1.0, 1.0}},
                      PointCase{"Six", 6, {1.0, 1.0, 1.0, 1.0}, {1.0, 1.0, 1.0, 1.0}}),
    [](const auto &point) { return std::string(point.param.name); });

TEST_F(RescaleTest, MonitorPointsWithoutTheirBlockAreLeftAlone) {
  const double location[3] = {};
  ASSERT_EQ(SBR_SetMonitorPointInfo(body, 1, 4, 1, 1, location, "point", "label"), 0);
  enter_operator(1, kModes);
  state::set_block(body, sbr::kMonitorPoints, false);
  change_units();
  expect_scaled(monitor_operator_of(body, 0, 1), 1.0, "operator");
}

// Fewer values than rows make no row, so that there is nothing that a factor belongs to.
TEST_F(RescaleTest, AnOperatorOfFewerValuesThanItsPointHasRowsStaysAsItIs) {
  const double location[3] = {};
  ASSERT_EQ(SBR_SetMonitorPointInfo(body, 1, 4, -123456, 1000000, location, "point", "label"), 0);
  sbr::MonitorPoint &point = state::monitor_point(body, 0);
  for (sbr::Array<double> &op : point.operators) fill(op, 3);
  change_units();
  for (const sbr::Array<double> &op : point.operators) {
    ASSERT_EQ(op.size(), 3U);
    expect_scaled(op, 1.0, "operator");
  }
}

TEST_F(RescaleTest, ASignOfAComponentIsATranslationalRow) {
  const double location[3] = {};
  ASSERT_EQ(SBR_SetMonitorPointInfo(body, 1, 4, -5, 1, location, "point", "label"), 0);
  enter_operator(1, 2 * kModes);
  change_units();
  const std::vector<double> after = monitor_operator_of(body, 0, 1);
  ASSERT_EQ(after.size(), 2U * kModes);
  EXPECT_THAT(after[0], CloseTo(1.5 * F));
  EXPECT_THAT(after[kModes], CloseTo((1.5 + kModes) * F * L));
}

// ---- mode access ---------------------------------------------------------------------------------------------------

TEST_F(RescaleTest, TheCacheAndTheCurrentModesAreForgotten) {
  ASSERT_EQ(SBR_AddNode(body, 7), 0);
  const double shape[3] = {1.0, 2.0, 3.0};
  ASSERT_EQ(SBR_ModetoMemory(body, 1, 0, shape, 0), 1);
  for (int &mode : state::current_modes(body)) mode = 1;
  change_units();
  double out[3];
  EXPECT_EQ(SBR_ModeFromMemory(body, 1, 0, out, 0), 0);
  EXPECT_EQ(state::cached_parts(body), 0);
  for (const int mode : state::current_modes(body)) EXPECT_EQ(mode, -1);
}

TEST_F(RescaleTest, ModesAreDeliveredInTheNewUnits) {
  const double six[6] = {1.0, 2.0, 3.0, 4.0, 5.0, 6.0};
  for (const int kind : {0, 1, 2}) ASSERT_EQ(SBR_SetModeVec(body, 1, 7, kind, six), 1);
  change_units();
  const double factors[3][2] = {{L, 1.0}, {F / L / L, F / L / L}, {1.0, 1.0}};
  for (int kind = 0; kind < 3; ++kind)
    for (int part = 0; part < 2; ++part) {
      double out[3];
      ASSERT_EQ(SBR_Mode(body, 1, kind, out, part), 1);
      for (int c = 0; c < 3; ++c) EXPECT_THAT(out[c], CloseTo(six[3 * part + c] * factors[kind][part]));
    }
}

TEST_F(RescaleTest, PreStressAndTransformationAndMatrixOperatorsAreLeftInMemoryAsTheyAre) {
  ASSERT_TRUE(state::pre_stress(body).allocate(1));
  ASSERT_TRUE(state::pre_strain(body).allocate(1));
  state::pre_stress(body)[0][2] = 2.0;
  state::pre_strain(body)[0][2] = 2.0;
  const double data[1] = {2.0};
  ASSERT_EQ(SBR_SetMatrixOperatorInfo(body, "op", nullptr, 1), 0);
  ASSERT_EQ(SBR_SetMatrixOperatorData(body, 0, "tag", 1, data), 0);
  ASSERT_EQ(SBR_SetTransformation(body, values_from_fill(kModes * kModes).data()), 1);
  change_units();
  EXPECT_EQ(state::pre_stress(body)[0][2], 2.0);
  EXPECT_EQ(state::pre_strain(body)[0][2], 2.0);
  EXPECT_EQ(sub_operator_of(body, 0, 0), std::vector<double>{2.0});
  ASSERT_EQ(transformation_of(body).size(), std::size_t{kModes * kModes});
  expect_scaled(transformation_of(body), 1.0, "transformation");
}

// ---- all together --------------------------------------------------------------------------------------------------

TEST_F(RescaleTest, ThereAndBackGivesTheSameValuesToRounding) {
  set_rigid_modes(6);
  ASSERT_EQ(SBR_SetNodeCoordinates(body, 7, 0.123, -4.56, 789.0), 1);
  ASSERT_EQ(SBR_SetNodalMass(body, 7, 0.0321), 1);
  fill(state::invariants(body).invar9, 9 * kModes * kModes);
  enter_preload();
  SBR_SetModalPreloadProcessed(body, 1);
  enter_damping(body, {{1, 7, 0.7}});
  state::damping_on_principal_axes(body) = 1;
  change_units();
  ASSERT_EQ(SBR_SetUnits(body, "MEGAGRAM", "MILLIMETER", "HOUR", "DYNE"), 1);
  ASSERT_EQ(SBR_SetUnits(body, "KILOGRAM", "METER", "SECOND", "NEWTON"), 1);
  const auto close = [](double value, double expected) {
    return std::fabs(value - expected) < 1e-14 * std::fabs(expected);
  };
  const sbr::NodeRecord &node = state::node(body, 0);
  EXPECT_TRUE(close(node.x, 0.123) && close(node.y, -4.56) && close(node.z, 789.0) && close(node.mass, 0.0321));
  for (std::size_t i = 0; i < state::invariants(body).invar9.size(); ++i)
    EXPECT_TRUE(close(state::invariants(body).invar9[i], 1.5 + static_cast<double>(i)));
  for (std::size_t i = 0; i < kModes; ++i) EXPECT_TRUE(close(modal_preload_of(body)[i], 1.5 + static_cast<double>(i)));
  EXPECT_TRUE(close(damping_of(body)[0].value, 0.7));
  EXPECT_TRUE(close(eigenvalues_of(body)[7].frequency_hz, 57.0));
  EXPECT_TRUE(close(state::all_changes(body).length, 1.0) && close(state::all_changes(body).time, 1.0));
}

TEST_F(RescaleTest, TheLastRatiosMayBeAppliedByHand) {
  ASSERT_EQ(SBR_SetNodeCoordinates(body, 7, 1.0, 0.0, 0.0), 1);
  state::last_change(body).length = 10.0;
  SBR_ScaleDatabase(body);
  SBR_ScaleDatabase(body);
  EXPECT_EQ(coordinates_of(body, 0)[0], 100.0);
  EXPECT_EQ(state::all_changes(body).length, 1.0);
}

// ---- a record on disk ----------------------------------------------------------------------------------------------

class RescaleRecordTest : public LibraryTest, public ::testing::WithParamInterface<const char *> {
 protected:
  // All shape and stress values, coordinates, and the mass and frequency of every mode, in one row.
  static std::vector<double> everything(SBR body) {
    std::vector<double> row;
    for (int kind = 0; kind < 2; ++kind) {
      std::vector<double> part(3 * static_cast<std::size_t>(SBR_ModeNodeCount(body, kind)));
      for (int i = 0; i < SBR_ModeCount(body) && !part.empty(); ++i)
        for (int p = 0; p < 2; ++p) {
          EXPECT_EQ(SBR_Mode(body, SBR_ModeNumber(body, i), kind, part.data(), p), 1);
          row.insert(row.end(), part.begin(), part.end());
        }
    }
    for (int i = 0; i < SBR_NodeCount(body); ++i) {
      double xyz[3] = {};
      SBR_NodeCoordinates(body, i, xyz);
      row.insert(row.end(), {xyz[0], xyz[1], xyz[2], SBR_NodalMass(body, i)});
    }
    for (int i = 0; i < SBR_ModeCount(body); ++i) {
      double hz = 0.0;
      double mass = 0.0;
      SBR_Eigenvalue(body, SBR_ModeNumber(body, i), nullptr, &hz, nullptr, &mass, nullptr);
      row.insert(row.end(), {hz, mass});
    }
    return row;
  }
};

TEST_P(RescaleRecordTest, ComesBackFromOtherUnitsAsItWas) {
  ScratchDirectory scratch;
  const std::string path = scratch.file("body.sbr");
  write_file(path, read_gzip(std::string(SBRKIT_TEST_DATA "/samples/") + GetParam()));
  SBR body = SBR_CreateFromSBR(path.c_str());
  ASSERT_NE(body, nullptr);
  char home[4][16];
  SBR_Units(body, home[0], home[1], home[2], home[3]);
  const std::vector<double> before = everything(body);
  ASSERT_GT(before.size(), 100U);

  ASSERT_EQ(SBR_SetUnits(body, "SLINCH", "INCH", "MILLISECOND", "POUND_FORCE"), 1);
  const std::vector<double> abroad = everything(body);
  const double length = state::last_change(body).length;
  ASSERT_NE(length, 1.0);
  EXPECT_THAT(abroad[0], CloseTo(before[0] * length));
  ASSERT_EQ(SBR_SetUnits(body, home[0], home[1], home[2], home[3]), 1);
  const std::vector<double> after = everything(body);
  ASSERT_EQ(after.size(), before.size());
  for (std::size_t i = 0; i < before.size(); ++i) {
    // The oldest records give a rigid mode with a slightly negative eigenvalue no frequency.
    if (std::isnan(before[i]))
      ASSERT_TRUE(std::isnan(after[i])) << "value " << i;
    else
      ASSERT_NEAR(after[i], before[i], 1e-13 * std::fabs(before[i])) << "value " << i;
  }
}

INSTANTIATE_TEST_SUITE_P(Samples, RescaleRecordTest,
                         ::testing::Values("beam_010.sbr.gz", "beam_031.sbr.gz", "beam_050.sbr.gz", "beam_13c.sbr.gz"),
                         [](const auto &sample) { return std::string(sample.param).substr(0, 8); });

}  // namespace
}  // namespace sbrtest
