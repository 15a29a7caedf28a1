// Where the arrays lie: at the edges of unmapped pages, at every address, with gaps; and that none
// of it shows in the bits.
#include "tests/level1/guard_pages.h"
#include "tests/level3/problem.h"

namespace level3_test {
namespace {

using level1_test::GuardPages;

// One byte outside an array ends the test.
TEST(Places, StaysInsideTheArrays) {
  std::vector<Shape> shapes;
  const int largest = emulated() ? 3 : 20;
  for (int m = 1; m <= largest; m++) {
    for (int n = 1; n <= largest; n++) shapes.push_back({m, n, 1 + (3 * m + 5 * n) % 13});
  }
  for (const int size : {9, 12, 13, 17, 23, 31}) {
    shapes.push_back({size, 26, size});
    shapes.push_back({25, size, 30});
    shapes.push_back({size, size, 70});
  }
  shapes.push_back({101, 2, 13});
  if (!emulated()) {
    for (int edge = 0; edge < 13; edge++) {
      shapes.push_back({73 + edge, 81 - edge, 10 + edge});
      shapes.push_back({193 + edge, 205 - edge, 9});
      shapes.push_back({57 + edge, 60, 131 + edge});
    }
    shapes.insert(
        shapes.end(),
        {{75, 77, 300}, {66, 1, 1}, {70, 40, 1}, {250, 50, 50}, {50, 90, 111}, {20, 610, 9}});
  }
  for_each_kind([&](auto number) {
    using Number = decltype(number);
    GuardPages a_pages(100 * GuardPages::page), b_pages(100 * GuardPages::page);
    GuardPages c_pages(200 * GuardPages::page);
    unsigned turn = 0;
    for (const Shape& shape : shapes) {
      Problem<Number> problem(shape, Data::integers);
      for (int form = 0; form < (emulated() ? 1 : 6); form++) {
        Call call = rotated<Number>(turn++, Data::integers);
        call.phase_a = call.phase_b = call.phase_c = 0;
        if (form % 2 == 0) call.pad_a = call.pad_b = call.pad_c = 0;
        // The arrays are copied to the pages for the call, and C back.
        const auto product = [&](const Call&, const Shape&, const Number* alpha, const Number* a,
                                 int lda, const Number* b, int ldb, const Number* beta, Number* c,
                                 int ldc) {
          const Operands<Number> sizes(problem, call);
          const std::size_t slack = form % 3 == 2 ? 4 : 0;
          const auto place = [&](GuardPages& pages, std::size_t bytes, const void* from) {
            void* to = form < 3 ? pages.at_end(bytes, slack) : pages.at_start(slack);
            std::memcpy(to, from, bytes);
            return static_cast<Number*>(to);
          };
          const Number* a_at = place(a_pages, sizes.a.size(), a);
          const Number* b_at = place(b_pages, sizes.b.size(), b);
          Number* c_at = place(c_pages, sizes.c.size(), c);
          Exported<Number>()(call, shape, alpha, a_at, lda, b_at, ldb, beta, c_at, ldc);
          std::memcpy(static_cast<void*>(c), c_at, sizes.c.size());
        };
        ASSERT_NO_FATAL_FAILURE(check(problem, call, Check::every_element, product));
      }
    }
  });
}

// The shapes whose bits are compared: small ones by every way, and blocks.
std::vector<Shape> shapes_for_bits() {
  std::vector<Shape> shapes = {{1, 9, 14}, {9, 1, 14}, {1, 1, 37},  {7, 9, 1},
                               {5, 3, 9},  {9, 4, 9},  {21, 26, 19}};
  if (!emulated()) shapes.insert(shapes.end(), {{70, 5, 1}, {101, 3, 12}, {74, 75, 33}});
  if (!emulated() && !instrumented) {
    shapes.insert(shapes.end(), {{61, 70, 131}, {60, 90, 105}, {73, 74, 300}});
  }
  return shapes;
}

template <class Number>
Call general_call(unsigned form) {
  Call call = rotated<Number>(form, Data::general);
  call.alpha = general_factor<Number>();
  call.beta = Value{-0.625, is_real<Number> ? 0 : 1.125};
  call.pad_a = call.pad_b = call.pad_c = 0;
  call.phase_a = call.phase_b = call.phase_c = 0;
  return call;
}

TEST(Bits, DoNotDependOnAddressesAndGaps) {
  for_each_kind([](auto number) {
    using Number = decltype(number);
    for (const Shape& shape : shapes_for_bits()) {
      Problem<Number> problem(shape);
      for (unsigned form = 0; form < 9; form++) {
        if (emulated() && form % 4 != 0) continue;
        const Call plain = general_call<Number>(form);
        Operands<Number> expected(problem, plain);
        expected.run(Exported<Number>(), shape, plain);
        for (unsigned phase = 4; phase <= 64; phase += emulated() || instrumented ? 20 : 4) {
          for (int which = 0; which < 3; which++) {
            Call call = plain;
            (which == 0 ? call.phase_a : which == 1 ? call.phase_b : call.phase_c) = phase;
            (which == 0   ? call.pad_b
             : which == 1 ? call.pad_c
                          : call.pad_a) = static_cast<int>(phase % 12 / 4);
            Operands<Number> found(problem, call);
            found.run(Exported<Number>(), shape, call);
            ASSERT_TRUE(found.c.same_elements(expected.c))
                << kind_name<Number>() << ", " << shape << ", " << call;
          }
        }
      }
    }
  });
}

TEST(Bits, DoNotDependOnWhatBetaZeroHides) {
  for_each_kind([](auto number) {
    using Number = decltype(number);
    for (const Shape& shape : shapes_for_bits()) {
      Problem<Number> problem(shape);
      for (unsigned form = 0; form < (emulated() ? 3 : 18); form++) {
        Call call = general_call<Number>(form);
        call.beta = {0, 0};
        Operands<Number> specials(problem, call), numbers(problem, call);
        numbers.c.fill(problem.c);
        specials.run(Exported<Number>(), shape, call);
        numbers.run(Exported<Number>(), shape, call);
        ASSERT_TRUE(specials.c.same_bytes(numbers.c))
            << kind_name<Number>() << ", " << shape << ", " << call;
      }
    }
  });
}

TEST(Bits, OfARowMajorProductAreThoseOfTheTransposedOne) {
  for_each_kind([](auto number) {
    using Number = decltype(number);
    std::vector<Shape> shapes = shapes_for_bits();
    if (!emulated()) {
      for (int size = 1; size < 26; size++) {
        shapes.push_back({size, 26 - size, 1 + size * 7 % 23});
      }
    }
    for (const Shape& shape : shapes) {
      Problem<Number> problem(shape);
      for (unsigned form = 0; form < 9; form++) {
        if (emulated() && form % 4 != 0) continue;
        Call call = general_call<Number>(form);
        call.style = Style::row_major;
        call.pad_a = 1;
        call.pad_b = 3;
        call.pad_c = 2;
        Operands<Number> by_rows(problem, call), by_columns(problem, call);
        by_rows.run(Exported<Number>(), shape, call);
        Call exchanged = call;
        exchanged.style =
            is_real<Number> && form % 2 == 0 ? Style::by_address : Style::column_major;
        std::swap(exchanged.transa, exchanged.transb);
        const Number alpha = number_of<Number>(call.alpha), beta = number_of<Number>(call.beta);
        Exported<Number>()(exchanged, {shape.n, shape.m, shape.k}, &alpha, by_columns.b.data(),
                           by_columns.b.ld(), by_columns.a.data(), by_columns.a.ld(), &beta,
                           by_columns.c.data(), by_columns.c.ld());
        ASSERT_TRUE(by_rows.c.same_bytes(by_columns.c))
            << kind_name<Number>() << ", " << shape << ", " << call;
      }
    }
  });
}

// For real numbers the conjugate transpose is the transpose; a call by address with letters of
// either case and one by value are the same; and so is one call after another.
TEST(Bits, DoNotDependOnHowTheCallIsWritten) {
  for (const Shape& shape : shapes_for_bits()) {
    Problem<double> problem(shape);
    for (unsigned form = 0; form < 9; form++) {
      const Call call = general_call<double>(form);
      Call plain = call;
      plain.style = Style::column_major;
      if (plain.transa == 2) plain.transa = 1;
      if (plain.transb == 2) plain.transb = 1;
      Operands<double> expected(problem, plain);
      expected.run(Exported<double>(), shape, plain);
      for (const Style style : {Style::column_major, Style::by_address}) {
        for (const bool capital : {false, true}) {
          Call other = call;
          other.style = style;
          other.capital = capital;
          Operands<double> found(problem, other);
          found.run(Exported<double>(), shape, other);
          ASSERT_TRUE(found.c.same_bytes(expected.c)) << shape << ", " << other;
        }
      }
    }
  }
}

}  // namespace
}  // namespace level3_test
