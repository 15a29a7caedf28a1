// Gathers: lane j from base[indices[j]]. The address wraps at 32 bits, as strides do. From AVX2 on
// there are instructions; below, each lane is loaded alone.
#pragma once

#include "simd/integers.h"

namespace qsl::QSL_LEVEL {

QSL_INLINE i32x4 multiples(int inc) {
#if defined(__SSE4_1__)
  return {_mm_mullo_epi32(_mm_set1_epi32(inc), _mm_set_epi32(3, 2, 1, 0))};
#else
  return {_mm_set_epi32(3 * inc, 2 * inc, inc, 0)};
#endif
}
QSL_INLINE i32x4 f64x2::offsets(int inc) { return multiples(inc); }
QSL_INLINE i32x4 f32x4::offsets(int inc) { return multiples(inc); }

#if defined(__AVX512F__)

QSL_INLINE f64x2 f64x2::gather(const double* base, i32x4 indices) {
  return {_mm_mmask_i32gather_pd(_mm_setzero_pd(), 0x3, indices.v, base, 8)};
}
QSL_INLINE f64x2 f64x2::gather_first(const double* base, i32x4 indices, int k) {
  return {_mm_mmask_i32gather_pd(_mm_setzero_pd(), Mask::first(k).v, indices.v, base, 8)};
}
QSL_INLINE f32x4 f32x4::gather(const float* base, i32x4 indices) {
  return {_mm_mmask_i32gather_ps(_mm_setzero_ps(), 0xf, indices.v, base, 4)};
}
QSL_INLINE f32x4 f32x4::gather_first(const float* base, i32x4 indices, int k) {
  return {_mm_mmask_i32gather_ps(_mm_setzero_ps(), Mask::first(k).v, indices.v, base, 4)};
}
QSL_INLINE f64x4 f64x4::gather(const double* base, i32x4 indices) {
  return {_mm256_mmask_i32gather_pd(_mm256_setzero_pd(), 0xf, indices.v, base, 8)};
}
QSL_INLINE f64x4 f64x4::gather_first(const double* base, i32x4 indices, int k) {
  return {_mm256_mmask_i32gather_pd(_mm256_setzero_pd(), Mask::first(k).v, indices.v, base, 8)};
}
QSL_INLINE f32x8 f32x8::gather(const float* base, i32x8 indices) {
  return {_mm256_mmask_i32gather_ps(_mm256_setzero_ps(), 0xff, indices.v, base, 4)};
}
QSL_INLINE f32x8 f32x8::gather_first(const float* base, i32x8 indices, int k) {
  return {_mm256_mmask_i32gather_ps(_mm256_setzero_ps(), Mask::first(k).v, indices.v, base, 4)};
}
QSL_INLINE f64x8 f64x8::gather(const double* base, i32x8 indices) {
  return {_mm512_mask_i32gather_pd(_mm512_setzero_pd(), 0xff, indices.v, base, 8)};
}
QSL_INLINE f64x8 f64x8::gather_first(const double* base, i32x8 indices, int k) {
  return {_mm512_mask_i32gather_pd(_mm512_setzero_pd(), Mask::first(k).v, indices.v, base, 8)};
}
QSL_INLINE f32x16 f32x16::gather(const float* base, i32x16 indices) {
  return {_mm512_mask_i32gather_ps(_mm512_setzero_ps(), 0xffff, indices.v, base, 4)};
}
QSL_INLINE f32x16 f32x16::gather_first(const float* base, i32x16 indices, int k) {
  return {_mm512_mask_i32gather_ps(_mm512_setzero_ps(), Mask::first(k).v, indices.v, base, 4)};
}

#elif defined(__AVX2__)

QSL_INLINE f64x2 f64x2::gather_first(const double* base, i32x4 indices, int k) {
  return {_mm_mask_i32gather_pd(_mm_setzero_pd(), base, indices.v, Mask::first(k).v, 8)};
}
QSL_INLINE f64x2 f64x2::gather(const double* base, i32x4 indices) {
  return {_mm_mask_i32gather_pd(_mm_setzero_pd(), base, indices.v,
                                _mm_castsi128_pd(_mm_set1_epi32(-1)), 8)};
}
QSL_INLINE f32x4 f32x4::gather(const float* base, i32x4 indices) {
  return {_mm_mask_i32gather_ps(_mm_setzero_ps(), base, indices.v,
                                _mm_castsi128_ps(_mm_set1_epi32(-1)), 4)};
}
QSL_INLINE f32x4 f32x4::gather_first(const float* base, i32x4 indices, int k) {
  return {_mm_mask_i32gather_ps(_mm_setzero_ps(), base, indices.v, Mask::first(k).v, 4)};
}
QSL_INLINE f64x4 f64x4::gather(const double* base, i32x4 indices) {
  return {_mm256_mask_i32gather_pd(_mm256_setzero_pd(), base, indices.v,
                                   _mm256_castsi256_pd(_mm256_set1_epi32(-1)), 8)};
}
QSL_INLINE f64x4 f64x4::gather_first(const double* base, i32x4 indices, int k) {
  return {_mm256_mask_i32gather_pd(_mm256_setzero_pd(), base, indices.v, Mask::first(k).v, 8)};
}
QSL_INLINE f32x8 f32x8::gather(const float* base, i32x8 indices) {
  return {_mm256_mask_i32gather_ps(_mm256_setzero_ps(), base, indices.v,
                                   _mm256_castsi256_ps(_mm256_set1_epi32(-1)), 4)};
}
QSL_INLINE f32x8 f32x8::gather_first(const float* base, i32x8 indices, int k) {
  return {_mm256_mask_i32gather_ps(_mm256_setzero_ps(), base, indices.v, Mask::first(k).v, 4)};
}

#else

QSL_INLINE f64x2 f64x2::gather(const double* base, i32x4 indices) {
  return gather(base + lane<0>(indices), base + lane<1>(indices));
}
// Of the wider vectors' parts k is any number: none of the lanes, or all of them.
QSL_INLINE f64x2 f64x2::gather_first(const double* base, i32x4 indices, int k) {
  if (k <= 0) return zero();
  return k == 1 ? f64x2{f64::load(base + lane<0>(indices)).v} : gather(base, indices);
}
QSL_INLINE f32x4 in_order(f32 a, f32 b, f32 c, f32 d) {
  return {_mm_unpacklo_ps(_mm_unpacklo_ps(a.v, c.v), _mm_unpacklo_ps(b.v, d.v))};
}
QSL_INLINE f32x4 f32x4::gather(const float* base, i32x4 indices) {
  return in_order(f32::load(base + lane<0>(indices)), f32::load(base + lane<1>(indices)),
                  f32::load(base + lane<2>(indices)), f32::load(base + lane<3>(indices)));
}
QSL_INLINE f32x4 f32x4::gather_first(const float* base, i32x4 indices, int k) {
  const auto element = [&](auto i) QSL_INLINE_LAMBDA {
    return i.value < k ? f32::load(base + lane<i.value>(indices)) : f32::zero();
  };
  return in_order(element(Index<0>{}), element(Index<1>{}), element(Index<2>{}),
                  element(Index<3>{}));
}
#if defined(__AVX__)
QSL_INLINE i32x4 upper_pair(i32x4 a) { return {_mm_unpackhi_epi64(a.v, a.v)}; }
QSL_INLINE f64x4 f64x4::gather(const double* base, i32x4 indices) {
  return combine(f64x2::gather(base, indices), f64x2::gather(base, upper_pair(indices)));
}
QSL_INLINE f64x4 f64x4::gather_first(const double* base, i32x4 indices, int k) {
  return combine(f64x2::gather_first(base, indices, k),
                 f64x2::gather_first(base, upper_pair(indices), k - 2));
}
QSL_INLINE f32x8 f32x8::gather(const float* base, i32x8 indices) {
  return combine(f32x4::gather(base, lower_half(indices)),
                 f32x4::gather(base, upper_half(indices)));
}
QSL_INLINE f32x8 f32x8::gather_first(const float* base, i32x8 indices, int k) {
  return combine(f32x4::gather_first(base, lower_half(indices), k),
                 f32x4::gather_first(base, upper_half(indices), k - 4));
}
#endif

#endif

#if defined(__AVX__)
QSL_INLINE i32x4 f64x4::offsets(int inc) { return multiples(inc); }
#if defined(__AVX2__)
QSL_INLINE i32x8 f32x8::offsets(int inc) {
  const __m256i numbers = _mm256_set_epi32(7, 6, 5, 4, 3, 2, 1, 0);
  return {_mm256_mullo_epi32(_mm256_set1_epi32(inc), numbers)};
}
#else
QSL_INLINE i32x8 f32x8::offsets(int inc) {
  const i32x4 lower = multiples(inc);
  return combine(lower, lower + i32x4::constant(4 * inc));
}
#endif
#endif
#if defined(__AVX512F__)
QSL_INLINE i32x8 f64x8::offsets(int inc) { return f32x8::offsets(inc); }
QSL_INLINE i32x16 f32x16::offsets(int inc) {
  const __m512i numbers = _mm512_set_epi32(15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0);
  return {_mm512_mullo_epi32(_mm512_set1_epi32(inc), numbers)};
}
#endif

}  // namespace qsl::QSL_LEVEL
