// Four doubles in a 256-bit register, for the levels from AVX upward.
#pragma once

#include "simd/f64x2.h"

namespace qsl::QSL_LEVEL {

struct i64x4;

struct f64x4 {
  using Element = double;
  using Mask = m64x4;
  using Indices = i32x4;
  using Integers = i64x4;
  static constexpr int lanes = 4;
  static constexpr int bytes = 32;

  __m256d v;

  QSL_INLINE static f64x4 zero() { return {_mm256_setzero_pd()}; }
  QSL_INLINE static f64x4 constant(double x) { return {_mm256_set1_pd(x)}; }
  QSL_INLINE static f64x4 load(const double* p) { return {_mm256_loadu_pd(p)}; }
  QSL_INLINE static f64x4 load_aligned(const double* p) { return {_mm256_load_pd(p)}; }
  QSL_INLINE static f64x4 gather(const double* base, i32x4 indices);
  QSL_INLINE static f64x4 gather_first(const double* base, i32x4 indices, int k);
  QSL_INLINE static i32x4 offsets(int inc);
  QSL_INLINE static f64x4 broadcast(f64 x) { return {_mm256_set1_pd(x.value())}; }
  QSL_INLINE static f64x4 broadcast_from(const double* p) { return {_mm256_broadcast_sd(p)}; }
  QSL_INLINE static f64x4 broadcast_pair(const double* p) {
    return {_mm256_broadcast_pd(reinterpret_cast<const __m128d*>(p))};
  }
  QSL_INLINE static f64x4 lower(f64 x) {
    return {_mm256_insertf128_pd(_mm256_setzero_pd(), f64x2::lower(x).v, 0)};
  }
  QSL_INLINE static f64x4 lower(f64x2 x) { return {_mm256_zextpd128_pd256(x.v)}; }

