#include "exodus/importer.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <map>
#include <memory>
#include <numbers>
#include <stdexcept>

#include "common/modal_body.h"
#include "exodus/file.h"

namespace sbrtranslate {
namespace {

// What the time of a step is.
enum class TimeMeaning { hz, rate, eigenvalue };

constexpr std::size_t kNone = static_cast<std::size_t>(-1);

// A variable's name for comparison: in capitals, without underscores, blanks and dashes.
std::string plain(const std::string &name) {
  std::string text;
  for (const char c : upper(name))
    if (c != '_' && c != ' ' && c != '-') text += c;
  return text;
}

std::size_t find_variable(const std::vector<std::string> &names, const std::string &wanted) {
  for (std::size_t i = 0; i < names.size(); ++i)
    if (plain(names[i]) == wanted) return i;
  return kNone;
}

// The numbers of variables of one base name with the endings of a vector or a tensor; empty unless all are there.
template <std::size_t kCount>
std::vector<std::size_t> find_components(const std::vector<std::string> &names, const std::string &base,
                                         const std::array<const char *, kCount> &endings) {
  std::vector<std::size_t> found;
  for (const char *ending : endings) {
    const std::size_t at = find_variable(names, base + ending);
    if (at == kNone) return {};
    found.push_back(at);
  }
  return found;
}

constexpr std::array<const char *, 3> kLetters = {"X", "Y", "Z"};
constexpr std::array<const char *, 3> kDigits = {"1", "2", "3"};

std::vector<std::size_t> find_vector(const std::vector<std::string> &names, const std::vector<std::string> &bases) {
  for (const std::string &base : bases)
    for (const auto &endings : {kLetters, kDigits})
      if (auto found = find_components(names, base, endings); !found.empty()) return found;
  return {};
}

// Six components in the order of the record: xx, yy, zz, xy, xz, yz.
std::vector<std::size_t> find_tensor(const std::vector<std::string> &names, const std::vector<std::string> &bases) {
  constexpr std::array<const char *, 6> kStraight = {"XX", "YY", "ZZ", "XY", "XZ", "YZ"};
  constexpr std::array<const char *, 6> kTurned = {"XX", "YY", "ZZ", "XY", "ZX", "YZ"};
  for (const std::string &base : bases)
    for (const auto &endings : {kStraight, kTurned})
      if (auto found = find_components(names, base, endings); !found.empty()) return found;
  return {};
}

class ExodusImporter : public Importer {
 public:
  std::vector<ImporterOption> options() override;
  BodyHandle run(const ImportInput &input, ImportReport &report) override;

 private:
  void find_displacements(ExodusFile &file);
  void find_stress(ExodusFile &file, ImportReport &report);
  void map_nodes(const ExodusFile &file, const Model &model);
  void add_modes(ExodusFile &file, ModalSource &source) const;
  void fill_shape(ExodusFile &file, std::size_t mode, std::vector<double> &six);
  void fill_stress(ExodusFile &file, const Model &model, std::size_t mode, std::vector<double> &six);

  ModalOptions modal_;
  TimeMeaning times_ = TimeMeaning::hz;
  std::string displacement_;
  std::string stress_name_;

