// Two doubles in a 128-bit register. Every level has these. simd/README.md tells what the
// operations of all types mean.
#pragma once

#include "simd/masks.h"

namespace qsl::QSL_LEVEL {

struct i32x4;
struct i64x2;

struct f64x2 {
  using Element = double;
  using Mask = m64x2;
  using Indices = i32x4;
  using Integers = i64x2;
  static constexpr int lanes = 2;
  static constexpr int bytes = 16;

  __m128d v;

  QSL_INLINE static f64x2 zero() { return {_mm_setzero_pd()}; }
  QSL_INLINE static f64x2 constant(double x) { return {_mm_set1_pd(x)}; }
  QSL_INLINE static f64x2 load(const double* p) { return {_mm_loadu_pd(p)}; }
  QSL_INLINE static f64x2 load_aligned(const double* p) { return {_mm_load_pd(p)}; }
  // By two 8-byte loads, which are the faster way on processors with slow unaligned loads.
  QSL_INLINE static f64x2 load_halves(const double* p) { return gather(p, p + 1); }
  // (*lower, *upper)
  QSL_INLINE static f64x2 gather(const double* lower, const double* upper) {
    return {_mm_loadh_pd(f64::load(lower).v, upper)};
  }
  QSL_INLINE static f64x2 gather(const double* base, i32x4 indices);
  QSL_INLINE static f64x2 gather_first(const double* base, i32x4 indices, int k);
  QSL_INLINE static i32x4 offsets(int inc);
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
  QSL_INLINE static f64x2 broadcast_pair(const double* p) { return load(p); }
  QSL_INLINE static f64x2 lower(f64 x) { return {_mm_move_sd(_mm_setzero_pd(), x.v)}; }
  QSL_INLINE static f64x2 lower(f64x2 x) { return x; }

