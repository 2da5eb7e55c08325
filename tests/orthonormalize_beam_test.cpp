// The modes of a real beam, mixed by a well-conditioned matrix and orthonormalized back.
#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "support/files.h"
#include "support/messages.h"
#include "support/modal_body.h"

namespace sbrtest {
namespace {

using Values = std::vector<double>;

class ScrambledBeamTest : public LibraryTest {
 protected:
  ScrambledBeamTest() {
    const std::string path = scratch.file("beam.sbr");
    write_file(path, read_gzip(SBRKIT_TEST_DATA "/samples/beam_13c.sbr.gz"));
    beam = SBR_CreateFromSBR(path.c_str());
  }
  ScratchDirectory scratch;
  ScopedEnvironment directory{"TMP", scratch.path().string()};
  SBR beam = nullptr;
};

TEST_F(ScrambledBeamTest, OrthonormalizationFindsItsFrequenciesAndShapesAgain) {
  ASSERT_NE(beam, nullptr);
  const int n = SBR_ModeCount(beam);
  ASSERT_EQ(n, 10);
  const int nodes = SBR_NodeCount(beam);
  const auto at = [n](int i, int j) { return static_cast<std::size_t>(i * n + j); };
  std::vector<Values> shapes;
  Values lambda;
  for (int m = 0; m < n; ++m) {
    shapes.push_back(whole_mode_of(beam, SBR_ModeNumber(beam, m), 0));
    double eigenvalue = 0.0;
    ASSERT_EQ(SBR_Eigenvalue(beam, SBR_ModeNumber(beam, m), &eigenvalue, nullptr, nullptr, nullptr, nullptr), 1);
    lambda.push_back(eigenvalue);
  }
  // Mixed modes are the columns of shapes times S; their matrices are S^T S and S^T diag(lambda) S.
  std::mt19937 engine(42);
  std::uniform_real_distribution<double> uniform(-0.3, 0.3);
  Values S(at(n, 0));
  for (int i = 0; i < n; ++i)
    for (int j = 0; j < n; ++j) S[at(i, j)] = uniform(engine) + (i == j ? 2.0 : 0.0);
  Values mass(S.size(), 0.0), stiffness(S.size(), 0.0);
  for (int i = 0; i < n; ++i)
    for (int j = 0; j < n; ++j)
      for (int k = 0; k < n; ++k) {
        mass[at(i, j)] += S[at(k, i)] * S[at(k, j)];
        stiffness[at(i, j)] += S[at(k, i)] * lambda[static_cast<std::size_t>(k)] * S[at(k, j)];
      }
  SBR mixed = SBR_Create(nodes, n);
  SBR_SetUnits(mixed, "MEGAGRAM", "MILLIMETER", "SECOND", "NEWTON");
  for (int j = 0; j < n; ++j)
    for (int node = 0; node < nodes; ++node) {
      double six[6] = {};
      for (int k = 0; k < n; ++k)
        for (int c = 0; c < 6; ++c)
          six[c] += S[at(k, j)] * shapes[static_cast<std::size_t>(k)][static_cast<std::size_t>(6 * node + c)];
      ASSERT_EQ(SBR_SetModeVec(mixed, j + 1, SBR_NodeID(beam, node), 0, six), 1);
    }
  set_full_mass(mixed, mass, n);
  set_full_stiffness(mixed, stiffness, n);
  log.clear();
  ASSERT_EQ(SBR_OrthoNormalize(mixed), 1);
  EXPECT_TRUE(log.take_complaints().empty());
  EXPECT_EQ(SBR_RigidBodyModeCount(mixed), 6);

  // Bending in y and z, first and second, as the finite-element analysis found them.
  const double hertz[4] = {106.1816, 158.9868, 291.9340, 435.6814};
  for (int m = 6; m < n; ++m) {
    double found = 0.0;
    ASSERT_EQ(SBR_Eigenvalue(mixed, m + 1, nullptr, &found, nullptr, nullptr, nullptr), 1);
    EXPECT_NEAR(found, hertz[m - 6], 1e-4);
    const Values shape = whole_mode_of(mixed, m + 1, 0);
    const Values &original = shapes[static_cast<std::size_t>(m)];
    double largest = 0.0, product = 0.0;
    for (std::size_t i = 0; i < shape.size(); ++i) {
      largest = std::max(largest, std::abs(original[i]));
      product += shape[i] * original[i];
    }
    const double sign = product < 0.0 ? -1.0 : 1.0;
    for (std::size_t i = 0; i < shape.size(); ++i) ASSERT_NEAR(sign * shape[i], original[i], 1e-8 * largest) << m;
  }
}

}  // namespace
}  // namespace sbrtest
