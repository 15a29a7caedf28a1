// Factorisation and solve of band matrices, level avx512.
#include "simd/avx512.h"

namespace qsl::avx512 {

using BandVector = f64x4;

}  // namespace qsl::avx512

#include "lapack/band/kernels/variants.inl"
