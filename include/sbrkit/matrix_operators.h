/** @file
 *  @brief Matrix operators: named matrices in column blocks, with one label per row.
 *
 *  A translator hands on whatever it wants in them; the library stores them, and scales and transforms nothing of them.
 *  An operator's column blocks (sub-operators) have a tag and rows x columns values, row by row. Operators and column
 *  blocks count from 0, in order of entry.
 *
 *  A record has fields of 8 characters for a name or a tag and of 80 for a row label, which a text may fill whole.
 *  Getters send no message; an operator or block outside its list is a bad index. */
#ifndef SBRKIT_SBRKIT_MATRIX_OPERATORS_H
#define SBRKIT_SBRKIT_MATRIX_OPERATORS_H

#include "sbrkit/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Adds a matrix operator without columns. Block 33. Null body: reported.
 *  @param body        the body
 *  @param name        up to 79 characters, what is longer is cut; a record keeps the first 8. Null counts as empty
 *  @param row_labels  `rows` texts of up to 80 characters, what is longer is cut; null, as a whole or one by one,
 *                     counts as empty
 *  @param rows        how many rows
 *  @return the index of the operator; -1 after the allocation message, which a negative count gets too. */
SBR_API int SBR_SetMatrixOperatorInfo(SBR body, const char *name, const char **row_labels, int rows);

/** Appends a column block to an operator. Null body: silent but for the message of a bad index.
 *  @param body     the body
 *  @param op       the operator
 *  @param tag      up to 8 characters, what is longer is cut; null counts as empty
 *  @param columns  how many columns
 *  @param data     rows x columns doubles, row by row; null fails
 *  @return the index of the block; -1 after `"Invalid monitor point index: %d.\n"` (these words here too), or the
 *          allocation message, which a size below 1 gets too. */
SBR_API int SBR_SetMatrixOperatorData(SBR body, int op, const char *tag, int columns, const double *data);

/** The number of matrix operators. Null body: reported.
 *  @return the number; -1 for null. */
SBR_API int SBR_GetMatrixOperatorCount(SBR body);

/** The name of an operator. Null body: silent.
 *  @param body  the body
 *  @param op    the operator
 *  @param name  80 bytes, terminator included; null fails
 *  @return 0; -1, with nothing written, for a bad index. */
SBR_API int SBR_GetMatrixOperatorName(SBR body, int op, char *name);

/** The row labels of an operator. Null body: silent.
 *  @param body    the body
 *  @param op      the operator
 *  @param labels  one buffer of 80 bytes per row; null buffers are skipped. A label may fill all 80, and then there is
 *                 no terminator among them: give 81 bytes and make the last one zero. Null fails
 *  @return 0; -1, with nothing written, for a bad index. */
SBR_API int SBR_GetMatrixOperatorLabels(SBR body, int op, char **labels);

/** The rows of an operator. Null body: silent.
 *  @return the number; -1 for a bad index. */
SBR_API int SBR_GetMatrixOperatorNumRows(SBR body, int op);

/** The number of column blocks of an operator. Null body: silent.
 *  @return the number; 0, not -1, for a bad index. */
SBR_API int SBR_GetMatrixOperatorNumSubOperator(SBR body, int op);

/** The columns of a block. Null body: silent.
 *  @return the number; -1 for a bad index. */
SBR_API int SBR_GetMatrixOperatorSubNumCols(SBR body, int op, int sub);

/** The tag of a block. Null body: silent.
 *  @param body  the body
 *  @param op    the operator
 *  @param sub   the block
 *  @param tag   8 bytes. A tag may fill all 8, and then there is no terminator among them: give 9 bytes and make the
 *               last one zero. Null fails
 *  @return 0; -1, with nothing written, for a bad index. */
SBR_API int SBR_GetMatrixOperatorSubTag(SBR body, int op, int sub, char *tag);

/** The values of a block. Null body: silent.
 *  @param body  the body
 *  @param op    the operator
 *  @param sub   the block
 *  @param data  rows x columns doubles, row by row; null fails
 *  @return 0; -1, with nothing written, for a bad index. */
SBR_API int SBR_GetMatrixOperatorSubData(SBR body, int op, int sub, double *data);

#ifdef __cplusplus
}
#endif

#endif
