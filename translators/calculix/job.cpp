#include "calculix/job.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <stdexcept>

#include "calculix/coupled_rows.h"
#include "calculix/deck.h"
#include "calculix/dof_table.h"
#include "calculix/load_cases.h"
#include "calculix/result_map.h"
#include "calculix/results.h"
#include "calculix/rigid_bodies.h"
#include "common/consistency.h"
#include "common/reduction.h"
#include "common/rigid_fit.h"

namespace sbrtranslate {
namespace {

// A file beside the deck with another suffix, plain or packed.
std::optional<std::string> beside(const std::string &deck, const char *suffix) {
  for (const char *packed : {"", ".gz"}) {
    std::filesystem::path path(deck);
    path.replace_extension(std::string(suffix) + packed);
    if (std::filesystem::exists(path)) return path.string();
  }
  return std::nullopt;
}

// The eigenvalues of the .dat file; nothing when there is none and none was named.
std::vector<EigenRow> eigenvalues_of(const ImportOptions &options, std::string &path, int table = 0) {
  const auto file = options.dat ? options.dat : beside(options.deck, ".dat");
  if (!file) return {};
  path = *file;
  auto rows = read_eigenvalues(path, table);
  if (rows.empty() && options.dat) throw InputError({path, 0}, "no eigenvalue table in the file");
  return rows;
}

// ---- Modes of the .frd file

// Both files have to tell of the same run: as many modes, and the same frequencies within the digits of the .frd file.
void compare_eigenvalues(const std::vector<EigenRow> &rows, const std::string &dat, const Survey &survey,
                         const std::string &frd, std::optional<int> wanted) {
  if (rows.empty()) return;
  const auto most = static_cast<std::size_t>(wanted.value_or(1 << 30));
  const std::size_t in_frd = std::min(survey.modes.size(), most);
  const std::size_t in_dat = std::min(rows.size(), most);
  const auto says = [](std::size_t more, const std::string &other, std::size_t fewer) {
    return "mode " + std::to_string(more) + " is not in " + other + ", which has " + std::to_string(fewer) + " modes";
  };
  if (in_dat > in_frd) throw InputError({dat, rows[in_frd].line}, says(in_frd + 1, frd, survey.modes.size()));
  if (in_frd > in_dat) throw InputError({frd, survey.modes[in_dat].line}, says(in_dat + 1, dat, rows.size()));
  double highest = 0.0;
  for (std::size_t i = 0; i < in_frd; ++i) highest = std::max(highest, std::fabs(rows[i].hz));
  for (std::size_t i = 0; i < in_frd; ++i)
    if (!(std::fabs(rows[i].hz - survey.modes[i].hz) <= 2e-5 * std::fabs(rows[i].hz) + 1e-6 * highest))
      throw InputError({frd, survey.modes[i].line}, "mode " + std::to_string(i + 1) + " has " +
                                                        show(survey.modes[i].hz) + " Hz here and " + show(rows[i].hz) +
                                                        " Hz in " + dat + ": results of different runs");
}

// What a node's inertia adds to a generalized mass: theta^t J theta.
double turning_mass(const NodalInertia &j, const Vec3 &t) {
  return j[0] * t[0] * t[0] + j[1] * t[1] * t[1] + j[2] * t[2] * t[2] +
         2.0 * (j[3] * t[0] * t[1] + j[4] * t[0] * t[2] + j[5] * t[1] * t[2]);
}

// Takes each set of nodal values into the body and the report.
class BodyFeeder : public ResultReceiver {
 public:
  BodyFeeder(SBR body, ImportReport &report, const LoadCases &loads, Where stress, Where strain)
      : body_(body),
        report_(report),
        loads_(loads),
        stress_(stress),
        strain_(strain),
        fit_(report.model),
        check_(report.model) {}
  // What in the modes does not fit the deck, once they have come.
  [[nodiscard]] std::optional<std::string> complaint() const { return check_.complaint(); }

