// Eight doubles in a 512-bit register. See simd/f64x2.h for names.
#pragma once

// g++ 12's own header reads a variable before it is set, on purpose, and then warns of it.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wuninitialized"
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#include <immintrin.h>
#pragma GCC diagnostic pop
#else
#include <immintrin.h>
#endif

#include "simd/f64x4.h"

namespace qsl::QSL_LEVEL {

struct f64x8 {
  using Element = double;
  static constexpr int lanes = 8;
  static constexpr int bytes = 64;

  __m512d v;

  QSL_INLINE static f64x8 zero() { return {_mm512_setzero_pd()}; }
  QSL_INLINE static f64x8 load(const double* p) { return {_mm512_loadu_pd(p)}; }
  QSL_INLINE static f64x8 load_aligned(const double* p) { return {_mm512_load_pd(p)}; }
  QSL_INLINE static f64x8 broadcast(f64 x) { return {_mm512_set1_pd(x.value())}; }
  QSL_INLINE static f64x8 broadcast_from(const double* p) { return broadcast(f64::load(p)); }
  QSL_INLINE static f64x8 broadcast_pair(const double* p) {
    return {_mm512_broadcast_f64x2(_mm_loadu_pd(p))};
  }
  // (x0, x1, 0, ..., 0)
  QSL_INLINE static f64x8 lower(f64x2 x) { return {_mm512_zextpd128_pd512(x.v)}; }

  QSL_INLINE void store(double* p) const { _mm512_storeu_pd(p, v); }
  QSL_INLINE void store_aligned(double* p) const { _mm512_store_pd(p, v); }

  QSL_INLINE static __mmask8 first_lanes(int k) { return static_cast<__mmask8>((1 << k) - 1); }
  // The first k lanes, 0 <= k <= lanes; the others are neither read (they hold 0) nor written.
  QSL_INLINE static f64x8 load_first(const double* p, int k) {
    return {_mm512_maskz_loadu_pd(first_lanes(k), p)};
  }
  QSL_INLINE void store_first(double* p, int k) const {
    _mm512_mask_storeu_pd(p, first_lanes(k), v);
  }

  // 0, inc, 2 * inc, ..., modulo 2^32
  QSL_INLINE static __m256i offsets(int inc) {
    return _mm256_mullo_epi32(_mm256_set1_epi32(inc), _mm256_set_epi32(7, 6, 5, 4, 3, 2, 1, 0));
  }
  // Lane j from base + 8 * offsets[j] bytes; the address wraps at 32 bits as the stride does.
  QSL_INLINE static f64x8 gather(const double* base, __m256i offsets) {
    return {_mm512_mask_i32gather_pd(_mm512_setzero_pd(), 0xff, offsets, base, 8)};
  }
  QSL_INLINE static f64x8 gather_first(const double* base, __m256i offsets, int k) {
    return {_mm512_mask_i32gather_pd(_mm512_setzero_pd(), first_lanes(k), offsets, base, 8)};
  }
};

QSL_INLINE f64x8 operator+(f64x8 a, f64x8 b) { return {_mm512_add_pd(a.v, b.v)}; }
QSL_INLINE f64x8 operator-(f64x8 a, f64x8 b) { return {_mm512_sub_pd(a.v, b.v)}; }
QSL_INLINE f64x8 operator*(f64x8 a, f64x8 b) { return {_mm512_mul_pd(a.v, b.v)}; }

QSL_INLINE f64x8 mul_add(f64x8 a, f64x8 b, f64x8 c) { return {_mm512_fmadd_pd(a.v, b.v, c.v)}; }
// The first k lanes of a * b + c; the others keep the value of c.
QSL_INLINE f64x8 mul_add_first(f64x8 a, f64x8 b, f64x8 c, int k) {
  return {_mm512_mask3_fmadd_pd(a.v, b.v, c.v, f64x8::first_lanes(k))};
}
QSL_INLINE f64x8 mul_sub_add(f64x8 a, f64x8 b, f64x8 c) {
  return {_mm512_fmaddsub_pd(a.v, b.v, c.v)};
}

QSL_INLINE f64x8 dup_even(f64x8 a) { return {_mm512_movedup_pd(a.v)}; }
QSL_INLINE f64x8 dup_odd(f64x8 a) { return {_mm512_permute_pd(a.v, 0xff)}; }
QSL_INLINE f64x8 swap_pairs(f64x8 a) { return {_mm512_permute_pd(a.v, 0x55)}; }
QSL_INLINE f64x8 negate_even(f64x8 a) {
  return {_mm512_xor_pd(a.v, _mm512_broadcast_f64x2(_mm_set_pd(0.0, -0.0)))};
}
QSL_INLINE f64x8 negate_odd(f64x8 a) {
  return {_mm512_xor_pd(a.v, _mm512_broadcast_f64x2(_mm_set_pd(-0.0, 0.0)))};
}
// There is no such instruction of this width; a product with 1 is exact.
QSL_INLINE f64x8 add_sub(f64x8 a, f64x8 b) {
  return {_mm512_fmaddsub_pd(a.v, _mm512_set1_pd(1.0), b.v)};
}

QSL_INLINE f64x8 operator/(f64x8 a, f64x8 b) { return {_mm512_div_pd(a.v, b.v)}; }
QSL_INLINE f64x8 negate(f64x8 a) { return {_mm512_xor_pd(a.v, _mm512_set1_pd(-0.0))}; }
QSL_INLINE f64x8 absolute(f64x8 a) { return {_mm512_andnot_pd(_mm512_set1_pd(-0.0), a.v)}; }
QSL_INLINE f64x8 greater_of(f64x8 a, f64x8 b) { return {_mm512_max_pd(a.v, b.v)}; }
QSL_INLINE int equal_lanes(f64x8 a, f64x8 b) {
  return static_cast<int>(_mm512_cmp_pd_mask(a.v, b.v, _CMP_EQ_OQ));
}
QSL_INLINE int nan_lanes(f64x8 a) {
  return static_cast<int>(_mm512_cmp_pd_mask(a.v, a.v, _CMP_UNORD_Q));
}

QSL_INLINE f64x2 first_pair(f64x8 a) { return {_mm512_castpd512_pd128(a.v)}; }

QSL_INLINE f64x4 lower_half(f64x8 a) { return {_mm512_castpd512_pd256(a.v)}; }
QSL_INLINE f64x4 upper_half(f64x8 a) { return {_mm512_extractf64x4_pd(a.v, 1)}; }
// Upper half + lower half.
QSL_INLINE f64x4 sum_halves(f64x8 a) { return lower_half(a) + upper_half(a); }
QSL_INLINE f64 sum_lanes(f64x8 a) { return sum_lanes(sum_halves(a)); }

}  // namespace qsl::QSL_LEVEL
