/** @file
 *  @brief Monitor points: named results of the finite-element model, and the operators that recover them.
 *
 *  A monitor point has up to four operators, by type: 1 displacement, 2 velocity, 3 acceleration, each a matrix that
 *  gives the result from the modal coordinates; 4 load, as many such matrices one behind the other as the point has
 *  load operators. A matrix has one row per digit of the point's component number and one column per mode, and is
 *  stored row by row. Operators are best entered when all modes are there: they take the mode count of their entry, and
 *  when modes are dropped the columns of those that stay are kept.
 *
 *  Points count from 0, in order of entry. Getters send no message; a point outside the list is a bad index. Operators
 *  are carried along by orthonormalization and by changes of units; locations are not stored in a record. */
#ifndef SBRKIT_SBRKIT_MONITOR_POINTS_H
#define SBRKIT_SBRKIT_MONITOR_POINTS_H

#include "sbrkit/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Adds a monitor point without operators. Block 35. Null body: reported.
 *  @param body            the body
 *  @param type            1 MONPNT1, 2 MONPNT2, 3 MONPNT3, 4 MONDSP1; not tested
 *  @param result_type     1 DISP, 2 STRESS, 3 STRAIN, 4 FORCE, 5 GENERAL; not tested. Units of the operators follow
 *                         from it
 *  @param component       one digit per component, each a row of the operators: 1 to 3 translational, 4 to 6 rotational
 *  @param load_operators  how many matrices the load operator has
 *  @param location3       3 doubles in length units; null counts as zeros
 *  @param name            up to 8 characters, what is longer is cut; null counts as empty
 *  @param label           up to 56 characters, what is longer is cut; null counts as empty
 *  @return the index of the point; -1 after the allocation message. */
SBR_API int SBR_SetMonitorPointInfo(SBR body, int type, int result_type, int component, int load_operators,
                                    const double *location3, const char *name, const char *label);

/** Enters an operator, in place of one that was there, which goes even when the new one cannot be had. Null body:
 *  silent but for the message of a bad index.
 *  @param body   the body
 *  @param point  the point
 *  @param type   1 to 4
 *  @param data   rows x M doubles, row by row; for type 4 load_operators times that; null fails
 *  @return 0; -1 after `"Invalid monitor point index: %d.\n"`,
 *          `"Invalid operator type. Valid choices are: 1 for disp operator, 2 for load operator.\n"` (the words name
 *          two of the four), or the allocation message, which a size below 1 gets too. */
SBR_API int SBR_SetMonitorPointOperator(SBR body, int point, int type, const double *data);

/** The number of monitor points. Null body: reported.
 *  @return the number; -1 for null. */
SBR_API int SBR_GetMonitorPointCount(SBR body);

/** The type of a point, as it was set. Null body: silent.
 *  @return the type; -1 for a bad index. */
SBR_API int SBR_GetMonitorPointType(SBR body, int point);

/** The result type of a point, as it was set. Null body: silent.
 *  @return the result type; -1 for a bad index. */
SBR_API int SBR_GetMonitorPointResultType(SBR body, int point);

/** The component number of a point, as it was set. Null body: silent.
 *  @return the number; -1 for a bad index. */
SBR_API int SBR_GetMonitorPointComponent(SBR body, int point);

/** The location of a point. Null body: silent.
 *  @param body       the body
 *  @param point      the point
 *  @param location3  3 doubles; zeros for a point that was read from a file; null fails
 *  @return 0; -1, with nothing written, for a bad index. */
SBR_API int SBR_GetMonitorPointLocation(SBR body, int point, double *location3);

/** Name and label of a point. Null body: silent.
 *  @param body   the body
 *  @param point  the point
 *  @param name   9 bytes: 8 characters and the terminator; may be null
 *  @param label  57 bytes: 56 characters and the terminator; may be null
 *  @return 0; -1, with nothing written, for a bad index. */
SBR_API int SBR_GetMonitorPointNameLabel(SBR body, int point, char *name, char *label);

/** The number of load operators of a point, as it was set. Null body: silent.
 *  @return the number; 0, not -1, for a bad index. */
SBR_API int SBR_GetMonitorPointNumLoadOperator(SBR body, int point);

/** The size of the matrices of a point. Null body: silent.
 *  @param body     the body
 *  @param point    the point
 *  @param rows     the characters of the component number; may be null
 *  @param columns  M; may be null
 *  @return 0; -1, with nothing written, for a bad index. */
SBR_API int SBR_GetMonitorPointOperatorSize(SBR body, int point, int *rows, int *columns);

/** Whether a point has an operator. Null body: silent.
 *  @return the bit of the type (1, 2, 4, 8 for types 1 to 4) when it has; else 0, also for a bad index or type. */
SBR_API int SBR_MonitorPointHasOperator(SBR body, int point, int type);

/** Copies an operator. Null body: silent.
 *  @param body   the body
 *  @param point  the point
 *  @param type   1 to 4
 *  @param data   rows x columns doubles (SBR_GetMonitorPointOperatorSize()), row by row; for type 4
 *                SBR_GetMonitorPointNumLoadOperator() times that. What was entered over fewer modes is written as far
 *                as it goes; null fails
 *  @return 0; -1, with nothing written, when the point does not have it. */
SBR_API int SBR_GetMonitorPointOperator(SBR body, int point, int type, double *data);

#ifdef __cplusplus
}
#endif

#endif
