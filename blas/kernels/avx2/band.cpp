// Band matrices, level avx2: AVX2 with fused multiply-add.
#include "simd/avx2.h"

namespace qsl::avx2 {

using BandVector = f64x4;

}  // namespace qsl::avx2

#include "blas/band/kernels/variants.inl"
