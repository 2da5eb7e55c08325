/* sbrkit.h: the C interface of sbrkit, the library of the Shape Body Record.

   A Shape Body Record carries one flexible body (nodes, surface faces, mode shapes, stresses, mass, inertia
   invariants, loads) from a finite-element analysis into a multibody solver. The header is usable from C99 and C++.

   Conventions of all operations
   -----------------------------
   - A body is an opaque handle. A null handle is refused: the operation reports "The database has not been
     initialized." and gives its failure result, unless its own text says otherwise.
   - Results are 1 for success and 0 for failure unless an operation says otherwise; lookups give an index or -1.
   - Node IDs and mode numbers are those of the finite-element model; node and mode indices count from 0.
   - Kinds of mode data: 0 mode shape, 1 modal stress, 2 modal strain. Parts of a mode: 0 the first three values of a
     node (translations, normal components), 1 the last three (rotations, shear components).
   - "C x M, component-major": component c of mode j stands at [c * M + j].
   - A 3 x 3 matrix is nine doubles, row by row. A symmetric six-vector of a nodal inertia is xx, yy, zz, xy, xz, yz.
   - Values are in the units of the body (SBR_Units).
   - Messages go to the handlers of SetMessageHandlers; without handlers a message is dropped.
   - One thread at a time: neither bodies nor the registry are locked. */
#ifndef SBRKIT_SBRKIT_H
#define SBRKIT_SBRKIT_H

#include <stdint.h>
#include <stdio.h>

#if defined(_WIN32)
#if defined(SBRKIT_BUILDING)
#define SBR_API __declspec(dllexport)
#else
#define SBR_API __declspec(dllimport)
#endif
#elif defined(__GNUC__)
#define SBR_API __attribute__((visibility("default")))
#else
#define SBR_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* One flexible body. Opaque; made by SBR_Create, SBR_CreateFromSBR or SBR_CreateFromSBR_SurfaceMesh. */
typedef struct SbrBody *SBR;

/* The host's receivers of messages. The text is valid during the call only. A null pointer drops the messages of its
   severity. The handler's result becomes the result of SBR_Error, SBR_Warning, SBR_Info. */
typedef struct message_handlers {
  int (*error)(const char *text);
  int (*warning)(const char *text);
  int (*info)(const char *text);
} message_handlers;

/* The number of slots of the function table. */
#define SBR_INTERFACE_SLOTS 173

/* The function table that PopulateInterface fills. A slot is cast to the type of its operation before use; the slot
   numbers are listed in docs/function-table.md and never change. */
typedef struct interface_table {
  void (*slot[SBR_INTERFACE_SLOTS])(void);
} interface_table;

/* An entry of a table of units; a table ends with a null name. */
typedef struct unit_entry {
  const char *name;
  double multiplier;
} unit_entry;

/* How the database operations reach a data block. */
typedef struct db_block {
  int unit;                  /* from DB_OpenDatablk, DB_CreateSBRblk or DB_OpenScratch */
  int64_t start_position[2]; /* where DB_REWIND goes: a position that DB_FSAVE gave */
} db_block;

/* ==========================================================================
   Body handle and registry
   ========================================================================== */

SBR_API SBR SBR_Create(int node_capacity, int mode_capacity);
SBR_API int CheckSBR(SBR body);
SBR_API int SBR_IsValid(SBR body);
SBR_API void SBR_DeReference(SBR body);
SBR_API void SBR_UnLink(SBR body);
SBR_API SBR SBR_Destroy(SBR body);
SBR_API int SBR_Terminate(void);
SBR_API void SBR_FreeMemory(void *block);
SBR_API void _terminate(void);
SBR_API const char *sbrcoarse_VersionId(void);
SBR_API const char *sbrcreate_VersionId(void);
SBR_API const char *sbrdata_VersionId(void);
SBR_API const char *sbrinvar_VersionId(void);
SBR_API const char *sbrread_VersionId(void);
SBR_API const char *sbrset_VersionId(void);
SBR_API const char *sbrtoc_VersionId(void);
SBR_API const char *sbrtools_VersionId(void);
SBR_API const char *sbrunits_VersionId(void);
SBR_API const char *sbrwrite_VersionId(void);

/* ==========================================================================
   Messages and function table
   ========================================================================== */

SBR_API int SBR_Error(const char *format, ...);
SBR_API int SBR_Warning(const char *format, ...);
SBR_API int SBR_Info(const char *format, ...);
SBR_API int SetMessageHandlers(const message_handlers *handlers);
SBR_API int PopulateInterface(interface_table *table);

/* ==========================================================================
   Stream codecs
   ========================================================================== */

/* Moves a stream to offset bytes from its start (origin 0), from where it stands (1) or from its end (2). 0 on success,
   else non-zero with the position as it was; for another origin and for a null stream 1. Positions have 64 bits. */
SBR_API int FileSeek_Win32(FILE *stream, int64_t offset, int origin);
/* Where a stream stands, -1 when that cannot be told. */
SBR_API int64_t FileTell_Win32(FILE *stream);
/* Rounds n doubles to floats, first to last: dst and src may be the same memory. Gives dst. With n at most 0 nothing
   is touched. */
SBR_API float *double2float(float *dst, const double *src, int n);
/* Widens n floats to doubles, last to first: dst and src may be the same memory. Gives dst. With n at most 0 nothing is
   touched. */
SBR_API double *float2double(double *dst, const float *src, int n);
/* Makes a fixed-width text of size bytes a zero-terminated string: its last byte becomes 0 whatever it was, and the
   blanks before it go. A null buffer or a size below 1 is left alone. */
SBR_API void terminate_string(char *buffer, int size);

/* ==========================================================================
   File layout
   ========================================================================== */

/* Block indices run from 0 to 35:
     0 version code          9 nodal inertias             18 invariant 1    27 modal loads
     1 header               10 units                      19 invariant 2    28 modal strain
     2 content summary      11 generalized stiffness      20 invariant 3    29 modal statistics
     3 nodal coordinates    12 generalized mass           21 invariant 4    30 nodal pre-stress
     4 old element faces    13 element faces              22 invariant 5    31 nodal pre-strain
     5 global properties    14 generalized damping        23 invariant 7    32 monitor points, old place
     6 eigenvalues          15 mode shape transformation  24 invariant 8    33 matrix operators
     7 mode shapes          16 interface nodes            25 invariant 9    34 nodal loads
     8 nodal masses         17 modal stress               26 modal preload  35 monitor points */

/* Non-zero when the body has a block: always for 0 to 2, else the block's byte of the content summary as it stands.
   0 for an index outside the list. */
SBR_API int SBR_Exists(SBR body, int block_index);
/* Moves the stream of the record that the body was read from to the start of a block. 0 when the body has no open
   record or not the block; nothing moves then. */
SBR_API int SBR_goto_block(SBR body, int block_index);
/* The size of a block in the record, in bytes, worked out from the counts in the block; the stream stays where it is.
   0 when the body has no open record, not the block, or when the counts cannot be read, after a report of the form
   "Problem in nodal coords block". The blocks 32 to 35 give what they could sum up before a failed read. A monitor
   point counts with one array of its load operators whatever it has, and the stress of versions 30 and 31 with mode
   words that it does not have. */
SBR_API int64_t SBR_size_of_block(SBR body, int block_index);
/* The version code, ten times the version: 60 for a current record, 31 for a new body. 0 for a null handle. */
SBR_API int SBR_Version(SBR body);
/* Sets the version code to the low byte of version and keeps the flags above it (0x100 XDR encoded, 0x200 single
   precision, 0x400 coarsened), except that a version of 10, 20, 30, 31, 40, 41, 50 or 51 clears them. */
SBR_API void SBR_SetVersion(SBR body, uint32_t version);

/* ==========================================================================
   File reader and report
   ========================================================================== */

/* The body of a record file of any version and encoding. A name that a live body was read from, byte for byte, gives
   that body with one reference more. Else the file is opened and read by SBR_ReadSBR; it stays open as long as the
   body lives, since mode vectors and invariants are fetched when they are asked for. Null, without a message of its
   own, when the file cannot be opened or read. Release with SBR_DeReference. */
