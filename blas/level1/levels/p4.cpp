// Level-1 routines, level p4: SSE2.
#include "blas/level1/routines.h"

#include "simd/level.h"

#include "blas/level1/kernels/copy.h"
#include "blas/level1/kernels/daxpy.h"
#include "blas/level1/kernels/dot.h"
#include "blas/level1/kernels/zaxpy.h"

namespace qsl::p4 {

struct DotShape {
  using Vector = f64x2;
  static constexpr int block = 16;
  static constexpr auto unit_stride = both_strides_one_or_minus_one;
  using Alignment = SamePhase;
  using Remainder = HalvingRemainder;
  using Strided = StridedInOrder;
};

struct ZaxpyShape {
  using Vector = f64x2;
  static constexpr int block = 4;
  static constexpr int minimum = 1;
  static constexpr auto remainder = ZaxpyRemainder::singles;
  static constexpr auto alignment = ZaxpyAlignment::none;
  using Access = HalvesAccess;
  static constexpr int strided_block = 1;
};

using ZaxpyBody = ZaxpyOf<ZaxpyShape>;

struct DaxpyShape {
  using Vector = f64x2;
  static constexpr int block = 4;
  static constexpr int minimum = 4;
  static constexpr int short_vector = 48;
};

struct DcopyShape {
  using Vector = f64x2;
  static constexpr int block = 16;
  static constexpr unsigned string_bytes = 15000;
};

struct ZcopyShape {
  static constexpr int strided_block = 2;
};

}  // namespace qsl::p4

#include "blas/level1/kernels/variants.inl"
