// An Exodus II file: nodes, a block of elements for each kind of face, a step for each mode.
//
// The layout is that of the format's manual (Schoof, Yarberry: EXODUS II, a finite element data model, 1994); the file
// is made by the format's own library.
#include "export.h"

#ifndef SBRKIT_HAVE_EXODUS

namespace sbrtool {

void export_exodus(SBR, const std::filesystem::path &) {
  throw Failure(kUsage, "this sbr is built without the Exodus library (SBRKIT_EXODUS)");
}

}  // namespace sbrtool

#else

#include <exodusII.h>

#include <algorithm>
#include <cmath>
#include <map>

#include "exportbody.h"
#include "givenarray.h"
#include "modefacts.h"

namespace sbrtool {
namespace {

// The parameters of the library are not const, though it only reads them.
class Texts {
 public:
  explicit Texts(std::vector<std::string> texts) : texts_(std::move(texts)) {
    for (std::string &text : texts_) pointers_.push_back(text.data());
  }
  char **data() { return pointers_.data(); }
  [[nodiscard]] int count() const { return static_cast<int>(pointers_.size()); }

 private:
  std::vector<std::string> texts_;
  std::vector<char *> pointers_;
};

// An open file of the library. Every call of it goes through require().
class ExodusFile {
 public:
  explicit ExodusFile(const std::string &path) {
    ex_opts(0);  // no messages of its own
    int computing = sizeof(double);
    int storing = sizeof(double);
    id_ = ex_create(path.c_str(), EX_CLOBBER | EX_LARGE_MODEL, &computing, &storing);
    require(id_);
  }
  ~ExodusFile() {
    if (id_ >= 0) ex_close(id_);
  }
  ExodusFile(const ExodusFile &) = delete;
  ExodusFile &operator=(const ExodusFile &) = delete;

  [[nodiscard]] int id() const { return id_; }
  static void require(int code) {
    if (code >= 0) return;
    const char *message = nullptr;
    const char *function = nullptr;
    int number = 0;
    ex_get_err(&message, &function, &number);
    throw Failure(kFailed, std::string("the Exodus library cannot write the file: ") +
                               (number < 0 || number > 0 ? nc_strerror(number)
                                : message == nullptr     ? ""
                                                         : message));
  }
  void close() { require(ex_close(std::exchange(id_, -1))); }

