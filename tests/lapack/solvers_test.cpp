// DGETRS, ZGETRS, DGESV, ZGESV, DLASWP and ZLASWP as they are called by address.
#include <gtest/gtest.h>

#include "tests/lapack/ratios.h"
#include "tests/lapack/types.h"

namespace lapack_test {
namespace {

// Both sides of the small kernels' sizes, one right-hand side and several.
struct Size {
  int n, nrhs;
};
std::ostream& operator<<(std::ostream& out, const Size& size) {
  return out << "order " << size.n << ", " << size.nrhs << " right-hand sides";
}
std::vector<Size> sizes() {
  std::vector<Size> result;
  for (const int n : {0, 1, 3, 8, 9, 16, 17, 33, 65}) {
    for (const int nrhs : {0, 1, 2, 7, 8, 9, 33}) {
      if (emulated() && n * nrhs > 300) continue;
      result.push_back({n, nrhs});
    }
  }
  return result;
}

TEST(Getrs, ExactSolutionsForEveryOption) {
  for_each_kind([&](auto kind) {
    using Number = decltype(kind);
    unsigned index = 1;
    for (const Size& size : sizes()) {
      for (const char* option :
           {"N", "n", "T", "t", "C", "c", "No transpose", "Transpose", "conj"}) {
        const auto [n, nrhs] = size;
        const int trans = option[0] == 'N' || option[0] == 'n'   ? 0
                          : option[0] == 'T' || option[0] == 't' ? 1
                                                                 : 2;
        const auto known = known_factors<Number>(n, n, ++index);
        Random random(index);
        Matrix<Number> x(n, nrhs);
        x.fill_with([&] { return small_integer<Number>(random, 9); });
        Stored<Number> a(known.factors, {false, static_cast<int>(index % 3), 4 * (index % 16)});
        const Stored<Number> before(known.factors,
                                    {false, static_cast<int>(index % 3), 4 * (index % 16)});
        Stored<Number> b(known.times(x, trans), {false, static_cast<int>(index % 4), 12});
        const int lda = a.ld(), ldb = b.ld();
        int info = 99;
        Routines<Number>::getrs(option, &n, &nrhs, a.data(), &lda, known.ipiv.data(), b.data(),
                                &ldb, &info);
        ASSERT_EQ(info, 0) << option << ", " << size;
        ASSERT_TRUE(a.same_bytes(before) && b.intact()) << option << ", " << size;
        ASSERT_TRUE(equal(b.elements(), x)) << option << ", " << size;
      }
    }
  });
}

TEST(Getrs, ConjugateAndPlainTransposesDifferForComplexNumbersOnly) {
  for_each_kind([&](auto kind) {
    using Number = decltype(kind);
    for (const Size& size : {Size{5, 2}, {5, 9}, {9, 1}, {20, 3}}) {
      const auto [n, nrhs] = size;
      const auto known = known_factors<Number>(n, n, 3);
      Matrix<Number> solution[2] = {random_matrix<Number>(n, nrhs, 4),
                                    random_matrix<Number>(n, nrhs, 4)};
      for (const int which : {0, 1}) {
        int info = 99;
        Routines<Number>::getrs(which == 0 ? "T" : "C", &n, &nrhs, known.factors.data(), &n,
                                known.ipiv.data(), solution[which].data(), &n, &info);
        ASSERT_EQ(info, 0);
      }
      EXPECT_EQ(equal(solution[0], solution[1]), is_real<Number>) << size;
    }
  });
}

template <class Number>
void expect_untouched_when_singular(int n, int nrhs, int zero) {
  const auto known = known_factors<Number>(n, n, 1, {zero});
  Stored<Number> a(known.a, {false, 2, 4}), b(random_matrix<Number>(n, nrhs, 2), {false, 1, 8});
  const Stored<Number> before(random_matrix<Number>(n, nrhs, 2), {false, 1, 8});
  Pivots pivots(n);
  const int lda = a.ld(), ldb = b.ld();
  int info = 99;
  Routines<Number>::gesv(&n, &nrhs, a.data(), &lda, pivots.data(), b.data(), &ldb, &info);
  ASSERT_EQ(info, zero + 1);
  ASSERT_TRUE(b.same_bytes(before)) << n << ", " << nrhs << ", zero column " << zero;
  ASSERT_EQ(pivots.values(), known.ipiv);
  ASSERT_TRUE(equal(a.elements(), known.factors) && a.intact());
}

TEST(Gesv, ASingularMatrixIsFactoredAndTheRightHandSidesStay) {
  for_each_kind([&](auto kind) {
    for (const int n : {1, 2, 7, 8, 9, 16, 17, 40}) {
      for (const int nrhs : {0, 1, 3, 9}) {
        for (const int zero : {0, n / 2, n - 1}) {
          ASSERT_NO_FATAL_FAILURE(expect_untouched_when_singular<decltype(kind)>(n, nrhs, zero));
        }
      }
    }
  });
}

struct Exchanges {
  int columns, lda, k1, k2, incx;
};

// Which pivot, counted from 1, row i uses.
int place_of(const Exchanges& e, int i) {
  return e.incx > 0 ? e.k1 + (i - e.k1) * e.incx : e.k1 + (e.k1 - i) * e.incx;
}

template <class Number>
void expect_exchanges(const Exchanges& e, unsigned index) {
  const auto a = random_matrix<Number>(e.lda, e.columns, index);
  Matrix<Number> found = a, expected = a;
  std::vector<int> ipiv(200, -7);
  Random random(index);
  std::vector<int> rows;
  for (int i = e.k1; i <= e.k2 && e.incx != 0; i++) rows.push_back(i);
  for (const int i : rows) {
    ipiv[static_cast<std::size_t>(place_of(e, i) - 1)] = 1 + random.below(e.lda);
  }
  if (e.incx < 0) std::reverse(rows.begin(), rows.end());
  for (const int i : rows) {
    expected.exchange_rows(i - 1, ipiv[static_cast<std::size_t>(place_of(e, i) - 1)] - 1);
  }
  const std::string text = frame_test::printed([&] {
    Routines<Number>::laswp(&e.columns, found.data(), &e.lda, &e.k1, &e.k2, ipiv.data(), &e.incx);
  });
  const auto where = testing::Message() << e.columns << " columns, rows " << e.k1 << " to " << e.k2
                                        << ", incx " << e.incx;
  ASSERT_EQ(text, "") << where;
  ASSERT_TRUE(equal(found, expected)) << where;
}

// A negative step takes the pivot of row i at k1 + (k1 - i) * incx, the last row first.
TEST(Laswp, RowsAndPivotsOfEveryStep) {
  for_each_kind([&](auto kind) {
    unsigned index = 1;
    for (const int columns : {0, 1, 3, 4, 9}) {
      for (const int k1 : {1, 2, 5}) {
        for (const int k2 : {0, 1, 2, 5, 6, 9, 12}) {
          for (const int incx : {0, 1, 2, 3, -1, -2, -3}) {
            ASSERT_NO_FATAL_FAILURE(
                expect_exchanges<decltype(kind)>({columns, 13, k1, k2, incx}, ++index));
          }
        }
      }
    }
  });
}

TEST(Laswp, ABadPivotIsReportedAndWhatIsDoneStays) {
  for_each_kind([&](auto kind) {
    using Number = decltype(kind);
    const std::string report = "\nArvex QSL ERROR: Parameter 6 was incorrect on entry to " +
                               routine_name<Number>("LASWP") + ".\n";
    const int columns = 3, lda = 11, k1 = 1, k2 = 10;
    for (const int incx : {1, -1}) {
      for (int bad_at = 0; bad_at < 10; bad_at++) {
        for (const int bad : {0, -3, lda + 1}) {
          const auto a = random_matrix<Number>(lda, columns, 5);
          Matrix<Number> found = a, expected = a;
          // In the order of their use.
          std::vector<int> pivots = {3, 11, 5, 8, 5, 7, 11, 9, 10, 11};
          pivots[static_cast<std::size_t>(bad_at)] = bad;
          std::vector<int> ipiv = pivots;
          if (incx < 0) std::reverse(ipiv.begin(), ipiv.end());
          const int done = bad_at < 8 ? bad_at / 4 * 4 : bad_at;
          for (int i = 0; i < done; i++) {
            std::swap(expected(incx > 0 ? i : 9 - i, 0),
                      expected(pivots[static_cast<std::size_t>(i)] - 1, 0));
          }
          EXPECT_EQ(frame_test::printed([&] {
                      qsl_xerbla_set_default(qsl_xerbla_print);
                      Routines<Number>::laswp(&columns, found.data(), &lda, &k1, &k2, ipiv.data(),
                                              &incx);
                    }),
                    report);
          EXPECT_TRUE(equal(found, expected)) << "pivot " << bad_at << " is " << bad;
        }
      }
    }
  });
}

// Every pivot is applied, the last one too, and one below the matrix as long as it is a row of B;
// others are reported.
TEST(Getrs, PivotsAnywhere) {
  for_each_kind([&](auto kind) {
    using Number = decltype(kind);
    for (const int n : {2, 5, 8, 9}) {
      const int ldb = n + 3;
      Matrix<Number> identity(n, n);
      for (int i = 0; i < n; i++) identity(i, i) = number<Number>(1);
      const auto b = random_matrix<Number>(ldb, 11, 7);
      const auto solved = [&](int place, int pivot, int nrhs) {
        std::vector<int> ipiv;
        for (int i = 0; i < n; i++) ipiv.push_back(i == place ? pivot : i + 1);
        Matrix<Number> x = b;
        int info = 99;
        Routines<Number>::getrs("N", &n, &nrhs, identity.data(), &n, ipiv.data(), x.data(), &ldb,
                                &info);
        EXPECT_EQ(info, 0);
        return x;
      };
      const auto exchanged = [&](int place, int pivot, int nrhs) {
        Matrix<Number> x = b;
        for (int j = 0; j < nrhs; j++) std::swap(x(place, j), x(pivot - 1, j));
        return x;
      };
      for (int place = 0; place < n; place++) {
        for (const int nrhs : {1, 8, 9, 11}) {
          // (Fewer than nine right-hand sides of a small matrix have rows of the matrix only.)
          const int rows = n < 9 && nrhs < 9 ? n : ldb;
          for (int pivot = 1; pivot <= rows; pivot++) {
            EXPECT_TRUE(equal(solved(place, pivot, nrhs), exchanged(place, pivot, nrhs)))
                << n << ": pivot " << place << " is " << pivot;
          }
        }
        for (const int bad : {0, -1, ldb + 1}) {
          Matrix<Number> found = b;
          EXPECT_EQ(frame_test::printed([&] {
                      qsl_xerbla_set_default(qsl_xerbla_print);
                      found = solved(place, bad, 10);
                    }),
                    "\nArvex QSL ERROR: Parameter 6 was incorrect on entry to " +
                        routine_name<Number>("LASWP") + ".\n")
              << n << ", " << bad;
          EXPECT_TRUE(equal(found, b)) << n << ", " << bad;
        }
      }
    }
  });
}

TEST(Lsame, LettersWithoutCaseAndNothingElse) {
  for (int a = 0; a < 256; a++) {
    for (int b = 0; b < 256; b++) {
      const auto upper = [](int c) { return c >= 'a' && c <= 'z' ? c - 32 : c; };
      const char first = static_cast<char>(a), second = static_cast<char>(b);
      ASSERT_EQ(qsl_lsame(&first, &second, 1, 1), upper(a) == upper(b) ? 1 : 0) << a << ", " << b;
    }
  }
  const char letter = 'N';
  EXPECT_EQ(qsl_lsame(nullptr, &letter, 1, 1), 0);
  EXPECT_EQ(qsl_lsame(&letter, nullptr, 1, 1), 0);
  EXPECT_EQ(qsl_lsame(nullptr, nullptr, 1, 1), 0);
}

}  // namespace
}  // namespace lapack_test
