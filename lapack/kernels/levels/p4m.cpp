// Factorisations and solves, level p4m.
#include "simd/p4m.h"

#include "blas/level2/kernels/elements.h"

namespace qsl::p4m {

using SmallVector = f64x2;
using DoubleVector = f64x2;

}  // namespace qsl::p4m

#include "lapack/kernels/variants.inl"
