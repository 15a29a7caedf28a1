// Level-1 routines, level cnr: the reproducible bodies of the two lowest levels, SSE2. No alignment
// is asked for or tested: the order of a summation depends on the count alone. What does not look
// at the alignment at level p4 is reproducible as it is, and the dispatchers name that body.
#include "blas/level1/routines.h"

#include "simd/level.h"

#include "blas/level1/kernels/dot.h"
#include "blas/level1/kernels/zaxpy.h"

namespace qsl::cnr {

struct DotShape {
  using Vector = f64x2;
  static constexpr int block = 16;
  static constexpr auto unit_stride = both_strides_one_or_minus_one;
  using Alignment = AnyAlignment;
  using Remainder = HalvingRemainder;
  using Strided = StridedInOrder;
};

struct ZaxpyShape {
  using Vector = f64x2;
  static constexpr int block = 4;
  static constexpr int minimum = 1;
  static constexpr auto remainder = ZaxpyRemainder::singles;
  static constexpr auto alignment = ZaxpyAlignment::none;
  using Access = UnalignedAccess;
  static constexpr int strided_block = 1;
};

double ddot(int n, const double* x, int incx, const double* y, int incy) {
  return dot<DotShape>(n, x, incx, y, incy);
}

void zaxpy(int n, const complex_double* alpha, const complex_double* x, int incx, complex_double* y,
           int incy) {
  zaxpy<ZaxpyShape>(n, alpha, x, incx, y, incy);
}

}  // namespace qsl::cnr
