// The sign of a sum of zeros: with beta 0 it is that of +0 with the sum added, whatever the level,
// the size and the way that the product goes.
#include <cmath>

#include "tests/level3/problem.h"

namespace level3_test {
namespace {

// The ways of a product, and both sides of the sizes at which one ends and the next begins.
std::vector<Shape> shapes_of_zeros() {
  std::vector<Shape> result = ways();
  result.insert(result.end(), {{2, 2, 2},
                               {2, 3, 4},
                               {3, 8, 8},
                               {4, 4, 4},
                               {4, 7, 8},
                               {4, 8, 7},
                               {4, 8, 8},
                               {7, 5, 7},
                               {8, 8, 8},
                               {9, 9, 9},
                               {9, 9, 10},
                               {12, 2, 12},
                               {13, 1, 13},
                               {65, 3, 1},
                               {1, 5, 1},
                               {5, 1, 1},
                               {1, 130, 3},
                               {130, 1, 3}});
  if (emulated()) return result;
  result.insert(
      result.end(),
      {{1, 3, 460},   {3, 1, 2060},   {460, 1, 3},   {1, 2060, 3},   {22, 21, 6},   {22, 22, 7},
       {40, 40, 6},   {41, 41, 6},    {55, 56, 7},   {56, 56, 7},    {71, 72, 7},   {72, 72, 7},
       {72, 72, 129}, {101, 11, 5},   {100, 11, 5},  {249, 81, 102}, {60, 79, 101}, {191, 192, 7},
       {192, 192, 7}, {75, 76, 104},  {75, 76, 105}, {75, 76, 107},  {75, 76, 127}, {75, 76, 129},
       {75, 76, 257}, {193, 194, 385}});
  return result;
}

// Elements of which each product is zero: one operand's are zeros, the other's ones, of the signs
// that the bits say.
struct Pattern {
  unsigned bits;

  Value a() const { return value(bits & 1 ? 0 : 1, bits >> 1); }
  Value b() const { return value(bits & 1 ? 1 : 0, bits >> 3); }
  static constexpr unsigned count = 32;

 private:
  static Value value(double size, unsigned signs) {
    return {signs & 1 ? -size : size, signs & 2 ? -size : size};
  }
};

template <class Number>
void fill(Stored<Number>& matrix, int rows, int columns, Value value) {
  for (int j = 0; j < columns; j++) {
    for (int i = 0; i < rows; i++) matrix.set(i, j, value);
  }
}

bool is_positive_zero(double x) { return x == 0 && !std::signbit(x); }

template <class Number>
void check_zeros(const Shape& shape, const Call& call, Pattern pattern) {
  const auto [m, n, k] = shape;
  Stored<Number> a(m, k, call.storage_a()), b(k, n, call.storage_b()), c(m, n, call.storage_c());
  fill(a, m, k, pattern.a());
  fill(b, k, n, pattern.b());
  fill(c, m, n, {-0.0, -0.0});
  const Number alpha = number_of<Number>(call.alpha), beta = number_of<Number>(call.beta);
  Exported<Number>()(call, shape, &alpha, a.data(), a.ld(), b.data(), b.ld(), &beta, c.data(),
                     c.ld());
  for (int j = 0; j < n; j++) {
    for (int i = 0; i < m; i++) {
      const Value found = c.get(i, j);
      ASSERT_TRUE(is_positive_zero(found.re) && is_positive_zero(found.im))
          << kind_name<Number>() << ", " << shape << ", " << call << ", signs " << pattern.bits
          << ": element " << i << ", " << j << " is " << found.re << " " << found.im;
    }
  }
}

TEST(ZeroSigns, SumsStoredWithBetaZeroArePositive) {
  for_each_kind([](auto number) {
    using Number = decltype(number);
    unsigned turn = 0;
    for (const Shape& shape : shapes_of_zeros()) {
      const bool is_small = 1LL * shape.m * shape.n * shape.k < 3000;
      const auto alphas = factors<Number>();
      // Every alpha for small shapes, one after the other for large ones.
      const std::size_t count = is_small && !emulated() && !instrumented ? 2 * alphas.size() : 1;
      for (unsigned form = 0; form < (is_small ? 18 : 9); form++) {
        for (std::size_t i = 0; i < count; i++) {
          Call call = rotated<Number>(form, Data::integers);
          call.alpha = alphas[turn % alphas.size()];
          call.beta = {turn % 2 == 0 ? 0.0 : -0.0, turn % 3 == 0 ? 0.0 : -0.0};
          ASSERT_NO_FATAL_FAILURE(
              check_zeros<Number>(shape, call, Pattern{turn++ * 7 % Pattern::count}));
        }
      }
    }
  });
}

}  // namespace
}  // namespace level3_test
