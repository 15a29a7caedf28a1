// The exported level-1 routines: wrappers with verbose timing around the interface functions.
//
// C-style and Fortran-style entries share one wrapper, which takes counts and strides by value: a
// C-style call then leaves its arguments where they are and jumps, to the dispatcher or to the
// verbose form. (The verbose forms are not local to this file, or the compiler would give them a
// calling convention of their own, for which every call would load its arguments first.)
#include "blas/factor.h"
#include "blas/level1/routines.h"
#include "include/qsl/blas.h"
#include "runtime/verbose/wrapper.h"

namespace qsl::blas {

// Interface functions: early returns and nothing else. They copy no floating-point value, since the
// frame's only way is the x87 unit, which quiets signalling NaNs.

inline double ddot_interface(int n, const double* x, int incx, const double* y, int incy) {
  if (n <= 0) return 0.0;
  return qsl_dispatch_ddot(n, x, incx, y, incy);
}

inline void zaxpy_interface(int n, const complex_double* alpha, const complex_double* x, int incx,
                            complex_double* y, int incy) {
  if (n <= 0) return;
  if (alpha == nullptr || is_zero(alpha)) return;
  qsl_dispatch_zaxpy(n, alpha, x, incx, y, incy);
}

inline void zcopy_interface(int n, const complex_double* x, int incx, complex_double* y, int incy) {
  if (n < 1) return;
  qsl_dispatch_zcopy(n, x, incx, y, incy);
}

// Wrappers.

inline const void* address(const void* p) { return p; }

static VerboseGate ddot_gate;

QSL_HIDDEN [[gnu::noinline, gnu::cold]] double ddot_verbose(int n, const double* x, int incx,
                                                            const double* y, int incy) {
  VerboseCall call(&ddot_gate);
  const double result = ddot_interface(n, x, incx, y, incy);
  call.print("DDOT(%d,%p,%d,%p,%d)", n, address(x), incx, address(y), incy);
  return result;
}

inline double ddot(int n, const double* x, int incx, const double* y, int incy) {
  if (!ddot_gate.is_off()) return ddot_verbose(n, x, incx, y, incy);
  return ddot_interface(n, x, incx, y, incy);
}

static VerboseGate zaxpy_gate;

QSL_HIDDEN [[gnu::noinline, gnu::cold]] void zaxpy_verbose(int n, const complex_double* alpha,
                                                           const complex_double* x, int incx,
                                                           complex_double* y, int incy) {
  VerboseCall call(&zaxpy_gate);
  zaxpy_interface(n, alpha, x, incx, y, incy);
  call.print("ZAXPY(%d,%p,%p,%d,%p,%d)", n, address(alpha), address(x), incx, address(y), incy);
}

inline void zaxpy(int n, const complex_double* alpha, const complex_double* x, int incx,
                  complex_double* y, int incy) {
  if (!zaxpy_gate.is_off()) return zaxpy_verbose(n, alpha, x, incx, y, incy);
  zaxpy_interface(n, alpha, x, incx, y, incy);
}

static VerboseGate zcopy_gate;

QSL_HIDDEN [[gnu::noinline, gnu::cold]] void zcopy_verbose(int n, const complex_double* x, int incx,
                                                           complex_double* y, int incy) {
  VerboseCall call(&zcopy_gate);
  zcopy_interface(n, x, incx, y, incy);
  call.print("ZCOPY(%d,%p,%d,%p,%d)", n, address(x), incx, address(y), incy);
}

inline void zcopy(int n, const complex_double* x, int incx, complex_double* y, int incy) {
  if (!zcopy_gate.is_off()) return zcopy_verbose(n, x, incx, y, incy);
  zcopy_interface(n, x, incx, y, incy);
}

}  // namespace qsl::blas

extern "C" {

using qsl::value_or_zero;
using qsl::blas::ddot;
using qsl::blas::zaxpy;
using qsl::blas::zcopy;

double DDOT(const int* n, const double* x, const int* incx, const double* y, const int* incy) {
  return ddot(value_or_zero(n), x, value_or_zero(incx), y, value_or_zero(incy));
}

double cblas_ddot(int n, const double* x, int incx, const double* y, int incy) {
  return ddot(n, x, incx, y, incy);
}

void cblas_zaxpy(int n, const void* alpha, const void* x, int incx, void* y, int incy) {
  zaxpy(n, static_cast<const complex_double*>(alpha), static_cast<const complex_double*>(x), incx,
        static_cast<complex_double*>(y), incy);
}

void cblas_zcopy(int n, const void* x, int incx, void* y, int incy) {
  zcopy(n, static_cast<const complex_double*>(x), incx, static_cast<complex_double*>(y), incy);
}
}
