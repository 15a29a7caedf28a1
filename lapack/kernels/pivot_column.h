// What becomes of a column once its pivot is found: the multipliers of the elimination.
#pragma once

#include "blas/level2/kernels/elements.h"
#include "blas/level3/kernels/factor.h"

namespace qsl::QSL_LEVEL {

// The smallest number whose reciprocal does not overflow.
inline constexpr double safe_minimum = 0x1p-1022;

template <class Elements>
QSL_INLINE bool is_zero_element(const double* p) {
  return is_zero(p, Elements::unit);
}

// |p|, for a complex p the true modulus; nothing is scaled.
template <class Elements>
QSL_INLINE f64 modulus(const double* p) {
  if constexpr (Elements::unit == 1) {
    return {absolute(f64x2{f64::load(p).v}).v};
  } else {
    const f64 re = f64::load(p);
    const f64 im = f64::load(p + 1);
    return square_root(re * re + im * im);
  }
}

// x[i] := body(x[i]) for n elements, a register at a time.
template <class Elements, class Body>
QSL_INLINE void for_each_register(int n, double* x, const Body& body) {
  using Vector = typename Elements::Vector;
  using Narrow = typename Elements::Narrow;
  int count = n * Elements::unit;
  for (; count >= Vector::lanes; count -= Vector::lanes) {
    body(Vector::load(x)).store(x);
    x += Vector::lanes;
  }
  if constexpr (Vector::lanes > Narrow::lanes) {
    for (; count >= Narrow::lanes; count -= Narrow::lanes) {
      body(Narrow::load(x)).store(x);
      x += Narrow::lanes;
    }
  }
  if constexpr (Narrow::lanes > Elements::unit) {
    if (count > 0) Elements::store_one(x, body(Elements::load_one(x)));
  }
}

// The n elements below a pivot, divided by it. A pivot whose reciprocal is safe gives a factor; the
// others, NaN too, divide.
//
// A complex reciprocal is conj(p) / |p|^2, and a quotient x * conj(p) / |p|^2, with |p|^2 as it
// comes.
template <class Elements>
[[gnu::noinline]] void divide_column(int n, const double* pivot, double* x) {
  const bool safe = modulus<Elements>(pivot) >= f64{_mm_set_sd(safe_minimum)};
  double conjugate[2];
  double divisor[1];
  if constexpr (Elements::unit == 1) {
    conjugate[0] = 1;
    divisor[0] = pivot[0];
  } else {
    conjugate[0] = pivot[0];
    conjugate[1] = -pivot[1];
    divisor[0] = pivot[0] * pivot[0] + pivot[1] * pivot[1];
  }
  if (safe) {
    for (int part = 0; part < Elements::unit; part++) conjugate[part] /= divisor[0];
    return for_each_register<Elements>(n, x, [&](auto v) QSL_INLINE_LAMBDA {
      return Elements::template FactorIn<decltype(v)>::read(conjugate).times(v);
    });
  }
  for_each_register<Elements>(n, x, [&](auto v) QSL_INLINE_LAMBDA {
    using Register = decltype(v);
    if constexpr (Elements::unit == 2) {
      v = Elements::template FactorIn<Register>::read(conjugate).times(v);
    }
    return v / Register::broadcast_from(divisor);
  });
}

}  // namespace qsl::QSL_LEVEL
