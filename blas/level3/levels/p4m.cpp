// Matrix products, level p4m: SSSE3.
#include "blas/level3/routines.h"

#include "simd/level.h"

#include "blas/level3/kernels/fixed_depth.h"
#include "runtime/dispatch/cpu_type.h"

namespace qsl::p4m {

// Packed A, mc by kc, takes 315 KiB of the second-level cache, a block of packed B 16 KiB of the
// first-level one. There is no broadcasting load of a float: packed B repeats each one.
template <class Type_>
struct GemmNumbers {
  using Type = Type_;
  using Vector = Widest<typename Type::Scalar>;
  static constexpr int copies = Vector::lanes == 2 ? 1 : Vector::lanes;
  static constexpr int nc = 256 / sizeof(typename Type::Element) / 2 / copies;
  static constexpr BlockNumbers blocks = {2560 / sizeof(typename Type::Element), nc, nc};
};

// Processors with SSE4.1 come with a shorter strip of B.
template <class Type>
struct Ssse3Shape : GemmNumbers<Type> {
  using Numbers = GemmNumbers<Type>;
  using Tile = BroadcastTile<typename Numbers::Vector, 4, 2, 4, Numbers::copies, 8>;
  static constexpr FixedDepth sizes = {2, 2, 2, 126};
};
template <class Type>
struct Sse41Shape : GemmNumbers<Type> {
  using Numbers = GemmNumbers<Type>;
  using Tile = BroadcastTile<typename Numbers::Vector, 4, 4, 4, Numbers::copies>;
  static constexpr FixedDepth sizes = {2, 4, 4, 126};
};

template <class Type>
struct Gemm {
  template <class... Arguments>
  QSL_INLINE static void multiply(Arguments... arguments) {
    if (qsl_cpu_has_sse41_cbwr() != 0) {
      FixedDepthGemm<Sse41Shape<Type>>::multiply(arguments...);
    } else {
      FixedDepthGemm<Ssse3Shape<Type>>::multiply(arguments...);
    }
  }
};

}  // namespace qsl::p4m

#include "blas/level3/kernels/variants.inl"
