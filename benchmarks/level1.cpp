// Vector routines of unit stride.
#include <cstdlib>
#include <cstring>

#include "benchmarks/harness.h"

namespace qsl_bench {
namespace {

constexpr double alpha[2] = {0x1p-40, -0x1p-41};  // repeated updates stay finite

// Arrays on cache lines, `width` doubles an element; y is offset so that equal indices do not lie
// on equal addresses modulo a page, which would make loads wait for unrelated stores.
template <int width>
struct Arrays {
  explicit Arrays(const Shape& shape) : Arrays(static_cast<std::size_t>(shape[0]) * width) {}
  explicit Arrays(std::size_t doubles) {
    const std::size_t pages = (doubles * sizeof(double) + 4096 + 4095) / 4096;
    x = static_cast<double*>(std::aligned_alloc(4096, pages * 4096));
    y_base = static_cast<double*>(std::aligned_alloc(4096, pages * 4096));
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

  double* x;
  double* y;
  double* y_base;
};

using Real = Arrays<1>;
using Complex = Arrays<2>;

using Dot = double(int n, const double* x, int incx, const double* y, int incy);
using Axpy = void(int n, const void* alpha, const void* x, int incx, void* y, int incy);
using Copy = void(int n, const void* x, int incx, void* y, int incy);

void copy_by_memcpy(int n, const void* x, int, void* y, int) {
  std::memcpy(y, x, static_cast<std::size_t>(n) * 16);
}

// Through a pointer, as the libraries.
void measure_memcpy(benchmark::State& state, const Shape& shape) {
  Complex v(shape);
  Copy* copy = copy_by_memcpy;
  benchmark::DoNotOptimize(copy);
  for (auto _ : state) {
    copy(shape[0], v.x, 1, v.y, 1);
    benchmark::ClobberMemory();
  }
}

}  // namespace

std::vector<Row> rows() {
  const auto lengths = sizes({1, 4, 16, 64, 128, 1000, 10000, 100000, 1000000});
  const auto whole_call = nullptr;
  return {
      {"ddot", "cblas_ddot", "cblas_ddot", lengths, whole_call,
       repeat<Dot, Real>([](auto* dot, const Shape& n, const Real& v) {
         benchmark::DoNotOptimize(dot(n[0], v.x, 1, v.y, 1));
       })},
      {"zaxpy", "cblas_zaxpy", "cblas_zaxpy", lengths, whole_call,
       repeat<Axpy, Complex>([](auto* axpy, const Shape& n, const Complex& v) {
         axpy(n[0], alpha, v.x, 1, v.y, 1);
       })},
      {"zcopy",
       "cblas_zcopy",
       "cblas_zcopy",
       lengths,
       whole_call,
       repeat<Copy, Complex>(
           [](auto* copy, const Shape& n, const Complex& v) { copy(n[0], v.x, 1, v.y, 1); }),
       {"memcpy", measure_memcpy}},
  };
}

}  // namespace qsl_bench
