// A level's variants, from its shapes. The last thing that a level's source file includes, after
// DotShape, DaxpyShape, ZaxpyBody, DcopyShape and ZcopyShape.
#pragma once

#include "blas/level1/kernels/copy.h"
#include "blas/level1/kernels/daxpy.h"
#include "blas/level1/kernels/dot.h"
#include "blas/level1/kernels/zaxpy.h"
#include "blas/level1/routines.h"

namespace qsl::QSL_LEVEL {

double ddot(int n, const double* x, int incx, const double* y, int incy) {
  return dot<DotShape>(n, x, incx, y, incy);
}

void daxpy(int n, const double* a, const double* x, int incx, double* y, int incy) {
  daxpy<DaxpyShape>(n, a, x, incx, y, incy);
}

void zaxpy(int n, const complex_double* alpha, const complex_double* x, int incx, complex_double* y,
           int incy) {
  ZaxpyBody::update(n, alpha, x, incx, y, incy);
}

void dcopy(int n, const double* x, int incx, double* y, int incy) {
  dcopy<DcopyShape>(n, x, incx, y, incy);
}

void zcopy(int n, const complex_double* x, int incx, complex_double* y, int incy) {
  zcopy<ZcopyShape, DcopyShape>(n, x, incx, y, incy);
}

}  // namespace qsl::QSL_LEVEL
