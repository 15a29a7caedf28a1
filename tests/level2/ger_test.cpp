// A := alpha * x * y^T + beta * A by every variant that this processor supports.
#include <climits>
#include <cmath>

#include "tests/level1/guard_pages.h"
#include "tests/level2/operands.h"
#include "tests/level2/variants.h"
#include "tests/printed.h"

namespace level2_test {
namespace {

using level1_test::GuardPages;

struct Call {
  int m, n;
  int pad = 0;  // lda - m
  int incx = 1, incy = 1;
  unsigned phase_a = 0, phase_x = 0, phase_y = 0;
};

std::ostream& operator<<(std::ostream& out, const Call& call) {
  return out << call.m << " by " << call.n << ", lda m + " << call.pad << ", incx " << call.incx
             << ", incy " << call.incy << ", phases " << call.phase_a << " " << call.phase_x << " "
             << call.phase_y;
}

template <class Number>
struct Operands {
  Operand<Number> a, x, y;

  explicit Operands(const Call& call)
      : a(Layout::matrix(call.m, call.n, call.m + call.pad), call.phase_a),
        x(Layout::vector(call.m, call.incx), call.phase_x),
        y(Layout::vector(call.n, call.incy), call.phase_y) {
    a.fill(1);
    x.fill(2);
    y.fill(3);
  }
  void run(Ger<Number>* ger, const Call& call, Number alpha, Number beta) {
    ger(call.m, call.n, &alpha, x.data(), call.incx, y.data(), call.incy, &beta, a.data(),
        call.m + call.pad);
  }
};

template <class Number>
void check(Ger<Number>* ger, const Call& call, Number alpha, Number beta) {
  Operands<Number> before(call), after(call);
  for (Operands<Number>* operands : {&before, &after}) {
    if (is_zero(widen(alpha))) {
      operands->x.fill_with_specials();
      operands->y.fill_with_specials();
    }
    if (is_zero(widen(beta))) operands->a.fill_with_specials();
  }
  after.run(ger, call, alpha, beta);
  ASSERT_TRUE(after.x.same_bits(before.x) && after.x.intact()) << call;
  ASSERT_TRUE(after.y.same_bits(before.y) && after.y.intact()) << call;
  ASSERT_TRUE(after.a.intact()) << call;
  for (int j = 0; j < call.n; j++) {
    for (int i = 0; i < call.m; i++) {
      BoundedSum sum;
      if (!is_zero(widen(beta))) sum.add(widen(beta), before.a.wide(i, j));
      if (!is_zero(widen(alpha))) sum.add(before.x.wide(i), before.y.wide(j), widen(alpha));
      ASSERT_TRUE(sum.holds(after.a.get(i, j)))
          << call << ", element " << i << ", " << j << ": "
          << static_cast<double>(widen(after.a.get(i, j)).re) << " for "
          << static_cast<double>(sum.sum.re) << ", alpha " << static_cast<double>(widen(alpha).re)
          << ", beta " << static_cast<double>(widen(beta).re);
    }
  }
}

class GerKernels : public Level2Kernels {
 protected:
  // With every way of beta.
  template <class Number>
  void check_general(const Call& call) const {
    for (const Number beta :
         {narrow<Number>({0, 0}), narrow<Number>({1, 0}), general_factor<Number>()}) {
      ASSERT_NO_FATAL_FAILURE(
          check<Number>(GetParam().template ger<Number>(), call, general_factor<Number>(), beta));
    }
  }
  // The same for every kind of number.
  void check_general(const Call& call) const {
    for_each_kind([&](auto number) { check_general<decltype(number)>(call); });
  }
};

TEST_P(GerKernels, EverySmallShape) {
  const int largest = emulated() ? 12 : 20;
  for (int m = 0; m <= largest; m++) {
    for (int n = 0; n <= largest; n++) {
      ASSERT_NO_FATAL_FAILURE(check_general({m, n, (m + n) % 3}));
    }
  }
}

TEST_P(GerKernels, ShapesAroundEveryBlock) {
  for_each_kind([&](auto number) {
    using Number = decltype(number);
    for (const int size : sizes_around_blocks<Number>()) {
      ASSERT_NO_FATAL_FAILURE(check_general<Number>({size, 5, 3}));
      ASSERT_NO_FATAL_FAILURE(check_general<Number>({5, size, 3}));
      ASSERT_NO_FATAL_FAILURE(check_general<Number>({size, 2, 0, 2, -2}));
    }
  });
}

TEST_P(GerKernels, LongAndWideMatrices) {
  if (emulated()) return;
  ASSERT_NO_FATAL_FAILURE(check_general({1000, 3, 0}));
  ASSERT_NO_FATAL_FAILURE(check_general({3, 1000, 0}));
  ASSERT_NO_FATAL_FAILURE(check_general({300, 150, 5}));
}

TEST_P(GerKernels, EveryStride) {
  for (int incx = -2; incx <= 3; incx++) {
    for (int incy = -2; incy <= 3; incy++) {
      for (const int m : {1, 4, 9, 23}) {
        for (const int n : {1, 3, 10}) {
          ASSERT_NO_FATAL_FAILURE(check_general({m, n, 2, incx, incy}));
        }
      }
    }
  }
}

TEST_P(GerKernels, EveryFactor) {
  for_each_kind([&](auto number) {
    using Number = decltype(number);
    for (const Number alpha : factors<Number>()) {
      for (const Number beta : factors<Number>()) {
        for (const int m : {1, 5, 18, 37}) {
          ASSERT_NO_FATAL_FAILURE(
              check<Number>(GetParam().template ger<Number>(), {m, 7, 1}, alpha, beta));
        }
      }
    }
  });
}

TEST_P(GerKernels, BitsDoNotDependOnAddresses) {
  for_each_kind([&](auto number) {
    using Number = decltype(number);
    const auto ger = GetParam().template ger<Number>();
    const Number factor = general_factor<Number>();
    for (const Number beta : {narrow<Number>({0, 0}), narrow<Number>({1, 0}), factor}) {
      for (const int m : {3, 11, 37}) {
        const Call plain = {m, 7};
        Operands<Number> expected(plain);
        expected.run(ger, plain, factor, beta);
        for (unsigned phase = 0; phase < 64; phase += 4) {
          for (int which = 0; which < 4; which++) {
            Call call = plain;
            call.pad = which == 3 ? 3 : 0;
            (which == 0 ? call.phase_x : which == 1 ? call.phase_y : call.phase_a) = phase;
            Operands<Number> found(call);
            found.run(ger, call, factor, beta);
            ASSERT_TRUE(found.a.same_elements(expected.a)) << call;
          }
        }
      }
    }
  });
}

TEST_P(GerKernels, NothingHappensWithoutElements) {
  for_each_kind([&](auto number) {
    using Number = decltype(number);
    const auto ger = GetParam().template ger<Number>();
    for (const int none : {0, -1, INT_MIN}) {
      EXPECT_EQ("", printed_by([&] {
                  ger(none, 5, nullptr, nullptr, 1, nullptr, 1, nullptr, nullptr, 1);
                  ger(5, none, nullptr, nullptr, -1, nullptr, 2, nullptr, nullptr, 5);
                }));
    }
  });
}

TEST_P(GerKernels, ZeroAlphaReadsNeitherVector) {
  for_each_kind([&](auto number) {
    using Number = decltype(number);
    const Number zero = narrow<Number>({0, 0});
    for (const Number beta : factors<Number>()) {
      Operands<Number> operands({9, 6, 1}), before({9, 6, 1});
      GetParam().template ger<Number>()(9, 6, &zero, nullptr, 1, nullptr, 1, &beta,
                                        operands.a.data(), 10);
      ASSERT_TRUE(operands.a.intact());
      for (int j = 0; j < 6; j++) {
        for (int i = 0; i < 9; i++) {
          BoundedSum sum;
          sum.add(widen(beta), before.a.wide(i, j));
          ASSERT_TRUE(sum.holds(operands.a.get(i, j))) << i << ", " << j;
        }
      }
    }
  });
}

TEST_P(GerKernels, ZeroAlphaAndUnitBetaLeaveEveryBit) {
  for_each_kind([&](auto number) {
    using Number = decltype(number);
    const Number zero = narrow<Number>({-0.0L, 0}), one = narrow<Number>({1, -0.0L});
    // Elements that nobody set hold signalling NaNs.
    Operand<Number> a(Layout::matrix(9, 6, 10), 4), as_it_was(a.layout(), 4);
    GetParam().template ger<Number>()(9, 6, &zero, nullptr, 1, nullptr, 1, &one, a.data(), 10);
    ASSERT_TRUE(a.same_bits(as_it_was));
  });
}

// A zero of one vector does not hide an infinity of the other.
TEST_P(GerKernels, NothingIsSkippedForAZero) {
  for_each_kind([&](auto number) {
    using Number = decltype(number);
    const Number special = narrow<Number>({std::numeric_limits<long double>::infinity(), 0});
    for (const bool in_x : {false, true}) {
      for (const int m : {1, 3, 6, 19}) {
        Operands<Number> operands({m, 5});
        for (Operand<Number>* vector : {&operands.x, &operands.y}) {
          vector->fill_with([] { return narrow<Number>({0, 0}); });
        }
        (in_x ? operands.x : operands.y).set(in_x ? m - 1 : 3, 0, special);
        operands.run(GetParam().template ger<Number>(), {m, 5}, general_factor<Number>(),
                     narrow<Number>({1, 0}));
        for (int j = 0; j < 5; j++) {
          for (int i = 0; i < m; i++) {
            const bool expected = in_x ? i == m - 1 : j == 3;
            ASSERT_EQ(std::isnan(operands.a.wide(i, j).re), expected) << i << ", " << j;
          }
        }
      }
    }
  });
}

TEST_P(GerKernels, FusesWhereTheLevelDoes) {
  const double x = 1 + 0x1p-30, y = 1 - 0x1p-29, one = 1;
  const volatile double rounded = x * y;
  for (int m = 1; m < 40; m++) {
    std::vector<double> xs(static_cast<std::size_t>(m), x),
        a(static_cast<std::size_t>(m), -rounded);
    GetParam().dger(m, 1, &one, xs.data(), 1, &y, 1, &one, a.data(), m);
    for (const double residue : a) ASSERT_EQ(residue != 0, GetParam().fuses()) << m;
  }
}

TEST_P(GerKernels, StaysInsideTheArrays) {
  GuardPages a_pages(4 * GuardPages::page), x_pages(GuardPages::page), y_pages(GuardPages::page);
  for_each_kind([&](auto number) {
    using Number = decltype(number);
    const Number factor = general_factor<Number>();
    const int largest = emulated() ? 9 : 20;
    for (int m = 1; m <= largest; m++) {
      for (int n = 1; n <= 6; n++) {
        const int lda = m + n % 2;
        const std::size_t a_bytes = (static_cast<std::size_t>(n - 1) * lda + m) * sizeof(Number);
        const std::size_t x_bytes = m * sizeof(Number), y_bytes = n * sizeof(Number);
        for (const Number beta : {narrow<Number>({0, 0}), narrow<Number>({1, 0}), factor}) {
          const auto run = [&](void* a, void* x, void* y) {
            std::memset(a, 0, a_bytes);
            std::memset(x, 0, x_bytes);
            std::memset(y, 0, y_bytes);
            GetParam().template ger<Number>()(m, n, &factor, static_cast<Number*>(x), 1,
                                              static_cast<Number*>(y), 1, &beta,
                                              static_cast<Number*>(a), lda);
          };
          for (const std::size_t slack : {0, 4}) {
            run(a_pages.at_end(a_bytes, slack), x_pages.at_end(x_bytes, slack),
                y_pages.at_end(y_bytes, slack));
            run(a_pages.at_start(slack), x_pages.at_start(slack), y_pages.at_start(slack));
          }
        }
      }
    }
  });
}

INSTANTIATE_TEST_SUITE_P(Levels, GerKernels, testing::ValuesIn(all_variants()), name_of);

}  // namespace
}  // namespace level2_test
