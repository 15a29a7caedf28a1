// LAPACKE_zgbsv: both storage orders, the search for NaN, statuses, messages and memory.
#include <climits>
#include <cstring>
#include <limits>
#include <string>

#include "include/qsl/lapack.h"
#include "tests/band_lu/problem.h"
#include "tests/frame/support.h"
#include "tests/memory/support.h"

namespace band_lu_test {
namespace {

using frame_test::printed;
using memory_test::CountingBackEnd;

constexpr double quiet_nan = std::numeric_limits<double>::quiet_NaN();

// A system in either storage order. Whatever is no element of A, of its fill or of B is a mark.
struct System {
  int layout;
  int n, kl, ku, nrhs;
  int ldab, ldb;
  std::vector<Number> ab, b;
  std::vector<int> ipiv;

  static constexpr Number mark = {-777, 777};

  System(int layout_, int n_, int kl_, int ku_, int nrhs_, int pad = 1)
      : layout(layout_),
        n(n_),
        kl(kl_),
        ku(ku_),
        nrhs(nrhs_),
        ldab((by_rows() ? n : rows()) + pad),
        ldb((by_rows() ? nrhs : n) + pad),
        ab(static_cast<std::size_t>(ldab) * static_cast<std::size_t>(by_rows() ? rows() : n), mark),
        b(static_cast<std::size_t>(ldb) * static_cast<std::size_t>(by_rows() ? n : nrhs), mark),
        ipiv(static_cast<std::size_t>(n), -5) {
    Uniform uniform(static_cast<unsigned>(n * 100 + kl * 10 + ku));
    for (int j = 0; j < n; j++) {
      for (int i = std::max(0, j - kl - ku); i < std::min(n, j + kl + 1); i++) {
        const long double re = uniform.next();
        const Number value = narrow<Number>({re, uniform.next()});
        band(i, j) = j - i <= ku ? value : Number{0, 0};
      }
      for (int c = 0; c < nrhs; c++) {
        const long double re = uniform.next();
        right(j, c) = narrow<Number>({re, uniform.next()});
      }
    }
  }

