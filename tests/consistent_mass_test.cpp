// Nodal masses that have the mass, the center and the inertia of the mesh.
#include "common/consistent_mass.h"

#include <gmock/gmock.h>

#include <random>

#include "calculix/deck.h"
#include "support/files.h"
#include "support/messages.h"

namespace sbrtest {
namespace {

using sbrtranslate::Model;

const std::string kSteel = "*MATERIAL, NAME=STEEL\n*DENSITY\n8.0\n*SOLID SECTION, ELSET=E, MATERIAL=STEEL\n";

class ConsistentMassTest : public LibraryTest {
 protected:
  Model model(const std::string &text) {
    write_file(scratch.file("job.inp"), text);
    return sbrtranslate::build_model(sbrtranslate::read_deck(scratch.file("job.inp")), {});
  }
  // Bricks C3D8 of sizes that change along each axis.
  static std::string bricks(int nx, int ny, int nz, unsigned seed) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> shift(-0.2, 0.2);
    std::ostringstream out;
    out.precision(17);
    out << "*NODE\n";
    const auto id = [&](int i, int j, int k) { return 1 + i + (nx + 1) * (j + (ny + 1) * k); };
    for (int k = 0; k <= nz; ++k)
      for (int j = 0; j <= ny; ++j)
        for (int i = 0; i <= nx; ++i)
          out << id(i, j, k) << ", " << 3.0 * i + shift(random) + 100.0 << ", " << 2.0 * j + shift(random) << ", "
              << k + shift(random) - 50.0 << '\n';
    out << "*ELEMENT, TYPE=C3D8, ELSET=E\n";
    int element = 0;
    for (int k = 0; k < nz; ++k)
      for (int j = 0; j < ny; ++j)
        for (int i = 0; i < nx; ++i)
          out << ++element << ", " << id(i, j, k) << ", " << id(i + 1, j, k) << ", " << id(i + 1, j + 1, k) << ", "
              << id(i, j + 1, k) << ", " << id(i, j, k + 1) << ", " << id(i + 1, j, k + 1) << ", "
              << id(i + 1, j + 1, k + 1) << ", " << id(i, j + 1, k + 1) << '\n';
    return out.str() + kSteel;
  }
  // Mass, center and inertia by the nodes as the library sums them, against those of the elements.
  static void expect_exact(const Model &body) {
    const auto centre = body.exact.centre();
    EXPECT_NEAR(body.lumped.mass, body.exact.mass, 1e-12 * body.exact.mass);
    for (std::size_t k = 0; k < 3; ++k) EXPECT_NEAR(body.lumped.centre()[k], centre[k], 1e-12 * 100);
    const auto exact = body.exact.inertia(centre);
    const auto nodal = body.lumped.inertia(centre);
    const double size = exact[0] + exact[4] + exact[8];
    for (std::size_t k = 0; k < 9; ++k) EXPECT_NEAR(nodal[k], exact[k], 1e-10 * size);
    for (const auto &node : body.nodes) EXPECT_GT(node.mass, 0.0) << node.id;
  }
  ScratchDirectory scratch;
};

TEST_F(ConsistentMassTest, MeshesWithInnerNodesNeedNoNodalInertia) {
  for (unsigned seed = 1; seed < 6; ++seed) {
    const Model body = model(bricks(5, 3, 2, seed));
    expect_exact(body);
    EXPECT_EQ(body.correction.rest_share, 0.0);
    EXPECT_GT(body.correction.smallest_factor, 0.05);
    for (const auto &node : body.nodes) EXPECT_FALSE(node.has_inertia);
  }
}

// A layer of one element has its nodes at both faces: masses there have h^2 / 4 in place of h^2 / 12.
TEST_F(ConsistentMassTest, ALayerHasWhatItsMassesCannotHaveAsNodalInertia) {
  for (unsigned seed = 1; seed < 4; ++seed) {
    const Model body = model(bricks(6, 4, 1, seed));
    expect_exact(body);
    EXPECT_GT(body.correction.rest_share, 1e-3);
    for (const auto &node : body.nodes) EXPECT_TRUE(node.has_inertia);
  }
  const Model single = model(bricks(1, 1, 1, 1));
  expect_exact(single);
  EXPECT_NEAR(single.correction.rest_share, 2.0, 0.1) << "all its nodes are corners";
}

TEST_F(ConsistentMassTest, PartsOfDifferentDensityKeepTheirCenter) {
  std::string deck = bricks(6, 2, 2, 3);
  deck.replace(
      deck.find(kSteel), kSteel.size(),
      "*ELSET, ELSET=A, GENERATE\n1,24,2\n*ELSET, ELSET=B, GENERATE\n2,24,2\n*MATERIAL, NAME=M1\n*DENSITY\n1.0\n"
      "*MATERIAL, NAME=M2\n*DENSITY\n30.0\n*SOLID SECTION, ELSET=A, MATERIAL=M1\n*SOLID SECTION, ELSET=B, "
      "MATERIAL=M2\n");
  expect_exact(model(deck));
}

TEST_F(ConsistentMassTest, CoordinatesWithoutAFiniteInertiaAreRefused) {
  std::string deck = bricks(1, 1, 1, 1);
  for (std::size_t at = 0; (at = deck.find(", ", at)) != std::string::npos && at < deck.find("*ELEMENT");) {
    const std::size_t end = deck.find_first_of(",\n", at + 2);
    deck.insert(end, "e120");
    at = end;
  }
  try {
    (void)model(deck);
    FAIL() << "taken";
  } catch (const sbrtranslate::InputError &error) {
    EXPECT_THAT(error.what(), ::testing::HasSubstr("the coordinates or densities are too large to have an inertia"));
  }
}

}  // namespace
}  // namespace sbrtest
