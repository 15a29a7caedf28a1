// The blocked factorisations, through every way of cutting a matrix.
#include <gtest/gtest.h>

#include "tests/lapack/ratios.h"
#include "tests/lapack/recursion.h"
#include "tests/lapack/types.h"

namespace lapack_test {
namespace {

#if defined(__OPTIMIZE__)
constexpr bool quick = !instrumented;
#else
constexpr bool quick = false;
#endif

struct Shape {
  int m, n;
};
std::ostream& operator<<(std::ostream& out, const Shape& shape) {
  return out << shape.m << " by " << shape.n;
}

// Both sides of the small kernels' largest size, of block sizes, and of one block more.
std::vector<Shape> shapes() {
  std::vector<Shape> result;
  for (const int n : {0, 1, 7, 8, 16, 17, 24, 25, 32, 33, 48, 49}) result.push_back({n, n});
  result.insert(result.end(), {{17, 0},
                               {0, 17},
                               {17, 1},
                               {1, 17},
                               {16, 3},
                               {20, 5},
                               {5, 20},
                               {17, 16},
                               {16, 17},
                               {60, 25},
                               {25, 60},
                               {50, 49},
                               {49, 50}});
  if (emulated()) return result;
  for (const int n : {64, 65, 100, 129, 130, 200}) result.push_back({n, n});
  result.insert(result.end(), {{300, 1}, {1, 300}, {130, 40}, {40, 130}, {150, 129}, {129, 150}});
  if (!instrumented) result.insert(result.end(), {{257, 257}, {300, 300}, {300, 257}, {65, 300}});
  return result;
}

TEST_F(Drivers, ExactFactorsAreFoundThroughEveryRecursion) {
  for (const int type : cutting_types()) {
    ASSERT_NO_FATAL_FAILURE(become(type));
    for_each_kind([&](auto kind) {
      using Number = decltype(kind);
      unsigned index = 1;
      for (const Shape& shape : shapes()) {
        const auto known = known_factors<Number>(shape.m, shape.n, ++index);
        const auto found = factor(known.a, {false, static_cast<int>(index % 3), 4 * (index % 16)});
        ASSERT_EQ(found.info, 0) << shape << ", type " << type;
        ASSERT_EQ(found.ipiv, known.ipiv) << shape << ", type " << type;
        ASSERT_TRUE(equal(found.a, known.factors)) << shape << ", type " << type;
      }
    });
  }
}

TEST_F(Drivers, ExactFactorsOfALargeMatrix) {
  if (!quick || emulated()) GTEST_SKIP() << "too slow here";
  const auto known = known_factors<double>(1001, 1001, 1);
  for (const int type : cutting_types()) {
    ASSERT_NO_FATAL_FAILURE(become(type));
    const auto found = factor(known.a);
    ASSERT_EQ(found.info, 0) << "type " << type;
    ASSERT_EQ(found.ipiv, known.ipiv) << "type " << type;
    ASSERT_TRUE(equal(found.a, known.factors)) << "type " << type;
  }
}

// The first zero pivot's column counts through every level of the recursion, a later one does not,
// and all other columns factor.
TEST_F(Drivers, AZeroColumnAnywhereIsFound) {
  for (const int type : cutting_types()) {
    ASSERT_NO_FATAL_FAILURE(become(type));
    for_each_kind([&](auto kind) {
      using Number = decltype(kind);
      for (const Shape& shape :
           {Shape{17, 17}, {60, 25}, {25, 60}, {49, 49}, {100, 100}, {130, 130}}) {
        const int steps = std::min(shape.m, shape.n);
        if (emulated() && steps > 49) continue;
        const int stride = instrumented || emulated() ? 11 : steps > 100 ? 9 : steps > 50 ? 3 : 1;
        for (int zero = 0; zero < steps; zero += stride) {
          const int second = zero + (steps - zero) / 2;
          const auto known = known_factors<Number>(shape.m, shape.n, 3, {zero, second});
          const auto found = factor(known.a, {false, 1, 4});
          ASSERT_EQ(found.info, zero + 1) << shape << ", type " << type;
          ASSERT_EQ(found.ipiv, known.ipiv) << shape << ", type " << type << ", " << zero;
          ASSERT_EQ(found.ipiv[static_cast<std::size_t>(zero)], zero + 1);
          ASSERT_TRUE(equal(found.a, known.factors)) << shape << ", type " << type << ", " << zero;
        }
      }
    });
  }
}

// The pivots of an elimination in long double; the largest element of each column must be clearly
// larger than the next one.
template <class Number>
std::vector<int> decided_pivots(const Matrix<Number>& a) {
  const int m = a.rows(), n = a.columns();
  std::vector<std::vector<Wide<Number>>> at(static_cast<std::size_t>(n));
  for (int j = 0; j < n; j++) {
    for (int i = 0; i < m; i++) at[static_cast<std::size_t>(j)].push_back(wide(a(i, j)));
  }
  std::vector<int> result;
  for (std::size_t k = 0; k < static_cast<std::size_t>(std::min(m, n)); k++) {
    auto& column = at[k];
    std::size_t pivot = k;
    long double largest = 0, next = 0;
    for (std::size_t i = k; i < column.size(); i++) {
      const long double magnitude = size(column[i]);
      if (magnitude > largest) {
        next = largest;
        largest = magnitude;
        pivot = i;
      } else if (magnitude > next) {
        next = magnitude;
      }
    }
    EXPECT_GT(largest, next * (1 + 1e-9L)) << "the matrix does not decide step " << k;
    result.push_back(static_cast<int>(pivot) + 1);
    for (auto& other : at) std::swap(other[k], other[pivot]);
    Wide<Number> reciprocal;
    if constexpr (is_real<Number>) {
      reciprocal = 1 / column[k];
    } else {
      const auto p = column[k];
      const long double square = p.re * p.re + p.im * p.im;
      reciprocal = {p.re / square, -p.im / square};
    }
    for (std::size_t i = k + 1; i < column.size(); i++) column[i] = column[i] * reciprocal;
    for (std::size_t c = k + 1; c < at.size(); c++) {
      for (std::size_t i = k + 1; i < column.size(); i++) {
        at[c][i] = at[c][i] - column[i] * at[c][k];
      }
    }
  }
  return result;
}

TEST_F(Drivers, PivotsAreThoseOfThePlainElimination) {
  for_each_kind([&](auto kind) {
    using Number = decltype(kind);
    for (const Shape& shape : {Shape{17, 17},
                               {33, 33},
                               {49, 49},
                               {60, 25},
                               {25, 60},
                               {100, 100},
                               {130, 130},
                               {257, 257}}) {
      if ((emulated() || instrumented) && shape.m > 60) continue;
      const auto a = random_matrix<Number>(shape.m, shape.n, 7);
      const std::vector<int> expected = decided_pivots(a);
      for (const int type : cutting_types()) {
        ASSERT_NO_FATAL_FAILURE(become(type));
        const auto found = factor(a);
        ASSERT_EQ(found.ipiv, expected) << shape << ", type " << type;
        ASSERT_LT(factor_ratio(a, found.a, found.ipiv), threshold) << shape << ", type " << type;
      }
    }
  });
}

// A NaN is not a zero, wherever it stands.
TEST_F(Drivers, ANanSetsNoInfo) {
  for_each_kind([&](auto kind) {
    using Number = decltype(kind);
    for (const int n : {5, 16, 17, 49, 100}) {
      if (emulated() && n > 49) continue;
      for (const int row : {0, n / 2, n - 1}) {
        for (const int column : {0, n / 2, n - 1}) {
          auto a = random_matrix<Number>(n, n, 5);
          a(row, column) = number<Number>(nan_value);
          const auto found = factor(a);
          EXPECT_EQ(found.info, 0) << n << ": " << row << ", " << column;
          EXPECT_TRUE(has_nan(found.a(n - 1, n - 1))) << n << ": " << row << ", " << column;
        }
      }
    }
  });
}

TEST_F(Drivers, NothingIsTouchedWithoutRowsOrColumns) {
  for_each_kind([&](auto kind) {
    using Number = decltype(kind);
    for (const Shape& shape :
         {Shape{0, 0}, {0, 16}, {16, 0}, {0, 17}, {17, 0}, {0, 2000}, {2000, 0}}) {
      const int lda = 2000;
      int info = 99;
      Routines<Number>::getrf(&shape.m, &shape.n, nullptr, &lda, nullptr, &info);
      EXPECT_EQ(info, 0) << shape;
    }
  });
}

}  // namespace
}  // namespace lapack_test
