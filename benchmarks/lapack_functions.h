// The factorisation and the solvers of one library, as the benchmarks call them: all through
// pointers. Column-major, contiguous.
#pragma once

#include <complex>

namespace qsl_bench {

// A = P * L * U in place.
using Factorisation = void(int n, double* a, int* ipiv);
// A * X = B in place.
template <class Number>
using Solver = void(int n, int nrhs, Number* a, int* ipiv, Number* b);

struct LapackFunctions {
  Factorisation* dgetrf;
  Solver<double>* dgesv;
  Solver<std::complex<double>>* zgesv;
};

// Eigen, compiled for AVX2 with FMA in a source file of its own.
LapackFunctions eigen_lapack();

}  // namespace qsl_bench
