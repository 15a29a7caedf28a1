// Matrix products C := op(A) * op(B), column-major: this library, OpenBLAS, Eigen, and a bound.
//
// Benchmarks are named ROUTINE/LIBRARY/n for square matrices, ROUTINE-PAIR/LIBRARY/n where the pair
// of letters says how A and B are taken, and ROUTINE-skinny/LIBRARY/MxNxK. All libraries meet a
// shape one after the other. The counter "flops" is the number of operations of an iteration.
//
// The bound is a loop of fused multiply-adds on registers (bound.cpp): a product in double
// precision on 256-bit registers is as fast at best, one in single precision twice as fast.
#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdlib>
#include <new>
#include <string>
#include <vector>

#include "benchmarks/level3_functions.h"
#include "benchmarks/openblas.h"
#include "qsl/qsl.h"

namespace qsl_bench {
namespace {

struct Product {
  int transa, transb, m, n, k;

  double multiplications() const { return 1.0 * m * n * k; }
};

struct Library {
  std::string name;
  Level3Functions functions;
};

constexpr int real_sizes[] = {4, 8, 12, 16, 24, 32, 48, 64, 100, 200, 300, 400, 500, 1000, 2000};
constexpr int flatness_size = 3000;  // this library only
constexpr int complex_sizes[] = {8, 32, 100, 200, 400, 1000};
constexpr int pair_sizes[] = {400, 1000};
constexpr int complex_pair_size = 400;
constexpr int small_sizes[] = {2, 4, 8, 16};
constexpr int long_size = 1000;

// A, B and C in one block, each on a cache line, with a few lines between them so that sizes that
// are powers of two don't put all three on the same place of a page. The block grows with the
// shapes and is written when it does, so no page is new to a measured call.
template <class Real>
class Operands {
 public:
  Operands(const Product& p, int parts) {
    const std::size_t m = static_cast<std::size_t>(p.m), n = static_cast<std::size_t>(p.n);
    const std::size_t k = static_cast<std::size_t>(p.k), width = static_cast<std::size_t>(parts);
    const std::size_t a_size = padded(m * k * width), b_size = padded(k * n * width);
    Real* block = storage(a_size + b_size + padded(m * n * width));
    a = block;
    b = a + a_size;
    c = b + b_size;
  }

  Real* a;
  Real* b;
  Real* c;

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
      unsigned state = 1;
      for (std::size_t i = 0; i < count; i++) {
        state = state * 1664525u + 1013904223u;
        block[i] = static_cast<Real>(static_cast<int>(state)) / static_cast<Real>(2147483648.0);
      }
    }
    return block;
  }
};

struct LeadingDimensions {
  explicit LeadingDimensions(const Product& p)
      : a(p.transa == CblasNoTrans ? p.m : p.k), b(p.transb == CblasNoTrans ? p.k : p.n), c(p.m) {}
  int a, b, c;
};

void measure_real(benchmark::State& state, RealProduct* product, const Product& p) {
  const Operands<double> x(p, 1);
  const LeadingDimensions ld(p);
  for (auto _ : state) {
    product(CblasColMajor, p.transa, p.transb, p.m, p.n, p.k, 1.0, x.a, ld.a, x.b, ld.b, 0.0, x.c,
            ld.c);
    benchmark::ClobberMemory();
  }
  state.counters["flops"] = 2 * p.multiplications();
}

template <class Real>
void measure_complex(benchmark::State& state, ComplexProduct* product, const Product& p) {
  const Operands<Real> x(p, 2);
  const LeadingDimensions ld(p);
  const Real one[2] = {1, 0}, zero[2] = {0, 0};
  for (auto _ : state) {
    product(CblasColMajor, p.transa, p.transb, p.m, p.n, p.k, one, x.a, ld.a, x.b, ld.b, zero, x.c,
            ld.c);
    benchmark::ClobberMemory();
  }
  state.counters["flops"] = 8 * p.multiplications();
}

void measure_bound(benchmark::State& state, double numbers_per_double) {
  constexpr int passes = 500;
  for (auto _ : state) run_bound(passes);
  state.counters["flops"] = passes * bound_flops * numbers_per_double;
}

template <class Measure, class Function>
void add(const std::string& routine, const std::string& library, const std::string& shape,
         Measure measure, Function* function, const Product& product) {
  if (function == nullptr) return;
  benchmark::RegisterBenchmark((routine + "/" + library + "/" + shape).c_str(),
                               [=](benchmark::State& state) { measure(state, function, product); });
}

