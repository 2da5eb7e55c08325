/** @file
 *  @brief The mode table, and the node lists of the three kinds of mode data.
 *
 *  A mode has a number, that of the finite-element model, and an index, its place in the table, counted from 0 in order
 *  of first appearance. Generalized matrices, loads and invariants refer to modes by index. Orthonormalization and
 *  writing number the modes anew from 1.
 *
 *  Number 0 is an ordinary number for mode shapes. With kinds 1 and 2 it names the pre-stress or pre-strain vector,
 *  which is no mode and has no index (mode_access.h).
 *
 *  Each kind of mode data (0 shape, 1 stress, 2 strain) has a list of the nodes that it is known at; kind 0 has them
 *  all. A place in such a list is a kind position. */
#ifndef SBRKIT_SBRKIT_MODE_TABLE_H
#define SBRKIT_SBRKIT_MODE_TABLE_H

#include "sbrkit/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Appends a mode, without asking whether its number is known: SBR_LookupOrAddMode() asks. Null body: reported.
 *  @return the mode index; -1 after the allocation message, or when the body holds the modes that it was made for, with
 *          `"Insufficient room for mode %d in temporary mode shape file.  \nSpecify larger number of modes in
 *          SBR_Create.\n"`. A body from a file was made for none more. */
SBR_API int SBR_AddMode(SBR body, int number);

/** The mode of a number, appended when there is none. Null body: reported.
 *  @return the mode index, or -1 as SBR_AddMode(). */
SBR_API int SBR_LookupOrAddMode(SBR body, int number);

/** The mode of a number, found by walking the table; of equal numbers the first. Null body: silent.
 *  @return the mode index; -1 for an unknown number. */
SBR_API int SBR_ModeIndex(SBR body, int number);

/** The number of a mode. Null body: silent.
 *  @return the number; -1 for an index outside the table, which may be a number too. */
SBR_API int SBR_ModeNumber(SBR body, int index);

/** How many modes there are. Null body: silent.
 *  @return M; 0 for null. */
SBR_API int SBR_ModeCount(SBR body);

/** How many nodes a kind of mode data is known at. Null body: silent.
 *  @return the length of the kind's node list; 0 for another kind than 0 to 2. */
SBR_API int SBR_ModeNodeCount(SBR body, int kind);

/** The place of a node in the list of a kind. For kind 0 this is SBR_NodeIndex(). Null body: reported.
 *  @param body  the body
 *  @param kind  0 to 2; another gives -1
 *  @param id    the node ID
 *  @return the kind position; -1 for a node that is not in the list, and after the allocation message. */
SBR_API int SBR_ModeNodeIndex(SBR body, int kind, int id);

/** The ID of a node in the list of a kind. Null body: silent.
 *  @param body      the body
 *  @param kind      0 to 2
 *  @param position  the kind position, from 0
 *  @return the ID; 0 for another kind and a position outside the list, which is a legal ID too. */
SBR_API int SBR_ModeNodeID(SBR body, int kind, int position);

/** Where a mode number stands in an ascending list of mode numbers.
 *  @param number   the number
 *  @param numbers  the list, ascending; null gives -1
 *  @param length   how many numbers it has
 *  @return the place, from 0; -1 when it is not there. */
SBR_API int SelectedModeIndex(int number, const int *numbers, int length);

#ifdef __cplusplus
}
#endif

#endif
