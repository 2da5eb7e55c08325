#include "calculix/deck.h"

#include <algorithm>
#include <filesystem>
#include <optional>
#include <set>
#include <tuple>

#include "calculix/beams.h"
#include "calculix/sections.h"

namespace sbrtranslate {
namespace {

// Cards that are kept with their data lines, to be worked out when all of the mesh is known.
bool kept_whole(const Card &card) {
  if (card.keyword == "*ELEMENT") return line_type(squeeze(card.value("TYPE"))).has_value();
  static const std::set<std::string> kKept = {
      "*RIGIDBODY",   "*COUPLING",  "*KINEMATIC",      "*DISTRIBUTING", "*SURFACE", "*STEP",
      "*STATIC",      "*FREQUENCY", "*BOUNDARY",       "*CLOAD",        "*DLOAD",   "*TEMPERATURE",
      "*DFLUX",       "*CFLUX",     "*NODALTHICKNESS", "*DSLOAD",       "*FILM",    "*RADIATE",
      "*CONTACTPAIR", "*MASS",      "*BEAMSECTION",    "*SOLIDSECTION"};
  return kKept.count(card.keyword) != 0;
}

class DeckReader {
 public:
  Mesh read(const std::string &path) {
    read_file(path);
    finish_element();
    finish_section();
    finish_equation();
    sort_deck();
    assign_sections(deck_, line_elements_);
    finish_shells(deck_);
    deck_.lines = read_line_elements(deck_);
    std::sort(deck_.lines.begin(), deck_.lines.end(),
              [](const LineElement &a, const LineElement &b) { return a.id < b.id; });
    refuse_lines_at_moved_nodes(deck_);
    return std::move(deck_);
  }
  DeckNotes notes;

 private:
  void read_file(const std::string &path);
  void include(const Card &card);
  [[nodiscard]] std::filesystem::path included_file(const Card &card) const;
  void begin_card(const Card &card);
  void note_card(const Card &card, CardRole role);
  void begin_elements(const Card &card);
  void begin_section(const Card &card);
  void begin_material(const Card &card);
  void data_line(std::string_view line, const Place &place);
  void note_line_element(std::string_view line, const Place &place);
  void node_line(std::string_view line, const Place &place);
  void element_line(std::string_view line, const Place &place);
  void set_line(std::string_view line, const Place &place);
  void generate_line(const std::vector<std::string_view> &fields, const Place &place);
  void density_line(std::string_view line, const Place &place);
  void elastic_line(std::string_view line);
  void boundary_line(std::string_view line, const Place &place);
  void equation_line(std::string_view line, const Place &place);
  void finish_equation();
  void thickness_line(std::string_view line, const Place &place);
  void finish_element();
  void finish_section();
  void sort_deck();

  static int whole(std::string_view field, const Place &place, const char *what) {
    const auto value = to_int(field);
    if (!value) throw InputError(place, std::string(what) + " expected, found '" + std::string(field) + "'");
    return *value;
  }
  static double real(std::string_view field, const Place &place, const char *what) {
    const auto value = to_double(field);
    if (!value) throw InputError(place, std::string(what) + " expected, found '" + std::string(field) + "'");
    return *value;
  }

