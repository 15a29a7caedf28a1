// Level-1 routines, level p4m3: SSE4.2.
#include "blas/level1/routines.h"

#include "simd/level.h"

#include "blas/level1/kernels/copy.h"
#include "blas/level1/kernels/daxpy.h"
#include "blas/level1/kernels/dot.h"
#include "blas/level1/kernels/zaxpy.h"

namespace qsl::p4m3 {

struct DotShape {
  using Vector = f64x2;
  static constexpr int block = 32;
  static constexpr auto unit_stride = both_strides_one;
  using Alignment = AnyAlignment;
  using Remainder = PairsRemainder;
  using Strided = StridedPairs;
};

struct ZaxpyShape {
  using Vector = f64x2;
  static constexpr int block = 16;
  static constexpr int minimum = 1;
  static constexpr auto remainder = ZaxpyRemainder::pairs;
  static constexpr auto alignment = ZaxpyAlignment::none;
  using Access = UnalignedAccess;
  static constexpr int strided_block = 2;
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

}  // namespace qsl::p4m3

#include "blas/level1/kernels/variants.inl"
