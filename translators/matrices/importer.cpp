#include "matrices/importer.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <map>
#include <stdexcept>

#include "common/consistent_mass.h"
#include "common/modal_body.h"
#include "common/reduction.h"
#include "common/rigid_fit.h"
#include "gmsh/file.h"
#include "matrices/matrix_file.h"

namespace sbrtranslate {
namespace {

// The words of a line of a table: parted by commas, semicolons or blanks. A line that begins with a letter or a # is a
// heading or a comment, and gives nothing.
std::vector<std::string> table_words(std::string_view line) {
  std::string text(trim(line));
  if (text.empty() || text[0] == '#' || std::isalpha(static_cast<unsigned char>(text[0])) != 0) return {};
  for (char &c : text)
    if (c == ',' || c == ';') c = ' ';
  std::vector<std::string> words;
  for (const std::string_view word : split_words(text)) words.emplace_back(word);
  return words;
}

class MatricesImporter : public Importer {
 public:
  std::vector<ImporterOption> options() override;
  BodyHandle run(const ImportInput &input, ImportReport &report) override;

 private:
  Mesh read_nodes(const std::string &path) const;
  void read_faces(Model &model) const;
  void choose_interface(Model &model) const;
  std::vector<Dof> read_rows(const Mesh &mesh, std::size_t rows) const;
  void build(Mesh mesh, ImportReport &report);
  void weigh(const SymmetricMatrix &mass, const std::vector<Dof> &dofs, ImportReport &report) const;
  void feed(SBR body, const Reduction &reduction, const std::vector<Dof> &dofs, const Model &model) const;

