// Band matrices, level p4: SSE2.
#include "simd/p4.h"

namespace qsl::p4 {

using BandVector = f64x2;

}  // namespace qsl::p4

#include "blas/band/kernels/variants.inl"
