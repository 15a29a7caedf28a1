// Integers of 256 bits on AVX, which has no operations on them: every operation is done twice, on
// halves of 128 bits.
#pragma once

#include "simd/i32x8.h"
#include "simd/i64x4.h"

namespace qsl::QSL_LEVEL {

QSL_INLINE m32x8 combine(m32x4 lower, m32x4 upper) {
  return {combine(f32x4{lower.v}, f32x4{upper.v}).v};
}
QSL_INLINE m64x4 combine(m64x2 lower, m64x2 upper) {
  return {combine(f64x2{lower.v}, f64x2{upper.v}).v};
}

template <class Integers>
concept OfTwoHalves = requires {
  typename Integers::Floats;
}
&&Integers::bytes == 32;

template <OfTwoHalves I>
QSL_INLINE I operator+(I a, I b) {
  return combine(lower_half(a) + lower_half(b), upper_half(a) + upper_half(b));
}
template <OfTwoHalves I>
QSL_INLINE I operator-(I a, I b) {
  return combine(lower_half(a) - lower_half(b), upper_half(a) - upper_half(b));
}
template <OfTwoHalves I>
QSL_INLINE auto operator==(I a, I b) {
  return combine(lower_half(a) == lower_half(b), upper_half(a) == upper_half(b));
}
template <OfTwoHalves I>
QSL_INLINE auto operator!=(I a, I b) {
  return ~(a == b);
}
template <OfTwoHalves I>
QSL_INLINE auto operator<(I a, I b) {
  return combine(lower_half(a) < lower_half(b), upper_half(a) < upper_half(b));
}

// These are of floating point's own instructions, too.
template <OfTwoHalves I>
QSL_INLINE I operator&(I a, I b) {
  return I::of(a.floats() & b.floats());
}
template <OfTwoHalves I>
QSL_INLINE I operator|(I a, I b) {
  return I::of(a.floats() | b.floats());
}
template <OfTwoHalves I>
QSL_INLINE I operator^(I a, I b) {
  return I::of(a.floats() ^ b.floats());
}
template <OfTwoHalves I>
QSL_INLINE I and_not(I a, I b) {
  return I::of(and_not(a.floats(), b.floats()));
}

template <int n, OfTwoHalves I>
QSL_INLINE I shift_left(I a) {
  return combine(shift_left<n>(lower_half(a)), shift_left<n>(upper_half(a)));
}
template <int n, OfTwoHalves I>
QSL_INLINE I shift_right(I a) {
  return combine(shift_right<n>(lower_half(a)), shift_right<n>(upper_half(a)));
}
template <int n, OfTwoHalves I>
QSL_INLINE I shift_right_arithmetic(I a) {
  return combine(shift_right_arithmetic<n>(lower_half(a)),
                 shift_right_arithmetic<n>(upper_half(a)));
}
template <OfTwoHalves I>
QSL_INLINE I shift_left(I a, int n) {
  return combine(shift_left(lower_half(a), n), shift_left(upper_half(a), n));
}
template <OfTwoHalves I>
QSL_INLINE I shift_right(I a, int n) {
  return combine(shift_right(lower_half(a), n), shift_right(upper_half(a), n));
}
template <OfTwoHalves I>
QSL_INLINE I shift_right_arithmetic(I a, int n) {
  return combine(shift_right_arithmetic(lower_half(a), n),
                 shift_right_arithmetic(upper_half(a), n));
}

QSL_INLINE i32x8 greater_of(i32x8 a, i32x8 b) {
  return combine(greater_of(lower_half(a), lower_half(b)),
                 greater_of(upper_half(a), upper_half(b)));
}
QSL_INLINE i32x8 lesser_of(i32x8 a, i32x8 b) {
  return combine(lesser_of(lower_half(a), lower_half(b)), lesser_of(upper_half(a), upper_half(b)));
}

}  // namespace qsl::QSL_LEVEL
