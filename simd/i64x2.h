// Two 64-bit integers, signed ones where it matters, in a 128-bit register. Every level has these.
#pragma once

#include "simd/f64x2.h"
#include "simd/i32x4.h"

namespace qsl::QSL_LEVEL {

struct i64x2 {
  using Element = std::int64_t;
  using Mask = m64x2;
  using Floats = f64x2;
  static constexpr int lanes = 2;
  static constexpr int bytes = 16;

  __m128i v;

  QSL_INLINE static i64x2 zero() { return {_mm_setzero_si128()}; }
  QSL_INLINE static i64x2 constant(std::int64_t x) { return {_mm_set1_epi64x(x)}; }
  QSL_INLINE static i64x2 broadcast(std::int64_t x) { return constant(x); }
  QSL_INLINE static i64x2 broadcast_from(const std::int64_t* p) {
    return of(Floats::broadcast_from(reinterpret_cast<const double*>(p)));
  }
  QSL_INLINE static i64x2 load(const std::int64_t* p) {
    return of(Floats::load(reinterpret_cast<const double*>(p)));
  }
  QSL_INLINE static i64x2 load_aligned(const std::int64_t* p) {
    return of(Floats::load_aligned(reinterpret_cast<const double*>(p)));
  }
  QSL_INLINE static i64x2 load_first(const std::int64_t* p, int k) {
    return of(Floats::load_first(reinterpret_cast<const double*>(p), k));
  }
  QSL_INLINE static i64x2 load_rest(const std::int64_t* p, int k) {
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
  QSL_INLINE static i64x2 of(f64x2 a) { return {_mm_castpd_si128(a.v)}; }
  QSL_INLINE f64x2 floats() const { return {_mm_castsi128_pd(v)}; }
};

QSL_INLINE i64x2 operator+(i64x2 a, i64x2 b) { return {_mm_add_epi64(a.v, b.v)}; }
QSL_INLINE i64x2 operator-(i64x2 a, i64x2 b) { return {_mm_sub_epi64(a.v, b.v)}; }

QSL_INLINE i64x2 operator&(i64x2 a, i64x2 b) { return {_mm_and_si128(a.v, b.v)}; }
QSL_INLINE i64x2 operator|(i64x2 a, i64x2 b) { return {_mm_or_si128(a.v, b.v)}; }
QSL_INLINE i64x2 operator^(i64x2 a, i64x2 b) { return {_mm_xor_si128(a.v, b.v)}; }
QSL_INLINE i64x2 and_not(i64x2 a, i64x2 b) { return {_mm_andnot_si128(b.v, a.v)}; }

template <int n>
QSL_INLINE i64x2 shift_left(i64x2 a) {
  return {_mm_slli_epi64(a.v, n)};
}
template <int n>
QSL_INLINE i64x2 shift_right(i64x2 a) {
  return {_mm_srli_epi64(a.v, n)};
}
QSL_INLINE i64x2 shift_left(i64x2 a, int n) { return {_mm_sll_epi64(a.v, _mm_cvtsi32_si128(n))}; }
QSL_INLINE i64x2 shift_right(i64x2 a, int n) { return {_mm_srl_epi64(a.v, _mm_cvtsi32_si128(n))}; }

#if defined(__AVX512F__)
template <int n>
QSL_INLINE i64x2 shift_right_arithmetic(i64x2 a) {
  return {_mm_srai_epi64(a.v, n)};
}
QSL_INLINE i64x2 shift_right_arithmetic(i64x2 a, int n) {
  return {_mm_sra_epi64(a.v, _mm_cvtsi32_si128(n))};
}
QSL_INLINE m64x2 operator==(i64x2 a, i64x2 b) { return {_mm_cmpeq_epi64_mask(a.v, b.v)}; }
QSL_INLINE m64x2 operator!=(i64x2 a, i64x2 b) { return {_mm_cmpneq_epi64_mask(a.v, b.v)}; }
QSL_INLINE m64x2 operator<(i64x2 a, i64x2 b) { return {_mm_cmplt_epi64_mask(a.v, b.v)}; }
QSL_INLINE m64x2 operator<=(i64x2 a, i64x2 b) { return {_mm_cmple_epi64_mask(a.v, b.v)}; }
QSL_INLINE i64x2 greater_of(i64x2 a, i64x2 b) { return {_mm_max_epi64(a.v, b.v)}; }
QSL_INLINE i64x2 lesser_of(i64x2 a, i64x2 b) { return {_mm_min_epi64(a.v, b.v)}; }
#else
// The upper half of each lane, in both halves.
QSL_INLINE __m128i upper_words(__m128i a) { return _mm_shuffle_epi32(a, _MM_SHUFFLE(3, 3, 1, 1)); }
// All ones in lanes below zero.
QSL_INLINE i64x2 signs(i64x2 a) { return {_mm_srai_epi32(upper_words(a.v), 31)}; }

// There is no such instruction below AVX-512: a negative number's complement is shifted instead.
template <int n>
QSL_INLINE i64x2 shift_right_arithmetic(i64x2 a) {
  const i64x2 sign = signs(a);
  return shift_right<n>(a ^ sign) ^ sign;
}
QSL_INLINE i64x2 shift_right_arithmetic(i64x2 a, int n) {
  const i64x2 sign = signs(a);
  return shift_right(a ^ sign, n) ^ sign;
}

QSL_INLINE m64x2 operator==(i64x2 a, i64x2 b) {
#if defined(__SSE4_1__)
  return {i64x2{_mm_cmpeq_epi64(a.v, b.v)}.floats().v};
#else
  const __m128i equal = _mm_cmpeq_epi32(a.v, b.v);
  const __m128i other = _mm_shuffle_epi32(equal, _MM_SHUFFLE(2, 3, 0, 1));
  return {i64x2{_mm_and_si128(equal, other)}.floats().v};
#endif
}
QSL_INLINE m64x2 operator!=(i64x2 a, i64x2 b) { return ~(a == b); }
QSL_INLINE m64x2 operator<(i64x2 a, i64x2 b) {
#if defined(__SSE4_2__)
  return {i64x2{_mm_cmpgt_epi64(b.v, a.v)}.floats().v};
#else
  // The upper halves decide; where they are equal, the difference's upper half is the borrow of the
  // lower ones.
  const __m128i borrow = _mm_and_si128(_mm_cmpeq_epi32(a.v, b.v), _mm_sub_epi64(a.v, b.v));
  const __m128i less = _mm_or_si128(_mm_cmpgt_epi32(b.v, a.v), borrow);
  return {signs({less}).floats().v};
#endif
}
#endif

QSL_INLINE std::int64_t first_lane(i64x2 a) {
  std::int64_t x;
  _mm_storel_epi64(reinterpret_cast<__m128i*>(&x), a.v);
  return x;
}
// a0 + a1, modulo 2^64
QSL_INLINE std::int64_t sum_lanes(i64x2 a) {
  return first_lane(a + i64x2{_mm_unpackhi_epi64(a.v, a.v)});
}

}  // namespace qsl::QSL_LEVEL
