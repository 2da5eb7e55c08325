// The keyword cards of a deck: what each means for an import, and what a deck says besides its mesh.
#ifndef SBRKIT_TRANSLATORS_CALCULIX_CARDS_H
#define SBRKIT_TRANSLATORS_CALCULIX_CARDS_H

#include <map>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "common/text_input.h"

namespace sbrtranslate {

// One keyword card: its name and parameters in capitals and without blanks, with the values as they stand.
struct Card {
  std::string keyword;
  std::map<std::string, std::string> parameters;
  Place place;
  [[nodiscard]] bool has(const std::string &name) const { return parameters.count(name) != 0; }
  // The value of a parameter in capitals, or an empty text.
  [[nodiscard]] std::string value(const std::string &name) const;
};

// The card of a line with all of its continuation.
Card parse_card(const std::string &text, const Place &place);
// Capitals without blanks, as keywords and names are compared: "*NODE FILE" is "*NODEFILE".
std::string squeeze(std::string_view text);

enum class CardRole {
  read,     // the import reads it
  results,  // its effect is in the results; a reduction of matrices cannot do without it and is refused
  passed,   // it does not change the body
  refused   // it would make the body wrong
};

// What is done about a card, or about a parameter of a card ("NAME" or "NAME=VALUE").
struct CardRule {
  std::string_view card;
  std::string_view parameter;  // empty: the card itself
  CardRole role;
  std::string_view words;  // what is done, or why it is refused
};

// All rules, sorted by card. docs/calculix-cards.md shows them.
std::span<const CardRule> card_rules();
// The role of a card that the table has. Throws InputError for a card that is refused or that is not in the table.
CardRole judge_card(const Card &card);

// An equation of the deck: the sum of its terms is 0. The first degree of freedom depends on the others.
struct EquationTerm {
  int node = 0;
  int direction = 0;
  double factor = 0.0;
};
struct Equation {
  std::vector<EquationTerm> terms;
  Place place;
};

// A degree of freedom that *BOUNDARY holds.
struct Support {
  int node = 0;
  int direction = 0;
};

// What a deck says besides its mesh.
struct DeckNotes {
  std::vector<Card> requests;   // *NODE FILE and *EL FILE, under whichever name
  std::vector<Card> relations;  // whose effect is in the results alone
  std::vector<Card> transforms;
  std::vector<Card> orientations;  // sections with an ORIENTATION
  std::vector<Equation> equations;
  std::vector<Support> supports;
  // Elements C3D8I: the solver gives each three nodes of its own for its incompatible modes.
  std::size_t incompatible = 0;
  std::map<std::string, double> moduli;  // Young's modulus by material
};

}  // namespace sbrtranslate

#endif
