// Factorisation and solve of band matrices, level avx.
#include "simd/avx.h"

namespace qsl::avx {

using BandVector = f64x4;

}  // namespace qsl::avx

#include "lapack/band/kernels/variants.inl"
