// Division by a number that many others are divided by.
#pragma once

#include "blas/level3/kernels/element.h"

namespace qsl::QSL_LEVEL {

QSL_INLINE double magnitude(double x) { return x < 0 ? -x : x; }

// A division by d is a product with `diagonal` and a division by `divisor`. For a complex d both
// are of moderate size (R. L. Smith, "Algorithm 116: Complex division", Comm. ACM 5 (1962)).
QSL_INLINE void set_division(const double* d, double* diagonal, double* divisor, Real) {
  diagonal[0] = 1;
  *divisor = *d;
}
QSL_INLINE void set_division(const double* d, double* diagonal, double* divisor, DoubleComplex) {
  const double re = d[0];
  const double im = d[1];
  if (magnitude(re) >= magnitude(im)) {
    const double ratio = im / re;
    diagonal[0] = 1;
    diagonal[1] = -ratio;
    *divisor = re + im * ratio;
  } else {
    const double ratio = re / im;
    diagonal[0] = ratio;
    diagonal[1] = -1;
    *divisor = im + re * ratio;
  }
}

// The element type behind a class of elements with one or two parts.
template <int parts>
struct NumberOfParts;
template <>
struct NumberOfParts<1> {
  using Type = Real;
};
template <>
struct NumberOfParts<2> {
  using Type = DoubleComplex;
};
template <class Elements>
using DivisionOf = typename NumberOfParts<Elements::unit>::Type;

}  // namespace qsl::QSL_LEVEL
