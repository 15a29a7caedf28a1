// What becomes of a column once its pivot is found: the multipliers of the elimination.
#pragma once

#include "elements/division.h"
#include "elements/for_each_register.h"

namespace qsl::QSL_LEVEL {

// The smallest number whose reciprocal does not overflow, and the smallest with all its bits.
inline constexpr double safe_minimum = 0x1p-1022;

// Whether a plain division by `divisor` (set_plain_division) may be a product with a reciprocal:
// for a complex pivot its |p|^2 has to be a normal number. (Without a branch on the sign, which is
// as good as random: measured for a real matrix of order 32, 1.02 times the speed.)
template <class Elements>
QSL_INLINE bool has_reciprocal(const double* divisor) {
  if constexpr (Elements::parts == 1) {
    const f64 size = {absolute(f64x2{f64::load(divisor).v}).v};
    const f64 least = {_mm_set_sd(safe_minimum)};
    return size >= least;
  } else {
    return *divisor >= safe_minimum && *divisor <= 0x1.fffffffffffffp1023;
  }
}

// The n elements below a pivot, divided by it. A pivot whose reciprocal is safe gives a factor,
// 1 / p or conj(p) / |p|^2; the others, NaN too, divide.
template <class Elements>
[[gnu::noinline]] void divide_column(int n, const double* pivot, double* x) {
  double factor[2];
  double divisor[1];
  set_plain_division<Elements>(pivot, factor, divisor);
  if (has_reciprocal<Elements>(divisor)) {
    for (int part = 0; part < Elements::parts; part++) factor[part] /= divisor[0];
    return for_each_register<Elements>(n, x, [&](auto v) QSL_INLINE_LAMBDA {
      return Elements::template FactorIn<decltype(v)>::read(factor).times(v);
    });
  }
  set_quotient<Elements>(pivot, factor, divisor);
  for_each_register<Elements>(n, x, [&](auto v) QSL_INLINE_LAMBDA {
    using Register = decltype(v);
    if constexpr (Elements::parts == 2) {
      v = Elements::template FactorIn<Register>::read(factor).times(v);
    }
    return v / Register::broadcast_from(divisor);
  });
}

}  // namespace qsl::QSL_LEVEL
