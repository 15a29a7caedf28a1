// Level-2 routines, level avx2: AVX2 with fused multiply-add.
#include "blas/level2/routines.h"

#include "simd/avx2.h"

#include "blas/level2/kernels/drivers.h"

namespace qsl::avx2 {

using DoubleVector = f64x4;
using SingleVector = f32x8;

}  // namespace qsl::avx2

#include "blas/level2/kernels/variants.inl"
