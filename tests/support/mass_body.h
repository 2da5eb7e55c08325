// Bodies with mass: random data, the body built from it through the setters, and sums over its nodes in long double.
#ifndef SBRKIT_TESTS_SUPPORT_MASS_BODY_H
#define SBRKIT_TESTS_SUPPORT_MASS_BODY_H

#include <array>
#include <memory>
#include <vector>

#include "sbrkit/sbrkit.h"

namespace sbrtest {

using Exact = long double;
using Vector3 = std::array<Exact, 3>;
using Matrix3 = std::array<Vector3, 3>;

Vector3 operator+(const Vector3 &a, const Vector3 &b);
Vector3 operator*(Exact s, const Vector3 &a);
Exact dot(const Vector3 &a, const Vector3 &b);
Vector3 cross(const Vector3 &a, const Vector3 &b);
Matrix3 operator+(const Matrix3 &a, const Matrix3 &b);
Matrix3 operator*(Exact s, const Matrix3 &a);
Matrix3 operator*(const Matrix3 &a, const Matrix3 &b);
Vector3 operator*(const Matrix3 &a, const Vector3 &b);
Matrix3 transpose(const Matrix3 &a);
// The matrix of a x.
Matrix3 skew(const Vector3 &a);

struct MassNode {
  int id = 0;
  double mass = 0.0;
  std::array<double, 3> place{};
  bool has_inertia = false;
  std::array<double, 6> inertia{};  // xx, yy, zz, xy, xz, yz
  [[nodiscard]] Vector3 r() const { return {place[0], place[1], place[2]}; }
  [[nodiscard]] Matrix3 I() const;
};

struct MassBody {
  std::vector<MassNode> nodes;
  std::vector<int> mode_numbers;
  std::vector<std::vector<std::array<double, 6>>> modes;  // by mode index and node index

  [[nodiscard]] int mode_count() const { return static_cast<int>(mode_numbers.size()); }
  [[nodiscard]] Vector3 phi(std::size_t node, std::size_t mode) const;
  [[nodiscard]] Vector3 theta(std::size_t node, std::size_t mode) const;
  // The translations of a mode as SBR_Mode delivers them.
  [[nodiscard]] std::vector<double> translations(std::size_t mode) const;
  // Feeds a new body: nodes, masses, inertias and modes.
  [[nodiscard]] SBR build() const;

  // The invariants by their definitions. Invariant 6 is the mass matrix of the modes.
  [[nodiscard]] Exact invariant1() const;
  [[nodiscard]] Vector3 invariant2() const;
  [[nodiscard]] Vector3 invariant3(std::size_t j) const;
  [[nodiscard]] Vector3 invariant4(std::size_t j) const;
  [[nodiscard]] Vector3 invariant5(std::size_t j, std::size_t k) const;
  [[nodiscard]] Exact invariant6(std::size_t j, std::size_t k) const;
  [[nodiscard]] Matrix3 invariant7() const;
  [[nodiscard]] Matrix3 invariant8(std::size_t j) const;
  [[nodiscard]] Matrix3 invariant9(std::size_t j, std::size_t k) const;
};

// Random masses, places and modes; every third node has an inertia. Node IDs and mode numbers are not in order.
MassBody random_mass_body(unsigned seed, int nodes, int modes);

// An array that an operation handed out, freed at the end.
struct FreeMemory {
  void operator()(double *block) const { SBR_FreeMemory(block); }
};
using OwnedDoubles = std::unique_ptr<double[], FreeMemory>;
inline OwnedDoubles own(double *block) { return OwnedDoubles(block); }

// The eigenvalue table of a body: one frequency in hertz per mode index, generalized masses of 1 unless given.
void set_frequencies(SBR body, const std::vector<double> &hz, const std::vector<double> &masses = {});

}  // namespace sbrtest

#endif
