// Factorisations, the reproducible level: only what stands on sums has a form of its own.
#include "simd/cnr.h"

#include "blas/level2/kernels/elements.h"

namespace qsl::cnr {

using DoubleVector = f64x2;

}  // namespace qsl::cnr

#include "lapack/kernels/leaf.inl"
