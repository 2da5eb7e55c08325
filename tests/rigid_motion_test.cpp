// Rigid transformations: what moves, how, and what stays.
#include <cmath>
#include <numbers>
#include <random>
#include <vector>

#include "base/mat3.h"
#include "frame/turn_modes.h"
#include "support/body_state.h"
#include "support/files.h"
#include "support/messages.h"

namespace sbrtest {
namespace {

using Vec = std::array<double, 3>;
using Mat = std::array<double, 9>;

// Rodrigues' formula: the matrix that turns column vectors by an angle (degrees) about an axis.
Mat rodrigues(Vec axis, double degrees) {
  const double length = std::sqrt(axis[0] * axis[0] + axis[1] * axis[1] + axis[2] * axis[2]);
  const double x = axis[0] / length;
  const double y = axis[1] / length;
  const double z = axis[2] / length;
  const double t = degrees / 180.0 * std::numbers::pi;
  const double c = std::cos(t);
  const double s = std::sin(t);
  const double v = 1.0 - c;
  return {c + x * x * v,     x * y * v - z * s, x * z * v + y * s, y * x * v + z * s, c + y * y * v,
          y * z * v - x * s, z * x * v - y * s, z * y * v + x * s, c + z * z * v};
}

Vec apply(const Mat &m, const double *v) {
  return {m[0] * v[0] + m[1] * v[1] + m[2] * v[2], m[3] * v[0] + m[4] * v[1] + m[5] * v[2],
          m[6] * v[0] + m[7] * v[1] + m[8] * v[2]};
}

void expect_near(const double *actual, const double *expected, int count, double tolerance, const char *what) {
  for (int i = 0; i < count; ++i) EXPECT_NEAR(actual[i], expected[i], tolerance) << what << " at " << i;
}

constexpr int kNodes = 6;
constexpr int kModes = 3;

class RigidMotionTest : public LibraryTest {
 protected:
  // A body with masses, inertias, shapes, stress and strain of small random numbers.
  SBR make(unsigned seed) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> spread(-1.0, 1.0);
    SBR body = SBR_Create(kNodes, kModes);
    for (int id = 1; id <= kNodes; ++id) {
      SBR_SetNodeCoordinates(body, id, spread(random), spread(random), spread(random));
      SBR_SetNodalMass(body, id, 1.5 + spread(random));
      SBR_SetNodalInertia(body, id, 2 + spread(random), 2 + spread(random), 2 + spread(random), 0.1 * spread(random),
                          0.1 * spread(random), 0.1 * spread(random));
    }
    for (int mode = 1; mode <= kModes; ++mode)
      for (int id = 1; id <= kNodes; ++id)
        for (int kind = 0; kind < 3; ++kind) {
          double six[6];
          for (double &value : six) value = spread(random);
          SBR_SetModeVec(body, mode, id, kind, six);
        }
    log.clear();
    return body;
  }
  static std::vector<double> coordinates(SBR body) {
    std::vector<double> xyz(3 * kNodes);
    int count = 0;
    SBR_NodeCoordinateList(body, xyz.data(), &count);
    return xyz;
  }
  static std::vector<double> part(SBR body, int mode, int kind, int which) {
    std::vector<double> values(3 * kNodes);
    SBR_Mode(body, mode, kind, values.data(), which);
    return values;
  }
  // Everything that a transformation carries, as one list of numbers.
  static std::vector<double> fingerprint(SBR body) {
    std::vector<double> all = coordinates(body);
    for (int i = 0; i < kNodes; ++i) {
      double nine[9];
      SBR_NodalInertia(body, i, nine);
      all.insert(all.end(), nine, nine + 9);
    }
    for (int mode = 1; mode <= kModes; ++mode)
      for (int kind = 0; kind < 3; ++kind)
        for (int which = 0; which < 2; ++which) {
          const auto values = part(body, mode, kind, which);
          all.insert(all.end(), values.begin(), values.end());
        }
    return all;
  }
  ScratchDirectory scratch;
  ScopedEnvironment tmp{"TMP", scratch.path().string()};
};

// ---- the matrices ---------------------------------------------------------------------------------------------------

TEST_F(RigidMotionTest, TheMatrixOfAnAngleIsRodriguesFormula) {
  for (const Vec axis : {Vec{1, 2, 3}, Vec{0, 0, 1}, Vec{0, 0, -2}, Vec{-1, 0.5, 0}, Vec{0, -3, 0}})
    for (const double angle : {0.0, 10.0, 90.0, -135.0, 270.0}) {
      SBR body = SBR_Create(1, 1);
      Mat R{};
      ASSERT_EQ(SBR_Rotate_Origin(body, axis.data(), angle, R.data()), 1);
      expect_near(R.data(), rodrigues(axis, angle).data(), 9, 1e-15, "R");
    }
  SBR body = SBR_Create(1, 1);
  Mat R{};
  const Vec z = {0, 0, 1};
  SBR_Rotate_Origin(body, z.data(), 90.0, R.data());
  const Mat quarter = {0, -1, 0, 1, 0, 0, 0, 0, 1};
  expect_near(R.data(), quarter.data(), 9, 1e-16, "quarter turn");
}

TEST_F(RigidMotionTest, RotatingAboutTheOriginsFrameTurnsTheBodyBackwards) {
  SBR body = SBR_Create(1, 1);
  SBR_SetNodeCoordinates(body, 1, 1, 0, 0);
  const Vec z = {0, 0, 1};
  Mat R{};
  SBR_Rotate_Origin(body, z.data(), 90.0, R.data());
  double at[3];
  SBR_NodeCoordinates(body, 0, at);
  const Vec expected = {0, -1, 0};
  expect_near(at, expected.data(), 3, 1e-15, "node");
}

TEST_F(RigidMotionTest, ProductsMayOverwriteTheirFactors) {
  const Mat a = {1, 2, 3, 4, 5, 6, 7, 8, 10};
  const Mat b = {2, 0, 1, 1, 3, 0, 0, 1, 1};
  Mat expected{};
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j)
      for (int k = 0; k < 3; ++k) expected[3 * i + j] += a[3 * i + k] * b[3 * k + j];
  Mat c{};
  Matrix_Multiply(a.data(), b.data(), c.data());
  EXPECT_EQ(c, expected);
  Mat left = a;
  Matrix_Multiply(left.data(), b.data(), left.data());
  EXPECT_EQ(left, expected);
  Mat right = b;
  Matrix_Multiply(a.data(), right.data(), right.data());
  EXPECT_EQ(right, expected);
}

