// Body construction: entries of the generalized matrices.
#include <cmath>

#include "base/reports.h"
#include "body/body.h"

namespace sbr {
namespace {

constexpr double kUnitMassTolerance = 1e-8;

// The modes of a row and a column, added when new. A mode that could not be added counts as index -1.
SparseEntry entry_of_modes(SBR body, int row, int column, double value) noexcept {
  SparseEntry entry;
  entry.row = SBR_LookupOrAddMode(body, row);
  entry.column = SBR_LookupOrAddMode(body, column);
  entry.value = value;
  return entry;
}

int append_entry(SbrBody &body, Array<SparseEntry> &list, const SparseEntry &entry, Block block) noexcept {
  if (!list.push_back(entry)) return report_no_memory("sbrset");
  set_block(body, block);
  return 1;
}

}  // namespace
}  // namespace sbr

extern "C" {

int SBR_SetGeneralizedStiffness(SBR body, int row, int column, double value) {
  if (CheckSBR(body) == 0) return 0;
  const sbr::SparseEntry entry = sbr::entry_of_modes(body, row, column, value);
  if (entry.row != entry.column) body->matrices.modes_not_orthogonal = 1;
  return sbr::append_entry(*body, body->matrices.stiffness, entry, sbr::kGeneralizedStiffness);
}

int SBR_SetGeneralizedMass(SBR body, int row, int column, double value) {
  if (CheckSBR(body) == 0) return 0;
  const sbr::SparseEntry entry = sbr::entry_of_modes(body, row, column, value);
  if (entry.row != entry.column)
    body->matrices.modes_not_orthogonal = 1;
  else if (std::fabs(1.0 - value) > sbr::kUnitMassTolerance)
    body->matrices.modes_not_normalized = 1;
  return sbr::append_entry(*body, body->matrices.mass, entry, sbr::kGeneralizedMass);
}

int SBR_SetGeneralizedDamping(SBR body, int row, int column, double value) {
  if (CheckSBR(body) == 0) return 0;
  if (!body->matrices.damping) body->matrices.damping_on_principal_axes = 0;
  const sbr::SparseEntry entry = sbr::entry_of_modes(body, row, column, value);
  return sbr::append_entry(*body, body->matrices.damping, entry, sbr::kGeneralizedDamping);
}

}  // extern "C"
