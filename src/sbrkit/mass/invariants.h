// Inertia invariants and global mass properties. The room owns SbrBody::invariants and SbrBody::global:
//
//   invariants  which source fills a cell, what is handed out of it, and the drivers that make a whole set
//   stored      reading a cell from its block of the record
//   node_sums   the sums over the nodes behind invariants 1 to 4, 7 and 8
//   pairs       the sums over the nodes behind invariants 5 and 9, for all pairs of modes
//   entry       entering invariants by hand, and the global mass properties
//
// Each has its header. A cell is one flat array; it is filled when it has memory. The cells of the modes have the shape
// of the mode count at the time they were made. Rows are found by that shape, and every access stays inside the cell:
// what a cell has no room for reads as 0.0.
#ifndef SBRKIT_MASS_INVARIANTS_H
#define SBRKIT_MASS_INVARIANTS_H

#include <cstdint>
#include <span>

#include "body/body.h"

namespace sbr {

// The mode count that a filled cell of a shape was made for: factor values per mode, or per pair of modes.
[[nodiscard]] int modes_of_cell(const Array<double> &cell, int factor) noexcept;
[[nodiscard]] int modes_of_pair_cell(const Array<double> &cell, int factor) noexcept;
// The number of values of a pair cell; 0, which no allocation accepts, for a mode count without meaning.
[[nodiscard]] std::int64_t pair_cell_size(int factor, int modes) noexcept;

// The values of one mode or pair of modes in a cell: 3 x M of invariant 5, nine of invariants 8 and 9. Empty when the
// cell is not filled or has no such row.
[[nodiscard]] std::span<double> invar5_row(SbrBody &body, int j) noexcept;
[[nodiscard]] std::span<double> invar8_row(SbrBody &body, int j) noexcept;
[[nodiscard]] std::span<double> invar9_cell(SbrBody &body, int j, int k) noexcept;

// Fills a cell from its block, from the nodes, from the global properties, or with zeros, in this order; true when the
// cell is filled. A failure was reported, except for a mode count of 0 and for the pair invariants' own sums.
[[nodiscard]] bool fill_invar1(SbrBody &body) noexcept;
[[nodiscard]] bool fill_invar2(SbrBody &body) noexcept;
[[nodiscard]] bool fill_invar3(SbrBody &body) noexcept;
[[nodiscard]] bool fill_invar4(SbrBody &body) noexcept;
[[nodiscard]] bool fill_invar5(SbrBody &body) noexcept;
[[nodiscard]] bool fill_invar7(SbrBody &body) noexcept;
[[nodiscard]] bool fill_invar8(SbrBody &body) noexcept;
[[nodiscard]] bool fill_invar9(SbrBody &body) noexcept;

// What the host gets of a filled cell: 3 values, 3 x M, nine; empty when the cell could not be filled, for a mode index
// outside the modes, and for one that the cell has no room for. Invariant 1 is 0.0 then.
[[nodiscard]] double invariant1(SbrBody &body) noexcept;
[[nodiscard]] std::span<const double> invariant2(SbrBody &body) noexcept;
[[nodiscard]] std::span<const double> invariant3(SbrBody &body) noexcept;
[[nodiscard]] std::span<const double> invariant4(SbrBody &body) noexcept;
[[nodiscard]] std::span<const double> invariant5(SbrBody &body, int j) noexcept;
[[nodiscard]] std::span<const double> invariant7(SbrBody &body) noexcept;
[[nodiscard]] std::span<const double> invariant8(SbrBody &body, int j) noexcept;
[[nodiscard]] std::span<const double> invariant9(SbrBody &body, int j, int k) noexcept;

// Makes a whole set: invariants 1, 2, 3, 4, 7 and 8; all; or 1, 2, 3 and 7. Says so, and reports when there is not
// enough mass data.
void compute_fast_invariants(SbrBody &body) noexcept;
void compute_full_invariants(SbrBody &body) noexcept;
void compute_rigid_invariants(SbrBody &body) noexcept;

// Cuts the cells of the modes down to the first `modes`, for a body whose later modes go.
void drop_invariants_behind(SbrBody &body, int modes) noexcept;

}  // namespace sbr

#endif
