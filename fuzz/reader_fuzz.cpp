// Feeds arbitrary bytes to the reader as a record, then asks the body for what a host would ask.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <vector>

#include "sbrkit/sbrkit.h"

namespace {

int drop(const char *) { return 0; }

void ask_for_nodes(SBR body) {
  double values[9];
  const int nodes = SBR_NodeCount(body);
  for (int i = -1; i <= std::min(nodes, 8); ++i) {
    SBR_NodeIndex(body, SBR_NodeID(body, i));
    SBR_NodalMassAndGeometry(body, i, values, values + 1);
    SBR_NodalInertia(body, i, values);
  }
  SBR_BodySize(body);
  int count = 0;
  SBR_FreeMemory(SBR_InterfaceNodeIDs(body, &count));
}

void ask_for_modes(SBR body) {
  double values[9];
  const int modes = std::min(SBR_ModeCount(body), 8);
  for (int kind = 0; kind < 3; ++kind) {
    std::vector<double> part(3 * static_cast<std::size_t>(std::max(SBR_ModeNodeCount(body, kind), 1)));
    for (int i = -1; i < modes; ++i) {
      const int number = i < 0 ? 0 : SBR_ModeNumber(body, i);
      SBR_Mode(body, number, kind, part.data(), i & 1);
      SBR_ModeByNode(body, number, kind, SBR_ModeNodeID(body, kind, 0), values, 0);
    }
  }
  for (int i = 0; i < modes; ++i)
    SBR_Eigenvalue(body, SBR_ModeNumber(body, i), values, values + 1, values + 2, values + 3, values + 4);
}

void ask_for_loads(SBR body) {
  int count = 0;
  for (int i = 0; i < std::min(SBR_GetModalLoadCaseCount(body), 4); ++i) {
    char label[256];
    SBR_GetModalLoadCaseLabel(body, i, label);
    SBR_FreeMemory(SBR_GetModalLoad(body, i, &count));
  }
  for (int i = 0; i < std::min(SBR_GetModalLoadNodalCaseCount(body), 4); ++i) {
    SBR_FreeMemory(SBR_GetModalLoadNodalNode(body, i));
    SBR_FreeMemory(SBR_GetModalLoadNodalCoord(body, i));
    SBR_FreeMemory(SBR_GetModalLoadNodalLoad(body, i));
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  static const message_handlers handlers{drop, drop, drop};
  SetMessageHandlers(&handlers);
  if (size == 0) return 0;
  std::vector<std::uint8_t> bytes(data, data + size);
  std::FILE *stream = fmemopen(bytes.data(), bytes.size(), "rb");
  if (stream == nullptr) return 0;
  SBR body = SBR_Create(0, 0);
  if (body == nullptr) {
    std::fclose(stream);
    return 0;
  }
  if (SBR_ReadSBR(body, stream, "input") != 0) {
    ask_for_nodes(body);
    ask_for_modes(body);
    ask_for_loads(body);
    for (int block = 0; block < 36; ++block) SBR_size_of_block(body, block);
  }
  SBR_UnLink(body);
  return 0;
}
