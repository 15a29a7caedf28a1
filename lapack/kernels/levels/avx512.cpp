// Factorisations and solves, level avx512.
#include "simd/avx512.h"

#include "blas/level2/kernels/elements.h"

namespace qsl::avx512 {

using SmallVector = f64x4;
using DoubleVector = f64x8;

}  // namespace qsl::avx512

#include "lapack/kernels/variants.inl"
