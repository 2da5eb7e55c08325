// Modal loads, nodal loads and the modal preload. The unit owns SbrBody::loads.
//
// A vector over the modes may be older than the youngest modes: it is then shorter than the mode count, and stands for
// zeros behind its end.
#ifndef SBRKIT_BODY_LOADS_H
#define SBRKIT_BODY_LOADS_H

#include "body/body.h"

namespace sbr {

[[nodiscard]] inline int load_case_count(const SbrBody &body) noexcept { return body.loads.modal.count(); }
// Makes every modal vector as long as the mode count. False when memory is short, with the vectors as they were.
[[nodiscard]] bool extend_modal_vectors(SbrBody &body) noexcept;
// The value of a vector at a mode index.
[[nodiscard]] inline double modal_value(const Array<double> &values, int mode) noexcept {
  return mode >= 0 && mode < values.count() ? values[mode] : 0.0;
}
// Copies a vector over the present modes. False without modes or memory.
[[nodiscard]] bool copy_modal_vector(const SbrBody &body, const Array<double> &values, Array<double> &copy) noexcept;
// Whether the modal preload counts as transformed to principal axes.
[[nodiscard]] int preload_processed(const SbrBody &body) noexcept;

}  // namespace sbr

#endif
