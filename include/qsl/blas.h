/**
 * @file blas.h
 * @brief Dense BLAS: vector routines.
 *
 * A vector is a base pointer, a count @p n and a stride @p inc, both in elements. With a negative
 * stride the walk starts at base + (1 - n) * inc, the BLAS rule, so that the array's last element
 * in memory is the vector's first. A stride of 0 uses one element again and again. Arrays may have
 * any alignment; 32 or 64 bytes are fastest. Vectors that are written must not overlap the others.
 *
 * Reference: C. L. Lawson, R. J. Hanson, D. R. Kincaid, F. T. Krogh, "Basic Linear Algebra
 * Subprograms for Fortran Usage", ACM Trans. Math. Software 5 (1979) 308-323.
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

#ifdef __cplusplus
}
#endif

#endif /* QSL_BLAS_H */