 private:
  int id_ = -1;
};

// ---- mesh ----------------------------------------------------------------------------------------------------------

struct ElementBlock {
  std::string type;
  int corners = 0;  // of each element; 0 where they differ
  std::vector<int> counts;
  std::vector<int> connectivity;  // node numbers from 1
  std::vector<int> numbers;       // of the faces, from 1
};

// Faces by their corners, and the nodes without a face as elements of one node, so that they show.
std::vector<ElementBlock> blocks_of(const Geometry &geometry) {
  std::vector<ElementBlock> blocks = {{"tri3", 3, {}, {}, {}},
                                      {"quad4", 4, {}, {}, {}},
                                      {"nsided", 0, {}, {}, {}},
                                      {"bar2", 2, {}, {}, {}},
                                      {"sphere", 1, {}, {}, {}}};
  for (std::size_t f = 0; f < geometry.faces(); ++f) {
    const std::size_t size = geometry.size(f);
    ElementBlock &block = blocks[size == 3 ? 0 : size == 4 ? 1 : size > 4 ? 2 : size == 2 ? 3 : 4];
    block.counts.push_back(static_cast<int>(size));
    block.numbers.push_back(static_cast<int>(f + 1));
    for (std::size_t k = geometry.begin(f); k < geometry.face_ends[f]; ++k)
      block.connectivity.push_back(geometry.corners[k] + 1);
  }
  for (std::size_t i = 0; i < geometry.loose.size(); ++i) {
    blocks[4].counts.push_back(1);
    blocks[4].connectivity.push_back(geometry.loose[i] + 1);
    blocks[4].numbers.push_back(static_cast<int>(geometry.faces() + i + 1));
  }
  std::erase_if(blocks, [](const ElementBlock &block) { return block.counts.empty(); });
  return blocks;
}

void put_blocks(ExodusFile &file, const std::vector<ElementBlock> &blocks) {
  std::vector<std::string> names;
  std::vector<int> numbers;
  for (std::size_t i = 0; i < blocks.size(); ++i) {
    const ElementBlock &block = blocks[i];
    const auto id = static_cast<ex_entity_id>(i + 1);
    // A block of polygons tells the length of its list of nodes instead.
    const auto corners =
        block.corners > 0 ? std::int64_t{block.corners} : static_cast<std::int64_t>(block.connectivity.size());
    ExodusFile::require(ex_put_block(file.id(), EX_ELEM_BLOCK, id, block.type.c_str(),
                                     static_cast<std::int64_t>(block.counts.size()), corners, 0, 0, 0));
    if (block.corners == 0)
      ExodusFile::require(ex_put_entity_count_per_polyhedra(file.id(), EX_ELEM_BLOCK, id, block.counts.data()));
    ExodusFile::require(ex_put_conn(file.id(), EX_ELEM_BLOCK, id, block.connectivity.data(), nullptr, nullptr));
    names.push_back("faces_" + block.type);
    if (block.type == "sphere") names.back() = "points";
    numbers.insert(numbers.end(), block.numbers.begin(), block.numbers.end());
  }
  Texts texts(names);
  ExodusFile::require(ex_put_names(file.id(), EX_ELEM_BLOCK, texts.data()));
  ExodusFile::require(ex_put_id_map(file.id(), EX_ELEM_MAP, numbers.data()));
}

void put_nodes(ExodusFile &file, const Geometry &geometry) {
  std::vector<double> axes[3];
  for (std::size_t c = 0; c < 3; ++c)
    for (int i = 0; i < geometry.nodes(); ++i) axes[c].push_back(geometry.at(i)[c]);
  ExodusFile::require(ex_put_coord(file.id(), axes[0].data(), axes[1].data(), axes[2].data()));
  Texts names({"x", "y", "z"});
  ExodusFile::require(ex_put_coord_names(file.id(), names.data()));
  ExodusFile::require(ex_put_id_map(file.id(), EX_NODE_MAP, geometry.ids.data()));
}

std::vector<int> interface_nodes(SBR body, const Geometry &geometry) {
  int count = 0;
  const Given<int> given = given_array(SBR_InterfaceNodes(body, &count), count);
  std::vector<int> nodes;
  for (int i = 0; given && i < count; ++i)
    if (given[i] >= 0 && given[i] < geometry.nodes()) nodes.push_back(given[i] + 1);
  return nodes;
}

void put_interface_nodes(ExodusFile &file, const std::vector<int> &nodes) {
  if (nodes.empty()) return;
  ExodusFile::require(ex_put_set_param(file.id(), EX_NODE_SET, 1, static_cast<std::int64_t>(nodes.size()), 0));
  ExodusFile::require(ex_put_set(file.id(), EX_NODE_SET, 1, nodes.data(), nullptr));
  Texts names({"interface_nodes"});
  ExodusFile::require(ex_put_names(file.id(), EX_NODE_SET, names.data()));
}

// Who made the file, and the units, in lines of at most 80 characters.
void put_information(ExodusFile &file, SBR body) {
  const UnitLabels units(body);
  const std::string title = title_of(body);
  std::vector<std::string> lines = {"unit of mass: " + units.mass,
                                    "unit of length: " + units.length,
                                    "unit of time: " + units.time,
                                    "unit of force: " + units.force,
                                    "disp: translations [" + units.length + "]; rot: rotations [rad]",
                                    "stress, von_mises [" + units.stress() + "]; strain has no unit",
                                    "a step is a mode; time is its number, or its place where numbers do not ascend",
                                    "eigenvalue [" + units.eigenvalue() + "]",
                                    "frequency [1/" + units.time + "]"};
  for (std::size_t at = 0; at < title.size(); at += 70) lines.push_back("title: " + title.substr(at, 70));
  for (std::string &line : lines) line.resize(std::min<std::size_t>(line.size(), MAX_LINE_LENGTH));
  Texts information(lines);
  ExodusFile::require(ex_put_info(file.id(), information.count(), information.data()));
}

// ---- modes ---------------------------------------------------------------------------------------------------------

// The kinds of mode data that the body has, and where their values belong.
struct ModeVariables {
  std::map<int, std::vector<int> > places;  // by kind
  std::vector<std::string> names;
};

ModeVariables variables_of(SBR body, const Geometry &geometry) {
  ModeVariables variables;
  if (SBR_ModeCount(body) < 1) return variables;
  for (int kind = 0; kind < 3; ++kind) {
    if (SBR_ModeExist(body, kind) == 0) continue;
    std::vector<int> places = nodes_of_kind(body, geometry, kind);
    if (places.empty()) continue;
    variables.places.emplace(kind, std::move(places));
    if (kind == 0) {
      for (const char *name : {"disp_x", "disp_y", "disp_z", "rot_x", "rot_y", "rot_z"})
        variables.names.push_back(name);
      continue;
    }
    for (const char *name : kTensorNames)
      variables.names.push_back((kind == 1 ? "stress_" : "strain_") + std::string(name));
    if (kind == 1) variables.names.push_back("von_mises");
  }
  return variables;
}

void put_variable(ExodusFile &file, int step, int variable, const std::vector<double> &values) {
  ExodusFile::require(
      ex_put_var(file.id(), step, EX_NODAL, variable, 1, static_cast<std::int64_t>(values.size()), values.data()));
}

void put_mode(ExodusFile &file, SBR body, const ModeVariables &variables, int nodes, int number, int step) {
  int variable = 0;
  std::vector<double> column(static_cast<std::size_t>(nodes));
  for (const auto &[kind, places] : variables.places) {
    std::vector<double> parts[2];
    for (int part = 0; part < 2; ++part) {
      parts[part] = part_of_mode(body, number, kind, part, places, nodes);
      for (std::size_t c = 0; c < 3; ++c) {
        for (std::size_t i = 0; i < column.size(); ++i) column[i] = parts[part][3 * i + c];
        put_variable(file, step, ++variable, column);
      }
    }
    if (kind == 1) put_variable(file, step, ++variable, von_mises(parts[0], parts[1]));
  }
}

void put_modes(ExodusFile &file, SBR body, const ModeVariables &variables, int nodes) {
  const std::vector<ModeFacts> modes = facts_of_modes(body);
  if (modes.empty()) return;
  Texts global({"mode_number", "eigenvalue", "frequency", "generalized_mass", "generalized_stiffness"});
  ExodusFile::require(ex_put_variable_param(file.id(), EX_GLOBAL, global.count()));
  ExodusFile::require(ex_put_variable_names(file.id(), EX_GLOBAL, global.count(), global.data()));
  if (!variables.names.empty()) {
    Texts names(variables.names);
    ExodusFile::require(ex_put_variable_param(file.id(), EX_NODAL, names.count()));
    ExodusFile::require(ex_put_variable_names(file.id(), EX_NODAL, names.count(), names.data()));
  }
  const bool ascending = std::adjacent_find(modes.begin(), modes.end(), [](const ModeFacts &a, const ModeFacts &b) {
                           return a.number >= b.number;
                         }) == modes.end();
  for (std::size_t m = 0; m < modes.size(); ++m) {
    const ModeFacts &mode = modes[m];
    const int step = static_cast<int>(m + 1);
    const double time = ascending ? mode.number : step;
    ExodusFile::require(ex_put_time(file.id(), step, &time));
    const double values[] = {static_cast<double>(mode.number), mode.eigenvalue, mode.hz, mode.mass, mode.stiffness};
    ExodusFile::require(ex_put_var(file.id(), step, EX_GLOBAL, 1, 0, global.count(), values));
    put_mode(file, body, variables, nodes, mode.number, step);
  }
}

}  // namespace

void export_exodus(SBR body, const std::filesystem::path &target) {
  const Geometry geometry = geometry_of(body);
  const std::vector<ElementBlock> blocks = blocks_of(geometry);
  const std::vector<int> interfaces = interface_nodes(body, geometry);
  const ModeVariables variables = variables_of(body, geometry);
  OutputFile output(target);
  if (!output.is_regular()) throw Failure(kUsage, target.string() + ": an Exodus file needs a regular file");
  ExodusFile file(output.path());
  const std::string title = title_of(body).substr(0, MAX_LINE_LENGTH);
  ExodusFile::require(ex_put_init(file.id(), title.c_str(), 3, geometry.nodes(),
                                  static_cast<std::int64_t>(geometry.faces() + geometry.loose.size()),
                                  static_cast<std::int64_t>(blocks.size()), interfaces.empty() ? 0 : 1, 0));
  put_information(file, body);
  put_nodes(file, geometry);
  put_blocks(file, blocks);
  put_interface_nodes(file, interfaces);
  put_modes(file, body, variables, geometry.nodes());
  file.close();
  output.commit();
}

}  // namespace sbrtool

#endif
