#include "tests/lapack/problems.h"

namespace lapack_test {

std::ostream& operator<<(std::ostream& out, Kind kind) {
  static const char* const names[] = {"random",    "graded",     "nearly singular", "Hilbert",
                                      "Wilkinson", "band",       "integers",        "huge",
                                      "tiny",      "permutation"};
  return out << names[static_cast<int>(kind)] << " matrix";
}

template <class Number>
Matrix<Number> matrix_of(Kind kind, int m, int n, unsigned seed) {
  Matrix<Number> a(m, n);
  Random random(seed);
  const bool complex = !is_real<Number>;
  for (int j = 0; j < n; j++) {
    for (int i = 0; i < m; i++) {
      Number& x = a(i, j);
      const Number any = random.next<Number>();
      switch (kind) {
        case Kind::graded:
          x = scaled(any, std::pow(1e-15, static_cast<double>(i + j) / (m + n)));
          break;
        case Kind::hilbert:
          x = number<Number>(1.0 / (i + j + 1), complex ? 1.0 / (i + 2 * j + 2) : 0);
          break;
        case Kind::wilkinson:
          x = number<Number>(i == j || j == n - 1 ? 1 : i > j ? -1 : 0);
          break;
        case Kind::band:
          if (std::abs(i - j) <= 3) x = any;
          break;
        case Kind::integers:
          x = small_integer<Number>(random, 5);
          break;
        case Kind::huge:
          x = scaled(any, complex ? 1e100 : 1e150);
          break;
        case Kind::tiny:
          x = scaled(any, complex ? 1e-100 : 1e-150);
          break;
        case Kind::random:
        case Kind::nearly_singular:
          x = any;
          break;
        case Kind::permutation:
          break;
      }
    }
  }
  if (kind == Kind::nearly_singular && n > 1) {
    for (int i = 0; i < m; i++) {
      Number sum = number<Number>(0);
      for (int j = 0; j + 1 < n; j++) add_product(number<Number>(1), a(i, j), sum);
      add_product(number<Number>(1e-12), a(i, n - 1), sum);
      a(i, n - 1) = sum;
    }
  }
  if (kind == Kind::permutation) {
    for (int i = 0; i < std::min(m, n); i++) a(i, i) = unit_number<Number>(random, 1);
    for (int i = m - 1; i > 0; i--) a.exchange_rows(i, random.below(i + 1));
  }
  return a;
}
template Matrix<double> matrix_of(Kind, int, int, unsigned);
template Matrix<complex_double> matrix_of(Kind, int, int, unsigned);

}  // namespace lapack_test
