// Products with a complex band matrix, column-major: this library, OpenBLAS and Eigen.
//
// Benchmarks are named zgbmv-OP/LIBRARY/NxW for a matrix of order N with W sub- and W
// super-diagonals. All libraries meet a shape one after the other. The counter "flops" is the
// number of operations of an iteration.
#include <benchmark/benchmark.h>

#include <complex>
#include <cstdint>
#include <string>
#include <vector>

#include "benchmarks/band_functions.h"
#include "benchmarks/openblas.h"
#include "qsl/qsl.h"

namespace qsl_bench {
namespace {

using Number = std::complex<double>;

struct Library {
  std::string name;
  BandProduct* product;
};

struct Shape {
  int n, width;

  std::string text() const { return std::to_string(n) + "x" + std::to_string(width); }
  // Elements of the matrix.
  double elements() const { return (2.0 * width + 1) * n - width * (width + 1.0); }
};

constexpr Shape shapes[] = {{100, 1}, {2000, 1}, {100, 10}, {2000, 5}, {2000, 10}, {2000, 100}};

struct Operation {
  const char* name;
  int trans;
};
constexpr Operation operations[] = {
    {"zgbmv-N", CblasNoTrans}, {"zgbmv-T", CblasTrans}, {"zgbmv-C", CblasConjTrans}};

// Numbers from a cache line on.
class Numbers {
 public:
  explicit Numbers(int count) : storage_(static_cast<std::size_t>(count) + 4) {
    unsigned state = 1;
    const auto next = [&] {
      state = state * 1664525u + 1013904223u;
      return static_cast<int>(state) / 2147483648.0;
    };
    for (Number& number : storage_) number = {next(), next()};
  }
  Number* data() {
    return reinterpret_cast<Number*>((reinterpret_cast<std::uintptr_t>(storage_.data()) + 63) &
                                     ~std::uintptr_t{63});
  }

 private:
  std::vector<Number> storage_;
};

void measure(benchmark::State& state, BandProduct* product, int trans, const Shape& shape) {
  const int w = shape.width, lda = 2 * w + 1;
  Numbers a(lda * shape.n), x(shape.n), y(shape.n);
  const Number one = 1, zero = 0;
  for (auto _ : state) {
    product(CblasColMajor, trans, shape.n, shape.n, w, w, &one, a.data(), lda, x.data(), 1, &zero,
            y.data(), 1);
    benchmark::ClobberMemory();
  }
  state.counters["flops"] = 8 * shape.elements();
}

void add(const std::vector<Library>& libraries) {
  for (const Operation& operation : operations) {
    for (const Shape& shape : shapes) {
      for (const Library& library : libraries) {
        if (library.product == nullptr) continue;
        benchmark::RegisterBenchmark(
            (std::string(operation.name) + "/" + library.name + "/" + shape.text()).c_str(),
            [=](benchmark::State& state) {
              measure(state, library.product, operation.trans, shape);
            });
      }
    }
  }
}

BandProduct* openblas_product() {
  BandProduct* product = nullptr;
  find(open_openblas(), "cblas_zgbmv", product);
  return product;
}

}  // namespace
}  // namespace qsl_bench

int main(int argc, char** argv) {
  using namespace qsl_bench;
  std::vector<Library> libraries = {{"qsl", cblas_zgbmv}, {"openblas", openblas_product()}};
  // Eigen's code here needs AVX2 and FMA and would end the program on other processors.
  if (__builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma")) {
    libraries.push_back({"eigen", eigen_band_product()});
  }
  add(libraries);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
}
