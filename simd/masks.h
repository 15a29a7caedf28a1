// Masks: which lanes of a vector a comparison has chosen. m64x2 belongs to vectors of two lanes of
// 64 bits, of whatever kind, and so on. From AVX-512 on a mask is a bit a lane in a mask register;
// below, it is a vector with all bits of a chosen lane set.
#pragma once

#include "simd/scalars.h"

namespace qsl::QSL_LEVEL {

#if defined(__AVX512F__)

template <int lane_bits, int lanes_, class Bits>
struct BitMask {
  static constexpr int lanes = lanes_;
  static constexpr Bits every_lane = static_cast<Bits>((1 << lanes) - 1);

  Bits v;  // no bit beyond the lanes

  // The first k lanes, 0 <= k <= lanes.
  QSL_INLINE static BitMask first(int k) { return {static_cast<Bits>((1 << k) - 1)}; }

  QSL_INLINE friend BitMask operator&(BitMask a, BitMask b) {
    return {static_cast<Bits>(a.v & b.v)};
  }
  QSL_INLINE friend BitMask operator|(BitMask a, BitMask b) {
    return {static_cast<Bits>(a.v | b.v)};
  }
  QSL_INLINE friend BitMask operator^(BitMask a, BitMask b) {
    return {static_cast<Bits>(a.v ^ b.v)};
  }
  QSL_INLINE friend BitMask operator~(BitMask a) { return {static_cast<Bits>(a.v ^ every_lane)}; }
  // a, but not b
  QSL_INLINE friend BitMask and_not(BitMask a, BitMask b) {
    return {static_cast<Bits>(a.v & ~b.v)};
  }
  // One bit for each chosen lane.
  QSL_INLINE friend int to_bits(BitMask a) { return a.v; }
};

using m64x2 = BitMask<64, 2, __mmask8>;
using m64x4 = BitMask<64, 4, __mmask8>;
using m64x8 = BitMask<64, 8, __mmask8>;
using m32x4 = BitMask<32, 4, __mmask8>;
using m32x8 = BitMask<32, 8, __mmask8>;
using m32x16 = BitMask<32, 16, __mmask16>;

#endif

// k bytes of ones, 0 <= k <= 8, to be widened to lanes. Made in registers, since the address of a
// table costs position-independent code more than the mask. (In two steps: an emulator that the
// tests run on takes a shift by all 64 bits for none.)
QSL_INLINE __m128i first_bytes(int k) {
  const __m128i zero = _mm_setzero_si128();
  const __m128i half_of_bits = _mm_cvtsi32_si128(4 * (8 - k));
  return _mm_srl_epi64(_mm_srl_epi64(_mm_cmpeq_epi8(zero, zero), half_of_bits), half_of_bits);
}
// The first bytes, each in all bytes of a lane.
QSL_INLINE __m128i widen_to_32_bits(__m128i bytes) {
#if defined(__SSE4_1__)
  return _mm_cvtepi8_epi32(bytes);
#else
  const __m128i words = _mm_unpacklo_epi8(bytes, bytes);
  return _mm_unpacklo_epi16(words, words);
#endif
}
QSL_INLINE __m128i widen_to_64_bits(__m128i bytes) {
#if defined(__SSE4_1__)
  return _mm_cvtepi8_epi64(bytes);
#else
  const __m128i lanes = widen_to_32_bits(bytes);
  return _mm_unpacklo_epi32(lanes, lanes);
#endif
}

#if !defined(__AVX512F__)

struct m64x2 {
  static constexpr int lanes = 2;
  __m128d v;

  QSL_INLINE static m64x2 first(int k) {
    return {_mm_castsi128_pd(widen_to_64_bits(first_bytes(k)))};
  }
};
QSL_INLINE m64x2 operator&(m64x2 a, m64x2 b) { return {_mm_and_pd(a.v, b.v)}; }
QSL_INLINE m64x2 operator|(m64x2 a, m64x2 b) { return {_mm_or_pd(a.v, b.v)}; }
QSL_INLINE m64x2 operator^(m64x2 a, m64x2 b) { return {_mm_xor_pd(a.v, b.v)}; }
QSL_INLINE m64x2 operator~(m64x2 a) {
  return {_mm_xor_pd(a.v, _mm_castsi128_pd(_mm_set1_epi32(-1)))};
}
QSL_INLINE m64x2 and_not(m64x2 a, m64x2 b) { return {_mm_andnot_pd(b.v, a.v)}; }
QSL_INLINE int to_bits(m64x2 a) { return _mm_movemask_pd(a.v); }

struct m32x4 {
  static constexpr int lanes = 4;
  __m128 v;

  QSL_INLINE static m32x4 first(int k) {
    return {_mm_castsi128_ps(widen_to_32_bits(first_bytes(k)))};
  }
};
QSL_INLINE m32x4 operator&(m32x4 a, m32x4 b) { return {_mm_and_ps(a.v, b.v)}; }
QSL_INLINE m32x4 operator|(m32x4 a, m32x4 b) { return {_mm_or_ps(a.v, b.v)}; }
QSL_INLINE m32x4 operator^(m32x4 a, m32x4 b) { return {_mm_xor_ps(a.v, b.v)}; }
QSL_INLINE m32x4 operator~(m32x4 a) {
  return {_mm_xor_ps(a.v, _mm_castsi128_ps(_mm_set1_epi32(-1)))};
}
QSL_INLINE m32x4 and_not(m32x4 a, m32x4 b) { return {_mm_andnot_ps(b.v, a.v)}; }
QSL_INLINE int to_bits(m32x4 a) { return _mm_movemask_ps(a.v); }

#if defined(__AVX__)

struct m64x4 {
  static constexpr int lanes = 4;
  __m256d v;

