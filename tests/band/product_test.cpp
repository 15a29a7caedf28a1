// The exported band product: both storage orders, every option, stride and factor.
#include <gtest/gtest.h>

#include "tests/band/problem.h"
#include "tests/printed.h"

namespace band_test {
namespace {

TEST(BandProduct, EveryShapeByColumns) { ASSERT_NO_FATAL_FAILURE(check_shapes(Exported(), false)); }

TEST(BandProduct, EveryShapeByRows) { ASSERT_NO_FATAL_FAILURE(check_shapes(Exported(), true)); }

TEST(BandProduct, EveryStride) {
  for (const bool by_rows : {false, true}) {
    for (const int incx : {-5, -2, -1, 1, 2, 3}) {
      for (const int incy : {-4, -2, -1, 1, 2, 3}) {
        ASSERT_NO_FATAL_FAILURE(
            check_options(Exported(), {0, 17, 21, 3, 2, 1, incx, incy, by_rows}));
        ASSERT_NO_FATAL_FAILURE(
            check_options(Exported(), {0, 1, 5, 3, 2, 0, incx, incy, by_rows, 4, 8, 12}));
      }
    }
  }
}

TEST(BandProduct, EveryFactor) {
  for (const bool by_rows : {false, true}) {
    for (const Number alpha : level2_test::factors<Number>()) {
      for (const Number beta : level2_test::factors<Number>()) {
        for (int trans = 0; trans < 3; trans++) {
          for (const int incy : {1, -2}) {
            ASSERT_NO_FATAL_FAILURE(
                check(Exported(), {trans, 14, 15, 3, 2, 0, 1, incy, by_rows}, alpha, beta));
          }
        }
      }
    }
  }
}

TEST(BandProduct, OddAddresses) {
  for (const bool by_rows : {false, true}) {
    for (const unsigned phase : level1_test::phases()) {
      ASSERT_NO_FATAL_FAILURE(check_options(
          Exported(), {0, 30, 28, 4, 6, 0, 1, 1, by_rows, phase, phase + 3, 2 * phase + 1}));
    }
  }
}

// Neither A nor x is read with alpha = 0; y is not even read with beta = 0.
TEST(BandProduct, ZeroAlphaReadsNothingButY) {
  for (const bool by_rows : {false, true}) {
    for (int trans = 0; trans < 3; trans++) {
      const Call call = {trans, 5, 4, 1, 2, 0, 1, 1, by_rows};
      for (const Number zero : {Number{0, 0}, Number{-0.0, 0}, Number{-0.0, -0.0}}) {
        Operand<Number> y(Layout::vector(call.y_elements(), 1), 8);
        y.fill_with_specials();
        Operands operands(call);
        operands.x.fill_with_specials();
        const Number nothing = {0, 0};
        Exported()(call, &zero, nullptr, operands.x.data(), &nothing, y.data());
        for (int i = 0; i < call.y_elements(); i++) {
          const Wide found = y.wide(i);
          ASSERT_TRUE(found.re == 0 && found.im == 0) << call;
        }
      }
    }
  }
}

TEST(BandProduct, ZeroAlphaAndUnitBetaLeaveEveryBit) {
  for (const bool by_rows : {false, true}) {
    for (int trans = 0; trans < 3; trans++) {
      const Call call = {trans, 5, 4, 1, 2, 0, 1, -2, by_rows};
      // Elements that nobody set hold signalling NaNs.
      Operand<Number> y(Layout::vector(call.y_elements(), -2), 4), as_it_was(y.layout(), 4);
      const Number zero = {-0.0, 0}, one = {1, -0.0};
      Exported()(call, &zero, nullptr, nullptr, &one, y.data());
      ASSERT_TRUE(y.same_bits(as_it_was)) << call;
    }
  }
}

TEST(BandProduct, NothingHappensWithoutRowsOrColumns) {
  for (const int layout : {CblasColMajor, CblasRowMajor}) {
    for (const int trans : {CblasNoTrans, CblasTrans, CblasConjTrans}) {
      for (const auto& [m, n] : {std::pair{0, 4}, {4, 0}}) {
        EXPECT_EQ("", printed_by([&] {
                    cblas_zgbmv(layout, trans, m, n, 1, 1, nullptr, nullptr, 3, nullptr, 1, nullptr,
                                nullptr, 1);
                  }))
            << layout << " " << trans << ", " << m << " by " << n;
      }
    }
  }
}

// Widths up to the largest integers: only what lies in the matrix is there. The array's first
// elements are imagined.
TEST(BandProduct, WidthsFarBeyondTheMatrix) {
  const Number one = {1, 0}, x = {2, 1};
  const auto expect_product = [&](int kl, int ku) {
    const Number element = {3, 5};
    const int lda = kl + ku + 1;
    for (const int trans : {CblasNoTrans, CblasTrans, CblasConjTrans}) {
      for (const bool by_rows : {false, true}) {
        Number y = {7, 7};
        // Element (0, 0) stands where the address wraps to.
        const auto base = reinterpret_cast<std::uintptr_t>(&element) -
                          static_cast<std::uintptr_t>(by_rows ? kl : ku) * sizeof(Number);
        cblas_zgbmv(by_rows ? CblasRowMajor : CblasColMajor, trans, 1, 1, kl, ku, &one,
                    reinterpret_cast<const Number*>(base), lda, &x, 1, &one, &y, 1);
        const bool conjugated = trans == CblasConjTrans;
        EXPECT_EQ(y.real, 7 + (conjugated ? 11 : 1)) << kl << " " << ku;
        EXPECT_EQ(y.imag, 7 + (conjugated ? -7 : 13)) << kl << " " << ku;
      }
    }
  };
  expect_product(INT_MAX - 1, 0);
  expect_product(0, INT_MAX - 1);
  expect_product(INT_MAX / 2, INT_MAX / 2);
}

// Shapes with short and long columns, columns without elements, several blocks of columns and of
// rows.
std::vector<Call> calls_of_every_way() {
  std::vector<Call> result;
  for (const bool by_rows : {false, true}) {
    for (int trans = 0; trans < 3; trans++) {
      for (const int inc : {1, -2}) {
        for (const auto& [m, n] : {std::pair{1, 1}, {1, 6}, {7, 1}, {9, 8}, {5, 30}, {31, 4}}) {
          for (const int width : {0, 1, 3, 40}) {
            result.push_back({trans, m, n, width, 2, 0, inc, inc, by_rows});
          }
        }
        if (emulated()) continue;
        result.push_back({trans, 260, 250, 3, 4, 0, inc, 1, by_rows});
        result.push_back({trans, 150, 300, 90, 20, 0, 1, inc, by_rows});
        // (The other way round the array would be large.)
        if (by_rows) {
          result.push_back({trans, 40, 1300, 5, 1200, 0, inc, 1, by_rows});
        } else {
          result.push_back({trans, 1300, 40, 1200, 5, 0, inc, 1, by_rows});
        }
      }
    }
  }
  return result;
}

// With beta 0, the sum of zeros of any sign is the zero that +0 with them added is.
TEST(BandProduct, SumsOfZerosArePositive) {
  unsigned turn = 0;
  for (const Call& call : calls_of_every_way()) {
    const bool is_small = call.m * call.n < 300;
    for (const Number alpha : level2_test::factors<Number>()) {
      turn++;
      if (!is_small && turn % 4 != 0) continue;
      for (int i = 0; i < (is_small ? 4 : 1); i++, turn++) {
        const auto one_or_zero = [&](bool is_zero, unsigned signs) -> Number {
          const double size = is_zero ? 0 : 1;
          return {signs & 1 ? -size : size, signs & 2 ? -size : size};
        };
        Operands operands(call);
        for (int row = 0; row < call.m; row++) {
          for (int j = call.first_column(row); j < call.end_column(row); j++) {
            operands.a.set(row, j, one_or_zero(turn & 1, turn >> 1));
          }
        }
        operands.x.fill_with([&] { return one_or_zero(!(turn & 1), turn >> 3); });
        operands.y.fill_with([] { return Number{-0.0, -0.0}; });
        operands.run(Exported(), call, alpha, {0, turn % 3 == 0 ? 0.0 : -0.0});
        for (int at = 0; at < call.y_elements(); at++) {
          const Number found = operands.y.get(at);
          ASSERT_TRUE(found.real == 0 && !std::signbit(found.real) && found.imag == 0 &&
                      !std::signbit(found.imag))
              << call << ", alpha " << alpha.real << " " << alpha.imag << ", element " << at << ": "
              << found.real << " " << found.imag;
        }
      }
    }
  }
}

// A complex product of (inf, y) by (1, 0) would have a NaN.
TEST(BandProduct, FactorsOfOneLeaveInfinities) {
  const double infinity = std::numeric_limits<double>::infinity();
  for (const Call& call : calls_of_every_way()) {
    for (const double imag : {0.0, -0.0}) {
      const Number one = {1, imag};
      // alpha: (inf, 1) * (2, 3) is (inf, inf), and its conjugate so, too.
      Operands operands(call);
      operands.a.set(0, 0, call.trans == 2 ? Number{infinity, -1} : Number{infinity, 1});
      operands.x.set(0, 0, {2, 3});
      operands.run(Exported(), call, one, std::signbit(imag) ? one : Number{0, 0});
      for (int at = 0; at < call.y_elements(); at++) {
        const Number found = operands.y.get(at);
        ASSERT_TRUE(at == 0 ? found.real == infinity && found.imag == infinity
                            : std::isfinite(found.real) && std::isfinite(found.imag))
            << call << ", element " << at << ": " << found.real << " " << found.imag;
      }
      // beta
      Operands given(call), finite(call);
      const double part = given.y.get(0).imag;
      given.y.set(0, 0, {-infinity, part});
      given.run(Exported(), call, general_factor(), one);
      finite.run(Exported(), call, general_factor(), one);
      const Number expected = {-infinity, finite.y.get(0).imag};
      ASSERT_TRUE(given.y.get(0).real == expected.real && given.y.get(0).imag == expected.imag)
          << call << ": " << given.y.get(0).real << " " << given.y.get(0).imag;
    }
  }
}

// The reversed x and a stride of -1 are the same vector.
TEST(BandProduct, AStrideOfMinusOneReversesX) {
  for (int trans = 0; trans < 3; trans++) {
    for (const bool by_rows : {false, true}) {
      const Call forward = {trans, 9, 12, 2, 3, 0, 1, 1, by_rows};
      Call backward = forward;
      backward.incx = -1;
      Operands expected(forward), found(backward);
      for (int k = 0; k < forward.x_elements(); k++) found.x.set(k, 0, expected.x.get(k));
      expected.run(Exported(), forward, general_factor(), other_factor());
      found.run(Exported(), backward, general_factor(), other_factor());
      ASSERT_TRUE(found.y.same_bits(expected.y)) << forward;
    }
  }
}

}  // namespace
}  // namespace band_test
