/** @file
 *  @brief Loads: modal load cases, nodal load cases, and the modal preload.
 *
 *  A modal load case has one value per mode, a nodal one a list of entries (node, coordinate, value); the preload is
 *  one vector over the modes. Cases count from 0. Setting a case makes all cases up to it: the others start empty, or
 *  with zeros and the label `"Load Case %d"`, counting from 1. Modes that come later have 0 in what was entered before.
 *
 *  Modal values are modal forces, force times length. A vector that stands on the principal axes (rigid_modes.h) has
 *  forces and moments in its rigid entries; a mark per vector, "processed", says so and is stored in the record.
 *
 *  Setters refuse a negative case with
 *  `"The load case index %d is illegal.\nThe load case index must be non-negative."`, and give 0 after the allocation
 *  message; a case index that no memory can hold gets that message too. Getters send no message; a case outside the
 *  list gives their failure result. */
#ifndef SBRKIT_SBRKIT_LOADS_H
#define SBRKIT_SBRKIT_LOADS_H

#include "sbrkit/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Gives a modal case its load on a mode, which is added when it is not known. Block 27. Null body: reported.
 *  @param body       the body
 *  @param load_case  the case, from 0
 *  @param number     the mode number
 *  @param value      the load
 *  @return 1; 0 for an illegal case, a mode that cannot be added, and no memory. */
SBR_API int SBR_SetModalLoad(SBR body, int load_case, int number, double value);

/** Labels a modal case. A new case needs a body with modes: otherwise the allocation fails. Raises no block. Null body:
 *  reported.
 *  @param body       the body
 *  @param load_case  the case, from 0
 *  @param label      up to 255 characters; what is longer is cut, with
 *                    `"Modal load label too big: max size %ld, specified size %ld.  Truncating label."`. An empty label
 *                    stores the case's number, counting from 1; null fails
 *  @return 1; 0 for an illegal case and no memory. */
SBR_API int SBR_SetModalLoadLabel(SBR body, int load_case, const char *label);

/** Appends a load on a node to a nodal case; the node is added when it is not known. Block 34. Null body: reported.
 *  @param body        the body
 *  @param load_case   the case, from 0
 *  @param id          the node ID
 *  @param coordinate  1 to 3 force along x, y, z; 4 to 6 moment about x, y, z; another is refused with
 *                     `"The coordinate number %d is illegal.\nThe coordinate number must be 1 to 6."`
 *  @param value       force, or force times length
 *  @return 1; 0 for an illegal case or coordinate, a node that cannot be added, and no memory. */
SBR_API int SBR_SetModalLoadNodal(SBR body, int load_case, int id, int coordinate, double value);

/** Gives the preload on a mode, which is added when it is not known; all other modes have 0 at first. The first value
 *  makes a preload that is not on principal axes. Block 26. Null body: reported.
 *  @return 1; 0 for a mode that cannot be added and no memory. */
SBR_API int SBR_SetModalPreload(SBR body, int number, double value);

/** The number of modal cases. Null body: silent.
 *  @return the number; 0 for null. */
SBR_API int SBR_GetModalLoadCaseCount(SBR body);

/** The label of a modal case. Null body: silent.
 *  @param body       the body
 *  @param load_case  the case, from 0
 *  @param label256   256 bytes, all of them written: the label and zeros behind it. A record may fill all 256, and then
 *                    there is no terminator among them: give 257 bytes and make the last one zero. Null fails
 *  @return 1; 0, with nothing written, for a case that does not exist. */
SBR_API int SBR_GetModalLoadCaseLabel(SBR body, int load_case, char *label256);

/** The values of a modal case, by mode index. Null body: silent.
 *  @param body       the body
 *  @param load_case  the case, from 0
 *  @param count      M; may be null
 *  @return a new array of M doubles; null, with *count 0, for a case that does not exist, no modes and no memory. */
SBR_API double *SBR_GetModalLoad(SBR body, int load_case, int *count);

/** The preload, by mode index. Null body: silent.
 *  @param body   the body
 *  @param count  M; may be null
 *  @return a new array of M doubles; null, with *count 0, when there is none, no modes or no memory. */
SBR_API double *SBR_GetModalPreload(SBR body, int *count);

/** The number of nodal cases. Null body: silent.
 *  @return the number; 0 for null. */
SBR_API int SBR_GetModalLoadNodalCaseCount(SBR body);

/** How many entries a nodal case has. Null body: silent.
 *  @return the number; 0 for a case that does not exist. */
SBR_API int SBR_GetModalLoadNodalCount(SBR body, int load_case);

/** The nodes of a nodal case, as node indices, in order of entry. Null body: silent.
 *  @return a new array of SBR_GetModalLoadNodalCount() ints; null for an empty case, one that does not exist, and no
 *          memory. */
SBR_API int *SBR_GetModalLoadNodalNode(SBR body, int load_case);

/** The coordinates of a nodal case, 1 to 6, in order of entry. Null body: silent.
 *  @return a new array of SBR_GetModalLoadNodalCount() ints; null as SBR_GetModalLoadNodalNode(). */
SBR_API int *SBR_GetModalLoadNodalCoord(SBR body, int load_case);

/** The values of a nodal case, in order of entry. Null body: silent.
 *  @return a new array of SBR_GetModalLoadNodalCount() doubles; null as SBR_GetModalLoadNodalNode(). */
SBR_API double *SBR_GetModalLoadNodalLoad(SBR body, int load_case);

/** Whether a modal case stands on the principal axes. Null body: silent.
 *  @return the mark as it was set; 0 for a case that does not exist. */
SBR_API int SBR_ModalLoadProcessed(SBR body, int load_case);

/** Sets the mark that SBR_ModalLoadProcessed() gives; the values stay. A case that does not exist is passed over. Null
 *  body: silent. */
SBR_API void SBR_SetModalLoadProcessed(SBR body, int load_case, int flag);

/** Whether there is a preload. Null body: silent.
 *  @return 1 or 0. */
SBR_API int SBR_ModalPreloadExist(SBR body);

/** Whether the preload stands on the principal axes. Null body: silent.
 *  @return the mark as it was set; 0 as long as block 26 does not exist. */
SBR_API int SBR_ModalPreloadProcessed(SBR body);

/** Sets the mark that SBR_ModalPreloadProcessed() gives; the values stay. Not stored as long as block 26 does not
 *  exist. Null body: silent. */
SBR_API void SBR_SetModalPreloadProcessed(SBR body, int flag);

#ifdef __cplusplus
}
#endif

#endif
