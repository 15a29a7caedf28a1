// Products of elements, side by side. All of them round each product of parts or fuse it with the
// sum that follows; they differ in what they fuse, and so in the last bit. A routine keeps to one.
//
//   product(x, y)    by the definition, every operation rounded: where infinite and NaN parts are
//                    to mix as in a plain loop
//   RegisterFactor   one number times registers of elements, fused where the level can: the usual
//                    form of kernels
//   Turned           the same with the numbers in memory, many for each register of elements: both
//                    forms of the elements are made once
//   complex_sum      the end of sums that were kept apart, with real and with imaginary
//   multipliers:
//                    no shuffle in the loop (in_registers.h, the tiles of the matrix product)
//
// The complex update y := alpha * x + y has an order of its own (blas/level1/kernels/zaxpy.h), as
// the dot products with pairs of band columns have (blas/band/kernels/gbmv_t.h).
#pragma once

#include "elements/unit.h"

namespace qsl::QSL_LEVEL {

// x * y, element by element: (xr * yr - xi * yi, xi * yr + xr * yi).
template <class Type, class Register>
QSL_INLINE Register product(Register x, Register y) {
  if constexpr (Type::parts == 1) {
    return x * y;
  } else {
    return add_sub(x * dup_even(y), swap_pairs(x) * dup_odd(y));
  }
}
template <class Type>
QSL_INLINE ComplexInLow product(ComplexInLow x, ComplexInLow y) {
  return {product<Type>(x.v, y.v)};
}

// One number, made ready to multiply registers of elements of one or two parts.
template <int parts, class Register>
struct RegisterFactor;

template <class Register>
struct RegisterFactor<1, Register> {
  using Scalar = typename Register::Element;

  Register value;

  QSL_INLINE static RegisterFactor read(const Scalar* p) { return {Register::broadcast_from(p)}; }
  // Element `place` of a register.
  template <int place>
  QSL_INLINE static RegisterFactor of(Register x) {
    return {broadcast_lane<place>(x)};
  }
  QSL_INLINE RegisterFactor negated() const { return {negate(value)}; }

  // factor * x, factor * x + sum, sum - factor * x
  QSL_INLINE Register times(Register x) const { return value * x; }
  QSL_INLINE Register times_plus(Register x, Register sum) const { return mul_add(value, x, sum); }
  QSL_INLINE Register taken_from(Register sum, Register x) const {
    return neg_mul_add(value, x, sum);
  }
};

// (re, im) * (fr, fi) = (re, im) * (fr, fr) + (im, re) * (-fi, fi)
template <class Register>
struct RegisterFactor<2, Register> {
  using Scalar = typename Register::Element;

  Register real;
  Register imag;  // (-fi, fi)

  QSL_INLINE static RegisterFactor of_pairs(Register pairs) {
    return {dup_even(pairs), negate_even(dup_odd(pairs))};
  }
  QSL_INLINE static RegisterFactor read(const Scalar* p) {
    return of_pairs(Register::broadcast_pair(p));
  }
  template <int place>
  QSL_INLINE static RegisterFactor of(Register x) {
    return of_pairs(broadcast_pair_of<place>(x));
  }
  QSL_INLINE RegisterFactor negated() const { return {negate(real), negate(imag)}; }

  QSL_INLINE Register times(Register x) const { return mul_add(swap_pairs(x), imag, x * real); }
  QSL_INLINE Register times_plus(Register x, Register sum) const {
    return mul_add(swap_pairs(x), imag, mul_add(x, real, sum));
  }
  QSL_INLINE Register taken_from(Register sum, Register x) const {
    return taken_from(sum, x, swap_pairs(x));
  }
  // The same for an x whose swapped form is at hand.
  QSL_INLINE Register taken_from(Register sum, Register x, Register swapped) const {
    return neg_mul_add(swapped, imag, neg_mul_add(x, real, sum));
  }
};

// A register of elements that meets many numbers in memory: x, and for a complex type i * x.
template <class Type, class Register>
struct Turned {
  Register straight;
  Register turned;

  QSL_INLINE explicit Turned(Register x) : straight(x), turned(x) {
    if constexpr (Type::parts == 2) turned = negate_even(swap_pairs(x));
  }
  // sum + *factor * x
  QSL_INLINE Register times_plus(const typename Type::Scalar* factor, Register sum) const {
    sum = mul_add(straight, Register::broadcast_from(factor), sum);
    if constexpr (Type::parts == 2) {
      sum = mul_add(turned, Register::broadcast_from(factor + 1), sum);
    }
    return sum;
  }
};

// A * re + i * A * im, lane pairs being complex numbers.
template <class Register>
QSL_INLINE Register complex_sum(Register by_real, Register by_imaginary) {
  return add_sub(by_real, swap_pairs(by_imaginary));
}

}  // namespace qsl::QSL_LEVEL
