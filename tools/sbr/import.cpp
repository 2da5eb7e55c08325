// sbr import: turns the results of a finite-element run into a record.
#if __has_include(<malloc.h>)
#include <malloc.h>
#endif

#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <iostream>

#include "commandline.h"
#include "common/report.h"
#include "common/text_input.h"
#include "reductionreport.h"
#include "registry/importers.h"
#include "session.h"
#include "unitsystems.h"
#include "writing.h"

namespace sbrtool {
namespace {

using sbrtranslate::ImporterEntry;
using sbrtranslate::ImporterOption;
using sbrtranslate::ImportReport;

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
  line("Mesh", std::to_string(model.element_count) + " elements, " + std::to_string(model.node_count) + " nodes, " +
                   std::to_string(model.interface_nodes.size()) + " of them interface; " +
                   std::to_string(model.surface_face_count) + " of " + std::to_string(model.face_count) +
                   " faces on the surface");
  line("Volume", std::isnan(model.volume) ? "not known" : brief(model.volume, 9));
  if (!model.has_masses) return line("Mass", "not known");
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
  if (report.load_cases > 0) std::cout << "Load cases          " << report.load_cases << ", on nodes and on modes\n";
  if (report.has_state || report.has_preload)
    std::cout << "Start of the modes  a loaded state" << (report.has_state ? ", pre-stress written" : "")
              << (report.has_preload ? ", preload written" : "") << '\n';
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
  const auto known = [&](const Json &value) { return model.has_masses ? value : Json(nullptr); };
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
          {"nodes", model.node_count},
          {"elements", model.element_count},
          {"interface_nodes", model.interface_nodes.size()},
          {"faces", model.face_count},
          {"surface_faces", model.surface_face_count},
          {"volume", finite(model.volume)},
          {"mass", known(finite(model.exact.mass))},
          {"nodal_mass", known(finite(model.lumped.mass))},
          {"center_of_mass", known(finite(centre.data(), 3))},
          {"inertia", known(finite(inertia.data(), 9))},
          {"nodal_inertia", known(finite(lumped.data(), 9))},
          {"constraint_modes", report.constraint_modes},
          {"normal_modes", report.normal_modes},
          {"reduction", report.constraint_modes != 0 ? reduction_json(report.reduction) : Json(nullptr)},
          {"modes", modes},
          {"written", json_of(written)},
          {"load_cases", report.load_cases},
          {"pre_stress", report.has_state},
          {"preload", report.has_preload},
          {"warnings", report.warnings}};
}

struct Request {
  std::unique_ptr<sbrtranslate::Importer> importer;
  std::string input;
  std::string output;
  WriteOptions write;
  std::string units;
  bool all_faces = false;
  bool json = false;
};

// The modes of a reduction are known when the library has made them orthogonal. Where nodes were dropped by then, the
// figures that need all of them are not.
void judge_reduction(SBR body, ImportReport &report) {
  sbrtranslate::report_body_modes(body, report);
  if (static_cast<std::size_t>(SBR_NodeCount(body)) < report.model.node_count) {
    const int rigid = SBR_RigidBodyModeCount(body);
    for (std::size_t i = 0; i < report.modes.size(); ++i) {
      report.modes[i].rigid = static_cast<int>(i) < rigid;
      report.modes[i].lumped_mass = NAN;
    }
  }
  sbrtranslate::judge_modes(report);
}

sbrtranslate::ImportInput input_of(const Request &request) {
  sbrtranslate::ImportInput input;
  input.path = request.input;
  input.progress = show_reduction_progress;
  input.shared_faces = request.all_faces;
  if (request.units.empty()) return input;
  const UnitSystem units = unit_system(request.units);
  input.units = sbrtranslate::UnitLabels{units.mass, units.length, units.time, units.force};
  return input;
}

// Large blocks come from the system one by one and go back to it: what the mesh took is there for the body.
void keep_large_blocks_apart() {
#ifdef M_MMAP_THRESHOLD
  mallopt(M_MMAP_THRESHOLD, 1 << 18);
#endif
}

