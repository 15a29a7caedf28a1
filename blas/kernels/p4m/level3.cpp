// Matrix products, level p4m: SSSE3.
#include "blas/level3/routines.h"

#include "simd/p4m.h"

#include "blas/level3/kernels/fixed_depth.h"
#include "runtime/dispatch/cpu_type.h"

namespace qsl::p4m {

// Processors with SSE4.1 come with a shorter strip of B.
static constexpr FixedDepth sizes = {2, 2, 2, 126};
static constexpr FixedDepth sizes_sse41 = {2, 4, 4, 126};

// Packed A, mc by kc, takes 315 KiB of the second-level cache, a block of packed B 16 KiB of the
// first-level one. There is no broadcasting load of a float: packed B repeats each one.
struct DgemmShape {
  using Type = Real;
  static constexpr const char* name = "DGEMM";
  static constexpr BlockNumbers blocks = {320, 16, 16};

  static void multiply(const MatrixDescriptor& a, const MatrixDescriptor& b,
                       const MatrixDescriptor& c, const void* alpha, const void* beta) {
    if (qsl_cpu_has_sse41_cbwr() != 0) {
      fixed_depth_product<DgemmShape, BroadcastTile<f64x2, 4, 4, 4, 1>>(sizes_sse41, a, b, c, alpha,
                                                                        beta);
    } else {
      fixed_depth_product<DgemmShape, BroadcastTile<f64x2, 4, 2, 4, 1, 8>>(sizes, a, b, c, alpha,
                                                                           beta);
    }
  }
};

struct CgemmShape {
  using Type = SingleComplex;
  static constexpr const char* name = "CGEMM";
  static constexpr BlockNumbers blocks = {320, 4, 4};

  static void multiply(const MatrixDescriptor& a, const MatrixDescriptor& b,
                       const MatrixDescriptor& c, const void* alpha, const void* beta) {
    if (qsl_cpu_has_sse41_cbwr() != 0) {
      fixed_depth_product<CgemmShape, BroadcastTile<f32x4, 4, 4, 4, 4>>(sizes_sse41, a, b, c, alpha,
                                                                        beta);
    } else {
      fixed_depth_product<CgemmShape, BroadcastTile<f32x4, 4, 2, 4, 4, 8>>(sizes, a, b, c, alpha,
                                                                           beta);
    }
  }
};

struct ZgemmShape {
  using Type = DoubleComplex;
  static constexpr const char* name = "ZGEMM";
  static constexpr BlockNumbers blocks = {160, 8, 8};

  static void multiply(const MatrixDescriptor& a, const MatrixDescriptor& b,
                       const MatrixDescriptor& c, const void* alpha, const void* beta) {
    if (qsl_cpu_has_sse41_cbwr() != 0) {
      fixed_depth_product<ZgemmShape, BroadcastTile<f64x2, 4, 4, 4, 1>>(sizes_sse41, a, b, c, alpha,
                                                                        beta);
    } else {
      fixed_depth_product<ZgemmShape, BroadcastTile<f64x2, 4, 2, 4, 1, 8>>(sizes, a, b, c, alpha,
                                                                           beta);
    }
  }
};

}  // namespace qsl::p4m

#define QSL_GEMM fixed_depth_gemm
#include "blas/level3/kernels/variants.inl"
