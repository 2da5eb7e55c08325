/** @file
 *  @brief The whole C interface: includes the headers of all areas. */
/** @mainpage sbrkit, the library of the Shape Body Record
 *
 *  A Shape Body Record carries one flexible body (nodes, surface faces, mode shapes, stresses, mass, inertia
 *  invariants, loads) from a finite-element analysis into a multibody solver. The library reads, builds, reduces and
 *  writes it.
 *
 *  A host installs its message handlers (messages.h), gets a body, and works through operations on the body's handle:
 *
 *  | area | headers |
 *  |---|---|
 *  | bodies: life and sharing, messages, the function table | handle.h, messages.h |
 *  | record files: codecs, blocks, reading and report, writing | codecs.h, layout.h, read.h, write.h |
 *  | tables: nodes, modes | nodes.h, mode_table.h |
 *  | mode data: storage and cache, access | mode_store.h, mode_access.h |
 *  | modal properties: eigenvalues and matrices, statistics | matrices.h, statistics.h |
 *  | building: header, nodes, faces, interface nodes; modes and matrices | construct_geometry.h, construct_modes.h |
 *  | mass: inertia invariants, entering them, global mass | invariants.h, invariant_entry.h |
 *  | dynamics: rigid modes, orthonormal modes, dense solvers | rigid_modes.h, orthonormalization.h, linear_algebra.h |
 *  | frame: rigid motion, numbers and bases, node search | rigid_motion.h, renumbering.h, node_search.h |
 *  | surface: coarsening, stripping, rims, discarding nodes | surface.h, discarding.h |
 *  | loads, monitor points, matrix operators | loads.h, monitor_points.h, matrix_operators.h |
 *  | units, what a host may bring itself, the system | units.h, companion.h, system.h |
 *  | the solver's database: bodies, records, the binding | database.h, database_records.h, database_binding.h |
 *
 *  Beside the C interface stand two headers for C++20, free_edges.hpp and dynamic_library.hpp, and qsrv_entries.h,
 *  which says what a database library has to define.
 *
 *  @section conventions Conventions of all contracts
 *
 *  - **Null body.** Each contract says one of two things. "Null body: reported" means that the error
 *    `"The database has not been initialized."` is sent and the failure result given. "Null body: silent" means the
 *    failure result alone. A handle that is not null is trusted; only SBR_IsValid() looks a handle up.
 *  - **Other nulls.** An output that is null is skipped where the contract says so; otherwise a null array or text is a
 *    failure without a message, and never a crash.
 *  - **Results.** 1 is success and 0 failure unless a contract says otherwise; look-ups give an index or -1.
 *  - **Numbers.** Node IDs and mode numbers are those of the finite-element model, signed 32-bit integers. Node and
 *    mode indices count from 0.
 *  - **Kinds of mode data** (argument `kind`): 0 mode shape, 1 modal stress, 2 modal strain. Each has a list of the
 *    nodes that it is known at; a place in it is a kind position. Kind 0 covers the whole node table in its order.
 *  - **Parts of a mode** (argument `part`): 0 the first three values of a node (translations; normal components x, y,
 *    z), 1 the last three (rotations; shear components xy, xz, yz).
 *  - **Shapes.** N is the node count, M the mode count. "3 x M, component-major": component c of mode j stands at [c *
 *    M + j]. A 3 x 3 matrix is nine doubles, row by row. The six values of a symmetric matrix are xx, yy, zz, xy, xz,
 *    yz. "Three doubles per node" are in kind-position order.
 *  - **Memory.** Arrays that a caller passes are the caller's and must have the size that the contract names. A "new
 *    array" is the caller's to free with SBR_FreeMemory(). Nothing of what is passed in is kept: it is copied.
 *  - **Texts.** Those passed in end with a zero byte. For those given out the contract names the size of the buffer,
 *    terminator included.
 *  - **Units.** Values are in the units of the body (SBR_Units()); angles in radians unless a name says degrees.
 *  - **Messages** go to the host's handlers (messages.h) and stop nothing by themselves. They are quoted as their
 *    formats. "The allocation message" is `"Failed to allocate memory at line %d in file %s.\n"`, with a place in the
 *    library.
 *  - **No roll-back.** What an operation did before it failed stays done, unless its contract says otherwise.
 *  - **Hostile input.** Counts from a file are checked against its size before memory is taken for them.
 *  - **Threads.** Bodies may be used by different threads at the same time, as long as each handle has one user at a
 *    time: even a look-up may change a handle, since it builds tables and caches. A body that several threads open by
 *    the same file name is one handle. What the process shares is guarded: the registry, with opening, sharing and
 *    letting go; the handlers, which are called one at a time, whatever thread reports; the loader of libraries. The
 *    database is for one thread at a time. SBR_Terminate(), SBR_Destroy() and SBR_UnLink() end bodies in anybody's use.
 *    The environment is read at the moment of use, and must not be changed while another thread is in the library. */
#ifndef SBRKIT_SBRKIT_SBRKIT_H
#define SBRKIT_SBRKIT_SBRKIT_H

#include "sbrkit/codecs.h"
#include "sbrkit/companion.h"
#include "sbrkit/construct_geometry.h"
#include "sbrkit/construct_modes.h"
#include "sbrkit/database.h"
#include "sbrkit/database_binding.h"
#include "sbrkit/database_records.h"
#include "sbrkit/discarding.h"
#include "sbrkit/handle.h"
#include "sbrkit/invariant_entry.h"
#include "sbrkit/invariants.h"
#include "sbrkit/layout.h"
#include "sbrkit/linear_algebra.h"
#include "sbrkit/loads.h"
#include "sbrkit/matrices.h"
#include "sbrkit/matrix_operators.h"
#include "sbrkit/messages.h"
#include "sbrkit/mode_access.h"
#include "sbrkit/mode_store.h"
#include "sbrkit/mode_table.h"
#include "sbrkit/monitor_points.h"
#include "sbrkit/node_search.h"
#include "sbrkit/nodes.h"
#include "sbrkit/orthonormalization.h"
#include "sbrkit/read.h"
#include "sbrkit/renumbering.h"
#include "sbrkit/rigid_modes.h"
#include "sbrkit/rigid_motion.h"
#include "sbrkit/statistics.h"
#include "sbrkit/surface.h"
#include "sbrkit/system.h"
#include "sbrkit/types.h"
#include "sbrkit/units.h"
#include "sbrkit/write.h"

#endif
