// Eigen has no solver for band matrices: this is its sparse one, without reordering. What depends
// on the bands alone is done once for all calls with the same sizes.
#include <Eigen/SparseCore>
#include <Eigen/SparseLU>
#include <algorithm>
#include <complex>

#include "benchmarks/eigen/export.h"

namespace {

using Number = std::complex<double>;
using Sparse = Eigen::SparseMatrix<Number>;

// A matrix of the bands, whose elements are replaced in every call.
struct System {
  int n = 0, kl = 0, ku = 0;
  Sparse matrix;
  Eigen::SparseLU<Sparse, Eigen::NaturalOrdering<int>> lu;

  void set_bands(int order, int below, int above) {
    if (n == order && kl == below && ku == above) return;
    n = order;
    kl = below;
    ku = above;
    matrix = Sparse(n, n);
    matrix.reserve(Eigen::VectorXi::Constant(n, kl + ku + 1));
    for (int j = 0; j < n; j++) {
      for (int i = std::max(0, j - ku); i < std::min(n, j + kl + 1); i++) matrix.insert(i, j) = 1;
    }
    matrix.makeCompressed();
    lu.analyzePattern(matrix);
  }
};

}  // namespace

QSL_EIGEN void zgbsv_(const int* n, const int* kl, const int* ku, const int*, Number* ab,
                      const int* ldab, int*, Number* b, const int*, int* info) {
  static System system;
  system.set_bands(*n, *kl, *ku);
  Number* value = system.matrix.valuePtr();
  for (int j = 0; j < *n; j++) {
    const Number* column = ab + j * *ldab + *kl + *ku - j;
    for (int i = std::max(0, j - *ku); i < std::min(*n, j + *kl + 1); i++) *value++ = column[i];
  }
  system.lu.factorize(system.matrix);
  Eigen::Map<Eigen::VectorXcd> x(b, *n);
  x = system.lu.solve(x).eval();
  *info = system.lu.info() == Eigen::Success ? 0 : 1;
}
