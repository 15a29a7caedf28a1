// A factor applied to elements on their way, in registers of any width: one, conjugation, a real or
// a complex number. Packing, scaling and transposing take the form that does least.
//
// A factor of one leaves every bit alone: (inf, y) * (1, 0) by its definition has a NaN. That is
// for alpha and beta themselves; elements, and products of elements with alpha, are never asked
// whether they are one. A complex product is taken by its definition, so that infinite and NaN
// parts mix as they do in a plain loop.
#pragma once

#include "elements/factor.h"

namespace qsl::QSL_LEVEL {

// What is asked for.
struct Scaling {
  const void* factor;  // null for one
  bool conjugate;
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
    return conjugate<DoubleComplex>(x);
  }
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

// An element as a factor, whatever its value.
template <class Type>
QSL_INLINE auto element_as_factor(const typename Type::Scalar* element) {
  if constexpr (Type::parts == 1) {
    return RealFactor{element};
  } else {
    return ComplexFactor<typename Type::Scalar>(element, false);
  }
}

// body(factor), with the form of the factor, an alpha or a beta, that does least.
template <class Type, class Body>
QSL_INLINE void with_factor(const Scaling& scaling, const Body& body) {
  using Scalar = typename Type::Scalar;
  const auto* value = static_cast<const Scalar*>(scaling.factor);
  const bool one = value == nullptr || is_one<Type>(value);
  if constexpr (Type::parts == 1) {
    if (one) return body(Unchanged{});
    body(RealFactor{value});
  } else {
    if (one && scaling.conjugate) return body(Conjugated{});
    if (one) return body(Unchanged{});
    body(ComplexFactor<Scalar>(value, scaling.conjugate));
  }
}

}  // namespace qsl::QSL_LEVEL
