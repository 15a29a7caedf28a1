// What is said of bad arguments, which one is named when several are bad, and that nothing else
// happens.
#include <array>
#include <climits>
#include <cstring>
#include <string>

#include "qsl/qsl.h"
#include "tests/frame/support.h"
#include "tests/level1/arrays.h"
#include "tests/level3/numbers.h"

namespace level3_test {
namespace {

using frame_test::printed;

std::string report(int position, const std::string& name) {
  if (position == 0) return "";
  return "\nArvex QSL ERROR: Parameter " + std::to_string(position) +
         " was incorrect on entry to " + name + ".\n";
}

// Arrays that a call that is turned down leaves alone, and that a call which is not can use.
template <class Number>
struct Arrays {
  std::vector<Number> a = std::vector<Number>(64, number_of<Number>({2, 1}));
  std::vector<Number> b = std::vector<Number>(64, number_of<Number>({3, -1}));
  std::vector<Number> c = std::vector<Number>(64, number_of<Number>({5, 7}));
  Number alpha = number_of<Number>({2, 1}), beta = number_of<Number>({3, 1});

  bool operator==(const Arrays& other) const {
    const auto same = [](const std::vector<Number>& x, const std::vector<Number>& y) {
      return std::memcmp(x.data(), y.data(), x.size() * sizeof(Number)) == 0;
    };
    return same(a, other.a) && same(b, other.b) && same(c, other.c);
  }
};

struct ByAddress {
  char transa = 'N', transb = 'N';
  int m = 3, n = 4, k = 2;
  int lda = 3, ldb = 2, ldc = 3;
};

// The position that DGEMM reports, 0 for none.
void expect(const ByAddress& call, int position) {
  Arrays<double> arrays;
  const Arrays<double> before;
  const std::string text = printed([&] {
    DGEMM(&call.transa, &call.transb, &call.m, &call.n, &call.k, &arrays.alpha, arrays.a.data(),
          &call.lda, arrays.b.data(), &call.ldb, &arrays.beta, arrays.c.data(), &call.ldc);
  });
  const auto where = testing::Message() << call.transa << call.transb << " " << call.m << " "
                                        << call.n << " " << call.k << ", leading dimensions "
                                        << call.lda << " " << call.ldb << " " << call.ldc;
  ASSERT_EQ(text, report(position, "DGEMM ")) << where;
  const bool nothing = position != 0 || call.m == 0 || call.n == 0;
  ASSERT_EQ(arrays == before, nothing) << where;
}

TEST(ReportsByAddress, TheFirstBadArgumentIsNamed) {
  const int positions[] = {1, 2, 3, 4, 5, 8, 10, 13};
  for (unsigned bad = 0; bad < 256; bad++) {
    ByAddress call;
    if (bad & 1) call.transa = 'X';
    if (bad & 2) call.transb = '\0';
    if (bad & 4) call.m = -1;
    if (bad & 8) call.n = INT_MIN;
    if (bad & 16) call.k = -7;
    if (bad & 32) call.lda = 0;
    if (bad & 64) call.ldb = -1;
    if (bad & 128) call.ldc = 0;
    ASSERT_NO_FATAL_FAILURE(expect(call, bad == 0 ? 0 : positions[__builtin_ctz(bad)])) << bad;
  }
}

TEST(ReportsByAddress, EveryCharacterAsAnOption) {
  for (int letter = 0; letter < 256; letter++) {
    const bool good = letter != 0 && std::strchr("NnTtCc", letter) != nullptr;
    ByAddress call;
    call.lda = call.ldb = call.ldc = 8;
    call.transa = static_cast<char>(letter);
    ASSERT_NO_FATAL_FAILURE(expect(call, good ? 0 : 1)) << letter;
    call.transb = call.transa;
    call.transa = 't';
    ASSERT_NO_FATAL_FAILURE(expect(call, good ? 0 : 2)) << letter;
  }
}

TEST(ReportsByAddress, LeadingDimensionsAreThoseOfTheStoredOperands) {
  for (const char transa : {'N', 't', 'C'}) {
    for (const char transb : {'n', 'T', 'c'}) {
      ByAddress call = {transa, transb, 3, 5, 4};
      call.lda = transa == 'N' ? 3 : 4;
      call.ldb = transb == 'n' ? 4 : 5;
      ASSERT_NO_FATAL_FAILURE(expect(call, 0));
      call.lda--;
      ASSERT_NO_FATAL_FAILURE(expect(call, 8));
      call.lda++;
      call.ldb--;
      ASSERT_NO_FATAL_FAILURE(expect(call, 10));
      call.ldb++;
      call.ldc--;
      ASSERT_NO_FATAL_FAILURE(expect(call, 13));
    }
  }
}

// An empty product is checked like any other.
TEST(ReportsByAddress, LeadingDimensionsAreAtLeastOne) {
  for (const char trans : {'N', 'T'}) {
    for (const ByAddress& empty : {ByAddress{trans, trans, 0, 0, 0, 1, 1, 1},
                                   {trans, 'N', 0, 4, 0, 1, 4, 1},
                                   {'N', trans, 3, 0, 0, 3, 1, 3}}) {
      ByAddress call = empty;
      ASSERT_NO_FATAL_FAILURE(expect(call, 0));
      call.lda = 0;
      ASSERT_NO_FATAL_FAILURE(expect(call, 8));
      call = empty;
      call.ldb = 0;
      ASSERT_NO_FATAL_FAILURE(expect(call, 10));
      call = empty;
      call.ldc = 0;
      ASSERT_NO_FATAL_FAILURE(expect(call, 13));
    }
  }
}

TEST(ReportsByAddress, NullOptionsAreBadOnes) {
  const int size = 1;
  const double one = 1;
  double c = 7;
  EXPECT_EQ(printed([&] {
              DGEMM(nullptr, "N", &size, &size, &size, &one, &one, &size, &one, &size, &one, &c,
                    &size);
            }),
            report(1, "DGEMM "));
  EXPECT_EQ(c, 7);
}

struct ByValue {
  int layout = CblasColMajor, transa = CblasNoTrans, transb = CblasNoTrans;
  int m = 3, n = 4, k = 2;
  int lda = 5, ldb = 5, ldc = 5;
};

std::ostream& operator<<(std::ostream& out, const ByValue& call) {
  return out << "layout " << call.layout << ", options " << call.transa << " " << call.transb
             << ", sizes " << call.m << " " << call.n << " " << call.k << ", leading dimensions "
             << call.lda << " " << call.ldb << " " << call.ldc;
}

template <class Number>
void expect(const ByValue& g, int position) {
  Arrays<Number> arrays;
  const Arrays<Number> before;
  auto& [a, b, c, alpha, beta] = arrays;
  const char* name = "cblas_dgemm";
  const std::string text = printed([&] {
    if constexpr (is_real<Number>) {
      cblas_dgemm(g.layout, g.transa, g.transb, g.m, g.n, g.k, alpha, a.data(), g.lda, b.data(),
                  g.ldb, beta, c.data(), g.ldc);
    } else if constexpr (std::is_same_v<Number, complex_float>) {
      name = "cblas_cgemm";
      cblas_cgemm(g.layout, g.transa, g.transb, g.m, g.n, g.k, &alpha, a.data(), g.lda, b.data(),
                  g.ldb, &beta, c.data(), g.ldc);
    } else {
      name = "cblas_zgemm";
      cblas_zgemm(g.layout, g.transa, g.transb, g.m, g.n, g.k, &alpha, a.data(), g.lda, b.data(),
                  g.ldb, &beta, c.data(), g.ldc);
    }
  });
  ASSERT_EQ(text, report(position, name)) << g;
  ASSERT_EQ(arrays == before, position != 0 || g.m == 0 || g.n == 0) << g;
}

// The layout comes after the sizes and before the leading dimensions.
TEST(ReportsByValue, TheFirstBadArgumentIsNamed) {
  const int positions[] = {2, 3, 4, 5, 6, 1, 9, 11, 14};
  for_each_kind([&](auto number) {
    for (unsigned bad = 0; bad < 512; bad += level1_test::emulated() ? 7 : 1) {
      for (const int layout : {CblasColMajor, CblasRowMajor}) {
        ByValue call;
        call.layout = layout;
        if (bad & 1) call.transa = 110;
        if (bad & 2) call.transb = 'N';
        if (bad & 4) call.m = -1;
        if (bad & 8) call.n = -2;
        if (bad & 16) call.k = INT_MIN;
        if (bad & 32) call.layout = 0;
        if (bad & 64) call.lda = 0;
        if (bad & 128) call.ldb = 0;
        if (bad & 256) call.ldc = -5;
        ASSERT_NO_FATAL_FAILURE(
            expect<decltype(number)>(call, bad == 0 ? 0 : positions[__builtin_ctz(bad)]))
            << bad;
      }
    }
  });
}

TEST(ReportsByValue, NeighboursOfTheSelectors) {
  for_each_kind([&](auto number) {
    using Number = decltype(number);
    for (const int selector : {INT_MIN, -1, 0, 78, 84, 101, 110, 114, 115, 121, INT_MAX}) {
      ByValue call;
      call.transa = selector;
      ASSERT_NO_FATAL_FAILURE(expect<Number>(call, 2));
      call.transa = CblasTrans;
      call.transb = selector;
      ASSERT_NO_FATAL_FAILURE(expect<Number>(call, 3));
    }
    for (const int layout : {INT_MIN, -1, 0, 1, 100, 103, 111, 112, INT_MAX}) {
      ByValue call;
      call.layout = layout;
      ASSERT_NO_FATAL_FAILURE(expect<Number>(call, 1));
      // Even when there is nothing to do.
      call.m = 0;
      ASSERT_NO_FATAL_FAILURE(expect<Number>(call, 1));
      call.m = -1;
      ASSERT_NO_FATAL_FAILURE(expect<Number>(call, 4));
    }
  });
}

TEST(ReportsByValue, LeadingDimensionsAreThoseOfTheStoredOperands) {
  for_each_kind([&](auto number) {
    using Number = decltype(number);
    for (const int layout : {CblasColMajor, CblasRowMajor}) {
      for (const int transa : {CblasNoTrans, CblasTrans, CblasConjTrans}) {
        for (const int transb : {CblasNoTrans, CblasTrans, CblasConjTrans}) {
          const bool by_columns = layout == CblasColMajor;
          for (const auto& [m, n, k] :
               {std::array{3, 5, 4}, {0, 5, 4}, {3, 0, 4}, {3, 5, 0}, {0, 0, 0}}) {
            const auto least = [](int size) { return size > 1 ? size : 1; };
            const int lda = least(by_columns == (transa == CblasNoTrans) ? m : k);
            const int ldb = least(by_columns == (transb == CblasNoTrans) ? k : n);
            const int ldc = least(by_columns ? m : n);
            ASSERT_NO_FATAL_FAILURE(
                expect<Number>({layout, transa, transb, m, n, k, lda, ldb, ldc}, 0));
            ASSERT_NO_FATAL_FAILURE(
                expect<Number>({layout, transa, transb, m, n, k, lda - 1, ldb, ldc}, 9));
            ASSERT_NO_FATAL_FAILURE(
                expect<Number>({layout, transa, transb, m, n, k, lda, ldb - 1, ldc}, 11));
            ASSERT_NO_FATAL_FAILURE(
                expect<Number>({layout, transa, transb, m, n, k, lda, ldb, ldc - 1}, 14));
          }
        }
      }
    }
  });
}

// No array is looked at before the arguments.
TEST(ReportsByValue, NothingIsReadOnAReport) {
  EXPECT_EQ(printed([] {
              cblas_zgemm(CblasColMajor, CblasNoTrans, CblasNoTrans, 2, 2, 2, nullptr, nullptr, 1,
                          nullptr, 2, nullptr, nullptr, 2);
              cblas_cgemm(CblasRowMajor, CblasNoTrans, CblasNoTrans, 2, 2, 2, nullptr, nullptr, 2,
                          nullptr, 2, nullptr, nullptr, 1);
              cblas_dgemm(CblasRowMajor, 1, CblasNoTrans, 2, 2, 2, 1, nullptr, 2, nullptr, 2, 1,
                          nullptr, 1);
            }),
            report(9, "cblas_zgemm") + report(14, "cblas_cgemm") + report(2, "cblas_dgemm"));
}

}  // namespace
}  // namespace level3_test
