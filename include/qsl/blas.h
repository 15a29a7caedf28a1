/**
 * @file blas.h
 * @brief Dense BLAS: vector routines, the matrix product, and the product of a band matrix and a
 *        vector.
 *
 * A vector is a base pointer, a count @p n and a stride @p inc, both in elements. With a negative
 * stride the walk starts at base + (1 - n) * inc, the BLAS rule, so that the array's last element
 * in memory is the vector's first. A stride of 0 uses one element again and again. Arrays may have
 * any alignment; 32 or 64 bytes are fastest. Vectors that are written must not overlap the others.
 *
 * A matrix is a base pointer and a leading dimension: the distance, in elements, between two
 * columns (column-major, the order of the Fortran-style routine) or two rows (row-major). What lies
 * between the end of one column or row and the start of the next is neither read nor written.
 *
 * References: C. L. Lawson, R. J. Hanson, D. R. Kincaid, F. T. Krogh, "Basic Linear Algebra
 * Subprograms for Fortran Usage", ACM Trans. Math. Software 5 (1979) 308-323. J. J. Dongarra,
 * J. Du Croz, I. S. Duff, S. Hammarling, "A Set of Level 3 Basic Linear Algebra Subprograms", ACM
 * Trans. Math. Software 16 (1990) 1-17. K. Goto, R. A. van de Geijn, "Anatomy of High-Performance
 * Matrix Multiplication", ACM Trans. Math. Software 34 (2008) 12:1-25.
 */
#ifndef QSL_BLAS_H
#define QSL_BLAS_H

#include "qsl/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * @brief Dot product of two real vectors, Fortran style: every argument by pointer.
 *
 * @param n     Number of elements. 0 or less gives 0.0, and neither vector is read.
 * @param x     First vector, 1 + (n - 1) * |incx| elements.
 * @param incx  Stride of @p x.
 * @param y     Second vector, 1 + (n - 1) * |incy| elements.
 * @param incy  Stride of @p y.
 * @return      The sum of x[i] * y[i]. The order of summation depends on the processor level and,
 *              at the lowest two levels, on the alignment of the arrays unless a reproducibility
 *              mode is set; the error is at most n * eps * sum |x[i] * y[i]| to first order.
 *
 * A null pointer for an integer counts as 0. Errors are not reported: there are none. Safe to call
 * from several threads at once.
 */
QSL_API double DDOT(const int* n, const double* x, const int* incx, const double* y,
                    const int* incy);

/**
 * @brief Dot product of two real vectors, C style: scalars by value. Otherwise as DDOT().
 *
 * @param n     Number of elements. 0 or less gives 0.0, and neither vector is read.
 * @param x     First vector, 1 + (n - 1) * |incx| elements.
 * @param incx  Stride of @p x.
 * @param y     Second vector, 1 + (n - 1) * |incy| elements.
 * @param incy  Stride of @p y.
 * @return      The sum of x[i] * y[i].
 *
 * @code{.c}
 * double x[3] = {1, 2, 3}, y[3] = {4, 5, 6};
 * double s = cblas_ddot(3, x, 1, y, 1);  // 32
 * @endcode
 */
QSL_API double cblas_ddot(int n, const double* x, int incx, const double* y, int incy);

/**
 * @brief Complex update y := alpha * x + y in double precision.
 *
 * @param n      Number of complex elements. 0 or less: nothing happens.
 * @param alpha  Points to one complex_double. When both parts equal zero (of either sign), or
 *               the pointer is null, nothing is read or written; a NaN is not zero.
 * @param x      Complex vector of 1 + (n - 1) * |incx| elements; read.
 * @param incx   Stride of @p x.
 * @param y      Complex vector of 1 + (n - 1) * |incy| elements; read and written.
 * @param incy   Stride of @p y.
 */
QSL_API void cblas_zaxpy(int n, const void* alpha, const void* x, int incx, void* y, int incy);

/**
 * @brief Complex copy y := x in double precision. Every bit is copied, NaN payloads too.
 *
 * @param n     Number of complex elements. 0 or less: nothing happens.
 * @param x     Complex vector of 1 + (n - 1) * |incx| elements; read.
 * @param incx  Stride of @p x.
 * @param y     Complex vector of 1 + (n - 1) * |incy| elements; written.
 * @param incy  Stride of @p y.
 */
QSL_API void cblas_zcopy(int n, const void* x, int incx, void* y, int incy);

