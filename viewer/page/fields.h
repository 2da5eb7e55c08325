// Mode data at the shown nodes, as short integers with a scale.
#ifndef SBRKIT_VIEWER_PAGE_FIELDS_H
#define SBRKIT_VIEWER_PAGE_FIELDS_H

#include <array>
#include <cstdint>
#include <vector>

#include "sbrkit/sbrkit.h"
#include "surface.h"

namespace sbrview {

// One kind of mode data of one mode. A value is steps x scale / most; the places of kNoNumber (encode.h) have none.
struct Field {
  std::vector<std::int16_t> steps;  // columns: x, y, z of the first part, then of the second
  std::array<double, 2> scale{};    // the largest magnitude of each part; 0 for a part of zeros
  std::array<bool, 2> kept{};       // whether the columns of a part are there: a part of zeros is left out
  std::array<double, 6> low{};      // least and largest value of each component
  std::array<double, 6> high{};
  double largest = 0.0;  // length of a translation; von Mises stress or strain
  double largest_rotation = 0.0;
  int not_numbers = 0;
};

// The nodes at which a kind of mode data is known, among those shown.
struct KindNodes {
  std::vector<std::int32_t> places;     // in Surface::nodes, ascending
  std::vector<std::int32_t> positions;  // in the list of the kind
  bool all = false;                     // every shown node
};

// How finely values are rounded: steps on either side of zero.
struct Steps {
  int translations = 0;
  int others = 0;  // rotations, stress, strain
};

// The finest steps with which so many values make a page of less than 40 MB. Rotations, stress and strain are rounded
// before translations are, which make the picture.
Steps choose_steps(std::int64_t translations, std::int64_t rotations, std::int64_t tensors);

KindNodes nodes_of_kind(SBR body, const Surface &surface, int kind);

// Reads a mode's data of a kind and rounds each part to `most` steps on either side of zero. False when there is none.
bool read_field(SBR body, int number, int kind, const KindNodes &nodes, const std::array<int, 2> &most, Field &field);

}  // namespace sbrview

#endif
