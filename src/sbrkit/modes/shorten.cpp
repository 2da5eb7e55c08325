// Shortening: the mode data and the nodal loads of the nodes that stay.
#include "modes/shorten.h"

#include <algorithm>

#include "base/reports.h"
#include "body/node_table.h"
#include "body/registry.h"
#include "modes/access.h"
#include "modes/store.h"

namespace sbr {
namespace {

// Modes go past the memory cache while this lives.
class WithoutModeCache {
 public:
  explicit WithoutModeCache(SbrBody &body) noexcept : body_(body), kept_(body.store.keep_in_memory) {
    keep_modes_in_memory(body_, 0);
  }
  ~WithoutModeCache() { keep_modes_in_memory(body_, kept_); }
  WithoutModeCache(const WithoutModeCache &) = delete;
  WithoutModeCache &operator=(const WithoutModeCache &) = delete;

 private:
  SbrBody &body_;
  int kept_;
};

bool has_pre_vectors(const SbrBody &body, Kind kind) noexcept {
  return (kind == Kind::stress && has_block(body, kNodalPreStress)) ||
         (kind == Kind::strain && has_block(body, kNodalPreStrain));
}

// Where a node index stands first in the keep list; -1 when it is not kept.
int place_of(std::span<const std::int32_t> keep, bool ascending, std::int32_t node) noexcept {
  const auto found =
      ascending ? std::lower_bound(keep.begin(), keep.end(), node) : std::find(keep.begin(), keep.end(), node);
  return found != keep.end() && *found == node ? static_cast<int>(found - keep.begin()) : -1;
}

// Keeps the loads on kept nodes, in their order, under the new node indices.
void compact_case(NodalLoadCase &load_case, std::span<const std::int32_t> keep, bool ascending) noexcept {
  const std::size_t count = std::min({load_case.nodes.size(), load_case.coordinates.size(), load_case.loads.size()});
  std::size_t kept = 0;
  for (std::size_t i = 0; i < count; ++i) {
    const int place = place_of(keep, ascending, load_case.nodes[i]);
    if (place < 0) continue;
    load_case.nodes[kept] = place;
    load_case.coordinates[kept] = load_case.coordinates[i];
    load_case.loads[kept] = load_case.loads[i];
    kept += 1;
  }
  if (kept == 0) {
    load_case.nodes.release();
    load_case.coordinates.release();
    load_case.loads.release();
    return;
  }
  (void)load_case.nodes.resize(static_cast<std::int64_t>(kept));
  (void)load_case.coordinates.resize(static_cast<std::int64_t>(kept));
  (void)load_case.loads.resize(static_cast<std::int64_t>(kept));
}

}  // namespace

bool ModeShortening::prepare(std::span<const std::int32_t> keep) noexcept {
  const WithoutModeCache past_the_cache(body_);
  if (!rewrite_.name()) return report_no_memory(unit_name::kTools) != 0;
  if (!rewrite_.open()) {
    report_error(
        "Unable to open %s for write.  Specify different temporary file directory by\n"
        "setting the %s environment variable",
        rewrite_.path(), "TMP");
    return false;
  }
  report_info(" Shortened %s mode file: %s\n", kKindFacts[kind_].short_name, rewrite_.path());
  const std::int64_t nodes = kind_count(body_, kind_);
  const auto kept = static_cast<std::int64_t>(keep.size());
  if (!map_.allocate(kept) || !row_.allocate(6 * kept) ||
      (nodes > 0 && (!parts_[0].allocate(3 * nodes) || !parts_[1].allocate(3 * nodes))))
    return report_no_memory(unit_name::kTools) != 0;
  if (mode_count(body_) < 1) {
    report_warning("No Mode Shape Data found in this SBR file. \n");
    return false;
  }
  for (std::size_t k = 0; k < keep.size(); ++k) {
    const int position = kind_position(body_, kind_, node_id(body_, keep[k]));
    map_[k] = position < nodes ? position : -1;
  }
  if (write_modes()) return true;
  report_error(
      "Insufficient disk space for file %s.  Specify different temporary\n"
      "file directory by setting the %s environment variable",
      rewrite_.path(), "TMP");
  return false;
}

bool ModeShortening::write_modes() noexcept {
  const int modes = mode_count(body_);
  for (int m = 0; m < modes; ++m)
    if (!write_mode(m)) return false;
  return rewrite_.complete();
}

// The file keeps the units of the record, so that reading can bring it to those of the body.
bool ModeShortening::write_mode(int mode) noexcept {
  for (int part = 0; part < 2; ++part)
    if (!parts_[part] || !mode_part(body_, mode, kind_, part, parts_[part].data())) return false;
  const double first_factor = kind_ == Kind::shape    ? 1.0 / shape_scale(body_)
                              : kind_ == Kind::stress ? 1.0 / stress_scale(body_)
                                                      : 1.0;
  const double second_factor = kind_ == Kind::stress ? first_factor : 1.0;
  std::int64_t values = 0;
  double *out = row_.data();
  for (const std::int32_t position : map_) {
    if (position < 0) continue;
    const double *first = parts_[0].data() + 3 * static_cast<std::ptrdiff_t>(position);
    const double *second = parts_[1].data() + 3 * static_cast<std::ptrdiff_t>(position);
    for (int c = 0; c < 3; ++c) out[values + c] = first[c] * first_factor;
    for (int c = 0; c < 3; ++c) out[values + 3 + c] = second[c] * second_factor;
    values += 6;
  }
  return rewrite_.begin_mode() && rewrite_.put(out, values);
}

void ModeShortening::install() noexcept {
  if (!rewrite_.install()) return;
  if (has_pre_vectors(body_, kind_)) move_pre_vectors();
}

// Rows move to the place of their node in the keep list, one after the other; a row without a source stays. That lines
// up with the kind positions when all kept nodes belong to the kind.
void ModeShortening::move_pre_vectors() noexcept {
  Array<SixVector> &rows = kind_ == Kind::stress ? body_.pre.stress : body_.pre.strain;
  for (std::size_t k = 0; k < map_.size() && k < rows.size(); ++k)
    if (map_[k] >= 0 && static_cast<std::size_t>(map_[k]) < rows.size()) rows[k] = rows[map_[k]];
}

void compact_nodal_loads(SbrBody &body, std::span<const std::int32_t> keep) noexcept {
  const bool ascending = std::is_sorted(keep.begin(), keep.end());
  for (std::size_t i = 0; i < body.loads.nodal.size(); ++i)
    if (body.loads.nodal[i] != nullptr) compact_case(*body.loads.nodal[i], keep, ascending);
}

}  // namespace sbr

extern "C" {

int SBR_ShortenModeFile(SBR body, const int *keep, int keep_count, int kind) {
  if (!sbr::require_body(body)) return 0;
  if (keep == nullptr) return 1;
  const auto which = sbr::kind_of(kind);
  if (!which) return 0;
  sbr::ModeShortening shortening(*body, *which);
  if (!shortening.prepare({keep, static_cast<std::size_t>(keep_count > 0 ? keep_count : 0)})) return 0;
  shortening.install();
  return 1;
}

int SBR_CompactModalLoadNodal(SBR body, const int *keep, int keep_count) {
  if (!sbr::require_body(body)) return 0;
  if (keep == nullptr) return 1;
  sbr::compact_nodal_loads(*body, {keep, static_cast<std::size_t>(keep_count > 0 ? keep_count : 0)});
  return 1;
}

}  // extern "C"
