// Level-1 routines, level cnr: the reproducible bodies of the two lowest levels, SSE2. No alignment
// is asked for or tested: the order of a summation depends on the count alone.
#include "blas/level1/routines.h"

#include "simd/cnr.h"

#include "blas/level1/kernels/copy.h"
#include "blas/level1/kernels/daxpy.h"
#include "blas/level1/kernels/dot.h"
#include "blas/level1/kernels/zaxpy.h"

namespace qsl::cnr {

struct DotShape {
  using Vector = f64x2;
  static constexpr int block = 16;
  static constexpr auto unit_stride = both_strides_one_or_minus_one;
  static constexpr auto alignment = DotAlignment::none;
  static constexpr auto remainder = DotRemainder::halving;
  static constexpr auto strided = DotStrided::in_order;
};

struct ZaxpyShape {
  using Vector = f64x2;
  static constexpr int block = 4;
  static constexpr int minimum = 1;
  static constexpr auto remainder = ZaxpyRemainder::singles;
  static constexpr auto alignment = ZaxpyAlignment::none;
  using Access = UnalignedAccess;
  static constexpr int strided_block = 1;
};

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

}  // namespace qsl::cnr

#include "blas/level1/kernels/variants.inl"
