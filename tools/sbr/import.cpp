// sbr import: turns the results of a finite-element run into a record.
#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <iostream>

#include "calculix/job.h"
#include "commandline.h"
#include "session.h"
#include "unitsystems.h"
#include "writing.h"

namespace sbrtool {
namespace {

using sbrtranslate::ImportOptions;
using sbrtranslate::ImportReport;
using sbrtranslate::ShellSide;
using sbrtranslate::Where;

const std::map<std::string, Where> kPlaces = {{"none", Where::none}, {"surface", Where::surface}, {"all", Where::all}};
const std::map<std::string, ShellSide> kSides = {
    {"top", ShellSide::top}, {"middle", ShellSide::middle}, {"bottom", ShellSide::bottom}};

std::string vector_text(const sbrtranslate::Vec3 &v) { return brief(v[0]) + ", " + brief(v[1]) + ", " + brief(v[2]); }

void print_masses(const ImportReport &report) {
  const auto line = [](const char *name, const std::string &value) {
    std::cout << name << std::string(20 - std::char_traits<char>::length(name), ' ') << value << '\n';
  };
  const auto &model = report.model;
  const auto mesh = model.exact.inertia(model.exact.centre());
  const auto lumped = model.lumped.inertia(model.lumped.centre());
  line("Title", model.mesh.title.empty() ? "-" : clean(model.mesh.title));
  line("Units", report.units.mass + ", " + report.units.length + ", " + report.units.time + ", " + report.units.force);
  line("Mesh", std::to_string(model.mesh.elements.size()) + " elements, " + std::to_string(model.nodes.size()) +
                   " nodes, " + std::to_string(model.interface_nodes.size()) + " of them interface; " +
                   std::to_string(model.surface_face_count) + " of " + std::to_string(model.face_count) +
                   " faces on the surface");
  line("Volume", brief(model.volume, 9));
  line("Mass", brief(model.exact.mass, 9) + "  (sum of the nodal masses " + brief(model.lumped.mass, 9) + ")");
  line("Center of mass", vector_text(model.exact.centre()));
  line("Inertia", brief(mesh[0]) + ", " + brief(mesh[4]) + ", " + brief(mesh[8]) +
                      "  about the center of mass (xx, yy, zz); of the nodal masses " + brief(lumped[0]) + ", " +
                      brief(lumped[4]) + ", " + brief(lumped[8]));
}

// A mode as it stands in the record, with what is known of it from the import.
struct WrittenMode {
  int number = 0;
  bool rigid = false;
  double eigenvalue = 0.0;
  double hz = 0.0;
  double lumped_mass = NAN;  // with all nodes of the mesh; not known of a reduction whose nodes were dropped
  double displacement = 0.0;
  int displacement_node = 0;
  double stress = 0.0;
  int stress_node = 0;
  double full_model_hz = NAN;
};

// What the record holds: its modes may be fewer than those of the job, its nodes and faces too.
struct Written {
  int nodes = 0;
  int faces = 0;
  int interface_nodes = 0;
  int stress_nodes = 0;
  int strain_nodes = 0;
  double mass = 0.0;
  std::array<std::string, 4> units;
  std::vector<WrittenMode> modes;
};

// `first` is the place of the record's first mode among those of the import.
std::vector<WrittenMode> modes_written(SBR record, const ImportReport &report, std::size_t first) {
  std::vector<WrittenMode> modes;
  for (int i = 0; i < SBR_ModeCount(record); ++i) {
    WrittenMode mode;
    mode.number = SBR_ModeNumber(record, i);
    SBR_Eigenvalue(record, mode.number, &mode.eigenvalue, &mode.hz, nullptr, nullptr, nullptr);
    SBR_GetMaxModeDisplacement(record, mode.number, &mode.displacement_node, &mode.displacement);
    if (SBR_ModeNodeCount(record, 1) > 0)
      SBR_GetMaxVonMisesStress(record, mode.number, &mode.stress_node, &mode.stress);
    const std::size_t place = first + static_cast<std::size_t>(i);
    if (place < report.modes.size()) {
      mode.rigid = report.modes[place].rigid;
      mode.lumped_mass = report.modes[place].lumped_mass;
    }
    if (place < report.full_model_hz.size()) mode.full_model_hz = report.full_model_hz[place];
    modes.push_back(mode);
  }
  return modes;
}

Written read_back(const std::string &path, const ImportReport &report, std::size_t first) {
  const Body record = open_record(path);
  Written written;
  int words = 0;
  char units[4][17] = {};
  written.nodes = SBR_NodeCount(record.get());
  SBR_FaceListSize(record.get(), &written.faces, &words);
  const Given<int> interface_nodes(SBR_InterfaceNodes(record.get(), &written.interface_nodes));
  written.stress_nodes = SBR_ModeNodeCount(record.get(), 1);
  written.strain_nodes = SBR_ModeNodeCount(record.get(), 2);
  written.mass = SBR_Invar1(record.get());
  SBR_Units(record.get(), units[0], units[1], units[2], units[3]);
  for (std::size_t i = 0; i < 4; ++i) written.units[i] = clean(units[i]);
  written.modes = modes_written(record.get(), report, first);
  return written;
}

void print_modes(const ImportReport &report, const Written &written) {
  int rigid = 0;
  for (const WrittenMode &mode : written.modes) rigid += mode.rigid ? 1 : 0;
  std::cout << "Modes               " << written.modes.size() << " of " << report.results << ": " << rigid << " rigid, "
            << written.modes.size() - static_cast<std::size_t>(rigid) << " elastic\n";
  if (report.constraint_modes != 0)
    std::cout << "Reduction           " << report.constraint_modes << " constraint modes, " << report.normal_modes
              << " fixed-interface normal modes\n";
  std::cout << "Stress, strain at   " << written.stress_nodes << ", " << written.strain_nodes << " nodes\n\n";
  std::vector<std::string> headings = {"mode",   "", "eigenvalue", "Hz", "mass by nodes", "largest displacement",
                                       "at node"};
  if (written.stress_nodes > 0) headings.insert(headings.end(), {"largest stress", "at node"});
  const bool compares = !report.full_model_hz.empty();
  if (compares) headings.insert(headings.end(), {"full model Hz", "difference %"});
  Table table(headings);
  const auto known = [](double value, int digits) { return std::isnan(value) ? "-" : brief(value, digits); };
  for (const WrittenMode &mode : written.modes) {
    std::vector<std::string> row = {std::to_string(mode.number),
                                    mode.rigid ? "rigid" : "elastic",
                                    brief(mode.eigenvalue, 7),
                                    brief(mode.hz, 7),
                                    known(mode.lumped_mass, 6),
                                    brief(mode.displacement),
                                    std::to_string(mode.displacement_node)};
    if (written.stress_nodes > 0) row.insert(row.end(), {brief(mode.stress), std::to_string(mode.stress_node)});
    if (compares) {
      const bool differs = !mode.rigid && mode.full_model_hz > 0.0;
      row.push_back(known(mode.full_model_hz, 7));
      row.push_back(differs ? brief(100.0 * (mode.hz / mode.full_model_hz - 1.0), 3) : "-");
    }
    table.add(row);
  }
  table.print();
}

void print_written(const Written &written, const std::string &output) {
  std::cout << "\nWritten to " << output << ": " << written.nodes << " nodes, " << written.interface_nodes
            << " of them interface; " << written.faces << " faces; " << written.modes.size() << " modes; mass "
            << brief(written.mass, 9) << ' ' << written.units[0] << '\n';
}

Json json_of(const Written &written) {
  return {{"nodes", written.nodes},
          {"faces", written.faces},
          {"interface_nodes", written.interface_nodes},
          {"modes", written.modes.size()},
          {"stress_nodes", written.stress_nodes},
          {"strain_nodes", written.strain_nodes},
          {"mass", finite(written.mass)},
          {"units", written.units}};
}

Json summary_of(const ImportReport &report, const Written &written, const std::string &output) {
  const auto &model = report.model;
  const auto centre = model.exact.centre();
  const auto inertia = model.exact.inertia(centre);
  const auto lumped = model.lumped.inertia(model.lumped.centre());
  Json modes = Json::array();
  for (const WrittenMode &mode : written.modes)
    modes.push_back({{"number", mode.number},
                     {"rigid", mode.rigid},
                     {"eigenvalue", finite(mode.eigenvalue)},
                     {"hz", finite(mode.hz)},
                     {"mass_by_nodes", finite(mode.lumped_mass)},
                     {"largest_displacement", finite(mode.displacement)},
                     {"displacement_node", mode.displacement_node},
                     {"largest_stress", written.stress_nodes > 0 ? finite(mode.stress) : Json(nullptr)},
                     {"stress_node", mode.stress_node}});
  return {{"record", output},
          {"title", clean(model.mesh.title)},
          {"units", {report.units.mass, report.units.length, report.units.time, report.units.force}},
          {"nodes", model.nodes.size()},
          {"elements", model.mesh.elements.size()},
          {"interface_nodes", model.interface_nodes.size()},
          {"faces", model.face_count},
          {"surface_faces", model.surface_face_count},
          {"volume", finite(model.volume)},
          {"mass", finite(model.exact.mass)},
          {"nodal_mass", finite(model.lumped.mass)},
          {"center_of_mass", finite(centre.data(), 3)},
          {"inertia", finite(inertia.data(), 9)},
          {"nodal_inertia", finite(lumped.data(), 9)},
          {"constraint_modes", report.constraint_modes},
          {"normal_modes", report.normal_modes},
          {"modes", modes},
          {"written", json_of(written)},
          {"warnings", report.warnings}};
}

struct Request {
  ImportOptions import;
  std::string output;
  WriteOptions write;
  std::string units = "mm-t-s-N";
  bool all_faces = false;
  std::vector<std::string> matrices;
  bool json = false;
};

void take_matrices(Request &request) {
  const bool limits = request.import.normal || request.import.max_hz;
  if (request.matrices.empty()) {
    if (limits) throw Failure(kUsage, "--normal and --max-hz belong to --matrices");
    return;
  }
  if (!limits) throw Failure(kUsage, "--matrices needs --normal or --max-hz");
  if (request.matrices.size() != 3)
    throw Failure(kUsage, "--matrices: three files are needed, JOB.mas,JOB.sti,JOB.dof, not " +
                              std::to_string(request.matrices.size()));
  request.import.matrices = sbrtranslate::MatrixFiles{request.matrices[0], request.matrices[1], request.matrices[2]};
}

// The modes of a reduction are known when the library has made them orthogonal. Where nodes were dropped by then, the
// figures that need all of them are not.
void judge_reduction(SBR body, ImportReport &report) {
  sbrtranslate::report_body_modes(body, report);
  if (static_cast<std::size_t>(SBR_NodeCount(body)) < report.model.nodes.size()) {
    const int rigid = SBR_RigidBodyModeCount(body);
    for (std::size_t i = 0; i < report.modes.size(); ++i) {
      report.modes[i].rigid = static_cast<int>(i) < rigid;
      report.modes[i].lumped_mass = NAN;
    }
  }
  sbrtranslate::judge_modes(report);
}

void import_job(Request request) {
  take_matrices(request);
  if (std::filesystem::is_directory(request.output)) throw Failure(kUsage, request.output + ": is a directory");
  const UnitSystem units = unit_system(request.units);
  request.import.units = {units.mass, units.length, units.time, units.force};
  // The faces between elements are of no use to a solver, unless they are asked for.
  request.write.strip_faces = !request.all_faces;
  ImportReport report;
  sbrtranslate::BodyHandle body;
  try {
    body = sbrtranslate::import_ccx(request.import, report);
  } catch (const sbrtranslate::InputError &problem) {
    throw Failure(kUnreadable, problem.what());
  } catch (const std::invalid_argument &problem) {
    throw Failure(kUsage, problem.what());
  }
  write_record(body.get(), "", request.output, request.write, Errors::fail);
  if (request.import.matrices) judge_reduction(body.get(), report);
  // The writer numbers the modes that it exports from 1, and the body keeps the numbers.
  const int first = SBR_ModeIndex(body.get(), 1);
  const Written written = read_back(request.output, report, static_cast<std::size_t>(std::max(first, 0)));
  if (request.json) {
    std::cout << summary_of(report, written, request.output).dump(2) << '\n';
  } else {
    print_masses(report);
    print_modes(report, written);
    print_written(written, request.output);
  }
  for (const std::string &warning : report.warnings) std::cerr << "warning: " << warning << '\n';
}

}  // namespace

namespace {

void add_ccx_options(CLI::App &ccx, Request &request) {
  ImportOptions &options = request.import;
  ccx.add_option("JOB.inp", options.deck, "The deck")->required();
  ccx.add_option("-o,--output", request.output, "The record to be written")->type_name("OUT.sbr")->required();
  ccx.add_option("--frd", options.frd, "The results; by default JOB.frd or JOB.frd.gz beside the deck")
      ->type_name("FILE");
  ccx.add_option("--dat", options.dat, "The eigenvalue table; by default JOB.dat or JOB.dat.gz, if there is one")
      ->type_name("FILE");
  ccx.add_option("--units", request.units, "Units of the deck: " + unit_system_names() + ", or MASS,LENGTH,TIME,FORCE")
      ->type_name("SYSTEM")
      ->capture_default_str();
  as_list(ccx.add_option("--interface", options.interfaces, "Node sets that become the interface nodes"))
      ->type_name("SET,...");
  ccx.add_option("--stress", options.stress, "Nodes with modal stress; by default those at the surface")
      ->transform(CLI::CheckedTransformer(kPlaces));
  ccx.add_option("--strain", options.strain, "Nodes with modal strain; by default none")
      ->transform(CLI::CheckedTransformer(kPlaces));
  ccx.add_option("--shell-side", options.shell_side,
                 "Side of shells that stress and strain are taken from; by default the top, and the middle where "
                 "the results have no sides")
      ->transform(CLI::CheckedTransformer(kSides));
  above_zero(ccx.add_option("--modes", options.modes, "Take the first N modes only"));
  as_list(ccx.add_option("--matrices", request.matrices, "Reduce the solver's matrices instead"))
      ->type_name("JOB.mas,JOB.sti,JOB.dof");
  ccx.add_option("--normal", options.normal, "With --matrices: add N fixed-interface normal modes")
      ->check(CLI::NonNegativeNumber);
  above_zero(ccx.add_option("--max-hz", options.max_hz, "With --matrices: add the normal modes up to this frequency"))
      ->type_name("HZ");
  ccx.add_flag("--force", options.force, "Take results whose mesh or mass is not that of the deck");
  ccx.add_flag("--all-faces", request.all_faces, "Keep the faces that two elements share");
  ccx.add_flag("--json", request.json, "Print the summary as JSON");
  add_write_options(ccx, request.write);
  ccx.remove_option(ccx.get_option("--strip-faces"));  // the rule here
}

}  // namespace

void add_import_commands(CLI::App &app, int &exit_code) {
  (void)exit_code;
  const auto request = std::make_shared<Request>();
  CLI::App *import = app.add_subcommand("import", "Make a record from the results of a finite-element run");
  import->require_subcommand(1);
  CLI::App *ccx = import->add_subcommand("ccx", "From a CalculiX job: deck, .frd and .dat, or deck and matrices");
  add_ccx_options(*ccx, *request);
  ccx->callback([request] { import_job(*request); });
}

}  // namespace sbrtool
