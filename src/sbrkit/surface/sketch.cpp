// Sketching: a plain text file with faces written by hand takes the place of the face list.
#include <climits>
#include <cstdio>
#include <memory>

#include "base/reports.h"
#include "body/faces.h"

namespace sbr {
namespace {

constexpr const char *kUnit = "sbrwrite";
constexpr int kFirstRoom = 1000;

// Reads whole numbers from a text, with any white space in front of them.
class IntegerScanner {
 public:
  explicit IntegerScanner(std::FILE *stream) noexcept : stream_(stream) {}

  // False at the end, at text that is no number, and for a number beyond 32 bits.
  [[nodiscard]] bool next(std::int32_t &value) noexcept {
    int c = std::getc(stream_);
    while (c == ' ' || (c >= '\t' && c <= '\r')) c = std::getc(stream_);
    const bool negative = c == '-';
    if (c == '-' || c == '+') c = std::getc(stream_);
    if (c < '0' || c > '9') return false;
    std::int64_t number = 0;
    for (; c >= '0' && c <= '9'; c = std::getc(stream_))
      if (number <= INT_MAX) number = 10 * number + (c - '0');
    if (c != EOF) std::ungetc(c, stream_);
    if (negative) number = -number;
    if (number < INT_MIN || number > INT_MAX) return false;
    value = static_cast<std::int32_t>(number);
    return true;
  }

 private:
  std::FILE *stream_;
};

// Reads face number f, counted from 1, to the end of the list.
bool read_face(SBR body, IntegerScanner &scanner, int f, Array<std::int32_t> &list) noexcept {
  std::int32_t count = 0;
  if (!scanner.next(count) || count < 0) {
    SBR_Warning("Incorrect definition of face %d.  Aborting.", f);
    return false;
  }
  if (!list.push_back(count)) return report_no_memory(kUnit) != 0;
  for (std::int32_t vertex = 0; vertex < count; ++vertex) {
    std::int32_t id = 0;
    if (!scanner.next(id)) {
      SBR_Warning("Incorrect definition of face %d.  Aborting.", f);
      return false;
    }
    const int index = SBR_NodeIndex(body, id);
    if (index < 0) {
      SBR_Warning("Incorrect definition of face %d.  No node %d. Aborting.", f, id);
      return false;
    }
    if (list.size() >= INT_MAX || !list.push_back(index)) return report_no_memory(kUnit) != 0;
  }
  return true;
}

struct CloseFile {
  void operator()(std::FILE *stream) const noexcept { (void)std::fclose(stream); }
};

}  // namespace
}  // namespace sbr

extern "C" void SBR_SketchGrid(SBR body, const char *path) {
  using namespace sbr;
  if (CheckSBR(body) == 0) return;
  if (path == nullptr) {
    SBR_Warning("Failed to apply sketch file.  Usage: sketch(filename)");
    return;
  }
  const std::unique_ptr<std::FILE, CloseFile> stream(std::fopen(path, "r"));
  if (stream == nullptr) {
    SBR_Warning("Failed to open sketch file %s", path);
    return;
  }
  IntegerScanner scanner(stream.get());
  std::int32_t face_count = 0;
  if (!scanner.next(face_count)) {
    SBR_Warning("Sketch file %s does not start with a face count", path);
    return;
  }
  Array<std::int32_t> list;
  if (!list.reserve(kFirstRoom)) {
    report_no_memory(kUnit);
    return;
  }
  SBR_Info("Using sketch file %s to replace %d faces with %d", path, body->faces.face_count, face_count);
  for (std::int32_t f = 1; f <= face_count && f > 0; ++f)
    if (!read_face(body, scanner, f, list)) return;
  replace_faces(*body, std::move(list), face_count > 0 ? face_count : 0);
  body->geometry.is_coarsened = 1;
  set_block(*body, kElementFaces);
}