TEST_F(RigidMotionTest, SignsOfTensorsAndVectorsWorkDifferently) {
  const Mat R = rodrigues({1, 1, 0}, 30);
  Mat T = {1, 2, 3, 2, 5, 6, 3, 6, 9};
  Mat other = T;
  Mat negated = T;
  Tensor_Transform(T.data(), R.data(), 1);
  Tensor_Transform(other.data(), R.data(), 7);
  Tensor_Transform(negated.data(), R.data(), -1);
  EXPECT_EQ(T, other) << "only -1 negates";
  for (int i = 0; i < 9; ++i) EXPECT_EQ(negated[i], -T[i]);
  Vec v = {1, 2, 3};
  Vec doubled = v;
  Vector_Transform(v.data(), R.data(), 1);
  Vector_Transform(doubled.data(), R.data(), 2);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(doubled[i], 2 * v[i]);
  Move_Vector(v.data(), doubled.data());
  EXPECT_EQ(v[1], doubled[1] / 2 + doubled[1]);
}

TEST_F(RigidMotionTest, TheSignFormulaCallsSomeProperRotationsImproper) {
  EXPECT_EQ(sbr::transformation_sign(rodrigues({1, 0, 0}, 20).data()), 1);
  EXPECT_EQ(sbr::transformation_sign(rodrigues({-1.36, 0.96, -1.38}, 135).data()), -1);
  int negative = 0;
  std::mt19937 random(5);
  std::normal_distribution<double> normal;
  for (int i = 0; i < 20000; ++i)
    negative += sbr::transformation_sign(
                    rodrigues({normal(random), normal(random), normal(random)}, 180.0 * normal(random)).data()) < 0
                    ? 1
                    : 0;
  EXPECT_GT(negative, 50);
  EXPECT_LT(negative, 1000);
}