  QSL_INLINE void store(double* p) const { _mm256_storeu_pd(p, v); }
  QSL_INLINE void store_aligned(double* p) const { _mm256_store_pd(p, v); }
  QSL_INLINE void store_streaming(double* p) const { _mm256_stream_pd(p, v); }

#if defined(__AVX512F__)
  QSL_INLINE static f64x4 load_first(const double* p, int k) {
    return {_mm256_maskz_loadu_pd(Mask::first(k).v, p)};
  }
  QSL_INLINE void store_first(double* p, int k) const {
    _mm256_mask_storeu_pd(p, Mask::first(k).v, v);
  }
#else
  QSL_INLINE static f64x4 load_first(const double* p, int k) {
    return {_mm256_maskload_pd(p, _mm256_castpd_si256(Mask::first(k).v))};
  }
  QSL_INLINE void store_first(double* p, int k) const {
    _mm256_maskstore_pd(p, _mm256_castpd_si256(Mask::first(k).v), v);
  }
#endif
  QSL_INLINE static __m256i rest_lanes(int k) {
    const int ones = static_cast<int>(0xffffffffu >> (8 * (lanes - k)));
    const __m128i flags = _mm_cvtsi32_si128(ones);
#if defined(__AVX2__)
    return _mm256_cvtepi8_epi64(flags);
#else
    const __m128i lower = _mm_cvtepi8_epi64(flags);
    const __m128i upper = _mm_cvtepi8_epi64(_mm_srli_epi32(flags, 16));
    return _mm256_insertf128_si256(_mm256_castsi128_si256(lower), upper, 1);
#endif
  }
  QSL_INLINE static f64x4 load_rest(const double* p, int k) {
    return {_mm256_maskload_pd(p, rest_lanes(k))};
  }
  QSL_INLINE void store_rest(double* p, int k) const { _mm256_maskstore_pd(p, rest_lanes(k), v); }
};

QSL_INLINE f64x4 operator+(f64x4 a, f64x4 b) { return {_mm256_add_pd(a.v, b.v)}; }
QSL_INLINE f64x4 operator-(f64x4 a, f64x4 b) { return {_mm256_sub_pd(a.v, b.v)}; }
QSL_INLINE f64x4 operator*(f64x4 a, f64x4 b) { return {_mm256_mul_pd(a.v, b.v)}; }
QSL_INLINE f64x4 operator/(f64x4 a, f64x4 b) { return {_mm256_div_pd(a.v, b.v)}; }

QSL_INLINE f64x4 operator&(f64x4 a, f64x4 b) { return {_mm256_and_pd(a.v, b.v)}; }
QSL_INLINE f64x4 operator|(f64x4 a, f64x4 b) { return {_mm256_or_pd(a.v, b.v)}; }
QSL_INLINE f64x4 operator^(f64x4 a, f64x4 b) { return {_mm256_xor_pd(a.v, b.v)}; }
QSL_INLINE f64x4 and_not(f64x4 a, f64x4 b) { return {_mm256_andnot_pd(b.v, a.v)}; }

#if defined(__FMA__)
QSL_INLINE f64x4 mul_add(f64x4 a, f64x4 b, f64x4 c) { return {_mm256_fmadd_pd(a.v, b.v, c.v)}; }
QSL_INLINE f64x4 mul_sub(f64x4 a, f64x4 b, f64x4 c) { return {_mm256_fmsub_pd(a.v, b.v, c.v)}; }
QSL_INLINE f64x4 neg_mul_add(f64x4 a, f64x4 b, f64x4 c) {
  return {_mm256_fnmadd_pd(a.v, b.v, c.v)};
}
QSL_INLINE f64x4 mul_sub_add(f64x4 a, f64x4 b, f64x4 c) {
  return {_mm256_fmaddsub_pd(a.v, b.v, c.v)};
}
QSL_INLINE f64x4 mul_add_sub(f64x4 a, f64x4 b, f64x4 c) {
  return {_mm256_fmsubadd_pd(a.v, b.v, c.v)};
}
#endif

#if defined(__AVX512F__)
QSL_INLINE m64x4 operator==(f64x4 a, f64x4 b) { return {_mm256_cmp_pd_mask(a.v, b.v, _CMP_EQ_OQ)}; }
QSL_INLINE m64x4 operator!=(f64x4 a, f64x4 b) {
  return {_mm256_cmp_pd_mask(a.v, b.v, _CMP_NEQ_UQ)};
}
QSL_INLINE m64x4 operator<(f64x4 a, f64x4 b) { return {_mm256_cmp_pd_mask(a.v, b.v, _CMP_LT_OS)}; }
QSL_INLINE m64x4 operator<=(f64x4 a, f64x4 b) { return {_mm256_cmp_pd_mask(a.v, b.v, _CMP_LE_OS)}; }
QSL_INLINE m64x4 unordered(f64x4 a, f64x4 b) {
  return {_mm256_cmp_pd_mask(a.v, b.v, _CMP_UNORD_Q)};
}
QSL_INLINE f64x4 select(m64x4 mask, f64x4 a, f64x4 b) {
  return {_mm256_mask_blend_pd(mask.v, b.v, a.v)};
}
QSL_INLINE f64x4 zero_unless(m64x4 mask, f64x4 a) { return {_mm256_maskz_mov_pd(mask.v, a.v)}; }
#else
QSL_INLINE m64x4 operator==(f64x4 a, f64x4 b) { return {_mm256_cmp_pd(a.v, b.v, _CMP_EQ_OQ)}; }
QSL_INLINE m64x4 operator!=(f64x4 a, f64x4 b) { return {_mm256_cmp_pd(a.v, b.v, _CMP_NEQ_UQ)}; }
QSL_INLINE m64x4 operator<(f64x4 a, f64x4 b) { return {_mm256_cmp_pd(a.v, b.v, _CMP_LT_OS)}; }
QSL_INLINE m64x4 operator<=(f64x4 a, f64x4 b) { return {_mm256_cmp_pd(a.v, b.v, _CMP_LE_OS)}; }
QSL_INLINE m64x4 unordered(f64x4 a, f64x4 b) { return {_mm256_cmp_pd(a.v, b.v, _CMP_UNORD_Q)}; }
QSL_INLINE f64x4 select(m64x4 mask, f64x4 a, f64x4 b) {
  return {blend_by_top_bits(mask.v, a.v, b.v)};
}
QSL_INLINE f64x4 zero_unless(m64x4 mask, f64x4 a) { return {_mm256_and_pd(mask.v, a.v)}; }
#endif
QSL_INLINE f64x4 select_by_lanes(f64x4 chosen, f64x4 a, f64x4 b) {
  return {blend_by_top_bits(chosen.v, a.v, b.v)};
}
QSL_INLINE int equal_lanes(f64x4 a, f64x4 b) {
  return _mm256_movemask_pd(_mm256_cmp_pd(a.v, b.v, _CMP_EQ_OQ));
}
QSL_INLINE int nan_lanes(f64x4 a) {
  return _mm256_movemask_pd(_mm256_cmp_pd(a.v, a.v, _CMP_UNORD_Q));
}

QSL_INLINE f64x4 greater_of(f64x4 a, f64x4 b) { return {_mm256_max_pd(a.v, b.v)}; }
QSL_INLINE f64x4 lesser_of(f64x4 a, f64x4 b) { return {_mm256_min_pd(a.v, b.v)}; }
QSL_INLINE f64x4 square_root(f64x4 a) { return {_mm256_sqrt_pd(a.v)}; }
QSL_INLINE f64x4 round_to_nearest(f64x4 a) {
  return {_mm256_round_pd(a.v, _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC)};
}

QSL_INLINE f64x4 dup_even(f64x4 a) { return {_mm256_movedup_pd(a.v)}; }
QSL_INLINE f64x4 dup_odd(f64x4 a) { return {_mm256_permute_pd(a.v, 0xf)}; }
template <int pair>
QSL_INLINE f64x4 broadcast_pair_of(f64x4 a) {
  return {_mm256_permute2f128_pd(a.v, a.v, pair == 0 ? 0x00 : 0x11)};
}
template <int lane>
QSL_INLINE f64x4 broadcast_lane(f64x4 a) {
  return broadcast_pair_of<lane / 2>({_mm256_permute_pd(a.v, lane % 2 == 0 ? 0x0 : 0xf)});
}
QSL_INLINE f64x4 swap_pairs(f64x4 a) { return {_mm256_permute_pd(a.v, 0x5)}; }
QSL_INLINE f64x4 reverse(f64x4 a) {
  return {_mm256_permute_pd(_mm256_permute2f128_pd(a.v, a.v, 0x01), 0x5)};
}
QSL_INLINE f64x4 unpack_lower(f64x4 a, f64x4 b) { return {_mm256_unpacklo_pd(a.v, b.v)}; }
QSL_INLINE f64x4 unpack_upper(f64x4 a, f64x4 b) { return {_mm256_unpackhi_pd(a.v, b.v)}; }
// The lower blocks of both, the upper blocks of both.
QSL_INLINE f64x4 lower_blocks(f64x4 a, f64x4 b) { return {_mm256_permute2f128_pd(a.v, b.v, 0x20)}; }
QSL_INLINE f64x4 upper_blocks(f64x4 a, f64x4 b) { return {_mm256_permute2f128_pd(a.v, b.v, 0x31)}; }
QSL_INLINE f64x4 interleave_lower(f64x4 a, f64x4 b) {
  return lower_blocks(unpack_lower(a, b), unpack_upper(a, b));
}
QSL_INLINE f64x4 interleave_upper(f64x4 a, f64x4 b) {
  return upper_blocks(unpack_lower(a, b), unpack_upper(a, b));
}
QSL_INLINE f64x4 even_lanes(f64x4 a, f64x4 b) {
  return unpack_lower(lower_blocks(a, b), upper_blocks(a, b));
}
QSL_INLINE f64x4 odd_lanes(f64x4 a, f64x4 b) {
  return unpack_upper(lower_blocks(a, b), upper_blocks(a, b));
}
QSL_INLINE f64x4 negate_even(f64x4 a) {
  return {_mm256_xor_pd(a.v, _mm256_set_pd(0.0, -0.0, 0.0, -0.0))};
}
QSL_INLINE f64x4 negate_odd(f64x4 a) {
  return {_mm256_xor_pd(a.v, _mm256_set_pd(-0.0, 0.0, -0.0, 0.0))};
}
QSL_INLINE f64x4 add_sub(f64x4 a, f64x4 b) { return {_mm256_addsub_pd(a.v, b.v)}; }
template <int count>
QSL_INLINE f64x4 first_then(f64x4 a, f64x4 b) {
  return {_mm256_blend_pd(b.v, a.v, (1 << count) - 1)};
}

QSL_INLINE f64x2 first_pair(f64x4 a) { return {_mm256_castpd256_pd128(a.v)}; }

QSL_INLINE f64x4 combine(f64x2 lower, f64x2 upper) {
  return {_mm256_insertf128_pd(_mm256_castpd128_pd256(lower.v), upper.v, 1)};
}
QSL_INLINE f64x2 lower_half(f64x4 a) { return {_mm256_castpd256_pd128(a.v)}; }
QSL_INLINE f64x2 upper_half(f64x4 a) { return {_mm256_extractf128_pd(a.v, 1)}; }

}  // namespace qsl::QSL_LEVEL
