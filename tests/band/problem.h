// Products with band matrices for the tests: the operands, and the product in long double.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <ostream>

#include "qsl/qsl.h"
#include "tests/level2/operands.h"

namespace band_test {

using level1_test::emulated;
using level1_test::instrumented;
using level2_test::BoundedSum;
using level2_test::conjugate;
using level2_test::is_zero;
using level2_test::Layout;
using level2_test::narrow;
using level2_test::Operand;
using level2_test::Wide;
using level2_test::widen;
using Number = complex_double;

struct Call {
  int trans, m, n, kl, ku;
  int pad = 0;  // lda - (kl + ku + 1)
  int incx = 1, incy = 1;
  bool by_rows = false;
  unsigned phase_a = 0, phase_x = 0, phase_y = 0;

  int lda() const { return kl + ku + 1 + pad; }
  int x_elements() const { return trans == 0 ? n : m; }
  int y_elements() const { return trans == 0 ? m : n; }
  bool has(int i, int j) const { return i - j <= kl && j - i <= ku; }
  // The columns in which row i has elements.
  int first_column(int i) const { return std::max(0, i - kl); }
  int end_column(int i) const { return std::min(n, i + ku + 1); }
  int first_row(int j) const { return std::max(0, j - ku); }
  int end_row(int j) const { return std::min(m, j + kl + 1); }
  // Of element (i, j) in the array.
  std::size_t index(int i, int j) const {
    return by_rows ? static_cast<std::size_t>(i) * lda() + (kl + j - i)
                   : static_cast<std::size_t>(j) * lda() + (ku + i - j);
  }
  std::size_t array_elements() const {
    return static_cast<std::size_t>(by_rows ? m : n) * static_cast<std::size_t>(lda());
  }
  int selector() const { return CblasNoTrans + trans; }
  int layout() const { return by_rows ? CblasRowMajor : CblasColMajor; }
};

inline std::ostream& operator<<(std::ostream& out, const Call& call) {
  return out << "trans " << call.trans << ", " << call.m << " by " << call.n << ", bands "
             << call.kl << " " << call.ku << ", lda + " << call.pad << ", incx " << call.incx
             << ", incy " << call.incy << (call.by_rows ? ", by rows" : "") << ", phases "
             << call.phase_a << " " << call.phase_x << " " << call.phase_y;
}

// The matrix, with NaN in every position of its array that holds no element.
class Matrix {
 public:
  explicit Matrix(const Call& call) : call_(call), elements_(call.array_elements(), call.phase_a) {
    level1_test::Values values(1);
    for (int i = 0; i < call.m; i++) {
      for (int j = call.first_column(i); j < call.end_column(i); j++) {
        const long double re = values.next();
        set(i, j, narrow<Number>({re, values.next()}));
      }
    }
  }
  Number* data() { return elements_.data(); }
  Wide get(int i, int j) { return widen(elements_.get(call_.index(i, j))); }
  void set(int i, int j, Number value) { elements_.set(call_.index(i, j), value); }
  bool same_bits(Matrix& other) { return elements_.same_bits(other.elements_); }
  bool intact() const { return elements_.intact(); }

 private:
  Call call_;
  level2_test::Elements<Number> elements_;
};

struct Operands {
  Matrix a;
  Operand<Number> x, y;

