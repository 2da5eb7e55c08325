/** @file
 *  @brief Writing a body: as a record file, or as a data block of the solver's database.
 *
 *  A write is a pipeline, not a dump. Under the options of one environment variable, `KTX_SBRWRITE_OPTIONS`
 *  (docs/write-options.md tells them all), it reduces the faces, orthonormalizes the modes, cuts them to a frequency
 *  range, works out invariants, carries loads to the principal axes, discards nodes, prints a summary through
 *  SBR_Info(), and then writes every block, strictly forward. The steps change the body for good, whether the write
 *  succeeds or not.
 *
 *  Memory follows the node count: one mode passes through at a time. Long runs report to SBR_TimeMonitor(). */
#ifndef SBRKIT_SBRKIT_WRITE_H
#define SBRKIT_SBRKIT_WRITE_H

#include "sbrkit/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Writes the body as a new record file. Null body: reported.
 *
 *  The options are read once per call; without the variable the record is XDR encoded, in double precision, with
 *  orthonormal modes. The order of the steps is fixed: reference frame to the center of mass, sketch, stripping,
 *  coarsening; then encoding and precision; orthonormalization, frequency range, invariants, discarding, units; then
 *  the blocks. The range starts at the first mode above the highpass, or at the first of all when none is above it, and
 *  ends before the first mode above the lowpass or of generalized mass 0. A range that ends before it starts, as with a
 *  highpass above the lowpass (`"No mode lies in the frequency range [%le,%le]."`), fails the write unless the option
 *  "empty" leaves the modes out; a range that ends where it starts gives a record without modes.
 *  Loads and damping go to the principal axes, and nodes are discarded, only in a record that gets invariant 3. Reals
 *  of single precision are narrowed by the usual rounding. Monitor points keep all modes, whatever the range.
 *  Deliberate difference: the mode shape transformation (block 15) is written with the row length that the matrix has
 *  in memory, also where dropped modes made it anew as an identity of lower order; reading such a matrix with the row
 *  length before would garble it.
 *  @param body  the body, which must not be used during the call
 *  @param path  the file; an existing one is replaced. Null fails
 *  @return 1 when the record is complete. 0, with no file left, after an error: the path is that of the record the body
 *          was read from (`"The output SBR name must be different than the current SBR name. ..."`, the file stays),
 *          the file cannot be opened (`"Unable to open %s for write. Please check write permissions."`), options
 *          contradict each other, memory is short, or a block cannot be written (`"Problem writing ..."`). */
SBR_API int SBR_write_SBR(SBR body, const char *path);

/** Writes the body to the solver's database as a new data block, by the steps and options of SBR_write_SBR(). Null
 *  body: reported.
 *
 *  Reals are doubles at all times: "single" changes the version word alone. "no_xdr" has no effect, since the word
 *  never means XDR. Each block is a record that starts with the block's number; docs/database.md describes the records.
 *  @param body        the body, which must not be used during the call
 *  @param path        the ".MASTER" file; a database that is not there yet is created
 *  @param qualifiers  those of the data block, as for DB_CreateSBRblk()
 *  @return 1 when the data block is complete and the database closed. 0 after
 *          `"Unable to open %s for write. Please check the name and qualifier."` or a block's message; the database
 *          then stays open and the data block unfinished: neither lasts, and the next DB_StartWrite() begins anew. */
SBR_API int SBR_write_DB(SBR body, const char *path, const char *qualifiers);

/** Moves the reference frame to the center of mass of the nodal masses. Null body: reported.
 *
 *  The mass-weighted mean of the node places is taken off every place. Of the global center of mass only the x
 *  component becomes 0: y and z keep their values. With exactly six rigid-body modes the first six entries of the
 *  preload and of each load that stands on principal axes are forces and moments, and the moments are moved to the new
 *  origin: m - c x f. Tells `"Shifting LBRF to CM at (%.3e,%.3e,%.3e)\n"`. Does nothing without nodes or with a total
 *  mass of 0. */
SBR_API void SBR_ShiftLBRFtoCM(SBR body);

#ifdef __cplusplus
}
#endif

#endif
