// The unblocked factorisations, which run at every size.
#include <gtest/gtest.h>

#include "tests/lapack/known_factors.h"
#include "tests/lapack/ratios.h"
#include "tests/lapack/variants.h"

namespace lapack_test {
namespace {

class Leaf : public VariantTest {};

template <class Number>
struct Outcome {
  Matrix<Number> a;
  std::vector<int> ipiv;
  int info = 0;
};

template <class Number>
Outcome<Number> factor(const Variant& variant, const Matrix<Number>& a, const Storage& storage) {
  Stored<Number> stored(a, storage);
  Pivots pivots(std::min(a.rows(), a.columns()));
  int info = -77;
  variant.kernels<Number>().getrf_leaf(a.rows(), a.columns(), stored.data(), stored.ld(),
                                       pivots.data(), &info);
  EXPECT_TRUE(stored.intact() && pivots.intact()) << a.rows() << " by " << a.columns();
  return {stored.elements(), pivots.values(), info};
}

// Around the widths of registers and the blocks of the products.
std::vector<int> sizes() {
  if (emulated()) return {0, 1, 2, 3, 5, 8, 9, 17, 33};
  return {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 11, 15, 16, 17, 24, 31, 32, 33, 48, 65, 100, 129};
}

template <class Number, class Body>
void for_each_shape(const Body& body) {
  unsigned index = 1;
  for (const int m : sizes()) {
    for (const int n : sizes()) {
      index++;
      if (instrumented && index % 3 != 0) continue;
      body(m, n, Storage{false, static_cast<int>(index % 4), index * 12 % 64}, index);
      if (testing::Test::HasFatalFailure()) return;
    }
  }
}

TEST_P(Leaf, ExactFactorsAreFound) {
  for_each_kind([&](auto kind) {
    using Number = decltype(kind);
    for_each_shape<Number>([&](int m, int n, const Storage& storage, unsigned index) {
      const int steps = std::min(m, n);
      std::vector<int> zeros;
      if (index % 2 == 1 && steps > 0) zeros = {(steps * 2) / 3, steps - 1};
      const auto known = known_factors<Number>(m, n, index, zeros);
      const auto found = factor(GetParam(), known.a, storage);
      ASSERT_EQ(found.info, known.info) << m << " by " << n;
      ASSERT_EQ(found.ipiv, known.ipiv) << m << " by " << n;
      ASSERT_TRUE(equal(found.a, known.factors)) << m << " by " << n;
    });
  });
}

TEST_P(Leaf, ResidualsAreSmall) {
  for_each_kind([&](auto kind) {
    using Number = decltype(kind);
    for_each_shape<Number>([&](int m, int n, const Storage& storage, unsigned index) {
      const auto a = random_matrix<Number>(m, n, index);
      const auto found = factor(GetParam(), a, storage);
      ASSERT_EQ(found.info, 0) << m << " by " << n;
      ASSERT_LT(factor_ratio(a, found.a, found.ipiv), threshold) << m << " by " << n;
      // Multipliers of at most one, whose magnitude is |re| + |im| in a complex search.
      const double most = is_real<Number> ? 1 : std::sqrt(2.0) * (1 + 4 * 0x1p-53);
      for (int j = 0; j < std::min(m, n); j++) {
        for (int i = j + 1; i < m; i++) {
          const auto l = wide(found.a(i, j));
          if constexpr (is_real<Number>) {
            ASSERT_LE(size(l), most) << m << " by " << n;
          } else {
            ASSERT_LE(std::hypot(l.re, l.im), most) << m << " by " << n;
          }
        }
      }
    });
  });
}

TEST_P(Leaf, TheFirstOfEqualMaximaIsThePivot) {
  for_each_kind([&](auto kind) {
    using Number = decltype(kind);
    for (const int m : {2, 3, 4, 5, 7, 8, 9, 15, 16, 17, 31, 33, 40, 67}) {
      if (emulated() && m > 17) continue;
      for (int first = 0; first < m; first++) {
        for (int second = first + 1; second < m; second++) {
          Matrix<Number> a(m, 1);
          for (int i = 0; i < m; i++) a(i, 0) = number<Number>(-2.5, 0.25);
          a(first, 0) = number<Number>(-3, -1);
          a(second, 0) = is_real<Number> ? number<Number>(3) : number<Number>(1, 3);
          const auto found = factor(GetParam(), a, {});
          ASSERT_EQ(found.ipiv[0], first + 1) << m << ", the other: " << second + 1;
        }
      }
    }
  });
}

TEST_P(Leaf, ANanIsAPivotOnlyWhereItStandsFirst) {
  for_each_kind([&](auto kind) {
    using Number = decltype(kind);
    for (const int m : {2, 3, 4, 5, 8, 9, 16, 17, 33, 40}) {
      for (int nan_at = 0; nan_at < m; nan_at++) {
        for (const bool rising : {true, false}) {
          Matrix<Number> a(m, 1);
          for (int i = 0; i < m; i++) a(i, 0) = number<Number>(rising ? i + 1 : m - i);
          a(nan_at, 0) = m % 2 == 0 ? number<Number>(nan_value, 1) : number<Number>(1, nan_value);
          if (is_real<Number>) a(nan_at, 0) = number<Number>(nan_value);
          const auto found = factor(GetParam(), a, {});
          const int largest = rising ? (nan_at == m - 1 ? m - 2 : m - 1) : 0;
          ASSERT_EQ(found.ipiv[0], nan_at == 0 ? 1 : largest + 1) << m << ", NaN at " << nan_at;
          ASSERT_EQ(found.info, 0);
          for (int i = 1; i < m; i++) {
            const int from = i == largest ? 0 : i;
            ASSERT_EQ(has_nan(found.a(i, 0)), nan_at == 0 || from == nan_at) << m << ": " << i;
          }
        }
      }
    }
  });
}

TEST_P(Leaf, AZeroColumnIsPassedOver) {
  for_each_kind([&](auto kind) {
    using Number = decltype(kind);
    for (const auto& [m, n] : {std::pair{1, 1}, {9, 9}, {17, 12}, {12, 17}, {33, 33}}) {
      const int steps = std::min(m, n);
      for (int zero = 0; zero < steps; zero++) {
        if ((emulated() || instrumented) && zero % 4 != 0) continue;
        const int second = zero + (steps - zero) / 2;
        const auto known = known_factors<Number>(m, n, 5, {zero, second});
        const auto found = factor(GetParam(), known.a, {false, 1, 4});
        ASSERT_EQ(found.info, zero + 1);
        ASSERT_EQ(found.ipiv, known.ipiv) << m << " by " << n << ", " << zero;
        ASSERT_TRUE(equal(found.a, known.factors)) << m << " by " << n << ", " << zero;
      }
    }
  });
}

// A product with the reciprocal, not a quotient; a complex reciprocal is conj(p) / |p|^2.
TEST_P(Leaf, APivotOfOrdinarySizeMultiplies) {
  int different = 0;
  for (const double pivot :
       {3.0, -7.0, 1.1, 0x1.7p-1000, -0x1.3p900, safe_minimum, 3 * safe_minimum}) {
    for (int m = 2; m <= 33; m++) {
      Random random(static_cast<unsigned>(m));
      Matrix<double> a(m, 1);
      Matrix<complex_double> z(m, 1);
      a(0, 0) = pivot;
      for (int i = 1; i < m; i++) a(i, 0) = pivot * random.unit();
      for (int i = 0; i < m; i++) z(i, 0) = {a(i, 0), 0};
      const auto found = factor(GetParam(), a, {});
      for (int i = 1; i < m; i++) {
        const double product = a(i, 0) * (1 / pivot);
        different += product != a(i, 0) / pivot ? 1 : 0;
        ASSERT_EQ(found.a(i, 0), product) << pivot << ", " << i << " of " << m;
      }
      if (std::fabs(pivot) > 0x1p500 || std::fabs(pivot) < 0x1p-500) continue;
      const auto complex = factor(GetParam(), z, {});
      for (int i = 1; i < m; i++) {
        const double product = a(i, 0) * (pivot / (pivot * pivot));
        ASSERT_TRUE(equal(complex.a(i, 0), complex_double{product, 0}))
            << pivot << ", " << i << " of " << m;
      }
    }
  }
  EXPECT_GT(different, 0);
}

// At the safe minimum the reciprocal is still finite, below it is not.
TEST_P(Leaf, TinyRealPivotsDivide) {
  for (const double pivot : {safe_minimum, -safe_minimum, std::nextafter(safe_minimum, 1.0),
                             std::nextafter(safe_minimum, 0.0), 0x1p-1030, -0x1p-1074, 0x1p-1074}) {
    for (int m = 2; m <= 40; m++) {
      Matrix<double> a(m, 1);
      for (int i = 1; i < m; i++) a(i, 0) = i % 3 == 0 ? 0 : i % 3 == 1 ? pivot : -pivot;
      a(0, 0) = pivot;
      const auto found = factor(GetParam(), a, {});
      ASSERT_EQ(found.info, 0) << pivot;
      for (int i = 1; i < m; i++) {
        const double l = i % 3 == 0 ? 0 : i % 3 == 1 ? 1 : -1;
        ASSERT_NEAR(found.a(i, 0), l, 2 * 0x1p-53) << pivot << ", " << i << " of " << m;
      }
    }
  }
}

// |re|^2 + |im|^2 is formed as it comes.
TEST_P(Leaf, ComplexPivotsDivideByTheirSquaredModulus) {
  for (int m = 2; m <= 20; m++) {
    for (const complex_double direction :
         {complex_double{4, 0}, {0, 4}, {0, -4}, {4, 4}, {-4, 4}}) {
      for (const double scale : {1.0, 0x1p-500, 0x1p500, 0x1p-600, 0x1p600}) {
        Matrix<complex_double> a(m, 1);
        for (int i = 0; i < m; i++) {
          const double re = direction.real * scale / 2, im = direction.imag * scale / 2;
          a(i, 0) = i % 2 == 0 ? complex_double{re, im} : complex_double{-im, re};
        }
        a(0, 0) = {direction.real * scale, direction.imag * scale};
        const auto found = factor(GetParam(), a, {});
        ASSERT_EQ(found.info, 0);
        ASSERT_EQ(found.ipiv[0], 1);
        for (int i = 1; i < m; i++) {
          const complex_double l = found.a(i, 0);
          if (scale < 0x1p-510) {
            ASSERT_FALSE(is_finite(l)) << "the square of the modulus is 0";
          } else if (scale > 0x1p510) {
            ASSERT_TRUE(equal(l, complex_double{0, 0})) << "the square of the modulus overflows";
          } else {
            const complex_double expected =
                i % 2 == 0 ? complex_double{0.5, 0} : complex_double{0, 0.5};
            ASSERT_TRUE(equal(l, expected)) << scale << ", " << i << " of " << m;
          }
        }
      }
    }
  }
}

TEST_P(Leaf, AnImaginaryPivotIsNotZero) {
  for (const int n : {1, 2, 17, 40}) {
    Matrix<complex_double> a(n, n);
    for (int i = 0; i < n; i++) a(i, i) = {0, i % 2 == 0 ? 1.0 : 0x1p-500};
    const auto found = factor(GetParam(), a, {});
    EXPECT_EQ(found.info, 0);
    EXPECT_TRUE(equal(found.a, a));
  }
}

INSTANTIATE_TEST_SUITE_P(Levels, Leaf, testing::ValuesIn(all_variants()), name_of);

}  // namespace
}  // namespace lapack_test
