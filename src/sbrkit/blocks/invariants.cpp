#include "blocks/invariants.h"

#include <algorithm>

#include "base/reports.h"
#include "body/node_table.h"
#include "mass/invariants.h"

namespace sbr {
namespace {

// ---- values --------------------------------------------------------------------------------------------------------
//
// Invariants are not read when a record is opened: a cell is filled at the first demand, from its block or its nodes
// (mass/invariants.h). What a cell has no room for is zero.

// The first values of a cell; from zeros of its own where the cell is shorter.
class Values {
 public:
  // False when memory is short.
  [[nodiscard]] bool take(std::span<const double> cell, std::int64_t count) noexcept {
    first_ = cell.data();
    if (static_cast<std::int64_t>(cell.size()) >= count) return true;
    if (!padded_.allocate(count)) return false;
    std::copy(cell.begin(), cell.end(), padded_.begin());
    first_ = padded_.data();
    return true;
  }
  [[nodiscard]] const double *data() const noexcept { return first_; }

 private:
  const double *first_ = nullptr;
  Array<double> padded_;
};

// What the values of an invariant are asked for with.
using Fill = bool (*)(SbrBody &body) noexcept;
using Cell = Array<double> Invariants::*;

// ---- writing -------------------------------------------------------------------------------------------------------

bool put_values(Emission &run, std::span<const double> cell, std::int64_t count) noexcept {
  Values values;
  if (!values.take(cell, count)) return run.no_memory();
  return run.out.reals(values.data(), count);
}

// The exported columns of three component rows, whose stride is the body's mode count.
bool put_exported_columns(Emission &run, std::span<const double> cell) noexcept {
  const std::ptrdiff_t modes = mode_count(run.body);
  Values values;
  if (!values.take(cell, 3 * std::int64_t{modes})) return run.no_memory();
  for (int component = 0; component < 3; ++component)
    if (!run.put_exported(values.data() + component * modes)) return false;
  return true;
}

bool write_fixed(Emission &run, Fill fill, Cell cell, std::int64_t count) noexcept {
  return fill(run.body) && put_values(run, (run.body.invariants.*cell).span(), count);
}

bool write_component_rows(Emission &run, Fill fill, Cell cell, bool count_is_checked) noexcept {
  if (mode_count(run.body) < 1 || !fill(run.body)) return false;
  const bool counted = run.put(CountHead{run.plan.exported_modes});
  return (counted || !count_is_checked) && put_exported_columns(run, (run.body.invariants.*cell).span());
}

bool write_invariant_1(Emission &run) noexcept { return write_fixed(run, fill_invar1, &Invariants::invar1, 1); }
bool write_invariant_2(Emission &run) noexcept { return write_fixed(run, fill_invar2, &Invariants::invar2, 3); }
bool write_invariant_3(Emission &run) noexcept {
  return write_component_rows(run, fill_invar3, &Invariants::invar3, true);
}
// Whether the count of Invariant 4 arrives is deliberately not looked at.
bool write_invariant_4(Emission &run) noexcept {
  return write_component_rows(run, fill_invar4, &Invariants::invar4, false);
}

bool write_invariant_5(Emission &run) noexcept {
  if (!run.put(CountHead{run.plan.exported_modes})) return false;
  for (int j = run.plan.first_mode; j < run.plan.end_mode; ++j)
    if (!fill_invar5(run.body) || !put_exported_columns(run, invar5_row(run.body, j))) return false;
  return true;
}

bool write_invariant_7(Emission &run) noexcept { return write_fixed(run, fill_invar7, &Invariants::invar7, 9); }

bool write_invariant_8(Emission &run) noexcept {
  if (!run.put(CountHead{run.plan.exported_modes})) return false;
  for (int j = run.plan.first_mode; j < run.plan.end_mode; ++j)
    if (!fill_invar8(run.body) || !put_values(run, invar8_row(run.body, j), 9)) return false;
  return true;
}

bool write_invariant_9(Emission &run) noexcept {
  if (!run.put(CountHead{run.plan.exported_modes})) return false;
  for (int j = run.plan.first_mode; j < run.plan.end_mode; ++j)
    for (int k = run.plan.first_mode; k < run.plan.end_mode; ++k) {
      Values cell;
      if (!fill_invar9(run.body)) return false;
      if (!cell.take(invar9_cell(run.body, j, k), 9)) return run.no_memory();
      // Whether a cell arrives is deliberately not looked at.
      static_cast<void>(run.out.reals(cell.data(), 9));
    }
  return true;
}

// ---- the report ----------------------------------------------------------------------------------------------------

// Whether there is anything to tell: a filled cell, or a source to fill it from, which is its own block, the nodal
// masses, or the global properties where they are enough. Without one the operations answer zeros, which are no
// information.
bool is_known(const Report &report, Cell cell, bool global_is_enough = false) noexcept {
  const SbrBody &body = report.body;
  return body.invariants.*cell || has_block(body, report.block) || has_block(body, kNodalMasses) ||
         (global_is_enough && has_block(body, kGlobalBodyProps));
}

// One row per mode of the three components at stride M.
bool print_component_rows(const Report &report, std::span<const double> cell) noexcept {
  const std::ptrdiff_t modes = mode_count(report.body);
  Values values;
  if (!values.take(cell, 3 * std::int64_t{modes})) return report.no_memory();
  for (std::ptrdiff_t m = 0; m < modes; ++m) {
    const double *x = values.data() + m;
    std::fprintf(report.out, "%5d, %18.10le%18.10le%18.10le \n", mode_number(report.body, static_cast<int>(m)), x[0],
                 x[modes], x[2 * modes]);
  }
  return true;
}

bool print_matrix(const Report &report, std::span<const double> cell) noexcept {
  Values values;
  if (!values.take(cell, 9)) return report.no_memory();
  const double *m = values.data();
  for (int row = 0; row < 3; ++row, m += 3)
    std::fprintf(report.out, "   %18.10le%18.10le%18.10le \n", m[0], m[1], m[2]);
  std::fputs("\n", report.out);
  return true;
}

bool print_invariant_1(const Report &report) noexcept {
  std::fprintf(report.out, "\t%f \n\n", fill_invar1(report.body) ? report.body.invariants.invar1[0] : 0.0);
  return true;
}

bool print_invariant_2(const Report &report) noexcept {
  if (!is_known(report, &Invariants::invar2, true) || !fill_invar2(report.body)) {
    std::fputs("\tNo Invariant 2 information\n\n", report.out);
    return true;
  }
  const Array<double> &v = report.body.invariants.invar2;
  report.banner();
  std::fprintf(report.out, "\t%f\t%f\t%f \n\n", v[0], v[1], v[2]);
  return true;
}

bool print_component_invariant(const Report &report, Fill fill, Cell cell, const char *nothing) noexcept {
  SbrBody &body = report.body;
  if (mode_count(body) < 1 || !is_known(report, cell) || !fill(body)) {
    std::fputs(nothing, report.out);
    return true;
  }
  report.banner();
  if (!print_component_rows(report, (body.invariants.*cell).span())) return false;
  std::fputs("\n", report.out);
  return true;
}

bool print_invariant_3(const Report &report) noexcept {
  return print_component_invariant(report, fill_invar3, &Invariants::invar3, "\tNo Invariant 3 information\n\n");
}

bool print_invariant_4(const Report &report) noexcept {
  return print_component_invariant(report, fill_invar4, &Invariants::invar4, "\tNo Invariant 4 information\n\n");
}

bool print_invariant_5(const Report &report) noexcept {
  SbrBody &body = report.body;
  const bool present = is_known(report, &Invariants::invar5);
  bool any = false;
  for (int j = 0; j < mode_count(body); ++j) {
    const int number = mode_number(body, j);
    if (!present || !fill_invar5(body)) {
      std::fprintf(report.out, "\tNo Invariant 5 information for mode %d.\n\n", number);
      continue;
    }
    any = true;
    std::fprintf(report.out, "\nMode: %d \n", number);
    if (!print_component_rows(report, invar5_row(body, j))) return false;
  }
  if (any) std::fputs("\n", report.out);
  return true;
}

bool print_invariant_7(const Report &report) noexcept {
  SbrBody &body = report.body;
  if (is_known(report, &Invariants::invar7, true) && fill_invar7(body))
    return print_matrix(report, body.invariants.invar7.span());
  std::fputs("\tNo Invariant 7 information.\n\n", report.out);
  return true;
}

bool print_invariant_8(const Report &report) noexcept {
  SbrBody &body = report.body;
  const bool present = is_known(report, &Invariants::invar8);
  for (int j = 0; j < mode_count(body); ++j) {
    const int number = mode_number(body, j);
    if (!present || !fill_invar8(body)) {
      std::fprintf(report.out, "\tNo Invariant 8 information for mode %d.\n\n", number);
      continue;
    }
    std::fprintf(report.out, "\nMode: %d\n", number);
    if (!print_matrix(report, invar8_row(body, j))) return false;
  }
  return true;
}

// The outer mode walks slowest; the inner mode is named first.
bool print_invariant_9(const Report &report) noexcept {
  SbrBody &body = report.body;
  const bool present = is_known(report, &Invariants::invar9);
  for (int j = 0; j < mode_count(body); ++j)
    for (int k = 0; k < mode_count(body); ++k) {
      if (!present || !fill_invar9(body)) {
        std::fprintf(report.out, "\tNo Invariant 9 information for mode pair (%d, %d).\n\n", k, j);
        continue;
      }
      std::fprintf(report.out, "\nModes: %d %d\n", mode_number(body, k), mode_number(body, j));
      if (!print_matrix(report, invar9_cell(body, j, k))) return false;
    }
  return true;
}

}  // namespace

constinit const BlockFunctions kInvariant1Block{.write = write_invariant_1, .print = print_invariant_1};
constinit const BlockFunctions kInvariant2Block{
    .write = write_invariant_2, .print = print_invariant_2, .prints_banner = true};
constinit const BlockFunctions kInvariant3Block{
    .write = write_invariant_3, .print = print_invariant_3, .prints_banner = true};
constinit const BlockFunctions kInvariant4Block{
    .write = write_invariant_4, .print = print_invariant_4, .prints_banner = true};
constinit const BlockFunctions kInvariant5Block{.write = write_invariant_5, .print = print_invariant_5};
constinit const BlockFunctions kInvariant7Block{.write = write_invariant_7, .print = print_invariant_7};
constinit const BlockFunctions kInvariant8Block{.write = write_invariant_8, .print = print_invariant_8};
constinit const BlockFunctions kInvariant9Block{
    .write = write_invariant_9, .print = print_invariant_9, .end_is_checked = false};

}  // namespace sbr
