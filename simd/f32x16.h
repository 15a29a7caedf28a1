// Sixteen floats in a 512-bit register.
#pragma once

#include "simd/f32x8.h"
#include "simd/f64x8.h"

namespace qsl::QSL_LEVEL {

struct i32x16;

struct f32x16 {
  using Element = float;
  using Mask = m32x16;
  using Indices = i32x16;
  using Integers = i32x16;
  static constexpr int lanes = 16;
  static constexpr int bytes = 64;

  __m512 v;

  QSL_INLINE static f32x16 zero() { return {_mm512_setzero_ps()}; }
  QSL_INLINE static f32x16 constant(float x) { return {_mm512_set1_ps(x)}; }
  QSL_INLINE static f32x16 load(const float* p) { return {_mm512_loadu_ps(p)}; }
  QSL_INLINE static f32x16 load_aligned(const float* p) { return {_mm512_load_ps(p)}; }
  QSL_INLINE static f32x16 gather(const float* base, i32x16 indices);
  QSL_INLINE static f32x16 gather_first(const float* base, i32x16 indices, int k);
  QSL_INLINE static i32x16 offsets(int inc);
  QSL_INLINE static f32x16 broadcast(f32 x) { return {_mm512_set1_ps(x.value())}; }
  QSL_INLINE static f32x16 broadcast_from(const float* p) { return broadcast(f32::load(p)); }
  QSL_INLINE static f32x16 broadcast_pair(const float* p) {
    return {_mm512_castpd_ps(_mm512_set1_pd(load_8_bytes(p).value()))};
  }
  QSL_INLINE static f32x16 lower(f32 x) { return lower(f32x4::lower(x)); }
  QSL_INLINE static f32x16 lower(f32x4 x) { return {_mm512_zextps128_ps512(x.v)}; }

  QSL_INLINE void store(float* p) const { _mm512_storeu_ps(p, v); }
  QSL_INLINE void store_aligned(float* p) const { _mm512_store_ps(p, v); }
  QSL_INLINE void store_streaming(float* p) const { _mm512_stream_ps(p, v); }

