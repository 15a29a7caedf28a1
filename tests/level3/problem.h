// One product: its operands, the call, and the checks of what the call left behind.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <ostream>

#include "tests/level3/reference.h"

namespace level3_test {

using level1_test::emulated;
using level1_test::instrumented;

enum class Style { column_major, row_major, by_address };

// How a product is asked for.
struct Call {
  Style style = Style::column_major;
  int transa = 0, transb = 0;  // 0 plain, 1 transposed, 2 conjugated and transposed
  Value alpha = {1, 0}, beta = {0, 0};
  int pad_a = 0, pad_b = 0, pad_c = 0;
  unsigned phase_a = 0, phase_b = 0, phase_c = 0;
  bool capital = true;  // option letters

  Storage storage_a() const { return {row_major() != (transa != 0), transa == 2, pad_a, phase_a}; }
  Storage storage_b() const { return {row_major() != (transb != 0), transb == 2, pad_b, phase_b}; }
  Storage storage_c() const { return {row_major(), false, pad_c, phase_c}; }

 private:
  bool row_major() const { return style == Style::row_major; }
};
std::ostream& operator<<(std::ostream& out, const Call& call);

// The index-th of a sequence of calls that meets every combination of transposes, styles and
// factors within 900 calls, with ever different gaps and alignments (multiples of 4).
template <class Number>
Call rotated(unsigned index, Data data);

struct Shape {
  int m, n, k;
};
inline std::ostream& operator<<(std::ostream& out, const Shape& shape) {
  return out << "m " << shape.m << ", n " << shape.n << ", k " << shape.k;
}

// One shape at least for every way that a product may go: the shortcuts, the simple loops, tiles in
// place, packed tiles, blocks.
std::vector<Shape> ways();

template <class Number>
class Problem {
 public:
  explicit Problem(const Shape& shape, Data data = Data::general)
      : shape(shape),
        data(data),
        a(shape.m, shape.k, Elements::Order::by_rows, !is_real<Number>),
        b(shape.k, shape.n, Elements::Order::by_columns, !is_real<Number>),
        c(shape.m, shape.n, Elements::Order::by_columns, !is_real<Number>) {
    constexpr bool single = std::is_same_v<Number, complex_float>;
    const auto seed = static_cast<std::size_t>(shape.m * 7 + shape.n * 11 + shape.k * 13);
    a.fill(values(data, single), seed);
    b.fill(values(data, single), seed + 2731);
    c.fill(values(data, single), seed + 5449);
  }

  const Shape shape;
  const Data data;
  Elements a, b, c;

  const ProductSums<Wide<Number>>& sums() {
    if (!sums_) sums_ = std::make_unique<ProductSums<Wide<Number>>>(a, b);
    return *sums_;
  }
  // Of A * B and of C.
  struct Projections {
    Projection x, product, c;
  };
  const Projections& projections() {
    if (!projections_) {
      const Projection x = weights(shape.n);
      projections_.reset(new Projections{x, project(a, project(b, x)), project(c, x)});
    }
    return *projections_;
  }

 private:
  std::unique_ptr<ProductSums<Wide<Number>>> sums_;
  std::unique_ptr<Projections> projections_;
};

// The arrays of one call. What a factor of zero keeps from being read holds NaN and infinity.
template <class Number>
struct Operands {
  Stored<Number> a, b, c;

