// Inertia invariants: the sources of each cell, the accessors, and the drivers that make a whole set.
#include "mass/invariants.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <initializer_list>

#include "base/reports.h"
#include "body/matrices.h"
#include "body/node_table.h"
#include "body/registry.h"
#include "mass/node_sums.h"
#include "mass/pairs.h"
#include "mass/stored.h"

namespace sbr {
namespace {

// Above this mode count a cell of pairs has no size that fits a signed 64-bit number of bytes.
constexpr int kMostModes = 300'000'000;

bool nodal_data_present(const SbrBody &body) noexcept { return has_block(body, kNodalMasses); }

// A 3 x 3 matrix with its off-diagonals negated: from products of inertia to entries of the tensor, and back.
void negate_products(const double *from, double *to) noexcept {
  for (int p = 0; p < 9; ++p) to[p] = p % 4 == 0 ? from[p] : -from[p];
}

// A fresh block of count values for the caller: the first values of a cell, and zeros behind its end.
double *copy_out(std::span<const double> cell, std::int64_t count) noexcept {
  auto *copy = static_cast<double *>(allocate_zeroed(static_cast<std::size_t>(count), sizeof(double)));
  if (copy == nullptr) {
    report_no_memory(unit_name::kInvariants);
    return nullptr;
  }
  const std::size_t held = std::min(cell.size(), static_cast<std::size_t>(count));
  if (held > 0) std::memcpy(copy, cell.data(), held * sizeof(double));
  return copy;
}

bool is_mode(const SbrBody &body, int index) noexcept { return index >= 0 && index < mode_count(body); }

bool install(Array<double> &cell, Array<double> &fresh) noexcept {
  cell = std::move(fresh);
  return true;
}

}  // namespace

int modes_of_cell(const Array<double> &cell, int factor) noexcept {
  return static_cast<int>(cell.size() / static_cast<std::size_t>(factor));
}

int modes_of_pair_cell(const Array<double> &cell, int factor) noexcept {
  const std::size_t pairs = cell.size() / static_cast<std::size_t>(factor);
  return static_cast<int>(std::lround(std::sqrt(static_cast<double>(pairs))));
}

std::int64_t pair_cell_size(int factor, int modes) noexcept {
  if (modes < 1 || modes > kMostModes) return 0;
  return std::int64_t{factor} * modes * modes;
}

std::span<double> invar5_row(SbrBody &body, int j) noexcept {
  Array<double> &cell = body.invariants.invar5;
  const int modes = modes_of_pair_cell(cell, 3);
  if (j < 0 || j >= modes) return {};
  const std::size_t row = 3 * static_cast<std::size_t>(modes);
  return cell.span().subspan(row * static_cast<std::size_t>(j), row);
}

std::span<double> invar8_row(SbrBody &body, int j) noexcept {
  Array<double> &cell = body.invariants.invar8;
  if (j < 0 || j >= modes_of_cell(cell, 9)) return {};
  return cell.span().subspan(9 * static_cast<std::size_t>(j), 9);
}

std::span<double> invar9_cell(SbrBody &body, int j, int k) noexcept {
  Array<double> &cell = body.invariants.invar9;
  const int modes = modes_of_pair_cell(cell, 9);
  if (j < 0 || j >= modes || k < 0 || k >= modes) return {};
  const std::size_t pair = static_cast<std::size_t>(j) * static_cast<std::size_t>(modes) + static_cast<std::size_t>(k);
  return cell.span().subspan(9 * pair, 9);
}

// ---- sources -------------------------------------------------------------------------------------------------------

bool fill_invar1(SbrBody &body) noexcept {
  if (body.invariants.invar1) return true;
  Array<double> cell;
  if (!cell.allocate(1)) return report_no_memory(unit_name::kInvariants);
  if (!read_invariant_block(body, kInvariant1, 1, cell)) {
    if (nodal_data_present(body))
      sum_invar1(body, cell);
    else if (body.global.mass != 0.0)
      cell[0] = body.global.mass;
  }
  return install(body.invariants.invar1, cell);
}

bool fill_invar2(SbrBody &body) noexcept {
  if (body.invariants.invar2) return true;
  Array<double> cell;
  if (!cell.allocate(3)) return report_no_memory(unit_name::kInvariants);
  if (!read_invariant_block(body, kInvariant2, 3, cell)) {
    if (nodal_data_present(body))
      sum_invar2(body, cell);
    else if (body.global.mass != 0.0)
      for (std::size_t c = 0; c < 3; ++c) cell[c] = body.global.mass * body.global.center[c];
  }
  return install(body.invariants.invar2, cell);
}

bool fill_invar3(SbrBody &body) noexcept {
  if (body.invariants.invar3) return true;
  const std::int64_t size = 3 * std::int64_t{mode_count(body)};
  if (size < 1) return false;
  Array<double> cell;
  if (!cell.allocate(size)) return report_no_memory(unit_name::kInvariants);
  if (!read_invariant_block(body, kInvariant3, size, cell) && nodal_data_present(body) && !sum_invar3(body, cell))
    return report_no_memory(unit_name::kInvariants);
  return install(body.invariants.invar3, cell);
}

bool fill_invar4(SbrBody &body) noexcept {
  if (body.invariants.invar4) return true;
  const std::int64_t size = 3 * std::int64_t{mode_count(body)};
  if (size < 1) return false;
  Array<double> cell;
  if (!cell.allocate(size)) return report_no_memory(unit_name::kInvariants);
  if (!read_invariant_block(body, kInvariant4, size, cell) && nodal_data_present(body) && !sum_invar4(body, cell))
    return report_no_memory(unit_name::kInvariants);
  return install(body.invariants.invar4, cell);
}

bool fill_invar5(SbrBody &body) noexcept {
  if (body.invariants.invar5) return true;
  const int modes = mode_count(body);
  if (modes < 1) return false;
  if (!go_to_block(body, kInvariant5)) return compute_modal_pair_invariants(body);
  Array<double> cell;
  if (!cell.allocate(pair_cell_size(3, modes))) return report_no_memory(unit_name::kInvariants);
  if (!read_invariant_block(body, kInvariant5, 3 * std::int64_t{modes}, cell)) return false;
  return install(body.invariants.invar5, cell);
}

bool fill_invar7(SbrBody &body) noexcept {
  if (body.invariants.invar7) return true;
  Array<double> cell;
  if (!cell.allocate(9)) return report_no_memory(unit_name::kInvariants);
  if (!read_invariant_block(body, kInvariant7, 9, cell)) {
    if (nodal_data_present(body))
      sum_invar7(body, cell);
    else if (body.global.mass != 0.0)
      negate_products(body.global.inertia, cell.data());
  }
  return install(body.invariants.invar7, cell);
}

bool fill_invar8(SbrBody &body) noexcept {
  if (body.invariants.invar8) return true;
  const std::int64_t size = 9 * std::int64_t{mode_count(body)};
  if (size < 1) return false;
  Array<double> cell;
  if (!cell.allocate(size)) return report_no_memory(unit_name::kInvariants);
  // The nodes serve even without nodal masses: every term is zero then.
  if (!read_invariant_block(body, kInvariant8, 9, cell) && !sum_invar8(body, cell))
    return report_no_memory(unit_name::kInvariants);
  return install(body.invariants.invar8, cell);
}

bool fill_invar9(SbrBody &body) noexcept {
  if (body.invariants.invar9) return true;
  const int modes = mode_count(body);
  if (modes < 1) return false;
  if (!go_to_block(body, kInvariant9)) return compute_modal_pair_invariants(body);
  Array<double> cell;
  if (!cell.allocate(pair_cell_size(9, modes))) return report_no_memory(unit_name::kInvariants);
  if (!read_invariant_block(body, kInvariant9, 9, cell)) return false;
  return install(body.invariants.invar9, cell);
}

// ---- what is handed out --------------------------------------------------------------------------------------------

double invariant1(SbrBody &body) noexcept { return fill_invar1(body) ? body.invariants.invar1[0] : 0.0; }

std::span<const double> invariant2(SbrBody &body) noexcept {
  if (!fill_invar2(body)) return {};
  return body.invariants.invar2.span();
}

std::span<const double> invariant3(SbrBody &body) noexcept {
  if (mode_count(body) < 1 || !fill_invar3(body)) return {};
  return body.invariants.invar3.span();
}

std::span<const double> invariant4(SbrBody &body) noexcept {
  if (mode_count(body) < 1 || !fill_invar4(body)) return {};
  return body.invariants.invar4.span();
}

std::span<const double> invariant5(SbrBody &body, int j) noexcept {
  if (!is_mode(body, j) || !fill_invar5(body)) return {};
  return invar5_row(body, j);
}

std::span<const double> invariant7(SbrBody &body) noexcept {
  if (!fill_invar7(body)) return {};
  return body.invariants.invar7.span();
}

std::span<const double> invariant8(SbrBody &body, int j) noexcept {
  if (!is_mode(body, j) || !fill_invar8(body)) return {};
  return invar8_row(body, j);
}

std::span<const double> invariant9(SbrBody &body, int j, int k) noexcept {
  if (!is_mode(body, j) || !is_mode(body, k) || !fill_invar9(body)) return {};
  return invar9_cell(body, j, k);
}

// ---- fewer modes ---------------------------------------------------------------------------------------------------

namespace {

// Keeps the first `kept` values of every run of `had`.
void shorten_runs(Array<double> &cell, std::size_t had, std::size_t kept) noexcept {
  if (had <= kept) return;
  if (kept == 0) return cell.release();
  std::size_t out = 0;
  for (std::size_t run = 0; run + had <= cell.size(); run += had, out += kept)
    std::copy_n(cell.data() + run, kept, cell.data() + out);
  (void)cell.resize(static_cast<std::int64_t>(out));
}

void keep_front(Array<double> &cell, std::size_t values) noexcept {
  if (values == 0)
    cell.release();
  else if (values < cell.size())
    (void)cell.resize(static_cast<std::int64_t>(values));
}

}  // namespace

void drop_invariants_behind(SbrBody &body, int modes) noexcept {
  Invariants &in = body.invariants;
  const auto kept = static_cast<std::size_t>(std::max(modes, 0));
  for (Array<double> *cell : {&in.invar3, &in.invar4})
    shorten_runs(*cell, static_cast<std::size_t>(modes_of_cell(*cell, 3)), kept);
  // The rows of the modes that go lie behind the others.
  if (const auto had = static_cast<std::size_t>(modes_of_pair_cell(in.invar5, 3)); had > kept) {
    keep_front(in.invar5, 3 * had * kept);
    shorten_runs(in.invar5, had, kept);
  }
  keep_front(in.invar8, 9 * kept);
  if (const auto had = static_cast<std::size_t>(modes_of_pair_cell(in.invar9, 9)); had > kept) {
    keep_front(in.invar9, 9 * had * kept);
    shorten_runs(in.invar9, 9 * had, 9 * kept);
  }
}

// ---- drivers -------------------------------------------------------------------------------------------------------

namespace {

enum class NodalRule { any_mode_count, needs_modes };

// Whether a set of invariants can come out complete: from cells, from blocks, or from the nodes.
bool set_is_sufficient(const SbrBody &body, std::initializer_list<const Array<double> *> cells,
                       std::initializer_list<int> blocks, NodalRule rule) noexcept {
  if (std::all_of(cells.begin(), cells.end(), [](const Array<double> *cell) { return static_cast<bool>(*cell); }))
    return true;
  if (std::all_of(blocks.begin(), blocks.end(), [&](int block) { return has_block(body, block); })) return true;
  return nodal_data_present(body) && (rule == NodalRule::any_mode_count || body.mode_table.mode_count != 0);
}

void report_insufficient(const char *which) noexcept {
  report_error(
      "There is insufficient mass data to compute a %s set of mass invariants.\n"
      "Some or all mass invariants will be set to zero.",
      which);
}

// Fills the cells of a set, one after the other. A failure was reported.
void fill(SbrBody &body, std::initializer_list<bool (*)(SbrBody &) noexcept> fillers) noexcept {
  for (bool (*filler)(SbrBody &) noexcept : fillers) (void)filler(body);
}

}  // namespace

void compute_fast_invariants(SbrBody &body) noexcept {
  const Invariants &in = body.invariants;
  if (!set_is_sufficient(body, {&in.invar1, &in.invar2, &in.invar3, &in.invar4, &in.invar7, &in.invar8},
                         {kInvariant1, kInvariant2, kInvariant3, kInvariant4, kInvariant7, kInvariant8},
                         NodalRule::needs_modes))
    report_insufficient("partial");
  report_info("Computing fast set of invariants");
  fill(body, {fill_invar1, fill_invar2, fill_invar3, fill_invar4, fill_invar7, fill_invar8});
}

void compute_full_invariants(SbrBody &body) noexcept {
  const Invariants &in = body.invariants;
  if (!set_is_sufficient(
          body, {&in.invar1, &in.invar2, &in.invar3, &in.invar4, &in.invar5, &in.invar7, &in.invar8, &in.invar9},
          {kInvariant1, kInvariant2, kInvariant3, kInvariant4, kInvariant5, kInvariant7, kInvariant8, kInvariant9},
          NodalRule::needs_modes))
    report_insufficient("full");
  report_info("Computing *all* invariants");
  fill(body, {fill_invar1, fill_invar2, fill_invar3, fill_invar4, fill_invar5, fill_invar7, fill_invar8, fill_invar9});
}

void compute_rigid_invariants(SbrBody &body) noexcept {
  const Invariants &in = body.invariants;
  if (!set_is_sufficient(body, {&in.invar1, &in.invar2, &in.invar7}, {kInvariant1, kInvariant2, kInvariant7},
                         NodalRule::any_mode_count))
    report_insufficient("full");
  report_info("Computing *rigid* invariants");
  fill(body, {fill_invar1, fill_invar2, fill_invar3, fill_invar7});
}

}  // namespace sbr

