// Single numbers in a vector register, and the compiler's intrinsics for the level.
#pragma once

#include <cstddef>
#include <cstdint>

#if defined(__AVX512F__) && defined(__GNUC__) && !defined(__clang__)
// g++ 12's own header reads a variable before it is set, on purpose, and then warns of it.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wuninitialized"
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#include <immintrin.h>
#pragma GCC diagnostic pop
#elif defined(__AVX__)
#include <immintrin.h>
#elif defined(__SSE4_1__)
#include <nmmintrin.h>
#elif defined(__SSE3__)
#include <tmmintrin.h>
#else
#include <emmintrin.h>
#endif

#include "simd/inline.h"

namespace qsl::QSL_LEVEL {

#if defined(__FMA__)
inline constexpr bool has_fma = true;
#else
inline constexpr bool has_fma = false;
#endif

// A number at any address, odd ones too.
struct [[gnu::packed, gnu::may_alias]] DoubleAnywhere {
  double value;
};
struct [[gnu::packed, gnu::may_alias]] FloatAnywhere {
  float value;
};

// One double, in lane 0 of a register. A plain double may wander through the x87 unit or a slot of
// the stack between two operations (seen: 40 cycles for a dot product of one element instead of 12,
// for the sake of a zero that was stored in two halves and loaded as one).
struct f64 {
  using Element = double;

  __m128d v;

  QSL_INLINE static f64 zero() { return {_mm_setzero_pd()}; }
  QSL_INLINE static f64 load(const double* p) {
    return {_mm_set_sd(reinterpret_cast<const DoubleAnywhere*>(p)->value)};
  }
  QSL_INLINE void store(double* p) const {
    reinterpret_cast<DoubleAnywhere*>(p)->value = _mm_cvtsd_f64(v);
  }
  QSL_INLINE double value() const { return _mm_cvtsd_f64(v); }
};

QSL_INLINE f64 operator+(f64 a, f64 b) { return {_mm_add_sd(a.v, b.v)}; }
QSL_INLINE f64 operator-(f64 a, f64 b) { return {_mm_sub_sd(a.v, b.v)}; }
QSL_INLINE f64 operator*(f64 a, f64 b) { return {_mm_mul_sd(a.v, b.v)}; }
QSL_INLINE f64 operator/(f64 a, f64 b) { return {_mm_div_sd(a.v, b.v)}; }
// Comparisons are false for a NaN.
QSL_INLINE bool operator>(f64 a, f64 b) { return _mm_comigt_sd(a.v, b.v) != 0; }
QSL_INLINE bool operator>=(f64 a, f64 b) { return _mm_comige_sd(a.v, b.v) != 0; }
// (Not by an ordered comparison: g++ before 13 takes NaN for equal to itself there.)
QSL_INLINE bool is_nan(f64 a) { return (_mm_movemask_pd(_mm_cmpunord_sd(a.v, a.v)) & 1) != 0; }
QSL_INLINE f64 square_root(f64 a) { return {_mm_sqrt_sd(a.v, a.v)}; }

// a * b + c
QSL_INLINE f64 mul_add(f64 a, f64 b, f64 c) {
#if defined(__FMA__)
  return {_mm_fmadd_sd(a.v, b.v, c.v)};
#else
  return a * b + c;
#endif
}

// One float, in lane 0 of a register.
struct f32 {
  using Element = float;

  __m128 v;

  QSL_INLINE static f32 zero() { return {_mm_setzero_ps()}; }
  QSL_INLINE static f32 load(const float* p) {
    return {_mm_set_ss(reinterpret_cast<const FloatAnywhere*>(p)->value)};
  }
  QSL_INLINE void store(float* p) const {
    reinterpret_cast<FloatAnywhere*>(p)->value = _mm_cvtss_f32(v);
  }
  QSL_INLINE float value() const { return _mm_cvtss_f32(v); }
};

QSL_INLINE f32 operator+(f32 a, f32 b) { return {_mm_add_ss(a.v, b.v)}; }
QSL_INLINE f32 operator-(f32 a, f32 b) { return {_mm_sub_ss(a.v, b.v)}; }
QSL_INLINE f32 operator*(f32 a, f32 b) { return {_mm_mul_ss(a.v, b.v)}; }
QSL_INLINE f32 operator/(f32 a, f32 b) { return {_mm_div_ss(a.v, b.v)}; }
QSL_INLINE bool operator>(f32 a, f32 b) { return _mm_comigt_ss(a.v, b.v) != 0; }
QSL_INLINE bool operator>=(f32 a, f32 b) { return _mm_comige_ss(a.v, b.v) != 0; }
QSL_INLINE bool is_nan(f32 a) { return (_mm_movemask_ps(_mm_cmpunord_ss(a.v, a.v)) & 1) != 0; }
QSL_INLINE f32 square_root(f32 a) { return {_mm_sqrt_ss(a.v)}; }

QSL_INLINE f32 mul_add(f32 a, f32 b, f32 c) {
#if defined(__FMA__)
  return {_mm_fmadd_ss(a.v, b.v, c.v)};
#else
  return a * b + c;
#endif
}

// Two floats at any address, moved together as the eight bytes of a double.
QSL_INLINE f64 load_8_bytes(const float* p) {
  return {_mm_set_sd(reinterpret_cast<const DoubleAnywhere*>(p)->value)};
}
QSL_INLINE void store_8_bytes(float* p, f64 x) {
  reinterpret_cast<DoubleAnywhere*>(p)->value = x.value();
}

// Waits until streaming stores are visible to other threads: once behind a loop of them.
QSL_INLINE void end_streaming() { _mm_sfence(); }

}  // namespace qsl::QSL_LEVEL
