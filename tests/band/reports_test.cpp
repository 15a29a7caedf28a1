// What is said of bad arguments, which one is named when several are bad, and that nothing else
// happens.
#include <array>
#include <climits>
#include <cstring>
#include <string>

#include "blas/band/routines.h"
#include "qsl/qsl.h"
#include "tests/frame/support.h"

namespace band_test {
namespace {

using frame_test::printed;
using Number = complex_double;

std::string report(int position, const std::string& name) {
  if (position == 0) return "";
  return "\nArvex QSL ERROR: Parameter " + std::to_string(position) +
         " was incorrect on entry to " + name + ".\n";
}
std::string c_report(int position) { return report(position, "cblas_zgbmv"); }

// 3 by 4 with one diagonal on each side, with arrays that either order can use.
struct Call {
  int layout = CblasColMajor, trans = CblasNoTrans;
  int m = 3, n = 4, kl = 1, ku = 1;
  int lda = 3, incx = 1, incy = 1;
};

std::ostream& operator<<(std::ostream& out, const Call& call) {
  return out << call.layout << " " << call.trans << " " << call.m << " " << call.n << " " << call.kl
             << " " << call.ku << " " << call.lda << " " << call.incx << " " << call.incy;
}

void expect(const Call& call, const std::string& expected, bool changes_y) {
  std::array<Number, 12> a, x, y;
  a.fill({1, 2});
  x.fill({3, 4});
  y.fill({5, 6});
  const auto before = y;
  const Number alpha = {2, 1}, beta = {3, 1};
  const std::string text = printed([&] {
    cblas_zgbmv(call.layout, call.trans, call.m, call.n, call.kl, call.ku, &alpha, a.data(),
                call.lda, x.data(), call.incx, &beta, y.data(), call.incy);
  });
  ASSERT_EQ(text, expected) << call;
  ASSERT_EQ(std::memcmp(y.data(), before.data(), sizeof y) != 0, changes_y) << call;
}

// A bad option is reported before the others by columns and after them by rows; the call goes on to
// the routine behind, which turns it down.
TEST(BandReports, TheFirstBadArgumentIsNamed) {
  const int positions[] = {3, 4, 5, 6, 9, 11, 14};
  for (unsigned bad = 0; bad < 256; bad++) {
    for (const int layout : {CblasColMajor, CblasRowMajor}) {
      Call call;
      call.layout = layout;
      if (bad & 1) call.m = -1;
      if (bad & 2) call.n = INT_MIN;
      if (bad & 4) call.kl = -1;
      if (bad & 8) call.ku = -7;
      if (bad & 16) call.lda = call.kl + call.ku;
      if (bad & 32) call.incx = 0;
      if (bad & 64) call.incy = 0;
      if (bad & 128) call.trans = 110;
      const unsigned others = bad & 127;
      const std::string other = others == 0 ? "" : c_report(positions[__builtin_ctz(others)]);
      std::string expected = other;
      if (bad & 128) {
        if (others == 0) {
          expected = c_report(2) + report(1, "ZGBMV ");
        } else if (layout == CblasColMajor) {
          expected = c_report(2) + other;
        }
      }
      ASSERT_NO_FATAL_FAILURE(expect(call, expected, bad == 0)) << bad;
    }
  }
}

TEST(BandReports, NeighboursOfTheSelectors) {
  for (const int selector : {INT_MIN, -1, 0, 78, 84, 101, 102, 110, 114, 115, 121, INT_MAX}) {
    for (const int layout : {CblasColMajor, CblasRowMajor}) {
      Call call;
      call.layout = layout;
      call.trans = selector;
      ASSERT_NO_FATAL_FAILURE(expect(call, c_report(2) + report(1, "ZGBMV "), false));
    }
  }
  for (const int layout : {INT_MIN, -1, 0, 1, 100, 103, 111, 112, INT_MAX}) {
    Call call;
    call.layout = layout;
    ASSERT_NO_FATAL_FAILURE(expect(call, c_report(1), false));
    // Nothing else is looked at.
    call.trans = call.m = call.n = call.kl = call.ku = -1;
    call.lda = call.incx = call.incy = 0;
    ASSERT_NO_FATAL_FAILURE(expect(call, c_report(1), false));
  }
}

// Without rows or columns nothing happens. Only by columns has the option been looked at by then.
TEST(BandReports, AnEmptyMatrixWithABadOption) {
  for (const int layout : {CblasColMajor, CblasRowMajor}) {
    const std::string expected = layout == CblasColMajor ? c_report(2) : "";
    Call call;
    call.layout = layout;
    call.trans = 7;
    call.m = 0;
    ASSERT_NO_FATAL_FAILURE(expect(call, expected, false));
    call.m = 3;
    call.n = 0;
    ASSERT_NO_FATAL_FAILURE(expect(call, expected, false));
  }
}

// So it is when the factors leave nothing to do.
TEST(BandReports, FactorsThatLeaveYAloneWithABadOption) {
  const Number zero = {0, 0}, one = {1, 0};
  for (const int layout : {CblasColMajor, CblasRowMajor}) {
    Number y = {5, 6};
    EXPECT_EQ(printed([&] {
                cblas_zgbmv(layout, 0, 1, 1, 0, 0, &zero, nullptr, 1, nullptr, 1, &one, &y, 1);
              }),
              layout == CblasColMajor ? c_report(2) : "");
    // With beta = 0 there is something to do.
    EXPECT_EQ(printed([&] {
                cblas_zgbmv(layout, 0, 1, 1, 0, 0, &zero, nullptr, 1, nullptr, 1, &zero, &y, 1);
              }),
              c_report(2) + report(1, "ZGBMV "));
    EXPECT_EQ(y.real, 5);
  }
}

TEST(BandReports, RowsOfTheArray) {
  for (const int layout : {CblasColMajor, CblasRowMajor}) {
    for (const auto& [kl, ku] : {std::pair{0, 0}, {1, 1}, {0, 2}, {2, 0}}) {
      Call call;
      call.layout = layout;
      call.kl = kl;
      call.ku = ku;
      call.lda = kl + ku + 1;
      ASSERT_NO_FATAL_FAILURE(expect(call, "", true));
      for (const int lda : {kl + ku, 0, -1, INT_MIN}) {
        call.lda = lda;
        ASSERT_NO_FATAL_FAILURE(expect(call, c_report(9), false));
      }
    }
    // Sums that are too large for an integer.
    for (const auto& [kl, ku] : {std::pair{INT_MAX, 0},
                                 {0, INT_MAX},
                                 {INT_MAX, INT_MAX},
                                 {INT_MAX - 1, 1},
                                 {1 << 30, 1 << 30}}) {
      Call call;
      call.layout = layout;
      call.kl = kl;
      call.ku = ku;
      call.lda = INT_MAX;
      ASSERT_NO_FATAL_FAILURE(expect(call, c_report(9), false));
    }
  }
}

// The routine behind the export has the option checked first.
struct ByAddress {
  char trans = 'N';
  int m = 3, n = 4, kl = 1, ku = 1, lda = 3, incx = 1, incy = 1;
};

void expect(const ByAddress& call, int position) {
  std::array<Number, 12> a, x, y;
  a.fill({1, 2});
  x.fill({3, 4});
  y.fill({5, 6});
  const auto before = y;
  const Number alpha = {2, 1}, beta = {3, 1};
  const std::string text = printed([&] {
    ZGBMV(&call.trans, &call.m, &call.n, &call.kl, &call.ku, &alpha, a.data(), &call.lda, x.data(),
          &call.incx, &beta, y.data(), &call.incy);
  });
  ASSERT_EQ(text, report(position, "ZGBMV "));
  ASSERT_EQ(std::memcmp(y.data(), before.data(), sizeof y) != 0, position == 0);
}

TEST(BandReportsByAddress, TheFirstBadArgumentIsNamed) {
  const int positions[] = {1, 2, 3, 4, 5, 8, 10, 13};
  for (unsigned bad = 0; bad < 256; bad++) {
    ByAddress call;
    if (bad & 1) call.trans = 'X';
    if (bad & 2) call.m = -1;
    if (bad & 4) call.n = INT_MIN;
    if (bad & 8) call.kl = -1;
    if (bad & 16) call.ku = -7;
    if (bad & 32) call.lda = call.kl + call.ku;
    if (bad & 64) call.incx = 0;
    if (bad & 128) call.incy = 0;
    ASSERT_NO_FATAL_FAILURE(expect(call, bad == 0 ? 0 : positions[__builtin_ctz(bad)])) << bad;
  }
}

TEST(BandReportsByAddress, EveryCharacterAsAnOption) {
  for (int letter = 0; letter < 256; letter++) {
    const bool good = letter != 0 && std::strchr("NnTtCc", letter) != nullptr;
    ByAddress call;
    call.trans = static_cast<char>(letter);
    ASSERT_NO_FATAL_FAILURE(expect(call, good ? 0 : 1)) << letter;
  }
}

TEST(BandReportsByAddress, NullPointersCountAsZero) {
  const int one = 1;
  const Number factor = {1, 0};
  Number y = {7, 7};
  const auto call = [&](const char* trans, const int* m, const int* lda) {
    return printed([&] {
      ZGBMV(trans, m, &one, nullptr, nullptr, &factor, &factor, lda, &factor, &one, &factor, &y,
            &one);
    });
  };
  EXPECT_EQ(call(nullptr, &one, &one), report(1, "ZGBMV "));
  EXPECT_EQ(call("N", &one, nullptr), report(8, "ZGBMV "));
  EXPECT_EQ(call("N", nullptr, &one), "");
  EXPECT_EQ(y.real, 7);
}

// No array is looked at before the arguments.
TEST(BandReports, NothingIsReadOnAReport) {
  EXPECT_EQ(printed([] {
              cblas_zgbmv(CblasColMajor, CblasNoTrans, 2, 2, 1, 1, nullptr, nullptr, 2, nullptr, 1,
                          nullptr, nullptr, 1);
              cblas_zgbmv(CblasRowMajor, CblasConjTrans, 2, 2, 1, 1, nullptr, nullptr, 3, nullptr,
                          0, nullptr, nullptr, 1);
            }),
            c_report(9) + c_report(11));
}

}  // namespace
}  // namespace band_test
