// Band matrices, level cnr: reproducible, SSE2.
#include "simd/cnr.h"

namespace qsl::cnr {

using BandVector = f64x2;

}  // namespace qsl::cnr

#include "blas/band/kernels/variants.inl"
