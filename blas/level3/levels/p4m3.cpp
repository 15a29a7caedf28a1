// Matrix products, level p4m3: SSE4.2.
#include "blas/level3/routines.h"

#include "simd/level.h"

#include "blas/level3/kernels/fixed_depth.h"

namespace qsl::p4m3 {

// Packed A, mc by kc, takes 315 KiB of the second-level cache, a block of packed B 16 KiB of the
// first-level one. There is no broadcasting load of a float: packed B repeats each one.
template <class Type_>
struct GemmShape {
  using Type = Type_;
  using Vector = Widest<typename Type::Scalar>;
  static constexpr int copies = Vector::lanes == 2 ? 1 : Vector::lanes;
  using Tile = BroadcastTile<Vector, 4, 4, 4, copies>;
  static constexpr int nc = 256 / sizeof(typename Type::Element) / 2 / copies;
  static constexpr BlockNumbers blocks = {2560 / sizeof(typename Type::Element), nc, nc};
  static constexpr FixedDepth sizes = {2, 4, 4, 126};
};

template <class Type>
using Gemm = FixedDepthGemm<GemmShape<Type>>;

}  // namespace qsl::p4m3

#include "blas/level3/kernels/variants.inl"