  bool wants(ResultKind kind) const override { return kind == ResultKind::displacement || where(kind) != Where::none; }
  bool wants_node(ResultKind kind, std::size_t node) const override {
    const BodyNode &at = report_.model.nodes[node];
    return kind == ResultKind::displacement || (!at.reference && !at.line && (where(kind) == Where::all || at.surface));
  }
  void take_shape(const ResultSet &set, const NodalMotion &motion) override {
    ModeReport &mode = report_.modes[static_cast<std::size_t>(set.mode) - 1];
    feed_shape(body_, set.mode, report_.model, motion);
    loads_.feed_mode(body_, set.mode, motion);
    fit_.judge([&](std::size_t i) { return motion.translation(i); }, mode);
    check_.take(mode, set.generalized_mass, motion);
    for (std::size_t i = 0; i < report_.model.nodes.size(); ++i)
      if (report_.model.nodes[i].has_inertia)
        mode.lumped_mass += turning_mass(report_.model.inertia(i), motion.rotation(i));
  }
  // Of a static state with several increments the last one stays.
  void take_tensor(const ResultSet &set, std::size_t node, const double *six) override {
    const int id = report_.model.nodes[node].id;
    if (set.mode != 0)
      return require(SBR_SetModeVec(body_, set.mode, id, static_cast<int>(set.kind), six), "values of a mode");
    const auto enter = set.kind == ResultKind::stress ? SBR_SetPreStressVec : SBR_SetPreStrainVec;
    require(enter(body_, id, six), "the stress or strain of a state");
    report_.has_state = true;
  }

