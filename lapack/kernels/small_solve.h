// Systems with a factored matrix of order 8 or less, one right-hand side after the other.
// Straight-line code for the orders 1 to 7, a loop for 8.
//
// The triangles are copied to the stack as the substitution meets them, transposed for a transposed
// system, so that one form serves all: a value that is found is eliminated from those that follow.
#pragma once

#include "blas/level3/kernels/division.h"
#include "lapack/kernels/small_matrix.h"

namespace qsl::QSL_LEVEL {

inline constexpr int largest_small_solve = 8;

template <class Elements>
struct SmallFactors {
  static constexpr int stride = largest_small_solve;
  alignas(Elements::Vector::bytes) double at[largest_small_solve * stride * Elements::unit];
  double diagonal[largest_small_solve * 2];
  double divisor[largest_small_solve];
  alignas(Elements::Vector::bytes) double x[largest_small_solve * Elements::unit];

  QSL_INLINE const double* column(int k) const { return at + k * stride * Elements::unit; }
};

// x[k] divided by the diagonal.
template <class Elements>
QSL_INLINE void divide_by_diagonal(SmallFactors<Elements>& f, int k) {
  using Narrow = typename Elements::Narrow;
  double* x = f.x + k * Elements::unit;
  auto value = Elements::load_one(x);
  if constexpr (Elements::unit == 2) {
    value = Elements::template FactorIn<Narrow>::read(f.diagonal + 2 * k).times(value);
  }
  Elements::store_one(x, Narrow{(value / Narrow::broadcast_from(f.divisor + k)).v});
}

// The rows after (down) or before row k, less x[k] times column k.
template <class Elements, bool down, class Step>
QSL_INLINE void eliminate_value(SmallFactors<Elements>& f, const Step& step) {
  using Vector = typename Elements::Vector;
  constexpr int lanes = Vector::lanes;
  const double* column = f.column(step.k());
  const auto by =
      Elements::template FactorIn<Vector>::read(f.x + step.k() * Elements::unit).negated();
  const auto update = [&](int i) QSL_INLINE_LAMBDA {
    return by.times_plus(Vector::load_aligned(column + i * lanes),
                         Vector::load_aligned(f.x + i * lanes));
  };
  double* own = f.x + step.own() * lanes;
  if constexpr (down) {
    constexpr int after = (Step::place + 1) * Elements::unit;
    if constexpr (after < lanes) {
      from_lane<after>(update(step.own()), Vector::load_aligned(own)).store_aligned(own);
    }
    step.later_registers([&](int i) QSL_INLINE_LAMBDA { update(i).store_aligned(f.x + i * lanes); });
  } else {
    constexpr int before = Step::place * Elements::unit;
    if constexpr (before > 0) {
      first_then<before>(update(step.own()), Vector::load_aligned(own)).store_aligned(own);
    }
    step.earlier_registers(
        [&](int i) QSL_INLINE_LAMBDA { update(i).store_aligned(f.x + i * lanes); });
  }
}

template <class Elements>
QSL_INLINE void exchange_values(double* x, int row, int other) {
  double* a = x + row * Elements::unit;
  double* b = x + other * Elements::unit;
  const auto kept = Elements::load_one(a);
  Elements::store_one(a, Elements::load_one(b));
  Elements::store_one(b, kept);
}

// The factors to the buffer: op(A) by columns.
template <class Elements, class Orders>
QSL_INLINE void read_factors(const Orders& orders, int trans, const double* a, int lda,
                             SmallFactors<Elements>& f) {
  constexpr int unit = Elements::unit;
  const int n = orders.n();
  if (trans == 0) {
    for (int j = 0; j < n; j++) {
      copy_to_buffer<Elements>(n, a + j * lda * unit,
                               f.at + j * SmallFactors<Elements>::stride * unit);
    }
  } else {
    for (double& element : f.at) element = 0;
    for (int j = 0; j < n; j++) {
      for (int i = 0; i < n; i++) {
        auto value = Elements::load_one(a + (i * lda + j) * unit);
        if constexpr (unit == 2) {
          if (trans == 2) value = negate_odd(value);
        }
        Elements::store_one(f.at + (j * SmallFactors<Elements>::stride + i) * unit, value);
      }
    }
  }
  for (int k = 0; k < n; k++) {
    set_division(f.column(k) + k * unit, f.diagonal + 2 * k, f.divisor + k,
                 DivisionOf<Elements>{});
  }
}

template <class Elements, class Orders>
QSL_INLINE void solve_small(const Orders& orders, int trans, int nrhs, const double* a, int lda,
                            const int* ipiv, double* b, int ldb) {
  constexpr int unit = Elements::unit;
  const int n = orders.n();
  SmallFactors<Elements> f;
  read_factors<Elements>(orders, trans, a, lda, f);
  for (; nrhs > 0; nrhs--) {
    copy_to_buffer<Elements>(n, b, f.x);
    if (trans == 0) {
      for (int i = 0; i < n; i++) exchange_values<Elements>(f.x, i, ipiv[i] - 1);
      orders.steps([&](const auto& step)
                       QSL_INLINE_LAMBDA { eliminate_value<Elements, true>(f, step); });
      orders.steps_back([&](const auto& step) QSL_INLINE_LAMBDA {
        divide_by_diagonal(f, step.k());
        eliminate_value<Elements, false>(f, step);
      });
    } else {
      // The transpose of U comes first; it is lower triangular.
      orders.steps([&](const auto& step) QSL_INLINE_LAMBDA {
        divide_by_diagonal(f, step.k());
        eliminate_value<Elements, true>(f, step);
      });
      orders.steps_back([&](const auto& step)
                            QSL_INLINE_LAMBDA { eliminate_value<Elements, false>(f, step); });
      for (int i = n - 1; i >= 0; i--) exchange_values<Elements>(f.x, i, ipiv[i] - 1);
    }
    copy_from_buffer<Elements>(n, f.x, b);
    b += ldb * unit;
  }
}

template <class Elements, int n_>
struct FixedOrder {
  QSL_INLINE static constexpr int n() { return n_; }
  template <class Body>
  QSL_INLINE void steps(const Body& body) const {
    fixed_steps<Elements, n_>(body);
  }
  template <class Body>
  QSL_INLINE void steps_back(const Body& body) const {
    fixed_steps_back<Elements, n_>(body);
  }
};

template <class Elements>
struct LoopOrder {
  int n_;

