// Band matrices, level avx: AVX.
#include "simd/avx.h"

namespace qsl::avx {

using BandVector = f64x4;

}  // namespace qsl::avx

#include "blas/band/kernels/variants.inl"
