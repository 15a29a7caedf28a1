// Complex systems far from 1: where squares of moduli overflow or underflow, and where they are
// just about to. The orders lie on both sides of the straight-line code and of the blocks.
#include <gtest/gtest.h>

#include "tests/lapack/problems.h"
#include "tests/lapack/ratios.h"

namespace lapack_test {
namespace {

std::vector<int> scaled_orders() {
  if (emulated() || instrumented) return {8, 16, 17, 33};
  return {2, 8, 9, 15, 16, 17, 31, 32, 33, 64, 65, 200};
}

// 2^-511 and 2^512 are where |p|^2 leaves the normal numbers.
constexpr double scales[] = {1e170,    1e-170,  1e300,   1e-300,   0x1p-512,
                             0x1p-511, 0x1p511, 0x1p512, 0x1p-538, 0x1p-545};

// By columns and by rows, one right-hand side and several.
template <class Body>
void for_each_call(int n, const Body& body) {
  for (const bool by_rows : {false, true}) {
    for (const int nrhs : {1, 9}) {
      if (n > 100 && by_rows == (nrhs == 1)) continue;
      body(by_rows, nrhs);
      if (testing::Test::HasFatalFailure()) return;
    }
  }
}

TEST(Scaling, WholeMatricesFarFromOne) {
  unsigned index = 1;
  for (const int n : scaled_orders()) {
    for (const double scale : scales) {
      auto a = random_matrix<complex_double>(n, n, ++index);
      scale_by(a, scale);
      for_each_call(n, [&](bool by_rows, int nrhs) {
        auto b = random_matrix<complex_double>(n, nrhs, index + 1);
        scale_by(b, scale);
        const auto solved = solve(a, b, rotated(by_rows, index), rotated(by_rows, index / 4));
        ASSERT_EQ(solved.status, 0) << scale << ", order " << n;
        ASSERT_LT(factor_ratio(a, solved.factors, solved.ipiv), threshold)
            << scale << ", order " << n;
        ASSERT_LT(solve_ratio(a, solved.x, b), threshold)
            << scale << ", order " << n << ", " << nrhs << " right-hand sides";
      });
    }
  }
}

// Columns of different powers of two: each is judged in its own units, in which the multipliers and
// the solution's elements are ordinary.
TEST(Scaling, ColumnsOfAllSizes) {
  constexpr int exponents[] = {0, -600, 511, -511, 512, 900, -512, -900, 600, -1, -540, 960};
  unsigned index = 1;
  for (const int n : scaled_orders()) {
    const auto plain = random_matrix<complex_double>(n, n, ++index);
    const auto exponent = [&](int j) {
      return exponents[(static_cast<unsigned>(j) * 7 + index) % 12];
    };
    // Every element of a column, or of a row, times a power of two.
    const auto times_powers = [&](Matrix<complex_double> matrix, bool of_columns, int sign) {
      for (int j = 0; j < matrix.columns(); j++) {
        for (int i = 0; i < matrix.rows(); i++) {
          complex_double& x = matrix(i, j);
          const int by = sign * exponent(of_columns ? j : i);
          x = {std::ldexp(x.real, by), std::ldexp(x.imag, by)};
        }
      }
      return matrix;
    };
    const auto a = times_powers(plain, true, 1);
    for_each_call(n, [&](bool by_rows, int nrhs) {
      const auto b = random_matrix<complex_double>(n, nrhs, index + 1);
      const auto solved = solve(a, b, rotated(by_rows, index), rotated(by_rows, index / 4));
      ASSERT_EQ(solved.status, 0) << n;
      auto factors = times_powers(solved.factors, true, -1);
      for (int j = 0; j < n; j++) {
        for (int i = j + 1; i < n; i++) factors(i, j) = solved.factors(i, j);
      }
      ASSERT_LT(factor_ratio(plain, factors, solved.ipiv), threshold) << n;
      ASSERT_LT(solve_ratio(plain, times_powers(solved.x, false, 1), b), threshold)
          << n << ", " << nrhs << " right-hand sides";
    });
  }
}

// The modulus of such a pivot, and the sum of its parts, are beyond the range; its quotients are
// not.
TEST(Scaling, PivotsAtTheTopOfTheRange) {
  for (const int n : {2, 5, 8, 16, 17, 40}) {
    for (const double size : {8e307, 1.2e308, 1.7e308}) {
      for (const double sign : {1.0, -1.0}) {
        Matrix<complex_double> a(n, n), b(n, 1);
        for (int i = 0; i < n; i++) a(i, i) = {size, 0};
        a(0, 0) = {size, sign * size};
        a(1, 0) = {size / 4, 0};
        for (int i = 0; i < n; i++) b(i, 0) = a(i, 0);
        const auto solved = solve(a, b, {}, {});
        ASSERT_EQ(solved.status, 0);
        EXPECT_NEAR(solved.factors(1, 0).real, 0.125, 1e-15) << n << ", " << size;
        EXPECT_NEAR(solved.factors(1, 0).imag, -0.125 * sign, 1e-15) << n << ", " << size;
        for (int i = 0; i < n; i++) {
          EXPECT_NEAR(solved.x(i, 0).real, i == 0 ? 1 : 0, 1e-15) << n << ", " << size;
          EXPECT_NEAR(solved.x(i, 0).imag, 0, 1e-15) << n << ", " << size;
        }
      }
    }
  }
}

}  // namespace
}  // namespace lapack_test
