// The unblocked LU factorisation, Crout's form: column j is brought up to date just before its
// pivot is searched, row j of U right after.
//
// P. D. Crout, "A short method for evaluating determinants and solving systems of linear equations
// with real or complex coefficients", Trans. AIEE 60 (1941).
#pragma once

#include "blas/level2/routines.h"
#include "elements/add_columns.h"
#include "elements/dot_columns.h"
#include "elements/magnitude.h"
#include "lapack/kernels/divide_column.h"

namespace qsl::QSL_LEVEL {

// The level's own matrix-vector product: y := y - op(A) * x.
template <class Elements>
[[gnu::noinline]] void subtract_product(int trans, int m, int n, const double* a, int lda,
                                        const double* x, int incx, double* y, int incy) {
  if constexpr (Elements::parts == 1) {
    dgemv(trans, m, n, minus_one<Real>, a, lda, x, incx, one<Real>, y, incy);
  } else {
    const auto number = [](const double* p) QSL_INLINE_LAMBDA {
      return reinterpret_cast<const complex_double*>(p);
    };
    zgemv(trans, m, n, number(minus_one<Real>), number(a), lda, number(x), incx, number(one<Real>),
          reinterpret_cast<complex_double*>(y), incy);
  }
}

// Panels are narrow, and a call of the general product takes as long as the work in it: up to so
// many columns its kernels are called as they are.
inline constexpr int narrow_panel = 48;

// Row j of U, right of the diagonal: later elements of the row at `row`, less the product of L's
// row with the columns above.
template <class Elements>
[[gnu::noinline]] void update_row(int j, int later, const double* row, double* next, int lda) {
  constexpr int parts = Elements::parts;
  if (j > narrow_panel) {
    return subtract_product<Elements>(1, j, later, next, lda, row, lda, next + j * parts, lda);
  }
  alignas(64) double factors[narrow_panel * parts];
  for (int p = 0; p < j; p++) {
    Elements::store_one(factors + p * parts, negate(Elements::load_one(at<Elements>(row, p, lda))));
  }
  in_groups<Elements::columns>(later, [&](auto group, int i) QSL_INLINE_LAMBDA {
    double dots[group.value * parts];
    double* column = at<Elements>(next, i, lda);
    dot_columns<Elements, group.value>(j, column, lda, factors, false, dots);
    unroll<group.value>([&](auto c) QSL_INLINE_LAMBDA {
      double* u = at<Elements>(column, c.value, lda) + j * parts;
      Elements::store_one(u, Elements::load_one(u) + Elements::load_one(dots + c.value * parts));
    });
  });
}

// The column at `next` from row j on, less the product of L's first j columns with its elements
// above.
template <class Elements>
[[gnu::noinline]] void update_column(int rows, int j, const double* l, int lda, double* next) {
  constexpr int parts = Elements::parts;
  if (j > narrow_panel) {
    return subtract_product<Elements>(0, rows, j, l, lda, next, 1, next + j * parts, 1);
  }
  alignas(64) double factors[narrow_panel * parts];
  for (int p = 0; p < j; p++) {
    Elements::store_one(factors + p * parts, negate(Elements::load_one(next + p * parts)));
  }
  add_products<Elements>(rows, j, l, lda, factors, next + j * parts);
}

// Exchanges two rows of n columns.
template <class Elements>
[[gnu::noinline]] void exchange_rows(int n, double* row, double* other, int lda) {
  const int step = lda * Elements::parts;
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
  constexpr int parts = Elements::parts;
  const int steps = m < n ? m : n;
  int first_zero = 0;
  for (int j = 0; j < steps; j++) {
    double* column = a + j * lda * parts;
    const int pivot = j + index_of_greatest<Elements>(m - j, column + j * parts);
    ipiv[j] = pivot + 1;
    if (is_zero<Elements>(column + pivot * parts)) {
      if (first_zero == 0) first_zero = j + 1;
    } else {
      if (pivot != j) exchange_rows<Elements>(n, a + j * parts, a + pivot * parts, lda);
      const int below = m - j - 1;
      double* diagonal = column + j * parts;
      if (below > 0) divide_column<Elements>(below, diagonal, diagonal + parts);
    }
    const int later = n - j - 1;
    if (later <= 0) break;
    double* next = column + lda * parts;
    if (j > 0) update_row<Elements>(j, later, a + j * parts, next, lda);
    if (j + 1 < steps && j + 1 < m) {
      update_column<Elements>(m - j - 1, j + 1, a + (j + 1) * parts, lda, next);
    }
  }
  *info = first_zero;
}

}  // namespace qsl::QSL_LEVEL
