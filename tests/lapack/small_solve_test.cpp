// The small kernels that solve with a stored factorisation.
#include <gtest/gtest.h>

#include "tests/lapack/known_factors.h"
#include "tests/lapack/ratios.h"
#include "tests/lapack/variants.h"
#include "tests/level1/fused.h"

namespace lapack_test {
namespace {

class SmallSolve : public VariantTest {};

template <class Number>
Matrix<Number> solve(const Variant& variant, int trans, const Matrix<Number>& factors,
                     const std::vector<int>& ipiv, const Matrix<Number>& b, unsigned index = 0) {
  Stored<Number> a(factors, {false, static_cast<int>(index % 3), index * 20 % 64});
  const Stored<Number> before(factors, {false, static_cast<int>(index % 3), index * 20 % 64});
  Stored<Number> x(b, {false, static_cast<int>(index % 4), index * 28 % 64});
  variant.kernels<Number>().getrs_small(trans, factors.rows(), b.columns(), a.data(), a.ld(),
                                        ipiv.data(), x.data(), x.ld());
  EXPECT_TRUE(a.same_bytes(before) && x.intact())
      << "order " << factors.rows() << ", " << b.columns() << " right-hand sides";
  return x.elements();
}

TEST_P(SmallSolve, ExactSolutionsAreFound) {
  for_each_kind([&](auto kind) {
    using Number = decltype(kind);
    unsigned index = 1;
    for (int n = 1; n <= 8; n++) {
      for (int nrhs = 0; nrhs <= (emulated() ? 9 : 13); nrhs++) {
        for (int trans = 0; trans <= 2; trans++) {
          for (int turn = 0; turn < (emulated() ? 1 : 8); turn++) {
            const auto known = known_factors<Number>(n, n, ++index);
            Random random(index);
            Matrix<Number> x(n, nrhs);
            x.fill_with([&] { return small_integer<Number>(random, 9); });
            const auto found =
                solve(GetParam(), trans, known.factors, known.ipiv, known.times(x, trans), index);
            ASSERT_TRUE(equal(found, x))
                << "order " << n << ", " << nrhs << " right-hand sides, trans " << trans;
          }
        }
      }
    }
  });
}

// op(A) by its elements.
template <class Number>
Matrix<Number> transposed(const Matrix<Number>& a, int trans) {
  if (trans == 0) return a;
  Matrix<Number> result(a.columns(), a.rows());
  for (int j = 0; j < a.columns(); j++) {
    for (int i = 0; i < a.rows(); i++) {
      result(j, i) = a(i, j);
      if constexpr (!is_real<Number>) {
        if (trans == 2) result(j, i).imag = -a(i, j).imag;
      }
    }
  }
  return result;
}

// The solution of a system with the factors themselves: (L * U) * x = b in any scaling.
TEST_P(SmallSolve, ResidualsAreSmall) {
  for_each_kind([&](auto kind) {
    using Number = decltype(kind);
    unsigned index = 1;
    for (int n = 1; n <= 8; n++) {
      for (const int nrhs : {1, 2, 8, 9, 31}) {
        for (int trans = 0; trans <= 2; trans++) {
          for (const double scale : {1.0, 0x1p600, 0x1p-600}) {
            auto a = random_matrix<Number>(n, n, ++index);
            scale_by(a, scale);
            Matrix<Number> factors = a;
            std::vector<int> ipiv(static_cast<std::size_t>(n));
            int info;
            GetParam().kernels<Number>().getrf_small(n, n, factors.data(), n, ipiv.data(), &info);
            ASSERT_EQ(info, 0);
            const auto b = random_matrix<Number>(n, nrhs, index + 1000);
            const auto x = solve(GetParam(), trans, factors, ipiv, b, index);
            ASSERT_LT(solve_ratio(transposed(a, trans), x, b), threshold)
                << "order " << n << ", trans " << trans << ", " << scale;
          }
        }
      }
    }
  });
}

// Where several are solved abreast, and one after the other at the end.
TEST_P(SmallSolve, ARightHandSidesPlaceDoesNotMatter) {
  for_each_kind([&](auto kind) {
    using Number = decltype(kind);
    for (int n = 1; n <= 8; n++) {
      for (const int nrhs : {9, 10, 11, 15}) {
        const auto known = known_factors<Number>(n, n, static_cast<unsigned>(n));
        auto factors = random_matrix<Number>(n, n, static_cast<unsigned>(n));
        for (int i = 0; i < n; i++) factors(i, i) = number<Number>(1.5 + i);
        const auto one = random_matrix<Number>(n, 1, static_cast<unsigned>(n + 50));
        Matrix<Number> b(n, nrhs);
        for (int j = 0; j < nrhs; j++) {
          for (int i = 0; i < n; i++) b(i, j) = one(i, 0);
        }
        const auto x = solve(GetParam(), 0, factors, known.ipiv, b);
        for (int j = 1; j < nrhs; j++) {
          for (int i = 0; i < n; i++) {
            ASSERT_TRUE(same_bits(x(i, j), x(i, 0))) << n << ", " << nrhs << ": " << i << ", " << j;
          }
        }
      }
    }
  });
}

// A quotient, not a product with a reciprocal.
TEST_P(SmallSolve, TheDiagonalDivides) {
  int different = 0;
  for (int n = 1; n <= 8; n++) {
    for (int trans = 0; trans <= 2; trans++) {
      Random random(static_cast<unsigned>(n + trans));
      Matrix<double> diagonal(n, n), b(n, 5);
      std::vector<int> ipiv;
      for (int i = 0; i < n; i++) {
        diagonal(i, i) = 1.5 + random.unit();
        ipiv.push_back(i + 1);
      }
      b.fill_with([&] { return random.unit(); });
      const auto x = solve(GetParam(), trans, diagonal, ipiv, b);
      for (int j = 0; j < 5; j++) {
        for (int i = 0; i < n; i++) {
          different += b(i, j) / diagonal(i, i) != b(i, j) * (1 / diagonal(i, i)) ? 1 : 0;
          ASSERT_EQ(x(i, j), b(i, j) / diagonal(i, i)) << n << ", trans " << trans;
        }
      }
    }
  }
  EXPECT_GT(different, 0);
}

// One product in each substitution.
TEST_P(SmallSolve, UpdatesAreFusedWhereTheLevelFuses) {
  const bool fuses = GetParam().fuses();
  const auto minus_product = [&](double x, double y, double sum) {
    return fuses ? level1_test::fused(-x, y, sum) : sum - x * y;
  };
  int different = 0;
  for (unsigned seed = 1; seed <= 50; seed++) {
    const auto random = random_matrix<double>(2, 3, seed);
    Matrix<double> factors(2, 2), b(2, 1);
    for (int j = 0; j < 2; j++) {
      for (int i = 0; i < 2; i++) factors(i, j) = random(i, j);
    }
    factors(0, 0) = 1;
    b(0, 0) = random(0, 2);
    b(1, 0) = random(1, 2);
    const double l = factors(1, 0), u = factors(0, 1), last = factors(1, 1);
    const double y1 = minus_product(l, b(0, 0), b(1, 0)) / last;
    const double y0 = minus_product(u, y1, b(0, 0));
    different += level1_test::fused(-l, b(0, 0), b(1, 0)) != b(1, 0) - l * b(0, 0) ? 1 : 0;
    const auto plain = solve(GetParam(), 0, factors, {1, 2}, b);
    ASSERT_EQ(plain(1, 0), y1);
    ASSERT_EQ(plain(0, 0), y0);
    const double z1 = minus_product(u, b(0, 0), b(1, 0)) / last;
    const double z0 = minus_product(l, z1, b(0, 0));
    const auto other = solve(GetParam(), 1, factors, {1, 2}, b);
    ASSERT_EQ(other(1, 0), z1);
    ASSERT_EQ(other(0, 0), z0);
  }
  EXPECT_GT(different, 0);
}

// Without a zero test a zero on the diagonal divides.
TEST_P(SmallSolve, AZeroOnTheDiagonalGivesInfinities) {
  Matrix<double> a(1, 1), b(1, 3);
  b(0, 0) = 2;
  b(0, 1) = -2;
  for (int trans = 0; trans <= 2; trans++) {
    const auto x = solve(GetParam(), trans, a, {1}, b);
    EXPECT_EQ(x(0, 0), infinity);
    EXPECT_EQ(x(0, 1), -infinity);
    EXPECT_TRUE(std::isnan(x(0, 2)));
  }
}

// Many right-hand sides are multiplied by reciprocals only where these are safe.
TEST_P(SmallSolve, ExtremeDiagonalsDivideManyRightHandSides) {
  for (int n = 1; n <= 8; n++) {
    for (const int nrhs : {9, 13}) {
      for (const double extreme : {0x1p-1030, 0x1p1010, 0.0, nan_value}) {
        Matrix<double> diagonal(n, n), b(n, nrhs);
        std::vector<int> ipiv;
        for (int i = 0; i < n; i++) {
          diagonal(i, i) = i == n / 2 ? extreme : 3;
          ipiv.push_back(i + 1);
        }
        Random random(static_cast<unsigned>(n));
        b.fill_with([&] { return random.unit() * (extreme < 1 ? 0x1p-20 : 0x1p1000); });
        const auto x = solve(GetParam(), 0, diagonal, ipiv, b);
        for (int j = 0; j < nrhs; j++) {
          for (int i = n / 2; i < n; i++) {
            const double quotient = b(i, j) / diagonal(i, i);
            ASSERT_TRUE(x(i, j) == quotient || (has_nan(quotient) && has_nan(x(i, j))))
                << n << ", " << nrhs << ", " << extreme << ": " << i << ", " << j;
          }
        }
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Levels, SmallSolve, testing::ValuesIn(all_variants()), name_of);

}  // namespace
}  // namespace lapack_test
