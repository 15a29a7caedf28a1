// Two doubles in a 128-bit register, and single doubles. Every level has these.
//
// A pointer may have any alignment unless a name says "aligned". mul_add rounds once at the levels
// with fused multiply-add and twice at the others; nothing else depends on the level.
#pragma once

#include <cstddef>
#include <cstdint>

#include <emmintrin.h>
#if defined(__SSE3__)
#include <pmmintrin.h>
#endif
#if defined(__FMA__)
#include <immintrin.h>
#endif

#include "simd/inline.h"

namespace qsl::QSL_LEVEL {

#if defined(__FMA__)
inline constexpr bool has_fma = true;
#else
inline constexpr bool has_fma = false;
#endif

// A double at any address, odd ones too.
struct [[gnu::packed, gnu::may_alias]] DoubleAnywhere {
  double value;
};

// One double, in lane 0 of a register. A plain double may wander through the x87 unit or a slot of
// the stack between two operations (seen: 40 cycles for a dot product of one element instead of 12,
// for the sake of a zero that was stored in two halves and loaded as one).
struct f64 {
  using Element = double;

  __m128d v;

  QSL_INLINE static f64 zero() { return {_mm_setzero_pd()}; }
  QSL_INLINE static f64 load(const double* p) {
    return {_mm_set_sd(reinterpret_cast<const DoubleAnywhere*>(p)->value)};
  }
  QSL_INLINE void store(double* p) const {
    reinterpret_cast<DoubleAnywhere*>(p)->value = _mm_cvtsd_f64(v);
  }
  QSL_INLINE double value() const { return _mm_cvtsd_f64(v); }
};

QSL_INLINE f64 operator+(f64 a, f64 b) { return {_mm_add_sd(a.v, b.v)}; }
QSL_INLINE f64 operator*(f64 a, f64 b) { return {_mm_mul_sd(a.v, b.v)}; }

QSL_INLINE f64 operator-(f64 a, f64 b) { return {_mm_sub_sd(a.v, b.v)}; }
QSL_INLINE f64 operator/(f64 a, f64 b) { return {_mm_div_sd(a.v, b.v)}; }
// Comparisons are false for a NaN.
QSL_INLINE bool operator>(f64 a, f64 b) { return _mm_comigt_sd(a.v, b.v) != 0; }
QSL_INLINE bool operator>=(f64 a, f64 b) { return _mm_comige_sd(a.v, b.v) != 0; }
// (Not by an ordered comparison: g++ before 13 takes NaN for equal to itself there.)
QSL_INLINE bool is_nan(f64 a) { return (_mm_movemask_pd(_mm_cmpunord_sd(a.v, a.v)) & 1) != 0; }
QSL_INLINE f64 square_root(f64 a) { return {_mm_sqrt_sd(a.v, a.v)}; }

// a * b + c
QSL_INLINE f64 mul_add(f64 a, f64 b, f64 c) {
#if defined(__FMA__)
  return {_mm_fmadd_sd(a.v, b.v, c.v)};
#else
  return a * b + c;
#endif
}

struct f64x2 {
  using Element = double;
  static constexpr int lanes = 2;
  static constexpr int bytes = 16;

  __m128d v;

  QSL_INLINE static f64x2 zero() { return {_mm_setzero_pd()}; }
  QSL_INLINE static f64x2 load(const double* p) { return {_mm_loadu_pd(p)}; }
  QSL_INLINE static f64x2 load_aligned(const double* p) { return {_mm_load_pd(p)}; }
  // By two 8-byte loads, which are the faster way on processors with slow unaligned loads.
  QSL_INLINE static f64x2 load_halves(const double* p) { return gather(p, p + 1); }
  // (*lower, *upper)
  QSL_INLINE static f64x2 gather(const double* lower, const double* upper) {
    return {_mm_loadh_pd(f64::load(lower).v, upper)};
  }
  // (0, *p)
  QSL_INLINE static f64x2 load_upper(const double* p) {
    return {_mm_loadh_pd(_mm_setzero_pd(), p)};
  }
  QSL_INLINE static f64x2 broadcast(f64 x) { return {_mm_unpacklo_pd(x.v, x.v)}; }
  QSL_INLINE static f64x2 broadcast_from(const double* p) {
#if defined(__SSE3__)
    return {_mm_loaddup_pd(p)};
#else
    return broadcast(f64::load(p));
#endif
  }
  // The pair at p in every pair of lanes.
  QSL_INLINE static f64x2 broadcast_pair(const double* p) { return load(p); }
  // (x, 0)
  QSL_INLINE static f64x2 lower(f64 x) { return {_mm_move_sd(_mm_setzero_pd(), x.v)}; }
  // x, and zeros where a register has more lanes
  QSL_INLINE static f64x2 lower(f64x2 x) { return x; }

  QSL_INLINE void store(double* p) const { _mm_storeu_pd(p, v); }
  QSL_INLINE void store_aligned(double* p) const { _mm_store_pd(p, v); }
  QSL_INLINE void store_halves(double* p) const {
    f64{v}.store(p);
    reinterpret_cast<DoubleAnywhere*>(p + 1)->value = v[1];
  }