// ---- rotation -------------------------------------------------------------------------------------------------------

TEST_F(RigidMotionTest, ARotationTurnsEverythingRightHanded) {
  SBR before = make(3);
  SBR body = make(3);
  const Vec axis = {1, 2, 2};
  const Vec point = {0.5, -1, 2};
  ASSERT_EQ(SBR_Rotate(body, axis.data(), point.data(), 40.0), 1);
  const Mat m = rodrigues(axis, 40.0);
  const auto old_xyz = coordinates(before);
  const auto xyz = coordinates(body);
  for (int i = 0; i < kNodes; ++i) {
    const double q[3] = {old_xyz[3 * i] - point[0], old_xyz[3 * i + 1] - point[1], old_xyz[3 * i + 2] - point[2]};
    const Vec turned = apply(m, q);
    for (int c = 0; c < 3; ++c) EXPECT_NEAR(xyz[3 * i + c], turned[c] + point[c], 1e-14);
    double I0[9];
    double I[9];
    SBR_NodalInertia(before, i, I0);
    SBR_NodalInertia(body, i, I);
    // m I0 m^T, element by element.
    for (int r = 0; r < 3; ++r)
      for (int c = 0; c < 3; ++c) {
        double expected = 0.0;
        for (int k = 0; k < 3; ++k)
          for (int l = 0; l < 3; ++l) expected += m[3 * r + k] * I0[3 * k + l] * m[3 * c + l];
        EXPECT_NEAR(I[3 * r + c], expected, 1e-13);
      }
  }
  for (int mode = 1; mode <= kModes; ++mode) {
    for (int which = 0; which < 2; ++which) {
      const auto old_values = part(before, mode, 0, which);
      const auto values = part(body, mode, 0, which);
      for (int i = 0; i < kNodes; ++i)
        expect_near(&values[3 * i], apply(m, &old_values[3 * i]).data(), 3, 1e-14, "shape");
    }
    for (int kind = 1; kind < 3; ++kind) {
      const auto a0 = part(before, mode, kind, 0);
      const auto b0 = part(before, mode, kind, 1);
      const auto a = part(body, mode, kind, 0);
      const auto b = part(body, mode, kind, 1);
      for (int i = 0; i < 3 * kNodes; i += 3) {
        const double T0[9] = {a0[i], b0[i], b0[i + 1], b0[i], a0[i + 1], b0[i + 2], b0[i + 1], b0[i + 2], a0[i + 2]};
        double T[9] = {};
        for (int r = 0; r < 3; ++r)
          for (int c = 0; c < 3; ++c)
            for (int k = 0; k < 3; ++k)
              for (int l = 0; l < 3; ++l) T[3 * r + c] += m[3 * r + k] * T0[3 * k + l] * m[3 * c + l];
        const double expected[6] = {T[0], T[4], T[8], T[1], T[2], T[5]};
        const double actual[6] = {a[i], a[i + 1], a[i + 2], b[i], b[i + 1], b[i + 2]};
        expect_near(actual, expected, 6, 1e-14, "tensor");
      }
    }
  }
}

