// Loads and stores of the first scalars of a register, their number being known at compile time or,
// where registers have masks, at run time. Nothing beyond is read or written.
#pragma once

#include "simd/inline.h"

namespace qsl::QSL_LEVEL {

// A register of 32 bytes by halves and quarters: masked stores are slow on some processors.
template <int rows>
QSL_INLINE f64x4 load_part(const double* p) {
  static_assert(rows >= 1 && rows <= 3);
  if constexpr (rows == 1) {
    return {_mm256_zextpd128_pd256(f64::load(p).v)};
  } else if constexpr (rows == 2) {
    return {_mm256_zextpd128_pd256(f64x2::load(p).v)};
  } else {
    return {_mm256_insertf128_pd(_mm256_zextpd128_pd256(f64x2::load(p).v), f64::load(p + 2).v, 1)};
  }
}
template <int rows>
QSL_INLINE void store_part(f64x4 x, double* p) {
  if constexpr (rows == 1) f64{lower_half(x).v}.store(p);
  if constexpr (rows > 1) lower_half(x).store(p);
  if constexpr (rows == 3) f64{upper_half(x).v}.store(p + 2);
}
// Single precision comes in complex numbers, pairs of floats.
template <int rows>
QSL_INLINE f32x8 load_part(const float* p) {
  static_assert(rows == 2 || rows == 4 || rows == 6);
  if constexpr (rows == 2) {
    return {_mm256_zextps128_ps256(f32x4::load_pair(p).v)};
  } else if constexpr (rows == 4) {
    return {_mm256_zextps128_ps256(f32x4::load(p).v)};
  } else {
    return {_mm256_insertf128_ps(_mm256_zextps128_ps256(f32x4::load(p).v),
                                 f32x4::load_pair(p + 4).v, 1)};
  }
}
template <int rows>
QSL_INLINE void store_part(f32x8 x, float* p) {
  if constexpr (rows == 2) lower_half(x).store_pair(p);
  if constexpr (rows > 2) lower_half(x).store(p);
  if constexpr (rows == 6) upper_half(x).store_pair(p + 4);
}

template <class Vector, int rows>
QSL_INLINE Vector load_rows(const typename Vector::Element* p, Index<rows>) {
  if constexpr (rows == Vector::lanes) {
    return Vector::load(p);
  } else {
    return load_part<rows>(p);
  }
}
template <class Vector>
QSL_INLINE Vector load_rows(const typename Vector::Element* p, int rows) {
  return Vector::load_first(p, rows);
}

template <class Vector, int rows>
QSL_INLINE void store_rows(Vector x, typename Vector::Element* p, Index<rows>) {
  if constexpr (rows == Vector::lanes) {
    x.store(p);
  } else {
    store_part<rows>(x, p);
  }
}
template <class Vector>
QSL_INLINE void store_rows(Vector x, typename Vector::Element* p, int rows) {
  x.store_first(p, rows);
}

}  // namespace qsl::QSL_LEVEL
