#include "calculix/beam_motion.h"

namespace sbrtranslate {

bool is_beam_expansion(int file_type, std::size_t beam_nodes) { return file_type == (beam_nodes == 3 ? 4 : 1); }

// Corners of the solid, then the middles of its edges below, upright and above.
std::span<const int> section_nodes(std::size_t beam_nodes, std::size_t end) {
  static constexpr int kLinear[2][4] = {{0, 3, 4, 7}, {1, 2, 5, 6}};
  static constexpr int kFirst[8] = {0, 3, 4, 7, 11, 12, 15, 19};
  static constexpr int kMiddle[4] = {8, 10, 16, 18};
  static constexpr int kLast[8] = {1, 2, 5, 6, 9, 13, 14, 17};
  if (beam_nodes == 2) return kLinear[end];
  if (end == 1) return kMiddle;
  return end == 0 ? std::span<const int>(kFirst) : std::span<const int>(kLast);
}

// The middle of the section is the beam's node.
void BeamMotion::prepare_one(Fit fit, const Place &file, double tolerance) {
  Vec3 middle{};
  for (const Vec3 &place : fit.reference.member_places)
    middle = middle + (1.0 / static_cast<double>(fit.positions.size())) * place;
  if (length(middle - fit.reference.place) > tolerance)
    throw InputError(file, "the mesh is not that of the deck: the section of a beam lies elsewhere");
  fit.reference.card = file;
  fit.factors = mean_motion(fit.reference);
  fits_.push_back(std::move(fit));
}

void BeamMotion::apply(const std::vector<double> &raw, std::vector<double> &values) const {
  for (const Fit &fit : fits_) {
    const ReferenceMotion motion = fit_reference(fit.reference, fit.factors, [&](std::size_t i) {
      const double *u = &raw[6 * static_cast<std::size_t>(fit.positions[i])];
      return Vec3{u[0], u[1], u[2]};
    });
    std::copy(motion.values.begin(), motion.values.end(), &values[6 * fit.body]);
  }
}

}  // namespace sbrtranslate
