// Factorisation and solve of band matrices, level p4m.
#include "simd/p4m.h"

namespace qsl::p4m {

using BandVector = f64x2;

}  // namespace qsl::p4m

#include "lapack/band/kernels/variants.inl"
