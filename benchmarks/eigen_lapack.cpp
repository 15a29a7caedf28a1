#include <Eigen/LU>

#include "benchmarks/lapack_functions.h"

namespace qsl_bench {
namespace {

template <class Number>
using Matrix = Eigen::Matrix<Number, Eigen::Dynamic, Eigen::Dynamic>;
template <class Number>
using InPlace = Eigen::PartialPivLU<Eigen::Ref<Matrix<Number>>>;

void dgetrf(int n, double* a, int* ipiv) {
  Eigen::Map<Matrix<double>> matrix(a, n, n);
  const InPlace<double> factors(matrix);
  ipiv[0] = factors.permutationP().indices()[0];
}

template <class Number>
void gesv(int n, int nrhs, Number* a, int*, Number* b) {
  Eigen::Map<Matrix<Number>> matrix(a, n, n), right(b, n, nrhs);
  const InPlace<Number> factors(matrix);
  right = factors.solve(right).eval();
}

}  // namespace

LapackFunctions eigen_lapack() { return {dgetrf, gesv<double>, gesv<std::complex<double>>}; }

}  // namespace qsl_bench
