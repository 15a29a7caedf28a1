// The exported level-1 routines.
//
// C-style and Fortran-style entries share one routine, which takes counts and strides by value: a
// C-style call then leaves its arguments where they are and jumps, to the dispatcher or to the
// verbose form.
//
// Early returns and nothing else: the frame copies no floating-point value, since its only way is
// the x87 unit, which quiets signalling NaNs.
#include "blas/level1/routines.h"
#include "elements/number_bits.h"
#include "include/qsl/blas.h"
#include "runtime/verbose/wrapper.h"

namespace qsl::blas {

struct Ddot {
  static constexpr char line[] = "DDOT(%d,%p,%d,%p,%d)";
  static double run(int n, const double* x, int incx, const double* y, int incy) {
    if (n <= 0) return 0.0;
    return qsl_dispatch_ddot(n, x, incx, y, incy);
  }
};

struct Zaxpy {
  static constexpr char line[] = "ZAXPY(%d,%p,%p,%d,%p,%d)";
  static void run(int n, const complex_double* alpha, const complex_double* x, int incx,
                  complex_double* y, int incy) {
    if (n <= 0 || alpha == nullptr || is_zero(alpha)) return;
    qsl_dispatch_zaxpy(n, alpha, x, incx, y, incy);
  }
};

struct Zcopy {
  static constexpr char line[] = "ZCOPY(%d,%p,%d,%p,%d)";
  static void run(int n, const complex_double* x, int incx, complex_double* y, int incy) {
    if (n <= 0) return;
    qsl_dispatch_zcopy(n, x, incx, y, incy);
  }
};

}  // namespace qsl::blas

extern "C" {

using qsl::value_or_zero;
using qsl::wrapped;

double DDOT(const int* n, const double* x, const int* incx, const double* y, const int* incy) {
  return wrapped<qsl::blas::Ddot>(value_or_zero(n), x, value_or_zero(incx), y, value_or_zero(incy));
}

double cblas_ddot(int n, const double* x, int incx, const double* y, int incy) {
  return wrapped<qsl::blas::Ddot>(n, x, incx, y, incy);
}

void cblas_zaxpy(int n, const void* alpha, const void* x, int incx, void* y, int incy) {
  wrapped<qsl::blas::Zaxpy>(n, static_cast<const complex_double*>(alpha),
                            static_cast<const complex_double*>(x), incx,
                            static_cast<complex_double*>(y), incy);
}

void cblas_zcopy(int n, const void* x, int incx, void* y, int incy) {
  wrapped<qsl::blas::Zcopy>(n, static_cast<const complex_double*>(x), incx,
                            static_cast<complex_double*>(y), incy);
}
}
