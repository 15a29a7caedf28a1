// Matrix products, level avx2: AVX2 with fused multiply-add.
#include "blas/level3/routines.h"

#include "simd/avx2.h"

#include "blas/kernels/avx2/pair_tile.h"
#include "blas/level3/kernels/two_path.h"

namespace qsl::avx2 {

// A strip of packed A, 12 rows of doubles by kc, takes 18 KiB of the first-level cache; a block of
// packed B, kc by nc, takes 288 KiB of the second-level cache, in every element type.
static constexpr HalvedDepth block_depth = {128, 256, 384, 192};
static constexpr int mc = 5000;

static constexpr PathLimits path_limits = {72, 56};

// The small path's tiles: 8 by 6 doubles in two halves, since six sums fill the registers; for
// complex elements one column, as real and imaginary parts, by three registers of rows.
using SmallReal = SmallShape<f64x4, 2, 3>;
using SmallSingle = SmallShape<f32x8, 3, 2>;
using SmallDouble = SmallShape<f64x4, 3, 2>;

struct DgemmShape {
  using Type = Real;
  using Tile = PairTile<f64x4>;
  using Small = SmallReal;
  static constexpr const char* name = "DGEMM";
  static constexpr auto depth = block_depth;
  static constexpr BlockNumbers blocks = {mc, 24, 192};
  static constexpr PathLimits limits = path_limits;
};

struct CgemmShape {
  using Type = SingleComplex;
  using Tile = PairTile<f32x8>;
  using Small = SmallSingle;
  static constexpr const char* name = "CGEMM";
  static constexpr auto depth = block_depth;
  static constexpr BlockNumbers blocks = {mc, 24, 192};
  static constexpr PathLimits limits = path_limits;
};

struct ZgemmShape {
  using Type = DoubleComplex;
  using Tile = PairTile<f64x4>;
  using Small = SmallDouble;
  static constexpr const char* name = "ZGEMM";
  static constexpr auto depth = block_depth;
  static constexpr BlockNumbers blocks = {mc, 24, 96};
  static constexpr PathLimits limits = path_limits;
};

}  // namespace qsl::avx2

#define QSL_GEMM two_path_gemm
#include "blas/level3/kernels/variants.inl"
