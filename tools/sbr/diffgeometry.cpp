// Two records: texts, units, nodes, faces, global properties, interface nodes.
#include <algorithm>
#include <cmath>

#include "diff.h"
#include "givenarray.h"

namespace sbrtool {

bool DiffRun::in_both(Block &one, bool in_a, bool in_b) {
  if (in_a && in_b) return true;
  if (in_a != in_b) one.only_in(in_a ? "A" : "B");
  blocks.push_back(one);
  return false;
}

namespace {

// The date is that of the writing: it tells nothing of the body.
void compare_header(DiffRun &run) {
  Block block = run.block("header");
  char texts[2][7][129] = {};
  const char *const names[] = {"title", "date", "input file", "input file type", "comment 1", "comment 2", "comment 3"};
  for (int i = 0; i < 2; ++i) {
    auto &t = texts[i];
    SBR_Header(i == 0 ? run.a : run.b, t[0], t[1], t[2], t[3], t[4], t[5], t[6]);
  }
  for (int i = 0; i < 7; ++i)
    if (i != 1) block.text(names[i], texts[0][i], texts[1][i]);
  run.blocks.push_back(block);
}

void compare_units(DiffRun &run) {
  Block block = run.block("units");
  char labels[2][4][17] = {};
  const char *const names[] = {"mass", "length", "time", "force"};
  for (int i = 0; i < 2; ++i) SBR_Units(i == 0 ? run.a : run.b, labels[i][0], labels[i][1], labels[i][2], labels[i][3]);
  for (int i = 0; i < 4; ++i) block.text(names[i], labels[0][i], labels[1][i]);
  run.blocks.push_back(block);
}

struct Largest {
  double coordinate = 0.0;
  double mass = 0.0;
  double inertia = 0.0;
};

Largest largest_of(SBR body) {
  Largest largest;
  for (int i = 0; i < SBR_NodeCount(body); ++i) {
    double mass = 0.0;
    double p[3];
    double I[9];
    SBR_NodalMassAndGeometry(body, i, &mass, p);
    largest.mass = std::fmax(largest.mass, std::fabs(mass));
    for (const double c : p) largest.coordinate = std::fmax(largest.coordinate, std::fabs(c));
    if (SBR_NodalInertia(body, i, I) == 0) continue;
    for (const double c : I) largest.inertia = std::fmax(largest.inertia, std::fabs(c));
  }
  return largest;
}

// Nodes are compared by ID: another order of the table is no difference.
void compare_nodes(DiffRun &run) {
  Block coordinates = run.block("nodal coordinates");
  Block masses = run.block("nodal masses");
  Block inertias = run.block("nodal inertias");
  const Largest largest = largest_of(run.b);
  coordinates.set_floor(largest.coordinate);
  masses.set_floor(largest.mass);
  inertias.set_floor(largest.inertia);
  coordinates.count("node count", SBR_NodeCount(run.a), SBR_NodeCount(run.b));
  for (int i = 0; i < SBR_NodeCount(run.a); ++i) {
    const int id = SBR_NodeID(run.a, i);
    const int k = SBR_NodeIndex(run.b, id);
    if (k < 0) {
      coordinates.differs(at("node", id) + " is missing in B");
      continue;
    }
    double p[3];
    double q[3];
    SBR_NodeCoordinates(run.a, i, p);
    SBR_NodeCoordinates(run.b, k, q);
    for (int c = 0; c < 3; ++c) coordinates.value(p[c], q[c], [&] { return at("node", id) + " " + "xyz"[c]; });
    masses.value(SBR_NodalMass(run.a, i), SBR_NodalMass(run.b, k), [&] { return at("node", id); });
    double I[9] = {};
    double J[9] = {};
    const int has_a = SBR_NodalInertia(run.a, i, I);
    const int has_b = SBR_NodalInertia(run.b, k, J);
    if (has_a != 0 || has_b != 0)
      for (int c = 0; c < 9; ++c) inertias.value(I[c], J[c], [&] { return at("node", id) + at(" entry", c); });
  }
  run.blocks.push_back(coordinates);
  if (run.in_both(masses, 8)) run.blocks.push_back(masses);
  if (run.in_both(inertias, 9)) run.blocks.push_back(inertias);
}

// ---- faces
// -----------------------------------------------------------------------------------------------------------

using Faces = std::vector<std::vector<int>>;

// The faces as node IDs. With `sorted` each begins at its least ID, and they stand in order: where a face begins and in
// which place it stands is no difference, its winding is.
Faces faces_of(SBR body, bool sorted) {
  Faces faces;
  int count = 0;
  int length = 0;
  SBR_FaceListSize(body, &count, &length);
  std::vector<int> list(static_cast<std::size_t>(std::max(length, 0)));
  if (list.empty() || SBR_ElementFaces(body, list.data()) == 0) return faces;
  for (std::size_t p = 0; p < list.size();) {
    const int vertices = list[p++];
    std::vector<int> face;
    for (int k = 0; k < vertices && p < list.size(); ++k, ++p) face.push_back(SBR_NodeID(body, list[p]));
    if (sorted && !face.empty()) std::rotate(face.begin(), std::min_element(face.begin(), face.end()), face.end());
    faces.push_back(std::move(face));
  }
  if (sorted) std::sort(faces.begin(), faces.end());
  return faces;
}

std::string text_of(const std::vector<int> &face) {
  std::string text;
  for (const int id : face) text += (text.empty() ? "" : ", ") + std::to_string(id);
  return text;
}

void compare_faces(DiffRun &run) {
  Block block = run.block("element faces");
  const auto has = [](SBR body) { return SBR_Exists(body, 13) != 0 || SBR_Exists(body, 4) != 0; };
  if (!run.in_both(block, has(run.a), has(run.b))) return;
  const bool exact = run.tolerances.exact();
  const Faces p = faces_of(run.a, !exact);
  const Faces q = faces_of(run.b, !exact);
  block.count("face count", static_cast<double>(p.size()), static_cast<double>(q.size()));
  if (exact) {
    for (std::size_t i = 0; i < std::min(p.size(), q.size()); ++i)
      block.text(at("face", static_cast<int>(i) + 1), text_of(p[i]), text_of(q[i]));
  } else {
    Faces only_a;
    Faces only_b;
    std::set_difference(p.begin(), p.end(), q.begin(), q.end(), std::back_inserter(only_a));
    std::set_difference(q.begin(), q.end(), p.begin(), p.end(), std::back_inserter(only_b));
    for (const auto &face : only_a) block.differs("only in A: the face " + text_of(face));
    for (const auto &face : only_b) block.differs("only in B: the face " + text_of(face));
  }
  run.blocks.push_back(block);
}

void compare_global(DiffRun &run) {
  Block block = run.block("global properties");
  if (!run.in_both(block, 5)) return;
  double mass[2] = {};
  double inertia[2][9] = {};
  double center[2][3] = {};
  SBR_TotalMassInertia(run.a, &mass[0], inertia[0], center[0]);
  SBR_TotalMassInertia(run.b, &mass[1], inertia[1], center[1]);
  block.value(mass[0], mass[1], [] { return std::string("mass"); });
  block.set_floor(std::max(SBR_BodySize(run.a), SBR_BodySize(run.b)));
  for (int c = 0; c < 3; ++c) block.value(center[0][c], center[1][c], [&] { return at("center", c + 1); });
  block.values(inertia[0], inertia[1], 9, [](std::size_t i) { return at("inertia", static_cast<int>(i) + 1); });
  run.blocks.push_back(block);
}

void compare_interface(DiffRun &run) {
  Block block = run.block("interface nodes");
  if (!run.in_both(block, 16)) return;
  int n = 0;
  int m = 0;
  const Given<int> p = given_array(SBR_InterfaceNodeIDs(run.a, &n), n);
  const Given<int> q = given_array(SBR_InterfaceNodeIDs(run.b, &m), m);
  block.count("count", n, m);
  for (int i = 0; i < std::min(n, m) && p && q; ++i)
    block.count(at("place", i + 1), p[static_cast<std::size_t>(i)], q[static_cast<std::size_t>(i)]);
  run.blocks.push_back(block);
}

}  // namespace

void compare_geometry(DiffRun &run) {
  compare_header(run);
  compare_units(run);
  compare_nodes(run);
  compare_faces(run);
  compare_global(run);
  compare_interface(run);
}

}  // namespace sbrtool
