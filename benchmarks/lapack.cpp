// Factorisations and solves: this library, OpenBLAS and Eigen.
//
// Benchmarks are named ROUTINE/LIBRARY/N for the factorisation of a matrix of order N and
// ROUTINE/LIBRARY/NxR for a system with R right-hand sides; a routine's name ends in -rows for
// row-major arrays. Every call destroys its operands, so an iteration restores a pool of them and
// then times the calls alone. The counter "flops" is the number of operations of an iteration.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <complex>
#include <ctime>
#include <functional>
#include <string>
#include <type_traits>
#include <vector>

#include "benchmarks/lapack_functions.h"
#include "benchmarks/openblas.h"
#include "qsl/qsl.h"

namespace qsl_bench {
namespace {

using Complex = std::complex<double>;

struct Library {
  std::string name;
  LapackFunctions functions;
};

constexpr int orders[] = {2,  3,  4,  5,   6,   7,   8,   10,   12,  14,
                          16, 32, 64, 100, 200, 300, 500, 1000, 2000};
constexpr int system_orders[] = {2, 4, 8, 100, 500, 1000};
constexpr int right_hand_sides[] = {1, 10, 100};

double seconds() {
  timespec now;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

// Numbers between -1 and 1.
template <class Number>
std::vector<Number> numbers(std::size_t count) {
  unsigned state = 1;
  const auto next = [&] {
    state = state * 1664525u + 1013904223u;
    return static_cast<int>(state) / 2147483648.0;
  };
  std::vector<Number> made(count);
  for (Number& number : made) {
    if constexpr (std::is_same_v<Number, double>) {
      number = next();
    } else {
      number = {next(), next()};
    }
  }
  return made;
}

// Multiplications and additions of real numbers.
template <class Number>
double operations(double n, double nrhs) {
  const double count = 2.0 / 3.0 * n * n * n - n * n / 2 - n / 6 + 2 * n * n * nrhs;
  return std::is_same_v<Number, double> ? count : 4 * count;
}

// call(operands) for each of a pool of systems. No two have the same matrix: a processor learns the
// pivots of one.
template <class Number, class Call>
void measure(benchmark::State& state, int n, int nrhs, const Call& call) {
  // A clock's reading takes as long as some small systems do. (Many right-hand sides would not stay
  // in the second-level cache.)
  const std::size_t pool = n <= 16 && nrhs <= 10 ? 256 : n <= 64 ? 64 : 1;
  const std::size_t elements = static_cast<std::size_t>(n) * n;
  const auto a = numbers<Number>(pool * elements);
  std::vector<std::vector<Number>> matrices(pool, std::vector<Number>(elements));
  const auto b = numbers<Number>(static_cast<std::size_t>(n) * nrhs);
  std::vector<std::vector<Number>> rights(pool, b);
  std::vector<int> ipiv(n);
  for (auto _ : state) {
    for (std::size_t i = 0; i < pool; i++) {
      std::copy_n(&a[i * elements], elements, matrices[i].begin());
      std::copy(b.begin(), b.end(), rights[i].begin());
    }
    const double start = seconds();
    for (std::size_t i = 0; i < pool; i++) call(matrices[i].data(), ipiv.data(), rights[i].data());
    state.SetIterationTime(seconds() - start);
  }
  state.counters["flops"] = operations<Number>(n, nrhs) * static_cast<double>(pool);
}

void add(const std::string& name, const std::function<void(benchmark::State&)>& run) {
  benchmark::RegisterBenchmark(name.c_str(), run)->UseManualTime();
}

void add_factorisations(const std::vector<Library>& libraries) {
  for (const int n : orders) {
    for (const Library& library : libraries) {
      const auto factor = library.functions.dgetrf;
      if (factor == nullptr) continue;
      add("dgetrf/" + library.name + "/" + std::to_string(n), [=](benchmark::State& state) {
        measure<double>(state, n, 0, [=](double* a, int* ipiv, double*) { factor(n, a, ipiv); });
      });
    }
  }
}

template <class Number>
void add_systems(const std::string& routine, const std::string& library, Solver<Number>* solve,
                 int n, int nrhs) {
  if (solve == nullptr) return;
  add(routine + "/" + library + "/" + std::to_string(n) + "x" + std::to_string(nrhs),
      [=](benchmark::State& state) {
        measure<Number>(state, n, nrhs,
                        [=](Number* a, int* ipiv, Number* b) { solve(n, nrhs, a, ipiv, b); });
      });
}

// This library, by its C interface, with the search for NaN unless the environment says no.

void dgetrf(int n, double* a, int* ipiv) {
  int info;
  DGETRF(&n, &n, a, &n, ipiv, &info);
}
template <int layout>
void dgesv(int n, int nrhs, double* a, int* ipiv, double* b) {
  LAPACKE_dgesv(layout, n, nrhs, a, n, ipiv, b, layout == CblasColMajor ? n : nrhs);
}
template <int layout>
void zgesv(int n, int nrhs, Complex* a, int* ipiv, Complex* b) {
  LAPACKE_zgesv(layout, n, nrhs, reinterpret_cast<complex_double*>(a), n, ipiv,
                reinterpret_cast<complex_double*>(b), layout == CblasColMajor ? n : nrhs);
}

// OpenBLAS, by the published names.

using PublishedFactorisation = void(const int* m, const int* n, double* a, const int* lda,
                                    int* ipiv, int* info);
template <class Number>
using PublishedSolver = void(const int* n, const int* nrhs, Number* a, const int* lda, int* ipiv,
                             Number* b, const int* ldb, int* info);

PublishedFactorisation* openblas_dgetrf;
PublishedSolver<double>* openblas_dgesv;
PublishedSolver<Complex>* openblas_zgesv;

LapackFunctions openblas_lapack() {
  void* library = open_openblas();
  find(library, "dgetrf_", openblas_dgetrf);
  find(library, "dgesv_", openblas_dgesv);
  find(library, "zgesv_", openblas_zgesv);
  if (openblas_dgetrf == nullptr || openblas_dgesv == nullptr || openblas_zgesv == nullptr) {
    return {};
  }
  return {[](int n, double* a, int* ipiv) {
            int info;
            openblas_dgetrf(&n, &n, a, &n, ipiv, &info);
          },
          [](int n, int nrhs, double* a, int* ipiv, double* b) {
            int info;
            openblas_dgesv(&n, &nrhs, a, &n, ipiv, b, &n, &info);
          },
          [](int n, int nrhs, Complex* a, int* ipiv, Complex* b) {
            int info;
            openblas_zgesv(&n, &nrhs, a, &n, ipiv, b, &n, &info);
          }};
}

}  // namespace
}  // namespace qsl_bench

int main(int argc, char** argv) {
  using namespace qsl_bench;
  std::vector<Library> libraries = {{"qsl", {dgetrf, dgesv<CblasColMajor>, zgesv<CblasColMajor>}},
                                    {"openblas", openblas_lapack()}};
  // Eigen's code here needs AVX2 and FMA and would end the program on other processors.
  if (__builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma")) {
    libraries.push_back({"eigen", eigen_lapack()});
  }
  add_factorisations(libraries);
  for (const int n : system_orders) {
    for (const int nrhs : right_hand_sides) {
      for (const Library& library : libraries) {
        add_systems("dgesv", library.name, library.functions.dgesv, n, nrhs);
        add_systems("zgesv", library.name, library.functions.zgesv, n, nrhs);
      }
      add_systems("dgesv-rows", "qsl", dgesv<CblasRowMajor>, n, nrhs);
      add_systems("zgesv-rows", "qsl", zgesv<CblasRowMajor>, n, nrhs);
    }
  }
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
}
