// Matrix products, level avx512: AVX-512 F, DQ, BW and VL.
#include "blas/level3/routines.h"

#include "simd/level.h"

#include "blas/level3/kernels/two_path.h"

namespace qsl::avx512 {

// A strip of packed A, 8 rows of doubles by kc, takes 24 KiB of the first-level cache; a block of
// packed B, kc by nc, takes 576 KiB of the second-level cache, which has 1 MiB or more at this
// level. The small path's tile is the large one's: 8 by 6 doubles.
template <class Type_>
struct GemmShape {
  using Type = Type_;
  using Vector = Widest<typename Type::Scalar>;
  using Tile = BroadcastTile<Vector, 6, 4, 1, 1>;
  using Small = SmallShape<Vector, 1, 6>;
  static constexpr HalvedDepth depth = {128, 384, 768, 384};
  static constexpr BlockNumbers blocks = {4992, 24, 3072 / sizeof(typename Type::Element) / 2};
  static constexpr PathLimits limits = {192, 192};
};

template <class Type>
using Gemm = TwoPathGemm<GemmShape<Type>>;

}  // namespace qsl::avx512

#include "blas/level3/kernels/variants.inl"
