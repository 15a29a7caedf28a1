// The Fortran-style solvers behind the exports. Every argument is passed by reference, matrices are
// column-major, pivots count from 1.
#pragma once

#include "include/qsl/types.h"
#include "runtime/dispatch/dispatcher.h"

extern "C" {

// A = P * L * U. *info: 0, the first column with a zero pivot, or -1002 after a stop by the progress
// hook. The arguments are checked already.
QSL_HIDDEN void qsl_dgetrf(const int* m, const int* n, double* a, const int* lda, int* ipiv,
                           int* info);
QSL_HIDDEN void qsl_zgetrf(const int* m, const int* n, complex_double* a, const int* lda, int* ipiv,
                           int* info);
// Non-zero, after a report, when an argument is bad; *info is set.
QSL_HIDDEN int qsl_dgetrf_checks(const int* m, const int* n, const int* lda, int* info);

// A * X = B. *info: as above, or the negative position of a bad argument. B is left alone then.
QSL_HIDDEN void DGESV(const int* n, const int* nrhs, double* a, const int* lda, int* ipiv,
                      double* b, const int* ldb, int* info);
QSL_HIDDEN void ZGESV(const int* n, const int* nrhs, complex_double* a, const int* lda, int* ipiv,
                      complex_double* b, const int* ldb, int* info);

// op(A) * X = B with a factored A; `trans` points to N, T or C in either case.
QSL_HIDDEN void DGETRS(const char* trans, const int* n, const int* nrhs, const double* a,
                       const int* lda, const int* ipiv, double* b, const int* ldb, int* info);
QSL_HIDDEN void ZGETRS(const char* trans, const int* n, const int* nrhs, const complex_double* a,
                       const int* lda, const int* ipiv, complex_double* b, const int* ldb,
                       int* info);

// Exchanges rows k1 to k2 of n columns with the rows that ipiv names; a negative incx takes them
// last to first. A pivot outside 1 to lda is reported and ends the call.
QSL_HIDDEN void DLASWP(const int* n, double* a, const int* lda, const int* k1, const int* k2,
                       const int* ipiv, const int* incx);
QSL_HIDDEN void ZLASWP(const int* n, complex_double* a, const int* lda, const int* k1,
                       const int* k2, const int* ipiv, const int* incx);

// 1 when the characters are equal without regard to the case of ASCII letters; 0 for a null pointer.
QSL_HIDDEN int qsl_lsame(const char* a, const char* b, int a_length, int b_length);
}
