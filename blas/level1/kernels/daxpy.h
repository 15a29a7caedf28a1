// The real update y := a * x + y: one plan, told by the shape of a level.
//
// Every element is computed alone, fused where the level has it, so its bits do not depend on the
// block that it falls into. `a` is read once, before y is written.
//
// A shape:
//   Vector              the register that the blocks use
//   block               elements per pass
//   minimum             fewer elements, or a y that is not 8-byte aligned: one by one
//   short_vector        up to here no peel: unaligned blocks, then one by one; above: one by one
//                       until y is aligned to the vector's size, blocks, one by one
#pragma once

#include "elements/stride.h"

namespace qsl::QSL_LEVEL {

struct DaxpyRest {
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

QSL_INLINE void daxpy_singles(f64 a, DaxpyRest& rest, int count) {
  for (; count > 0; count--) {
    mul_add(a, f64::load(rest.x), f64::load(rest.y)).store(rest.y);
    rest.advance(1);
  }
}

template <class Shape>
QSL_INLINE void daxpy_blocks(f64 a, DaxpyRest& rest) {
  using Vector = typename Shape::Vector;
  const Vector factor = Vector::broadcast(a);
  while (rest.n >= Shape::block) {
    unroll<Shape::block / Vector::lanes>([&](auto j) QSL_INLINE_LAMBDA {
      constexpr int at = j.value * Vector::lanes;
      mul_add(factor, Vector::load(rest.x + at), Vector::load(rest.y + at)).store(rest.y + at);
    });
    rest.advance(Shape::block);
  }
}

template <class Shape>
QSL_INLINE void daxpy(int n, const double* a_at, const double* x, int incx, double* y, int incy) {
  if (n <= 0) return;
  const f64 a = f64::load(a_at);
  if (incx == 1 && incy == 1) {
    DaxpyRest rest{n, x, y};
    if (n >= Shape::minimum && misalignment(y, 8) == 0) {
      using Vector = typename Shape::Vector;
      const int peel = static_cast<int>((0 - reinterpret_cast<std::uintptr_t>(y)) % Vector::bytes /
                                        sizeof(double));
      if (n <= Shape::short_vector) {
        daxpy_blocks<Shape>(a, rest);
      } else if (n >= peel + Shape::block) {
        daxpy_singles(a, rest, peel);
        daxpy_blocks<Shape>(a, rest);
      }
    }
    daxpy_singles(a, rest, rest.n);
    return;
  }
  Walk<const double> from(x, n, incx);
  Walk<double> to(y, n, incy);
  repeat<1>(n, [&](auto) QSL_INLINE_LAMBDA {
    mul_add(a, f64::load(*from), f64::load(*to)).store(*to);
    from.advance(1);
    to.advance(1);
  });
}

}  // namespace qsl::QSL_LEVEL
