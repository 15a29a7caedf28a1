// A factor of exactly one leaves every bit alone, on every way that a product may go. With numbers
// that a complex product by one would spoil: (inf, y) * (1, 0) has a NaN.
#include <cmath>
#include <limits>

#include "tests/level3/problem.h"

namespace level3_test {
namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();

// One with an imaginary part of either sign.
Value one(unsigned turn) { return {1, turn % 2 == 0 ? 0.0 : -0.0}; }

// Where an operand has its one element that is not finite.
struct Place {
  int i, k, j;

  Place(const Shape& shape, unsigned turn)
      : i(static_cast<int>((turn * 7 + 2) % static_cast<unsigned>(shape.m))),
        k(static_cast<int>((turn * 5 + 3) % static_cast<unsigned>(shape.k))),
        j(static_cast<int>((turn * 3 + 1) % static_cast<unsigned>(shape.n))) {}
};

template <class Number>
Value value(Value of) {
  return is_real<Number> ? Value{of.re, 0} : of;
}

// body(problem, call, turn) for every way, with every pair of transposes.
template <class Number, class Body>
void for_each_way(const Body& body) {
  unsigned turn = 0;
  for (const Shape& shape : ways()) {
    for (unsigned form = 0; form < 18; form++) {
      if ((emulated() || instrumented) && form % 4 != 0) continue;
      Problem<Number> problem(shape, Data::integers);
      ASSERT_NO_FATAL_FAILURE(body(problem, rotated<Number>(form, Data::integers), turn++));
    }
  }
}

// The product of (inf, 1) and (2, 3), and of their conjugates, is (inf, inf) but for signs: it
// stays so, whether alpha meets it, or one of the two before.
TEST(UnitFactors, AlphaLeavesInfinities) {
  for_each_kind([](auto number) {
    using Number = decltype(number);
    for_each_way<Number>([](Problem<Number>& problem, Call call, unsigned turn) {
      const auto [m, n, k] = problem.shape;
      const Place place(problem.shape, turn);
      const bool in_a = turn / 2 % 2 == 0;
      const Value special = value<Number>({infinity, 1}), other = value<Number>({2, 3});
      if (in_a) {
        problem.a.set(place.i, place.k, special);
        for (int j = 0; j < n; j++) problem.b.set(place.k, j, other);
      } else {
        problem.b.set(place.k, place.j, special);
        for (int i = 0; i < m; i++) problem.a.set(i, place.k, other);
      }
      call.alpha = one(turn);
      call.beta = turn % 3 == 0 ? Value{0, 0} : turn % 3 == 1 ? one(turn) : factors<Number>()[0];
      Operands<Number> operands(problem, call);
      operands.run(Exported<Number>(), problem.shape, call);
      for (int j = 0; j < n; j++) {
        for (int i = 0; i < m; i++) {
          const Value found = operands.c.get(i, j);
          const bool meets = in_a ? i == place.i : j == place.j;
          const bool as_expected =
              meets ? found.re == infinity && (is_real<Number> || found.im == infinity)
                    : std::isfinite(found.re) && std::isfinite(found.im);
          ASSERT_TRUE(as_expected)
              << kind_name<Number>() << ", " << problem.shape << ", " << call << ": element " << i
              << ", " << j << " is " << found.re << " " << found.im;
        }
      }
    });
  });
}

// An infinite part of C stays what it is, and the other part is the sum that it would be.
TEST(UnitFactors, BetaLeavesInfinities) {
  for_each_kind([](auto number) {
    using Number = decltype(number);
    for_each_way<Number>([](Problem<Number>& problem, Call call, unsigned turn) {
      const Place place(problem.shape, turn);
      const bool real_part = is_real<Number> || turn % 3 != 0;
      const Value before = problem.c.at(place.i, place.j);
      const Value special = real_part ? Value{-infinity, before.im} : Value{before.re, infinity};
      problem.c.set(place.i, place.j, special);
      call.alpha = turn % 4 < 2 ? one(turn) : factors<Number>()[0];
      call.beta = one(turn);
      Operands<Number> operands(problem, call);
      operands.run(Exported<Number>(), problem.shape, call);
      // The same with a finite number there.
      problem.c.set(place.i, place.j, before);
      Operands<Number> finite(problem, call);
      finite.run(Exported<Number>(), problem.shape, call);
      Value expected = finite.c.get(place.i, place.j);
      (real_part ? expected.re : expected.im) = real_part ? -infinity : infinity;
      const Value found = operands.c.get(place.i, place.j);
      ASSERT_TRUE(found.re == expected.re && found.im == expected.im)
          << kind_name<Number>() << ", " << problem.shape << ", " << call << ": " << found.re << " "
          << found.im;
      operands.c.set(place.i, place.j, expected);
      finite.c.set(place.i, place.j, expected);
      ASSERT_TRUE(operands.c.same_elements(finite.c)) << problem.shape << ", " << call;
    });
  });
}

// Elements of B that are one, or become one when alpha multiplies them, are no factors: they take
// part in complex products like all others.
TEST(UnitFactors, NoOtherNumberCountsAsOne) {
  const auto check_kind = [](auto number) {
    using Number = decltype(number);
    for_each_way<Number>([](Problem<Number>& problem, Call call, unsigned turn) {
      const auto [m, n, k] = problem.shape;
      const Place place(problem.shape, turn);
      // alpha * b = (1, 0)
      const bool alpha_is_one = turn % 2 == 0;
      call.alpha = alpha_is_one ? Value{1, 0} : Value{0, 1};
      call.beta = {0, 0};
      for (int j = 0; j < n; j++) {
        problem.b.set(place.k, j, alpha_is_one ? Value{1, 0} : Value{0, -1});
      }
      problem.a.set(place.i, place.k, {infinity, 1});
      Operands<Number> operands(problem, call);
      operands.run(Exported<Number>(), problem.shape, call);
      for (int j = 0; j < n; j++) {
        for (int i = 0; i < m; i++) {
          ASSERT_EQ(std::isnan(operands.c.get(i, j).im), i == place.i)
              << kind_name<Number>() << ", " << problem.shape << ", " << call << ": element " << i
              << ", " << j;
        }
      }
    });
  };
  check_kind(complex_double{});
  if (!testing::Test::HasFailure()) check_kind(complex_float{});
}

}  // namespace
}  // namespace level3_test
