/** @file
 *  @brief The entry points of a database library.
 *
 *  A body can be stored in the solver's database. The library that keeps such databases, Qsrv_22_2, is a shared library
 *  that sbrkit loads when a database is first used; it is found by the search policy of dynamic_library.hpp. It defines
 *  the 19 functions whose types stand here, with C linkage and the names given, less their "_entry". sbrkit binds them
 *  under these types, and the open store that comes with sbrkit defines them under the same types.
 *
 *  Rules of all entries:
 *
 *  - A status is an int that the entry always sets: 0 for success, anything else for failure. Statuses and other
 *    results go out through pointers, none of them null; integers that go in are passed by value.
 *  - A word of the store has 64 bits. Integers, reals and longs take one word each; characters go four to a word, in
 *    its low half. A position takes two words; no position consists of two zeros.
 *  - A unit is the number of an attached data block, at least 1.
 *  - Texts that go in end with a zero byte, and may have any length.
 *  - The commands are texts of the form "keyword item=value item=(list) ..."; docs/database.md lists those that are
 *    sent.
 *  - One thread at a time calls them, and one database is open at a time. */
#ifndef SBRKIT_SBRKIT_QSRV_ENTRIES_H
#define SBRKIT_SBRKIT_QSRV_ENTRIES_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** QS_GetSysBuf: the limits of the library. May be called before anything else.
 *  @param maximum  the largest record length (BUFFSIZE) that the library can handle, in words
 *  @param second   of no use to callers, but set
 *  @param zero     0 */
typedef void QS_GetSysBuf_entry(int *maximum, int *second, int zero);

/** QS_GetDbName: the file name that the database uses for a kind of file.
 *  @param kind    "F06" the print file of the open database, "DBS" a new scratch base
 *  @param name    the name. It ends with "_" and a tail; what stands before that is the base name
 *  @param length  on entry the size of the buffer at name, on return the length of the name
 *  @param status  the status */
typedef void QS_GetDbName_entry(const char *kind, char *name, int *length, int *status);

/** QS_DbaseBst: brings the database system up, ahead of QS_DbaseOld or QS_DbaseNew.
 *  @param message_file  the path of the message file
 *  @param directory     the working directory, "./"
 *  @param status        the status */
typedef void QS_DbaseBst_entry(const char *message_file, const char *directory, int *status);

/** QS_DbaseOld: opens a database.
 *  @param base     the name ahead of ".MASTER" and the other endings
 *  @param options  an empty text
 *  @param status   the status */
typedef void QS_DbaseOld_entry(const char *base, const char *options, int *status);

/** QS_DbaseNew: creates a database and opens it.
 *  @param base     the name ahead of ".MASTER" and the other endings
 *  @param command  "init dbsbr" for a scratch base, "dbsetdel dball" for one that lasts
 *  @param status   the status */
typedef void QS_DbaseNew_entry(const char *base, const char *command, int *status);

/** QS_DbaseNdl: loads the data definitions; the last step of opening.
 *  @param directory  the system directory
 *  @param status     the status */
typedef void QS_DbaseNdl_entry(const char *directory, int *status);

/** QS_DbaseCls: closes the open database; what was stored since it was opened lasts from here on.
 *  @param status  the status */
typedef void QS_DbaseCls_entry(int *status);

/** QS_DbCommand: runs a file management command ("assign", "dblocate").
 *  @param command  the command
 *  @param status   the status */
typedef void QS_DbCommand_entry(const char *command, int *status);

/** QS_GetDbdict: runs a "dbdict" command. The list is a line of column names, a line that separates, and one line per
 *  data block, each ended by a line feed; a value stands below its column's name.
 *  @param command  the command
 *  @param buffer   the list, cut to the size and ended by a zero byte
 *  @param size     the bytes at buffer, at least 1
 *  @param needed   the length of the whole list; 0 when nothing is listed
 *  @param status   the status */
typedef void QS_GetDbdict_entry(const char *command, char *buffer, int size, int *needed, int *status);

/** QS_AllocDatablk: attaches the data blocks that a selection names.
 *  @param command  the selection
 *  @param unit     the unit of the first of them
 *  @param count    how many they are
 *  @param status   the status */
typedef void QS_AllocDatablk_entry(const char *command, int *unit, int *count, int *status);

/** QS_CreateDatablk: creates a data block by a "dbcreate" command and attaches it.
 *  @param command  the command
 *  @param unit     its unit
 *  @param count    1
 *  @param status   the status */
typedef void QS_CreateDatablk_entry(const char *command, int *unit, int *count, int *status);

/** Ruvo_Open: opens a unit at its start.
 *  @param unit  the unit
 *  @param zero  0
 *  @param mode  0 reads, 1 writes, 10 rewinds for reading */
typedef void Ruvo_Open_entry(int unit, int zero, int mode);

/** Ruvo_Close: closes a unit.
 *  @param unit  the unit
 *  @param keep  1: the data block is kept */
typedef void Ruvo_Close_entry(int unit, int keep);

/** Ruvo_WriteTrailer: stores the trailer of a data block.
 *  @param trailer7  seven words, the first of them the unit */
typedef void Ruvo_WriteTrailer_entry(const int64_t *trailer7);

/** Ruvo_SkipRecord: goes to the start of the next record.
 *  @param status  not 0 when there is none
 *  @param unit    the unit */
typedef void Ruvo_SkipRecord_entry(int *status, int unit);

/** Ruvo_SavePos: the present position.
 *  @param unit       the unit
 *  @param position2  two words
 *  @param first      of no use to callers, but set
 *  @param second     likewise */
typedef void Ruvo_SavePos_entry(int unit, int64_t *position2, int *first, int *second);

/** Ruvo_SetPos: goes to a position that Ruvo_SavePos gave.
 *  @param unit       the unit
 *  @param position2  two words */
typedef void Ruvo_SetPos_entry(int unit, const int64_t *position2);

/** Ruvo_Read: reads words of the present record.
 *  @param status  not 0 when the record has fewer words left
 *  @param unit    the unit
 *  @param buffer  the words; those that the record lacks are zero
 *  @param words   how many
 *  @param zero    0
 *  @param value   of no use to callers, but set */
typedef void Ruvo_Read_entry(int *status, int unit, int64_t *buffer, int words, int zero, int *value);

/** Ruvo_Write: writes words to the present record.
 *  @param unit           the unit
 *  @param buffer         the words; null without any
 *  @param words          how many
 *  @param end_of_record  1, with no words: ends the record */
typedef void Ruvo_Write_entry(int unit, const int64_t *buffer, int words, int end_of_record);

#ifdef __cplusplus
}
#endif

#endif
