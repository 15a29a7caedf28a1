// The unblocked factorisations, which run at every size.
#include <gtest/gtest.h>

#include "tests/lapack/known_factors.h"
#include "tests/lapack/ratios.h"
#include "tests/lapack/variants.h"
#include "tests/level1/fused.h"

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

// A column below a real pivot: what the leaf makes of it, a product with the reciprocal or a
// quotient. Where the two never differ nothing is shown.
void expect_division(const Variant& variant, double pivot, bool by_reciprocal, bool may_agree) {
  int different = 0;
  for (int m = 2; m <= 40; m++) {
    Random random(static_cast<unsigned>(m));
    Matrix<double> a(m, 1);
    a(0, 0) = pivot;
    for (int i = 1; i < m; i++) a(i, 0) = pivot * random.unit();
    const auto found = factor(variant, a, {});
    ASSERT_EQ(found.info, 0) << pivot;
    for (int i = 1; i < m; i++) {
      const double product = a(i, 0) * (1 / pivot), quotient = a(i, 0) / pivot;
      different += product != quotient ? 1 : 0;
      ASSERT_EQ(found.a(i, 0), by_reciprocal ? product : quotient)
          << pivot << ", " << i << " of " << m;
    }
  }
  EXPECT_TRUE(different > 0 || may_agree) << pivot;
}

// (Both ways give the same for powers of two and for their next neighbours among the smallest
// numbers.)
TEST_P(Leaf, ARealPivotFromTheSafeMinimumOnMultiplies) {
  for (const double pivot :
       {3.0, -7.0, 1.1, 0x1.7p-1000, -0x1.3p900, 0x1.00001p-1022, -0x1.3p-1022}) {
    ASSERT_NO_FATAL_FAILURE(expect_division(GetParam(), pivot, true, false));
  }
  for (const double pivot : {safe_minimum, std::nextafter(safe_minimum, 1.0)}) {
    ASSERT_NO_FATAL_FAILURE(expect_division(GetParam(), pivot, true, true));
  }
}

// Down to half the safe minimum reciprocals are finite, and are not taken.
TEST_P(Leaf, ARealPivotBelowTheSafeMinimumDivides) {
  for (const double pivot : {0x1.ffffep-1023, -0x1.ffffep-1023, 0x1.8p-1023, -0x1.23456p-1023,
                             0x1.00001p-1023, 0x1.7p-1024, 0x1.23p-1030, -0x1.7p-1060}) {
    ASSERT_NO_FATAL_FAILURE(expect_division(GetParam(), pivot, false, false));
  }
  for (const double pivot : {std::nextafter(safe_minimum, 0.0), 0x1p-1074, -0x1p-1074}) {
    ASSERT_NO_FATAL_FAILURE(expect_division(GetParam(), pivot, false, true));
  }
}

// x * y + sum, fused where the level does it. (For ordinary numbers.)
double product_sum(bool fuse, double x, double y, double sum) {
  return fuse ? level1_test::fused(x, y, sum) : x * y + sum;
}

// A complex reciprocal is conj(p) / |p|^2, with |p|^2 as it comes, wherever that is a normal
// number: to the last bit.
TEST_P(Leaf, AComplexPivotMultipliesWhereItsSquareIsNormal) {
  const bool fuse = GetParam().fuses();
  for (const int exponent : {-510, -509, -300, -1, 0, 1, 300, 509, 510}) {
    for (int m = 2; m <= 33; m++) {
      Random random(static_cast<unsigned>(600 + exponent));
      Matrix<complex_double> a = random_matrix<complex_double>(m, 1, static_cast<unsigned>(m));
      a(0, 0) = {1 + random.unit() / 2, m % 3 == 0 ? 0.0 : 1 + random.unit() / 2};
      if (m % 5 == 0) std::swap(a(0, 0).real, a(0, 0).imag);
      if (m % 2 == 0) a(0, 0).imag = -a(0, 0).imag;
      for (int i = 1; i < m; i++) a(i, 0) = scaled(a(i, 0), 0.25);
      scale_by(a, std::ldexp(1.0, exponent));
      const complex_double p = a(0, 0);
      const double square = p.real * p.real + p.imag * p.imag;
      ASSERT_TRUE(std::isnormal(square)) << p.real << ", " << p.imag;
      const complex_double by = {p.real / square, -p.imag / square};
      const auto found = factor(GetParam(), a, {});
      ASSERT_EQ(found.ipiv[0], 1);
      for (int i = 1; i < m; i++) {
        const complex_double x = a(i, 0);
        const complex_double expected = {product_sum(fuse, x.imag, -by.imag, x.real * by.real),
                                         product_sum(fuse, x.real, by.imag, x.imag * by.real)};
        ASSERT_TRUE(equal(found.a(i, 0), expected)) << "2^" << exponent << ", " << i << " of " << m;
      }
    }
  }
}

