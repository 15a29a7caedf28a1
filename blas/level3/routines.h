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

// Options of the routines with a symmetric or a triangular matrix.
enum QslSide { QSL_LEFT = 0, QSL_RIGHT = 1 };
enum QslTriangle { QSL_UPPER = 0, QSL_LOWER = 1 };
enum QslDiagonal { QSL_NON_UNIT = 0, QSL_UNIT = 1 };

// C := alpha * A * B + beta * C (left) or alpha * B * A + beta * C (right), C being m by n and A
// symmetric; only its triangle `uplo` is read.
QSL_DECLARE_VARIANTS(void, dsymm,
                     (int side, int uplo, int m, int n, const double* alpha, const double* a,
                      int lda, const double* b, int ldb, const double* beta, double* c, int ldc));

// The triangle `uplo` of C := alpha * op(A) * op(B) + beta * C, C being n by n.
QSL_DECLARE_VARIANTS(void, dgemmt,
                     (int uplo, int transa, int transb, int n, int k, const double* alpha,
                      const double* a, int lda, const double* b, int ldb, const double* beta,
                      double* c, int ldc));

// The triangle `uplo` of C := alpha * op(A) * op(A)^T + beta * C; op(A) is n by k.
QSL_DECLARE_VARIANTS(void, dsyrk,
                     (int uplo, int trans, int n, int k, const double* alpha, const double* a,
                      int lda, const double* beta, double* c, int ldc));

// The triangle `uplo` of C := alpha * (op(A) * op(B)^T + op(B) * op(A)^T) + beta * C.
QSL_DECLARE_VARIANTS(void, dsyr2k,
                     (int uplo, int trans, int n, int k, const double* alpha, const double* a,
                      int lda, const double* b, int ldb, const double* beta, double* c, int ldc));

// B := alpha * op(A) * B (left) or alpha * B * op(A) (right), B being m by n and A triangular. With
// QSL_UNIT the diagonal is taken as ones and not read.
QSL_DECLARE_VARIANTS(void, dtrmm,
                     (int side, int uplo, int trans, int diag, int m, int n, const double* alpha,
                      const double* a, int lda, double* b, int ldb));

// B := alpha * inverse(op(A)) * B (left) or alpha * B * inverse(op(A)) (right). A singular matrix
// is not looked for: its solution has infinite or NaN elements.
QSL_DECLARE_VARIANTS(void, dtrsm,
                     (int side, int uplo, int trans, int diag, int m, int n, const double* alpha,
                      const double* a, int lda, double* b, int ldb));
QSL_DECLARE_VARIANTS(void, ztrsm,
                     (int side, int uplo, int trans, int diag, int m, int n,
                      const complex_double* alpha, const complex_double* a, int lda,
                      complex_double* b, int ldb));
