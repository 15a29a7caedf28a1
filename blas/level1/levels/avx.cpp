// Level-1 routines, level avx: AVX. The dot product stays at 128 bits, the
// updates and copies use 256.
#include "blas/level1/routines.h"

#include "simd/level.h"

#include "blas/level1/kernels/copy.h"
#include "blas/level1/kernels/daxpy.h"
#include "blas/level1/kernels/dot.h"
#include "blas/level1/kernels/zaxpy.h"

namespace qsl::avx {

struct DotShape {
  using Vector = f64x2;
  static constexpr int block = 32;
  static constexpr auto unit_stride = both_strides_one;
  using Alignment = AnyAlignment;
  using Remainder = PairsRemainder;
  using Strided = StridedPairs;
};

struct ZaxpyShape {
  using Vector = f64x4;
  static constexpr int block = 16;
  static constexpr int minimum = 1;
  static constexpr auto remainder = ZaxpyRemainder::halving;
  static constexpr auto alignment = ZaxpyAlignment::same_phase_prefetched;
  using Access = UnalignedAccess;
  static constexpr int strided_block = 1;
};

using ZaxpyBody = ZaxpyOf<ZaxpyShape>;

struct DaxpyShape {
  using Vector = f64x4;
  static constexpr int block = 4;
  static constexpr int minimum = 4;
  static constexpr int short_vector = 48;
};

struct DcopyShape {
  using Vector = f64x4;
  static constexpr int block = 16;
  static constexpr unsigned string_bytes = 15000;
};

struct ZcopyShape {
  static constexpr int strided_block = 8;
};

}  // namespace qsl::avx

#include "blas/level1/kernels/variants.inl"
