// The level-1 routines of one library, as the benchmarks call them: all through pointers.
#pragma once

namespace qsl_bench {

struct Level1Functions {
  double (*ddot)(int n, const double* x, int incx, const double* y, int incy);
  void (*zaxpy)(int n, const void* alpha, const void* x, int incx, void* y, int incy);
  void (*zcopy)(int n, const void* x, int incx, void* y, int incy);
};

// Eigen, compiled for AVX2 with FMA in a source file of its own. Unit strides only.
Level1Functions eigen_level1();

}  // namespace qsl_bench
