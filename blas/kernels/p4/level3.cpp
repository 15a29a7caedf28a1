// Matrix products, level p4: SSE2.
#include "blas/level3/routines.h"

#include "simd/p4.h"

#include "blas/level3/kernels/ladder.h"

namespace qsl::p4 {

// There is no broadcasting load: packed B repeats each value.
struct DgemmShape {
  using Type = Real;
  using Tile = BroadcastTile<f64x2, 4, 4, 4, 2>;
  static constexpr const char* name = "DGEMM";
};

struct CgemmShape {
  using Type = SingleComplex;
  using Tile = BroadcastTile<f32x4, 4, 4, 4, 4>;
  static constexpr const char* name = "CGEMM";
};

struct ZgemmShape {
  using Type = DoubleComplex;
  using Tile = BroadcastTile<f64x2, 4, 4, 4, 2>;
  static constexpr const char* name = "ZGEMM";
};

}  // namespace qsl::p4

#define QSL_GEMM ladder_gemm
#include "blas/level3/kernels/variants.inl"
