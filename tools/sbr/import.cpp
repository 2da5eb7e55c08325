// sbr import: turns the results of a finite-element run into a record.
#include <filesystem>
#include <iostream>

#include "ccximport.h"
#include "session.h"
#include "unitsystems.h"
#include "writing.h"

namespace sbrtool {
namespace {

using sbrtranslate::ImportOptions;
using sbrtranslate::ImportReport;
using sbrtranslate::ModeReport;
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
  const auto mesh = model.mesh.inertia(model.mesh.centre());
  const auto lumped = model.lumped.inertia(model.lumped.centre());
  line("Title", model.deck.title.empty() ? "-" : clean(model.deck.title));
  line("Units", report.units.mass + ", " + report.units.length + ", " + report.units.time + ", " + report.units.force);
  line("Mesh", std::to_string(model.deck.elements.size()) + " elements, " + std::to_string(model.nodes.size()) +
                   " nodes, " + std::to_string(model.interface_nodes.size()) + " of them interface; " +
                   std::to_string(model.surface_face_count) + " of " + std::to_string(model.face_count) +
                   " faces on the surface");
  line("Volume", brief(model.volume, 9));
  line("Mass", brief(model.mesh.mass, 9) + "  (sum of the nodal masses " + brief(model.lumped.mass, 9) + ")");
  line("Center of mass", vector_text(model.mesh.centre()));
  line("Inertia", brief(mesh[0]) + ", " + brief(mesh[4]) + ", " + brief(mesh[8]) +
                      "  about the center of mass (xx, yy, zz); of the nodal masses " + brief(lumped[0]) + ", " +
                      brief(lumped[4]) + ", " + brief(lumped[8]));
}

void print_modes(const ImportReport &report) {
  int rigid = 0;
  for (const ModeReport &mode : report.modes) rigid += mode.rigid ? 1 : 0;
  std::cout << "Modes               " << report.modes.size() << " of " << report.results << ": " << rigid << " rigid, "
            << report.modes.size() - static_cast<std::size_t>(rigid) << " elastic\n";
  if (report.constraint_modes != 0)
    std::cout << "Reduction           " << report.constraint_modes << " constraint modes, " << report.normal_modes
              << " fixed-interface normal modes\n";
  std::cout << "Stress, strain at   " << report.stress_nodes << ", " << report.strain_nodes << " nodes\n\n";
  std::vector<std::string> headings = {"mode",   "", "eigenvalue", "Hz", "mass by nodes", "largest displacement",
                                       "at node"};
  if (report.has_stress) headings.insert(headings.end(), {"largest stress", "at node"});
  const bool compares = !report.full_model_hz.empty();
  if (compares) headings.insert(headings.end(), {"full model Hz", "difference %"});
  Table table(headings);
  for (std::size_t i = 0; i < report.modes.size(); ++i) {
    const ModeReport &mode = report.modes[i];
    std::vector<std::string> row = {std::to_string(mode.number),
                                    mode.rigid ? "rigid" : "elastic",
                                    brief(mode.eigenvalue, 7),
                                    brief(mode.hz, 7),
                                    brief(mode.lumped_mass),
                                    brief(mode.largest_displacement),
                                    std::to_string(mode.displacement_node)};
    if (report.has_stress) row.insert(row.end(), {brief(mode.largest_stress), std::to_string(mode.stress_node)});
    if (compares) {
      const bool there = i < report.full_model_hz.size();
      const double full = there ? report.full_model_hz[i] : 0.0;
      row.push_back(there ? brief(full, 7) : "-");
      row.push_back(there && !mode.rigid && full > 0.0 ? brief(100.0 * (mode.hz / full - 1.0), 3) : "-");
    }
    table.add(row);
  }
  table.print();
}

Json summary_of(const ImportReport &report, const std::string &output) {
  const auto &model = report.model;
  const auto centre = model.mesh.centre();
  const auto inertia = model.mesh.inertia(centre);
  const auto lumped = model.lumped.inertia(model.lumped.centre());
  Json modes = Json::array();
  for (const ModeReport &mode : report.modes)
    modes.push_back({{"number", mode.number},
                     {"rigid", mode.rigid},
                     {"eigenvalue", finite(mode.eigenvalue)},
                     {"hz", finite(mode.hz)},
                     {"mass_by_nodes", finite(mode.lumped_mass)},
                     {"largest_displacement", finite(mode.largest_displacement)},
                     {"displacement_node", mode.displacement_node},
                     {"largest_stress", report.has_stress ? finite(mode.largest_stress) : Json(nullptr)},
                     {"stress_node", mode.stress_node}});
  return {{"record", output},
          {"title", clean(model.deck.title)},
          {"units", {report.units.mass, report.units.length, report.units.time, report.units.force}},
          {"nodes", model.nodes.size()},
          {"elements", model.deck.elements.size()},
          {"interface_nodes", model.interface_nodes.size()},
          {"faces", model.face_count},
          {"surface_faces", model.surface_face_count},
          {"volume", finite(model.volume)},
          {"mass", finite(model.mesh.mass)},
          {"nodal_mass", finite(model.lumped.mass)},
          {"center_of_mass", finite(centre.data(), 3)},
          {"inertia", finite(inertia.data(), 9)},
          {"nodal_inertia", finite(lumped.data(), 9)},
          {"constraint_modes", report.constraint_modes},
          {"normal_modes", report.normal_modes},
          {"modes", modes},
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
  request.import.matrices = sbrtranslate::MatrixFiles{request.matrices[0], request.matrices[1], request.matrices[2]};
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
  if (request.import.matrices) {
    sbrtranslate::report_body_modes(body.get(), report);
    sbrtranslate::judge_modes(report);
  }
  if (request.json) {
    std::cout << summary_of(report, request.output).dump(2) << '\n';
  } else {
    print_masses(report);
    print_modes(report);
    std::cout << "\nWritten to " << request.output << '\n';
  }
  for (const std::string &warning : report.warnings) std::cerr << "warning: " << warning << '\n';
}

}  // namespace

void add_import_commands(CLI::App &app, int &exit_code) {
  (void)exit_code;
  const auto request = std::make_shared<Request>();
  CLI::App *import = app.add_subcommand("import", "Make a record from the results of a finite-element run");
  import->require_subcommand(1);
  CLI::App *ccx = import->add_subcommand("ccx", "From a CalculiX job: deck, .frd and .dat, or deck and matrices");
  ImportOptions &options = request->import;
  ccx->add_option("JOB.inp", options.deck, "The deck")->required();
  ccx->add_option("-o,--output", request->output, "The record to be written")->required();
  ccx->add_option("--frd", options.frd, "The results; default: JOB.frd or JOB.frd.gz beside the deck");
  ccx->add_option("--dat", options.dat, "The eigenvalue table; default: JOB.dat or JOB.dat.gz, if there is one");
  ccx->add_option("--units", request->units,
                  "Units of the deck: " + unit_system_names() + ", or MASS,LENGTH,TIME,FORCE")
      ->capture_default_str();
  ccx->add_option("--interface", options.interfaces, "Node sets that become the interface nodes")->delimiter(',');
  ccx->add_option("--stress", options.stress, "Modal stress at: none, surface, all; default: surface")
      ->transform(CLI::CheckedTransformer(kPlaces));
  ccx->add_option("--strain", options.strain, "Modal strain at: none, surface, all; default: none")
      ->transform(CLI::CheckedTransformer(kPlaces));
  ccx->add_option("--shell-side", options.shell_side, "Side of shells that stress and strain are taken from")
      ->transform(CLI::CheckedTransformer(kSides))
      ->default_str("top");
  ccx->add_option("--modes", options.modes, "Take the first N modes only")->check(CLI::PositiveNumber);
  ccx->add_option("--matrices", request->matrices, "JOB.mas,JOB.sti,JOB.dof: reduce the solver's matrices instead")
      ->delimiter(',')
      ->expected(3);
  ccx->add_option("--normal", options.normal, "With --matrices: add N fixed-interface normal modes")
      ->check(CLI::NonNegativeNumber);
  ccx->add_option("--max-hz", options.max_hz, "With --matrices: add the normal modes up to this frequency")
      ->check(CLI::PositiveNumber);
  ccx->add_flag("--all-faces", request->all_faces, "Keep the faces that two elements share");
  ccx->add_flag("--json", request->json, "Print the summary as JSON");
  add_write_options(*ccx, request->write);
  ccx->remove_option(ccx->get_option("--strip-faces"));  // the rule here
  ccx->callback([request] { import_job(*request); });
}

}  // namespace sbrtool
