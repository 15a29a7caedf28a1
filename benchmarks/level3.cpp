// Matrix products C := op(A) * op(B), column-major. A shape N is that of square matrices, MxNxK
// says all three sizes; ROUTINE-PAIR says by two letters how A and B are taken.
//
// The bound is a loop of fused multiply-adds on registers (bound.cpp): a product in double
// precision on registers of that width is as fast at best, one in single precision twice as fast.
#include <complex>
#include <cstddef>
#include <cstdlib>
#include <new>

#include "benchmarks/bound.h"
#include "benchmarks/harness.h"
#include "qsl/types.h"

namespace qsl_bench {
namespace {

struct Sizes {
  explicit Sizes(const Shape& shape)
      : m(shape[0]), n(shape[shape.size() / 2]), k(shape[shape.size() - 1]) {}
  int m, n, k;
};

// A, B and C in one block, each on a cache line, with a few lines between them so that sizes that
// are powers of two don't put all three on the same place of a page. The block grows with the
// shapes and is written when it does, so no page is new to a measured call.
template <class Real, int parts>
class Operands {
 public:
  explicit Operands(const Shape& shape) : size(shape) {
    const std::size_t m = size.m, n = size.n, k = size.k;
    const std::size_t a_size = padded(m * k * parts), b_size = padded(k * n * parts);
    Real* block = storage(a_size + b_size + padded(m * n * parts));
    a = block;
    b = a + a_size;
    c = b + b_size;
  }

  Sizes size;
  Real* a;
  Real* b;
  Real* c;
  Real one[2] = {1, 0}, zero[2] = {0, 0};

 private:
  static constexpr std::size_t line = 64 / sizeof(Real);

  static std::size_t padded(std::size_t count) { return (count / line + 6) * line; }

  static Real* storage(std::size_t count) {
    static Real* block = nullptr;
    static std::size_t capacity = 0;
    if (count > capacity) {
      std::free(block);
      block =
          static_cast<Real*>(std::aligned_alloc(4096, (count * sizeof(Real) / 4096 + 1) * 4096));
      if (block == nullptr) throw std::bad_alloc();
      capacity = count;
      Random next;
      for (std::size_t i = 0; i < count; i++) block[i] = static_cast<Real>(next());
    }
    return block;
  }
};

using RealProduct = void(int layout, int transa, int transb, int m, int n, int k, double alpha,
                         const double* a, int lda, const double* b, int ldb, double beta, double* c,
                         int ldc);
using ComplexProduct = void(int layout, int transa, int transb, int m, int n, int k,
                            const void* alpha, const void* a, int lda, const void* b, int ldb,
                            const void* beta, void* c, int ldc);

template <int transa = CblasNoTrans, int transb = CblasNoTrans>
Measure real() {
  using Matrices = Operands<double, 1>;
  return repeat<RealProduct, Matrices>([](auto* gemm, const Shape&, const Matrices& o) {
    const auto [m, n, k] = o.size;
    gemm(CblasColMajor, transa, transb, m, n, k, 1.0, o.a, transa == CblasNoTrans ? m : k, o.b,
         transb == CblasNoTrans ? k : n, 0.0, o.c, m);
  });
}

template <class Part, int transa = CblasNoTrans>
Measure complex() {
  using Matrices = Operands<Part, 2>;
  return repeat<ComplexProduct, Matrices>([](auto* gemm, const Shape&, const Matrices& o) {
    const auto [m, n, k] = o.size;
    gemm(CblasColMajor, transa, CblasNoTrans, m, n, k, o.one, o.a, transa == CblasNoTrans ? m : k,
         o.b, k, o.zero, o.c, m);
  });
}

double real_operations(const Shape& shape) {
  const Sizes size(shape);
  return 2.0 * size.m * size.n * size.k;
}
double complex_operations(const Shape& shape) { return 4 * real_operations(shape); }

template <int numbers_per_double>
void measure_bound(benchmark::State& state, const Shape&) {
  constexpr int passes = 500;
  for (auto _ : state) run_bound(passes);
  state.counters["flops"] = passes * bound_flops() * numbers_per_double;
}

template <int numbers_per_double>
Yardstick bound() {
  return {"bound", bound_flops() > 0 ? measure_bound<numbers_per_double> : nullptr};
}

std::vector<Shape> skinny() {
  std::vector<Shape> shapes;
  constexpr int l = 1000;
  const auto small = {2, 4, 8, 16};
  for (const int s : small) shapes.push_back({s, l, l});
  for (const int s : small) shapes.push_back({l, s, l});
  for (const int s : small) shapes.push_back({l, l, s});
  for (const int s : small) shapes.push_back({l, s, s});
  for (const int s : small) shapes.push_back({s, l, s});
  for (const int s : small) shapes.push_back({s, s, l});
  return shapes;
}

}  // namespace

std::vector<Row> rows() {
  const auto squares = sizes({4, 8, 12, 16, 24, 32, 48, 64, 100, 200, 300, 400, 500, 1000, 2000});
  const auto complex_squares = sizes({8, 32, 100, 200, 400, 1000});
  const auto pairs = sizes({400, 1000}), complex_pairs = sizes({400});
  const char *d = "cblas_dgemm", *z = "cblas_zgemm", *c = "cblas_cgemm";
  constexpr auto n = CblasNoTrans, t = CblasTrans;
  return {
      {"dgemm", d, d, squares, real_operations, real(), bound<1>()},
      // How flat the rate is: this library alone.
      {"dgemm", d, nullptr, sizes({3000}), real_operations, real(), bound<1>()},
      {"zgemm", z, z, complex_squares, complex_operations, complex<double>(), bound<1>()},
      {"cgemm", c, c, complex_squares, complex_operations, complex<float>(), bound<2>()},
      {"dgemm-NN", d, d, pairs, real_operations, real<n, n>()},
      {"dgemm-NT", d, d, pairs, real_operations, real<n, t>()},
      {"dgemm-TN", d, d, pairs, real_operations, real<t, n>()},
      {"dgemm-TT", d, d, pairs, real_operations, real<t, t>()},
      {"zgemm-NN", z, z, complex_pairs, complex_operations, complex<double>()},
      {"cgemm-NN", c, c, complex_pairs, complex_operations, complex<float>()},
      {"zgemm-CN", z, z, complex_pairs, complex_operations, complex<double, CblasConjTrans>()},
      {"cgemm-CN", c, c, complex_pairs, complex_operations, complex<float, CblasConjTrans>()},
      {"dgemm-skinny", d, d, skinny(), real_operations, real()},
  };
}

}  // namespace qsl_bench
