// Systems with a complex band matrix.
//
// The array holds 2 * kl + ku + 1 rows: element (i, j) of A, counted from 0, stands in row
// kl + ku + i - j of column j. The first kl rows are room for the fill that row exchanges make;
// what stands there on entry is not looked at. Positions that belong to no element are left alone.
//
// Afterwards the array holds U, with kl + ku diagonals above the main one, and below it the
// multipliers of each step of the elimination as they were in that step: later exchanges are not
// applied to them. Pivots count from 1.
#pragma once

#include "include/qsl/types.h"
#include "runtime/dispatch/dispatcher.h"

// A = P * L * U, A being n by n. Answers 0 or the first column with a zero pivot, counted from 1.
// With a work area of gbtrf_work_elements() elements (blocking.h) it works in blocks; with null it
// does without.
QSL_DECLARE_VARIANTS(int, zgbtrf,
                     (int n, int kl, int ku, complex_double* ab, int ldab, int* ipiv,
                      complex_double* work));

// A * X = B with the factors; X replaces B.
QSL_DECLARE_VARIANTS(void, zgbtrs,
                     (int n, int kl, int ku, int nrhs, const complex_double* ab, int ldab,
                      const int* ipiv, complex_double* b, int ldb));

// Factors and solves. *info: 0; the first column with a zero pivot, and then B is left alone; or
// the negative position of a bad argument.
extern "C" QSL_HIDDEN void ZGBSV(const int* n, const int* kl, const int* ku, const int* nrhs,
                                 complex_double* ab, const int* ldab, int* ipiv, complex_double* b,
                                 const int* ldb, int* info);
