// The element types of the level-3 kernels, seen as one or two scalars.
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

}  // namespace qsl::QSL_LEVEL
