// Factorisations and solves, level avx.
#include "simd/avx.h"

#include "blas/level2/kernels/elements.h"

namespace qsl::avx {

using SmallVector = f64x4;
using DoubleVector = f64x4;

}  // namespace qsl::avx

#include "lapack/kernels/variants.inl"
