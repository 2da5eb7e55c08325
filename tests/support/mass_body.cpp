#include "support/mass_body.h"

#include <random>

#include "support/body_state.h"

namespace sbrtest {

Vector3 operator+(const Vector3 &a, const Vector3 &b) { return {a[0] + b[0], a[1] + b[1], a[2] + b[2]}; }
Vector3 operator*(Exact s, const Vector3 &a) { return {s * a[0], s * a[1], s * a[2]}; }
Exact dot(const Vector3 &a, const Vector3 &b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }
Vector3 cross(const Vector3 &a, const Vector3 &b) {
  return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
Matrix3 operator+(const Matrix3 &a, const Matrix3 &b) { return {a[0] + b[0], a[1] + b[1], a[2] + b[2]}; }
Matrix3 operator*(Exact s, const Matrix3 &a) { return {s * a[0], s * a[1], s * a[2]}; }
Matrix3 transpose(const Matrix3 &a) {
  Matrix3 t{};
  for (std::size_t r = 0; r < 3; ++r)
    for (std::size_t c = 0; c < 3; ++c) t[c][r] = a[r][c];
  return t;
}
Matrix3 operator*(const Matrix3 &a, const Matrix3 &b) {
  const Matrix3 columns = transpose(b);
  Matrix3 product{};
  for (std::size_t r = 0; r < 3; ++r)
    for (std::size_t c = 0; c < 3; ++c) product[r][c] = dot(a[r], columns[c]);
  return product;
}
Vector3 operator*(const Matrix3 &a, const Vector3 &b) { return {dot(a[0], b), dot(a[1], b), dot(a[2], b)}; }
Matrix3 skew(const Vector3 &a) { return {{{0, -a[2], a[1]}, {a[2], 0, -a[0]}, {-a[1], a[0], 0}}}; }

Matrix3 MassNode::I() const {
  if (!has_inertia) return {};
  const auto &v = inertia;
  return {{{v[0], v[3], v[4]}, {v[3], v[1], v[5]}, {v[4], v[5], v[2]}}};
}

Vector3 MassBody::phi(std::size_t node, std::size_t mode) const {
  const auto &v = modes[mode][node];
  return {v[0], v[1], v[2]};
}

Vector3 MassBody::theta(std::size_t node, std::size_t mode) const {
  const auto &v = modes[mode][node];
  return {v[3], v[4], v[5]};
}

std::vector<double> MassBody::translations(std::size_t mode) const {
  std::vector<double> values;
  for (const auto &six : modes[mode]) values.insert(values.end(), six.begin(), six.begin() + 3);
  return values;
}

SBR MassBody::build() const {
  SBR body = SBR_Create(static_cast<int>(nodes.size()), mode_count());
  for (const MassNode &node : nodes) {
    SBR_SetNodeCoordinates(body, node.id, node.place[0], node.place[1], node.place[2]);
    SBR_SetNodalMass(body, node.id, node.mass);
    const auto &v = node.inertia;
    if (node.has_inertia) SBR_SetNodalInertia(body, node.id, v[0], v[1], v[2], v[3], v[4], v[5]);
  }
  for (std::size_t j = 0; j < modes.size(); ++j)
    for (std::size_t i = 0; i < nodes.size(); ++i)
      SBR_SetModeVec(body, mode_numbers[j], nodes[i].id, 0, modes[j][i].data());
  return body;
}

Exact MassBody::invariant1() const {
  Exact sum = 0;
  for (const MassNode &node : nodes) sum += node.mass;
  return sum;
}

Vector3 MassBody::invariant2() const {
  Vector3 sum{};
  for (const MassNode &node : nodes) sum = sum + node.mass * node.r();
  return sum;
}

Vector3 MassBody::invariant3(std::size_t j) const {
  Vector3 sum{};
  for (std::size_t i = 0; i < nodes.size(); ++i) sum = sum + nodes[i].mass * phi(i, j);
  return sum;
}

Vector3 MassBody::invariant4(std::size_t j) const {
  Vector3 sum{};
  for (std::size_t i = 0; i < nodes.size(); ++i)
    sum = sum + nodes[i].mass * cross(nodes[i].r(), phi(i, j)) + nodes[i].I() * theta(i, j);
  return sum;
}

Vector3 MassBody::invariant5(std::size_t j, std::size_t k) const {
  Vector3 sum{};
  for (std::size_t i = 0; i < nodes.size(); ++i) sum = sum + nodes[i].mass * cross(phi(i, j), phi(i, k));
  return sum;
}

Exact MassBody::invariant6(std::size_t j, std::size_t k) const {
  Exact sum = 0;
  for (std::size_t i = 0; i < nodes.size(); ++i)
    sum += nodes[i].mass * dot(phi(i, j), phi(i, k)) + dot(theta(i, j), nodes[i].I() * theta(i, k));
  return sum;
}

Matrix3 MassBody::invariant7() const {
  Matrix3 sum{};
  for (const MassNode &node : nodes) sum = sum + (-node.mass) * (skew(node.r()) * skew(node.r())) + node.I();
  return sum;
}

Matrix3 MassBody::invariant8(std::size_t j) const {
  Matrix3 sum{};
  for (std::size_t i = 0; i < nodes.size(); ++i) sum = sum + nodes[i].mass * (skew(nodes[i].r()) * skew(phi(i, j)));
  return sum;
}

Matrix3 MassBody::invariant9(std::size_t j, std::size_t k) const {
  Matrix3 sum{};
  for (std::size_t i = 0; i < nodes.size(); ++i) sum = sum + nodes[i].mass * (skew(phi(i, j)) * skew(phi(i, k)));
  return sum;
}

MassBody random_mass_body(unsigned seed, int nodes, int modes) {
  std::mt19937_64 generator(seed);
  std::uniform_real_distribution<double> uniform(-1.0, 1.0);
  MassBody body;
  for (int i = 0; i < nodes; ++i) {
    MassNode node;
    node.id = 10 * ((i * 7) % nodes) + i % 7 + 1;
    node.mass = 1.5 + uniform(generator);
    for (double &c : node.place) c = 2.0 * uniform(generator);
    node.has_inertia = i % 3 == 0;
    for (double &c : node.inertia) c = uniform(generator);
    body.nodes.push_back(node);
  }
  for (int j = 0; j < modes; ++j) {
    body.mode_numbers.push_back(j % 2 == 0 ? 100 + j : 50 - j);
    auto &shape = body.modes.emplace_back(body.nodes.size());
    for (auto &six : shape)
      for (double &c : six) c = uniform(generator);
  }
  return body;
}

void set_frequencies(SBR body, const std::vector<double> &hz, const std::vector<double> &masses) {
  auto &table = state::eigen_table(body);
  if (!table.allocate(static_cast<std::int64_t>(hz.size()))) return;
  state::eigenvalue_count(body) = static_cast<int>(hz.size());
  for (std::size_t i = 0; i < hz.size(); ++i) {
    table[i].mode = SBR_ModeNumber(body, static_cast<int>(i));
    table[i].frequency_hz = hz[i];
    table[i].generalized_mass = i < masses.size() ? masses[i] : 1.0;
  }
}

}  // namespace sbrtest
