// Factorisation and solve of band matrices, level p4.
#include "simd/p4.h"

namespace qsl::p4 {

using BandVector = f64x2;

}  // namespace qsl::p4

#include "lapack/band/kernels/variants.inl"
