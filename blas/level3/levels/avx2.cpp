// Matrix products, level avx2: AVX2 with fused multiply-add.
#include "blas/level3/routines.h"

#include "simd/level.h"

#include "blas/level3/kernels/pair_tile.h"
#include "blas/level3/kernels/two_path.h"

namespace qsl::avx2 {

// The small path's tiles: 8 by 6 doubles in two halves, since six sums fill the registers; for
// complex elements one column, as real and imaginary parts, by three registers of rows.
template <int parts, class Vector>
struct SmallTile {
  using Shape = SmallShape<Vector, 3, 2>;
};
template <class Vector>
struct SmallTile<1, Vector> {
  using Shape = SmallShape<Vector, 2, 3>;
};

// A strip of packed A, 12 rows of doubles by kc, takes 18 KiB of the first-level cache; a block of
// packed B, kc by nc, takes 288 KiB of the second-level cache, in every element type.
template <class Type_>
struct GemmShape {
  using Type = Type_;
  using Vector = Widest<typename Type::Scalar>;
  using Tile = PairTile<Vector>;
  using Small = typename SmallTile<Type::parts, Vector>::Shape;
  static constexpr HalvedDepth depth = {128, 256, 384, 192};
  static constexpr BlockNumbers blocks = {5000, 24, 3072 / sizeof(typename Type::Element) / 2};
  static constexpr PathLimits limits = {72, 56};
};

template <class Type>
using Gemm = TwoPathGemm<GemmShape<Type>>;

}  // namespace qsl::avx2

#include "blas/level3/kernels/variants.inl"
