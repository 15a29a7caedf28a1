// Products with a symmetric matrix and products of which one triangle is wanted: each element's
// error is at most a few (k + 3) * eps times the sum of magnitudes.
#include <cmath>
#include <functional>
#include <limits>
#include <vector>

#include "blas/level3/routines.h"
#include "tests/structured/variants.h"

namespace structured_test {
namespace {

constexpr long double eps = 0x1p-53L;
constexpr double nan_value = std::numeric_limits<double>::quiet_NaN();

struct Matrix {
  int ld;
  std::vector<double> x;

  Matrix(int rows, int cols, int gap)
      : ld(rows + gap), x(static_cast<std::size_t>(ld) * cols, nan_value) {}
  double& at(int i, int j) { return x[i + j * ld]; }
  double at(int i, int j) const { return x[i + j * ld]; }
};

bool in_triangle(int uplo, int i, int j) { return i == j || (i > j) == (uplo == QSL_LOWER); }

Matrix random_matrix(int rows, int cols, int gap, unsigned seed) {
  Matrix m(rows, cols, gap);
  Ordinary next(seed);
  for (int j = 0; j < cols; j++) {
    for (int i = 0; i < rows; i++) m.at(i, j) = next();
  }
  return m;
}

// One triangle; the other one is NaN.
Matrix random_triangle(int uplo, int n, unsigned seed) {
  Matrix m = random_matrix(n, n, 2, seed);
  for (int j = 0; j < n; j++) {
    for (int i = 0; i < n; i++) {
      if (!in_triangle(uplo, i, j)) m.at(i, j) = nan_value;
    }
  }
  return m;
}

using Term = std::function<long double(int i, int j, int k)>;

// C = alpha * sum of terms + beta * before, where `wanted(i, j)`; elsewhere C is as it was.
void check(const Matrix& c, const Matrix& before, int m, int n, int k, double alpha, double beta,
           const Term& term, const std::function<bool(int, int)>& wanted) {
  for (int j = 0; j < n; j++) {
    for (int i = 0; i < c.ld; i++) {
      const int at = i + j * c.ld;
      if (i >= m || !wanted(i, j)) {
        ASSERT_EQ(0, std::memcmp(&c.x[at], &before.x[at], sizeof(double)))
            << "written at " << i << ", " << j;
        continue;
      }
      long double sum = 0;
      long double magnitude = 0;
      for (int l = 0; l < k; l++) {
        const long double product = alpha * term(i, j, l);
        sum += product;
        magnitude += std::fabs(product);
      }
      if (beta != 0) {
        sum += static_cast<long double>(beta) * before.at(i, j);
        magnitude += std::fabs(static_cast<long double>(beta) * before.at(i, j));
      }
      ASSERT_LE(std::fabs(c.at(i, j) - sum), 2 * (k + 3) * eps * magnitude) << i << ", " << j;
    }
  }
}

constexpr double betas[] = {0.0, 1.0, -0.375};

// NaN in C survives unless beta is zero, so it is there for that case alone.
Matrix result_matrix(int m, int n, double beta, unsigned seed) {
  return beta == 0 ? Matrix(m, n, 3) : random_matrix(m, n, 3, seed);
}

TEST_P(StructuredKernels, MultipliesBySymmetricMatrices) {
  unsigned seed = 1;
  for (const int order : orders()) {
    for (const int other : others(order)) {
      for (int side : {QSL_LEFT, QSL_RIGHT}) {
        for (int uplo : {QSL_UPPER, QSL_LOWER}) {
          const double beta = betas[seed % 3];
          const double alpha = 1.25;
          const int m = side == QSL_LEFT ? order : other;
          const int n = side == QSL_LEFT ? other : order;
          const Matrix a = random_triangle(uplo, order, seed);
          const Matrix b = random_matrix(m, n, 1, seed + 1);
          Matrix c = result_matrix(m, n, beta, seed + 2);
          const Matrix before = c;
          seed++;
          GetParam().dsymm(side, uplo, m, n, &alpha, a.x.data(), a.ld, b.x.data(), b.ld, &beta,
                           c.x.data(), c.ld);
          const auto whole = [&](int i, int j) -> long double {
            return in_triangle(uplo, i, j) ? a.at(i, j) : a.at(j, i);
          };
          check(
              c, before, m, n, order, alpha, beta,
              [&](int i, int j, int k) {
                return side == QSL_LEFT ? whole(i, k) * b.at(k, j) : b.at(i, k) * whole(k, j);
              },
              [](int, int) { return true; });
          if (HasFatalFailure())
            FAIL() << "side " << side << " uplo " << uplo << " m " << m << " n " << n;
        }
      }
    }
  }
}

// op(A) of n by k as it is stored, and its elements.
struct Operand {
  int trans;
  Matrix stored;