TEST_F(RigidMotionTest, ThereAndBackIsTheStart) {
  SBR body = make(8);
  const auto start = fingerprint(body);
  const Vec axis = {-1, 0.5, 3};
  const Vec point = {4, 5, 6};
  ASSERT_EQ(SBR_Rotate(body, axis.data(), point.data(), 77.0), 1);
  ASSERT_EQ(SBR_Rotate(body, axis.data(), point.data(), -77.0), 1);
  const auto end = fingerprint(body);
  expect_near(end.data(), start.data(), static_cast<int>(start.size()), 1e-13, "round trip");
}

TEST_F(RigidMotionTest, TwoMirrorsAreTheStart) {
  SBR body = make(9);
  const auto start = fingerprint(body);
  const Vec normal = {1, -2, 0.5};
  const Vec point = {4, 5, 6};
  ASSERT_EQ(SBR_Mirror(body, normal.data(), point.data()), 1);
  ASSERT_EQ(SBR_Mirror(body, normal.data(), point.data()), 1);
  const auto end = fingerprint(body);
  expect_near(end.data(), start.data(), static_cast<int>(start.size()), 1e-13, "round trip");
}

TEST_F(RigidMotionTest, AMirrorReflectsTranslationsAndTurnsTheSignOfRotations) {
  SBR before = make(4);
  SBR body = make(4);
  const Vec normal = {1, 0, 0};
  const Vec point = {2, 0, 0};
  ASSERT_EQ(SBR_Mirror(body, normal.data(), point.data()), 1);
  const auto x0 = coordinates(before);
  const auto x = coordinates(body);
  for (int i = 0; i < kNodes; ++i) EXPECT_NEAR(x[3 * i], 4.0 - x0[3 * i], 1e-15);
  for (int mode = 1; mode <= kModes; ++mode) {
    const auto t0 = part(before, mode, 0, 0);
    const auto t = part(body, mode, 0, 0);
    const auto r0 = part(before, mode, 0, 1);
    const auto r = part(body, mode, 0, 1);
    for (int i = 0; i < 3 * kNodes; i += 3) {
      EXPECT_NEAR(t[i], -t0[i], 1e-15);
      EXPECT_NEAR(t[i + 1], t0[i + 1], 1e-15);
      EXPECT_NEAR(r[i], r0[i], 1e-15);
      EXPECT_NEAR(r[i + 1], -r0[i + 1], 1e-15);
    }
  }
}

TEST_F(RigidMotionTest, TheInvariantsFollowARotationLikeThoseOfTheTurnedNodes) {
  SBR body = make(21);
  SBR afresh = make(21);
  // Ask for all of them: the cells are filled; entering them raises the flags, and only flagged cells go along.
  for (int j = 0; j < kModes; ++j) {
    for (int k = 0; k < kModes; ++k) SBR_FreeMemory(SBR_Invar9(body, j, k));
    SBR_FreeMemory(SBR_Invar8(body, j));
  }
  for (double *given : {SBR_Invar2(body), SBR_Invar3(body), SBR_Invar4(body), SBR_Invar7(body)}) SBR_FreeMemory(given);
  for (const int block : {19, 20, 21, 22, 23, 24, 25}) state::set_block(body, block);
  const Vec axis = {1, -1, 2};
  const Vec origin = {0, 0, 0};
  ASSERT_EQ(SBR_Rotate(body, axis.data(), origin.data(), 65.0), 1);
  ASSERT_EQ(SBR_Rotate(afresh, axis.data(), origin.data(), 65.0), 1);
  const auto same = [](double *a, double *b, int count, const char *what) {
    ASSERT_NE(a, nullptr);
    ASSERT_NE(b, nullptr);
    expect_near(a, b, count, 1e-12, what);
    SBR_FreeMemory(a);
    SBR_FreeMemory(b);
  };
  same(SBR_Invar2(body), SBR_Invar2(afresh), 3, "invariant 2");
  same(SBR_Invar3(body), SBR_Invar3(afresh), 3 * kModes, "invariant 3");
  same(SBR_Invar4(body), SBR_Invar4(afresh), 3 * kModes, "invariant 4");
  same(SBR_Invar7(body), SBR_Invar7(afresh), 9, "invariant 7");
  for (int j = 0; j < kModes; ++j) {
    same(SBR_Invar5(body, j), SBR_Invar5(afresh, j), 3 * kModes, "invariant 5");
    same(SBR_Invar8(body, j), SBR_Invar8(afresh, j), 9, "invariant 8");
    for (int k = 0; k < kModes; ++k) same(SBR_Invar9(body, j, k), SBR_Invar9(afresh, j, k), 9, "invariant 9");
  }
}

