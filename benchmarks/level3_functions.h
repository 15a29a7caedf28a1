// The matrix products of one library, as the benchmarks call them: all through pointers.
#pragma once

namespace qsl_bench {

using RealProduct = void(int layout, int transa, int transb, int m, int n, int k, double alpha,
                         const double* a, int lda, const double* b, int ldb, double beta, double* c,
                         int ldc);
using ComplexProduct = void(int layout, int transa, int transb, int m, int n, int k,
                            const void* alpha, const void* a, int lda, const void* b, int ldb,
                            const void* beta, void* c, int ldc);

struct Level3Functions {
  RealProduct* dgemm;
  ComplexProduct* zgemm;
  ComplexProduct* cgemm;
};

// Eigen, compiled for AVX2 with FMA in a source file of its own. Column-major and C := op(A) *
// op(B) only: the factors are not looked at.
Level3Functions eigen_level3();

// The machine's bound, without memory: passes of bound_flops operations on four doubles a register.
constexpr double bound_flops = 24 * 8;
void run_bound(int passes);

}  // namespace qsl_bench
