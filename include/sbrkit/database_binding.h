/** @file
 *  @brief The binding of the database library: loading it, and its entries under their names.
 *
 *  Qsrv_22_2 is a shared library that nothing links to. CDB_LoadLibrary() finds it by the search policy of
 *  dynamic_library.hpp and looks its 19 entries up; each of them can then be called here under its name, with the
 *  arguments that qsrv_entries.h describes in full. Most hosts use the operations of database.h instead.
 *
 *  Results are 1 when the entry was called; what it did it says in its status. An entry that is not bound is reported,
 *  with `"The Qsrv library is not loaded, %s cannot be called."` or `"The Qsrv library has no entry %s."`, and gives 0;
 *  its status is then -1, and what it should have counted or measured is 0. Pointers are handed on as they are: none
 *  may be null but where the entry itself allows it. */
#ifndef SBRKIT_SBRKIT_DATABASE_BINDING_H
#define SBRKIT_SBRKIT_DATABASE_BINDING_H

#include "sbrkit/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Binds the database library. An entry that the library lacks is noticed when it is called.
 *  @return 1 when it is bound, or was; 0 when it cannot be loaded, without a message, or after the allocation
 *          message. */
SBR_API int CDB_LoadLibrary(void);

/** Lets the database library go; its last user ends it. Does nothing when it is not bound. */
SBR_API void CDB_UnloadLibrary(void);

/** The largest record length that the database library can handle, in words, in *maximum. See QS_GetSysBuf_entry.
 *  @return 1 or 0. */
SBR_API int CDB_QS_GetSysBuf(int *maximum, int *second, int zero);

/** The file name that the database uses for a kind of file; *length is the size of the buffer, then the length of the
 *  name. See QS_GetDbName_entry.
 *  @return 1 or 0. */
SBR_API int CDB_QS_GetDbName(const char *kind, char *name, int *length, int *status);

/** Closes the open database. See QS_DbaseCls_entry. @return 1 or 0. */
SBR_API int CDB_QS_DbaseCls(int *status);

/** Brings the database system up. See QS_DbaseBst_entry. @return 1 or 0. */
SBR_API int CDB_QS_DbaseBst(const char *message_file, const char *directory, int *status);

/** Opens a database. See QS_DbaseOld_entry. @return 1 or 0. */
SBR_API int CDB_QS_DbaseOld(const char *base, const char *options, int *status);

/** Creates a database and opens it. See QS_DbaseNew_entry. @return 1 or 0. */
SBR_API int CDB_QS_DbaseNew(const char *base, const char *command, int *status);

/** Loads the data definitions. See QS_DbaseNdl_entry. @return 1 or 0. */
SBR_API int CDB_QS_DbaseNdl(const char *directory, int *status);

/** Runs a file management command. See QS_DbCommand_entry. @return 1 or 0. */
SBR_API int CDB_QS_DbCommand(const char *command, int *status);

/** Lists the dictionary into `size` bytes, terminator included; the length of the whole list goes into *needed. See
 *  QS_GetDbdict_entry.
 *  @return 1 or 0. */
SBR_API int CDB_QS_GetDbdict(const char *command, char *buffer, int size, int *needed, int *status);

/** Attaches data blocks. See QS_AllocDatablk_entry. @return 1 or 0. */
SBR_API int CDB_QS_AllocDatablk(const char *command, int *unit, int *count, int *status);

/** Creates a data block and attaches it. See QS_CreateDatablk_entry. @return 1 or 0. */
SBR_API int CDB_QS_CreateDatablk(const char *command, int *unit, int *count, int *status);

/** Opens a unit: mode 0 reads, 1 writes, 10 reads again from the start. See Ruvo_Open_entry. @return 1 or 0. */
SBR_API int CDB_Ruvo_Open(int unit, int zero, int mode);

/** Closes a unit; 1 keeps the data block. See Ruvo_Close_entry. @return 1 or 0. */
SBR_API int CDB_Ruvo_Close(int unit, int keep);

/** Stores the trailer of a data block, seven words. See Ruvo_WriteTrailer_entry. @return 1 or 0. */
SBR_API int CDB_Ruvo_WriteTrailer(const int64_t *trailer7);

/** Goes to the start of the next record. See Ruvo_SkipRecord_entry. @return 1 or 0. */
SBR_API int CDB_Ruvo_SkipRecord(int *status, int unit);

/** The present position, two words. See Ruvo_SavePos_entry. @return 1 or 0. */
SBR_API int CDB_Ruvo_SavePos(int unit, int64_t *position2, int *first, int *second);

/** Goes to a position. See Ruvo_SetPos_entry. @return 1 or 0. */
SBR_API int CDB_Ruvo_SetPos(int unit, const int64_t *position2);

/** Reads words of the present record. See Ruvo_Read_entry. @return 1 or 0. */
SBR_API int CDB_Ruvo_Read(int *status, int unit, int64_t *buffer, int words, int zero, int *value);

/** Writes words to the present record; with end_of_record 1 and no words it ends the record. See Ruvo_Write_entry.
 *  @return 1 or 0. */
SBR_API int CDB_Ruvo_Write(int unit, const int64_t *buffer, int words, int end_of_record);

#ifdef __cplusplus
}
#endif

#endif
