// The copies y := x of real and complex vectors: one plan, told by the shape of a level.
//
// Every bit is moved as it is: through vector registers and string moves, never through the x87
// unit, which quiets signalling NaNs.
//
// A shape of the real copy:
//   Vector              the register that the blocks use
//   block               elements per pass, a power of two
//   string_bytes        longer unit-stride copies are left to the processor's string move, although
//                       a loop over registers is faster while both fit the second-level cache
// and of the complex copy, whose unit-stride form is the real copy of 2 * n elements:
//   strided_block       elements per pass, a power of two
#pragma once

#include "elements/stride.h"
#include "include/qsl/types.h"

namespace qsl::QSL_LEVEL {

// Four-byte units; a double has no odd bytes. Inline assembly because no intrinsic names the
// string move in g++ and clang++ alike.
QSL_INLINE void copy_string(double* y, const double* x, std::size_t words) {
  asm volatile("rep movsl" : "+D"(y), "+S"(x), "+c"(words) : : "memory");
}

struct CopyRest {
  int n;
  const double* x;
  double* y;

  QSL_INLINE void advance(int elements) {
    x += elements;
    y += elements;
    n -= elements;
    keep(n);
  }
};

struct CopyUnaligned {
  template <class Vector>
  QSL_INLINE static void move(double* y, const double* x) {
    Vector::load(x).store(y);
  }
};
struct CopyAligned {
  template <class Vector>
  QSL_INLINE static void move(double* y, const double* x) {
    Vector::load_aligned(x).store_aligned(y);
  }
};

template <int elements, class Move, class Vector>
QSL_INLINE void copy_block(CopyRest& rest) {
  unroll<elements / Vector::lanes>([&](auto j) QSL_INLINE_LAMBDA {
    constexpr int at = j.value * Vector::lanes;
    Move::template move<Vector>(rest.y + at, rest.x + at);
  });
  rest.advance(elements);
}

// Bits of the count, one block of each size at most.
template <int elements, class Move, class Vector>
QSL_INLINE void copy_halving(CopyRest& rest) {
  if constexpr (elements >= Vector::lanes) {
    if (rest.n & elements) copy_block<elements, Move, Vector>(rest);
    copy_halving<elements / 2, Move, Vector>(rest);
  }
}

template <class Vector>
QSL_INLINE void copy_first(CopyRest& rest, int k) {
  Vector::load_rest(rest.x, k).store_rest(rest.y, k);
  rest.advance(k);
}

template <class Shape, class Move>
QSL_INLINE void copy_blocks(CopyRest rest) {
  using Vector = typename Shape::Vector;
  while (rest.n >= Shape::block) copy_block<Shape::block, Move, Vector>(rest);
  copy_halving<Shape::block / 2, Move, Vector>(rest);
  if (rest.n != 0) copy_first<Vector>(rest, rest.n);
}

template <class Shape>
QSL_INLINE void dcopy_unit(int n, const double* x, double* y) {
  using Vector = typename Shape::Vector;
  const std::size_t words = 2 * static_cast<std::size_t>(n);
  if (words > Shape::string_bytes / 4) {
    copy_string(y, x, words);
    return;
  }
  CopyRest rest{n, x, y};
  const std::uintptr_t phase = misalignment(x, Vector::bytes);
  if (phase != misalignment(y, Vector::bytes) || phase % sizeof(double) != 0) {
    copy_blocks<Shape, CopyUnaligned>(rest);
    return;
  }
  if (phase != 0) {
    const int head = static_cast<int>((Vector::bytes - phase) / sizeof(double));
    copy_first<Vector>(rest, head < n ? head : n);
  }
  copy_blocks<Shape, CopyAligned>(rest);
}

template <class Shape>
QSL_INLINE void dcopy(int n, const double* x_base, int incx, double* y_base, int incy) {
  if (n <= 0) return;
  if (incx == 1 && incy == 1) {
    dcopy_unit<Shape>(n, x_base, y_base);
    return;
  }
  Walk<const double> x(x_base, n, incx);
  Walk<double> y(y_base, n, incy);
  const auto move = [&](auto) QSL_INLINE_LAMBDA {
    f64::load(*x).store(*y);
    x.advance(1);
    y.advance(1);
  };
  repeat<4>(n, move);
  repeat<1>(n, move);
}

// Bits of the count, in element order, so that the last element wins for a zero stride of y.
template <int elements, class Move>
QSL_INLINE void zcopy_halving(int n, const Move& move) {
  if constexpr (elements >= 1) {
    if (n & elements) unroll<elements>(move);
    zcopy_halving<elements / 2>(n, move);
  }
}

template <class Shape, class RealShape>
QSL_INLINE void zcopy(int n, const complex_double* x_base, int incx, complex_double* y_base,
                      int incy) {
  if (n <= 0) return;
  const double* from = reinterpret_cast<const double*>(x_base);
  double* to = reinterpret_cast<double*>(y_base);
  if (incx == 1 && incy == 1) {
    // More than 2^28 elements do not fit into the address space, so the doubled count does not
    // overflow.
    dcopy_unit<RealShape>(2 * n, from, to);
    return;
  }
  Walk<const double, 2> x(from, n, incx);
  Walk<double, 2> y(to, n, incy);
  const auto move = [&](auto) QSL_INLINE_LAMBDA {
    f64x2::load(*x).store(*y);
    x.advance(1);
    y.advance(1);
  };
  repeat<Shape::strided_block>(n, move);
  zcopy_halving<Shape::strided_block / 2>(n, move);
}

}  // namespace qsl::QSL_LEVEL
