// The content report: one block of a body as text. Working state of one call; nothing of the body is owned here.
#ifndef SBRKIT_BLOCKS_REPORT_H
#define SBRKIT_BLOCKS_REPORT_H

#include <cstdio>
#include <cstdlib>
#include <memory>

#include "body/body.h"

namespace sbr {

struct Report {
  SbrBody &body;
  std::FILE *out;
  int number;         // block number: the block index plus 1
  const char *title;  // of the banner

  void banner() const noexcept;
  // The allocation message. Gives false, with which a report ends unflushed.
  [[nodiscard]] bool no_memory(int line = __builtin_LINE()) const noexcept;
};

// A block that a public operation gave, freed at the end.
struct FreeReported {
  void operator()(void *block) const noexcept { std::free(block); }
};
using ReportedReals = std::unique_ptr<double, FreeReported>;
using ReportedInts = std::unique_ptr<int, FreeReported>;

// Each prints the body of one block; false ends the report without a flush.
using ReportBlock = bool (*)(const Report &report);

// Texts, geometry and mass: sbrcontents.
// Mode data and statistics: sbrcontentsmodes.
bool report_eigenvalues(const Report &report) noexcept;
bool report_mode_shapes(const Report &report) noexcept;
bool report_stress(const Report &report) noexcept;
bool report_strain(const Report &report) noexcept;
bool report_statistics(const Report &report) noexcept;
bool report_pre_stress(const Report &report) noexcept;
bool report_pre_strain(const Report &report) noexcept;
// Generalized matrices, transformation and invariants: sbrcontentsmatrices.
bool report_generalized_stiffness(const Report &report) noexcept;
bool report_generalized_mass(const Report &report) noexcept;
bool report_generalized_damping(const Report &report) noexcept;
bool report_transformation(const Report &report) noexcept;
bool report_invariant_1(const Report &report) noexcept;
bool report_invariant_2(const Report &report) noexcept;
bool report_invariant_3(const Report &report) noexcept;
bool report_invariant_4(const Report &report) noexcept;
bool report_invariant_5(const Report &report) noexcept;
bool report_invariant_7(const Report &report) noexcept;
bool report_invariant_8(const Report &report) noexcept;
bool report_invariant_9(const Report &report) noexcept;
// Loads, operators and monitor points: sbrcontentsloads.
bool report_preload(const Report &report) noexcept;
bool report_modal_loads(const Report &report) noexcept;
bool report_matrix_operators(const Report &report) noexcept;
bool report_modal_load_nodal(const Report &report) noexcept;
bool report_monitor_points(const Report &report) noexcept;

}  // namespace sbr

#endif
