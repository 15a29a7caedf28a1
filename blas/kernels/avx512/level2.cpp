// Level-2 routines, level avx512: AVX-512 F, DQ, BW, VL.
#include "blas/level2/routines.h"

#include "simd/avx512.h"

#include "blas/level2/kernels/drivers.h"

namespace qsl::avx512 {

using DoubleVector = f64x8;
using SingleVector = f32x16;

}  // namespace qsl::avx512

#include "blas/level2/kernels/variants.inl"
