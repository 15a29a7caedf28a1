// The level-3 routines behind the exports, for the rest of the library: dispatchers and variants.
//
// Matrices are column-major. A transpose option is 0 for the matrix, 1 for its transpose, 2 for its
// conjugate transpose. Factors are passed by address, since a double on the stack may pass through
// the x87 unit. Sizes and leading dimensions are those that the exported routines have checked.
#pragma once

#include "include/qsl/types.h"
#include "runtime/dispatch/dispatcher.h"

// C := alpha * op(A) * op(B) + beta * C, C being m by n and the sums k long.
QSL_DECLARE_VARIANTS(void, dgemm,
                     (int transa, int transb, int m, int n, int k, const double* alpha,
                      const double* a, int lda, const double* b, int ldb, const double* beta,
                      double* c, int ldc));
QSL_DECLARE_VARIANTS(void, cgemm,
                     (int transa, int transb, int m, int n, int k, const complex_float* alpha,
                      const complex_float* a, int lda, const complex_float* b, int ldb,
                      const complex_float* beta, complex_float* c, int ldc));
QSL_DECLARE_VARIANTS(void, zgemm,
                     (int transa, int transb, int m, int n, int k, const complex_double* alpha,
                      const complex_double* a, int lda, const complex_double* b, int ldb,
                      const complex_double* beta, complex_double* c, int ldc));
