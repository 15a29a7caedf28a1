// The vector types of the level that is being compiled: f64x2, f32x4, i64x2 and i32x4 always, those
// of 256 bits with AVX, those of 512 bits with AVX-512. simd/README.md lists the operations.
#pragma once

#include "simd/f32x4.h"
#include "simd/f64x2.h"
#if defined(__AVX__)
#include "simd/f32x8.h"
#include "simd/f64x4.h"
#endif
#if defined(__AVX512F__)
#include "simd/f32x16.h"
#include "simd/f64x8.h"
#endif

#include "simd/conversions.h"
#include "simd/gathers.h"

namespace qsl::QSL_LEVEL {

// The types of one kind of element: as wide as the level has them, up to so many bits.
template <class Bits128, class Bits256, class Bits512>
struct Widths {
  using Within128 = Bits128;
#if defined(__AVX__)
  using Within256 = Bits256;
#else
  using Within256 = Bits128;
#endif
#if defined(__AVX512F__)
  using Widest = Bits512;
#else
  using Widest = Within256;
#endif
};

struct f64x4;
struct f64x8;
struct f32x8;
struct f32x16;
struct i64x4;
struct i64x8;
struct i32x8;
struct i32x16;

template <class Element>
struct VectorsOf;
template <>
struct VectorsOf<double> : Widths<f64x2, f64x4, f64x8> {};
template <>
struct VectorsOf<float> : Widths<f32x4, f32x8, f32x16> {};
template <>
struct VectorsOf<std::int64_t> : Widths<i64x2, i64x4, i64x8> {};
template <>
struct VectorsOf<std::int32_t> : Widths<i32x4, i32x8, i32x16> {};

template <class Element>
using Within128 = typename VectorsOf<Element>::Within128;
template <class Element>
using Within256 = typename VectorsOf<Element>::Within256;
template <class Element>
using Widest = typename VectorsOf<Element>::Widest;

}  // namespace qsl::QSL_LEVEL
