// The dot product: one plan, told by the shape of a level.
//
// The products go to four independent accumulators, which hides the latency of the additions; at
// the end the sum is (a0 + a1) + (a2 + a3), then upper half + lower half of the register until one
// lane remains. The shape fixes which product goes where, and with it every bit of the result.
// Vector j of a block goes to accumulator j mod 4, and accumulators start at +0.
//
// Error: n * eps * sum |x[i] * y[i]| to first order, for any order of summation (Higham, Accuracy
// and Stability of Numerical Algorithms, 2nd ed., section 3.1).
//
// A shape:
//   Vector              the register that the blocks use
//   block               elements per pass of the main loop
//   bool unit_stride(incx, incy)
//   alignment           DotAlignment
//   remainder           DotRemainder
//   strided             DotStrided
#pragma once

#include "elements/stride.h"

namespace qsl::QSL_LEVEL {

enum class DotAlignment {
  // Unaligned loads.
  none,
  // Both arrays 16-byte aligned, after one element where both are 8 modulo 16; arrays of different
  // phase take the strided path.
  same_phase,
  // One element first where y needs it, then y is aligned; x of the other phase is read by aligned
  // loads too, and pairs are put together from neighbours. Arrays that are not 8-byte aligned are
  // read unaligned, without the peel.
  realigned,
};

enum class DotRemainder {
  // block / 2, block / 4, ... elements, down to one vector; then one element into lane 0 of a0.
  halving,
  // Pairs into a0, one after another; one element after the reduction.
  pairs,
  // After the reduction: one vector per pass into a register seeded with the sum; then one by one.
  seeded,
  // block / 2, block / 4, ... elements, down to one vector; then a masked vector into a0.
  masked,
};

enum class DotStrided {
  // One accumulator, in element order.
  in_order,
  // Eight elements per pass as four pairs, then pairs into a0, then one after the reduction.
  pairs_of_8,
  // Sixteen elements per pass as two vectors of eight lanes into a0 and a1, then eight into a0, and
  // the rest masked into a0.
  gathers_of_16,
};

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

// The blocks of half the size and less: bits of the count, one block of each size at most.
template <int elements, class FetchX, class FetchY, class Vector>
QSL_INLINE void dot_halving(DotAccumulators<Vector>& accumulators, DotRest& rest) {
  if constexpr (elements >= Vector::lanes) {
    if (rest.n & elements) {
      accumulators.template add_block<elements / Vector::lanes, FetchX, FetchY>(rest.x, rest.y);
      rest.advance(elements);
    }
    dot_halving<elements / 2, FetchX, FetchY>(accumulators, rest);
  }
}

// One vector per pass into a register whose lane 0 starts from `sum`; then one by one.
template <class Vector>
QSL_INLINE f64 dot_seeded(f64 sum, DotRest rest) {
  if (rest.n >= Vector::lanes) {
    Vector seeded = Vector::lower(sum);
    do {
      seeded = mul_add(Vector::load(rest.x), Vector::load(rest.y), seeded);
      rest.advance(Vector::lanes);
    } while (rest.n >= Vector::lanes);
    sum = sum_lanes(seeded);
  }
  for (; rest.n > 0; rest.advance(1)) {
    sum = mul_add(f64::load(rest.x), f64::load(rest.y), sum);
  }
  return sum;
}

// The remainder, the reduction and the elements after it, when a main block has run: all four
// accumulators count.
template <class Shape, class FetchX, class FetchY>
QSL_INLINE f64 dot_finish(DotAccumulators<typename Shape::Vector>& accumulators, DotRest rest,
                          [[maybe_unused]] f64 peeled) {
  using Vector = typename Shape::Vector;
  if constexpr (Shape::remainder == DotRemainder::halving) {
    dot_halving<Shape::block / 2, FetchX, FetchY>(accumulators, rest);
    if (rest.n & 1) {
      accumulators.a[0] = add_lower(accumulators.a[0], f64::load(rest.x) * f64::load(rest.y));
    }
    return accumulators.sum();
  } else if constexpr (Shape::remainder == DotRemainder::masked) {
    dot_halving<Shape::block / 2, FetchX, FetchY>(accumulators, rest);
    if (rest.n != 0) {
      accumulators.a[0] =
          mul_add_first(Vector::load_first(rest.x, rest.n), Vector::load_first(rest.y, rest.n),
                        accumulators.a[0], rest.n);
    }
    return accumulators.sum();
  } else if constexpr (Shape::remainder == DotRemainder::pairs) {
    for (; rest.n >= 2; rest.advance(2)) {
      accumulators.template add_block<1, FetchX, FetchY>(rest.x, rest.y);
    }
    f64 sum = accumulators.sum() + peeled;
    if (rest.n != 0) sum = sum + f64::load(rest.x) * f64::load(rest.y);
    return sum;
  } else {
    return dot_seeded<Vector>(accumulators.sum(), rest);
  }
}

// The same for a vector shorter than a main block, where short calls spend their time. Accumulators
// that got no product are +0 and are not added: without fused operations no accumulator is ever
// -0, so a sum with +0 changes no bit.
template <class Shape, class FetchX, class FetchY>
QSL_INLINE f64 dot_short(DotAccumulators<typename Shape::Vector>& accumulators, DotRest rest,
                         [[maybe_unused]] f64 peeled) {
  if constexpr (Shape::remainder == DotRemainder::halving) {
    if (rest.n < 4) {
      if (rest.n & 2) {
        accumulators.template add_block<1, FetchX, FetchY>(rest.x, rest.y);
        rest.advance(2);
      }
      if (rest.n & 1) {
        accumulators.a[0] = add_lower(accumulators.a[0], f64::load(rest.x) * f64::load(rest.y));
      }
      return sum_lanes(accumulators.a[0]);
    }
    return dot_finish<Shape, FetchX, FetchY>(accumulators, rest, peeled);
  } else if constexpr (Shape::remainder == DotRemainder::pairs) {
    f64 sum = peeled;
    if (rest.n >= 2) {
      do {
        accumulators.template add_block<1, FetchX, FetchY>(rest.x, rest.y);
        rest.advance(2);
      } while (rest.n >= 2);
      sum = sum + sum_lanes(accumulators.a[0]);
    }
    if (rest.n != 0) sum = sum + f64::load(rest.x) * f64::load(rest.y);
    return sum;
  } else if constexpr (Shape::remainder == DotRemainder::seeded) {
    return dot_seeded<typename Shape::Vector>(f64::zero(), rest);
  } else {
    return dot_finish<Shape, FetchX, FetchY>(accumulators, rest, peeled);
  }
}

template <class Shape, class FetchX, class FetchY>
QSL_INLINE f64 dot_blocks(DotAccumulators<typename Shape::Vector> accumulators, DotRest rest,
                          f64 peeled) {
  if (rest.n < Shape::block) return dot_short<Shape, FetchX, FetchY>(accumulators, rest, peeled);
  do {
    accumulators.template add_block<Shape::block / Shape::Vector::lanes, FetchX, FetchY>(rest.x,
                                                                                         rest.y);
    rest.advance(Shape::block);
  } while (rest.n >= Shape::block);
  return dot_finish<Shape, FetchX, FetchY>(accumulators, rest, peeled);
}

// y is 16-byte aligned and x is 8 modulo 16. The aligned vectors of x are (x[-1], x[0]),
// (x[1], x[2]), ...; the upper lane of one and the lower lane of the next make a pair. The last
// aligned load of a block reaches one element beyond it, so the block at the very end, and the
// pairs, load x unaligned: the same bits, and nothing outside the array is touched.
template <class Shape>
QSL_INLINE f64 dot_blocks_realigned(DotRest rest, f64 peeled) {
  using Vector = typename Shape::Vector;
  DotAccumulators<Vector> accumulators;
  if (rest.n > Shape::block) {
    Vector previous = Vector::load_upper(rest.x);
    do {
      unroll<Shape::block / Vector::lanes>([&](auto j) QSL_INLINE_LAMBDA {
        constexpr int at = j.value * Vector::lanes;
        const Vector next = Vector::load_aligned(rest.x + at + 1);
        accumulators.template add_product<j.value>(straddle(previous, next),
                                                   Vector::load_aligned(rest.y + at));
        previous = next;
      });
      rest.advance(Shape::block);
    } while (rest.n > Shape::block);
    if (rest.n == Shape::block) {
      accumulators.template add_block<Shape::block / Vector::lanes, AtAnyAddress, AtAlignedAddress>(
          rest.x, rest.y);
      rest.advance(Shape::block);
    }
    return dot_finish<Shape, AtAnyAddress, AtAlignedAddress>(accumulators, rest, peeled);
  }
  return dot_blocks<Shape, AtAnyAddress, AtAlignedAddress>(accumulators, rest, peeled);
}

template <class Shape>
QSL_INLINE f64 dot_strided(int n, const double* x_base, int incx, const double* y_base, int incy) {
  Walk<const double> x(x_base, n, incx);
  Walk<const double> y(y_base, n, incy);
  if constexpr (Shape::strided == DotStrided::in_order) {
    f64 sum = f64::zero();
    repeat<1>(n, [&](auto) QSL_INLINE_LAMBDA {
      sum = sum + f64::load(*x) * f64::load(*y);
      x.advance(1);
      y.advance(1);
    });
    return sum;
  } else if constexpr (Shape::strided == DotStrided::pairs_of_8) {
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
  } else {
    using Vector = typename Shape::Vector;
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
}

// In the levels whose alignment plan is `same_phase`.
template <class Shape>
QSL_INLINE bool dot_keeps_to_strides(const double* x, const double* y) {
  if constexpr (Shape::alignment == DotAlignment::same_phase) {
    const std::uintptr_t phase = misalignment(x, 16);
    return phase % 8 != 0 || phase != misalignment(y, 16);
  } else {
    return false;
  }
}

template <class Shape>
QSL_INLINE f64 dot_unit(DotRest rest) {
  DotAccumulators<typename Shape::Vector> accumulators;
  if constexpr (Shape::alignment == DotAlignment::none) {
    return dot_blocks<Shape, AtAnyAddress, AtAnyAddress>(accumulators, rest, f64::zero());
  } else if constexpr (Shape::alignment == DotAlignment::same_phase) {
    if (misalignment(rest.x, 16) != 0) {
      accumulators.a[0] = add_lower(accumulators.a[0], f64::load(rest.x) * f64::load(rest.y));
      rest.advance(1);
    }
    return dot_blocks<Shape, AtAlignedAddress, AtAlignedAddress>(accumulators, rest, f64::zero());
  } else {
    if ((misalignment(rest.x, 8) | misalignment(rest.y, 8)) != 0) {
      return dot_blocks<Shape, AtAnyAddress, AtAnyAddress>(accumulators, rest, f64::zero());
    }
    f64 peeled = f64::zero();
    if (misalignment(rest.y, 16) != 0) {
      peeled = peeled + f64::load(rest.x) * f64::load(rest.y);
      rest.advance(1);
    }
    if (misalignment(rest.x, 16) != 0) return dot_blocks_realigned<Shape>(rest, peeled);
    return dot_blocks<Shape, AtAlignedAddress, AtAlignedAddress>(accumulators, rest, peeled);
  }
}

// The forms are functions of the same arguments, so that choosing between them is a test and a
// jump: no call pays for the registers and the frame of another form. ("Used" keeps the compiler
// from giving them arguments of their own.) One element at level avx2, by the exported routine: 7.4
// ns in one function, 5.8 ns so.

// Every call that is not of unit stride, empty ones too.
template <class Shape>
[[gnu::noinline, gnu::used]] double dot_otherwise(int n, const double* x, int incx, const double* y,
                                                  int incy) {
  if (n <= 0) return 0.0;
  return dot_strided<Shape>(n, x, incx, y, incy).value();
}

template <class Shape>
[[gnu::noinline, gnu::used]] double dot_forward(int n, const double* x, int, const double* y, int) {
  return dot_unit<Shape>({n, x, y}).value();
}

template <class Shape>
QSL_INLINE double dot(int n, const double* x, int incx, const double* y, int incy) {
  // One element has no order of summation and no stride: +0 and the product in every form. In a
  // plain double, since a vector type would bring a realigned frame with it.
  if (n == 1) {
    const double x0 = reinterpret_cast<const DoubleAnywhere*>(x)->value;
    const double y0 = reinterpret_cast<const DoubleAnywhere*>(y)->value;
    if constexpr (has_fma) return __builtin_fma(x0, y0, 0.0);
    return 0.0 + x0 * y0;
  }
  if (n <= 0 || !Shape::unit_stride(incx, incy) || dot_keeps_to_strides<Shape>(x, y)) {
    return dot_otherwise<Shape>(n, x, incx, y, incy);
  }
  return dot_forward<Shape>(n, x, incx, y, incy);
}

// Unit stride in the levels that step forward only.
QSL_INLINE bool both_strides_one(int incx, int incy) { return incx == 1 && incy == 1; }
// In the levels that also walk two strides of -1 forward from the base pointers: the same products
// in the other order. (incx * incy == 1 in integers; compared without the overflow of a product.)
QSL_INLINE bool both_strides_one_or_minus_one(int incx, int incy) {
  return incx == incy && (incx == 1 || incx == -1);
}

}  // namespace qsl::QSL_LEVEL
