// Body construction: mode data, pre-stress and pre-strain, node by node.
#include <algorithm>

#include "base/reports.h"
#include "body/registry.h"
#include "modes/access.h"
#include "modes/growth.h"
#include "modes/pending.h"
#include "modes/store.h"

namespace sbr {
namespace {

constexpr int kPreVectorStep = 1000;

// Enters values of a node (all six with dof 0, else the one of that dof) into a mode, adding mode and node as needed.
bool enter_values(SbrBody &body, int number, int id, Kind kind, int dof, const double *values) noexcept {
  const int mode = lookup_or_add_mode(body, number);
  if (mode < 0 || !open_temporary_mode_file(body, kind)) return false;
  // The modes of a record file are not written to: that write fails, and a failed write has no message.
  if (!body.modes[kind].is_temporary()) return false;
  const int index = lookup_or_add_node(body, id);
  if (index < 0) return false;
  const int known = kind == Kind::shape ? index : kind_position(body, kind, id);
  const int position = known >= 0 ? known : kind_count(body, kind);

  ModeValues entry{kind, mode, id, dof, 6 * static_cast<std::int64_t>(position), 6, values};
  if (dof > 0) {
    entry.first += dof - 1;
    entry.count = 1;
  }
  // A node without room in the record does not enter the kind's list: every record has to hold the whole list.
  const std::int64_t end = 8 * entry.first + std::int64_t{entry.count} * real_size(body.modes[kind]);
  if (!make_room(body, kind, mode, end)) return false;
  if (known < 0 && kind_position_or_add(body, kind, id, index) < 0) return false;
  if (!write_mode_values(body, entry)) return false;
  set_block(body, kKindFacts[kind].block);
  return true;
}

// Stores the six values of a node in a pre-vector; the vector and the modes of its kind share one node list.
bool enter_pre_values(SbrBody &body, int id, const double *six, Kind kind) noexcept {
  const int index = lookup_or_add_node(body, id);
  if (index < 0) return false;
  const int position = kind_position_or_add(body, kind, id, index);
  if (position < 0) return false;
  Array<SixVector> &vectors = pre_vectors(body, kind);
  if (position >= vectors.count()) {
    const std::int64_t missing = static_cast<std::int64_t>(position) - vectors.count();
    if (!vectors.resize(vectors.count() + (missing / kPreVectorStep + 1) * kPreVectorStep)) {
      report_error("Failed to allocate memory for %s at line %d in file %s.\n",
                   kind == Kind::stress ? "Pre-Stress" : "Pre-Strain", __LINE__, unit_name::kConstruction);
      return false;
    }
  }
  std::copy(six, six + 6, vectors[position].begin());
  set_block(body, *kKindFacts[kind].pre_block);
  return true;
}

// The kind of a public number; nothing after a report.
std::optional<Kind> legal_kind(int number) noexcept {
  const auto kind = kind_of(number);
  if (!kind) report_error("The kind of mode data %d is illegal.\nThe kind must be 0 to 2.", number);
  return kind;
}

// The public form: number 0 of any kind but 0 is a pre-vector, of kind 1 the pre-stress.
bool enter_six(SbrBody &body, int number, int id, int kind, const double *six) noexcept {
  if (number == 0 && kind != 0) return enter_pre_values(body, id, six, kind == 1 ? Kind::stress : Kind::strain);
  const auto legal = legal_kind(kind);
  return legal && enter_values(body, number, id, *legal, 0, six);
}

bool enter_one(SbrBody &body, int number, int id, int kind, int position, double value) noexcept {
  if (position < 0 || position > 5) {
    report_error("The value position %d is illegal.\nThe value position must be 0 to 5.", position);
    return false;
  }
  const auto legal = legal_kind(kind);
  return legal && enter_values(body, number, id, *legal, position + 1, &value);
}

}  // namespace
}  // namespace sbr

extern "C" {

int SBR_SetMode(SBR body, int number, int id, int kind, double v1, double v2, double v3, double v4, double v5,
                double v6) {
  if (!sbr::require_body(body)) return 0;
  const double six[6] = {v1, v2, v3, v4, v5, v6};
  return sbr::enter_six(*body, number, id, kind, six) ? 1 : 0;
}

int SBR_SetModeVec(SBR body, int number, int id, int kind, const double *six) {
  if (!sbr::require_body(body) || six == nullptr) return 0;
  return sbr::enter_six(*body, number, id, kind, six) ? 1 : 0;
}

int SBR_SetModeEntry(SBR body, int number, int id, int kind, int position, double value) {
  return sbr::require_body(body) && sbr::enter_one(*body, number, id, kind, position, value) ? 1 : 0;
}

int SBR_SetPreStressVec(SBR body, int id, const double *six) {
  return sbr::require_body(body) && six != nullptr && sbr::enter_pre_values(*body, id, six, sbr::Kind::stress) ? 1 : 0;
}

int SBR_SetPreStrainVec(SBR body, int id, const double *six) {
  return sbr::require_body(body) && six != nullptr && sbr::enter_pre_values(*body, id, six, sbr::Kind::strain) ? 1 : 0;
}

}  // extern "C"