using sbr::full_mass;
using sbr::mode_count;
using sbr::require_body;

extern "C" {

double SBR_Invar1(SBR body) { return require_body(body) ? sbr::invariant1(*body) : 0.0; }

double *SBR_Invar2(SBR body) {
  if (!require_body(body)) return nullptr;
  const std::span<const double> values = sbr::invariant2(*body);
  return values.empty() ? nullptr : sbr::copy_out(values, 3);
}

double *SBR_Invar3(SBR body) {
  if (!require_body(body)) return nullptr;
  const std::span<const double> values = sbr::invariant3(*body);
  return values.empty() ? nullptr : sbr::copy_out(values, 3 * std::int64_t{mode_count(*body)});
}

double *SBR_Invar4(SBR body) {
  if (!require_body(body)) return nullptr;
  const std::span<const double> values = sbr::invariant4(*body);
  return values.empty() ? nullptr : sbr::copy_out(values, 3 * std::int64_t{mode_count(*body)});
}

double *SBR_Invar5(SBR body, int j) {
  if (!require_body(body)) return nullptr;
  const int modes = mode_count(*body);
  if (j < 0 || j >= modes || !sbr::fill_invar5(*body)) return nullptr;
  return sbr::copy_out(sbr::invar5_row(*body, j), 3 * std::int64_t{modes});
}

double *SBR_Invar6(SBR body) {
  if (!require_body(body)) return nullptr;
  const int modes = mode_count(*body);
  if (modes < 1) return nullptr;
  double *matrix = sbr::copy_out({}, sbr::pair_cell_size(1, modes));
  if (matrix != nullptr) full_mass(*body, matrix, modes);
  return matrix;
}

double *SBR_Invar7(SBR body) {
  if (!require_body(body)) return nullptr;
  const std::span<const double> values = sbr::invariant7(*body);
  return values.empty() ? nullptr : sbr::copy_out(values, 9);
}

double *SBR_Invar8(SBR body, int j) {
  if (!require_body(body)) return nullptr;
  if (j < 0 || j >= mode_count(*body) || !sbr::fill_invar8(*body)) return nullptr;
  return sbr::copy_out(sbr::invar8_row(*body, j), 9);
}

double *SBR_Invar9(SBR body, int j, int k) {
  if (!require_body(body)) return nullptr;
  const int modes = mode_count(*body);
  if (j < 0 || j >= modes || k < 0 || k >= modes || !sbr::fill_invar9(*body)) return nullptr;
  return sbr::copy_out(sbr::invar9_cell(*body, j, k), 9);
}

void SBR_FastComputeInvars(SBR body) {
  if (require_body(body)) sbr::compute_fast_invariants(*body);
}

void SBR_FullComputeInvars(SBR body) {
  if (require_body(body)) sbr::compute_full_invariants(*body);
}

void SBR_RigidComputeInvars(SBR body) {
  if (require_body(body)) sbr::compute_rigid_invariants(*body);
}

}  // extern "C"
