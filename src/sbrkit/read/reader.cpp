#include "read/reader.h"

#include <cstring>

#include "base/reports.h"
#include "blocks/sizing.h"
#include "blocks/table.h"
#include "body/registry.h"
#include "record/toc.h"

namespace sbr {
namespace {

// Makes the record channel stand for the file, native and double for the time being.
void attach_stream(SbrBody &body, std::FILE *stream, const char *file_name) noexcept {
  for (StreamChannel &channel : body.modes) channel.close();
  if (body.record.stream != nullptr && body.record.stream != stream) body.record.close();
  body.record.own(stream);
  body.record.double_precision = true;
  if (file_name == nullptr || !name_body(body, file_name))
    report_warning("Failed to allocate memory at line %d in file %s.\n", __LINE__, "sbrread");
}

enum class Word { accepted, foreign, failed };

// Takes the first word as that of a native file.
Word native_version(SbrBody &body) noexcept {
  std::int32_t stored = 0;
  go_to(body.record, 0);
  if (!read_int(body.record, stored)) return Word::foreign;
  const auto word = static_cast<std::uint32_t>(stored);
  const auto code = static_cast<std::uint32_t>(version_code(word));
  if (is_native_old(code))
    body.layout.version = code;
  else if (code >= 60 && (word & kXdrFlag) == 0)
    body.layout.version = word;
  else
    return Word::foreign;
  return Word::accepted;
}

// Takes the first word as that of an XDR file and binds the XDR stream record. A small big-endian word read as a
// native one has a low byte of zero, so that no word passes both ways.
Word xdr_version(SbrBody &body) noexcept {
  if (!body.record.bind_xdr(XDR_DECODE)) {
    report_error("Failed to allocate memory at line %d in file %s.\n", __LINE__, "sbrread");
    return Word::failed;
  }
  std::int32_t stored = 0;
  go_to(body.record, 0);
  if (!read_int(body.record, stored)) return Word::foreign;
  const auto word = static_cast<std::uint32_t>(stored);
  const auto code = static_cast<std::uint32_t>(version_code(word));
  if (is_xdr_old(code))
    body.layout.version = code;
  else if (code >= 60 && (word & kXdrFlag) != 0)
    body.layout.version = word;
  else
    return Word::foreign;
  return Word::accepted;
}

// Encoding, version and precision of the file.
bool recognize(SbrBody &body) noexcept {
  Word word = native_version(body);
  if (word == Word::foreign) word = xdr_version(body);
  if (word == Word::foreign) report_error("Not a valid SBR format.");
  if (word == Word::accepted) {
    const int code = version_code(body.layout.version);
    const bool single = code == 50 || code == 51 || (body.layout.version & kSingleFlag) != 0;
    body.record.double_precision = !single;
    if ((body.layout.version & kCoarsenedFlag) != 0) body.geometry.is_coarsened = 1;
  }
  for (StreamChannel &channel : body.modes) channel.view(body.record);
  return word == Word::accepted;
}

bool read_content_summary(SbrBody &body) noexcept {
  go_to(body.record, content_summary_offset(body.record));
  auto *content = reinterpret_cast<char *>(body.layout.content);
  const bool ok = read_chars(body.record, content, kContentBytes);
  if (is_short(static_cast<std::uint32_t>(version_code(body.layout.version)))) {
    const int first = content_byte(kFirstBlockBeyondShort);
    std::memset(content + first, 0, static_cast<std::size_t>(kContentBytes - first));
  }
  if (!ok) report_error("Problem reading SBR table of contents.");
  return ok;
}

// In the order of their messages. Faces are read from the present block or else from the old one, monitor points
// likewise.
constexpr Block kReadingOrder[] = {
    kUnits,
    kHeader,
    kNodalCoords,
    kGlobalBodyProps,
    kEigenvalues,
    kModeShapes,
    kNodalMasses,
    kNodalInertias,
    kGeneralizedStiffness,
    kGeneralizedMass,
    kElementFaces,
    kElementTopology,
    kGeneralizedDamping,
    kModeShapeTransformation,
    kInterfaceNodes,
    kModalStress,
    kModalPreload,
    kModalLoads,
    kModalStrain,
    kModalStatistics,
    kNodalPreStress,
    kNodalPreStrain,
    kMatrixOperator,
    kModalLoadNodal,
    kMonitorPoints,
    kOldMonitorPoints,
};

// From now on the body has its monitor points at the current place, whichever block they came from.
void move_monitor_points(SbrBody &body) noexcept {
  if (!has_block(body, kOldMonitorPoints)) return;
  set_block(body, kOldMonitorPoints, false);
  set_block(body, kMonitorPoints);
}

// Fills a body from its file. The result is that of the first block that did not read well.
Reading read_body(SbrBody &body, std::FILE *stream, const char *file_name) noexcept {
  attach_stream(body, stream, file_name);
  if (!recognize(body) || !read_content_summary(body)) return Reading::failed;
  build_block_offsets(body.record, body.layout);
  body.geometry.body_size = 0.0;
  for (const Block block : kReadingOrder)
    if (const Reading reading = block_kind(block).functions->read(body); reading != Reading::complete) return reading;
  move_monitor_points(body);
  return Reading::complete;
}

}  // namespace

// Nobody finds the body before it is whole.
SbrBody *open_body(const char *file_name, void (*prepare)(SbrBody &body) noexcept) noexcept {
  std::FILE *stream = file_name != nullptr ? std::fopen(file_name, "rb") : nullptr;
  if (stream == nullptr) return nullptr;
  SbrBody *body = unregistered_body();
  if (body == nullptr) {
    std::fclose(stream);
    return nullptr;
  }
  if (read_body(*body, stream, file_name) == Reading::failed) {
    release_body(body);
    return nullptr;
  }
  if (prepare != nullptr) prepare(*body);
  return register_body(body);
}

}  // namespace sbr

extern "C" {

SBR SBR_CreateFromSBR(const char *file_name) {
  SBR shared = sbr::share_body(file_name, 0);
  return shared != nullptr ? shared : sbr::open_body(file_name, nullptr);
}

int SBR_ReadSBR(SBR body, FILE *stream, const char *file_name) {
  if (body == nullptr || stream == nullptr) return 0;
  return static_cast<int>(sbr::read_body(*body, stream, file_name));
}

}  // extern "C"
