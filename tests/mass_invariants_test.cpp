// The inertia invariants of bodies in memory: their values, their sources, and what the drivers do.
#include <cmath>
#include <random>

#include "support/body_state.h"
#include "support/mass_body.h"
#include "support/messages.h"

namespace sbrtest {
namespace {

constexpr double kRounding = 1e-12;

const Message kNoBody = error("The database has not been initialized.");
const Message kNoPartialSet = error(
    "There is insufficient mass data to compute a partial set of mass invariants.\n"
    "Some or all mass invariants will be set to zero.");
const Message kNoFullSet = error(
    "There is insufficient mass data to compute a full set of mass invariants.\n"
    "Some or all mass invariants will be set to zero.");

void expect_vector(const double *values, std::size_t stride, const Vector3 &expected) {
  for (std::size_t c = 0; c < 3; ++c)
    EXPECT_NEAR(values[c * stride], static_cast<double>(expected[c]), kRounding) << "component " << c;
}

void expect_matrix(const double *values, const Matrix3 &expected) {
  for (std::size_t p = 0; p < 9; ++p)
    EXPECT_NEAR(values[p], static_cast<double>(expected[p / 3][p % 3]), kRounding) << "position " << p;
}

std::vector<double> copied(const OwnedDoubles &values, int count) {
  return values ? std::vector<double>(values.get(), values.get() + count) : std::vector<double>{};
}

class InvariantsTest : public LibraryTest {};

class RandomBodies : public LibraryTest, public ::testing::WithParamInterface<unsigned> {
 protected:
  const MassBody mass = random_mass_body(GetParam(), 40 + static_cast<int>(GetParam()) % 5, 5);
  SBR body = mass.build();
};
INSTANTIATE_TEST_SUITE_P(Seeds, RandomBodies, ::testing::Range(1U, 9U));

TEST_P(RandomBodies, MassAndFirstMomentAreSumsOverTheNodes) {
  EXPECT_NEAR(SBR_Invar1(body), static_cast<double>(mass.invariant1()), kRounding);
  expect_vector(own(SBR_Invar2(body)).get(), 1, mass.invariant2());
}

TEST_P(RandomBodies, ModeVectorsAreComponentMajorSums) {
  const OwnedDoubles third = own(SBR_Invar3(body));
  const OwnedDoubles fourth = own(SBR_Invar4(body));
  for (std::size_t j = 0; j < 5; ++j) {
    expect_vector(third.get() + j, 5, mass.invariant3(j));
    expect_vector(fourth.get() + j, 5, mass.invariant4(j));
  }
}

TEST_P(RandomBodies, InertiaTensorHasMassAndNodalInertia) {
  expect_matrix(own(SBR_Invar7(body)).get(), mass.invariant7());
}

TEST_P(RandomBodies, ModeTensorsAreSumsOfTildeProducts) {
  for (int j = 0; j < 5; ++j)
    expect_matrix(own(SBR_Invar8(body, j)).get(), mass.invariant8(static_cast<std::size_t>(j)));
}

TEST_P(RandomBodies, PairInvariantsAreSumsForEveryPair) {
  for (int j = 0; j < 5; ++j) {
    const OwnedDoubles row = own(SBR_Invar5(body, j));
    for (int k = 0; k < 5; ++k) {
      const auto a = static_cast<std::size_t>(j);
      const auto b = static_cast<std::size_t>(k);
      expect_vector(row.get() + k, 5, mass.invariant5(a, b));
      expect_matrix(own(SBR_Invar9(body, j, k)).get(), mass.invariant9(a, b));
    }
  }
}

// Three doubles of a strided vector.
Vector3 vector_at(const double *values, std::size_t stride) { return {values[0], values[stride], values[2 * stride]}; }
Matrix3 matrix_at(const double *v) { return {{{v[0], v[1], v[2]}, {v[3], v[4], v[5]}, {v[6], v[7], v[8]}}}; }

// The kinetic energy of a deformed body, from its velocity v and angular velocity w, modal coordinates q and rates dq,
// each node summed for itself.
Exact direct_energy(const MassBody &mass, const Vector3 &v, const Vector3 &w, const std::vector<Exact> &q,
                    const std::vector<Exact> &dq) {
  Exact energy = 0;
  for (std::size_t i = 0; i < mass.nodes.size(); ++i) {
    Vector3 place = mass.nodes[i].r();
    Vector3 rate{};
    Vector3 spin = w;
    for (std::size_t j = 0; j < q.size(); ++j) {
      place = place + q[j] * mass.phi(i, j);
      rate = rate + dq[j] * mass.phi(i, j);
      spin = spin + dq[j] * mass.theta(i, j);
    }
    const Vector3 velocity = v + cross(w, place) + rate;
    energy += (mass.nodes[i].mass * dot(velocity, velocity) + dot(spin, mass.nodes[i].I() * spin)) / 2;
  }
  return energy;
}

// The same from the nine invariants.
Exact energy_of_invariants(SBR body, const Vector3 &v, const Vector3 &w, const std::vector<Exact> &q,
                           const std::vector<Exact> &dq) {
  const std::size_t modes = q.size();
  const OwnedDoubles second = own(SBR_Invar2(body));
  const OwnedDoubles third = own(SBR_Invar3(body));
  const OwnedDoubles fourth = own(SBR_Invar4(body));
  const OwnedDoubles sixth = own(SBR_Invar6(body));
  Vector3 moment = vector_at(second.get(), 1);
  Matrix3 inertia = matrix_at(own(SBR_Invar7(body)).get());
  Vector3 momentum{};
  Vector3 spin{};
  Exact modal = 0;
  for (std::size_t j = 0; j < modes; ++j) {
    const OwnedDoubles fifth = own(SBR_Invar5(body, static_cast<int>(j)));
    const Matrix3 eighth = matrix_at(own(SBR_Invar8(body, static_cast<int>(j))).get());
    moment = moment + q[j] * vector_at(third.get() + j, modes);
    momentum = momentum + dq[j] * vector_at(third.get() + j, modes);
    spin = spin + dq[j] * vector_at(fourth.get() + j, modes);
    inertia = inertia + (-q[j]) * (eighth + transpose(eighth));
    for (std::size_t k = 0; k < modes; ++k) {
      spin = spin + (q[j] * dq[k]) * vector_at(fifth.get() + k, modes);
      const OwnedDoubles ninth = own(SBR_Invar9(body, static_cast<int>(j), static_cast<int>(k)));
      inertia = inertia + (-q[j] * q[k]) * matrix_at(ninth.get());
      modal += dq[j] * dq[k] * sixth[j * modes + k] / 2;
    }
  }
  return SBR_Invar1(body) * dot(v, v) / 2 + dot(v, cross(w, moment)) + dot(v, momentum) + dot(w, inertia * w) / 2 +
         dot(w, spin) + modal;
}

TEST_P(RandomBodies, KineticEnergyFollowsFromTheNineInvariants) {
  for (int j = 0; j < 5; ++j)
    for (int k = j; k < 5; ++k)
      SBR_SetGeneralizedMass(
          body, mass.mode_numbers[static_cast<std::size_t>(j)], mass.mode_numbers[static_cast<std::size_t>(k)],
          static_cast<double>(mass.invariant6(static_cast<std::size_t>(j), static_cast<std::size_t>(k))));
  std::mt19937 generator(GetParam() + 100);
  std::uniform_real_distribution<double> uniform(-1.0, 1.0);
  const auto random3 = [&] { return Vector3{uniform(generator), uniform(generator), uniform(generator)}; };
  const Vector3 v = random3();
  const Vector3 w = random3();
  std::vector<Exact> q(5);
  std::vector<Exact> dq(5);
  for (std::size_t j = 0; j < 5; ++j) {
    q[j] = uniform(generator);
    dq[j] = uniform(generator);
  }
  const Exact expected = direct_energy(mass, v, w, q, dq);
  EXPECT_NEAR(static_cast<double>(energy_of_invariants(body, v, w, q, dq) / expected), 1.0, 1e-13);
}

TEST_F(InvariantsTest, WithoutNodalInertiaOnlyMassesAndTranslationsCount) {
  MassBody mass = random_mass_body(3, 20, 2);
  for (MassNode &node : mass.nodes) node.has_inertia = false;
  SBR body = mass.build();
  expect_matrix(own(SBR_Invar7(body)).get(), mass.invariant7());
  const OwnedDoubles with_rotations = own(SBR_Invar4(body));
  for (auto &shape : mass.modes)
    for (auto &six : shape) six[3] = six[4] = six[5] = 9.0;
  SBR turned = mass.build();
  EXPECT_EQ(copied(own(SBR_Invar4(turned)), 6), copied(with_rotations, 6));
}

TEST_F(InvariantsTest, GlobalPropertiesServeWhenThereIsNoNodalMass) {
  SBR body = SBR_Create(1, 2);
  SBR_AddMode(body, 1);
  SBR_AddMode(body, 2);
  state::global(body) = {2.0, {1.0, 2.0, 3.0}, {10.0, 1.0, 2.0, 1.0, 20.0, 3.0, 2.0, 3.0, 30.0}};
  EXPECT_EQ(SBR_Invar1(body), 2.0);
  EXPECT_EQ(copied(own(SBR_Invar2(body)), 3), (std::vector<double>{2.0, 4.0, 6.0}));
  EXPECT_EQ(copied(own(SBR_Invar7(body)), 9),
            (std::vector<double>{10.0, -1.0, -2.0, -1.0, 20.0, -3.0, -2.0, -3.0, 30.0}));
  EXPECT_EQ(copied(own(SBR_Invar3(body)), 6), std::vector<double>(6, 0.0));
  EXPECT_EQ(copied(own(SBR_Invar4(body)), 6), std::vector<double>(6, 0.0));
  EXPECT_TRUE(log.take().empty());
}

TEST_F(InvariantsTest, NodalMassesComeBeforeGlobalProperties) {
  SBR body = SBR_Create(1, 1);
  SBR_SetNodeCoordinates(body, 1, 1.0, 0.0, 0.0);
  SBR_SetNodalMass(body, 1, 3.0);
  state::global(body) = {2.0, {1.0, 2.0, 3.0}, {10.0, 1.0, 2.0, 1.0, 20.0, 3.0, 2.0, 3.0, 30.0}};
  EXPECT_EQ(SBR_Invar1(body), 3.0);
  EXPECT_EQ(own(SBR_Invar2(body))[0], 3.0);
  EXPECT_EQ(own(SBR_Invar7(body))[4], 3.0);
}

TEST_F(InvariantsTest, AnEnteredInvariantComesBeforeTheNodes) {
  SBR body = random_mass_body(1, 5, 1).build();
  SBR_SetInvar1(body, 77.0);
  EXPECT_EQ(SBR_Invar1(body), 77.0);
}

TEST_F(InvariantsTest, WithoutAnyDataTheValuesAreZero) {
  SBR body = SBR_Create(1, 1);
  EXPECT_EQ(SBR_Invar1(body), 0.0);
  EXPECT_EQ(copied(own(SBR_Invar2(body)), 3), std::vector<double>(3, 0.0));
  EXPECT_EQ(copied(own(SBR_Invar7(body)), 9), std::vector<double>(9, 0.0));
}

TEST_F(InvariantsTest, PairInvariantsAreZeroWithoutNodalMasses) {
  MassBody mass = random_mass_body(1, 4, 3);
  SBR body = mass.build();
  state::set_block(body, sbr::kNodalMasses, false);
  EXPECT_EQ(copied(own(SBR_Invar5(body, 1)), 9), std::vector<double>(9, 0.0));
  EXPECT_EQ(copied(own(SBR_Invar9(body, 1, 2)), 9), std::vector<double>(9, 0.0));
}

TEST_F(InvariantsTest, InvariantEightSumsTheNodesWithoutAskingForNodalMasses) {
  MassBody mass = random_mass_body(2, 6, 2);
  SBR body = mass.build();
  state::set_block(body, sbr::kNodalMasses, false);
  expect_matrix(own(SBR_Invar8(body, 1)).get(), mass.invariant8(1));
}

TEST_F(InvariantsTest, ABodyWithoutNodalMassesHasAnInvariantEightOfZeros) {
  SBR body = SBR_Create(1, 1);
  SBR_SetNodeCoordinates(body, 1, 1.0, 2.0, 3.0);
  SBR_SetMode(body, 1, 1, 0, 1.0, 2.0, 3.0, 0.0, 0.0, 0.0);
  for (const double value : copied(own(SBR_Invar8(body, 0)), 9)) EXPECT_EQ(value, 0.0);
}

TEST_F(InvariantsTest, InvariantSixIsTheGeneralizedMassMatrixNewOnEveryCall) {
  SBR body = SBR_Create(1, 2);
  SBR_SetGeneralizedMass(body, 1, 1, 4.0);
  SBR_SetGeneralizedMass(body, 1, 2, 0.5);
  SBR_SetGeneralizedMass(body, 2, 2, 9.0);
  EXPECT_EQ(copied(own(SBR_Invar6(body)), 4), (std::vector<double>{4.0, 0.5, 0.5, 9.0}));
  SBR_SetGeneralizedMass(body, 2, 2, 10.0);
  EXPECT_EQ(own(SBR_Invar6(body))[3], 10.0);
}

TEST_F(InvariantsTest, AskingTwiceGivesEqualValuesInDistinctMemory) {
  SBR body = random_mass_body(4, 10, 3).build();
  for (auto *operation : {SBR_Invar2, SBR_Invar3, SBR_Invar4, SBR_Invar6, SBR_Invar7}) {
    const OwnedDoubles first = own(operation(body));
    const OwnedDoubles second = own(operation(body));
    EXPECT_NE(first.get(), second.get());
    EXPECT_EQ(copied(first, 3), copied(second, 3));
  }
  const OwnedDoubles first = own(SBR_Invar9(body, 1, 2));
  const OwnedDoubles second = own(SBR_Invar9(body, 1, 2));
  EXPECT_NE(first.get(), second.get());
  EXPECT_EQ(copied(first, 9), copied(second, 9));
}

TEST_F(InvariantsTest, AFilledCellStaysWhenTheNodesChange) {
  SBR body = random_mass_body(4, 3, 1).build();
  const double before = SBR_Invar1(body);
  SBR_SetNodalMass(body, 999, 5.0);
  EXPECT_EQ(SBR_Invar1(body), before);
}

TEST_F(InvariantsTest, WithoutModesTheModeInvariantsAreNullAndSilent) {
  SBR body = SBR_Create(1, 1);
  SBR_SetNodeCoordinates(body, 1, 0.0, 0.0, 0.0);
  SBR_SetNodalMass(body, 1, 1.0);
  EXPECT_EQ(SBR_Invar3(body), nullptr);
  EXPECT_EQ(SBR_Invar4(body), nullptr);
  EXPECT_EQ(SBR_Invar5(body, 0), nullptr);
  EXPECT_EQ(SBR_Invar6(body), nullptr);
  EXPECT_EQ(SBR_Invar8(body, 0), nullptr);
  EXPECT_EQ(SBR_Invar9(body, 0, 0), nullptr);
  EXPECT_TRUE(log.take().empty());
}

TEST_F(InvariantsTest, ModeIndicesOutOfRangeGiveNull) {
  SBR body = random_mass_body(4, 3, 2).build();
  log.clear();
  for (const int bad : {-1, 2, 1 << 30}) {
    EXPECT_EQ(SBR_Invar5(body, bad), nullptr);
    EXPECT_EQ(SBR_Invar8(body, bad), nullptr);
    EXPECT_EQ(SBR_Invar9(body, bad, 0), nullptr);
    EXPECT_EQ(SBR_Invar9(body, 0, bad), nullptr);
  }
  EXPECT_TRUE(log.take().empty());
}

TEST_F(InvariantsTest, WithoutNodesTheNodalSumsFailForWantOfABuffer) {
  SBR body = SBR_Create(1, 1);
  SBR_AddMode(body, 1);
  state::set_block(body, sbr::kNodalMasses);
  EXPECT_EQ(SBR_Invar3(body), nullptr);
  EXPECT_EQ(SBR_Invar4(body), nullptr);
  EXPECT_EQ(SBR_Invar8(body, 0), nullptr);
  const std::vector<Message> messages = log.take();
  ASSERT_EQ(messages.size(), 3U);
  for (const Message &message : messages) EXPECT_TRUE(is_no_memory(message, "sbrinvar")) << message.text;
}

TEST_F(InvariantsTest, WithoutNodesThePairInvariantsFailSilently) {
  SBR body = SBR_Create(1, 1);
  SBR_AddMode(body, 1);
  state::set_block(body, sbr::kNodalMasses);
  EXPECT_EQ(SBR_Invar5(body, 0), nullptr);
  EXPECT_EQ(SBR_Invar9(body, 0, 0), nullptr);
  EXPECT_TRUE(log.take().empty());
}

TEST_F(InvariantsTest, ANullBodyIsRefusedByEveryOperation) {
  EXPECT_EQ(SBR_Invar1(nullptr), 0.0);
  EXPECT_EQ(SBR_Invar2(nullptr), nullptr);
  EXPECT_EQ(SBR_Invar3(nullptr), nullptr);
  EXPECT_EQ(SBR_Invar4(nullptr), nullptr);
  EXPECT_EQ(SBR_Invar5(nullptr, 0), nullptr);
  EXPECT_EQ(SBR_Invar6(nullptr), nullptr);
  EXPECT_EQ(SBR_Invar7(nullptr), nullptr);
  EXPECT_EQ(SBR_Invar8(nullptr, 0), nullptr);
  EXPECT_EQ(SBR_Invar9(nullptr, 0, 0), nullptr);
  SBR_FastComputeInvars(nullptr);
  SBR_FullComputeInvars(nullptr);
  SBR_RigidComputeInvars(nullptr);
  EXPECT_EQ(log.take(), std::vector<Message>(12, kNoBody));
}

TEST_F(InvariantsTest, ModesAddedAfterACellWasMadeReadAsZerosWithinIt) {
  SBR body = SBR_Create(2, 3);
  SBR_AddMode(body, 1);
  SBR_AddMode(body, 2);
  const double v[9] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
  SBR_SetInvar3(body, 1, v);
  SBR_SetInvar5(body, 1, 2, v);
  SBR_SetInvar8(body, 2, v);
  SBR_SetInvar9(body, 1, 2, v);
  SBR_AddMode(body, 3);
  EXPECT_EQ(copied(own(SBR_Invar3(body)), 9), (std::vector<double>{1, 0, 2, 0, 3, 0, 0, 0, 0}));
  EXPECT_EQ(copied(own(SBR_Invar5(body, 2)), 9), std::vector<double>(9, 0.0));
  EXPECT_EQ(copied(own(SBR_Invar8(body, 1)), 9), (std::vector<double>{1, 2, 3, 4, 5, 6, 7, 8, 9}));
  EXPECT_EQ(copied(own(SBR_Invar8(body, 2)), 9), std::vector<double>(9, 0.0));
  EXPECT_EQ(copied(own(SBR_Invar9(body, 0, 1)), 9), (std::vector<double>{1, 2, 3, 4, 5, 6, 7, 8, 9}));
  EXPECT_EQ(copied(own(SBR_Invar9(body, 2, 2)), 9), std::vector<double>(9, 0.0));
}

TEST_F(InvariantsTest, FewerModesThanACellWasMadeForStayWithinIt) {
  SBR body = random_mass_body(4, 6, 4).build();
  const OwnedDoubles pair = own(SBR_Invar9(body, 1, 0));
  const OwnedDoubles tensor = own(SBR_Invar8(body, 1));
  SBR_FullComputeInvars(body);
  state::mode_count(body) = 2;
  EXPECT_EQ(copied(own(SBR_Invar9(body, 1, 0)), 9), copied(pair, 9));
  EXPECT_EQ(copied(own(SBR_Invar8(body, 1)), 9), copied(tensor, 9));
  EXPECT_NE(own(SBR_Invar5(body, 1)), nullptr);
  EXPECT_EQ(SBR_Invar9(body, 2, 0), nullptr);
}

// ---- drivers -------------------------------------------------------------------------------------------------------

bool filled(const SBR body, int invariant) {
  const sbr::Invariants &in = state::invariants(body);
  const sbr::Array<double> *cells[] = {nullptr,    &in.invar1, &in.invar2, &in.invar3, &in.invar4,
                                       &in.invar5, nullptr,    &in.invar7, &in.invar8, &in.invar9};
  return static_cast<bool>(*cells[invariant]);
}

std::vector<int> filled_cells(const SBR body) {
  std::vector<int> cells;
  for (const int invariant : {1, 2, 3, 4, 5, 7, 8, 9})
    if (filled(body, invariant)) cells.push_back(invariant);
  return cells;
}

TEST_F(InvariantsTest, FastSetFillsSixCells) {
  SBR body = random_mass_body(5, 4, 2).build();
  log.clear();
  SBR_FastComputeInvars(body);
  EXPECT_EQ(filled_cells(body), (std::vector<int>{1, 2, 3, 4, 7, 8}));
  EXPECT_EQ(log.take(), std::vector<Message>{info("Computing fast set of invariants")});
}

TEST_F(InvariantsTest, FullSetFillsAllCells) {
  SBR body = random_mass_body(5, 4, 2).build();
  log.clear();
  SBR_FullComputeInvars(body);
  EXPECT_EQ(filled_cells(body), (std::vector<int>{1, 2, 3, 4, 5, 7, 8, 9}));
  EXPECT_EQ(log.take(), std::vector<Message>{info("Computing *all* invariants")});
}

TEST_F(InvariantsTest, RigidSetAlsoAsksForInvariantThree) {
  SBR body = random_mass_body(5, 4, 2).build();
  log.clear();
  SBR_RigidComputeInvars(body);
  EXPECT_EQ(filled_cells(body), (std::vector<int>{1, 2, 3, 7}));
  EXPECT_EQ(log.take(), std::vector<Message>{info("Computing *rigid* invariants")});
}

TEST_F(InvariantsTest, RigidSetOfABodyWithoutModesHasNoInvariantThree) {
  SBR body = SBR_Create(1, 0);
  SBR_SetNodeCoordinates(body, 1, 1.0, 0.0, 0.0);
  SBR_SetNodalMass(body, 1, 1.0);
  SBR_RigidComputeInvars(body);
  EXPECT_EQ(filled_cells(body), (std::vector<int>{1, 2, 7}));
  EXPECT_EQ(log.take(), std::vector<Message>{info("Computing *rigid* invariants")});
}

TEST_F(InvariantsTest, InsufficientDataIsReportedAndTheWorkGoesOn) {
  SBR fast = SBR_Create(1, 1);
  SBR_FastComputeInvars(fast);
  EXPECT_EQ(log.take(), (std::vector<Message>{kNoPartialSet, info("Computing fast set of invariants")}));
  EXPECT_EQ(filled_cells(fast), (std::vector<int>{1, 2, 7}));
  SBR full = SBR_Create(1, 1);
  SBR_FullComputeInvars(full);
  EXPECT_EQ(log.take(), (std::vector<Message>{kNoFullSet, info("Computing *all* invariants")}));
  SBR rigid = SBR_Create(1, 1);
  SBR_RigidComputeInvars(rigid);
  EXPECT_EQ(log.take(), (std::vector<Message>{kNoFullSet, info("Computing *rigid* invariants")}));
}

TEST_F(InvariantsTest, NodalMassesWithoutModesSufficeForTheRigidSetOnly) {
  SBR body = SBR_Create(1, 1);
  SBR_SetNodeCoordinates(body, 1, 1.0, 0.0, 0.0);
  SBR_SetNodalMass(body, 1, 1.0);
  SBR_RigidComputeInvars(body);
  SBR_FastComputeInvars(body);
  SBR_FullComputeInvars(body);
  EXPECT_EQ(log.take(), (std::vector<Message>{info("Computing *rigid* invariants"), kNoPartialSet,
                                              info("Computing fast set of invariants"), kNoFullSet,
                                              info("Computing *all* invariants")}));
}

TEST_F(InvariantsTest, FilledCellsAreSufficient) {
  SBR body = random_mass_body(5, 4, 2).build();
  SBR_FullComputeInvars(body);
  state::set_block(body, sbr::kNodalMasses, false);
  log.clear();
  SBR_FastComputeInvars(body);
  SBR_FullComputeInvars(body);
  SBR_RigidComputeInvars(body);
  EXPECT_TRUE(log.take_complaints().empty());
  state::invariants(body).invar8.release();
  SBR_FastComputeInvars(body);
  EXPECT_EQ(log.take_complaints(), std::vector<Message>{kNoPartialSet});
}

TEST_F(InvariantsTest, ExistingBlocksAreSufficient) {
  SBR body = SBR_Create(1, 1);
  for (const int block : {18, 19, 20, 21, 23, 24}) state::set_block(body, block);
  SBR_FastComputeInvars(body);
  SBR_RigidComputeInvars(body);
  EXPECT_TRUE(log.take_complaints().empty());
  SBR_FullComputeInvars(body);
  EXPECT_EQ(log.take_complaints(), std::vector<Message>{kNoFullSet});
}

// ---- accumulation routines -----------------------------------------------------------------------------------------

TEST_F(InvariantsTest, TildeProductIsAddedElementByElement) {
  double T[9] = {1, 1, 1, 1, 1, 1, 1, 1, 1};
  const double a[3] = {2.0, 3.0, 5.0};
  const double b[3] = {7.0, 11.0, 13.0};
  incr_scalar_tilde_tilde(T, 2.0, a, b);
  const double expected[9] = {1 - 2.0 * (33 + 65), 1 + 2.0 * 21, 1 + 2.0 * 35, 1 + 2.0 * 22,       1 - 2.0 * (65 + 14),
                              1 + 2.0 * 55,        1 + 2.0 * 26, 1 + 2.0 * 39, 1 - 2.0 * (33 + 14)};
  for (int p = 0; p < 9; ++p) EXPECT_EQ(T[p], expected[p]) << p;
}

TEST_F(InvariantsTest, CrossProductIsAdded) {
  double v[3] = {1, 1, 1};
  const double a[3] = {2.0, 3.0, 5.0};
  const double b[3] = {7.0, 11.0, 13.0};
  incr_scalar_tilde_vec(v, 2.0, a, b);
  EXPECT_EQ(v[0], 1 + 2.0 * (39 - 55));
  EXPECT_EQ(v[1], 1 + 2.0 * (35 - 26));
  EXPECT_EQ(v[2], 1 + 2.0 * (22 - 21));
}

}  // namespace
}  // namespace sbrtest
