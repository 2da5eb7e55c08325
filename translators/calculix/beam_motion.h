// The motion of beam nodes from the solids that the solver makes of beams.
#ifndef SBRKIT_TRANSLATORS_CALCULIX_BEAM_MOTION_H
#define SBRKIT_TRANSLATORS_CALCULIX_BEAM_MOTION_H

#include <algorithm>
#include <map>
#include <span>
#include <vector>

#include "common/mesh.h"

namespace sbrtranslate {

// Whether a type of the results file is what the solver makes of a beam of so many nodes, and which of the solid's
// nodes stand around node `end` of the beam.
bool is_beam_expansion(int file_type, std::size_t beam_nodes);
std::span<const int> section_nodes(std::size_t beam_nodes, std::size_t end);

class BeamMotion {
 public:
  // A node of the file that stands for a node of the body; what comes several times counts once.
  void add(std::size_t body, int file_node) { members_[body].push_back(file_node); }
  [[nodiscard]] bool has(std::size_t body) const { return members_.count(body) != 0; }
  [[nodiscard]] bool empty() const { return members_.empty(); }
  // Lays out the fits: `position` gives the position of a file node by its ID, or -1, `place_of` its place, and
  // `body_place` the place of a node of the body.
  template <class Position, class PlaceOf, class BodyPlace>
  void prepare(const Position &position, const PlaceOf &place_of, const BodyPlace &body_place, const Place &file,
               double tolerance);
  // Translation and rotation of each node by least squares over its section. `raw` has six values for each node of the
  // file, `values` six for each of the body.
  void apply(const std::vector<double> &raw, std::vector<double> &values) const;
  // Calls with every body node and file position.
  template <class Visit>
  void visit(const Visit &visit_one) const {
    for (const Fit &fit : fits_)
      for (const int position : fit.positions) visit_one(fit.body, position);
  }

 private:
  struct Fit {
    std::size_t body = 0;
    std::vector<int> positions;
    ReferenceNode reference;
    std::vector<double> factors;
  };
  void prepare_one(Fit fit, const Place &file, double tolerance);
  std::map<std::size_t, std::vector<int>> members_;
  std::vector<Fit> fits_;
};

template <class Position, class PlaceOf, class BodyPlace>
void BeamMotion::prepare(const Position &position, const PlaceOf &place_of, const BodyPlace &body_place,
                         const Place &file, double tolerance) {
  for (auto &[body, nodes] : members_) {
    std::sort(nodes.begin(), nodes.end());
    nodes.erase(std::unique(nodes.begin(), nodes.end()), nodes.end());
    Fit fit;
    fit.body = body;
    fit.reference.place = body_place(body);
    for (const int node : nodes) {
      const int at = position(node);
      if (at < 0) throw InputError(file, "node " + std::to_string(node) + " of a beam's section is not in the file");
      fit.positions.push_back(at);
      fit.reference.members.push_back(node);
      fit.reference.member_places.push_back(place_of(at));
      fit.reference.weights.push_back(1.0);
    }
    prepare_one(std::move(fit), file, tolerance);
  }
}

}  // namespace sbrtranslate

#endif
