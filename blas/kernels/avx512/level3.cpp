// Matrix products, level avx512: AVX-512 F, DQ, BW and VL.
#include "blas/level3/routines.h"

#include "simd/avx512.h"

#include "blas/level3/kernels/two_path.h"

namespace qsl::avx512 {

// A strip of packed A, 8 rows of doubles by kc, takes 24 KiB of the first-level cache; a block of
// packed B, kc by nc, takes 576 KiB of the second-level cache, which has 1 MiB or more at this
// level.
static constexpr HalvedDepth block_depth = {128, 384, 768, 384};
static constexpr int mc = 4992;

static constexpr PathLimits path_limits = {192, 192};

// The small path's tile is the large one's: 8 by 6 doubles.
using SmallReal = SmallShape<f64x8, 1, 6>;
using SmallSingle = SmallShape<f32x16, 1, 6>;
using SmallDouble = SmallShape<f64x8, 1, 6>;

struct DgemmShape {
  using Type = Real;
  using Tile = BroadcastTile<f64x8, 6, 4, 1, 1>;
  using Small = SmallReal;
  static constexpr const char* name = "DGEMM";
  static constexpr auto depth = block_depth;
  static constexpr BlockNumbers blocks = {mc, 24, 192};
  static constexpr PathLimits limits = path_limits;
};

struct CgemmShape {
  using Type = SingleComplex;
  using Tile = BroadcastTile<f32x16, 6, 4, 1, 1>;
  using Small = SmallSingle;
  static constexpr const char* name = "CGEMM";
  static constexpr auto depth = block_depth;
  static constexpr BlockNumbers blocks = {mc, 24, 192};
  static constexpr PathLimits limits = path_limits;
};

struct ZgemmShape {
  using Type = DoubleComplex;
  using Tile = BroadcastTile<f64x8, 6, 4, 1, 1>;
  using Small = SmallDouble;
  static constexpr const char* name = "ZGEMM";
  static constexpr auto depth = block_depth;
  static constexpr BlockNumbers blocks = {mc, 24, 96};
  static constexpr PathLimits limits = path_limits;
};

}  // namespace qsl::avx512

#define QSL_GEMM two_path_gemm
#include "blas/level3/kernels/variants.inl"