void import_body(Request &request) {
  keep_large_blocks_apart();
  if (std::filesystem::is_directory(request.output)) throw Failure(kUsage, request.output + ": is a directory");
  ImportReport report;
  sbrtranslate::BodyHandle body;
  try {
    body = request.importer->run(input_of(request), report);
  } catch (const sbrtranslate::InputError &problem) {
    throw Failure(kUnreadable, problem.what());
  } catch (const std::invalid_argument &problem) {
    throw Failure(kUsage, problem.what());
  }
  // The faces between elements are of no use to a solver, unless they are asked for.
  request.write.strip_faces = !request.all_faces;
  const bool reduced = report.constraint_modes + report.normal_modes > 0;
  if (!reduced) report.model.forget_mesh();
  write_record(body.get(), "", request.output, request.write, Errors::fail);
  if (reduced) judge_reduction(body.get(), report);
  // The writer numbers the modes that it exports from 1, and the body keeps the numbers.
  const int first = SBR_ModeIndex(body.get(), 1);
  body.reset();  // what it takes is not needed beside the record
  const Written written = read_back(request.output, report, static_cast<std::size_t>(std::max(first, 0)));
  if (request.json) {
    std::cout << summary_of(report, written, request.output).dump(2) << '\n';
  } else {
    print_masses(report);
    print_modes(report, written);
    print_reduction(report);
    print_written(written, request.output);
  }
  for (const std::string &warning : report.warnings) std::cerr << "warning: " << warning << '\n';
}

}  // namespace

namespace {

// Binds one option of an importer to the command line.
struct AddOption {
  CLI::App &command;
  const ImporterOption &option;

  CLI::Option *operator()(std::string *target) const { return text(*target); }
  CLI::Option *operator()(std::optional<std::string> *target) const { return text(*target); }
  CLI::Option *operator()(std::vector<std::string> *target) const {
    return as_list(command.add_option(option.name, *target, option.description))->type_name(option.value);
  }
  CLI::Option *operator()(std::optional<int> *target) const {
    CLI::Option *added = command.add_option(option.name, *target, option.description);
    return option.least > 0 ? above_zero(added) : added->check(CLI::NonNegativeNumber);
  }
  CLI::Option *operator()(std::optional<double> *target) const {
    CLI::Option *added = command.add_option(option.name, *target, option.description);
    if (option.above_zero) above_zero(added);
    return option.value.empty() ? added : added->type_name(option.value);
  }
  CLI::Option *operator()(bool *target) const { return command.add_flag(option.name, *target, option.description); }
  CLI::Option *operator()(const ImporterOption::Choice &choice) const {
    return command.add_option_function<std::string>(option.name, choice.set, option.description)
        ->check(CLI::IsMember(choice.words));
  }

 private:
  template <class Text>
  CLI::Option *text(Text &target) const {
    return command.add_option(option.name, target, option.description)->type_name(option.value);
  }
};

void add_importer(CLI::App &import, const ImporterEntry &entry) {
  const auto request = std::make_shared<Request>();
  request->importer = entry.make();
  CLI::App *command = import.add_subcommand(entry.name, entry.summary);
  command->add_option(entry.input, request->input, entry.input_text)->required();
  command->add_option("-o,--output", request->output, "The record to be written")->type_name("OUT.sbr")->required();
  for (const ImporterOption &option : request->importer->options()) {
    CLI::Option *added = std::visit(AddOption{*command, option}, option.target);
    if (!option.standard.empty()) added->default_str(option.standard);
    if (option.is_required) added->required();
  }
  command
      ->add_option("--units", request->units,
                   "Units of the input: " + unit_system_names() + ", or MASS,LENGTH,TIME,FORCE")
      ->type_name("SYSTEM")
      ->default_str(entry.units);
  command->add_flag("--all-faces", request->all_faces, "Keep the faces that two elements share");
  command->add_flag("--json", request->json, "Print the summary as JSON");
  add_write_options(*command, request->write);
  command->remove_option(command->get_option("--strip-faces"));  // the rule here
  command->callback([request] { import_body(*request); });
}

}  // namespace

void add_import_commands(CLI::App &app, int &exit_code) {
  (void)exit_code;
  CLI::App *import = app.add_subcommand("import", "Make a record from the results of a finite-element run");
  import->require_subcommand(1);
  for (const ImporterEntry &entry : sbrtranslate::importers()) add_importer(*import, entry);
}

}  // namespace sbrtool
