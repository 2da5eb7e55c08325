#include "universal/file.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <numbers>
#include <optional>
#include <set>

namespace sbrtranslate {
namespace {

// The columns of a fixed field, trimmed.
std::string_view field(std::string_view line, std::size_t from, std::size_t width) {
  return from < line.size() ? trim(line.substr(from, width)) : std::string_view();
}

// An element of the format: the name of the same type in a deck, and which node of the file is node i there.
struct FileElement {
  const char *type;
  std::vector<int> order;
};

// Elements with mid-edge nodes list corners and middles by turns, ring by ring.
std::vector<int> by_turns(int ring, bool layered) {
  std::vector<int> corners;
  std::vector<int> middles;
  for (int i = 0; i < ring; ++i) {
    corners.push_back(2 * i);
    middles.push_back(2 * i + 1);
  }
  if (layered) {
    std::vector<int> upright;
    upright.reserve(static_cast<std::size_t>(ring));
    for (int i = 0; i < ring; ++i) upright.push_back(2 * ring + i);
    for (int i = 0; i < ring; ++i) corners.push_back(3 * ring + 2 * i);
    for (int i = 0; i < ring; ++i) middles.push_back(3 * ring + 2 * i + 1);
    middles.insert(middles.end(), upright.begin(), upright.end());
  }
  corners.insert(corners.end(), middles.begin(), middles.end());
  return corners;
}

std::vector<int> straight(int nodes) {
  std::vector<int> order;
  order.reserve(static_cast<std::size_t>(nodes));
  for (int i = 0; i < nodes; ++i) order.push_back(i);
  return order;
}

// Plane stress, plane strain, plates, membranes and thin shells by their shapes; solids.
const std::map<int, FileElement> &elements() {
  static const std::map<int, FileElement> kElements = [] {
    std::map<int, FileElement> all;
    for (const int base : {40, 50, 60, 90}) {
      all[base + 1] = {"S3", straight(3)};
      all[base + 2] = {"S6", by_turns(3, false)};
      all[base + 4] = {"S4", straight(4)};
      all[base + 5] = {"S8", by_turns(4, false)};
    }
    all[111] = {"C3D4", straight(4)};
    all[112] = {"C3D6", straight(6)};
    all[113] = {"C3D15", by_turns(3, true)};
    all[115] = {"C3D8", straight(8)};
    all[116] = {"C3D20", by_turns(4, true)};
    // Corners and middles of the base by turns, the upright middles, the apex.
    all[118] = {"C3D10", {0, 2, 4, 9, 1, 3, 5, 6, 7, 8}};
    return all;
  }();
  return kElements;
}

// Rods and beams have a record more, and no shape.
bool is_line(int descriptor) { return descriptor >= 11 && descriptor <= 32; }

// What the values of a dataset are.
struct DataKind {
  bool stress = false;           // else a shape
  bool of_complex_mode = false;  // whose eigenvalue is complex
  bool pairs = false;            // real and imaginary parts
  bool wide = false;             // reals of 25 columns where lines may have them
};

class Reader {
 public:
  explicit Reader(const std::string &path) : reader_(path) { file_.mesh.files = {path}; }
  UniversalFile read();

 private:
  bool next();
  void need(const char *what);
  int whole(std::string_view text, const char *what) const;
  double real(std::string_view text, const char *what) const;
  std::vector<int> wholes(std::size_t least, const char *what);
  std::vector<double> reals(std::size_t count, std::size_t width, const char *what);
  void skip();
  void dataset(int number);
  void title();
  void units();
  void nodes_15();
  void nodes_2411();
  void add_node(int id, int export_axes, int displacement_axes, const Vec3 &place);
  void elements_2412();
  void groups();
  void axes_2420();
  void axes_18();
  void data_55();
  void data_2414();
  bool characteristic(int kind, int meaning, int values, bool complex_values, UniversalMode &mode, bool &stress) const;
  std::optional<DataKind> data_kind(UniversalMode &mode);
  void read_values(UniversalMode &mode, std::size_t values_in_file, std::size_t width);
  void keep_values(UniversalMode &&mode, const DataKind &kind, std::size_t width);
  void finish();
  void check_axes();