SBR_API SBR SBR_CreateFromSBR(const char *file_name);
/* Fills a fresh body from a stream opened with "rb", which becomes the body's. The name is what SBR_CreateFromSBR will
   know the body by. 1 on success. 0 after a report: the body then holds what was read so far and is good for release
   only. -1 when memory ran short in the matrix operators or the monitor points, or when either block has no entry: the
   body is complete up to there, and SBR_CreateFromSBR hands it out. 0 without a report for a null handle or stream.
   Counts are checked against the size of the file before memory is taken for them.
   A file that is no record gives "Not a valid SBR format."; a block that breaks off gives a message of its own, such as
   "Problem reading Node Coordinates Data". Some findings are reported without ending the read: a node dimension other
   than 3, several masses per node (their mean is taken), masses or inertias given twice, numbers of stress modes and of
   pre-stressed nodes that differ from what was expected (strain likewise), and nodal inertias, stresses and strains of
   unknown nodes. */
SBR_API int SBR_ReadSBR(SBR body, FILE *stream, const char *file_name);
/* Read a generalized matrix from the body's record once more, over the entries in memory. Entry (row, column) counts
   from 1 in the file and from 0 in memory. 1 also when the record has no such block; 0 after a report such as "Problem
   reading Generalized Stiffness information". SBR_ReadGeneralizedDamping also takes the flag that says whether the
   damping is on principal axes. The stream stays where it is. */
SBR_API int SBR_ReadGeneralizedStiffness(SBR body);
SBR_API int SBR_ReadGeneralizedMass(SBR body);
SBR_API int SBR_ReadGeneralizedDamping(SBR body);
/* Prints one block as text, through the accessors: the values are those a caller would get, in the body's units, for
   bodies from a file and bodies under construction alike. block_number is the block index plus 1: 1 to 36. Numbers
   outside, and 33, print nothing. Node rows come in ascending order of the node IDs. The stream is flushed at the end,
   except after an allocation message; a null stream prints nothing. */
SBR_API void SBR_Contents(SBR body, int block_number, FILE *stream);

/* ==========================================================================
   Node and mode tables
   ========================================================================== */

SBR_API int SBR_AddNode(SBR body, int id);
SBR_API int SBR_AddMode(SBR body, int number);
SBR_API int SBR_LookupOrAddNode(SBR body, int id);
SBR_API int SBR_LookupOrAddMode(SBR body, int number);
SBR_API int SBR_NodeIndex(SBR body, int id);
SBR_API int SBR_ModeIndex(SBR body, int number);
SBR_API int SBR_ModeNumber(SBR body, int index);
SBR_API int SBR_ModeNodeIndex(SBR body, int kind, int id);
SBR_API int SelectedModeIndex(int number, const int *numbers, int length);
SBR_API int By_Id(const void *a, const void *b);
SBR_API int SBR_NodeCount(SBR body);
SBR_API int SBR_ModeCount(SBR body);
SBR_API int SBR_ModeNodeCount(SBR body, int kind);
SBR_API int SBR_ModeNodeID(SBR body, int kind, int position);
SBR_API int SBR_NodeID(SBR body, int index);
SBR_API int SBR_NodeCoordinates(SBR body, int index, double *xyz);
SBR_API int SBR_NodeCoordinateList(SBR body, double *xyz, int *count);
SBR_API double SBR_NodalMass(SBR body, int index);
SBR_API int SBR_NodalMassAndGeometry(SBR body, int index, double *mass, double *xyz);
SBR_API int SBR_NodalInertia(SBR body, int index, double *matrix9);
SBR_API void SBR_SwapNodesByID(SBR body, int a, int b);
SBR_API double SBR_BodySize(SBR body);
SBR_API int SBR_DiscreteMethod(SBR body);
SBR_API int SBR_GetFlexType(SBR body);

/* ==========================================================================
   Mode storage
   ========================================================================== */

SBR_API int SBR_Double_Prec(SBR body);
SBR_API void SBR_SetKeepModesInMemory(SBR body, int flag);
SBR_API void SBR_GetKeepModesInMemory(SBR body, int *flag);
SBR_API void SBR_InitializeModeMemory(SBR body);
SBR_API int SBR_ModetoMemory(SBR body, int number, int kind, const double *data, int part);
SBR_API void SBR_CleanModesInMemory(SBR body);

/* ==========================================================================
   Mode access
   ========================================================================== */

SBR_API int SBR_Mode(SBR body, int number, int kind, double *out, int part);
SBR_API int SBR_ModeByNode(SBR body, int number, int kind, int id, double *out3, int part);
SBR_API int SBR_ModeByRef(SBR body, int number, int kind, double **out, int part);
SBR_API int SBR_ModeByNodeWithoutCache(SBR body, int number, int kind, int id, double *out3, int part);
SBR_API int SBR_ModeFromMemory(SBR body, int number, int kind, double *out, int part);
SBR_API int SBR_ModeFromMemoryByNode(SBR body, int number, int kind, int id, double *out3, int part);
SBR_API int SBR_ModeFromMemoryByRef(SBR body, int number, int kind, double **out, int part);
SBR_API int SBR_Read_Mode_Double(SBR body, int number, int kind, double *out);
SBR_API int SBR_Read_Mode_Single(SBR body, int number, int kind, float *out);
SBR_API int SBR_ModeExist(SBR body, int kind);
SBR_API int SBR_SetTransformation(SBR body, const double *matrix);
SBR_API int SBR_Transformation(SBR body, double *matrix);

/* ==========================================================================
   Generalized matrices and eigenvalues
   ========================================================================== */

/* All operations of this section give 0 for a null body, without a report.

   A body may hold an eigenvalue table, and lists of entries (row, column, value) by mode index for generalized
   stiffness, mass and damping; each may be missing. One entry stands for both halves of its symmetric matrix. What is
   missing is made up: a stiffness from the table, else 0; a mass from the table, else max(stiffness, 1) * 1e-16, so
   that a mode without mass has a huge but finite frequency. */

/* The eigenvalue, frequency in hertz and in radians (per time unit of the body), generalized mass and stiffness of a
   mode; any output may be null. They are the mode's record of the eigenvalue table, or, where the table doesn't reach
   it, follow from the diagonal of the lists: eigenvalue = k / m, rad = sqrt(UCF * k / m), hz = rad / 6.28318530718.
   A negative eigenvalue gives negative frequencies. The search of a list ends at its first entry off the diagonal; an
   entry before that of the mode makes the outputs zero and the result 0. A mass entry of 0 leaves *eigenvalue
   unwritten. An unknown mode number gives 0 and leaves the outputs as they were. */
SBR_API int SBR_Eigenvalue(SBR body, int number, double *eigenvalue, double *hz, double *rad, double *mass,
                           double *stiffness);

/* The number of entries that the sparse form gives: that of the list, or the mode count when there is no list. */
SBR_API int SBR_NumberOfGenStiff(SBR body);
SBR_API int SBR_NumberOfGenMass(SBR body);
/* The number of entries of the damping list; 0 when there is no list. */
SBR_API int SBR_NumberOfGenDamp(SBR body);
/* 1 when there is a damping list with entries. */
SBR_API int SBR_GenDampExist(SBR body);

/* The entries in list order, into three arrays of SBR_NumberOfGenStiff, SBR_NumberOfGenMass or SBR_NumberOfGenDamp
   places, rows and columns as mode indices; an array that is null is left out. Without a list stiffness and mass are
   a diagonal in mode order; without a list SBR_GenDampSparse gives 0. */
SBR_API int SBR_GenStiffSparse(SBR body, double *values, int *rows, int *columns);
SBR_API int SBR_GenMassSparse(SBR body, double *values, int *rows, int *columns);
SBR_API int SBR_GenDampSparse(SBR body, double *values, int *rows, int *columns);

/* The symmetric n x n matrix, row by row; n is best the mode count. Entries outside it are passed over, and of several
   entries for one place the last counts. 0 when there are no entries, with the matrix zeroed all the same (not by
   SBR_GenMassFull for a null body, which leaves it as it was). SBR_GenDampFull needs a list. */
SBR_API int SBR_GenStiffFull(SBR body, double *matrix, int n);
SBR_API int SBR_GenMassFull(SBR body, double *matrix, int n);
SBR_API int SBR_GenDampFull(SBR body, double *matrix, int n);

/* The same for some modes: n rows of n doubles each, for the n ascending mode numbers of `selected`. Entries of other
   modes are left out; a number that is no mode has a row and column of zeros. */
SBR_API int SBR_GenStiffSelected(SBR body, double **rows, int n, const int *selected);
SBR_API int SBR_GenMassSelected(SBR body, double **rows, int n, const int *selected);

/* Says whether the modes are to be scaled to unit generalized mass when the body is orthonormalized. */
SBR_API void SBR_SetShouldMassNormalizeModes(SBR body, int flag);

/* ==========================================================================
   Modal statistics
   ========================================================================== */

/* 1 when the table of modal statistics has been made, by the reader or by one of the requests below, whatever it
   holds. 0 for a null body, without a report. */