TEST_F(RigidMotionTest, TheGlobalInertiaTurnsAsItIsStored) {
  SBR body = SBR_Create(1, 1);
  state::global(body).mass = 2.0;
  const Mat I = {3, 0.5, 0, 0.5, 4, 0, 0, 0, 5};
  std::copy(I.begin(), I.end(), state::global(body).inertia);
  const Vec z = {0, 0, 1};
  Mat R{};
  SBR_Rotate_Origin(body, z.data(), 90.0, R.data());
  const Mat expected = {4, -0.5, 0, -0.5, 3, 0, 0, 0, 5};
  expect_near(state::global(body).inertia, expected.data(), 9, 1e-15, "inertia");
  state::global(body).mass = 0.0;
  SBR_Rotate_Origin(body, z.data(), 90.0, R.data());
  expect_near(state::global(body).inertia, expected.data(), 9, 1e-15, "without mass it stays");
}

TEST_F(RigidMotionTest, APointOnTheAxisOrInThePlaneNeedsNoTranslation) {
  SBR body = SBR_Create(1, 1);
  SBR_SetNodeCoordinates(body, 1, 1, 0, 0);
  state::global(body).mass = 5.0;  // a translation would move its centre
  const Vec axis = {0, 0, 2};
  const Vec on_axis = {0, 0, 9};
  ASSERT_EQ(SBR_Rotate(body, axis.data(), on_axis.data(), 90.0), 1);
  EXPECT_EQ(state::global(body).center[0], 0.0);
  const Vec in_plane = {3, 4, 0};
  ASSERT_EQ(SBR_Mirror(body, axis.data(), in_plane.data()), 1);
  EXPECT_EQ(state::global(body).center[2], 0.0);
  const Vec off_axis = {1, 0, 0};
  ASSERT_EQ(SBR_Rotate(body, axis.data(), off_axis.data(), 90.0), 1);
  EXPECT_NEAR(state::global(body).center[0], 1.0, 1e-15);
  EXPECT_NEAR(state::global(body).center[1], -1.0, 1e-15);
}

TEST_F(RigidMotionTest, PreStressTurnsWithTheStressAndReplacesOldFiles) {
  SBR body = make(2);
  const double six[6] = {1, 2, 3, 0.5, 0.25, 0.125};
  ASSERT_EQ(SBR_SetPreStressVec(body, 1, six), 1);
  const Vec z = {0, 0, 1};
  Mat R{};
  ASSERT_EQ(scratch.count_files(), 3);
  SBR_Rotate_Origin(body, z.data(), 90.0, R.data());
  EXPECT_EQ(scratch.count_files(), 3) << "each kind has one file, the new one";
  double normal[3 * kNodes];
  double shear[3 * kNodes];
  ASSERT_EQ(SBR_Mode(body, 0, 1, normal, 0), 1);
  ASSERT_EQ(SBR_Mode(body, 0, 1, shear, 1), 1);
  const double a[3] = {2, 1, 3};
  const double b[3] = {-0.5, 0.125, -0.25};  // the new x is the old y, the new y the old -x
  expect_near(normal, a, 3, 1e-15, "normal");
  expect_near(shear, b, 3, 1e-15, "shear");
  SBR_Rotate_Origin(body, z.data(), 90.0, R.data());
  EXPECT_EQ(scratch.count_files(), 3);
}

