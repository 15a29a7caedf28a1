// Systems with a complex band matrix and one right-hand side: this library, OpenBLAS and Eigen.
//
// Benchmarks are named zgbsv/LIBRARY/NxW for a matrix of order N with W sub- and W super-diagonals,
// of random numbers, so that rows are exchanged. Each iteration copies the matrix first, which is
// part of the time. The counter "flops" is the number of operations of a factorisation whose rows
// are filled as far as they can be.
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "benchmarks/band_lu_functions.h"
#include "benchmarks/openblas.h"
#include "qsl/qsl.h"

namespace qsl_bench {
namespace {

using Number = std::complex<double>;

struct Library {
  std::string name;
  BandSolver* solver;
};

struct Shape {
  int n, width;
};
constexpr Shape shapes[] = {{100, 1},   {2000, 1},  {2000, 5},   {100, 10},
                            {2000, 10}, {2000, 32}, {1000, 100}, {2000, 100}};

void measure(benchmark::State& state, BandSolver* solver, const Shape& shape) {
  const int w = shape.width, n = shape.n, ldab = 3 * w + 1, nrhs = 1;
  std::vector<Number> matrix(static_cast<std::size_t>(ldab) * static_cast<std::size_t>(n));
  unsigned seed = 1;
  const auto next = [&] {
    seed = seed * 1664525u + 1013904223u;
    return static_cast<int>(seed) / 2147483648.0;
  };
  for (Number& number : matrix) number = {next(), next()};
  std::vector<Number> ab = matrix, b(static_cast<std::size_t>(n));
  std::vector<int> ipiv(static_cast<std::size_t>(n));
  int info = 0;
  for (auto _ : state) {
    std::copy(matrix.begin(), matrix.end(), ab.begin());
    std::fill(b.begin(), b.end(), Number(1, 1));
    solver(&n, &w, &w, &nrhs, ab.data(), &ldab, ipiv.data(), b.data(), &n, &info);
    if (info != 0) state.SkipWithError("singular");
  }
  state.counters["flops"] = 8.0 * n * w * 2 * w;
}

// With the search for NaN, which the peers' routines do without.
void qsl_zgbsv(const int* n, const int* kl, const int* ku, const int* nrhs, Number* ab,
               const int* ldab, int* ipiv, Number* b, const int* ldb, int* info) {
  *info = LAPACKE_zgbsv(CblasColMajor, *n, *kl, *ku, *nrhs, reinterpret_cast<complex_double*>(ab),
                        *ldab, ipiv, reinterpret_cast<complex_double*>(b), *ldb);
}

BandSolver* openblas_solver() {
  BandSolver* solver = nullptr;
  find(open_openblas(), "zgbsv_", solver);
  return solver;
}

}  // namespace
}  // namespace qsl_bench

int main(int argc, char** argv) {
  using namespace qsl_bench;
  std::vector<Library> libraries = {{"qsl", qsl_zgbsv}, {"openblas", openblas_solver()}};
  // Eigen's code here needs AVX2 and FMA and would end the program on other processors.
  if (__builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma")) {
    libraries.push_back({"eigen", eigen_band_solver()});
  }
  for (const Shape& shape : shapes) {
    for (const Library& library : libraries) {
      if (library.solver == nullptr) continue;
      const std::string name = "zgbsv/" + library.name + "/" + std::to_string(shape.n) + "x" +
                               std::to_string(shape.width);
      benchmark::RegisterBenchmark(
          name.c_str(), [=](benchmark::State& state) { measure(state, library.solver, shape); });
    }
  }
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
}
