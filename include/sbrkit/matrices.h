/** @file
 *  @brief Eigenvalues and generalized matrices: stiffness, mass and damping in modal coordinates.
 *
 *  A body may hold an eigenvalue table, one row per mode, and lists of entries (row, column, value) by mode index for
 *  stiffness, mass and damping; each may be missing. One entry stands for (row, column) and (column, row). Entries are
 *  kept in the order in which they came, and none is merged with another.
 *
 *  What is missing is made up: a stiffness from the table, else 0; a mass from the table, else max(stiffness, 1) x
 *  1e-16, so that a mode without mass has a huge but finite frequency. Damping is never made up. Units: stiffness force
 *  times length, mass mass times length squared, damping time times force times length, as they follow from the body's
 *  units.
 *
 *  The damping list may stand on principal axes (rigid_modes.h): rows and columns 0 to 5 are then the six rigid-body
 *  coordinates, and the elastic modes follow from 6 on.
 *
 *  No operation here sends a message. The lists are entered in construct_modes.h. */
#ifndef SBRKIT_SBRKIT_MATRICES_H
#define SBRKIT_SBRKIT_MATRICES_H

#include "sbrkit/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** The eigenvalue and the frequencies of a mode. Null body: silent.
 *
 *  They are the mode's row of the eigenvalue table. Where the table does not reach the mode, they follow from the
 *  diagonal of the lists: eigenvalue = k / m, rad = sqrt(UCF x k / m) with UCF of SBR_UCF(), hz = rad / 6.28318530718.
 *  A negative eigenvalue gives negative frequencies, -sqrt of its magnitude. The walk through a list ends at the mode's
 *  entry or at the first entry off the diagonal: when that comes first, the outputs are zero and the result 0. With a
 *  mass entry of 0 the eigenvalue is not written.
 *  @param body        the body
 *  @param number      the mode number
 *  @param eigenvalue  stiffness over mass, without UCF
 *  @param hz          frequency in hertz (per time unit of the body)
 *  @param rad         frequency in radians per time unit
 *  @param mass        generalized mass
 *  @param stiffness   generalized stiffness. Each output may be null
 *  @return 1; 0 for an unknown number, with the outputs untouched, and for matrices that are not diagonal, with
 *          zeros. */
SBR_API int SBR_Eigenvalue(SBR body, int number, double *eigenvalue, double *hz, double *rad, double *mass,
                           double *stiffness);

/** How many entries SBR_GenStiffSparse() gives. Null body: silent.
 *  @return the length of the stiffness list; M when there is no list; 0 for null. */
SBR_API int SBR_NumberOfGenStiff(SBR body);

/** How many entries SBR_GenMassSparse() gives. Null body: silent.
 *  @return the length of the mass list; M when there is no list; 0 for null. */
SBR_API int SBR_NumberOfGenMass(SBR body);

/** How many entries SBR_GenDampSparse() gives. Null body: silent.
 *  @return the length of the damping list; 0 when there is no list, and for null. */
SBR_API int SBR_NumberOfGenDamp(SBR body);

/** Whether there is a damping list with entries. Null body: silent.
 *  @return 1 or 0. */
SBR_API int SBR_GenDampExist(SBR body);

/** The stiffness as entries, in list order; without a list a diagonal in mode order. Null body: silent.
 *  @param body     the body
 *  @param values   SBR_NumberOfGenStiff() doubles
 *  @param rows     as many mode indices
 *  @param columns  as many mode indices. Each output may be null
 *  @return 1; 0 for null. */
SBR_API int SBR_GenStiffSparse(SBR body, double *values, int *rows, int *columns);

/** The mass as entries, in list order; without a list a diagonal in mode order, from the eigenvalue table or made up.
 *  What would have to be made up from a stiffness list that is not diagonal up to the mode is 0. Null body: silent.
 *  @param body     the body
 *  @param values   SBR_NumberOfGenMass() doubles
 *  @param rows     as many mode indices
 *  @param columns  as many mode indices. Each output may be null
 *  @return 1; 0 for null. */
SBR_API int SBR_GenMassSparse(SBR body, double *values, int *rows, int *columns);

/** The damping as entries, in list order. Null body: silent.
 *  @param body     the body
 *  @param values   SBR_NumberOfGenDamp() doubles
 *  @param rows     as many indices, of modes or on principal axes
 *  @param columns  as many indices. Each output may be null
 *  @return 1; 0 without a list. */
SBR_API int SBR_GenDampSparse(SBR body, double *values, int *rows, int *columns);

/** The stiffness as a full symmetric matrix. Entries outside it are passed over, and of several entries for one place
 *  the last counts. Null body: silent.
 *  @param body    the body
 *  @param matrix  n x n doubles, row by row, zeroed first; null fails
 *  @param n       the order, best M
 *  @return 1; 0, with zeros, when there are no entries and for a null body. */
SBR_API int SBR_GenStiffFull(SBR body, double *matrix, int n);

/** The mass as a full symmetric matrix, as SBR_GenStiffFull(). Null body: silent.
 *  @param body    the body
 *  @param matrix  n x n doubles, row by row, zeroed first; null fails
 *  @param n       the order, best M
 *  @return 1; 0, with zeros, when there are no entries; 0, with nothing written, for a null body. */
SBR_API int SBR_GenMassFull(SBR body, double *matrix, int n);

/** The damping as a full symmetric matrix, as SBR_GenStiffFull(). Null body: silent.
 *  @param body    the body
 *  @param matrix  n x n doubles, row by row, zeroed first; null fails
 *  @param n       the order: M, or M - r + 6 on principal axes with r rigid-body modes
 *  @return 1; 0, with zeros, when there is no list with entries and for a null body. */
SBR_API int SBR_GenDampFull(SBR body, double *matrix, int n);

/** The stiffness matrix of some modes. Entries of other modes are left out; a selected number that is no mode has a row
 *  and a column of zeros. Null body: silent.
 *  @param body      the body
 *  @param rows      n pointers to n doubles each, zeroed first; null rows are skipped
 *  @param n         how many modes
 *  @param selected  their numbers, ascending
 *  @return 1; 0, with zeros, when there are no entries and for a null body. */
SBR_API int SBR_GenStiffSelected(SBR body, double **rows, int n, const int *selected);

/** The mass matrix of some modes, as SBR_GenStiffSelected(). Null body: silent.
 *  @param body      the body
 *  @param rows      n pointers to n doubles each, zeroed first; null rows are skipped
 *  @param n         how many modes
 *  @param selected  their numbers, ascending
 *  @return 1; 0, with zeros, when there are no entries and for a null body. */
SBR_API int SBR_GenMassSelected(SBR body, double **rows, int n, const int *selected);

/** Says whether SBR_OrthoNormalize() has to scale the modes to unit generalized mass (not 0) or not. A mass entry on
 *  the diagonal that differs from 1 says so too (SBR_SetGeneralizedMass()), until this call says otherwise. Null body:
 *  silent. */
SBR_API void SBR_SetShouldMassNormalizeModes(SBR body, int flag);

#ifdef __cplusplus
}
#endif

#endif
