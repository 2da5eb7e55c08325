/** @file
 *  @brief The records of a data block: writing, reading, and going to and fro.
 *
 *  A data block is a sequence of records of 64-bit words. Integers, longs and reals take a word each; characters go
 *  four to a word, in its low half, the first one lowest, so that n characters take (n - 1) / 4 + 1 words. Every
 *  operation gets the data block as a db_block, by value; a host may fill start_position by DB_FSAVE().
 *
 *  Moving no data (a null array or a count below 1) is success. Writing fails only when the library is not bound or
 *  lacks the entry, which is reported, and for want of memory, with the allocation message: the database library tells
 *  no status there. Reading also fails on a status, as when the record has fewer words left; those are given, and zeros
 *  behind them. */
#ifndef SBRKIT_SBRKIT_DATABASE_RECORDS_H
#define SBRKIT_SBRKIT_DATABASE_RECORDS_H

#include "sbrkit/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** How the operations here reach a data block. */
typedef struct db_block {
  int unit;                  /**< from DB_OpenDatablk(), DB_CreateSBRblk() or DB_OpenScratch() */
  int64_t start_position[2]; /**< where DB_REWIND() goes: a position that DB_FSAVE() gave */
} db_block;

/** Appends integers to the present record, a word each.
 *  @return 1; 0 as the head of this file says. */
SBR_API int DB_WriteINTs(db_block block, const int *data, int count);

/** Appends words to the present record as they are.
 *  @return 1; 0 as the head of this file says. */
SBR_API int DB_WriteLONGs(db_block block, const int64_t *data, int count);

/** Appends reals to the present record, a word each.
 *  @return 1; 0 as the head of this file says. */
SBR_API int DB_WriteDOUBLEs(db_block block, const double *data, int count);

/** Appends characters to the present record, four to a word; a last word that is not full has zeros behind them.
 *  @return 1; 0 as the head of this file says. */
SBR_API int DB_WriteCHARs(db_block block, const char *data, int bytes);

/** Ends the present record.
 *  @return 1; 0 as the head of this file says. */
SBR_API int DB_WriteEOR(db_block block);

/** Stores the trailer of a data block, after it was closed.
 *  @param trailer7  seven words, the first of them the unit; null fails
 *  @return 1; 0 as the head of this file says. */
SBR_API int DB_WriteTrailer(const int64_t *trailer7);

/** Reads integers from the present record; of each word the low 32 bits count.
 *  @return 1; 0 as the head of this file says. */
SBR_API int DB_ReadINTs(db_block block, int *data, int count);

/** Reads reals from the present record.
 *  @return 1; 0 as the head of this file says. */
SBR_API int DB_ReadDOUBLEs(db_block block, double *data, int count);

/** The same as DB_ReadDOUBLEs(), for mode data.
 *  @return 1; 0 as the head of this file says. */
SBR_API int DB_ReadMODE(db_block block, double *data, int count);

/** Reads characters from the present record, four from a word; the rest of the last word is passed over. No terminator
 *  is added.
 *  @return 1; 0 as the head of this file says. */
SBR_API int DB_ReadCHARs(db_block block, char *data, int bytes);

/** Goes to the start of the next record.
 *  @return 1; 0 when there is none. */
SBR_API int DB_SkipRecord(db_block block);

/** Reads and drops words of the present record.
 *  @param block           the data block
 *  @param negative_count  minus the number of words; 0 does nothing
 *  @return 1; 0 on a status, and for a number above 0. */
SBR_API int DB_SeekFWD(db_block block, int negative_count);

/** The present position.
 *  @param position2  two words, never both 0; null fails
 *  @param block      the data block
 *  @return 1; 0 as the head of this file says. */
SBR_API int DB_FSAVE(int64_t *position2, db_block block);

/** Goes back to a position that DB_FSAVE() gave.
 *  @param position2  two words; null fails
 *  @param block      the data block
 *  @return 1; 0 as the head of this file says. */
SBR_API int DB_FRESTORE(const int64_t *position2, db_block block);

/** Goes to the start_position of the data block.
 *  @return 1; 0 as the head of this file says. */
SBR_API int DB_REWIND(db_block block);

#ifdef __cplusplus
}
#endif

#endif
