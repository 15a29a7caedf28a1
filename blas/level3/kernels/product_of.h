// The level's own matrix product, by element type, for the routines that are built on it.
#pragma once

#include "blas/level3/routines.h"
#include "elements/element.h"
#include "elements/groups.h"

namespace qsl::QSL_LEVEL {

QSL_INLINE void product_of(int transa, int transb, int m, int n, int k, const double* alpha,
                           const double* a, int lda, const double* b, int ldb, const double* beta,
                           double* c, int ldc) {
  dgemm(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}
QSL_INLINE void product_of(int transa, int transb, int m, int n, int k, const complex_double* alpha,
                           const complex_double* a, int lda, const complex_double* b, int ldb,
                           const complex_double* beta, complex_double* c, int ldc) {
  zgemm(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
}

// Row `row`, column `col` of op(X).
template <class Element>
QSL_INLINE Element* at(Element* x, int ld, int trans, int row, int col) {
  return trans == 0 ? x + row + col * ld : x + col + row * ld;
}

// Order of the matrices that are worked on whole; larger ones are cut in two.
inline constexpr int leaf_order = 32;

// Order of the first half.
QSL_INLINE int first_half(int n) { return round_up(n / 2, 8); }

}  // namespace qsl::QSL_LEVEL