/**
 * @brief Matrix product C := alpha * op(A) * op(B) + beta * C, Fortran style: every argument by
 *        pointer, matrices column-major.
 *
 * @param transa  Points to 'N' for op(A) = A, or to 'T' or 'C' for its transpose; either case.
 * @param transb  The same for B.
 * @param m       Rows of op(A) and of C, at least 0.
 * @param n       Columns of op(B) and of C, at least 0.
 * @param k       Columns of op(A) and rows of op(B), at least 0.
 * @param alpha   Factor of the product. When it equals zero, A and B are not read.
 * @param a       A, m by k when plain and k by m when transposed; read.
 * @param lda     Leading dimension of A, at least max(1, its rows).
 * @param b       B, k by n when plain and n by k when transposed; read.
 * @param ldb     Leading dimension of B, at least max(1, its rows).
 * @param beta    Factor of C. When it equals zero, C is written without being read: NaN and
 *                infinity in it don't survive.
 * @param c       C, m by n; read and written. It must not overlap A or B.
 * @param ldc     Leading dimension of C, at least max(1, m).
 *
 * With m = 0 or n = 0 nothing happens; with k = 0, C := beta * C. Arrays may have any alignment
 * that is a multiple of 4. The error of each element is at most (k + 3) * eps * (|alpha| * (|A| *
 * |B|) + |beta| * |C|) to first order; its bits depend on the processor level, the sizes, the
 * options and on whether there was a work buffer, not on the alignment of the arrays. A bad
 * argument is reported with its position and the name "DGEMM ", and nothing is read or written. A
 * call may take a work buffer from the memory manager and does without it when there is none. Safe
 * to call from several threads at once.
 */
QSL_API void DGEMM(const char* transa, const char* transb, const int* m, const int* n, const int* k,
                   const double* alpha, const double* a, const int* lda, const double* b,
                   const int* ldb, const double* beta, double* c, const int* ldc);

/**
 * @brief Matrix product C := alpha * op(A) * op(B) + beta * C, C style: scalars by value, either
 *        storage order. Otherwise as DGEMM().
 *
 * @param layout  CblasColMajor or CblasRowMajor, for all three matrices.
 * @param transa  CblasNoTrans, CblasTrans or CblasConjTrans.
 * @param transb  The same for B.
 * @param m       Rows of op(A) and of C.
 * @param n       Columns of op(B) and of C.
 * @param k       Columns of op(A) and rows of op(B).
 * @param alpha   Factor of the product.
 * @param a       A; read.
 * @param lda     Leading dimension of A: at least max(1, rows of A as stored) in column-major
 *                order, max(1, columns of A as stored) in row-major order.
 * @param b       B; read.
 * @param ldb     Leading dimension of B, likewise.
 * @param beta    Factor of C.
 * @param c       C; read and written.
 * @param ldc     Leading dimension of C, likewise.
 *
 * A bad argument is reported with its position, @p layout being 1, and the routine's name; the
 * layout is looked at after the sizes and before the leading dimensions.
 *
 * @code{.c}
 * // Row-major 2 by 3 times 3 by 2.
 * double a[6] = {1, 2, 3, 4, 5, 6}, b[6] = {1, 0, 0, 1, 1, 1}, c[4];
 * cblas_dgemm(CblasRowMajor, CblasNoTrans, CblasNoTrans, 2, 2, 3, 1.0, a, 3, b, 2, 0.0, c, 2);
 * // c is {4, 5, 10, 11}
 * @endcode
 */
QSL_API void cblas_dgemm(int layout, int transa, int transb, int m, int n, int k, double alpha,
                         const double* a, int lda, const double* b, int ldb, double beta, double* c,
                         int ldc);

/**
 * @brief Complex matrix product in single precision; factors by pointer. Otherwise as
 *        cblas_dgemm(), where CblasConjTrans takes the conjugate transpose.
 *
 * @param layout  CblasColMajor or CblasRowMajor, for all three matrices.
 * @param transa  CblasNoTrans, CblasTrans or CblasConjTrans.
 * @param transb  The same for B.
 * @param m       Rows of op(A) and of C.
 * @param n       Columns of op(B) and of C.
 * @param k       Columns of op(A) and rows of op(B).
 * @param alpha   Points to a complex_float, the factor of the product.
 * @param a       Matrix of complex_float; read.
 * @param lda     Leading dimension of A, in elements.
 * @param b       Matrix of complex_float; read.
 * @param ldb     Leading dimension of B, in elements.
 * @param beta    Points to a complex_float, the factor of C.
 * @param c       Matrix of complex_float; read and written.
 * @param ldc     Leading dimension of C, in elements.
 */
QSL_API void cblas_cgemm(int layout, int transa, int transb, int m, int n, int k, const void* alpha,
                         const void* a, int lda, const void* b, int ldb, const void* beta, void* c,
                         int ldc);

