#include "calculix/steps.h"

#include <algorithm>
#include <set>

#include "calculix/rigid_bodies.h"

namespace sbrtranslate {
namespace {

// Cards of a step that load the body in ways that are not turned into forces.
const std::set<std::string> kOtherLoads = {"*TEMPERATURE", "*DFLUX",       "*CFLUX", "*FILM",
                                           "*RADIATE",     "*CONTACTPAIR", "*DSLOAD"};

// Loads go on from step to step; OP=NEW takes those of its kind away that came before the step.
void take_load(std::vector<DeckStep> &steps, const DeckCard &card) {
  DeckStep &step = steps.back();
  if (card.value("OP") == "NEW") {
    const auto end = step.loads.begin() + static_cast<std::ptrdiff_t>(step.inherited);
    const auto kept =
        std::remove_if(step.loads.begin(), end, [&](const DeckCard *other) { return other->keyword == card.keyword; });
    step.inherited = static_cast<std::size_t>(kept - step.loads.begin());
    step.loads.erase(kept, end);
  }
  step.loads.push_back(&card);
}

std::vector<int> nodes_of_line(const Mesh &mesh, std::string_view field, const Place &place) {
  if (const auto id = to_int(field)) return {*id};
  const auto set = mesh.node_sets.find(upper(field));
  if (set == mesh.node_sets.end()) throw InputError(place, "no node set '" + std::string(field) + "'");
  return set->second;
}

std::vector<int> elements_of_line(const Mesh &mesh, std::string_view field, const Place &place) {
  if (const auto id = to_int(field)) return {*id};
  const auto set = mesh.element_sets.find(upper(field));
  if (set == mesh.element_sets.end()) throw InputError(place, "no element set '" + std::string(field) + "'");
  return set->second;
}

double number_at(const std::vector<std::string_view> &fields, std::size_t at, const Place &place, const char *what) {
  const auto value = at < fields.size() ? to_double(fields[at]) : std::nullopt;
  if (!value) throw InputError(place, std::string(what) + " expected");
  return *value;
}

class ForceGatherer {
 public:
  explicit ForceGatherer(const Model &model) : model_(model) {}
  void take(const DeckCard &card) {
    for (const char *word : {"AMPLITUDE", "TIMEDELAY", "LOADCASE", "SECTOR", "SUBMODEL", "USER", "OMEGA0"})
      if (card.has(word)) throw InputError(card.place, std::string("loads with ") + word + "= are not supported");
    for (const DeckLine &line : card.lines) card.keyword == "*CLOAD" ? concentrated(line) : distributed(line);
  }
  // A value that is given again for the same place takes the place of the former one.
  std::map<int, NodalForce> sum() const {
    std::map<int, NodalForce> forces;
    for (const auto &[key, value] : concentrated_) forces[key.first][static_cast<std::size_t>(key.second - 1)] += value;
    for (const auto &[key, pressure] : pressures_) add_pressure(key.first, key.second, pressure, forces);
    for (const auto &[element, acceleration] : gravity_) add_gravity(element, acceleration, forces);
    return forces;
  }

 private:
  void concentrated(const DeckLine &line);
  void distributed(const DeckLine &line);
  void add_pressure(int element, int face, double pressure, std::map<int, NodalForce> &forces) const;
  void add_gravity(int element, const Vec3 &acceleration, std::map<int, NodalForce> &forces) const;
  [[nodiscard]] const MeshElement &element_at(int id, const Place &place) const {
    const int position = model_.mesh.element_position(id);
    if (position < 0) throw InputError(place, "element " + std::to_string(id) + " is not in the deck");
    return model_.mesh.elements[static_cast<std::size_t>(position)];
  }
  [[nodiscard]] Vec3 place_of(int node) const {
    return model_.nodes[static_cast<std::size_t>(model_.node_position(node))].place;
  }

