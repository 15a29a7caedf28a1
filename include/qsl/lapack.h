/**
 * @file lapack.h
 * @brief Dense LAPACK: LU factorisation and the solution of linear systems.
 *
 * A matrix is a base pointer and a leading dimension: the distance, in elements, between two
 * columns (column-major, the order of the Fortran-style routine) or two rows (row-major). What lies
 * between the end of one column or row and the start of the next is neither read nor written.
 * Arrays may have any alignment that is a multiple of 4.
 *
 * The factorisation is A = P * L * U with partial pivoting: L has ones on its diagonal and is
 * stored below it, U on the diagonal and above. Entry i of `ipiv` (from 1) says that row i was
 * exchanged with row ipiv[i], in this order; of equally large candidates the uppermost becomes the
 * pivot. It is backward stable: the computed L and U are those of a matrix that differs from A by
 * at most a small multiple of n * eps * |A| * (growth of the elements), and a solution x leaves a
 * residual |b - A * x| of at most a small multiple of n * eps * |A| * |x|, nearly always.
 *
 * The functions may be called from several threads at once on different data. A call in row-major
 * order works on column-major copies. Otherwise there are the work buffers of the matrix product
 * and, for wide bands, a work area of LAPACKE_zgbsv() (see there); without memory for them the
 * functions do without, with the same results up to rounding.
 *
 * References: E. Anderson et al., "LAPACK Users' Guide", 3rd edition, SIAM 1999. G. H. Golub,
 * C. F. Van Loan, "Matrix Computations", 4th edition, Johns Hopkins 2013, chapter 3. N. J. Higham,
 * "Accuracy and Stability of Numerical Algorithms", 2nd edition, SIAM 2002, chapter 9.
 */
#ifndef QSL_LAPACK_H
#define QSL_LAPACK_H

#include "qsl/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * @brief LU factorisation of a real matrix, Fortran style: every argument by pointer, the matrix
 *        column-major.
 *
 * @param m     Rows of A, at least 0.
 * @param n     Columns of A, at least 0.
 * @param a     A, m by n; replaced by L (without its unit diagonal) and U.
 * @param lda   Leading dimension of A, at least max(1, m).
 * @param ipiv  min(m, n) pivots, counted from 1; written.
 * @param info  Result: 0; -i when argument i is bad (m is 1); or the number of the first column,
 * from 1, whose pivot is exactly zero. The factorisation is complete then, but U is singular. A NaN
 * is no zero.
 *
 * A null pointer for an integer counts as 0; a null @p info is left alone. A bad argument is
 * reported with its position and the name "DGETRF", and nothing but @p info is written. With m = 0
 * or n = 0 nothing happens.
 *
 * The factors of a square matrix solve A * x = b for as many b as come, one after the other, in
 * three steps: the exchanges of @p ipiv in their order, a substitution with L from the first row to
 * the last, and one with U from the last row to the first. Right-hand sides that are known
 * beforehand go to LAPACKE_dgesv() together with the matrix, which is faster.
 *
 * @code{.c}
 * // A = [2 2; 4 6] by columns; 2 x + 2 y = 6, 4 x + 6 y = 16.
 * double a[4] = {2, 4, 2, 6}, b[2] = {6, 16};
 * int n = 2, ipiv[2], info;
 * DGETRF(&n, &n, a, &n, ipiv, &info);
 * // info is 0; a is {4, 0.5, 6, -1}; ipiv is {2, 2}
 * for (int i = 0; i < n; i++) {  // the exchanges
 *   double kept = b[i];
 *   b[i] = b[ipiv[i] - 1];
 *   b[ipiv[i] - 1] = kept;
 * }
 * for (int i = 1; i < n; i++) {  // L, whose diagonal is 1: row i is a vector with stride n
 *   b[i] -= cblas_ddot(i, a + i, n, b, 1);
 * }
 * for (int j = n - 1; j >= 0; j--) {  // U, by columns
 *   b[j] /= a[j + j * n];
 *   for (int i = 0; i < j; i++) b[i] -= a[i + j * n] * b[j];
 * }
 * // b is {1, 2}
 * @endcode
 */
QSL_API void DGETRF(const int* m, const int* n, double* a, const int* lda, int* ipiv, int* info);

/**
 * @brief Solves A * X = B for a real square matrix A: LU factorisation and substitution.
 *
 * @param layout  CblasRowMajor (101) or CblasColMajor (102), for A and B.
 * @param n       Order of A, at least 0.
 * @param nrhs    Right-hand sides: columns of B, at least 0.
 * @param a       A, n by n; replaced by its factors.
 * @param lda     Leading dimension of A: at least max(1, n) in column-major order, n in row-major.
 * @param ipiv    n pivots, counted from 1; written.
 * @param b       B, n by nrhs; replaced by X.
 * @param ldb     Leading dimension of B: at least max(1, n) in column-major order, nrhs in
 *                row-major.
 * @return        0; -i when argument i is bad (@p layout is 1); the number of the first column,
 * from 1, whose pivot is exactly zero: A is singular, holds its factors, and B is unchanged; -1011
 * when there is no memory for the column-major copies.
 *
 * Before anything else A and B are searched for NaN: -4 or -7 says that A or B has one, without a
 * message. (LAPACKE_NANCHECK=0 in the environment switches this off.) Every other negative result
 * comes with a line on standard output, and none of the arrays is changed then.
 *
 * @code{.c}
 * // Row-major: 2 x + y = 5, x + 3 y = 10.
 * double a[4] = {2, 1, 1, 3}, b[2] = {5, 10};
 * int ipiv[2];
 * int status = LAPACKE_dgesv(CblasRowMajor, 2, 1, a, 2, ipiv, b, 1);  // 0; b is {1, 3}
 * @endcode
 */
