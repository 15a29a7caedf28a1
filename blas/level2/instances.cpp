// The routines of one level; compiled once for each.
#include "simd/level.h"

#include "blas/level2/kernels/drivers.h"
#include "blas/level2/kernels/trsv.h"
#include "blas/level2/routines.h"

namespace qsl::QSL_LEVEL {

using DoubleVector = Widest<double>;
using SingleVector = Widest<float>;

void dgemv(int trans, int m, int n, const double* alpha, const double* a, int lda, const double* x,
           int incx, const double* beta, double* y, int incy) {
  gemv<InRegisters<Real, DoubleVector>>(trans, m, n, alpha, a, lda, x, incx, beta, y, incy);
}

void zgemv(int trans, int m, int n, const complex_double* alpha, const complex_double* a, int lda,
           const complex_double* x, int incx, const complex_double* beta, complex_double* y,
           int incy) {
  gemv<InRegisters<DoubleComplex, DoubleVector>>(trans, m, n, alpha, a, lda, x, incx, beta, y,
                                                 incy);
}

void cgemv(int trans, int m, int n, const complex_float* alpha, const complex_float* a, int lda,
           const complex_float* x, int incx, const complex_float* beta, complex_float* y,
           int incy) {
  gemv<InRegisters<SingleComplex, SingleVector>>(trans, m, n, alpha, a, lda, x, incx, beta, y,
                                                 incy);
}

void dger(int m, int n, const double* alpha, const double* x, int incx, const double* y, int incy,
          const double* beta, double* a, int lda) {
  ger<InRegisters<Real, DoubleVector>>(m, n, alpha, x, incx, y, incy, beta, a, lda);
}

void zgeru(int m, int n, const complex_double* alpha, const complex_double* x, int incx,
           const complex_double* y, int incy, const complex_double* beta, complex_double* a,
           int lda) {
  ger<InRegisters<DoubleComplex, DoubleVector>>(m, n, alpha, x, incx, y, incy, beta, a, lda);
}

void cgeru(int m, int n, const complex_float* alpha, const complex_float* x, int incx,
           const complex_float* y, int incy, const complex_float* beta, complex_float* a, int lda) {
  ger<InRegisters<SingleComplex, SingleVector>>(m, n, alpha, x, incx, y, incy, beta, a, lda);
}

void dtrsv(int uplo, int trans, int diag, int n, const double* a, int lda, double* x) {
  trsv<Real>(uplo, trans, diag, n, a, lda, x);
}

void ztrsv(int uplo, int trans, int diag, int n, const complex_double* a, int lda,
           complex_double* x) {
  trsv<DoubleComplex>(uplo, trans, diag, n, a, lda, x);
}

}  // namespace qsl::QSL_LEVEL
