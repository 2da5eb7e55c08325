// Sketching: a plain text file with faces written by hand takes the place of the face list.
#include "surface/sketch.h"

#include <climits>
#include <cstdio>
#include <memory>

#include "base/reports.h"
#include "body/faces.h"
#include "body/node_table.h"
#include "body/registry.h"

namespace sbr {
namespace {

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
bool read_face(SbrBody &body, IntegerScanner &scanner, int f, Array<std::int32_t> &list) noexcept {
  std::int32_t count = 0;
  if (!scanner.next(count) || count < 0) {
    report_warning("Incorrect definition of face %d.  Aborting.", f);
    return false;
  }
  if (!list.push_back(count)) return report_no_memory(unit_name::kWriting);
  for (std::int32_t vertex = 0; vertex < count; ++vertex) {
    std::int32_t id = 0;
    if (!scanner.next(id)) {
      report_warning("Incorrect definition of face %d.  Aborting.", f);
      return false;
    }
    const int index = node_index(body, id);
    if (index < 0) {
      report_warning("Incorrect definition of face %d.  No node %d. Aborting.", f, id);
      return false;
    }
    if (list.size() >= INT_MAX || !list.push_back(index)) return report_no_memory(unit_name::kWriting);
  }
  return true;
}

struct CloseFile {
  void operator()(std::FILE *stream) const noexcept { (void)std::fclose(stream); }
};

}  // namespace

void sketch_faces(SbrBody &body, const char *path) noexcept {
  if (path == nullptr) {
    report_warning("Failed to apply sketch file.  Usage: sketch(filename)");
    return;
  }
  const std::unique_ptr<std::FILE, CloseFile> stream(std::fopen(path, "r"));
  if (stream == nullptr) {
    report_warning("Failed to open sketch file %s", path);
    return;
  }
  IntegerScanner scanner(stream.get());
  std::int32_t face_count = 0;
  if (!scanner.next(face_count)) {
    report_warning("Sketch file %s does not start with a face count", path);
    return;
  }
  Array<std::int32_t> list;
  if (!list.reserve(kFirstRoom)) {
    report_no_memory(unit_name::kWriting);
    return;
  }
  report_info("Using sketch file %s to replace %d faces with %d", path, body.faces.face_count, face_count);
  for (std::int32_t f = 1; f <= face_count && f > 0; ++f)
    if (!read_face(body, scanner, f, list)) return;
  replace_faces(body, std::move(list), face_count > 0 ? face_count : 0);
  body.geometry.is_coarsened = 1;
  set_block(body, kElementFaces);
}

}  // namespace sbr

extern "C" void SBR_SketchGrid(SBR body, const char *path) {
  if (sbr::require_body(body)) sbr::sketch_faces(*body, path);
}
