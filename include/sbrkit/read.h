/** @file
 *  @brief Reading a record file, and printing a body as text.
 *
 *  A file of any version, encoding and precision becomes a body in one call. What is small is read at once; mode
 *  vectors (blocks 7, 17, 28) and invariants (blocks 18 to 25) stay in the file and are fetched when they are asked
 *  for, so that opening costs time by nodes plus modes, not by their product. The file stays open, and must stay
 *  unchanged, as long as the body lives.
 *
 *  Files are not trusted: a count is held against what is left of the file before memory is taken for it. A file that
 *  ends early is refused or read as far as it goes, as the contracts say. */
#ifndef SBRKIT_SBRKIT_READ_H
#define SBRKIT_SBRKIT_READ_H

#include "sbrkit/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** The body of a record file.
 *
 *  A file name that a live body was read from, compared byte for byte, gives that body with one reference more, and
 *  reads nothing again. Otherwise the file is opened and read by SBR_ReadSBR(). Bodies of
 *  SBR_CreateFromSBR_SurfaceMesh() are apart.
 *  @param file_name  the path; null gives null
 *  @return the body, to be let go by SBR_DeReference(). Null when the file cannot be opened or there is no memory for
 *          the handle, without a message, and when it cannot be read, after those of SBR_ReadSBR(). */
SBR_API SBR SBR_CreateFromSBR(const char *file_name);

/** Fills a fresh body from an open stream. Null body: silent.
 *
 *  A file that is no record gives `"Not a valid SBR format."`; a block that breaks off gives an error of its own, such
 *  as `"Problem reading Node Coordinates Data"`. These findings are reported and read on: a node dimension other than
 *  3, several masses per node (their mean is taken, with two warnings), masses or inertias given twice, numbers of
 *  stress or strain modes and of pre-stressed or pre-strained nodes that differ from what was expected, and nodal
 *  inertias, stresses and strains of unknown nodes. Masses of unknown nodes are dropped without a word. A strain block
 *  that breaks off ends its list of modes without a message; what was not found is reported by whoever asks for it.
 *  Missing units are `"KILOGRAM"`, `"METER"`, `"SECOND"`, `"NEWTON"`. Monitor points of the old block 32 count as block
 *  35 from then on.
 *  @param body       a body nothing was entered into yet
 *  @param stream     opened with "rb"; it becomes the body's, also when reading fails. Null gives 0
 *  @param file_name  what SBR_CreateFromSBR() will know the body by; copied
 *  @return 1. 0 after an error: the body holds what was read so far and is good for release only. -1 when memory ran
 *          short in the matrix operators or the monitor points, or when either block has no entry: the body is complete
 *          up to there, and SBR_CreateFromSBR() hands it out. */
SBR_API int SBR_ReadSBR(SBR body, FILE *stream, const char *file_name);

/** Reads the generalized stiffness from the body's record once more, over the entries in memory. Rows and columns count
 *  from 1 in the file and from 0 in memory. The stream stays where it is. Null body: reported.
 *  @return 1, also when the record lacks the block; 0 after `"Problem reading Generalized Stiffness information"`. */
SBR_API int SBR_ReadGeneralizedStiffness(SBR body);

/** Reads the generalized mass from the body's record once more, as SBR_ReadGeneralizedStiffness() does. Null body:
 *  reported.
 *  @return 1, also when the record lacks the block; 0 after `"Problem reading Generalized Mass information"`. */
SBR_API int SBR_ReadGeneralizedMass(SBR body);

/** Reads the generalized damping from the body's record once more, as SBR_ReadGeneralizedStiffness() does, and with it
 *  the word that says whether the damping stands on principal axes. Null body: reported.
 *  @return 1, also when the record lacks the block; 0 after `"Problem reading Generalized Damping information"`. */
SBR_API int SBR_ReadGeneralizedDamping(SBR body);

/** Prints one block of a body as text, for bodies from a file and under construction alike. Null body: reported.
 *
 *  The values are those that the accessors give, in the body's units, cached mode data included; asking for them may
 *  fill caches as it does for any caller. A node row starts with the node's ID, and the rows come in ascending order of
 *  IDs. A mode or an operator without data prints zeros and the report goes on. What a block without data prints is a
 *  sentence of its own, such as `"No eigenvalue information"`.
 *  @param body          the body
 *  @param block_number  the block index plus 1: 1 to 36. Numbers outside, and 33, print nothing
 *  @param stream        where to; flushed at the end, except when the report ended with the allocation message. Null
 *                       prints nothing */
SBR_API void SBR_Contents(SBR body, int block_number, FILE *stream);

#ifdef __cplusplus
}
#endif

#endif
