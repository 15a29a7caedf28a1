// Matrix products, level p4: SSE2.
#include "blas/level3/routines.h"

#include "simd/level.h"

#include "blas/level3/kernels/ladder.h"

namespace qsl::p4 {

// There is no broadcasting load: packed B repeats each value for every lane.
template <class Type_>
struct GemmShape {
  using Type = Type_;
  using Vector = Widest<typename Type::Scalar>;
  using Tile = BroadcastTile<Vector, 4, 4, 4, Vector::lanes>;
};

template <class Type>
using Gemm = LadderGemm<GemmShape<Type>>;

}  // namespace qsl::p4

#include "blas/level3/kernels/variants.inl"
