#include "universal/importer.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <filesystem>
#include <numbers>
#include <stdexcept>

#include "common/modal_body.h"
#include "gmsh/file.h"
#include "universal/file.h"

namespace sbrtranslate {
namespace {

enum class Missing { refuse, zero };

// A label of the record with its size in SI units.
struct Label {
  const char *name;
  double size;
};
constexpr Label kLengths[] = {
    {"METER", 1.0}, {"CENTIMETER", 0.01}, {"MILLIMETER", 0.001}, {"INCH", 0.0254}, {"FOOT", 0.3048}};
constexpr Label kForces[] = {{"NEWTON", 1.0},
                             {"KNEWTON", 1000.0},
                             {"MILLINEWTON", 0.001},
                             {"DYNE", 1e-5},
                             {"POUND_FORCE", 4.4482216152605},
                             {"KILOGRAM_FORCE", 9.80665}};
constexpr Label kMasses[] = {{"KILOGRAM", 1.0},
                             {"MEGAGRAM", 1000.0},
                             {"GRAM", 0.001},
                             {"SLUG", 14.593902937206366},
                             {"SLINCH", 175.1268352464764},
                             {"POUND_MASS", 0.45359237}};

template <std::size_t kCount>
const char *label_of(const Label (&labels)[kCount], double size) {
  for (const Label &label : labels)
    if (std::fabs(label.size / size - 1.0) < 1e-4) return label.name;
  return nullptr;
}

// The labels of the units of the file. With the second as the unit of time, a mass is force by acceleration.
UnitLabels labels_of(const UniversalUnits &units) {
  const char *length = label_of(kLengths, 1.0 / units.length);
  const char *force = label_of(kForces, 1.0 / units.force);
  const char *mass = label_of(kMasses, units.length / units.force);
  if (length == nullptr || force == nullptr || mass == nullptr)
    throw InputError(units.place, "units with the factors " + show(units.length, 9) + " of length and " +
                                      show(units.force, 9) +
                                      " of force have no labels in a record; export the file in other units");
  return {mass, length, "SECOND", force};
}

UnitLabels choose_units(const UniversalFile &file, const std::string &path, const std::optional<UnitLabels> &asked,
                        ImportReport &report) {
  if (!file.units) {
    if (!asked)
      report.warnings.push_back(path + " does not tell its units (dataset 164): SI is taken; --units tells others");
    return asked.value_or(UnitLabels{"KILOGRAM", "METER", "SECOND", "NEWTON"});
  }
  UnitLabels told = labels_of(*file.units);
  if (asked && (asked->length != told.length || asked->mass != told.mass || asked->force != told.force ||
                asked->time != told.time))
    throw InputError(file.units->place, "the units of the file are " + told.mass + ", " + told.length + ", " +
                                            told.time + ", " + told.force + ", not those of --units");
  return told;
}

class UniversalImporter : public Importer {
 public:
  std::vector<ImporterOption> options() override;
  BodyHandle run(const ImportInput &input, ImportReport &report) override;

 private:
  void build(UniversalFile &file, ImportReport &report);
  void realize_modes(UniversalFile &file, ImportReport &report) const;
  void realize_mode(UniversalMode &mode, ImportReport &report) const;
  void locate(const UniversalFile &file, const Model &model, ImportReport &report);
  void check_stresses(const UniversalFile &file, const Model &model, ImportReport &report);