  const Model &model_;
  std::map<std::pair<int, int>, double> concentrated_;  // node and direction
  std::map<std::pair<int, int>, double> pressures_;     // element and face
  std::map<int, Vec3> gravity_;                         // by element
};

void ForceGatherer::concentrated(const DeckLine &line) {
  const auto fields = split_fields(line.text);
  const int direction = fields.size() > 1 ? to_int(fields[1]).value_or(0) : 0;
  if (direction < 1 || direction > 6) throw InputError(line.place, "a direction from 1 to 6 expected");
  const double value = number_at(fields, 2, line.place, "a force");
  const std::vector<int> &moved = model_.mesh.moved_nodes;
  for (const int node : nodes_of_line(model_.mesh, fields[0], line.place)) {
    if (std::binary_search(moved.begin(), moved.end(), node))
      throw InputError(line.place,
                       "a force on node " + std::to_string(node) +
                           " of a shell with an OFFSET is not supported: the solver moves it to the middle; "
                           "--no-loads leaves loads out");
    const int position = model_.node_position(node);
    if (position < 0)
      throw InputError(line.place, "node " + std::to_string(node) +
                                       " with a force does not belong to the body; a reference node has to be an "
                                       "interface (--interface)");
    if (direction > 3 && !model_.nodes[static_cast<std::size_t>(position)].reference)
      throw InputError(line.place, "a moment on a node that is no reference node is not supported");
    concentrated_[{node, direction}] = value;
  }
}

void ForceGatherer::distributed(const DeckLine &line) {
  const auto fields = split_fields(line.text);
  const std::string label = fields.size() > 1 ? upper(fields[1]) : std::string();
  const double value = number_at(fields, 2, line.place, "a load");
  const bool gravity = label == "GRAV";
  const int face = label.size() == 2 && label[0] == 'P' ? label[1] - '0' : 0;
  Vec3 acceleration{};
  if (gravity)
    for (std::size_t k = 0; k < 3; ++k) acceleration[k] = value * number_at(fields, 3 + k, line.place, "a direction");
  for (const int id : elements_of_line(model_.mesh, fields[0], line.place)) {
    const MeshElement &element = element_at(id, line.place);
    if (gravity) {
      gravity_[id] = acceleration;
    } else if (solid_face(*element.type, face) != nullptr) {
      pressures_[{id, face}] = value;
    } else {
      throw InputError(line.place, "the load '" + label + "' on element " + std::to_string(id) +
                                       " is not supported (pressure P1 to P6 on solids and GRAV are)");
    }
  }
}

// Pressure acts against the outward normal: f_i = -p * integral of N_i n.
void ForceGatherer::add_pressure(int id, int number, double pressure, std::map<int, NodalForce> &forces) const {
  const MeshElement &element = element_at(id, {});
  const std::vector<int> &corners = *solid_face(*element.type, number);
  const std::vector<int> local = face_nodes(*element.type, corners);
  std::vector<Vec3> places;
  places.reserve(local.size());
  for (const int node : local) places.push_back(place_of(model_.mesh.nodes_of(element)[node]));
  std::vector<Vec3> normals = normal_integrals(face_type(*element.type, corners.size()), places);
  // Outward is away from the middle of the element.
  Vec3 middle{};
  for (int i = 0; i < element.type->corners; ++i)
    middle = middle + (1.0 / element.type->corners) * place_of(model_.mesh.nodes_of(element)[i]);
  Vec3 all{};
  for (const Vec3 &normal : normals) all = all + normal;
  const double sign = dot(all, places.front() - middle) < 0.0 ? 1.0 : -1.0;
  for (std::size_t i = 0; i < local.size(); ++i)
    for (std::size_t k = 0; k < 3; ++k)
      forces[model_.mesh.nodes_of(element)[local[i]]][k] += sign * pressure * normals[i][k];
}

void ForceGatherer::add_gravity(int id, const Vec3 &acceleration, std::map<int, NodalForce> &forces) const {
  const MeshElement &element = element_at(id, {});
  const Section &section = model_.mesh.sections[static_cast<std::size_t>(element.section)];
  const double density = model_.mesh.materials.at(section.material).density;
  std::vector<Vec3> places;
  places.reserve(static_cast<std::size_t>(element.type->nodes));
  for (int i = 0; i < element.type->nodes; ++i) places.push_back(place_of(model_.mesh.nodes_of(element)[i]));
  const std::vector<double> shares = shape_integrals(*element.type, places, model_.mesh.thicknesses(element));
  for (std::size_t i = 0; i < shares.size(); ++i)
    for (std::size_t k = 0; k < 3; ++k)
      forces[model_.mesh.nodes_of(element)[i]][k] += density * shares[i] * acceleration[k];
}

}  // namespace

std::vector<DeckStep> read_steps(const Mesh &mesh) {
  std::vector<DeckStep> steps;
  for (const DeckCard &card : mesh.cards) {
    if (card.keyword == "*STEP") {
      DeckStep step;
      if (!steps.empty()) step.loads = steps.back().loads;
      step.inherited = step.loads.size();
      step.number = static_cast<int>(steps.size()) + 1;
      step.place = card.place;
      step.perturbation = card.has("PERTURBATION");
      step.nonlinear = card.has("NLGEOM") && card.value("NLGEOM") != "NO";
      steps.push_back(step);
    } else if (steps.empty()) {
      continue;
    } else if (card.keyword == "*STATIC") {
      steps.back().kind = DeckStep::Kind::statics;
    } else if (card.keyword == "*FREQUENCY") {
      steps.back().kind = DeckStep::Kind::frequency;
    } else if (card.keyword == "*BOUNDARY") {
      steps.back().releases_supports = steps.back().releases_supports || card.value("OP") == "NEW";
    } else if (card.keyword == "*CLOAD" || card.keyword == "*DLOAD") {
      take_load(steps, card);
    } else if (kOtherLoads.count(card.keyword) != 0 && steps.back().other_load == nullptr) {
      steps.back().other_load = &card;
    }
  }
  return steps;
}

std::map<int, NodalForce> nodal_forces(const Model &model, const DeckStep &step) {
  if (step.other_load != nullptr)
    throw InputError(step.other_load->place, step.other_load->keyword + " is not turned into forces");
  ForceGatherer gatherer(model);
  for (const DeckCard *card : step.loads) gatherer.take(*card);
  return gatherer.sum();
}

}  // namespace sbrtranslate
