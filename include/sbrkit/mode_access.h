/** @file
 *  @brief Reading mode data: whole modes, parts of modes, single nodes.
 *
 *  A mode record has six values per node of its kind, node after node by kind position: three translations (length
 *  units) and three rotations (radians) for kind 0; the stress components xx, yy, zz, xy, xz, yz (force over length
 *  squared) for kind 1; the strain components in the same order for kind 2. A part is the first three of them (0) or
 *  the last three (1).
 *
 *  Mode number 0 with kind 1 or 2 names the pre-stress or pre-strain vector. It is read by the same calls, but has no
 *  index and never enters the cache.
 *
 *  Stored values are in the units of their file and are brought to the body's units as they are delivered: translations
 *  by length, stresses by force over length squared; rotations and strains have no unit.
 *
 *  The accessors share one loader, which keeps the last record of each kind: asking for the same mode again costs
 *  nothing. A record that cannot be read to its end keeps what arrived; the loader reports
 *  `"Problem reading mode shape %d"`, `"Problem reading modal stress vector %d"`,
 *  `"Problem reading modal strain vector %d"`, `"Problem reading pre stress vector"` or
 *  `"Problem reading pre strain vector"`, and the accessor still gives 1: the message, once per loading, is the only
 *  sign. All other failures are silent.
 *
 *  When to take which: SBR_Mode() for a walk over nodes, SBR_ModeByRef() for one without a copy, SBR_ModeByNode() for
 *  many nodes of few modes, SBR_ModeByNodeWithoutCache() for single nodes of many modes. */
#ifndef SBRKIT_SBRKIT_MODE_ACCESS_H
#define SBRKIT_SBRKIT_MODE_ACCESS_H

#include "sbrkit/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Gives one part of a mode at all nodes of its kind, from the cache or from the record, and offers it to the cache
 *  when that is on. Null body: silent.
 *  @param body    the body
 *  @param number  the mode number; 0 with kind 1 or 2 is the pre-vector
 *  @param kind    0 to 2
 *  @param out     three doubles per node of the kind (SBR_ModeNodeCount()), in kind-position order; null fails
 *  @param part    0 or 1
 *  @return 1, also after a "Problem reading" error. 0, with `out` untouched, for an unknown mode, kind or part, a
 *          pre-vector that does not exist, and a kind without nodes. */
SBR_API int SBR_Mode(SBR body, int number, int kind, double *out, int part);

/** Gives one part of a mode at one node. A part that was not in the cache is loaded for all nodes and, where the cache
 *  is on and has room, kept there. Null body: silent.
 *  @param body    the body
 *  @param number  the mode number; 0 with kind 1 or 2 is the pre-vector
 *  @param kind    0 to 2
 *  @param id      the node ID
 *  @param out3    3 doubles, zeros on failure; null fails
 *  @param part    0 or 1
 *  @return 1, also after a "Problem reading" error; 0 as SBR_Mode(), and for a node that is not in the kind's list. */
SBR_API int SBR_ModeByNode(SBR body, int number, int kind, int id, double *out3, int part);

/** Gives a pointer to one part of a mode at all nodes of its kind. The array is the library's: it is not to be freed,
 *  and not to be written to. Null body: silent.
 *
 *  A part that the cache has is given as it lies there, and stays valid until the cache is cleaned, also when the part
 *  is superseded in between; the head of mode_store.h tells what cleans it, among that a change of units and rewriting
 *  of modes. A part that had to be read lies in a buffer of the body that the next such call, of any kind, overwrites;
 *  a copy is offered to the cache when that is on, so that asking once more gives the lasting pointer.
 *  @param body    the body
 *  @param number  the mode number; 0 with kind 1 or 2 is the pre-vector, always in the buffer
 *  @param kind    0 to 2
 *  @param out     the pointer, to three doubles per node in kind-position order; untouched on failure, null fails
 *  @param part    0 or 1
 *  @return 1, also after a "Problem reading" error; 0 as SBR_Mode(), and when memory is short. */
SBR_API int SBR_ModeByRef(SBR body, int number, int kind, double **out, int part);

/** Gives one part of a mode at one node by reading three values from its record, whatever the cache has: two seeks per
 *  call, however long the mode. Reads and fills neither the cache nor the loader's record. Null body: silent.
 *  @param body    the body
 *  @param number  the mode number; 0 fails for every kind, pre-vectors cannot be reached here
 *  @param kind    0 to 2
 *  @param id      the node ID
 *  @param out3    3 doubles, zeros on failure; null fails
 *  @param part    1 for the last three values, anything else for the first three
 *  @return 1; 0 for an unknown mode, kind or node, and for a failed read, without a message. */
