// Sums over the nodes for pairs of modes: the inner loop behind invariants 5 and 9.
//
// For a row mode j and a column mode k the twelve sums of a pair are the nine values of sum m ~phi_j ~phi_k and the
// three of sum m phi_j x phi_k. Column modes lie side by side in vector lanes, so that each pair still adds its nodes
// one after the other in index order: the sums have the bits of the plain loop over the nodes.
#ifndef SBRKIT_MASS_PAIR_SUMS_H
#define SBRKIT_MASS_PAIR_SUMS_H

#include <cstddef>

namespace sbr {

constexpr int kPairLanes = 8;  // column modes side by side
constexpr int kPairSums = 12;  // nine of the tensor, three of the vector
constexpr int kTileNodes =
    64;  // nodes taken at a time: a row and a group of columns of a tile stay in first-level cache

constexpr std::size_t kRowTile = std::size_t{kTileNodes} * 3;                  // per node m phi
constexpr std::size_t kColumnTile = std::size_t{kTileNodes} * 3 * kPairLanes;  // per node and component the lanes
constexpr std::size_t kGroupSums = std::size_t{kPairSums} * kPairLanes;        // per sum the lanes

// The nodes of a row mode in a tile: m, and phi and m phi with three values per node.
struct PairRow {
  const double *masses;
  const double *phi;
  const double *weighted;
};

// Weights the nodes of a row mode with their masses.
void weight_row(const double *masses, const double *phi, int nodes, double *weighted) noexcept;
// Lays the nodes of up to kPairLanes column modes side by side. A null mode fills its lane with zeros.
void pack_columns(const double *const *modes, std::size_t first_node, int nodes, double *columns) noexcept;
// Adds the nodes of a tile to the sums of one row mode with a group of column modes.
using PairKernel = void (*)(const PairRow &row, const double *columns, int nodes, double *sums);
// The kernel with the widest vectors of this processor. All kernels give the same bits.
[[nodiscard]] PairKernel pair_kernel() noexcept;
[[nodiscard]] PairKernel portable_pair_kernel() noexcept;

}  // namespace sbr

#endif
