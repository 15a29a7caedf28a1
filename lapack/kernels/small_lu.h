// The LU factorisation of small matrices, right-looking: each pivot's rank-one update is done at
// once. Straight-line code for the square ones of order 1 to 7, a loop for all others up to 16.
#pragma once

#include "blas/level3/kernels/division.h"
#include "lapack/kernels/magnitude.h"
#include "lapack/kernels/pivot_column.h"
#include "lapack/kernels/small_matrix.h"

namespace qsl::QSL_LEVEL {

// The row of the pivot: the first of the greatest magnitude from row k on. A NaN in row k stays.
template <class Elements, class Step>
QSL_INLINE int pivot_row(const Step& step, const double* column) {
  using Vector = typename Elements::Vector;
  constexpr int lanes = Vector::lanes;
  constexpr int first_lane = Step::place * Elements::unit;
  const Vector candidate = magnitude_at<Elements>(column + step.k() * Elements::unit);
  const auto load = [&](int i) QSL_INLINE_LAMBDA {
    return magnitudes<Elements>(Vector::load_aligned(column + i * lanes));
  };
  const Vector own = from_lane<first_lane>(load(step.own()), candidate);
  Vector best = greater_of(own, candidate);
  step.later_registers([&](int i) QSL_INLINE_LAMBDA { best = greater_of(load(i), best); });
  best = greatest_lane(best);
  unsigned equal = static_cast<unsigned>(equal_lanes(own, best)) >> first_lane << first_lane;
  // The lanes of the registers that are searched: 32 of them at most.
  int shift = lanes;
  step.later_registers([&](int i) QSL_INLINE_LAMBDA {
    equal |= static_cast<unsigned>(equal_lanes(load(i), best)) << shift;
    shift += lanes;
  });
  if (equal == 0) return step.k();
  return step.own() * rows_of_register<Elements> + __builtin_ctz(equal) / Elements::unit;
}

// The multipliers of column k: a pivot above the safe minimum gives a reciprocal.
template <class Elements, class Step>
QSL_INLINE void divide_below(const Step& step, double* column) {
  using Vector = typename Elements::Vector;
  constexpr int lanes = Vector::lanes;
  constexpr int after = (Step::place + 1) * Elements::unit;
  const double* pivot = column + step.k() * Elements::unit;
  const auto rows = [&](const auto& quotient) QSL_INLINE_LAMBDA {
    const auto divide = [&](int i) QSL_INLINE_LAMBDA {
      return quotient(Vector::load_aligned(column + i * lanes));
    };
    if constexpr (after < lanes) {
      double* own = column + step.own() * lanes;
      from_lane<after>(divide(step.own()), Vector::load_aligned(own)).store_aligned(own);
    }
    step.later_registers(
        [&](int i) QSL_INLINE_LAMBDA { divide(i).store_aligned(column + i * lanes); });
  };
  double diagonal[2];
  double divisor[1];
  set_division(pivot, diagonal, divisor, DivisionOf<Elements>{});
  const auto by = Elements::template FactorIn<Vector>::read(diagonal);
  const auto turned = [&](Vector x) QSL_INLINE_LAMBDA {
    if constexpr (Elements::unit == 2) x = by.times(x);
    return x;
  };
  if (modulus<Elements>(pivot) > f64{_mm_set_sd(safe_minimum)}) {
    const Vector reciprocal = Vector::broadcast(f64{_mm_set_sd(1.0)} / f64::load(divisor));
    rows([&](Vector x) QSL_INLINE_LAMBDA { return turned(x) * reciprocal; });
  } else {
    const Vector last = Vector::broadcast_from(divisor);
    rows([&](Vector x) QSL_INLINE_LAMBDA { return turned(x) / last; });
  }
}

// Column c minus its element in row k times the multipliers.
template <class Elements, class Step>
QSL_INLINE void eliminate(const Step& step, const double* multipliers, double* column) {
  using Vector = typename Elements::Vector;
  constexpr int lanes = Vector::lanes;
  constexpr int after = (Step::place + 1) * Elements::unit;
  const auto by =
      Elements::template FactorIn<Vector>::read(column + step.k() * Elements::unit).negated();
  const auto update = [&](int i) QSL_INLINE_LAMBDA {
    return by.times_plus(Vector::load_aligned(multipliers + i * lanes),
                         Vector::load_aligned(column + i * lanes));
  };
  if constexpr (after < lanes) {
    double* own = column + step.own() * lanes;
    from_lane<after>(update(step.own()), Vector::load_aligned(own)).store_aligned(own);
  }
  step.later_registers(
      [&](int i) QSL_INLINE_LAMBDA { update(i).store_aligned(column + i * lanes); });
}

template <class Elements, int stride, class Step>
QSL_INLINE void lu_step(const Step& step, double* at, int* ipiv, int& first_zero) {
  constexpr int unit = Elements::unit;
  const int k = step.k();
  double* column = at + k * stride * unit;
  const int pivot = pivot_row<Elements>(step, column);
  ipiv[k] = pivot + 1;
  if (is_zero_element<Elements>(column + pivot * unit)) {
    if (first_zero == 0) first_zero = k + 1;
  } else {
    // A row may be exchanged with itself: cheaper than a branch that is as good as random.
    step.columns([&](int c) QSL_INLINE_LAMBDA {
      double* row = at + (c * stride + k) * unit;
      double* other = at + (c * stride + pivot) * unit;
      const auto kept = Elements::load_one(row);
      Elements::store_one(row, Elements::load_one(other));
      Elements::store_one(other, kept);
    });
    divide_below<Elements>(step, column);
  }
  step.later_columns([&](int c) QSL_INLINE_LAMBDA {
    eliminate<Elements>(step, column, at + c * stride * unit);
  });
}

inline constexpr int largest_small_order = 16;
inline constexpr int largest_fixed_order = 7;

template <class Elements>
[[gnu::noinline]] int lu_loop(int m, int n, double* a, int lda, int* ipiv) {
  constexpr int stride = largest_small_order;
  constexpr int unit = Elements::unit;
  alignas(Elements::Vector::bytes) double at[largest_small_order * stride * unit];
  for (int j = 0; j < n; j++) {
    copy_to_buffer<Elements>(m, a + j * lda * unit, at + j * stride * unit);
  }
  int first_zero = 0;
  loop_steps<Elements>(
      m < n ? m : n, n, registers_for<Elements>(m), [&](const auto& step) QSL_INLINE_LAMBDA {
        lu_step<Elements, stride>(step, at, ipiv, first_zero);
      });
  for (int j = 0; j < n; j++) {
    copy_from_buffer<Elements>(m, at + j * stride * unit, a + j * lda * unit);
  }
  return first_zero;
}

template <class Elements, int n>
[[gnu::noinline]] int lu_fixed(double* a, int lda, int* ipiv) {
  constexpr int unit = Elements::unit;
  constexpr int stride = registers_for<Elements>(n) * rows_of_register<Elements>;
  alignas(Elements::Vector::bytes) double at[n * stride * unit];
  unroll<n>([&](auto j) QSL_INLINE_LAMBDA {
    copy_to_buffer<Elements>(n, a + j.value * lda * unit, at + j.value * stride * unit);
  });
  int first_zero = 0;
  fixed_steps<Elements, n>([&](const auto& step) QSL_INLINE_LAMBDA {
    lu_step<Elements, stride>(step, at, ipiv, first_zero);
  });
  unroll<n>([&](auto j) QSL_INLINE_LAMBDA {
    copy_from_buffer<Elements>(n, at + j.value * stride * unit, a + j.value * lda * unit);
  });
  return first_zero;
}

template <class Elements, int n = largest_fixed_order>
QSL_INLINE int lu_by_order(int order, double* a, int lda, int* ipiv) {
  if constexpr (n > 1) {
    if (order < n) return lu_by_order<Elements, n - 1>(order, a, lda, ipiv);
  }
  return lu_fixed<Elements, n>(a, lda, ipiv);
}

template <class Elements>
QSL_INLINE void lu_small(int m, int n, double* a, int lda, int* ipiv, int* info) {
  *info = 0;
  if (m == n && n >= 1 && n <= largest_fixed_order) {
    *info = lu_by_order<Elements>(n, a, lda, ipiv);
  } else if (m > 0 && n > 0) {
    *info = lu_loop<Elements>(m, n, a, lda, ipiv);
  }
}

}  // namespace qsl::QSL_LEVEL
