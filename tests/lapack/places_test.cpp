// Operands beside unmapped pages: nothing outside of them is touched.
#include <gtest/gtest.h>

#include "tests/lapack/problems.h"
#include "tests/level1/guard_pages.h"

namespace lapack_test {
namespace {

using level1_test::GuardPages;

std::vector<int> guarded_orders() {
  if (emulated() || instrumented) return {1, 2, 3, 5, 8, 9, 16, 17};
  std::vector<int> result;
  for (int n = 1; n <= 19; n++) result.push_back(n);
  result.insert(result.end(), {24, 25, 33, 48, 49});
  return result;
}

// A matrix as one run of bytes.
template <class Number>
std::vector<char> bytes_of(const Matrix<Number>& matrix, bool by_rows) {
  Matrix<Number> turned(matrix.columns(), matrix.rows());
  for (int j = 0; j < matrix.columns(); j++) {
    for (int i = 0; i < matrix.rows(); i++) turned(j, i) = matrix(i, j);
  }
  const Matrix<Number>& stored = by_rows ? turned : matrix;
  const auto* first = reinterpret_cast<const char*>(stored.data());
  return {first, first + sizeof(Number) * static_cast<std::size_t>(stored.rows()) *
                             static_cast<std::size_t>(stored.columns())};
}

template <class Number>
bool holds(const void* place, const std::vector<char>& expected) {
  const std::size_t count = expected.size() / sizeof(Number);
  for (std::size_t i = 0; i < count; i++) {
    Number a, b;
    std::memcpy(&a, static_cast<const char*>(place) + i * sizeof a, sizeof a);
    std::memcpy(&b, expected.data() + i * sizeof b, sizeof b);
    if (!equal(a, b)) return false;
  }
  return true;
}

template <class Number>
void test_solutions() {
  constexpr std::size_t room = 8 * GuardPages::page + sizeof(Number);
  GuardPages a_pages(5 * room), b_pages(room), pivot_pages(GuardPages::page);
  for (const int n : guarded_orders()) {
    for (const int nrhs : {1, 3, 9}) {
      const auto known = known_factors<Number>(n, n, static_cast<unsigned>(n));
      Random random(5);
      Matrix<Number> x(n, nrhs);
      x.fill_with([&] { return small_integer<Number>(random, 9); });
      const auto right = known.times(x);
      for (const bool by_rows : {false, true}) {
        const auto a = bytes_of(known.a, by_rows), b = bytes_of(right, by_rows);
        const auto factors = bytes_of(known.factors, by_rows), solution = bytes_of(x, by_rows);
        for (unsigned place = 0; place < 16; place++) {
          const std::size_t a_slack = place & 1 ? 4 : 0, b_slack = place & 2 ? 4 : 0;
          void* a_place = place & 4 ? a_pages.at_end(a.size(), a_slack) : a_pages.at_start(a_slack);
          void* b_place = place & 8 ? b_pages.at_end(b.size(), b_slack) : b_pages.at_start(b_slack);
          std::memcpy(a_place, a.data(), a.size());
          std::memcpy(b_place, b.data(), b.size());
          auto* ipiv = static_cast<int*>(pivot_pages.at_end(sizeof(int) * n, 0));
          const int status =
              gesv(by_rows ? CblasRowMajor : CblasColMajor, n, nrhs, static_cast<Number*>(a_place),
                   n, ipiv, static_cast<Number*>(b_place), by_rows ? nrhs : n);
          ASSERT_EQ(status, 0);
          ASSERT_TRUE(holds<Number>(a_place, factors)) << n << ", " << nrhs;
          ASSERT_TRUE(holds<Number>(b_place, solution)) << n << ", " << nrhs;
        }
      }
    }
  }
}

TEST(Places, RealSystemsStayInsideTheirOperands) { test_solutions<double>(); }
TEST(Places, ComplexSystemsStayInsideTheirOperands) { test_solutions<complex_double>(); }

TEST(Places, FactorisationsStayInsideTheirOperands) {
  GuardPages a_pages(16 * GuardPages::page), pivot_pages(GuardPages::page);
  for (const int m : guarded_orders()) {
    for (const int n : guarded_orders()) {
      const auto known = known_factors<double>(m, n, static_cast<unsigned>(m + n));
      const auto a = bytes_of(known.a, false), factors = bytes_of(known.factors, false);
      for (const std::size_t slack : {0, 4}) {
        for (const bool at_end : {false, true}) {
          void* place = at_end ? a_pages.at_end(a.size(), slack) : a_pages.at_start(slack);
          std::memcpy(place, a.data(), a.size());
          const std::size_t pivot_bytes = sizeof(int) * static_cast<std::size_t>(std::min(m, n));
          auto* ipiv = static_cast<int*>(at_end ? pivot_pages.at_end(pivot_bytes, 0)
                                                : pivot_pages.at_start(0));
          int info = 99;
          DGETRF(&m, &n, static_cast<double*>(place), &m, ipiv, &info);
          ASSERT_EQ(info, 0);
          ASSERT_EQ(std::vector<int>(ipiv, ipiv + std::min(m, n)), known.ipiv) << m << " by " << n;
          ASSERT_TRUE(holds<double>(place, factors)) << m << " by " << n;
        }
      }
    }
  }
}

}  // namespace
}  // namespace lapack_test
