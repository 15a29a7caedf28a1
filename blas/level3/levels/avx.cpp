// Matrix products, level avx: AVX.
#include "blas/level3/routines.h"

#include "simd/level.h"

#include "blas/level3/kernels/fixed_depth.h"

namespace qsl::avx {

// Packed A, mc by kc, takes 318 KiB of the second-level cache; a block of packed B 20 KiB of the
// first-level one, in every element type.
template <class Type_>
struct GemmShape {
  using Type = Type_;
  using Tile = BroadcastTile<Widest<typename Type::Scalar>, 4, 4, 1, 1>;
  static constexpr int nc = 384 / sizeof(typename Type::Element) / 2;
  static constexpr BlockNumbers blocks = {3072 / sizeof(typename Type::Element), nc, nc};
  static constexpr FixedDepth sizes = {4, 4, 4, 106};
};

template <class Type>
using Gemm = FixedDepthGemm<GemmShape<Type>>;

}  // namespace qsl::avx

#include "blas/level3/kernels/variants.inl"
