// Eigen has no product with a band matrix: the columns are its vectors. Column-major and
// y := op(A) * x only: the factors and the strides are not looked at.
#include <Eigen/Core>
#include <algorithm>
#include <complex>

#include "benchmarks/eigen/export.h"
#include "include/qsl/types.h"

namespace {

using Number = std::complex<double>;
using In = Eigen::Map<const Eigen::VectorXcd>;
using Out = Eigen::Map<Eigen::VectorXcd>;

}  // namespace

QSL_EIGEN void cblas_zgbmv(int, int trans, int m, int n, int kl, int ku, const void*, const void* a,
                           int lda, const void* x_at, int, const void*, void* y_at, int) {
  const In x(static_cast<const Number*>(x_at), trans == CblasNoTrans ? n : m);
  Out y(static_cast<Number*>(y_at), trans == CblasNoTrans ? m : n);
  if (trans == CblasNoTrans) y.setZero();
  const Number* column = static_cast<const Number*>(a);
  for (int j = 0; j < n; j++, column += lda) {
    const int first = std::max(0, j - ku), end = std::min(m, j + kl + 1), rows = end - first;
    const In elements(column + (ku + first - j), rows);
    if (trans == CblasNoTrans) {
      y.segment(first, rows) += x[j] * elements;
    } else if (trans == CblasTrans) {
      y[j] = elements.cwiseProduct(x.segment(first, rows)).sum();
    } else {
      y[j] = elements.dot(x.segment(first, rows));
    }
  }
}
