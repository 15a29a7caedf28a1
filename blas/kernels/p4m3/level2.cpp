// Level-2 routines, level p4m3: SSE4.2.
#include "blas/level2/routines.h"

#include "simd/p4m3.h"

#include "blas/level2/kernels/drivers.h"

namespace qsl::p4m3 {

using DoubleVector = f64x2;
using SingleVector = f32x4;

}  // namespace qsl::p4m3

#include "blas/level2/kernels/variants.inl"
