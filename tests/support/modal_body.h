// Small bodies with modes, for tests of what stands in modal coordinates.
#ifndef SBRKIT_TESTS_SUPPORT_MODAL_BODY_H
#define SBRKIT_TESTS_SUPPORT_MODAL_BODY_H

#include <cmath>
#include <vector>

#include "sbrkit/sbrkit.h"

namespace sbrtest {

// Value c of node n in mode m, all from 0: different everywhere, with signs and many digits.
inline double mode_value(int m, int n, int c) {
  return std::sin(1.0 + 7.3 * m + 1.9 * n + 0.37 * c) * (c < 3 ? 1.0 : 0.01);
}

// A body in SI units with nodes 1 to n and modes 1 to m of the given kinds. It has no matrices yet.
inline SBR make_modal_body(int nodes, int modes, const std::vector<int> &kinds = {0}) {
  SBR body = SBR_Create(nodes, modes);
  SBR_SetUnits(body, "KILOGRAM", "METER", "SECOND", "NEWTON");
  for (int n = 0; n < nodes; ++n) SBR_SetNodeCoordinates(body, n + 1, 0.5 * n, std::cos(n), 0.1 * n * n);
  for (int kind : kinds) {
    for (int m = 0; m < modes; ++m) {
      for (int n = 0; n < nodes; ++n) {
        double six[6];
        for (int c = 0; c < 6; ++c) six[c] = mode_value(m, n, c) * (1.0 + kind);
        SBR_SetModeVec(body, m + 1, n + 1, kind, six);
      }
    }
  }
  for (int m = 0; m < modes; ++m) SBR_LookupOrAddMode(body, m + 1);
  return body;
}

// Enters a symmetric matrix, row by row, entry by entry from the upper triangle.
inline void set_full_mass(SBR body, const std::vector<double> &matrix, int n) {
  for (int i = 0; i < n; ++i)
    for (int j = i; j < n; ++j) SBR_SetGeneralizedMass(body, i + 1, j + 1, matrix[static_cast<std::size_t>(i * n + j)]);
}
inline void set_full_stiffness(SBR body, const std::vector<double> &matrix, int n) {
  for (int i = 0; i < n; ++i)
    for (int j = i; j < n; ++j)
      SBR_SetGeneralizedStiffness(body, i + 1, j + 1, matrix[static_cast<std::size_t>(i * n + j)]);
}
inline void set_diagonal(SBR body, const std::vector<double> &masses, const std::vector<double> &stiffnesses) {
  for (std::size_t i = 0; i < masses.size(); ++i) {
    const int number = static_cast<int>(i) + 1;
    SBR_SetGeneralizedMass(body, number, number, masses[i]);
    SBR_SetGeneralizedStiffness(body, number, number, stiffnesses[i]);
  }
}

// Three modes with stress, a full or a diagonal pair of matrices, load 0 with value m in mode m, and a monitor point.
inline SBR make_loaded_body(bool full) {
  SBR body = make_modal_body(3, 3, {0, 1});
  if (full) {
    set_full_mass(body, {4, 1, 0, 1, 5, 1, 0, 1, 6}, 3);
    set_full_stiffness(body, {10, 1, 2, 1, 20, 3, 2, 3, 30}, 3);
  } else {
    set_diagonal(body, {4, 9, 16}, {10, 20, 30});
  }
  for (int m = 1; m <= 3; ++m) SBR_SetModalLoad(body, 0, m, m);
  const double location[3] = {0, 0, 0};
  const double row[3] = {1, 2, 3};
  SBR_SetMonitorPointInfo(body, 1, 1, 1, 1, location, "P", "L");
  SBR_SetMonitorPointOperator(body, 0, 1, row);
  return body;
}

// All six values per node of a mode, as the accessors deliver them.
inline std::vector<double> whole_mode_of(SBR body, int number, int kind) {
  const int nodes = SBR_ModeNodeCount(body, kind);
  std::vector<double> halves[2];
  for (int part = 0; part < 2; ++part) {
    halves[part].assign(3 * static_cast<std::size_t>(nodes), std::nan(""));
    if (SBR_Mode(body, number, kind, halves[part].data(), part) == 0) return {};
  }
  std::vector<double> values;
  for (std::size_t n = 0; n < static_cast<std::size_t>(nodes); ++n)
    for (const auto &half : halves)
      for (std::size_t c = 0; c < 3; ++c) values.push_back(half[3 * n + c]);
  return values;
}

}  // namespace sbrtest

#endif