  // The first k lanes, 1 <= k < lanes, so k = 1; the other is neither read nor written.
  QSL_INLINE static f64x2 load_first(const double* p, int) { return {f64::load(p).v}; }
  QSL_INLINE void store_first(double* p, int) const { f64{v}.store(p); }
};

QSL_INLINE f64x2 operator+(f64x2 a, f64x2 b) { return {_mm_add_pd(a.v, b.v)}; }
QSL_INLINE f64x2 operator-(f64x2 a, f64x2 b) { return {_mm_sub_pd(a.v, b.v)}; }
QSL_INLINE f64x2 operator*(f64x2 a, f64x2 b) { return {_mm_mul_pd(a.v, b.v)}; }
QSL_INLINE f64x2 operator/(f64x2 a, f64x2 b) { return {_mm_div_pd(a.v, b.v)}; }

// a * b + c
QSL_INLINE f64x2 mul_add(f64x2 a, f64x2 b, f64x2 c) {
#if defined(__FMA__)
  return {_mm_fmadd_pd(a.v, b.v, c.v)};
#else
  return a * b + c;
#endif
}
// c - a * b
QSL_INLINE f64x2 neg_mul_add(f64x2 a, f64x2 b, f64x2 c) {
#if defined(__FMA__)
  return {_mm_fnmadd_pd(a.v, b.v, c.v)};
#else
  return c - a * b;
#endif
}
#if defined(__FMA__)
// a * b - c in even lanes, a * b + c in odd ones
QSL_INLINE f64x2 mul_sub_add(f64x2 a, f64x2 b, f64x2 c) { return {_mm_fmaddsub_pd(a.v, b.v, c.v)}; }
#endif

// Adds x to lane 0; lane 1 keeps its value.
QSL_INLINE f64x2 add_lower(f64x2 a, f64 x) { return {_mm_add_sd(a.v, x.v)}; }

// (a0, a0)
QSL_INLINE f64x2 dup_even(f64x2 a) {
#if defined(__SSE3__)
  return {_mm_movedup_pd(a.v)};
#else
  return {_mm_unpacklo_pd(a.v, a.v)};
#endif
}
// (a1, a1)
QSL_INLINE f64x2 dup_odd(f64x2 a) { return {_mm_unpackhi_pd(a.v, a.v)}; }
// Lane `lane` in all lanes; pair `pair` in all pairs.
template <int lane>
QSL_INLINE f64x2 broadcast_lane(f64x2 a) {
  if constexpr (lane == 0) return dup_even(a);
  return dup_odd(a);
}
template <int pair>
QSL_INLINE f64x2 broadcast_pair_of(f64x2 a) {
  return a;
}
// (a1, a0)
QSL_INLINE f64x2 swap_pairs(f64x2 a) { return {_mm_shuffle_pd(a.v, a.v, 1)}; }
// (a0, b0)
QSL_INLINE f64x2 lower_lanes(f64x2 a, f64x2 b) { return {_mm_unpacklo_pd(a.v, b.v)}; }
// (a1, b1)
QSL_INLINE f64x2 upper_lanes(f64x2 a, f64x2 b) { return {_mm_unpackhi_pd(a.v, b.v)}; }
// (a1, b0): the pair that straddles two neighbours
QSL_INLINE f64x2 straddle(f64x2 a, f64x2 b) { return {_mm_shuffle_pd(a.v, b.v, 1)}; }
// (-a0, a1)
QSL_INLINE f64x2 negate_even(f64x2 a) { return {_mm_xor_pd(a.v, _mm_set_pd(0.0, -0.0))}; }
// (a0, -a1)
QSL_INLINE f64x2 negate_odd(f64x2 a) { return {_mm_xor_pd(a.v, _mm_set_pd(-0.0, 0.0))}; }
// (a0 - b0, a1 + b1)
QSL_INLINE f64x2 add_sub(f64x2 a, f64x2 b) {
#if defined(__SSE3__)
  return {_mm_addsub_pd(a.v, b.v)};
#else
  return a + negate_even(b);
#endif
}

QSL_INLINE f64x2 negate(f64x2 a) { return {_mm_xor_pd(a.v, _mm_set1_pd(-0.0))}; }
QSL_INLINE f64x2 absolute(f64x2 a) { return {_mm_andnot_pd(_mm_set1_pd(-0.0), a.v)}; }
// a, not negative, with the signs of b
QSL_INLINE f64x2 with_sign_of(f64x2 a, f64x2 b) {
  return {_mm_or_pd(a.v, _mm_and_pd(b.v, _mm_set1_pd(-0.0)))};
}
// The greater one of each lane; b where either is NaN.
QSL_INLINE f64x2 greater_of(f64x2 a, f64x2 b) { return {_mm_max_pd(a.v, b.v)}; }
// One bit for each lane in which a == b.
QSL_INLINE int equal_lanes(f64x2 a, f64x2 b) { return _mm_movemask_pd(_mm_cmpeq_pd(a.v, b.v)); }
// One bit for each lane that is NaN.
QSL_INLINE int nan_lanes(f64x2 a) { return _mm_movemask_pd(_mm_cmpunord_pd(a.v, a.v)); }
// The lanes of a where the mask's bits are all ones, those of b where they are zeros.
QSL_INLINE f64x2 select(f64x2 mask, f64x2 a, f64x2 b) {
  return {_mm_or_pd(_mm_and_pd(mask.v, a.v), _mm_andnot_pd(mask.v, b.v))};
}
// The first `count` lanes of a, the others of b.
template <int count>
QSL_INLINE f64x2 first_then(f64x2 a, f64x2 b) {
  if constexpr (count == 0) return b;
  return {_mm_move_sd(b.v, a.v)};
}

QSL_INLINE f64x2 first_pair(f64x2 a) { return a; }

// upper lane + lower lane
QSL_INLINE f64 sum_lanes(f64x2 a) { return {_mm_add_sd(a.v, _mm_unpackhi_pd(a.v, a.v))}; }
// The same of two registers: (a1 + a0, b1 + b0)
QSL_INLINE f64x2 sum_lanes(f64x2 a, f64x2 b) {
  return {_mm_add_pd(_mm_unpacklo_pd(a.v, b.v), _mm_unpackhi_pd(a.v, b.v))};
}

}  // namespace qsl::QSL_LEVEL