SBR_API int SBR_ModalStatisticsExist(SBR body);

/* The largest figure of a mode over the nodes of its kind, and the ID of its node; either output may be null. The first
   request makes the table, from the statistics block of the record if there is one; a figure that is not known (its
   node ID is 0) is computed from the mode data and kept, whatever becomes of the modes later. Of equal maxima the first
   node counts; a mode of zeros has node 0 and is computed each time. With the normal components (a, b, c) and shear
   components (d, e, f) of a node:
     displacement, rotation   the length of the vector
     von Mises stress         sqrt(a^2 + b^2 + c^2 - ab - bc - ac + 3 (d^2 + e^2 + f^2))
     von Mises strain         sqrt(4/9 (a^2 + b^2 + c^2 - ab - bc - ac) + 1/3 (d^2 + e^2 + f^2))
   0 for an unknown mode number (outputs untouched), mode data that can't be had, a block that can't be read, and for a
   block with another count of modes, after "Inconsistent number of modes detected at line %d in file %s". A body
   without nodes of the kind reports "Failed to allocate memory at line %d in file %s.\n". */
SBR_API int SBR_GetMaxModeDisplacement(SBR body, int number, int *id, double *value);
SBR_API int SBR_GetMaxModeRotation(SBR body, int number, int *id, double *value);
SBR_API int SBR_GetMaxVonMisesStress(SBR body, int number, int *id, double *value);
SBR_API int SBR_GetMaxVonMisesStrain(SBR body, int number, int *id, double *value);

/* ==========================================================================
   Body construction
   ========================================================================== */

/* A translator makes a body with SBR_Create, feeds it through these operations in any order, and has it written by
   SBR_write_SBR. A node or mode not yet known is added by the call that mentions it (SBR_LookupOrAddNode,
   SBR_LookupOrAddMode); it stays when a later step of that call fails. Each setter that succeeds raises the block that
   its line names, as SBR_Exists shows. Numbers are stored as given, infinities and NaN included. */

/* Stores the header texts and the present local time as date. Texts beyond 127 (title, input file name), 15 (input file
   type) and 79 characters (comments) are cut with a warning, "Title too big: max size %ld, specified size %ld.\n
   Truncating title." and its like. Line feeds become blanks, in the caller's strings too. Each stored text is reported
   as information ("Title: %s", "Name : %s", "Type : %s", "Comment 1: %s" ...). A null text counts as empty. */
SBR_API int SBR_SetHeader(SBR body, char *title, char *input_file_name, char *input_file_type, char *comment1,
                          char *comment2, char *comment3);
/* Copies the header texts to the outputs that are not null, which need 128, 32, 128, 16, 80, 80 and 80 characters. A
   line feed at the end of the date is dropped. A null handle is ignored. */
SBR_API void SBR_Header(SBR body, char *title, char *date, char *input_file_name, char *input_file_type, char *comment1,
                        char *comment2, char *comment3);
/* Places a node, in length units of the body. Block 3. */
SBR_API int SBR_SetNodeCoordinates(SBR body, int id, double x, double y, double z);
/* Gives a node a mass, in place of the one it had. Block 8. */
SBR_API int SBR_SetNodalMass(SBR body, int id, double mass);
/* Adds to the mass of a node. Block 8. */
SBR_API int SBR_AddNodalMass(SBR body, int id, double mass);
/* Gives a node its moments and products of inertia about its own place. Block 9. */
SBR_API int SBR_SetNodalInertia(SBR body, int id, double ixx, double iyy, double izz, double ixy, double ixz,
                                double iyz);
/* Gives one entry of a node's symmetric inertia, row and column from 1 to 3; (row, column) and (column, row) are one
   entry, and the others stay (zero at first). Block 9. Rows and columns outside 1 to 3 are refused with "The inertia
   entry (%d, %d) is illegal.\nThe row and column must be 1 to 3.", and no node is made. */
SBR_API int SBR_SetNodalInertiaEntry(SBR body, int id, int row, int column, double value);
/* SBR_SetFaceList with the `count` node IDs as further int arguments. More than 256 nodes are refused with "Face too
   big: max size %ld, specified size %ld.". */
SBR_API int SBR_SetFace(SBR body, int count, ...);
/* Enters a surface face of any length. A node equal to the one kept before it is dropped, and so is a last node equal
   to the first, so that a closed polygon comes out open. Fewer than two nodes are no face: 0, without a message.
   Block 13. */
SBR_API int SBR_SetFaceList(SBR body, int count, const int *ids);
/* The number of faces and the length of the face list; both 0 for a null handle, which gives 0. Either output may be
   null. */
SBR_API int SBR_FaceListSize(SBR body, int *face_count, int *list_length);
/* Copies the face list: per face its node count, then that many node indices. 0 when there is no list. */
SBR_API int SBR_ElementFaces(SBR body, int *list);
/* Marks a node as one where the body is attached. 0 without a message for an unknown node: it is not made here. A node
   marked before stays marked once. Block 16. */
SBR_API int SBR_SetInterfaceNode(SBR body, int id);
/* The node indices of the interface nodes in order of entry, as a new array for SBR_FreeMemory; null with count 0. */
SBR_API int *SBR_InterfaceNodes(SBR body, int *count);
/* The same as node IDs. An index outside the node table has the ID 0. */
SBR_API int *SBR_InterfaceNodeIDs(SBR body, int *count);
/* SBR_SetModeVec with the six values as arguments. */
SBR_API int SBR_SetMode(SBR body, int number, int id, int kind, double v1, double v2, double v3, double v4, double v5,
                        double v6);
/* Enters the six values of a node in a mode: translations and rotations for kind 0; xx, yy, zz, xy, xz, yz components
   for kinds 1 and 2, where the node joins the kind's node list at first mention. Blocks 7, 17, 28. Number 0 with kind 1
   is SBR_SetPreStressVec, with any other kind but 0 SBR_SetPreStrainVec. The values go to a temporary file with room
   for the modes and nodes of SBR_Create, made at the first call of each kind (KTX_TMP_MOD, KTX_TMP_STR, KTX_TMP_STN or
   TMP say where). Neighbouring values may wait in memory until the file is read. 0 with a message: no room for the mode
   or the node ("Insufficient room for ..."), a file that cannot be made, a kind other than 0 to 2, a failed seek
   ("Couldn't seek to mode %ld node %ld position in temporary file"). 0 without one: a failed write, null values, a body
   whose modes lie in the record file it was read from. */
SBR_API int SBR_SetModeVec(SBR body, int number, int id, int kind, const double *six);
/* Enters one of the six values, position 0 to 5. Number 0 is an ordinary mode of any kind here. Failures as in
   SBR_SetModeVec; a failed seek names the position plus 1 as "dof". */
SBR_API int SBR_SetModeEntry(SBR body, int number, int id, int kind, int position, double value);
/* Enters the six pre-stress values of a node. The node joins the node list of modal stress. Block 30. Failure of
   memory: "Failed to allocate memory for Pre-Stress at line %d in file %s.\n". */
SBR_API int SBR_SetPreStressVec(SBR body, int id, const double *six);
/* The same for pre-strain and modal strain, block 31, "... for Pre-Strain ...". */
SBR_API int SBR_SetPreStrainVec(SBR body, int id, const double *six);
/* Appends an entry of the symmetric generalized stiffness; one entry stands for (row, column) and (column, row), both
   mode numbers. An off-diagonal entry marks the modes as not orthogonal. A mode without room is reported and its index
   stored as -1. Block 11. */
SBR_API int SBR_SetGeneralizedStiffness(SBR body, int row, int column, double value);
/* The same for the generalized mass. A diagonal entry that differs from 1 by more than 1e-8 marks the modes as not
   normalized. Block 12. */
SBR_API int SBR_SetGeneralizedMass(SBR body, int row, int column, double value);
/* The same for the generalized damping, without marks. The first entry makes a list that is not on principal axes.
   Block 14. */
SBR_API int SBR_SetGeneralizedDamping(SBR body, int row, int column, double value);

/* ==========================================================================
   Invariant entry and checks
   ========================================================================== */

/* The inertia invariants entered by hand (see "Inertia invariants"). What is entered takes the place of what the
   library would work out, and the invariant's block counts as existing. Modes are named by number and must be known:
   the arrays take the mode count of the first entry, and a mode that comes later has no place in them. An unknown mode
   reports "Mode number %d does not exist.  Requested at line %d in file %s.\n". Results are 1 or 0; a null array gives
   0. */

