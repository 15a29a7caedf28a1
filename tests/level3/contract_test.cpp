// What factors, special values and degenerate shapes do.
#include "qsl/qsl.h"
#include "tests/level1/guard_pages.h"
#include "tests/level3/problem.h"
#include "tests/printed.h"

namespace level3_test {
namespace {

using level1_test::GuardPages;

// Transposes and styles for one shape, one after the other.
template <class Number, class Body>
void for_each_form(const Body& body) {
  for (unsigned form = 0; form < 18; form++) {
    Call call = rotated<Number>(form, Data::integers);
    if (emulated() && form % 4 != 0) continue;
    ASSERT_NO_FATAL_FAILURE(body(call));
  }
}

TEST(Factors, EveryPairForEveryWay) {
  for_each_kind([](auto number) {
    using Number = decltype(number);
    unsigned form = 0;
    for (const Shape& shape : ways()) {
      Problem<Number> problem(shape, Data::integers);
      for (const Value alpha : factors<Number>()) {
        for (const Value beta : factors<Number>()) {
          Call call = rotated<Number>(form++, Data::integers);
          call.alpha = alpha;
          call.beta = beta;
          ASSERT_NO_FATAL_FAILURE(check(problem, call));
        }
        if (emulated()) form += 7;
      }
    }
  });
}

TEST(Factors, NegativeZeroIsZero) {
  for_each_kind([](auto number) {
    using Number = decltype(number);
    for (const Shape& shape : ways()) {
      Problem<Number> problem(shape, Data::integers);
      Call call = rotated<Number>(static_cast<unsigned>(shape.m), Data::integers);
      call.alpha = {-0.0, -0.0};
      call.beta = {1, 0};
      ASSERT_NO_FATAL_FAILURE(check(problem, call));
      call.alpha = {1, -0.0};
      call.beta = {-0.0, 0.0};
      ASSERT_NO_FATAL_FAILURE(check(problem, call));
    }
  });
}

TEST(Factors, ZeroAlphaAndUnitBetaLeaveEveryBit) {
  for_each_kind([](auto number) {
    using Number = decltype(number);
    for (const Shape& shape : ways()) {
      for_each_form<Number>([&](Call call) {
        call.alpha = {0, 0};
        call.beta = {1, 0};
        // Elements that nobody set hold signalling NaNs.
        Stored<Number> c(shape.m, shape.n, call.storage_c());
        const Stored<Number> before(shape.m, shape.n, call.storage_c());
        const Number alpha = number_of<Number>(call.alpha), beta = number_of<Number>(call.beta);
        const Stored<Number> a(shape.m, shape.k, call.storage_a());
        const Stored<Number> b(shape.k, shape.n, call.storage_b());
        Exported<Number>()(call, shape, &alpha, nullptr, a.ld(), nullptr, b.ld(), &beta, c.data(),
                           c.ld());
        ASSERT_TRUE(c.same_bytes(before) && c.intact()) << shape << ", " << call;
      });
    }
  });
}

TEST(Factors, ZeroAlphaReadsNeitherOperand) {
  for_each_kind([](auto number) {
    using Number = decltype(number);
    GuardPages pages(GuardPages::page);
    // Behind the last byte that may be read.
    const auto* unmapped = static_cast<const Number*>(pages.at_end(0, 0));
    for (const Shape& shape : ways()) {
      Problem<Number> problem(shape, Data::integers);
      for_each_form<Number>([&](Call call) {
        call.alpha = {0, 0};
        for (const Value beta : factors<Number>()) {
          call.beta = beta;
          ASSERT_NO_FATAL_FAILURE(
              check(problem, call, Check::every_element,
                    [&](const Call&, const Shape&, const Number* alpha_at, const Number*, int lda,
                        const Number*, int ldb, const Number* beta_at, Number* c, int ldc) {
                      Exported<Number>()(call, shape, alpha_at, unmapped, lda, nullptr, ldb,
                                         beta_at, c, ldc);
                    }));
        }
      });
    }
  });
}

TEST(Shortcuts, NothingHappensWithoutRowsOrColumns) {
  for_each_kind([](auto number) {
    using Number = decltype(number);
    for (const Shape& shape : {Shape{0, 5, 4},
                               {5, 0, 4},
                               {0, 0, 0},
                               {0, 1, 1},
                               {1, 0, 1},
                               {0, 5, 0},
                               {5, 0, 0},
                               {0, 900, 900},
                               {900, 0, 900}}) {
      for_each_form<Number>([&](const Call& call) {
        const Number alpha = number_of<Number>(call.alpha), beta = number_of<Number>(call.beta);
        ASSERT_EQ("", printed_by([&] {
                    Exported<Number>()(call, shape, &alpha, nullptr, 1000, nullptr, 1000, &beta,
                                       nullptr, 1000);
                  }))
            << shape << ", " << call;
      });
    }
  });
}

TEST(Shortcuts, WithoutTermsOnlyBetaCounts) {
  for_each_kind([](auto number) {
    using Number = decltype(number);
    for (const Shape& shape :
         {Shape{1, 1, 0}, {1, 9, 0}, {9, 1, 0}, {12, 12, 0}, {101, 12, 0}, {200, 200, 0}}) {
      if (emulated() && shape.n > 100) continue;
      Problem<Number> problem(shape, Data::integers);
      for_each_form<Number>([&](Call call) {
        for (const Value beta : factors<Number>()) {
          call.beta = beta;
          ASSERT_NO_FATAL_FAILURE(check(problem, call));
        }
        // With beta 1 every bit stays.
        call.beta = {1, 0};
        Stored<Number> c(shape.m, shape.n, call.storage_c());
        const Stored<Number> before(shape.m, shape.n, call.storage_c());
        const Number alpha = number_of<Number>(call.alpha), beta = number_of<Number>(call.beta);
        Exported<Number>()(call, shape, &alpha, nullptr, 200, nullptr, 200, &beta, c.data(),
                           c.ld());
        ASSERT_TRUE(c.same_bytes(before) && c.intact()) << shape << ", " << call;
      });
    }
  });
}

// The edges of the shortcuts to matrix-vector products and rank-one updates: walks along rows and
// columns of each operand, strided columns with and without a copy, and conjugated operands, which
// have no shortcut.
TEST(Shortcuts, EveryFormOfEveryEdge) {
  for_each_kind([](auto number) {
    using Number = decltype(number);
    std::vector<Shape> shapes = {{1, 1, 1},   {1, 1, 40},  {1, 30, 20}, {30, 1, 20},
                                 {1, 30, 1},  {30, 1, 1},  {64, 3, 1},  {65, 3, 1},
                                 {64, 20, 1}, {65, 20, 1}, {66, 9, 1},  {3, 65, 1},
                                 {9, 7, 9},   {12, 5, 12}, {9, 9, 9},   {12, 40, 12}};
    if (!emulated()) {
      shapes.insert(shapes.end(), {{129, 10, 1},
                                   {500, 7, 1},
                                   {1, 500, 70},
                                   {500, 1, 70},
                                   {40, 50, 300},
                                   {80, 90, 300},
                                   {10, 7, 10},
                                   {11, 5, 11}});
    }
    for (const Shape& shape : shapes) {
      Problem<Number> general(shape), integers(shape, Data::integers);
      for (unsigned form = 0; form < (emulated() || instrumented ? 9 : 36); form++) {
        Call call = rotated<Number>(form, Data::integers);
        for (const Value beta : {Value{0, 0}, Value{1, 0}, general_factor<Number>()}) {
          call.alpha = general_factor<Number>();
          call.beta = beta;
          call.pad_a = form % 4 < 2 ? 2 : 0;
          ASSERT_NO_FATAL_FAILURE(check(general, call));
          if (beta.is_zero()) {
            call.alpha = factors<Number>()[0];
            ASSERT_NO_FATAL_FAILURE(check(integers, call));
          }
        }
      }
    }
  });
}

// A NaN or an infinity in a row of A or a column of B shows in that row or column of C, in all of
// its elements, and nowhere else: what fills up tiles never mixes with numbers.
TEST(SpecialValues, StayInTheirRowOrColumn) {
  for_each_kind([](auto number) {
    using Number = decltype(number);
    const double infinity = std::numeric_limits<double>::infinity();
    const double nan = std::numeric_limits<double>::quiet_NaN();
    unsigned form = 0;
    for (const Shape& shape : ways()) {
      Problem<Number> problem(shape, Data::integers);
      for (int turn = 0; turn < (emulated() ? 4 : instrumented ? 12 : 36); turn++) {
        Call call = rotated<Number>(form++, Data::integers);
        call.alpha = factors<Number>()[0];
        Operands<Number> operands(problem, call);
        const bool in_a = turn % 2 == 0;
        const Value special = turn % 4 < 2 ? Value{nan, 1} : Value{infinity, 1};
        const int p = (turn * 5 + 3) % shape.k;
        // The last row or column is where a tile is filled up.
        const int last = in_a ? shape.m - 1 : shape.n - 1;
        const int line = turn % 3 == 0 ? last : (turn * 7) % (last + 1);
        if (in_a) {
          operands.a.set(line, p, special);
        } else {
          operands.b.set(p, line, special);
        }
        operands.run(Exported<Number>(), shape, call);
        for (int j = 0; j < shape.n; j++) {
          for (int i = 0; i < shape.m; i++) {
            const Value found = operands.c.get(i, j);
            const bool finite = std::isfinite(found.re) && std::isfinite(found.im);
            ASSERT_EQ(finite, (in_a ? i : j) != line)
                << kind_name<Number>() << ", " << shape << ", " << call << ", "
                << (in_a ? "row " : "column ") << line << ", element " << i << ", " << j;
          }
        }
      }
    }
  });
}

// Denormal results are not lost, and the largest numbers don't overflow on the way.
TEST(SpecialValues, TheWholeRangeIsKept) {
  const double tiny = std::numeric_limits<double>::denorm_min();
  const double huge = std::numeric_limits<double>::max();
  for (const auto& [m, n, k] : ways()) {
    const auto a_count = static_cast<std::size_t>(m * k), b_count = static_cast<std::size_t>(k * n);
    for (const auto& [x, y] : {std::pair{tiny, 3.0}, {-tiny, 1.0}, {huge, 0.5}}) {
      std::vector<double> a(a_count), b(b_count, y), c(static_cast<std::size_t>(m * n), 1);
      for (int i = 0; i < m; i++) a[static_cast<std::size_t>(i + k / 2 * m)] = x;
      cblas_dgemm(CblasColMajor, CblasNoTrans, CblasNoTrans, m, n, k, 1, a.data(), m, b.data(), k,
                  0, c.data(), m);
      for (const double element : c) ASSERT_EQ(element, x * y) << m << " " << n << " " << k;
    }
  }
}

}  // namespace
}  // namespace level3_test
