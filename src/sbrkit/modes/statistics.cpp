// Modal statistics: per mode the largest translation, rotation, von Mises stress and von Mises strain, each with its
// node. A figure that is not known is computed at the first request and kept.
#include "modes/statistics.h"

#include <cmath>

#include "base/reports.h"
#include "body/registry.h"
#include "body/units.h"
#include "modes/access.h"
#include "modes/store.h"
#include "record/field_reader.h"

namespace sbr {
namespace {

// ---- the table -----------------------------------------------------------------------------------------------------

// Reads the table from the statistics block, at which the record channel stands, and brings it to the body's units.
bool read_table(SbrBody &body) noexcept {
  FieldReader reader(body.record);
  CountHead head;
  if (!transfer(reader, head)) return false;
  if (head.count != mode_count(body)) {
    report_error("Inconsistent number of modes detected at line %d in file %s", __LINE__, unit_name::kData);
    return false;
  }
  for (ModalStatistics &mode : body.statistics) {
    if (!transfer(reader, mode)) return false;
    convert_units(&mode.values[0], 1, shape_scale(body));
    convert_units(&mode.values[2], 1, stress_scale(body));
  }
  return true;
}

// The table, made at the first request and read from the file where it has one. It has a place for each mode that there
// is, whatever count a host gave. False after a failure.
bool ensure_table(SbrBody &body) noexcept {
  if (body.statistics) return true;
  if (known_mode_count(body) < 1) return false;
  if (!body.statistics.allocate(known_mode_count(body))) return report_no_memory(unit_name::kData);
  return !go_to_block(body, kModalStatistics) || read_table(body);
}

// The record of a mode; the table grows when modes have been added since it was made. Null when memory is short.
ModalStatistics *statistics_of(SbrBody &body, int index) noexcept {
  if (index >= body.statistics.count() && !body.statistics.resize(known_mode_count(body))) {
    report_no_memory(unit_name::kData);
    return nullptr;
  }
  return &body.statistics[index];
}

// ---- the four figures ----------------------------------------------------------------------------------------------

// A figure: its slot in the table, the mode data that it is made of, and its square at a node.
struct Figure {
  int slot;
  Kind kind;
  int first_part;
  int parts;
  double (*magnitude)(NodeValues);
  double (*von_mises)(NodeValues normal, NodeValues shear);
};

constexpr Figure kTranslation{
    .slot = 0, .kind = Kind::shape, .first_part = 0, .parts = 1, .magnitude = squared_length, .von_mises = nullptr};
constexpr Figure kRotation{
    .slot = 1, .kind = Kind::shape, .first_part = 1, .parts = 1, .magnitude = squared_length, .von_mises = nullptr};
constexpr Figure kStress{
    .slot = 2, .kind = Kind::stress, .first_part = 0, .parts = 2, .magnitude = nullptr, .von_mises = squared_stress};
constexpr Figure kStrain{
    .slot = 3, .kind = Kind::strain, .first_part = 0, .parts = 2, .magnitude = nullptr, .von_mises = squared_strain};

// Computes a figure of a mode and stores it. Of equal maxima the first in kind-position order counts; a mode of zeros
// has node 0. The result is that of the last fetch of mode data.
int compute(SbrBody &body, int record, const Figure &figure, ModalStatistics &mode) noexcept {
  const int count = kind_count(body, figure.kind);
  Array<double> data[2];
  for (int p = 0; p < figure.parts; ++p)
    if (!data[p].allocate(std::int64_t{3} * count)) return report_no_memory(unit_name::kData);
  if (!ready_for_modes(body, figure.kind)) return report_no_memory(unit_name::kData);
  int status = 0;
  for (int p = 0; p < figure.parts; ++p)
    status = mode_part(body, record, figure.kind, figure.first_part + p, data[p].data()) ? 1 : 0;

  double best = 0.0;
  int best_position = -1;
  for (int position = 0; position < count; ++position) {
    const auto at = static_cast<std::size_t>(position) * 3;
    const double square = figure.parts == 1 ? figure.magnitude(data[0].data() + at)
                                            : figure.von_mises(data[0].data() + at, data[1].data() + at);
    if (square > best) {
      best = square;
      best_position = position;
    }
  }
  mode.node_ids[figure.slot] = best_position < 0 ? 0 : kind_node_id(body, figure.kind, best_position);
  mode.values[figure.slot] = std::sqrt(best);
  return status;
}

const Figure &figure_of(Maximum maximum) noexcept {
  constexpr const Figure *kFigures[] = {&kTranslation, &kRotation, &kStress, &kStrain};
  return *kFigures[static_cast<std::size_t>(maximum)];
}

int request(SBR body, int number, int *id, double *value, Maximum maximum) noexcept {
  return require_body(body) && largest_value(*body, number, maximum, id, value) ? 1 : 0;
}

}  // namespace

bool largest_value(SbrBody &body, int number, Maximum maximum, int *id, double *value) noexcept {
  if (mode_count(body) < 1 || !ensure_table(body)) return false;
  const int index = mode_index(body, number);
  if (index < 0) return false;
  ModalStatistics *mode = statistics_of(body, index);
  if (mode == nullptr) return false;
  const Figure &figure = figure_of(maximum);
  const bool good =
      mode->node_ids[figure.slot] != 0 || compute(body, record_of_number(body, number, figure.kind), figure, *mode);
  if (id != nullptr) *id = mode->node_ids[figure.slot];
  if (value != nullptr) *value = mode->values[figure.slot];
  return good;
}

}  // namespace sbr

extern "C" {

int SBR_ModalStatisticsExist(SBR body) { return body != nullptr && body->statistics ? 1 : 0; }

int SBR_GetMaxModeDisplacement(SBR body, int number, int *id, double *value) {
  return sbr::request(body, number, id, value, sbr::Maximum::translation);
}

int SBR_GetMaxModeRotation(SBR body, int number, int *id, double *value) {
  return sbr::request(body, number, id, value, sbr::Maximum::rotation);
}

int SBR_GetMaxVonMisesStress(SBR body, int number, int *id, double *value) {
  return sbr::request(body, number, id, value, sbr::Maximum::stress);
}

int SBR_GetMaxVonMisesStrain(SBR body, int number, int *id, double *value) {
  return sbr::request(body, number, id, value, sbr::Maximum::strain);
}

}  // extern "C"
