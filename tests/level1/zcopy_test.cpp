// cblas_zcopy: every bit arrives, and nothing else is touched.
#include <gtest/gtest.h>

#include <climits>

#include "qsl/qsl.h"
#include "tests/level1/arrays.h"
#include "tests/level1/guard_pages.h"

namespace level1_test {
namespace {

constexpr std::uint64_t signalling_nan = 0x7ff4deadbeef0001;
constexpr std::uint64_t negative_signalling_nan = 0xfff0000000000001;

// Contents in which every second element is a signalling NaN with a payload of its own.
void fill_bits(GuardedArray& array, std::size_t doubles) {
  array.fill(Values(40));
  for (std::size_t i = 0; i < doubles; i += 2) {
    const std::uint64_t bits = (i % 4 == 0 ? signalling_nan : negative_signalling_nan) + (i << 8);
    std::memcpy(reinterpret_cast<char*>(array.data()) + i * 8, &bits, 8);
  }
}

void check(int n, unsigned phase_x, int incx, unsigned phase_y, int incy) {
  const std::size_t x_doubles = 2 * extent(n, incx), y_doubles = 2 * extent(n, incy);
  GuardedArray x(x_doubles, phase_x), y(y_doubles, phase_y), expected(y_doubles, phase_y);
  fill_bits(x, x_doubles);
  y.fill(Values(41));
  expected.fill(Values(41));
  for (int i = 0; i < n; i++) {
    std::memcpy(reinterpret_cast<char*>(expected.data()) + 16 * walk(n, incy, i),
                reinterpret_cast<char*>(x.data()) + 16 * walk(n, incx, i), 16);
  }
  cblas_zcopy(n, x.data(), incx, y.data(), incy);
  ASSERT_TRUE(y.same_contents(expected) && y.intact() && x.intact())
      << "n " << n << ", x " << phase_x << " modulo 64 by " << incx << ", y " << phase_y << " by "
      << incy;
}

TEST(Zcopy, EveryCount) {
  for (const int n : counts(150, {256, 5000})) ASSERT_NO_FATAL_FAILURE(check(n, 0, 1, 8, 1));
}

TEST(Zcopy, OneElement) { ASSERT_NO_FATAL_FAILURE(check(1, 0, 1, 0, 1)); }

// 15000 bytes are 937.5 elements: from 938 on the processor's string move does the work.
TEST(Zcopy, BothSidesOfTheStringMoveThreshold) {
  for (const int n : {936, 937, 938, 939, 940}) {
    for (const unsigned phase_x : phases()) {
      for (const unsigned phase_y : {0u, 4u, 8u, 17u}) {
        ASSERT_NO_FATAL_FAILURE(check(n, phase_x, 1, phase_y, 1));
      }
    }
  }
}

TEST(Zcopy, EveryAlignment) {
  for (const unsigned phase_x : phases()) {
    for (const unsigned phase_y : phases()) {
      for (const int n : {1, 2, 3, 5, 8, 13, 23, 50}) {
        ASSERT_NO_FATAL_FAILURE(check(n, phase_x, 1, phase_y, 1));
      }
    }
  }
}

TEST(Zcopy, EveryStride) {
  for (const int incx : strides) {
    for (const int incy : strides) {
      for (const int n : counts(20, {35})) {
        ASSERT_NO_FATAL_FAILURE(check(n, 4, incx, 8, incy));
      }
    }
  }
}

TEST(Zcopy, ZeroStrideOfYKeepsTheLastElement) {
  for (int n = 1; n < 40; n++) {
    std::vector<complex_double> x(static_cast<std::size_t>(n));
    for (int i = 0; i < n; i++) x[static_cast<std::size_t>(i)] = {i + 1.0, -i - 1.0};
    complex_double y = {0, 0};
    cblas_zcopy(n, x.data(), 1, &y, 0);
    EXPECT_TRUE(y.real == n && y.imag == -n);
    cblas_zcopy(n, x.data(), -1, &y, 0);
    EXPECT_TRUE(y.real == 1 && y.imag == -1);
  }
}

TEST(Zcopy, NoElementsTouchNothing) {
  for (const int n : {0, -1, INT_MIN}) {
    cblas_zcopy(n, nullptr, 1, nullptr, 1);
    cblas_zcopy(n, nullptr, -2, nullptr, 0);
  }
}

TEST(Zcopy, OneElementWithTheLargestStrides) {
  const complex_double x = {1, 2};
  for (const int inc : {INT_MAX, INT_MIN, INT_MIN + 1, 1 << 28}) {
    complex_double y = {0, 0};
    cblas_zcopy(1, &x, inc, &y, inc);
    EXPECT_TRUE(y.real == 1 && y.imag == 2);
  }
}

TEST(Zcopy, StaysInsideTheArrays) {
  GuardPages x_pages(5 * GuardPages::page), y_pages(5 * GuardPages::page);
  for (const int incx : {1, -1, 3, 0}) {
    for (const int incy : {1, -1, 2}) {
      const bool unit = incx == 1 && incy == 1;
      for (const int n : unit ? counts(70, {938}) : counts(20, {})) {
        if (n == 0) continue;
        const std::size_t x_bytes = extent(n, incx) * 16, y_bytes = extent(n, incy) * 16;
        GuardedPair{x_pages, y_pages}.for_each_place(x_bytes, y_bytes, [&](void* x, void* y) {
          std::memset(x, 0x5a, x_bytes);
          std::memset(y, 0, y_bytes);
          cblas_zcopy(n, x, incx, y, incy);
          for (int i = 0; i < n; i++) {
            ASSERT_EQ(std::memcmp(static_cast<char*>(y) + 16 * walk(n, incy, i), x, 16), 0);
          }
        });
      }
    }
  }
}

}  // namespace
}  // namespace level1_test
