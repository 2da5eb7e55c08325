// The content report's blocks of eigenvalues, mode data and statistics.
#include "blocks/report.h"
#include "body/matrices.h"
#include "body/node_table.h"
#include "body/units.h"
#include "modes/access.h"
#include "modes/store.h"

namespace sbr {
namespace {

constexpr const char *kShapeHeading =
    "     ID            dx               dy               dz               ax               ay               az\n";
constexpr const char *kStressHeading =
    "       ID       sigma_x          sigma_y          sigma_z           tau_xy           tau_xz           tau_yz\n";
constexpr const char *kStrainHeading =
    "       ID     epsilon_x        epsilon_y        epsilon_z         gamma_xy         gamma_xz         gamma_yz\n";
constexpr const char *kShapeRow = "%9d  % 16.9e % 16.9e % 16.9e % 16.9e % 16.9e % 16.9e\n";
constexpr const char *kStressRow = "%9d  %16.9e %16.9e %16.9e %16.9e %16.9e %16.9e\n";

// 112 tildes and two line feeds.
void put_rule(std::FILE *out) noexcept {
  constexpr const char *kEight = "~~~~~~~~";
  for (int i = 0; i < 14; ++i) std::fputs(kEight, out);
  std::fputs("\n\n", out);
}

// The rows of one vector of six values per node, in ascending order of the node IDs.
void put_rows(const Report &report, Kind kind, const double *values, const char *format) noexcept {
  const int count = report.body.nodes.kinds[kind].count;
  for (const NodeKey &key : sorted_keys(report.body, kind)) {
    if (key.position < 0 || key.position >= count) continue;
    const double *v = values + 6 * static_cast<std::ptrdiff_t>(key.position);
    std::fprintf(report.out, format, key.id, v[0], v[1], v[2], v[3], v[4], v[5]);
  }
}

struct VectorTexts {
  Kind kind;
  const char *count;
  const char *mode;
  const char *heading;
  const char *row;
};
constexpr VectorTexts kShapes{Kind::shape, "Number of Mode Shapes %d\n\n",
                              "\nMODE NUMBER %d=================================\n\n", kShapeHeading, kShapeRow};
constexpr VectorTexts kStresses{Kind::stress, "Number of Stress Shapes %d\n\n",
                                "\nSTRESS SHAPE NUMBER %d=================================\n\n", kStressHeading,
                                kStressRow};
constexpr VectorTexts kStrains{Kind::strain, "Number of Strain Shapes %d\n\n",
                               "\nSTRAIN SHAPE NUMBER %d=================================\n\n", kStrainHeading,
                               kStressRow};

bool put_modes(const Report &report, const VectorTexts &texts) noexcept {
  const int modes = mode_count(report.body);
  if (modes < 1 || kind_count(report.body, texts.kind) < 1) return true;
  std::fprintf(report.out, texts.count, modes);
  for (int m = 0; m < modes; ++m) {
    const int number = mode_number(report.body, m);
    const double *values = whole_mode(report.body, m, texts.kind);
    if (values == nullptr) return report.no_memory();
    std::fprintf(report.out, texts.mode, number);
    std::fputs(texts.heading, report.out);
    put_rule(report.out);
    put_rows(report, texts.kind, values, texts.row);
  }
  return true;
}

bool put_pre_vector(const Report &report, const VectorTexts &texts, int block, const char *nothing) noexcept {
  if (!has_block(report.body, block)) {
    std::fputs(nothing, report.out);
    return true;
  }
  const double *values = whole_mode(report.body, kPreVector, texts.kind);
  if (values == nullptr) return report.no_memory();
  std::fputs(texts.heading, report.out);
  put_rule(report.out);
  put_rows(report, texts.kind, values, texts.row);
  return true;
}

using Figure = int (*)(SBR body, int number, int *id, double *value);

void put_figure(const Report &report, const char *format, int number, Figure figure) noexcept {
  int id = 0;
  double value = 0.0;
  figure(&report.body, number, &id, &value);
  std::fprintf(report.out, format, id, value);
}

}  // namespace

bool report_eigenvalues(const Report &report) noexcept {
  SbrBody &body = report.body;
  const double factor = consistency_factor(body);
  const int modes = mode_count(body);
  bool any = false;
  for (int m = 0; m < modes; ++m) {
    const int number = mode_number(body, m);
    double row[5] = {};
    if (!eigen_values(body, m, &row[0], &row[1], &row[2], &row[3], &row[4])) continue;
    if (!any) {
      std::fputs("                          Natural Freq.     Natural Freq.     Generalized       Generalized    \n",
                 report.out);
      std::fputs(" Mode   Eigenvalue        (Hz)              (Rad/Sec)         Mass              Stiffness      \n",
                 report.out);
      std::fputs("===== ================= ================= ================= ================= =================\n",
                 report.out);
      any = true;
    }
    std::fprintf(report.out, "%5d % 17.10le % 17.10le % 17.10le % 17.10le % 17.10le\n", number, row[0] * factor, row[1],
                 row[2], row[3], row[4]);
  }
  if (!any) std::fputs("No eigenvalue information\n", report.out);
  std::fputs("\n", report.out);
  return true;
}

bool report_mode_shapes(const Report &report) noexcept { return put_modes(report, kShapes); }

bool report_stress(const Report &report) noexcept {
  if (SBR_ModeExist(&report.body, 1) != 0) return put_modes(report, kStresses);
  std::fputs("\tNo Modal Stress Information\n\n", report.out);
  return true;
}

bool report_strain(const Report &report) noexcept {
  if (SBR_ModeExist(&report.body, 2) != 0) return put_modes(report, kStrains);
  std::fputs("\tNo Modal Strain Information\n\n", report.out);
  return true;
}

bool report_statistics(const Report &report) noexcept {
  SbrBody &body = report.body;
  if (!has_block(body, kModalStatistics) && SBR_ModalStatisticsExist(&body) == 0) {
    std::fputs("\tNo Modal Statistic Information\n\n", report.out);
    return true;
  }
  const int modes = mode_count(body);
  std::fprintf(report.out, "Number of Modes %d\n\n", modes);
  for (int m = 0; m < modes; ++m) {
    const int number = mode_number(body, m);
    std::fprintf(report.out, kShapes.mode, number);
    put_figure(report, "Max. Trans. Magnitude:      Node ID = %d  Magnitude = %12.6e\n", number,
               SBR_GetMaxModeDisplacement);
    put_figure(report, "Max. Small Rot. Magnitude:  Node ID = %d  Magnitude = %12.6e\n", number,
               SBR_GetMaxModeRotation);
    if (SBR_ModeExist(&body, 1) != 0)
      put_figure(report, "Max. Von Mises Stress:      Node ID = %d  Magnitude = %12.6e\n", number,
                 SBR_GetMaxVonMisesStress);
    if (SBR_ModeExist(&body, 2) != 0)
      put_figure(report, "Max. Von Mises Strain:      Node ID = %d  Magnitude = %12.6e\n", number,
                 SBR_GetMaxVonMisesStrain);
  }
  return true;
}

bool report_pre_stress(const Report &report) noexcept {
  return put_pre_vector(report, kStresses, kNodalPreStress, "\tNo Nodal Pre-Stress Information\n\n");
}

bool report_pre_strain(const Report &report) noexcept {
  return put_pre_vector(report, kStrains, kNodalPreStrain, "\tNo Nodal Pre-Strain Information\n\n");
}

}  // namespace sbr