  explicit Operands(const Call& call)
      : a(call),
        x(Layout::vector(call.x_elements(), call.incx), call.phase_x),
        y(Layout::vector(call.y_elements(), call.incy), call.phase_y) {
    x.fill(2);
    y.fill(3);
  }
  template <class Product>
  void run(const Product& product, const Call& call, Number alpha, Number beta) {
    product(call, &alpha, a.data(), x.data(), &beta, y.data());
  }
};

inline Number general_factor() { return {0.75, -1.25}; }
inline Number other_factor() { return {-0.5, 0.625}; }

// The product through the export.
struct Exported {
  void operator()(const Call& call, const Number* alpha, const Number* a, const Number* x,
                  const Number* beta, Number* y) const {
    cblas_zgbmv(call.layout(), call.selector(), call.m, call.n, call.kl, call.ku, alpha, a,
                call.lda(), x, call.incx, beta, y, call.incy);
  }
};

// One product, every element against its sum in long double.
template <class Product>
void check(const Product& product, const Call& call, Number alpha, Number beta) {
  Operands before(call), after(call);
  for (Operands* operands : {&before, &after}) {
    if (is_zero(widen(alpha))) operands->x.fill_with_specials();
    if (is_zero(widen(beta))) operands->y.fill_with_specials();
  }
  after.run(product, call, alpha, beta);
  ASSERT_TRUE(after.a.same_bits(before.a) && after.a.intact()) << call;
  ASSERT_TRUE(after.x.same_bits(before.x) && after.x.intact()) << call;
  ASSERT_TRUE(after.y.intact()) << call;
  if (call.m == 0 || call.n == 0) {
    ASSERT_TRUE(after.y.same_bits(before.y)) << call;
    return;
  }
  for (int i = 0; i < call.y_elements(); i++) {
    BoundedSum sum;
    if (!is_zero(widen(beta))) sum.add(widen(beta), before.y.wide(i));
    const int first = call.trans == 0 ? call.first_column(i) : call.first_row(i);
    const int end = call.trans == 0 ? call.end_column(i) : call.end_row(i);
    for (int k = first; k < end && !is_zero(widen(alpha)); k++) {
      const int row = call.trans == 0 ? i : k, column = call.trans == 0 ? k : i;
      const Wide a = before.a.get(row, column);
      sum.add(call.trans == 2 ? conjugate(a) : a, before.x.wide(k), widen(alpha));
    }
    ASSERT_TRUE(sum.holds(after.y.get(i)))
        << call << ", element " << i << ": " << static_cast<double>(widen(after.y.get(i)).re)
        << " for " << static_cast<double>(sum.sum.re) << ", alpha " << alpha.real << ", beta "
        << beta.real;
  }
}

// With general factors and every option.
template <class Product>
void check_options(const Product& product, Call call) {
  for (call.trans = 0; call.trans < 3; call.trans++) {
    ASSERT_NO_FATAL_FAILURE(check(product, call, general_factor(), other_factor()));
  }
}

// Shapes at which the ways of the product part: every small one, and the neighbourhood of the
// blocks of columns, of a vector's buffer and of the rows that stay in the cache.
template <class Product>
void check_shapes(const Product& product, bool by_rows) {
  Call call = {};
  call.by_rows = by_rows;
  const int largest = emulated() || instrumented ? 5 : 9;
  for (call.m = 0; call.m <= largest; call.m++) {
    for (call.n = 0; call.n <= largest; call.n++) {
      for (const int kl : {0, 1, 2, 3, 5, 11}) {
        for (const int ku : {0, 1, 2, 4, 12}) {
          call.kl = kl;
          call.ku = ku;
          call.pad = (kl + ku) % 3;
          ASSERT_NO_FATAL_FAILURE(check_options(product, call));
        }
      }
    }
  }
  if (emulated()) return;
  for (int width = 0; width < 40; width += instrumented ? 7 : width < 12 ? 1 : 3) {
    for (const auto& [m, n] : {std::pair{60, 60}, {35, 61}, {61, 34}}) {
      ASSERT_NO_FATAL_FAILURE(check_options(product, {0, m, n, width, 13, 0, 1, 1, by_rows}));
      ASSERT_NO_FATAL_FAILURE(check_options(product, {0, m, n, 2, width, 1, 1, 1, by_rows}));
    }
  }
  for (const int block : {128, 224, 256}) {
    for (int size = block - 1; size <= block + 2; size += instrumented ? 2 : 1) {
      for (const int inc : {1, 2, -3}) {
        ASSERT_NO_FATAL_FAILURE(
            check_options(product, {0, size, size, 3, 4, 0, inc, inc, by_rows}));
        ASSERT_NO_FATAL_FAILURE(check_options(product, {0, size, 50, 90, 9, 0, 1, inc, by_rows}));
        ASSERT_NO_FATAL_FAILURE(check_options(product, {0, 50, size, 9, 90, 0, inc, 1, by_rows}));
      }
    }
  }
  for (const int inc : {1, 2}) {
    for (const auto& [kl, ku] : {std::pair{1100, 3}, {5, 1200}, {600, 601}}) {
      for (const auto& [m, n] : {std::pair{1300, 40}, {40, 1300}}) {
        // (The array of one of them is large, and most of it nobody uses.)
        if (instrumented && by_rows == (m > n)) continue;
        ASSERT_NO_FATAL_FAILURE(check_options(product, {0, m, n, kl, ku, 0, inc, inc, by_rows}));
      }
    }
  }
}

}  // namespace band_test
