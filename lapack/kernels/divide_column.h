// What becomes of a column once its pivot is found: the multipliers of the elimination.
#pragma once

#include "elements/division.h"
#include "elements/for_each_register.h"

namespace qsl::QSL_LEVEL {

// The smallest number whose reciprocal does not overflow.
inline constexpr double safe_minimum = 0x1p-1022;

// |p|, for a complex p the true modulus; nothing is scaled.
template <class Elements>
QSL_INLINE f64 modulus(const double* p) {
  if constexpr (Elements::parts == 1) {
    return {absolute(f64x2{f64::load(p).v}).v};
  } else {
    const f64 re = f64::load(p);
    const f64 im = f64::load(p + 1);
    return square_root(re * re + im * im);
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
  set_plain_division<Elements>(pivot, conjugate, divisor);
  if (safe) {
    for (int part = 0; part < Elements::parts; part++) conjugate[part] /= divisor[0];
    return for_each_register<Elements>(n, x, [&](auto v) QSL_INLINE_LAMBDA {
      return Elements::template FactorIn<decltype(v)>::read(conjugate).times(v);
    });
  }
  for_each_register<Elements>(n, x, [&](auto v) QSL_INLINE_LAMBDA {
    using Register = decltype(v);
    if constexpr (Elements::parts == 2) {
      v = Elements::template FactorIn<Register>::read(conjugate).times(v);
    }
    return v / Register::broadcast_from(divisor);
  });
}

}  // namespace qsl::QSL_LEVEL
