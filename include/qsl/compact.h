/**
 * @file compact.h
 * @brief Batches of small complex matrices in the compact format: packing, factorisation and
 *        triangular solution of many matrices at once.
 *
 * The compact format interleaves matrices of one shape, so that a vector register holds the same
 * element of several of them. Matrices stand in groups of G, which the format decides:
 *
 * | format              | G | made for                        |
 * |---------------------|---|---------------------------------|
 * | QSL_COMPACT_SSE     | 2 | registers of 128 bits           |
 * | QSL_COMPACT_AVX     | 4 | registers of 256 bits           |
 * | QSL_COMPACT_AVX512  | 8 | registers of 512 bits           |
 *
 * Every processor works with all three; qsl_get_format_compact() names the one that it is fastest
 * with. An element of a group takes 2 G doubles: the G real parts, one a matrix, then the G
 * imaginary parts. Element (i, j) is the (j ldap + i)-th of its group in column-major order and the
 * (i ldap + j)-th in row-major order. Groups follow each other every (columns ldap) elements in
 * column-major order and every (rows ldap) in row-major order. A last group that is not full is
 * filled up with zeros. So a batch of nm matrices of r rows and c columns takes
 * 16 G ceil(nm / G) ldap c bytes (row-major: ldap r).
 *
 * No function here checks its arguments, reports an error or allocates memory. All may be called
 * from several threads at once on different data. Arrays may lie at any address; a buffer aligned
 * to 64 bytes (QSL_malloc()) is fastest. Matrices that a last group lacks are computed like the
 * others, with zeros: their divisions by zero raise floating-point exceptions, which matters to a
 * program that has these unmasked.
 *
 * @code{.c}
 * // A_k x_k = b_k for two systems of order 2 that need no pivoting.
 * complex_double a0[4] = {{2, 0}, {0, 2}, {1, 0}, {4, 0}}, b0[2] = {{2, 1}, {0, 6}};
 * complex_double a1[4] = {{4, 0}, {2, 0}, {0, 1}, {3, 0}}, b1[2] = {{0, 5}, {3, 2}};
 * complex_double *a[2] = {a0, a1}, *b[2] = {b0, b1};
 * const complex_double one = {1, 0};
 * const int column = CblasColMajor, format = qsl_get_format_compact();
 * double* ap = (double*)QSL_malloc(qsl_zget_size_compact(2, 2, format, 2), 64);
 * double* bp = (double*)QSL_malloc(qsl_zget_size_compact(2, 1, format, 2), 64);
 * int info;
 * qsl_zgepack_compact(column, 2, 2, a, 2, ap, 2, format, 2);
 * qsl_zgepack_compact(column, 2, 1, b, 2, bp, 2, format, 2);
 * qsl_zgetrfnp_compact(column, 2, 2, ap, 2, &info, format, 2);  // info is 0
 * qsl_ztrsm_compact(column, CblasLeft, CblasLower, CblasNoTrans, CblasUnit, 2, 1, &one,
 *                   ap, 2, bp, 2, format, 2);
 * qsl_ztrsm_compact(column, CblasLeft, CblasUpper, CblasNoTrans, CblasNonUnit, 2, 1, &one,
 *                   ap, 2, bp, 2, format, 2);
 * qsl_zgeunpack_compact(column, 2, 1, b, 2, bp, 2, format, 2);
 * // b0 is {1, 1i}; b1 is {1i, 1}
 * QSL_free(ap);
 * QSL_free(bp);
 * @endcode
 */
#ifndef QSL_COMPACT_H
#define QSL_COMPACT_H

#include "qsl/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Compact formats, by the matrices of a group. */
typedef enum QSL_COMPACT_PACK {
  QSL_COMPACT_SSE = 181,   /**< Two. */
  QSL_COMPACT_AVX = 182,   /**< Four. */
  QSL_COMPACT_AVX512 = 183 /**< Eight. */
} QSL_COMPACT_PACK;

/**
 * @brief The format that suits the processor best.
 *
 * @return QSL_COMPACT_AVX512 with AVX-512, QSL_COMPACT_AVX with AVX or AVX2, else
 *         QSL_COMPACT_SSE. A fixed branch of the reproducible mode counts as the
 *         processor of its name, COMPATIBLE as one without AVX.
 */
QSL_API int qsl_get_format_compact(void);

/**
 * @brief Bytes of a compact buffer without gaps between columns.
 *
 * @param rows     Rows of a matrix; also the leading dimension that is counted with (ldap = rows,
 *                 in row-major order ldap = columns).
 * @param columns  Columns of a matrix.
 * @param format   A format; with any other value the result has no meaning.
 * @param nm       Number of matrices.
 * @return 16 rows columns (nm rounded up to whole groups). The result is an int: one of 2 GiB or
 *         more wraps, which is not looked for.
 */
QSL_API int qsl_zget_size_compact(int rows, int columns, int format, int nm);

