/** @file
 *  @brief The solver's database: starting and ending it, its bodies, its data blocks, and the check of a file.
 *
 *  Bodies can be stored as data blocks of the solver's database; SBR_write_DB() does so in one call. The library that
 *  keeps the database, Qsrv_22_2, is loaded when it is needed: dynamic_library.hpp tells where it is looked for,
 *  qsrv_entries.h what it has to define, and docs/database.md more than this file.
 *
 *  One database is open at a time, and its state belongs to the process: nothing is locked. The order of use is: start
 *  (DB_StartBase() to read, DB_StartWrite() to write), create or open data blocks, records (database_records.h), close,
 *  trailer, end (DB_TermBase(), DB_TermWrite()). The environment variable `KTX_QSRVHOME_DIR` names the directory of the
 *  database system; without it a start reports `"Cannot get KTX_QSRVHOME_DIR."` and fails. The variable is looked up
 *  until it is first found. A failure that comes from the database library has a status, which the messages show. */
#ifndef SBRKIT_SBRKIT_DATABASE_H
#define SBRKIT_SBRKIT_DATABASE_H

#include "sbrkit/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** The bytes that the text of DB_BodyBrowser() needs, terminator included. */
#define DB_BROWSER_TEXT 1024

/** Starts a private scratch database in the current directory, from which bodies of other databases are read. The
 *  library has to be bound: CDB_LoadLibrary() comes first. Its name is the database library's own, cut at its last "_".
 *  @return 1, also when it is started already; 0 on a status, or without `KTX_QSRVHOME_DIR`. */
SBR_API int DB_StartBase(void);

/** Closes the scratch database and deletes its files. The library stays bound.
 *  @return 1, also when none is started; 0 after `"Cannot close the database, %d."`. */
SBR_API int DB_TermBase(void);

/** Opens a database for writing, or creates it when there is no such file. Binds the library. Nothing that is written
 *  lasts before DB_TermWrite().
 *  @param path  the ".MASTER" file
 *  @return 1. 0 after `"Fail to load Qsrv library."`, `"The database file name %s does not contain %s."`,
 *          `"Cannot get KTX_QSRVHOME_DIR."`, a message of DB_CheckDBset(), or `"Cannot open the database, %d."`. */
SBR_API int DB_StartWrite(const char *path);

/** Closes the database, which makes what was written last, and lets the library go.
 *  @return 1, also when none is started; 0 after `"Cannot close the database, %d."`. */
SBR_API int DB_TermWrite(void);

/** Judges a ".MASTER" file by its time-stamp header, whether the library is bound or not.
 *
 *  - code 0: usable here; also after the warning `"QS DB file %s could be read-only."`
 *  - code -1: `"An unknown error was encountered while opening QS DB file %s."`
 *  - code 1: a file of another platform; codes 14 and 15: one with this platform's numbers in a form that is not its
 *    own, with 64-bit and 32-bit words. `"The specified QS DB file is valid but its numeric format \nis not compatible
 *    with this platform. ..."`
 *  - code 2: `"The QS DB file %s could not be found."`
 *  - code 4: `"Specified QS DB file %s not a normal/regular file."`
 *  - code 5: `"Unable to open the QS DB file %s."`
 *  - code 6: `"QS DB file %s is too short."`
 *  - code 7: `"Read failed for the QS DB file %s."`
 *  - codes 10 to 13: `"The specified QS DB file exists. ..."` with a reason: the offset of the signature, the
 *    signature, the form of numbers, the record length (legal are 1 to the limit of the bound library, 2^31 - 1 without
 *    one)
 *
 *  @param path  the file
 *  @return the code. */
SBR_API int DB_CheckDBset(const char *path);

/** Lists the bodies of a database. The library has to be bound and a database started.
 *  @param path   the ".MASTER" file
 *  @param index  a body, from 1; with any other number the text is empty
 *  @param text   DB_BROWSER_TEXT bytes: the body's qualifiers, as "SELABEL='wing',PROJNO=1", cut to what fits; null
 *                drops it
 *  @return the number of bodies; 0 for none and on a status; (uint32_t)-1 for an unusable file, which DB_CheckDBset()
 *          has reported. */
SBR_API uint32_t DB_BodyBrowser(const char *path, int index, char *text);

/** Creates a data block for a body and opens it for writing.
 *  @param qualifiers  as "projno=1,selabel='wing, left'": commas part them, except between single quotes; null is none
 *  @return its unit, at least 1; 0 after `"Cannot create sbr datablock, %d."` or the allocation message. */
SBR_API int DB_CreateSBRblk(const char *qualifiers);

/** Opens a body of a database file for reading, in the database that DB_StartBase() started.
 *  @param path    the ".MASTER" file
 *  @param index   the body, from 1, in the order of DB_BodyBrowser()
 *  @param number  the logical number that the body was given; may be null
 *  @return its unit, at least 1; 0 without bodies, after DB_CheckDBset()'s report, `"The index is too small, %d."`,
 *          `"The index is too big, %d."`, `"%d datablocks are assigned."`, `"Cannot open the datablock, %d."` or the
 *          allocation message. */
SBR_API int DB_OpenDatablk(const char *path, int index, int *number);

/** Closes a data block and keeps it; unit 0 does nothing.
 *  @return 1; 0 when the library is not bound or lacks the entry, which is reported. */
SBR_API int DB_CloseDatablk(int unit);

/** Creates a scratch data block and opens it for writing.
 *  @param number  its number, from 1001, which rises as long as the process lives; may be null
 *  @return its unit, at least 1; 0 after `"Cannot open temporary datablock, %d."` or the allocation message. */
SBR_API int DB_OpenScratch(int *number);

/** Closes a scratch data block and opens it again, at its start, for reading.
 *  @return 1; 0 when the library is not bound or lacks an entry, which is reported. */
SBR_API int DB_ReOpenScratch(int unit);

#ifdef __cplusplus
}
#endif

#endif