  QSL_INLINE static f32x16 load_first(const float* p, int k) {
    return {_mm512_maskz_loadu_ps(Mask::first(k).v, p)};
  }
  QSL_INLINE void store_first(float* p, int k) const {
    _mm512_mask_storeu_ps(p, Mask::first(k).v, v);
  }
  QSL_INLINE static f32x16 load_rest(const float* p, int k) { return load_first(p, k); }
  QSL_INLINE void store_rest(float* p, int k) const { store_first(p, k); }
};

QSL_INLINE f32x16 operator+(f32x16 a, f32x16 b) { return {_mm512_add_ps(a.v, b.v)}; }
QSL_INLINE f32x16 operator-(f32x16 a, f32x16 b) { return {_mm512_sub_ps(a.v, b.v)}; }
QSL_INLINE f32x16 operator*(f32x16 a, f32x16 b) { return {_mm512_mul_ps(a.v, b.v)}; }
QSL_INLINE f32x16 operator/(f32x16 a, f32x16 b) { return {_mm512_div_ps(a.v, b.v)}; }

QSL_INLINE f32x16 operator&(f32x16 a, f32x16 b) { return {_mm512_and_ps(a.v, b.v)}; }
QSL_INLINE f32x16 operator|(f32x16 a, f32x16 b) { return {_mm512_or_ps(a.v, b.v)}; }
QSL_INLINE f32x16 operator^(f32x16 a, f32x16 b) { return {_mm512_xor_ps(a.v, b.v)}; }
QSL_INLINE f32x16 and_not(f32x16 a, f32x16 b) { return {_mm512_andnot_ps(b.v, a.v)}; }

QSL_INLINE f32x16 mul_add(f32x16 a, f32x16 b, f32x16 c) { return {_mm512_fmadd_ps(a.v, b.v, c.v)}; }
QSL_INLINE f32x16 mul_sub(f32x16 a, f32x16 b, f32x16 c) { return {_mm512_fmsub_ps(a.v, b.v, c.v)}; }
QSL_INLINE f32x16 neg_mul_add(f32x16 a, f32x16 b, f32x16 c) {
  return {_mm512_fnmadd_ps(a.v, b.v, c.v)};
}
QSL_INLINE f32x16 mul_sub_add(f32x16 a, f32x16 b, f32x16 c) {
  return {_mm512_fmaddsub_ps(a.v, b.v, c.v)};
}
QSL_INLINE f32x16 mul_add_sub(f32x16 a, f32x16 b, f32x16 c) {
  return {_mm512_fmsubadd_ps(a.v, b.v, c.v)};
}
// The first k lanes of a * b + c; the others keep the value of c.
QSL_INLINE f32x16 mul_add_first(f32x16 a, f32x16 b, f32x16 c, int k) {
  return {_mm512_mask3_fmadd_ps(a.v, b.v, c.v, m32x16::first(k).v)};
}

QSL_INLINE m32x16 operator==(f32x16 a, f32x16 b) {
  return {_mm512_cmp_ps_mask(a.v, b.v, _CMP_EQ_OQ)};
}
QSL_INLINE m32x16 operator!=(f32x16 a, f32x16 b) {
  return {_mm512_cmp_ps_mask(a.v, b.v, _CMP_NEQ_UQ)};
}
QSL_INLINE m32x16 operator<(f32x16 a, f32x16 b) {
  return {_mm512_cmp_ps_mask(a.v, b.v, _CMP_LT_OS)};
}
QSL_INLINE m32x16 operator<=(f32x16 a, f32x16 b) {
  return {_mm512_cmp_ps_mask(a.v, b.v, _CMP_LE_OS)};
}
QSL_INLINE m32x16 unordered(f32x16 a, f32x16 b) {
  return {_mm512_cmp_ps_mask(a.v, b.v, _CMP_UNORD_Q)};
}
QSL_INLINE f32x16 select(m32x16 mask, f32x16 a, f32x16 b) {
  return {_mm512_mask_blend_ps(mask.v, b.v, a.v)};
}
QSL_INLINE f32x16 zero_unless(m32x16 mask, f32x16 a) { return {_mm512_maskz_mov_ps(mask.v, a.v)}; }
QSL_INLINE f32x16 select_by_lanes(f32x16 chosen, f32x16 a, f32x16 b) {
  return {_mm512_mask_blend_ps(_mm512_movepi32_mask(_mm512_castps_si512(chosen.v)), b.v, a.v)};
}
QSL_INLINE int equal_lanes(f32x16 a, f32x16 b) { return to_bits(a == b); }
QSL_INLINE int nan_lanes(f32x16 a) { return to_bits(unordered(a, a)); }

QSL_INLINE f32x16 greater_of(f32x16 a, f32x16 b) { return {_mm512_max_ps(a.v, b.v)}; }
QSL_INLINE f32x16 lesser_of(f32x16 a, f32x16 b) { return {_mm512_min_ps(a.v, b.v)}; }
QSL_INLINE f32x16 square_root(f32x16 a) { return {_mm512_sqrt_ps(a.v)}; }
QSL_INLINE f32x16 round_to_nearest(f32x16 a) {
  return {_mm512_roundscale_ps(a.v, _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC)};
}

QSL_INLINE f32x16 dup_even(f32x16 a) { return {_mm512_moveldup_ps(a.v)}; }
QSL_INLINE f32x16 dup_odd(f32x16 a) { return {_mm512_movehdup_ps(a.v)}; }
// A pair of floats moves as a double.
template <int pair>
QSL_INLINE f32x16 broadcast_pair_of(f32x16 a) {
  return {_mm512_castpd_ps(broadcast_lane<pair>(f64x8{_mm512_castps_pd(a.v)}).v)};
}
template <int lane>
QSL_INLINE f32x16 broadcast_lane(f32x16 a) {
  const __m512 block = _mm512_shuffle_f32x4(a.v, a.v, lane / 4 * 0x55);
  return {_mm512_permute_ps(block, lane % 4 * 0x55)};
}
QSL_INLINE f32x16 swap_pairs(f32x16 a) { return {_mm512_permute_ps(a.v, _MM_SHUFFLE(2, 3, 0, 1))}; }
QSL_INLINE f32x16 reverse(f32x16 a) {
  const __m512 blocks = _mm512_shuffle_f32x4(a.v, a.v, _MM_SHUFFLE(0, 1, 2, 3));
  return {_mm512_permute_ps(blocks, _MM_SHUFFLE(0, 1, 2, 3))};
}
QSL_INLINE f32x16 unpack_lower(f32x16 a, f32x16 b) { return {_mm512_unpacklo_ps(a.v, b.v)}; }
QSL_INLINE f32x16 unpack_upper(f32x16 a, f32x16 b) { return {_mm512_unpackhi_ps(a.v, b.v)}; }
QSL_INLINE f32x16 interleave_lower(f32x16 a, f32x16 b) {
  const __m512i order = _mm512_set_epi32(23, 7, 22, 6, 21, 5, 20, 4, 19, 3, 18, 2, 17, 1, 16, 0);
  return {_mm512_permutex2var_ps(a.v, order, b.v)};
}
QSL_INLINE f32x16 interleave_upper(f32x16 a, f32x16 b) {
  const __m512i order =
      _mm512_set_epi32(31, 15, 30, 14, 29, 13, 28, 12, 27, 11, 26, 10, 25, 9, 24, 8);
  return {_mm512_permutex2var_ps(a.v, order, b.v)};
}
QSL_INLINE f32x16 even_lanes(f32x16 a, f32x16 b) {
  const __m512i order = _mm512_set_epi32(30, 28, 26, 24, 22, 20, 18, 16, 14, 12, 10, 8, 6, 4, 2, 0);
  return {_mm512_permutex2var_ps(a.v, order, b.v)};
}
QSL_INLINE f32x16 odd_lanes(f32x16 a, f32x16 b) {
  const __m512i order = _mm512_set_epi32(31, 29, 27, 25, 23, 21, 19, 17, 15, 13, 11, 9, 7, 5, 3, 1);
  return {_mm512_permutex2var_ps(a.v, order, b.v)};
}
QSL_INLINE f32x16 negate_even(f32x16 a) {
  return {_mm512_xor_ps(a.v, _mm512_broadcast_f32x4(_mm_set_ps(0.0f, -0.0f, 0.0f, -0.0f)))};
}
QSL_INLINE f32x16 negate_odd(f32x16 a) {
  return {_mm512_xor_ps(a.v, _mm512_broadcast_f32x4(_mm_set_ps(-0.0f, 0.0f, -0.0f, 0.0f)))};
}
// There is no such instruction of this width; a product with 1 is exact.
QSL_INLINE f32x16 add_sub(f32x16 a, f32x16 b) {
  return {_mm512_fmaddsub_ps(a.v, _mm512_set1_ps(1.0f), b.v)};
}
template <int count>
QSL_INLINE f32x16 first_then(f32x16 a, f32x16 b) {
  return {_mm512_mask_blend_ps(static_cast<__mmask16>((1 << count) - 1), b.v, a.v)};
}

QSL_INLINE f32x16 combine(f32x8 lower, f32x8 upper) {
  return {_mm512_insertf32x8(_mm512_castps256_ps512(lower.v), upper.v, 1)};
}
QSL_INLINE f32x8 lower_half(f32x16 a) { return {_mm512_castps512_ps256(a.v)}; }
QSL_INLINE f32x8 upper_half(f32x16 a) { return {_mm512_extractf32x8_ps(a.v, 1)}; }

}  // namespace qsl::QSL_LEVEL
