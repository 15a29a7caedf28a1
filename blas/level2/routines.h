// The matrix-vector and rank-one routines behind the exports, for the rest of the library.
//
// Matrices are column-major; a stride may be negative (the walk starts at base + (1 - n) * inc) or
// zero. `trans` is 0 for A, 1 for its transpose, 2 for its conjugate transpose. Factors are passed
// by address: a double on the stack may pass through the x87 unit. With alpha = 0 none of the
// product's operands is read; with beta = 0 the result is stored, whatever stood there.
#pragma once

#include "include/qsl/types.h"
#include "runtime/dispatch/dispatcher.h"

// y := alpha * op(A) * x + beta * y, A being m by n.
QSL_DECLARE_VARIANTS(void, dgemv,
                     (int trans, int m, int n, const double* alpha, const double* a, int lda,
                      const double* x, int incx, const double* beta, double* y, int incy));
QSL_DECLARE_VARIANTS(void, zgemv,
                     (int trans, int m, int n, const complex_double* alpha, const complex_double* a,
                      int lda, const complex_double* x, int incx, const complex_double* beta,
                      complex_double* y, int incy));
QSL_DECLARE_VARIANTS(void, cgemv,
                     (int trans, int m, int n, const complex_float* alpha, const complex_float* a,
                      int lda, const complex_float* x, int incx, const complex_float* beta,
                      complex_float* y, int incy));

// A := alpha * x * y^T + beta * A, A being m by n. (The published routine has no beta; a matrix
// product of depth one has.)
QSL_DECLARE_VARIANTS(void, dger,
                     (int m, int n, const double* alpha, const double* x, int incx, const double* y,
                      int incy, const double* beta, double* a, int lda));
QSL_DECLARE_VARIANTS(void, zgeru,
                     (int m, int n, const complex_double* alpha, const complex_double* x, int incx,
                      const complex_double* y, int incy, const complex_double* beta,
                      complex_double* a, int lda));
QSL_DECLARE_VARIANTS(void, cgeru,
                     (int m, int n, const complex_float* alpha, const complex_float* x, int incx,
                      const complex_float* y, int incy, const complex_float* beta, complex_float* a,
                      int lda));

// x := inverse(op(A)) * x, A being triangular of order n: QslTriangle, QslDiagonal of the level-3
// routines. A singular matrix is not looked for. x is contiguous.
QSL_DECLARE_VARIANTS(void, dtrsv,
                     (int uplo, int trans, int diag, int n, const double* a, int lda, double* x));
QSL_DECLARE_VARIANTS(void, ztrsv,
                     (int uplo, int trans, int diag, int n, const complex_double* a, int lda,
                      complex_double* x));
