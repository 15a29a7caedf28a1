// What a dot product does with the elements that do not fill a main block. A level names one of
// these as its shape's Remainder. Each has two forms:
//
//   finish    after main blocks, when all four accumulators count
//   shorter   for a vector shorter than a main block, where short calls spend their time.
//             Accumulators that got no product are +0 and are not added: without fused operations
//             no accumulator is ever -0, so a sum with +0 changes no bit
//
// `block` is the elements of a main block and `peeled` the product of an element before it, which
// is added to the sum of the accumulators.
#pragma once

#include "blas/level1/kernels/dot_sums.h"

namespace qsl::QSL_LEVEL {

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

// block / 2, block / 4, ... elements, down to one vector; then one element into lane 0 of a0.
struct HalvingRemainder {
  template <int block, class FetchX, class FetchY, class Vector>
  QSL_INLINE static f64 finish(DotAccumulators<Vector>& accumulators, DotRest rest, f64) {
    dot_halving<block / 2, FetchX, FetchY>(accumulators, rest);
    if (rest.n & 1) add_single(accumulators, rest);
    return accumulators.sum();
  }
  template <int block, class FetchX, class FetchY, class Vector>
  QSL_INLINE static f64 shorter(DotAccumulators<Vector>& accumulators, DotRest rest, f64 peeled) {
    if (rest.n >= 4) return finish<block, FetchX, FetchY>(accumulators, rest, peeled);
    if (rest.n & 2) {
      accumulators.template add_block<1, FetchX, FetchY>(rest.x, rest.y);
      rest.advance(2);
    }
    if (rest.n & 1) add_single(accumulators, rest);
    return sum_lanes(accumulators.a[0]);
  }

 private:
  template <class Vector>
  QSL_INLINE static void add_single(DotAccumulators<Vector>& accumulators, const DotRest& rest) {
    accumulators.a[0] = add_lower(accumulators.a[0], f64::load(rest.x) * f64::load(rest.y));
  }
};

// Pairs into a0, one after another; one element after the reduction.
struct PairsRemainder {
  template <int block, class FetchX, class FetchY, class Vector>
  QSL_INLINE static f64 finish(DotAccumulators<Vector>& accumulators, DotRest rest, f64 peeled) {
    for (; rest.n >= 2; rest.advance(2)) {
      accumulators.template add_block<1, FetchX, FetchY>(rest.x, rest.y);
    }
    return with_last(accumulators.sum() + peeled, rest);
  }
  template <int block, class FetchX, class FetchY, class Vector>
  QSL_INLINE static f64 shorter(DotAccumulators<Vector>& accumulators, DotRest rest, f64 peeled) {
    f64 sum = peeled;
    if (rest.n >= 2) {
      do {
        accumulators.template add_block<1, FetchX, FetchY>(rest.x, rest.y);
        rest.advance(2);
      } while (rest.n >= 2);
      sum = sum + sum_lanes(accumulators.a[0]);
    }
    return with_last(sum, rest);
  }

 private:
  QSL_INLINE static f64 with_last(f64 sum, const DotRest& rest) {
    if (rest.n == 0) return sum;
    return sum + f64::load(rest.x) * f64::load(rest.y);
  }
};

// After the reduction: one vector per pass into a register whose lane 0 starts from the sum; then
// one by one.
struct SeededRemainder {
  template <int block, class FetchX, class FetchY, class Vector>
  QSL_INLINE static f64 finish(DotAccumulators<Vector>& accumulators, DotRest rest, f64) {
    return seeded<Vector>(accumulators.sum(), rest);
  }
  template <int block, class FetchX, class FetchY, class Vector>
  QSL_INLINE static f64 shorter(DotAccumulators<Vector>&, DotRest rest, f64) {
    return seeded<Vector>(f64::zero(), rest);
  }

 private:
  template <class Vector>
  QSL_INLINE static f64 seeded(f64 sum, DotRest rest) {
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
};

// block / 2, block / 4, ... elements, down to one vector; then a masked vector into a0.
struct MaskedRemainder {
  template <int block, class FetchX, class FetchY, class Vector>
  QSL_INLINE static f64 finish(DotAccumulators<Vector>& accumulators, DotRest rest, f64) {
    dot_halving<block / 2, FetchX, FetchY>(accumulators, rest);
    if (rest.n != 0) {
      accumulators.a[0] =
          mul_add_first(Vector::load_first(rest.x, rest.n), Vector::load_first(rest.y, rest.n),
                        accumulators.a[0], rest.n);
    }
    return accumulators.sum();
  }
  template <int block, class FetchX, class FetchY, class Vector>
  QSL_INLINE static f64 shorter(DotAccumulators<Vector>& accumulators, DotRest rest, f64 peeled) {
    return finish<block, FetchX, FetchY>(accumulators, rest, peeled);
  }
};

}  // namespace qsl::QSL_LEVEL
