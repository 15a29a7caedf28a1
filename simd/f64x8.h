// Eight doubles in a 512-bit register.
#pragma once

#include "simd/f64x4.h"

namespace qsl::QSL_LEVEL {

struct i32x8;
struct i64x8;

struct f64x8 {
  using Element = double;
  using Mask = m64x8;
  using Indices = i32x8;
  using Integers = i64x8;
  static constexpr int lanes = 8;
  static constexpr int bytes = 64;

  __m512d v;

  QSL_INLINE static f64x8 zero() { return {_mm512_setzero_pd()}; }
  QSL_INLINE static f64x8 constant(double x) { return {_mm512_set1_pd(x)}; }
  QSL_INLINE static f64x8 load(const double* p) { return {_mm512_loadu_pd(p)}; }
  QSL_INLINE static f64x8 load_aligned(const double* p) { return {_mm512_load_pd(p)}; }
  QSL_INLINE static f64x8 gather(const double* base, i32x8 indices);
  QSL_INLINE static f64x8 gather_first(const double* base, i32x8 indices, int k);
  QSL_INLINE static i32x8 offsets(int inc);
  QSL_INLINE static f64x8 broadcast(f64 x) { return {_mm512_set1_pd(x.value())}; }
  QSL_INLINE static f64x8 broadcast_from(const double* p) { return broadcast(f64::load(p)); }
  QSL_INLINE static f64x8 broadcast_pair(const double* p) {
    return {_mm512_broadcast_f64x2(_mm_loadu_pd(p))};
  }
  QSL_INLINE static f64x8 lower(f64 x) { return lower(f64x2::lower(x)); }
  QSL_INLINE static f64x8 lower(f64x2 x) { return {_mm512_zextpd128_pd512(x.v)}; }

  QSL_INLINE void store(double* p) const { _mm512_storeu_pd(p, v); }
  QSL_INLINE void store_aligned(double* p) const { _mm512_store_pd(p, v); }
  QSL_INLINE void store_streaming(double* p) const { _mm512_stream_pd(p, v); }

