// Sixteen 32-bit integers in a 512-bit register.
#pragma once

#include "simd/f32x16.h"
#include "simd/i32x8.h"

namespace qsl::QSL_LEVEL {

struct i32x16 {
  using Element = std::int32_t;
  using Mask = m32x16;
  using Floats = f32x16;
  static constexpr int lanes = 16;
  static constexpr int bytes = 64;

  __m512i v;

  QSL_INLINE static i32x16 zero() { return {_mm512_setzero_si512()}; }
  QSL_INLINE static i32x16 constant(std::int32_t x) { return {_mm512_set1_epi32(x)}; }
  QSL_INLINE static i32x16 broadcast(std::int32_t x) { return constant(x); }
  QSL_INLINE static i32x16 broadcast_from(const std::int32_t* p) {
    return of(Floats::broadcast_from(reinterpret_cast<const float*>(p)));
  }
  QSL_INLINE static i32x16 load(const std::int32_t* p) {
    return of(Floats::load(reinterpret_cast<const float*>(p)));
  }
  QSL_INLINE static i32x16 load_aligned(const std::int32_t* p) {
    return of(Floats::load_aligned(reinterpret_cast<const float*>(p)));
  }
  QSL_INLINE static i32x16 load_first(const std::int32_t* p, int k) {
    return of(Floats::load_first(reinterpret_cast<const float*>(p), k));
  }
  QSL_INLINE static i32x16 load_rest(const std::int32_t* p, int k) {
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
  QSL_INLINE static i32x16 of(f32x16 a) { return {_mm512_castps_si512(a.v)}; }
  QSL_INLINE f32x16 floats() const { return {_mm512_castsi512_ps(v)}; }
};

QSL_INLINE i32x16 operator+(i32x16 a, i32x16 b) { return {_mm512_add_epi32(a.v, b.v)}; }
QSL_INLINE i32x16 operator-(i32x16 a, i32x16 b) { return {_mm512_sub_epi32(a.v, b.v)}; }

QSL_INLINE i32x16 operator&(i32x16 a, i32x16 b) { return {_mm512_and_si512(a.v, b.v)}; }
QSL_INLINE i32x16 operator|(i32x16 a, i32x16 b) { return {_mm512_or_si512(a.v, b.v)}; }
QSL_INLINE i32x16 operator^(i32x16 a, i32x16 b) { return {_mm512_xor_si512(a.v, b.v)}; }
QSL_INLINE i32x16 and_not(i32x16 a, i32x16 b) { return {_mm512_andnot_si512(b.v, a.v)}; }

template <int n>
QSL_INLINE i32x16 shift_left(i32x16 a) {
  return {_mm512_slli_epi32(a.v, n)};
}
template <int n>
QSL_INLINE i32x16 shift_right(i32x16 a) {
  return {_mm512_srli_epi32(a.v, n)};
}
QSL_INLINE i32x16 shift_left(i32x16 a, int n) {
  return {_mm512_sll_epi32(a.v, _mm_cvtsi32_si128(n))};
}
QSL_INLINE i32x16 shift_right(i32x16 a, int n) {
  return {_mm512_srl_epi32(a.v, _mm_cvtsi32_si128(n))};
}
template <int n>
QSL_INLINE i32x16 shift_right_arithmetic(i32x16 a) {
  return {_mm512_srai_epi32(a.v, n)};
}
QSL_INLINE i32x16 shift_right_arithmetic(i32x16 a, int n) {
  return {_mm512_sra_epi32(a.v, _mm_cvtsi32_si128(n))};
}

QSL_INLINE m32x16 operator==(i32x16 a, i32x16 b) { return {_mm512_cmpeq_epi32_mask(a.v, b.v)}; }
QSL_INLINE m32x16 operator!=(i32x16 a, i32x16 b) { return {_mm512_cmpneq_epi32_mask(a.v, b.v)}; }
QSL_INLINE m32x16 operator<(i32x16 a, i32x16 b) { return {_mm512_cmplt_epi32_mask(a.v, b.v)}; }
QSL_INLINE m32x16 operator<=(i32x16 a, i32x16 b) { return {_mm512_cmple_epi32_mask(a.v, b.v)}; }
QSL_INLINE i32x16 greater_of(i32x16 a, i32x16 b) { return {_mm512_max_epi32(a.v, b.v)}; }
QSL_INLINE i32x16 lesser_of(i32x16 a, i32x16 b) { return {_mm512_min_epi32(a.v, b.v)}; }

QSL_INLINE i32x16 combine(i32x8 lower, i32x8 upper) {
  return {_mm512_inserti64x4(_mm512_castsi256_si512(lower.v), upper.v, 1)};
}
QSL_INLINE i32x8 lower_half(i32x16 a) { return {_mm512_castsi512_si256(a.v)}; }
QSL_INLINE i32x8 upper_half(i32x16 a) { return {_mm512_extracti64x4_epi64(a.v, 1)}; }

}  // namespace qsl::QSL_LEVEL
