// Four doubles in a 256-bit register, for the levels from AVX upward. See simd/f64x2.h for names.
#pragma once

#include <immintrin.h>

#include "simd/f64x2.h"

namespace qsl::QSL_LEVEL {

struct f64x4 {
  using Element = double;
  static constexpr int lanes = 4;
  static constexpr int bytes = 32;

  __m256d v;

  QSL_INLINE static f64x4 zero() { return {_mm256_setzero_pd()}; }
  QSL_INLINE static f64x4 load(const double* p) { return {_mm256_loadu_pd(p)}; }
  QSL_INLINE static f64x4 load_aligned(const double* p) { return {_mm256_load_pd(p)}; }
  QSL_INLINE static f64x4 broadcast(f64 x) { return {_mm256_set1_pd(x.value())}; }
  QSL_INLINE static f64x4 broadcast_from(const double* p) { return {_mm256_broadcast_sd(p)}; }
  QSL_INLINE static f64x4 broadcast_pair(const double* p) {
    return {_mm256_broadcast_pd(reinterpret_cast<const __m128d*>(p))};
  }
  // (x, 0, 0, 0)
  QSL_INLINE static f64x4 lower(f64 x) {
    return {_mm256_insertf128_pd(_mm256_setzero_pd(), f64x2::lower(x).v, 0)};
  }
  // (x0, x1, 0, 0)
  QSL_INLINE static f64x4 lower(f64x2 x) { return {_mm256_zextpd128_pd256(x.v)}; }

  QSL_INLINE void store(double* p) const { _mm256_storeu_pd(p, v); }
  QSL_INLINE void store_aligned(double* p) const { _mm256_store_pd(p, v); }

  // The mask of the first k lanes: k bytes of ones, widened. Made in registers, since the address
  // of a table costs position-independent code more than the mask.
  QSL_INLINE static __m256i first_lanes(int k) {
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
  // The first k lanes, 1 <= k <= lanes; the others are neither read nor written.
  QSL_INLINE static f64x4 load_first(const double* p, int k) {
    return {_mm256_maskload_pd(p, first_lanes(k))};
  }
  QSL_INLINE void store_first(double* p, int k) const { _mm256_maskstore_pd(p, first_lanes(k), v); }
};

QSL_INLINE f64x4 operator+(f64x4 a, f64x4 b) { return {_mm256_add_pd(a.v, b.v)}; }
QSL_INLINE f64x4 operator-(f64x4 a, f64x4 b) { return {_mm256_sub_pd(a.v, b.v)}; }
QSL_INLINE f64x4 operator*(f64x4 a, f64x4 b) { return {_mm256_mul_pd(a.v, b.v)}; }
QSL_INLINE f64x4 operator/(f64x4 a, f64x4 b) { return {_mm256_div_pd(a.v, b.v)}; }

QSL_INLINE f64x4 mul_add(f64x4 a, f64x4 b, f64x4 c) {
#if defined(__FMA__)
  return {_mm256_fmadd_pd(a.v, b.v, c.v)};
#else
  return a * b + c;
#endif
}
QSL_INLINE f64x4 neg_mul_add(f64x4 a, f64x4 b, f64x4 c) {
#if defined(__FMA__)
  return {_mm256_fnmadd_pd(a.v, b.v, c.v)};
#else
  return c - a * b;
#endif
}
#if defined(__FMA__)
QSL_INLINE f64x4 mul_sub_add(f64x4 a, f64x4 b, f64x4 c) {
  return {_mm256_fmaddsub_pd(a.v, b.v, c.v)};
}
#endif

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
QSL_INLINE f64x4 negate_even(f64x4 a) {
  return {_mm256_xor_pd(a.v, _mm256_set_pd(0.0, -0.0, 0.0, -0.0))};
}
QSL_INLINE f64x4 negate_odd(f64x4 a) {
  return {_mm256_xor_pd(a.v, _mm256_set_pd(-0.0, 0.0, -0.0, 0.0))};
}
QSL_INLINE f64x4 add_sub(f64x4 a, f64x4 b) { return {_mm256_addsub_pd(a.v, b.v)}; }

QSL_INLINE f64x4 negate(f64x4 a) { return {_mm256_xor_pd(a.v, _mm256_set1_pd(-0.0))}; }
QSL_INLINE f64x4 absolute(f64x4 a) { return {_mm256_andnot_pd(_mm256_set1_pd(-0.0), a.v)}; }
QSL_INLINE f64x4 with_sign_of(f64x4 a, f64x4 b) {
  return {_mm256_or_pd(a.v, _mm256_and_pd(b.v, _mm256_set1_pd(-0.0)))};
}
QSL_INLINE f64x4 greater_of(f64x4 a, f64x4 b) { return {_mm256_max_pd(a.v, b.v)}; }
QSL_INLINE int equal_lanes(f64x4 a, f64x4 b) {
  return _mm256_movemask_pd(_mm256_cmp_pd(a.v, b.v, _CMP_EQ_OQ));
}
QSL_INLINE int nan_lanes(f64x4 a) {
  return _mm256_movemask_pd(_mm256_cmp_pd(a.v, a.v, _CMP_UNORD_Q));
}
QSL_INLINE f64x4 select(f64x4 mask, f64x4 a, f64x4 b) {
  // GCC 12 turns the intrinsic into a comparison of integers, which AVX does lane by lane with
  // branches (measured: 2.6 times the time of a factorisation of order 16).
  f64x4 result;
  asm("vblendvpd %3, %2, %1, %0" : "=x"(result.v) : "x"(b.v), "x"(a.v), "x"(mask.v));
  return result;
}
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
QSL_INLINE f64x4 join(f64x2 lower, f64x2 upper) {
  return {_mm256_insertf128_pd(_mm256_castpd128_pd256(lower.v), upper.v, 1)};
}
// Upper half + lower half.
QSL_INLINE f64x2 sum_halves(f64x4 a) { return lower_half(a) + upper_half(a); }
QSL_INLINE f64 sum_lanes(f64x4 a) { return sum_lanes(sum_halves(a)); }

}  // namespace qsl::QSL_LEVEL
