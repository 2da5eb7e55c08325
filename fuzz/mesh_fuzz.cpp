// Feeds arbitrary bytes to the reductions of the surface. The bytes up to the first zero byte are an option string of
// SBR_TrimGeometry; the rest is a sketch file, and where that is refused the faces are a grid. Then the surface goes
// through coarsening, stripping, discarding and the search for free edges.
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "sbrkit/sbrkit.h"

namespace {

constexpr int kSide = 6;

int drop(const char *) { return 0; }

SBR grid() {
  SBR body = SBR_Create((kSide + 1) * (kSide + 1), 1);
  const auto id = [](int i, int j) { return 1 + j * (kSide + 1) + i; };
  for (int j = 0; j <= kSide; ++j)
    for (int i = 0; i <= kSide; ++i) SBR_SetNodeCoordinates(body, id(i, j), i, j, 0.05 * ((i * j) % 3));
  for (int j = 0; j < kSide; ++j)
    for (int i = 0; i < kSide; ++i) {
      const int face[] = {id(i, j), id(i + 1, j), id(i + 1, j + 1), id(i, j + 1)};
      SBR_SetFaceList(body, 4, face);
    }
  SBR_SetInterfaceNode(body, id(2, 3));
  const double six[6] = {1, 2, 3, 4, 5, 6};
  for (int k = 0; k <= kSide; ++k) {
    SBR_SetModeVec(body, 1, id(k, k), 0, six);
    SBR_SetModeVec(body, 1, id(k, 1), 1, six);
  }
  return body;
}

void sketch(SBR body, const std::uint8_t *data, std::size_t size) {
  const int file = memfd_create("sketch", 0);
  if (file < 0) return;
  if (write(file, data, size) == static_cast<ssize_t>(size))
    SBR_SketchGrid(body, ("/proc/self/fd/" + std::to_string(file)).c_str());
  close(file);
}

// Faces refer to nodes of the table, and none is longer than the list.
void check_faces(SBR body) {
  int faces = 0;
  int length = 0;
  SBR_FaceListSize(body, &faces, &length);
  std::vector<int> list(static_cast<std::size_t>(std::max(length, 1)));
  SBR_ElementFaces(body, list.data());
  int at = 0;
  for (int f = 0; f < faces; ++f) {
    if (at >= length || list[static_cast<std::size_t>(at)] < 0) __builtin_trap();
    const int end = at + 1 + list[static_cast<std::size_t>(at)];
    if (end > length) __builtin_trap();
    for (++at; at < end; ++at)
      if (list[static_cast<std::size_t>(at)] < 0 || list[static_cast<std::size_t>(at)] >= SBR_NodeCount(body))
        __builtin_trap();
  }
  if (at != length) __builtin_trap();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  static const message_handlers handlers{drop, drop, drop};
  SetMessageHandlers(&handlers);
  const std::uint8_t *end = std::find(data, data + size, 0);
  const std::string options(data, end);
  SBR body = grid();
  if (end != data + size) sketch(body, end + 1, static_cast<std::size_t>(data + size - end - 1));
  check_faces(body);
  SBR_TrimGeometry(body, options.c_str());
  check_faces(body);
  const int chains = SBR_GetFreeEdgeCount(body);
  check_faces(body);
  for (int c = 0; c < chains; ++c) {
    std::vector<int> ids(static_cast<std::size_t>(SBR_GetFreeEdgeSize(body, c)));
    SBR_GetFreeEdge(body, c, ids.data());
  }
  SBR_Destroy(body);
  return 0;
}
