// The registers that hold one element of a type, or a few of them.
#pragma once

#include "elements/element.h"
#include "simd/level.h"

namespace qsl::QSL_LEVEL {

// One complex number in single precision: the lower half of a register.
struct ComplexInLow {
  using Element = float;
  f32x4 v;

  QSL_INLINE static ComplexInLow zero() { return {f32x4::zero()}; }
  QSL_INLINE static ComplexInLow load(const float* p) { return {f32x4::load_pair(p)}; }
  QSL_INLINE void store(float* p) const { v.store_pair(p); }
};
QSL_INLINE ComplexInLow operator+(ComplexInLow x, ComplexInLow y) { return {x.v + y.v}; }

template <class Element>
struct UnitOf;
template <>
struct UnitOf<double> {
  using Register = f64;
};
template <>
struct UnitOf<complex_float> {
  using Register = ComplexInLow;
};
template <>
struct UnitOf<complex_double> {
  using Register = f64x2;
};
template <class Type>
using Unit = typename UnitOf<typename Type::Element>::Register;

// The register that holds `count` elements: the unit, and wider ones up to 256 bits.
template <class Type, int count>
struct RegisterWith {
  using Register = Unit<Type>;
  static_assert(count == 1);
};
template <>
struct RegisterWith<Real, 2> {
  using Register = f64x2;
};
template <>
struct RegisterWith<SingleComplex, 2> {
  using Register = f32x4;
};
#if defined(__AVX__)
template <>
struct RegisterWith<Real, 4> {
  using Register = f64x4;
};
template <>
struct RegisterWith<SingleComplex, 4> {
  using Register = f32x8;
};
template <>
struct RegisterWith<DoubleComplex, 2> {
  using Register = f64x4;
};
#endif
template <class Type, int count>
using RegisterOf = typename RegisterWith<Type, count>::Register;

// Elements of the widest of these registers. It has 256 bits at level avx512, too: what uses them
// moves elements and transposes squares of them, and a square of 512-bit registers needs all eight.
template <class Type>
inline constexpr int widest = Within256<double>::bytes / sizeof(typename Type::Element);

// The conjugates of a register's elements.
template <class Type, class Register>
QSL_INLINE Register conjugate(Register x) {
  if constexpr (Type::parts == 1) {
    return x;
  } else {
    return negate_odd(x);
  }
}
template <class Type>
QSL_INLINE ComplexInLow conjugate(ComplexInLow x) {
  return {negate_odd(x.v)};
}

}  // namespace qsl::QSL_LEVEL
