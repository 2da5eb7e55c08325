/** @file
 *  @brief Dense solvers: LU decomposition with pivoting, and the QZ algorithm.
 *
 *  The LU routines solve small systems; the library itself uses them at order 6. (G. H. Golub and C. F. Van Loan,
 *  Matrix Computations, chapter 3.) Matrices are arrays of n pointers to rows of n doubles.
 *
 *  The QZ routines solve A x = lambda B x in four stages, in this order: SBR_QZHESS(), SBR_QZITT(), SBR_QZVALL(),
 *  SBR_QZVECC(). (C. B. Moler and G. W. Stewart, An algorithm for generalized matrix eigenvalue problems, SIAM J.
 *  Numer. Anal. 10, 1973.) They give the results of the EISPACK routines QZHES, QZIT, QZVAL and QZVEC bit for bit. The
 *  eigenvalues are (alfr + i alfi) / beta. Arguments go by reference. The matrices a, b and z are stored by columns:
 *  element (i, j), counted from 0, stands at [i + j * nm], nm >= n. Element (n, 1), counted from 1, of b carries the
 *  tolerance of b from stage to stage when n is above 1. n below 1, nm below n and null arrays do nothing. No operation
 *  here takes a body. */
#ifndef SBRKIT_SBRKIT_LINEAR_ALGEBRA_H
#define SBRKIT_SBRKIT_LINEAR_ALGEBRA_H

#include "sbrkit/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Decomposes a matrix in place with partial pivoting by rows: L below the diagonal (its own diagonal is 1), U on and
 *  above it. Of equal pivots the first is taken.
 *  @param rows         n pointers to n doubles; the rows are exchanged in memory. A null row fails
 *  @param n            the order; 0 and 1 succeed whatever the matrix holds
 *  @param permutation  n ints: which row of the matrix stands where now; null fails
 *  @return 1; 0 for a pivot of exactly 0.0. The last pivot is not tested: a matrix singular only there passes and gives
 *          infinities or NaN in the solution. */
SBR_API int SBR_LUPDecomposition(double **rows, int n, int *permutation);

/** Solves for one right-hand side in place.
 *  @param rows         the decomposition of SBR_LUPDecomposition()
 *  @param n            its order
 *  @param permutation  its permutation
 *  @param b            n doubles: the right-hand side, then the solution
 *  @return 1; 0 for a null array and a permutation with an index outside the matrix; 0 after the allocation message,
 *          which an order below 1 gets too. */
SBR_API int SBR_LUPSolve(double **rows, int n, const int *permutation, double *b);

/** Replaces a decomposition by the inverse of its matrix.
 *  @param rows         the decomposition of SBR_LUPDecomposition(), then the inverse, in the order of the original rows
 *  @param n            its order
 *  @param permutation  its permutation
 *  @return 1; 0, with the rows as they were, as SBR_LUPSolve(). */
SBR_API int SBR_LUPInvert(double **rows, int n, const int *permutation);

/** First stage of QZ: reduces a to upper Hessenberg and b to upper triangular form.
 *  @param nm    the length of a column in memory
 *  @param n     the order
 *  @param a     n columns of nm doubles
 *  @param b     n columns of nm doubles
 *  @param matz  not 0 to accumulate the transformations for eigenvectors
 *  @param z     n columns of nm doubles, started as the identity; not used with matz 0 */
SBR_API void SBR_QZHESS(const int *nm, const int *n, double *a, double *b, const int *matz, double *z);

/** Second stage of QZ: reduces a to quasi-triangular form, by at most 30 n steps for all eigenvalues together.
 *  @param nm    the length of a column in memory
 *  @param n     the order
 *  @param a     from SBR_QZHESS()
 *  @param b     from SBR_QZHESS()
 *  @param eps1  the relative precision below which elements count as zero; 2^-53 (EIGPSN()) when not above 0
 *  @param matz  as for SBR_QZHESS()
 *  @param z     from SBR_QZHESS()
 *  @param ierr  0, or the index of the eigenvalue, from 1, at which the steps were used up */
SBR_API void SBR_QZITT(const int *nm, const int *n, double *a, double *b, const double *eps1, const int *matz,
                       double *z, int *ierr);

/** Third stage of QZ: reduces the 2 x 2 blocks that are left, and gives the eigenvalues.
 *  @param nm    the length of a column in memory
 *  @param n     the order
 *  @param a     from SBR_QZITT()
 *  @param b     from SBR_QZITT()
 *  @param alfr  n doubles: real parts of the numerators
 *  @param alfi  n doubles: imaginary parts; those of a pair stand together, the positive one first
 *  @param beta  n doubles: denominators, not negative; exactly 0 for an infinite eigenvalue
 *  @param matz  as for SBR_QZHESS()
 *  @param z     from SBR_QZITT() */
SBR_API void SBR_QZVALL(const int *nm, const int *n, double *a, double *b, double *alfr, double *alfi, double *beta,
                        const int *matz, double *z);

/** Fourth stage of QZ: turns z into the eigenvectors of the problem as it was posed.
 *  @param nm    the length of a column in memory
 *  @param n     the order
 *  @param a     from SBR_QZVALL()
 *  @param b     from SBR_QZVALL(); destroyed
 *  @param alfr  from SBR_QZVALL()
 *  @param alfi  from SBR_QZVALL()
 *  @param beta  from SBR_QZVALL()
 *  @param z     from SBR_QZVALL(), then the vectors by columns: real ones with a largest component of 1, complex pairs
 *               in two columns (real part first) with a largest |re| + |im| of 1 */
SBR_API void SBR_QZVECC(const int *nm, const int *n, double *a, double *b, double *alfr, double *alfi, double *beta,
                        double *z);

/** Halves *x until 1.0 + *x is 1.0, and stores it: 2^-53 from 1.0.
 *  @return *x; 0.0 for null. */
SBR_API double EIGPSN(double *x);

#ifdef __cplusplus
}
#endif

#endif
