// The level-1 routines behind the exports, for the rest of the library: dispatchers and variants.
//
// Strides are in elements and may be negative (the walk starts at base + (1 - n) * inc) or zero. A
// factor is passed by address: a double on the stack may pass through the x87 unit, which quiets
// signalling NaNs. Each variant returns at once for n <= 0 (the dot product with 0.0).
#pragma once

#include "include/qsl/types.h"
#include "runtime/dispatch/dispatcher.h"

// Sum of x[i] * y[i].
QSL_DECLARE_VARIANTS(double, ddot, (int n, const double* x, int incx, const double* y, int incy));
QSL_DECLARE_REPRODUCIBLE(double, ddot,
                         (int n, const double* x, int incx, const double* y, int incy));

// y := a * x + y.
QSL_DECLARE_VARIANTS(void, daxpy,
                     (int n, const double* a, const double* x, int incx, double* y, int incy));
QSL_DECLARE_VARIANTS(void, zaxpy,
                     (int n, const complex_double* a, const complex_double* x, int incx,
                      complex_double* y, int incy));
QSL_DECLARE_REPRODUCIBLE(void, zaxpy,
                         (int n, const complex_double* a, const complex_double* x, int incx,
                          complex_double* y, int incy));

// y := x.
QSL_DECLARE_VARIANTS(void, dcopy, (int n, const double* x, int incx, double* y, int incy));
QSL_DECLARE_VARIANTS(void, zcopy,
                     (int n, const complex_double* x, int incx, complex_double* y, int incy));
