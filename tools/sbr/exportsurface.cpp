// Surfaces without modes: STL, the triangles of a body, and OBJ, its nodes and polygons.
//
// STL (3D Systems, 1989), the binary form: 80 bytes of text, the number of triangles, then per triangle normal, corners
// and a word without a meaning. OBJ (Wavefront): lines of text; points and polygons refer to vertices counted from 1.
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <iostream>

#include "export.h"
#include "exportbody.h"
#include "triangulate.h"

namespace sbrtool {
namespace {

void send(std::FILE *file, const std::string &bytes) {
  if (std::fwrite(bytes.data(), 1, bytes.size(), file) != bytes.size())
    throw Failure(kFailed, "the surface cannot be written");
}

// ---- STL -----------------------------------------------------------------------------------------------------------

void put_word(std::string &bytes, std::uint32_t word, int count = 4) {
  for (int i = 0; i < count; ++i) bytes += static_cast<char>(word >> (8 * i) & 0xFFU);
}

void put_real(std::string &bytes, double value) { put_word(bytes, std::bit_cast<std::uint32_t>(single(value))); }

// The normal after the right-hand rule, of length 1; zeros for a triangle without area, as the format has it.
void put_normal(std::string &bytes, const double *a, const double *b, const double *c) {
  const double u[3] = {b[0] - a[0], b[1] - a[1], b[2] - a[2]};
  const double v[3] = {c[0] - a[0], c[1] - a[1], c[2] - a[2]};
  const double n[3] = {u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2], u[0] * v[1] - u[1] * v[0]};
  const double length = std::hypot(n[0], n[1], n[2]);
  for (const double value : n) put_real(bytes, length > 0.0 && std::isfinite(length) ? value / length : 0.0);
}

// ---- OBJ -----------------------------------------------------------------------------------------------------------

void put_number(std::string &line, double value) {
  char text[40];
  line += ' ';
  line.append(text, std::to_chars(text, text + sizeof text, value).ptr);
}

}  // namespace

void export_stl(SBR body, const std::filesystem::path &target) {
  const Geometry geometry = geometry_of(body);
  require_single(geometry);
  const Triangles triangles = triangles_of(geometry);
  if (triangles.corners.empty())
    throw Failure(kUsage,
                  "the record has no faces, and STL holds nothing else; --vtu, --glb and --obj write its nodes");
  if (triangles.flat > 0)
    std::cerr << "warning: " << triangles.flat << " faces of one or two corners are left out: STL has triangles only\n";
  OutputFile file(target);
  // A text that begins with "solid" would be taken for the other form of the format.
  std::string bytes = "sbr: unit of length " + UnitLabels(body).length + "; " + title_of(body);
  bytes.resize(80, ' ');
  put_word(bytes, static_cast<std::uint32_t>(triangles.corners.size() / 3));
  for (std::size_t i = 0; i < triangles.corners.size(); i += 3) {
    const double *places[3];
    for (std::size_t k = 0; k < 3; ++k) places[k] = geometry.at(triangles.corners[i + k]);
    put_normal(bytes, places[0], places[1], places[2]);
    for (const double *place : places)
      for (int c = 0; c < 3; ++c) put_real(bytes, place[c]);
    put_word(bytes, 0, 2);
    if (bytes.size() < (1U << 16U)) continue;
    send(file.stream(), bytes);
    bytes.clear();
  }
  send(file.stream(), bytes);
  file.commit();
}

void export_obj(SBR body, const std::filesystem::path &target) {
  const Geometry geometry = geometry_of(body);
  OutputFile file(target);
  std::FILE *stream = file.stream();
  send(stream,
       "# Written by sbr " SBR_PROGRAM_VERSION "\n# title: " + title_of(body) + "\n# units: " + UnitLabels(body).all() +
           "\n# vertices stand in the order of the nodes, faces in that of the record; points are nodes without "
           "a face\no body\n");
  std::string line;
  for (int i = 0; i < geometry.nodes(); ++i) {
    line = "v";
    for (int c = 0; c < 3; ++c) put_number(line, geometry.at(i)[c]);
    send(stream, line += '\n');
  }
  for (std::size_t f = 0; f < geometry.faces(); ++f) {
    const std::size_t corners = geometry.size(f);
    line = corners == 1 ? "p" : corners == 2 ? "l" : "f";
    for (std::size_t k = geometry.begin(f); k < geometry.face_ends[f]; ++k)
      line += ' ' + std::to_string(geometry.corners[k] + 1);
    send(stream, line += '\n');
  }
  for (const int node : geometry.loose) send(stream, "p " + std::to_string(node + 1) + '\n');
  file.commit();
}

}  // namespace sbrtool