/**
 * @brief Complex matrix product in double precision; factors by pointer. Otherwise as
 *        cblas_dgemm(), where CblasConjTrans takes the conjugate transpose.
 *
 * @param layout  CblasColMajor or CblasRowMajor, for all three matrices.
 * @param transa  CblasNoTrans, CblasTrans or CblasConjTrans.
 * @param transb  The same for B.
 * @param m       Rows of op(A) and of C.
 * @param n       Columns of op(B) and of C.
 * @param k       Columns of op(A) and rows of op(B).
 * @param alpha   Points to a complex_double, the factor of the product.
 * @param a       Matrix of complex_double; read.
 * @param lda     Leading dimension of A, in elements.
 * @param b       Matrix of complex_double; read.
 * @param ldb     Leading dimension of B, in elements.
 * @param beta    Points to a complex_double, the factor of C.
 * @param c       Matrix of complex_double; read and written.
 * @param ldc     Leading dimension of C, in elements.
 */
QSL_API void cblas_zgemm(int layout, int transa, int transb, int m, int n, int k, const void* alpha,
                         const void* a, int lda, const void* b, int ldb, const void* beta, void* c,
                         int ldc);

/**
 * @brief Product of a complex band matrix and a vector in double precision:
 *        y := alpha * op(A) * x + beta * y.
 *
 * A is m by n with kl diagonals below the main one and ku above it. In column-major order, element
 * (i, j) stands at a[ku + i - j + j * lda] for max(0, j - ku) <= i <= min(m - 1, j + kl), counted
 * from 0; in row-major order at a[kl + j - i + i * lda]. The other positions of the array are never
 * read. The bands may reach beyond the matrix.
 *
 * @param layout  CblasColMajor or CblasRowMajor.
 * @param trans   CblasNoTrans for op(A) = A, CblasTrans for its transpose, CblasConjTrans for its
 *                conjugate transpose.
 * @param m       Rows of A, at least 0.
 * @param n       Columns of A, at least 0.
 * @param kl      Sub-diagonals, at least 0.
 * @param ku      Super-diagonals, at least 0.
 * @param alpha   Points to a complex_double, the factor of the product. When it equals zero, A and
 * x are not read.
 * @param a       The array of complex_double: lda by n in column-major order, m by lda in row-major
 *                order; read.
 * @param lda     Distance of two columns (two rows in row-major order) in elements, at least kl +
 *                ku + 1.
 * @param x       Complex vector of 1 + (k - 1) * |incx| elements, k being n for CblasNoTrans and m
 *                otherwise; read.
 * @param incx    Stride of @p x, not 0.
 * @param beta    Points to a complex_double, the factor of y. When it equals zero, y is written
 *                without being read: NaN and infinity in it don't survive.
 * @param y       Complex vector of 1 + (k - 1) * |incy| elements, k being m for CblasNoTrans and n
 *                otherwise; read and written. It must not overlap A or x.
 * @param incy    Stride of @p y, not 0.
 *
 * With m = 0 or n = 0, or with alpha = 0 and beta = 1, nothing happens. The error of each element
 * is at most (2 * k + 8) * eps * (|alpha| * (|A| * |x|) + |beta| * |y|) to first order, k being the
 * number of elements in its row of op(A).
 *
 * A bad argument is reported with its position, @p layout being 1, and the routine's name, and
 * nothing is read or written. A bad @p trans is reported first in column-major order and last in
 * row-major order; when all else is right and there is work to do, the routine behind this one,
 * "ZGBMV ", reports it once more as its own first argument.
 *
 * In row-major order the conjugate transpose takes a work buffer of 16 * m bytes, without which it
 * reports so and leaves y alone; while it runs, y holds conjugated values. Safe to call from
 * several threads at once on different data.
 *
 * Reference: J. J. Dongarra, J. Du Croz, S. Hammarling, R. J. Hanson, "An Extended Set of FORTRAN
 * Basic Linear Algebra Subprograms", ACM Trans. Math. Software 14 (1988) 1-17.
 *
 * @code{.c}
 * // A = [1 2 0; 3i 4 5; 0 6 7] by columns: one diagonal below the main one, one above it.
 * complex_double a[9] = {{0, 0}, {1, 0}, {0, 3}, {2, 0}, {4, 0}, {6, 0}, {5, 0}, {7, 0}, {0, 0}};
 * complex_double x[3] = {{1, 0}, {1, 0}, {1, 0}}, y[3], one = {1, 0}, zero = {0, 0};
 * cblas_zgbmv(CblasColMajor, CblasNoTrans, 3, 3, 1, 1, &one, a, 3, x, 1, &zero, y, 1);
 * // y is {3, 9 + 3i, 13}
 * @endcode
 */
QSL_API void cblas_zgbmv(int layout, int trans, int m, int n, int kl, int ku, const void* alpha,
                         const void* a, int lda, const void* x, int incx, const void* beta, void* y,
                         int incy);

#ifdef __cplusplus
}
#endif

#endif /* QSL_BLAS_H */
