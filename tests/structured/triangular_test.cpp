// Triangular products and solves. A solution X is judged by its residual: each element of
// op(A) * X - alpha * B is at most a few (k + 3) * eps * |op(A)| * |X|, k being the order of A (N.
// J. Higham, "Accuracy and Stability of Numerical Algorithms", theorem 8.5). A product is judged in
// the same way with the roles of X and B exchanged.
#include <cmath>
#include <limits>
#include <vector>

#include "blas/level3/routines.h"
#include "tests/level1/guard_pages.h"
#include "tests/printed.h"
#include "tests/structured/variants.h"

namespace structured_test {
namespace {

constexpr long double eps = 0x1p-53L;
constexpr double nan_value = std::numeric_limits<double>::quiet_NaN();

// A number in long double, real or complex.
struct Exact {
  long double re, im;
};
Exact exact(double x) { return {x, 0}; }
Exact exact(complex_double x) { return {x.real, x.imag}; }
Exact operator*(Exact x, Exact y) { return {x.re * y.re - x.im * y.im, x.re * y.im + x.im * y.re}; }
Exact operator+(Exact x, Exact y) { return {x.re + y.re, x.im + y.im}; }
Exact operator-(Exact x, Exact y) { return {x.re - y.re, x.im - y.im}; }
long double size(Exact x) { return std::fabs(x.re) + std::fabs(x.im); }

double make(double*, double re, double) { return re; }
complex_double make(complex_double*, double re, double im) { return {re, im}; }

struct Case {
  int side, uplo, trans, diag, m, n;

  int order() const { return side == QSL_LEFT ? m : n; }
};

std::ostream& operator<<(std::ostream& out, const Case& c) {
  return out << "side " << c.side << " uplo " << c.uplo << " trans " << c.trans << " diag "
             << c.diag << " m " << c.m << " n " << c.n;
}

// One call's operands: NaN wherever nothing may be read.
template <class Number>
struct Problem {
  Case c;
  int lda, ldb;
  std::vector<Number> a, b;

  Problem(const Case& given, unsigned seed)
      : c(given), lda(c.order() + 2), ldb(c.m + 3), a(lda * c.order()), b(ldb * c.n) {
    Ordinary next(seed);
    Number* type = nullptr;
    for (Number& x : a) x = make(type, nan_value, nan_value);
    for (Number& x : b) x = make(type, nan_value, nan_value);
    // Small off the diagonal, so that the solution does not grow.
    const double scale = 1 / std::sqrt(static_cast<double>(c.order()));
    for (int j = 0; j < c.order(); j++) {
      for (int i = 0; i < c.order(); i++) {
        Number& x = a[i + j * lda];
        if (i == j && c.diag == QSL_NON_UNIT) {
          x = i % 2 == 0 ? make(type, 1.5 + next(), next()) : make(type, next(), 2.5 + next());
          if (c.m % 2 == 0) x = make(type, 2 + next(), next());
          if constexpr (sizeof(Number) == sizeof(double)) x = 2 + next();
        }
        if (i != j && (i > j) == (c.uplo == QSL_LOWER)) {
          x = make(type, next() * scale, next() * scale);
        }
      }
    }
    for (int j = 0; j < c.n; j++) {
      for (int i = 0; i < c.m; i++) b[i + j * ldb] = make(type, next(), next());
    }
  }

  // Element (i, j) of op(A).
  Exact op_a(int i, int j) const {
    if (c.trans != 0) std::swap(i, j);
    if (i == j && c.diag == QSL_UNIT) return {1, 0};
    if (i != j && (i > j) != (c.uplo == QSL_LOWER)) return {0, 0};
    Exact x = exact(a[i + j * lda]);
    if (c.trans == 2) x.im = -x.im;
    return x;
  }