  std::vector<std::size_t> shape_, turn_, stress_;  // numbers of variables
  std::vector<std::size_t> model_node_;             // by node of the file: its place in the model, or kNone
  std::vector<std::size_t> elements_at_;            // by node of the model: how many elements share it
  std::vector<double> values_;
};

std::vector<ImporterOption> ExodusImporter::options() {
  std::vector<ImporterOption> list;
  modal_.describe(list, true);
  const std::vector<std::pair<std::string, TimeMeaning>> meanings = {
      {"hz", TimeMeaning::hz}, {"rad", TimeMeaning::rate}, {"eigenvalue", TimeMeaning::eigenvalue}};
  list.push_back(choice("--times", meanings, times_,
                        "What the time of a step is: a frequency in Hz, in radians by "
                        "second, or an eigenvalue")
                     .by_default("hz"));
  list.push_back(ImporterOption{
      "--displacement",
      &displacement_,
      "Name of the nodal variables of the shapes, without x, y, z; by default the usual ones",
      {},
      {}}.shown("NAME"));
  list.push_back(ImporterOption{
      "--stress-name",
      &stress_name_,
      "Name of the element variables of the stress, without xx, yy, ...; by default the usual "
      "ones",
      {},
      {}}.shown("NAME"));
  return list;
}

void ExodusImporter::find_displacements(ExodusFile &file) {
  const std::vector<std::string> names = file.nodal_variables();
  const std::vector<std::string> bases = displacement_.empty()
                                             ? std::vector<std::string>{"DISP", "DISPL", "DISPLACEMENT", "EIGENVECTOR"}
                                             : std::vector<std::string>{plain(displacement_)};
  shape_ = find_vector(names, bases);
  if (shape_.empty()) {
    std::string known;
    for (const std::string &name : names) known += (known.empty() ? "" : ", ") + name;
    throw InputError({file.path(), 0}, "no displacement among the nodal variables" +
                                           (known.empty() ? std::string() : " " + known) +
                                           "; name it with --displacement");
  }
  for (const std::string &base : bases)
    for (const char *prefix : {"IMAG", "IM"})
      if (!find_vector(names, {prefix + base}).empty())
        throw InputError({file.path(), 0}, "the shapes are complex; real normal modes are needed");
  turn_ = find_vector(names, {"ROT", "ROTATION", "R"});
}

// Stress is taken where every block has it. Shells are left out: nothing tells its side and its axes.
void ExodusImporter::find_stress(ExodusFile &file, ImportReport &report) {
  const std::vector<std::string> names = file.element_variables();
  const std::vector<std::string> bases = stress_name_.empty()
                                             ? std::vector<std::string>{"STRESS", "S", "SIG", "SIGMA", "CAUCHYSTRESS"}
                                             : std::vector<std::string>{plain(stress_name_)};
  std::vector<std::size_t> found = find_tensor(names, bases);
  if (found.empty()) {
    if (!stress_name_.empty())
      throw InputError({file.path(), 0}, "no element variables " + stress_name_ + " with xx, yy, zz, xy, xz, yz");
    return;
  }
  std::string why;
  if (report.model.has_shells)
    why = "the mesh has shells, and the file does not tell the side and the axes of their stress";
  for (const ExodusBlock &block : file.blocks())
    for (const std::size_t variable : found)
      if (block.count != 0 && why.empty() && !file.block_has(block, variable))
        why = "block " + block.name + " has no " + names[variable];
  if (why.empty()) {
    stress_ = std::move(found);
    return;
  }
  if (modal_.stress.value_or(Where::none) != Where::none) throw InputError({file.path(), 0}, "no stress: " + why);
  report.warnings.push_back("the record is written without stress: " + why);
}

void ExodusImporter::map_nodes(const ExodusFile &file, const Model &model) {
  model_node_.clear();
  for (const int id : file.node_ids()) {
    const int position = model.node_position(id);
    model_node_.push_back(position < 0 ? kNone : static_cast<std::size_t>(position));
  }
  elements_at_.assign(model.nodes.size(), 0);
  for (const int id : model.mesh.connectivity) ++elements_at_[static_cast<std::size_t>(model.node_position(id))];
}

void ExodusImporter::add_modes(ExodusFile &file, ModalSource &source) const {
  for (const double time : file.times()) {
    ModeHead head;
    const double turn = 2.0 * std::numbers::pi;
    head.hz = times_ == TimeMeaning::hz     ? time
              : times_ == TimeMeaning::rate ? time / turn
                                            : std::copysign(std::sqrt(std::fabs(time)) / turn, time);
    source.modes.push_back(head);
  }
}

void ExodusImporter::fill_shape(ExodusFile &file, std::size_t mode, std::vector<double> &six) {
  std::fill(six.begin(), six.end(), 0.0);
  const auto put = [&](const std::vector<std::size_t> &variables, std::size_t from) {
    for (std::size_t k = 0; k < variables.size(); ++k) {
      file.nodal_values(mode, variables[k], values_);
      for (std::size_t i = 0; i < values_.size(); ++i)
        if (model_node_[i] != kNone) six[6 * model_node_[i] + from + k] = values_[i];
    }
  };
  put(shape_, 0);
  put(turn_, 3);
}

// The stress of a node is the mean of that of the elements that share it.
void ExodusImporter::fill_stress(ExodusFile &file, const Model &model, std::size_t mode, std::vector<double> &six) {
  std::fill(six.begin(), six.end(), 0.0);
  for (const ExodusBlock &block : file.blocks())
    for (std::size_t k = 0; k < 6 && block.count != 0; ++k) {
      file.element_values(mode, stress_[k], block, values_);
      for (std::size_t e = 0; e < block.count; ++e) {
        const int position = model.mesh.element_position(file.element_ids()[block.first + e]);
        const MeshElement &element = model.mesh.elements[static_cast<std::size_t>(position)];
        const int *ids = model.mesh.nodes_of(element);
        for (int i = 0; i < element.type->nodes; ++i)
          six[6 * static_cast<std::size_t>(model.node_position(ids[i])) + k] += values_[e];
      }
    }
  for (std::size_t n = 0; n < elements_at_.size(); ++n)
    for (std::size_t k = 0; k < 6; ++k) six[6 * n + k] /= static_cast<double>(elements_at_[n]);
}

BodyHandle ExodusImporter::run(const ImportInput &input, ImportReport &report) {
  ExodusFile file(input.path);
  report.units = input.units.value_or(UnitLabels());
  Mesh mesh = file.read_mesh();
  // Elements are sorted by their IDs; the file knows them by their places.
  std::map<int, std::size_t> place_of;
  for (std::size_t e = 0; e < file.element_count(); ++e)
    if (file.thickness(e) > 0.0) place_of[file.element_ids()[e]] = e;
  std::vector<double> thickness;
  for (const MeshElement &element : mesh.elements) {
    const auto at = place_of.find(element.id);
    thickness.push_back(at == place_of.end() ? 0.0 : file.thickness(at->second));
  }
  build_modal_model(
      std::move(mesh), modal_, [&](std::size_t e) { return thickness[e]; }, report);
  report.model.with_shared_faces = input.shared_faces;
  judge_model(report);
  find_displacements(file);
  if (modal_.stress.value_or(Where::surface) != Where::none) find_stress(file, report);
  map_nodes(file, report.model);
  if (report.model.has_shells && turn_.empty())
    report.warnings.push_back("the file has no rotations of the nodes of shells; they are 0");

  ModalSource source;
  source.program = "Exodus II";
  source.file = input.path;
  source.comment = "Modes of " + std::filesystem::path(input.path).filename().string();
  add_modes(file, source);
  source.shape = [&](std::size_t mode, std::vector<double> &six) { fill_shape(file, mode, six); };
  if (!stress_.empty())
    source.stress = [&](std::size_t mode, std::vector<double> &six) { fill_stress(file, report.model, mode, six); };
  BodyHandle body = make_modal_body(source, modal_, report);
  judge_modes(report);
  return body;
}

}  // namespace

ImporterEntry exodus_importer() {
  return {"exodus",
          "From an Exodus II file: mesh, sets, mode shapes as time steps",
          "FILE.exo",
          "The file",
          "mm-t-s-N",
          "Each time step is a mode, its time the frequency. Node sets and side sets are known by their names, and as "
          "NODESET_<id> and SIDESET_<id>. Element stress becomes the mean of the elements that share a node. The file "
          "has no densities: --density gives one for all elements.",
          {{"sbr import exodus bar.exo -o bar.sbr --density 7.85e-9 --interface SIDESET_1",
            "Modes of a bar of steel, with the nodes of a side set as interface."},
           {"sbr import exodus bar.exo -o bar.sbr --times eigenvalue --stress all",
            "Steps that tell eigenvalues; stress at all nodes."}},
          [] { return std::unique_ptr<Importer>(std::make_unique<ExodusImporter>()); }};
}

}  // namespace sbrtranslate
