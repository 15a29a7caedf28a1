// Four floats in a 128-bit register, and single floats. Every level has these. The names mean what
// they mean in simd/f64x2.h; a pair is a complex number in either precision.
#pragma once

#include "simd/f64x2.h"
#if defined(__AVX__)
#include <immintrin.h>
#endif

namespace qsl::QSL_LEVEL {

// A float at any address.
struct [[gnu::packed, gnu::may_alias]] FloatAnywhere {
  float value;
};

// Two floats at any address, moved together as the eight bytes of a double.
QSL_INLINE f64 load_8_bytes(const float* p) {
  return {_mm_set_sd(reinterpret_cast<const DoubleAnywhere*>(p)->value)};
}
QSL_INLINE void store_8_bytes(float* p, f64 x) {
  reinterpret_cast<DoubleAnywhere*>(p)->value = x.value();
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
QSL_INLINE f32 operator*(f32 a, f32 b) { return {_mm_mul_ss(a.v, b.v)}; }

// a * b + c
QSL_INLINE f32 mul_add(f32 a, f32 b, f32 c) {
#if defined(__FMA__)
  return {_mm_fmadd_ss(a.v, b.v, c.v)};
#else
  return a * b + c;
#endif
}

struct f32x4 {
  using Element = float;
  static constexpr int lanes = 4;
  static constexpr int bytes = 16;

  __m128 v;

  QSL_INLINE static f32x4 zero() { return {_mm_setzero_ps()}; }
  QSL_INLINE static f32x4 load(const float* p) { return {_mm_loadu_ps(p)}; }
  QSL_INLINE static f32x4 load_aligned(const float* p) { return {_mm_load_ps(p)}; }
  QSL_INLINE static f32x4 broadcast(f32 x) { return {_mm_shuffle_ps(x.v, x.v, 0)}; }
  QSL_INLINE static f32x4 broadcast_from(const float* p) { return broadcast(f32::load(p)); }
  // The pair at p in every pair of lanes.
  QSL_INLINE static f32x4 broadcast_pair(const float* p) {
    const f32x4 pair = load_pair(p);
    return {_mm_movelh_ps(pair.v, pair.v)};
  }
  // (p[0], p[1], 0, 0)
  QSL_INLINE static f32x4 load_pair(const float* p) { return {_mm_castpd_ps(load_8_bytes(p).v)}; }

  QSL_INLINE void store(float* p) const { _mm_storeu_ps(p, v); }
  QSL_INLINE void store_aligned(float* p) const { _mm_store_ps(p, v); }
  // The first pair.
  QSL_INLINE void store_pair(float* p) const { store_8_bytes(p, f64{_mm_castps_pd(v)}); }

  // The first k lanes, 1 <= k <= lanes; the others are neither read (they hold 0) nor written.
#if defined(__AVX__)
  // The mask: k bytes of ones, widened.
  QSL_INLINE static __m128i first_lanes(int k) {
    const int ones = static_cast<int>(0xffffffffu >> (8 * (lanes - k)));
    return _mm_cvtepi8_epi32(_mm_cvtsi32_si128(ones));
  }
  QSL_INLINE static f32x4 load_first(const float* p, int k) {
    return {_mm_maskload_ps(p, first_lanes(k))};
  }
  QSL_INLINE void store_first(float* p, int k) const { _mm_maskstore_ps(p, first_lanes(k), v); }
#else
  QSL_INLINE static f32x4 load_first(const float* p, int k) {
    if (k == 1) return {f32::load(p).v};
    if (k == 2) return load_pair(p);
    if (k == 3) return {_mm_movelh_ps(load_pair(p).v, f32::load(p + 2).v)};
    return load(p);
  }
  QSL_INLINE void store_first(float* p, int k) const {
    if (k == 1) {
      f32{v}.store(p);
    } else if (k == 2) {
      store_pair(p);
    } else if (k == 3) {
      store_pair(p);
      f32{_mm_movehl_ps(v, v)}.store(p + 2);
    } else {
      store(p);
    }
  }
#endif
};

QSL_INLINE f32x4 operator+(f32x4 a, f32x4 b) { return {_mm_add_ps(a.v, b.v)}; }
QSL_INLINE f32x4 operator-(f32x4 a, f32x4 b) { return {_mm_sub_ps(a.v, b.v)}; }
QSL_INLINE f32x4 operator*(f32x4 a, f32x4 b) { return {_mm_mul_ps(a.v, b.v)}; }

// a * b + c
QSL_INLINE f32x4 mul_add(f32x4 a, f32x4 b, f32x4 c) {
#if defined(__FMA__)
  return {_mm_fmadd_ps(a.v, b.v, c.v)};
#else
  return a * b + c;
#endif
}
#if defined(__FMA__)
// a * b - c in even lanes, a * b + c in odd ones
QSL_INLINE f32x4 mul_sub_add(f32x4 a, f32x4 b, f32x4 c) { return {_mm_fmaddsub_ps(a.v, b.v, c.v)}; }
#endif

// (a0, a0, a2, a2)
QSL_INLINE f32x4 dup_even(f32x4 a) {
#if defined(__SSE3__)
  return {_mm_moveldup_ps(a.v)};
#else
  return {_mm_shuffle_ps(a.v, a.v, _MM_SHUFFLE(2, 2, 0, 0))};
#endif
}
// (a1, a1, a3, a3)
QSL_INLINE f32x4 dup_odd(f32x4 a) {
#if defined(__SSE3__)
  return {_mm_movehdup_ps(a.v)};
#else
  return {_mm_shuffle_ps(a.v, a.v, _MM_SHUFFLE(3, 3, 1, 1))};
#endif
}
// (a1, a0, a3, a2)
QSL_INLINE f32x4 swap_pairs(f32x4 a) { return {_mm_shuffle_ps(a.v, a.v, _MM_SHUFFLE(2, 3, 0, 1))}; }
// (-a0, a1, -a2, a3)
QSL_INLINE f32x4 negate_even(f32x4 a) {
  return {_mm_xor_ps(a.v, _mm_set_ps(0.0f, -0.0f, 0.0f, -0.0f))};
}
// (a0, -a1, a2, -a3)
QSL_INLINE f32x4 negate_odd(f32x4 a) {
  return {_mm_xor_ps(a.v, _mm_set_ps(-0.0f, 0.0f, -0.0f, 0.0f))};
}
// (a0 - b0, a1 + b1, a2 - b2, a3 + b3)
QSL_INLINE f32x4 add_sub(f32x4 a, f32x4 b) {
#if defined(__SSE3__)
  return {_mm_addsub_ps(a.v, b.v)};
#else
  return a + negate_even(b);
#endif
}

// Upper pair + lower pair, in lanes 0 and 1.
QSL_INLINE f32x4 sum_pairs(f32x4 a) { return a + f32x4{_mm_movehl_ps(a.v, a.v)}; }
// Upper pair + lower pair, then upper lane + lower lane.
QSL_INLINE f32 sum_lanes(f32x4 a) {
  const f32x4 pair = sum_pairs(a);
  return {_mm_add_ss(pair.v, _mm_shuffle_ps(pair.v, pair.v, 1))};
}

}  // namespace qsl::QSL_LEVEL