TEST_F(RigidMotionTest, ModeFilesKeepTheUnitsOfTheRecord) {
  SBR body = make(6);
  SBR twin = make(6);
  ASSERT_EQ(SBR_SetUnits(body, "KILOGRAM", "METER", "SECOND", "NEWTON"), 1);
  ASSERT_EQ(SBR_SetUnits(body, "KILOGRAM", "MILLIMETER", "SECOND", "NEWTON"), 1);
  const Vec axis = {1, 1, 0};
  Mat R{};
  ASSERT_EQ(SBR_Rotate_Origin(body, axis.data(), 30.0, R.data()), 1);
  ASSERT_EQ(SBR_Rotate_Origin(twin, axis.data(), 30.0, R.data()), 1);
  ASSERT_EQ(SBR_SetUnits(body, "KILOGRAM", "METER", "SECOND", "NEWTON"), 1);
  const auto a = fingerprint(body);
  const auto b = fingerprint(twin);
  expect_near(a.data(), b.data(), static_cast<int>(a.size()), 1e-13, "units");
}

TEST_F(RigidMotionTest, RewritingTellsItsFiles) {
  SBR body = make(6);
  const Vec axis = {1, 1, 0};
  Mat R{};
  ASSERT_EQ(SBR_Rotate_Origin(body, axis.data(), 30.0, R.data()), 1);
  const auto path = [&](int kind) { return state::mode_file(body, kind); };
  EXPECT_EQ(log.take(), (std::vector<Message>{info(" Shortened Shape mode file: " + path(0) + "\n"),
                                              info(" Shortened Stress mode file: " + path(1) + "\n"),
                                              info(" Shortened Strain mode file: " + path(2) + "\n")}));
  SBR empty = SBR_Create(1, 1);
  ASSERT_EQ(SBR_Rotate_Origin(empty, axis.data(), 30.0, R.data()), 1);
  EXPECT_EQ(log.take_complaints(), std::vector<Message>{warning("No Mode Shape Data found in this SBR file. \n")});
}

TEST_F(RigidMotionTest, WithoutARoomForTheNewFileTheOldOneStaysInUse) {
  SBR body = make(6);
  const auto shapes = part(body, 2, 0, 0);
  SBR_CleanModesInMemory(body);
  const ScopedEnvironment nowhere("TMP", scratch.file("missing"));
  EXPECT_FALSE(sbr::turn_modes(*body, sbr::Kind::shape, rodrigues({1, 0, 0}, 10).data()));
  const auto complaints = log.take_complaints();
  ASSERT_EQ(complaints.size(), 1U);
  EXPECT_EQ(complaints[0].text.rfind("Unable to open " + scratch.file("missing/sbr_"), 0), 0U);
  EXPECT_NE(complaints[0].text.find(" for write.  Specify different temporary file directory by\nsetting the TMP "
                                    "environment variable"),
            std::string::npos);
  EXPECT_EQ(part(body, 2, 0, 0), shapes);
  int keep = -1;
  SBR_GetKeepModesInMemory(body, &keep);
  EXPECT_EQ(keep, 0) << "the setting comes back on success only";
}

TEST_F(RigidMotionTest, AFullDiskLeavesTheOldModesInUseAndRemovesTheNewFile) {
  SBR body = make(6);
  const auto shapes = part(body, 2, 0, 0);
  SBR_CleanModesInMemory(body);
  ASSERT_EQ(scratch.count_files(), 3);
  {
    const FileSizeLimit limit(100);
    EXPECT_FALSE(sbr::turn_modes(*body, sbr::Kind::shape, rodrigues({1, 0, 0}, 10).data()));
  }
  const auto complaints = log.take_complaints();
  ASSERT_EQ(complaints.size(), 1U);
  EXPECT_EQ(complaints[0].text.rfind("Insufficient disk space for file " + scratch.file("sbr_"), 0), 0U);
  EXPECT_NE(complaints[0].text.find(".  Specify different temporary\nfile directory by setting the TMP environment "
                                    "variable"),
            std::string::npos);
  EXPECT_EQ(scratch.count_files(), 3);
  EXPECT_EQ(part(body, 2, 0, 0), shapes);
}

