// The routines of the solvers behind the exports: dispatchers and variants of their kernels.
//
// Matrices are column-major, pivots count from 1. `trans` is 0 for A, 1 for its transpose, 2 for
// its conjugate transpose. Factors are passed by address: a double on the stack may pass through
// the x87 unit.
#pragma once

#include "include/qsl/types.h"
#include "runtime/dispatch/dispatcher.h"

// A = P * L * U for m, n <= 16. *info is set: 0, or the first column with a zero pivot.
QSL_DECLARE_VARIANTS(void, dgetrf_small, (int m, int n, double* a, int lda, int* ipiv, int* info));
QSL_DECLARE_VARIANTS(void, zgetrf_small,
                     (int m, int n, complex_double* a, int lda, int* ipiv, int* info));

// The same for any size, unblocked. It stands on the matrix-vector product, so it has a
// reproducible body as well.
QSL_DECLARE_VARIANTS(void, dgetrf_leaf, (int m, int n, double* a, int lda, int* ipiv, int* info));
QSL_DECLARE_VARIANTS(void, zgetrf_leaf,
                     (int m, int n, complex_double* a, int lda, int* ipiv, int* info));

// op(A) * X = B for 1 <= n <= 8, A being factored; X replaces B.
QSL_DECLARE_VARIANTS(void, dgetrs_small,
                     (int trans, int n, int nrhs, const double* a, int lda, const int* ipiv,
                      double* b, int ldb));
QSL_DECLARE_VARIANTS(void, zgetrs_small,
                     (int trans, int n, int nrhs, const complex_double* a, int lda, const int* ipiv,
                      complex_double* b, int ldb));

// Exchanges row `row` with row pivot[0], the next one in `direction` (1 or -1) with pivot[step],
// and so on, `count` rows in n columns; rows count from 0, pivots from 1. Answers 1 when a pivot is
// not in 1 to lda.
QSL_DECLARE_VARIANTS(int, dlaswp,
                     (int n, double* a, int lda, int row, int direction, const int* pivot, int step,
                      int count));
QSL_DECLARE_VARIANTS(int, zlaswp,
                     (int n, complex_double* a, int lda, int row, int direction, const int* pivot,
                      int step, int count));

// B := alpha * A^T, A having `columns` columns of `rows` contiguous elements.
QSL_DECLARE_VARIANTS(void, domatcopy_t,
                     (int rows, int columns, const double* alpha, const double* a, int lda,
                      double* b, int ldb));
QSL_DECLARE_VARIANTS(void, zomatcopy_t,
                     (int rows, int columns, const complex_double* alpha, const complex_double* a,
                      int lda, complex_double* b, int ldb));

// Is there a NaN? `direct` looks at every element, otherwise sums come first.
// In `count` runs of `length` doubles, `step` doubles apart.
QSL_DECLARE_VARIANTS(int, nan_in_runs,
                     (int direct, int count, int length, const double* x, int step));
// In a complex band of `count` runs of storage, `ld` elements apart. Run j holds the elements from
// max(first - j, 0) to min(end - j, most) - 1.
QSL_DECLARE_VARIANTS(int, nan_in_band,
                     (int direct, int count, int first, int end, int most, const complex_double* x,
                      int ld));
