// Body construction: mode data, pre-stress and pre-strain, node by node.
#include "base/reports.h"
#include "body/body.h"
#include "body/node_table.h"
#include "body/registry.h"
#include "modes/store.h"

namespace sbr {
namespace {

constexpr int kPreVectorStep = 1000;

int report_no_room(Kind kind, int id) noexcept {
  report_error(
      "Insufficient room for node %d in temporary %s file.  \n"
      "Specify larger number of nodes in SBR_Create.\n",
      id, kKindFacts[kind].name);
  return 0;
}

int report_illegal_kind(int kind) noexcept {
  report_error("The kind of mode data %d is illegal.\nThe kind must be 0 to 2.", kind);
  return 0;
}

// Enters values of a node (all six with dof 0, else the one of that dof) into a mode, adding mode and node as needed.
int enter_values(SbrBody &body, int number, int id, int kind_number, int dof, const double *values) noexcept {
  const auto which = kind_of(kind_number);
  if (!which) return report_illegal_kind(kind_number);
  const Kind kind = *which;
  const int mode = lookup_or_add_mode(body, number);
  if (mode < 0 || open_temporary_mode_file(body, kind) == 0) return 0;
  // The modes of a record file are not written to: that write fails, and a failed write has no message.
  if (body.modes[kind].is_temporary == 0) return 0;
  const int index = lookup_or_add_node(body, id);
  if (index < 0) return 0;
  int position = kind == Kind::shape ? index : kind_position(body, kind, id);
  const bool listed = position >= 0;
  if (!listed) position = body.nodes.kinds[kind].count;

  ModeValues entry{kind, mode, id, dof, 6 * static_cast<std::int64_t>(position), 6, values};
  if (dof > 0) {
    entry.first += dof - 1;
    entry.count = 1;
  }
  // A node without room in the record does not enter the kind's list: every record has to hold the whole list.
  if (!mode_record_holds(body, entry)) return report_no_room(kind, id);
  if (!listed && kind_position_or_add(body, kind, id, index) < 0) return 0;
  if (!write_mode_values(body, entry)) return 0;
  set_block(body, kind_block(kind));
  return 1;
}

// What differs between pre-stress and pre-strain.
struct PreKind {
  Kind kind;
  Array<SixVector> PreVectors::*vectors;
  int block;
  const char *no_memory;
};

constexpr PreKind kPreStress{Kind::stress, &PreVectors::stress, kNodalPreStress,
                             "Failed to allocate memory for Pre-Stress at line %d in file %s.\n"};
constexpr PreKind kPreStrain{Kind::strain, &PreVectors::strain, kNodalPreStrain,
                             "Failed to allocate memory for Pre-Strain at line %d in file %s.\n"};

// Stores the six values of a node in a pre-vector; the vector and the modes of its kind share one node list.
int enter_pre_values(SbrBody *body, int id, const double *six, const PreKind &pre) noexcept {
  if (!require_body(body) || six == nullptr) return 0;
  const int index = lookup_or_add_node(*body, id);
  if (index < 0) return 0;
  const int position = kind_position_or_add(*body, pre.kind, id, index);
  if (position < 0) return 0;
  Array<SixVector> &vectors = body->pre.*pre.vectors;
  if (position >= vectors.count()) {
    const std::int64_t missing = static_cast<std::int64_t>(position) - vectors.count();
    if (!vectors.resize(vectors.count() + (missing / kPreVectorStep + 1) * kPreVectorStep)) {
      report_error(pre.no_memory, __LINE__, "sbrset");
      return 0;
    }
  }
  std::copy(six, six + 6, vectors[position].begin());
  set_block(*body, pre.block);
  return 1;
}

// All six values of a node; number 0 of stress and strain means the pre-vector.
int enter_six(SbrBody *body, int number, int id, int kind, const double *six) noexcept {
  if (!require_body(body) || six == nullptr) return 0;
  if (number == 0 && kind == number_of(Kind::stress)) return enter_pre_values(body, id, six, kPreStress);
  if (number == 0 && kind != number_of(Kind::shape)) return enter_pre_values(body, id, six, kPreStrain);
  return enter_values(*body, number, id, kind, 0, six);
}

}  // namespace
}  // namespace sbr

extern "C" {

int SBR_SetMode(SBR body, int number, int id, int kind, double v1, double v2, double v3, double v4, double v5,
                double v6) {
  const double six[6] = {v1, v2, v3, v4, v5, v6};
  return sbr::enter_six(body, number, id, kind, six);
}

int SBR_SetModeVec(SBR body, int number, int id, int kind, const double *six) {
  return sbr::enter_six(body, number, id, kind, six);
}

int SBR_SetModeEntry(SBR body, int number, int id, int kind, int position, double value) {
  if (!sbr::require_body(body)) return 0;
  if (position < 0 || position > 5) {
    sbr::report_error("The value position %d is illegal.\nThe value position must be 0 to 5.", position);
    return 0;
  }
  return sbr::enter_values(*body, number, id, kind, position + 1, &value);
}

int SBR_SetPreStressVec(SBR body, int id, const double *six) {
  return sbr::enter_pre_values(body, id, six, sbr::kPreStress);
}

int SBR_SetPreStrainVec(SBR body, int id, const double *six) {
  return sbr::enter_pre_values(body, id, six, sbr::kPreStrain);
}

}  // extern "C"