  bool by_rows() const { return layout == CblasRowMajor; }
  int rows() const { return 2 * kl + ku + 1; }
  // Element (i, j) of A, row `row` of the storage.
  Number& band(int i, int j) { return stored(kl + ku + i - j, j); }
  Number& stored(int row, int j) {
    return ab[static_cast<std::size_t>(by_rows() ? row * ldab + j : j * ldab + row)];
  }
  Number& right(int i, int c) {
    return b[static_cast<std::size_t>(by_rows() ? i * ldb + c : c * ldb + i)];
  }
  int solve() {
    return LAPACKE_zgbsv(layout, n, kl, ku, nrhs, ab.data(), ldab, ipiv.data(), b.data(), ldb);
  }
  bool same(const System& other) const {
    return std::memcmp(ab.data(), other.ab.data(), ab.size() * sizeof(Number)) == 0 &&
           std::memcmp(b.data(), other.b.data(), b.size() * sizeof(Number)) == 0 &&
           ipiv == other.ipiv;
  }
};

constexpr int layouts[] = {CblasRowMajor, CblasColMajor};

bool same_bits(Number a, Number b) { return std::memcmp(&a, &b, sizeof a) == 0; }

// The call comes to this status and says this; nothing of the caller's is changed.
void expect_refused(System& system, int status, const std::string& text) {
  const System before = system;
  int result = 0;
  EXPECT_EQ(printed([&] { result = system.solve(); }), text);
  EXPECT_EQ(result, status);
  EXPECT_TRUE(system.same(before));
}

std::string wrong(int position, const std::string& suffix = "_work") {
  return "Wrong parameter " + std::to_string(position) + " in LAPACKE_zgbsv" + suffix + "\n";
}
std::string solver_report(int position) {
  return "\nArvex QSL ERROR: Parameter " + std::to_string(position) +
         " was incorrect on entry to ZGBSV .\n";
}

TEST(BandInterface, BothLayoutsGiveTheSameFactorsAndSolutions) {
  for (const auto& [n, kl, ku] : {std::tuple{1, 0, 0},
                                  {1, 2, 3},
                                  {5, 0, 2},
                                  {6, 2, 0},
                                  {7, 1, 1},
                                  {20, 3, 5},
                                  {9, 12, 11},
                                  {40, 33, 30}}) {
    for (const int nrhs : {0, 1, 3}) {
      for (const int pad : {0, 1, 5}) {
        System rows(CblasRowMajor, n, kl, ku, nrhs, pad), columns(CblasColMajor, n, kl, ku, nrhs);
        // The search would look for offsets of the clamped widths; see below.
        ASSERT_EQ(rows.solve(), 0);
        ASSERT_EQ(columns.solve(), 0);
        ASSERT_EQ(rows.ipiv, columns.ipiv);
        for (int j = 0; j < n; j++) {
          for (int row = 0; row < rows.rows(); row++) {
            ASSERT_TRUE(same_bits(rows.stored(row, j), columns.stored(row, j)))
                << n << ' ' << kl << ' ' << ku << ": row " << row << ", column " << j;
          }
          for (int c = 0; c < nrhs; c++) {
            ASSERT_TRUE(same_bits(rows.right(j, c), columns.right(j, c)));
          }
        }
        // The padding is left alone.
        for (int row = 0; row < rows.rows(); row++) {
          for (int j = n; j < rows.ldab; j++) {
            ASSERT_TRUE(same_bits(rows.stored(row, j), System::mark));
          }
        }
        for (int i = 0; i < n; i++) {
          for (int c = nrhs; c < rows.ldb; c++) {
            ASSERT_TRUE(same_bits(rows.right(i, c), System::mark));
          }
        }
      }
    }
  }
}

TEST(BandInterface, ASingularMatrixHasItsFactorsAndItsRightHandSides) {
  for (const int layout : layouts) {
    System system(layout, 6, 1, 2, 2);
    for (int i = 2; i < 5; i++) system.band(i, 3) = {0, 0};
    system.band(1, 3) = {0, 0};
    const System before = system;
    EXPECT_EQ(system.solve(), 4);
    EXPECT_EQ(system.b.size(), before.b.size());
    EXPECT_EQ(std::memcmp(system.b.data(), before.b.data(), system.b.size() * sizeof(Number)), 0);
    EXPECT_NE(std::memcmp(system.ab.data(), before.ab.data(), system.ab.size() * sizeof(Number)),
              0);
  }
}

TEST(BandInterface, ABadLayoutIsReportedBeforeAnythingIsLookedAt) {
  for (const int layout : {0, 100, 103, -1}) {
    System system(CblasColMajor, 4, 1, 1, 1);
    system.layout = layout;
    system.ab.assign(system.ab.size(), {quiet_nan, 0});
    const System before = system;
    int result = 0;
    EXPECT_EQ(printed([&] { result = system.solve(); }), wrong(1, ""));
    EXPECT_EQ(result, -1);
    EXPECT_EQ(system.ipiv, before.ipiv);
  }
}

TEST(BandNanCheck, SeesEveryElementAndTheRoomForFill) {
  for (const int layout : layouts) {
    // (Bands below 6 diagonals are searched one by one, wider ones by sums; rows of 5 and more.)
    for (const auto& [n, kl, ku] : {std::tuple{4, 1, 1}, {8, 1, 2}, {12, 3, 4}, {5, 0, 0}}) {
      for (int j = 0; j < n; j++) {
        for (int i = std::max(0, j - kl - ku); i < std::min(n, j + kl + 1); i++) {
          System system(layout, n, kl, ku, 1);
          (i % 2 == 0 ? system.band(i, j).real : system.band(i, j).imag) = quiet_nan;
          ASSERT_NO_FATAL_FAILURE(expect_refused(system, -6, ""));
        }
      }
      for (int i = 0; i < n; i++) {
        System system(layout, n, kl, ku, 2);
        system.right(i, i % 2).imag = quiet_nan;
        ASSERT_NO_FATAL_FAILURE(expect_refused(system, -9, ""));
      }
    }
  }
}

TEST(BandNanCheck, SeesNothingOutsideTheMatrix) {
  for (const int layout : layouts) {
    for (const auto& [n, kl, ku] : {std::tuple{8, 1, 2}, {12, 3, 4}}) {
      System system(layout, n, kl, ku, 1, 2);
      for (Number& number : system.ab) {
        if (same_bits(number, System::mark)) number = {quiet_nan, quiet_nan};
      }
      for (Number& number : system.b) {
        if (same_bits(number, System::mark)) number = {quiet_nan, quiet_nan};
      }
      EXPECT_EQ(system.solve(), 0);
    }
  }
}

TEST(BandNanCheck, InfinitiesOfBothSignsAreNoNan) {
  constexpr double infinity = std::numeric_limits<double>::infinity();
  for (const int layout : layouts) {
    System system(layout, 12, 3, 4, 1);
    system.band(4, 5) = {infinity, -infinity};
    system.band(6, 5) = {-infinity, infinity};
    system.band(4, 6) = {-infinity, 0};
    EXPECT_GE(system.solve(), 0);
  }
}

// Widths beyond the matrix are clamped first, and then stand for the storage's offsets, too.
TEST(BandNanCheck, WidthsBeyondTheMatrixAreClampedAndMoveTheSearch) {
  const int n = 3, kl = 5, ku = 4;  // the search takes 2 and 2: rows 0 to 4 of 15
  for (const int layout : layouts) {
    System searched(layout, n, kl, ku, 1);
    searched.stored(2, 1) = {quiet_nan, 0};
    expect_refused(searched, -6, "");
    // Column 0 begins in row 2 of the search.
    System above(layout, n, kl, ku, 1);
    above.stored(1, 0) = {quiet_nan, 0};
    EXPECT_EQ(above.solve(), 0);
    // The diagonal is in row 9 of the storage: not seen, and the solver meets it.
    System unseen(layout, n, kl, ku, 1);
    unseen.band(1, 1) = {quiet_nan, 0};
    EXPECT_EQ(unseen.solve(), 0);
    EXPECT_TRUE(std::isnan(unseen.right(1, 0).real));
  }
}

TEST(BandNanCheck, TooFewRowsOrColumnsOfStorageAreNotSearched) {
  // Column-major: 1 + 2 >= ldab.
  System columns(CblasColMajor, 4, 1, 1, 1);
  columns.ab.assign(columns.ab.size(), {quiet_nan, 0});
  columns.ldab = 3;
  expect_refused(columns, -7, solver_report(6));
  columns.ldab = 4;
  expect_refused(columns, -6, "");
  // Row-major: n > ldab.
  System rows(CblasRowMajor, 4, 1, 1, 1);
  rows.ab.assign(rows.ab.size(), {quiet_nan, 0});
  rows.ldab = 3;
  expect_refused(rows, -7, wrong(7));
  rows.ldab = 4;
  expect_refused(rows, -6, "");
}

TEST(BandNanCheck, ComesBeforeTheDimensions) {
  System system(CblasRowMajor, 4, 1, 1, 3);
  system.right(0, 0).real = quiet_nan;
  system.ldb = 2;
  system.kl = -1;
  expect_refused(system, -9, "");
}

TEST(BandInterface, RowLengthsComeBeforeTheSolversChecks) {
  System system(CblasRowMajor, 4, 1, 1, 3);
  system.ldab = 3;
  system.ldb = 2;
  system.kl = -1;
  expect_refused(system, -7, wrong(7));
  system.ldab = 4;
  expect_refused(system, -10, wrong(10));
  system.ldb = 3;
  expect_refused(system, -3, solver_report(2));
  system.n = -1;
  expect_refused(system, -2, solver_report(1));
}

TEST(BandInterface, TheSolversPositionsAreShifted) {
  const auto changed = [](auto change, int status) {
    System system(CblasColMajor, 4, 1, 1, 1);
    change(system);
    expect_refused(system, status, solver_report(-status - 1));
  };
  changed([](System& s) { s.n = -1; }, -2);
  changed([](System& s) { s.kl = -1; }, -3);
  changed([](System& s) { s.ku = -1; }, -4);
  changed([](System& s) { s.nrhs = -1; }, -5);
  changed([](System& s) { s.ldab = 3; }, -7);
  changed([](System& s) { s.ldb = 3; }, -10);
}

TEST(BandInterface, NoEquationsAreSolvedInBothOrders) {
  Number nothing[2];
  int pivot = -5;
  EXPECT_EQ(LAPACKE_zgbsv(CblasRowMajor, 0, 1, 1, 1, nothing, 0, &pivot, nothing, 1), 0);
  EXPECT_EQ(LAPACKE_zgbsv(CblasRowMajor, 0, 0, 0, 0, nothing, 0, &pivot, nothing, 0), 0);
  EXPECT_EQ(LAPACKE_zgbsv(CblasColMajor, 0, 0, 0, 0, nothing, 1, &pivot, nothing, 1), 0);
  EXPECT_EQ(pivot, -5);
}

class BandInterfaceMemory : public memory_test::Memory {};

const char* const no_memory = "Not enough memory to transpose matrix in LAPACKE_zgbsv_work\n";

TEST_F(BandInterfaceMemory, EveryRequestFailsOnce) {
  int refusals = 0;
  bool complete = false;
  for (int fail_at = 0; !complete; fail_at++) {
    ASSERT_LT(fail_at, 100) << "the call never ran without a failure";
    CountingBackEnd counting;
    System system(CblasRowMajor, 30, 2, 3, 2);
    const System before = system;
    CountingBackEnd::fail(fail_at);
    int result = 0;
    const std::string text = printed([&] { result = system.solve(); });
    complete = CountingBackEnd::refused() == 0;
    CountingBackEnd::fail_none();
    if (result == 0) {
      EXPECT_EQ(text, "");
    } else {
      refusals++;
      EXPECT_EQ(result, -1011);
      EXPECT_EQ(text, no_memory);
      EXPECT_TRUE(system.same(before));
    }
    EXPECT_FALSE(complete && result != 0);
    QSL_Free_Buffers();
    EXPECT_EQ(CountingBackEnd::live(), 0) << fail_at;
  }
  EXPECT_EQ(refusals, 2);
}

TEST_F(BandInterfaceMemory, SizesThatNoAddressReachesAreRefused) {
  int pivot = -5, result = 0;
  const auto expect = [&](int n, int kl, int ku, int nrhs) {
    EXPECT_EQ(printed([&] {
                result = LAPACKE_zgbsv(CblasRowMajor, n, kl, ku, nrhs, nullptr, n, &pivot, nullptr,
                                       nrhs);
              }),
              no_memory);
    EXPECT_EQ(result, -1011);
  };
  expect(1, INT_MAX, INT_MAX, 1);
  expect(1, 1 << 30, 0, 1);
  expect(1, INT_MAX / 2, 0, 1);
  expect(INT_MAX, 0, 0, 1);
  expect(1 << 28, 0, 0, 1);
  expect(1 << 14, 0, 0, 1 << 14);
  EXPECT_EQ(pivot, -5);
}

TEST_F(BandInterfaceMemory, BuffersAreFreedWhateverTheStatus) {
  CountingBackEnd counting;
  System singular(CblasRowMajor, 6, 1, 1, 1), bad(CblasRowMajor, 6, 1, 1, 1);
  for (Number& number : singular.ab) number = {0, 0};
  EXPECT_EQ(singular.solve(), 1);
  bad.ku = -4;
  printed([&] { EXPECT_EQ(bad.solve(), -4); });
  QSL_Free_Buffers();
  EXPECT_EQ(CountingBackEnd::live(), 0);
}

}  // namespace
}  // namespace band_lu_test
