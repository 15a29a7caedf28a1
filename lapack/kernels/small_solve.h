// Systems with a factored matrix of order 8 or less: one right-hand side after the other, or
// several real ones abreast where there are many of them.
#pragma once

#include "elements/small_triangle.h"
#include "lapack/kernels/solve_abreast.h"

namespace qsl::QSL_LEVEL {

// Where each element of a right-hand side comes from: the row exchanges, done on row numbers. They
// share a word, four bits each: in memory, each exchange would wait for the stores of the last one
// (measured for a system of order 2: 20 of 75 ns).
QSL_INLINE void exchange_row_numbers(unsigned& rows, int i, const int* ipiv) {
  const int here = 4 * i;
  const int other = 4 * (ipiv[i] - 1) & 31;
  const unsigned difference = ((rows >> here) ^ (rows >> other)) & 15;
  rows ^= difference << here | difference << other;
}
QSL_INLINE int row_number(unsigned rows, int i) { return static_cast<int>(rows >> 4 * i & 15); }
inline constexpr unsigned rows_in_order = 0x76543210;

template <int n, int parts>
struct RowOrder {
  int offset[n];  // in scalars

  QSL_INLINE explicit RowOrder(const int* ipiv) {
    unsigned rows = rows_in_order;
    unroll<n>([&](auto i) QSL_INLINE_LAMBDA { exchange_row_numbers(rows, i.value, ipiv); });
    unroll<n>([&](auto i)
                  QSL_INLINE_LAMBDA { offset[i.value] = row_number(rows, i.value) * parts; });
  }
};

// 128 bits of a right-hand side in order, from element `first` on; zeros behind the last one. (They
// are put together in registers: a load of what single stores have just written waits for them.)
template <class Triangle, int first, class Order>
QSL_INLINE f64x2 gather_narrow(const Order& order, const double* b) {
  if constexpr (first >= Triangle::n) {
    return f64x2::zero();
  } else if constexpr (Triangle::parts == 2) {
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
    b += ldb * Triangle::parts;
  }
}

// (Both with the arguments of the routine: the call becomes a jump.)

template <class Elements, int n>
[[gnu::noinline]] void solve_of_order(int, int, int nrhs, const double* a, int lda, const int* ipiv,
                                      double* b, int ldb) {
  using Triangle = SmallTriangle<Elements, n>;
  Triangle t;
  t.read(a, lda);
  t.set_divisors();
  const RowOrder<n, Elements::parts> order(ipiv);
  solve_in_order<Diagonal::divide>(t, order, nrhs, b, ldb);
}

template <class Elements, int n>
[[gnu::noinline]] void solve_many_of_order(int trans, int, int nrhs, const double* a, int lda,
                                           const int* ipiv, double* b, int ldb) {
  using Triangle = SmallTriangle<Elements, n>;
  Triangle t;
  t.read(a, lda);
  t.set_divisors();
  if (!t.set_reciprocals()) {
    return solve_of_order<Elements, n>(trans, n, nrhs, a, lda, ipiv, b, ldb);
  }
  const RowOrder<n, Elements::parts> order(ipiv);
  if constexpr (solves_abreast<Triangle>) {
    constexpr int abreast = Triangle::lanes;
    for (; nrhs >= abreast; nrhs -= abreast) {
      solve_abreast(t, order, b, ldb);
      b += abreast * ldb;
    }
  }
  solve_in_order<Diagonal::reciprocal>(t, order, nrhs, b, ldb);
}

// The transposed system, which no factorisation of the library's own asks for: one loop for all
// orders, element by element.
template <class Elements>
class TransposedSystem {
  static constexpr int parts = Elements::parts;
  using Narrow = typename Elements::Narrow;
  using Factor = RegisterFactor<parts, Narrow>;

 public:
  // The arrays are set as far as they are used.
  // cppcheck-suppress uninitMemberVar
  QSL_INLINE TransposedSystem(int trans, int n, const double* a, int lda)
      : conjugated_(trans == 2), n_(n), a_(a), lda_(lda) {
    for (int k = 0; k < n; k++) {
      double d[2];
      Elements::store_one(d, element(k, k));
      set_quotient<Elements>(d, diagonal_ + 2 * k, divisor_ + k);
    }
  }

  // x := inverse(op(A)) * x without the row exchanges. The transpose of U comes first; it is lower
  // triangular.
  QSL_INLINE void solve(double* x) const {
    for (int k = 0; k < n_; k++) {
      divide(k, x);
      for (int i = k + 1; i < n_; i++) eliminate(k, i, x);
    }
    for (int k = n_ - 1; k > 0; k--) {
      for (int i = 0; i < k; i++) eliminate(k, i, x);
    }
  }

 private:
  // Element (i, k) of op(A).
  QSL_INLINE Narrow element(int i, int k) const {
    const Narrow value = Elements::load_one(a_ + (i * lda_ + k) * parts);
    return conjugated_ ? conjugate<Elements>(value) : value;
  }
  QSL_INLINE void divide(int k, double* x) const {
    Narrow value = Elements::load_one(x + k * parts);
    if constexpr (parts == 2) value = Factor::read(diagonal_ + 2 * k).times(value);
    Elements::store_one(x + k * parts, value / Narrow::broadcast_from(divisor_ + k));
  }
  QSL_INLINE void eliminate(int k, int i, double* x) const {
    const auto by = Factor::template of<0>(Elements::load_one(x + k * parts));
    double* at = x + i * parts;
    Elements::store_one(at, by.taken_from(Elements::load_one(at), element(i, k)));
  }

  bool conjugated_;
  int n_;
  const double* a_;
  int lda_;
  double diagonal_[2 * largest_triangle_in_registers];
  double divisor_[largest_triangle_in_registers];
};

template <class Elements>
[[gnu::noinline]] void solve_transposed(int trans, int n, int nrhs, const double* a, int lda,
                                        const int* ipiv, double* b, int ldb) {
  constexpr int parts = Elements::parts;
  const TransposedSystem<Elements> system(trans, n, a, lda);
  unsigned rows = rows_in_order;
  for (int i = 0; i < n; i++) exchange_row_numbers(rows, i, ipiv);
  for (; nrhs > 0; nrhs--) {
    double x[largest_triangle_in_registers * parts];
    for (int i = 0; i < n; i++) {
      Elements::store_one(x + i * parts, Elements::load_one(b + i * parts));
    }
    system.solve(x);
    for (int i = 0; i < n; i++) {
      Elements::store_one(b + row_number(rows, i) * parts, Elements::load_one(x + i * parts));
    }
    b += ldb * parts;
  }
}

// op(A) * X = B with A = P * L * U as the factorisation leaves it; 1 <= n <= 8.
template <class Elements>
QSL_INLINE void solve_small_system(int trans, int n, int nrhs, const double* a, int lda,
                                   const int* ipiv, double* b, int ldb) {
  constexpr int most = largest_triangle_in_registers;
  if (trans != 0) return solve_transposed<Elements>(trans, n, nrhs, a, lda, ipiv, b, ldb);
  if (nrhs >= many_right_hand_sides) {
    return at_index<1, most>(n, [&](auto order) QSL_INLINE_LAMBDA {
      return solve_many_of_order<Elements, order.value>(trans, n, nrhs, a, lda, ipiv, b, ldb);
    });
  }
  at_index<1, most>(n, [&](auto order) QSL_INLINE_LAMBDA {
    return solve_of_order<Elements, order.value>(trans, n, nrhs, a, lda, ipiv, b, ldb);
  });
}

}  // namespace qsl::QSL_LEVEL
