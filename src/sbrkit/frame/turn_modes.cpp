#include "frame/turn_modes.h"

#include <algorithm>

#include "base/mat3.h"
#include "base/reports.h"
#include "body/node_table.h"
#include "body/units.h"
#include "modes/access.h"
#include "modes/rewrite.h"
#include "modes/store.h"

namespace sbr {
namespace {

// The tensor of six components xx, yy, zz, xy, xz, yz, under R.
void turn_six(double *six, const double *R9) noexcept {
  double T[9] = {six[0], six[3], six[4], six[3], six[1], six[5], six[4], six[5], six[2]};
  turn_tensor(T, R9, 1);
  six[0] = T[0];
  six[1] = T[4];
  six[2] = T[8];
  six[3] = T[3];
  six[4] = T[2];
  six[5] = T[7];
}

// One mode under R, in the units of the record, so that reading can bring it to those of the body.
class ModeTurn {
 public:
  ModeTurn(SbrBody &body, Kind kind, const double *R9) noexcept
      : body_(body),
        R9_(R9),
        kind_(kind),
        sign_(transformation_sign(R9)),
        nodes_(kind_count(body, kind)),
        to_record_(1.0 / (kind == Kind::shape ? shape_scale(body) : stress_scale(body))) {}

  [[nodiscard]] std::int64_t values() const noexcept { return 6 * static_cast<std::int64_t>(nodes_); }

  [[nodiscard]] Rewriting turn(int mode, double *out) noexcept {
    const double *six = whole_mode(body_, mode, kind_);
    if (six == nullptr) return Rewriting::unreadable;
    for (int i = 0; i < nodes_; ++i, six += 6, out += 6) {
      std::copy(six, six + 6, out);
      if (kind_ == Kind::shape) {
        to_record_.apply({out, 3});
        turn_vector(out, R9_, 1);
        turn_vector(out + 3, R9_, sign_);
      } else {
        if (kind_ == Kind::stress) to_record_.apply({out, 6});
        turn_six(out, R9_);
      }
    }
    return Rewriting::done;
  }

 private:
  SbrBody &body_;
  const double *R9_;
  Kind kind_;
  int sign_;
  int nodes_;
  DecimalFactor to_record_;
};

// Replaces the store. False after a report.
bool rewrite_modes(SbrBody &body, Kind kind, const double *R9) noexcept {
  ModeRewrite rewrite(body, kind, RewritePurpose::motion);
  if (!rewrite.begin()) return false;
  if (mode_count(body) < 1) {
    report_warning("No Mode Shape Data found in this SBR file. \n");
    rewrite.abandon();
    return true;
  }
  ModeTurn mode_turn(body, kind, R9);
  const auto turn = [&](int mode, double *out) noexcept { return mode_turn.turn(mode, out); };
  if (!rewrite.complete(rewrite.change_modes(mode_turn.values(), turn))) return false;
  rewrite.install();
  return true;
}

void turn_pre_vectors(SbrBody &body, Kind kind, const double *R9) noexcept {
  Array<SixVector> &vectors = pre_vectors(body, kind);
  const std::size_t count = std::min(vectors.size(), static_cast<std::size_t>(kind_count(body, kind)));
  for (std::size_t p = 0; p < count; ++p) turn_six(vectors[p].data(), R9);
  body.access.current_mode[kind] = kNoMode;
}

}  // namespace

bool turn_modes(SbrBody &body, Kind kind, const double *R9) noexcept {
  if (!rewrite_modes(body, kind, R9)) return false;
  if (const auto pre = kKindFacts[kind].pre_block; pre && has_block(body, *pre)) turn_pre_vectors(body, kind, R9);
  return true;
}

}  // namespace sbr
