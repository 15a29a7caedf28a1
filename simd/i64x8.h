// Eight 64-bit integers in a 512-bit register.
#pragma once

#include "simd/f64x8.h"
#include "simd/i64x4.h"

namespace qsl::QSL_LEVEL {

struct i64x8 {
  using Element = std::int64_t;
  using Mask = m64x8;
  using Floats = f64x8;
  static constexpr int lanes = 8;
  static constexpr int bytes = 64;

  __m512i v;

  QSL_INLINE static i64x8 zero() { return {_mm512_setzero_si512()}; }
  QSL_INLINE static i64x8 constant(std::int64_t x) { return {_mm512_set1_epi64(x)}; }
  QSL_INLINE static i64x8 broadcast(std::int64_t x) { return constant(x); }
  QSL_INLINE static i64x8 broadcast_from(const std::int64_t* p) {
    return of(Floats::broadcast_from(reinterpret_cast<const double*>(p)));
  }
  QSL_INLINE static i64x8 load(const std::int64_t* p) {
    return of(Floats::load(reinterpret_cast<const double*>(p)));
  }
  QSL_INLINE static i64x8 load_aligned(const std::int64_t* p) {
    return of(Floats::load_aligned(reinterpret_cast<const double*>(p)));
  }
  QSL_INLINE static i64x8 load_first(const std::int64_t* p, int k) {
    return of(Floats::load_first(reinterpret_cast<const double*>(p), k));
  }
  QSL_INLINE static i64x8 load_rest(const std::int64_t* p, int k) {
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
  QSL_INLINE static i64x8 of(f64x8 a) { return {_mm512_castpd_si512(a.v)}; }
  QSL_INLINE f64x8 floats() const { return {_mm512_castsi512_pd(v)}; }
};

QSL_INLINE i64x8 operator+(i64x8 a, i64x8 b) { return {_mm512_add_epi64(a.v, b.v)}; }
QSL_INLINE i64x8 operator-(i64x8 a, i64x8 b) { return {_mm512_sub_epi64(a.v, b.v)}; }

QSL_INLINE i64x8 operator&(i64x8 a, i64x8 b) { return {_mm512_and_si512(a.v, b.v)}; }
QSL_INLINE i64x8 operator|(i64x8 a, i64x8 b) { return {_mm512_or_si512(a.v, b.v)}; }
QSL_INLINE i64x8 operator^(i64x8 a, i64x8 b) { return {_mm512_xor_si512(a.v, b.v)}; }
QSL_INLINE i64x8 and_not(i64x8 a, i64x8 b) { return {_mm512_andnot_si512(b.v, a.v)}; }

template <int n>
QSL_INLINE i64x8 shift_left(i64x8 a) {
  return {_mm512_slli_epi64(a.v, n)};
}
template <int n>
QSL_INLINE i64x8 shift_right(i64x8 a) {
  return {_mm512_srli_epi64(a.v, n)};
}
QSL_INLINE i64x8 shift_left(i64x8 a, int n) {
  return {_mm512_sll_epi64(a.v, _mm_cvtsi32_si128(n))};
}
QSL_INLINE i64x8 shift_right(i64x8 a, int n) {
  return {_mm512_srl_epi64(a.v, _mm_cvtsi32_si128(n))};
}
template <int n>
QSL_INLINE i64x8 shift_right_arithmetic(i64x8 a) {
  return {_mm512_srai_epi64(a.v, n)};
}
QSL_INLINE i64x8 shift_right_arithmetic(i64x8 a, int n) {
  return {_mm512_sra_epi64(a.v, _mm_cvtsi32_si128(n))};
}

QSL_INLINE m64x8 operator==(i64x8 a, i64x8 b) { return {_mm512_cmpeq_epi64_mask(a.v, b.v)}; }
QSL_INLINE m64x8 operator!=(i64x8 a, i64x8 b) { return {_mm512_cmpneq_epi64_mask(a.v, b.v)}; }
QSL_INLINE m64x8 operator<(i64x8 a, i64x8 b) { return {_mm512_cmplt_epi64_mask(a.v, b.v)}; }
QSL_INLINE m64x8 operator<=(i64x8 a, i64x8 b) { return {_mm512_cmple_epi64_mask(a.v, b.v)}; }
QSL_INLINE i64x8 greater_of(i64x8 a, i64x8 b) { return {_mm512_max_epi64(a.v, b.v)}; }
QSL_INLINE i64x8 lesser_of(i64x8 a, i64x8 b) { return {_mm512_min_epi64(a.v, b.v)}; }

QSL_INLINE i64x8 combine(i64x4 lower, i64x4 upper) {
  return {_mm512_inserti64x4(_mm512_castsi256_si512(lower.v), upper.v, 1)};
}
QSL_INLINE i64x4 lower_half(i64x8 a) { return {_mm512_castsi512_si256(a.v)}; }
QSL_INLINE i64x4 upper_half(i64x8 a) { return {_mm512_extracti64x4_epi64(a.v, 1)}; }

}  // namespace qsl::QSL_LEVEL
