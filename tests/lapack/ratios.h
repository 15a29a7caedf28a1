// Residuals of factorisations and solutions, as multiples of what rounding explains (E. Anderson et
// al., "LAPACK Users' Guide", SIAM 1999, chapter 4; N. J. Higham, "Accuracy and Stability of
// Numerical Algorithms", theorems 9.3 and 9.4). Below `threshold` a result is good.
#pragma once

#include "tests/lapack/matrix.h"

namespace lapack_test {

inline constexpr long double threshold = 30;

// A NaN is larger than anything.
inline void keep_larger(long double value, long double& worst) {
  if (!std::isnan(worst) && !(value <= worst)) worst = value;
}

// The largest sum of a column.
template <class Number>
long double norm(const Matrix<Number>& a) {
  long double result = 0;
  for (int j = 0; j < a.columns(); j++) {
    long double sum = 0;
    for (int i = 0; i < a.rows(); i++) sum += size(wide(a(i, j)));
    keep_larger(sum, result);
  }
  return result;
}

// The norm of the triangle U of a factorisation.
template <class Number>
long double norm_of_upper(const Matrix<Number>& factors) {
  Matrix<Number> upper = factors;
  for (int j = 0; j < upper.columns(); j++) {
    for (int i = j + 1; i < upper.rows(); i++) upper(i, j) = number<Number>(0);
  }
  return norm(upper);
}

// ||A - P*L*U|| / (n * eps * ||A||). With `allow_growth` ||U|| takes the place of ||A|| when it is
// larger.
template <class Number>
long double factor_ratio(const Matrix<Number>& a, const Matrix<Number>& factors,
                         const std::vector<int>& ipiv, bool allow_growth = false) {
  const int m = a.rows(), n = a.columns(), steps = std::min(m, n);
  Matrix<Number> rest = a;
  for (int i = 0; i < steps; i++) rest.exchange_rows(i, ipiv[static_cast<std::size_t>(i)] - 1);
  long double worst = 0;
  std::vector<Wide<Number>> column(static_cast<std::size_t>(m));
  for (int j = 0; j < n; j++) {
    for (int i = 0; i < m; i++) column[static_cast<std::size_t>(i)] = wide(rest(i, j));
    for (int k = 0; k <= std::min(j, steps - 1); k++) {
      const Wide<Number> u = wide(factors(k, j));
      const Number* l = factors.column(k);
      Wide<Number>* to = column.data();
      to[k] = to[k] - u;
      for (int i = k + 1; i < m; i++) to[i] = to[i] - wide(l[i]) * u;
    }
    long double sum = 0;
    for (const auto& element : column) sum += size(element);
    keep_larger(sum, worst);
  }
  if (worst == 0) return 0;
  long double scale = norm(a);
  if (allow_growth) scale = std::max(scale, norm_of_upper(factors));
  return worst / scale / (std::max(m, n) * eps);
}

// max ||op(A)*x - b|| / (n * eps * ||op(A)|| * ||x||) over the right-hand sides. `grown` takes the
// place of the norm when it is larger.
template <class Number>
long double solve_ratio(const Matrix<Number>& a, const Matrix<Number>& x, const Matrix<Number>& b,
                        long double grown = 0) {
  const int n = a.rows();
  long double worst = 0;
  const long double norm_a = std::max(norm(a), grown);
  std::vector<Wide<Number>> column(static_cast<std::size_t>(n));
  for (int j = 0; j < x.columns(); j++) {
    for (int i = 0; i < n; i++) column[static_cast<std::size_t>(i)] = wide(b(i, j));
    long double norm_x = 0;
    for (int k = 0; k < n; k++) {
      const Wide<Number> by = wide(x(k, j));
      norm_x += size(by);
      const Number* from = a.column(k);
      for (int i = 0; i < n; i++) {
        Wide<Number>& to = column[static_cast<std::size_t>(i)];
        to = to - wide(from[i]) * by;
      }
    }
    long double sum = 0;
    for (const auto& element : column) sum += size(element);
    if (sum == 0) continue;
    const long double ratio = sum / norm_a / norm_x / (n * eps);
    keep_larger(ratio, worst);
  }
  return worst;
}

}  // namespace lapack_test
