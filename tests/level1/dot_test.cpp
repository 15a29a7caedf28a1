// DDOT and cblas_ddot against a reference in 113 bits: |error| <= n * u * sum |x[i] * y[i]|, with
// the unit roundoff u = 2^-53, holds for every order of summation.
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <limits>

#include "qsl/qsl.h"
#include "tests/level1/arrays.h"
#include "tests/level1/guard_pages.h"

namespace level1_test {
namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double inf = std::numeric_limits<double>::infinity();
constexpr double tiny = std::numeric_limits<double>::denorm_min();

double read(const void* base, std::size_t index) {
  double value;
  std::memcpy(&value, static_cast<const char*>(base) + index * sizeof value, sizeof value);
  return value;
}

struct Reference {
  __float128 sum = 0;
  __float128 magnitude = 0;

  Reference(int n, const double* x, int incx, const double* y, int incy) {
    for (int i = 0; i < n; i++) {
      const __float128 product =
          static_cast<__float128>(read(x, walk(n, incx, i))) * read(y, walk(n, incy, i));
      sum += product;
      magnitude += product < 0 ? -product : product;
    }
  }
  testing::AssertionResult accepts(int n, double found) const {
    const __float128 error = found < sum ? sum - found : found - sum;
    const __float128 bound = static_cast<__float128>(n) * 0x1p-53 / (1 - n * 0x1p-53) * magnitude;
    if (error <= bound) return testing::AssertionSuccess();
    return testing::AssertionFailure()
           << found << " for " << static_cast<double>(sum) << ": error "
           << static_cast<double>(error) << " above the bound " << static_cast<double>(bound);
  }
};

testing::AssertionResult dot_is_right(int n, const double* x, int incx, const double* y, int incy) {
  const Reference reference(n, x, incx, y, incy);
  const double c_style = cblas_ddot(n, x, incx, y, incy);
  if (!same_bits(c_style, DDOT(&n, x, &incx, y, &incy))) {
    return testing::AssertionFailure() << "the two styles of entry differ";
  }
  return reference.accepts(n, c_style);
}

TEST(Dot, NoElementsGiveZeroAndNothingIsRead) {
  for (const int n : {0, -1, -1000, INT_MIN}) {
    for (const int inc : {1, -1, 0, 7}) {
      EXPECT_TRUE(same_bits(cblas_ddot(n, nullptr, inc, nullptr, 1), 0.0));
      EXPECT_TRUE(same_bits(DDOT(&n, nullptr, &inc, nullptr, &inc), 0.0));
    }
  }
}

TEST(Dot, NullIntegersCountAsZero) {
  const double x[2] = {3, 5};
  const int n = 2;
  const int one = 1;
  EXPECT_TRUE(same_bits(DDOT(nullptr, x, &one, x, &one), 0.0));
  EXPECT_EQ(DDOT(&n, x, nullptr, x, &one), 3 * 3 + 3 * 5);
  EXPECT_EQ(DDOT(&n, x, &one, x, nullptr), 3 * 3 + 5 * 3);
}

TEST(Dot, EveryCount) {
  for (const int n : counts(260, {512, 1000, 1024, 4096, 30000})) {
    GuardedArray x(static_cast<std::size_t>(n), 8);
    GuardedArray y(static_cast<std::size_t>(n), 0);
    x.fill(Values(20));
    y.fill(Values(21));
    ASSERT_TRUE(dot_is_right(n, x.data(), 1, y.data(), 1)) << "n " << n;
  }
}

TEST(Dot, EveryAlignment) {
  for (const unsigned phase_x : phases()) {
    for (const unsigned phase_y : phases()) {
      for (const int n : {1, 2, 3, 7, 16, 33, 35, 67}) {
        GuardedArray x(static_cast<std::size_t>(n), phase_x);
        GuardedArray y(static_cast<std::size_t>(n), phase_y);
        x.fill(Values(22));
        y.fill(Values(23));
        ASSERT_TRUE(dot_is_right(n, x.data(), 1, y.data(), 1))
            << "n " << n << ", x " << phase_x << ", y " << phase_y << " modulo 64";
      }
    }
  }
}

TEST(Dot, EveryStride) {
  for (const int incx : strides) {
    for (const int incy : strides) {
      for (const int n : counts(36, {64})) {
        GuardedArray x(extent(n, incx), 4);
        GuardedArray y(extent(n, incy), 8);
        x.fill(Values(24));
        y.fill(Values(25));
        ASSERT_TRUE(dot_is_right(n, x.data(), incx, y.data(), incy))
            << "n " << n << ", incx " << incx << ", incy " << incy;
      }
    }
  }
}

TEST(Dot, NegativeStrideStartsAtTheFarEnd) {
  const double x[5] = {1, 0, 10, 0, 100};
  const double y[3] = {1, 2, 3};
  EXPECT_EQ(cblas_ddot(3, x, -2, y, 1), 100 * 1 + 10 * 2 + 1 * 3);
  EXPECT_EQ(cblas_ddot(3, y, 1, x, -2), 100 * 1 + 10 * 2 + 1 * 3);
}

TEST(Dot, TwoStridesOfMinusOneGiveTheSumOfTwoStridesOfOne) {
  const double x[3] = {0.1, -0.7, 1e3};
  const double y[3] = {0.3, 12.5, 0.01};
  const Reference reference(3, x, 1, y, 1);
  EXPECT_TRUE(reference.accepts(3, cblas_ddot(3, x, -1, y, -1)));
}

TEST(Dot, ZeroStrideUsesOneElement) {
  const double x[1] = {2};
  double y[37];
  double sum = 0;
  for (int i = 0; i < 37; i++) sum += y[i] = i - 3;
  EXPECT_EQ(cblas_ddot(37, x, 0, y, 1), 2 * sum);
  EXPECT_EQ(cblas_ddot(37, y, -1, x, 0), 2 * sum);
  EXPECT_EQ(cblas_ddot(37, x, 0, x, 0), 37 * 4);
}

TEST(Dot, OneElementWithTheLargestStrides) {
  const double x = 3, y = 7;
  for (const int inc : {INT_MAX, INT_MIN, INT_MIN + 1, 1 << 29, static_cast<int>(0xaaaaaaab)}) {
    EXPECT_EQ(cblas_ddot(1, &x, inc, &y, 3), 21);
    EXPECT_EQ(cblas_ddot(1, &x, 3, &y, inc), 21);
    EXPECT_EQ(cblas_ddot(1, &x, inc, &y, inc), 21);
  }
}

TEST(Dot, StaysInsideTheArrays) {
  GuardPages x_pages(4 * GuardPages::page), y_pages(4 * GuardPages::page);
  for (const int n : counts(140, {256, 1000})) {
    if (n == 0) continue;
    const std::size_t bytes = static_cast<std::size_t>(n) * sizeof(double);
    GuardedPair{x_pages, y_pages}.for_each_place(bytes, bytes, [&](void* x, void* y) {
      Values values(26);
      for (std::size_t i = 0; i < bytes; i += sizeof(double)) {
        const double value = static_cast<double>(static_cast<int>(values.next()));
        std::memcpy(static_cast<char*>(x) + i, &value, sizeof value);
        std::memcpy(static_cast<char*>(y) + i, &value, sizeof value);
      }
      const auto* x_at = static_cast<const double*>(x);
      const auto* y_at = static_cast<const double*>(y);
      // Small integers: every order of summation is exact.
      double sum = 0, backwards = 0;
      for (int i = 0; i < n; i++) {
        sum += read(x, static_cast<std::size_t>(i)) * read(y, static_cast<std::size_t>(i));
        backwards +=
            read(x, static_cast<std::size_t>(i)) * read(y, static_cast<std::size_t>(n - 1 - i));
      }
      ASSERT_EQ(cblas_ddot(n, x_at, 1, y_at, 1), sum) << "n " << n;
      ASSERT_EQ(cblas_ddot(n, x_at, -1, y_at, -1), sum) << "n " << n;
      ASSERT_EQ(cblas_ddot(n, x_at, 1, y_at, -1), backwards) << "n " << n;
    });
  }
}

TEST(Dot, StridedWalksStayInsideTheArrays) {
  GuardPages x_pages(4 * GuardPages::page), y_pages(4 * GuardPages::page);
  for (const int incx : strides) {
    for (const int incy : strides) {
      for (const int n : {1, 2, 7, 8, 15, 16, 17, 31, 33}) {
        const std::size_t x_bytes = extent(n, incx) * sizeof(double);
        const std::size_t y_bytes = extent(n, incy) * sizeof(double);
        GuardedPair{x_pages, y_pages}.for_each_place(x_bytes, y_bytes, [&](void* x, void* y) {
          const double one = 1;
          for (std::size_t i = 0; i < x_bytes; i += 8)
            std::memcpy(static_cast<char*>(x) + i, &one, 8);
          for (std::size_t i = 0; i < y_bytes; i += 8)
            std::memcpy(static_cast<char*>(y) + i, &one, 8);
          ASSERT_EQ(cblas_ddot(n, static_cast<const double*>(x), incx,
                               static_cast<const double*>(y), incy),
                    n);
        });
      }
    }
  }
}

TEST(Dot, NanAndInfinityArriveFromEveryPosition) {
  for (const int n : {1, 2, 5, 17, 32, 33, 47, 64, 71}) {
    for (int at = 0; at < n; at++) {
      for (const int inc : {1, 2}) {
        std::vector<double> x(static_cast<std::size_t>(n * inc), 1.0), y(x);
        const std::size_t position = static_cast<std::size_t>(at * inc);
        x[position] = nan;
        EXPECT_TRUE(std::isnan(cblas_ddot(n, x.data(), inc, y.data(), inc)));
        EXPECT_TRUE(std::isnan(cblas_ddot(n, y.data(), inc, x.data(), inc)));
        x[position] = -inf;
        EXPECT_EQ(cblas_ddot(n, x.data(), inc, y.data(), inc), -inf);
        y[position] = 0;
        EXPECT_TRUE(std::isnan(cblas_ddot(n, x.data(), inc, y.data(), inc)));
      }
    }
  }
}

TEST(Dot, DenormalProductsAreSummedExactly) {
  for (const int n : {1, 3, 16, 33, 100}) {
    const std::vector<double> x(static_cast<std::size_t>(n), tiny), y(x.size(), 1.0);
    EXPECT_EQ(cblas_ddot(n, x.data(), 1, y.data(), 1), n * tiny);
  }
}

// To the zero that +0 with all products added is.
TEST(Dot, NegativeZerosSumToPositiveZero) {
  for (const unsigned phase_x : {0u, 8u, 4u}) {
    for (const unsigned phase_y : {0u, 8u, 24u}) {
      for (const int inc : {1, -1, 2}) {
        GuardedArray x(extent(70, inc), phase_x), y(extent(70, inc), phase_y);
        for (std::size_t i = 0; i < extent(70, inc); i++) {
          x.set(i, i % 2 == 0 ? -0.0 : 1.0);
          y.set(i, i % 2 == 0 ? 1.0 : -0.0);
        }
        for (int n = 1; n <= 70; n++) {
          const double sum = cblas_ddot(n, x.data(), inc, y.data(), inc);
          ASSERT_TRUE(same_bits(sum, 0.0))
              << "n " << n << " by " << inc << ", x " << phase_x << ", y " << phase_y;
        }
      }
    }
  }
}

TEST(Dot, OverflowOfTheSumIsInfinite) {
  const std::vector<double> x(40, std::numeric_limits<double>::max()), y(40, 1.0);
  EXPECT_EQ(cblas_ddot(40, x.data(), 1, y.data(), 1), inf);
}

// From SSE4.2 upward no level looks at addresses, and the reproducible bodies of the two lowest
// levels do not either.
TEST(Dot, BitsDoNotDependOnAlignmentInReproducibleMode) {
  if (std::getenv("QSL_CBWR") == nullptr) GTEST_SKIP() << "QSL_CBWR is not set";
  for (const int n : counts(100, {1000})) {
    double first = 0;
    bool have_first = false;
    for (const unsigned phase_x : phases()) {
      for (const unsigned phase_y : {0u, 4u, 8u, 9u, 16u, 24u}) {
        GuardedArray x(static_cast<std::size_t>(n), phase_x);
        GuardedArray y(static_cast<std::size_t>(n), phase_y);
        x.fill(Values(27));
        y.fill(Values(28));
        const double sum = cblas_ddot(n, x.data(), 1, y.data(), 1);
        if (!have_first) first = sum;
        have_first = true;
        ASSERT_TRUE(same_bits(sum, first)) << "n " << n << ", x " << phase_x << ", y " << phase_y;
      }
    }
  }
}

}  // namespace
}  // namespace level1_test