/* The mass. A value that is not above 0 reports "Inertia Invariant 1 must be greater than zero"; NaN passes. */
SBR_API int SBR_SetInvar1(SBR body, double value);
/* The first moment: mass times center, 3 values. */
SBR_API int SBR_SetInvar2(SBR body, const double *v3);
/* The 3 values of one mode, of invariant 3 and of invariant 4. */
SBR_API int SBR_SetInvar3(SBR body, int number, const double *v3);
SBR_API int SBR_SetInvar4(SBR body, int number, const double *v3);
/* The 3 values of a pair of modes; the mirrored pair gets their negatives. For a mode with itself the negatives remain,
   and a component above 1e-8 is warned about ("I5(%d, %d) is not zero. ..."). */
SBR_API int SBR_SetInvar5(SBR body, int row, int column, const double *v3);
/* The diagonal of the generalized mass matrix of M normalized modes: M values, each exactly 1.0, entered as by
   SBR_SetGeneralizedMass. Anything else reports "Inertia Invariant 6 must be an identity matrix."; entries made before
   it stay. Without modes the result is 1. */
SBR_API int SBR_SetInvar6(SBR body, const double *diagonal);
/* The inertia tensor about the origin as xx, yy, zz, xy, xz, yz: its off-diagonals are negative products of inertia. */
SBR_API int SBR_SetInvar7(SBR body, const double *six);
/* The 3 x 3 matrix of one mode. */
SBR_API int SBR_SetInvar8(SBR body, int number, const double *nine);
/* The 3 x 3 matrix of a pair of modes; the mirrored pair gets the transpose. For a mode with itself the upper half ends
   as a copy of the lower, and an asymmetry above 1e-8 (relative to entries above 1) is warned about. */
SBR_API int SBR_SetInvar9(SBR body, int row, int column, const double *nine);
/* Global mass, center of mass (3 values) and inertia about the origin (3 x 3, positive products of inertia). Compared
   with invariants 1, 2 and 7 at a tolerance of 1e-8; differences are warned about ("Global mass is inconsistent ...",
   "Global center of mass ...", "Global mass inertia ...") and the values stored regardless. The comparison works the
   three invariants out, so they are those of the data present at this call. 0 for a null array. */
SBR_API int SBR_SetGlobalMass(SBR body, double mass, const double *center3, const double *inertia9);
/* Runs SBR_CalculateGlobalMassFromNodeMass and hands its results out: mass, inertia about the origin (3 x 3, positive
   products of inertia), center of mass (3 values). A null output is skipped. */
SBR_API int SBR_TotalMassInertia(SBR body, double *mass, double *inertia9, double *center3);
/* Replaces the global mass properties by those of invariants 1, 2 and 7; the center of a body of mass 0 is zero. */
SBR_API int SBR_CalculateGlobalMassFromNodeMass(SBR body);

/* ==========================================================================
   Monitor points and matrix operators
   ========================================================================== */

/* A monitor point is a named result of the finite-element model with operators that give it from the modal coordinates.
   Its getters are silent; a null handle and an index outside the list are bad indices. */

/* Adds a monitor point and gives its index, -1 on failure. Types are 1 MONPNT1, 2 MONPNT2, 3 MONPNT3, 4 MONDSP1; result
   types 1 DISP, 2 STRESS, 3 STRAIN, 4 FORCE, 5 GENERAL. `component` holds one digit per component, and each digit is a
   row of the operators: 1 to 3 translational, 4 to 6 rotational. Names are cut to 8 characters, labels to 56; null
   texts and a null location count as empty. Block 35. */
SBR_API int SBR_SetMonitorPointInfo(SBR body, int type, int result_type, int component, int load_operators,
                                    const double *location3, const char *name, const char *label);
/* Enters an operator, in place of one that was there: types 1 displacement, 2 velocity, 3 acceleration have rows x M
   values, row by row, M being the present mode count; type 4 load has load_operators such matrices. 0, or -1 after
   "Invalid monitor point index: %d.\n" (a null handle too), "Invalid operator type. Valid choices are: 1 for disp
   operator, 2 for load operator.\n", or a failed allocation, which a size below 1 counts as; -1 for null data. */
SBR_API int SBR_SetMonitorPointOperator(SBR body, int point, int type, const double *data);
/* The number of monitor points; -1 for a null handle, which is reported. */
SBR_API int SBR_GetMonitorPointCount(SBR body);
/* Type, result type and component as set; -1 for a bad index. */
SBR_API int SBR_GetMonitorPointType(SBR body, int point);
SBR_API int SBR_GetMonitorPointResultType(SBR body, int point);
SBR_API int SBR_GetMonitorPointComponent(SBR body, int point);
/* The location, three coordinates; zeros for a point that was read from a file. 0, or -1. */
SBR_API int SBR_GetMonitorPointLocation(SBR body, int point, double *location3);
/* Name (9 characters with its end) and label (57); either may be null. 0, or -1. */
SBR_API int SBR_GetMonitorPointNameLabel(SBR body, int point, char *name, char *label);
/* The number of load operators; 0 for a bad index. */
SBR_API int SBR_GetMonitorPointNumLoadOperator(SBR body, int point);
/* Rows (the characters of the component) and columns (the present mode count) of an operator. 0, or -1. */
SBR_API int SBR_GetMonitorPointOperatorSize(SBR body, int point, int *rows, int *columns);
/* The bit of an operator type (1, 2, 4, 8) when the point has that operator, else 0. */
SBR_API int SBR_MonitorPointHasOperator(SBR body, int point, int type);
/* Copies an operator as it was entered, at most the values that the present sizes make. 0, or -1 without one. */
SBR_API int SBR_GetMonitorPointOperator(SBR body, int point, int type, double *data);

/* A matrix operator is a named matrix in column blocks (sub-operators), with one label per row. */

/* Adds a matrix operator without columns and gives its index, -1 on failure. The name and each label are cut to 79
   characters; null labels, as a whole or one by one, are empty. A negative row count is a failed allocation. Block 33.
 */
SBR_API int SBR_SetMatrixOperatorInfo(SBR body, const char *name, const char **row_labels, int rows);
/* Appends a column block of rows x columns values, row by row, and gives its index. The tag is cut to 7 characters. -1
   after "Invalid monitor point index: %d.\n" (these words here too; a null handle too) or a failed allocation, which a
   product below 1 counts as; -1 for null data. */
SBR_API int SBR_SetMatrixOperatorData(SBR body, int op, const char *tag, int columns, const double *data);
/* The number of matrix operators; -1 for a null handle, which is reported. */
SBR_API int SBR_GetMatrixOperatorCount(SBR body);
/* The name, 80 characters with its end. 0, or -1. */
SBR_API int SBR_GetMatrixOperatorName(SBR body, int op, char *name);
/* The labels, one string of 80 characters per row; null strings are skipped. 0, or -1. */
SBR_API int SBR_GetMatrixOperatorLabels(SBR body, int op, char **labels);
/* The rows, or -1. */
SBR_API int SBR_GetMatrixOperatorNumRows(SBR body, int op);
/* The number of column blocks; 0 for a bad index. */
SBR_API int SBR_GetMatrixOperatorNumSubOperator(SBR body, int op);
/* The columns of a block, or -1. */
SBR_API int SBR_GetMatrixOperatorSubNumCols(SBR body, int op, int sub);
/* The tag of a block, 8 characters with its end. 0, or -1. */
SBR_API int SBR_GetMatrixOperatorSubTag(SBR body, int op, int sub, char *tag);
/* The rows x columns values of a block. 0, or -1. */
SBR_API int SBR_GetMatrixOperatorSubData(SBR body, int op, int sub, double *data);

/* ==========================================================================
   Modal loads and preloads
   ========================================================================== */

/* Load cases count from 0. Setting a case makes all cases up to it. A negative case is refused with "The load case
   index %d is illegal.\nThe load case index must be non-negative.". The getters are silent; a null handle and an index
   outside the list give their failure result. Arrays given out are new and go back through SBR_FreeMemory. */

/* Gives a case its load on a mode, in the modal coordinate's own units. Cases hold one value per mode, zero at first;
   the modes that come later join. New cases are labelled "Load Case %d", counting from 1. Block 27. */
SBR_API int SBR_SetModalLoad(SBR body, int load_case, int number, double value);
/* Labels a case. Beyond 255 characters the label is cut with a warning; an empty label stores the case's number,
   counting from 1; a null label is refused. A new case needs a body with modes, else the allocation fails. */
