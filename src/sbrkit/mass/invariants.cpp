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
  if (!cell.allocate(1)) return report_no_memory(unit_name::kInvariants) != 0;
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
  if (!cell.allocate(3)) return report_no_memory(unit_name::kInvariants) != 0;
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
  if (!cell.allocate(size)) return report_no_memory(unit_name::kInvariants) != 0;
  if (!read_invariant_block(body, kInvariant3, size, cell) && nodal_data_present(body) && !sum_invar3(body, cell))
    return report_no_memory(unit_name::kInvariants) != 0;
  return install(body.invariants.invar3, cell);
}

bool fill_invar4(SbrBody &body) noexcept {
  if (body.invariants.invar4) return true;
  const std::int64_t size = 3 * std::int64_t{mode_count(body)};
  if (size < 1) return false;
  Array<double> cell;
  if (!cell.allocate(size)) return report_no_memory(unit_name::kInvariants) != 0;
  if (!read_invariant_block(body, kInvariant4, size, cell) && nodal_data_present(body) && !sum_invar4(body, cell))
    return report_no_memory(unit_name::kInvariants) != 0;
  return install(body.invariants.invar4, cell);
}

bool fill_invar5(SbrBody &body) noexcept {
  if (body.invariants.invar5) return true;
  const int modes = mode_count(body);
  if (modes < 1) return false;
  if (!go_to_block(body, kInvariant5)) return compute_modal_pair_invariants(body);
  Array<double> cell;
  if (!cell.allocate(pair_cell_size(3, modes))) return report_no_memory(unit_name::kInvariants) != 0;
  if (!read_invariant_block(body, kInvariant5, 3 * std::int64_t{modes}, cell)) return false;
  return install(body.invariants.invar5, cell);
}

bool fill_invar7(SbrBody &body) noexcept {
  if (body.invariants.invar7) return true;
  Array<double> cell;
  if (!cell.allocate(9)) return report_no_memory(unit_name::kInvariants) != 0;
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
  if (!cell.allocate(size)) return report_no_memory(unit_name::kInvariants) != 0;
  // The nodes serve even without nodal masses: every term is zero then.
  if (!read_invariant_block(body, kInvariant8, 9, cell) && !sum_invar8(body, cell))
    return report_no_memory(unit_name::kInvariants) != 0;
  return install(body.invariants.invar8, cell);
}

bool fill_invar9(SbrBody &body) noexcept {
  if (body.invariants.invar9) return true;
  const int modes = mode_count(body);
  if (modes < 1) return false;
  if (!go_to_block(body, kInvariant9)) return compute_modal_pair_invariants(body);
  Array<double> cell;
  if (!cell.allocate(pair_cell_size(9, modes))) return report_no_memory(unit_name::kInvariants) != 0;
  if (!read_invariant_block(body, kInvariant9, 9, cell)) return false;
  return install(body.invariants.invar9, cell);
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

// Requests an invariant for the sake of its cell.
void request(double *copy) noexcept { std::free(copy); }

}  // namespace

void compute_rigid_invariants(SbrBody &body) noexcept { SBR_RigidComputeInvars(&body); }
void compute_fast_invariants(SbrBody &body) noexcept { SBR_FastComputeInvars(&body); }
void compute_full_invariants(SbrBody &body) noexcept { SBR_FullComputeInvars(&body); }

}  // namespace sbr

using sbr::full_mass;
using sbr::mode_count;
using sbr::require_body;

extern "C" {

double SBR_Invar1(SBR body) {
  if (!require_body(body) || !sbr::fill_invar1(*body)) return 0.0;
  return body->invariants.invar1[0];
}

double *SBR_Invar2(SBR body) {
  if (!require_body(body) || !sbr::fill_invar2(*body)) return nullptr;
  return sbr::copy_out(body->invariants.invar2.span(), 3);
}

double *SBR_Invar3(SBR body) {
  if (!require_body(body)) return nullptr;
  const int modes = mode_count(*body);
  if (modes < 1 || !sbr::fill_invar3(*body)) return nullptr;
  return sbr::copy_out(body->invariants.invar3.span(), 3 * std::int64_t{modes});
}

double *SBR_Invar4(SBR body) {
  if (!require_body(body)) return nullptr;
  const int modes = mode_count(*body);
  if (modes < 1 || !sbr::fill_invar4(*body)) return nullptr;
  return sbr::copy_out(body->invariants.invar4.span(), 3 * std::int64_t{modes});
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
  if (!require_body(body) || !sbr::fill_invar7(*body)) return nullptr;
  return sbr::copy_out(body->invariants.invar7.span(), 9);
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
  using namespace sbr;
  if (!require_body(body)) return;
  const Invariants &in = body->invariants;
  if (!set_is_sufficient(*body, {&in.invar1, &in.invar2, &in.invar3, &in.invar4, &in.invar7, &in.invar8},
                         {kInvariant1, kInvariant2, kInvariant3, kInvariant4, kInvariant7, kInvariant8},
                         NodalRule::needs_modes))
    report_insufficient("partial");
  report_info("Computing fast set of invariants");
  SBR_Invar1(body);
  request(SBR_Invar2(body));
  request(SBR_Invar3(body));
  request(SBR_Invar4(body));
  request(SBR_Invar6(body));
  request(SBR_Invar7(body));
  request(SBR_Invar8(body, 0));
}

void SBR_FullComputeInvars(SBR body) {
  using namespace sbr;
  if (!require_body(body)) return;
  const Invariants &in = body->invariants;
  if (!set_is_sufficient(
          *body, {&in.invar1, &in.invar2, &in.invar3, &in.invar4, &in.invar5, &in.invar7, &in.invar8, &in.invar9},
          {kInvariant1, kInvariant2, kInvariant3, kInvariant4, kInvariant5, kInvariant7, kInvariant8, kInvariant9},
          NodalRule::needs_modes))
    report_insufficient("full");
  report_info("Computing *all* invariants");
  SBR_Invar1(body);
  request(SBR_Invar2(body));
  request(SBR_Invar3(body));
  request(SBR_Invar4(body));
  request(SBR_Invar5(body, 0));
  request(SBR_Invar6(body));
  request(SBR_Invar7(body));
  request(SBR_Invar8(body, 0));
  request(SBR_Invar9(body, 0, 0));
}

void SBR_RigidComputeInvars(SBR body) {
  using namespace sbr;
  if (!require_body(body)) return;
  const Invariants &in = body->invariants;
  if (!set_is_sufficient(*body, {&in.invar1, &in.invar2, &in.invar7}, {kInvariant1, kInvariant2, kInvariant7},
                         NodalRule::any_mode_count))
    report_insufficient("full");
  report_info("Computing *rigid* invariants");
  SBR_Invar1(body);
  request(SBR_Invar2(body));
  request(SBR_Invar3(body));
  request(SBR_Invar7(body));
}

}  // extern "C"
