// A matrix whose factorisation is known to the last bit.
//
// L has multipliers of 0 and a half at most in size, U has small integers and powers of two on its
// diagonal. Every intermediate result of an elimination is a short binary fraction then, so each
// order of summation gives the same exact result, and each pivot is at least twice as large as
// everything else in its column.
#pragma once

#include "tests/lapack/matrix.h"

namespace lapack_test {

template <class Number>
struct KnownFactors {
  Matrix<Number> a, factors;
  std::vector<int> ipiv;  // from 1
  int info = 0;
  // op(A) * X = B
  Matrix<Number> times(const Matrix<Number>& x, int trans = 0) const;
};

// 1, -1 or, of a complex number, i, -i.
template <class Number>
Number unit_number(Random& random, double size) {
  const int turn = random.below(is_real<Number> ? 2 : 4);
  const double signed_size = turn % 2 == 0 ? size : -size;
  return turn < 2 ? number<Number>(signed_size, 0) : number<Number>(0, signed_size);
}
template <class Number>
Number small_integer(Random& random, int most) {
  const int re = random.below(2 * most + 1) - most;
  const int im = is_real<Number> ? 0 : random.below(2 * most + 1) - most;
  return number<Number>(re, im);
}

inline void add_product(double a, double b, double& sum) { sum += a * b; }
inline void add_product(complex_double a, complex_double b, complex_double& sum) {
  sum.real += a.real * b.real - a.imag * b.imag;
  sum.imag += a.real * b.imag + a.imag * b.real;
}

template <class Number>
Matrix<Number> KnownFactors<Number>::times(const Matrix<Number>& x, int trans) const {
  Matrix<Number> result(trans == 0 ? a.rows() : a.columns(), x.columns());
  for (int j = 0; j < x.columns(); j++) {
    for (int k = 0; k < a.columns(); k++) {
      for (int i = 0; i < a.rows(); i++) {
        Number element = a(i, k);
        if constexpr (!is_real<Number>) {
          if (trans == 2) element.imag = -element.imag;
        }
        if (trans == 0) {
          add_product(element, x(k, j), result(i, j));
        } else {
          add_product(element, x(i, j), result(k, j));
        }
      }
    }
  }
  return result;
}

// `zero_columns`, from 0, find nothing but zeros below the rows that are done.
template <class Number>
KnownFactors<Number> known_factors(int m, int n, unsigned seed,
                                   const std::vector<int>& zero_columns = {}) {
  const int steps = std::min(m, n);
  KnownFactors<Number> result = {Matrix<Number>(m, n), Matrix<Number>(m, n), {}, 0};
  Random random(seed);
  auto& [a, factors, ipiv, info] = result;
  for (int j = 0; j < n; j++) {
    const bool zero = std::count(zero_columns.begin(), zero_columns.end(), j) != 0;
    for (int i = 0; i < m; i++) {
      Number& element = factors(i, j);
      if (i < j) {
        element = small_integer<Number>(random, 2);
      } else if (zero) {
        element = number<Number>(0);
      } else if (i == j) {
        element = unit_number<Number>(random, 1 << random.below(3));
      } else if (random.below(4) != 0) {
        element = unit_number<Number>(random, 0.5);
      }
    }
    if (j >= steps) continue;
    ipiv.push_back(1 + (zero ? j : j + random.below(m - j)));
    if (zero && info == 0) info = j + 1;
  }
  for (int j = 0; j < n; j++) {
    for (int k = 0; k <= std::min(j, steps - 1); k++) {
      const Number u = factors(k, j);
      add_product(number<Number>(1), u, a(k, j));
      const Number* l = factors.column(k);
      Number* to = a.column(j);
      for (int i = k + 1; i < m; i++) add_product(l[i], u, to[i]);
    }
  }
  for (int k = steps - 1; k >= 0; k--) a.exchange_rows(k, ipiv[static_cast<std::size_t>(k)] - 1);
  return result;
}

template <class Number>
bool equal(const Matrix<Number>& a, const Matrix<Number>& b) {
  for (int j = 0; j < a.columns(); j++) {
    for (int i = 0; i < a.rows(); i++) {
      if (!equal(a(i, j), b(i, j))) return false;
    }
  }
  return true;
}

}  // namespace lapack_test
