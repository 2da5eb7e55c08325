#include "calculix/beams.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <numbers>

namespace sbrtranslate {
namespace {

using Kind = LineElement::Kind;

std::string type_of(const DeckCard &card) {
  std::string name = card.value("TYPE");
  std::erase_if(name, [](char c) { return c == ' ' || c == '\t'; });
  return name;
}

double real(std::string_view field, const Place &place, const char *what) {
  const auto value = to_double(field);
  if (!value) throw InputError(place, std::string(what) + " expected, found '" + std::string(field) + "'");
  return *value;
}

class LineReaderOfDeck {
 public:
  explicit LineReaderOfDeck(const Mesh &mesh) : mesh_(mesh) {}
  std::vector<LineElement> read() {
    for (const DeckCard &card : mesh_.cards)
      if (card.keyword == "*ELEMENT") elements(card);
    for (const DeckCard &card : mesh_.cards) {
      if (card.keyword == "*MASS") masses(card);
      if (card.keyword == "*BEAMSECTION") beam_section(card);
      if (card.keyword == "*SOLIDSECTION") truss_section(card);
    }
    for (const LineElement &line : lines_) check(line);
    return std::move(lines_);
  }

 private:
  void elements(const DeckCard &card);
  void masses(const DeckCard &card);
  void beam_section(const DeckCard &card);
  void truss_section(const DeckCard &card);
  void check(const LineElement &line) const;
  // The elements of a kind in the set of a section.
  std::vector<LineElement *> members(const DeckCard &card, Kind kind);
  [[nodiscard]] double density_of(const DeckCard &card) const;

