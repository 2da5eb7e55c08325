// Body construction: faces and interface nodes.
#include "body/faces.h"

#include <algorithm>
#include <cstdarg>
#include <limits>

#include "base/reports.h"
#include "body/node_table.h"
#include "body/registry.h"

namespace sbr {
namespace {

constexpr int kFirstListRoom = 100;
constexpr int kFaceArguments = 256;

// Puts the node indices of a face behind `start` without repetitions: a middle node equal to the one kept before it, a
// last node equal to the one kept before it or to the first. Gives how many were kept, -1 when a node could not be
// added.
int keep_face_nodes(SbrBody &body, std::span<const int> ids, std::int32_t *start) noexcept {
  int kept = 0;
  for (std::size_t i = 0; i < ids.size(); ++i) {
    const int index = lookup_or_add_node(body, ids[i]);
    if (index < 0) return -1;
    const bool last = i + 1 == ids.size();
    if (kept > 0 && (index == start[kept - 1] || (last && index == start[0]))) continue;
    start[kept++] = index;
  }
  return kept;
}

bool enter_face(SbrBody &body, std::span<const int> ids) noexcept {
  auto &list = body.faces.list;
  const std::size_t start = list.size();
  const std::size_t wanted = start + 1 + ids.size();
  if (wanted > static_cast<std::size_t>(std::numeric_limits<int>::max()) || !list.resize(static_cast<int>(wanted)))
    return report_no_memory(unit_name::kConstruction);
  const int kept = keep_face_nodes(body, ids, list.data() + start + 1);
  const bool entered = kept >= 2;
  // Shrinking needs no memory.
  const std::size_t used = entered ? start + 1 + static_cast<std::size_t>(kept) : start;
  if (!list.resize(static_cast<std::int64_t>(used)) || !entered) return false;
  list[start] = kept;
  body.faces.face_count += 1;
  set_block(body, kElementFaces);
  return true;
}

// The place map of the interface nodes: node index -> place in the list plus 1. Made anew when the list was changed by
// somebody else. False when memory is short.
bool map_interface_nodes(SbrBody &body) noexcept {
  InterfaceNodes &list = body.interface_nodes;
  if (list.mapped == list.nodes.count() && list.place.count() >= node_count(body)) return true;
  if (list.mapped != list.nodes.count()) list.place.clear();
  const bool anew = list.place.empty();
  if (!list.place.resize(node_count(body))) return false;
  if (anew)
    for (int i = list.nodes.count(); i-- > 0;) {
      const int node = list.nodes[i];
      if (node >= 0 && node < list.place.count()) list.place[node] = i + 1;
    }
  list.mapped = list.nodes.count();
  return true;
}

// A copy for the caller, element by element; null for an empty list and when memory is short.
template <class ValueOf>
int *copy_for_caller(int count, ValueOf value_of) noexcept {
  auto *copy = static_cast<int *>(allocate_zeroed(static_cast<std::size_t>(count), sizeof(int)));
  if (copy == nullptr) return nullptr;
  for (int i = 0; i < count; ++i) copy[i] = value_of(i);
  return copy;
}

// The face list comes into being with the first call, whatever becomes of the face.
int set_face(SbrBody &body, int count, const int *ids) noexcept {
  if (!body.faces.list && !body.faces.list.reserve(kFirstListRoom)) return report_no_memory(unit_name::kConstruction);
  return count >= 1 && ids != nullptr && enter_face(body, {ids, static_cast<std::size_t>(count)}) ? 1 : 0;
}

}  // namespace
}  // namespace sbr

extern "C" {

// ---- faces ----------------------------------------------------------------------------------------------

int SBR_SetFaceList(SBR body, int count, const int *ids) {
  return sbr::require_body(body) ? sbr::set_face(*body, count, ids) : 0;
}

int SBR_SetFace(SBR body, int count, ...) {
  if (!sbr::require_body(body)) return 0;
  if (count > sbr::kFaceArguments) {
    sbr::report_error("Face too big: max size %ld, specified size %ld.", static_cast<long>(sbr::kFaceArguments),
                      static_cast<long>(count));
    return 0;
  }
  int ids[sbr::kFaceArguments] = {};
  std::va_list arguments;
  va_start(arguments, count);
  for (int i = 0; i < count; ++i) ids[i] = va_arg(arguments, int);
  va_end(arguments);
  return sbr::set_face(*body, count, ids);
}

int SBR_FaceListSize(SBR body, int *face_count, int *list_length) {
  if (face_count != nullptr) *face_count = body != nullptr ? body->faces.face_count : 0;
  if (list_length != nullptr) *list_length = body != nullptr ? body->faces.list.count() : 0;
  return body != nullptr ? 1 : 0;
}

int SBR_ElementFaces(SBR body, int *list) {
  if (body == nullptr || list == nullptr || !body->faces.list) return 0;
  std::copy(body->faces.list.begin(), body->faces.list.end(), list);
  return 1;
}

// ---- interface nodes ------------------------------------------------------------------------------------

int SBR_SetInterfaceNode(SBR body, int id) {
  if (!sbr::require_body(body)) return 0;
  const int index = sbr::node_index(*body, id);
  if (index < 0) return 0;
  sbr::InterfaceNodes &list = body->interface_nodes;
  if (!sbr::map_interface_nodes(*body)) return sbr::report_no_memory(sbr::unit_name::kConstruction);
  std::int32_t &place = list.place[index];
  if (place > 0 && place <= list.nodes.count() && list.nodes[static_cast<std::size_t>(place) - 1] == index) return 1;
  if (!list.nodes.push_back(index)) return sbr::report_no_memory(sbr::unit_name::kConstruction);
  place = list.nodes.count();
  list.mapped = place;
  sbr::set_block(*body, sbr::kInterfaceNodes);
  return 1;
}

int *SBR_InterfaceNodes(SBR body, int *count) {
  const int held = body != nullptr ? body->interface_nodes.nodes.count() : 0;
  if (count != nullptr) *count = held;
  return sbr::copy_for_caller(held, [&](int i) { return body->interface_nodes.nodes[i]; });
}

int *SBR_InterfaceNodeIDs(SBR body, int *count) {
  const int held = body != nullptr ? body->interface_nodes.nodes.count() : 0;
  if (count != nullptr) *count = held;
  return sbr::copy_for_caller(held, [&](int i) { return sbr::node_id(*body, body->interface_nodes.nodes[i]); });
}

}  // extern "C"
