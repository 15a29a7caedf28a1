#include <Eigen/Core>
#include <complex>

#include "benchmarks/level1_functions.h"

namespace qsl_bench {
namespace {

using Complex = std::complex<double>;
using Real = Eigen::Map<const Eigen::VectorXd>;
using ComplexIn = Eigen::Map<const Eigen::VectorXcd>;
using ComplexOut = Eigen::Map<Eigen::VectorXcd>;

double ddot(int n, const double* x, int, const double* y, int) {
  return Real(x, n).dot(Real(y, n));
}

void zaxpy(int n, const void* alpha, const void* x, int, void* y, int) {
  ComplexOut(static_cast<Complex*>(y), n) +=
      *static_cast<const Complex*>(alpha) * ComplexIn(static_cast<const Complex*>(x), n);
}

void zcopy(int n, const void* x, int, void* y, int) {
  ComplexOut(static_cast<Complex*>(y), n) = ComplexIn(static_cast<const Complex*>(x), n);
}

}  // namespace

Level1Functions eigen_level1() { return {ddot, zaxpy, zcopy}; }

}  // namespace qsl_bench
