// Level-2 routines, level cnr: the reproducible bodies of the two lowest levels, SSE2.
#include "blas/level2/routines.h"

#include "simd/cnr.h"

#include "blas/level2/kernels/drivers.h"

namespace qsl::cnr {

using DoubleVector = f64x2;
using SingleVector = f32x4;

}  // namespace qsl::cnr

#include "blas/level2/kernels/variants.inl"
