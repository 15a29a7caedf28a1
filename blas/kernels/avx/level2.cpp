// Level-2 routines, level avx: AVX.
#include "blas/level2/routines.h"

#include "simd/avx.h"

#include "blas/level2/kernels/drivers.h"

namespace qsl::avx {

using DoubleVector = f64x4;
using SingleVector = f32x8;

}  // namespace qsl::avx

#include "blas/level2/kernels/variants.inl"
