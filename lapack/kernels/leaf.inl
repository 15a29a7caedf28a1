// A level's unblocked factorisations, from its longest registers: DoubleVector.
#pragma once

#include "lapack/kernels/lu_leaf.h"
#include "lapack/routines.h"

namespace qsl::QSL_LEVEL {

void dgetrf_leaf(int m, int n, double* a, int lda, int* ipiv, int* info) {
  lu_leaf<RealElements<DoubleVector>>(m, n, a, lda, ipiv, info);
}

void zgetrf_leaf(int m, int n, complex_double* a, int lda, int* ipiv, int* info) {
  lu_leaf<ComplexElements<DoubleVector>>(m, n, reinterpret_cast<double*>(a), lda, ipiv, info);
}

}  // namespace qsl::QSL_LEVEL
