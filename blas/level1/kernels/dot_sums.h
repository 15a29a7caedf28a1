// What every form of the dot product is made of: four accumulators and a pair of vectors.
#pragma once

#include "elements/stride.h"
#include "simd/level.h"

namespace qsl::QSL_LEVEL {

// How x or y is fetched.
struct AtAnyAddress {
  template <class Vector>
  QSL_INLINE static Vector load(const double* p) {
    return Vector::load(p);
  }
};
struct AtAlignedAddress {
  template <class Vector>
  QSL_INLINE static Vector load(const double* p) {
    return Vector::load_aligned(p);
  }
};

template <class Vector>
struct DotAccumulators {
  Vector a[4] = {Vector::zero(), Vector::zero(), Vector::zero(), Vector::zero()};

  template <int i>
  QSL_INLINE void add_product(Vector x, Vector y) {
    a[i % 4] = mul_add(x, y, a[i % 4]);
  }
  // `vectors` vectors from x and y.
  template <int vectors, class FetchX, class FetchY>
  QSL_INLINE void add_block(const double* x, const double* y) {
    unroll<vectors>([&](auto j) QSL_INLINE_LAMBDA {
      constexpr int at = j.value * Vector::lanes;
      add_product<j.value>(FetchX::template load<Vector>(x + at),
                           FetchY::template load<Vector>(y + at));
    });
  }
  QSL_INLINE f64 sum() const { return sum_lanes((a[0] + a[1]) + (a[2] + a[3])); }
};

// What is left of two unit-stride vectors.
struct DotRest {
  int n;
  const double* x;
  const double* y;

  QSL_INLINE void advance(int elements) {
    x += elements;
    y += elements;
    n -= elements;
    keep(n);
  }
};

}  // namespace qsl::QSL_LEVEL