  Operands(const Problem<Number>& problem, const Call& call)
      : a(problem.shape.m, problem.shape.k, call.storage_a()),
        b(problem.shape.k, problem.shape.n, call.storage_b()),
        c(problem.shape.m, problem.shape.n, call.storage_c()) {
    if (call.alpha.is_zero()) {
      a.fill_with_specials();
      b.fill_with_specials();
    } else {
      a.fill(problem.a);
      b.fill(problem.b);
    }
    if (call.beta.is_zero()) {
      c.fill_with_specials();
    } else {
      c.fill(problem.c);
    }
  }
  template <class Run>
  void run(const Run& product, const Shape& shape, const Call& call) {
    const Number alpha = number_of<Number>(call.alpha), beta = number_of<Number>(call.beta);
    product(call, shape, &alpha, a.data(), a.ld(), b.data(), b.ld(), &beta, c.data(), c.ld());
  }
};

// The product through the exports.
template <class Number>
struct Exported {
  void operator()(const Call& call, const Shape& shape, const Number* alpha, const Number* a,
                  int lda, const Number* b, int ldb, const Number* beta, Number* c, int ldc) const;
};

// |found - exact| <= (k + 4) * eps * (|alpha| * sum |a| * |b| + |beta| * |c|): every order of
// summation stays within that (N. J. Higham, Accuracy and Stability of Numerical Algorithms, 2nd
// ed., section 3.5).
template <class Number, class Sum>
bool within_bound(const Call& call, int k, const Sum& re, const Sum& im, double size, Value c,
                  Value found) {
  const Value alpha = call.alpha;
  const Value beta = call.beta;
  Sum expected_re = 0, expected_im = 0;
  double sizes = 0;
  if (!alpha.is_zero()) {
    expected_re += alpha.re * re - alpha.im * im;
    expected_im += alpha.re * im + alpha.im * re;
    sizes += alpha.size() * size;
  }
  if (!beta.is_zero()) {
    expected_re += static_cast<Sum>(beta.re) * c.re - static_cast<Sum>(beta.im) * c.im;
    expected_im += static_cast<Sum>(beta.re) * c.im + static_cast<Sum>(beta.im) * c.re;
    sizes += beta.size() * c.size();
  }
  const Sum bound = (k + 4) * epsilon<Number> * sizes;
  const Sum error_re = found.re - expected_re, error_im = found.im - expected_im;
  return error_re <= bound && -error_re <= bound && error_im <= bound && -error_im <= bound;
}

// Every element, against the bound.
template <class Number>
void check_elements(Problem<Number>& problem, const Call& call, const Stored<Number>& c) {
  const auto& sums = problem.sums();
  for (int j = 0; j < problem.shape.n; j++) {
    for (int i = 0; i < problem.shape.m; i++) {
      const bool holds = within_bound<Number>(call, problem.shape.k, sums.re(i, j), sums.im(i, j),
                                              sums.size(i, j), problem.c.at(i, j), c.get(i, j));
      ASSERT_TRUE(holds) << kind_name<Number>() << ", " << problem.shape << ", " << call
                         << ": element " << i << ", " << j << " is " << c.get(i, j).re << " "
                         << c.get(i, j).im << ", the sum " << static_cast<double>(sums.re(i, j))
                         << " " << static_cast<double>(sums.im(i, j));
    }
  }
}

// Some elements against the bound, the corners among them.
template <class Number>
void check_some_elements(Problem<Number>& problem, const Call& call, const Stored<Number>& c) {
  const auto [m, n, k] = problem.shape;
  if (m == 0 || n == 0) return;
  const int samples = emulated() ? 16 : 100;
  for (int s = 0; s < samples; s++) {
    const int i = s % 4 == 0 ? m - 1 - s / 4 % m : s * 7919 % m;
    const int j = s % 4 == 1 ? n - 1 - s / 4 % n : s * 104729 % n;
    const ElementSum<Wide<Number>> sum(problem.a, problem.b, i, j);
    const bool holds =
        within_bound<Number>(call, k, sum.re, sum.im, sum.size, problem.c.at(i, j), c.get(i, j));
    ASSERT_TRUE(holds) << kind_name<Number>() << ", " << problem.shape << ", " << call
                       << ": element " << i << ", " << j << " is " << c.get(i, j).re << " "
                       << c.get(i, j).im << ", the sum " << static_cast<double>(sum.re) << " "
                       << static_cast<double>(sum.im);
  }
}

// Every element of a product of integers, which has no rounding errors: C times a vector is
// compared with A times (B times the vector).
template <class Number>
void check_exact(Problem<Number>& problem, const Call& call, const Stored<Number>& c) {
  const auto& expected = problem.projections();
  const Projection found = project(c.read(), expected.x);
  const auto factor = [](Value value, const Projection& of, std::size_t i) -> Value {
    if (value.is_zero()) return {};
    return {value.re * of.re[i] - value.im * of.im[i], value.re * of.im[i] + value.im * of.re[i]};
  };
  for (std::size_t i = 0; i < static_cast<std::size_t>(problem.shape.m); i++) {
    const Value product = factor(call.alpha, expected.product, i);
    const Value before = factor(call.beta, expected.c, i);
    if (found.re[i] == product.re + before.re && found.im[i] == product.im + before.im) continue;
    // Which element it is.
    const int row = static_cast<int>(i);
    for (int j = 0; j < problem.shape.n; j++) {
      const ElementSum<Wide<Number>> sum(problem.a, problem.b, row, j);
      ASSERT_TRUE(
          within_bound<Number>(call, 0, sum.re, sum.im, 0, problem.c.at(row, j), c.get(row, j)))
          << kind_name<Number>() << ", " << problem.shape << ", " << call << ": element " << i
          << ", " << j << " is " << c.get(row, j).re << " " << c.get(row, j).im << ", the sum "
          << static_cast<double>(sum.re) << " " << static_cast<double>(sum.im);
    }
    FAIL() << kind_name<Number>() << ", " << problem.shape << ", " << call << ": row " << i;
  }
}

enum class Check { every_element, some_elements };

// One call, and all that it may and may not have done. Products of integers are checked exactly.
template <class Number, class Run = Exported<Number>>
void check(Problem<Number>& problem, const Call& call, Check how = Check::every_element,
           const Run& product = {}) {
  Operands<Number> operands(problem, call);
  const Operands<Number> before(problem, call);
  operands.run(product, problem.shape, call);
  ASSERT_TRUE(operands.a.same_bytes(before.a) && operands.a.intact())
      << kind_name<Number>() << ", " << problem.shape << ", " << call;
  ASSERT_TRUE(operands.b.same_bytes(before.b) && operands.b.intact())
      << kind_name<Number>() << ", " << problem.shape << ", " << call;
  ASSERT_TRUE(operands.c.intact()) << kind_name<Number>() << ", " << problem.shape << ", " << call;
  if (problem.data == Data::integers) {
    check_exact(problem, call, operands.c);
  } else if (how == Check::every_element) {
    check_elements(problem, call, operands.c);
  } else {
    check_some_elements(problem, call, operands.c);
  }
}

}  // namespace level3_test