  std::string mass_, stiffness_;
  std::optional<std::string> rows_, faces_, mesh_;
  std::vector<std::string> interfaces_;
  std::optional<int> normal_;
  std::optional<double> max_hz_;
  std::optional<int> interface_modes_;
  bool residual_inertia_ = false;
};

std::vector<ImporterOption> MatricesImporter::options() {
  std::vector<ImporterOption> list;
  const auto option = [](const char *name, ImporterOption::Target target, const char *text) {
    return ImporterOption{name, std::move(target), text, {}, {}};
  };
  list.push_back(option("--stiffness", &stiffness_, "The stiffness matrix").shown("K").required());
  list.push_back(option("--mass", &mass_, "The mass matrix").shown("M").required());
  list.push_back(option("--rows", &rows_,
                        "Node and direction (1 to 6) of each row; by default three or six rows a node, in the order of "
                        "the node table")
                     .shown("ROWS.csv"));
  list.push_back(option("--faces", &faces_, "Faces, three or more nodes a line").shown("FACES.csv"));
  list.push_back(option("--mesh", &mesh_, "A gmsh mesh on the nodes, for faces and node sets").shown("BODY.msh"));
  list.push_back(option("--interface", &interfaces_, "Node sets or numbers of nodes that become the interface nodes")
                     .shown("SET,...")
                     .required());
  list.push_back(option("--normal", &normal_, "Add N fixed-interface normal modes"));
  list.push_back(option("--max-hz", &max_hz_, "Add the normal modes up to this frequency").shown("HZ"));
  list.push_back(option("--interface-modes", &interface_modes_,
                        "N eigenmodes of the condensed interface instead of its constraint modes")
                     .at_least(1));
  list.push_back(option("--residual-inertia", &residual_inertia_, "Residual modes for rigid accelerations"));
  return list;
}

// Number, three coordinates, and the names of the sets that the node belongs to.
Mesh MatricesImporter::read_nodes(const std::string &path) const {
  Mesh mesh;
  mesh.files = {path};
  mesh.title = std::filesystem::path(path).stem().string();
  LineReader reader(path);
  std::string_view line;
  while (reader.next(line)) {
    const auto words = table_words(line);
    if (words.empty()) continue;
    MeshNode node;
    node.id = to_int(words[0]).value_or(0);
    if (node.id < 1 || words.size() < 4) reader.fail("a node 'number, x, y, z' expected, the number above zero");
    for (std::size_t k = 0; k < 3; ++k) {
      const auto value = to_double(words[k + 1]);
      if (!value) reader.fail("a coordinate expected, found '" + words[k + 1] + "'");
      node.place[k] = *value;
    }
    mesh.nodes.push_back(node);
    for (std::size_t i = 4; i < words.size(); ++i) mesh.node_sets[upper(words[i])].push_back(node.id);
  }
  if (mesh.nodes.empty()) reader.fail("the table has no nodes");
  return mesh;
}

std::vector<Dof> MatricesImporter::read_rows(const Mesh &mesh, std::size_t rows) const {
  std::vector<Dof> dofs;
  if (!rows_) {
    const std::size_t each = rows == 3 * mesh.nodes.size() ? 3 : rows == 6 * mesh.nodes.size() ? 6 : 0;
    if (each == 0)
      throw InputError({stiffness_, 0}, std::to_string(rows) + " rows for " + std::to_string(mesh.nodes.size()) +
                                            " nodes are neither three nor six each; name the rows with --rows");
    for (const MeshNode &node : mesh.nodes)
      for (std::size_t k = 1; k <= each; ++k) dofs.push_back({node.id, static_cast<int>(k)});
    return dofs;
  }
  std::vector<std::pair<int, int>> seen;
  LineReader reader(*rows_);
  std::string_view line;
  while (reader.next(line)) {
    std::string text(line);
    // "12.3" is a row as well: node 12, direction 3.
    if (text.find_first_of(",; \t") == std::string::npos) std::replace(text.begin(), text.end(), '.', ' ');
    const auto words = table_words(text);
    if (words.empty()) continue;
    const auto node = to_int(words[0]);
    const auto direction = words.size() == 2 ? to_int(words[1]) : std::nullopt;
    if (!node || !direction || *direction < 1 || *direction > 6)
      reader.fail("a row 'node, direction' expected, with a direction of 1 to 6");
    dofs.push_back({*node, *direction});
    seen.emplace_back(*node, *direction);
  }
  if (dofs.size() != rows)
    reader.fail(std::to_string(dofs.size()) + " rows are named, the stiffness matrix has " + std::to_string(rows));
  std::sort(seen.begin(), seen.end());
  const auto twice = std::adjacent_find(seen.begin(), seen.end());
  if (twice != seen.end())
    throw InputError({*rows_, 0}, "node " + std::to_string(twice->first) + " has direction " +
                                      std::to_string(twice->second) + " twice");
  return dofs;
}

void MatricesImporter::read_faces(Model &model) const {
  LineReader reader(*faces_);
  std::string_view line;
  while (reader.next(line)) {
    const auto words = table_words(line);
    if (words.empty()) continue;
    if (words.size() < 3) reader.fail("a face needs three nodes at least");
    model.faces.push_back(static_cast<int>(words.size()));
    for (const std::string &word : words) {
      const int id = to_int(word).value_or(0);
      if (model.node_position(id) < 0) reader.fail("'" + word + "' is not a node of the table");
      model.faces.push_back(id);
    }
    ++model.face_count;
    ++model.surface_face_count;
  }
}

void MatricesImporter::choose_interface(Model &model) const {
  for (const std::string &name : interfaces_) {
    const auto set = model.mesh.node_sets.find(upper(name));
    const auto id = to_int(name);
    if (set != model.mesh.node_sets.end())
      model.interface_nodes.insert(model.interface_nodes.end(), set->second.begin(), set->second.end());
    else if (id && model.node_position(*id) >= 0)
      model.interface_nodes.push_back(*id);
    else
      throw InputError({model.mesh.files.front(), 0}, "'" + name + "' is neither a node set nor the number of a node");
  }
  auto &list = model.interface_nodes;
  std::sort(list.begin(), list.end());
  list.erase(std::unique(list.begin(), list.end()), list.end());
}

// The model of all nodes of the table; a mesh gives faces and node sets only, since the mass is that of the matrix.
void MatricesImporter::build(Mesh mesh, ImportReport &report) {
  if (faces_ && mesh_) throw std::invalid_argument("--faces and --mesh both give faces; one of them is enough");
  std::sort(mesh.nodes.begin(), mesh.nodes.end(), [](const MeshNode &a, const MeshNode &b) { return a.id < b.id; });
  for (std::size_t i = 1; i < mesh.nodes.size(); ++i)
    if (mesh.nodes[i].id == mesh.nodes[i - 1].id)
      throw InputError({mesh.files.front(), 0}, "node " + std::to_string(mesh.nodes[i].id) + " comes twice");
  if (mesh_) mesh = mesh_on_nodes(std::move(mesh), read_msh(*mesh_));
  ModalOptions plain;
  if (mesh.elements.empty()) {
    build_point_model(std::move(mesh), plain, report);
  } else {
    plain.thickness = 1.0;  // only faces are taken
    build_modal_model(
        std::move(mesh), plain, [](std::size_t) { return 0.0; }, report);
    if (!report.model.left_out.empty())
      throw InputError({*mesh_, 0}, "node " + std::to_string(report.model.left_out.front()) +
                                        " of the table belongs to no element of the mesh");
  }
  report.warnings.clear();  // the mass is known
  if (faces_) read_faces(report.model);
  choose_interface(report.model);
}

// What the rows of rotations have, as nodal inertia: an entry between two nodes belongs to both by halves.
void add_turning_inertias(const SymmetricMatrix &mass, const std::vector<Dof> &dofs, Model &model) {
  // The places of xx, xy, xz, ... in a nodal inertia.
  static constexpr std::size_t kPlace[3][3] = {{0, 3, 4}, {3, 1, 5}, {4, 5, 2}};
  for (const MatrixEntry &entry : mass.upper) {
    const Dof &a = dofs[static_cast<std::size_t>(entry.row)];
    const Dof &b = dofs[static_cast<std::size_t>(entry.column)];
    if (a.direction <= 3 || b.direction <= 3 || entry.value == 0.0) continue;
    const std::size_t place = kPlace[a.direction - 4][b.direction - 4];
    // The quadratic form has an entry off the diagonal twice; so has the tensor its products.
    const double share = place < 3 && entry.row != entry.column ? entry.value : entry.value / 2.0;
    for (const Dof *dof : {&a, &b}) {
      NodalInertia more{};
      more[place] = share;
      model.add_inertia(static_cast<std::size_t>(model.node_position(dof->node)), more);
    }
  }
}

// Masses, center and inertia from the mass matrix: those of its rigid motions exactly, and nodal masses for the record.
// These begin as the row sums of the translations where all of these are positive, else as the diagonal scaled to the
// mass, and are then given the center and the inertia of the matrix.
void MatricesImporter::weigh(const SymmetricMatrix &mass, const std::vector<Dof> &dofs, ImportReport &report) const {
  Model &model = report.model;
  // About the origin: unit translations and rotations by row.
  std::vector<RigidRow> rigid(dofs.size(), RigidRow{});
  for (std::size_t r = 0; r < dofs.size(); ++r) {
    const auto direction = static_cast<std::size_t>(dofs[r].direction - 1);
    rigid[r][direction] = 1.0;
    if (direction >= 3) continue;
    const Vec3 &place = model.nodes[static_cast<std::size_t>(model.node_position(dofs[r].node))].place;
    for (std::size_t j = 0; j < 3; ++j) {
      Vec3 axis{};
      axis[j] = 1.0;
      rigid[r][3 + j] = cross(axis, place)[direction];
    }
  }
  std::array<std::array<double, 6>, 6> sums{};
  std::vector<double> row_sums(model.nodes.size(), 0.0);
  std::vector<double> diagonals(model.nodes.size(), 0.0);
  const auto node_of = [&](int row) {
    return static_cast<std::size_t>(model.node_position(dofs[static_cast<std::size_t>(row)].node));
  };
  for (const MatrixEntry &entry : mass.upper) {
    const auto a = static_cast<std::size_t>(entry.row);
    const auto b = static_cast<std::size_t>(entry.column);
    for (std::size_t i = 0; i < 6; ++i)
      for (std::size_t j = 0; j < 6; ++j) {
        sums[i][j] += rigid[a][i] * entry.value * rigid[b][j];
        if (a != b) sums[i][j] += rigid[b][i] * entry.value * rigid[a][j];
      }
    if (dofs[a].direction > 3 || dofs[a].direction != dofs[b].direction) continue;
    row_sums[node_of(entry.row)] += entry.value / 3.0;
    if (a != b) row_sums[node_of(entry.column)] += entry.value / 3.0;
    if (a == b) diagonals[node_of(entry.row)] += entry.value / 3.0;
  }
  const double total = (sums[0][0] + sums[1][1] + sums[2][2]) / 3.0;
  if (!(total > 0.0)) throw InputError({mass_, 0}, "the mass matrix gives the body no mass");
  for (std::size_t k = 0; k < 3; ++k)
    if (!(std::fabs(sums[k][k] - total) < 1e-6 * total))
      throw InputError({mass_, 0}, "the mass matrix gives other masses along x, y, z: " + show(sums[0][0], 9) + ", " +
                                       show(sums[1][1], 9) + ", " + show(sums[2][2], 9) +
                                       " (supports taken out, or rows in another order?)");
  const bool positive = std::all_of(row_sums.begin(), row_sums.end(), [](double m) { return m > 0.0; });
  double sum = 0.0;
  for (const double m : diagonals) sum += m;
  model.drop_inertias();
  for (std::size_t i = 0; i < model.nodes.size(); ++i) {
    model.nodes[i].mass = positive ? row_sums[i] : diagonals[i] * total / sum;
    if (!(model.nodes[i].mass > 0.0))
      throw InputError({mass_, 0}, "node " + std::to_string(model.nodes[i].id) + " has no mass in the matrix");
  }
  add_turning_inertias(mass, dofs, model);
  // The moments of the rigid motions: translation and rotation give m times the center, two rotations the inertia.
  Moments exact;
  exact.mass = total;
  exact.first = {0.5 * (sums[1][5] - sums[2][4]), 0.5 * (sums[2][3] - sums[0][5]), 0.5 * (sums[0][4] - sums[1][3])};
  const double half = 0.5 * (sums[3][3] + sums[4][4] + sums[5][5]);
  exact.second = {half - sums[3][3], half - sums[4][4], half - sums[5][5], -sums[3][4], -sums[3][5], -sums[4][5]};
  model.exact = exact;
  model.correction = correct_masses(model);
  model.volume = std::nan("");
  model.has_masses = true;
  model.has_shells = false;
}

void MatricesImporter::feed(SBR body, const Reduction &reduction, const std::vector<Dof> &dofs,
                            const Model &model) const {
  feed_matrix(body, reduction.mass, reduction.count(), SBR_SetGeneralizedMass);
  feed_matrix(body, reduction.stiffness, reduction.count(), SBR_SetGeneralizedStiffness);
  std::vector<double> rows;
  std::vector<double> values(6 * model.nodes.size());
  for (int mode = 0; mode < reduction.count(); ++mode) {
    reduction.shape(mode, rows);
    std::fill(values.begin(), values.end(), 0.0);
    for (std::size_t r = 0; r < rows.size(); ++r)
      values[6 * static_cast<std::size_t>(model.node_position(dofs[r].node)) +
             static_cast<std::size_t>(dofs[r].direction - 1)] = rows[r];
    feed_shape(body, mode + 1, model, NodalMotion(values, 6));
  }
}

BodyHandle MatricesImporter::run(const ImportInput &input, ImportReport &report) {
  if (!normal_ && !max_hz_) throw std::invalid_argument("--normal or --max-hz is needed");
  report.units = input.units.value_or(UnitLabels());
  Mesh mesh = read_nodes(input.path);
  const SymmetricMatrix stiffness = read_symmetric_matrix(stiffness_);
  const SymmetricMatrix mass = read_symmetric_matrix(mass_);
  if (stiffness.rows != mass.rows)
    throw InputError({mass_, 0},
                     std::to_string(mass.rows) + " rows, the stiffness matrix has " + std::to_string(stiffness.rows));
  const std::vector<Dof> dofs = read_rows(mesh, stiffness.rows);
  build(std::move(mesh), report);
  Model &model = report.model;
  model.with_shared_faces = input.shared_faces;
  for (const Dof &dof : dofs)
    if (model.node_position(dof.node) < 0)
      throw InputError({rows_.value_or(input.path), 0},
                       "node " + std::to_string(dof.node) + " is not in the node table");
  weigh(mass, dofs, report);
  judge_model(report);

  std::vector<char> held;
  std::size_t translations = 0;
  for (const Dof &dof : dofs) {
    held.push_back(std::binary_search(model.interface_nodes.begin(), model.interface_nodes.end(), dof.node) ? 1 : 0);
    translations += dof.direction <= 3 ? 1 : 0;
  }
  const bool free = translations == 3 * model.nodes.size();
  const bool turns = translations != dofs.size();  // an interface node with rotations holds a body alone
  if (free && !turns && !interface_holds(model))
    throw std::invalid_argument("the interface nodes do not hold the body: three that are not in line are needed");
  ReductionRequest request{mass_, stiffness_, dofs, held, normal_, max_hz_};
  request.mass_entries = &mass.upper;
  request.stiffness_entries = &stiffness.upper;
  request.interface_modes = interface_modes_;
  request.progress = input.progress;
  const std::vector<RigidRow> rigid = rigid_rows(dofs, model);
  if (free) request.rigid = rigid;
  request.residual_inertia = residual_inertia_;
  if (residual_inertia_ && !free) throw std::invalid_argument("residual inertia modes need a body without supports");
  const Reduction reduction = reduce_matrices(request);
  report.reduction = reduction;
  report.results = stiffness_;
  report.constraint_modes = reduction.constraint_modes;
  report.normal_modes = reduction.normal_modes;
  BodyHandle body = create_body(
      model, report.units, "Matrices", reduction.count(), input.path,
      {"Craig-Bampton modes: " + std::to_string(reduction.constraint_modes) +
           (interface_modes_ ? " interface, " : " constraint, ") + std::to_string(reduction.normal_modes) + " normal",
       "Matrices of " + std::filesystem::path(stiffness_).filename().string(), "Nodal masses of the matrix"});
  feed(body.get(), reduction, dofs, model);
  return body;
}

}  // namespace

ImporterEntry matrices_importer() {
  return {
      "matrices",
      "From stiffness and mass matrices of any program and a node table",
      "NODES.csv",
      "The node table: number, x, y, z and names of node sets, a node a line",
      "mm-t-s-N",
      "The matrices are reduced to the interface nodes (Craig-Bampton). They are Matrix Market files (coordinate, "
      "symmetric or general, plain or packed), dense NumPy arrays (.npy), or sparse ones as SciPy saves them (.npz). "
      "Columns of a table are parted by commas, semicolons or blanks; lines that begin with a letter or # are "
      "passed over.",
      {{"sbr import matrices nodes.csv --stiffness K.mtx --mass M.mtx --interface LEFT,RIGHT --normal 10 -o rod.sbr",
        "Ten normal modes and the constraint modes of two node sets."},
       {"sbr import matrices n.csv --stiffness K.npz --mass M.npz --rows r --interface 12 --max-hz 2000 -o rod.sbr",
        "Rows in an order of their own, one node as interface."}},
      [] { return std::unique_ptr<Importer>(std::make_unique<MatricesImporter>()); }};
}

}  // namespace sbrtranslate
