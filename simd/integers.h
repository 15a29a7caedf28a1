// What integers do by the operations of the floating-point type with the same lanes, which move and
// choose bits alike, and what is made of other operations.
#pragma once

#include "simd/common.h"
#include "simd/i64x2.h"
#if defined(__AVX__)
#include "simd/i32x8.h"
#include "simd/i64x4.h"
#endif
#if defined(__AVX__) && !defined(__AVX2__)
#include "simd/by_halves.h"
#endif
#if defined(__AVX512F__)
#include "simd/i32x16.h"
#include "simd/i64x8.h"
#endif

namespace qsl::QSL_LEVEL {

// The same bits.
template <IntegerVector I>
QSL_INLINE typename I::Floats as_floats(I a) {
  return a.floats();
}
template <FloatVector F>
QSL_INLINE typename F::Integers as_integers(F a) {
  return F::Integers::of(a);
}

template <IntegerVector I>
QSL_INLINE I operator~(I a) {
  return a ^ I::constant(-1);
}
template <IntegerVector I>
QSL_INLINE I negate(I a) {
  return I::zero() - a;
}
template <IntegerVector I>
QSL_INLINE I absolute(I a) {
  const I sign = shift_right_arithmetic<8 * sizeof(typename I::Element) - 1>(a);
  return (a ^ sign) - sign;
}

template <IntegerVector I>
QSL_INLINE typename I::Mask operator<=(I a, I b) {
  return ~(b < a);
}
template <IntegerVector I>
QSL_INLINE I select(typename I::Mask mask, I a, I b) {
  return I::of(select(mask, a.floats(), b.floats()));
}
template <IntegerVector I>
QSL_INLINE I select_by_lanes(I chosen, I a, I b) {
  return I::of(select_by_lanes(chosen.floats(), a.floats(), b.floats()));
}
template <IntegerVector I>
QSL_INLINE I zero_unless(typename I::Mask mask, I a) {
  return I::of(zero_unless(mask, a.floats()));
}
template <IntegerVector I>
QSL_INLINE int equal_lanes(I a, I b) {
  return to_bits(a == b);
}
// Where there is no such instruction.
template <IntegerVector I>
QSL_INLINE I greater_of(I a, I b) {
  return select(a > b, a, b);
}
template <IntegerVector I>
QSL_INLINE I lesser_of(I a, I b) {
  return select(a < b, a, b);
}

template <IntegerVector I>
QSL_INLINE I dup_even(I a) {
  return I::of(dup_even(a.floats()));
}
template <IntegerVector I>
QSL_INLINE I dup_odd(I a) {
  return I::of(dup_odd(a.floats()));
}
template <int lane, IntegerVector I>
QSL_INLINE I broadcast_lane(I a) {
  return I::of(broadcast_lane<lane>(a.floats()));
}
template <int pair, IntegerVector I>
QSL_INLINE I broadcast_pair_of(I a) {
  return I::of(broadcast_pair_of<pair>(a.floats()));
}
template <IntegerVector I>
QSL_INLINE I swap_pairs(I a) {
  return I::of(swap_pairs(a.floats()));
}
template <IntegerVector I>
QSL_INLINE I reverse(I a) {
  return I::of(reverse(a.floats()));
}
template <IntegerVector I>
QSL_INLINE I unpack_lower(I a, I b) {
  return I::of(unpack_lower(a.floats(), b.floats()));
}
template <IntegerVector I>
QSL_INLINE I unpack_upper(I a, I b) {
  return I::of(unpack_upper(a.floats(), b.floats()));
}
template <IntegerVector I>
QSL_INLINE I interleave_lower(I a, I b) {
  return I::of(interleave_lower(a.floats(), b.floats()));
}
template <IntegerVector I>
QSL_INLINE I interleave_upper(I a, I b) {
  return I::of(interleave_upper(a.floats(), b.floats()));
}
template <IntegerVector I>
QSL_INLINE I even_lanes(I a, I b) {
  return I::of(even_lanes(a.floats(), b.floats()));
}
template <IntegerVector I>
QSL_INLINE I odd_lanes(I a, I b) {
  return I::of(odd_lanes(a.floats(), b.floats()));
}
template <int count, IntegerVector I>
QSL_INLINE I first_then(I a, I b) {
  return I::of(first_then<count>(a.floats(), b.floats()));
}

}  // namespace qsl::QSL_LEVEL
