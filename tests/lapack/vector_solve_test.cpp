// Triangular systems with one right-hand side.
//
// The computed x solves a system whose matrix differs by (n + c) * eps * |A|, element by element
// (N. J. Higham, "Accuracy and Stability of Numerical Algorithms", theorem 8.5), which bounds each
// element of the residual.
#include <gtest/gtest.h>

#include "blas/level3/routines.h"
#include "tests/lapack/known_factors.h"
#include "tests/lapack/variants.h"

namespace lapack_test {
namespace {

class VectorSolve : public VariantTest {};

struct Case {
  int uplo, trans, diag, n;
};
std::ostream& operator<<(std::ostream& out, const Case& c) {
  return out << (c.uplo == QSL_UPPER ? "upper" : "lower") << ", trans " << c.trans
             << (c.diag == QSL_UNIT ? ", unit" : "") << ", order " << c.n;
}

template <class Body>
void for_each_case(const Body& body) {
  std::vector<int> orders = {0,  1,  2,  3,  4,  7,  8,  9,  14, 15, 16, 17,
                             18, 31, 32, 33, 34, 47, 48, 49, 64, 65, 100};
  if (emulated()) orders = {0, 1, 2, 5, 15, 16, 17, 33};
  for (const int n : orders) {
    for (const int uplo : {QSL_UPPER, QSL_LOWER}) {
      for (int trans = 0; trans <= 2; trans++) {
        for (const int diag : {QSL_NON_UNIT, QSL_UNIT}) {
          body(Case{uplo, trans, diag, n});
          if (testing::Test::HasFatalFailure()) return;
        }
      }
    }
  }
}

// The triangle, with NaN wherever nothing may be read.
template <class Number, class Off, class On>
Matrix<Number> triangle(const Case& c, const Off& off_diagonal, const On& on_diagonal) {
  Matrix<Number> a(c.n, c.n);
  for (int j = 0; j < c.n; j++) {
    for (int i = 0; i < c.n; i++) {
      if (i == j && c.diag == QSL_NON_UNIT) {
        a(i, j) = on_diagonal();
      } else if (i != j && (i > j) == (c.uplo == QSL_LOWER)) {
        a(i, j) = off_diagonal();
      } else {
        a(i, j) = number<Number>(nan_value, nan_value);
      }
    }
  }
  return a;
}

// Element (i, j) of op(A).
template <class Number>
Wide<Number> element(const Case& c, const Matrix<Number>& a, int i, int j) {
  if (c.trans != 0) std::swap(i, j);
  if (i == j && c.diag == QSL_UNIT) return wide(number<Number>(1));
  if (i != j && (i > j) != (c.uplo == QSL_LOWER)) return wide(number<Number>(0));
  return c.trans == 2 ? conjugate(wide(a(i, j))) : wide(a(i, j));
}

template <class Number>
Matrix<Number> solve(const Variant& variant, const Case& c, const Matrix<Number>& a,
                     const Matrix<Number>& b, unsigned index) {
  Stored<Number> stored(a, {false, static_cast<int>(index % 3), index * 20 % 64});
  Stored<Number> x(b, {false, 0, index * 28 % 64});
  variant.kernels<Number>().trsv(c.uplo, c.trans, c.diag, c.n, stored.data(), stored.ld(),
                                 x.data());
  EXPECT_TRUE(stored.intact() && x.intact()) << c;
  return x.elements();
}

TEST_P(VectorSolve, ExactSolutionsAreFound) {
  for_each_kind([&](auto kind) {
    using Number = decltype(kind);
    unsigned index = 1;
    for_each_case([&](const Case& c) {
      Random random(++index);
      const auto a = triangle<Number>(
          c, [&] { return small_integer<Number>(random, 2); },
          [&] { return unit_number<Number>(random, 1 << random.below(3)); });
      Matrix<Number> x(c.n, 1), b(c.n, 1);
      x.fill_with([&] { return small_integer<Number>(random, 9); });
      for (int i = 0; i < c.n; i++) {
        Wide<Number> sum = wide(number<Number>(0));
        for (int j = 0; j < c.n; j++) sum = sum + element(c, a, i, j) * wide(x(j, 0));
        if constexpr (is_real<Number>) {
          b(i, 0) = static_cast<double>(sum);
        } else {
          b(i, 0) = {static_cast<double>(sum.re), static_cast<double>(sum.im)};
        }
      }
      ASSERT_TRUE(equal(solve(GetParam(), c, a, b, index), x)) << c;
    });
  });
}

TEST_P(VectorSolve, EveryElementOfTheResidualIsSmall) {
  for_each_kind([&](auto kind) {
    using Number = decltype(kind);
    unsigned index = 1;
    for_each_case([&](const Case& c) {
      Random random(++index);
      // Small off the diagonal, so that the solution does not grow.
      const double scale = 1 / std::sqrt(c.n + 1.0);
      const auto a = triangle<Number>(
          c,
          [&] {
            const double re = scale * random.unit();
            return number<Number>(re, scale * random.unit());
          },
          [&] {
            const double re = random.unit(), im = random.unit();
            return is_real<Number>        ? number<Number>(2 + re)
                   : random.below(2) == 0 ? number<Number>(2 + re, im)
                                          : number<Number>(re, 2 + im);
          });
      const auto b = random_matrix<Number>(c.n, 1, index);
      const auto x = solve(GetParam(), c, a, b, index);
      for (int i = 0; i < c.n; i++) {
        Wide<Number> sum = wide(b(i, 0));
        long double sizes = 0;
        for (int j = 0; j < c.n; j++) {
          const Wide<Number> term = element(c, a, i, j) * wide(x(j, 0));
          sum = sum - term;
          sizes += size(term);
        }
        // A complex product rounds four times, its quotient a few times more.
        ASSERT_LE(size(sum),
                  (is_real<Number> ? 1 : 4) * (c.n + 3) * eps * (sizes + size(wide(b(i, 0)))))
            << c << ", element " << i;
      }
    });
  });
}

// The quotient is representable, the square of the modulus is not.
TEST_P(VectorSolve, ExtremeComplexDiagonalsDivide) {
  for (const double scale : {0x1p-1000, 0x1p1000}) {
    for (const complex_double d :
         {complex_double{3 * scale, 4 * scale}, complex_double{-4 * scale, 3 * scale}}) {
      complex_double x = d;
      GetParam().complex.trsv(QSL_UPPER, 0, QSL_NON_UNIT, 1, &d, 1, &x);
      EXPECT_NEAR(x.real, 1, 4 * 0x1p-53);
      EXPECT_NEAR(x.imag, 0, 4 * 0x1p-53);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Levels, VectorSolve, testing::ValuesIn(all_variants()), name_of);

}  // namespace
}  // namespace lapack_test