/**
 * @brief Packs matrices into a compact buffer. Every bit of a number is kept, those of NaN too.
 *
 * @param layout   CblasRowMajor or CblasColMajor, of the matrices and of the buffer.
 * @param rows     Rows of a matrix; with 0 or less nothing is done.
 * @param columns  Columns of a matrix; with 0 or less nothing is done.
 * @param a        nm pointers to matrices, which are read.
 * @param lda      Leading dimension of the matrices, at least rows (row-major: columns).
 * @param ap       The buffer. Written are the places of the elements and, in a last group that is
 *                 not full, those of the missing matrices' elements, with zeros; nothing in the
 *                 gaps between columns (rows).
 * @param ldap     Leading dimension in the buffer, at least rows (row-major: columns).
 * @param format   The buffer's format. Any other value than the three means groups of one matrix.
 * @param nm       Number of matrices; with 0 or less nothing is done.
 */
QSL_API void qsl_zgepack_compact(int layout, int rows, int columns, complex_double* const* a,
                                 int lda, double* ap, int ldap, int format, int nm);

/**
 * @brief Copies the matrices of a compact buffer back. Every bit of a number is kept.
 *
 * @param layout   CblasRowMajor or CblasColMajor, of the matrices and of the buffer.
 * @param rows     Rows of a matrix; with 0 or less nothing is done.
 * @param columns  Columns of a matrix; with 0 or less nothing is done.
 * @param a        nm pointers to matrices, whose elements are written.
 * @param lda      Leading dimension of the matrices, at least rows (row-major: columns).
 * @param ap       The buffer, which is read.
 * @param ldap     Leading dimension in the buffer, at least rows (row-major: columns).
 * @param format   The buffer's format.
 * @param nm       Number of matrices; with 0 or less nothing is done.
 */
QSL_API void qsl_zgeunpack_compact(int layout, int rows, int columns, complex_double* const* a,
                                   int lda, const double* ap, int ldap, int format, int nm);

/**
 * @brief Factors every matrix of a compact buffer: A = L U, without exchanges of rows.
 *
 * L has ones on its diagonal, which are not stored, and U is upper triangular. Without pivoting the
 * factorisation is stable only for matrices that need none, such as diagonally dominant ones; the
 * error is bounded by the growth of the elements (N. J. Higham, "Accuracy and Stability of
 * Numerical Algorithms", chapter 9). A matrix with a zero pivot gets factors that are infinite or
 * NaN, and the other matrices are not touched by it. In the processor's own format |pivot|^2 is
 * formed: pivots beyond about 1e+-154 in magnitude are lost there. The other two formats are good
 * for pivots between about 1e-308 and 9e307.
 *
 * @param layout  CblasRowMajor or CblasColMajor.
 * @param m       Rows of a matrix; with 0 or less nothing is done.
 * @param n       Columns of a matrix; with 0 or less nothing is done.
 * @param ap      The buffer: matrices, then their factors.
 * @param ldap    Leading dimension in the buffer, at least m (row-major: n).
 * @param info    Always set to 0: a zero pivot is not looked for.
 * @param format  The buffer's format. With any other value nothing is done.
 * @param nm      Number of matrices; with 0 or less nothing is done.
 */
QSL_API void qsl_zgetrfnp_compact(int layout, int m, int n, double* ap, int ldap, int* info,
                                  int format, int nm);

/**
 * @brief Solves triangular systems with every matrix of a compact buffer:
 *        op(A) X = alpha B or X op(A) = alpha B.
 *
 * The opposite triangle of A is not read, nor is the diagonal when it is taken as ones. The error
 * is that of substitution (Higham, chapter 8), of each matrix by itself, for diagonal elements
 * between about 1e-308 and 9e307 in magnitude: a row is multiplied by the reciprocal.
 *
 * @param layout  CblasRowMajor or CblasColMajor, of both buffers.
 * @param side    CblasLeft: op(A) X = alpha B. CblasRight: X op(A) = alpha B.
 * @param uplo    CblasUpper or CblasLower: the triangle of A.
 * @param trans   CblasNoTrans, CblasTrans or CblasConjTrans: op(A).
 * @param diag    CblasNonUnit, or CblasUnit for a diagonal of ones.
 * @param m       Rows of B; with 0 or less nothing is done.
 * @param n       Columns of B; with 0 or less nothing is done.
 * @param alpha   Factor of B. With (0,0) B becomes zero and A is not read; with (1,0) no product is
 *                made.
 * @param ap      The triangles, of order m (side right: n).
 * @param ldap    Leading dimension of A, at least its order.
 * @param bp      B, then X.
 * @param ldbp    Leading dimension of B, at least m (row-major: n).
 * @param format  The format of both buffers. Any other value than the three means groups of one
 *                matrix.
 * @param nm      Number of matrices; with 0 or less nothing is done.
 */
QSL_API void qsl_ztrsm_compact(int layout, int side, int uplo, int trans, int diag, int m, int n,
                               const complex_double* alpha, const double* ap, int ldap, double* bp,
                               int ldbp, int format, int nm);

#ifdef __cplusplus
}
#endif

#endif /* QSL_COMPACT_H */
