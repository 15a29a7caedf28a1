// Level-2 routines, level p4: SSE2.
#include "blas/level2/routines.h"

#include "simd/p4.h"

#include "blas/level2/kernels/drivers.h"

namespace qsl::p4 {

using DoubleVector = f64x2;
using SingleVector = f32x4;

}  // namespace qsl::p4

#include "blas/level2/kernels/variants.inl"
