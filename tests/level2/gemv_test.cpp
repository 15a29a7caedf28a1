// y := alpha * op(A) * x + beta * y by every variant that this processor supports.
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
  int trans, m, n;
  int pad = 0;  // lda - m
  int incx = 1, incy = 1;
  unsigned phase_a = 0, phase_x = 0, phase_y = 0;

  int x_elements() const { return trans == 0 ? n : m; }
  int y_elements() const { return trans == 0 ? m : n; }
};

std::ostream& operator<<(std::ostream& out, const Call& call) {
  return out << "trans " << call.trans << ", " << call.m << " by " << call.n << ", lda m + "
             << call.pad << ", incx " << call.incx << ", incy " << call.incy << ", phases "
             << call.phase_a << " " << call.phase_x << " " << call.phase_y;
}

template <class Number>
struct Operands {
  Operand<Number> a, x, y;

  explicit Operands(const Call& call)
      : a(Layout::matrix(call.m, call.n, call.m + call.pad), call.phase_a),
        x(Layout::vector(call.x_elements(), call.incx), call.phase_x),
        y(Layout::vector(call.y_elements(), call.incy), call.phase_y) {
    a.fill(1);
    x.fill(2);
    y.fill(3);
  }
  void run(Gemv<Number>* gemv, const Call& call, Number alpha, Number beta) {
    gemv(call.trans, call.m, call.n, &alpha, a.data(), call.m + call.pad, x.data(), call.incx,
         &beta, y.data(), call.incy);
  }
};

template <class Number>
void check(Gemv<Number>* gemv, const Call& call, Number alpha, Number beta) {
  Operands<Number> before(call), after(call);
  for (Operands<Number>* operands : {&before, &after}) {
    if (is_zero(widen(alpha))) {
      operands->a.fill_with_specials();
      operands->x.fill_with_specials();
    }
    if (is_zero(widen(beta))) operands->y.fill_with_specials();
  }
  after.run(gemv, call, alpha, beta);
  ASSERT_TRUE(after.a.same_bits(before.a) && after.a.intact()) << call;
  ASSERT_TRUE(after.x.same_bits(before.x) && after.x.intact()) << call;
  ASSERT_TRUE(after.y.intact()) << call;
  if (call.m == 0 || call.n == 0) {
    ASSERT_TRUE(after.y.same_bits(before.y)) << call;
    return;
  }
  // Elements that lie on each other have no defined value.
  if (call.incy == 0) return;
  for (int i = 0; i < call.y_elements(); i++) {
    BoundedSum sum;
    if (!is_zero(widen(beta))) sum.add(widen(beta), before.y.wide(i));
    if (!is_zero(widen(alpha))) {
      for (int k = 0; k < call.x_elements(); k++) {
        const Wide a = call.trans == 0 ? before.a.wide(i, k) : before.a.wide(k, i);
        sum.add(call.trans == 2 ? conjugate(a) : a, before.x.wide(k), widen(alpha));
      }
    }
    ASSERT_TRUE(sum.holds(after.y.get(i)))
        << call << ", element " << i << ": " << static_cast<double>(widen(after.y.get(i)).re)
        << " for " << static_cast<double>(sum.sum.re) << ", alpha "
        << static_cast<double>(widen(alpha).re) << ", beta " << static_cast<double>(widen(beta).re);
  }
}

class GemvKernels : public Level2Kernels {
 protected:
  // With general factors and every transpose option.
  template <class Number>
  void check_general(Call call) const {
    for (call.trans = 0; call.trans < 3; call.trans++) {
      ASSERT_NO_FATAL_FAILURE(check<Number>(GetParam().template gemv<Number>(), call,
                                            general_factor<Number>(), general_factor<Number>()));
    }
  }
  // The same for every kind of number.
  void check_general(const Call& call) const {
    for_each_kind([&](auto number) { check_general<decltype(number)>(call); });
  }
};

TEST_P(GemvKernels, EverySmallShape) {
  const int largest = emulated() ? 12 : 20;
  for (int m = 0; m <= largest; m++) {
    for (int n = 0; n <= largest; n++) {
      ASSERT_NO_FATAL_FAILURE(check_general({0, m, n, (m + n) % 3}));
    }
  }
}

TEST_P(GemvKernels, RowsAndColumnsAroundEveryRegisterCount) {
  for (int m = 21; m <= (emulated() ? 40 : 70); m++) {
    ASSERT_NO_FATAL_FAILURE(check_general({0, m, 7, 1}));
    ASSERT_NO_FATAL_FAILURE(check_general({0, 7, m, 1}));
  }
}

