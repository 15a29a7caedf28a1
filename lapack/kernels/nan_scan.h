// The search for a NaN in a matrix of doubles; complex ones are matrices with twice the doubles.
//
// Long columns are summed, without a branch for each element: a NaN makes the sum NaN. So may
// infinities of both signs; then every element is looked at.
#pragma once

#include "simd/inline.h"

namespace qsl::QSL_LEVEL {

// Each element, a register of them at a time.
template <class Vector>
QSL_INLINE bool element_is_nan(int length, const double* x) {
  constexpr int lanes = Vector::lanes;
  for (; length >= lanes; length -= lanes) {
    if (nan_lanes(Vector::load(x)) != 0) return true;
    x += lanes;
  }
  for (; length > 0; length--) {
    if (is_nan(f64::load(x++))) return true;
  }
  return false;
}

template <class Vector>
QSL_INLINE bool sum_is_nan(int length, const double* x) {
  constexpr int lanes = Vector::lanes;
  Vector sum = Vector::zero();
  Vector other = sum;
  for (; length >= 2 * lanes; length -= 2 * lanes) {
    sum = sum + Vector::load(x);
    other = other + Vector::load(x + lanes);
    x += 2 * lanes;
    keep(length);
  }
  f64 rest = sum_lanes(sum + other);
  for (; length > 0; length--) rest = rest + f64::load(x++);
  return is_nan(rest);
}

// Any of `count` columns: column(j, length) is where it starts, and how long it is.
template <class Vector, class Column>
QSL_INLINE bool any_sum_is_nan(int count, const Column& column) {
  for (int j = 0; j < count; j++) {
    int length;
    const double* x = column(j, length);
    if (sum_is_nan<Vector>(length, x)) return true;
  }
  return false;
}
template <class Vector, class Column>
QSL_INLINE bool any_element_is_nan(int count, const Column& column) {
  for (int j = 0; j < count; j++) {
    int length;
    const double* x = column(j, length);
    if (element_is_nan<Vector>(length, x)) return true;
  }
  return false;
}

template <class Vector, class Column>
QSL_INLINE int has_nan(bool direct, int count, const Column& column) {
  if (!direct && !any_sum_is_nan<Vector>(count, column)) return 0;
  return any_element_is_nan<Vector>(count, column) ? 1 : 0;
}

}  // namespace qsl::QSL_LEVEL