  QSL_INLINE int n() const { return n_; }
  template <class Body>
  QSL_INLINE void steps(const Body& body) const {
    loop_steps<Elements>(n_, n_, body);
  }
  template <class Body>
  QSL_INLINE void steps_back(const Body& body) const {
    loop_steps_back<Elements>(n_, body);
  }
};

template <class Elements, int trans, class Orders>
[[gnu::noinline]] void solve_of_order(const Orders& orders, int nrhs, const double* a, int lda,
                                      const int* ipiv, double* b, int ldb) {
  solve_small<Elements>(orders, trans, nrhs, a, lda, ipiv, b, ldb);
}

template <class Elements, int trans, int n = 7>
QSL_INLINE void solve_by_order(int order, int nrhs, const double* a, int lda, const int* ipiv,
                               double* b, int ldb) {
  if constexpr (n == 7) {
    if (order > n) {
      return solve_of_order<Elements, trans>(LoopOrder<Elements>{order}, nrhs, a, lda, ipiv, b,
                                             ldb);
    }
  }
  if constexpr (n > 1) {
    if (order < n) {
      return solve_by_order<Elements, trans, n - 1>(order, nrhs, a, lda, ipiv, b, ldb);
    }
  }
  solve_of_order<Elements, trans>(FixedOrder<Elements, n>{}, nrhs, a, lda, ipiv, b, ldb);
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
