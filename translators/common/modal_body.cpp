#include "common/modal_body.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <map>
#include <numbers>
#include <stdexcept>

#include "common/progress.h"
#include "common/rigid_fit.h"

namespace sbrtranslate {
namespace {

void take_shape(SBR body, const ModalSource &source, std::size_t mode, const RigidFit &fit, ImportReport &report,
                std::vector<double> &six) {
  source.shape(mode, six);
  ModeReport &told = report.modes[mode];
  const NodalMotion motion(six, 6);
  feed_shape(body, told.number, report.model, motion);
  fit.judge([&](std::size_t i) { return motion.translation(i); }, told);
}

void feed_stress(SBR body, const ModalSource &source, std::size_t mode, Where where, const ImportReport &report,
                 std::vector<double> &six) {
  source.stress(mode, six);
  const auto &nodes = report.model.nodes;
  for (std::size_t i = 0; i < nodes.size(); ++i)
    if (where == Where::all || nodes[i].surface)
      require(SBR_SetModeVec(body, report.modes[mode].number, nodes[i].id, 1, &six[6 * i]), "stress of a mode");
}

// The generalized masses: told by the source, or by the rule once the nodal masses have given theirs.
std::vector<double> generalized_masses(const ModalSource &source, MassRule rule, ImportReport &report) {
  std::vector<double> masses;
  bool unknown = false;
  bool near_one = true;
  for (std::size_t i = 0; i < report.modes.size(); ++i) {
    masses.push_back(source.modes[i].generalized_mass);
    if (!std::isnan(masses[i])) continue;
    unknown = true;
    near_one = near_one && report.modes[i].lumped_mass > 0.5 && report.modes[i].lumped_mass < 2.0;
  }
  if (!unknown) return masses;
  const bool weighed = report.model.has_masses;
  if (rule == MassRule::nodes && !weighed)
    throw std::invalid_argument("generalized masses from the nodes need a mass: give the density");
  const bool unit = rule == MassRule::unit || (rule == MassRule::automatic && (near_one || !weighed));
  if (rule == MassRule::automatic && !weighed)
    report.warnings.push_back(
        "generalized masses are not known and are taken as 1; nothing can confirm it without a "
        "density");
  if (rule == MassRule::automatic && weighed && !near_one)
    report.warnings.push_back(
        "the shapes are not scaled to unit generalized mass: the generalized masses are those of "
        "the nodal masses");
  for (std::size_t i = 0; i < masses.size(); ++i)
    if (std::isnan(masses[i])) masses[i] = unit ? 1.0 : report.modes[i].lumped_mass;
  return masses;
}

Where stress_places(const ModalSource &source, const ModalOptions &options, ImportReport &report) {
  if (source.stress) return options.stress.value_or(Where::surface);
  if (options.stress.value_or(Where::none) != Where::none)
    throw InputError({source.file, 0}, "the file has no stress that can be taken");
  (void)report;
  return Where::none;
}

}  // namespace

void ModalOptions::describe(std::vector<ImporterOption> &list, bool has_stress) {
  const std::vector<std::pair<std::string, Where>> places = {
      {"all", Where::all}, {"none", Where::none}, {"surface", Where::surface}};
  const std::vector<std::pair<std::string, MassRule>> rules = {
      {"auto", MassRule::automatic}, {"nodes", MassRule::nodes}, {"unit", MassRule::unit}};
  const auto option = [](const char *name, ImporterOption::Target target, const char *text) {
    return ImporterOption{name, std::move(target), text, {}, {}};
  };
  list.push_back(option("--interface", &interfaces, "Node sets that become the interface nodes").shown("SET,..."));
  list.push_back(
      option("--density", &density, "Mass by volume of all elements; without it the record has no masses").shown("X"));
  list.push_back(option("--thickness", &thickness, "Thickness of shells for which the file has none").shown("X"));
  if (has_stress)
    list.push_back(choice("--stress", places, stress, "Nodes with modal stress; by default those at the surface"));
  list.push_back(option("--modes", &modes, "Take the first N modes only").at_least(1));
  list.push_back(
      choice("--modal-mass", rules, rule,
             "Generalized masses that the file does not tell: 1, those of the nodal masses, or (auto) 1 where "
             "the nodal masses agree with that")
          .by_default("auto"));
}

void build_modal_model(Mesh mesh, const ModalOptions &options, const std::function<double(std::size_t)> &thickness_of,
                       ImportReport &report) {
  Material material;
  material.density = options.density.value_or(1.0);
  material.has_density = true;
  mesh.materials["ALL"] = material;
  std::map<double, int> sections;  // by thickness; 0 for solids
  for (std::size_t e = 0; e < mesh.elements.size(); ++e) {
    MeshElement &element = mesh.elements[e];
    double thickness = element.type->shell() ? thickness_of(e) : 0.0;
    if (element.type->shell() && !(thickness > 0.0)) {
      if (!options.thickness)
        throw std::invalid_argument("element " + std::to_string(element.id) +
                                    " is a shell without a thickness in the file; give --thickness");
      thickness = *options.thickness;
    }
    const auto [at, fresh] = sections.try_emplace(thickness, static_cast<int>(mesh.sections.size()));
    if (fresh) {
      Section section;
      section.material = "ALL";
      section.shell = element.type->shell();
      section.thickness = thickness;
      mesh.sections.push_back(section);
    }
    element.section = at->second;
  }
  report.model = build_model(std::move(mesh), options.interfaces);
  report.model.has_masses = options.density.has_value();
  if (!report.model.has_masses)
    report.warnings.push_back("the record has no masses: give --density for mass, center and inertia");
}

void build_point_model(Mesh mesh, const ModalOptions &options, ImportReport &report) {
  if (options.density) throw std::invalid_argument("--density needs elements, and the input has none");
  Model model;
  model.mesh = std::move(mesh);
  if (model.mesh.nodes.empty()) throw InputError({model.mesh.files.front(), 0}, "the file has no nodes");
  Vec3 low = model.mesh.nodes.front().place;
  Vec3 high = low;
  for (const MeshNode &from : model.mesh.nodes) {
    BodyNode node;
    node.id = from.id;
    node.place = from.place;
    node.mass = 1.0;  // a weight for the judgement of rigid motions
    node.surface = true;
    model.nodes.push_back(node);
    model.lumped.add(1.0, from.place);
    for (std::size_t k = 0; k < 3; ++k) {
      low[k] = std::min(low[k], from.place[k]);
      high[k] = std::max(high[k], from.place[k]);
    }
  }
  model.node_count = model.nodes.size();
  model.exact = model.lumped;
  model.pieces = 1;
  for (std::size_t k = 0; k < 3; ++k) model.extent = std::max(model.extent, high[k] - low[k]);
  model.has_masses = false;
  for (const std::string &name : options.interfaces) {
    const auto set = model.mesh.node_sets.find(upper(name));
    if (set == model.mesh.node_sets.end() || set->second.empty())
      throw InputError({model.mesh.files.front(), 0}, "no node set '" + name + "'");
    model.interface_nodes.insert(model.interface_nodes.end(), set->second.begin(), set->second.end());
  }
  auto &list = model.interface_nodes;
  std::sort(list.begin(), list.end());
  list.erase(std::unique(list.begin(), list.end()), list.end());
  report.model = std::move(model);
  report.warnings.push_back("the input has no elements: the record has no masses and no faces of solids or shells");
}

BodyHandle make_modal_body(const ModalSource &source, const ModalOptions &options, ImportReport &report) {
  report.results = source.file;
  if (source.modes.empty()) throw InputError({source.file, 0}, "the file has no modes");
  const auto available = static_cast<int>(source.modes.size());
  const int count = options.modes.value_or(available);
  if (count > available)
    throw InputError({source.file, 0},
                     std::to_string(count) + " modes asked for, the file has " + std::to_string(available));
  const Where stress = stress_places(source, options, report);
  report.has_stress = stress != Where::none;
  BodyHandle body = create_body(
      report.model, report.units, source.program, count, source.file,
      {source.comment, report.model.has_masses ? "Nodal masses with the inertia of the elements" : "No masses", ""});
  const RigidFit fit(report.model);
  std::vector<double> six(6 * report.model.nodes.size());
  Progress progress;
  progress.begin(0, static_cast<std::uint64_t>(count));
  for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
    ModeReport mode;
    mode.number = static_cast<int>(i) + 1;
    const double rate = 2.0 * std::numbers::pi * source.modes[i].hz;
    mode.hz = source.modes[i].hz;
    mode.eigenvalue = std::copysign(rate * rate, source.modes[i].hz);
    report.modes.push_back(mode);
    take_shape(body.get(), source, i, fit, report, six);
    if (stress != Where::none) feed_stress(body.get(), source, i, stress, report, six);
    progress.at(i + 1);
  }
  const std::vector<double> masses = generalized_masses(source, options.rule, report);
  for (std::size_t i = 0; i < masses.size(); ++i) {
    ModeReport &mode = report.modes[i];
    if (!(masses[i] > 0.0) || !std::isfinite(masses[i]))
      throw InputError({source.file, 0}, "mode " + std::to_string(mode.number) + " has the generalized mass " +
                                             show(masses[i]) + "; --modal-mass tells what to take instead");
    require(SBR_SetGeneralizedMass(body.get(), mode.number, mode.number, masses[i]), "a generalized mass");
    require(SBR_SetGeneralizedStiffness(body.get(), mode.number, mode.number, mode.eigenvalue * masses[i]),
            "a generalized stiffness");
    if (!report.model.has_masses) mode.lumped_mass = std::numeric_limits<double>::quiet_NaN();
  }
  report.stress_nodes = SBR_ModeNodeCount(body.get(), 1);
  return body;
}

}  // namespace sbrtranslate
