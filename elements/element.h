// The types of elements that kernels work on. A complex element is two scalars, its real part and
// its imaginary part; a real one is one.
#pragma once

#include "include/qsl/types.h"
#include "simd/inline.h"

namespace qsl::QSL_LEVEL {

struct Real {
  using Element = double;
  using Scalar = double;
  static constexpr int parts = 1;
};

struct SingleComplex {
  using Element = complex_float;
  using Scalar = float;
  static constexpr int parts = 2;
};

struct DoubleComplex {
  using Element = complex_double;
  using Scalar = double;
  static constexpr int parts = 2;
};

// The numbers 1 and -1 of each type, as routines take factors: by address.
template <class Type>
inline constexpr typename Type::Scalar one[2] = {1, 0};
template <class Type>
inline constexpr typename Type::Scalar minus_one[2] = {-1, 0};

// An array of elements as the scalars that it consists of.
QSL_INLINE double* scalars(double* x) { return x; }
QSL_INLINE const double* scalars(const double* x) { return x; }
QSL_INLINE double* scalars(complex_double* x) { return reinterpret_cast<double*>(x); }
QSL_INLINE const double* scalars(const complex_double* x) {
  return reinterpret_cast<const double*>(x);
}
QSL_INLINE float* scalars(complex_float* x) { return reinterpret_cast<float*>(x); }
QSL_INLINE const float* scalars(const complex_float* x) {
  return reinterpret_cast<const float*>(x);
}

}  // namespace qsl::QSL_LEVEL
