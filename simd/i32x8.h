// Eight 32-bit integers in a 256-bit register, for the levels from AVX upward. AVX itself has no
// operations on them: it takes them by halves (simd/by_halves.h).
#pragma once

#include "simd/f32x8.h"
#include "simd/i32x4.h"

namespace qsl::QSL_LEVEL {

struct i32x8 {
  using Element = std::int32_t;
  using Mask = m32x8;
  using Floats = f32x8;
  static constexpr int lanes = 8;
  static constexpr int bytes = 32;

  __m256i v;

  QSL_INLINE static i32x8 zero() { return {_mm256_setzero_si256()}; }
  QSL_INLINE static i32x8 constant(std::int32_t x) { return {_mm256_set1_epi32(x)}; }
  QSL_INLINE static i32x8 broadcast(std::int32_t x) { return constant(x); }
  QSL_INLINE static i32x8 broadcast_from(const std::int32_t* p) {
    return of(Floats::broadcast_from(reinterpret_cast<const float*>(p)));
  }
  QSL_INLINE static i32x8 load(const std::int32_t* p) {
    return of(Floats::load(reinterpret_cast<const float*>(p)));
  }
  QSL_INLINE static i32x8 load_aligned(const std::int32_t* p) {
    return of(Floats::load_aligned(reinterpret_cast<const float*>(p)));
  }
  QSL_INLINE static i32x8 load_first(const std::int32_t* p, int k) {
    return of(Floats::load_first(reinterpret_cast<const float*>(p), k));
  }
  QSL_INLINE static i32x8 load_rest(const std::int32_t* p, int k) {
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
  QSL_INLINE static i32x8 of(f32x8 a) { return {_mm256_castps_si256(a.v)}; }
  QSL_INLINE f32x8 floats() const { return {_mm256_castsi256_ps(v)}; }
};

QSL_INLINE i32x8 combine(i32x4 lower, i32x4 upper) {
  return {_mm256_insertf128_si256(_mm256_castsi128_si256(lower.v), upper.v, 1)};
}
QSL_INLINE i32x4 lower_half(i32x8 a) { return {_mm256_castsi256_si128(a.v)}; }
QSL_INLINE i32x4 upper_half(i32x8 a) { return {_mm256_extractf128_si256(a.v, 1)}; }

#if defined(__AVX2__)
QSL_INLINE i32x8 operator+(i32x8 a, i32x8 b) { return {_mm256_add_epi32(a.v, b.v)}; }
QSL_INLINE i32x8 operator-(i32x8 a, i32x8 b) { return {_mm256_sub_epi32(a.v, b.v)}; }

QSL_INLINE i32x8 operator&(i32x8 a, i32x8 b) { return {_mm256_and_si256(a.v, b.v)}; }
QSL_INLINE i32x8 operator|(i32x8 a, i32x8 b) { return {_mm256_or_si256(a.v, b.v)}; }
QSL_INLINE i32x8 operator^(i32x8 a, i32x8 b) { return {_mm256_xor_si256(a.v, b.v)}; }
QSL_INLINE i32x8 and_not(i32x8 a, i32x8 b) { return {_mm256_andnot_si256(b.v, a.v)}; }

template <int n>
QSL_INLINE i32x8 shift_left(i32x8 a) {
  return {_mm256_slli_epi32(a.v, n)};
}
template <int n>
QSL_INLINE i32x8 shift_right(i32x8 a) {
  return {_mm256_srli_epi32(a.v, n)};
}
QSL_INLINE i32x8 shift_left(i32x8 a, int n) {
  return {_mm256_sll_epi32(a.v, _mm_cvtsi32_si128(n))};
}
QSL_INLINE i32x8 shift_right(i32x8 a, int n) {
  return {_mm256_srl_epi32(a.v, _mm_cvtsi32_si128(n))};
}
template <int n>
QSL_INLINE i32x8 shift_right_arithmetic(i32x8 a) {
  return {_mm256_srai_epi32(a.v, n)};
}
QSL_INLINE i32x8 shift_right_arithmetic(i32x8 a, int n) {
  return {_mm256_sra_epi32(a.v, _mm_cvtsi32_si128(n))};
}

#if defined(__AVX512F__)
QSL_INLINE m32x8 operator==(i32x8 a, i32x8 b) { return {_mm256_cmpeq_epi32_mask(a.v, b.v)}; }
QSL_INLINE m32x8 operator!=(i32x8 a, i32x8 b) { return {_mm256_cmpneq_epi32_mask(a.v, b.v)}; }
QSL_INLINE m32x8 operator<(i32x8 a, i32x8 b) { return {_mm256_cmplt_epi32_mask(a.v, b.v)}; }
QSL_INLINE m32x8 operator<=(i32x8 a, i32x8 b) { return {_mm256_cmple_epi32_mask(a.v, b.v)}; }
#else
QSL_INLINE m32x8 operator==(i32x8 a, i32x8 b) {
  return {i32x8{_mm256_cmpeq_epi32(a.v, b.v)}.floats().v};
}
QSL_INLINE m32x8 operator!=(i32x8 a, i32x8 b) { return ~(a == b); }
QSL_INLINE m32x8 operator<(i32x8 a, i32x8 b) {
  return {i32x8{_mm256_cmpgt_epi32(b.v, a.v)}.floats().v};
}
#endif
QSL_INLINE i32x8 greater_of(i32x8 a, i32x8 b) { return {_mm256_max_epi32(a.v, b.v)}; }
QSL_INLINE i32x8 lesser_of(i32x8 a, i32x8 b) { return {_mm256_min_epi32(a.v, b.v)}; }
#endif

}  // namespace qsl::QSL_LEVEL
