// Level-2 routines, level p4m: SSSE3.
#include "blas/level2/routines.h"

#include "simd/p4m.h"

#include "blas/level2/kernels/drivers.h"

namespace qsl::p4m {

using DoubleVector = f64x2;
using SingleVector = f32x4;

}  // namespace qsl::p4m

#include "blas/level2/kernels/variants.inl"
