// Level-1 routines, level p4m: SSSE3.
#include "blas/level1/routines.h"

#include "simd/level.h"

#include "blas/level1/kernels/copy.h"
#include "blas/level1/kernels/daxpy.h"
#include "blas/level1/kernels/dot.h"
#include "blas/level1/kernels/zaxpy.h"
#include "blas/level1/zaxpy_bodies.h"
#include "runtime/dispatch/cpu_type.h"

namespace qsl::p4m {

struct DotShape {
  using Vector = f64x2;
  static constexpr int block = 32;
  static constexpr auto unit_stride = both_strides_one;
  using Alignment = Realigned;
  using Remainder = PairsRemainder;
  using Strided = StridedPairs;
};

// Processors with SSE4.1 load unaligned vectors fast; older ones don't.
struct ZaxpySse41Shape {
  using Vector = f64x2;
  static constexpr int block = 16;
  static constexpr int minimum = 1;
  static constexpr auto remainder = ZaxpyRemainder::pairs;
  static constexpr auto alignment = ZaxpyAlignment::none;
  using Access = UnalignedAccess;
  static constexpr int strided_block = 2;
};

struct ZaxpySsse3Shape {
  using Vector = f64x2;
  static constexpr int block = 16;
  static constexpr int minimum = 1;
  static constexpr auto remainder = ZaxpyRemainder::pairs;
  static constexpr auto alignment = ZaxpyAlignment::by_x;
  using Access = UnalignedAccess;
  static constexpr int strided_block = 2;
};

struct DaxpyShape {
  using Vector = f64x2;
  static constexpr int block = 4;
  static constexpr int minimum = 4;
  static constexpr int short_vector = 48;
};

struct DcopyShape {
  using Vector = f64x2;
  static constexpr int block = 16;
  static constexpr unsigned string_bytes = 15000;
};

struct ZcopyShape {
  static constexpr int strided_block = 2;
};

void zaxpy_sse41(int n, const complex_double* alpha, const complex_double* x, int incx,
                 complex_double* y, int incy) {
  zaxpy<ZaxpySse41Shape>(n, alpha, x, incx, y, incy);
}

void zaxpy_ssse3(int n, const complex_double* alpha, const complex_double* x, int incx,
                 complex_double* y, int incy) {
  zaxpy<ZaxpySsse3Shape>(n, alpha, x, incx, y, incy);
}

namespace {

// 1 when the body for SSE4.1 serves this processor, -1 until the first call. The processor type and
// the reproducibility mode are fixed by then, so threads that race store the same value.
volatile int takes_sse41 = -1;

[[gnu::noinline, gnu::cold]] void choose_zaxpy_body() {
  takes_sse41 = qsl_get_cpu_type() == QSL_CPU_SSSE3 && qsl_cpu_has_sse41_cbwr();
}

}  // namespace

struct ZaxpyBody {
  QSL_INLINE static void update(int n, const complex_double* alpha, const complex_double* x,
                                int incx, complex_double* y, int incy) {
    if (n <= 0) return;
    if (takes_sse41 < 0) choose_zaxpy_body();
    if (takes_sse41 != 0) {
      zaxpy<ZaxpySse41Shape>(n, alpha, x, incx, y, incy);
    } else {
      zaxpy<ZaxpySsse3Shape>(n, alpha, x, incx, y, incy);
    }
  }
};

}  // namespace qsl::p4m

#include "blas/level1/kernels/variants.inl"