  LineReader reader_;
  std::string_view line_;
  bool inside_ = false;
  UniversalFile file_;
  struct Axes {
    int label = 0;
    long line = 0;
  };
  std::vector<std::pair<int, Axes>> node_axes_;  // nodes with axes other than 0
  std::set<int> global_axes_ = {0};              // labels that are the global ones
  std::set<int> known_axes_;
  std::set<int> skipped_;
  std::map<int, Place> element_lines_;
  long lines_left_out_ = 0;
};

// The next line of the dataset; false at its end.
bool Reader::next() {
  if (!inside_) return false;
  if (!reader_.next(line_)) reader_.fail("the file ends inside a dataset: its last line, -1, is missing");
  if (trim(line_) == "-1" && line_.size() <= 80 && field(line_, 0, 6) == "-1") {
    inside_ = false;
    return false;
  }
  return true;
}

void Reader::need(const char *what) {
  if (!next()) reader_.fail(std::string("the dataset ends where ") + what + " should be");
}

int Reader::whole(std::string_view text, const char *what) const {
  const auto value = to_int(text);
  if (!value) reader_.fail(std::string(what) + " expected, found '" + std::string(text.substr(0, 20)) + "'");
  return *value;
}

double Reader::real(std::string_view text, const char *what) const {
  const auto value = to_double(text);
  if (!value) reader_.fail(std::string(what) + " expected, found '" + std::string(text.substr(0, 25)) + "'");
  return *value;
}

// The whole numbers of the present line, ten columns each.
std::vector<int> Reader::wholes(std::size_t least, const char *what) {
  std::vector<int> values;
  const std::size_t end = line_.find_last_not_of(" \t\r") + 1;
  for (std::size_t at = 0; at < end; at += 10) values.push_back(whole(field(line_, at, 10), what));
  if (values.size() < least) reader_.fail(std::to_string(least) + " numbers expected: " + what);
  return values;
}

// Reals that go on over lines. Words serve where blanks part the numbers, columns where they touch.
std::vector<double> Reader::reals(std::size_t count, std::size_t width, const char *what) {
  std::vector<double> values;
  while (values.size() < count) {
    need(what);
    const std::size_t before = values.size();
    const auto words = split_words(line_);
    bool parted = !words.empty() && values.size() + words.size() <= count;
    for (const std::string_view word : words) {
      const auto value = parted ? to_double(word) : std::nullopt;
      if (!value)
        parted = false;
      else
        values.push_back(*value);
    }
    if (parted) continue;
    values.resize(before);
    const std::size_t end = line_.find_last_not_of(" \t\r") + 1;
    for (std::size_t at = 0; at < end && values.size() < count; at += width)
      values.push_back(real(field(line_, at, width), what));
    if (values.size() == before) reader_.fail(std::string(what) + " expected, found an empty line");
  }
  return values;
}

void Reader::skip() {
  while (next()) {
  }
}

void Reader::title() {
  need("the name of the model");
  file_.mesh.title = std::string(trim(line_));
  skip();
}

void Reader::units() {
  if (file_.units) reader_.fail("a second dataset 164: units may change once only at the start of a file");
  if (!file_.mesh.nodes.empty() || !file_.shapes.empty())
    reader_.fail("units (164) behind data: move the dataset to the start of the file");
  UniversalUnits units;
  need("the units");
  units.place = reader_.place();
  units.code = whole(field(line_, 0, 10), "a code of units");
  const auto factors = reals(3, 25, "the factors of length, force and temperature");
  units.length = factors[0];
  units.force = factors[1];
  if (!(units.length > 0.0) || !(units.force > 0.0)) reader_.fail("the factors of the units have to be above zero");
  file_.units = units;
  skip();
}

void Reader::add_node(int id, int export_axes, int displacement_axes, const Vec3 &place) {
  if (id < 1) reader_.fail("node number " + std::to_string(id) + " is not above zero");
  for (const int label : {export_axes, displacement_axes})
    if (label != 0) node_axes_.push_back({id, {label, reader_.line()}});
  file_.mesh.nodes.push_back({id, place});
}

void Reader::nodes_15() {
  while (next()) {
    const int id = whole(field(line_, 0, 10), "a node number");
    const int defined = whole(field(line_, 10, 10), "the axes of a node");
    const int moved = whole(field(line_, 20, 10), "the axes of a node");
    Vec3 place{};
    const auto words = split_words(line_.size() > 40 ? line_.substr(40) : std::string_view());
    for (std::size_t k = 0; k < 3; ++k)
      place[k] = real(words.size() == 3 ? words[k] : field(line_, 40 + 13 * k, 13), "a coordinate");
    add_node(id, defined, moved, place);
  }
}

void Reader::nodes_2411() {
  while (next()) {
    const auto head = wholes(3, "node number, two axes and a color");
    const auto place = reals(3, 25, "three coordinates");
    add_node(head[0], head[1], head[2], {place[0], place[1], place[2]});
  }
}

void Reader::elements_2412() {
  while (next()) {
    const Place place = reader_.place();
    const auto head = wholes(6, "number, type, two tables, color and count of nodes of an element");
    const int id = head[0];
    const int count = head[5];
    const auto found = elements().find(head[1]);
    if (is_line(head[1])) need("the record of a beam");
    const bool known = found != elements().end();
    if (!known && !is_line(head[1]))
      throw InputError(place, "element " + std::to_string(id) + " of type " + std::to_string(head[1]) +
                                  " is not supported; leave it out of the file");
    if (id < 1) throw InputError(place, "element number " + std::to_string(id) + " is not above zero");
    const int wanted = known ? static_cast<int>(found->second.order.size()) : count;
    if (count != wanted || count < 1 || count > 1000)
      throw InputError(place, "element " + std::to_string(id) + " has " + std::to_string(count) +
                                  " nodes, its type has " + std::to_string(wanted));
    std::vector<int> nodes;
    while (nodes.size() < static_cast<std::size_t>(count)) {
      need("the nodes of an element");
      for (const int node : wholes(1, "a node number")) nodes.push_back(node);
    }
    if (nodes.size() != static_cast<std::size_t>(count)) reader_.fail("more nodes than the element has");
    if (!known) {
      ++lines_left_out_;
      continue;
    }
    MeshElement element;
    element.id = id;
    element.type = element_type(found->second.type);
    element.first_node = static_cast<std::uint32_t>(file_.mesh.connectivity.size());
    element.line = static_cast<std::uint32_t>(place.line);
    for (const int from : found->second.order) file_.mesh.connectivity.push_back(nodes[static_cast<std::size_t>(from)]);
    file_.mesh.elements.push_back(element);
  }
}

// Groups of nodes: a head with the count as its last number, a name, then four numbers a member, two members a line.
void Reader::groups() {
  while (next()) {
    const auto head = wholes(8, "the head of a group");
    const int count = head[7];
    need("the name of a group");
    const std::string name = upper(trim(line_));
    if (count < 0) reader_.fail("a group of " + std::to_string(count) + " members");
    std::vector<int> members;
    long read = 0;
    while (read < count) {
      need("the members of a group");
      const auto row = wholes(4, "a member of a group");
      if (row.size() % 4 != 0) reader_.fail("members of four numbers each expected");
      for (std::size_t i = 0; i < row.size(); i += 4, ++read)
        if (row[i] == 7) members.push_back(row[i + 1]);  // 7: a node
    }
    if (read != count) reader_.fail("more members than the group has");
    if (!members.empty()) file_.mesh.node_sets[name.empty() ? "GROUP_" + std::to_string(head[0]) : name] = members;
  }
}

// Axes that are turned or moved are known by their labels only; those that are not count as global.
void Reader::axes_2420() {
  need("the part of the axes");
  need("the name of the part");
  while (next()) {
    const auto head = wholes(2, "label and kind of axes");
    need("the name of axes");
    const auto matrix = reals(12, 25, "the matrix of axes");
    known_axes_.insert(head[0]);
    bool global = head[1] == 0;
    for (std::size_t r = 0; r < 4; ++r)
      for (std::size_t c = 0; c < 3; ++c) global = global && matrix[3 * r + c] == (r == c ? 1.0 : 0.0);
    if (global) global_axes_.insert(head[0]);
  }
}

void Reader::axes_18() {
  // Their form is not read: nodes that refer to them are refused.
  skip();
}

// Which data are taken: shapes of modes as translations, with or without rotations, and stress tensors.
bool Reader::characteristic(int kind, int meaning, int values, bool complex_values, UniversalMode &mode,
                            bool &stress) const {
  stress = meaning == 2 && kind == 4;
  const bool shape = (kind == 2 || kind == 3) && (meaning == 8 || meaning == 0);
  if (!stress && !shape) {
    if ((kind == 2 || kind == 3) && (meaning == 11 || meaning == 12))
      reader_.fail("the shapes are velocities or accelerations; export displacements");
    return false;
  }
  mode.components = stress ? 6 : kind == 2 ? 3 : 6;
  mode.is_complex = complex_values;
  if (values != mode.components)
    reader_.fail(std::to_string(values) + " values a node, " + std::to_string(mode.components) + " expected");
  return true;
}

void Reader::read_values(UniversalMode &mode, std::size_t values_in_file, std::size_t width) {
  while (next()) {
    const int node = whole(field(line_, 0, 10), "a node number");
    mode.nodes.push_back(node);
    const auto values = reals(values_in_file, width, "the values of a node");
    mode.values.insert(mode.values.end(), values.begin(), values.end());
  }
}

// The record of six numbers that tells what the values are. Nothing for data that is passed over.
std::optional<DataKind> Reader::data_kind(UniversalMode &mode) {
  need("the kind of the data");
  const auto kind = wholes(6, "the kind of the data");
  DataKind data;
  data.of_complex_mode = kind[1] == 3 || kind[1] == 7;
  data.pairs = kind[4] == 5 || kind[4] == 6;
  data.wide = kind[4] == 4 || kind[4] == 6;
  if (kind[1] != 2 && !data.of_complex_mode) return std::nullopt;
  if (!characteristic(kind[2], kind[3], kind[5], data.pairs, mode, data.stress)) return std::nullopt;
  if (kind[4] != 2 && kind[4] != 4 && !data.pairs)
    reader_.fail("data of type " + std::to_string(kind[4]) + "; reals or complex numbers are expected");
  if (data.of_complex_mode && !data.pairs) reader_.fail("a complex mode with real values");
  mode.is_complex = mode.is_complex || data.of_complex_mode;
  return data;
}

void Reader::keep_values(UniversalMode &&mode, const DataKind &kind, std::size_t width) {
  read_values(mode, static_cast<std::size_t>(mode.components) * (kind.pairs ? 2 : 1), width);
  (kind.stress ? file_.stresses : file_.shapes).push_back(std::move(mode));
}

void Reader::data_55() {
  UniversalMode mode;
  mode.place = reader_.place();
  for (int i = 0; i < 5; ++i) need("a line of text");
  const auto kind = data_kind(mode);
  if (!kind) {
    skipped_.insert(55);
    return skip();
  }
  need("the numbers of the mode");
  const auto numbers = wholes(4, "counts, load case and number of the mode");
  mode.number = numbers[3];
  const auto wanted = static_cast<std::size_t>(std::clamp(numbers[1], 0, 100));
  const auto figures = reals(wanted, 13, "the figures of the mode");
  if (figures.size() < (kind->of_complex_mode ? 4U : 1U)) reader_.fail("the frequency of the mode is missing");
  if (kind->of_complex_mode) {
    mode.eigenvalue = {figures[0], figures[1]};
    mode.modal_mass = {figures[2], figures[3]};
  } else {
    mode.hz = figures[0];
    if (figures.size() > 1) mode.modal_mass = figures[1];
  }
  keep_values(std::move(mode), *kind, 13);
}

void Reader::data_2414() {
  UniversalMode mode;
  need("the label of the dataset");
  mode.place = reader_.place();
  need("the name of the dataset");
  need("the place of the data");
  const bool at_nodes = whole(field(line_, 0, 10), "the place of the data") == 1;
  for (int i = 0; i < 5; ++i) need("a line of text");
  const auto kind = at_nodes ? data_kind(mode) : std::nullopt;
  if (!kind) {
    skipped_.insert(2414);
    return skip();
  }
  need("the numbers of the mode");
  const auto numbers = wholes(6, "the numbers of the mode");
  mode.number = numbers[5];
  need("the numbers of the mode");
  const auto figures = reals(6, 13, "the figures of the mode");
  const auto more = reals(6, 13, "the figures of the mode");
  if (kind->of_complex_mode) {
    mode.eigenvalue = {more[0], more[1]};
    mode.modal_mass = {more[2], more[3]};
  } else {
    mode.hz = figures[1];
    mode.modal_mass = figures[3];
  }
  keep_values(std::move(mode), *kind, kind->wide ? 25 : 13);
}

void Reader::dataset(int number) {
  inside_ = true;
  switch (number) {
    case 15:
      return nodes_15();
    case 18:
      return axes_18();
    case 55:
      return data_55();
    case 151:
      return title();
    case 164:
      return units();
    case 2411:
    case 781:
      return nodes_2411();
    case 2412:
      return elements_2412();
    case 2414:
      return data_2414();
    case 2420:
      return axes_2420();
    case 2452:
    case 2467:
    case 2477:
      return groups();
    default:
      return skip();
  }
}

// Nodes whose axes are not the global ones: their displacements would be taken in wrong directions.
void Reader::check_axes() {
  for (const auto &[node, axes] : node_axes_) {
    if (global_axes_.count(axes.label) != 0) continue;
    // Without any axes in the file, label 1 is the global system.
    if (axes.label == 1 && known_axes_.count(1) == 0) continue;
    throw InputError({reader_.path(), axes.line}, "node " + std::to_string(node) + " refers to the local axes " +
                                                      std::to_string(axes.label) +
                                                      "; export places and shapes in global axes");
  }
}

void Reader::finish() {
  Mesh &mesh = file_.mesh;
  check_axes();
  std::sort(mesh.nodes.begin(), mesh.nodes.end(), [](const MeshNode &a, const MeshNode &b) { return a.id < b.id; });
  for (std::size_t i = 1; i < mesh.nodes.size(); ++i)
    if (mesh.nodes[i].id == mesh.nodes[i - 1].id)
      throw InputError({reader_.path(), 0}, "node " + std::to_string(mesh.nodes[i].id) + " comes twice");
  std::sort(mesh.elements.begin(), mesh.elements.end(),
            [](const MeshElement &a, const MeshElement &b) { return a.id < b.id; });
  for (std::size_t i = 0; i < mesh.elements.size(); ++i) {
    const MeshElement &element = mesh.elements[i];
    if (i > 0 && element.id == mesh.elements[i - 1].id)
      throw InputError(mesh.place_of(element), "element " + std::to_string(element.id) + " comes twice");
    for (int k = 0; k < element.type->nodes; ++k)
      if (mesh.node_position(mesh.nodes_of(element)[k]) < 0)
        throw InputError(mesh.place_of(element), "element " + std::to_string(element.id) + " names node " +
                                                     std::to_string(mesh.nodes_of(element)[k]) +
                                                     ", which the file does not have");
  }
  for (const auto &[name, members] : mesh.node_sets)
    for (const int id : members)
      if (mesh.node_position(id) < 0)
        throw InputError({reader_.path(), 0},
                         "group '" + name + "' names node " + std::to_string(id) + ", which the file does not have");
  if (lines_left_out_ != 0)
    file_.warnings.push_back(std::to_string(lines_left_out_) + " rods and beams are left out: they have no faces");
  for (const int number : skipped_)
    file_.warnings.push_back("data of dataset " + std::to_string(number) +
                             " that are no displacements or stresses of modes at nodes are passed over");
}

UniversalFile Reader::read() {
  bool any = false;
  while (reader_.next(line_)) {
    if (trim(line_).empty()) continue;
    if (field(line_, 0, 6) != "-1" || trim(line_) != "-1")
      reader_.fail(any ? "a dataset has to begin with -1"
                       : "not a universal file: its first line has to be -1 in the first six columns");
    any = true;
    if (!reader_.next(line_)) reader_.fail("the file ends where the number of a dataset should be");
    const std::string_view text = field(line_, 0, 6);
    if (!text.empty() && text.back() == 'b') reader_.fail("a binary dataset; export the file as text");
    const int number = whole(text, "the number of a dataset");
    if (number < 1) reader_.fail("the number of a dataset expected, found " + std::to_string(number));
    dataset(number);
    if (inside_) skip();
  }
  if (!any) reader_.fail("the file is empty");
  finish();
  return std::move(file_);
}

}  // namespace

UniversalFile read_universal(const std::string &path) { return Reader(path).read(); }

RealizedShape realize_shape(const std::vector<std::complex<double>> &shape) {
  std::complex<double> squares = 0.0;
  double moduli = 0.0;
  for (const std::complex<double> &value : shape) {
    squares += value * value;
    moduli += std::norm(value);
  }
  RealizedShape realized;
  realized.turn = std::polar(1.0, -0.5 * std::arg(squares));
  realized.collinearity = moduli > 0.0 ? std::norm(squares) / (moduli * moduli) : 1.0;
  for (const std::complex<double> &value : shape) realized.values.push_back((value * realized.turn).real());
  return realized;
}

}  // namespace sbrtranslate
