// ddot, zaxpy and zcopy of unit stride: this library, OpenBLAS, Eigen and the C library's memcpy.
//
// Benchmarks are named ROUTINE/LIBRARY/n. The library's processor type is fixed for a process:
// set QSL_DEBUG_CPU_TYPE and select LIBRARY qsl; report.py does so for every type.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "benchmarks/level1_functions.h"
#include "benchmarks/openblas.h"
#include "qsl/qsl.h"

namespace qsl_bench {
namespace {

constexpr int sizes[] = {1, 4, 16, 64, 128, 1000, 10000, 100000, 1000000};
constexpr double alpha[2] = {0x1p-40, -0x1p-41};  // repeated updates stay finite

// Arrays on cache lines; y is offset so that equal indices do not lie on equal addresses modulo a
// page, which would make loads wait for unrelated stores.
struct Arrays {
  explicit Arrays(std::size_t doubles) : bytes(doubles * sizeof(double) + 4096) {
    x = static_cast<double*>(std::aligned_alloc(4096, (bytes + 4095) / 4096 * 4096));
    y_base = static_cast<double*>(std::aligned_alloc(4096, (bytes + 4095) / 4096 * 4096));
    y = y_base + 256;
    for (std::size_t i = 0; i < doubles; i++) {
      x[i] = 1.0 + 1.0 / static_cast<double>(i + 1);
      y[i] = 2.0 - 1.0 / static_cast<double>(i + 1);
    }
  }
  ~Arrays() {
    std::free(x);
    std::free(y_base);
  }
  Arrays(const Arrays&) = delete;
  Arrays& operator=(const Arrays&) = delete;

  std::size_t bytes;
  double* x;
  double* y;
  double* y_base;
};

void measure_ddot(benchmark::State& state, Level1Functions library, int n) {
  Arrays arrays(static_cast<std::size_t>(n));
  for (auto _ : state) benchmark::DoNotOptimize(library.ddot(n, arrays.x, 1, arrays.y, 1));
}

void measure_zaxpy(benchmark::State& state, Level1Functions library, int n) {
  Arrays arrays(2 * static_cast<std::size_t>(n));
  for (auto _ : state) {
    library.zaxpy(n, alpha, arrays.x, 1, arrays.y, 1);
    benchmark::ClobberMemory();
  }
}

void measure_zcopy(benchmark::State& state, Level1Functions library, int n) {
  Arrays arrays(2 * static_cast<std::size_t>(n));
  for (auto _ : state) {
    library.zcopy(n, arrays.x, 1, arrays.y, 1);
    benchmark::ClobberMemory();
  }
}

void copy_by_memcpy(int n, const void* x, int, void* y, int) {
  std::memcpy(y, x, static_cast<std::size_t>(n) * 16);
}

Level1Functions openblas_level1() {
  void* library = open_openblas();
  Level1Functions functions = {};
  find(library, "cblas_ddot", functions.ddot);
  find(library, "cblas_zaxpy", functions.zaxpy);
  find(library, "cblas_zcopy", functions.zcopy);
  return functions;
}

void register_library(const std::string& name, Level1Functions library) {
  const auto add = [&](const char* routine, auto measure, int n) {
    const std::string full = std::string(routine) + "/" + name + "/" + std::to_string(n);
    benchmark::RegisterBenchmark(full.c_str(),
                                 [=](benchmark::State& state) { measure(state, library, n); });
  };
  for (const int n : sizes) {
    if (library.ddot != nullptr) add("ddot", measure_ddot, n);
    if (library.zaxpy != nullptr) add("zaxpy", measure_zaxpy, n);
    if (library.zcopy != nullptr) add("zcopy", measure_zcopy, n);
  }
}

}  // namespace
}  // namespace qsl_bench

int main(int argc, char** argv) {
  using namespace qsl_bench;
  register_library("qsl", {cblas_ddot, cblas_zaxpy, cblas_zcopy});
  register_library("openblas", openblas_level1());
  // Eigen's code here needs AVX2 and FMA and would end the program on other processors.
  if (__builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma")) {
    register_library("eigen", eigen_level1());
  }
  register_library("memcpy", {nullptr, nullptr, copy_by_memcpy});
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
}
