// The deck of a CalculiX job: nodes, elements, sets, sections and materials. Everything else in it is passed over.
#ifndef SBRKIT_TRANSLATORS_CALCULIX_DECK_H
#define SBRKIT_TRANSLATORS_CALCULIX_DECK_H

#include <string>

#include "common/mesh.h"

namespace sbrtranslate {

// Reads a deck with all that it includes, sorts it, and gives each element its section. Throws InputError.
Mesh read_deck(const std::string &path);

}  // namespace sbrtranslate

#endif
