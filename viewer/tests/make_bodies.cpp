// Makes the records that the tests of the viewer open: make_bodies WHICH OUT.sbr.
//   points    nodes without faces         still     faces without modes
//   one       a single node               nowhere   all nodes in one place
//   odd       numbers that are no numbers, a title with HTML in it
//   mixed     faces of two to nine vertices, rotations, nodes with and without stress, interface nodes
//   large     100,000 nodes on a surface and 30 modes with rotations and stress
//   huge      1,000,000 nodes on a surface and two modes
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <map>
#include <string>
#include <vector>

#include "sbrkit/sbrkit.h"

namespace {

constexpr double kPi = 3.14159265358979323846;

int print(const char *text) {
  std::fprintf(stderr, "%s\n", text);
  return 0;
}

void entitle(SBR body, const char *words) {
  std::string title(words);
  char empty[] = "";
  SBR_SetHeader(body, title.data(), empty, empty, empty, empty, empty);
  SBR_SetUnits(body, "KILOGRAM", "METER", "SECOND", "NEWTON");
}

void add_mode(SBR body, int number, double hz) {
  SBR_LookupOrAddMode(body, number);
  SBR_SetGeneralizedMass(body, number, number, 1.0);
  SBR_SetGeneralizedStiffness(body, number, number, std::pow(2.0 * kPi * hz, 2));
}

// A sheet of nx x ny nodes with waves in it, and the bending of a plate for modes.
struct Sheet {
  int nx;
  int ny;
  int modes;
  bool stress;
};

void place_sheet(SBR body, const Sheet &sheet) {
  for (int j = 0; j < sheet.ny; ++j)
    for (int i = 0; i < sheet.nx; ++i) {
      const double x = static_cast<double>(i) / (sheet.nx - 1);
      const double y = static_cast<double>(j) / (sheet.nx - 1);
      const int id = j * sheet.nx + i + 1;
      SBR_SetNodeCoordinates(body, id, x, y, 0.05 * std::sin(7.0 * x) * std::cos(5.0 * y));
      SBR_SetNodalMass(body, id, 1.0 / sheet.nx / sheet.ny);
    }
  for (int j = 0; j + 1 < sheet.ny; ++j)
    for (int i = 0; i + 1 < sheet.nx; ++i) {
      const int id = j * sheet.nx + i + 1;
      SBR_SetFace(body, 4, id, id + 1, id + sheet.nx + 1, id + sheet.nx);
    }
}

void bend_sheet(SBR body, const Sheet &sheet, int mode) {
  const double a = kPi * (1 + (mode - 1) % 6);
  const double b = kPi * (1 + (mode - 1) / 6);
  add_mode(body, mode, 10.0 * (a * a + b * b));
  for (int j = 0; j < sheet.ny; ++j)
    for (int i = 0; i < sheet.nx; ++i) {
      const double x = static_cast<double>(i) / (sheet.nx - 1);
      const double y = static_cast<double>(j) / (sheet.nx - 1);
      const int id = j * sheet.nx + i + 1;
      const double w = std::sin(a * x) * std::sin(b * y);
      const double wx = a * std::cos(a * x) * std::sin(b * y);
      const double wy = b * std::sin(a * x) * std::cos(b * y);
      const double six[6] = {-0.01 * wx, -0.01 * wy, w, wy, -wx, 0.0};
      SBR_SetModeVec(body, mode, id, 0, six);
      if (!sheet.stress) continue;
      const double tensor[6] = {(a * a + 0.3 * b * b) * w,
                                (b * b + 0.3 * a * a) * w,
                                0.0,
                                0.7 * a * b * std::cos(a * x) * std::cos(b * y),
                                0.1 * wx,
                                0.1 * wy};
      SBR_SetModeVec(body, mode, id, 1, tensor);
    }
}

SBR sheet_body(const Sheet &sheet, const char *title) {
  SBR body = SBR_Create(sheet.nx * sheet.ny, sheet.modes);
  entitle(body, title);
  place_sheet(body, sheet);
  for (int mode = 1; mode <= sheet.modes; ++mode) bend_sheet(body, sheet, mode);
  return body;
}

SBR points_body(int nodes, const char *title) {
  SBR body = SBR_Create(nodes, 2);
  entitle(body, title);
  for (int n = 0; n < nodes; ++n) {
    const double t = 6.0 * kPi * n / nodes;
    SBR_SetNodeCoordinates(body, n + 1, std::cos(t), std::sin(t), 0.1 * t);
    SBR_SetNodalMass(body, n + 1, 1.0 / nodes);
  }
  for (int mode = 1; mode <= 2; ++mode) {
    add_mode(body, mode, 10.0 * mode);
    for (int n = 0; n < nodes; ++n) {
      const double six[6] = {0.0, 0.1 * std::cos(0.1 * mode * n), 0.3 * std::sin(0.1 * mode * n + 0.3), 0.0, 0.0, 0.0};
      SBR_SetModeVec(body, mode, n + 1, 0, six);
    }
  }
  return body;
}

SBR still_body() {
  SBR body = SBR_Create(9, 1);
  entitle(body, "A plate that does not move");
  place_sheet(body, {3, 3, 0, false});
  return body;
}

SBR nowhere_body() {
  SBR body = SBR_Create(4, 1);
  entitle(body, "Four nodes in one place");
  add_mode(body, 1, 5.0);
  for (int id = 1; id <= 4; ++id) {
    SBR_SetNodeCoordinates(body, id, 2.0, 3.0, 4.0);
    const double six[6] = {0.1 * id, 0.0, 0.0, 0.0, 0.0, 0.0};
    SBR_SetModeVec(body, 1, id, 0, six);
  }
  SBR_SetFace(body, 4, 1, 2, 3, 4);
  return body;
}

SBR odd_body() {
  SBR body =
      sheet_body({6, 6, 3, true}, "<img src=x onerror=\"document.title='broken'\"></script><b>bold</b> & \"quoted\"");
  const double nan = std::nan("");
  const double huge = std::numeric_limits<double>::infinity();
  SBR_SetNodeCoordinates(body, 1, nan, 0.0, 0.0);
  SBR_SetNodeCoordinates(body, 36, 0.0, huge, 0.0);
  const double none[6] = {nan, nan, nan, nan, nan, nan};
  const double some[6] = {0.0, huge, -huge, 0.0, nan, 0.0};
  SBR_SetModeVec(body, 1, 8, 0, none);
  SBR_SetModeVec(body, 1, 9, 0, some);
  SBR_SetModeVec(body, 2, 10, 1, none);
  for (int id = 1; id <= 36; ++id) SBR_SetModeVec(body, 3, id, 0, none);
  return body;
}

// A fan of polygons around a rim: from two vertices to nine.
SBR mixed_body() {
  SBR body = SBR_Create(80, 3);
  entitle(body, "Polygons");
  int id = 1;
  std::vector<int> all;
  for (int vertices = 2; vertices <= 9; ++vertices) {
    std::vector<int> face;
    for (int k = 0; k < vertices; ++k, ++id) {
      const double t = 2.0 * kPi * k / vertices;
      const double r = vertices > 5 && k % 2 == 1 ? 0.25 : 0.45;
      SBR_SetNodeCoordinates(body, id, (vertices - 2) % 4 + r * std::cos(t), (vertices - 2) / 4 + r * std::sin(t), 0.0);
      SBR_SetNodalMass(body, id, 0.5);
      face.push_back(id);
      all.push_back(id);
    }
    SBR_SetFaceList(body, vertices, face.data());
  }
  for (const int node : {1, 5, 20}) SBR_SetInterfaceNode(body, node);
  for (int mode = 1; mode <= 3; ++mode) {
    add_mode(body, mode, 3.0 * mode);
    for (const int node : all) {
      const double six[6] = {0.0, 0.0, 0.1 * std::sin(mode * 0.3 * node), 0.2 * std::cos(0.1 * node), 0.0, 0.05};
      SBR_SetModeVec(body, mode, node, 0, six);
      const double tensor[6] = {1.0 * node, -2.0 * node, 0.5, 3.0 * mode, 0.0, 1.0};
      if (node > 20) SBR_SetModeVec(body, mode, node, 1, tensor);
    }
  }
  return body;
}

}  // namespace

int main(int argc, char **argv) {
  const message_handlers handlers = {print, print, nullptr};
  SetMessageHandlers(&handlers);
  using Make = SBR (*)();
  const std::map<std::string, Make> bodies = {
      {"points", [] { return points_body(120, "A coil of points"); }},
      {"one", [] { return points_body(1, "One node"); }},
      {"still", still_body},
      {"nowhere", nowhere_body},
      {"odd", odd_body},
      {"mixed", mixed_body},
      {"large",
       [] {
         return sheet_body({400, 250, 30, true}, "100,000 nodes");
       }},
      {"huge",
       [] {
         return sheet_body({1000, 1000, 2, false}, "1,000,000 nodes");
       }},
  };
  if (argc != 3 || bodies.count(argv[1]) == 0) {
    std::fprintf(stderr, "usage: make_bodies WHICH OUT.sbr; see the head of its source\n");
    return 2;
  }
  SBR body = bodies.at(argv[1])();
  const int written = SBR_write_SBR(body, argv[2]);
  SBR_Terminate();
  return written == 1 ? 0 : 1;
}