  QSL_INLINE static m64x4 first(int k) {
    const __m128i bytes = first_bytes(k);
#if defined(__AVX2__)
    return {_mm256_castsi256_pd(_mm256_cvtepi8_epi64(bytes))};
#else
    const __m128d lower = _mm_castsi128_pd(widen_to_64_bits(bytes));
    const __m128d upper = _mm_castsi128_pd(widen_to_64_bits(_mm_srli_epi64(bytes, 16)));
    return {_mm256_insertf128_pd(_mm256_castpd128_pd256(lower), upper, 1)};
#endif
  }
};
QSL_INLINE m64x4 operator&(m64x4 a, m64x4 b) { return {_mm256_and_pd(a.v, b.v)}; }
QSL_INLINE m64x4 operator|(m64x4 a, m64x4 b) { return {_mm256_or_pd(a.v, b.v)}; }
QSL_INLINE m64x4 operator^(m64x4 a, m64x4 b) { return {_mm256_xor_pd(a.v, b.v)}; }
QSL_INLINE m64x4 operator~(m64x4 a) {
  return {_mm256_xor_pd(a.v, _mm256_castsi256_pd(_mm256_set1_epi32(-1)))};
}
QSL_INLINE m64x4 and_not(m64x4 a, m64x4 b) { return {_mm256_andnot_pd(b.v, a.v)}; }
QSL_INLINE int to_bits(m64x4 a) { return _mm256_movemask_pd(a.v); }

struct m32x8 {
  static constexpr int lanes = 8;
  __m256 v;

  QSL_INLINE static m32x8 first(int k) {
    const __m128i bytes = first_bytes(k);
#if defined(__AVX2__)
    return {_mm256_castsi256_ps(_mm256_cvtepi8_epi32(bytes))};
#else
    const __m128 lower = _mm_castsi128_ps(widen_to_32_bits(bytes));
    const __m128 upper = _mm_castsi128_ps(widen_to_32_bits(_mm_srli_epi64(bytes, 32)));
    return {_mm256_insertf128_ps(_mm256_castps128_ps256(lower), upper, 1)};
#endif
  }
};
QSL_INLINE m32x8 operator&(m32x8 a, m32x8 b) { return {_mm256_and_ps(a.v, b.v)}; }
QSL_INLINE m32x8 operator|(m32x8 a, m32x8 b) { return {_mm256_or_ps(a.v, b.v)}; }
QSL_INLINE m32x8 operator^(m32x8 a, m32x8 b) { return {_mm256_xor_ps(a.v, b.v)}; }
QSL_INLINE m32x8 operator~(m32x8 a) {
  return {_mm256_xor_ps(a.v, _mm256_castsi256_ps(_mm256_set1_epi32(-1)))};
}
QSL_INLINE m32x8 and_not(m32x8 a, m32x8 b) { return {_mm256_andnot_ps(b.v, a.v)}; }
QSL_INLINE int to_bits(m32x8 a) { return _mm256_movemask_ps(a.v); }

#endif
#endif

#if defined(__AVX__)
// a where the top bit of the mask's lane is set, b elsewhere. (GCC 12 turns the intrinsics into a
// comparison of integers, which AVX does lane by lane with branches; measured: 2.6 times the time
// of a factorisation of order 16.)
QSL_INLINE __m128d blend_by_top_bits(__m128d mask, __m128d a, __m128d b) {
  __m128d result;
  asm("vblendvpd %3, %2, %1, %0" : "=x"(result) : "x"(b), "x"(a), "x"(mask));
  return result;
}
QSL_INLINE __m128 blend_by_top_bits(__m128 mask, __m128 a, __m128 b) {
  __m128 result;
  asm("vblendvps %3, %2, %1, %0" : "=x"(result) : "x"(b), "x"(a), "x"(mask));
  return result;
}
QSL_INLINE __m256d blend_by_top_bits(__m256d mask, __m256d a, __m256d b) {
  __m256d result;
  asm("vblendvpd %3, %2, %1, %0" : "=x"(result) : "x"(b), "x"(a), "x"(mask));
  return result;
}
QSL_INLINE __m256 blend_by_top_bits(__m256 mask, __m256 a, __m256 b) {
  __m256 result;
  asm("vblendvps %3, %2, %1, %0" : "=x"(result) : "x"(b), "x"(a), "x"(mask));
  return result;
}
#endif

template <class Mask>
concept LaneMask = requires(Mask mask) {
  to_bits(mask);
};

template <LaneMask Mask>
QSL_INLINE bool any(Mask a) {
  return to_bits(a) != 0;
}
template <LaneMask Mask>
QSL_INLINE bool none(Mask a) {
  return to_bits(a) == 0;
}
template <LaneMask Mask>
QSL_INLINE bool all(Mask a) {
  return to_bits(a) == (1 << Mask::lanes) - 1;
}

}  // namespace qsl::QSL_LEVEL
