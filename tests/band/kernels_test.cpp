// y := alpha * op(A) * x + beta * y with a band matrix, by every variant that this processor
// supports.
#include "tests/band/variants.h"
#include "tests/level1/guard_pages.h"
#include "tests/printed.h"

namespace band_test {
namespace {

using level1_test::GuardPages;

class BandKernels : public testing::TestWithParam<Variant> {
 protected:
  void SetUp() override {
    if (const char* why = level1_test::left_out(GetParam().level)) GTEST_SKIP() << why;
  }
};

TEST_P(BandKernels, EveryShape) { ASSERT_NO_FATAL_FAILURE(check_shapes(GetParam(), false)); }

TEST_P(BandKernels, EveryStrideAndPhase) {
  for (const int incx : {-3, -1, 1, 2}) {
    for (const int incy : {-2, -1, 1, 3}) {
      for (unsigned phase = 0; phase < 64; phase += emulated() || instrumented ? 20 : 4) {
        ASSERT_NO_FATAL_FAILURE(check_options(
            GetParam(), {0, 23, 19, 4, 3, 1, incx, incy, false, phase, 64 - phase, 2 * phase}));
      }
    }
  }
}

// The bits of a result depend on the operands alone: not on where they lie, not on what lies
// between the columns.
TEST_P(BandKernels, BitsDoNotDependOnAddresses) {
  for (int trans = 0; trans < 3; trans++) {
    for (const int width : {1, 4, 11, 40}) {
      const Call plain = {trans, 70, 66, width, width + 1};
      Operands expected(plain);
      expected.run(GetParam(), plain, general_factor(), other_factor());
      for (unsigned phase = 0; phase < 64; phase += instrumented ? 12 : 4) {
        for (int which = 0; which < 4; which++) {
          Call call = plain;
          call.pad = which == 3 ? 3 : 0;
          (which == 0 ? call.phase_x : which == 1 ? call.phase_y : call.phase_a) = phase;
          Operands found(call);
          found.run(GetParam(), call, general_factor(), other_factor());
          ASSERT_TRUE(found.y.same_elements(expected.y)) << call;
        }
      }
    }
  }
}

TEST_P(BandKernels, NothingHappensWithoutElements) {
  for (int trans = 0; trans < 3; trans++) {
    for (const int none : {0, -1, INT_MIN}) {
      for (const auto& [m, n] : {std::pair{none, 5}, {5, none}}) {
        EXPECT_EQ("", printed_by([&] {
                    GetParam().zgbmv(trans, m, n, 1, 1, nullptr, nullptr, 3, nullptr, 1, nullptr,
                                     nullptr, 1);
                  }));
      }
    }
  }
}

// A zero of x does not hide a NaN of A, and a NaN reaches no element that it is not a term of.
TEST_P(BandKernels, ANanMeetsItsOwnElementsAlone) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  for (int trans = 0; trans < 3; trans++) {
    for (const int width : {0, 1, 2, 5, 20, 40}) {
      for (const bool in_x : {false, true}) {
        for (int at = 0; at < 50; at += 7) {
          const Call call = {trans, 50, 51, width, width};
          Operands operands(call);
          if (in_x) {
            operands.x.set(at, 0, {0, nan});
          } else {
            operands.x.fill_with([] { return Number{0, 0}; });
            operands.a.set(at, at, {nan, 0});
          }
          operands.run(GetParam(), call, general_factor(), other_factor());
          for (int i = 0; i < call.y_elements(); i++) {
            const bool meets = in_x ? (trans == 0 ? call.has(i, at) : call.has(at, i)) : i == at;
            const Wide found = operands.y.wide(i);
            ASSERT_EQ(std::isnan(found.re) && std::isnan(found.im), meets) << call << ": " << i;
            ASSERT_EQ(std::isnan(found.re), std::isnan(found.im)) << call << ": " << i;
          }
        }
      }
    }
  }
}

// Infinite factors neither meet the array's unused positions nor elements outside their column.
TEST_P(BandKernels, AnInfinityMeetsItsOwnElementsAlone) {
  const double inf = std::numeric_limits<double>::infinity();
  for (const int width : {0, 1, 4, 9, 40}) {
    for (int at = 0; at < 50; at += 3) {
      const Call call = {0, 50, 50, width, width};
      Operands operands(call);
      operands.x.set(at, 0, {inf, 0});
      operands.run(GetParam(), call, {1, 0}, {1, 0});
      for (int i = 0; i < 50; i++) {
        ASSERT_EQ(std::isfinite(operands.y.wide(i).re), !call.has(i, at)) << call << ": " << i;
      }
    }
  }
}

// alpha and beta may lie in y: they are read once.
TEST_P(BandKernels, FactorsAreReadBeforeYIsWritten) {
  for (int trans = 0; trans < 3; trans++) {
    for (const int at : {0, 7, 139}) {
      const Call call = {trans, 140, 140, 3, 5};
      Operands operands(call), expected(call);
      const Number factor = operands.y.get(at);
      expected.run(GetParam(), call, factor, factor);
      const Number* inside = operands.y.data() + at;
      GetParam()(call, inside, operands.a.data(), operands.x.data(), inside, operands.y.data());
      ASSERT_TRUE(operands.y.same_bits(expected.y)) << call;
    }
  }
}

// From the first element of the matrix to the last, one byte outside ends the test: the array's
// unused corners may not even be there.
TEST_P(BandKernels, StaysInsideTheArrays) {
  GuardPages a_pages(8 * GuardPages::page), x_pages(GuardPages::page), y_pages(GuardPages::page);
  const Number factor = general_factor();
  for (const int m : {1, 2, 3, 5, 8, 13, 20}) {
    for (const int n : {1, 2, 4, 7, 13, 20}) {
      for (const int kl : {0, 1, 2, 5, 9, 25}) {
        for (const int ku : {0, 1, 3, 6, 25}) {
          for (int trans = 0; trans < 3; trans++) {
            const Call call = {trans, m, n, kl, ku};
            const auto run = [&](Number* a, void* x, void* y) {
              for (int i = 0; i < m; i++) {
                for (int j = 0; j < n; j++) {
                  if (call.has(i, j)) std::memset(static_cast<void*>(a + call.index(i, j)), 0, 16);
                }
              }
              std::memset(x, 0, static_cast<std::size_t>(call.x_elements()) * 16);
              std::memset(y, 0, static_cast<std::size_t>(call.y_elements()) * 16);
              GetParam()(call, &factor, a, static_cast<Number*>(x), &factor,
                         static_cast<Number*>(y));
            };
            // The last column that has elements, and the end of its last one.
            const int column = n - 1 - ku < m ? n - 1 : m - 1 + ku;
            const int row = column + kl < m ? column + kl : m - 1;
            const std::size_t end = call.index(row, column) + 1;
            for (const std::size_t slack : {0, 4}) {
              run(static_cast<Number*>(a_pages.at_end(end * 16, slack)),
                  x_pages.at_end(static_cast<std::size_t>(call.x_elements()) * 16, slack),
                  y_pages.at_end(static_cast<std::size_t>(call.y_elements()) * 16, slack));
              run(static_cast<Number*>(a_pages.at_start(slack)) - call.index(0, 0),
                  x_pages.at_start(slack), y_pages.at_start(slack));
            }
          }
        }
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Levels, BandKernels, testing::ValuesIn(all_variants()), name_of);

}  // namespace
}  // namespace band_test
