// Products with a complex band matrix, column-major: y := op(A) * x. A shape NxW is a matrix of
// order N with W sub- and W super-diagonals.
#include <complex>
#include <cstdint>

#include "benchmarks/harness.h"
#include "qsl/types.h"

namespace qsl_bench {
namespace {

using Number = std::complex<double>;

using Product = void(int layout, int trans, int m, int n, int kl, int ku, const void* alpha,
                     const void* a, int lda, const void* x, int incx, const void* beta, void* y,
                     int incy);

// Numbers from a cache line on.
class Numbers {
 public:
  explicit Numbers(int count) : storage_(static_cast<std::size_t>(count) + 4) {
    Random next;
    for (Number& number : storage_) number = {next(), next()};
  }
  Number* data() {
    return reinterpret_cast<Number*>((reinterpret_cast<std::uintptr_t>(storage_.data()) + 63) &
                                     ~std::uintptr_t{63});
  }

 private:
  std::vector<Number> storage_;
};

struct Operands {
  explicit Operands(const Shape& shape)
      : n(shape[0]), width(shape[1]), a((2 * width + 1) * n), x(n), y(n) {}

  int n, width;
  Numbers a, x, y;
  Number one = 1, zero = 0;
};

template <int trans>
Measure product() {
  return repeat<Product, Operands>([](auto* gbmv, const Shape&, Operands& o) {
    gbmv(CblasColMajor, trans, o.n, o.n, o.width, o.width, &o.one, o.a.data(), 2 * o.width + 1,
         o.x.data(), 1, &o.zero, o.y.data(), 1);
  });
}

// Eight for each element of the matrix.
double operations(const Shape& shape) {
  const double n = shape[0], width = shape[1];
  return 8 * ((2 * width + 1) * n - width * (width + 1));
}

}  // namespace

std::vector<Row> rows() {
  const std::vector<Shape> shapes = {{100, 1},  {2000, 1},  {100, 10},
                                     {2000, 5}, {2000, 10}, {2000, 100}};
  const char* symbol = "cblas_zgbmv";
  return {
      {"zgbmv-N", symbol, symbol, shapes, operations, product<CblasNoTrans>()},
      {"zgbmv-T", symbol, symbol, shapes, operations, product<CblasTrans>()},
      {"zgbmv-C", symbol, symbol, shapes, operations, product<CblasConjTrans>()},
  };
}

}  // namespace qsl_bench