TEST_P(GemvKernels, ShapesAroundEveryBlock) {
  for_each_kind([&](auto number) {
    using Number = decltype(number);
    for (const int size : sizes_around_blocks<Number>()) {
      ASSERT_NO_FATAL_FAILURE(check_general<Number>({0, size, 5, 3}));
      ASSERT_NO_FATAL_FAILURE(check_general<Number>({0, 5, size, 3}));
      ASSERT_NO_FATAL_FAILURE(check_general<Number>({0, size, 2, 0, 2, -2}));
      ASSERT_NO_FATAL_FAILURE(check_general<Number>({0, 2, size, 0, -2, 3}));
    }
  });
}

TEST_P(GemvKernels, LongAndWideMatrices) {
  if (emulated()) return;
  ASSERT_NO_FATAL_FAILURE(check_general({0, 1000, 3, 0}));
  ASSERT_NO_FATAL_FAILURE(check_general({0, 3, 1000, 0}));
  ASSERT_NO_FATAL_FAILURE(check_general({0, 300, 150, 5}));
  ASSERT_NO_FATAL_FAILURE(check_general({0, 5000, 4, 1}));
}

TEST_P(GemvKernels, EveryStride) {
  for (int incx = -2; incx <= 3; incx++) {
    for (int incy = -2; incy <= 3; incy++) {
      for (const int m : {1, 4, 9, 23}) {
        for (const int n : {1, 3, 10}) {
          ASSERT_NO_FATAL_FAILURE(check_general({0, m, n, 2, incx, incy}));
        }
      }
    }
  }
}

TEST_P(GemvKernels, EveryFactor) {
  for_each_kind([&](auto number) {
    using Number = decltype(number);
    for (const Number alpha : factors<Number>()) {
      for (const Number beta : factors<Number>()) {
        for (int trans = 0; trans < 3; trans++) {
          for (const int incy : {1, -2}) {
            for (const int m : {1, 5, 18, 37}) {
              ASSERT_NO_FATAL_FAILURE(check<Number>(GetParam().template gemv<Number>(),
                                                    {trans, m, 7, 1, 1, incy}, alpha, beta));
            }
          }
        }
      }
    }
  });
}

// The bits of a result depend on the operands alone: not on where they lie, not on what lies
// between the columns.
TEST_P(GemvKernels, BitsDoNotDependOnAddresses) {
  for_each_kind([&](auto number) {
    using Number = decltype(number);
    const auto gemv = GetParam().template gemv<Number>();
    const Number factor = general_factor<Number>();
    for (int trans = 0; trans < 3; trans++) {
      for (const int m : {3, 11, 37, 70}) {
        const Call plain = {trans, m, 11};
        Operands<Number> expected(plain);
        expected.run(gemv, plain, factor, factor);
        for (unsigned phase = 0; phase < 64; phase += 4) {
          for (int which = 0; which < 4; which++) {
            Call call = plain;
            call.pad = which == 3 ? 3 : 0;
            (which == 0 ? call.phase_x : which == 1 ? call.phase_y : call.phase_a) = phase;
            Operands<Number> found(call);
            found.run(gemv, call, factor, factor);
            ASSERT_TRUE(found.y.same_elements(expected.y)) << call;
          }
        }
      }
    }
  });
}

TEST_P(GemvKernels, NothingHappensWithoutElements) {
  for_each_kind([&](auto number) {
    using Number = decltype(number);
    const auto gemv = GetParam().template gemv<Number>();
    for (int trans = 0; trans < 3; trans++) {
      for (const int none : {0, -1, INT_MIN}) {
        EXPECT_EQ("", printed_by([&] {
                    gemv(trans, none, 5, nullptr, nullptr, 1, nullptr, 1, nullptr, nullptr, 1);
                    gemv(trans, 5, none, nullptr, nullptr, 5, nullptr, -1, nullptr, nullptr, 2);
                  }));
      }
    }
  });
}

TEST_P(GemvKernels, ZeroAlphaReadsNeitherTheMatrixNorX) {
  for_each_kind([&](auto number) {
    using Number = decltype(number);
    const Number zero = narrow<Number>({0, 0});
    for (int trans = 0; trans < 3; trans++) {
      for (const Number beta : factors<Number>()) {
        const Call call = {trans, 9, 6};
        Operands<Number> operands(call), before(call);
        GetParam().template gemv<Number>()(trans, 9, 6, &zero, nullptr, 9, nullptr, 1, &beta,
                                           operands.y.data(), 1);
        for (int i = 0; i < call.y_elements(); i++) {
          BoundedSum sum;
          sum.add(widen(beta), before.y.wide(i));
          ASSERT_TRUE(sum.holds(operands.y.get(i))) << call;
        }
      }
    }
  });
}

