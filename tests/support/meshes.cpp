#include "support/meshes.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "support/body_state.h"

namespace sbrtest {

SBR make_body(const Surface &surface) {
  SBR body = SBR_Create(static_cast<int>(surface.points.size()), 10);
  for (std::size_t i = 0; i < surface.points.size(); ++i) {
    const Point &p = surface.points[i];
    SBR_SetNodeCoordinates(body, mesh_id(static_cast<int>(i)), p[0], p[1], p[2]);
  }
  set_faces(body, surface.faces);
  return body;
}

void set_face_words(SBR body, int number, const std::vector<int> &words) {
  state::face_list(body).release();
  if (!words.empty() && !state::face_list(body).allocate(static_cast<std::int64_t>(words.size())))
    throw std::bad_alloc();
  std::copy(words.begin(), words.end(), state::face_list(body).begin());
  state::face_number(body) = number;
  state::set_block(body, sbr::kElementFaces);
}

void set_faces(SBR body, const Faces &faces) {
  std::vector<int> words;
  for (const auto &face : faces) {
    words.push_back(static_cast<int>(face.size()));
    words.insert(words.end(), face.begin(), face.end());
  }
  set_face_words(body, static_cast<int>(faces.size()), words);
}

Faces faces_of(SBR body) {
  const std::vector<int> words = face_words(body);
  Faces faces;
  for (std::size_t at = 0; at < words.size();) {
    const auto count = static_cast<std::size_t>(words[at++]);
    if (count > words.size() - at) throw std::runtime_error("a face runs past the end of the list");
    faces.emplace_back(words.begin() + static_cast<std::ptrdiff_t>(at),
                       words.begin() + static_cast<std::ptrdiff_t>(at + count));
    at += count;
  }
  if (static_cast<int>(faces.size()) != face_count(body)) throw std::runtime_error("wrong face count");
  return faces;
}

Surface flat_grid(int nx, int ny) {
  Surface surface;
  for (int j = 0; j <= ny; ++j)
    for (int i = 0; i <= nx; ++i) surface.points.push_back({static_cast<double>(i), static_cast<double>(j), 0.0});
  const auto at = [nx](int i, int j) { return j * (nx + 1) + i; };
  for (int j = 0; j < ny; ++j)
    for (int i = 0; i < nx; ++i) surface.faces.push_back({at(i, j), at(i + 1, j), at(i + 1, j + 1), at(i, j + 1)});
  return surface;
}

Surface brick_block(int nx, int ny, int nz) {
  Surface surface;
  for (int z = 0; z <= nz; ++z)
    for (int y = 0; y <= ny; ++y)
      for (int x = 0; x <= nx; ++x)
        surface.points.push_back({static_cast<double>(x), static_cast<double>(y), static_cast<double>(z)});
  const auto at = [=](int x, int y, int z) { return (z * (ny + 1) + y) * (nx + 1) + x; };
  for (int z = 0; z < nz; ++z)
    for (int y = 0; y < ny; ++y)
      for (int x = 0; x < nx; ++x) {
        const int c[8] = {at(x, y, z),     at(x + 1, y, z),     at(x + 1, y + 1, z),     at(x, y + 1, z),
                          at(x, y, z + 1), at(x + 1, y, z + 1), at(x + 1, y + 1, z + 1), at(x, y + 1, z + 1)};
        for (const auto &f : Faces{{0, 3, 2, 1}, {4, 5, 6, 7}, {0, 1, 5, 4}, {1, 2, 6, 5}, {2, 3, 7, 6}, {3, 0, 4, 7}})
          surface.faces.push_back({c[f[0]], c[f[1]], c[f[2]], c[f[3]]});
      }
  return surface;
}

std::map<Edge, int> edge_uses(const Faces &faces) {
  std::map<Edge, int> uses;
  for (const auto &face : faces)
    for (std::size_t k = 0; k < face.size() && face.size() >= 3; ++k) {
      const auto [low, high] = std::minmax(face[k], face[(k + 1) % face.size()]);
      if (low != high) uses[{low, high}] += 1;
    }
  return uses;
}

std::vector<Edge> boundary(const Faces &faces) {
  std::vector<Edge> edges;
  for (const auto &[edge, uses] : edge_uses(faces))
    if (uses == 1) edges.push_back(edge);
  return edges;
}

double area(const Surface &surface, const Faces &faces) {
  double sum = 0.0;
  for (const auto &face : faces) {
    Point n{};
    for (std::size_t k = 0; k < face.size(); ++k) {
      const Point &a = surface.points[static_cast<std::size_t>(face[k])];
      const Point &b = surface.points[static_cast<std::size_t>(face[(k + 1) % face.size()])];
      for (std::size_t c = 0; c < 3; ++c) n[c] += a[(c + 1) % 3] * b[(c + 2) % 3] - a[(c + 2) % 3] * b[(c + 1) % 3];
    }
    sum += 0.5 * std::sqrt(n[0] * n[0] + n[1] * n[1] + n[2] * n[2]);
  }
  return sum;
}

}  // namespace sbrtest