// ---- translation ----------------------------------------------------------------------------------------------------

TEST_F(RigidMotionTest, ATranslationMovesNodesAlongADirectionOfAnyLength) {
  SBR body = make(5);
  const auto start = coordinates(body);
  const Vec direction = {0, 3, 4};
  ASSERT_EQ(SBR_Translate(body, direction.data(), 10.0), 1);
  const auto end = coordinates(body);
  for (int i = 0; i < kNodes; ++i) {
    EXPECT_EQ(end[3 * i], start[3 * i]);
    EXPECT_NEAR(end[3 * i + 1], start[3 * i + 1] + 6.0, 1e-14);
    EXPECT_NEAR(end[3 * i + 2], start[3 * i + 2] + 8.0, 1e-14);
  }
}

TEST_F(RigidMotionTest, TheInvariantsFollowATranslationLikeThoseOfTheMovedNodes) {
  SBR body = make(13);
  SBR afresh = make(13);
  for (double *given : {SBR_Invar2(body), SBR_Invar3(body), SBR_Invar4(body), SBR_Invar7(body), SBR_Invar8(body, 0)})
    SBR_FreeMemory(given);
  for (const int block : {19, 20, 21, 23, 24}) state::set_block(body, block);
  const Vec direction = {1, -2, 2};
  ASSERT_EQ(SBR_Translate(body, direction.data(), 6.0), 1);
  for (sbr::NodeRecord &node : state::nodes(afresh)) {
    node.x += 2.0;
    node.y -= 4.0;
    node.z += 4.0;
  }
  const auto same = [](double *a, double *b, int count, const char *what) {
    expect_near(a, b, count, 1e-11, what);
    SBR_FreeMemory(a);
    SBR_FreeMemory(b);
  };
  same(SBR_Invar2(body), SBR_Invar2(afresh), 3, "invariant 2");
  same(SBR_Invar4(body), SBR_Invar4(afresh), 3 * kModes, "invariant 4");
  same(SBR_Invar7(body), SBR_Invar7(afresh), 9, "invariant 7");
  for (int j = 0; j < kModes; ++j) same(SBR_Invar8(body, j), SBR_Invar8(afresh, j), 9, "invariant 8");
  double mass = 0.0;
  double center[3];
  double inertia[9];
  const double moved_center[3] = {state::global(body).center[0], state::global(body).center[1],
                                  state::global(body).center[2]};
  ASSERT_EQ(SBR_TotalMassInertia(afresh, &mass, inertia, center), 1);
  expect_near(moved_center, center, 3, 1e-13, "centre");
}

TEST_F(RigidMotionTest, InvariantFourWithoutNodesFollowsFromInvariantThree) {
  SBR body = SBR_Create(1, 1);
  SBR_AddMode(body, 1);
  const Vec third = {1, 2, 3};
  const Vec fourth = {5, 5, 5};
  ASSERT_EQ(SBR_SetInvar4(body, 1, fourth.data()), 1);
  const Vec direction = {1, 0, 0};
  EXPECT_EQ(SBR_Translate(body, direction.data(), 2.0), 0);
  EXPECT_EQ(
      log.take_complaints(),
      std::vector<Message>{error("Can not compute Invar4. \nInvar3 or Nodal Mass inforamtion is needed to compute "
                                 "Invar4.")});
  ASSERT_EQ(SBR_SetInvar3(body, 1, third.data()), 1);
  EXPECT_EQ(SBR_Translate(body, direction.data(), 2.0), 1);
  double *rows = SBR_Invar4(body);
  const Vec expected = {5 + 0, 5 + (0 * 1 - 2 * 3), 5 + (2 * 2 - 0 * 1)};
  expect_near(rows, expected.data(), 3, 0.0, "invariant 4");
  SBR_FreeMemory(rows);
}

