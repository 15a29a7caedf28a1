// Operations that are made of others in the same way for all types.
#pragma once

#include "simd/masks.h"

namespace qsl::QSL_LEVEL {

template <class Vector>
concept FloatVector = requires {
  typename Vector::Integers;
};
template <class Vector>
concept IntegerVector = requires {
  typename Vector::Floats;
};
template <class Vector>
concept AnyVector = FloatVector<Vector> || IntegerVector<Vector>;
template <class Vector>
concept WideVector = AnyVector<Vector> && Vector::bytes >
16;

// --- All types --------------------------------------------------------------------------------

template <AnyVector V>
QSL_INLINE auto operator>(V a, V b) {
  return b < a;
}
template <AnyVector V>
QSL_INLINE auto operator>=(V a, V b) {
  return b <= a;
}

template <WideVector V>
QSL_INLINE auto sum_halves(V a) {
  return lower_half(a) + upper_half(a);
}
template <WideVector V>
QSL_INLINE auto sum_lanes(V a) {
  return sum_lanes(sum_halves(a));
}
template <AnyVector V>
QSL_INLINE auto first_lane(V a) {
  if constexpr (V::bytes > 16) {
    return first_lane(lower_half(a));
  } else if constexpr (V::bytes / V::lanes == 8) {
    return f64{a.v};
  } else {
    return f32{a.v};
  }
}

// The greatest (least) of all lanes: `better` of neighbours that are ever closer.
template <AnyVector V, class Better>
QSL_INLINE auto best_lane(V a, const Better& better) {
  if constexpr (V::bytes > 16) {
    return best_lane(better(lower_half(a), upper_half(a)), better);
  } else if constexpr (V::lanes == 2) {
    return first_lane(better(a, reverse(a)));
  } else {
    const V pairs = better(a, reverse(a));
    return first_lane(better(pairs, swap_pairs(pairs)));
  }
}
template <AnyVector V>
QSL_INLINE auto max_lanes(V a) {
  return best_lane(a, [](auto x, auto y) QSL_INLINE_LAMBDA { return greater_of(x, y); });
}
template <AnyVector V>
QSL_INLINE auto min_lanes(V a) {
  return best_lane(a, [](auto x, auto y) QSL_INLINE_LAMBDA { return lesser_of(x, y); });
}

// --- Floating point ---------------------------------------------------------------------------

#if !defined(__FMA__)
template <FloatVector V>
QSL_INLINE V mul_add(V a, V b, V c) {
  return a * b + c;
}
template <FloatVector V>
QSL_INLINE V mul_sub(V a, V b, V c) {
  return a * b - c;
}
template <FloatVector V>
QSL_INLINE V neg_mul_add(V a, V b, V c) {
  return c - a * b;
}
template <FloatVector V>
QSL_INLINE V mul_sub_add(V a, V b, V c) {
  return add_sub(a * b, c);
}
template <FloatVector V>
QSL_INLINE V mul_add_sub(V a, V b, V c) {
  return add_sub(a * b, negate(c));
}
#endif
template <FloatVector V>
QSL_INLINE V mul_add_first(V a, V b, V c, int k) {
  return select(V::Mask::first(k), mul_add(a, b, c), c);
}

template <FloatVector V>
QSL_INLINE V sign_bit() {
  return V::constant(static_cast<typename V::Element>(-0.0));
}
// All other bits. (Taking the sign bit away by ANDNOT would overwrite the constant below AVX, so
// that every vector costs a copy of it.)
template <FloatVector V>
QSL_INLINE V magnitude_bits() {
  using Integers = typename V::Integers;
  using Bits = typename Integers::Element;
  constexpr Bits lowest = Bits{1} << (8 * sizeof(Bits) - 1);
  return Integers::constant(~lowest).floats();
}
template <FloatVector V>
QSL_INLINE V negate(V a) {
  return a ^ sign_bit<V>();
}
template <FloatVector V>
QSL_INLINE V absolute(V a) {
  return a & magnitude_bits<V>();
}
template <FloatVector V>
QSL_INLINE V with_sign_of(V a, V b) {
  return a | (b & sign_bit<V>());
}
template <FloatVector V>
QSL_INLINE V copy_sign(V a, V b) {
  return with_sign_of(absolute(a), b);
}

#if !defined(__SSE4_1__)
// From 2^52 (2^23) on there are no fractions left, so that the processor rounds the sum.
template <FloatVector V>
QSL_INLINE V round_to_nearest(V a) {
  const V magic = V::constant(sizeof(typename V::Element) == 8 ? 0x1p52 : 0x1p23f);
  const V sign = a & sign_bit<V>();
  return (((a ^ sign) + magic) - magic) | sign;
}
#endif

}  // namespace qsl::QSL_LEVEL
