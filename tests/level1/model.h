// What each level's routines compute, to the bit: a scalar emulation of lanes and accumulators.
//
// Written from the description of each level's block structure, one function a level, without any
// code of the kernels. x and y may have any address.
#pragma once

#include "tests/level1/variants.h"

namespace level1_test {

double model_ddot(Level level, int n, const double* x, int incx, const double* y, int incy);
void model_daxpy(Level level, int n, double a, const double* x, int incx, double* y, int incy);
void model_zaxpy(Level level, int n, complex_double alpha, const complex_double* x, int incx,
                 complex_double* y, int incy);

}  // namespace level1_test
