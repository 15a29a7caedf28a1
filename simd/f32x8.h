// Eight floats in a 256-bit register, for the levels from AVX upward. See simd/f64x2.h for names.
#pragma once

#include <immintrin.h>

#include "simd/f32x4.h"

namespace qsl::QSL_LEVEL {

struct f32x8 {
  using Element = float;
  static constexpr int lanes = 8;
  static constexpr int bytes = 32;

  __m256 v;

  QSL_INLINE static f32x8 zero() { return {_mm256_setzero_ps()}; }
  QSL_INLINE static f32x8 load(const float* p) { return {_mm256_loadu_ps(p)}; }
  QSL_INLINE static f32x8 load_aligned(const float* p) { return {_mm256_load_ps(p)}; }
  QSL_INLINE static f32x8 broadcast(f32 x) { return {_mm256_set1_ps(x.value())}; }
  QSL_INLINE static f32x8 broadcast_from(const float* p) { return {_mm256_broadcast_ss(p)}; }
  QSL_INLINE static f32x8 broadcast_pair(const float* p) {
    return {_mm256_castpd_ps(_mm256_set1_pd(load_8_bytes(p).value()))};
  }

  QSL_INLINE void store(float* p) const { _mm256_storeu_ps(p, v); }
  QSL_INLINE void store_aligned(float* p) const { _mm256_store_ps(p, v); }

  // The mask of the first k lanes: k bytes of ones, widened.
  QSL_INLINE static __m256i first_lanes(int k) {
    const __m128i zero = _mm_setzero_si128();
    const __m128i flags =
        _mm_srl_epi64(_mm_cmpeq_epi8(zero, zero), _mm_cvtsi32_si128(8 * (lanes - k)));
#if defined(__AVX2__)
    return _mm256_cvtepi8_epi32(flags);
#else
    const __m128i lower = _mm_cvtepi8_epi32(flags);
    const __m128i upper = _mm_cvtepi8_epi32(_mm_srli_epi64(flags, 32));
    return _mm256_insertf128_si256(_mm256_castsi128_si256(lower), upper, 1);
#endif
  }
  // The first k lanes, 1 <= k <= lanes; the others are neither read (they hold 0) nor written.
  QSL_INLINE static f32x8 load_first(const float* p, int k) {
    return {_mm256_maskload_ps(p, first_lanes(k))};
  }
  QSL_INLINE void store_first(float* p, int k) const { _mm256_maskstore_ps(p, first_lanes(k), v); }
};

QSL_INLINE f32x8 operator+(f32x8 a, f32x8 b) { return {_mm256_add_ps(a.v, b.v)}; }
QSL_INLINE f32x8 operator-(f32x8 a, f32x8 b) { return {_mm256_sub_ps(a.v, b.v)}; }
QSL_INLINE f32x8 operator*(f32x8 a, f32x8 b) { return {_mm256_mul_ps(a.v, b.v)}; }

QSL_INLINE f32x8 mul_add(f32x8 a, f32x8 b, f32x8 c) {
#if defined(__FMA__)
  return {_mm256_fmadd_ps(a.v, b.v, c.v)};
#else
  return a * b + c;
#endif
}
#if defined(__FMA__)
QSL_INLINE f32x8 mul_sub_add(f32x8 a, f32x8 b, f32x8 c) {
  return {_mm256_fmaddsub_ps(a.v, b.v, c.v)};
}
#endif

QSL_INLINE f32x8 dup_even(f32x8 a) { return {_mm256_moveldup_ps(a.v)}; }
QSL_INLINE f32x8 dup_odd(f32x8 a) { return {_mm256_movehdup_ps(a.v)}; }
QSL_INLINE f32x8 swap_pairs(f32x8 a) { return {_mm256_permute_ps(a.v, _MM_SHUFFLE(2, 3, 0, 1))}; }
QSL_INLINE f32x8 negate_even(f32x8 a) {
  return {_mm256_xor_ps(a.v, _mm256_set_ps(0.0f, -0.0f, 0.0f, -0.0f, 0.0f, -0.0f, 0.0f, -0.0f))};
}
QSL_INLINE f32x8 negate_odd(f32x8 a) {
  return {_mm256_xor_ps(a.v, _mm256_set_ps(-0.0f, 0.0f, -0.0f, 0.0f, -0.0f, 0.0f, -0.0f, 0.0f))};
}
QSL_INLINE f32x8 add_sub(f32x8 a, f32x8 b) { return {_mm256_addsub_ps(a.v, b.v)}; }

QSL_INLINE f32x4 lower_half(f32x8 a) { return {_mm256_castps256_ps128(a.v)}; }
QSL_INLINE f32x4 upper_half(f32x8 a) { return {_mm256_extractf128_ps(a.v, 1)}; }
// Upper half + lower half.
QSL_INLINE f32x4 sum_halves(f32x8 a) { return lower_half(a) + upper_half(a); }
QSL_INLINE f32 sum_lanes(f32x8 a) { return sum_lanes(sum_halves(a)); }

}  // namespace qsl::QSL_LEVEL
