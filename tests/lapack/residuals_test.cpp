// Residuals of factorisations and solutions by the exports, for matrices of every kind.
#include <gtest/gtest.h>

#include "tests/lapack/problems.h"
#include "tests/lapack/ratios.h"

namespace lapack_test {
namespace {

bool skipped(Kind kind, int n, unsigned index) {
  // Exact singularity can't be ruled out for larger ones.
  if (kind == Kind::hilbert && n > 40) return true;
  // Integers of so small a range make singular matrices of small orders.
  if (kind == Kind::integers && n < 8) return true;
  if (n > 130 && index % 3 != 0) return true;
  return (emulated() || instrumented) && index % 4 != 0;
}

TEST(Residuals, OfTheExportedFactorisation) {
  std::vector<std::pair<int, int>> shapes;
  for (const int n : orders()) {
    shapes.emplace_back(n, n);
    shapes.emplace_back(n + 1 + n / 2, n);
    shapes.emplace_back(n, n + 2 + n / 3);
  }
  for (const auto& shape : {std::pair{20, 5}, {300, 1}, {1, 300}, {300, 7}, {7, 300}, {150, 30}}) {
    shapes.push_back(shape);
  }
  unsigned index = 1;
  for (const auto& [m, n] : shapes) {
    for (const Kind kind : kinds) {
      if (skipped(kind, std::max(m, n), ++index)) continue;
      const auto a = matrix_of<double>(kind, m, n, index);
      Stored<double> stored(a, rotated(false, index));
      Pivots pivots(std::min(m, n));
      const int lda = stored.ld();
      int info = 99;
      DGETRF(&m, &n, stored.data(), &lda, pivots.data(), &info);
      ASSERT_TRUE(stored.intact() && pivots.intact()) << m << " by " << n;
      if (m == n || kind == Kind::random) {
        ASSERT_EQ(info, 0) << kind << ", " << m << " by " << n;
      }
      // Elements that double in each step are no error of the factorisation.
      ASSERT_LT(factor_ratio(a, stored.elements(), pivots.values(), kind == Kind::wilkinson),
                threshold)
          << kind << ", " << m << " by " << n;
    }
  }
}

template <class Number>
void expect_small_residual(Kind kind, int n, int nrhs, unsigned index) {
  const auto a = matrix_of<Number>(kind, n, n, index);
  const auto b = random_matrix<Number>(n, nrhs, index + 1);
  for (const bool by_rows : {false, true}) {
    const auto where = testing::Message() << kind << ", order " << n << ", " << nrhs
                                          << " right-hand sides" << (by_rows ? ", by rows" : "");
    const auto solved = solve(a, b, rotated(by_rows, index), rotated(by_rows, index / 4 + 1));
    ASSERT_EQ(solved.status, 0) << where;
    const bool grows = kind == Kind::wilkinson;
    ASSERT_LT(factor_ratio(a, solved.factors, solved.ipiv, grows), threshold) << where;
    ASSERT_LT(solve_ratio(a, solved.x, b, grows ? norm_of_upper(solved.factors) : 0), threshold)
        << where;
  }
}

TEST(Residuals, OfRealSolutions) {
  unsigned index = 1;
  for (const int n : orders()) {
    for (const Kind kind : kinds) {
      if (skipped(kind, n, ++index)) continue;
      ASSERT_NO_FATAL_FAILURE(
          expect_small_residual<double>(kind, n, right_sides[index % 8], index));
    }
  }
}

TEST(Residuals, OfComplexSolutions) {
  unsigned index = 1;
  for (const int n : orders()) {
    for (const Kind kind : kinds) {
      if (skipped(kind, n, ++index)) continue;
      ASSERT_NO_FATAL_FAILURE(
          expect_small_residual<complex_double>(kind, n, right_sides[index % 8], index));
    }
  }
}

// Every order with every number of right-hand sides.
TEST(Solutions, AreExactWhereTheFactorsAre) {
  for_each_kind([](auto number_kind) {
    using Number = decltype(number_kind);
    unsigned index = 1;
    for (const int n : orders()) {
      if (n > 130) continue;
      const auto known = known_factors<Number>(n, n, ++index);
      for (const int nrhs : right_sides) {
        index++;
        if ((emulated() || instrumented || n > 40) && index % 3 != 0) continue;
        Random random(index);
        Matrix<Number> x(n, nrhs);
        x.fill_with([&] { return small_integer<Number>(random, 9); });
        const auto b = known.times(x);
        for (const bool by_rows : {false, true}) {
          const auto solved =
              solve(known.a, b, rotated(by_rows, index), rotated(by_rows, index / 4));
          ASSERT_EQ(solved.status, 0) << n;
          ASSERT_EQ(solved.ipiv, known.ipiv) << n;
          ASSERT_TRUE(equal(solved.factors, known.factors)) << n << (by_rows ? ", by rows" : "");
          ASSERT_TRUE(equal(solved.x, x)) << n << ", " << nrhs << (by_rows ? ", by rows" : "");
        }
      }
    }
  });
}

// The same factors and solutions to the last bit, whatever the storage.
TEST(Solutions, DoNotDependOnTheStorage) {
  for_each_kind([](auto number_kind) {
    using Number = decltype(number_kind);
    unsigned index = 1;
    for (const int n : orders()) {
      if (n > 130) continue;
      const int nrhs = right_sides[++index % 8];
      const auto a = random_matrix<Number>(n, n, index);
      const auto b = random_matrix<Number>(n, nrhs, index + 1);
      const auto expected = solve(a, b, {}, {});
      for (const bool by_rows : {false, true}) {
        for (unsigned turn = 1; turn < 4; turn++) {
          const auto solved =
              solve(a, b, rotated(by_rows, index + turn), rotated(by_rows, (index + turn) / 4));
          ASSERT_EQ(solved.ipiv, expected.ipiv) << n;
          ASSERT_TRUE(equal(solved.factors, expected.factors)) << n << (by_rows ? ", by rows" : "");
          ASSERT_TRUE(equal(solved.x, expected.x))
              << n << ", " << nrhs << (by_rows ? ", by rows" : "");
        }
      }
    }
  });
}

}  // namespace
}  // namespace lapack_test
