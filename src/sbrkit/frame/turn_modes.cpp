// What a rigid transformation does to one kind of mode data: modes stream through two part buffers into a new file.
#include <algorithm>

#include "base/mat3.h"
#include "base/reports.h"
#include "body/node_table.h"
#include "body/units.h"
#include "frame/rigid_motion.h"
#include "modes/access.h"
#include "modes/rewrite.h"
#include "modes/store.h"

namespace sbr {
namespace {

// The tensor of six components xx, yy, zz in a and xy, xz, yz in b, under R.
void transform_tensor(double *a, double *b, const double *R9) noexcept {
  double T[9] = {a[0], b[0], b[1], b[0], a[1], b[2], b[1], b[2], a[2]};
  turn_tensor(T, R9, 1);
  a[0] = T[0];
  a[1] = T[4];
  a[2] = T[8];
  b[0] = T[3];
  b[1] = T[2];
  b[2] = T[7];
}

class ModeTransformer {
 public:
  ModeTransformer(SbrBody &body, const double *R9, Kind kind) noexcept
      : body_(body), R9_(R9), kind_(kind), sign_(transformation_sign(R9)), nodes_(kind_count(body, kind)) {}

  [[nodiscard]] bool allocate() noexcept {
    const std::int64_t values = 3 * static_cast<std::int64_t>(nodes_);
    return first_.allocate(values) && second_.allocate(values) && record_.allocate(2 * values);
  }

  // One mode from the old store to the new one.
  [[nodiscard]] bool move(ModeRewrite &rewrite, int mode) noexcept {
    if (!mode_part(body_, mode, kind_, 0, first_.data())) return false;
    if (!mode_part(body_, mode, kind_, 1, second_.data())) return false;
    to_record_units();
    for (int i = 0; i < nodes_; ++i) {
      double *a = first_.data() + 3 * static_cast<std::ptrdiff_t>(i);
      double *b = second_.data() + 3 * static_cast<std::ptrdiff_t>(i);
      if (kind_ == Kind::shape) {
        turn_vector(a, R9_, 1);
        turn_vector(b, R9_, sign_);
      } else {
        transform_tensor(a, b, R9_);
      }
      double *out = record_.data() + 6 * static_cast<std::ptrdiff_t>(i);
      std::copy(a, a + 3, out);
      std::copy(b, b + 3, out + 3);
    }
    return rewrite.begin_mode() && rewrite.put(record_.data(), static_cast<std::int64_t>(record_.size()));
  }

 private:
  // The file keeps the units of the record, so that reading can bring it to those of the body.
  void to_record_units() noexcept {
    if (kind_ == Kind::shape) {
      convert_units(first_.data(), 3 * nodes_, 1.0 / shape_scale(body_));
    } else if (kind_ == Kind::stress) {
      convert_units(first_.data(), 3 * nodes_, 1.0 / stress_scale(body_));
      convert_units(second_.data(), 3 * nodes_, 1.0 / stress_scale(body_));
    }
  }

  SbrBody &body_;
  const double *R9_;
  Kind kind_;
  int sign_;
  int nodes_;
  Array<double> first_;
  Array<double> second_;
  Array<double> record_;
};

bool rewrite_modes(SbrBody &body, const double *R9, Kind kind, ModeRewrite &rewrite) noexcept {
  ModeTransformer transformer(body, R9, kind);
  if (!transformer.allocate()) return report_no_memory(unit_name::kMotion) != 0;
  bool good = true;
  for (int m = 0; good && m < mode_count(body); ++m) good = transformer.move(rewrite, m);
  if (good && rewrite.install()) return true;
  report_error(
      "Insufficient disk space for file %s.  Specify different temporary\n"
      "file directory by setting the %s environment variable",
      rewrite.path(), "TMP");
  return false;
}

void transform_pre_vectors(SbrBody &body, const double *R9, Kind kind) noexcept {
  Array<SixVector> &vectors = kind == Kind::stress ? body.pre.stress : body.pre.strain;
  const std::size_t count = std::min(vectors.size(), static_cast<std::size_t>(kind_count(body, kind)));
  for (std::size_t p = 0; p < count; ++p) transform_tensor(vectors[p].data(), vectors[p].data() + 3, R9);
  body.access.current_mode[kind] = -1;
}

}  // namespace

int transform_mode(SbrBody &body, const double *R9, Kind kind) noexcept {
  const int keep = body.store.keep_in_memory;
  keep_modes_in_memory(body, 0);
  ModeRewrite rewrite(body, kind);
  if (!rewrite.name()) return report_no_memory(unit_name::kMotion);
  if (!rewrite.open()) {
    report_error(
        "Unable to open %s for write.  Specify different temporary file directory by\n"
        "setting the %s environment variable",
        rewrite.path(), "TMP");
    return 0;
  }
  report_info(" Shortened %s mode file: %s\n", kKindFacts[kind].short_name, rewrite.path());
  if (mode_count(body) < 1)
    report_warning("No Mode Shape Data found in this SBR file. \n");
  else if (!rewrite_modes(body, R9, kind, rewrite))
    return 0;
  if ((kind == Kind::stress && has_block(body, kNodalPreStress)) ||
      (kind == Kind::strain && has_block(body, kNodalPreStrain)))
    transform_pre_vectors(body, R9, kind);
  keep_modes_in_memory(body, keep);
  return 1;
}

}  // namespace sbr
