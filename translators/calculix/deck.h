// The deck of a CalculiX job: nodes, elements, sets, sections and materials. Everything else in it is passed over.
#ifndef SBRKIT_TRANSLATORS_DECK_H
#define SBRKIT_TRANSLATORS_DECK_H

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "elements.h"
#include "textinput.h"

namespace sbrtranslate {

struct DeckNode {
  int id = 0;
  Vec3 place{};
};

struct DeckElement {
  int id = 0;
  const ElementType *type = nullptr;
  std::size_t first_node = 0;  // in Deck::connectivity
  int section = -1;            // in Deck::sections, once they are assigned
  int file = 0;                // in Deck::files
  long line = 0;
};

struct DeckMaterial {
  double density = 0.0;
  bool has_density = false;
  Place place;
};

struct DeckSection {
  std::string set;
  std::string material;
  bool shell = false;
  double thickness = 0.0;
  Place place;
};

struct Deck {
  std::string title;
  std::vector<std::string> files;                        // the deck itself and what it includes
  std::vector<DeckNode> nodes;                           // ascending IDs
  std::vector<DeckElement> elements;                     // ascending IDs
  std::vector<int> connectivity;                         // node IDs
  std::map<std::string, std::vector<int>> node_sets;     // names in capitals
  std::map<std::string, std::vector<int>> element_sets;  // likewise
  std::map<std::string, DeckMaterial> materials;
  std::vector<DeckSection> sections;

  [[nodiscard]] Place place_of(const DeckElement &element) const {
    return {files[static_cast<std::size_t>(element.file)], element.line};
  }
  [[nodiscard]] const int *nodes_of(const DeckElement &element) const { return &connectivity[element.first_node]; }
  // The position of a node or an element by its ID, or -1.
  [[nodiscard]] int node_position(int id) const;
  [[nodiscard]] int element_position(int id) const;
};

// Reads a deck with all that it includes, sorts it, and gives each element its section. Throws InputError.
Deck read_deck(const std::string &path);

}  // namespace sbrtranslate

#endif
