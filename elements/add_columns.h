// Sums of columns: y := y + the sum of factors[j] * column j.
//
// Several columns are added per pass, so that y is loaded and stored once for all of them. Few rows
// stay in registers for all columns.
#pragma once

#include "elements/groups.h"
#include "elements/in_registers.h"
#include "elements/passes.h"
#include "elements/rest.h"

namespace qsl::QSL_LEVEL {

// y := y + sum of factors[c] * column c
template <class Elements, int columns>
[[gnu::noinline]] void add_columns(int rows, const typename Elements::Scalar* a, int lda,
                                   const typename Elements::Scalar* factors,
                                   typename Elements::Scalar* y) {
  using Vector = typename Elements::Vector;
  using Scalar = typename Elements::Scalar;
  constexpr int lanes = Vector::lanes;
  typename Elements::Multiplier by[columns];
  const Scalar* column[columns];
  unroll<columns>([&](auto c) QSL_INLINE_LAMBDA {
    by[c.value] = Elements::multiplier(factors + c.value * Elements::parts);
    column[c.value] = at<Elements>(a, c.value, lda);
  });
  const auto sum = [&](const auto& load, int i) QSL_INLINE_LAMBDA {
    auto result = Elements::Sum::from(load(y + i));
    unroll<columns>([&](auto c)
                        QSL_INLINE_LAMBDA { result.add(load(column[c.value] + i), by[c.value]); });
    return result.lanes();
  };
  const int n = rows * Elements::parts;
  const auto whole = [](const Scalar* p) QSL_INLINE_LAMBDA { return Vector::load(p); };
  int i = 0;
  for (; i + 2 * lanes <= n; i += 2 * lanes) {
    unroll<2>([&](auto j) QSL_INLINE_LAMBDA {
      const int at_vector = i + j.value * lanes;
      sum(whole, at_vector).store(y + at_vector);
    });
  }
  if (i + lanes <= n) {
    sum(whole, i).store(y + i);
    i += lanes;
  }
  if constexpr (has_rest<Elements>) {
    const int k = n - i;
    if (k == 0) return;
    const auto rest = [&](const Scalar* p) QSL_INLINE_LAMBDA { return load_rest<Elements>(p, k); };
    store_rest<Elements>(y + i, sum(rest, i), k);
  }
}

// The same for `vectors` registers of rows, of which the last may be a rest, and for any number of
// columns. Additions take their time, so several sums run side by side: fewer registers of rows
// have more sums each, which take the columns in turn.
template <class Elements, int vectors, bool rest>
[[gnu::noinline]] void add_all_columns(int rows, int columns, const typename Elements::Scalar* a,
                                       int lda, const typename Elements::Scalar* factors,
                                       typename Elements::Scalar* y) {
  using Vector = typename Elements::Vector;
  using Scalar = typename Elements::Scalar;
  using Sum = typename Elements::Sum;
  constexpr int lanes = Vector::lanes;
  constexpr int turns = Elements::columns / vectors;
  const int k = rows * Elements::parts - (vectors - 1) * lanes;
  const auto load = [&](const Scalar* p, auto v) QSL_INLINE_LAMBDA {
    const Scalar* vector = p + v.value * lanes;
    if constexpr (rest && v.value == vectors - 1) {
      return load_rest<Elements>(vector, k);
    } else {
      return Vector::load(vector);
    }
  };
  Sum sums[turns][vectors];
  unroll<turns>([&](auto turn) QSL_INLINE_LAMBDA {
    unroll<vectors>([&](auto v) QSL_INLINE_LAMBDA {
      sums[turn.value][v.value] = Sum::from(turn.value == 0 ? load(y, v) : Vector::zero());
    });
  });
  const Scalar* factor = factors;
  const Scalar* column = a;
  const auto add = [&](auto turn) QSL_INLINE_LAMBDA {
    const auto by = Elements::multiplier(factor);
    unroll<vectors>([&](auto v)
                        QSL_INLINE_LAMBDA { sums[turn.value][v.value].add(load(column, v), by); });
    factor += Elements::parts;
    column = at<Elements>(column, 1, lda);
  };
  repeat<turns>(columns, add);
  if constexpr (turns > 1) {
    repeat<1>(columns, add);
    unroll<turns - 1>([&](auto turn) QSL_INLINE_LAMBDA {
      unroll<vectors>(
          [&](auto v) QSL_INLINE_LAMBDA { sums[0][v.value].add(sums[turn.value + 1][v.value]); });
    });
  }
  unroll<vectors>([&](auto v) QSL_INLINE_LAMBDA {
    Scalar* vector = y + v.value * lanes;
    const Vector result = sums[0][v.value].lanes();
    if constexpr (rest && v.value == vectors - 1) {
      store_rest<Elements>(vector, result, k);
    } else {
      result.store(vector);
    }
  });
}

template <class Elements, int vectors = Elements::columns>
QSL_INLINE void add_to_few_rows(int rows, int columns, const typename Elements::Scalar* a, int lda,
                                const typename Elements::Scalar* factors,
                                typename Elements::Scalar* y) {
  constexpr int lanes = Elements::Vector::lanes;
  const int n = rows * Elements::parts;
  if constexpr (vectors > 1) {
    if (n <= (vectors - 1) * lanes) {
      add_to_few_rows<Elements, vectors - 1>(rows, columns, a, lda, factors, y);
      return;
    }
  }
  if (n == vectors * lanes) {
    add_all_columns<Elements, vectors, false>(rows, columns, a, lda, factors, y);
  } else if constexpr (has_rest<Elements>) {
    add_all_columns<Elements, vectors, true>(rows, columns, a, lda, factors, y);
  }
}

// y := y + sum of factors[j] * column j, y being contiguous
template <class Elements>
QSL_INLINE void add_products(int m, int columns, const typename Elements::Scalar* a, int lda,
                             const typename Elements::Scalar* factors,
                             typename Elements::Scalar* y) {
  if (m * Elements::parts <= Elements::columns * Elements::Vector::lanes) {
    add_to_few_rows<Elements>(m, columns, a, lda, factors, y);
    return;
  }
  in_blocks(m, row_block<Elements>, [&](int row, int rows) QSL_INLINE_LAMBDA {
    in_groups<Elements::columns>(columns, [&](auto group, int j) QSL_INLINE_LAMBDA {
      add_columns<Elements, group.value>(rows, at<Elements>(at<Elements>(a, j, lda), row), lda,
                                         at<Elements>(factors, j), at<Elements>(y, row));
    });
  });
}

}  // namespace qsl::QSL_LEVEL
