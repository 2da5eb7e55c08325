// The content report: choice of the block, banner, and the blocks of texts, geometry and mass.
#include "blocks/report.h"

#include <span>

#include "base/reports.h"
#include "body/header.h"
#include "body/node_table.h"
#include "body/registry.h"
#include "body/units.h"
#include "record/layout.h"

namespace sbr {
namespace {

const char *yes_no(bool value) noexcept { return value ? "Yes" : "No"; }

bool report_version(const Report &report) noexcept {
  const std::uint32_t word = report.body.layout.version;
  const auto code = static_cast<int>(word & 0xFF);
  const bool single = code == 50 || code == 51 || (word & kSingleFlag) != 0;
  const bool xdr = code == 31 || code == 41 || code == 51 || (word & kXdrFlag) != 0;
  std::fprintf(report.out, "SBR version:%4.1f\n", code / 10.0);
  std::fprintf(report.out, "Precision: %s   \n", single ? "Single" : "Double");
  std::fprintf(report.out, "Platform independent (XDR encoded): %s \n", yes_no(xdr));
  std::fprintf(report.out, "Coarsened or sketched mesh: %s \n\n", yes_no((word & kCoarsenedFlag) != 0));
  return true;
}

bool report_header(const Report &report) noexcept {
  const HeaderTexts texts = header_texts(report.body);
  std::fprintf(report.out, "Title: %s\n", texts.title);
  std::fprintf(report.out, "Date: %s\n", texts.date);
  std::fprintf(report.out, "Input file name: %s\n", texts.input_file_name);
  // The one field that a record may fill to its last byte.
  std::fprintf(report.out, "Input file type: %.*s\n", static_cast<int>(sizeof texts.input_file_type) - 1,
               texts.input_file_type);
  std::fprintf(report.out, "Comments:\n");
  for (const char *comment : {texts.comment1, texts.comment2, texts.comment3})
    std::fprintf(report.out, "  %s\n", comment);
  std::fprintf(report.out, "\n");
  return true;
}

bool report_content_summary(const Report &report) noexcept {
  std::fprintf(report.out, "Existence:\n");
  for (int block = 0; block < kBlockCount; ++block) {
    const char *name = block_entry(block).name;
    if (name == nullptr) continue;
    char label[48];
    std::snprintf(label, sizeof label, "%s (%d)", name, block + 1);
    std::fprintf(report.out, "%30s %s\n", label, yes_no(has_block(report.body, block)));
  }
  std::fprintf(report.out, "\n");
  return true;
}

bool report_coordinates(const Report &report) noexcept {
  for (const NodeKey &key : sorted_keys(report.body, Kind::shape)) {
    double xyz[3] = {};
    node_coordinates(report.body, key.position, xyz);
    std::fprintf(report.out, "%9d %20.10le %20.10le %20.10le \n", key.id, xyz[0], xyz[1], xyz[2]);
  }
  std::fprintf(report.out, "\n");
  return true;
}

bool report_element_topology(const Report &report) noexcept {
  std::fprintf(report.out, "Obsolete: Reported as part of face list, block 14\n");
  std::fprintf(report.out, "\n");
  return true;
}

bool report_global_properties(const Report &report) noexcept {
  double mass = 0.0;
  double i[9] = {};
  double c[3] = {};
  if (SBR_TotalMassInertia(&report.body, &mass, i, c) == 0) {
    std::fprintf(report.out, "No global body property information\n");
    return true;
  }
  std::fprintf(report.out, "Mass: % 17.10lf\n", mass);
  std::fprintf(report.out, "Center of Mass: % 17.10lf % 17.10lf % 17.10lf\n", c[0], c[1], c[2]);
  std::fprintf(report.out, "Inertia Tensor: % 17.10lf % 17.10lf % 17.10lf\n", i[0], i[1], i[2]);
  std::fprintf(report.out, "                % 17.10lf % 17.10lf % 17.10lf\n", i[3], i[4], i[5]);
  std::fprintf(report.out, "                % 17.10lf % 17.10lf % 17.10lf\n", i[6], i[7], i[8]);
  std::fprintf(report.out, "\n");
  return true;
}

bool report_masses(const Report &report) noexcept {
  for (const NodeKey &key : sorted_keys(report.body, Kind::shape))
    std::fprintf(report.out, "%9d\t%le\n", key.id, nodal_mass(report.body, key.position));
  std::fprintf(report.out, "\n");
  return true;
}

bool report_inertias(const Report &report) noexcept {
  bool any = false;
  for (const NodeKey &key : sorted_keys(report.body, Kind::shape)) {
    double m[9];
    if (!nodal_inertia(report.body, key.position, m)) continue;
    any = true;
    std::fprintf(report.out, "Inertia Tensor of Node %9d: % 17.10lf % 17.10lf % 17.10lf\n", key.id, m[0], m[1], m[2]);
    for (const double *row : {m + 3, m + 6})
      std::fprintf(report.out, "                                  % 17.10lf % 17.10lf % 17.10lf\n", row[0], row[1],
                   row[2]);
  }
  if (!any) std::fprintf(report.out, "\tNo Nodal Inertia information.\n");
  std::fprintf(report.out, "\n");
  return true;
}

bool report_units(const Report &report) noexcept {
  char mass[17] = {};
  char length[17] = {};
  char time[17] = {};
  char force[17] = {};
  give_units(report.body, mass, length, time, force);
  std::fprintf(report.out, "Units:\n");
  std::fprintf(report.out, "Mass Units    %s\n", mass);
  std::fprintf(report.out, "Length Units  %s\n", length);
  std::fprintf(report.out, "Time Units    %s\n", time);
  std::fprintf(report.out, "Force Units   %s\n", force);
  std::fprintf(report.out, "\n");
  return true;
}

bool report_faces(const Report &report) noexcept {
  const std::span<const std::int32_t> list = report.body.faces.list.span();
  if (list.empty()) return report.no_memory();
  std::fprintf(report.out, "number of faces %d\n\n", report.body.faces.face_count);
  std::size_t at = 0;
  for (int face = 1; face <= report.body.faces.face_count && at < list.size(); ++face) {
    std::fprintf(report.out, "%9d      ", face);
    for (std::int32_t left = list[at++]; left > 0 && at < list.size(); --left)
      std::fprintf(report.out, "%9d", node_id(report.body, list[at++]));
    std::fprintf(report.out, "\n");
  }
  std::fprintf(report.out, "\n");
  return true;
}

bool report_interface_nodes(const Report &report) noexcept {
  int place = 0;
  for (const std::int32_t node : report.body.interface_nodes.nodes)
    std::fprintf(report.out, "%4d %9d \n", ++place, node_id(report.body, node));
  return true;
}

struct ReportStep {
  const char *title;
  ReportBlock print;
  bool banner_first;  // the report prints the banner itself when it has found something
};

// By block number.
constexpr ReportStep kReports[kBlockCount + 1] = {{nullptr, nullptr, true},
                                                  {"Version Code:", report_version, true},
                                                  {"Header:", report_header, true},
                                                  {"Content Summary:", report_content_summary, true},
                                                  {"Nodal Coords:", report_coordinates, true},
                                                  {"Element Topology:", report_element_topology, true},
                                                  {"Global Body Properties:", report_global_properties, true},
                                                  {"Eigenvalues:", report_eigenvalues, true},
                                                  {"Mode Shapes:", report_mode_shapes, true},
                                                  {"Nodal Masses:", report_masses, true},
                                                  {"Nodal Inertias:", report_inertias, true},
                                                  {"SBR Default Units:", report_units, true},
                                                  {"Generalized Stiffness:", report_generalized_stiffness, true},
                                                  {"Generalized Mass:", report_generalized_mass, true},
                                                  {"Element Faces:", report_faces, true},
                                                  {"Generalized Damping:", report_generalized_damping, true},
                                                  {"Mode Shape Transformation:", report_transformation, true},
                                                  {"Interface Nodes:", report_interface_nodes, true},
                                                  {"Node Stress per Mode:", report_stress, true},
                                                  {"Invariant 1:", report_invariant_1, true},
                                                  {"Invariant 2:", report_invariant_2, false},
                                                  {"Invariant 3:", report_invariant_3, false},
                                                  {"Invariant 4:", report_invariant_4, false},
                                                  {"Invariant 5:", report_invariant_5, true},
                                                  {"Invariant 7:", report_invariant_7, true},
                                                  {"Invariant 8:", report_invariant_8, true},
                                                  {"Invariant 9:", report_invariant_9, true},
                                                  {"Modal Preload:", report_preload, true},
                                                  {"Modal Loads:", report_modal_loads, true},
                                                  {"Node Strain per Mode:", report_strain, true},
                                                  {"Modal Statistics:", report_statistics, true},
                                                  {"Nodal Pre-Stress:", report_pre_stress, true},
                                                  {"Nodal Pre-Strain:", report_pre_strain, true},
                                                  {nullptr, nullptr, true},
                                                  {"Matrix Operator:", report_matrix_operators, true},
                                                  {"Modal Load Nodal:", report_modal_load_nodal, true},
                                                  {"Monitor Point:", report_monitor_points, true}};

}  // namespace

void Report::banner() const noexcept {
  constexpr const char *kDashes = "--------------------------------------------------------------------------\n";
  std::fprintf(out, "\n\n%s|%72s|\n", kDashes, "");
  std::fprintf(out, "|    Block %3d:      %-30s                      |\n", number, title);
  std::fprintf(out, "|%72s|\n%s\n\n", "", kDashes);
}

bool Report::no_memory(int line) const noexcept {
  report_no_memory(unit_name::kContents, line);
  return false;
}

}  // namespace sbr

extern "C" {

void SBR_Contents(SBR body, int block_number, FILE *stream) {
  if (!sbr::require_body(body)) return;
  // Builds the keys that node listings walk.
  static_cast<void>(sbr::node_index(*body, 1));
  if (stream == nullptr) return;
  if (block_number >= 1 && block_number <= sbr::kBlockCount && sbr::kReports[block_number].print != nullptr) {
    const sbr::ReportStep &step = sbr::kReports[block_number];
    const sbr::Report report{*body, stream, block_number, step.title};
    if (step.banner_first) report.banner();
    if (!step.print(report)) return;
  }
  std::fflush(stream);
}

}  // extern "C"
