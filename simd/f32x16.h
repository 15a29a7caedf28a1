// Sixteen floats in a 512-bit register. See simd/f64x2.h for names.
#pragma once

// First, since it includes the compiler's header with one of its warnings off.
#include "simd/f64x8.h"

#include "simd/f32x8.h"

namespace qsl::QSL_LEVEL {

struct f32x16 {
  using Element = float;
  static constexpr int lanes = 16;
  static constexpr int bytes = 64;

  __m512 v;

  QSL_INLINE static f32x16 zero() { return {_mm512_setzero_ps()}; }
  QSL_INLINE static f32x16 load(const float* p) { return {_mm512_loadu_ps(p)}; }
  QSL_INLINE static f32x16 load_aligned(const float* p) { return {_mm512_load_ps(p)}; }
  QSL_INLINE static f32x16 broadcast(f32 x) { return {_mm512_set1_ps(x.value())}; }
  QSL_INLINE static f32x16 broadcast_from(const float* p) { return broadcast(f32::load(p)); }
  QSL_INLINE static f32x16 broadcast_pair(const float* p) {
    return {_mm512_castpd_ps(_mm512_set1_pd(load_8_bytes(p).value()))};
  }

  QSL_INLINE void store(float* p) const { _mm512_storeu_ps(p, v); }
  QSL_INLINE void store_aligned(float* p) const { _mm512_store_ps(p, v); }

  QSL_INLINE static __mmask16 first_lanes(int k) { return static_cast<__mmask16>((1 << k) - 1); }
  // The first k lanes, 0 <= k <= lanes; the others are neither read (they hold 0) nor written.
  QSL_INLINE static f32x16 load_first(const float* p, int k) {
    return {_mm512_maskz_loadu_ps(first_lanes(k), p)};
  }
  QSL_INLINE void store_first(float* p, int k) const {
    _mm512_mask_storeu_ps(p, first_lanes(k), v);
  }
};

QSL_INLINE f32x16 operator+(f32x16 a, f32x16 b) { return {_mm512_add_ps(a.v, b.v)}; }
QSL_INLINE f32x16 operator-(f32x16 a, f32x16 b) { return {_mm512_sub_ps(a.v, b.v)}; }
QSL_INLINE f32x16 operator*(f32x16 a, f32x16 b) { return {_mm512_mul_ps(a.v, b.v)}; }

QSL_INLINE f32x16 mul_add(f32x16 a, f32x16 b, f32x16 c) { return {_mm512_fmadd_ps(a.v, b.v, c.v)}; }
QSL_INLINE f32x16 mul_sub_add(f32x16 a, f32x16 b, f32x16 c) {
  return {_mm512_fmaddsub_ps(a.v, b.v, c.v)};
}

QSL_INLINE f32x16 dup_even(f32x16 a) { return {_mm512_moveldup_ps(a.v)}; }
QSL_INLINE f32x16 dup_odd(f32x16 a) { return {_mm512_movehdup_ps(a.v)}; }
QSL_INLINE f32x16 swap_pairs(f32x16 a) { return {_mm512_permute_ps(a.v, _MM_SHUFFLE(2, 3, 0, 1))}; }
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

QSL_INLINE f32x8 lower_half(f32x16 a) { return {_mm512_castps512_ps256(a.v)}; }
QSL_INLINE f32x8 upper_half(f32x16 a) { return {_mm512_extractf32x8_ps(a.v, 1)}; }
// Upper half + lower half.
QSL_INLINE f32x8 sum_halves(f32x16 a) { return lower_half(a) + upper_half(a); }
QSL_INLINE f32 sum_lanes(f32x16 a) { return sum_lanes(sum_halves(a)); }

}  // namespace qsl::QSL_LEVEL