  Operand(int t, int n, int k, unsigned seed)
      : trans(t), stored(t == 0 ? random_matrix(n, k, 1, seed) : random_matrix(k, n, 1, seed)) {}
  long double at(int i, int k) const { return trans == 0 ? stored.at(i, k) : stored.at(k, i); }
};

std::vector<int> depths() {
  return emulated() ? std::vector<int>{9} : std::vector<int>{0, 1, 5, 64, 130};
}

TEST_P(StructuredKernels, UpdatesOneTriangle) {
  unsigned seed = 1;
  for (const int n : orders()) {
    for (const int k : depths()) {
      for (int uplo : {QSL_UPPER, QSL_LOWER}) {
        for (int option : {0, 1, 2, 3}) {
          const double beta = betas[seed % 3];
          const double alpha = -0.75;
          const Operand a(option % 2, n, k, seed);
          // op(B) is k by n: its transpose is stored as A's would be.
          const Operand b(1 - option / 2, n, k, seed + 1);
          Matrix c = result_matrix(n, n, beta, seed + 2);
          const Matrix before = c;
          seed++;
          const auto wanted = [&](int i, int j) { return in_triangle(uplo, i, j); };
          const std::string what = "n " + std::to_string(n) + " k " + std::to_string(k);
          GetParam().dgemmt(uplo, a.trans, 1 - b.trans, n, k, &alpha, a.stored.x.data(),
                            a.stored.ld, b.stored.x.data(), b.stored.ld, &beta, c.x.data(), c.ld);
          check(
              c, before, n, n, k, alpha, beta,
              [&](int i, int j, int l) { return a.at(i, l) * b.at(j, l); }, wanted);
          if (HasFatalFailure()) FAIL() << "dgemmt " << what;
          c = before;
          GetParam().dsyrk(uplo, a.trans, n, k, &alpha, a.stored.x.data(), a.stored.ld, &beta,
                           c.x.data(), c.ld);
          check(
              c, before, n, n, k, alpha, beta,
              [&](int i, int j, int l) { return a.at(i, l) * a.at(j, l); }, wanted);
          if (HasFatalFailure()) FAIL() << "dsyrk " << what;
          if (a.trans != b.trans) continue;
          c = before;
          GetParam().dsyr2k(uplo, a.trans, n, k, &alpha, a.stored.x.data(), a.stored.ld,
                            b.stored.x.data(), b.stored.ld, &beta, c.x.data(), c.ld);
          check(
              c, before, n, n, 2 * k, alpha, beta,
              [&](int i, int j, int l) {
                return l < k ? a.at(i, l) * b.at(j, l) : b.at(i, l - k) * a.at(j, l - k);
              },
              wanted);
          if (HasFatalFailure()) FAIL() << "dsyr2k " << what;
        }
      }
    }
  }
}

// With beta 0, the sum of zeros of any sign is the zero that +0 with them added is.
TEST_P(StructuredKernels, SumsOfZerosArePositive) {
  const double beta = 0;
  for (const int n : orders()) {
    const std::vector<double> ones(static_cast<std::size_t>(n) * n, 1.0);
    for (const double alpha : {1.0, -1.0, -0.75, 0.0}) {
      for (const double zero : {0.0, -0.0}) {
        const std::vector<double> zeros(ones.size(), zero);
        for (int uplo : {QSL_UPPER, QSL_LOWER}) {
          const auto expect_positive = [&](const std::vector<double>& c) {
            for (int j = 0; j < n; j++) {
              for (int i = 0; i < n; i++) {
                const double found = c[static_cast<std::size_t>(j) * n + i];
                if (!in_triangle(uplo, i, j) && std::isnan(found)) continue;
                ASSERT_TRUE(found == 0 && !std::signbit(found))
                    << "order " << n << ", alpha " << alpha << ", " << i << ", " << j;
              }
            }
          };
          std::vector<double> c(ones.size(), -0.0);
          GetParam().dsymm(QSL_LEFT, uplo, n, n, &alpha, zeros.data(), n, ones.data(), n, &beta,
                           c.data(), n);
          ASSERT_NO_FATAL_FAILURE(expect_positive(c));
          c.assign(ones.size(), nan_value);
          GetParam().dgemmt(uplo, 0, 1, n, n, &alpha, zeros.data(), n, ones.data(), n, &beta,
                            c.data(), n);
          ASSERT_NO_FATAL_FAILURE(expect_positive(c));
          c.assign(ones.size(), nan_value);
          GetParam().dsyr2k(uplo, 1, n, n, &alpha, zeros.data(), n, ones.data(), n, &beta, c.data(),
                            n);
          ASSERT_NO_FATAL_FAILURE(expect_positive(c));
        }
      }
    }
  }
}

TEST_P(StructuredKernels, ZeroAlphaReadsNoOperand) {
  const double zero = 0;
  const double one = 1;
  std::vector<double> c(16, nan_value);
  GetParam().dsymm(QSL_LEFT, QSL_UPPER, 4, 4, &zero, nullptr, 4, nullptr, 4, &zero, c.data(), 4);
  for (const double x : c) EXPECT_EQ(x, 0);
  std::vector<double> t(16, nan_value);
  GetParam().dsyrk(QSL_LOWER, 0, 4, 3, &zero, nullptr, 4, &zero, t.data(), 4);
  for (int j = 0; j < 4; j++) {
    for (int i = 0; i < 4; i++) EXPECT_EQ(i < j, std::isnan(t[i + 4 * j]));
  }
  t.assign(16, nan_value);
  GetParam().dsyrk(QSL_LOWER, 0, 4, 3, &zero, nullptr, 4, &one, t.data(), 4);
  for (const double x : t) EXPECT_TRUE(std::isnan(x));
}

}  // namespace
}  // namespace structured_test
