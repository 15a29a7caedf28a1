// Squares of elements transposed in registers: `count` registers of `count` elements each.
#pragma once

#include "elements/unit.h"

namespace qsl::QSL_LEVEL {

QSL_INLINE void transpose(f64x2 (&v)[2]) {
  const f64x2 first = v[0];
  v[0] = {_mm_unpacklo_pd(first.v, v[1].v)};
  v[1] = {_mm_unpackhi_pd(first.v, v[1].v)};
}
QSL_INLINE void transpose(f64x2 (&)[1]) {}
QSL_INLINE void transpose(f64 (&)[1]) {}
QSL_INLINE void transpose(f32x4 (&v)[2]) {
  const f32x4 first = v[0];
  v[0] = {_mm_movelh_ps(first.v, v[1].v)};
  v[1] = {_mm_movehl_ps(v[1].v, first.v)};
}
QSL_INLINE void transpose(ComplexInLow (&)[1]) {}

#if defined(__AVX__)
QSL_INLINE void transpose(f64x4 (&v)[2]) {
  const f64x4 first = v[0];
  v[0] = {_mm256_permute2f128_pd(first.v, v[1].v, 0x20)};
  v[1] = {_mm256_permute2f128_pd(first.v, v[1].v, 0x31)};
}
QSL_INLINE void transpose(f64x4 (&v)[4]) {
  const __m256d even01 = _mm256_unpacklo_pd(v[0].v, v[1].v);
  const __m256d odd01 = _mm256_unpackhi_pd(v[0].v, v[1].v);
  const __m256d even23 = _mm256_unpacklo_pd(v[2].v, v[3].v);
  const __m256d odd23 = _mm256_unpackhi_pd(v[2].v, v[3].v);
  v[0] = {_mm256_permute2f128_pd(even01, even23, 0x20)};
  v[1] = {_mm256_permute2f128_pd(odd01, odd23, 0x20)};
  v[2] = {_mm256_permute2f128_pd(even01, even23, 0x31)};
  v[3] = {_mm256_permute2f128_pd(odd01, odd23, 0x31)};
}
QSL_INLINE void transpose(f32x8 (&v)[4]) {
  f64x4 units[4] = {{_mm256_castps_pd(v[0].v)},
                    {_mm256_castps_pd(v[1].v)},
                    {_mm256_castps_pd(v[2].v)},
                    {_mm256_castps_pd(v[3].v)}};
  transpose(units);
  unroll<4>([&](auto i) QSL_INLINE_LAMBDA { v[i.value] = {_mm256_castpd_ps(units[i.value].v)}; });
}
#endif

}  // namespace qsl::QSL_LEVEL