  // op(A) * X or X * op(A) at (i, j), and the sum of magnitudes.
  Exact product(const std::vector<Number>& x, int i, int j, long double* magnitude) const {
    Exact sum = {0, 0};
    *magnitude = 0;
    for (int k = 0; k < c.order(); k++) {
      const Exact term = c.side == QSL_LEFT ? op_a(i, k) * exact(x[k + j * ldb])
                                            : exact(x[i + k * ldb]) * op_a(k, j);
      sum = sum + term;
      *magnitude += size(term);
    }
    return sum;
  }
};

// `work` solves or multiplies; `x` is what it left in B.
template <class Number>
void check(const Problem<Number>& p, bool solves, Exact alpha, const std::vector<Number>& x) {
  const long double unit = 4 * (p.c.order() + 3) * eps;
  for (int j = 0; j < p.c.n; j++) {
    for (int i = 0; i < p.ldb; i++) {
      const int at = i + j * p.ldb;
      if (i >= p.c.m) {
        ASSERT_EQ(0, std::memcmp(&x[at], &p.b[at], sizeof(Number))) << "a gap was written";
        continue;
      }
      long double magnitude;
      const Exact product = p.product(solves ? x : p.b, i, j, &magnitude);
      const Exact wanted = solves ? alpha * exact(p.b[at]) : alpha * product;
      const Exact got = solves ? product : exact(x[at]);
      if (!solves) magnitude *= size(alpha);
      ASSERT_LE(size(got - wanted), unit * (magnitude + size(wanted)))
          << p.c << " at " << i << ", " << j;
    }
  }
}

template <class Number, class Body>
void for_each_case(int m, int n, const Body& body) {
  for (int side : {QSL_LEFT, QSL_RIGHT}) {
    for (int uplo : {QSL_UPPER, QSL_LOWER}) {
      for (int trans : {0, 1, 2}) {
        for (int diag : {QSL_NON_UNIT, QSL_UNIT}) {
          body(Case{side, uplo, trans, diag, m, n});
          if (testing::Test::HasFatalFailure()) return;
        }
      }
    }
  }
}

template <class Number>
void test_all(Triangular<Number>* routine, bool solves, Number alpha) {
  unsigned seed = 1;
  for (const int order : orders()) {
    for (const int other : others(order)) {
      for (const bool order_first : {true, false}) {
        const int m = order_first ? order : other;
        const int n = order_first ? other : order;
        for_each_case<Number>(m, n, [&](const Case& c) {
          const Problem<Number> p(c, seed++);
          std::vector<Number> x = p.b;
          routine(c.side, c.uplo, c.trans, c.diag, m, n, &alpha, p.a.data(), p.lda, x.data(),
                  p.ldb);
          check(p, solves, exact(alpha), x);
        });
        if (testing::Test::HasFatalFailure()) return;
      }
    }
  }
}

TEST_P(StructuredKernels, SolvesRealTriangularSystems) { test_all(GetParam().dtrsm, true, 0.75); }
TEST_P(StructuredKernels, SolvesComplexTriangularSystems) {
  test_all(GetParam().ztrsm, true, complex_double{0.5, -0.75});
}
TEST_P(StructuredKernels, MultipliesByTriangles) { test_all(GetParam().dtrmm, false, -1.25); }

// The matrix is not read, and NaN does not survive.
template <class Number>
void test_zero_alpha(Triangular<Number>* routine) {
  Number* type = nullptr;
  std::vector<Number> b(7 * 5, make(type, nan_value, nan_value));
  const Number zero = make(type, 0, 0);
  routine(QSL_LEFT, QSL_LOWER, 0, QSL_NON_UNIT, 6, 5, &zero, nullptr, 6, b.data(), 7);
  for (int j = 0; j < 5; j++) {
    for (int i = 0; i < 7; i++) {
      const Exact x = exact(b[i + 7 * j]);
      EXPECT_EQ(i == 6, std::isnan(x.re)) << i << ", " << j;
    }
  }
}

TEST_P(StructuredKernels, ZeroAlphaStoresZeros) {
  test_zero_alpha(GetParam().dtrsm);
  test_zero_alpha(GetParam().dtrmm);
  test_zero_alpha(GetParam().ztrsm);
}

TEST_P(StructuredKernels, NothingHappensWithoutRowsOrColumns) {
  const double alpha = 2;
  EXPECT_EQ(
      "", printed_by([&] {
        GetParam().dtrsm(QSL_LEFT, QSL_LOWER, 0, QSL_UNIT, 0, 3, &alpha, nullptr, 1, nullptr, 1);
        GetParam().dtrmm(QSL_RIGHT, QSL_UPPER, 1, QSL_UNIT, 3, 0, &alpha, nullptr, 1, nullptr, 3);
      }));
}

// A complex diagonal of extreme size: the quotient is representable, the square of the modulus is
// not.
TEST_P(StructuredKernels, DividesByExtremeComplexNumbers) {
  for (const double extreme : {0x1p-1000, 0x1p1000}) {
    for (const complex_double d :
         {complex_double{3 * extreme, 4 * extreme}, complex_double{-4 * extreme, 3 * extreme}}) {
      complex_double b[1] = {{extreme, extreme}};
      const complex_double one = {1, 0};
      GetParam().ztrsm(QSL_LEFT, QSL_UPPER, 0, QSL_NON_UNIT, 1, 1, &one, &d, 1, b, 1);
      const Exact back = exact(b[0]) * exact(d);
      EXPECT_NEAR(static_cast<double>(back.re / extreme), 1, 1e-15);
      EXPECT_NEAR(static_cast<double>(back.im / extreme), 1, 1e-15);
    }
  }
}

// Both operands end where the readable memory ends.
TEST_P(StructuredKernels, StaysInsideItsOperands) {
  for (const int m : {1, 2, 3, 5, 33}) {
    for (const int n : {1, 2, 3, 6, 9}) {
      for_each_case<double>(m, n, [&](const Case& c) {
        const int order = c.order();
        const std::size_t a_bytes = sizeof(double) * order * order;
        const std::size_t b_bytes = sizeof(double) * m * n;
        level1_test::GuardPages a_pages(a_bytes + 8);
        level1_test::GuardPages b_pages(b_bytes + 8);
        const double alpha = 0.5;
        for (const std::size_t slack : {0, 4}) {
          auto* a = static_cast<char*>(a_pages.at_end(a_bytes, slack));
          auto* b = static_cast<char*>(b_pages.at_end(b_bytes, slack));
          const std::vector<double> ones(static_cast<std::size_t>(order) * order + m * n, 1.0);
          std::memcpy(a, ones.data(), a_bytes);
          std::memcpy(b, ones.data(), b_bytes);
          GetParam().dtrsm(c.side, c.uplo, c.trans, c.diag, m, n, &alpha,
                           reinterpret_cast<double*>(a), order, reinterpret_cast<double*>(b), m);
          GetParam().dtrmm(c.side, c.uplo, c.trans, c.diag, m, n, &alpha,
                           reinterpret_cast<double*>(a), order, reinterpret_cast<double*>(b), m);
        }
      });
    }
    if (emulated()) break;
  }
}

}  // namespace

INSTANTIATE_TEST_SUITE_P(Levels, StructuredKernels, testing::ValuesIn(all_variants()), name_of);

}  // namespace structured_test
