// Vectors and matrices for the tests, and the arithmetic of their elements in long double.
#pragma once

#include <cfloat>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>
#include <vector>

#include "include/qsl/types.h"
#include "tests/level1/arrays.h"

namespace level2_test {

using level1_test::extent;
using level1_test::GuardedArray;
using level1_test::Values;
using level1_test::walk;

// A number of any kind; the imaginary part of a real one is 0.
struct Wide {
  long double re = 0, im = 0;
};
inline Wide operator+(Wide a, Wide b) { return {a.re + b.re, a.im + b.im}; }
inline Wide operator*(Wide a, Wide b) {
  return {a.re * b.re - a.im * b.im, a.re * b.im + a.im * b.re};
}
inline Wide conjugate(Wide a) { return {a.re, -a.im}; }
inline long double size(Wide a) { return std::fabs(a.re) + std::fabs(a.im); }
inline bool is_zero(Wide a) { return a.re == 0 && a.im == 0; }

template <class Number>
inline constexpr bool is_real = std::is_same_v<Number, double>;
// Half of the distance from 1 to the next number.
template <class Number>
inline constexpr long double roundoff =
    std::is_same_v<Number, complex_float> ? FLT_EPSILON / 2.0L : DBL_EPSILON / 2.0L;

template <class Number>
Number narrow(Wide a) {
  if constexpr (is_real<Number>) {
    return static_cast<double>(a.re);
  } else {
    using Part = decltype(Number::real);
    return {static_cast<Part>(a.re), static_cast<Part>(a.im)};
  }
}
template <class Number>
Wide widen(Number a) {
  if constexpr (is_real<Number>) {
    return {a, 0};
  } else {
    return {a.real, a.imag};
  }
}

// Elements at any address, each at its index; between them, and around, signalling NaNs.
template <class Number>
class Elements {
 public:
  Elements(std::size_t count, unsigned phase)
      : count_(count), array_(count * sizeof(Number) / sizeof(double), phase) {
    for (std::size_t i = 0; i < count; i++) set_bits(i, gap());
  }
  Number* data() { return array_.template as<Number>(); }
  std::size_t count() const { return count_; }

  Number get(std::size_t i) {
    Number value;
    std::memcpy(&value, bytes() + i * sizeof value, sizeof value);
    return value;
  }
  void set(std::size_t i, Number value) {
    std::memcpy(bytes() + i * sizeof value, &value, sizeof value);
  }
  bool same_bits(Elements& other) { return array_.same_contents(other.array_); }
  bool same_bits(std::size_t i, Elements& other, std::size_t j) {
    return std::memcmp(bytes() + i * sizeof(Number), other.bytes() + j * sizeof(Number),
                       sizeof(Number)) == 0;
  }
  bool is_gap(std::size_t i) {
    const auto expected = gap();
    return std::memcmp(bytes() + i * sizeof(Number), expected.data(), sizeof(Number)) == 0;
  }
  // Nothing around was written.
  bool intact() const { return array_.intact(); }

 private:
  static std::vector<std::uint32_t> gap() {
    if (std::is_same_v<Number, complex_float>) return {0x7fa00001, 0xffa00002};
    std::vector<std::uint32_t> double_words = {0xdeadbeef, 0x7ff4dead, 0x00000001, 0xfff40000};
    double_words.resize(sizeof(Number) / 4);
    return double_words;
  }
  void set_bits(std::size_t i, const std::vector<std::uint32_t>& words) {
    std::memcpy(bytes() + i * sizeof(Number), words.data(), sizeof(Number));
  }
  char* bytes() { return reinterpret_cast<char*>(array_.data()); }

  std::size_t count_;
  GuardedArray array_;
};

// A vector with a stride or a matrix with a leading dimension: which index each element has.
struct Layout {
  int rows, columns;
  int inc;  // of a vector, which is one column
  int lda;  // of a matrix

  static Layout vector(int n, int inc) { return {n, 1, inc, 0}; }
  static Layout matrix(int m, int n, int lda) { return {m, n, 1, lda}; }

  std::size_t extent() const {
    if (rows <= 0 || columns <= 0) return 0;
    return static_cast<std::size_t>(columns - 1) * static_cast<std::size_t>(lda) +
           level1_test::extent(rows, inc);
  }
  std::size_t index(int i, int j = 0) const {
    return static_cast<std::size_t>(j) * static_cast<std::size_t>(lda) + walk(rows, inc, i);
  }
};

template <class Number>
class Operand {
 public:
  Operand(Layout layout, unsigned phase) : layout_(layout), elements_(layout.extent(), phase) {}

