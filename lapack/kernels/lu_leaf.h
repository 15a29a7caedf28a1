// The unblocked LU factorisation, Crout's form: column j is brought up to date just before its
// pivot is searched, row j of U right after.
//
// P. D. Crout, "A short method for evaluating determinants and solving systems of linear equations
// with real or complex coefficients", Trans. AIEE 60 (1941).
#pragma once

#include "blas/level2/routines.h"
#include "lapack/kernels/magnitude.h"
#include "lapack/kernels/pivot_column.h"

namespace qsl::QSL_LEVEL {

// The level's own matrix-vector product: y := y - op(A) * x.
QSL_INLINE void subtract_product(int trans, int m, int n, const double* a, int lda, const double* x,
                                 int incx, double* y, int incy, Index<1>) {
  dgemv(trans, m, n, minus_one<Real>, a, lda, x, incx, one<Real>, y, incy);
}
QSL_INLINE void subtract_product(int trans, int m, int n, const double* a, int lda, const double* x,
                                 int incx, double* y, int incy, Index<2>) {
  const auto number = [](const double* p)
                          QSL_INLINE_LAMBDA { return reinterpret_cast<const complex_double*>(p); };
  zgemv(trans, m, n, number(minus_one<Real>), number(a), lda, number(x), incx,
        number(one<Real>), reinterpret_cast<complex_double*>(y), incy);
}

// Exchanges two rows of n columns.
template <class Elements>
[[gnu::noinline]] void exchange_rows(int n, double* row, double* other, int lda) {
  const int step = lda * Elements::unit;
  for (; n > 0; n--) {
    keep(n);
    const auto kept = Elements::load_one(row);
    Elements::store_one(row, Elements::load_one(other));
    Elements::store_one(other, kept);
    row += step;
    other += step;
  }
}

template <class Elements>
QSL_INLINE void lu_leaf(int m, int n, double* a, int lda, int* ipiv, int* info) {
  constexpr int unit = Elements::unit;
  constexpr Index<unit> kind;
  const int steps = m < n ? m : n;
  int first_zero = 0;
  for (int j = 0; j < steps; j++) {
    double* column = a + j * lda * unit;
    const int pivot = j + index_of_greatest<Elements>(m - j, column + j * unit);
    ipiv[j] = pivot + 1;
    if (is_zero_element<Elements>(column + pivot * unit)) {
      if (first_zero == 0) first_zero = j + 1;
    } else {
      if (pivot != j) exchange_rows<Elements>(n, a + j * unit, a + pivot * unit, lda);
      const int below = m - j - 1;
      double* diagonal = column + j * unit;
      if (below > 0) divide_column<Elements>(below, diagonal, diagonal + unit);
    }
    const int later = n - j - 1;
    if (later <= 0) break;
    double* next = column + lda * unit;
    // Row j of U, from the rows of U above it.
    if (j > 0) {
      subtract_product(1, j, later, next, lda, a + j * unit, lda, next + j * unit, lda, kind);
    }
    // The next column, from the columns of L before it.
    if (j + 1 < steps) {
      subtract_product(0, m - j - 1, j + 1, a + (j + 1) * unit, lda, next, 1,
                       next + (j + 1) * unit, 1, kind);
    }
  }
  *info = first_zero;
}

}  // namespace qsl::QSL_LEVEL
