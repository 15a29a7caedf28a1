// Band systems through the routine that the C interface stands on, at every processor type.
#include <gtest/gtest.h>

#include "lapack/band/routines.h"
#include "tests/band_lu/problem.h"

namespace band_lu_test {
namespace {

int solve(int n, int kl, int ku, int nrhs, Number* ab, int ldab, int* ipiv, Number* b, int ldb) {
  int info = -77;
  ZGBSV(&n, &kl, &ku, &nrhs, ab, &ldab, ipiv, b, &ldb, &info);
  return info;
}

TEST(BandSystem, EveryShape) { ASSERT_NO_FATAL_FAILURE(check_shapes(solve)); }

TEST(BandSystem, WideBands) {
  for (const Shape& shape : blocked_shapes()) {
    ASSERT_NO_FATAL_FAILURE(check(solve, shape, 3, 2));
  }
}

TEST(BandSystem, ManyRightHandSides) {
  for (const Shape& shape : {Shape{1, 0, 0}, {70, 3, 5}, {150, 40, 20}}) {
    ASSERT_NO_FATAL_FAILURE(check(solve, shape, 37, 3));
    ASSERT_NO_FATAL_FAILURE(check(solve, shape, 0, 0));
  }
}

TEST(BandSystem, ASingularMatrixLeavesTheRightHandSide) {
  Number ab[3] = {{0, 0}, {0, 0}, {0, 0}}, b[3] = {{1, 2}, {3, 4}, {5, 6}};
  int pivots[3];
  EXPECT_EQ(solve(3, 0, 0, 1, ab, 1, pivots, b, 3), 1);
  EXPECT_EQ(b[0].imag, 2);
  EXPECT_EQ(pivots[2], 3);
}

TEST(BandSystem, NothingHappensWithoutEquations) {
  EXPECT_EQ(solve(0, 2, 1, 5, nullptr, 6, nullptr, nullptr, 1), 0);
}

// Reference systems with known solutions: a chain of equal springs, and a rotation.
TEST(BandSystem, KnownSolutions) {
  constexpr int n = 9;
  Number ab[4 * n] = {}, b[n] = {};
  for (int j = 0; j < n; j++) {
    ab[4 * j + 1] = {-1, 0};
    ab[4 * j + 2] = {2, 0};
    ab[4 * j + 3] = {-1, 0};
    b[j] = {0, 0};
  }
  b[n - 1] = {n + 1, 0};
  int pivots[n];
  ASSERT_EQ(solve(n, 1, 1, 1, ab, 4, pivots, b, n), 0);
  for (int j = 0; j < n; j++) {
    EXPECT_NEAR(b[j].real, j + 1, 1e-13);
    EXPECT_EQ(b[j].imag, 0);
  }
  Number diagonal[2] = {{0, 1}, {0, -2}}, rotated[2] = {{3, 0}, {4, 4}};
  ASSERT_EQ(solve(2, 0, 0, 1, diagonal, 1, pivots, rotated, 2), 0);
  EXPECT_EQ(rotated[0].real, 0);
  EXPECT_EQ(rotated[0].imag, -3);
  EXPECT_EQ(rotated[1].real, -2);
  EXPECT_EQ(rotated[1].imag, 2);
}

}  // namespace
}  // namespace band_lu_test