  Number* data() { return elements_.data(); }
  const Layout& layout() const { return layout_; }
  Number get(int i, int j = 0) { return elements_.get(layout_.index(i, j)); }
  Wide wide(int i, int j = 0) { return widen(get(i, j)); }
  void set(int i, int j, Number value) { elements_.set(layout_.index(i, j), value); }
  bool same_bits(int i, int j, Operand& other) {
    return elements_.same_bits(layout_.index(i, j), other.elements_, other.layout_.index(i, j));
  }
  bool same_bits(Operand& other) { return elements_.same_bits(other.elements_); }
  bool same_elements(Operand& other) {
    for (int j = 0; j < layout_.columns; j++) {
      for (int i = 0; i < layout_.rows; i++) {
        if (!same_bits(i, j, other)) return false;
      }
    }
    return true;
  }

  template <class Make>
  void fill_with(const Make& make) {
    for (int j = 0; j < layout_.columns; j++) {
      for (int i = 0; i < layout_.rows; i++) set(i, j, make());
    }
  }
  void fill(std::uint64_t seed) {
    Values values(seed);
    fill_with([&] {
      const long double re = values.next();
      return narrow<Number>({re, values.next()});
    });
  }
  // NaN and infinities in turn.
  void fill_with_specials() {
    int turn = 0;
    fill_with([&] {
      const long double inf = std::numeric_limits<long double>::infinity();
      const long double nan = std::numeric_limits<long double>::quiet_NaN();
      turn++;
      return narrow<Number>(turn % 3 == 0   ? Wide{nan, 1}
                            : turn % 3 == 1 ? Wide{inf, nan}
                                            : Wide{-inf, inf});
    });
  }

  // Nothing but the elements was written.
  bool intact() {
    std::vector<bool> is_element(elements_.count());
    for (int j = 0; j < layout_.columns; j++) {
      for (int i = 0; i < layout_.rows; i++) is_element[layout_.index(i, j)] = true;
    }
    for (std::size_t i = 0; i < elements_.count(); i++) {
      if (!is_element[i] && !elements_.is_gap(i)) return false;
    }
    return elements_.intact();
  }

 private:
  Layout layout_;
  Elements<Number> elements_;
};

// Numbers of rows or columns around those at which the kernels begin a new block: factors of
// columns, a vector's buffer on the stack, rows that stay in the cache.
template <class Number>
std::vector<int> sizes_around_blocks() {
  std::vector<int> result;
  for (const std::size_t block :
       {std::size_t{128}, 3584 / sizeof(Number), 16384 / sizeof(Number)}) {
    if (block > 500 && level1_test::emulated()) continue;
    for (int off = -1; off <= 1; off++) result.push_back(static_cast<int>(block) + off);
  }
  return result;
}

// The factors that take ways of their own, and a general one.
template <class Number>
std::vector<Number> factors() {
  std::vector<Number> result = {narrow<Number>({0, 0}), narrow<Number>({1, 0}),
                                narrow<Number>({-1, 0}), narrow<Number>({0.75L, -1.25L})};
  if (!is_real<Number>) {
    result.push_back(narrow<Number>({0, 1}));
    result.push_back(narrow<Number>({1, 1}));
    result.push_back(narrow<Number>({-0.0L, -0.0L}));
  }
  return result;
}
template <class Number>
Number general_factor() {
  return narrow<Number>({0.75L, -1.25L});
}

// sum with its rounding errors: |found - exact| <= (terms + something) * roundoff * sum |terms|
// (Higham, Accuracy and Stability of Numerical Algorithms, 2nd ed., section 3.1; a complex product
// is two terms).
struct BoundedSum {
  Wide sum;
  long double sizes = 0;
  int terms = 0;

  void add(Wide a, Wide b, Wide c = {1, 0}) {
    sum = sum + a * b * c;
    sizes += size(a) * size(b) * size(c);
    terms += 2;
  }
  template <class Number>
  bool holds(Number found_number) const {
    const Wide found = widen(found_number);
    const long double bound = (terms + 8) * roundoff<Number> * sizes;
    return std::fabs(found.re - sum.re) <= bound && std::fabs(found.im - sum.im) <= bound;
  }
};

}  // namespace level2_test
