// Eight floats in a 256-bit register, for the levels from AVX upward.
#pragma once

#include "simd/f32x4.h"
#include "simd/f64x4.h"

namespace qsl::QSL_LEVEL {

struct i32x8;

struct f32x8 {
  using Element = float;
  using Mask = m32x8;
  using Indices = i32x8;
  using Integers = i32x8;
  static constexpr int lanes = 8;
  static constexpr int bytes = 32;

  __m256 v;

  QSL_INLINE static f32x8 zero() { return {_mm256_setzero_ps()}; }
  QSL_INLINE static f32x8 constant(float x) { return {_mm256_set1_ps(x)}; }
  QSL_INLINE static f32x8 load(const float* p) { return {_mm256_loadu_ps(p)}; }
  QSL_INLINE static f32x8 load_aligned(const float* p) { return {_mm256_load_ps(p)}; }
  QSL_INLINE static f32x8 gather(const float* base, i32x8 indices);
  QSL_INLINE static f32x8 gather_first(const float* base, i32x8 indices, int k);
  QSL_INLINE static i32x8 offsets(int inc);
  QSL_INLINE static f32x8 broadcast(f32 x) { return {_mm256_set1_ps(x.value())}; }
  QSL_INLINE static f32x8 broadcast_from(const float* p) { return {_mm256_broadcast_ss(p)}; }
  QSL_INLINE static f32x8 broadcast_pair(const float* p) {
    return {_mm256_castpd_ps(_mm256_set1_pd(load_8_bytes(p).value()))};
  }
  QSL_INLINE static f32x8 lower(f32 x) {
    return {_mm256_insertf128_ps(_mm256_setzero_ps(), f32x4::lower(x).v, 0)};
  }
  QSL_INLINE static f32x8 lower(f32x4 x) { return {_mm256_zextps128_ps256(x.v)}; }

