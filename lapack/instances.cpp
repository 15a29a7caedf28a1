// The kernels of the solvers of one level; compiled once for each.
#include "simd/level.h"

#include "lapack/kernels/lu_leaf.h"
#include "lapack/kernels/nan_scan.h"
#include "lapack/kernels/row_exchanges.h"
#include "lapack/kernels/small_lu.h"
#include "lapack/kernels/small_solve.h"
#include "lapack/kernels/transposed_copy.h"
#include "lapack/routines.h"

namespace qsl::QSL_LEVEL {

// Columns of small matrices rarely fill a register of 512 bits, and a factorisation of them moves
// rows within registers, which is slower there.
using SmallVector = Within256<double>;
using DoubleVector = Widest<double>;

void dgetrf_leaf(int m, int n, double* a, int lda, int* ipiv, int* info) {
  lu_leaf<InRegisters<Real, DoubleVector>>(m, n, a, lda, ipiv, info);
}

void zgetrf_leaf(int m, int n, complex_double* a, int lda, int* ipiv, int* info) {
  lu_leaf<InRegisters<DoubleComplex, DoubleVector>>(m, n, scalars(a), lda, ipiv, info);
}

void dgetrf_small(int m, int n, double* a, int lda, int* ipiv, int* info) {
  lu_small<InRegisters<Real, SmallVector>>(m, n, a, lda, ipiv, info);
}
void zgetrf_small(int m, int n, complex_double* a, int lda, int* ipiv, int* info) {
  lu_small<InRegisters<DoubleComplex, SmallVector>>(m, n, scalars(a), lda, ipiv, info);
}

void dgetrs_small(int trans, int n, int nrhs, const double* a, int lda, const int* ipiv, double* b,
                  int ldb) {
  solve_small_system<InRegisters<Real, SmallVector>>(trans, n, nrhs, a, lda, ipiv, b, ldb);
}
void zgetrs_small(int trans, int n, int nrhs, const complex_double* a, int lda, const int* ipiv,
                  complex_double* b, int ldb) {
  solve_small_system<InRegisters<DoubleComplex, SmallVector>>(trans, n, nrhs, scalars(a), lda, ipiv,
                                                              scalars(b), ldb);
}

int dlaswp(int n, double* a, int lda, int row, int direction, const int* pivot, int step,
           int count) {
  return exchange_rows_of<InRegisters<Real, f64x2>>(n, a, lda,
                                                    {row, direction, pivot, step, count});
}
int zlaswp(int n, complex_double* a, int lda, int row, int direction, const int* pivot, int step,
           int count) {
  return exchange_rows_of<InRegisters<DoubleComplex, f64x2>>(n, scalars(a), lda,
                                                             {row, direction, pivot, step, count});
}

void domatcopy_t(int rows, int columns, const double* alpha, const double* a, int lda, double* b,
                 int ldb) {
  transposed_copy<Real>(rows, columns, alpha, a, lda, b, ldb);
}
void zomatcopy_t(int rows, int columns, const complex_double* alpha, const complex_double* a,
                 int lda, complex_double* b, int ldb) {
  transposed_copy<DoubleComplex>(rows, columns, scalars(alpha), scalars(a), lda, scalars(b), ldb);
}

int nan_in_runs(int direct, int count, int length, const double* x, int step) {
  return has_nan<DoubleVector>(direct != 0, count, [&](int j, int& doubles) QSL_INLINE_LAMBDA {
    doubles = length;
    return x + static_cast<std::size_t>(j) * static_cast<std::size_t>(step);
  });
}

int nan_in_band(int direct, int count, int first, int end, int most, const complex_double* x,
                int ld) {
  return has_nan<DoubleVector>(direct != 0, count, [&](int j, int& doubles) QSL_INLINE_LAMBDA {
    const int start = first > j ? first - j : 0;
    const int stop = end - j < most ? end - j : most;
    doubles = 2 * (stop - start);
    return scalars(x + start + static_cast<std::size_t>(j) * static_cast<std::size_t>(ld));
  });
}

}  // namespace qsl::QSL_LEVEL