  QSL_INLINE void store(double* p) const { _mm_storeu_pd(p, v); }
  QSL_INLINE void store_aligned(double* p) const { _mm_store_pd(p, v); }
  QSL_INLINE void store_streaming(double* p) const { _mm_stream_pd(p, v); }
  QSL_INLINE void store_halves(double* p) const {
    f64{v}.store(p);
    reinterpret_cast<DoubleAnywhere*>(p + 1)->value = v[1];
  }

#if defined(__AVX512F__)
  QSL_INLINE static f64x2 load_first(const double* p, int k) {
    return {_mm_maskz_loadu_pd(Mask::first(k).v, p)};
  }
  QSL_INLINE void store_first(double* p, int k) const {
    _mm_mask_storeu_pd(p, Mask::first(k).v, v);
  }
#elif defined(__AVX__)
  QSL_INLINE static f64x2 load_first(const double* p, int k) {
    return {_mm_maskload_pd(p, _mm_castpd_si128(Mask::first(k).v))};
  }
  QSL_INLINE void store_first(double* p, int k) const {
    _mm_maskstore_pd(p, _mm_castpd_si128(Mask::first(k).v), v);
  }
#else
  QSL_INLINE static f64x2 load_first(const double* p, int k) {
    if (k == 1) return {f64::load(p).v};
    return k == 0 ? zero() : load(p);
  }
  QSL_INLINE void store_first(double* p, int k) const {
    if (k == 1) {
      f64{v}.store(p);
    } else if (k != 0) {
      store(p);
    }
  }
#endif
  QSL_INLINE static f64x2 load_rest(const double* p, int) { return {f64::load(p).v}; }
  QSL_INLINE void store_rest(double* p, int) const { f64{v}.store(p); }
};

QSL_INLINE f64x2 operator+(f64x2 a, f64x2 b) { return {_mm_add_pd(a.v, b.v)}; }
QSL_INLINE f64x2 operator-(f64x2 a, f64x2 b) { return {_mm_sub_pd(a.v, b.v)}; }
QSL_INLINE f64x2 operator*(f64x2 a, f64x2 b) { return {_mm_mul_pd(a.v, b.v)}; }
QSL_INLINE f64x2 operator/(f64x2 a, f64x2 b) { return {_mm_div_pd(a.v, b.v)}; }

QSL_INLINE f64x2 operator&(f64x2 a, f64x2 b) { return {_mm_and_pd(a.v, b.v)}; }
QSL_INLINE f64x2 operator|(f64x2 a, f64x2 b) { return {_mm_or_pd(a.v, b.v)}; }
QSL_INLINE f64x2 operator^(f64x2 a, f64x2 b) { return {_mm_xor_pd(a.v, b.v)}; }
QSL_INLINE f64x2 and_not(f64x2 a, f64x2 b) { return {_mm_andnot_pd(b.v, a.v)}; }

#if defined(__FMA__)
QSL_INLINE f64x2 mul_add(f64x2 a, f64x2 b, f64x2 c) { return {_mm_fmadd_pd(a.v, b.v, c.v)}; }
QSL_INLINE f64x2 mul_sub(f64x2 a, f64x2 b, f64x2 c) { return {_mm_fmsub_pd(a.v, b.v, c.v)}; }
QSL_INLINE f64x2 neg_mul_add(f64x2 a, f64x2 b, f64x2 c) { return {_mm_fnmadd_pd(a.v, b.v, c.v)}; }
QSL_INLINE f64x2 mul_sub_add(f64x2 a, f64x2 b, f64x2 c) { return {_mm_fmaddsub_pd(a.v, b.v, c.v)}; }
QSL_INLINE f64x2 mul_add_sub(f64x2 a, f64x2 b, f64x2 c) { return {_mm_fmsubadd_pd(a.v, b.v, c.v)}; }
#endif

#if defined(__AVX512F__)
QSL_INLINE m64x2 operator==(f64x2 a, f64x2 b) { return {_mm_cmp_pd_mask(a.v, b.v, _CMP_EQ_OQ)}; }
QSL_INLINE m64x2 operator!=(f64x2 a, f64x2 b) { return {_mm_cmp_pd_mask(a.v, b.v, _CMP_NEQ_UQ)}; }
QSL_INLINE m64x2 operator<(f64x2 a, f64x2 b) { return {_mm_cmp_pd_mask(a.v, b.v, _CMP_LT_OS)}; }
QSL_INLINE m64x2 operator<=(f64x2 a, f64x2 b) { return {_mm_cmp_pd_mask(a.v, b.v, _CMP_LE_OS)}; }
QSL_INLINE m64x2 unordered(f64x2 a, f64x2 b) { return {_mm_cmp_pd_mask(a.v, b.v, _CMP_UNORD_Q)}; }
QSL_INLINE f64x2 select(m64x2 mask, f64x2 a, f64x2 b) {
  return {_mm_mask_blend_pd(mask.v, b.v, a.v)};
}
QSL_INLINE f64x2 zero_unless(m64x2 mask, f64x2 a) { return {_mm_maskz_mov_pd(mask.v, a.v)}; }
#else
QSL_INLINE m64x2 operator==(f64x2 a, f64x2 b) { return {_mm_cmpeq_pd(a.v, b.v)}; }
QSL_INLINE m64x2 operator!=(f64x2 a, f64x2 b) { return {_mm_cmpneq_pd(a.v, b.v)}; }
QSL_INLINE m64x2 operator<(f64x2 a, f64x2 b) { return {_mm_cmplt_pd(a.v, b.v)}; }
QSL_INLINE m64x2 operator<=(f64x2 a, f64x2 b) { return {_mm_cmple_pd(a.v, b.v)}; }
QSL_INLINE m64x2 unordered(f64x2 a, f64x2 b) { return {_mm_cmpunord_pd(a.v, b.v)}; }
QSL_INLINE f64x2 select(m64x2 mask, f64x2 a, f64x2 b) {
#if defined(__AVX__)
  return {blend_by_top_bits(mask.v, a.v, b.v)};
#else
  return {_mm_or_pd(_mm_and_pd(mask.v, a.v), _mm_andnot_pd(mask.v, b.v))};
#endif
}
QSL_INLINE f64x2 zero_unless(m64x2 mask, f64x2 a) { return {_mm_and_pd(mask.v, a.v)}; }
#endif
QSL_INLINE f64x2 select_by_lanes(f64x2 chosen, f64x2 a, f64x2 b) {
  return {_mm_or_pd(_mm_and_pd(chosen.v, a.v), _mm_andnot_pd(chosen.v, b.v))};
}
QSL_INLINE int equal_lanes(f64x2 a, f64x2 b) { return _mm_movemask_pd(_mm_cmpeq_pd(a.v, b.v)); }
QSL_INLINE int nan_lanes(f64x2 a) { return _mm_movemask_pd(_mm_cmpunord_pd(a.v, a.v)); }

QSL_INLINE f64x2 greater_of(f64x2 a, f64x2 b) { return {_mm_max_pd(a.v, b.v)}; }
QSL_INLINE f64x2 lesser_of(f64x2 a, f64x2 b) { return {_mm_min_pd(a.v, b.v)}; }
QSL_INLINE f64x2 square_root(f64x2 a) { return {_mm_sqrt_pd(a.v)}; }
#if defined(__SSE4_1__)
QSL_INLINE f64x2 round_to_nearest(f64x2 a) {
  return {_mm_round_pd(a.v, _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC)};
}
#endif

// Adds x to lane 0; lane 1 keeps its value.
QSL_INLINE f64x2 add_lower(f64x2 a, f64 x) { return {_mm_add_sd(a.v, x.v)}; }

QSL_INLINE f64x2 dup_even(f64x2 a) {
#if defined(__SSE3__)
  return {_mm_movedup_pd(a.v)};
#else
  return {_mm_unpacklo_pd(a.v, a.v)};
#endif
}
QSL_INLINE f64x2 dup_odd(f64x2 a) { return {_mm_unpackhi_pd(a.v, a.v)}; }
template <int lane>
QSL_INLINE f64x2 broadcast_lane(f64x2 a) {
  if constexpr (lane == 0) return dup_even(a);
  return dup_odd(a);
}
template <int pair>
QSL_INLINE f64x2 broadcast_pair_of(f64x2 a) {
  return a;
}
QSL_INLINE f64x2 swap_pairs(f64x2 a) { return {_mm_shuffle_pd(a.v, a.v, 1)}; }
QSL_INLINE f64x2 reverse(f64x2 a) { return swap_pairs(a); }
QSL_INLINE f64x2 unpack_lower(f64x2 a, f64x2 b) { return {_mm_unpacklo_pd(a.v, b.v)}; }
QSL_INLINE f64x2 unpack_upper(f64x2 a, f64x2 b) { return {_mm_unpackhi_pd(a.v, b.v)}; }
QSL_INLINE f64x2 interleave_lower(f64x2 a, f64x2 b) { return unpack_lower(a, b); }
QSL_INLINE f64x2 interleave_upper(f64x2 a, f64x2 b) { return unpack_upper(a, b); }
QSL_INLINE f64x2 even_lanes(f64x2 a, f64x2 b) { return unpack_lower(a, b); }
QSL_INLINE f64x2 odd_lanes(f64x2 a, f64x2 b) { return unpack_upper(a, b); }
// (a1, b0): the pair that straddles two neighbours
QSL_INLINE f64x2 straddle(f64x2 a, f64x2 b) { return {_mm_shuffle_pd(a.v, b.v, 1)}; }
QSL_INLINE f64x2 negate_even(f64x2 a) { return {_mm_xor_pd(a.v, _mm_set_pd(0.0, -0.0))}; }
QSL_INLINE f64x2 negate_odd(f64x2 a) { return {_mm_xor_pd(a.v, _mm_set_pd(-0.0, 0.0))}; }
QSL_INLINE f64x2 add_sub(f64x2 a, f64x2 b) {
#if defined(__SSE3__)
  return {_mm_addsub_pd(a.v, b.v)};
#else
  return a + negate_even(b);
#endif
}
template <int count>
QSL_INLINE f64x2 first_then(f64x2 a, f64x2 b) {
  if constexpr (count == 0) return b;
  if constexpr (count == 2) return a;
  return {_mm_move_sd(b.v, a.v)};
}

QSL_INLINE f64x2 first_pair(f64x2 a) { return a; }

QSL_INLINE f64 sum_lanes(f64x2 a) { return {_mm_add_sd(a.v, _mm_unpackhi_pd(a.v, a.v))}; }
// The same of two registers: (a1 + a0, b1 + b0)
QSL_INLINE f64x2 sum_lanes(f64x2 a, f64x2 b) {
  return {_mm_add_pd(_mm_unpacklo_pd(a.v, b.v), _mm_unpackhi_pd(a.v, b.v))};
}

}  // namespace qsl::QSL_LEVEL
