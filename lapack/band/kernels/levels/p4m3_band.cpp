// Factorisation and solve of band matrices, level p4m3.
#include "simd/p4m3.h"

namespace qsl::p4m3 {

using BandVector = f64x2;

}  // namespace qsl::p4m3

#include "lapack/band/kernels/variants.inl"
