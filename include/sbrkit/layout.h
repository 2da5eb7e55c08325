/** @file
 *  @brief The blocks of a record: which there are, where they lie and how long they are.
 *
 *  A record file is a version word, a header, a content summary of 100 bytes that says which blocks exist, and then the
 *  blocks that exist, one behind the other, without marks of their own. A block's place follows from the sizes of all
 *  blocks before it, and its size from the counts that it starts with.
 *
 *  Calls name a block by its index, 0 to 35; reports and database records by its number, the index plus 1:
 *
 *  |  |  |  |  |
 *  |---|---|---|---|
 *  | 0 version code | 9 nodal inertias | 18 invariant 1 | 27 modal loads |
 *  | 1 header | 10 units | 19 invariant 2 | 28 modal strain |
 *  | 2 content summary | 11 generalized stiffness | 20 invariant 3 | 29 modal statistics |
 *  | 3 nodal coordinates | 12 generalized mass | 21 invariant 4 | 30 nodal pre-stress |
 *  | 4 old element faces | 13 element faces | 22 invariant 5 | 31 nodal pre-strain |
 *  | 5 global properties | 14 generalized damping | 23 invariant 7 | 32 monitor points, old place |
 *  | 6 eigenvalues | 15 mode shape transformation | 24 invariant 8 | 33 matrix operators |
 *  | 7 mode shapes | 16 interface nodes | 25 invariant 9 | 34 nodal loads |
 *  | 8 nodal masses | 17 modal stress | 26 modal preload | 35 monitor points |
 *
 *  The version word holds the version code, ten times the version, in its low byte. The codes 10, 20, 30, 31, 40, 41,
 *  50 and 51 are the old ones: their encoding and precision follow from the code. From code 60 on flags above the low
 *  byte tell them: 0x100 XDR encoded, 0x200 reals of 4 bytes, 0x400 the faces are coarsened or sketched; 0x1000 marks a
 *  record in a database. */
#ifndef SBRKIT_SBRKIT_LAYOUT_H
#define SBRKIT_SBRKIT_LAYOUT_H

#include "sbrkit/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Whether a body has a block: what its record said, what setters have raised since, what reductions have taken away.
 *  Null body: reported.
 *  @param body         the body
 *  @param block_index  0 to 35
 *  @return for blocks 0 to 2 always 1; else the block's byte of the content summary as it stands, not 0 when the block
 *          exists; 0 for an index outside. */
SBR_API int SBR_Exists(SBR body, int block_index);

/** Moves the stream of the record that the body was read from to the start of a block. Null body: reported.
 *  @param body         the body
 *  @param block_index  0 to 35
 *  @return 1; 0, with nothing moved, when the body was not read from a file or lacks the block. */
SBR_API int SBR_goto_block(SBR body, int block_index);

/** The size of a block in the record that the body was read from, worked out from the counts in the block. The stream
 *  stays where it is. Null body: reported.
 *
 *  Two sizes are what the format says, not what the block takes: a monitor point counts with one array of its load
 *  operators whatever it has, and the stress of versions 30 and 31 with mode words that it does not have. Deliberate
 *  difference: counts that are negative, as corrupt files have them, size as 0 instead of leading backwards.
 *  @param body         the body
 *  @param block_index  0 to 35
 *  @return bytes; 0 when the body has no record or not the block. 0 too when the counts cannot be read, after an error
 *          such as `"Problem in nodal coords block"`; the blocks 32 to 35 then give what they could sum up before. */
SBR_API int64_t SBR_size_of_block(SBR body, int block_index);

/** The version code of a body: 60 for a current record, 31 for a body fresh from SBR_Create(). Null body: reported.
 *  @return the low byte of the version word; 0 for null. */
SBR_API int SBR_Version(SBR body);

/** Sets the version code of a body to the low byte of `version`. The flags above it stay as they were, except that the
 *  old codes (10, 20, 30, 31, 40, 41, 50, 51, given without flags) clear them. A write works its word out for itself
 *  and does not look here. Null body: reported. */
SBR_API void SBR_SetVersion(SBR body, uint32_t version);

#ifdef __cplusplus
}
#endif

#endif
