/** @file
 *  @brief Building a body, first half: header texts, nodes, faces, interface nodes.
 *
 *  A translator makes a body with SBR_Create(), feeds it through these setters and those of construct_modes.h in any
 *  order, and has it written by SBR_write_SBR(). A node that is not known is added by the call that mentions it; it
 *  stays when a later step of that call fails. Each setter that succeeds raises the block that its contract names, as
 *  SBR_Exists() shows. Numbers are stored as given, infinities and NaN included, in the body's units. */
#ifndef SBRKIT_SBRKIT_CONSTRUCT_GEOMETRY_H
#define SBRKIT_SBRKIT_CONSTRUCT_GEOMETRY_H

#include "sbrkit/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Stores the header texts, with the present local time as date. Null body: reported.
 *
 *  A text that is too long is cut, with a warning of its own, such as
 *  `"Title too big: max size %ld, specified size %ld.\nTruncating title."`. Line feeds become blanks, in the caller's
 *  text too, which must be writable. Each stored text is told as an information: `"Title: %s"`, `"Name : %s"`,
 *  `"Type : %s"`, `"Comment 1: %s"`, `"Comment 2: %s"`, `"Comment 3: %s"`. A null text counts as empty.
 *  @param body             the body
 *  @param title            up to 127 characters
 *  @param input_file_name  of the finite-element model, up to 127 characters
 *  @param input_file_type  up to 15 characters
 *  @param comment1         up to 79 characters
 *  @param comment2         up to 79 characters
 *  @param comment3         up to 79 characters
 *  @return 1; 0 for null. */
SBR_API int SBR_SetHeader(SBR body, char *title, char *input_file_name, char *input_file_type, char *comment1,
                          char *comment2, char *comment3);

/** Copies the header texts out; an output that is null is skipped. A line feed at the end of the date is dropped. Null
 *  body: silent, nothing is written.
 *  @param body             the body
 *  @param title            128 bytes, terminator included
 *  @param date             32 bytes, terminator included
 *  @param input_file_name  128 bytes, terminator included
 *  @param input_file_type  16 bytes, as they stand in the record. A record may fill all 16, and then there is no
 *                          terminator among them: give 17 bytes and make the last one zero
 *  @param comment1         80 bytes, terminator included
 *  @param comment2         80 bytes, terminator included
 *  @param comment3         80 bytes, terminator included */
SBR_API void SBR_Header(SBR body, char *title, char *date, char *input_file_name, char *input_file_type, char *comment1,
                        char *comment2, char *comment3);

/** Places a node, in length units. Block 3. Null body: reported.
 *  @return 1; 0 when the node cannot be added. */
SBR_API int SBR_SetNodeCoordinates(SBR body, int id, double x, double y, double z);

/** Gives a node a mass, in place of the one it had. Block 8. Null body: reported.
 *  @return 1; 0 when the node cannot be added. */
SBR_API int SBR_SetNodalMass(SBR body, int id, double mass);

/** Adds to the mass of a node. Block 8. Null body: reported.
 *  @return 1; 0 when the node cannot be added. */
SBR_API int SBR_AddNodalMass(SBR body, int id, double mass);

/** Gives a node its moments and products of inertia about its own place, in mass times length squared; they are the
 *  entries of its symmetric 3 x 3 matrix as it stands. Block 9. Null body: reported.
 *  @return 1; 0 when the node cannot be added, and after the allocation message. */
SBR_API int SBR_SetNodalInertia(SBR body, int id, double ixx, double iyy, double izz, double ixy, double ixz,
                                double iyz);

/** Gives one entry of a node's symmetric inertia matrix: (row, column) and (column, row) are one entry. The other
 *  entries stay, zero at first. Block 9. Null body: reported.
 *  @param body    the body
 *  @param id      the node ID
 *  @param row     1 to 3
 *  @param column  1 to 3
 *  @param value   the entry
 *  @return 1; 0 when the node cannot be added, after the allocation message, and, with no node made, after
 *          `"The inertia entry (%d, %d) is illegal.\nThe row and column must be 1 to 3."`. */
SBR_API int SBR_SetNodalInertiaEntry(SBR body, int id, int row, int column, double value);

/** Enters a surface face as SBR_SetFaceList() does, its node IDs given as `count` further int arguments. Null body:
 *  reported.
 *  @return as SBR_SetFaceList(); 0 for more than 256 nodes, after `"Face too big: max size %ld, specified size
 *          %ld."`. */
SBR_API int SBR_SetFace(SBR body, int count, ...);

/** Enters a surface face of any length. A node equal to the one kept before it is dropped, and so is a last node equal
 *  to the first, so that a closed polygon comes out open. Block 13. Null body: reported.
 *  @param body   the body
 *  @param count  how many IDs
 *  @param ids    node IDs in order around the face; null fails
 *  @return 1; 0 without a message when fewer than two nodes are left, which is no face (new nodes stay); 0 after the
 *          allocation message. */
SBR_API int SBR_SetFaceList(SBR body, int count, const int *ids);

/** How large the face list is. Null body: silent.
 *  @param body         the body
 *  @param face_count   the number of faces
 *  @param list_length  the ints that SBR_ElementFaces() gives. Both are 0 for a null body, and each may be null
 *  @return 1; 0 for null. */
SBR_API int SBR_FaceListSize(SBR body, int *face_count, int *list_length);

/** Copies the face list: per face its node count, then that many node indices. Null body: silent.
 *  @param body  the body
 *  @param list  as many ints as SBR_FaceListSize() says; null fails
 *  @return 1; 0, with nothing written, when there is no list. */
SBR_API int SBR_ElementFaces(SBR body, int *list);

/** Marks a node as one where the body is attached. A node that is marked stays marked once. Block 16. Null body:
 *  reported.
 *  @return 1; 0 without a message for an unknown node, which is not made here; 0 after the allocation message. */
SBR_API int SBR_SetInterfaceNode(SBR body, int id);

/** The interface nodes as node indices, in order of entry. Null body: silent.
 *  @param body   the body
 *  @param count  how many; may be null
 *  @return a new array of *count ints; null when there are none (*count is 0) and when memory is short. */
SBR_API int *SBR_InterfaceNodes(SBR body, int *count);

/** The interface nodes as node IDs, in order of entry. An index outside the node table has the ID 0. Null body: silent.
 *  @param body   the body
 *  @param count  how many; may be null
 *  @return a new array of *count ints; null when there are none (*count is 0) and when memory is short. */
SBR_API int *SBR_InterfaceNodeIDs(SBR body, int *count);

#ifdef __cplusplus
}
#endif

#endif
