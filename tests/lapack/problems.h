// Matrices of the kinds that factorisations are tested with, and calls of the exports.
#pragma once

#include <gtest/gtest.h>

#include <ostream>
#include <vector>

#include "qsl/qsl.h"
#include "tests/lapack/known_factors.h"

namespace lapack_test {

enum class Kind {
  random,
  graded,           // rows and columns from 1 down to 1e-15
  nearly_singular,  // the last column is about the sum of the others
  hilbert,          // condition numbers beyond every precision
  wilkinson,        // elements double in each step
  band,
  integers,
  huge,  // 1e150; its products of two overflow
  tiny,
  permutation,
};
inline constexpr Kind kinds[] = {Kind::random,     Kind::graded, Kind::nearly_singular,
                                 Kind::hilbert,    Kind::band,   Kind::wilkinson,
                                 Kind::integers,   Kind::huge,   Kind::tiny,
                                 Kind::permutation};
std::ostream& operator<<(std::ostream& out, Kind kind);

template <class Number>
Matrix<Number> matrix_of(Kind kind, int m, int n, unsigned seed);

inline int gesv(int layout, int n, int nrhs, double* a, int lda, int* ipiv, double* b, int ldb) {
  return LAPACKE_dgesv(layout, n, nrhs, a, lda, ipiv, b, ldb);
}
inline int gesv(int layout, int n, int nrhs, complex_double* a, int lda, int* ipiv,
                complex_double* b, int ldb) {
  return LAPACKE_zgesv(layout, n, nrhs, a, lda, ipiv, b, ldb);
}

template <class Number>
struct Solved {
  int status;
  Matrix<Number> factors, x;
  std::vector<int> ipiv;
};

// A call with operands in memory as told; what it leaves behind.
template <class Number>
Solved<Number> solve(const Matrix<Number>& a, const Matrix<Number>& b, const Storage& a_storage,
                     const Storage& b_storage) {
  Stored<Number> a_stored(a, a_storage), b_stored(b, b_storage);
  Pivots pivots(a.rows());
  const int status =
      gesv(a_storage.by_rows ? CblasRowMajor : CblasColMajor, a.rows(), b.columns(),
           a_stored.data(), a_stored.ld(), pivots.data(), b_stored.data(), b_stored.ld());
  EXPECT_TRUE(a_stored.intact() && b_stored.intact() && pivots.intact())
      << "order " << a.rows() << ", " << b.columns() << " right-hand sides";
  return {status, a_stored.elements(), b_stored.elements(), pivots.values()};
}

// Gaps and addresses, one after the other.
inline Storage rotated(bool by_rows, unsigned index) {
  return {by_rows, static_cast<int>(index % 4), 4 * (index * 5 % 16)};
}

// Orders on both sides of every cut.
inline std::vector<int> orders() {
  if (emulated()) return {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 12, 15, 16, 17, 24, 25, 33, 48, 49};
  std::vector<int> result;
  for (int n = 0; n <= 40; n++) result.push_back(n);
  for (const int n : {63, 64, 65, 66, 100, 127, 128, 129, 130, 200, 257}) {
    if (n <= 130 || !instrumented) result.push_back(n);
  }
  return result;
}

inline constexpr int right_sides[] = {0, 1, 2, 7, 8, 9, 10, 33};

}  // namespace lapack_test
