// The exported level-1 routines: wrappers with verbose timing around the interface functions.
#include "blas/level1/routines.h"
#include "include/qsl/blas.h"
#include "runtime/verbose/wrapper.h"

namespace {

using qsl::value_or_zero;
using qsl::VerboseCall;
using qsl::VerboseGate;

// Interface functions: early returns and nothing else. They copy no floating-point value, since the
// frame's only way is the x87 unit, which quiets signalling NaNs.

double ddot_interface(const int* n, const double* x, const int* incx, const double* y,
                      const int* incy) {
  const int count = value_or_zero(n);
  if (count <= 0) return 0.0;
  return qsl_dispatch_ddot(count, x, value_or_zero(incx), y, value_or_zero(incy));
}

// Zero of either sign: all bits but the sign are clear. A comparison of integers does not depend on
// the caller's floating-point mode, in which a denormal number might count as zero.
bool is_zero(const double* value) {
  const auto* words = reinterpret_cast<const unsigned*>(value);
  return (words[0] | (words[1] << 1)) == 0;
}

void zaxpy_interface(const int* n, const complex_double* alpha, const complex_double* x,
                     const int* incx, complex_double* y, const int* incy) {
  const int count = value_or_zero(n);
  if (count <= 0) return;
  if (alpha == nullptr || (is_zero(&alpha->real) && is_zero(&alpha->imag))) return;
  qsl_dispatch_zaxpy(count, alpha, x, value_or_zero(incx), y, value_or_zero(incy));
}

void zcopy_interface(const int* n, const complex_double* x, const int* incx, complex_double* y,
                     const int* incy) {
  const int count = value_or_zero(n);
  if (count < 1) return;
  qsl_dispatch_zcopy(count, x, value_or_zero(incx), y, value_or_zero(incy));
}

const void* address(const void* p) { return p; }

// Wrappers.

VerboseGate ddot_gate;

[[gnu::noinline, gnu::cold]] double ddot_verbose(const int* n, const double* x, const int* incx,
                                                 const double* y, const int* incy) {
  VerboseCall call(&ddot_gate);
  const double result = ddot_interface(n, x, incx, y, incy);
  call.print("DDOT(%d,%p,%d,%p,%d)", value_or_zero(n), address(x), value_or_zero(incx), address(y),
             value_or_zero(incy));
  return result;
}

inline double ddot(const int* n, const double* x, const int* incx, const double* y,
                   const int* incy) {
  if (ddot_gate.is_off()) return ddot_interface(n, x, incx, y, incy);
  return ddot_verbose(n, x, incx, y, incy);
}

VerboseGate zaxpy_gate;

[[gnu::noinline, gnu::cold]] void zaxpy_verbose(const int* n, const complex_double* alpha,
                                                const complex_double* x, const int* incx,
                                                complex_double* y, const int* incy) {
  VerboseCall call(&zaxpy_gate);
  zaxpy_interface(n, alpha, x, incx, y, incy);
  call.print("ZAXPY(%d,%p,%p,%d,%p,%d)", value_or_zero(n), address(alpha), address(x),
             value_or_zero(incx), address(y), value_or_zero(incy));
}

inline void zaxpy(const int* n, const complex_double* alpha, const complex_double* x,
                  const int* incx, complex_double* y, const int* incy) {
  if (zaxpy_gate.is_off()) return zaxpy_interface(n, alpha, x, incx, y, incy);
  zaxpy_verbose(n, alpha, x, incx, y, incy);
}

VerboseGate zcopy_gate;

[[gnu::noinline, gnu::cold]] void zcopy_verbose(const int* n, const complex_double* x,
                                                const int* incx, complex_double* y,
                                                const int* incy) {
  VerboseCall call(&zcopy_gate);
  zcopy_interface(n, x, incx, y, incy);
  call.print("ZCOPY(%d,%p,%d,%p,%d)", value_or_zero(n), address(x), value_or_zero(incx), address(y),
             value_or_zero(incy));
}

inline void zcopy(const int* n, const complex_double* x, const int* incx, complex_double* y,
                  const int* incy) {
  if (zcopy_gate.is_off()) return zcopy_interface(n, x, incx, y, incy);
  zcopy_verbose(n, x, incx, y, incy);
}

}  // namespace

extern "C" {

double DDOT(const int* n, const double* x, const int* incx, const double* y, const int* incy) {
  return ddot(n, x, incx, y, incy);
}

double cblas_ddot(int n, const double* x, int incx, const double* y, int incy) {
  return ddot(&n, x, &incx, y, &incy);
}

void cblas_zaxpy(int n, const void* alpha, const void* x, int incx, void* y, int incy) {
  zaxpy(&n, static_cast<const complex_double*>(alpha), static_cast<const complex_double*>(x), &incx,
        static_cast<complex_double*>(y), &incy);
}

void cblas_zcopy(int n, const void* x, int incx, void* y, int incy) {
  zcopy(&n, static_cast<const complex_double*>(x), &incx, static_cast<complex_double*>(y), &incy);
}
}
