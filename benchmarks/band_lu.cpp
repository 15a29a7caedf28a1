// Systems with a complex band matrix and one right-hand side. A shape NxW is a matrix of order N
// with W sub- and W super-diagonals, of random numbers, so that rows are exchanged. Each call
// copies the matrix first, which is part of the time.
#include <algorithm>
#include <complex>

#include "benchmarks/harness.h"
#include "qsl/types.h"

namespace qsl_bench {
namespace {

using Number = std::complex<double>;

// By the C interface, with the search for NaN, which the peers' routines do without.
using OwnSolver = int(int layout, int n, int kl, int ku, int nrhs, Number* ab, int ldab, int* ipiv,
                      Number* b, int ldb);
using PublishedSolver = void(const int* n, const int* kl, const int* ku, const int* nrhs,
                             Number* ab, const int* ldab, int* ipiv, Number* b, const int* ldb,
                             int* info);

double measure(benchmark::State& state, Function solver, const Shape& shape) {
  const int n = shape[0], w = shape[1], ldab = 3 * w + 1, nrhs = 1;
  std::vector<Number> matrix(static_cast<std::size_t>(ldab) * static_cast<std::size_t>(n));
  Random next;
  for (Number& number : matrix) number = {next(), next()};
  std::vector<Number> ab = matrix, b(static_cast<std::size_t>(n));
  std::vector<int> ipiv(static_cast<std::size_t>(n));
  int info = 0;
  for (auto _ : state) {
    std::copy(matrix.begin(), matrix.end(), ab.begin());
    std::fill(b.begin(), b.end(), Number(1, 1));
    if (solver.is_own) {
      info = solver.as<OwnSolver>()(CblasColMajor, n, w, w, nrhs, ab.data(), ldab, ipiv.data(),
                                    b.data(), n);
    } else {
      solver.as<PublishedSolver>()(&n, &w, &w, &nrhs, ab.data(), &ldab, ipiv.data(), b.data(), &n,
                                   &info);
    }
    if (info != 0) state.SkipWithError("singular");
  }
  return 1;
}

// Of a factorisation whose rows are filled as far as they can be.
double operations(const Shape& shape) {
  const double n = shape[0], width = shape[1];
  return 8 * n * width * 2 * width;
}

}  // namespace

std::vector<Row> rows() {
  return {
      {"zgbsv",
       "LAPACKE_zgbsv",
       "zgbsv_",
       {{100, 1},
        {2000, 1},
        {2000, 5},
        {100, 10},
        {2000, 10},
        {2000, 32},
        {1000, 100},
        {2000, 100}},
       operations,
       {measure}},
  };
}

}  // namespace qsl_bench