  ModalOptions modal_;
  bool realize_ = false;
  Missing missing_ = Missing::refuse;
  std::optional<std::string> mesh_;
  std::vector<std::vector<std::size_t>> places_;  // by mode: the place in the model of each of its nodes
  std::vector<std::vector<std::size_t>> stress_places_;
};

constexpr std::size_t kNone = static_cast<std::size_t>(-1);

std::vector<ImporterOption> UniversalImporter::options() {
  std::vector<ImporterOption> list;
  modal_.describe(list, true);
  list.push_back(
      ImporterOption{"--mesh", &mesh_, "A gmsh mesh on the nodes of the file, where it has no elements", {}, {}}.shown(
          "BODY.msh"));
  list.push_back(
      ImporterOption{"--realize", &realize_, "Take complex modes as the real modes that come nearest to them", {}, {}});
  const std::vector<std::pair<std::string, Missing>> rules = {{"refuse", Missing::refuse}, {"zero", Missing::zero}};
  list.push_back(choice("--missing", rules, missing_, "What nodes without values in a mode mean: an error, or rest")
                     .by_default("refuse"));
  return list;
}

void UniversalImporter::build(UniversalFile &file, ImportReport &report) {
  Mesh mesh = std::move(file.mesh);
  if (mesh_) {
    if (!mesh.elements.empty())
      throw std::invalid_argument("--mesh is for files without elements, and " + mesh.files.front() + " has some");
    mesh = mesh_on_nodes(std::move(mesh), read_msh(*mesh_));
  }
  if (mesh.elements.empty())
    build_point_model(std::move(mesh), modal_, report);
  else
    build_modal_model(
        std::move(mesh), modal_, [](std::size_t) { return 0.0; }, report);
  judge_model(report);
}

// The real mode nearest to a complex one; see realize_shape(). For damping in proportion to mass and stiffness, modal A
// is 2 i w m of the turned shape, w the damped circular frequency and m the generalized mass.
void UniversalImporter::realize_mode(UniversalMode &mode, ImportReport &report) const {
  std::vector<std::complex<double>> shape;
  for (std::size_t i = 0; i + 1 < mode.values.size(); i += 2) shape.emplace_back(mode.values[i], mode.values[i + 1]);
  const RealizedShape real = realize_shape(shape);
  mode.values = real.values;
  if (mode.eigenvalue != std::complex<double>()) {
    mode.hz = std::abs(mode.eigenvalue) / (2.0 * std::numbers::pi);
    const std::complex<double> twice(0.0, 2.0 * mode.eigenvalue.imag());
    mode.modal_mass = twice == std::complex<double>() ? std::numeric_limits<double>::quiet_NaN()
                                                      : (real.turn * real.turn * mode.modal_mass / twice).real();
  }
  if (real.collinearity < 0.95)
    report.warnings.push_back("mode " + std::to_string(mode.number) + " is far from real: its phase collinearity is " +
                              show(real.collinearity, 3));
}

void UniversalImporter::realize_modes(UniversalFile &file, ImportReport &report) const {
  for (UniversalMode &mode : file.shapes) {
    if (!mode.is_complex) continue;
    if (!realize_)
      throw InputError(mode.place, "mode " + std::to_string(mode.number) +
                                       " is complex; export real normal modes, or take the nearest real ones with "
                                       "--realize");
    realize_mode(mode, report);
  }
  for (const UniversalMode &mode : file.stresses)
    if (mode.is_complex) throw InputError(mode.place, "stress of a complex mode cannot be taken");
}

// Where each value belongs; a node twice in a mode, or one that the mesh does not have, is refused.
void UniversalImporter::locate(const UniversalFile &file, const Model &model, ImportReport &report) {
  const auto places_of = [&](const UniversalMode &mode, std::vector<char> &seen) {
    std::vector<std::size_t> places;
    seen.assign(model.nodes.size(), 0);
    for (const int id : mode.nodes) {
      const int position = model.node_position(id);
      if (position < 0 && !model.leaves_out(id))
        throw InputError(mode.place, "mode " + std::to_string(mode.number) + " has values at node " +
                                         std::to_string(id) + ", which the file does not have");
      places.push_back(position < 0 ? kNone : static_cast<std::size_t>(position));
      if (position < 0) continue;
      char &mark = seen[static_cast<std::size_t>(position)];
      if (mark != 0)
        throw InputError(mode.place,
                         "mode " + std::to_string(mode.number) + " has node " + std::to_string(id) + " twice");
      mark = 1;
    }
    return places;
  };
  std::vector<char> seen;
  std::size_t at_rest = 0;
  for (const UniversalMode &mode : file.shapes) {
    places_.push_back(places_of(mode, seen));
    const auto gap = std::find(seen.begin(), seen.end(), 0);
    if (gap == seen.end()) continue;
    const int id = model.nodes[static_cast<std::size_t>(gap - seen.begin())].id;
    if (missing_ == Missing::refuse)
      throw InputError(mode.place, "mode " + std::to_string(mode.number) + " has no values at node " +
                                       std::to_string(id) + "; --missing zero leaves such nodes at rest");
    at_rest = std::max(at_rest, static_cast<std::size_t>(std::count(seen.begin(), seen.end(), 0)));
  }
  if (at_rest != 0)
    report.warnings.push_back(std::to_string(at_rest) + " nodes have no values in some mode and rest there");
  for (const UniversalMode &mode : file.stresses) stress_places_.push_back(places_of(mode, seen));
}

// Stress is taken when each mode has one, at every node that is asked for.
void UniversalImporter::check_stresses(const UniversalFile &file, const Model &model, ImportReport &report) {
  std::string why;
  if (file.stresses.size() != file.shapes.size())
    why = std::to_string(file.stresses.size()) + " stresses for " + std::to_string(file.shapes.size()) + " modes";
  const bool all = modal_.stress.value_or(Where::surface) == Where::all;
  for (std::size_t i = 0; i < file.stresses.size() && why.empty(); ++i) {
    const std::string name = "the stress of mode " + std::to_string(file.stresses[i].number);
    if (file.stresses[i].number != file.shapes[i].number) why = name + " does not stand where its shape does";
    std::vector<char> seen(model.nodes.size(), 0);
    for (const std::size_t place : stress_places_[i])
      if (place != kNone) seen[place] = 1;
    for (std::size_t n = 0; n < seen.size() && why.empty(); ++n)
      if (seen[n] == 0 && (all || model.nodes[n].surface))
        why = name + " has no values at node " + std::to_string(model.nodes[n].id);
  }
  if (why.empty()) return;
  stress_places_.clear();
  if (modal_.stress.value_or(Where::none) != Where::none)
    throw InputError({model.mesh.files.front(), 0}, "no stress: " + why);
  if (!file.stresses.empty()) report.warnings.push_back("the record is written without stress: " + why);
}

BodyHandle UniversalImporter::run(const ImportInput &input, ImportReport &report) {
  UniversalFile file = read_universal(input.path);
  report.warnings = file.warnings;
  report.units = choose_units(file, input.path, input.units, report);
  if (file.shapes.empty())
    throw InputError({input.path, 0}, "the file has no modes at nodes (datasets 55 and 2414 with normal modes)");
  realize_modes(file, report);
  build(file, report);
  report.model.with_shared_faces = input.shared_faces;
  locate(file, report.model, report);
  if (modal_.stress.value_or(Where::surface) != Where::none) check_stresses(file, report.model, report);

  ModalSource source;
  source.program = "Universal file";
  source.file = input.path;
  source.comment = "Modes of " + std::filesystem::path(input.path).filename().string();
  for (const UniversalMode &mode : file.shapes) {
    ModeHead head;
    head.hz = mode.hz;
    // Modal mass 0 stands for one that is not known.
    if (mode.modal_mass.real() != 0.0) head.generalized_mass = mode.modal_mass.real();
    source.modes.push_back(head);
  }
  source.shape = [&](std::size_t mode, std::vector<double> &six) {
    std::fill(six.begin(), six.end(), 0.0);
    const UniversalMode &values = file.shapes[mode];
    const auto count = static_cast<std::size_t>(values.components);
    for (std::size_t i = 0; i < values.nodes.size(); ++i)
      if (const std::size_t place = places_[mode][i]; place != kNone)
        std::copy_n(&values.values[i * count], count, &six[6 * place]);
  };
  if (!stress_places_.empty())
    source.stress = [&](std::size_t mode, std::vector<double> &six) {
      constexpr std::size_t kOrder[6] = {0, 2, 5, 1, 3, 4};  // of xx, xy, yy, xz, yz, zz
      std::fill(six.begin(), six.end(), 0.0);
      for (std::size_t i = 0; i < stress_places_[mode].size(); ++i)
        if (const std::size_t place = stress_places_[mode][i]; place != kNone)
          for (std::size_t k = 0; k < 6; ++k) six[6 * place + k] = file.stresses[mode].values[6 * i + kOrder[k]];
    };
  BodyHandle body = make_modal_body(source, modal_, report);
  judge_modes(report);
  return body;
}

}  // namespace

ImporterEntry universal_importer() {
  return {
      "unv",
      "From a universal file: nodes, elements, computed or measured modes",
      "FILE.unv",
      "The file, plain or packed",
      "those of the file (dataset 164), else SI",
      "Datasets 15, 2411, 2412, 55, 2414, 151 and 164 are read, and groups of nodes as node sets. Modes have to be "
      "real; "
      "--realize turns each complex shape so that the sum of its squared real parts is greatest, by half the angle of "
      "the sum of its squares, and takes its real part, the modulus of the eigenvalue as circular frequency, and modal "
      "A over twice the damped circular frequency as generalized mass. A file of measured modes may have nodes "
      "only; --mesh gives them elements.",
      {{"sbr import unv bracket.unv -o bracket.sbr --density 7850 --interface FEET",
        "Mesh and modes of an analysis, with a group of nodes as interface."},
       {"sbr import unv test.unv -o test.sbr --mesh body.msh --realize",
        "Measured modes on a mesh, complex ones as the nearest real ones."}},
      [] { return std::unique_ptr<Importer>(std::make_unique<UniversalImporter>()); }};
}

}  // namespace sbrtranslate