  QSL_INLINE void store(float* p) const { _mm256_storeu_ps(p, v); }
  QSL_INLINE void store_aligned(float* p) const { _mm256_store_ps(p, v); }
  QSL_INLINE void store_streaming(float* p) const { _mm256_stream_ps(p, v); }

#if defined(__AVX512F__)
  QSL_INLINE static f32x8 load_first(const float* p, int k) {
    return {_mm256_maskz_loadu_ps(Mask::first(k).v, p)};
  }
  QSL_INLINE void store_first(float* p, int k) const {
    _mm256_mask_storeu_ps(p, Mask::first(k).v, v);
  }
#else
  QSL_INLINE static f32x8 load_first(const float* p, int k) {
    return {_mm256_maskload_ps(p, _mm256_castps_si256(Mask::first(k).v))};
  }
  QSL_INLINE void store_first(float* p, int k) const {
    _mm256_maskstore_ps(p, _mm256_castps_si256(Mask::first(k).v), v);
  }
#endif
  QSL_INLINE static f32x8 load_rest(const float* p, int k) {
    return {_mm256_maskload_ps(p, rest_lanes(k))};
  }
  QSL_INLINE void store_rest(float* p, int k) const { _mm256_maskstore_ps(p, rest_lanes(k), v); }
  QSL_INLINE static __m256i rest_lanes(int k) {
    const __m128i zero = _mm_setzero_si128();
    const __m128i flags =
        _mm_srl_epi64(_mm_cmpeq_epi8(zero, zero), _mm_cvtsi32_si128(8 * (lanes - k)));
#if defined(__AVX2__)
    return _mm256_cvtepi8_epi32(flags);
#else
    const __m128i lower = widen_to_32_bits(flags);
    const __m128i upper = widen_to_32_bits(_mm_srli_epi64(flags, 32));
    return _mm256_insertf128_si256(_mm256_castsi128_si256(lower), upper, 1);
#endif
  }
};

QSL_INLINE f32x8 operator+(f32x8 a, f32x8 b) { return {_mm256_add_ps(a.v, b.v)}; }
QSL_INLINE f32x8 operator-(f32x8 a, f32x8 b) { return {_mm256_sub_ps(a.v, b.v)}; }
QSL_INLINE f32x8 operator*(f32x8 a, f32x8 b) { return {_mm256_mul_ps(a.v, b.v)}; }
QSL_INLINE f32x8 operator/(f32x8 a, f32x8 b) { return {_mm256_div_ps(a.v, b.v)}; }

QSL_INLINE f32x8 operator&(f32x8 a, f32x8 b) { return {_mm256_and_ps(a.v, b.v)}; }
QSL_INLINE f32x8 operator|(f32x8 a, f32x8 b) { return {_mm256_or_ps(a.v, b.v)}; }
QSL_INLINE f32x8 operator^(f32x8 a, f32x8 b) { return {_mm256_xor_ps(a.v, b.v)}; }
QSL_INLINE f32x8 and_not(f32x8 a, f32x8 b) { return {_mm256_andnot_ps(b.v, a.v)}; }

#if defined(__FMA__)
QSL_INLINE f32x8 mul_add(f32x8 a, f32x8 b, f32x8 c) { return {_mm256_fmadd_ps(a.v, b.v, c.v)}; }
QSL_INLINE f32x8 mul_sub(f32x8 a, f32x8 b, f32x8 c) { return {_mm256_fmsub_ps(a.v, b.v, c.v)}; }
QSL_INLINE f32x8 neg_mul_add(f32x8 a, f32x8 b, f32x8 c) {
  return {_mm256_fnmadd_ps(a.v, b.v, c.v)};
}
QSL_INLINE f32x8 mul_sub_add(f32x8 a, f32x8 b, f32x8 c) {
  return {_mm256_fmaddsub_ps(a.v, b.v, c.v)};
}
QSL_INLINE f32x8 mul_add_sub(f32x8 a, f32x8 b, f32x8 c) {
  return {_mm256_fmsubadd_ps(a.v, b.v, c.v)};
}
#endif

#if defined(__AVX512F__)
QSL_INLINE m32x8 operator==(f32x8 a, f32x8 b) { return {_mm256_cmp_ps_mask(a.v, b.v, _CMP_EQ_OQ)}; }
QSL_INLINE m32x8 operator!=(f32x8 a, f32x8 b) {
  return {_mm256_cmp_ps_mask(a.v, b.v, _CMP_NEQ_UQ)};
}
QSL_INLINE m32x8 operator<(f32x8 a, f32x8 b) { return {_mm256_cmp_ps_mask(a.v, b.v, _CMP_LT_OS)}; }
QSL_INLINE m32x8 operator<=(f32x8 a, f32x8 b) { return {_mm256_cmp_ps_mask(a.v, b.v, _CMP_LE_OS)}; }
QSL_INLINE m32x8 unordered(f32x8 a, f32x8 b) {
  return {_mm256_cmp_ps_mask(a.v, b.v, _CMP_UNORD_Q)};
}
QSL_INLINE f32x8 select(m32x8 mask, f32x8 a, f32x8 b) {
  return {_mm256_mask_blend_ps(mask.v, b.v, a.v)};
}
QSL_INLINE f32x8 zero_unless(m32x8 mask, f32x8 a) { return {_mm256_maskz_mov_ps(mask.v, a.v)}; }
#else
QSL_INLINE m32x8 operator==(f32x8 a, f32x8 b) { return {_mm256_cmp_ps(a.v, b.v, _CMP_EQ_OQ)}; }
QSL_INLINE m32x8 operator!=(f32x8 a, f32x8 b) { return {_mm256_cmp_ps(a.v, b.v, _CMP_NEQ_UQ)}; }
QSL_INLINE m32x8 operator<(f32x8 a, f32x8 b) { return {_mm256_cmp_ps(a.v, b.v, _CMP_LT_OS)}; }
QSL_INLINE m32x8 operator<=(f32x8 a, f32x8 b) { return {_mm256_cmp_ps(a.v, b.v, _CMP_LE_OS)}; }
QSL_INLINE m32x8 unordered(f32x8 a, f32x8 b) { return {_mm256_cmp_ps(a.v, b.v, _CMP_UNORD_Q)}; }
QSL_INLINE f32x8 select(m32x8 mask, f32x8 a, f32x8 b) {
  return {blend_by_top_bits(mask.v, a.v, b.v)};
}
QSL_INLINE f32x8 zero_unless(m32x8 mask, f32x8 a) { return {_mm256_and_ps(mask.v, a.v)}; }
#endif
QSL_INLINE f32x8 select_by_lanes(f32x8 chosen, f32x8 a, f32x8 b) {
  return {blend_by_top_bits(chosen.v, a.v, b.v)};
}
QSL_INLINE int equal_lanes(f32x8 a, f32x8 b) {
  return _mm256_movemask_ps(_mm256_cmp_ps(a.v, b.v, _CMP_EQ_OQ));
}
QSL_INLINE int nan_lanes(f32x8 a) {
  return _mm256_movemask_ps(_mm256_cmp_ps(a.v, a.v, _CMP_UNORD_Q));
}

QSL_INLINE f32x8 greater_of(f32x8 a, f32x8 b) { return {_mm256_max_ps(a.v, b.v)}; }
QSL_INLINE f32x8 lesser_of(f32x8 a, f32x8 b) { return {_mm256_min_ps(a.v, b.v)}; }
QSL_INLINE f32x8 square_root(f32x8 a) { return {_mm256_sqrt_ps(a.v)}; }
QSL_INLINE f32x8 round_to_nearest(f32x8 a) {
  return {_mm256_round_ps(a.v, _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC)};
}

QSL_INLINE f32x8 dup_even(f32x8 a) { return {_mm256_moveldup_ps(a.v)}; }
QSL_INLINE f32x8 dup_odd(f32x8 a) { return {_mm256_movehdup_ps(a.v)}; }
// A pair of floats moves as a double.
template <int pair>
QSL_INLINE f32x8 broadcast_pair_of(f32x8 a) {
  return {_mm256_castpd_ps(broadcast_lane<pair>(f64x4{_mm256_castps_pd(a.v)}).v)};
}
template <int lane>
QSL_INLINE f32x8 broadcast_lane(f32x8 a) {
  const __m256 block = _mm256_permute2f128_ps(a.v, a.v, lane < 4 ? 0x00 : 0x11);
  return {_mm256_permute_ps(block, lane % 4 * 0x55)};
}
QSL_INLINE f32x8 swap_pairs(f32x8 a) { return {_mm256_permute_ps(a.v, _MM_SHUFFLE(2, 3, 0, 1))}; }
QSL_INLINE f32x8 reverse(f32x8 a) {
  return {_mm256_permute_ps(_mm256_permute2f128_ps(a.v, a.v, 0x01), _MM_SHUFFLE(0, 1, 2, 3))};
}
QSL_INLINE f32x8 unpack_lower(f32x8 a, f32x8 b) { return {_mm256_unpacklo_ps(a.v, b.v)}; }
QSL_INLINE f32x8 unpack_upper(f32x8 a, f32x8 b) { return {_mm256_unpackhi_ps(a.v, b.v)}; }
// The lower blocks of both, the upper blocks of both.
QSL_INLINE f32x8 lower_blocks(f32x8 a, f32x8 b) { return {_mm256_permute2f128_ps(a.v, b.v, 0x20)}; }
QSL_INLINE f32x8 upper_blocks(f32x8 a, f32x8 b) { return {_mm256_permute2f128_ps(a.v, b.v, 0x31)}; }
QSL_INLINE f32x8 interleave_lower(f32x8 a, f32x8 b) {
  return lower_blocks(unpack_lower(a, b), unpack_upper(a, b));
}
QSL_INLINE f32x8 interleave_upper(f32x8 a, f32x8 b) {
  return upper_blocks(unpack_lower(a, b), unpack_upper(a, b));
}
QSL_INLINE f32x8 even_lanes(f32x8 a, f32x8 b) {
  return {_mm256_shuffle_ps(lower_blocks(a, b).v, upper_blocks(a, b).v, _MM_SHUFFLE(2, 0, 2, 0))};
}
QSL_INLINE f32x8 odd_lanes(f32x8 a, f32x8 b) {
  return {_mm256_shuffle_ps(lower_blocks(a, b).v, upper_blocks(a, b).v, _MM_SHUFFLE(3, 1, 3, 1))};
}
QSL_INLINE f32x8 negate_even(f32x8 a) {
  return {_mm256_xor_ps(a.v, _mm256_set_ps(0.0f, -0.0f, 0.0f, -0.0f, 0.0f, -0.0f, 0.0f, -0.0f))};
}
QSL_INLINE f32x8 negate_odd(f32x8 a) {
  return {_mm256_xor_ps(a.v, _mm256_set_ps(-0.0f, 0.0f, -0.0f, 0.0f, -0.0f, 0.0f, -0.0f, 0.0f))};
}
QSL_INLINE f32x8 add_sub(f32x8 a, f32x8 b) { return {_mm256_addsub_ps(a.v, b.v)}; }
template <int count>
QSL_INLINE f32x8 first_then(f32x8 a, f32x8 b) {
  return {_mm256_blend_ps(b.v, a.v, (1 << count) - 1)};
}

QSL_INLINE f32x8 combine(f32x4 lower, f32x4 upper) {
  return {_mm256_insertf128_ps(_mm256_castps128_ps256(lower.v), upper.v, 1)};
}
QSL_INLINE f32x4 lower_half(f32x8 a) { return {_mm256_castps256_ps128(a.v)}; }
QSL_INLINE f32x4 upper_half(f32x8 a) { return {_mm256_extractf128_ps(a.v, 1)}; }

}  // namespace qsl::QSL_LEVEL
