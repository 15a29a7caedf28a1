// Band matrices, level p4m3: SSE4.2.
#include "simd/p4m3.h"

namespace qsl::p4m3 {

using BandVector = f64x2;

}  // namespace qsl::p4m3

#include "blas/band/kernels/variants.inl"
