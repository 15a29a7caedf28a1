// cblas_zaxpy against a reference in 113 bits: each part of an element passes at most three
// roundings, so |error| <= 3u / (1 - 3u) * (|y| + |x| * |alpha| terms), u = 2^-53.
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <limits>

#include "qsl/qsl.h"
#include "tests/level1/arrays.h"
#include "tests/level1/guard_pages.h"
#include "tests/printed.h"

namespace level1_test {
namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double inf = std::numeric_limits<double>::infinity();
constexpr double tiny = std::numeric_limits<double>::denorm_min();
constexpr complex_double some_alpha = {0.73, -1.19};

struct Part {
  __float128 value = 0;
  __float128 magnitude = 0;
  int updates = 0;

  void add(__float128 term) {
    value += term;
    magnitude += term < 0 ? -term : term;
  }
  bool accepts(double found) const {
    const __float128 error = found < value ? value - found : found - value;
    const double roundings = 3.0 * (updates > 0 ? updates : 0);
    return error <= roundings * 0x1p-53 / (1 - roundings * 0x1p-53) * magnitude;
  }
};

// What y holds after the update, part by part. A zero stride of y accumulates.
std::vector<Part> reference(int n, complex_double alpha, const GuardedArray& x, int incx,
                            const GuardedArray& y, std::size_t y_elements, int incy) {
  std::vector<Part> parts(2 * y_elements);
  for (std::size_t i = 0; i < parts.size(); i++) parts[i].add(y.get(i));
  const __float128 ar = alpha.real, ai = alpha.imag;
  for (int i = 0; i < n; i++) {
    const __float128 xr = x.get(2 * walk(n, incx, i)), xi = x.get(2 * walk(n, incx, i) + 1);
    Part& real = parts[2 * walk(n, incy, i)];
    Part& imag = parts[2 * walk(n, incy, i) + 1];
    real.add(xr * ar);
    real.add(-xi * ai);
    imag.add(xr * ai);
    imag.add(xi * ar);
    real.updates++;
    imag.updates++;
  }
  return parts;
}

void check(int n, complex_double alpha, unsigned phase_x, int incx, unsigned phase_y, int incy) {
  GuardedArray x(2 * extent(n, incx), phase_x);
  GuardedArray y(2 * extent(n, incy), phase_y);
  x.fill(Values(30));
  y.fill(Values(31));
  const std::vector<Part> expected = reference(n, alpha, x, incx, y, extent(n, incy), incy);
  cblas_zaxpy(n, &alpha, x.data(), incx, y.data(), incy);
  for (std::size_t i = 0; i < expected.size(); i++) {
    ASSERT_TRUE(expected[i].accepts(y.get(i)))
        << "n " << n << ", x " << phase_x << " modulo 64 by " << incx << ", y " << phase_y << " by "
        << incy << ", part " << i << ": " << y.get(i) << " for "
        << static_cast<double>(expected[i].value);
    // What the walk does not touch keeps its bits.
    if (expected[i].updates == 0) {
      ASSERT_EQ(expected[i].value, y.get(i));
    }
  }
  ASSERT_TRUE(x.intact());
  ASSERT_TRUE(y.intact());
}

TEST(Zaxpy, EveryCount) {
  for (const int n : counts(120, {256, 1000}))
    ASSERT_NO_FATAL_FAILURE(check(n, some_alpha, 0, 1, 0, 1));
}

TEST(Zaxpy, EveryAlignment) {
  for (const unsigned phase_x : phases()) {
    for (const unsigned phase_y : phases()) {
      for (const int n : {1, 3, 4, 5, 17, 34, 47}) {
        ASSERT_NO_FATAL_FAILURE(check(n, some_alpha, phase_x, 1, phase_y, 1));
      }
    }
  }
}

TEST(Zaxpy, EveryStride) {
  for (const int incx : strides) {
    for (const int incy : strides) {
      for (const int n : counts(12, {35})) {
        ASSERT_NO_FATAL_FAILURE(check(n, some_alpha, 4, incx, 8, incy));
      }
    }
  }
}

TEST(Zaxpy, AlphaOfZerosOfEitherSignReadsAndWritesNothing) {
  for (const double real : {0.0, -0.0}) {
    for (const double imag : {0.0, -0.0}) {
      const complex_double alpha = {real, imag};
      cblas_zaxpy(5, &alpha, nullptr, 1, nullptr, 1);
      GuardedArray x(2 * 9, 0), y(2 * 9, 0), before(2 * 9, 0);
      x.fill(Values(32));
      for (std::size_t i = 0; i < 18; i++) x.set(i, nan);
      y.fill(Values(33));
      before.fill(Values(33));
      cblas_zaxpy(9, &alpha, x.data(), 1, y.data(), 1);
      EXPECT_TRUE(y.same_contents(before));
    }
  }
}

// A complex product of (inf, y) by (1, 0) would have a NaN, one of -0 might be +0.
TEST(Zaxpy, AlphaOfOneAddsEveryElementAsItIs) {
  const double parts[] = {inf, 1.5, -0.0, -inf, 0.0, tiny, nan, -3.25};
  for (const double imag : {0.0, -0.0}) {
    const complex_double one = {1, imag};
    for (const int incx : strides) {
      for (const int incy : strides) {
        if (incy == 0) continue;
        for (const int n : counts(incx == 1 && incy == 1 ? 70 : 9, {})) {
          GuardedArray x(2 * extent(n, incx), n % 2 * 8), y(2 * extent(n, incy), n % 3 * 8);
          GuardedArray expected(2 * extent(n, incy), 0);
          for (std::size_t i = 0; i < 2 * extent(n, incx); i++) x.set(i, parts[i * 5 / 2 % 8]);
          for (GuardedArray* array : {&y, &expected}) {
            for (std::size_t i = 0; i < 2 * extent(n, incy); i++) {
              array->set(i, i % 3 == 0 ? -0.0 : 2.5);
            }
          }
          for (std::size_t i = 0; i < static_cast<std::size_t>(2 * n); i++) {
            const auto element = static_cast<int>(i / 2);
            const std::size_t from = 2 * walk(n, incx, element) + i % 2;
            const std::size_t to = 2 * walk(n, incy, element) + i % 2;
            expected.set(to, x.get(from) + expected.get(to));
          }
          cblas_zaxpy(n, &one, x.data(), incx, y.data(), incy);
          for (std::size_t i = 0; i < 2 * extent(n, incy); i++) {
            const double found = y.get(i);
            ASSERT_TRUE(same_bits(found, expected.get(i)) ||
                        (std::isnan(found) && std::isnan(expected.get(i))))
                << "n " << n << ", strides " << incx << " " << incy << ", part " << i << ": "
                << found << " for " << expected.get(i);
          }
          ASSERT_TRUE(x.intact() && y.intact());
        }
      }
    }
  }
}

TEST(Zaxpy, AlphaWithANanRuns) {
  for (const complex_double alpha : {complex_double{nan, 0.0}, complex_double{-0.0, nan}}) {
    for (const int inc : {1, 2}) {
      std::vector<complex_double> x(20, complex_double{1, 1}), y(x);
      cblas_zaxpy(10, &alpha, x.data(), inc, y.data(), inc);
      for (std::size_t i = 0; i < 10; i++) {
        EXPECT_TRUE(std::isnan(y[i * static_cast<std::size_t>(inc)].real));
        EXPECT_TRUE(std::isnan(y[i * static_cast<std::size_t>(inc)].imag));
      }
    }
  }
}

TEST(Zaxpy, TheSmallestAlphaIsNotZero) {
  const complex_double alpha = {0.0, tiny};
  const complex_double x[1] = {{0.0, 1.0}};
  complex_double y[1] = {{0.0, 0.0}};
  cblas_zaxpy(1, &alpha, x, 1, y, 1);
  EXPECT_EQ(y[0].real, -tiny);
  EXPECT_EQ(y[0].imag, 0.0);
}

TEST(Zaxpy, NoElementsTouchNothing) {
  for (const int n : {0, -1, INT_MIN}) {
    EXPECT_EQ("", printed_by([&] {
                cblas_zaxpy(n, &some_alpha, nullptr, 1, nullptr, 1);
                cblas_zaxpy(n, nullptr, nullptr, -2, nullptr, 0);
              }));
  }
}

TEST(Zaxpy, NanStaysInItsElement) {
  for (const int n : {1, 3, 4, 7, 16, 37}) {
    for (int at = 0; at < n; at++) {
      std::vector<complex_double> x(static_cast<std::size_t>(n), complex_double{1, 2}), y(x);
      x[static_cast<std::size_t>(at)].imag = nan;
      const complex_double alpha = {2, 1};
      cblas_zaxpy(n, &alpha, x.data(), 1, y.data(), 1);
      for (int i = 0; i < n; i++) {
        const complex_double element = y[static_cast<std::size_t>(i)];
        if (i == at) {
          EXPECT_TRUE(std::isnan(element.real) && std::isnan(element.imag));
        } else {
          // (1 + 2i) * (2 + i) + (1 + 2i) = 1 + 7i
          EXPECT_TRUE(element.real == 1 && element.imag == 7)
              << element.real << " " << element.imag;
        }
      }
    }
  }
}

TEST(Zaxpy, InfinityTimesARealAlpha) {
  const complex_double alpha = {2, 1};
  const complex_double x[1] = {{inf, 0}};
  complex_double y[1] = {{1, 1}};
  cblas_zaxpy(1, &alpha, x, 1, y, 1);
  EXPECT_EQ(y[0].real, inf);
  EXPECT_EQ(y[0].imag, inf);
}

TEST(Zaxpy, StaysInsideTheArrays) {
  GuardPages x_pages(3 * GuardPages::page), y_pages(3 * GuardPages::page);
  const complex_double alpha = {2, 1};
  for (const int incx : {1, -1, 3, 0}) {
    for (const int incy : {1, -1, 2}) {
      for (const int n : counts(incx == 1 && incy == 1 ? 70 : 10, {})) {
        if (n == 0) continue;
        const std::size_t x_bytes = extent(n, incx) * sizeof(complex_double);
        const std::size_t y_bytes = extent(n, incy) * sizeof(complex_double);
        GuardedPair{x_pages, y_pages}.for_each_place(x_bytes, y_bytes, [&](void* x, void* y) {
          const complex_double element = {1, 2};
          for (std::size_t i = 0; i < x_bytes; i += 16) {
            std::memcpy(static_cast<char*>(x) + i, &element, 16);
          }
          for (std::size_t i = 0; i < y_bytes; i += 16) {
            std::memcpy(static_cast<char*>(y) + i, &element, 16);
          }
          cblas_zaxpy(n, &alpha, x, incx, y, incy);
          for (int i = 0; i < n; i++) {
            complex_double found;
            std::memcpy(&found, static_cast<char*>(y) + 16 * walk(n, incy, i), 16);
            ASSERT_TRUE(found.real == 1 && found.imag == 7) << "n " << n << ", element " << i;
          }
        });
      }
    }
  }
}

TEST(Zaxpy, OneElementWithTheLargestStrides) {
  const complex_double alpha = {2, 1}, x = {1, 2};
  for (const int inc : {INT_MAX, INT_MIN, INT_MIN + 1, 1 << 28}) {
    complex_double y = {1, 2};
    cblas_zaxpy(1, &alpha, &x, inc, &y, inc);
    EXPECT_TRUE(y.real == 1 && y.imag == 7);
  }
}

TEST(Zaxpy, BitsDoNotDependOnAlignment) {
  for (const int n : {1, 3, 4, 5, 16, 33, 50}) {
    GuardedArray x(2 * static_cast<std::size_t>(n), 0), first(2 * static_cast<std::size_t>(n), 0);
    x.fill(Values(34));
    first.fill(Values(35));
    cblas_zaxpy(n, &some_alpha, x.data(), 1, first.data(), 1);
    for (const unsigned phase_x : phases()) {
      for (const unsigned phase_y : phases()) {
        GuardedArray other_x(2 * static_cast<std::size_t>(n), phase_x);
        GuardedArray y(2 * static_cast<std::size_t>(n), phase_y);
        other_x.fill(Values(34));
        y.fill(Values(35));
        cblas_zaxpy(n, &some_alpha, other_x.data(), 1, y.data(), 1);
        ASSERT_TRUE(y.same_contents(first)) << "n " << n << ", x " << phase_x << ", y " << phase_y;
      }
    }
  }
}

}  // namespace
}  // namespace level1_test
