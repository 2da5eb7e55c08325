// The content report's blocks of generalized matrices, mode transformation and inertia invariants.
#include "blocks/report.h"
#include "body/matrices.h"
#include "body/node_table.h"

namespace sbr {
namespace {

struct Triples {
  Array<int> rows;
  Array<int> columns;
  Array<double> values;

  [[nodiscard]] bool allocate(int count) noexcept {
    return rows.allocate(count) && columns.allocate(count) && values.allocate(count);
  }
};

void put_entry(const Report &report, int row, int column, double value) noexcept {
  std::fprintf(report.out, "%5d   %5d   %20.10le\n", row, column, value);
}

using CountOf = int (*)(SBR body);
using SparseForm = int (*)(SBR body, double *values, int *rows, int *columns);

bool put_generalized(const Report &report, CountOf count_of, SparseForm sparse, const char *nothing) noexcept {
  SbrBody &body = report.body;
  const int count = count_of(&body);
  if (count < 1) {
    std::fprintf(report.out, "%s\n", nothing);
    return true;
  }
  Triples triples;
  if (!triples.allocate(count)) return report.no_memory();
  sparse(&body, triples.values.data(), triples.rows.data(), triples.columns.data());
  for (std::size_t i = 0; i < triples.rows.size(); ++i)
    put_entry(report, mode_number(body, triples.rows[i]), mode_number(body, triples.columns[i]), triples.values[i]);
  std::fputs("\n", report.out);
  return true;
}

constexpr const char *kOnPrincipalAxes =
    "Note:\tThe generalized damping matrix has been projected onto principal\n"
    "\tcoordinates.  The first 6 rows and columns correspond VENTA\n"
    "\tprincipal rigid body degrees of freedom.  The remaining rows\n"
    "\tand columns correspond to flexible modes.\n\n";
constexpr const char *kOnModes =
    "Note:\tThe generalized damping matrix has not been projected onto\n"
    "\tprincipal coordinates.  Rows and columns correspond to rigid body\n"
    "\tand flexible modes.\n\n";

// Whether an invariant has a source: its own block, nodal masses, or the global mass where that is enough. Without one
// the operations answer zeros, which are no information.
bool has_invariant(const SbrBody &body, int block, bool global_is_enough) noexcept {
  return has_block(body, block) || has_block(body, kNodalMasses) || (global_is_enough && body.global.mass != 0.0);
}

// One row per mode of the three components at stride M.
void put_component_rows(const Report &report, const double *values) noexcept {
  const int modes = mode_count(report.body);
  for (int m = 0; m < modes; ++m) {
    const double *x = values + m;
    std::fprintf(report.out, "%5d, %18.10le%18.10le%18.10le \n", mode_number(report.body, m), x[0],
                 x[static_cast<std::ptrdiff_t>(modes)], x[2 * static_cast<std::ptrdiff_t>(modes)]);
  }
  std::fputs("\n", report.out);
}

void put_matrix(const Report &report, const double *m) noexcept {
  for (int row = 0; row < 3; ++row, m += 3)
    std::fprintf(report.out, "   %18.10le%18.10le%18.10le \n", m[0], m[1], m[2]);
  std::fputs("\n", report.out);
}

bool put_component_invariant(const Report &report, int block, double *(*invariant)(SBR body),
                             const char *nothing) noexcept {
  const ReportedReals values(has_invariant(report.body, block, false) ? invariant(&report.body) : nullptr);
  if (values == nullptr) {
    std::fputs(nothing, report.out);
    return true;
  }
  report.banner();
  put_component_rows(report, values.get());
  return true;
}

}  // namespace

bool report_generalized_stiffness(const Report &report) noexcept {
  return put_generalized(report, SBR_NumberOfGenStiff, SBR_GenStiffSparse, "No generalized stiffness information.\n");
}

bool report_generalized_mass(const Report &report) noexcept {
  return put_generalized(report, SBR_NumberOfGenMass, SBR_GenMassSparse, "No generalized mass information in SBR\n");
}

bool report_generalized_damping(const Report &report) noexcept {
  SbrBody &body = report.body;
  const int count = damping_count(body);
  if (count < 1) {
    std::fputs("No generalized damping information in SBR.\n\n", report.out);
    return true;
  }
  Triples triples;
  if (!triples.allocate(count)) return report.no_memory();
  std::fputs(body.matrices.damping_on_principal_axes != 0 ? kOnPrincipalAxes : kOnModes, report.out);
  sparse_damping(body, triples.values.data(), triples.rows.data(), triples.columns.data());
  for (std::size_t i = 0; i < triples.rows.size(); ++i) {
    // Entries of a foreign record may hold any word: the sum wraps instead of overflowing.
    const auto one_based = [](int position) { return static_cast<int>(static_cast<unsigned>(position) + 1U); };
    put_entry(report, one_based(triples.rows[i]), one_based(triples.columns[i]), triples.values[i]);
  }
  std::fputs("\n", report.out);
  return true;
}

bool report_transformation(const Report &report) noexcept {
  SbrBody &body = report.body;
  if (!body.access.transformation) {
    std::fputs("\tNo Mode Shape Transformation, modes used as is.\n\n", report.out);
    return true;
  }
  const std::int64_t modes = mode_count(body);
  Array<double> matrix;
  if (!matrix.allocate(modes * modes)) return report.no_memory();
  SBR_Transformation(&body, matrix.data());
  std::fprintf(report.out, "Number of modes: %d\n\n", static_cast<int>(modes));
  const double *value = matrix.data();
  for (std::int64_t row = 0; row < modes; ++row) {
    for (std::int64_t column = 0; column < modes; ++column) std::fprintf(report.out, "%10.5le ", *value++);
    std::fputs("\n", report.out);
  }
  return true;
}

bool report_invariant_1(const Report &report) noexcept {
  std::fprintf(report.out, "\t%f \n\n", SBR_Invar1(&report.body));
  return true;
}

bool report_invariant_2(const Report &report) noexcept {
  const ReportedReals v(has_invariant(report.body, kInvariant2, true) ? SBR_Invar2(&report.body) : nullptr);
  if (v == nullptr) {
    std::fputs("\tNo Invariant 2 information\n\n", report.out);
    return true;
  }
  report.banner();
  std::fprintf(report.out, "\t%f\t%f\t%f \n\n", v.get()[0], v.get()[1], v.get()[2]);
  return true;
}

bool report_invariant_3(const Report &report) noexcept {
  return put_component_invariant(report, kInvariant3, SBR_Invar3, "\tNo Invariant 3 information\n\n");
}

bool report_invariant_4(const Report &report) noexcept {
  return put_component_invariant(report, kInvariant4, SBR_Invar4, "\tNo Invariant 4 information\n\n");
}

bool report_invariant_5(const Report &report) noexcept {
  SbrBody &body = report.body;
  const bool present = has_invariant(body, kInvariant5, false);
  const int modes = mode_count(body);
  for (int j = 0; j < modes; ++j) {
    const int number = mode_number(body, j);
    const ReportedReals row(present ? SBR_Invar5(&body, j) : nullptr);
    if (row == nullptr) {
      std::fprintf(report.out, "\tNo Invariant 5 information for mode %d.\n\n", number);
      continue;
    }
    std::fprintf(report.out, "\nMode: %d \n", number);
    put_component_rows(report, row.get());
  }
  return true;
}

bool report_invariant_7(const Report &report) noexcept {
  const ReportedReals matrix(has_invariant(report.body, kInvariant7, true) ? SBR_Invar7(&report.body) : nullptr);
  if (matrix == nullptr)
    std::fputs("\tNo Invariant 7 information.\n\n", report.out);
  else
    put_matrix(report, matrix.get());
  return true;
}

bool report_invariant_8(const Report &report) noexcept {
  SbrBody &body = report.body;
  const bool present = has_invariant(body, kInvariant8, false);
  const int modes = mode_count(body);
  for (int j = 0; j < modes; ++j) {
    const int number = mode_number(body, j);
    const ReportedReals matrix(present ? SBR_Invar8(&body, j) : nullptr);
    if (matrix == nullptr) {
      std::fprintf(report.out, "\tNo Invariant 8 information for mode %d.\n\n", number);
      continue;
    }
    std::fprintf(report.out, "\nMode: %d\n", number);
    put_matrix(report, matrix.get());
  }
  return true;
}

// The outer mode walks slowest; the inner mode is named first.
bool report_invariant_9(const Report &report) noexcept {
  SbrBody &body = report.body;
  const bool present = has_invariant(body, kInvariant9, false);
  const int modes = mode_count(body);
  for (int j = 0; j < modes; ++j)
    for (int k = 0; k < modes; ++k) {
      const ReportedReals matrix(present ? SBR_Invar9(&body, j, k) : nullptr);
      if (matrix == nullptr) {
        std::fprintf(report.out, "\tNo Invariant 9 information for mode pair (%d, %d).\n\n", k, j);
        continue;
      }
      std::fprintf(report.out, "\nModes: %d %d\n", mode_number(body, k), mode_number(body, j));
      put_matrix(report, matrix.get());
    }
  return true;
}

}  // namespace sbr
