// The complex update y := alpha * x + y: one plan, told by the shape of a level.
//
// Unit stride, each element: p := alpha * x first, then y := p + y.
//   real part  p = xr * ar - xi * ai        imaginary part  p = xr * ai + xi * ar
// as (xr, xr) * (ar, ai) -+ (xi, xi) * (ai, ar). The second product is rounded; the first one is
// rounded before the sum at the levels without fused multiply-add, and not at the others. The bits
// of an element do not depend on the block that it falls into.
//
// Other strides and, where the shape says so, short vectors, each element in order:
//   yr := yr + xr * ar;  yi := yi + xi * ar;  yr := yr - xi * ai;  yi := xr * ai + yi
// fused where the level has it. The two forms may differ in the last bit. An element of y is read
// after the one before it was written, so that a zero stride of y accumulates.
//
// alpha is read once, before y is written. An alpha of one is left out, since a complex product
// with it would not leave infinities and zeros as they are: y := x + y.
//
// A shape:
//   Vector              the register that the blocks use
//   block               complex elements per pass of the main loop
//   minimum             fewer elements take the strided form
//   remainder           ZaxpyRemainder
//   alignment           ZaxpyAlignment
//   Access              how elements are loaded and stored where nothing is known of the address
//   strided_block       elements per pass of the strided loop
#pragma once

#include "elements/element.h"
#include "elements/factor.h"
#include "elements/stride.h"

namespace qsl::QSL_LEVEL {

enum class ZaxpyRemainder {
  // block / 2, block / 4, ... elements, down to one vector; then one.
  halving,
  // Pairs, then one.
  pairs,
  // One by one.
  singles,
};

enum class ZaxpyAlignment {
  none,
  // At least four elements in arrays of equal address modulo the vector's size and 16-byte aligned:
  // one element first where needed, then aligned, with prefetch. Others: the same loop, unaligned,
  // without prefetch.
  same_phase_prefetched,
  // By x modulo 16: aligned loads at 0, aligned loads put together from neighbours at 8, unaligned
  // loads otherwise.
  by_x,
};

// How whole complex elements are loaded and stored, and how x is loaded with its real and its
// imaginary parts apart, each in both lanes of a pair.
template <class Vector>
struct Parts {
  Vector real;
  Vector imag;
};
struct UnalignedAccess {
  template <class Vector>
  QSL_INLINE static Vector load(const double* p) {
    return Vector::load(p);
  }
  template <class Vector>
  QSL_INLINE static Parts<Vector> load_parts(const double* p) {
    const Vector elements = Vector::load(p);
    return {dup_even(elements), dup_odd(elements)};
  }
  template <class Vector>
  QSL_INLINE static void store(double* p, Vector elements) {
    elements.store(p);
  }
};
struct AlignedAccess {
  template <class Vector>
  QSL_INLINE static Vector load(const double* p) {
    return Vector::load_aligned(p);
  }
  template <class Vector>
  QSL_INLINE static Parts<Vector> load_parts(const double* p) {
    const Vector elements = Vector::load_aligned(p);
    return {dup_even(elements), dup_odd(elements)};
  }
  template <class Vector>
  QSL_INLINE static void store(double* p, Vector elements) {
    elements.store_aligned(p);
  }
};
// By 8-byte halves; f64x2 only.
struct HalvesAccess {
  template <class Vector>
  QSL_INLINE static Vector load(const double* p) {
    return Vector::load_halves(p);
  }
  template <class Vector>
  QSL_INLINE static Parts<Vector> load_parts(const double* p) {
    return {Vector::broadcast(f64::load(p)), Vector::broadcast(f64::load(p + 1))};
  }
  template <class Vector>
  QSL_INLINE static void store(double* p, Vector elements) {
    elements.store_halves(p);
  }
};

// alpha in the forms that the two products need.
template <class Vector>
struct Alpha {
  Vector straight;  // (ar, ai)
  Vector crossed;   // (ai, ar); without fused operations (-ai, ar), so that a sum subtracts

  QSL_INLINE static Alpha read(const complex_double* alpha) {
    const Vector straight = Vector::broadcast_pair(scalars(alpha));
    if constexpr (has_fma) {
      return {straight, swap_pairs(straight)};
    } else {
      return {straight, negate_even(swap_pairs(straight))};
    }
  }
  QSL_INLINE Alpha<f64x2> narrow() const { return {first_pair(straight), first_pair(crossed)}; }

