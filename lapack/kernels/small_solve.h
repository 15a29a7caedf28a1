// Systems with a factored matrix of order 8 or less, one right-hand side after the other.
#pragma once

#include "blas/level3/kernels/small_triangle.h"

namespace qsl::QSL_LEVEL {

// Where each element of a right-hand side comes from: the row exchanges, done on row numbers.
template <int n, int unit>
struct RowOrder {
  int offset[n];  // in scalars

  QSL_INLINE explicit RowOrder(const int* ipiv) {
    unroll<n>([&](auto i) QSL_INLINE_LAMBDA { offset[i.value] = i.value * unit; });
    for (int i = 0; i < n; i++) {
      int& other = offset[ipiv[i] - 1];
      const int kept = offset[i];
      offset[i] = other;
      other = kept;
    }
  }
};

// Elements gathered in order, or scattered: through a buffer, by single elements.
template <class Triangle, class Order>
QSL_INLINE void gather(const Order& order, const double* b, typename Triangle::Column& x) {
  using Elements = typename Triangle::Elements;
  alignas(Triangle::Vector::bytes) double buffer[Triangle::stride] = {};
  unroll<Triangle::n>([&](auto i) QSL_INLINE_LAMBDA {
    Elements::store_one(buffer + i.value * Triangle::unit,
                        Elements::load_one(b + order.offset[i.value]));
  });
  unroll<Triangle::registers>([&](auto i) QSL_INLINE_LAMBDA {
    x[i.value] = Triangle::Vector::load_aligned(buffer + i.value * Triangle::lanes);
  });
}
template <class Triangle, class Order>
QSL_INLINE void scatter(const Order& order, const typename Triangle::Column& x, double* b) {
  using Elements = typename Triangle::Elements;
  alignas(Triangle::Vector::bytes) double buffer[Triangle::stride];
  unroll<Triangle::registers>([&](auto i) QSL_INLINE_LAMBDA {
    x[i.value].store_aligned(buffer + i.value * Triangle::lanes);
  });
  unroll<Triangle::n>([&](auto i) QSL_INLINE_LAMBDA {
    Elements::store_one(b + order.offset[i.value],
                        Elements::load_one(buffer + i.value * Triangle::unit));
  });
}

template <class Elements, int trans, int n>
[[gnu::noinline]] void solve_of_order(int nrhs, const double* a, int lda, const int* ipiv,
                                      double* b, int ldb) {
  using Triangle = SmallTriangle<Elements, n>;
  Triangle t;
  t.read(trans, a, lda);
  t.set_divisors();
  const RowOrder<n, Elements::unit> order(ipiv);
  for (; nrhs > 0; nrhs--) {
    typename Triangle::Column x;
    if constexpr (trans == 0) {
      gather<Triangle>(order, b, x);
      t.template forward<Diagonal::unit>(x);
      t.template backward<Diagonal::divide>(x);
      Triangle::store(x, b);
    } else {
      // The transpose of U comes first; it is lower triangular.
      Triangle::load(b, x);
      t.template forward<Diagonal::divide>(x);
      t.template backward<Diagonal::unit>(x);
      scatter<Triangle>(order, x, b);
    }
    b += ldb * Elements::unit;
  }
}

template <class Elements, int trans, int n = largest_triangle_in_registers>
QSL_INLINE void solve_by_order(int order, int nrhs, const double* a, int lda, const int* ipiv,
                               double* b, int ldb) {
  if constexpr (n > 1) {
    if (order < n) {
      return solve_by_order<Elements, trans, n - 1>(order, nrhs, a, lda, ipiv, b, ldb);
    }
  }
  solve_of_order<Elements, trans, n>(nrhs, a, lda, ipiv, b, ldb);
}

// op(A) * X = B with A = P * L * U as the factorisation leaves it; 1 <= n <= 8.
template <class Elements>
QSL_INLINE void solve_small_system(int trans, int n, int nrhs, const double* a, int lda,
                                   const int* ipiv, double* b, int ldb) {
  if (trans == 0) return solve_by_order<Elements, 0>(n, nrhs, a, lda, ipiv, b, ldb);
  if constexpr (Elements::unit == 2) {
    if (trans == 2) return solve_by_order<Elements, 2>(n, nrhs, a, lda, ipiv, b, ldb);
  }
  solve_by_order<Elements, 1>(n, nrhs, a, lda, ipiv, b, ldb);
}

}  // namespace qsl::QSL_LEVEL
