// Factors of matrix elements, applied to registers of any width: one, conjugation, a real or a
// complex number.
//
// A factor of one leaves every bit alone. A complex product is taken by its definition, so that
// infinite and NaN parts mix as they do in a plain loop.
#pragma once

#include "blas/level3/kernels/element.h"
#include "blas/level3/kernels/records.h"

namespace qsl::QSL_LEVEL {

template <class Type>
inline constexpr typename Type::Scalar one[2] = {1, 0};
template <class Type>
inline constexpr typename Type::Scalar minus_one[2] = {-1, 0};

// One complex number in single precision: the lower half of a register.
struct ComplexInLow {
  using Element = float;
  f32x4 v;

  QSL_INLINE static ComplexInLow zero() { return {f32x4::zero()}; }
  QSL_INLINE static ComplexInLow load(const float* p) { return {f32x4::load_pair(p)}; }
  QSL_INLINE void store(float* p) const { v.store_pair(p); }
};

struct Unchanged {
  template <class Vector>
  QSL_INLINE Vector apply(Vector x) const {
    return x;
  }
};

struct Conjugated {
  template <class Vector>
  QSL_INLINE Vector apply(Vector x) const {
    return negate_odd(x);
  }
  QSL_INLINE ComplexInLow apply(ComplexInLow x) const { return {negate_odd(x.v)}; }
};

struct RealFactor {
  const double* value;

  QSL_INLINE f64 apply(f64 x) const { return x * f64::load(value); }
  template <class Vector>
  QSL_INLINE Vector apply(Vector x) const {
    return x * Vector::broadcast_from(value);
  }
};

// (re, im) -> re * (fr, fi) + im * (-fi, fr), or of the conjugate: re * (fr, fi) + im * (fi, -fr).
template <class Scalar>
struct ComplexFactor {
  Scalar by_real[2];
  Scalar by_imaginary[2];

  QSL_INLINE ComplexFactor(const Scalar* factor, bool conjugate) {
    const Scalar re = factor[0];
    const Scalar im = factor[1];
    by_real[0] = re;
    by_real[1] = im;
    by_imaginary[0] = conjugate ? im : -im;
    by_imaginary[1] = conjugate ? -re : re;
  }

  template <class Vector>
  QSL_INLINE Vector apply(Vector x) const {
    return dup_even(x) * Vector::broadcast_pair(by_real) +
           dup_odd(x) * Vector::broadcast_pair(by_imaginary);
  }
  QSL_INLINE ComplexInLow apply(ComplexInLow x) const { return {apply(x.v)}; }
};

// x times a complex number in memory, for every pair of lanes.
template <class Vector>
QSL_INLINE Vector times(Vector x, const typename Vector::Element* factor) {
  const Vector pair = Vector::broadcast_pair(factor);
  return add_sub(x * dup_even(pair), swap_pairs(x) * dup_odd(pair));
}

// The bits of a scalar: a comparison of them does not depend on the caller's floating-point mode,
// in which a denormal number might count as zero.
struct [[gnu::may_alias]] DoubleWords {
  unsigned low, high;
};
struct [[gnu::may_alias]] FloatWord {
  unsigned word;
};
QSL_INLINE bool is_zero(const double* x) {
  const auto* bits = reinterpret_cast<const DoubleWords*>(x);
  return (bits->low | (bits->high << 1)) == 0;
}
QSL_INLINE bool is_zero(const float* x) {
  return reinterpret_cast<const FloatWord*>(x)->word << 1 == 0;
}
QSL_INLINE bool is_one(const double* x) {
  const auto* bits = reinterpret_cast<const DoubleWords*>(x);
  return bits->low == 0 && bits->high == 0x3ff00000;
}
QSL_INLINE bool is_one(const float* x) {
  return reinterpret_cast<const FloatWord*>(x)->word == 0x3f800000;
}

template <class Scalar>
QSL_INLINE bool is_one(const Scalar* factor, int parts) {
  return is_one(factor) && (parts == 1 || is_zero(factor + 1));
}
template <class Scalar>
QSL_INLINE bool is_zero(const Scalar* factor, int parts) {
  return is_zero(factor) && (parts == 1 || is_zero(factor + 1));
}

// body(factor), with the form of the factor that does least.
template <class Type, class Body>
QSL_INLINE void with_factor(const PackFactor& factor, const Body& body) {
  using Scalar = typename Type::Scalar;
  const auto* value = static_cast<const Scalar*>(factor.value);
  const bool one = value == nullptr || is_one(value, Type::parts);
  if constexpr (Type::parts == 1) {
    if (one) return body(Unchanged{});
    body(RealFactor{value});
  } else {
    if (one && factor.conjugate) return body(Conjugated{});
    if (one) return body(Unchanged{});
    body(ComplexFactor<Scalar>(value, factor.conjugate));
  }
}

}  // namespace qsl::QSL_LEVEL
