// The vector types of the level that is being compiled, as its instruction sets have them:
//   all levels          f64x2, f32x4 (128 bits)
//   from avx upward     f64x4, f32x8 (256 bits)
//   avx512              f64x8, f32x16 (512 bits)
#pragma once

#if defined(__AVX512F__)
#include "simd/f32x16.h"
#include "simd/f64x8.h"
#elif defined(__AVX__)
#include "simd/f32x8.h"
#include "simd/f64x4.h"
#else
#include "simd/f32x4.h"
#include "simd/f64x2.h"
#endif

namespace qsl::QSL_LEVEL {

// The widest register of a level, and the widest of at most 256 bits.
template <class Scalar>
struct Registers;

template <>
struct Registers<double> {
#if defined(__AVX512F__)
  using Widest = f64x8;
#elif defined(__AVX__)
  using Widest = f64x4;
#else
  using Widest = f64x2;
#endif
#if defined(__AVX__)
  using Within256 = f64x4;
#else
  using Within256 = f64x2;
#endif
};

template <>
struct Registers<float> {
#if defined(__AVX512F__)
  using Widest = f32x16;
#elif defined(__AVX__)
  using Widest = f32x8;
#else
  using Widest = f32x4;
#endif
#if defined(__AVX__)
  using Within256 = f32x8;
#else
  using Within256 = f32x4;
#endif
};

template <class Scalar>
using Widest = typename Registers<Scalar>::Widest;
template <class Scalar>
using Within256 = typename Registers<Scalar>::Within256;

}  // namespace qsl::QSL_LEVEL