  QSL_INLINE Vector times(Parts<Vector> x) const {
    if constexpr (has_fma) {
      return mul_sub_add(x.real, straight, x.imag * crossed);
    } else {
      return x.real * straight + x.imag * crossed;
    }
  }
};

// What is left of two unit-stride vectors; n counts complex elements.
struct ZaxpyRest {
  int n;
  const double* x;
  double* y;

  QSL_INLINE void advance(int elements) {
    x += 2 * elements;
    y += 2 * elements;
    n -= elements;
    keep(n);
  }
};

// `elements` complex elements in vectors of alpha's type.
template <int elements, class X, class Y, class Vector>
QSL_INLINE void zaxpy_block(const Alpha<Vector>& alpha, ZaxpyRest& rest) {
  unroll<2 * elements / Vector::lanes>([&](auto j) QSL_INLINE_LAMBDA {
    constexpr int at = j.value * Vector::lanes;
    const Vector p = alpha.times(X::template load_parts<Vector>(rest.x + at));
    Y::store(rest.y + at, p + Y::template load<Vector>(rest.y + at));
  });
  rest.advance(elements);
}

// Bits of the count, one block of each size at most.
template <int elements, class X, class Y, class Vector>
QSL_INLINE void zaxpy_halving(const Alpha<Vector>& alpha, ZaxpyRest& rest) {
  if constexpr (2 * elements >= Vector::lanes) {
    if (rest.n & elements) zaxpy_block<elements, X, Y>(alpha, rest);
    zaxpy_halving<elements / 2, X, Y>(alpha, rest);
  }
}

// Four lines of one stream per pass of 16 elements (256 bytes), 256 to 448 bytes ahead. A prefetch
// beyond the array's end does nothing.
QSL_INLINE void prefetch_four_lines(const double* p) {
  unroll<4>([&](auto line) QSL_INLINE_LAMBDA {
    _mm_prefetch(
        reinterpret_cast<const char*>(reinterpret_cast<std::uintptr_t>(p) + 256 + 64 * line.value),
        _MM_HINT_T0);
  });
}

template <class Shape, class X, class Y, bool prefetched = false>
QSL_INLINE void zaxpy_unit(const Alpha<typename Shape::Vector>& alpha, ZaxpyRest rest) {
  while (rest.n >= Shape::block) {
    if constexpr (prefetched) {
      prefetch_four_lines(rest.x);
      prefetch_four_lines(rest.y);
    }
    zaxpy_block<Shape::block, X, Y>(alpha, rest);
  }
  if constexpr (Shape::remainder == ZaxpyRemainder::halving) {
    zaxpy_halving<Shape::block / 2, X, Y>(alpha, rest);
  } else if constexpr (Shape::remainder == ZaxpyRemainder::pairs) {
    while (rest.n >= 2) zaxpy_block<2, X, Y>(alpha, rest);
  }
  while (rest.n >= 1) zaxpy_block<1, X, Y>(alpha.narrow(), rest);
}

// x is 8 modulo 16: its aligned vectors are (imag[-1], real[0]), (imag[0], real[1]), ...; the upper
// lane of one and the lower lane of the next are an element. The last aligned load of a block
// reaches one element beyond it, so the block at the very end, and what follows, load x unaligned:
// nothing outside the array is touched.
template <class Shape>
QSL_INLINE void zaxpy_unit_realigned(const Alpha<typename Shape::Vector>& alpha, ZaxpyRest rest) {
  using Vector = typename Shape::Vector;
  if (rest.n > Shape::block) {
    Vector previous = Vector::load_upper(rest.x);
    do {
      unroll<Shape::block>([&](auto j) QSL_INLINE_LAMBDA {
        constexpr int at = j.value * Vector::lanes;
        const Vector next = Vector::load_aligned(rest.x + at + 1);
        const Vector p = alpha.times({dup_odd(previous), dup_even(next)});
        (p + Vector::load(rest.y + at)).store(rest.y + at);
        previous = next;
      });
      rest.advance(Shape::block);
    } while (rest.n > Shape::block);
  }
  zaxpy_unit<Shape, UnalignedAccess, UnalignedAccess>(alpha, rest);
}

template <class Shape>
QSL_INLINE void zaxpy_strided(int n, const complex_double* alpha, const complex_double* x_base,
                              int incx, complex_double* y_base, int incy) {
  const f64x2 factor = f64x2::load(scalars(alpha));
  const f64x2 real = dup_even(factor);              // (ar, ar)
  const f64x2 imag = negate_even(dup_odd(factor));  // (-ai, ai)
  Walk<const double, 2> x(scalars(x_base), n, incx);
  Walk<double, 2> y(scalars(y_base), n, incy);
  using Access = typename Shape::Access;
  const auto update = [&](auto) QSL_INLINE_LAMBDA {
    const f64x2 element = Access::template load<f64x2>(*x);
    const f64x2 sum = mul_add(element, real, Access::template load<f64x2>(*y));
    Access::store(*y, mul_add(swap_pairs(element), imag, sum));
    x.advance(1);
    y.advance(1);
  };
  repeat<Shape::strided_block>(n, update);
  if constexpr (Shape::strided_block > 1) repeat<1>(n, update);
}

// The forms for an alpha of one and for all others are functions of the same arguments, so that
// choosing is a test and a jump: in one function with both, all calls paid for the registers and
// the aligned stack of both (0.82 to 0.95 of the speed of up to 100 elements).

// y := x + y, any strides.
template <class Vector, class Access>
[[gnu::noinline, gnu::used]] void add_elements(int n, const complex_double*,
                                               const complex_double* x_base, int incx,
                                               complex_double* y_base, int incy) {
  Walk<const double, 2> x(scalars(x_base), n, incx);
  Walk<double, 2> y(scalars(y_base), n, incy);
  if (incx == 1 && incy == 1) {
    constexpr int together = 4 * Vector::lanes / 2;
    for (; n >= together; n -= together) {
      unroll<4>([&](auto j) QSL_INLINE_LAMBDA {
        constexpr int at = j.value * Vector::lanes;
        Access::store(*y + at, Access::template load<Vector>(*x + at) +
                                   Access::template load<Vector>(*y + at));
      });
      x.advance(together);
      y.advance(together);
      keep(n);
    }
  }
  repeat<1>(n, [&](auto) QSL_INLINE_LAMBDA {
    Access::store(*y, Access::template load<f64x2>(*x) + Access::template load<f64x2>(*y));
    x.advance(1);
    y.advance(1);
  });
}

// alpha not being one, n positive.
template <class Shape>
[[gnu::noinline, gnu::used]] void add_multiples(int n, const complex_double* alpha,
                                                const complex_double* x, int incx,
                                                complex_double* y, int incy) {
  using Access = typename Shape::Access;
  if (incx != 1 || incy != 1 || n < Shape::minimum) {
    zaxpy_strided<Shape>(n, alpha, x, incx, y, incy);
    return;
  }
  const auto factor = Alpha<typename Shape::Vector>::read(alpha);
  ZaxpyRest rest{n, scalars(x), scalars(y)};
  if constexpr (Shape::alignment == ZaxpyAlignment::same_phase_prefetched) {
    const std::uintptr_t phase = misalignment(x, Shape::Vector::bytes);
    if (n >= 4 && phase == misalignment(y, Shape::Vector::bytes) && phase % 16 == 0) {
      if (phase != 0) zaxpy_block<1, Access, Access>(factor.narrow(), rest);
      zaxpy_unit<Shape, AlignedAccess, AlignedAccess, true>(factor, rest);
      return;
    }
  } else if constexpr (Shape::alignment == ZaxpyAlignment::by_x) {
    const std::uintptr_t phase = misalignment(x, 16);
    if (phase == 0) {
      zaxpy_unit<Shape, AlignedAccess, Access>(factor, rest);
      return;
    }
    if (phase == 8) {
      zaxpy_unit_realigned<Shape>(factor, rest);
      return;
    }
  }
  zaxpy_unit<Shape, Access, Access>(factor, rest);
}

template <class Shape>
QSL_INLINE void zaxpy(int n, const complex_double* alpha, const complex_double* x, int incx,
                      complex_double* y, int incy) {
  if (n <= 0) return;
  if (is_one<DoubleComplex>(alpha)) {
    add_elements<typename Shape::Vector, typename Shape::Access>(n, alpha, x, incx, y, incy);
  } else {
    add_multiples<Shape>(n, alpha, x, incx, y, incy);
  }
}

// The body of a level with one shape.
template <class Shape>
struct ZaxpyOf {
  QSL_INLINE static void update(int n, const complex_double* alpha, const complex_double* x,
                                int incx, complex_double* y, int incy) {
    zaxpy<Shape>(n, alpha, x, incx, y, incy);
  }
};

}  // namespace qsl::QSL_LEVEL
