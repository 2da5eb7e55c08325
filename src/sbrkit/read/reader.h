// Opening record files. The unit fills a fresh body from its file; what it fills is owned by the units that body.h
// names. Mode vectors and inertia invariants stay in the file.
//
// sbrread.cpp holds the order of the steps; the blocks are read in sbrreadgeometry.cpp (units, texts, nodes, faces,
// mass), sbrreadmodes.cpp (eigenvalues, modes, matrices, statistics) and sbrreadloads.cpp (loads, operators, monitor
// points).
#ifndef SBRKIT_READ_READER_H
#define SBRKIT_READ_READER_H

#include <cstdio>

#include "body/body.h"
#include "record/layout.h"

namespace sbr {

// The live body of a file, with one reference more; null when there is none. surface_mesh says which of the two
// bodies that a file may have is meant.
[[nodiscard]] SbrBody *share_body(const char *file_name, int surface_mesh) noexcept;
// A new body read from a file; null when the file cannot be opened or read.
[[nodiscard]] SbrBody *open_body(const char *file_name) noexcept;

// ---- the blocks ----------------------------------------------------------------------------------------------------

// What reading a block gave. A block that does not exist is complete.
enum class Reading {
  complete = 1,
  failed = 0,         // reported; the read as a whole fails
  out_of_memory = -1  // reported; the read ends here, and the body lacks what comes behind
};

void read_units_block(SbrBody &body) noexcept;
[[nodiscard]] Reading read_header(SbrBody &body) noexcept;
[[nodiscard]] Reading read_nodal_coords(SbrBody &body) noexcept;
[[nodiscard]] Reading read_global_block(SbrBody &body) noexcept;
[[nodiscard]] Reading read_nodal_mass_block(SbrBody &body) noexcept;
[[nodiscard]] Reading read_nodal_inertia_block(SbrBody &body) noexcept;
// Block 13, else block 4.
[[nodiscard]] Reading read_faces(SbrBody &body) noexcept;
[[nodiscard]] Reading read_interface_nodes(SbrBody &body) noexcept;

[[nodiscard]] Reading read_eigenvalue_block(SbrBody &body) noexcept;
[[nodiscard]] Reading read_mode_shapes(SbrBody &body) noexcept;
[[nodiscard]] Reading read_modal_stress(SbrBody &body) noexcept;
[[nodiscard]] Reading read_modal_strain(SbrBody &body) noexcept;
[[nodiscard]] Reading read_stiffness(SbrBody &body) noexcept;
[[nodiscard]] Reading read_mass(SbrBody &body) noexcept;
[[nodiscard]] Reading read_damping(SbrBody &body) noexcept;
[[nodiscard]] Reading read_transformation(SbrBody &body) noexcept;
[[nodiscard]] Reading read_statistics(SbrBody &body) noexcept;
[[nodiscard]] Reading read_pre_stress(SbrBody &body) noexcept;
[[nodiscard]] Reading read_pre_strain(SbrBody &body) noexcept;

[[nodiscard]] Reading read_preload(SbrBody &body) noexcept;
[[nodiscard]] Reading read_modal_loads(SbrBody &body) noexcept;
[[nodiscard]] Reading read_nodal_loads(SbrBody &body) noexcept;
[[nodiscard]] Reading read_matrix_operators(SbrBody &body) noexcept;
// Block 35, else block 32.
[[nodiscard]] Reading read_monitor_points(SbrBody &body) noexcept;

// ---- shared by the block readers -----------------------------------------------------------------------------------

// Reports an error.
Reading failed(const char *message) noexcept;
// True when what is left of the file can hold count rows of row_bytes bytes each.
// Asked before memory is taken for what a count announces.
[[nodiscard]] bool rows_left(StreamChannel &channel, std::int64_t count, std::int64_t row_bytes) noexcept;

}  // namespace sbr

#endif
