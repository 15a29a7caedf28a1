// Column-major, contiguous. The pivots are not answered, and info is left alone.
#include <Eigen/LU>
#include <complex>

#include "benchmarks/eigen/export.h"

namespace {

template <class Number>
using Matrix = Eigen::Matrix<Number, Eigen::Dynamic, Eigen::Dynamic>;
template <class Number>
using InPlace = Eigen::PartialPivLU<Eigen::Ref<Matrix<Number>>>;

template <class Number>
void gesv(int n, int nrhs, Number* a, Number* b) {
  Eigen::Map<Matrix<Number>> matrix(a, n, n), right(b, n, nrhs);
  const InPlace<Number> factors(matrix);
  right = factors.solve(right).eval();
}

}  // namespace

QSL_EIGEN void dgetrf_(const int* m, const int*, double* a, const int*, int* ipiv, int*) {
  Eigen::Map<Matrix<double>> matrix(a, *m, *m);
  const InPlace<double> factors(matrix);
  ipiv[0] = factors.permutationP().indices()[0];
}

QSL_EIGEN void dgesv_(const int* n, const int* nrhs, double* a, const int*, int*, double* b,
                      const int*, int*) {
  gesv(*n, *nrhs, a, b);
}

QSL_EIGEN void zgesv_(const int* n, const int* nrhs, std::complex<double>* a, const int*, int*,
                      std::complex<double>* b, const int*, int*) {
  gesv(*n, *nrhs, a, b);
}