 private:
  [[nodiscard]] Where where(ResultKind kind) const {
    return kind == ResultKind::displacement ? Where::all : kind == ResultKind::stress ? stress_ : strain_;
  }
  SBR body_;
  ImportReport &report_;
  const LoadCases &loads_;
  Where stress_;
  Where strain_;
  RigidFit fit_;
  ConsistencyCheck check_;
};

// Whether a kind of result is taken, and where: what was asked for must be there.
Where decide(std::optional<Where> asked, Where otherwise, bool present, const char *name, const std::string &frd,
             std::vector<std::string> &warnings) {
  const Where where = asked.value_or(otherwise);
  if (where == Where::none || present) return where;
  if (asked) throw InputError({frd, 0}, std::string("the file has no ") + name + " (*EL FILE)");
  warnings.push_back(std::string("the results have no ") + name + "; the record is written without it");
  return Where::none;
}

// Results in local axes are taken for no others. Where a later step asks again, the first request counts too.
void refuse_local_axes(const DeckNotes &notes, bool with_stress) {
  for (const Card &request : notes.requests) {
    const bool nodes = request.keyword.rfind("*NODE", 0) == 0;
    const auto &axes = nodes ? notes.transforms : notes.orientations;
    if (request.value("GLOBAL") != "NO" || axes.empty() || (!nodes && !with_stress)) continue;
    const Place &place = axes.front().place;
    throw InputError(request.place, std::string(nodes ? "displacements" : "stress and strain") +
                                        " are asked for in the local axes of " + place.file + ":" +
                                        std::to_string(place.line) + "; run the solver with GLOBAL=YES" +
                                        (nodes ? "" : ", or import with --stress none"));
  }
}

// The results of shells in two dimensions are those of the middle.
void judge_shell_side(const ImportOptions &options, const std::string &frd, std::vector<std::string> &warnings) {
  if (options.shell_side.value_or(ShellSide::middle) != ShellSide::middle)
    throw InputError({frd, 0},
                     "the results hold the shells in two dimensions (OUTPUT=2D): the sides of shells are not "
                     "there; run the solver with OUTPUT=3D, or take --shell-side middle");
  if (!options.shell_side)
    warnings.push_back("the results hold the shells in two dimensions: stress and strain are those of the middle");
}

// Warnings of a state that the modes start from.
void tell_state(const StepChoice &choice, bool has_stress, const LoadCases &loads, ImportReport &report) {
  report.load_cases = static_cast<int>(loads.count());
  report.has_preload = loads.has_preload();
  if (choice.state == nullptr) return;
  const std::string step = "step " + std::to_string(choice.state->number);
  if (!has_stress)
    report.warnings.push_back("the modes start from the state of " + step +
                              ", whose stress is not there: the record gets no pre-stress");
  if (choice.modal->releases_supports)
    report.warnings.push_back("the frequency step releases supports of " + step +
                              ", whose forces are not known: the record gets no preload");
  if (choice.state->nonlinear)
    report.warnings.push_back(step +
                              " is nonlinear: the record's coordinates are those before it has deformed the body");
}

// The solver makes solids of trusses and beams and ties them in joints of its own. Where the nodes of the deck do not
// hold what moves, a record of them would be wrong.
void check_lines(const ImportReport &report, const Survey &survey) {
  const auto &lines = report.model.mesh.lines;
  const auto line =
      std::find_if(lines.begin(), lines.end(), [](const LineElement &element) { return element.carries(); });
  if (line == lines.end()) return;
  for (std::size_t i = 0; i < report.modes.size(); ++i) {
    const double ratio = report.modes[i].lumped_mass / survey.modes[i].generalized_mass;
    if (!(ratio > 0.2 && ratio < 5.0))
      throw InputError(line->place, "mode " + std::to_string(report.modes[i].number) + " has " + show(ratio, 3) +
                                        " of its generalized mass at the nodes of trusses and beams: what the solver "
                                        "makes of them moves in ways that nodes do not show (trusses; B31R has no "
                                        "inertia about itself). Take B32R, or fewer modes (--modes)");
  }
}

// Modes that do not fit the deck. Beams of one point of integration are a reason of their own.
InputError complaint_about_modes(const Mesh &mesh, const std::string &frd, const std::string &text) {
  const char *force = "; --force takes them nevertheless";
  const auto reduced = std::find_if(mesh.cards.begin(), mesh.cards.end(), [](const DeckCard &card) {
    return card.keyword == "*ELEMENT" && card.value("TYPE") == "B31R";
  });
  if (reduced == mesh.cards.end()) return {{frd, 0}, text + force};
  return {reduced->place,
          text + ": the solver gives beams B31R no inertia about themselves; take B31, or B32R" + force};
}

BodyHandle import_results(const ImportOptions &options, const DeckNotes &notes, ImportReport &report) {
  const auto frd = options.frd ? options.frd : beside(options.deck, ".frd");
  if (!frd) throw InputError({options.deck, 0}, "no .frd or .frd.gz file beside the deck; name it with --frd");
  report.results = *frd;
  ResultMap map(report.model, options.shell_side.value_or(ShellSide::top), options.modes, options.force);
  const std::vector<DeckStep> steps = read_steps(report.model.mesh);
  const StepChoice choice = choose_step(report.model.mesh, steps, options.step);
  const LoadCases loads(report.model, options.no_loads ? std::vector<DeckStep>{} : steps, choice);
  std::vector<MeshNode>().swap(report.model.mesh.nodes);  // the model has their places
  map.choose_steps(choice.modal != nullptr ? choice.modal->number : 0,
                   choice.state != nullptr ? choice.state->number : 0);
  const Survey survey = map.survey(*frd);
  std::string dat;
  const auto rows = eigenvalues_of(options, dat, choice.modal_ordinal);
  tell_state(choice, survey.state, loads, report);
  compare_eigenvalues(rows, dat, survey, *frd, options.modes);
  const int count = static_cast<int>(survey.modes.size());
  if (options.modes && *options.modes > count)
    throw InputError({*frd, 0},
                     std::to_string(*options.modes) + " modes asked for, the file has " + std::to_string(count));
  const Where stress = decide(options.stress, Where::surface, survey.stress, "stress", *frd, report.warnings);
  const Where strain = decide(options.strain, Where::none, survey.strain, "strain", *frd, report.warnings);
  report.has_stress = stress != Where::none;
  const bool takes_tensors = stress != Where::none || strain != Where::none;
  refuse_local_axes(notes, takes_tensors);
  if (map.flat_shells() && takes_tensors) judge_shell_side(options, *frd, report.warnings);

  const std::string name = std::filesystem::path(*frd).filename().string();
  BodyHandle body = create_body(
      report.model, report.units, "CalculiX", count, options.deck,
      {"Modes of " + name, "Nodal masses with the inertia of the elements",
       dat.empty() ? "Eigenvalues of " + name : "Eigenvalues of " + std::filesystem::path(dat).filename().string()});
  for (int i = 0; i < count; ++i) {
    const auto at = static_cast<std::size_t>(i);
    ModeReport mode;
    mode.number = i + 1;
    mode.eigenvalue = rows.empty() ? survey.modes[at].eigenvalue : rows[at].eigenvalue;
    const double mass = survey.modes[at].generalized_mass;
    require(SBR_SetGeneralizedMass(body.get(), i + 1, i + 1, mass), "a generalized mass");
    require(SBR_SetGeneralizedStiffness(body.get(), i + 1, i + 1, mode.eigenvalue * mass), "a generalized stiffness");
    SBR_Eigenvalue(body.get(), i + 1, nullptr, &mode.hz, nullptr, nullptr, nullptr);
    report.modes.push_back(mode);
  }
  loads.feed_nodes(body.get());
  BodyFeeder feeder(body.get(), report, loads, stress, strain);
  map.feed(*frd, feeder);
  check_lines(report, survey);
  if (const auto text = feeder.complaint()) {
    if (!options.force) throw complaint_about_modes(report.model.mesh, *frd, *text);
    report.warnings.push_back(*text);
  }
  if (map.flat_shells())
    report.warnings.push_back(
        "the results hold the shells in two dimensions: their rotations are those of the middle surface around each "
        "node");
  report.stress_nodes = SBR_ModeNodeCount(body.get(), 1);
  report.strain_nodes = SBR_ModeNodeCount(body.get(), 2);
  return body;
}

// ---- Modes from the matrices

// Nodes that the deck does not have are the solver's own, for rotations or for incompatible modes, and no file tells
// for which.
void refuse_mixed_rows(const DeckNotes &notes, const Mesh &mesh, const std::string &file) {
  if (notes.incompatible == 0) return;
  for (const ReferenceNode &reference : mesh.references)
    if (!reference.distributing && reference.rotation_node == 0)
      throw InputError({file, 0},
                       "rows of the rotations of reference nodes and rows of the incompatible modes of C3D8I "
                       "cannot be told apart; give the rigid bodies a ROT NODE, or take C3D8");
}

// What the options ask of a reduction besides the modes.
void fill_request(ReductionRequest &request, const ImportOptions &options, const Model &model) {
  if (options.residual_inertia && request.rigid.empty())
    throw std::invalid_argument("residual inertia modes need a body without supports");
  request.residual_inertia = options.residual_inertia;
  request.interface_modes = options.interface_modes;
  request.free_modes = options.free_modes.value_or(0);
  request.progress = options.progress;
  for (const std::string &name : options.attachments) {
    const std::vector<int> &set = model.mesh.node_set(name);
    for (std::size_t r = 0; r < request.dofs.size(); ++r)
      if (std::binary_search(set.begin(), set.end(), request.dofs[r].node)) {
        if (request.held[r] != 0)
          throw std::invalid_argument("node " + std::to_string(request.dofs[r].node) + " of '" + name +
                                      "' is an interface node: it needs no residual attachment mode");
        request.attachments.push_back(static_cast<int>(r));
      }
  }
}

// The step that the matrices are of counts where it starts from the state of another: then that has to be known.
StepChoice choose_matrix_step(const Mesh &mesh, const std::vector<DeckStep> &steps, std::optional<int> number) {
  const bool from_state = std::any_of(steps.begin(), steps.end(), [](const DeckStep &step) {
    return step.kind == DeckStep::Kind::frequency && step.perturbation;
  });
  return number || from_state ? choose_step(mesh, steps, number) : StepChoice();
}

BodyHandle import_matrices(const ImportOptions &options, const DeckNotes &notes, ImportReport &report) {
  const MatrixFiles &files = *options.matrices;
  if (options.stress.value_or(Where::none) != Where::none || options.strain.value_or(Where::none) != Where::none)
    throw std::invalid_argument("matrices give no stress or strain");
  for (const MeshElement &element : report.model.mesh.elements)
    if (element.type->shell())
      throw InputError(report.model.mesh.place_of(element),
                       "element " + std::to_string(element.id) +
                           " is a shell, and matrices are reduced for solids only: the rows of shells are those of the "
                           "solids that the solver makes of them, and the deck does not tell which; import the modes");
  if (report.model.interface_nodes.empty())
    throw std::invalid_argument("matrices need interface nodes; name their node sets");
  const std::vector<DeckStep> steps = read_steps(report.model.mesh);
  const StepChoice choice = choose_matrix_step(report.model.mesh, steps, options.step);
  std::string dat;
  for (const EigenRow &row : eigenvalues_of(options, dat, choice.modal_ordinal)) report.full_model_hz.push_back(row.hz);
  refuse_mixed_rows(notes, report.model.mesh, files.dofs);
  const CoupledRows coupled =
      couple_rows(read_dofs(files.dofs), report.model.mesh, read_references(report.model.mesh), files.dofs);
  const DofTable dofs(coupled.dofs, report.model, notes, files.dofs);
  if (dofs.supported() != 0)
    report.warnings.push_back(std::to_string(dofs.supported()) + " degrees of freedom are held by *BOUNDARY and stay " +
                              "at rest");
  if (dofs.supported() == 0 && !interface_holds(report.model))
    throw std::invalid_argument("the interface nodes do not hold the body: three that are not in line are needed");
  ReductionRequest request{files.mass, files.stiffness, dofs.rows(), dofs.held(), options.normal, options.max_hz};
  const std::vector<RigidRow> rigid = rigid_rows(dofs.rows(), report.model);
  request.file_rows = coupled.file_rows;
  request.dependent = coupled.dependent;
  if (dofs.supported() == 0) request.rigid = rigid;  // a body with supports has no rigid motions
  fill_request(request, options, report.model);
  const Reduction reduction = reduce_matrices(request);
  report.reduction = reduction;
  if (!request.rigid.empty() && !report.model.mesh.references.empty() && !(reduction.rigid_residual < 1e-6))
    throw InputError({files.stiffness, 0}, "rigid motions of the body and its reference nodes meet forces of " +
                                               show(reduction.rigid_residual, 3) +
                                               " of their parts: the matrices are not those of the deck");
  report.results = files.stiffness;
  report.constraint_modes = reduction.constraint_modes;
  report.normal_modes = reduction.normal_modes;

  BodyHandle body = create_body(
      report.model, report.units, "CalculiX", reduction.count(), options.deck,
      {"Craig-Bampton modes: " + std::to_string(reduction.constraint_modes) +
           (options.interface_modes ? " interface, " : " constraint, ") + std::to_string(reduction.normal_modes) +
           " normal" +
           (reduction.residual_modes > 0 ? ", " + std::to_string(reduction.residual_modes) + " residual" : ""),
       "Matrices of " + std::filesystem::path(files.stiffness).filename().string(),
       "Nodal masses with the inertia of the elements"});
  feed_matrix(body.get(), reduction.mass, reduction.count(), SBR_SetGeneralizedMass);
  feed_matrix(body.get(), reduction.stiffness, reduction.count(), SBR_SetGeneralizedStiffness);
  const LoadCases loads(report.model, options.no_loads ? std::vector<DeckStep>{} : steps, choice);
  tell_state(choice, false, loads, report);
  loads.feed_nodes(body.get());
  std::vector<double> rows;
  std::vector<double> values(6 * report.model.nodes.size());
  for (int mode = 0; mode < reduction.count(); ++mode) {
    reduction.shape(mode, rows);
    dofs.spread(rows, values);
    const NodalMotion motion(values, 6);
    feed_shape(body.get(), mode + 1, report.model, motion);
    loads.feed_mode(body.get(), mode + 1, motion);
  }
  return body;
}

void warn_about_units(SBR body, const DeckNotes &notes, ImportReport &report) {
  const UnitFactors factors{SBR_Mass2Kilogram(body, 1.0), SBR_Length2Meter(body, 1.0), SBR_Time2Second(body, 1.0)};
  for (std::string &warning : unit_warnings(report.model, notes.moduli, factors))
    report.warnings.push_back(std::move(warning));
}

// Interfaces may also be named by the number of a node or by the name of a coupling. A reference node belongs to the
// body when it is an interface; in matrices those of kinematic couplings always do, since other nodes follow them.
void take_references(Mesh &mesh, const ImportOptions &options) {
  std::vector<ReferenceNode> all = read_references(mesh);
  std::vector<int> chosen;
  for (const std::string &name : options.interfaces) {
    const std::string key = upper(name);
    if (mesh.node_sets.count(key) == 0) {
      if (const auto id = to_int(key); id && mesh.node_position(*id) >= 0) mesh.node_sets[key] = {*id};
      for (const ReferenceNode &reference : all)
        if (!reference.name.empty() && reference.name == key) mesh.node_sets[key] = {reference.node};
    }
    if (const auto set = mesh.node_sets.find(key); set != mesh.node_sets.end())
      chosen.insert(chosen.end(), set->second.begin(), set->second.end());
  }
  for (ReferenceNode &reference : all) {
    const bool wanted = std::find(chosen.begin(), chosen.end(), reference.node) != chosen.end();
    if (!wanted && (!options.matrices || reference.distributing)) continue;
    for (const ReferenceNode &other : mesh.references)
      if (other.node == reference.node)
        throw InputError(reference.card, "node " + std::to_string(other.node) + " is a reference node twice");
    const std::vector<int> &moved = mesh.moved_nodes;
    for (const int member : reference.members)
      if (std::binary_search(moved.begin(), moved.end(), member))
        throw InputError(reference.card,
                         "node " + std::to_string(member) +
                             " follows a reference node and belongs to a shell with an OFFSET, which is "
                             "not supported");
    mesh.references.push_back(std::move(reference));
  }
}

}  // namespace

BodyHandle import_ccx(const ImportOptions &options, ImportReport &report) {
  report.units = options.units;
  if (options.modes && *options.modes < 1) throw std::invalid_argument("at least one mode has to be taken");
  DeckNotes notes;
  Mesh mesh = read_deck(options.deck, &notes);
  take_references(mesh, options);
  report.model = build_model(std::move(mesh), options.interfaces);
  report.model.with_shared_faces = options.shared_faces;
  judge_model(report);
  if (const std::size_t moved = report.model.mesh.moved_nodes.size(); moved != 0)
    report.warnings.push_back(std::to_string(moved) +
                              " nodes of shells with an OFFSET are put to the middle of their shell");
  if (options.matrices) {
    BodyHandle body = import_matrices(options, notes, report);
    warn_about_units(body.get(), notes, report);
    return body;
  }
  BodyHandle body = import_results(options, notes, report);
  warn_about_units(body.get(), notes, report);
  judge_modes(report);
  return body;
}

}  // namespace sbrtranslate
