#include "benchmarks/fixed_lu.h"

#include <complex>

namespace qsl_bench {
namespace {

using Number = std::complex<double>;

template <int n>
void factor(double* storage) {
  Number* a = reinterpret_cast<Number*>(storage);
  for (int k = 0; k < n; k++) {
    const Number reciprocal = 1.0 / a[k + k * n];
    for (int i = k + 1; i < n; i++) a[i + k * n] *= reciprocal;
    for (int j = k + 1; j < n; j++) {
      for (int i = k + 1; i < n; i++) a[i + j * n] -= a[i + k * n] * a[k + j * n];
    }
  }
}

}  // namespace

FixedLu fixed_lu(int n) {
  if (!__builtin_cpu_supports("avx2") || !__builtin_cpu_supports("fma")) return nullptr;
  switch (n) {
    case 2:
      return factor<2>;
    case 3:
      return factor<3>;
    case 4:
      return factor<4>;
    case 5:
      return factor<5>;
    case 8:
      return factor<8>;
    case 16:
      return factor<16>;
    default:
      return nullptr;
  }
}

}  // namespace qsl_bench
