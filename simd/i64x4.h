// Four 64-bit integers in a 256-bit register, for the levels from AVX upward. AVX itself has no
// operations on them: it takes them by halves (simd/by_halves.h).
#pragma once

#include "simd/f64x4.h"
#include "simd/i64x2.h"

namespace qsl::QSL_LEVEL {

struct i64x4 {
  using Element = std::int64_t;
  using Mask = m64x4;
  using Floats = f64x4;
  static constexpr int lanes = 4;
  static constexpr int bytes = 32;

  __m256i v;

  QSL_INLINE static i64x4 zero() { return {_mm256_setzero_si256()}; }
  QSL_INLINE static i64x4 constant(std::int64_t x) { return {_mm256_set1_epi64x(x)}; }
  QSL_INLINE static i64x4 broadcast(std::int64_t x) { return constant(x); }
  QSL_INLINE static i64x4 broadcast_from(const std::int64_t* p) {
    return of(Floats::broadcast_from(reinterpret_cast<const double*>(p)));
  }
  QSL_INLINE static i64x4 load(const std::int64_t* p) {
    return of(Floats::load(reinterpret_cast<const double*>(p)));
  }
  QSL_INLINE static i64x4 load_aligned(const std::int64_t* p) {
    return of(Floats::load_aligned(reinterpret_cast<const double*>(p)));
  }
  QSL_INLINE static i64x4 load_first(const std::int64_t* p, int k) {
    return of(Floats::load_first(reinterpret_cast<const double*>(p), k));
  }
  QSL_INLINE static i64x4 load_rest(const std::int64_t* p, int k) {
    return of(Floats::load_rest(reinterpret_cast<const double*>(p), k));
  }

  QSL_INLINE void store(std::int64_t* p) const { floats().store(reinterpret_cast<double*>(p)); }
  QSL_INLINE void store_aligned(std::int64_t* p) const {
    floats().store_aligned(reinterpret_cast<double*>(p));
  }
  QSL_INLINE void store_streaming(std::int64_t* p) const {
    floats().store_streaming(reinterpret_cast<double*>(p));
  }
  QSL_INLINE void store_first(std::int64_t* p, int k) const {
    floats().store_first(reinterpret_cast<double*>(p), k);
  }
  QSL_INLINE void store_rest(std::int64_t* p, int k) const {
    floats().store_rest(reinterpret_cast<double*>(p), k);
  }

  // The same bits.
  QSL_INLINE static i64x4 of(f64x4 a) { return {_mm256_castpd_si256(a.v)}; }
  QSL_INLINE f64x4 floats() const { return {_mm256_castsi256_pd(v)}; }
};

QSL_INLINE i64x4 combine(i64x2 lower, i64x2 upper) {
  return {_mm256_insertf128_si256(_mm256_castsi128_si256(lower.v), upper.v, 1)};
}
QSL_INLINE i64x2 lower_half(i64x4 a) { return {_mm256_castsi256_si128(a.v)}; }
QSL_INLINE i64x2 upper_half(i64x4 a) { return {_mm256_extractf128_si256(a.v, 1)}; }

#if defined(__AVX2__)
QSL_INLINE i64x4 operator+(i64x4 a, i64x4 b) { return {_mm256_add_epi64(a.v, b.v)}; }
QSL_INLINE i64x4 operator-(i64x4 a, i64x4 b) { return {_mm256_sub_epi64(a.v, b.v)}; }

QSL_INLINE i64x4 operator&(i64x4 a, i64x4 b) { return {_mm256_and_si256(a.v, b.v)}; }
QSL_INLINE i64x4 operator|(i64x4 a, i64x4 b) { return {_mm256_or_si256(a.v, b.v)}; }
QSL_INLINE i64x4 operator^(i64x4 a, i64x4 b) { return {_mm256_xor_si256(a.v, b.v)}; }
QSL_INLINE i64x4 and_not(i64x4 a, i64x4 b) { return {_mm256_andnot_si256(b.v, a.v)}; }

template <int n>
QSL_INLINE i64x4 shift_left(i64x4 a) {
  return {_mm256_slli_epi64(a.v, n)};
}
template <int n>
QSL_INLINE i64x4 shift_right(i64x4 a) {
  return {_mm256_srli_epi64(a.v, n)};
}
QSL_INLINE i64x4 shift_left(i64x4 a, int n) {
  return {_mm256_sll_epi64(a.v, _mm_cvtsi32_si128(n))};
}
QSL_INLINE i64x4 shift_right(i64x4 a, int n) {
  return {_mm256_srl_epi64(a.v, _mm_cvtsi32_si128(n))};
}

#if defined(__AVX512F__)
template <int n>
QSL_INLINE i64x4 shift_right_arithmetic(i64x4 a) {
  return {_mm256_srai_epi64(a.v, n)};
}
QSL_INLINE i64x4 shift_right_arithmetic(i64x4 a, int n) {
  return {_mm256_sra_epi64(a.v, _mm_cvtsi32_si128(n))};
}
QSL_INLINE m64x4 operator==(i64x4 a, i64x4 b) { return {_mm256_cmpeq_epi64_mask(a.v, b.v)}; }
QSL_INLINE m64x4 operator!=(i64x4 a, i64x4 b) { return {_mm256_cmpneq_epi64_mask(a.v, b.v)}; }
QSL_INLINE m64x4 operator<(i64x4 a, i64x4 b) { return {_mm256_cmplt_epi64_mask(a.v, b.v)}; }
QSL_INLINE m64x4 operator<=(i64x4 a, i64x4 b) { return {_mm256_cmple_epi64_mask(a.v, b.v)}; }
QSL_INLINE i64x4 greater_of(i64x4 a, i64x4 b) { return {_mm256_max_epi64(a.v, b.v)}; }
QSL_INLINE i64x4 lesser_of(i64x4 a, i64x4 b) { return {_mm256_min_epi64(a.v, b.v)}; }
#else
// There is no such instruction below AVX-512: a negative number's complement is shifted instead.
template <int n>
QSL_INLINE i64x4 shift_right_arithmetic(i64x4 a) {
  const i64x4 sign = {_mm256_cmpgt_epi64(_mm256_setzero_si256(), a.v)};
  return shift_right<n>(a ^ sign) ^ sign;
}
QSL_INLINE i64x4 shift_right_arithmetic(i64x4 a, int n) {
  const i64x4 sign = {_mm256_cmpgt_epi64(_mm256_setzero_si256(), a.v)};
  return shift_right(a ^ sign, n) ^ sign;
}
QSL_INLINE m64x4 operator==(i64x4 a, i64x4 b) {
  return {i64x4{_mm256_cmpeq_epi64(a.v, b.v)}.floats().v};
}
QSL_INLINE m64x4 operator!=(i64x4 a, i64x4 b) { return ~(a == b); }
QSL_INLINE m64x4 operator<(i64x4 a, i64x4 b) {
  return {i64x4{_mm256_cmpgt_epi64(b.v, a.v)}.floats().v};
}
#endif
#endif

}  // namespace qsl::QSL_LEVEL
