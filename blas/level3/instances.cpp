// The routines with symmetric and triangular matrices of one level; compiled once for each. They
// have no numbers of their own: the level's matrix product does the work.
#include "simd/level.h"

#include "blas/level3/kernels/symmetric.h"
#include "blas/level3/kernels/triangular.h"

namespace qsl::QSL_LEVEL {

void dsymm(int side, int uplo, int m, int n, const double* alpha, const double* a, int lda,
           const double* b, int ldb, const double* beta, double* c, int ldc) {
  if (m <= 0 || n <= 0) return;
  if (is_zero<Real>(alpha)) return scale_matrix<Real>(describe(c, m, n, ldc, 0, sizeof *c), beta);
  const bool left = side == QSL_LEFT;
  symmetric_product({left, uplo == QSL_LOWER, left ? n : m, alpha, lda, ldb, ldc}, left ? m : n, a,
                    b, beta, c);
}

void dgemmt(int uplo, int transa, int transb, int n, int k, const double* alpha, const double* a,
            int lda, const double* b, int ldb, const double* beta, double* c, int ldc) {
  if (n <= 0 || adds_nothing(k, alpha, beta)) return;
  triangle_product({uplo == QSL_LOWER, transa, transb, k, alpha, lda, ldb, beta, ldc}, n, a, b, c);
}

void dsyrk(int uplo, int trans, int n, int k, const double* alpha, const double* a, int lda,
           const double* beta, double* c, int ldc) {
  const int other = trans == 0 ? 1 : 0;
  dgemmt(uplo, trans, other, n, k, alpha, a, lda, a, lda, beta, c, ldc);
}

void dsyr2k(int uplo, int trans, int n, int k, const double* alpha, const double* a, int lda,
            const double* b, int ldb, const double* beta, double* c, int ldc) {
  const int other = trans == 0 ? 1 : 0;
  dgemmt(uplo, trans, other, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
  dgemmt(uplo, trans, other, n, k, alpha, b, ldb, a, lda, &plus_one, c, ldc);
}

void dtrmm(int side, int uplo, int trans, int diag, int m, int n, const double* alpha,
           const double* a, int lda, double* b, int ldb) {
  triangular<Real, TriangularWork::multiply>(side, uplo, trans, diag, m, n, alpha, a, lda, b, ldb);
}

void dtrsm(int side, int uplo, int trans, int diag, int m, int n, const double* alpha,
           const double* a, int lda, double* b, int ldb) {
  triangular<Real, TriangularWork::solve>(side, uplo, trans, diag, m, n, alpha, a, lda, b, ldb);
}

void ztrsm(int side, int uplo, int trans, int diag, int m, int n, const complex_double* alpha,
           const complex_double* a, int lda, complex_double* b, int ldb) {
  triangular<DoubleComplex, TriangularWork::solve>(side, uplo, trans, diag, m, n, alpha, a, lda, b,
                                                   ldb);
}

}  // namespace qsl::QSL_LEVEL
