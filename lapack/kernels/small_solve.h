// Systems with a factored matrix of order 8 or less: one right-hand side after the other, or
// several real ones abreast where there are many of them.
#pragma once

#include "blas/level3/kernels/small_triangle.h"
#include "lapack/kernels/solve_abreast.h"

namespace qsl::QSL_LEVEL {

// Where each element of a right-hand side comes from: the row exchanges, done on row numbers. They
// share a word, four bits each: in memory, each exchange would wait for the stores of the last one
// (measured for a system of order 2: 20 of 75 ns).
template <int n, int unit>
struct RowOrder {
  int offset[n];  // in scalars

  QSL_INLINE explicit RowOrder(const int* ipiv) {
    unsigned rows = 0x76543210;
    unroll<n>([&](auto i) QSL_INLINE_LAMBDA {
      constexpr int here = 4 * i.value;
      const int other = 4 * (ipiv[i.value] - 1) & 31;
      const unsigned difference = ((rows >> here) ^ (rows >> other)) & 15;
      rows ^= difference << here | difference << other;
    });
    unroll<n>([&](auto i) QSL_INLINE_LAMBDA {
      offset[i.value] = static_cast<int>(rows >> 4 * i.value & 15) * unit;
    });
  }
};

// 128 bits of a right-hand side in order, from element `first` on; zeros behind the last one. (They
// are put together in registers: a load of what single stores have just written waits for them.)
template <class Triangle, int first, class Order>
QSL_INLINE f64x2 gather_narrow(const Order& order, const double* b) {
  if constexpr (first >= Triangle::n) {
    return f64x2::zero();
  } else if constexpr (Triangle::unit == 2) {
    return f64x2::load(b + order.offset[first]);
  } else if constexpr (first + 1 < Triangle::n) {
    return f64x2::gather(b + order.offset[first], b + order.offset[first + 1]);
  } else {
    return f64x2::load_rest(b + order.offset[first], 1);
  }
}
template <class Triangle, class Order>
QSL_INLINE void gather(const Order& order, const double* b, typename Triangle::Column& x) {
  unroll<Triangle::registers>([&](auto i) QSL_INLINE_LAMBDA {
    constexpr int first = i.value * Triangle::rows;
    const f64x2 lower = gather_narrow<Triangle, first>(order, b);
    if constexpr (Triangle::lanes == 2) {
      x[i.value] = lower;
    } else {
      constexpr int second = first + Triangle::rows / 2;
      x[i.value] = combine(lower, gather_narrow<Triangle, second>(order, b));
    }
  });
}
// Elements scattered in order.
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

// Fewer right-hand sides are divided by the diagonal: their results are promised to be quotients.
// So many are multiplied by its reciprocals, as the general triangular solve does it.
inline constexpr int many_right_hand_sides = 9;

template <Diagonal kind, class Triangle, class Order>
QSL_INLINE void solve_in_order(const Triangle& t, const Order& order, int nrhs, double* b,
                               int ldb) {
  for (; nrhs > 0; nrhs--) {
    typename Triangle::Column x;
    gather<Triangle>(order, b, x);
    t.template forward<Diagonal::unit>(x);
    t.template backward<kind>(x);
    Triangle::store(x, b);
    b += ldb * Triangle::unit;
  }
}

// (Both with the arguments of the routine: the call becomes a jump.)

template <class Elements, int trans, int n>
[[gnu::noinline]] void solve_of_order(int, int, int nrhs, const double* a, int lda, const int* ipiv,
                                      double* b, int ldb) {
  using Triangle = SmallTriangle<Elements, n>;
  Triangle t;
  t.read(trans, a, lda);
  t.set_divisors();
  const RowOrder<n, Elements::unit> order(ipiv);
  if constexpr (trans == 0) {
    solve_in_order<Diagonal::divide>(t, order, nrhs, b, ldb);
  } else {
    for (; nrhs > 0; nrhs--) {
      // The transpose of U comes first; it is lower triangular.
      typename Triangle::Column x;
      Triangle::load(b, x);
      t.template forward<Diagonal::divide>(x);
      t.template backward<Diagonal::unit>(x);
      scatter<Triangle>(order, x, b);
      b += ldb * Elements::unit;
    }
  }
}

template <class Elements, int n>
[[gnu::noinline]] void solve_many_of_order(int, int, int nrhs, const double* a, int lda,
                                           const int* ipiv, double* b, int ldb) {
  using Triangle = SmallTriangle<Elements, n>;
  Triangle t;
  t.read(0, a, lda);
  t.set_divisors();
  const RowOrder<n, Elements::unit> order(ipiv);
  if (!t.set_reciprocals()) return solve_in_order<Diagonal::divide>(t, order, nrhs, b, ldb);
  if constexpr (solves_abreast<Triangle>) {
    constexpr int abreast = Triangle::lanes;
    for (; nrhs >= abreast; nrhs -= abreast) {
      solve_abreast(t, order, b, ldb);
      b += abreast * ldb;
    }
  }
  solve_in_order<Diagonal::reciprocal>(t, order, nrhs, b, ldb);
}

// op(A) * X = B with A = P * L * U as the factorisation leaves it; 1 <= n <= 8.
template <class Elements>
QSL_INLINE void solve_small_system(int trans, int n, int nrhs, const double* a, int lda,
                                   const int* ipiv, double* b, int ldb) {
  constexpr int most = largest_triangle_in_registers;
  if (trans == 0 && nrhs >= many_right_hand_sides) {
    return at_index<1, most>(n, [&](auto order) QSL_INLINE_LAMBDA {
      return solve_many_of_order<Elements, order.value>(trans, n, nrhs, a, lda, ipiv, b, ldb);
    });
  }
  if (trans == 0) {
    return at_index<1, most>(n, [&](auto order) QSL_INLINE_LAMBDA {
      return solve_of_order<Elements, 0, order.value>(trans, n, nrhs, a, lda, ipiv, b, ldb);
    });
  }
  if constexpr (Elements::unit == 2) {
    if (trans == 2) {
      return at_index<1, most>(n, [&](auto order) QSL_INLINE_LAMBDA {
        return solve_of_order<Elements, 2, order.value>(trans, n, nrhs, a, lda, ipiv, b, ldb);
      });
    }
  }
  at_index<1, most>(n, [&](auto order) QSL_INLINE_LAMBDA {
    return solve_of_order<Elements, 1, order.value>(trans, n, nrhs, a, lda, ipiv, b, ldb);
  });
}

}  // namespace qsl::QSL_LEVEL
