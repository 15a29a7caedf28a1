// A level's variants. The last thing that a level's source file includes, after Gemm<Type>, the
// level's product of elements of a type: its driver (TwoPathGemm, FixedDepthGemm or LadderGemm) on
// its numbers.
#pragma once

#include "blas/level3/routines.h"

namespace qsl::QSL_LEVEL {

void dgemm(int transa, int transb, int m, int n, int k, const double* alpha, const double* a,
           int lda, const double* b, int ldb, const double* beta, double* c, int ldc) {
  Gemm<Real>::multiply(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}

void cgemm(int transa, int transb, int m, int n, int k, const complex_float* alpha,
           const complex_float* a, int lda, const complex_float* b, int ldb,
           const complex_float* beta, complex_float* c, int ldc) {
  Gemm<SingleComplex>::multiply(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}

void zgemm(int transa, int transb, int m, int n, int k, const complex_double* alpha,
           const complex_double* a, int lda, const complex_double* b, int ldb,
           const complex_double* beta, complex_double* c, int ldc) {
  Gemm<DoubleComplex>::multiply(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}

}  // namespace qsl::QSL_LEVEL
