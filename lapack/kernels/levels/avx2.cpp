// Factorisations and solves, level avx2.
#include "simd/avx2.h"

#include "blas/level2/kernels/elements.h"

namespace qsl::avx2 {

using SmallVector = f64x4;
using DoubleVector = f64x4;

}  // namespace qsl::avx2

#include "lapack/kernels/variants.inl"
