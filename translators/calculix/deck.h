// The deck of a CalculiX job: nodes, elements, sets, sections and materials. cards.h tells what is done about each
// card.
#ifndef SBRKIT_TRANSLATORS_CALCULIX_DECK_H
#define SBRKIT_TRANSLATORS_CALCULIX_DECK_H

#include <string>

#include "calculix/cards.h"
#include "common/mesh.h"

namespace sbrtranslate {

// Reads a deck with all that it includes, sorts it, and gives each element its section; `notes` gets the rest of what
// it says. An included file stands where its card is, between two data lines too. Its relative name counts from the
// folder of the deck, as for a solver that is run there; where the present folder has another file of that name, it is
// refused. Throws InputError.
Mesh read_deck(const std::string &path, DeckNotes *notes = nullptr);

}  // namespace sbrtranslate

#endif
