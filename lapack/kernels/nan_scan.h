// The search for a NaN in a matrix of doubles; complex ones are matrices with twice the doubles.
//
// Long columns are summed, without a branch for each element: a NaN makes the sum NaN. So may
// infinities of both signs; then every element is looked at.
#pragma once

#include "simd/inline.h"

namespace qsl::QSL_LEVEL {

// One column after another, by its own length: column(j, start, length).
template <class Column>
QSL_INLINE bool any_element_is_nan(int count, const Column& column) {
  for (int j = 0; j < count; j++) {
    int length;
    const double* x = column(j, length);
    for (int i = 0; i < length; i++) {
      if (is_nan(f64::load(x + i))) return true;
    }
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

template <class Vector, class Column>
QSL_INLINE int has_nan(bool direct, int count, const Column& column) {
  if (!direct) {
    bool suspicious = false;
    for (int j = 0; j < count && !suspicious; j++) {
      int length;
      const double* x = column(j, length);
      suspicious = sum_is_nan<Vector>(length, x);
    }
    if (!suspicious) return 0;
  }
  return any_element_is_nan(count, column) ? 1 : 0;
}

}  // namespace qsl::QSL_LEVEL
