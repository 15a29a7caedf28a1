// Vectors of unit stride.
#include <Eigen/Core>
#include <complex>

#include "benchmarks/eigen/export.h"

namespace {

using Complex = std::complex<double>;
using Real = Eigen::Map<const Eigen::VectorXd>;
using ComplexIn = Eigen::Map<const Eigen::VectorXcd>;
using ComplexOut = Eigen::Map<Eigen::VectorXcd>;

}  // namespace

QSL_EIGEN double cblas_ddot(int n, const double* x, int, const double* y, int) {
  return Real(x, n).dot(Real(y, n));
}

QSL_EIGEN void cblas_zaxpy(int n, const void* alpha, const void* x, int, void* y, int) {
  ComplexOut(static_cast<Complex*>(y), n) +=
      *static_cast<const Complex*>(alpha) * ComplexIn(static_cast<const Complex*>(x), n);
}

QSL_EIGEN void cblas_zcopy(int n, const void* x, int, void* y, int) {
  ComplexOut(static_cast<Complex*>(y), n) = ComplexIn(static_cast<const Complex*>(x), n);
}
