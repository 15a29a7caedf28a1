// Four 32-bit integers, signed ones where it matters, in a 128-bit register. Every level has these.
#pragma once

#include "simd/f32x4.h"

namespace qsl::QSL_LEVEL {

struct i32x4 {
  using Element = std::int32_t;
  using Mask = m32x4;
  using Floats = f32x4;
  static constexpr int lanes = 4;
  static constexpr int bytes = 16;

  __m128i v;

  QSL_INLINE static i32x4 zero() { return {_mm_setzero_si128()}; }
  QSL_INLINE static i32x4 constant(std::int32_t x) { return {_mm_set1_epi32(x)}; }
  QSL_INLINE static i32x4 broadcast(std::int32_t x) { return constant(x); }
  QSL_INLINE static i32x4 broadcast_from(const std::int32_t* p) {
    return of(Floats::broadcast_from(reinterpret_cast<const float*>(p)));
  }
  QSL_INLINE static i32x4 load(const std::int32_t* p) {
    return of(Floats::load(reinterpret_cast<const float*>(p)));
  }
  QSL_INLINE static i32x4 load_aligned(const std::int32_t* p) {
    return of(Floats::load_aligned(reinterpret_cast<const float*>(p)));
  }
  QSL_INLINE static i32x4 load_first(const std::int32_t* p, int k) {
    return of(Floats::load_first(reinterpret_cast<const float*>(p), k));
  }
  QSL_INLINE static i32x4 load_rest(const std::int32_t* p, int k) {
    return of(Floats::load_rest(reinterpret_cast<const float*>(p), k));
  }

  QSL_INLINE void store(std::int32_t* p) const { floats().store(reinterpret_cast<float*>(p)); }
  QSL_INLINE void store_aligned(std::int32_t* p) const {
    floats().store_aligned(reinterpret_cast<float*>(p));
  }
  QSL_INLINE void store_streaming(std::int32_t* p) const {
    floats().store_streaming(reinterpret_cast<float*>(p));
  }
  QSL_INLINE void store_first(std::int32_t* p, int k) const {
    floats().store_first(reinterpret_cast<float*>(p), k);
  }
  QSL_INLINE void store_rest(std::int32_t* p, int k) const {
    floats().store_rest(reinterpret_cast<float*>(p), k);
  }

  // The same bits.
  QSL_INLINE static i32x4 of(f32x4 a) { return {_mm_castps_si128(a.v)}; }
  QSL_INLINE f32x4 floats() const { return {_mm_castsi128_ps(v)}; }
};

QSL_INLINE i32x4 operator+(i32x4 a, i32x4 b) { return {_mm_add_epi32(a.v, b.v)}; }
QSL_INLINE i32x4 operator-(i32x4 a, i32x4 b) { return {_mm_sub_epi32(a.v, b.v)}; }

QSL_INLINE i32x4 operator&(i32x4 a, i32x4 b) { return {_mm_and_si128(a.v, b.v)}; }
QSL_INLINE i32x4 operator|(i32x4 a, i32x4 b) { return {_mm_or_si128(a.v, b.v)}; }
QSL_INLINE i32x4 operator^(i32x4 a, i32x4 b) { return {_mm_xor_si128(a.v, b.v)}; }
QSL_INLINE i32x4 and_not(i32x4 a, i32x4 b) { return {_mm_andnot_si128(b.v, a.v)}; }

template <int n>
QSL_INLINE i32x4 shift_left(i32x4 a) {
  return {_mm_slli_epi32(a.v, n)};
}
template <int n>
QSL_INLINE i32x4 shift_right(i32x4 a) {
  return {_mm_srli_epi32(a.v, n)};
}
QSL_INLINE i32x4 shift_left(i32x4 a, int n) { return {_mm_sll_epi32(a.v, _mm_cvtsi32_si128(n))}; }
QSL_INLINE i32x4 shift_right(i32x4 a, int n) { return {_mm_srl_epi32(a.v, _mm_cvtsi32_si128(n))}; }
template <int n>
QSL_INLINE i32x4 shift_right_arithmetic(i32x4 a) {
  return {_mm_srai_epi32(a.v, n)};
}
QSL_INLINE i32x4 shift_right_arithmetic(i32x4 a, int n) {
  return {_mm_sra_epi32(a.v, _mm_cvtsi32_si128(n))};
}

#if defined(__AVX512F__)
QSL_INLINE m32x4 operator==(i32x4 a, i32x4 b) { return {_mm_cmpeq_epi32_mask(a.v, b.v)}; }
QSL_INLINE m32x4 operator!=(i32x4 a, i32x4 b) { return {_mm_cmpneq_epi32_mask(a.v, b.v)}; }
QSL_INLINE m32x4 operator<(i32x4 a, i32x4 b) { return {_mm_cmplt_epi32_mask(a.v, b.v)}; }
QSL_INLINE m32x4 operator<=(i32x4 a, i32x4 b) { return {_mm_cmple_epi32_mask(a.v, b.v)}; }
#else
QSL_INLINE m32x4 operator==(i32x4 a, i32x4 b) {
  return {i32x4{_mm_cmpeq_epi32(a.v, b.v)}.floats().v};
}
QSL_INLINE m32x4 operator!=(i32x4 a, i32x4 b) { return ~(a == b); }
QSL_INLINE m32x4 operator<(i32x4 a, i32x4 b) {
  return {i32x4{_mm_cmpgt_epi32(b.v, a.v)}.floats().v};
}
#endif
#if defined(__SSE4_1__)
QSL_INLINE i32x4 greater_of(i32x4 a, i32x4 b) { return {_mm_max_epi32(a.v, b.v)}; }
QSL_INLINE i32x4 lesser_of(i32x4 a, i32x4 b) { return {_mm_min_epi32(a.v, b.v)}; }
#endif

// (a0 + a2) + (a1 + a3), modulo 2^32
QSL_INLINE std::int32_t sum_lanes(i32x4 a) {
  const i32x4 pairs = a + i32x4{_mm_shuffle_epi32(a.v, _MM_SHUFFLE(1, 0, 3, 2))};
  const i32x4 sum = pairs + i32x4{_mm_shuffle_epi32(pairs.v, _MM_SHUFFLE(2, 3, 0, 1))};
  return _mm_cvtsi128_si32(sum.v);
}
QSL_INLINE std::int32_t first_lane(i32x4 a) { return _mm_cvtsi128_si32(a.v); }
template <int i>
QSL_INLINE std::int32_t lane(i32x4 a) {
  if constexpr (i == 0) return _mm_cvtsi128_si32(a.v);
#if defined(__SSE4_1__)
  return _mm_extract_epi32(a.v, i);
#else
  return _mm_cvtsi128_si32(_mm_shuffle_epi32(a.v, i));
#endif
}

}  // namespace qsl::QSL_LEVEL
