// Factorisations and solves, level p4m3.
#include "simd/p4m3.h"

#include "blas/level2/kernels/elements.h"

namespace qsl::p4m3 {

using SmallVector = f64x2;
using DoubleVector = f64x2;

}  // namespace qsl::p4m3

#include "lapack/kernels/variants.inl"
