// Factorisation and solve of band matrices, level cnr.
#include "simd/cnr.h"

namespace qsl::cnr {

using BandVector = f64x2;

}  // namespace qsl::cnr

#include "lapack/band/kernels/variants.inl"