QSL_API int LAPACKE_dgesv(int layout, int n, int nrhs, double* a, int lda, int* ipiv, double* b,
                          int ldb);

/**
 * @brief Solves A * X = B for a complex square matrix A. Otherwise as LAPACKE_dgesv().
 *
 * @param layout  CblasRowMajor or CblasColMajor, for A and B.
 * @param n       Order of A.
 * @param nrhs    Right-hand sides.
 * @param a       A; replaced by its factors. The pivots are those of greatest |re| + |im|.
 * @param lda     Leading dimension of A, in elements.
 * @param ipiv    n pivots, counted from 1; written.
 * @param b       B; replaced by X.
 * @param ldb     Leading dimension of B, in elements.
 * @return        As LAPACKE_dgesv().
 *
 * Arrays of other complex types are passed by a cast: see complex_double.
 *
 * @code{.c}
 * // Column-major: 2 x + i y = 2 + i, x + y = 2.
 * complex_double a[4] = {{2, 0}, {1, 0}, {0, 1}, {1, 0}}, b[2] = {{2, 1}, {2, 0}};
 * int ipiv[2];
 * int status = LAPACKE_zgesv(CblasColMajor, 2, 1, a, 2, ipiv, b, 2);  // 0; b is {1, 1}
 * @endcode
 */
QSL_API int LAPACKE_zgesv(int layout, int n, int nrhs, complex_double* a, int lda, int* ipiv,
                          complex_double* b, int ldb);

/**
 * @brief Solves A * X = B for a complex band matrix A: band LU factorisation with partial pivoting,
 *        and substitution.
 *
 * @p ab has 2 * kl + ku + 1 rows and n columns. Column j of A stands in column j, element (i, j),
 * both from 0, in row kl + ku + i - j. The first kl rows are room for what the row exchanges fill
 * in: the result does not depend on what stands there. Positions that belong neither to an element
 * of A nor to this room are left alone, but the search for NaN may read them: see @p ab.
 *
 * @param layout  CblasRowMajor or CblasColMajor, for @p ab and B.
 * @param n       Order of A, at least 0.
 * @param kl      Sub-diagonals, at least 0.
 * @param ku      Super-diagonals, at least 0.
 * @param nrhs    Right-hand sides: columns of B, at least 0.
 * @param ab      A in band storage; replaced by its factors. Set the whole array to zero before
 *                its elements: the search for NaN reads the room for fill, too, and when
 *                kl + ku > n - 1 it reads rows that lie kl + ku - (n - 1) above those of the
 *                matrix. It may find a NaN then where no element is, and overlook one in A.
 * @param ldab    Leading dimension of @p ab: at least 2 * kl + ku + 1 in column-major order, n in
 *                row-major.
 * @param ipiv    n pivots, counted from 1; written.
 * @param b       B, n by nrhs; replaced by X.
 * @param ldb     Leading dimension of B: at least max(1, n) in column-major order, nrhs in
 *                row-major.
 * @return        0; -i when argument i is bad (@p layout is 1); the number of the first column,
 * from 1, whose pivot is exactly zero; -1011 when there is no memory for the column-major copies.
 *
 * The search for NaN answers -6 for @p ab and -9 for B. In an array that is not set to zero as a
 * whole (see @p ab) it may be switched off: LAPACKE_NANCHECK=0.
 *
 * Wide bands, from kl = 32 and about 12800 elements below and to the right of a pivot on, are
 * factored in blocks of columns, with a work area of 384 * (kl + min(n, kl + ku) + 24) bytes at
 * most. Without it they are factored column by column.
 *
 * @code{.c}
 * // A = [2 i 0; 1 2 i; 0 1 2]: kl = ku = 1, four rows, the first one for fill.
 * complex_double ab[12] = {{0, 0}, {0, 0}, {2, 0}, {1, 0}, {0, 0}, {0, 1},
 *                          {2, 0}, {1, 0}, {0, 0}, {0, 1}, {2, 0}, {0, 0}};
 * complex_double b[3] = {{2, 1}, {3, 1}, {3, 0}};
 * int ipiv[3];
 * int status = LAPACKE_zgbsv(CblasColMajor, 3, 1, 1, 1, ab, 4, ipiv, b, 3);  // 0; b is {1, 1, 1}
 * @endcode
 */
QSL_API int LAPACKE_zgbsv(int layout, int n, int kl, int ku, int nrhs, complex_double* ab, int ldab,
                          int* ipiv, complex_double* b, int ldb);

#ifdef __cplusplus
}
#endif

#endif /* QSL_LAPACK_H */
