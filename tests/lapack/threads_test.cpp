// Different systems at once.
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>

#include "tests/lapack/problems.h"

namespace lapack_test {
namespace {

// Every thread's systems, again and again, against those of a single thread.
template <class Number>
void race() {
  const std::vector<int> orders = {3, 8, 16, 17, emulated() ? 20 : 60, emulated() ? 25 : 130};
  const unsigned count = static_cast<unsigned>(orders.size());
  std::vector<Matrix<Number>> a, b;
  std::vector<Solved<Number>> expected;
  for (unsigned i = 0; i < count; i++) {
    a.push_back(random_matrix<Number>(orders[i], orders[i], i));
    b.push_back(random_matrix<Number>(orders[i], static_cast<int>(1 + 3 * i), i));
    expected.push_back(solve(a[i], b[i], {}, {}));
  }
  std::atomic<unsigned> waiting{count};
  std::atomic<int> different{0};
  std::vector<std::thread> threads;
  for (unsigned i = 0; i < count; i++) {
    threads.emplace_back([&, i] {
      --waiting;
      while (waiting > 0) std::this_thread::yield();
      for (unsigned round = 0; round < (emulated() ? 2u : 20u); round++) {
        const std::size_t which = (i + (round % 5 == 4 ? round : 0)) % count;
        const bool by_rows = round % 2 == 1;
        const auto solved = solve(a[which], b[which], Storage{by_rows}, Storage{by_rows});
        const auto& right = expected[which];
        if (solved.status != 0 || solved.ipiv != right.ipiv ||
            !equal(solved.factors, right.factors) || !equal(solved.x, right.x)) {
          ++different;
        }
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(different, 0);
}

TEST(Threads, RealSolutionsAreThoseOfOneThread) { race<double>(); }
TEST(Threads, ComplexSolutionsAreThoseOfOneThread) { race<complex_double>(); }

}  // namespace
}  // namespace lapack_test
