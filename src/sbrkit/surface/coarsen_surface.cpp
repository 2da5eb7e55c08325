// Coarsening, what is done with the finished polygons: vertices on nearly straight sides go, and the polygons become
// the body's face list.
#include <algorithm>
#include <climits>
#include <cmath>

#include "base/reports.h"
#include "body/faces.h"
#include "surface/coarsen_mesh.h"

namespace sbr::coarse {
namespace {

struct Vec3 {
  double x, y, z;
};
Vec3 minus(const Node &a, const Node &b) noexcept { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
double dot(const Vec3 &a, const Vec3 &b) noexcept { return a.x * b.x + a.y * b.y + a.z * b.z; }

struct ColinearLimits {
  double segment_squared;
  double cosine;
};

// True when `current` lies on a nearly straight or folded piece of short sides, or repeats `previous`.
bool droppable(const Mesh &mesh, std::int32_t previous, std::int32_t current, std::int32_t next,
               const ColinearLimits &limits) noexcept {
  if (!mesh.in_play(previous) || !mesh.in_play(current) || !mesh.in_play(next)) return false;
  const Vec3 a = minus(mesh.node(previous), mesh.node(current));
  const double aa = dot(a, a);
  if (aa == 0.0) return true;
  if (!(aa <= limits.segment_squared)) return false;
  const Vec3 b = minus(mesh.node(next), mesh.node(current));
  const double bb = dot(b, b);
  if (bb == 0.0 || !(bb <= limits.segment_squared)) return false;
  return std::fabs(dot(a, b)) / (std::sqrt(aa) * std::sqrt(bb)) >= limits.cosine;
}

void thin_face(const Mesh &mesh, Face &face, const ColinearLimits &limits) noexcept {
  std::int32_t previous = face.nodes[face.count - 1];
  std::int32_t kept = 0;
  for (std::int32_t p = 0; p < face.count; ++p) {
    const std::int32_t current = face.nodes[p];
    // The face is compacted as the walk goes: behind the last position stands the first vertex kept.
    const std::int32_t next = face.nodes[p + 1 < face.count ? p + 1 : 0];
    if (droppable(mesh, previous, current, next, limits)) continue;
    face.nodes[kept++] = current;
    previous = current;
  }
  face.count = kept;
}

}  // namespace

// Two sides count as one line within 10 degrees, as far as neither is longer than 5 % of the diagonal.
void remove_colinear_vertices(Mesh &mesh, double diagonal) noexcept {
  const double longest = 0.05 * diagonal;
  const ColinearLimits limits{longest * longest, std::cos(0.17453292519943295)};
  for (Face &face : mesh.faces)
    if (face.present && face.count >= 4) thin_face(mesh, face, limits);
}

bool flatten_faces(const Mesh &mesh, SbrBody &body) noexcept {
  std::int64_t words = 0;
  int face_count = 0;
  for (const Face &face : mesh.faces) {
    if (!face.present || face.count == 0) continue;
    words += static_cast<std::int64_t>(face.count) + 1;
    face_count += 1;
  }
  Array<std::int32_t> list;
  if (words > INT_MAX || (words > 0 && !list.allocate(words))) {
    report_no_memory(unit_name::kCoarsening);
    return false;
  }
  std::int32_t *out = list.data();
  for (const Face &face : mesh.faces) {
    if (!face.present || face.count == 0) continue;
    *out++ = face.count;
    out = std::transform(face.nodes, face.nodes + face.count, out, [&](std::int32_t node) { return mesh.index(node); });
  }
  replace_faces(body, std::move(list), face_count);
  return true;
}

}  // namespace sbr::coarse