SBR_API int SBR_SetModalLoadLabel(SBR body, int load_case, const char *label);
/* Appends a load on a node: coordinates 1 to 3 are forces, 4 to 6 moments. Another coordinate is refused with "The
   coordinate number %d is illegal.\nThe coordinate number must be 1 to 6.". Block 34. */
SBR_API int SBR_SetModalLoadNodal(SBR body, int load_case, int id, int coordinate, double value);
/* Gives the preload on a mode; all other modes have 0 at first. Block 26. */
SBR_API int SBR_SetModalPreload(SBR body, int number, double value);
/* The number of modal load cases. */
SBR_API int SBR_GetModalLoadCaseCount(SBR body);
/* Fills all 256 characters with the label and zeros. 1, or 0 for a bad index. */
SBR_API int SBR_GetModalLoadCaseLabel(SBR body, int load_case, char *label256);
/* The values of a case, one per mode, and their number; null with count 0 for a bad index. */
SBR_API double *SBR_GetModalLoad(SBR body, int load_case, int *count);
/* The preload, one value per mode, and their number; null with count 0 when there is none. */
SBR_API double *SBR_GetModalPreload(SBR body, int *count);
/* The number of nodal load cases. */
SBR_API int SBR_GetModalLoadNodalCaseCount(SBR body);
/* The entries of a nodal case; 0 for a bad index. */
SBR_API int SBR_GetModalLoadNodalCount(SBR body, int load_case);
/* Node indices, coordinates and values of the entries of a nodal case; null for an empty case and a bad index. */
SBR_API int *SBR_GetModalLoadNodalNode(SBR body, int load_case);
SBR_API int *SBR_GetModalLoadNodalCoord(SBR body, int load_case);
SBR_API double *SBR_GetModalLoadNodalLoad(SBR body, int load_case);
/* Whether a case's rigid-body entries are forces and moments on the principal axes; 0 for a bad index. */
SBR_API int SBR_ModalLoadProcessed(SBR body, int load_case);
SBR_API void SBR_SetModalLoadProcessed(SBR body, int load_case, int flag);
/* 1 when there is a preload. */
SBR_API int SBR_ModalPreloadExist(SBR body);
/* The same of the preload; 0, and not stored, as long as block 26 does not exist. */
SBR_API int SBR_ModalPreloadProcessed(SBR body);
SBR_API void SBR_SetModalPreloadProcessed(SBR body, int flag);

/* ==========================================================================
   Inertia invariants
   ========================================================================== */

/* The mass data of a flexible body with M modes, in sums over its nodes: mass m, place r, nodal inertia I, translations
   phi_j and rotations theta_j of mode j; ~a is the matrix of a x.

     1  sum m                                     1 value
     2  sum m r                                   3 values
     3  sum m phi_j                               3 x M, component-major
     4  sum m r x phi_j + I theta_j               3 x M, component-major
     5  sum m phi_j x phi_k                       3 x M per mode j, component-major in k
     6  the generalized mass matrix               M x M
     7  sum -m ~r ~r + I                          3 x 3
     8  sum m ~r ~phi_j                           3 x 3 per mode
     9  sum m ~phi_j ~phi_k                       3 x 3 per pair of modes

   (Shabana, Dynamics of Multibody Systems: inertia shape integrals.) Each is worked out once per body and kept: from
   its block of the record, else from the nodes if there are nodal masses, else (1, 2 and 7) from the global mass
   properties, else zeros. A block of another mode count reports "nm!=ModeCount at line %d in file %s" and is read as
   one of M modes; what a short file lacks is zero. Sums take the nodes in index order.

   The accessors hand out new arrays, freed with SBR_FreeMemory. Mode arguments are indices. They give null (SBR_Invar1
   0.0) for a null body, silently for M = 0 or an index out of range, and after the allocation message. Without nodes
   the sums of 3, 4 and 8 cannot be formed and end with that message, those of 5 and 9 without one. */

SBR_API double SBR_Invar1(SBR body);
SBR_API double *SBR_Invar2(SBR body);
SBR_API double *SBR_Invar3(SBR body);
SBR_API double *SBR_Invar4(SBR body);
/* 5 and 9 are worked out together: when one of them has no block, both come from the nodes and replace what either
   held. */
SBR_API double *SBR_Invar5(SBR body, int j);
/* The generalized mass matrix as SBR_GenMassFull gives it: M x M, made anew at every call. */
SBR_API double *SBR_Invar6(SBR body);
SBR_API double *SBR_Invar7(SBR body);
SBR_API double *SBR_Invar8(SBR body, int j);
SBR_API double *SBR_Invar9(SBR body, int j, int k);
/* Make whole sets: fast 1, 2, 3, 4, 6, 7, 8; full all nine; rigid 1, 2, 3, 7. Each tells its name as an information and
   reports "There is insufficient mass data to compute a ... set of mass invariants.\n..." when neither the kept values
   nor the blocks nor the nodes suffice; it goes on in any case. */
SBR_API void SBR_FastComputeInvars(SBR body);
SBR_API void SBR_FullComputeInvars(SBR body);
SBR_API void SBR_RigidComputeInvars(SBR body);
/* Adds s ~a ~b to the 3 x 3 matrix T; ~a ~b is b a^T - (a . b) E. */
SBR_API void incr_scalar_tilde_tilde(double *T9, double s, const double *a3, const double *b3);
/* Adds s a x b to the vector v. */
SBR_API void incr_scalar_tilde_vec(double *v3, double s, const double *a3, const double *b3);

/* ==========================================================================
   Rigid-body modes and principal axes
   ========================================================================== */

/* The number of rigid-body modes. With 7 modes or more: those of the first six whose signed frequency is not above a
   threshold in hertz, SBR_RIGID_BODY_THRESHOLD or else 0.001 x max(1.0, frequency of the seventh); 0 when that
   frequency is unknown. With up to 6 modes: the last position i at which the frequencies show a gap (the first below
   0.1 and the i-th above 10, or the i-th more than 10000 times the one before), 0 without one. */
SBR_API int SBR_RigidBodyModeCount(SBR body);
/* The participation of the first count modes in the six rigid motions about the origin (translations x, y, z, rotations
   x, y, z): six rows of count values, sum m (p . phi) / sum m (phi . phi) over the nodes, with magnitudes up to 1e-10
   stored as 0.0. A mode without weighted motion, or beyond the mode table, has none. The allocation message and 0 for a
   body without modes or without nodes. */
SBR_API int SBR_RigidModes2VENTA(SBR body, double **six_rows, int count);
/* Rewrites the generalized damping list, once, in six rigid-body coordinates followed by the elastic modes: the first r
   rows and columns, r the rigid-body mode count, are projected with SBR_RigidModes2VENTA. Entries of magnitude up to
   1e-10 are left out. 1 also when there is nothing to do. */
SBR_API int SBR_DampingOnPrincipalAxes(SBR body);
/* The damping matrix on the six rigid-body coordinates and s modes: rows points to s + 6 rows of s + 6 values, selected
   to s mode numbers in ascending order. Carries the damping to the principal axes first. A selected rigid-body mode is
   warned about and stays zero; a stiffness or mass matrix that is not diagonal is warned about, and its damping list is
   taken as one of the modes behind six rigid ones. The rows are zeroed even when the result is 0: no damping, or no
   memory. */
SBR_API int SBR_GenDampPrincipalAndSelected(SBR body, double **rows, int s, const int *selected);
/* Carries the modal preload and each modal load, once, to the principal axes: the entries of the rigid-body modes
   become force and moment about the origin. With nodal masses by mass-weighted sums, which write the first six entries
   whatever the rigid-body mode count r is; without them, or with KTX_MFORCE_NO_FEA_MASS in the environment, by fitting
   each rigid-body mode with a rigid motion, which writes the first r entries. Warns of each rigid entry of a preload,
   and of loads on fewer than six rigid-body modes. A projection that fails is reported and leaves its vector. */
SBR_API void SBR_RigidBodyForcesOnPrincipalAxes(SBR body);

/* ==========================================================================
   Rigid transformations
   ========================================================================== */

SBR_API int SBR_Translate(SBR body, const double *direction3, double distance);
SBR_API int SBR_Rotate(SBR body, const double *axis3, const double *point3, double angle_degrees);
SBR_API int SBR_Rotate_Origin(SBR body, const double *axis3, double angle_degrees, double *R9);
SBR_API int SBR_Mirror(SBR body, const double *normal3, const double *point3);
SBR_API int SBR_Mirror_Origin(SBR body, const double *normal3);
SBR_API void Matrix_Multiply(const double *a9, const double *b9, double *c9);
SBR_API void Tensor_Transform(double *T9, const double *R9, int sign);
SBR_API void Vector_Transform(double *v3, const double *R9, int sign);
SBR_API void Move_Vector(double *a3, const double *b3);

