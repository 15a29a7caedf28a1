// The band solvers of one library, as the benchmarks call them: all through pointers.
#pragma once

#include <complex>

namespace qsl_bench {

// Factors a band matrix in LAPACK's storage and solves a system with it. Arguments are by address.
using BandSolver = void(const int* n, const int* kl, const int* ku, const int* nrhs,
                        std::complex<double>* ab, const int* ldab, int* ipiv,
                        std::complex<double>* b, const int* ldb, int* info);

// Eigen, compiled for AVX2 with FMA in a source file of its own. It has no solver for band
// matrices: this is its sparse one, without reordering. What depends on the bands alone is done
// once for all calls with the same sizes.
BandSolver* eigen_band_solver();

}  // namespace qsl_bench
