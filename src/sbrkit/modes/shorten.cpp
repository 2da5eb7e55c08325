// Shortening: the mode data and the nodal loads of the nodes that stay.
#include "modes/shorten.h"

#include <algorithm>

#include "base/reports.h"
#include "body/registry.h"
#include "modes/access.h"
#include "modes/store.h"

namespace sbr {
namespace {

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

bool ModeShortening::make_map(std::span<const std::int32_t> keep) noexcept {
  if (!map_.allocate(static_cast<std::int64_t>(keep.size()))) return false;
  const int nodes = kind_count(body_, kind_);
  for (std::size_t k = 0; k < keep.size(); ++k) {
    const int position = kind_position(body_, kind_, node_id(body_, keep[k]));
    map_[k] = position < nodes ? position : -1;
  }
  return true;
}

bool ModeShortening::prepare(std::span<const std::int32_t> keep) noexcept {
  if (!rewrite_.begin()) return false;
  if (!make_map(keep)) return rewrite_.complete(Rewriting::no_memory);
  if (mode_count(body_) < 1) {
    report_warning("No Mode Shape Data found in this SBR file. \n");
    rewrite_.abandon();
    return false;
  }
  has_file_ = rewrite_.complete(write_modes());
  return has_file_;
}

bool ModeShortening::prepare_without_modes(std::span<const std::int32_t> keep) noexcept {
  if (!make_map(keep)) return report_no_memory(unit_name::kTools);
  const Array<SixVector> &rows = pre_vectors(body_, kind_);
  if (!rows) return true;
  if (!pre_rows_.allocate(rows.count())) return report_no_memory(unit_name::kTools);
  int place = 0;
  for (const std::int32_t position : map_) {
    if (position < 0) continue;
    if (position < rows.count() && place < rows.count()) pre_rows_[place] = rows[position];
    place += 1;
  }
  return true;
}

Rewriting ModeShortening::write_modes() noexcept {
  const auto kept = std::count_if(map_.begin(), map_.end(), [](std::int32_t position) { return position >= 0; });
  return rewrite_.change_modes(6 * static_cast<std::int64_t>(kept),
                               [&](int mode, double *record) noexcept { return keep_rows(mode, record); });
}

// The file keeps the units of the record, so that reading can bring it to those of the body.
Rewriting ModeShortening::keep_rows(int mode, double *out) noexcept {
  const double *record = whole_mode(body_, mode, kind_);
  if (record == nullptr) return Rewriting::unreadable;
  const bool is_stress = kind_ == Kind::stress;
  const double first_factor = kind_ == Kind::shape ? 1.0 / shape_scale(body_)
                              : is_stress          ? 1.0 / stress_scale(body_)
                                                   : 1.0;
  const double second_factor = is_stress ? first_factor : 1.0;
  for (const std::int32_t position : map_) {
    if (position < 0) continue;
    const double *six = record + 6 * static_cast<std::ptrdiff_t>(position);
    for (int c = 0; c < 3; ++c) out[c] = six[c] * first_factor;
    for (int c = 3; c < 6; ++c) out[c] = six[c] * second_factor;
    out += 6;
  }
  return Rewriting::done;
}

void ModeShortening::install() noexcept {
  if (has_file_) {
    rewrite_.install();
    if (const auto pre = kKindFacts[kind_].pre_block; pre && has_block(body_, *pre)) move_pre_vectors();
  } else if (pre_rows_) {
    pre_vectors(body_, kind_).swap(pre_rows_);
    body_.access.current_mode[kind_] = kNoMode;
  }
}

// Rows move to the place of their node in the keep list, one after the other; a row without a source stays. That lines
// up with the kind positions when all kept nodes belong to the kind.
void ModeShortening::move_pre_vectors() noexcept {
  Array<SixVector> &rows = pre_vectors(body_, kind_);
  for (std::size_t k = 0; k < map_.size() && k < rows.size(); ++k)
    if (map_[k] >= 0 && map_[k] < rows.count()) rows[k] = rows[map_[k]];
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
  const auto valid = sbr::kind_of(kind);
  if (!valid) return 0;
  sbr::ModeShortening shortening(*body, *valid);
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
