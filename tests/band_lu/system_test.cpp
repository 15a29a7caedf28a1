// Band systems through the routine that the C interface stands on, at every processor type.
#include <gtest/gtest.h>

#include <cstring>

#include "include/qsl/lapack.h"
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

// The same by the export. Its search for NaN reads the room for fill.
int solve_by_export(int n, int kl, int ku, int nrhs, Number* ab, int ldab, int* ipiv, Number* b,
                    int ldb) {
  for (int j = 0; j < n; j++) {
    for (int row = std::max(0, kl + ku - j); row < kl; row++) {
      const Number zero = {0, 0};
      char* at = reinterpret_cast<char*>(ab) + (j * ldab + row) * static_cast<int>(sizeof zero);
      std::memcpy(at, &zero, sizeof zero);
    }
  }
  return LAPACKE_zgbsv(CblasColMajor, n, kl, ku, nrhs, ab, ldab, ipiv, b, ldb);
}

// Where squares of moduli overflow or underflow, and where they are just about to: narrow bands,
// and at the ends of the range such as are factored in blocks.
TEST(BandSystem, MatricesFarFromOne) {
  const auto expect = [](Shape shape, double scale) {
    shape.scale = scale;
    check(solve_by_export, shape, 2, 1);
  };
  for (const double scale :
       {1e170, 1e-170, 1e300, 1e-300, 0x1p-512, 0x1p-511, 0x1p511, 0x1p512, 0x1p-500, 0x1p500}) {
    for (const Shape& shape :
         {Shape{16, 3, 2}, {17, 0, 4}, {33, 8, 8, 1}, {64, 20, 1}, {65, 2, 9}}) {
      ASSERT_NO_FATAL_FAILURE(expect(shape, scale));
    }
  }
  if (emulated()) return;
  for (const double scale : {1e300, 1e-300}) {
    ASSERT_NO_FATAL_FAILURE(expect({200, 6, 9}, scale));
    ASSERT_NO_FATAL_FAILURE(expect({200, 90, 80}, scale));
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
