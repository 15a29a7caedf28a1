// Four floats in a 128-bit register. Every level has these. A pair is a complex number in either
// precision. simd/README.md tells what the operations of all types mean.
#pragma once

#include "simd/masks.h"

namespace qsl::QSL_LEVEL {

struct i32x4;

struct f32x4 {
  using Element = float;
  using Mask = m32x4;
  using Indices = i32x4;
  using Integers = i32x4;
  static constexpr int lanes = 4;
  static constexpr int bytes = 16;

  __m128 v;

  QSL_INLINE static f32x4 zero() { return {_mm_setzero_ps()}; }
  QSL_INLINE static f32x4 constant(float x) { return {_mm_set1_ps(x)}; }
  QSL_INLINE static f32x4 load(const float* p) { return {_mm_loadu_ps(p)}; }
  QSL_INLINE static f32x4 load_aligned(const float* p) { return {_mm_load_ps(p)}; }
  QSL_INLINE static f32x4 gather(const float* base, i32x4 indices);
  QSL_INLINE static f32x4 gather_first(const float* base, i32x4 indices, int k);
  QSL_INLINE static i32x4 offsets(int inc);
  QSL_INLINE static f32x4 broadcast(f32 x) { return {_mm_shuffle_ps(x.v, x.v, 0)}; }
  QSL_INLINE static f32x4 broadcast_from(const float* p) { return broadcast(f32::load(p)); }
  QSL_INLINE static f32x4 broadcast_pair(const float* p) {
    const f32x4 pair = load_pair(p);
    return {_mm_movelh_ps(pair.v, pair.v)};
  }
  // (p[0], p[1], 0, 0)
  QSL_INLINE static f32x4 load_pair(const float* p) { return {_mm_castpd_ps(load_8_bytes(p).v)}; }
  QSL_INLINE static f32x4 lower(f32 x) { return {_mm_move_ss(_mm_setzero_ps(), x.v)}; }
  QSL_INLINE static f32x4 lower(f32x4 x) { return x; }

