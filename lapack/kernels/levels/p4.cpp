// Factorisations and solves, level p4.
#include "simd/p4.h"

#include "blas/level2/kernels/elements.h"

namespace qsl::p4 {

using SmallVector = f64x2;
using DoubleVector = f64x2;

}  // namespace qsl::p4

#include "lapack/kernels/variants.inl"
