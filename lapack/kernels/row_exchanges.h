// Row exchanges, column by column: the rows that a factorisation has exchanged, in any other columns.
//
// A pivot is tested before it is used, four together first and then one by one; the first bad one
// ends the call with what is done by then. As the tests are the same in every column, the first
// column's decide.
#pragma once

#include "blas/level2/kernels/elements.h"

namespace qsl::QSL_LEVEL {

// Row `row` is exchanged with row pivot[0] - 1, row + direction with pivot[step] - 1, ...
struct RowExchanges {
  int row, direction;
  const int* pivot;
  int step;
  int count;
};

// How many exchanges come before the bad pivot; all of them without one.
QSL_INLINE int good_exchanges(const RowExchanges& e, int lda) {
  const auto rows = static_cast<unsigned>(lda > 0 ? lda : 0);
  const int* pivot = e.pivot;
  for (int i = 0; i < e.count; i++) {
    if (static_cast<unsigned>(*pivot) - 1 >= rows) {
      const bool in_four = i < (e.count & ~3);
      return in_four ? i & ~3 : i;
    }
    pivot += e.step;
  }
  return e.count;
}

template <class Elements, int columns>
[[gnu::noinline]] void exchange_in_columns(const RowExchanges& e, int count, double* a, int lda) {
  constexpr int unit = Elements::unit;
  const int ld = lda * unit;
  double* row = a + e.row * unit;
  const int advance = e.direction * unit;
  const int* pivot = e.pivot;
  for (; count > 0; count--) {
    keep(count);
    double* other = a + (*pivot - 1) * unit;
    unroll<columns>([&](auto c) QSL_INLINE_LAMBDA {
      const auto x = Elements::load_one(row + c.value * ld);
      const auto y = Elements::load_one(other + c.value * ld);
      Elements::store_one(row + c.value * ld, y);
      Elements::store_one(other + c.value * ld, x);
    });
    row += advance;
    pivot += e.step;
  }
}

// 0, or 1 when a pivot is not in 1 to lda.
template <class Elements>
QSL_INLINE int exchange_rows_of(int n, double* a, int lda, const RowExchanges& e) {
  if (n <= 0) return 0;
  const int good = good_exchanges(e, lda);
  if (good < e.count) {
    exchange_in_columns<Elements, 1>(e, good, a, lda);
    return 1;
  }
  constexpr int together = 4;
  for (; n >= together; n -= together) {
    exchange_in_columns<Elements, together>(e, e.count, a, lda);
    a += together * lda * Elements::unit;
  }
  for (; n > 0; n--) {
    exchange_in_columns<Elements, 1>(e, e.count, a, lda);
    a += lda * Elements::unit;
  }
  return 0;
}

}  // namespace qsl::QSL_LEVEL
