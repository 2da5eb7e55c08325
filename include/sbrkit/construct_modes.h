/** @file
 *  @brief Building a body, second half: mode data, pre-vectors, generalized matrices.
 *
 *  Modes and nodes that are not known are added by the call that mentions them, modes up to the number that
 *  SBR_Create() was given; they stay when a later step of the call fails. Values are in the body's units: translations
 *  in length, rotations in radians, stresses in force over length squared.
 *
 *  Mode data goes to a temporary file per kind, made at the first call of the kind with room for the modes and nodes of
 *  SBR_Create() (mode_store.h says where). Its name is told: `"Temp modeshape file: %s"`,
 *  `"Temp modal stress file: %s"`, `"Temp modal strain file: %s"`. Values may arrive in any order; neighbouring ones
 *  may wait in memory until the record is read. More nodes than announced are no failure: when a value lies beyond the
 *  room of its record, the records of the kind are laid out anew with twice the room, and nothing is overwritten;
 *  announcing enough nodes saves that work.
 *
 *  What a setter of mode data can fail with, result 0:
 *  - no room for another mode, as SBR_AddMode() reports it;
 *  - a file that cannot be made (`"Unable to open temporary mode shape file %s.\nTo write elsewhere, ..."`), or a disk
 *    that is full when it is made or grows
 *    (`"Insufficient disk space for temporary mode shape file  %s.\nTo write ..."`); what was stored before stays as it
 *    was;
 *  - a failed seek (`"Couldn't seek to mode %ld node %ld position in temporary file"`), the allocation message;
 *  - without a message: a failed write, and a body whose modes lie in the record file it was read from. */
#ifndef SBRKIT_SBRKIT_CONSTRUCT_MODES_H
#define SBRKIT_SBRKIT_CONSTRUCT_MODES_H

#include "sbrkit/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** SBR_SetModeVec() with the six values as arguments. Null body: reported.
 *  @return as SBR_SetModeVec(). */
SBR_API int SBR_SetMode(SBR body, int number, int id, int kind, double v1, double v2, double v3, double v4, double v5,
                        double v6);

/** Enters the six values of a node in a mode. With kinds 1 and 2 the node joins the kind's node list at first mention.
 *  Number 0 with kind 1 is SBR_SetPreStressVec(), number 0 with any other kind but 0 SBR_SetPreStrainVec(). Block 7, 17
 *  or 28. Null body: reported.
 *  @param body    the body
 *  @param number  the mode number
 *  @param id      the node ID
 *  @param kind    0 to 2; another is refused with `"The kind of mode data %d is illegal.\nThe kind must be 0 to 2."`
 *  @param six     translations x, y, z and rotations x, y, z for kind 0; components xx, yy, zz, xy, xz, yz for kinds 1
 *                 and 2; null fails
 *  @return 1; 0 as the head of this file says. */
SBR_API int SBR_SetModeVec(SBR body, int number, int id, int kind, const double *six);

/** Enters one of the six values of a node in a mode. Number 0 is an ordinary mode of any kind here. Block 7, 17 or 28.
 *  Null body: reported.
 *  @param body      the body
 *  @param number    the mode number
 *  @param id        the node ID
 *  @param kind      0 to 2, as for SBR_SetModeVec()
 *  @param position  0 to 5 in the order of SBR_SetModeVec(); another is refused with
 *                   `"The value position %d is illegal.\nThe value position must be 0 to 5."`
 *  @param value     the value
 *  @return 1; 0 as the head of this file says; a failed seek also names position + 1, as "dof". */
SBR_API int SBR_SetModeEntry(SBR body, int number, int id, int kind, int position, double value);

/** Enters the pre-stress of a node. The node joins the node list of modal stress, which the pre-vector shares. Block
 *  30. Null body: reported.
 *  @param body  the body
 *  @param id    the node ID
 *  @param six   components xx, yy, zz, xy, xz, yz; null fails
 *  @return 1; 0 when the node cannot be added, or after
 *          `"Failed to allocate memory for Pre-Stress at line %d in file %s.\n"`. */
SBR_API int SBR_SetPreStressVec(SBR body, int id, const double *six);

/** Enters the pre-strain of a node. The node joins the node list of modal strain, which the pre-vector shares. Block
 *  31. Null body: reported.
 *  @param body  the body
 *  @param id    the node ID
 *  @param six   components xx, yy, zz, xy, xz, yz; null fails
 *  @return 1; 0 when the node cannot be added, or after
 *          `"Failed to allocate memory for Pre-Strain at line %d in file %s.\n"`. */
SBR_API int SBR_SetPreStrainVec(SBR body, int id, const double *six);

/** Appends an entry of the symmetric generalized stiffness, in force times length; one entry stands for (row, column)
 *  and (column, row). An entry off the diagonal marks the modes as not orthogonal, so that SBR_OrthoNormalize() solves
 *  the full problem. Block 11. Null body: reported.
 *  @param body    the body
 *  @param row     a mode number; a mode that cannot be added is reported and the entry stored with index -1
 *  @param column  likewise
 *  @param value   the entry
 *  @return 1; 0 after the allocation message. */
SBR_API int SBR_SetGeneralizedStiffness(SBR body, int row, int column, double value);

/** Appends an entry of the symmetric generalized mass, in mass times length squared, as SBR_SetGeneralizedStiffness().
 *  A diagonal entry that differs from 1 by more than 1e-8 marks the modes as not normalized. Block 12. Null body:
 *  reported.
 *  @param body    the body
 *  @param row     a mode number; a mode that cannot be added is reported and the entry stored with index -1
 *  @param column  likewise
 *  @param value   the entry
 *  @return 1; 0 after the allocation message. */
SBR_API int SBR_SetGeneralizedMass(SBR body, int row, int column, double value);

/** Appends an entry of the symmetric generalized damping, in time times force times length, as
 *  SBR_SetGeneralizedStiffness(), but without marks. The first entry makes a list that is not on principal axes. Block
 *  14. Null body: reported.
 *  @param body    the body
 *  @param row     a mode number; a mode that cannot be added is reported and the entry stored with index -1
 *  @param column  likewise
 *  @param value   the entry
 *  @return 1; 0 after the allocation message. */
SBR_API int SBR_SetGeneralizedDamping(SBR body, int row, int column, double value);

#ifdef __cplusplus
}
#endif

#endif
