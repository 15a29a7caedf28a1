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
//   Alignment           AnyAlignment, SamePhase or Realigned (dot_alignments.h)
//   Remainder           HalvingRemainder, PairsRemainder, SeededRemainder or MaskedRemainder
//                       (dot_remainders.h)
//   Strided             StridedInOrder, StridedPairs or StridedGathers (dot_strides.h)
#pragma once

#include "blas/level1/kernels/dot_alignments.h"
#include "blas/level1/kernels/dot_remainders.h"
#include "blas/level1/kernels/dot_strides.h"

namespace qsl::QSL_LEVEL {

// The forms are functions of the same arguments, so that choosing between them is a test and a
// jump: no call pays for the registers and the frame of another form. ("Used" keeps the compiler
// from giving them arguments of their own.) One element at level avx2, by the exported routine: 7.4
// ns in one function, 5.8 ns so.

// Every call that is not of unit stride, empty ones too.
template <class Shape>
[[gnu::noinline, gnu::used]] double dot_otherwise(int n, const double* x, int incx, const double* y,
                                                  int incy) {
  if (n <= 0) return 0.0;
  return Shape::Strided::sum(n, x, incx, y, incy).value();
}

template <class Shape>
[[gnu::noinline, gnu::used]] double dot_forward(int n, const double* x, int, const double* y, int) {
  return Shape::Alignment::template sum<Shape>({n, x, y}).value();
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
  if (n <= 0 || !Shape::unit_stride(incx, incy) || Shape::Alignment::keeps_to_strides(x, y)) {
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
