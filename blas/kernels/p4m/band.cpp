// Band matrices, level p4m: SSSE3.
#include "simd/p4m.h"

namespace qsl::p4m {

using BandVector = f64x2;

}  // namespace qsl::p4m

#include "blas/band/kernels/variants.inl"
