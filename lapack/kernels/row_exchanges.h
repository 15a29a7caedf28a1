// Row exchanges, column by column: the rows that a factorisation has exchanged, in any other
// columns.
//
// A pivot is tested before it is used, four together first and then one by one; the first bad one
// ends the call with what is done by then. As the tests are the same in every column, the first
// column's decide.
#pragma once

#include "elements/in_registers.h"

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

template <class Elements, int columns, bool prefetch>
[[gnu::noinline]] void exchange_in_columns(const RowExchanges& e, int count, double* a, int lda) {
  constexpr int parts = Elements::parts;
  const int ld = lda * parts;
  double* row = a + e.row * parts;
  const int advance = e.direction * parts;
  const int* pivot = e.pivot;
  for (; count > 0; count--) {
    keep(count);
    double* other = a + (*pivot - 1) * parts;
    unroll<columns>([&](auto c) QSL_INLINE_LAMBDA {
      if constexpr (prefetch) __builtin_prefetch(other + (columns + c.value) * ld, 1);
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
    exchange_in_columns<Elements, 1, false>(e, good, a, lda);
    return 1;
  }
  constexpr int together = 4;
  // Beyond the second-level cache the next columns' rows are asked for ahead (measured: 1.5 times
  // the speed; 0.7 where they are there anyway).
  constexpr unsigned cached_bytes = 512 * 1024;
  const bool ahead =
      static_cast<unsigned>(n) * static_cast<unsigned>(lda) > cached_bytes / (8 * Elements::parts);
  for (; n >= together; n -= together) {
    if (ahead) {
      exchange_in_columns<Elements, together, true>(e, e.count, a, lda);
    } else {
      exchange_in_columns<Elements, together, false>(e, e.count, a, lda);
    }
    a += together * lda * Elements::parts;
  }
  for (; n > 0; n--) {
    exchange_in_columns<Elements, 1, false>(e, e.count, a, lda);
    a += lda * Elements::parts;
  }
  return 0;
}

}  // namespace qsl::QSL_LEVEL
