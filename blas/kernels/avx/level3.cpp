// Matrix products, level avx: AVX.
#include "blas/level3/routines.h"

#include "simd/avx.h"

#include "blas/level3/kernels/fixed_depth.h"

namespace qsl::avx {

static constexpr FixedDepth sizes = {4, 4, 4, 106};

// Packed A, mc by kc, takes 318 KiB of the second-level cache; a block of packed B 20 KiB of the
// first-level one, in every element type.
struct DgemmShape {
  using Type = Real;
  static constexpr const char* name = "DGEMM";
  static constexpr BlockNumbers blocks = {384, 24, 24};

  static void multiply(const MatrixDescriptor& a, const MatrixDescriptor& b,
                       const MatrixDescriptor& c, const void* alpha, const void* beta) {
    fixed_depth_product<DgemmShape, BroadcastTile<f64x4, 4, 4, 1, 1>>(sizes, a, b, c, alpha, beta);
  }
};

struct CgemmShape {
  using Type = SingleComplex;
  static constexpr const char* name = "CGEMM";
  static constexpr BlockNumbers blocks = {384, 24, 24};

  static void multiply(const MatrixDescriptor& a, const MatrixDescriptor& b,
                       const MatrixDescriptor& c, const void* alpha, const void* beta) {
    fixed_depth_product<CgemmShape, BroadcastTile<f32x8, 4, 4, 1, 1>>(sizes, a, b, c, alpha, beta);
  }
};

struct ZgemmShape {
  using Type = DoubleComplex;
  static constexpr const char* name = "ZGEMM";
  static constexpr BlockNumbers blocks = {192, 12, 12};

  static void multiply(const MatrixDescriptor& a, const MatrixDescriptor& b,
                       const MatrixDescriptor& c, const void* alpha, const void* beta) {
    fixed_depth_product<ZgemmShape, BroadcastTile<f64x4, 4, 4, 1, 1>>(sizes, a, b, c, alpha, beta);
  }
};

}  // namespace qsl::avx

#define QSL_GEMM fixed_depth_gemm
#include "blas/level3/kernels/variants.inl"
