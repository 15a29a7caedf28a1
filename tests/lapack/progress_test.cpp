// The progress hook: what it is told, and what a stop leaves behind.
#include <gtest/gtest.h>

#include "include/qsl/lapack.h"
#include "tests/lapack/recursion.h"
#include "tests/lapack/types.h"

namespace lapack_test {
namespace {

class ProgressHook : public Drivers {};

// An identity: its factors are itself.
template <class Number>
Matrix<Number> identity(int m, int n) {
  Matrix<Number> result(m, n);
  for (int i = 0; i < std::min(m, n); i++) result(i, i) = number<Number>(1);
  return result;
}

TEST_F(ProgressHook, TheRealStepsAreThoseOfTheTables) {
  for (const int type : cutting_types()) {
    ASSERT_NO_FATAL_FAILURE(become(type));
    for (const auto& [m, n] : {std::pair{17, 17},
                               {24, 24},
                               {25, 25},
                               {32, 32},
                               {33, 33},
                               {48, 48},
                               {49, 49},
                               {100, 100},
                               {129, 129},
                               {130, 130},
                               {257, 257},
                               {20, 5},
                               {5, 20},
                               {300, 1},
                               {1, 300},
                               {30, 200},
                               {200, 30},
                               {60, 25}}) {
      if (emulated() && std::max(m, n) > 60) continue;
      watch("DGETRF");
      const auto found = factor(identity<double>(m, n));
      EXPECT_EQ(found.info, 0);
      EXPECT_EQ(Progress::wrong, "");
      EXPECT_EQ(Progress::steps, real_steps(type, m, n)) << m << " by " << n << ", type " << type;
    }
  }
}

// In numbers, as they come.
TEST_F(ProgressHook, SomeStepsOfTheTypes) {
  for (const int type : cutting_types()) {
    ASSERT_NO_FATAL_FAILURE(become(type));
    watch("DGETRF");
    factor(identity<double>(100, 100));
    const std::vector<int> below_7 = {8, 16, 24, 32, 40, 48, 56, 64, 72, 80, 88, 96, 100};
    EXPECT_EQ(Progress::steps, type > 7    ? (std::vector{48, 96, 100})
                               : type == 7 ? (std::vector{24, 48, 72, 96, 100})
                                           : below_7);
    watch("DGETRF");
    factor(identity<double>(20, 5));
    EXPECT_EQ(Progress::steps, std::vector{5});
    watch("ZGETRF");
    factor(identity<complex_double>(49, 49));
    EXPECT_EQ(Progress::steps, (std::vector{16, 32, 48, 49}));
  }
}

TEST_F(ProgressHook, TheRealRecursionOfALargeMatrix) {
#if defined(__OPTIMIZE__)
  if (emulated() || instrumented) GTEST_SKIP() << "too slow here";
  for (const int type : cutting_types()) {
    ASSERT_NO_FATAL_FAILURE(become(type));
    for (const int n : {1000, 1001}) {
      watch("DGETRF");
      factor(identity<double>(n, n));
      EXPECT_EQ(Progress::steps, real_steps(type, n, n)) << n << ", type " << type;
      if (type == 7) {
        EXPECT_EQ(Progress::steps[5], n == 1000 ? 144 : 128);
      }
    }
  }
#endif
}

TEST_F(ProgressHook, TheComplexStepsAreThoseOfTheLadder) {
  for (const auto& [m, n] : {std::pair{17, 17},
                             {32, 32},
                             {33, 33},
                             {64, 64},
                             {65, 65},
                             {128, 128},
                             {129, 129},
                             {200, 200},
                             {20, 5},
                             {5, 20},
                             {40, 17},
                             {17, 40},
                             {300, 16},
                             {16, 300},
                             {300, 17}}) {
    if (emulated() && std::max(m, n) > 65) continue;
    watch("ZGETRF");
    const auto found = factor(identity<complex_double>(m, n));
    EXPECT_EQ(found.info, 0);
    EXPECT_EQ(Progress::wrong, "");
    EXPECT_EQ(Progress::steps, complex_steps(m, n)) << m << " by " << n;
  }
#if defined(__OPTIMIZE__)
  if (emulated() || instrumented) return;
  // From 1024 the ladder goes to 128, and 1025 is cut in 1024 and 1.
  for (const int n : {1024, 1025}) {
    watch("ZGETRF");
    factor(identity<complex_double>(n, n));
    EXPECT_EQ(Progress::steps, complex_steps(n, n)) << n;
  }
#endif
}

TEST_F(ProgressHook, SmallMatricesAskNobody) {
  watch("DGETRF");
  factor(identity<double>(16, 16));
  factor(identity<double>(16, 3));
  factor(identity<complex_double>(16, 16));
  EXPECT_TRUE(Progress::steps.empty());
}

TEST_F(ProgressHook, AStopAtAnyStepEndsTheFactorisation) {
  for_each_kind([&](auto kind) {
    using Number = decltype(kind);
    const char* stage = is_real<Number> ? "DGETRF" : "ZGETRF";
    for (const int n : {17, 49, 100}) {
      if (emulated() && n > 49) continue;
      const auto known = known_factors<Number>(n, n, 1);
      watch(stage);
      factor(known.a);
      const std::vector<int> all = Progress::steps;
      for (std::size_t k = 1; k <= all.size(); k++) {
        watch(stage, static_cast<int>(k));
        const auto found = factor(known.a);
        EXPECT_EQ(found.info, -1002) << n << ", stopped at " << k;
        EXPECT_EQ(Progress::steps, std::vector<int>(all.begin(), all.begin() + static_cast<int>(k)))
            << n << ", stopped at " << k;
      }
    }
  });
}

// The columns of a finished panel wait for the exchanges of later ones until all are done.
TEST_F(ProgressHook, AStopFindsTheRealPanelsWithoutLaterExchanges) {
  for (const int type : cutting_types()) {
    ASSERT_NO_FATAL_FAILURE(become(type));
    const int n = 72, nb = block_size(type, n, n);
    const auto known = known_factors<double>(n, n, 1);
    // At the end of the second panel.
    const std::vector<int> steps = real_steps(type, n, n);
    const auto end = std::find(steps.begin(), steps.end(), std::min(2 * nb, n));
    ASSERT_NE(end, steps.end());
    watch("DGETRF", static_cast<int>(end - steps.begin()) + 1);
    const auto stopped = factor(known.a);
    ASSERT_EQ(stopped.info, -1002);
    // L's first columns before the exchanges of rows nb and later.
    Matrix<double> expected = known.factors;
    for (int i = n - 1; i >= nb; i--) {
      expected.exchange_rows(i, known.ipiv[static_cast<std::size_t>(i)] - 1);
    }
    for (int j = 0; j < nb; j++) {
      for (int i = 0; i < n; i++) {
        ASSERT_EQ(stopped.a(i, j), expected(i, j)) << "type " << type << ": " << i << ", " << j;
      }
    }
  }
}

TEST_F(ProgressHook, AStopLeavesTheRightHandSidesAlone) {
  for_each_kind([&](auto kind) {
    using Number = decltype(kind);
    const int n = 20, nrhs = 3;
    const auto known = known_factors<Number>(n, n, 1);
    Stored<Number> a(known.a), b(random_matrix<Number>(n, nrhs, 2));
    const Stored<Number> before(random_matrix<Number>(n, nrhs, 2));
    std::vector<int> ipiv(n);
    int info = 99;
    watch(is_real<Number> ? "DGETRF" : "ZGETRF", 1);
    Routines<Number>::gesv(&n, &nrhs, a.data(), &n, ipiv.data(), b.data(), &n, &info);
    EXPECT_EQ(info, -1002);
    EXPECT_TRUE(b.same_bytes(before));
  });
}

// Positions and this status alike are shifted by the layout argument.
TEST_F(ProgressHook, AStopGoesThroughTheExports) {
  const int n = 20;
  for (const bool by_rows : {false, true}) {
    const int layout = by_rows ? CblasRowMajor : CblasColMajor;
    for_each_kind([&](auto kind) {
      using Number = decltype(kind);
      const auto right = random_matrix<Number>(n, 2, 2);
      Stored<Number> a(known_factors<Number>(n, n, 1).a, {by_rows}), x(right, {by_rows});
      std::vector<int> ipiv(n);
      watch(is_real<Number> ? "DGETRF" : "ZGETRF", 1);
      int status = 99;
      const std::string text = frame_test::printed([&] {
        if constexpr (is_real<Number>) {
          status = LAPACKE_dgesv(layout, n, 2, a.data(), n, ipiv.data(), x.data(), x.ld());
        } else {
          status = LAPACKE_zgesv(layout, n, 2, a.data(), n, ipiv.data(), x.data(), x.ld());
        }
      });
      EXPECT_EQ(text, "");
      EXPECT_EQ(status, -1003);
      EXPECT_TRUE(equal(x.elements(), right));
      EXPECT_EQ(Progress::steps.size(), 1u);
    });
  }
  Matrix<double> a = known_factors<double>(n, n, 1).a;
  std::vector<int> ipiv(n);
  int info = 99;
  watch("DGETRF", 1);
  DGETRF(&n, &n, a.data(), &n, ipiv.data(), &info);
  EXPECT_EQ(info, -1002);
}

TEST_F(ProgressHook, TheDefaultHookNeverStopsAndReplacesNone) {
  const int step = 1, thread = 0;
  EXPECT_EQ(qsl_progress_hook(&thread, &step, "DGETRF", 6), 0) << "without a hook";
  qsl_progress_set_default(qsl_progress_continue);
  EXPECT_EQ(qsl_progress_installed, qsl_progress_continue);
  EXPECT_EQ(qsl_progress_hook(&thread, &step, "DGETRF", 6), 0);
  watch("DGETRF", 1);
  qsl_progress_set_default(qsl_progress_continue);
  EXPECT_EQ(qsl_progress_installed, Progress::record);
  EXPECT_EQ(qsl_progress_hook(&thread, &step, "DGETRF", 6), -5);
}

}  // namespace
}  // namespace lapack_test
