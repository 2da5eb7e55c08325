// The elements of a deck that have no surface: MASS, springs, dashpots, trusses and beams.
#ifndef SBRKIT_TRANSLATORS_CALCULIX_BEAMS_H
#define SBRKIT_TRANSLATORS_CALCULIX_BEAMS_H

#include <optional>
#include <string_view>
#include <vector>

#include "common/mesh.h"

namespace sbrtranslate {

// Kind and count of nodes of an element name in capitals; nothing for a name of another kind.
struct LineType {
  LineElement::Kind kind;
  int nodes;
};
std::optional<LineType> line_type(std::string_view name);

// The elements of the kept *ELEMENT cards with their masses and sections. Sections of beams are RECT, and with
// quadratic beams CIRC and PIPE: a circle has the area of the eight-node quadrangle that the solver draws into it.
// Throws InputError for everything else: other sections, offsets, nodes that are not in the deck.
std::vector<LineElement> read_line_elements(const Mesh &mesh);

}  // namespace sbrtranslate

#endif
