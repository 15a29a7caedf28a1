// Factorisations, of shape N, and systems with R right-hand sides, of shape NxR; a routine's name
// ends in -rows for row-major arrays. Every call destroys its operands, so an iteration restores a
// pool of them and then times the calls alone.
#include <algorithm>
#include <complex>
#include <ctime>
#include <type_traits>

#include "benchmarks/harness.h"
#include "qsl/types.h"

namespace qsl_bench {
namespace {

using Complex = std::complex<double>;

double seconds() {
  timespec now;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

template <class Number>
std::vector<Number> numbers(std::size_t count) {
  Random next;
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

// The factorisation of a matrix of order n, and the solution of a system.

using Factorisation = void(const int* m, const int* n, double* a, const int* lda, int* ipiv,
                           int* info);
// By the C interface, with the search for NaN unless the environment says no.
template <class Number>
using OwnSolver = int(int layout, int n, int nrhs, Number* a, int lda, int* ipiv, Number* b,
                      int ldb);
template <class Number>
using PublishedSolver = void(const int* n, const int* nrhs, Number* a, const int* lda, int* ipiv,
                             Number* b, const int* ldb, int* info);

struct Factor {
  using Number = double;
  static void call(Function f, int n, int, double* a, int* ipiv, double*) {
    int info;
    f.as<Factorisation>()(&n, &n, a, &n, ipiv, &info);
  }
};

template <class Element, int layout = CblasColMajor>
struct Solve {
  using Number = Element;
  static void call(Function f, int n, int nrhs, Number* a, int* ipiv, Number* b) {
    int info;
    if (f.is_own) {
      f.as<OwnSolver<Number>>()(layout, n, nrhs, a, n, ipiv, b, layout == CblasColMajor ? n : nrhs);
    } else {
      f.as<PublishedSolver<Number>>()(&n, &nrhs, a, &n, ipiv, b, &n, &info);
    }
  }
};

// A call for each of a pool of systems. No two have the same matrix: a processor learns the pivots
// of one.
template <class Use, class Number = typename Use::Number>
double run_pool(benchmark::State& state, Function function, const Shape& shape) {
  const int n = shape[0], nrhs = shape.size() > 1 ? shape[1] : 0;
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
    for (std::size_t i = 0; i < pool; i++) {
      Use::call(function, n, nrhs, matrices[i].data(), ipiv.data(), rights[i].data());
    }
    state.SetIterationTime(seconds() - start);
  }
  return static_cast<double>(pool);
}

template <class Use>
constexpr Measure pool = {run_pool<Use>, true};

// Multiplications and additions of real numbers.
double real_operations(const Shape& shape) {
  const double n = shape[0], nrhs = shape.size() > 1 ? shape[1] : 0;
  return 2.0 / 3.0 * n * n * n - n * n / 2 - n / 6 + 2 * n * n * nrhs;
}
double complex_operations(const Shape& shape) { return 4 * real_operations(shape); }

}  // namespace

std::vector<Row> rows() {
  const auto orders =
      sizes({2, 3, 4, 5, 6, 7, 8, 10, 12, 14, 16, 32, 64, 100, 200, 300, 500, 1000, 2000});
  std::vector<Shape> systems;
  for (const int n : {2, 4, 8, 100, 500, 1000}) {
    for (const int nrhs : {1, 10, 100}) systems.push_back({n, nrhs});
  }
  return {
      {"dgetrf", "DGETRF", "dgetrf_", orders, real_operations, pool<Factor>},
      {"dgesv", "LAPACKE_dgesv", "dgesv_", systems, real_operations, pool<Solve<double>>},
      {"zgesv", "LAPACKE_zgesv", "zgesv_", systems, complex_operations, pool<Solve<Complex>>},
      {"dgesv-rows", "LAPACKE_dgesv", nullptr, systems, real_operations,
       pool<Solve<double, CblasRowMajor>>},
      {"zgesv-rows", "LAPACKE_zgesv", nullptr, systems, complex_operations,
       pool<Solve<Complex, CblasRowMajor>>},
  };
}

}  // namespace qsl_bench
