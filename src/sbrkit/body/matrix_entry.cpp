// Construction of a body: entries of the generalized matrices.
#include "body/matrix_entry.h"

#include <cmath>

#include "base/reports.h"
#include "body/node_table.h"
#include "body/registry.h"

namespace sbr {
namespace {

constexpr double kUnitMassTolerance = 1e-8;

// The modes of a row and a column, added when new. A mode that could not be added counts as index -1.
SparseEntry entry_of_modes(SbrBody &body, int row, int column, double value) noexcept {
  SparseEntry entry;
  entry.row = lookup_or_add_mode(body, row);
  entry.column = lookup_or_add_mode(body, column);
  entry.value = value;
  return entry;
}

bool append_entry(SbrBody &body, Array<SparseEntry> &list, const SparseEntry &entry, Block block) noexcept {
  if (!list.push_back(entry)) return report_no_memory(unit_name::kConstruction);
  set_block(body, block);
  return true;
}

bool append_mass(SbrBody &body, const SparseEntry &entry) noexcept {
  if (entry.row != entry.column)
    body.matrices.modes_not_orthogonal = 1;
  else if (std::fabs(1.0 - entry.value) > kUnitMassTolerance)
    body.matrices.modes_not_normalized = 1;
  return append_entry(body, body.matrices.mass, entry, kGeneralizedMass);
}

}  // namespace

bool enter_generalized_mass(SbrBody &body, int row, int column, double value) noexcept {
  return append_mass(body, {row, column, value});
}

}  // namespace sbr

using sbr::require_body;

extern "C" {

int SBR_SetGeneralizedStiffness(SBR body, int row, int column, double value) {
  if (!require_body(body)) return 0;
  const sbr::SparseEntry entry = sbr::entry_of_modes(*body, row, column, value);
  if (entry.row != entry.column) body->matrices.modes_not_orthogonal = 1;
  return sbr::append_entry(*body, body->matrices.stiffness, entry, sbr::kGeneralizedStiffness) ? 1 : 0;
}

int SBR_SetGeneralizedMass(SBR body, int row, int column, double value) {
  if (!require_body(body)) return 0;
  return sbr::append_mass(*body, sbr::entry_of_modes(*body, row, column, value)) ? 1 : 0;
}

int SBR_SetGeneralizedDamping(SBR body, int row, int column, double value) {
  if (!require_body(body)) return 0;
  if (!body->matrices.damping) body->matrices.damping_on_principal_axes = 0;
  const sbr::SparseEntry entry = sbr::entry_of_modes(*body, row, column, value);
  return sbr::append_entry(*body, body->matrices.damping, entry, sbr::kGeneralizedDamping) ? 1 : 0;
}

}  // extern "C"