  QSL_INLINE void store(float* p) const { _mm_storeu_ps(p, v); }
  QSL_INLINE void store_aligned(float* p) const { _mm_store_ps(p, v); }
  QSL_INLINE void store_streaming(float* p) const { _mm_stream_ps(p, v); }
  // The first pair.
  QSL_INLINE void store_pair(float* p) const { store_8_bytes(p, f64{_mm_castps_pd(v)}); }

#if defined(__AVX512F__)
  QSL_INLINE static f32x4 load_first(const float* p, int k) {
    return {_mm_maskz_loadu_ps(Mask::first(k).v, p)};
  }
  QSL_INLINE void store_first(float* p, int k) const { _mm_mask_storeu_ps(p, Mask::first(k).v, v); }
#elif defined(__AVX__)
  QSL_INLINE static f32x4 load_first(const float* p, int k) {
    return {_mm_maskload_ps(p, _mm_castps_si128(Mask::first(k).v))};
  }
  QSL_INLINE void store_first(float* p, int k) const {
    _mm_maskstore_ps(p, _mm_castps_si128(Mask::first(k).v), v);
  }
#else
  QSL_INLINE static f32x4 load_first(const float* p, int k) {
    if (k == 0) return zero();
    return k == lanes ? load(p) : load_rest(p, k);
  }
  QSL_INLINE void store_first(float* p, int k) const {
    if (k == lanes) {
      store(p);
    } else if (k != 0) {
      store_rest(p, k);
    }
  }
#endif
#if defined(__AVX__)
  QSL_INLINE static __m128i rest_lanes(int k) {
    const int ones = static_cast<int>(0xffffffffu >> (8 * (lanes - k)));
    return _mm_cvtepi8_epi32(_mm_cvtsi32_si128(ones));
  }
  QSL_INLINE static f32x4 load_rest(const float* p, int k) {
    return {_mm_maskload_ps(p, rest_lanes(k))};
  }
  QSL_INLINE void store_rest(float* p, int k) const { _mm_maskstore_ps(p, rest_lanes(k), v); }
#else
  QSL_INLINE static f32x4 load_rest(const float* p, int k) {
    if (k == 1) return {f32::load(p).v};
    if (k == 2) return load_pair(p);
    return {_mm_movelh_ps(load_pair(p).v, f32::load(p + 2).v)};
  }
  QSL_INLINE void store_rest(float* p, int k) const {
    if (k == 1) {
      f32{v}.store(p);
    } else {
      store_pair(p);
      if (k == 3) f32{_mm_movehl_ps(v, v)}.store(p + 2);
    }
  }
#endif
};

QSL_INLINE f32x4 operator+(f32x4 a, f32x4 b) { return {_mm_add_ps(a.v, b.v)}; }
QSL_INLINE f32x4 operator-(f32x4 a, f32x4 b) { return {_mm_sub_ps(a.v, b.v)}; }
QSL_INLINE f32x4 operator*(f32x4 a, f32x4 b) { return {_mm_mul_ps(a.v, b.v)}; }
QSL_INLINE f32x4 operator/(f32x4 a, f32x4 b) { return {_mm_div_ps(a.v, b.v)}; }

QSL_INLINE f32x4 operator&(f32x4 a, f32x4 b) { return {_mm_and_ps(a.v, b.v)}; }
QSL_INLINE f32x4 operator|(f32x4 a, f32x4 b) { return {_mm_or_ps(a.v, b.v)}; }
QSL_INLINE f32x4 operator^(f32x4 a, f32x4 b) { return {_mm_xor_ps(a.v, b.v)}; }
QSL_INLINE f32x4 and_not(f32x4 a, f32x4 b) { return {_mm_andnot_ps(b.v, a.v)}; }

#if defined(__FMA__)
QSL_INLINE f32x4 mul_add(f32x4 a, f32x4 b, f32x4 c) { return {_mm_fmadd_ps(a.v, b.v, c.v)}; }
QSL_INLINE f32x4 mul_sub(f32x4 a, f32x4 b, f32x4 c) { return {_mm_fmsub_ps(a.v, b.v, c.v)}; }
QSL_INLINE f32x4 neg_mul_add(f32x4 a, f32x4 b, f32x4 c) { return {_mm_fnmadd_ps(a.v, b.v, c.v)}; }
QSL_INLINE f32x4 mul_sub_add(f32x4 a, f32x4 b, f32x4 c) { return {_mm_fmaddsub_ps(a.v, b.v, c.v)}; }
QSL_INLINE f32x4 mul_add_sub(f32x4 a, f32x4 b, f32x4 c) { return {_mm_fmsubadd_ps(a.v, b.v, c.v)}; }
#endif

#if defined(__AVX512F__)
QSL_INLINE m32x4 operator==(f32x4 a, f32x4 b) { return {_mm_cmp_ps_mask(a.v, b.v, _CMP_EQ_OQ)}; }
QSL_INLINE m32x4 operator!=(f32x4 a, f32x4 b) { return {_mm_cmp_ps_mask(a.v, b.v, _CMP_NEQ_UQ)}; }
QSL_INLINE m32x4 operator<(f32x4 a, f32x4 b) { return {_mm_cmp_ps_mask(a.v, b.v, _CMP_LT_OS)}; }
QSL_INLINE m32x4 operator<=(f32x4 a, f32x4 b) { return {_mm_cmp_ps_mask(a.v, b.v, _CMP_LE_OS)}; }
QSL_INLINE m32x4 unordered(f32x4 a, f32x4 b) { return {_mm_cmp_ps_mask(a.v, b.v, _CMP_UNORD_Q)}; }
QSL_INLINE f32x4 select(m32x4 mask, f32x4 a, f32x4 b) {
  return {_mm_mask_blend_ps(mask.v, b.v, a.v)};
}
QSL_INLINE f32x4 zero_unless(m32x4 mask, f32x4 a) { return {_mm_maskz_mov_ps(mask.v, a.v)}; }
#else
QSL_INLINE m32x4 operator==(f32x4 a, f32x4 b) { return {_mm_cmpeq_ps(a.v, b.v)}; }
QSL_INLINE m32x4 operator!=(f32x4 a, f32x4 b) { return {_mm_cmpneq_ps(a.v, b.v)}; }
QSL_INLINE m32x4 operator<(f32x4 a, f32x4 b) { return {_mm_cmplt_ps(a.v, b.v)}; }
QSL_INLINE m32x4 operator<=(f32x4 a, f32x4 b) { return {_mm_cmple_ps(a.v, b.v)}; }
QSL_INLINE m32x4 unordered(f32x4 a, f32x4 b) { return {_mm_cmpunord_ps(a.v, b.v)}; }
QSL_INLINE f32x4 select(m32x4 mask, f32x4 a, f32x4 b) {
#if defined(__AVX__)
  return {blend_by_top_bits(mask.v, a.v, b.v)};
#else
  return {_mm_or_ps(_mm_and_ps(mask.v, a.v), _mm_andnot_ps(mask.v, b.v))};
#endif
}
QSL_INLINE f32x4 zero_unless(m32x4 mask, f32x4 a) { return {_mm_and_ps(mask.v, a.v)}; }
#endif
QSL_INLINE f32x4 select_by_lanes(f32x4 chosen, f32x4 a, f32x4 b) {
  return {_mm_or_ps(_mm_and_ps(chosen.v, a.v), _mm_andnot_ps(chosen.v, b.v))};
}
QSL_INLINE int equal_lanes(f32x4 a, f32x4 b) { return _mm_movemask_ps(_mm_cmpeq_ps(a.v, b.v)); }
QSL_INLINE int nan_lanes(f32x4 a) { return _mm_movemask_ps(_mm_cmpunord_ps(a.v, a.v)); }

QSL_INLINE f32x4 greater_of(f32x4 a, f32x4 b) { return {_mm_max_ps(a.v, b.v)}; }
QSL_INLINE f32x4 lesser_of(f32x4 a, f32x4 b) { return {_mm_min_ps(a.v, b.v)}; }
QSL_INLINE f32x4 square_root(f32x4 a) { return {_mm_sqrt_ps(a.v)}; }
#if defined(__SSE4_1__)
QSL_INLINE f32x4 round_to_nearest(f32x4 a) {
  return {_mm_round_ps(a.v, _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC)};
}
#endif

QSL_INLINE f32x4 dup_even(f32x4 a) {
#if defined(__SSE3__)
  return {_mm_moveldup_ps(a.v)};
#else
  return {_mm_shuffle_ps(a.v, a.v, _MM_SHUFFLE(2, 2, 0, 0))};
#endif
}
QSL_INLINE f32x4 dup_odd(f32x4 a) {
#if defined(__SSE3__)
  return {_mm_movehdup_ps(a.v)};
#else
  return {_mm_shuffle_ps(a.v, a.v, _MM_SHUFFLE(3, 3, 1, 1))};
#endif
}
template <int lane>
QSL_INLINE f32x4 broadcast_lane(f32x4 a) {
  return {_mm_shuffle_ps(a.v, a.v, lane * 0x55)};
}
template <int pair>
QSL_INLINE f32x4 broadcast_pair_of(f32x4 a) {
  return {_mm_shuffle_ps(a.v, a.v, pair == 0 ? 0x44 : 0xee)};
}
QSL_INLINE f32x4 swap_pairs(f32x4 a) { return {_mm_shuffle_ps(a.v, a.v, _MM_SHUFFLE(2, 3, 0, 1))}; }
QSL_INLINE f32x4 reverse(f32x4 a) { return {_mm_shuffle_ps(a.v, a.v, _MM_SHUFFLE(0, 1, 2, 3))}; }
QSL_INLINE f32x4 unpack_lower(f32x4 a, f32x4 b) { return {_mm_unpacklo_ps(a.v, b.v)}; }
QSL_INLINE f32x4 unpack_upper(f32x4 a, f32x4 b) { return {_mm_unpackhi_ps(a.v, b.v)}; }
QSL_INLINE f32x4 interleave_lower(f32x4 a, f32x4 b) { return unpack_lower(a, b); }
QSL_INLINE f32x4 interleave_upper(f32x4 a, f32x4 b) { return unpack_upper(a, b); }
QSL_INLINE f32x4 even_lanes(f32x4 a, f32x4 b) {
  return {_mm_shuffle_ps(a.v, b.v, _MM_SHUFFLE(2, 0, 2, 0))};
}
QSL_INLINE f32x4 odd_lanes(f32x4 a, f32x4 b) {
  return {_mm_shuffle_ps(a.v, b.v, _MM_SHUFFLE(3, 1, 3, 1))};
}
QSL_INLINE f32x4 negate_even(f32x4 a) {
  return {_mm_xor_ps(a.v, _mm_set_ps(0.0f, -0.0f, 0.0f, -0.0f))};
}
QSL_INLINE f32x4 negate_odd(f32x4 a) {
  return {_mm_xor_ps(a.v, _mm_set_ps(-0.0f, 0.0f, -0.0f, 0.0f))};
}
QSL_INLINE f32x4 add_sub(f32x4 a, f32x4 b) {
#if defined(__SSE3__)
  return {_mm_addsub_ps(a.v, b.v)};
#else
  return a + negate_even(b);
#endif
}
template <int count>
QSL_INLINE f32x4 first_then(f32x4 a, f32x4 b) {
  if constexpr (count == 0) return b;
  if constexpr (count == 4) return a;
#if defined(__SSE4_1__)
  return {_mm_blend_ps(b.v, a.v, (1 << count) - 1)};
#else
  if constexpr (count == 1) return {_mm_move_ss(b.v, a.v)};
  if constexpr (count == 2) return {_mm_shuffle_ps(a.v, b.v, _MM_SHUFFLE(3, 2, 1, 0))};
  const __m128 middle = _mm_shuffle_ps(a.v, b.v, _MM_SHUFFLE(3, 3, 2, 2));  // (a2, a2, b3, b3)
  return {_mm_shuffle_ps(a.v, middle, _MM_SHUFFLE(2, 0, 1, 0))};
#endif
}

// Upper pair + lower pair, in lanes 0 and 1.
QSL_INLINE f32x4 sum_pairs(f32x4 a) { return a + f32x4{_mm_movehl_ps(a.v, a.v)}; }
// Upper pair + lower pair, then upper lane + lower lane.
QSL_INLINE f32 sum_lanes(f32x4 a) {
  const f32x4 pair = sum_pairs(a);
  return {_mm_add_ss(pair.v, _mm_shuffle_ps(pair.v, pair.v, 1))};
}

}  // namespace qsl::QSL_LEVEL
