// The statuses of the C-style entries, and what they leave behind.
#include <gtest/gtest.h>

#include <climits>

#include "tests/lapack/problems.h"

namespace lapack_test {
namespace {

const std::vector<int>& scanned_orders() {
  static const std::vector<int> all = {1, 2, 3, 4, 5, 6, 9, 15, 16, 17, 20};
  static const std::vector<int> few = {1, 2, 4, 5, 9, 16};
  return emulated() || instrumented ? few : all;
}

// A call that a NaN ends: nothing has changed.
template <class Number>
void expect_rejected(const Matrix<Number>& a, const Matrix<Number>& b, bool by_rows, int status,
                     unsigned index) {
  const Storage storage = rotated(by_rows, index);
  Stored<Number> a_stored(a, storage), b_stored(b, storage);
  const Stored<Number> a_before(a, storage), b_before(b, storage);
  Pivots pivots(a.rows());
  ASSERT_EQ(gesv(by_rows ? CblasRowMajor : CblasColMajor, a.rows(), b.columns(), a_stored.data(),
                 a_stored.ld(), pivots.data(), b_stored.data(), b_stored.ld()),
            status)
      << "order " << a.rows() << (by_rows ? ", by rows" : "");
  ASSERT_TRUE(pivots.untouched());
  ASSERT_TRUE(a_stored.same_bytes(a_before) && b_stored.same_bytes(b_before));
}

template <class Number>
Number with_nan(int turn) {
  if constexpr (is_real<Number>) {
    return turn % 2 == 0 ? nan_value : -nan_value;
  } else {
    return turn % 2 == 0 ? complex_double{nan_value, 1} : complex_double{1, nan_value};
  }
}

TEST(NanRejection, OfEveryElementOfTheMatrix) {
  for_each_kind([](auto kind) {
    using Number = decltype(kind);
    for (const int n : scanned_orders()) {
      const auto b = random_matrix<Number>(n, 2, 1);
      for (int j = 0; j < n; j++) {
        for (int i = 0; i < n; i++) {
          if (n > 9 && (i + j) % 3 != 0 && i + 1 != n && j + 1 != n) continue;
          auto a = random_matrix<Number>(n, n, 2);
          a(i, j) = with_nan<Number>(i + j);
          for (const bool by_rows : {false, true}) {
            ASSERT_NO_FATAL_FAILURE(
                expect_rejected(a, b, by_rows, -4, static_cast<unsigned>(i + j)))
                << i << ", " << j;
          }
        }
      }
    }
  });
}

TEST(NanRejection, OfEveryElementOfTheRightHandSides) {
  for_each_kind([](auto kind) {
    using Number = decltype(kind);
    for (const int n : scanned_orders()) {
      const auto a = random_matrix<Number>(n, n, 1);
      for (const int nrhs : {1, 4, 5, 7}) {
        for (int j = 0; j < nrhs; j++) {
          for (int i = 0; i < n; i++) {
            auto b = random_matrix<Number>(n, nrhs, 2);
            b(i, j) = with_nan<Number>(i + j);
            for (const bool by_rows : {false, true}) {
              ASSERT_NO_FATAL_FAILURE(
                  expect_rejected(a, b, by_rows, -7, static_cast<unsigned>(i + j)))
                  << i << ", " << j;
            }
          }
        }
      }
    }
  });
}

TEST(NanRejection, TheMatrixComesFirst) {
  for_each_kind([](auto kind) {
    using Number = decltype(kind);
    auto a = random_matrix<Number>(5, 5, 1), b = random_matrix<Number>(5, 2, 2);
    a(4, 4) = b(0, 0) = with_nan<Number>(0);
    for (const bool by_rows : {false, true}) expect_rejected(a, b, by_rows, -4, 1);
  });
}

// Sums of a column or a row are NaN then, its elements are not.
TEST(NanRejection, InfinitiesAreNoNan) {
  for_each_kind([](auto kind) {
    using Number = decltype(kind);
    for (const int n : {4, 5, 15, 16, 17, 40}) {
      for (const bool imaginary : {false, true}) {
        if (imaginary && is_real<Number>) continue;
        for (const double size : {infinity, 0x1.fp1023}) {
          const auto special = [&](double sign) {
            return imaginary ? number<Number>(1, sign * size) : number<Number>(sign * size, 1);
          };
          auto a = random_matrix<Number>(n, n, 1), b = random_matrix<Number>(n, 2, 2);
          for (int i = 0; i < n; i++) {
            a(i, n / 2) = special(i % 2 == 0 ? 1 : -1);
            a(n / 2, i) = special(i % 2 == 0 ? 1 : -1);
          }
          for (int i = 0; i < n; i++) b(i, 1) = special(i % 3 == 0 ? 1 : -1);
          for (const bool by_rows : {false, true}) {
            const auto solved = solve(a, b, rotated(by_rows, 2), rotated(by_rows, 1));
            ASSERT_GE(solved.status, 0) << n << (by_rows ? ", by rows" : "");
          }
          // A NaN beside them is found.
          a(n - 1, 0) = with_nan<Number>(n);
          for (const bool by_rows : {false, true}) {
            ASSERT_NO_FATAL_FAILURE(expect_rejected(a, b, by_rows, -4, 3));
          }
        }
      }
    }
  });
}

// No operand is there, and no element is looked at.
TEST(Statuses, EmptySystems) {
  for_each_kind([](auto kind) {
    using Number = decltype(kind);
    Number* nothing = nullptr;
    EXPECT_EQ(gesv(CblasColMajor, 0, 0, nothing, 1, nullptr, nothing, 1), 0);
    EXPECT_EQ(gesv(CblasColMajor, 0, 4, nothing, 1, nullptr, nothing, 1), 0);
    // By rows a leading dimension is a row's length.
    EXPECT_EQ(gesv(CblasRowMajor, 0, 0, nothing, 0, nullptr, nothing, 0), 0);
    EXPECT_EQ(gesv(CblasRowMajor, 0, 4, nothing, 0, nullptr, nothing, 4), 0);
    Number a[1] = {with_nan<Number>(0)};
    EXPECT_EQ(gesv(CblasRowMajor, 0, 1, a, 0, nullptr, a, 1), 0);
    EXPECT_EQ(gesv(CblasColMajor, 0, 1, a, 1, nullptr, a, 1), 0);
  });
}

TEST(Statuses, WithoutRightHandSidesTheMatrixIsFactored) {
  for_each_kind([](auto kind) {
    using Number = decltype(kind);
    for (const int n : {1, 5, 16, 17, 30}) {
      const auto known = known_factors<Number>(n, n, 1);
      for (const bool by_rows : {false, true}) {
        const auto solved =
            solve(known.a, Matrix<Number>(n, 0), rotated(by_rows, 1), rotated(by_rows, 0));
        ASSERT_EQ(solved.status, 0);
        ASSERT_EQ(solved.ipiv, known.ipiv);
        ASSERT_TRUE(equal(solved.factors, known.factors));
      }
    }
  });
}

TEST(Statuses, ASingularMatrixGivesItsColumnAndItsFactors) {
  for_each_kind([](auto kind) {
    using Number = decltype(kind);
    for (const int n : {1, 2, 3, 7, 8, 16, 17, 33, 60}) {
      if (emulated() && n > 33) continue;
      for (const int zero : {0, n / 3, n - 1}) {
        const auto known = known_factors<Number>(n, n, 1, {zero, n - 1});
        const auto b = random_matrix<Number>(n, 3, 2);
        for (const bool by_rows : {false, true}) {
          const auto solved = solve(known.a, b, rotated(by_rows, 2), rotated(by_rows, 3));
          ASSERT_EQ(solved.status, zero + 1) << n << (by_rows ? ", by rows" : "");
          ASSERT_EQ(solved.ipiv, known.ipiv);
          ASSERT_TRUE(equal(solved.factors, known.factors)) << n << (by_rows ? ", by rows" : "");
          for (int j = 0; j < 3; j++) {
            for (int i = 0; i < n; i++) ASSERT_TRUE(same_bits(solved.x(i, j), b(i, j)));
          }
        }
      }
    }
  });
}

// Twice some of these sizes is a positive number of 32 bits.
TEST(Statuses, NegativeSizesHaveNoElements) {
  for_each_kind([](auto kind) {
    using Number = decltype(kind);
    Number a[1] = {number<Number>(2)}, b[1] = {number<Number>(6)};
    int ipiv[1] = {77};
    for (const int size :
         {-1, -2, -16, -1073741823, -1073741824, -1073741825, -1610612736, INT_MIN + 1, INT_MIN}) {
      for (const int layout : {CblasColMajor, CblasRowMajor}) {
        EXPECT_EQ(gesv(layout, size, 1, a, 1, ipiv, b, 1), -2) << size;
        EXPECT_EQ(gesv(layout, 1, size, a, 1, ipiv, b, 1), -3) << size;
        EXPECT_EQ(gesv(layout, size, size, a, 1, ipiv, b, 1), -2) << size;
      }
    }
    EXPECT_TRUE(equal(a[0], number<Number>(2)) && equal(b[0], number<Number>(6)));
    EXPECT_EQ(ipiv[0], 77);
  });
}

// One column, or one row: no element of the gap is there.
TEST(Statuses, LeadingDimensionsWithoutEnd) {
  for_each_kind([](auto kind) {
    using Number = decltype(kind);
    for (const int layout : {CblasColMajor, CblasRowMajor}) {
      for (const int ld : {INT_MAX, INT_MAX / 2 + 1, 1 << 28}) {
        Number a[1] = {number<Number>(2)}, b[1] = {number<Number>(6)};
        int ipiv[1] = {77};
        ASSERT_EQ(gesv(layout, 1, 1, a, ld, ipiv, b, ld), 0) << layout << ", " << ld;
        ASSERT_TRUE(equal(b[0], number<Number>(3)) && ipiv[0] == 1);
        b[0] = with_nan<Number>(0);
        ASSERT_EQ(gesv(layout, 1, 1, a, ld, ipiv, b, ld), -7);
        a[0] = with_nan<Number>(1);
        ASSERT_EQ(gesv(layout, 1, 1, a, ld, ipiv, b, ld), -4);
      }
    }
  });
  const int one = 1, ld = INT_MAX;
  double a[1] = {5};
  int ipiv[1] = {77}, info = 99;
  DGETRF(&one, &one, a, &ld, ipiv, &info);
  EXPECT_EQ(info, 0);
  EXPECT_EQ(ipiv[0], 1);
}

}  // namespace
}  // namespace lapack_test
