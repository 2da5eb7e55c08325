// Feeds arbitrary options to the writer and arbitrary bodies to the writer and the report. The input is the option text
// up to the first zero byte; what follows is a record to read, or nothing for a small body of the fuzzer's own.
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "sbrkit/sbrkit.h"

namespace {

int drop(const char *) { return 0; }

SBR small_body() {
  SBR body = SBR_Create(3, 2);
  const int face[] = {1, 2, 3};
  for (const int id : face) {
    SBR_SetNodeCoordinates(body, id, id, id % 2, 1);
    SBR_SetNodalMass(body, id, 1);
    for (int mode = 1; mode <= 2; ++mode)
      for (int kind = 0; kind <= 2; ++kind) SBR_SetMode(body, mode, id, kind, id, mode, 0, 0, 0, 1);
  }
  SBR_SetFaceList(body, 3, face);
  for (int mode = 1; mode <= 2; ++mode) {
    SBR_SetGeneralizedMass(body, mode, mode, 2);
    SBR_SetGeneralizedStiffness(body, mode, mode, mode);
  }
  return body;
}

SBR body_from(const char *record, std::size_t size) {
  if (size == 0) return small_body();
  char path[] = "/tmp/sbrkit_fuzz_XXXXXX";
  const int file = mkstemp(path);
  if (file < 0) return nullptr;
  const bool complete = write(file, record, size) == static_cast<ssize_t>(size);
  close(file);
  SBR body = complete ? SBR_CreateFromSBR(path) : nullptr;
  unlink(path);
  return body;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  static const message_handlers handlers{drop, drop, drop};
  SetMessageHandlers(&handlers);
  const std::string input(reinterpret_cast<const char *>(data), size);
  const std::string options = input.c_str();
  const std::size_t rest = std::min(size, options.size() + 1);
  setenv("KTX_SBRWRITE_OPTIONS", options.c_str(), 1);
  if (SBR body = body_from(input.data() + rest, size - rest); body != nullptr) {
    SBR_write_SBR(body, "/dev/null");
    if (std::FILE *out = std::fopen("/dev/null", "w"); out != nullptr) {
      for (int block = 0; block <= 37; ++block) SBR_Contents(body, block, out);
      std::fclose(out);
    }
  }
  SBR_Terminate();
  return 0;
}