/* ==========================================================================
   Renumbering, permutation and node search
   ========================================================================== */

SBR_API int SBR_RenumberNodes(SBR body, int offset);
SBR_API int SBR_RenumberInterfaceNodes(SBR body, int count, const int *ids);
SBR_API int SBR_PermuteSBR(SBR body, const double *origin3, int new_mode_count, double mass_scale,
                           const double *mode_transformation, const double *rotation9);
SBR_API int SBR_PreprocessBAPSBR(SBR body);
SBR_API int SBR_ClosestNode(SBR body, const double *point3, int interface_only);
SBR_API int *SBR_ClosestNodes(SBR body, const double *point3, int how_many, int interface_only, int *count);
SBR_API int *SBR_ClosestNodesInNeighborhood(SBR body, const double *point3, double radius, int interface_only,
                                            int *count);

/* ==========================================================================
   LUP linear algebra
   ========================================================================== */

/* Small dense systems: rows points to n rows of n values, permutation to n row indices. (Golub and Van Loan, Matrix
   Computations.)

   Decomposes in place with partial pivoting by rows: L below the diagonal (its diagonal is 1), U on and above it. 0 for
   a pivot of exactly 0.0; the last pivot is not tested, nor is a matrix of order 1. */
SBR_API int SBR_LUPDecomposition(double **rows, int n, int *permutation);
/* Solves for one right-hand side in place. 0 for a null array, an order below 1 (with the allocation message) or a
   permutation with an index outside the matrix. */
SBR_API int SBR_LUPSolve(double **rows, int n, const int *permutation, double *b);
/* Replaces the decomposition by the inverse; the matrix stays as it was when the result is 0. */
SBR_API int SBR_LUPInvert(double **rows, int n, const int *permutation);

/* ==========================================================================
   Mesh reduction
   ========================================================================== */

/* Coarsening: wherever a node sits in a small and nearly flat neighbourhood, the faces around it become one polygon and
   the node leaves the surface (not the node table). Faces may then have any number of vertices.
   options: resolution, face angle in degrees, co-linear flag, IDs of nodes to preserve, then any text; one character
   of any kind between two items. "0.02,10,1,1001,1002,preserve_str" fuses within 2 % of the diagonal of all nodes and
   10 degrees, drops vertices on nearly straight sides, and keeps nodes 1001 and 1002 and those with stress or strain.
   Interface nodes are always preserved. The list of IDs ends at an item that reads as 0. Numbers use a decimal point.
   A resolution outside (0, 0.5] or an angle outside (0, 45] is replaced by 0.02 or 10, with a warning.
   Null options do nothing. A body without faces or nodes, or short memory for the tables, reports "Problem encountered
   while trimming geometry\n" and stays as it is. Progress goes to SBR_TimeMonitor and SBR_TimeMonitorStamp. */
SBR_API void SBR_TrimGeometry(SBR body, const char *options);
/* 1 when the face list counts as coarsened: it was trimmed, sketched, read as such, or holds a face of more than four
   vertices. Once 1, it stays 1. */
SBR_API int SBR_IsCoarsened(SBR body);
/* Finds the free edges of the surface, those that one face side uses, as chains of node IDs. Removes internal geometry
   first (SBR_RemoveInternalGeometry), which changes the body. A chain ends where a rim ends or branches; the first and
   last ID of a closed rim are equal. When memory is short nothing is reported and the chains stay as they were.
   include/sbrkit/free_edges.hpp gives the same search to C++ callers for any face list. */
SBR_API void SBR_GenerateFreeEdges(SBR body);
/* How many chains there are. The first call generates them; later changes of the faces do not refresh them. -1 when
   memory was too short to generate them. */
SBR_API int SBR_GetFreeEdgeCount(SBR body);
/* How many node IDs a chain has, counted from 0; 0 for a chain that does not exist. Generates the chains if need be. */
SBR_API int SBR_GetFreeEdgeSize(SBR body, int chain);
/* Copies the node IDs of a chain, SBR_GetFreeEdgeSize of them, and gives their number. 0 for a chain that does not
   exist or was not generated yet. With null ids only the number is given. */
SBR_API int SBR_GetFreeEdge(SBR body, int chain, int *ids);
/* Removes the faces that two elements share: of two equal polygons with opposite windings both go, of copies with the
   same winding the last stays. The list is left ordered by vertex count and nodes, each face turned to its largest node
   index, with its own winding. Runs once per body. An empty face list reports an allocation failure. */
SBR_API void SBR_StripCommonFaces(SBR body);
/* Replaces the face list by that of a text file: the number of faces, then per face its vertex count and that many node
   IDs, with any white space between. The body then counts as coarsened. A count of faces below 1 gives an empty list.
   A file that does not open, does not start with a number, ends too early, holds anything but numbers of 32 bits, or
   names an unknown node is refused with a warning, and the faces stay. */
SBR_API void SBR_SketchGrid(SBR body, const char *path);
/* The node indices that a reduced body needs: those of faces, interface nodes and, unless the environment variable
   KTX_SBRWRITE_OPTIONS contains "optimize_mforce_nodes", nodal loads; ascending, without repeats. A new array of *count
   indices, freed with SBR_FreeMemory; null, with *count 0, when there are none ("Missing element face information.") or
   memory is short. The list is made once and lasts until SBR_DiscardUnreferencedNodes. */
SBR_API int *SBR_GeometryNodes(SBR body, int *count);
/* Shrinks the node table to SBR_GeometryNodes, and mode shapes, modal stress and strain, pre-stress and pre-strain, and
   nodal loads with it; faces and interface nodes are renumbered. Monitor points and matrix operators stay. A kind that
   loses all its nodes is eliminated with a warning. 1 on success, and when there is no keep list. 0 after a report,
   with the body as it was; a body without modes is such a failure. */
SBR_API int SBR_DiscardUnreferencedNodes(SBR body);
/* Strips shared faces, then discards unreferenced nodes, unless faces were stripped before. Gives 1 when internal
   geometry is removed. */
SBR_API int SBR_RemoveInternalGeometry(SBR body);
/* The body of a record file with internal geometry removed. Shared by file name, apart from the body that
   SBR_CreateFromSBR gives for the same file. Null when the file cannot be opened or read. */
SBR_API SBR SBR_CreateFromSBR_SurfaceMesh(const char *file_name);
/* Rewrites the mode data of a kind for the nodes of a keep list (node indices), in its order, into a new temporary file
   that replaces the kind's store. The node table stays; SBR_DiscardUnreferencedNodes does both. Row k of pre-stress or
   pre-strain becomes the row of the k-th kept node. 1 on success and for a null list; 0 after a report, with the old
   store in use. */
SBR_API int SBR_ShortenModeFile(SBR body, const int *keep, int keep_count, int kind);
/* Drops the nodal loads on nodes that a keep list (node indices) does not hold, and renumbers the others to their place
   in it. 1 on success and for a null list. */
SBR_API int SBR_CompactModalLoadNodal(SBR body, const int *keep, int keep_count);

/* ==========================================================================
   Writing
   ========================================================================== */

/* Writes the body as a new record under the options of the environment variable KTX_SBRWRITE_OPTIONS, read once per
   call (docs/write-options.md): reductions, orthonormalization, frequency range, invariants, then every block. Gives 1
   when the record is complete. 0 after a report: the path is that of the record the body was read from, the file cannot
   be opened, options contradict each other, memory is short, or a block cannot be written ("Problem writing ..."); no
   file is left then. In both cases the steps that ran have changed the body for good. Single precision narrows each
   real to 32 bits. Memory follows the node count: one mode passes through at a time. */
SBR_API int SBR_write_SBR(SBR body, const char *path);
/* Writes the body to the solver's database as a new data block, by the steps and options of SBR_write_SBR. Path: the
   ".MASTER" file; a database that is not there yet is created. Qualifiers: as for DB_CreateSBRblk. Reals are always
   doubles; "no_xdr" has no effect, since the version word never means XDR. Each block is a record that starts with its
   number; docs/database.md describes the records. 1, when the data block is complete and the database closed; 0
   with "Unable to open %s for write. Please check the name and qualifier." or a block's message. A failed write leaves
   the database open and the data block unfinished: neither lasts, and the next DB_StartWrite begins anew. */
