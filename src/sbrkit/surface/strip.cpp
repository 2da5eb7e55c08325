// Stripping: the faces that two solid elements share lie inside the body. Sorting brings equal polygons together,
// wherever they start and whichever way they wind; pairs of opposite winding go.
#include "surface/strip.h"

#include <algorithm>

#include "base/reports.h"
#include "body/faces.h"
#include "body/registry.h"

namespace sbr {
namespace {

// One face, its largest node index first.
struct StripFace {
  std::int32_t count;
  std::int32_t forward;       // 1 when the polygon runs towards its larger neighbour
  const std::int32_t *nodes;  // in the pool
};

// The front of the sorting order: count and first node, then the next nodes in the face's own direction. Comparing
// faces of up to four vertices ends here; larger ones look at the polygon.
struct StripKey {
  std::uint64_t head;
  std::uint64_t next;
  std::int32_t fourth;
  std::int32_t face;
};

std::uint64_t ordered_pair(std::int32_t a, std::int32_t b) noexcept {
  constexpr std::uint32_t kSignBit = 0x80000000U;
  return (static_cast<std::uint64_t>(static_cast<std::uint32_t>(a) ^ kSignBit) << 32U) |
         (static_cast<std::uint32_t>(b) ^ kSignBit);
}

// Element k of a polygon of two or more vertices, read in its own direction.
std::int32_t element(const StripFace &face, std::int32_t k) noexcept {
  return face.forward != 0 ? face.nodes[k] : face.nodes[face.count - k];
}

StripKey key_of(const StripFace &face, std::int32_t slot) noexcept {
  StripKey key{ordered_pair(face.count, face.count > 0 ? face.nodes[0] : 0), 0, 0, slot};
  if (face.count >= 2) key.next = ordered_pair(element(face, 1), face.count >= 3 ? element(face, 2) : 0);
  if (face.count >= 4) key.fourth = element(face, 3);
  return key;
}

// Heads below this belong to faces that their keys describe in full.
const std::uint64_t kFiveVertices = ordered_pair(5, INT32_MIN);

// What the keys leave open: -1, 0 or 1 by the elements from 4 on of two polygons with equal keys.
int compare_rest(const StripFace &a, const StripFace &b) noexcept {
  for (std::int32_t k = 4; k < a.count; ++k) {
    const std::int32_t x = element(a, k);
    const std::int32_t y = element(b, k);
    if (x != y) return x < y ? -1 : 1;
  }
  return 0;
}

class Stripper {
 public:
  [[nodiscard]] bool load(const FaceList &faces) noexcept {
    const auto length = static_cast<std::int64_t>(faces.list.size());
    if (!pool_.allocate(length)) return false;
    std::int64_t count = 0;
    for (FaceWalk walk(faces); walk.next();) ++count;
    if (count > 0 && (!faces_.allocate(count) || !keys_.allocate(count))) return false;
    std::int32_t *room = pool_.data();
    std::size_t slot = 0;
    for (FaceWalk walk(faces); walk.next(); ++slot) {
      std::int32_t *end = std::copy(walk.face().begin(), walk.face().end(), room);
      faces_[slot] = normalize({room, end});
      keys_[slot] = key_of(faces_[slot], static_cast<std::int32_t>(slot));
      room = end;
    }
    return true;
  }

  // Equal faces keep the order of the list, so that the outcome does not hang on the sorting method.
  void sort() noexcept {
    std::sort(keys_.begin(), keys_.end(), [this](const StripKey &a, const StripKey &b) {
      if (a.head != b.head) return a.head < b.head;
      if (a.next != b.next) return a.next < b.next;
      if (a.fourth != b.fourth) return a.fourth < b.fourth;
      const int rest = a.head < kFiveVertices ? 0 : compare_rest(face(a), face(b));
      return rest != 0 ? rest < 0 : a.face < b.face;
    });
  }

  // Writes the faces that stay over the front of the list. Of neighbours that are equal and wind the same way the last
  // stays; of a pair that winds opposite ways none does.
  void write(FaceList &faces) noexcept {
    out_ = faces.list.data();
    written_ = 0;
    const std::size_t n = keys_.size();
    for (std::size_t i = 0; i + 1 < n;) {
      if (!equal(i, i + 1)) {
        put(i);
        i += 1;
      } else {
        i += face(keys_[i]).forward == face(keys_[i + 1]).forward ? 1 : 2;
      }
    }
    if (n > 0 && !(n > 1 && equal(n - 2, n - 1) && face(keys_[n - 2]).forward != face(keys_[n - 1]).forward))
      put(n - 1);
    (void)faces.list.resize(out_ - faces.list.data());
    faces.face_count = written_;
  }

 private:
  // Turns the polygon so that its largest node index comes first.
  static StripFace normalize(std::span<std::int32_t> nodes) noexcept {
    if (!nodes.empty()) std::rotate(nodes.begin(), std::max_element(nodes.begin(), nodes.end()), nodes.end());
    const bool forward = nodes.size() > 1 && nodes[1] > nodes[nodes.size() - 1];
    return {static_cast<std::int32_t>(nodes.size()), forward ? 1 : 0, nodes.data()};
  }
  [[nodiscard]] const StripFace &face(const StripKey &key) const noexcept { return faces_[key.face]; }
  [[nodiscard]] bool equal(std::size_t i, std::size_t j) const noexcept {
    return keys_[i].head == keys_[j].head && keys_[i].next == keys_[j].next && keys_[i].fourth == keys_[j].fourth &&
           compare_rest(face(keys_[i]), face(keys_[j])) == 0;
  }
  void put(std::size_t i) noexcept {
    const StripFace &kept = face(keys_[i]);
    *out_++ = kept.count;
    out_ = std::copy_n(kept.nodes, kept.count, out_);
    written_ += 1;
  }

  Array<std::int32_t> pool_;
  Array<StripFace> faces_;
  Array<StripKey> keys_;
  std::int32_t *out_ = nullptr;
  int written_ = 0;
};

}  // namespace

void strip_common_faces(SbrBody &body) noexcept {
  if (body.geometry.internal_geometry_removed != 0) return;
  Stripper stripper;
  if (!stripper.load(body.faces)) {
    report_no_memory(unit_name::kTools);
    return;
  }
  report_info(" Stripping interior faces\n");
  stripper.sort();
  stripper.write(body.faces);
  body.geometry.internal_geometry_removed = 1;
}

}  // namespace sbr

extern "C" void SBR_StripCommonFaces(SBR body) {
  if (sbr::require_body(body)) sbr::strip_common_faces(*body);
}
