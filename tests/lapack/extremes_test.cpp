// Sizes far from any array, and elements near the ends of the range of numbers.
#include <gtest/gtest.h>

#include <climits>
#include <cmath>

#include "tests/lapack/problems.h"

namespace lapack_test {
namespace {

// The search for NaN looks at nothing where a size is negative, however far.
TEST(Extremes, SizesFarBelowZeroAreRefused) {
  const int far_below[] = {-1,          -1073741823, -1073741824, -1073741825,
                           -1500000000, -2147483647, INT_MIN};
  for_each_kind([&](auto kind) {
    using Number = decltype(kind);
    Number a[4] = {}, b[4] = {};
    int ipiv[2] = {};
    const int by_rows = CblasRowMajor, by_columns = CblasColMajor;
    for (const int size : far_below) {
      EXPECT_EQ(gesv(by_columns, size, 1, a, 1, ipiv, b, 1), -2) << size;
      EXPECT_EQ(gesv(by_columns, 2, size, a, 2, ipiv, b, 2), -3) << size;
      EXPECT_EQ(gesv(by_columns, 2, 1, a, size, ipiv, b, 2), -5) << size;
      EXPECT_EQ(gesv(by_columns, 2, 1, a, 2, ipiv, b, size), -8) << size;
      EXPECT_EQ(gesv(by_rows, size, 1, a, 1, ipiv, b, 1), -2) << size;
      EXPECT_EQ(gesv(by_rows, 2, size, a, 2, ipiv, b, 1), -3) << size;
      EXPECT_EQ(gesv(by_rows, 2, 1, a, size, ipiv, b, 1), -5) << size;
      EXPECT_EQ(gesv(by_rows, 2, 1, a, 2, ipiv, b, size), -8) << size;
    }
  });
}

template <class Number>
Number number(double value) {
  if constexpr (is_real<Number>) {
    return value;
  } else {
    return {value, 0};
  }
}
double first_part(double x) { return x; }
double first_part(complex_double x) { return x.real; }
double other_part(double) { return 0; }
double other_part(complex_double x) { return x.imag; }

struct Upper {
  double diagonal, above;  // of the first row; the second one is (0, 1)
  double first, second;    // the right-hand side

  // The first unknown, in a type in which nothing overflows.
  long double unknown() const {
    return (first - static_cast<long double>(above) * second) / diagonal;
  }
};

// Quotients that would overflow or vanish, were a row or a right-hand side divided by the diagonal
// before what belongs to it is subtracted. What is subtracted is either far from what it is
// subtracted from or exact, and so is the difference: four roundings are left.
constexpr Upper triangles[] = {
    {1e-5, 1, 1e305, 1e305 * (1 - 1e-10)},
    {1e-2, 1, 1e307, 1e307 * (1 - 1e-8)},
    {1e200, 1e-200, 0, 1e300},
    {1e160, 1e-160, 0, 1e300},
    {1e-155, 1e155, 1e-100, 1e-260},
    {1e-290, 1e-300, 1e-10, 1e-10},
    {4e-320, 0, 4e-310, 1},
};

TEST(Extremes, SmallSystemsKeepTheirDigitsWhateverTheNumberOfRightHandSides) {
  for_each_kind([](auto kind) {
    using Number = decltype(kind);
    for (const Upper& t : triangles) {
      for (const int n : {2, 3, 5, 8}) {
        for (const int nrhs : {1, 8, 9, 12}) {
          std::vector<Number> a(static_cast<std::size_t>(n) * n),
              b(static_cast<std::size_t>(n) * nrhs);
          std::vector<int> ipiv(n);
          // The interesting rows are the last two.
          const int row = n - 2;
          for (int i = 0; i < row; i++) a[static_cast<std::size_t>(i) * n + i] = number<Number>(1);
          a[static_cast<std::size_t>(row) * n + row] = number<Number>(t.diagonal);
          a[static_cast<std::size_t>(row + 1) * n + row] = number<Number>(t.above);
          a[static_cast<std::size_t>(row + 1) * n + row + 1] = number<Number>(1);
          for (int c = 0; c < nrhs; c++) {
            b[static_cast<std::size_t>(c) * n + row] = number<Number>(t.first);
            b[static_cast<std::size_t>(c) * n + row + 1] = number<Number>(t.second);
          }
          ASSERT_EQ(gesv(CblasColMajor, n, nrhs, a.data(), n, ipiv.data(), b.data(), n), 0);
          for (int c = 0; c < nrhs; c++) {
            const Number found = b[static_cast<std::size_t>(c) * n + row];
            const long double bound = 4 * 0x1p-53L * std::fabs(t.unknown());
            ASSERT_LE(std::fabs(first_part(found) - t.unknown()), bound)
                << t.diagonal << ' ' << t.above << ": order " << n << ", " << nrhs
                << " right-hand sides";
            ASSERT_LE(std::fabs(other_part(found)), bound);
          }
        }
      }
    }
  });
}

}  // namespace
}  // namespace lapack_test
