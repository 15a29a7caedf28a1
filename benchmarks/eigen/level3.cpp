// Column-major products C := op(A) * op(B): the factors are not looked at.
#include <Eigen/Core>
#include <complex>

#include "benchmarks/eigen/export.h"
#include "include/qsl/types.h"

namespace {

template <class Scalar>
using Matrix = Eigen::Matrix<Scalar, Eigen::Dynamic, Eigen::Dynamic>;
template <class Scalar>
using In = Eigen::Map<const Matrix<Scalar>, 0, Eigen::OuterStride<>>;
template <class Scalar>
using Out = Eigen::Map<Matrix<Scalar>, 0, Eigen::OuterStride<>>;

// The stored matrix has `rows` rows and `columns` columns once it is transposed; `use` gets it.
template <class Scalar, class Use>
void operand(int transpose, int rows, int columns, const Scalar* data, int ld, Use use) {
  if (transpose == CblasNoTrans) {
    use(In<Scalar>(data, rows, columns, Eigen::OuterStride<>(ld)));
  } else if (transpose == CblasTrans) {
    use(In<Scalar>(data, columns, rows, Eigen::OuterStride<>(ld)).transpose());
  } else {
    use(In<Scalar>(data, columns, rows, Eigen::OuterStride<>(ld)).adjoint());
  }
}

template <class Scalar>
void product(int transa, int transb, int m, int n, int k, const Scalar* a, int lda, const Scalar* b,
             int ldb, Scalar* c, int ldc) {
  Out<Scalar> result(c, m, n, Eigen::OuterStride<>(ldc));
  operand(transa, m, k, a, lda, [&](const auto& left) {
    operand(transb, k, n, b, ldb, [&](const auto& right) { result.noalias() = left * right; });
  });
}

template <class Scalar>
void complex_product(int transa, int transb, int m, int n, int k, const void* a, int lda,
                     const void* b, int ldb, void* c, int ldc) {
  product(transa, transb, m, n, k, static_cast<const Scalar*>(a), lda,
          static_cast<const Scalar*>(b), ldb, static_cast<Scalar*>(c), ldc);
}

}  // namespace

QSL_EIGEN void cblas_dgemm(int, int transa, int transb, int m, int n, int k, double,
                           const double* a, int lda, const double* b, int ldb, double, double* c,
                           int ldc) {
  product(transa, transb, m, n, k, a, lda, b, ldb, c, ldc);
}

QSL_EIGEN void cblas_zgemm(int, int transa, int transb, int m, int n, int k, const void*,
                           const void* a, int lda, const void* b, int ldb, const void*, void* c,
                           int ldc) {
  complex_product<std::complex<double>>(transa, transb, m, n, k, a, lda, b, ldb, c, ldc);
}

QSL_EIGEN void cblas_cgemm(int, int transa, int transb, int m, int n, int k, const void*,
                           const void* a, int lda, const void* b, int ldb, const void*, void* c,
                           int ldc) {
  complex_product<std::complex<float>>(transa, transb, m, n, k, a, lda, b, ldb, c, ldc);
}