void add_bound(const char* routine, int n, double numbers_per_double) {
  if (!__builtin_cpu_supports("avx2") || !__builtin_cpu_supports("fma")) return;
  benchmark::RegisterBenchmark(
      (std::string(routine) + "/bound/" + std::to_string(n)).c_str(),
      [=](benchmark::State& state) { measure_bound(state, numbers_per_double); });
}

void add_dgemm(const std::vector<Library>& libraries, const char* suffix, const std::string& shape,
               const Product& product) {
  for (const Library& library : libraries) {
    add(std::string("dgemm") + suffix, library.name, shape, measure_real, library.functions.dgemm,
        product);
  }
}

void add_complex(const std::vector<Library>& libraries, const char* suffix, int n, int transa) {
  const Product product = {transa, CblasNoTrans, n, n, n};
  for (const Library& library : libraries) {
    add(std::string("zgemm") + suffix, library.name, std::to_string(n), measure_complex<double>,
        library.functions.zgemm, product);
  }
  for (const Library& library : libraries) {
    add(std::string("cgemm") + suffix, library.name, std::to_string(n), measure_complex<float>,
        library.functions.cgemm, product);
  }
}

void add_square(const std::vector<Library>& libraries) {
  for (const int n : real_sizes) {
    add_bound("dgemm", n, 1);
    add_dgemm(libraries, "", std::to_string(n), {CblasNoTrans, CblasNoTrans, n, n, n});
  }
  add_bound("dgemm", flatness_size, 1);
  add_dgemm({libraries.front()}, "", std::to_string(flatness_size),
            {CblasNoTrans, CblasNoTrans, flatness_size, flatness_size, flatness_size});
  for (const int n : complex_sizes) {
    add_bound("zgemm", n, 1);
    add_bound("cgemm", n, 2);
    add_complex(libraries, "", n, CblasNoTrans);
  }
}

void add_pairs(const std::vector<Library>& libraries) {
  for (const int n : pair_sizes) {
    const std::string shape = std::to_string(n);
    add_dgemm(libraries, "-NN", shape, {CblasNoTrans, CblasNoTrans, n, n, n});
    add_dgemm(libraries, "-NT", shape, {CblasNoTrans, CblasTrans, n, n, n});
    add_dgemm(libraries, "-TN", shape, {CblasTrans, CblasNoTrans, n, n, n});
    add_dgemm(libraries, "-TT", shape, {CblasTrans, CblasTrans, n, n, n});
  }
  add_complex(libraries, "-NN", complex_pair_size, CblasNoTrans);
  add_complex(libraries, "-CN", complex_pair_size, CblasConjTrans);
}

void add_skinny(const std::vector<Library>& libraries) {
  const auto add_shape = [&](int m, int n, int k) {
    const std::string shape = std::to_string(m) + "x" + std::to_string(n) + "x" + std::to_string(k);
    add_dgemm(libraries, "-skinny", shape, {CblasNoTrans, CblasNoTrans, m, n, k});
  };
  constexpr int l = long_size;
  for (const int s : small_sizes) add_shape(s, l, l);
  for (const int s : small_sizes) add_shape(l, s, l);
  for (const int s : small_sizes) add_shape(l, l, s);
  for (const int s : small_sizes) add_shape(l, s, s);
  for (const int s : small_sizes) add_shape(s, l, s);
  for (const int s : small_sizes) add_shape(s, s, l);
}

Level3Functions openblas_level3() {
  void* library = open_openblas();
  Level3Functions functions = {};
  find(library, "cblas_dgemm", functions.dgemm);
  find(library, "cblas_zgemm", functions.zgemm);
  find(library, "cblas_cgemm", functions.cgemm);
  return functions;
}

}  // namespace
}  // namespace qsl_bench

int main(int argc, char** argv) {
  using namespace qsl_bench;
  std::vector<Library> libraries = {{"qsl", {cblas_dgemm, cblas_zgemm, cblas_cgemm}},
                                    {"openblas", openblas_level3()}};
  // Eigen's code here needs AVX2 and FMA and would end the program on other processors.
  if (__builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma")) {
    libraries.push_back({"eigen", eigen_level3()});
  }
  add_square(libraries);
  add_pairs(libraries);
  add_skinny(libraries);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
}
