// Row exchanges: both directions, any step from pivot to pivot, and which are done before a bad
// one.
#include <gtest/gtest.h>

#include "tests/lapack/matrix.h"
#include "tests/lapack/variants.h"

namespace lapack_test {
namespace {

class RowExchanges : public VariantTest {};

struct Call {
  int rows, columns, lda_pad;
  int row, direction, step, count;
};

std::ostream& operator<<(std::ostream& out, const Call& c) {
  return out << c.rows << " by " << c.columns << ", rows from " << c.row << " by " << c.direction
             << ", pivots by " << c.step << ", " << c.count << " of them";
}

// How many are done: four are tested together before any of them is used.
int good_exchanges(const std::vector<int>& pivots, int lda) {
  const int count = static_cast<int>(pivots.size());
  const auto bad = [&](int i) {
    return pivots[static_cast<std::size_t>(i)] < 1 || pivots[static_cast<std::size_t>(i)] > lda;
  };
  int i = 0;
  for (; i + 4 <= count; i += 4) {
    if (bad(i) || bad(i + 1) || bad(i + 2) || bad(i + 3)) return i;
  }
  while (i < count && !bad(i)) i++;
  return i;
}

// `pivots` in the order in which they are used. Those in memory between them are bad.
template <class Number>
void check(const Variant& variant, const Call& c, const std::vector<int>& pivots, unsigned index) {
  // Rows up to the leading dimension count, so the padding is made of rows, too.
  const int lda = c.rows + c.lda_pad;
  const auto a = random_matrix<Number>(lda, c.columns, index);
  Stored<Number> stored(a, {false, 0, index * 12 % 64});
  const int reach = c.count > 0 ? (c.count - 1) * std::abs(c.step) + 1 : 0;
  std::vector<int> memory(static_cast<std::size_t>(reach), -1);
  const int start = c.step < 0 ? reach - 1 : 0;
  for (int i = 0; i < c.count; i++) {
    memory[static_cast<std::size_t>(start + i * c.step)] = pivots[static_cast<std::size_t>(i)];
  }
  const int status =
      variant.kernels<Number>().laswp(c.columns, stored.data(), stored.ld(), c.row, c.direction,
                                      memory.data() + start, c.step, c.count);
  Matrix<Number> expected = a;
  const int good = c.columns > 0 ? good_exchanges(pivots, lda) : c.count;
  for (int j = 0; j < (good < c.count ? std::min(c.columns, 1) : c.columns); j++) {
    for (int i = 0; i < good; i++) {
      std::swap(expected(c.row + i * c.direction, j),
                expected(pivots[static_cast<std::size_t>(i)] - 1, j));
    }
  }
  const Matrix<Number> found = stored.elements();
  ASSERT_EQ(status, good < c.count ? 1 : 0) << c;
  ASSERT_TRUE(stored.intact()) << c;
  for (int j = 0; j < c.columns; j++) {
    ASSERT_EQ(0, std::memcmp(found.column(j), expected.column(j),
                             sizeof(Number) * static_cast<std::size_t>(lda)))
        << c << ", column " << j << ", good " << good;
  }
}

template <class Number, class Body>
void for_each_call(const Body& body) {
  unsigned index = 1;
  for (const int rows : {1, 2, 5, 12, 33}) {
    for (const int columns : {0, 1, 2, 3, 4, 5, 8, 9, 14}) {
      for (const int step : {1, 2, 5, -1, -2}) {
        for (const int count : {0, 1, 2, 3, 4, 5, 7, 8, 11, 12}) {
          index++;
          if (count > rows || ((emulated() || instrumented) && index % 5 != 0)) continue;
          const int direction = step < 0 ? -1 : 1;
          const int slack = rows - count;
          const int row = slack / 2 + (direction < 0 && count > 0 ? count - 1 : 0);
          const Call call = {rows, columns, static_cast<int>(index % 3), row, direction,
                             step, count};
          std::vector<int> pivots;
          Random random(index);
          for (int i = 0; i < count; i++) pivots.push_back(1 + random.below(rows));
          ASSERT_NO_FATAL_FAILURE(body(call, pivots, index));
        }
      }
    }
  }
}

TEST_P(RowExchanges, EveryDirectionAndStep) {
  for_each_kind([&](auto kind) {
    for_each_call<decltype(kind)>([&](const Call& call, std::vector<int> pivots, unsigned index) {
      ASSERT_NO_FATAL_FAILURE(check<decltype(kind)>(GetParam(), call, pivots, index));
      // Rows in the padding are rows.
      if (call.count > 0) {
        pivots[static_cast<std::size_t>(call.count / 2)] = call.rows + call.lda_pad;
        ASSERT_NO_FATAL_FAILURE(check<decltype(kind)>(GetParam(), call, pivots, index));
      }
    });
  });
}

// The first column keeps what was done before the bad pivot's group of four, no other is touched.
TEST_P(RowExchanges, ABadPivotEndsTheCall) {
  for_each_kind([&](auto kind) {
    for_each_call<decltype(kind)>([&](const Call& call, const std::vector<int>& pivots,
                                      unsigned index) {
      for (int bad_at = static_cast<int>(index % 3); bad_at < call.count; bad_at += 3) {
        for (const int bad : {0, -1, call.rows + call.lda_pad + 1, -2147483647 - 1, 2147483647}) {
          std::vector<int> changed = pivots;
          changed[static_cast<std::size_t>(bad_at)] = bad;
          ASSERT_NO_FATAL_FAILURE(check<decltype(kind)>(GetParam(), call, changed, index))
              << "pivot " << bad_at << " is " << bad;
        }
      }
    });
  });
}

INSTANTIATE_TEST_SUITE_P(Levels, RowExchanges, testing::ValuesIn(all_variants()), name_of);

}  // namespace
}  // namespace lapack_test