  QSL_INLINE static f64x8 load_first(const double* p, int k) {
    return {_mm512_maskz_loadu_pd(Mask::first(k).v, p)};
  }
  QSL_INLINE void store_first(double* p, int k) const {
    _mm512_mask_storeu_pd(p, Mask::first(k).v, v);
  }
  QSL_INLINE static f64x8 load_rest(const double* p, int k) { return load_first(p, k); }
  QSL_INLINE void store_rest(double* p, int k) const { store_first(p, k); }
};

QSL_INLINE f64x8 operator+(f64x8 a, f64x8 b) { return {_mm512_add_pd(a.v, b.v)}; }
QSL_INLINE f64x8 operator-(f64x8 a, f64x8 b) { return {_mm512_sub_pd(a.v, b.v)}; }
QSL_INLINE f64x8 operator*(f64x8 a, f64x8 b) { return {_mm512_mul_pd(a.v, b.v)}; }
QSL_INLINE f64x8 operator/(f64x8 a, f64x8 b) { return {_mm512_div_pd(a.v, b.v)}; }

QSL_INLINE f64x8 operator&(f64x8 a, f64x8 b) { return {_mm512_and_pd(a.v, b.v)}; }
QSL_INLINE f64x8 operator|(f64x8 a, f64x8 b) { return {_mm512_or_pd(a.v, b.v)}; }
QSL_INLINE f64x8 operator^(f64x8 a, f64x8 b) { return {_mm512_xor_pd(a.v, b.v)}; }
QSL_INLINE f64x8 and_not(f64x8 a, f64x8 b) { return {_mm512_andnot_pd(b.v, a.v)}; }

QSL_INLINE f64x8 mul_add(f64x8 a, f64x8 b, f64x8 c) { return {_mm512_fmadd_pd(a.v, b.v, c.v)}; }
QSL_INLINE f64x8 mul_sub(f64x8 a, f64x8 b, f64x8 c) { return {_mm512_fmsub_pd(a.v, b.v, c.v)}; }
QSL_INLINE f64x8 neg_mul_add(f64x8 a, f64x8 b, f64x8 c) {
  return {_mm512_fnmadd_pd(a.v, b.v, c.v)};
}
QSL_INLINE f64x8 mul_sub_add(f64x8 a, f64x8 b, f64x8 c) {
  return {_mm512_fmaddsub_pd(a.v, b.v, c.v)};
}
QSL_INLINE f64x8 mul_add_sub(f64x8 a, f64x8 b, f64x8 c) {
  return {_mm512_fmsubadd_pd(a.v, b.v, c.v)};
}
// The first k lanes of a * b + c; the others keep the value of c.
QSL_INLINE f64x8 mul_add_first(f64x8 a, f64x8 b, f64x8 c, int k) {
  return {_mm512_mask3_fmadd_pd(a.v, b.v, c.v, m64x8::first(k).v)};
}

QSL_INLINE m64x8 operator==(f64x8 a, f64x8 b) { return {_mm512_cmp_pd_mask(a.v, b.v, _CMP_EQ_OQ)}; }
QSL_INLINE m64x8 operator!=(f64x8 a, f64x8 b) {
  return {_mm512_cmp_pd_mask(a.v, b.v, _CMP_NEQ_UQ)};
}
QSL_INLINE m64x8 operator<(f64x8 a, f64x8 b) { return {_mm512_cmp_pd_mask(a.v, b.v, _CMP_LT_OS)}; }
QSL_INLINE m64x8 operator<=(f64x8 a, f64x8 b) { return {_mm512_cmp_pd_mask(a.v, b.v, _CMP_LE_OS)}; }
QSL_INLINE m64x8 unordered(f64x8 a, f64x8 b) {
  return {_mm512_cmp_pd_mask(a.v, b.v, _CMP_UNORD_Q)};
}
QSL_INLINE f64x8 select(m64x8 mask, f64x8 a, f64x8 b) {
  return {_mm512_mask_blend_pd(mask.v, b.v, a.v)};
}
QSL_INLINE f64x8 zero_unless(m64x8 mask, f64x8 a) { return {_mm512_maskz_mov_pd(mask.v, a.v)}; }
QSL_INLINE f64x8 select_by_lanes(f64x8 chosen, f64x8 a, f64x8 b) {
  return {_mm512_mask_blend_pd(_mm512_movepi64_mask(_mm512_castpd_si512(chosen.v)), b.v, a.v)};
}
QSL_INLINE int equal_lanes(f64x8 a, f64x8 b) { return to_bits(a == b); }
QSL_INLINE int nan_lanes(f64x8 a) { return to_bits(unordered(a, a)); }

QSL_INLINE f64x8 greater_of(f64x8 a, f64x8 b) { return {_mm512_max_pd(a.v, b.v)}; }
QSL_INLINE f64x8 lesser_of(f64x8 a, f64x8 b) { return {_mm512_min_pd(a.v, b.v)}; }
QSL_INLINE f64x8 square_root(f64x8 a) { return {_mm512_sqrt_pd(a.v)}; }
QSL_INLINE f64x8 round_to_nearest(f64x8 a) {
  return {_mm512_roundscale_pd(a.v, _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC)};
}

QSL_INLINE f64x8 dup_even(f64x8 a) { return {_mm512_movedup_pd(a.v)}; }
QSL_INLINE f64x8 dup_odd(f64x8 a) { return {_mm512_permute_pd(a.v, 0xff)}; }
template <int pair>
QSL_INLINE f64x8 broadcast_pair_of(f64x8 a) {
  return {_mm512_shuffle_f64x2(a.v, a.v, pair * 0x55)};
}
template <int lane>
QSL_INLINE f64x8 broadcast_lane(f64x8 a) {
  return broadcast_pair_of<lane / 2>({_mm512_permute_pd(a.v, lane % 2 == 0 ? 0x00 : 0xff)});
}
QSL_INLINE f64x8 swap_pairs(f64x8 a) { return {_mm512_permute_pd(a.v, 0x55)}; }
QSL_INLINE f64x8 reverse(f64x8 a) {
  return {_mm512_permute_pd(_mm512_shuffle_f64x2(a.v, a.v, _MM_SHUFFLE(0, 1, 2, 3)), 0x55)};
}
QSL_INLINE f64x8 unpack_lower(f64x8 a, f64x8 b) { return {_mm512_unpacklo_pd(a.v, b.v)}; }
QSL_INLINE f64x8 unpack_upper(f64x8 a, f64x8 b) { return {_mm512_unpackhi_pd(a.v, b.v)}; }
QSL_INLINE f64x8 interleave_lower(f64x8 a, f64x8 b) {
  const __m512i order = _mm512_set_epi64(11, 3, 10, 2, 9, 1, 8, 0);
  return {_mm512_permutex2var_pd(a.v, order, b.v)};
}
QSL_INLINE f64x8 interleave_upper(f64x8 a, f64x8 b) {
  const __m512i order = _mm512_set_epi64(15, 7, 14, 6, 13, 5, 12, 4);
  return {_mm512_permutex2var_pd(a.v, order, b.v)};
}
QSL_INLINE f64x8 even_lanes(f64x8 a, f64x8 b) {
  const __m512i order = _mm512_set_epi64(14, 12, 10, 8, 6, 4, 2, 0);
  return {_mm512_permutex2var_pd(a.v, order, b.v)};
}
QSL_INLINE f64x8 odd_lanes(f64x8 a, f64x8 b) {
  const __m512i order = _mm512_set_epi64(15, 13, 11, 9, 7, 5, 3, 1);
  return {_mm512_permutex2var_pd(a.v, order, b.v)};
}
QSL_INLINE f64x8 negate_even(f64x8 a) {
  return {_mm512_xor_pd(a.v, _mm512_broadcast_f64x2(_mm_set_pd(0.0, -0.0)))};
}
QSL_INLINE f64x8 negate_odd(f64x8 a) {
  return {_mm512_xor_pd(a.v, _mm512_broadcast_f64x2(_mm_set_pd(-0.0, 0.0)))};
}
// There is no such instruction of this width; a product with 1 is exact.
QSL_INLINE f64x8 add_sub(f64x8 a, f64x8 b) {
  return {_mm512_fmaddsub_pd(a.v, _mm512_set1_pd(1.0), b.v)};
}
template <int count>
QSL_INLINE f64x8 first_then(f64x8 a, f64x8 b) {
  return {_mm512_mask_blend_pd(static_cast<__mmask8>((1 << count) - 1), b.v, a.v)};
}

QSL_INLINE f64x2 first_pair(f64x8 a) { return {_mm512_castpd512_pd128(a.v)}; }

QSL_INLINE f64x8 combine(f64x4 lower, f64x4 upper) {
  return {_mm512_insertf64x4(_mm512_castpd256_pd512(lower.v), upper.v, 1)};
}
QSL_INLINE f64x4 lower_half(f64x8 a) { return {_mm512_castpd512_pd256(a.v)}; }
QSL_INLINE f64x4 upper_half(f64x8 a) { return {_mm512_extractf64x4_pd(a.v, 1)}; }

}  // namespace qsl::QSL_LEVEL
