// How a dot product of unit-stride vectors meets their addresses. A level names one of these as its
// shape's Alignment:
//
//   keeps_to_strides   whether vectors at these addresses take the path of other strides
//   sum                the dot product of all others
#pragma once

#include "blas/level1/kernels/dot_sums.h"

namespace qsl::QSL_LEVEL {

// Main blocks, then the shape's remainder.
template <class Shape, class FetchX, class FetchY>
QSL_INLINE f64 dot_blocks(DotAccumulators<typename Shape::Vector> accumulators, DotRest rest,
                          f64 peeled) {
  if (rest.n < Shape::block)
    return Shape::Remainder::template shorter<Shape::block, FetchX, FetchY>(accumulators, rest,
                                                                            peeled);
  do {
    accumulators.template add_block<Shape::block / Shape::Vector::lanes, FetchX, FetchY>(rest.x,
                                                                                         rest.y);
    rest.advance(Shape::block);
  } while (rest.n >= Shape::block);
  return Shape::Remainder::template finish<Shape::block, FetchX, FetchY>(accumulators, rest,
                                                                         peeled);
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
    return Shape::Remainder::template finish<Shape::block, AtAnyAddress, AtAlignedAddress>(
        accumulators, rest, peeled);
  }
  return dot_blocks<Shape, AtAnyAddress, AtAlignedAddress>(accumulators, rest, peeled);
}

// Unaligned loads.
struct AnyAlignment {
  QSL_INLINE static bool keeps_to_strides(const double*, const double*) { return false; }

  template <class Shape>
  QSL_INLINE static f64 sum(DotRest rest) {
    DotAccumulators<typename Shape::Vector> accumulators;
    return dot_blocks<Shape, AtAnyAddress, AtAnyAddress>(accumulators, rest, f64::zero());
  }
};

// Both arrays 16-byte aligned, after one element where both are 8 modulo 16; arrays of different
// phase take the strided path.
struct SamePhase {
  QSL_INLINE static bool keeps_to_strides(const double* x, const double* y) {
    const std::uintptr_t phase = misalignment(x, 16);
    return phase % 8 != 0 || phase != misalignment(y, 16);
  }

  template <class Shape>
  QSL_INLINE static f64 sum(DotRest rest) {
    DotAccumulators<typename Shape::Vector> accumulators;
    if (misalignment(rest.x, 16) != 0) {
      accumulators.a[0] = add_lower(accumulators.a[0], f64::load(rest.x) * f64::load(rest.y));
      rest.advance(1);
    }
    return dot_blocks<Shape, AtAlignedAddress, AtAlignedAddress>(accumulators, rest, f64::zero());
  }
};

// One element first where y needs it, then y is aligned; x of the other phase is read by aligned
// loads too, and pairs are put together from neighbours. Arrays that are not 8-byte aligned are
// read unaligned, without the peel.
struct Realigned {
  QSL_INLINE static bool keeps_to_strides(const double*, const double*) { return false; }

  template <class Shape>
  QSL_INLINE static f64 sum(DotRest rest) {
    DotAccumulators<typename Shape::Vector> accumulators;
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
};

}  // namespace qsl::QSL_LEVEL
