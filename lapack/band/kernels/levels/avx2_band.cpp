// Factorisation and solve of band matrices, level avx2.
#include "simd/avx2.h"

namespace qsl::avx2 {

using BandVector = f64x4;

}  // namespace qsl::avx2

#include "lapack/band/kernels/variants.inl"
