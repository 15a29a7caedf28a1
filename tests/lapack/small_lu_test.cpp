// The small LU kernels. The real one is specified to the last bit: a right-looking elimination
// whose update is fused or not, by the level.
#include <gtest/gtest.h>

#include "tests/lapack/known_factors.h"
#include "tests/lapack/ratios.h"
#include "tests/lapack/variants.h"
#include "tests/level1/fused.h"

namespace lapack_test {
namespace {

class SmallLu : public VariantTest {};

template <class Number>
struct Outcome {
  Matrix<Number> a;
  std::vector<int> ipiv;
  int info = 0;
};

// x * y + sum. (The emulation of the fused form is for ordinary numbers.)
double product_sum(bool fuse, double x, double y, double sum) {
  const double product = x * y;
  const bool ordinary = std::isnormal(product) && std::fabs(product) > 0x1p-900;
  return fuse && ordinary && std::isfinite(sum) ? level1_test::fused(x, y, sum) : product + sum;
}

Outcome<double> eliminate(bool fuse, Matrix<double> a) {
  Outcome<double> result{a, {}, 0};
  Matrix<double>& at = result.a;
  const int m = a.rows(), n = a.columns();
  for (int k = 0; k < std::min(m, n); k++) {
    int pivot = k;
    for (int i = k + 1; i < m; i++) {
      if (std::fabs(at(i, k)) > std::fabs(at(pivot, k))) pivot = i;
    }
    result.ipiv.push_back(pivot + 1);
    const double p = at(pivot, k);
    if (p == 0) {
      if (result.info == 0) result.info = k + 1;
    } else {
      at.exchange_rows(k, pivot);
      const bool by_reciprocal = std::fabs(p) > safe_minimum;
      const double reciprocal = 1 / p;
      for (int i = k + 1; i < m; i++)
        at(i, k) = by_reciprocal ? at(i, k) * reciprocal : at(i, k) / p;
    }
    for (int c = k + 1; c < n; c++) {
      for (int i = k + 1; i < m; i++) {
        at(i, c) = product_sum(fuse, -at(i, k), at(k, c), at(i, c));
      }
    }
  }
  return result;
}

template <class Number>
Outcome<Number> factor(const Variant& variant, const Matrix<Number>& a, const Storage& storage) {
  Stored<Number> stored(a, storage);
  const int steps = std::min(a.rows(), a.columns());
  Pivots pivots(steps);
  int info = -77;
  variant.kernels<Number>().getrf_small(a.rows(), a.columns(), stored.data(), stored.ld(),
                                        pivots.data(), &info);
  EXPECT_TRUE(stored.intact() && pivots.intact()) << a.rows() << " by " << a.columns();
  return {stored.elements(), pivots.values(), info};
}

// Any gap and any address, one after the other.
Storage storage_for(unsigned index) {
  return {false, static_cast<int>(index % 3), index * 20 % 64};
}

template <class Body>
void for_each_shape(const Body& body) {
  for (int m = 0; m <= 16; m++) {
    for (int n = 0; n <= 16; n++) {
      if (emulated() && m != n && (m + n) % 5 != 0) continue;
      body(m, n);
      if (testing::Test::HasFatalFailure()) return;
    }
  }
}

bool same_value(double a, double b) { return std::isnan(a) ? std::isnan(b) : same_bits(a, b); }

void expect_elimination(const Variant& variant, const Matrix<double>& a, unsigned index) {
  const Outcome<double> expected = eliminate(variant.fuses(), a);
  const Outcome<double> found = factor(variant, a, storage_for(index));
  const auto where = testing::Message() << a.rows() << " by " << a.columns() << ", " << index;
  ASSERT_EQ(found.ipiv, expected.ipiv) << where;
  ASSERT_EQ(found.info, expected.info) << where;
  for (int j = 0; j < a.columns(); j++) {
    for (int i = 0; i < a.rows(); i++) {
      ASSERT_TRUE(same_value(found.a(i, j), expected.a(i, j)))
          << where << ": element " << i << ", " << j << " is " << found.a(i, j) << ", not "
          << expected.a(i, j);
    }
  }
}

// Every shape with several matrices of elements make(random).
template <class Make>
void expect_eliminations(const Variant& variant, const Make& make) {
  unsigned index = 1;
  for_each_shape([&](int m, int n) {
    const int turns = emulated() || instrumented ? 2 : m == n ? 20 : 6;
    for (int turn = 0; turn < turns; turn++) {
      Random random(index++);
      Matrix<double> a(m, n);
      a.fill_with([&] { return make(random); });
      ASSERT_NO_FATAL_FAILURE(expect_elimination(variant, a, index));
    }
  });
}

TEST_P(SmallLu, EveryShapeHasTheBitsOfTheElimination) {
  expect_eliminations(GetParam(), [](Random& random) { return random.unit(); });
}

// Integers from -1 to 1: columns of equal maxima, of zeros, and singular matrices.
TEST_P(SmallLu, EqualMaximaAndZeroColumnsHaveTheBitsOfTheElimination) {
  expect_eliminations(GetParam(), [](Random& random) { return random.below(3) - 1; });
}

TEST_P(SmallLu, SpecialValuesGoWhereTheEliminationTakesThem) {
  expect_eliminations(GetParam(), [](Random& random) {
    switch (random.below(12)) {
      case 0:
        return random.below(2) == 0 ? nan_value : -nan_value;
      case 1:
        return random.below(2) == 0 ? infinity : -infinity;
      case 2:
        return -0.0;
      default:
        return random.unit();
    }
  });
}

// Pivots at and below the safe minimum, with exact products.
TEST_P(SmallLu, TinyPivotsHaveTheBitsOfTheElimination) {
  for (const double scale : {0x1p-1021, 0x1p-1022, 0x1p-1023, 0x1p-1040, 0x1p-1066}) {
    unsigned index = 1;
    for_each_shape([&](int m, int n) {
      Matrix<double> a = known_factors<double>(m, n, index++).a;
      scale_by(a, scale / 4);
      ASSERT_NO_FATAL_FAILURE(expect_elimination(GetParam(), a, index)) << scale;
    });
  }
}

// The reciprocal of what is just above the safe minimum is used, that of the minimum is not: the
// quotients tell.
TEST_P(SmallLu, DividesByTheSafeMinimumItself) {
  const double next = std::nextafter(safe_minimum, 1.0);
  int different = 0;
  for (const double pivot : {safe_minimum, -safe_minimum, next, -next, 3 * safe_minimum,
                             0x1.8p-1023, -0x1.23p-1023, 0x1.7p-1030}) {
    for (int m = 2; m <= 16; m++) {
      Matrix<double> a(m, 1);
      Random random(static_cast<unsigned>(m));
      for (int i = 1; i < m; i++) a(i, 0) = pivot * random.unit();
      a(m / 2, 0) = pivot;
      const Outcome<double> found = factor(GetParam(), a, storage_for(1));
      a.exchange_rows(0, m / 2);
      ASSERT_EQ(found.ipiv, std::vector<int>{m / 2 + 1});
      for (int i = 1; i < m; i++) {
        const double quotient = a(i, 0) / pivot, product = a(i, 0) * (1 / pivot);
        different += quotient != product ? 1 : 0;
        ASSERT_EQ(found.a(i, 0), std::fabs(pivot) > safe_minimum ? product : quotient)
            << pivot << ", " << i << " of " << m;
      }
    }
  }
  EXPECT_GT(different, 0) << "nothing tells a quotient from a product";
}

template <class Number>
void test_known_factors(const Variant& variant) {
  unsigned index = 1;
  for_each_shape([&](int m, int n) {
    const int steps = std::min(m, n);
    for (int turn = 0; turn < (emulated() || instrumented ? 2 : 6); turn++) {
      std::vector<int> zeros;
      if (turn % 2 == 1 && steps > 0) zeros = {turn % steps, (7 * turn + 3) % steps};
      const auto known = known_factors<Number>(m, n, index++, zeros);
      const auto found = factor(variant, known.a, storage_for(index));
      ASSERT_EQ(found.ipiv, known.ipiv) << m << " by " << n;
      ASSERT_EQ(found.info, known.info) << m << " by " << n;
      ASSERT_TRUE(equal(found.a, known.factors)) << m << " by " << n;
    }
  });
}

TEST_P(SmallLu, ExactFactorsAreFound) {
  test_known_factors<double>(GetParam());
  test_known_factors<complex_double>(GetParam());
}

TEST_P(SmallLu, ComplexResidualsAreSmall) {
  unsigned index = 1;
  for_each_shape([&](int m, int n) {
    for (int turn = 0; turn < (emulated() || instrumented ? 1 : 4); turn++) {
      auto a = random_matrix<complex_double>(m, n, index++);
      // Far from 1: the squares of moduli would overflow or underflow.
      const double scale = turn % 4 == 2 ? 0x1p600 : turn % 4 == 3 ? 0x1p-600 : 1;
      scale_by(a, scale);
      const auto found = factor(GetParam(), a, storage_for(index));
      ASSERT_EQ(found.info, 0);
      ASSERT_LT(factor_ratio(a, found.a, found.ipiv), threshold) << m << " by " << n;
    }
  });
}

// Without imaginary parts the complex kernel is the real one.
TEST_P(SmallLu, ComplexMatricesOfRealNumbersGiveTheRealFactors) {
  unsigned index = 1;
  for_each_shape([&](int m, int n) {
    const auto a = random_matrix<double>(m, n, index++);
    Matrix<complex_double> z(m, n);
    for (int j = 0; j < n; j++) {
      for (int i = 0; i < m; i++) z(i, j) = {a(i, j), 0};
    }
    const Outcome<double> expected = eliminate(GetParam().fuses(), a);
    const auto found = factor(GetParam(), z, storage_for(index));
    ASSERT_EQ(found.ipiv, expected.ipiv);
    for (int j = 0; j < n; j++) {
      for (int i = 0; i < m; i++) {
        ASSERT_TRUE(equal(found.a(i, j), complex_double{expected.a(i, j), 0}))
            << m << " by " << n << ": " << i << ", " << j;
      }
    }
  });
}

// Two equal largest elements, anywhere, in a column of smaller ones.
template <class Number>
void test_equal_maxima(const Variant& variant) {
  for (int m = 2; m <= 16; m++) {
    for (const int n : {1, m}) {
      for (int first = 0; first < m; first++) {
        for (int second = first + 1; second < m; second++) {
          if (emulated() && (first + second) % 3 != 0) continue;
          Matrix<Number> a(m, n);
          for (int j = 0; j < n; j++) a(j, j) = number<Number>(1);
          for (int i = 0; i < m; i++) a(i, 0) = number<Number>(-2.5, 0.25);
          a(first, 0) = number<Number>(-3, -1);
          a(second, 0) = is_real<Number> ? number<Number>(3) : number<Number>(1, 3);
          const auto found = factor(variant, a, storage_for(0));
          ASSERT_EQ(found.ipiv[0], first + 1) << m << " by " << n << ", the other: " << second + 1;
        }
      }
    }
  }
}

TEST_P(SmallLu, TheFirstOfEqualMaximaIsThePivot) {
  test_equal_maxima<double>(GetParam());
  test_equal_maxima<complex_double>(GetParam());
}

// In a later step, whose column begins in the middle of a register.
TEST_P(SmallLu, TheFirstOfEqualMaximaIsThePivotInEveryStep) {
  for_each_kind([&](auto kind) {
    using Number = decltype(kind);
    for (int n = 2; n <= 16; n++) {
      for (int k = 0; k + 1 < n; k++) {
        for (int first = k; first < n; first++) {
          for (int second = first + 1; second < n; second++) {
            if (emulated() && (n + k + first + second) % 7 != 0) continue;
            Matrix<Number> a(n, n);
            for (int j = 0; j < n; j++) a(j, j) = number<Number>(1);
            // Larger than both, but above the rows that are searched.
            for (int i = 0; i < k; i++) a(i, k) = number<Number>(9);
            for (int i = k; i < n; i++) a(i, k) = number<Number>(0.5);
            a(first, k) = number<Number>(2);
            a(second, k) = number<Number>(-2);
            const auto found = factor(GetParam(), a, storage_for(0));
            ASSERT_EQ(found.ipiv[static_cast<std::size_t>(k)], first + 1)
                << n << ", step " << k << ", the other: " << second + 1;
          }
        }
      }
    }
  });
}

TEST_P(SmallLu, ANanIsAPivotOnlyWhereItStandsFirst) {
  for_each_kind([&](auto kind) {
    using Number = decltype(kind);
    for (int m = 2; m <= 16; m++) {
      for (int nan_at = 0; nan_at < m; nan_at++) {
        for (const bool square : {false, true}) {
          Matrix<Number> a(m, square ? m : 1);
          for (int j = 0; j < a.columns(); j++) a(j, j) = number<Number>(1);
          for (int i = 0; i < m; i++) a(i, 0) = number<Number>(i + 1);
          a(nan_at, 0) = is_real<Number> || m % 2 == 0 ? number<Number>(nan_value, 1)
                                                       : number<Number>(1, nan_value);
          const auto found = factor(GetParam(), a, storage_for(0));
          const int largest = nan_at == m - 1 ? m - 2 : m - 1;
          ASSERT_EQ(found.ipiv[0], nan_at == 0 ? 1 : largest + 1) << m << ", NaN at " << nan_at;
          // Not a zero.
          ASSERT_TRUE(square || found.info == 0);
          for (int i = 1; i < m; i++) {
            const int from = i == largest ? 0 : i;
            ASSERT_EQ(has_nan(found.a(i, 0)), nan_at == 0 || from == nan_at)
                << m << ", NaN at " << nan_at << ": " << i;
          }
        }
      }
    }
  });
}

TEST_P(SmallLu, AZeroColumnIsPassedOver) {
  for_each_kind([&](auto kind) {
    using Number = decltype(kind);
    for (int n = 1; n <= 16; n++) {
      for (int zero = 0; zero < n; zero++) {
        for (int second = zero; second < n; second++) {
          if (emulated() && (n + zero + second) % 5 != 0) continue;
          const auto known = known_factors<Number>(n, n, static_cast<unsigned>(n), {zero, second});
          const auto found = factor(GetParam(), known.a, storage_for(0));
          ASSERT_EQ(found.info, zero + 1) << n << ", " << second;
          ASSERT_EQ(found.ipiv, known.ipiv) << n << ", " << zero << ", " << second;
          ASSERT_EQ(found.ipiv[static_cast<std::size_t>(second)], second + 1);
          ASSERT_TRUE(equal(found.a, known.factors)) << n << ", " << zero << ", " << second;
        }
      }
    }
  });
}

TEST_P(SmallLu, AnImaginaryPivotIsNotZero) {
  for (int n = 1; n <= 16; n++) {
    for (const double size : {1.0, -2.0, 0x1p-1074, 0x1p1023}) {
      Matrix<complex_double> a(n, n);
      for (int i = 0; i < n; i++) a(i, i) = {i % 2 == 0 ? 0.0 : -0.0, size};
      const auto found = factor(GetParam(), a, storage_for(0));
      EXPECT_EQ(found.info, 0) << n << ", " << size;
      EXPECT_TRUE(equal(found.a, a)) << n << ", " << size;
    }
  }
}

// Complex pivots whose modulus can't be squared.
TEST_P(SmallLu, ExtremeComplexPivotsDivide) {
  for (const double scale : {0x1p-1022, 0x1p-1040, 0x1p-1060, 0x1p-700, 0x1p700, 0x1p1018}) {
    for (const complex_double direction :
         {complex_double{4, 0}, {0, 4}, {-4, 0}, {0, -4}, {4, 4}, {-4, 4}}) {
      const complex_double pivot = {direction.real * scale, direction.imag * scale};
      for (int m = 2; m <= 16; m++) {
        Matrix<complex_double> a(m, 1);
        // Halves of the pivot, turned.
        for (int i = 0; i < m; i++) {
          const complex_double half = {pivot.real / 2, pivot.imag / 2};
          a(i, 0) = i % 2 == 0 ? half : complex_double{-half.imag, half.real};
        }
        a(m - 1, 0) = pivot;
        const auto found = factor(GetParam(), a, storage_for(0));
        ASSERT_EQ(found.ipiv[0], m) << scale;
        for (int i = 1; i < m; i++) {
          const int from = i == m - 1 ? 0 : i;
          const complex_double expected =
              from % 2 == 0 ? complex_double{0.5, 0} : complex_double{0, 0.5};
          ASSERT_TRUE(equal(found.a(i, 0), expected))
              << scale << " * " << direction.real << ", " << direction.imag << ": "
              << found.a(i, 0).real << ", " << found.a(i, 0).imag;
        }
      }
    }
  }
}

TEST_P(SmallLu, NothingIsTouchedWithoutRowsOrColumns) {
  for_each_kind([&](auto kind) {
    using Number = decltype(kind);
    for (const auto& [m, n] : {std::pair{0, 0}, {0, 5}, {5, 0}, {0, 16}, {16, 0}}) {
      int info = 99;
      GetParam().kernels<Number>().getrf_small(m, n, nullptr, 16, nullptr, &info);
      EXPECT_EQ(info, 0);
    }
  });
}

INSTANTIATE_TEST_SUITE_P(Levels, SmallLu, testing::ValuesIn(all_variants()), name_of);

}  // namespace
}  // namespace lapack_test
