// Invariants 5 and 9: every bit is that of the plain loop over the nodes, however the modes are held.
#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <random>

#include "mass/invariants.h"
#include "mass/pair_sums.h"
#include "modes/store.h"
#include "support/body_state.h"
#include "support/files.h"
#include "support/mass_body.h"
#include "support/messages.h"

namespace sbrtest {
namespace {

std::uint64_t bits(double value) { return std::bit_cast<std::uint64_t>(value); }

// The sums of a pair, node after node.
struct PlainPair {
  double tensor[9] = {};
  double vector[3] = {};
  PlainPair(const MassBody &mass, std::size_t j, std::size_t k) {
    for (std::size_t i = 0; i < mass.nodes.size(); ++i) {
      incr_scalar_tilde_tilde(tensor, mass.nodes[i].mass, mass.modes[j][i].data(), mass.modes[k][i].data());
      incr_scalar_tilde_vec(vector, mass.nodes[i].mass, mass.modes[j][i].data(), mass.modes[k][i].data());
    }
  }
};

// How many values of the two cells differ in any bit from the plain loop.
int wrong_bits(const MassBody &mass, SBR body) {
  int wrong = 0;
  const auto modes = static_cast<std::size_t>(mass.mode_count());
  for (std::size_t j = 0; j < modes; ++j)
    for (std::size_t k = j; k < modes; ++k) {
      const PlainPair plain(mass, j, k);
      const auto tensor = sbr::invar9_cell(*body, static_cast<int>(j), static_cast<int>(k));
      const auto mirror = sbr::invar9_cell(*body, static_cast<int>(k), static_cast<int>(j));
      for (std::size_t r = 0; r < 3; ++r)
        for (std::size_t c = 0; c < 3; ++c) {
          // For a mode with itself the upper half stands in both places.
          const std::size_t place = j == k && c < r ? 3 * c + r : 3 * r + c;
          if (bits(tensor[3 * r + c]) != bits(plain.tensor[place])) ++wrong;
          if (bits(mirror[3 * c + r]) != bits(plain.tensor[place])) ++wrong;
        }
      const auto row = sbr::invar5_row(*body, static_cast<int>(j));
      const auto column = sbr::invar5_row(*body, static_cast<int>(k));
      for (std::size_t c = 0; c < 3; ++c) {
        const double expected = j == k ? -plain.vector[c] : plain.vector[c];
        if (bits(row[c * modes + k]) != bits(expected)) ++wrong;
        if (bits(column[c * modes + j]) != bits(-plain.vector[c])) ++wrong;
      }
    }
  return wrong;
}

struct Shape {
  int nodes;
  int modes;
};

class PairBits : public LibraryTest, public ::testing::WithParamInterface<Shape> {
 protected:
  const MassBody mass = random_mass_body(11, GetParam().nodes, GetParam().modes);
  SBR body = mass.build();
};
INSTANTIATE_TEST_SUITE_P(Shapes, PairBits,
                         ::testing::Values(Shape{1, 1}, Shape{63, 2}, Shape{64, 7}, Shape{65, 8}, Shape{128, 9},
                                           Shape{200, 17}, Shape{130, 33}, Shape{70, 70}, Shape{5, 150}),
                         [](const auto &shape) {
                           return std::to_string(shape.param.nodes) + "nodes" + std::to_string(shape.param.modes) +
                                  "modes";
                         });

TEST_P(PairBits, AreThoseOfThePlainLoopWithTheCache) {
  SBR_FreeMemory(SBR_Invar5(body, 0));
  EXPECT_EQ(wrong_bits(mass, body), 0);
}

TEST_P(PairBits, AreThoseOfThePlainLoopWithoutTheCache) {
  SBR_SetKeepModesInMemory(body, 0);
  SBR_FreeMemory(SBR_Invar9(body, 0, 0));
  EXPECT_EQ(wrong_bits(mass, body), 0);
}

TEST_P(PairBits, AreThoseOfThePlainLoopWhenTheCacheTakesFewModes) {
  state::cache_limit(body) = 3;  // slots; the rest streams through buffers
  SBR_FreeMemory(SBR_Invar5(body, 0));
  EXPECT_EQ(state::cached_parts(body), std::min(3, mass.mode_count()));
  EXPECT_EQ(wrong_bits(mass, body), 0);
}

TEST_F(LibraryTest, PairSumsWithAllModesHeldAndWithFewHeldAreEqual) {
  const MassBody mass = random_mass_body(12, 90, 60);
  SBR body = mass.build();
  {
    const ScopedEnvironment limit("SBR_MAX_MODE_MEMORY", "1");
    SBR_SetKeepModesInMemory(body, 0);
    SBR_FreeMemory(SBR_Invar5(body, 0));
  }
  EXPECT_EQ(wrong_bits(mass, body), 0);
}

TEST_F(LibraryTest, KernelsOfAllWidthsGiveTheSameBits) {
  std::mt19937 generator(3);
  std::uniform_real_distribution<double> uniform(-1.0, 1.0);
  const auto random = [&](std::size_t count) {
    std::vector<double> values(count);
    for (double &value : values) value = uniform(generator);
    return values;
  };
  const std::vector<double> masses = random(sbr::kTileNodes);
  const std::vector<double> phi = random(sbr::kRowTile);
  std::vector<double> weighted(sbr::kRowTile);
  sbr::weight_row(masses.data(), phi.data(), sbr::kTileNodes, weighted.data());
  const std::vector<double> columns = random(sbr::kColumnTile);
  std::vector<double> widest(sbr::kGroupSums);
  std::vector<double> portable(sbr::kGroupSums);
  const sbr::PairRow row{masses.data(), phi.data(), weighted.data()};
  for (const int nodes : {0, 1, 63, 64}) {
    sbr::pair_kernel()(row, columns.data(), nodes, widest.data());
    sbr::portable_pair_kernel()(row, columns.data(), nodes, portable.data());
    EXPECT_EQ(widest, portable);
  }
}

TEST_F(LibraryTest, InvariantFiveIsAntisymmetricAndNineMirrorsItsTranspose) {
  SBR body = random_mass_body(13, 30, 6).build();
  for (int j = 0; j < 6; ++j)
    for (int k = 0; k < 6; ++k) {
      const OwnedDoubles a = own(SBR_Invar5(body, j));
      const OwnedDoubles b = own(SBR_Invar5(body, k));
      for (int c = 0; c < 3; ++c) EXPECT_EQ(a[c * 6 + k], -b[c * 6 + j]);
      const OwnedDoubles T = own(SBR_Invar9(body, j, k));
      const OwnedDoubles mirror = own(SBR_Invar9(body, k, j));
      for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c) EXPECT_EQ(T[3 * r + c], mirror[3 * c + r]);
    }
}

TEST_F(LibraryTest, TheDiagonalOfInvariantFiveHoldsNegatedZeros) {
  SBR body = random_mass_body(13, 30, 3).build();
  const OwnedDoubles row = own(SBR_Invar5(body, 1));
  for (int c = 0; c < 3; ++c) EXPECT_EQ(bits(row[c * 3 + 1]), bits(-0.0));
}

TEST_F(LibraryTest, ComputingOnePairInvariantReplacesTheOther) {
  const MassBody mass = random_mass_body(14, 12, 3);
  SBR body = mass.build();
  const double given[3] = {100.0, 200.0, 300.0};
  SBR_SetInvar5(body, mass.mode_numbers[0], mass.mode_numbers[1], given);
  EXPECT_EQ(own(SBR_Invar5(body, 0))[1], 100.0);
  SBR_FreeMemory(SBR_Invar9(body, 0, 0));
  EXPECT_EQ(wrong_bits(mass, body), 0);
}

TEST_F(LibraryTest, ValuesThatAreNotFinitePassThroughThePairsTheyTouch) {
  MassBody mass = random_mass_body(15, 10, 10);
  mass.modes[4][3][1] = std::numeric_limits<double>::infinity();
  SBR body = mass.build();
  const OwnedDoubles clean = own(SBR_Invar9(body, 3, 5));
  for (int p = 0; p < 9; ++p) EXPECT_TRUE(std::isfinite(clean[p]));
  EXPECT_FALSE(std::isfinite(own(SBR_Invar9(body, 3, 4))[0]));
}

}  // namespace
}  // namespace sbrtest
