// The band routines of one library, as the benchmarks call them: all through pointers.
#pragma once

namespace qsl_bench {

using BandProduct = void(int layout, int trans, int m, int n, int kl, int ku, const void* alpha,
                         const void* a, int lda, const void* x, int incx, const void* beta, void* y,
                         int incy);

// Eigen, compiled for AVX2 with FMA in a source file of its own. It has no product with a band
// matrix: the columns are its vectors. Column-major and y := op(A) * x only: the factors and the
// strides are not looked at.
BandProduct* eigen_band_product();

}  // namespace qsl_bench