TEST_P(GemvKernels, ZeroAlphaAndUnitBetaLeaveEveryBit) {
  for_each_kind([&](auto number) {
    using Number = decltype(number);
    for (int trans = 0; trans < 3; trans++) {
      for (const int incy : {1, 2}) {
        const Call call = {trans, 9, 6, 0, 1, incy};
        // Elements that nobody set hold signalling NaNs.
        Operand<Number> y(Layout::vector(call.y_elements(), incy), 4), as_it_was(y.layout(), 4);
        const Number zero = narrow<Number>({-0.0L, 0}), one = narrow<Number>({1, -0.0L});
        GetParam().template gemv<Number>()(trans, 9, 6, &zero, nullptr, 9, nullptr, 1, &one,
                                           y.data(), incy);
        ASSERT_TRUE(y.same_bits(as_it_was)) << call;
      }
    }
  });
}

// A zero of x does not hide a NaN or an infinity of A.
TEST_P(GemvKernels, NothingIsSkippedForAZero) {
  for_each_kind([&](auto number) {
    using Number = decltype(number);
    const long double nan = std::numeric_limits<long double>::quiet_NaN();
    const long double inf = std::numeric_limits<long double>::infinity();
    for (const long double special : {nan, inf}) {
      for (int trans = 0; trans < 3; trans++) {
        for (const int m : {1, 3, 6, 19, 40}) {
          for (int at = 0; at < m; at += 3) {
            const Call call = {trans, m, 5};
            Operands<Number> operands(call);
            operands.x.fill_with([] { return narrow<Number>({0, 0}); });
            operands.a.set(at, 2, narrow<Number>({special, 0}));
            operands.run(GetParam().template gemv<Number>(), call, general_factor<Number>(),
                         narrow<Number>({0, 0}));
            for (int i = 0; i < call.y_elements(); i++) {
              const bool expected = i == (trans == 0 ? at : 2);
              ASSERT_EQ(std::isnan(operands.y.wide(i).re), expected) << call << ", element " << i;
            }
          }
        }
      }
    }
  });
}

// alpha and beta may lie in y: they are read once.
TEST_P(GemvKernels, FactorsAreReadBeforeYIsWritten) {
  for_each_kind([&](auto number) {
    using Number = decltype(number);
    for (int trans = 0; trans < 3; trans++) {
      const Call call = {trans, 140, 140};
      for (const int at : {0, 7, 139}) {
        Operands<Number> operands(call), expected(call);
        const Number factor = operands.y.get(at);
        expected.run(GetParam().template gemv<Number>(), call, factor, factor);
        const Number* inside = operands.y.data() + at;
        GetParam().template gemv<Number>()(trans, 140, 140, inside, operands.a.data(), 140,
                                           operands.x.data(), 1, inside, operands.y.data(), 1);
        ASSERT_TRUE(operands.y.same_bits(expected.y)) << call;
      }
    }
  });
}

// y := a * x - round(a * x) shows whether the product was rounded.
TEST_P(GemvKernels, FusesWhereTheLevelDoes) {
  const double a = 1 + 0x1p-30, x = 1 - 0x1p-29, one = 1;
  const volatile double rounded = a * x;
  for (int m = 1; m < 40; m++) {
    std::vector<double> matrix(static_cast<std::size_t>(m), a);
    std::vector<double> y(static_cast<std::size_t>(m), -rounded);
    GetParam().dgemv(0, m, 1, &one, matrix.data(), m, &x, 1, &one, y.data(), 1);
    for (const double residue : y) ASSERT_EQ(residue != 0, GetParam().fuses()) << m;
  }
}

TEST_P(GemvKernels, StaysInsideTheArrays) {
  GuardPages a_pages(4 * GuardPages::page), x_pages(GuardPages::page), y_pages(GuardPages::page);
  for_each_kind([&](auto number) {
    using Number = decltype(number);
    const Number factor = general_factor<Number>();
    const std::vector<int> sizes =
        emulated() ? std::vector<int>{1, 5, 9, 17}
                   : std::vector<int>{1, 2, 3, 4, 5, 6, 7, 8, 9, 11, 13, 15, 16, 17, 19, 20};
    for (const int m : sizes) {
      for (const int n : sizes) {
        const int lda = m + n % 2;
        const std::size_t a_bytes = (static_cast<std::size_t>(n - 1) * lda + m) * sizeof(Number);
        for (int trans = 0; trans < 3; trans++) {
          const std::size_t x_bytes = (trans == 0 ? n : m) * sizeof(Number);
          const std::size_t y_bytes = (trans == 0 ? m : n) * sizeof(Number);
          const auto run = [&](void* a, void* x, void* y) {
            std::memset(a, 0, a_bytes);
            std::memset(x, 0, x_bytes);
            std::memset(y, 0, y_bytes);
            GetParam().template gemv<Number>()(trans, m, n, &factor, static_cast<Number*>(a), lda,
                                               static_cast<Number*>(x), 1, &factor,
                                               static_cast<Number*>(y), 1);
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

INSTANTIATE_TEST_SUITE_P(Levels, GemvKernels, testing::ValuesIn(all_variants()), name_of);

}  // namespace
}  // namespace level2_test