  Mesh deck_;
  Card card_;
  std::vector<std::filesystem::path> open_files_;
  std::set<std::tuple<std::string, std::size_t, int, int>> supports_seen_;
  int terms_left_ = 0;           // of an equation that runs over lines
  std::set<int> line_elements_;  // numbers of elements without a surface
  std::string material_;         // the material that *DENSITY belongs to
  std::vector<int> element_;     // what has come of an element that runs over lines
  Place element_place_;
  bool heading_done_ = false;
};

void DeckReader::read_file(const std::string &path) {
  const auto canonical = std::filesystem::weakly_canonical(path);
  open_files_.push_back(canonical);
  LineReader reader(path);
  deck_.files.push_back(path);
  std::string_view line;
  while (reader.next(line)) {
    line = trim(line);
    if (line.empty() || line.substr(0, 2) == "**") continue;
    if (line.front() != '*') {
      data_line(line, reader.place());
      continue;
    }
    const Place place = reader.place();
    std::string text(line);
    // A card goes on behind a comma at the end of its line.
    while (text.back() == ',' && reader.next(line)) text += std::string(trim(line));
    begin_card(parse_card(text, place));
  }
  open_files_.pop_back();
}

// The solver takes the name from the folder that it is run in, which is that of the deck.
std::filesystem::path DeckReader::included_file(const Card &card) const {
  const auto found = card.parameters.find("INPUT");
  if (found == card.parameters.end() || found->second.empty()) throw InputError(card.place, "*INCLUDE without INPUT=");
  std::filesystem::path name(found->second);
  if (name.is_absolute()) return name;
  const std::filesystem::path beside_deck = std::filesystem::path(deck_.files.front()).parent_path() / name;
  std::error_code code;
  const bool there = std::filesystem::exists(beside_deck, code);
  const bool here = std::filesystem::exists(name, code);
  if (there && here && !std::filesystem::equivalent(beside_deck, name, code))
    throw InputError(card.place, "two files to include, and the solver took that of the folder that it was run in: " +
                                     beside_deck.string() + " and " + name.string());
  return here && !there ? name : beside_deck;
}

// The lines of the file stand in the place of the card: data lines go on behind it.
void DeckReader::include(const Card &card) {
  const std::filesystem::path file = included_file(card);
  const auto canonical = std::filesystem::weakly_canonical(file);
  if (std::find(open_files_.begin(), open_files_.end(), canonical) != open_files_.end())
    throw InputError(card.place, "the file includes itself: " + file.string());
  if (!std::filesystem::exists(file)) throw InputError(card.place, "no such file to include: " + file.string());
  read_file(file.string());
}

// Keeps what the deck says besides its mesh.
void DeckReader::note_card(const Card &card, CardRole role) {
  const std::string &word = card.keyword;
  if (word == "*NODEFILE" || word == "*ELFILE" || word == "*NODEOUTPUT" || word == "*ELEMENTOUTPUT")
    notes.requests.push_back(card);
  else if (word == "*TRANSFORM")
    notes.transforms.push_back(card);
  else if (card.has("ORIENTATION"))
    notes.orientations.push_back(card);
  else if (role == CardRole::results)
    notes.relations.push_back(card);
}

void DeckReader::begin_card(const Card &card) {
  if (card.keyword == "*INCLUDE") {
    include(card);
    return;
  }
  finish_element();
  finish_section();
  finish_equation();
  note_card(card, judge_card(card));
  card_ = card;
  if (kept_whole(card)) deck_.cards.push_back({card.keyword, card.parameters, card.place, {}});
  if (card.keyword == "*ELEMENT") {
    begin_elements(card);
  } else if (card.keyword == "*SOLIDSECTION" || card.keyword == "*SHELLSECTION" || card.keyword == "*MEMBRANESECTION") {
    begin_section(card);
  } else if (card.keyword == "*MATERIAL" || card.keyword == "*DENSITY") {
    begin_material(card);
  } else if (card.keyword == "*NSET" || card.keyword == "*ELSET") {
    const std::string name = card.value(card.keyword.substr(1));
    if (name.empty()) throw InputError(card.place, card.keyword + " without a name");
    (card.keyword == "*NSET" ? deck_.node_sets : deck_.element_sets)[name];
    if (card.keyword == "*NSET") deck_.node_set_places.emplace(name, card.place);
  }
}

void DeckReader::begin_elements(const Card &card) {
  const std::string name = squeeze(card.value("TYPE"));
  if (name.empty()) throw InputError(card.place, "*ELEMENT without TYPE=");
  if (line_type(name)) {
    if (card.has("ELSET")) deck_.element_sets[card.value("ELSET")];
    return;
  }
  if (element_type(name) == nullptr)
    throw InputError(card.place,
                     "element type " + name +
                         " is not supported (solids C3D4, C3D6, C3D8, C3D8R, C3D8I, "
                         "C3D10, C3D15, C3D20, C3D20R; shells S3, S4, S4R, S6, S8, S8R; membranes M3D3 to M3D8R; MASS, "
                         "SPRINGA, SPRING1, SPRING2, DASHPOTA, T3D2, T3D3, B31, B31R, B32, B32R)");
  if (card.has("ELSET")) deck_.element_sets[card.value("ELSET")];
}

void DeckReader::begin_section(const Card &card) {
  Section section;
  section.shell = card.keyword != "*SOLIDSECTION";
  section.set = card.value("ELSET");
  section.material = card.value("MATERIAL");
  section.place = card.place;
  if (section.set.empty()) throw InputError(card.place, "section without ELSET=");
  if (card.has("COMPOSITE"))
    throw InputError(card.place,
                     "a composite section is not supported: the results hold its layers as elements that the "
                     "deck does not have");
  section.nodal_thickness = card.has("NODALTHICKNESS");
  if (card.has("OFFSET")) section.offset = real(card.value("OFFSET"), card.place, "an offset");
  if (!section.shell && (section.nodal_thickness || section.offset != 0.0))
    throw InputError(card.place, "a section of solids has neither NODAL THICKNESS nor OFFSET");
  if (section.material.empty()) throw InputError(card.place, "section without MATERIAL=");
  deck_.sections.push_back(section);
}

void DeckReader::begin_material(const Card &card) {
  if (card.keyword == "*MATERIAL") {
    material_ = card.value("NAME");
    if (material_.empty()) throw InputError(card.place, "*MATERIAL without NAME=");
    deck_.materials[material_].place = card.place;
  } else if (material_.empty()) {
    throw InputError(card.place, "*DENSITY outside a material");
  }
}

void DeckReader::data_line(std::string_view line, const Place &place) {
  if (kept_whole(card_)) {
    deck_.cards.back().lines.push_back({place, std::string(line)});
    if (card_.keyword == "*ELEMENT") note_line_element(line, place);
    if (card_.keyword == "*BOUNDARY") boundary_line(line, place);
    return;
  }
  if (card_.keyword == "*NODE") {
    node_line(line, place);
  } else if (card_.keyword == "*ELEMENT") {
    element_line(line, place);
  } else if (card_.keyword == "*NSET" || card_.keyword == "*ELSET") {
    set_line(line, place);
  } else if (card_.keyword == "*DENSITY") {
    density_line(line, place);
  } else if (card_.keyword == "*SHELLSECTION" || card_.keyword == "*MEMBRANESECTION") {
    thickness_line(line, place);
  } else if (card_.keyword == "*ELASTIC") {
    elastic_line(line);
  } else if (card_.keyword == "*EQUATION") {
    equation_line(line, place);
  } else if (card_.keyword == "*HEADING" && !heading_done_) {
    deck_.title = std::string(line);
    heading_done_ = true;
  }
}

// Elements without a surface are worked out later; their numbers belong to their set now.
void DeckReader::note_line_element(std::string_view line, const Place &place) {
  const int id = whole(split_fields(line)[0], place, "an element number");
  line_elements_.insert(id);
  if (card_.has("ELSET")) deck_.element_sets[card_.value("ELSET")].push_back(id);
}

void DeckReader::node_line(std::string_view line, const Place &place) {
  const auto fields = split_fields(line);
  MeshNode node;
  node.id = whole(fields[0], place, "a node number");
  if (node.id < 1) throw InputError(place, "node numbers start at 1, found " + std::to_string(node.id));
  for (std::size_t k = 0; k < 3; ++k)
    if (k + 1 < fields.size() && !fields[k + 1].empty()) node.place[k] = real(fields[k + 1], place, "a coordinate");
  deck_.nodes.push_back(node);
  if (card_.has("NSET")) deck_.node_sets[card_.value("NSET")].push_back(node.id);
}

void DeckReader::element_line(std::string_view line, const Place &place) {
  const ElementType *type = element_type(squeeze(card_.value("TYPE")));
  if (element_.empty()) element_place_ = place;
  const auto fields = split_fields(line);
  for (std::size_t i = 0; i < fields.size(); ++i) {
    if (fields[i].empty() && i + 1 == fields.size()) continue;
    if (element_.size() == static_cast<std::size_t>(type->nodes) + 1)
      throw InputError(place, "element " + std::to_string(element_[0]) + " has more than the " +
                                  std::to_string(type->nodes) + " nodes of " + card_.value("TYPE"));
    element_.push_back(whole(fields[i], place, element_.empty() ? "an element number" : "a node number"));
  }
  if (element_.size() == static_cast<std::size_t>(type->nodes) + 1) finish_element();
}

// Enters the element whose lines have come; one that is not complete is an error.
void DeckReader::finish_element() {
  if (element_.empty()) return;
  const ElementType *type = element_type(squeeze(card_.value("TYPE")));
  if (element_.size() != static_cast<std::size_t>(type->nodes) + 1)
    throw InputError(element_place_, "element " + std::to_string(element_[0]) + " has " +
                                         std::to_string(element_.size() - 1) + " nodes, " + card_.value("TYPE") +
                                         " has " + std::to_string(type->nodes));
  if (element_[0] < 1)
    throw InputError(element_place_, "element numbers start at 1, found " + std::to_string(element_[0]));
  MeshElement element;
  element.id = element_[0];
  element.type = type;
  element.first_node = static_cast<std::uint32_t>(deck_.connectivity.size());
  element.line = static_cast<std::uint32_t>(element_place_.line);
  const auto file = std::find(deck_.files.rbegin(), deck_.files.rend(), element_place_.file);
  element.file = static_cast<int>(deck_.files.rend() - file) - 1;
  deck_.connectivity.insert(deck_.connectivity.end(), element_.begin() + 1, element_.end());
  deck_.elements.push_back(element);
  if (squeeze(card_.value("TYPE")) == "C3D8I") ++notes.incompatible;
  if (card_.has("ELSET")) deck_.element_sets[card_.value("ELSET")].push_back(element.id);
  element_.clear();
}

void DeckReader::set_line(std::string_view line, const Place &place) {
  auto &sets = card_.keyword == "*NSET" ? deck_.node_sets : deck_.element_sets;
  const std::string name = card_.value(card_.keyword.substr(1));
  const auto fields = split_fields(line);
  if (card_.has("GENERATE")) {
    generate_line(fields, place);
    return;
  }
  for (const std::string_view field : fields) {
    if (field.empty()) continue;
    if (const auto id = to_int(field)) {
      sets[name].push_back(*id);
      continue;
    }
    const auto other = sets.find(upper(field));
    if (other == sets.end() && card_.keyword == "*NSET" && deck_.element_sets.count(upper(field)) != 0)
      throw InputError(place, "'" + std::string(field) + "' holds elements, and a node set is expected");
    if (other == sets.end()) throw InputError(place, "no set '" + std::string(field) + "' so far");
    const std::vector<int> members = other->second;
    auto &set = sets[name];
    set.insert(set.end(), members.begin(), members.end());
  }
}

void DeckReader::generate_line(const std::vector<std::string_view> &fields, const Place &place) {
  auto &sets = card_.keyword == "*NSET" ? deck_.node_sets : deck_.element_sets;
  if (fields.size() < 2) throw InputError(place, "GENERATE needs a first and a last number");
  const int first = whole(fields[0], place, "a first number");
  const int last = whole(fields[1], place, "a last number");
  const int step = fields.size() > 2 && !fields[2].empty() ? whole(fields[2], place, "a step") : 1;
  if (step < 1 || last < first || first < 1)
    throw InputError(place, "GENERATE needs 1 <= first <= last and a step above 0");
  const int most = static_cast<int>(card_.keyword == "*NSET" ? deck_.nodes.size() : deck_.elements.size());
  if ((last - first) / step > std::max(most, 1) * 100L)
    throw InputError(place, "GENERATE gives far more numbers than the deck has so far");
  auto &set = sets[card_.value(card_.keyword.substr(1))];
  for (long id = first; id <= last; id += step) set.push_back(static_cast<int>(id));
}

void DeckReader::density_line(std::string_view line, const Place &place) {
  Material &material = deck_.materials[material_];
  const double density = real(split_fields(line)[0], place, "a density");
  if (!(density > 0.0)) throw InputError(place, "material " + material_ + " has no density above zero");
  // Further lines are for other temperatures.
  if (material.has_density && density != material.density)
    throw InputError(place, "material " + material_ + " has densities that change with temperature: give it the one " +
                                "that the modes belong to");
  material.density = density;
  material.has_density = true;
}

// Young's modulus, for what it tells of the units. Other data of a material is the solver's matter.
void DeckReader::elastic_line(std::string_view line) {
  const std::string type = squeeze(card_.value("TYPE"));
  if (material_.empty() || (!type.empty() && type != "ISO" && type != "ISOTROPIC")) return;
  if (const auto modulus = to_double(split_fields(line)[0])) notes.moduli.emplace(material_, *modulus);
}

// Node or set, first and last direction. Other forms are the solver's matter.
void DeckReader::boundary_line(std::string_view line, const Place &place) {
  const auto fields = split_fields(line);
  const auto first = fields.size() > 1 ? to_int(fields[1]) : std::nullopt;
  if (!first) return;
  const int last = fields.size() > 2 ? to_int(fields[2]).value_or(*first) : *first;
  std::vector<int> nodes;
  if (const auto id = to_int(fields[0])) {
    nodes.push_back(*id);
  } else {
    const auto set = deck_.node_sets.find(upper(fields[0]));
    if (set == deck_.node_sets.end()) throw InputError(place, "no node set '" + std::string(fields[0]) + "' so far");
    // A list of the same supports again and again costs nothing.
    if (!supports_seen_.emplace(set->first, set->second.size(), *first, last).second) return;
    nodes = set->second;
  }
  for (const int node : nodes)
    for (int d = std::max(*first, 1); d <= std::min(last, 6); ++d) notes.supports.push_back({node, d});
}

// A count of terms, then node, direction and factor of each, also over several lines.
void DeckReader::equation_line(std::string_view line, const Place &place) {
  const auto fields = split_fields(line);
  std::size_t at = 0;
  if (terms_left_ == 0) {
    terms_left_ = whole(fields[at++], place, "a count of terms");
    if (terms_left_ < 1) throw InputError(place, "an equation needs a term");
    notes.equations.push_back({{}, place});
  }
  for (; at < fields.size(); at += 3) {
    if (fields[at].empty() && at + 1 == fields.size()) return;
    if (at + 2 >= fields.size()) throw InputError(place, "node, direction and factor of each term expected");
    if (terms_left_-- == 0) throw InputError(place, "more terms than the equation has");
    EquationTerm term;
    term.node = whole(fields[at], place, "a node number");
    term.direction = whole(fields[at + 1], place, "a direction");
    term.factor = real(fields[at + 2], place, "a factor");
    notes.equations.back().terms.push_back(term);
  }
}

void DeckReader::finish_equation() {
  if (terms_left_ == 0) return;
  throw InputError(notes.equations.back().place, "the equation lacks " + std::to_string(terms_left_) + " of its terms");
}

void DeckReader::thickness_line(std::string_view line, const Place &place) {
  Section &section = deck_.sections.back();
  if (section.thickness > 0.0) return;
  section.thickness = real(split_fields(line)[0], place, "a thickness");
  if (!(section.thickness > 0.0)) throw InputError(place, "a shell thickness has to be above zero");
}

void DeckReader::finish_section() {
  if ((card_.keyword == "*SHELLSECTION" || card_.keyword == "*MEMBRANESECTION") &&
      !deck_.sections.back().nodal_thickness && !(deck_.sections.back().thickness > 0.0))
    throw InputError(card_.place, "shell section without a thickness");
  if (card_.keyword == "*DENSITY" && !deck_.materials[material_].has_density)
    throw InputError(card_.place, "*DENSITY without a value");
  card_ = Card();
}

void unite(std::vector<int> &set) {
  std::sort(set.begin(), set.end());
  set.erase(std::unique(set.begin(), set.end()), set.end());
}

// Sorts nodes and elements by ID. A node that comes again takes the place of the first; an element must not.
void DeckReader::sort_deck() {
  auto &nodes = deck_.nodes;
  std::stable_sort(nodes.begin(), nodes.end(), [](const MeshNode &a, const MeshNode &b) { return a.id < b.id; });
  std::size_t kept = 0;
  for (const MeshNode &node : nodes) {
    if (kept != 0 && nodes[kept - 1].id == node.id) --kept;
    nodes[kept++] = node;
  }
  nodes.resize(kept);
  auto &elements = deck_.elements;
  std::stable_sort(elements.begin(), elements.end(),
                   [](const MeshElement &a, const MeshElement &b) { return a.id < b.id; });
  for (std::size_t i = 1; i < elements.size(); ++i)
    if (elements[i].id == elements[i - 1].id)
      throw InputError(deck_.place_of(elements[i]), "element " + std::to_string(elements[i].id) + " comes twice");
  for (auto &[name, set] : deck_.node_sets) unite(set);
  for (auto &[name, set] : deck_.element_sets) unite(set);
  if (elements.empty() && line_elements_.empty())
    throw InputError({deck_.files.front(), 0}, "the deck has no elements");
}

}  // namespace

Mesh read_deck(const std::string &path, DeckNotes *notes) {
  DeckReader reader;
  Mesh mesh = reader.read(path);
  if (notes != nullptr) *notes = std::move(reader.notes);
  return mesh;
}

}  // namespace sbrtranslate
