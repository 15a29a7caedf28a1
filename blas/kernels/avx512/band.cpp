// Band matrices, level avx512: AVX-512 F, DQ, BW, VL.
#include "simd/avx512.h"

namespace qsl::avx512 {

using BandVector = f64x8;

}  // namespace qsl::avx512

#include "blas/band/kernels/variants.inl"
