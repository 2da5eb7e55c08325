// Modes and monitor points through a matrix: what a change of the modal basis does to the data that stands in it.
#ifndef SBRKIT_MODES_TRANSFORM_H
#define SBRKIT_MODES_TRANSFORM_H

#include "modes/rewrite.h"

namespace sbr {

// Rewrites one kind of mode data: new mode j is the sum of the old modes with the weights of column j of a matrix of
// modes x modes. With modes that are orthogonal only the diagonal counts. False after a report, with the old modes in
// use.
[[nodiscard]] bool transform_modes(SbrBody &body, Kind kind, int new_count, const double *matrix) noexcept;
// The same in two steps, for who has more to carry over: first the new modes beside the old ones, then the exchange,
// which cannot fail.
class ModeTransformation {
 public:
  ModeTransformation(SbrBody &body, Kind kind) noexcept
      : body_(body), kind_(kind), rewrite_(body, kind, RewritePurpose::basis) {}

  // False after a report.
  [[nodiscard]] bool prepare(int new_count, const double *matrix) noexcept;
  // Only what was prepared is exchanged.
  void install() noexcept;

 private:
  SbrBody &body_;
  Kind kind_;
  ModeRewrite rewrite_;
  bool prepared_ = false;
};

// Multiplies every row of the monitor points' operators by the matrix. False after a report.
bool transform_monitor_points(SbrBody &body, const double *matrix) noexcept;

}  // namespace sbr

#endif
