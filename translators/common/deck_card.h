// A keyword card of a deck with its data lines as they stand, for what is worked out after all of the deck is known.
#ifndef SBRKIT_TRANSLATORS_COMMON_DECK_CARD_H
#define SBRKIT_TRANSLATORS_COMMON_DECK_CARD_H

#include <map>
#include <string>
#include <vector>

#include "common/text_input.h"

namespace sbrtranslate {

struct DeckLine {
  Place place;
  std::string text;
};

struct DeckCard {
  std::string keyword;                            // capitals without blanks, with the star
  std::map<std::string, std::string> parameters;  // names in capitals without blanks, values as they stand
  Place place;
  std::vector<DeckLine> lines;
  [[nodiscard]] bool has(const std::string &name) const { return parameters.count(name) != 0; }
  // The value of a parameter in capitals, or an empty text.
  [[nodiscard]] std::string value(const std::string &name) const {
    const auto found = parameters.find(name);
    return found == parameters.end() ? std::string() : upper(found->second);
  }
};

}  // namespace sbrtranslate

#endif
