// The product of a band matrix and a vector, for the rest of the library.
//
// Element (i, j) of a band matrix with kl sub-diagonals and ku super-diagonals stands in row
// ku + i - j of column j of the array, lda being at least kl + ku + 1. Positions of the array that
// hold no element are never read. The bands may reach beyond the matrix.
#pragma once

#include "include/qsl/types.h"
#include "runtime/dispatch/dispatcher.h"

// y := alpha * op(A) * x + beta * y, A being m by n; `trans` is 0 for A, 1 for its transpose, 2 for
// its conjugate transpose. Strides may be negative. With alpha = 0 neither A nor x is read; with
// beta = 0 the result is stored, whatever stood in y.
QSL_DECLARE_VARIANTS(void, zgbmv,
                     (int trans, int m, int n, int kl, int ku, const complex_double* alpha,
                      const complex_double* a, int lda, const complex_double* x, int incx,
                      const complex_double* beta, complex_double* y, int incy));

// The same with its arguments by pointer and checked, with a verbose line. `trans` points to N, T
// or C in either case.
extern "C" QSL_HIDDEN void ZGBMV(const char* trans, const int* m, const int* n, const int* kl,
                                 const int* ku, const complex_double* alpha,
                                 const complex_double* a, const int* lda, const complex_double* x,
                                 const int* incx, const complex_double* beta, complex_double* y,
                                 const int* incy);