SBR_API int SBR_write_DB(SBR body, const char *path, const char *qualifiers);
/* Moves the reference frame to the center of mass of the nodal masses: subtracts it from all coordinates, clears the x
   component of the global center (the others stay), tells "Shifting LBRF to CM at (%.3e,%.3e,%.3e)\n", and with exactly
   six rigid-body modes moves the moments of loads and preload that stand on principal axes. Does nothing without nodes
   or mass. */
SBR_API void SBR_ShiftLBRFtoCM(SBR body);
/* Brings the modes to unit generalized mass and diagonal stiffness, and carries mode shapes, modal stresses and
   strains, modal loads, preload, damping and monitor points over. Generalized matrices with entries off the diagonal:
   solves K x = lambda M x by QZ, sorts, prints the eigenvalues through SBR_Info, and orthonormalizes the vectors
   against M by Gram-Schmidt; otherwise modes are scaled by the roots of their masses. Modes from the first infinite
   eigenvalue (marker 1.2345e20) on are dropped. Modes are numbered from 1, and the generalized mass and stiffness
   lists go; the eigenvalue table takes their place. Gives 1, also when there is nothing to do; 0 without modes, and
   after a report of short memory (of the eigenproblem: the body is unchanged), a modal load of the wrong length
   ("Failed to transform modal loads following orthonormalization.\n", modes untouched) or a failed
   SBR_TransformModes. */
SBR_API int SBR_OrthoNormalize(SBR body);
/* Rewrites a kind of mode data in new_count modes. matrix: M x M, row by row, M the mode count; row old mode, column
   new mode; null gives 1 at once. With entries off the diagonal in the generalized matrices, new mode j is the sum
   over old modes i ascending of matrix[i][j] x mode i, zero weights left out; otherwise mode i times matrix[i][i],
   where a weight of zero repeats the mode before (zeros for the first). The result lies in a new temporary file in
   the directory of TMP. 0 after a report: new_count outside 0 to M, the file cannot be made, a mode cannot be found,
   or the disk is full; the old file then stays in use. Progress goes to SBR_TimeMonitor unless
   KTX_NO_TIME_MONITOR_STAMP is set. Memory does not grow with the node count. */
SBR_API int SBR_TransformModes(SBR body, int kind, int new_count, const double *matrix);
/* Multiplies every row of the monitor points' operators by the M x M matrix from the right; of load operators those
   of as many cases as there are modal load cases. 1, also for a null matrix; 0 after a report when memory is short.
   */
SBR_API int SBR_TransformMonitorPoints(SBR body, const double *matrix);
/* Enters the generalized masses between the modes numbered 1 to first_count and the extra_count modes after them,
   from nodal masses and inertias: (i, j) and (j, i) each. The counts must add up to the mode count, else "Mode count
   mismatch while generating additional generalized masses.". The next SBR_OrthoNormalize solves the full problem. */
SBR_API void SBR_AnsysAddGenMass(SBR body, int first_count, int extra_count);
/* Makes the eigenvalue table from diagonal generalized matrices when there is none, numbers the modes from 1 and
   drops the mass and stiffness lists. A mode with a mass of at most 1e-15 gets a warning and the marker 1.2345e20; a
   mode whose matrices are not diagonal is reported and counts as one without mass. 0 after a report when memory is
   short or there are no modes. */
SBR_API int SBR_EnsureEigenTable(SBR body);
/* Gives in *scale a new array of M values, the roots of the generalized masses in the eigenvalue table, to be
   released with SBR_FreeMemory: 1.0 for a mass of 0 or a missing row, NaN for a negative mass. Rows with a mass other
   than 0 then hold the mass 1 and their eigenvalue as stiffness. 0, with *scale null, when there are no modes or no
   memory. */
SBR_API int SBR_MassNormalizationScales(SBR body, double **scale);
/* The four stages of the QZ algorithm for A x = lambda B x (Moler and Stewart, SIAM J. Numer. Anal. 10, 1973), in
   this order, with the results of the EISPACK routines QZHES, QZIT, QZVAL and QZVEC bit for bit. a, b, z: n columns
   of nm values, element (i, j) at [i + j * nm]; alfr, alfi, beta: n values. matz not 0 accumulates z, which
   SBR_QZVECC turns into eigenvectors: real ones with a largest component of 1, complex pairs in two columns (real
   part first) with a largest |re| + |im| of 1. The eigenvalues are (alfr + i alfi) / beta. eps1: relative precision,
   2^-53 when not above 0. ierr: 0, or the index of the eigenvalue at which 30 n steps were used up. Element (n, 1) of
   b carries the tolerance of b from stage to stage when n > 1. n < 1, nm < n and null arrays do nothing. */
SBR_API void SBR_QZHESS(const int *nm, const int *n, double *a, double *b, const int *matz, double *z);
SBR_API void SBR_QZITT(const int *nm, const int *n, double *a, double *b, const double *eps1, const int *matz,
                       double *z, int *ierr);
SBR_API void SBR_QZVALL(const int *nm, const int *n, double *a, double *b, double *alfr, double *alfi, double *beta,
                        const int *matz, double *z);
SBR_API void SBR_QZVECC(const int *nm, const int *n, double *a, double *b, double *alfr, double *alfi, double *beta,
                        double *z);
/* Halves x until 1.0 + x is 1.0, stores it and gives it: 2^-53 from 1.0. 0.0 for null. */
SBR_API double EIGPSN(double *x);

/* ==========================================================================
   Units
   ========================================================================== */

/* A body's unit system is four labels out of fixed tables (docs/units.md), for mass, length, time and force. The
   operations of this section send no message; a null body gives 0, or empty texts. */

/* The four labels, each into 16 characters or less; a null is left out. An empty label of the body stands for KILOGRAM,
   METER, SECOND, NEWTON. */
SBR_API void SBR_Units(SBR body, char *mass, char *length, char *time, char *force);
/* The multiplier on SI of a label in a table that ends with a null name, whatever the case of its letters: 1.0 for an
   empty label, 0.0 for an unknown or null one. */
SBR_API double SBR_UnitsDivider(const char *label, const unit_entry *table);
/* The first name of a table whose multiplier m is within a ten-thousandth: |m - multiplier| / max(m, multiplier) below
   0.0001. Null when there is none. */
SBR_API const char *SBR_UnitsLabel(double multiplier, const unit_entry *table);
/* The unit consistency factor f t^2 / (l m) of the multipliers of the body's units: it turns stiffness over mass into a
   squared frequency, and is 1 for a consistent system. Infinite or not a number when a label is unknown. */
SBR_API double SBR_UCF(SBR body);
/* A value in the body's units brought to SI. */
SBR_API double SBR_Mass2Kilogram(SBR body, double value);
SBR_API double SBR_Length2Meter(SBR body, double value);
SBR_API double SBR_Time2Second(SBR body, double value);
SBR_API double SBR_Force2Newton(SBR body, double value);
/* Multiplies n values in place by a factor and gives the array. Value and factor are split into a mantissa and a power
   of ten, so that a product is rounded in a fixed way: the result may differ from plain multiplication in its last
   bits, even for a factor of 1.0. Values that are not finite are multiplied plainly. */
SBR_API double *SBR_Convert_Units(double *values, int n, double factor);
/* Switches a body to other units. The first labels that a body gets are taken as those it stands in: nothing is scaled.
   Later ones scale what lives in memory (SBR_ScaleDatabase), and mode data as it is read. Labels are accepted by
   SBR_ConvertUnitsLabel and must stand in the table of their quantity; else the result is 0 and nothing changes. The
   same labels again give 1 and scale nothing. */
SBR_API int SBR_SetUnits(SBR body, const char *mass, const char *length, const char *time, const char *force);
/* The same by multipliers on SI, each to be found by SBR_UnitsLabel; 0 when one has no name. */
SBR_API int SBR_SetUnitsByMultiplierOnSI(SBR body, double mass, double length, double time, double force);
/* Applies the ratios of the last change of units to nodes, generalized matrices, eigenvalues, loads, global properties,
   invariants, statistics and monitor points, and forgets cached modes. SBR_SetUnits does it; a call by hand scales
   again. */
SBR_API void SBR_ScaleDatabase(SBR body);

/* ==========================================================================
   Companion operations (weak defaults in the library; a host that defines them takes over)
   ========================================================================== */

/* Judges a units label of up to 16 characters, padded with blanks or NULs, in place: non-zero when it is acceptable.
   The default accepts the names of the four unit tables in any letter case, turns trailing blanks into NULs and keeps
   the letters; it refuses everything else, an empty label and null too, and leaves it as it is. */
SBR_API int SBR_ConvertUnitsLabel(char *label16);
/* Progress of a long run: the total number of stamps to come, and one stamp. The defaults do nothing. */
SBR_API void SBR_TimeMonitor(int total);
SBR_API void SBR_TimeMonitorStamp(void);

