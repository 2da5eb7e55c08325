#include "support/bracket.h"

#include <cmath>
#include <optional>

#include "support/files.h"

namespace sbrtest {

const std::vector<double> kBracketShape1 = {0.5, 0, 0, 0, 0, 1, 0, 1.5, 0, 0, 1, 0, 0, 0, 2.5, 1, 0, 0};
const std::vector<double> kBracketShape2 = {3, 0, 0, 0, 0, 0, 0, -1, 0, 0.5, 0, 0, 0, 0, 1, 0, -2, 0};
const std::vector<double> kBracketStress = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
const std::vector<double> kBracketStrain = {0.5, 0.25, 0, 0, 0, 0, 0, 0, 0.125, 0, 0, 2};
const std::vector<double> kBracketPreStress = {-1, -2, -3, -4, -5, -6, 1, 1, 1, 0, 0, 0};
const std::vector<double> kBracketPreStrain = {0.5, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0.5};

namespace {

void set_modes(SBR body, int number, const std::vector<int> &ids, int kind, const std::vector<double> &values) {
  for (std::size_t i = 0; i < ids.size(); ++i) SBR_SetModeVec(body, number, ids[i], kind, values.data() + 6 * i);
}

// Six values for each of the three nodes from a list for some of them.
std::vector<double> expanded(const std::vector<int> &ids, const std::vector<double> &values) {
  std::vector<double> all;
  for (const int id : {10, 20, 35})
    for (std::size_t c = 0; c < 6; ++c) {
      double value = 0.0;
      for (std::size_t i = 0; i < ids.size(); ++i)
        if (ids[i] == id) value = values[6 * i + c];
      all.push_back(value);
    }
  return all;
}

}  // namespace

SBR build_bracket() {
  SBR body = SBR_Create(3, 2);
  char title[] = "Bracket";
  char name[] = "bracket.inp";
  char type[] = "solid model";
  char comments[3][8] = {"first", "second", "third"};
  SBR_SetHeader(body, title, name, type, comments[0], comments[1], comments[2]);
  SBR_SetNodeCoordinates(body, 10, 0, 0, 0);
  SBR_SetNodeCoordinates(body, 20, 2, 0, 0);
  SBR_SetNodeCoordinates(body, 35, 0, 3, 0);
  const int triangle[] = {10, 20, 35};
  const int edge[] = {10, 35};
  SBR_SetFaceList(body, 3, triangle);
  SBR_SetFaceList(body, 2, edge);
  SBR_SetNodalMass(body, 10, 1);
  SBR_SetNodalMass(body, 20, 1.5);
  SBR_SetNodalMass(body, 35, 1.5);
  SBR_SetNodalInertia(body, 20, 1, 2, 3, 0.5, 0, 0);
  SBR_SetInterfaceNode(body, 10);
  SBR_SetInterfaceNode(body, 35);
  set_modes(body, 1, {10, 20, 35}, 0, kBracketShape1);
  set_modes(body, 2, {10, 20, 35}, 0, kBracketShape2);
  for (const int mode : {1, 2}) {
    set_modes(body, mode, {20, 35}, 1, kBracketStress);
    set_modes(body, mode, {10, 35}, 2, kBracketStrain);
  }
  set_modes(body, 0, {20, 35}, 1, kBracketPreStress);
  set_modes(body, 0, {10, 35}, 2, kBracketPreStrain);
  SBR_SetGeneralizedStiffness(body, 1, 1, 100);
  SBR_SetGeneralizedStiffness(body, 2, 2, 400);
  SBR_SetGeneralizedMass(body, 1, 1, 1);
  SBR_SetGeneralizedMass(body, 2, 2, 1);
  SBR_SetGeneralizedDamping(body, 1, 1, 0.5);
  SBR_SetGeneralizedDamping(body, 2, 2, 0.25);
  SBR_SetModalPreload(body, 1, 0.5);
  SBR_SetModalPreload(body, 2, 1.5);
  SBR_SetModalLoad(body, 0, 1, 1);
  SBR_SetModalLoad(body, 0, 2, 2);
  SBR_SetModalLoadLabel(body, 0, "FIRST");
  SBR_SetModalLoad(body, 1, 1, 3);
  SBR_SetModalLoad(body, 1, 2, 4);
  SBR_SetModalLoadNodal(body, 0, 10, 1, 10);
  SBR_SetModalLoadNodal(body, 0, 35, 3, -5);
  const char *labels[] = {"row one", "row two"};
  SBR_SetMatrixOperatorInfo(body, "OPER", labels, 2);
  const double a[] = {1, 2, 3, 4, 5, 6};
  const double b[] = {7, 8};
  SBR_SetMatrixOperatorData(body, 0, "SUBA", 3, a);
  SBR_SetMatrixOperatorData(body, 0, "SUBB", 1, b);
  const double location[] = {1, 2, 3};
  SBR_SetMonitorPointInfo(body, 1, 2, 12, 1, location, "POINT", "a point");
  const double displacement[] = {1, 2, 3, 4};
  const double load[] = {5, 6, 7, 8};
  SBR_SetMonitorPointOperator(body, 0, 1, displacement);
  SBR_SetMonitorPointOperator(body, 0, 4, load);
  return body;
}

RecordBuilder expected_bracket(SBR body, std::uint32_t word) {
  RecordBuilder record(word);
  const std::uint32_t code = word & 0xFFU;
  const bool old_faces = word == 10 || word == 20;
  const bool full = code != 60;
  const int first_word = word == 20 ? 0 : 1;
  const int second_word = word == 20 ? 0 : 2;
  char date[64] = {};
  SBR_Header(body, nullptr, date, nullptr, nullptr, nullptr, nullptr, nullptr);
  record.header("Bracket", date, "bracket.inp", "solid model", "first", "second", "third", '\0');
  record.nodes({{10, {0, 0, 0}}, {20, {2, 0, 0}}, {35, {0, 3, 0}}});
  if (old_faces) {
    // Faces of two nodes in the first group, of three in the second; the two words ahead of a face are zero.
    FieldBytes &out = record.fresh(4);
    out.integers({2, 12});
    for (int group = 0; group < 12; ++group) out.integers({group, group < 2 ? 1 : 0, group + 2});
    out.integers({0, 0, 10, 35}).integers({0, 0, 10, 20, 35});
  } else {
    record.faces({{0, 1, 2}, {0, 2}});
  }
  // Mass 1 + 1.5 + 1.5, center (3, 4.5, 0) / 4; inertia of the points with the tensor of node 20; products change sign.
  record.global(4, {0.75, 1.125, 0}, {14.5, -0.5, -0.0, -0.5, 8, -0.0, -0.0, -0.0, 22.5});
  record.modes(7, {10, 20, 35}, {{first_word, kBracketShape1}, {second_word, kBracketShape2}});
  record.masses({{10, {1}}, {20, {1.5}}, {35, {1.5}}});
  record.inertias({{20, 4, 4, 1}, {20, 4, 5, 0.5}, {20, 5, 5, 2}, {20, 6, 6, 3}});
  record.units("KILOGRAM", "METER", "SECOND", "NEWTON");
  record.matrix(11, 2, {{1, 1, 100}, {2, 2, 400}}).matrix(12, 2, {{1, 1, 1}, {2, 2, 1}});
  record.matrix(14, 0, {{1, 1, 0.5}, {2, 2, 0.25}});
  record.interface_nodes({0, 2});
  const std::vector<int> stress_nodes = full ? std::vector<int>{10, 20, 35} : std::vector<int>{20, 35};
  const std::vector<int> strain_nodes = full ? std::vector<int>{10, 20, 35} : std::vector<int>{10, 35};
  const auto stress = [&](const std::vector<double> &values) { return full ? expanded({20, 35}, values) : values; };
  const auto strain = [&](const std::vector<double> &values) { return full ? expanded({10, 35}, values) : values; };
  record.modes(17, stress_nodes, {{first_word, stress(kBracketStress)}, {second_word, stress(kBracketStress)}});
  record.preload(0, {0.5, 1.5});
  record.loads(2, {{"FIRST", 0, {1, 2}}, {"Load Case 2", 0, {3, 4}}});
  record.modes(28, strain_nodes, {{first_word, strain(kBracketStrain)}, {second_word, strain(kBracketStrain)}});
  // Largest translation, rotation, von Mises stress, and the same formula over the strains.
  record.statistics({{{35, 10, 35, 35}, {2.5, 1, std::sqrt(1098.0), std::sqrt(0.015625 + 12.0)}},
                     {{10, 35, 35, 35}, {3, 2, std::sqrt(1098.0), std::sqrt(0.015625 + 12.0)}}});
  record.pre_vectors(30, stress(kBracketPreStress)).pre_vectors(31, strain(kBracketPreStrain));
  record.operators({{"OPER", {"row one", "row two"}, {{3, "SUBA", {1, 2, 3, 4, 5, 6}}, {1, "SUBB", {7, 8}}}}});
  record.nodal_loads({{{0, 1, 10}, {2, 3, -5}}});
  record.monitor_points({{1, 2, 12, "POINT", "a point", 2, 1, 9, {{1, 2, 3, 4}, {5, 6, 7, 8}}}});
  return record;
}

int write_record(SBR body, const std::string &path, const char *options) {
  const ScopedEnvironment environment("KTX_SBRWRITE_OPTIONS",
                                      options == nullptr ? std::nullopt : std::optional<std::string>(options));
  return SBR_write_SBR(body, path.c_str());
}

}  // namespace sbrtest
