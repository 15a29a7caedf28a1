// Conversions between types. convert<To>(a) converts as many lanes as the narrower vector has; what
// is left of a wider result holds 0.
#pragma once

#include "simd/integers.h"

namespace qsl::QSL_LEVEL {

// To the nearest, in the processor's rounding mode: of two that are as near the even one.
template <class To, class From>
To convert(From a) = delete;
// Towards zero.
template <class To, class From>
To truncate(From a) = delete;

// --- 32-bit integers and floats of the same lanes ---------------------------------------------

template <>
QSL_INLINE f32x4 convert<f32x4, i32x4>(i32x4 a) {
  return {_mm_cvtepi32_ps(a.v)};
}
template <>
QSL_INLINE i32x4 convert<i32x4, f32x4>(f32x4 a) {
  return {_mm_cvtps_epi32(a.v)};
}
template <>
QSL_INLINE i32x4 truncate<i32x4, f32x4>(f32x4 a) {
  return {_mm_cvttps_epi32(a.v)};
}

// --- Doubles and 32-bit integers or floats ----------------------------------------------------

template <>
QSL_INLINE f64x2 convert<f64x2, i32x4>(i32x4 a) {
  return {_mm_cvtepi32_pd(a.v)};
}
template <>
QSL_INLINE i32x4 convert<i32x4, f64x2>(f64x2 a) {
  return {_mm_cvtpd_epi32(a.v)};
}
template <>
QSL_INLINE i32x4 truncate<i32x4, f64x2>(f64x2 a) {
  return {_mm_cvttpd_epi32(a.v)};
}
template <>
QSL_INLINE f64x2 convert<f64x2, f32x4>(f32x4 a) {
  return {_mm_cvtps_pd(a.v)};
}
template <>
QSL_INLINE f32x4 convert<f32x4, f64x2>(f64x2 a) {
  return {_mm_cvtpd_ps(a.v)};
}

// --- 64-bit and 32-bit integers: the sign goes on, or the lower half stays ---------------------

template <>
QSL_INLINE i64x2 convert<i64x2, i32x4>(i32x4 a) {
#if defined(__SSE4_1__)
  return {_mm_cvtepi32_epi64(a.v)};
#else
  return {_mm_unpacklo_epi32(a.v, _mm_srai_epi32(a.v, 31))};
#endif
}
template <>
QSL_INLINE i32x4 convert<i32x4, i64x2>(i64x2 a) {
  return {_mm_move_epi64(_mm_shuffle_epi32(a.v, _MM_SHUFFLE(3, 1, 2, 0)))};
}

#if defined(__AVX__)

template <>
QSL_INLINE f32x8 convert<f32x8, i32x8>(i32x8 a) {
  return {_mm256_cvtepi32_ps(a.v)};
}
template <>
QSL_INLINE i32x8 convert<i32x8, f32x8>(f32x8 a) {
  return {_mm256_cvtps_epi32(a.v)};
}
template <>
QSL_INLINE i32x8 truncate<i32x8, f32x8>(f32x8 a) {
  return {_mm256_cvttps_epi32(a.v)};
}
template <>
QSL_INLINE f64x4 convert<f64x4, i32x4>(i32x4 a) {
  return {_mm256_cvtepi32_pd(a.v)};
}
template <>
QSL_INLINE i32x4 convert<i32x4, f64x4>(f64x4 a) {
  return {_mm256_cvtpd_epi32(a.v)};
}
template <>
QSL_INLINE i32x4 truncate<i32x4, f64x4>(f64x4 a) {
  return {_mm256_cvttpd_epi32(a.v)};
}
template <>
QSL_INLINE f64x4 convert<f64x4, f32x4>(f32x4 a) {
  return {_mm256_cvtps_pd(a.v)};
}
template <>
QSL_INLINE f32x4 convert<f32x4, f64x4>(f64x4 a) {
  return {_mm256_cvtpd_ps(a.v)};
}
template <>
QSL_INLINE i64x4 convert<i64x4, i32x4>(i32x4 a) {
#if defined(__AVX2__)
  return {_mm256_cvtepi32_epi64(a.v)};
#else
  const i32x4 upper = {_mm_unpackhi_epi64(a.v, a.v)};
  return combine(convert<i64x2>(a), convert<i64x2>(upper));
#endif
}
template <>
QSL_INLINE i32x4 convert<i32x4, i64x4>(i64x4 a) {
  return even_lanes(i32x4{lower_half(a).v}, i32x4{upper_half(a).v});
}

#endif

#if defined(__AVX512F__)

template <>
QSL_INLINE f32x16 convert<f32x16, i32x16>(i32x16 a) {
  return {_mm512_cvtepi32_ps(a.v)};
}
template <>
QSL_INLINE i32x16 convert<i32x16, f32x16>(f32x16 a) {
  return {_mm512_cvtps_epi32(a.v)};
}
template <>
QSL_INLINE i32x16 truncate<i32x16, f32x16>(f32x16 a) {
  return {_mm512_cvttps_epi32(a.v)};
}
template <>
QSL_INLINE f64x8 convert<f64x8, i32x8>(i32x8 a) {
  return {_mm512_cvtepi32_pd(a.v)};
}
template <>
QSL_INLINE i32x8 convert<i32x8, f64x8>(f64x8 a) {
  return {_mm512_cvtpd_epi32(a.v)};
}
template <>
QSL_INLINE i32x8 truncate<i32x8, f64x8>(f64x8 a) {
  return {_mm512_cvttpd_epi32(a.v)};
}
template <>
QSL_INLINE f64x8 convert<f64x8, f32x8>(f32x8 a) {
  return {_mm512_cvtps_pd(a.v)};
}
template <>
QSL_INLINE f32x8 convert<f32x8, f64x8>(f64x8 a) {
  return {_mm512_cvtpd_ps(a.v)};
}
template <>
QSL_INLINE i64x8 convert<i64x8, i32x8>(i32x8 a) {
  return {_mm512_cvtepi32_epi64(a.v)};
}
template <>
QSL_INLINE i32x8 convert<i32x8, i64x8>(i64x8 a) {
  return {_mm512_cvtepi64_epi32(a.v)};
}

#endif

// --- Doubles and 64-bit integers of at most 2^51 in magnitude ----------------------------------

// Numbers around 1.5 * 2^52 are integers one apart, and their bits count them.
template <FloatVector F>
QSL_INLINE F counting_origin() {
  return F::constant(0x1.8p52);
}
template <FloatVector F>
QSL_INLINE F from_counted(typename F::Integers a) {
  const F origin = counting_origin<F>();
  return (a + as_integers(origin)).floats() - origin;
}
template <FloatVector F>
QSL_INLINE typename F::Integers to_counted(F a) {
  const F origin = counting_origin<F>();
  return as_integers(a + origin) - as_integers(origin);
}

template <>
QSL_INLINE f64x2 convert<f64x2, i64x2>(i64x2 a) {
  return from_counted<f64x2>(a);
}
template <>
QSL_INLINE i64x2 convert<i64x2, f64x2>(f64x2 a) {
  return to_counted(a);
}
#if defined(__AVX__)
template <>
QSL_INLINE f64x4 convert<f64x4, i64x4>(i64x4 a) {
  return from_counted<f64x4>(a);
}
template <>
QSL_INLINE i64x4 convert<i64x4, f64x4>(f64x4 a) {
  return to_counted(a);
}
#endif
#if defined(__AVX512F__)
template <>
QSL_INLINE f64x8 convert<f64x8, i64x8>(i64x8 a) {
  return {_mm512_cvtepi64_pd(a.v)};
}
template <>
QSL_INLINE i64x8 convert<i64x8, f64x8>(f64x8 a) {
  return {_mm512_cvtpd_epi64(a.v)};
}
#endif

}  // namespace qsl::QSL_LEVEL