/* ==========================================================================
   System queries
   ========================================================================== */

/* The local time in the form of ISO 8601: selector 1 the date "2024-03-01", 2 the time and the offset from Greenwich
   "09:05 +0100", any other value both with a blank between them. A negative selector also prints two lines on the
   standard output: the time in Greenwich with the offset in minutes, and the local time. Text: 64 characters; null
   drops it. */
SBR_API void SBR_localtime_ISO8601(int selector, char *text);

/* The operating system: name (the system's name and "_", as "Linux_"), version ("major_minor" of its release, as "6_1")
   and the third number of the release. Selector 2 gives "name version", 3 "name version number", 12 "name_version", 13
   "name_version_number", any other value the name. Text: 192 characters. Result 0, or 1 when the query fails. */
SBR_API int SBR_uname(int selector, char *text);

/* Processor time of the process in seconds. */
SBR_API double SBR_cputime(void);

/* ==========================================================================
   Database front and binding
   ========================================================================== */

/* Bodies can be stored as data blocks of the solver's database. The library that keeps the database, Qsrv_22_2, is
   loaded when it is needed (dynamic_library.hpp tells where it is looked for) and has the entries of qsrv_entries.h.
   One database is open at a time, and its state belongs to the process. The order of use is: start, create or open data
   blocks, records, close, trailer, end. docs/database.md tells more. */

/* Binds the database library: 1 when it is bound, or was; 0 when it cannot be loaded. An entry that the library lacks
   is noticed when it is called. */
SBR_API int CDB_LoadLibrary(void);
/* Lets the library go. */
SBR_API void CDB_UnloadLibrary(void);

/* The entries of the library under their names, with the arguments of qsrv_entries.h. Result 1 when the entry was
   called. An entry that is not bound is an error report and 0; its status is then -1, its count or length 0. */
SBR_API int CDB_QS_GetSysBuf(int *maximum, int *second, int zero);
SBR_API int CDB_QS_GetDbName(const char *kind, char *name, int *length, int *status);
SBR_API int CDB_QS_DbaseCls(int *status);
SBR_API int CDB_QS_DbaseBst(const char *message_file, const char *directory, int *status);
SBR_API int CDB_QS_DbaseOld(const char *base, const char *options, int *status);
SBR_API int CDB_QS_DbaseNew(const char *base, const char *command, int *status);
SBR_API int CDB_QS_DbaseNdl(const char *directory, int *status);
SBR_API int CDB_QS_DbCommand(const char *command, int *status);
SBR_API int CDB_QS_GetDbdict(const char *command, char *buffer, int size, int *needed, int *status);
SBR_API int CDB_QS_AllocDatablk(const char *command, int *unit, int *count, int *status);
SBR_API int CDB_QS_CreateDatablk(const char *command, int *unit, int *count, int *status);
SBR_API int CDB_Ruvo_Open(int unit, int zero, int mode);
SBR_API int CDB_Ruvo_Close(int unit, int keep);
SBR_API int CDB_Ruvo_WriteTrailer(const int64_t *trailer7);
SBR_API int CDB_Ruvo_SkipRecord(int *status, int unit);
SBR_API int CDB_Ruvo_SavePos(int unit, int64_t *position2, int *first, int *second);
SBR_API int CDB_Ruvo_SetPos(int unit, const int64_t *position2);
SBR_API int CDB_Ruvo_Read(int *status, int unit, int64_t *buffer, int words, int zero, int *value);
SBR_API int CDB_Ruvo_Write(int unit, const int64_t *buffer, int words, int end_of_record);

/* Starts a private scratch database in the current directory, from which bodies of other databases are read. 1, also
   when it is started already; 0 on a status. CDB_LoadLibrary comes first. KTX_QSRVHOME_DIR names the directory of the
   database system; without it "Cannot get KTX_QSRVHOME_DIR." The variable is looked up until it is first found. */
SBR_API int DB_StartBase(void);
/* Closes the scratch database and deletes its files. 1; 0 with "Cannot close the database, %d." when it cannot be
 * closed. */
SBR_API int DB_TermBase(void);
/* Opens the database with that ".MASTER" file for writing, or creates it when there is no such file. Binds the library
   ("Fail to load Qsrv library."); a file that fails DB_CheckDBset is not opened; a status gives "Cannot open the
   database, %d."; a name without ".MASTER" is refused. Nothing that is written lasts before DB_TermWrite. 1 or 0. */
SBR_API int DB_StartWrite(const char *path);
/* Closes the database, which makes what was written last, and lets the library go. 1; 0 with "Cannot close the
   database, %d." when it cannot be closed. */
SBR_API int DB_TermWrite(void);

/* Judges a ".MASTER" file by its time-stamp header, whether the library is bound or not. 0 when it can be used here,
   also with the warning that it could be read-only; otherwise a code with an error: -1 unknown, 2 not found, 4 not a
   regular file, 5 not opened, 6 too short, 7 not read, 10 offsets, 11 signature, 12 number form, 13 record length out
   of range (1 to that of the bound library, else to 2^31 - 1); 1 a file of another platform, 14 and 15 one of this
   platform's numbers in a form that is not its own, with 64-bit and 32-bit words. */
SBR_API int DB_CheckDBset(const char *path);

/* The room that the text of DB_BodyBrowser needs. */
#define DB_BROWSER_TEXT 1024
/* The number of bodies in a database; 0 for none and on a status; (uint32_t)-1 for an unusable file, which
   DB_CheckDBset has reported. Index, from 1: the body whose qualifiers go into the text, as "SELABEL='wing',PROJNO=1";
   with any other index the text is empty. The text is cut to DB_BROWSER_TEXT - 1 characters; null drops it. */
SBR_API uint32_t DB_BodyBrowser(const char *path, int index, char *text);

/* Creates a data block for a body and opens it for writing. Qualifiers: "projno=1,selabel='wing, left'"; null is none.
   Its unit, or 0 with "Cannot create sbr datablock, %d.". */
SBR_API int DB_CreateSBRblk(const char *qualifiers);
/* Opens body number index (from 1) of a database file for reading, in the database that DB_StartBase started. Its unit,
   and in *number the logical number that it was given; 0 with "The index is too big, %d.", "%d datablocks are
   assigned." or "Cannot open the datablock, %d.". */
SBR_API int DB_OpenDatablk(const char *path, int index, int *number);
/* Closes a data block and keeps it; unit 0 does nothing. */
SBR_API int DB_CloseDatablk(int unit);
/* Creates a scratch data block and opens it for writing; *number, from 1001, tells it apart. Its unit, or 0 with
   "Cannot open temporary datablock, %d.". */
SBR_API int DB_OpenScratch(int *number);
/* Closes a scratch data block and opens it for reading. */
SBR_API int DB_ReOpenScratch(int unit);

/* Appends words to the present record. Integers, longs and reals take a word each, characters a quarter. 1, also for no
   data; 0 only when memory is short or the library lacks the entry. */
SBR_API int DB_WriteINTs(db_block block, const int *data, int count);
SBR_API int DB_WriteLONGs(db_block block, const int64_t *data, int count);
SBR_API int DB_WriteDOUBLEs(db_block block, const double *data, int count);
SBR_API int DB_WriteCHARs(db_block block, const char *data, int bytes);
/* Ends the present record. */
SBR_API int DB_WriteEOR(db_block block);
/* Stores the trailer of a data block: seven words, the first of them its unit. */
SBR_API int DB_WriteTrailer(const int64_t *trailer7);

/* Read words of the present record. 1, or 0 on a status, as when the record has fewer words left. */
SBR_API int DB_ReadINTs(db_block block, int *data, int count);
SBR_API int DB_ReadDOUBLEs(db_block block, double *data, int count);
SBR_API int DB_ReadMODE(db_block block, double *data, int count);
SBR_API int DB_ReadCHARs(db_block block, char *data, int bytes);
/* Goes to the start of the next record; 0 when there is none. */
SBR_API int DB_SkipRecord(db_block block);
/* Reads and drops -negative_count words; 0 on a status and for a positive count. */
SBR_API int DB_SeekFWD(db_block block, int negative_count);

/* The present position of the unit, in two words; and the way back to it. DB_REWIND goes to block.start_position. */
SBR_API int DB_FSAVE(int64_t *position2, db_block block);
SBR_API int DB_FRESTORE(const int64_t *position2, db_block block);
SBR_API int DB_REWIND(db_block block);

#ifdef __cplusplus
}
#endif

#endif