SBR_API int SBR_ModeByNodeWithoutCache(SBR body, int number, int kind, int id, double *out3, int part);

/** Gives a part as SBR_Mode() does, but only from the cache, whether that is on or off; the disk is never touched. Null
 *  body: silent.
 *  @param body    the body
 *  @param number  the mode number
 *  @param kind    0 to 2
 *  @param out     three doubles per node of the kind; null fails
 *  @param part    0 or 1
 *  @return 1; 0, with `out` untouched, when the cache does not have the part. */
SBR_API int SBR_ModeFromMemory(SBR body, int number, int kind, double *out, int part);

/** Gives a part at one node as SBR_ModeByNode() does, but only from the cache, whether that is on or off. Null body:
 *  silent.
 *  @param body    the body
 *  @param number  the mode number
 *  @param kind    0 to 2
 *  @param id      the node ID
 *  @param out3    3 doubles; null fails
 *  @param part    0 or 1
 *  @return 1; 0, with `out3` untouched, when the cache does not have the part or the kind not the node. */
SBR_API int SBR_ModeFromMemoryByNode(SBR body, int number, int kind, int id, double *out3, int part);

/** Gives a pointer to a part in the cache, whether that is on or off. The array is the library's and stays valid until
 *  the cache is cleaned, also when the part is superseded in between; the head of mode_store.h tells what cleans it.
 *  Null body: silent.
 *  @param body    the body
 *  @param number  the mode number
 *  @param kind    0 to 2
 *  @param out     the pointer, to three doubles per node; untouched on failure, null fails
 *  @param part    0 or 1
 *  @return 1; 0 when the cache does not have the part. */
SBR_API int SBR_ModeFromMemoryByRef(SBR body, int number, int kind, double **out, int part);

/** Reads a whole record of a double-precision store, past loader and cache. Plain multiplication brings it to the
 *  body's units, so that last bits may differ from those of SBR_Mode(). Null body: silent.
 *  @param body    the body
 *  @param number  the mode number; 0 with kind 1 or 2 is the pre-vector, in any precision of the store
 *  @param kind    0 to 2
 *  @param out     six doubles per node of the kind; null fails
 *  @return 1; 0 for an unknown mode or kind, no nodes, a single-precision store and a failed read, without a
 *          message. */
SBR_API int SBR_Read_Mode_Double(SBR body, int number, int kind, double *out);

/** Reads a whole record of a single-precision store, as SBR_Read_Mode_Double() does of the other. Factors of units are
 *  rounded to floats before they are applied. Null body: silent.
 *  @param body    the body
 *  @param number  the mode number; 0 with kind 1 or 2 is the pre-vector, narrowed to floats
 *  @param kind    0 to 2
 *  @param out     six floats per node of the kind; null fails
 *  @return 1; 0 for an unknown mode or kind, no nodes, a double-precision store and a failed read, without a
 *          message. */
SBR_API int SBR_Read_Mode_Single(SBR body, int number, int kind, float *out);

/** Whether the body has the block of a kind of mode data: 7, 17 or 28. Null body: reported.
 *  @return as SBR_Exists(); 0 for another kind. */
SBR_API int SBR_ModeExist(SBR body, int kind);

/** Enters a change of the mode basis: multiplies the transformation that the body holds by the matrix from the right,
 *  or stores the matrix when there is none. Nothing of the mode data changes: the transformation is carried along and
 *  written as block 15. Entry (i, j) of the product is the sum over k ascending of held(i, k) x matrix(k, j). Null
 *  body: silent.
 *  @param body    the body
 *  @param matrix  M x M doubles, row by row: row old mode, column new mode; null fails
 *  @return 1; 0 without modes or memory, with the transformation as it was. */
SBR_API int SBR_SetTransformation(SBR body, const double *matrix);

/** Gives the transformation that the body holds: from its record, from SBR_SetTransformation() or from
 *  orthonormalization. Null body: silent.
 *  @param body    the body
 *  @param matrix  M x M doubles, row by row; what a smaller one does not fill is 0
 *  @return 1; 0, with nothing written, when there is none or the output is null. */
SBR_API int SBR_Transformation(SBR body, double *matrix);

#ifdef __cplusplus
}
#endif

#endif