// Where |p|^2 overflows, vanishes or loses bits: p on one of the axes, where both forms have few
// roundings, on both sides of the borders.
TEST_P(Leaf, AComplexPivotDividesWhereItsSquareIsNotNormal) {
  const double least = 0x1p-511, end = 0x1p512;
  const double pivots[] = {least,
                           0x1.00001p-511,
                           0x1.ffffep-512,
                           std::nextafter(least, 0.0),
                           std::nextafter(least, 1.0),
                           std::nextafter(end, 0.0),
                           end,
                           std::nextafter(end, infinity),
                           0x1.8p-512,
                           0x1.7p-530,
                           0x1.1p-600,
                           1.3e-300,
                           0x1.3p-1020,
                           0x1.7p600,
                           1.3e300,
                           0x1.7p1023};
  for (const double pivot : pivots) {
    const bool normal = std::isnormal(pivot * pivot);
    int different = 0;
    for (const double signed_pivot : {pivot, -pivot}) {
      for (const bool imaginary : {false, true}) {
        for (int m = 2; m <= 20; m++) {
          auto a = random_matrix<complex_double>(m, 1, static_cast<unsigned>(m));
          scale_by(a, pivot / 4);
          a(0, 0) = imaginary ? complex_double{0, signed_pivot} : complex_double{signed_pivot, 0};
          const auto found = factor(GetParam(), a, {});
          ASSERT_EQ(found.ipiv[0], 1);
          const double by = signed_pivot / (pivot * pivot);
          const auto divided = [&](double x, bool as_normal) {
            return as_normal ? x * by : x / signed_pivot;
          };
          for (int i = 1; i < m; i++) {
            const complex_double x = a(i, 0);
            const complex_double turned = imaginary ? complex_double{x.imag, -x.real} : x;
            different += divided(turned.real, true) != divided(turned.real, false) ? 1 : 0;
            const complex_double expected = {divided(turned.real, normal),
                                             divided(turned.imag, normal)};
            ASSERT_TRUE(equal(found.a(i, 0), expected))
                << signed_pivot << (imaginary ? "i, " : ", ") << i << " of " << m;
          }
        }
      }
    }
    EXPECT_TRUE(different > 0 || std::fabs(pivot / least - 1) < 0x1p-50) << pivot;
  }
}

// The same for any direction of the pivot, within a few roundings.
TEST_P(Leaf, MultipliersOfExtremeComplexPivotsAreRight) {
  for (const int exponent :
       {-1000, -900, -600, -538, -530, -512, -511, 511, 512, 513, 600, 900, 1018}) {
    for (int m = 2; m <= 20; m++) {
      auto a = random_matrix<complex_double>(m, 1, static_cast<unsigned>(m));
      for (int i = 1; i < m; i++) a(i, 0) = scaled(a(i, 0), 0.25);
      a(0, 0) = {m % 2 == 0 ? 1.0 : -0.3 * a(0, 0).real, m % 3 == 0 ? 1.25 : 0.7 + a(0, 0).imag};
      scale_by(a, std::ldexp(1.0, exponent));
      const auto found = factor(GetParam(), a, {});
      ASSERT_EQ(found.info, 0);
      if (found.ipiv[0] != 1) continue;
      for (int i = 1; i < m; i++) {
        const auto difference = wide(found.a(i, 0)) * wide(a(0, 0)) - wide(a(i, 0));
        ASSERT_LE(size(difference), 16 * eps * size(wide(a(0, 0))))
            << "2^" << exponent << ", " << i << " of " << m;
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