TEST_F(RigidMotionTest, WithoutMassDataATranslationFailsAfterTheNodesHaveMoved) {
  const struct {
    int block;
    const char *text;
  } cases[] = {{19, "Can not Compute Invar2.\n"},
               {23, "Can not Compute Invar7.\n"},
               {24, "Can not compute Invar8. \nInvar3 is needed to compute Invar8."}};
  for (const auto &one : cases) {
    SBR body = SBR_Create(1, 1);
    SBR_SetNodeCoordinates(body, 1, 0, 0, 0);
    SBR_AddMode(body, 1);
    state::set_block(body, one.block);
    const Vec direction = {1, 0, 0};
    EXPECT_EQ(SBR_Translate(body, direction.data(), 2.0), 0);
    EXPECT_EQ(log.take_complaints(), std::vector<Message>{error(one.text)});
    double at[3];
    SBR_NodeCoordinates(body, 0, at);
    EXPECT_EQ(at[0], 2.0);
  }
}

TEST_F(RigidMotionTest, ACachedInvariantWithoutItsFlagStays) {
  SBR body = make(5);
  double *first = SBR_Invar2(body);
  const Vec direction = {1, 0, 0};
  ASSERT_EQ(SBR_Translate(body, direction.data(), 2.0), 1);
  double *second = SBR_Invar2(body);
  expect_near(second, first, 3, 0.0, "invariant 2");
  SBR_FreeMemory(first);
  SBR_FreeMemory(second);
}

TEST_F(RigidMotionTest, MovingInvariantFourNeedsNodalMasses) {
  SBR body = make(5);
  SBR_FreeMemory(SBR_Invar4(body));
  state::set_block(body, sbr::kInvariant4);
  state::set_block(body, sbr::kNodalMasses, false);
  const Vec third = {0, 0, 0};
  for (int mode = 1; mode <= kModes; ++mode) SBR_SetInvar3(body, mode, third.data());
  const Vec direction = {1, 0, 0};
  EXPECT_EQ(SBR_Translate(body, direction.data(), 2.0), 1) << "invariant 3 serves";
}

// ---- refusals -------------------------------------------------------------------------------------------------------

TEST_F(RigidMotionTest, DirectionsWithoutALengthAndOddNumbersAreRefusedBeforeAnythingMoves) {
  SBR body = make(5);
  const auto start = fingerprint(body);
  const Vec zero = {0, 0, 0};
  const Vec odd = {std::nan(""), 0, 1};
  const Vec good = {0, 0, 1};
  const double nan = std::nan("");
  Mat R{};
  EXPECT_EQ(SBR_Translate(body, zero.data(), 1.0) + SBR_Translate(body, odd.data(), 1.0), 0);
  EXPECT_EQ(SBR_Translate(body, good.data(), nan) + SBR_Translate(body, nullptr, 1.0), 0);
  EXPECT_EQ(SBR_Rotate(body, zero.data(), good.data(), 10) + SBR_Rotate(body, good.data(), odd.data(), 10), 0);
  EXPECT_EQ(SBR_Rotate(body, good.data(), good.data(), nan) + SBR_Rotate(body, good.data(), nullptr, 10), 0);
  EXPECT_EQ(SBR_Rotate_Origin(body, zero.data(), 10, R.data()) + SBR_Rotate_Origin(nullptr, good.data(), 1, nullptr),
            0);
  EXPECT_EQ(SBR_Mirror(body, zero.data(), good.data()) + SBR_Mirror_Origin(body, nullptr), 0);
  EXPECT_EQ(fingerprint(body), start);
  EXPECT_EQ(SBR_Rotate_Origin(body, good.data(), 0.0, nullptr), 1);
}

}  // namespace
}  // namespace sbrtest
