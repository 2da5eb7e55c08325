/* qsrv_entries.h: the entry points of a database library.

   A body can be stored in the solver's database. The library that keeps such databases, Qsrv_22_2, is a shared library
   that sbrkit loads when a database is first used; it is found by the search policy of dynamic_library.hpp. It defines
   the 19 functions whose types stand here, with C linkage and the names given. sbrkit binds them under these types, and
   the open store that comes with sbrkit defines them under the same types.

   Rules of all entries
   --------------------
   - A status is an int that the entry always sets: 0 for success, anything else for failure. Statuses and other results
     go out through pointers; integers that go in are passed by value.
   - A word of the store has 64 bits. Integers, reals and longs take one word each; characters go four to a word, in its
     low half. A position takes two words; no position consists of two zeros.
   - A unit is the number of an attached data block, at least 1.
   - Texts that go in end with a zero byte, and may have any length.
   - The commands are texts of the form  keyword item=value item=(list) ...  ; docs/database.md lists those that are
   sent. */
#ifndef SBRKIT_QSRV_ENTRIES_H
#define SBRKIT_QSRV_ENTRIES_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* QS_GetSysBuf: the largest record length (BUFFSIZE) that the library can handle, in words, in *maximum. The second
   result is of no use to callers; the last argument is 0. May be called before anything else. */
typedef void QS_GetSysBuf_entry(int *maximum, int *second, int zero);

/* QS_GetDbName: the file name that the database uses for a kind: "F06" its print file, "DBS" a new scratch base. On
   entry *length holds the size of the buffer at name, on return the length of the name. The name ends with "_" and a
   tail; what stands before that is the base name. */
typedef void QS_GetDbName_entry(const char *kind, char *name, int *length, int *status);

/* QS_DbaseBst: brings the database system up. Gets the path of the message file and the working directory ("./"). */
typedef void QS_DbaseBst_entry(const char *message_file, const char *directory, int *status);

/* QS_DbaseOld: opens the database whose files are base.MASTER and so on. */
typedef void QS_DbaseOld_entry(const char *base, const char *options, int *status);

/* QS_DbaseNew: creates a database and opens it. The command is "init dbsbr" for a scratch base, "dbsetdel dball" for
   one that lasts. */
typedef void QS_DbaseNew_entry(const char *base, const char *command, int *status);

/* QS_DbaseNdl: loads the data definitions of the system directory; the last step of opening. */
typedef void QS_DbaseNdl_entry(const char *directory, int *status);

/* QS_DbaseCls: closes the open database; what was stored since it was opened lasts from here on. */
typedef void QS_DbaseCls_entry(int *status);

/* QS_DbCommand: runs a file management command ("assign", "dblocate"). */
typedef void QS_DbCommand_entry(const char *command, int *status);

/* QS_GetDbdict: runs a "dbdict" command. The list goes into the buffer, cut to its size and ended by a zero byte; the
   length of the whole list goes into *needed, 0 when nothing is listed. The list is a line of column names, a line that
   separates, and one line per data block, each ended by a line feed; a value stands below its column's name. */
typedef void QS_GetDbdict_entry(const char *command, char *buffer, int size, int *needed, int *status);

/* QS_AllocDatablk: attaches the data blocks that a selection names. *count is their number, *unit that of the first. */
typedef void QS_AllocDatablk_entry(const char *command, int *unit, int *count, int *status);

/* QS_CreateDatablk: creates a data block by a "dbcreate" command and attaches it. */
typedef void QS_CreateDatablk_entry(const char *command, int *unit, int *count, int *status);

/* Ruvo_Open: opens a unit at its start. Mode 0 reads, 1 writes, 10 rewinds for reading. The second argument is 0. */
typedef void Ruvo_Open_entry(int unit, int zero, int mode);

/* Ruvo_Close: closes a unit; with the second argument 1 the data block is kept. */
typedef void Ruvo_Close_entry(int unit, int keep);

/* Ruvo_WriteTrailer: stores the trailer of a data block: seven words, the first of them its unit. */
typedef void Ruvo_WriteTrailer_entry(const int64_t *trailer7);

/* Ruvo_SkipRecord: goes to the start of the next record. A status when there is none. */
typedef void Ruvo_SkipRecord_entry(int *status, int unit);

/* Ruvo_SavePos: the present position. The last two results are of no use to callers. */
typedef void Ruvo_SavePos_entry(int unit, int64_t *position2, int *first, int *second);

/* Ruvo_SetPos: goes to a position that Ruvo_SavePos gave. */
typedef void Ruvo_SetPos_entry(int unit, const int64_t *position2);

/* Ruvo_Read: reads words of the present record. A status when the record has fewer words left; then those are read and
   the rest of the buffer is zero. The last argument but one is 0, the last is of no use to callers. */
typedef void Ruvo_Read_entry(int *status, int unit, int64_t *buffer, int words, int zero, int *value);

/* Ruvo_Write: writes words to the present record. With end_of_record 1 and no words it ends the record. */
typedef void Ruvo_Write_entry(int unit, const int64_t *buffer, int words, int end_of_record);

#ifdef __cplusplus
}
#endif

#endif
