// The two bodies of the complex update at the level p4m, apart for the tests.
#pragma once

#include "include/qsl/types.h"

namespace qsl::p4m {

// For processors with SSE4.1: unaligned loads.
void zaxpy_sse41(int n, const complex_double* alpha, const complex_double* x, int incx,
                 complex_double* y, int incy);

// For processors without: loads chosen by the alignment of x.
void zaxpy_ssse3(int n, const complex_double* alpha, const complex_double* x, int incx,
                 complex_double* y, int incy);

}  // namespace qsl::p4m