  const Mesh &mesh_;
  std::vector<LineElement> lines_;
  std::map<int, std::size_t> position_;
};

void LineReaderOfDeck::elements(const DeckCard &card) {
  const LineType type = *line_type(type_of(card));
  for (const DeckLine &deck_line : card.lines) {
    LineElement line;
    line.kind = type.kind;
    line.place = deck_line.place;
    std::vector<int> numbers;
    for (const std::string_view field : split_fields(deck_line.text)) {
      if (field.empty()) continue;
      const auto number = to_int(field);
      if (!number || *number < 1) throw InputError(deck_line.place, "a number of an element or a node expected");
      numbers.push_back(*number);
    }
    if (numbers.size() != static_cast<std::size_t>(type.nodes) + 1)
      throw InputError(deck_line.place, "an element number and " + std::to_string(type.nodes) + " nodes expected");
    line.id = numbers[0];
    line.nodes.assign(numbers.begin() + 1, numbers.end());
    for (const int node : line.nodes)
      if (mesh_.node_position(node) < 0)
        throw InputError(line.place, "element " + std::to_string(line.id) + " names node " + std::to_string(node) +
                                         ", which is not in the deck");
    if (!position_.emplace(line.id, lines_.size()).second || mesh_.element_position(line.id) >= 0)
      throw InputError(line.place, "element " + std::to_string(line.id) + " comes twice");
    lines_.push_back(std::move(line));
  }
}

std::vector<LineElement *> LineReaderOfDeck::members(const DeckCard &card, Kind kind) {
  const std::string name = card.value("ELSET");
  const auto set = mesh_.element_sets.find(name);
  if (set == mesh_.element_sets.end()) throw InputError(card.place, "no element set '" + name + "'");
  std::vector<LineElement *> found;
  for (const int id : set->second)
    if (const auto at = position_.find(id); at != position_.end() && lines_[at->second].kind == kind)
      found.push_back(&lines_[at->second]);
  return found;
}

double LineReaderOfDeck::density_of(const DeckCard &card) const {
  const auto material = mesh_.materials.find(card.value("MATERIAL"));
  if (material == mesh_.materials.end()) throw InputError(card.place, "no material '" + card.value("MATERIAL") + "'");
  if (!material->second.has_density)
    throw InputError(material->second.place, "material " + material->first + " has no *DENSITY");
  return material->second.density;
}

void LineReaderOfDeck::masses(const DeckCard &card) {
  const double mass = card.lines.empty() ? 0.0 : real(split_fields(card.lines.front().text)[0], card.place, "a mass");
  if (!(mass > 0.0)) throw InputError(card.place, "a mass above zero expected");
  for (LineElement *line : members(card, Kind::mass)) line->mass = mass;
}

void LineReaderOfDeck::truss_section(const DeckCard &card) {
  const std::vector<LineElement *> trusses = members(card, Kind::truss);
  if (trusses.empty()) return;
  const double area = card.lines.empty() ? 1.0 : real(split_fields(card.lines.front().text)[0], card.place, "an area");
  if (!(area > 0.0)) throw InputError(card.place, "an area above zero expected");
  for (LineElement *line : trusses) {
    line->area = area;
    line->density = density_of(card);
  }
}

// The eight-node quadrangle with its corners and mid-edge nodes on an ellipse.
Moments ellipse(double first, double second) {
  std::vector<Vec3> places;
  const double r = std::numbers::sqrt2 / 4.0;
  for (const auto &[x, y] : {std::array{-r, -r}, std::array{r, -r}, std::array{r, r}, std::array{-r, r},
                             std::array{0.0, -0.5}, std::array{0.5, 0.0}, std::array{0.0, 0.5}, std::array{-0.5, 0.0}})
    places.push_back({x * first, y * second, 0.0});
  Moments moments;
  lump_mass(*element_type("S8"), places, 1.0, std::vector<double>(8, 1.0), moments);
  return moments;
}

void LineReaderOfDeck::beam_section(const DeckCard &card) {
  for (const char *word : {"OFFSET1", "OFFSET2", "ORIENTATION", "NODALTHICKNESS"})
    if (card.has(word)) throw InputError(card.place, std::string("a beam section with ") + word + " is not supported");
  if (card.lines.size() < 2)
    throw InputError(card.place, "the measures of the section and its first axis are needed, a line each");
  const auto measures = split_fields(card.lines[0].text);
  const double first = real(measures[0], card.lines[0].place, "a measure");
  const double second = measures.size() > 1 ? real(measures[1], card.lines[0].place, "a measure") : first;
  const auto direction = split_fields(card.lines[1].text);
  Vec3 axis{};
  for (std::size_t k = 0; k < 3 && k < direction.size(); ++k)
    axis[k] = real(direction[k], card.lines[1].place, "a direction");
  if (!(first > 0.0) || !(second > 0.0) || !(length(axis) > 0.0))
    throw InputError(card.place, "measures above zero and a direction with a length expected");
  const std::string shape = card.value("SECTION");
  const double density = density_of(card);
  for (LineElement *line : members(card, Kind::beam)) {
    if (shape == "RECT") {
      line->area = first * second;
      line->square_1 = line->area * first * first / 12.0;
      line->square_2 = line->area * second * second / 12.0;
    } else if (shape == "CIRC" && line->nodes.size() == 3) {
      const Moments section = ellipse(first, second);
      line->area = section.mass;
      line->square_1 = section.second[0];
      line->square_2 = section.second[1];
    } else if (shape == "PIPE" && line->nodes.size() == 3 && second < first) {
      const double inner = first - second;
      line->area = std::numbers::pi * (first * first - inner * inner);
      line->square_1 = line->square_2 = std::numbers::pi / 4.0 * (std::pow(first, 4) - std::pow(inner, 4));
    } else {
      throw InputError(card.place, "the section " + shape + " of element " + std::to_string(line->id) +
                                       " is not supported (RECT is, and CIRC and PIPE of quadratic beams)");
    }
    line->density = density;
    line->axis = (1.0 / length(axis)) * axis;
  }
}

void LineReaderOfDeck::check(const LineElement &line) const {
  if (line.kind == Kind::mass && !(line.mass > 0.0))
    throw InputError(line.place, "element " + std::to_string(line.id) + " has no *MASS");
  if (line.carries() && !(line.area > 0.0))
    throw InputError(line.place, "element " + std::to_string(line.id) + " belongs to no section");
}

}  // namespace

std::optional<LineType> line_type(std::string_view name) {
  static const std::map<std::string, LineType, std::less<>> kTypes = {
      {"MASS", {Kind::mass, 1}},      {"SPRINGA", {Kind::spring, 2}},   {"SPRING1", {Kind::spring, 1}},
      {"SPRING2", {Kind::spring, 2}}, {"DASHPOTA", {Kind::dashpot, 2}}, {"T3D2", {Kind::truss, 2}},
      {"T3D3", {Kind::truss, 3}},     {"B31", {Kind::beam, 2}},         {"B31R", {Kind::beam, 2}},
      {"B32", {Kind::beam, 3}},       {"B32R", {Kind::beam, 3}}};
  const auto found = kTypes.find(name);
  if (found == kTypes.end()) return std::nullopt;
  return found->second;
}

std::vector<LineElement> read_line_elements(const Mesh &mesh) { return LineReaderOfDeck(mesh).read(); }

}  // namespace sbrtranslate
