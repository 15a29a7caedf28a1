// The dot product of vectors whose strides are not one. A level names one of these as its shape's
// Strided.
#pragma once

#include "blas/level1/kernels/dot_sums.h"

namespace qsl::QSL_LEVEL {

// One accumulator, in element order.
struct StridedInOrder {
  QSL_INLINE static f64 sum(int n, const double* x_base, int incx, const double* y_base, int incy) {
    Walk<const double> x(x_base, n, incx);
    Walk<const double> y(y_base, n, incy);
    f64 sum = f64::zero();
    repeat<1>(n, [&](auto) QSL_INLINE_LAMBDA {
      sum = sum + f64::load(*x) * f64::load(*y);
      x.advance(1);
      y.advance(1);
    });
    return sum;
  }
};

// Eight elements per pass as four pairs, then pairs into a0, then one after the reduction.
struct StridedPairs {
  QSL_INLINE static f64 sum(int n, const double* x_base, int incx, const double* y_base, int incy) {
    Walk<const double> x(x_base, n, incx);
    Walk<const double> y(y_base, n, incy);
    DotAccumulators<f64x2> accumulators;
    const auto add_pair = [&](auto j) QSL_INLINE_LAMBDA {
      accumulators.template add_product<j.value>(f64x2::gather(x[0], x[1]),
                                                 f64x2::gather(y[0], y[1]));
      x.advance(2);
      y.advance(2);
    };
    for (; n >= 8; n -= 8) {
      unroll<4>(add_pair);
      keep(n);
    }
    for (; n >= 2; n -= 2) {
      unroll<1>(add_pair);
      keep(n);
    }
    f64 sum = accumulators.sum();
    if (n != 0) sum = mul_add(f64::load(*x), f64::load(*y), sum);
    return sum;
  }
};

#if defined(__AVX512F__)
// Sixteen elements per pass as two vectors of eight lanes into a0 and a1, then eight into a0, and
// the rest masked into a0.
struct StridedGathers {
  QSL_INLINE static f64 sum(int n, const double* x_base, int incx, const double* y_base, int incy) {
    using Vector = f64x8;
    Walk<const double> x(x_base, n, incx);
    Walk<const double> y(y_base, n, incy);
    const auto offsets_x = Vector::offsets(incx);
    const auto offsets_y = Vector::offsets(incy);
    DotAccumulators<Vector> accumulators;
    const auto add_vector = [&](auto j) QSL_INLINE_LAMBDA {
      accumulators.template add_product<j.value>(Vector::gather(*x, offsets_x),
                                                 Vector::gather(*y, offsets_y));
      x.advance(Vector::lanes);
      y.advance(Vector::lanes);
    };
    for (; n >= 16; n -= 16) unroll<2>(add_vector);
    if (n & 8) unroll<1>(add_vector);
    n &= 7;
    if (n != 0) {
      accumulators.a[0] =
          mul_add_first(Vector::gather_first(*x, offsets_x, n),
                        Vector::gather_first(*y, offsets_y, n), accumulators.a[0], n);
    }
    return accumulators.sum();
  }
};
#endif

}  // namespace qsl::QSL_LEVEL
