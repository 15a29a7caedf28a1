// Level-1 routines, level avx512: AVX-512 F, DQ, BW, VL.
#include "blas/level1/routines.h"

#include "simd/level.h"

#include "blas/level1/kernels/copy.h"
#include "blas/level1/kernels/daxpy.h"
#include "blas/level1/kernels/dot.h"
#include "blas/level1/kernels/zaxpy.h"

namespace qsl::avx512 {

struct DotShape {
  using Vector = f64x8;
  static constexpr int block = 32;
  static constexpr auto unit_stride = both_strides_one;
  using Alignment = AnyAlignment;
  using Remainder = MaskedRemainder;
  using Strided = StridedGathers;
};

struct ZaxpyShape {
  using Vector = f64x8;
  static constexpr int block = 4;
  static constexpr int minimum = 4;
  static constexpr auto remainder = ZaxpyRemainder::singles;
  static constexpr auto alignment = ZaxpyAlignment::none;
  using Access = UnalignedAccess;
  static constexpr int strided_block = 1;
};

using ZaxpyBody = ZaxpyOf<ZaxpyShape>;

struct DaxpyShape {
  using Vector = f64x8;
  static constexpr int block = 8;
  static constexpr int minimum = 8;
  static constexpr int short_vector = 48;
};

struct DcopyShape {
  using Vector = f64x8;
  static constexpr int block = 32;
  static constexpr unsigned string_bytes = 15000;
};

struct ZcopyShape {
  static constexpr int strided_block = 8;
};

}  // namespace qsl::avx512

#include "blas/level1/kernels/variants.inl"
