// The elimination, column by column: a pivot, its multipliers, and a rank-one update of the columns
// to the right.
//
// An exchange of two rows and the update go together. Storing single elements and loading registers
// over them would make the processor wait for the cache, in every column; so every register is
// loaded as it was before the exchange, the pivot's row gets a wrong result, and the right one is
// stored over it.
#pragma once

#include "elements/division.h"
#include "elements/for_each_register.h"
#include "elements/magnitude.h"
#include "lapack/band/kernels/band_factors.h"

namespace qsl::QSL_LEVEL {

// Multipliers, and the same with the parts of each swapped: an update is two products then, and no
// shuffle. The first one belongs to the pivot's own row and is zero; the registers start at the
// second.
template <class Elements>
struct Multipliers {
  static constexpr int most = 108;
  static constexpr int before = (Elements::Vector::lanes / Elements::parts - 1) * Elements::parts;

  alignas(64) double direct[before + (most + 1) * Elements::parts];
  alignas(64) double swapped[before + (most + 1) * Elements::parts];

  QSL_INLINE Multipliers() {
    Elements::Narrow::zero().store(direct + before);
    Elements::Narrow::zero().store(swapped + before);
  }
  template <class Register>
  QSL_INLINE void set(int i, Register l) {
    l.store(direct + before + i);
    swap_pairs(l).store(swapped + before + i);
  }
  // x - (multiplier of row i) * factor, a register of rows
  template <class Register>
  QSL_INLINE Register subtract(Register x, int i, const RegisterFactor<2, Register>& by) const {
    return by.taken_from(x, Register::load(direct + before + i),
                         Register::load(swapped + before + i));
  }
};

// row(i, Register{}) for whole registers of the rows 1 to `rows`, then for single elements; i
// counts scalars.
template <class Elements, class Row>
QSL_INLINE void for_rows_below(int rows, const Row& row) {
  using Vector = typename Elements::Vector;
  using Narrow = typename Elements::Narrow;
  const int end = (rows + 1) * Elements::parts;
  int i = Elements::parts;
  for (; i + Vector::lanes <= end; i += Vector::lanes) row(i, Vector::zero());
  if constexpr (Vector::lanes > Narrow::lanes) {
    for (; i < end; i += Narrow::lanes) row(i, Narrow::zero());
  }
}

// The column of the pivot, `rows` elements below its diagonal: exchanged, divided, and copied.
template <class Elements>
[[gnu::noinline]] void divide_pivot_column(int rows, int pivot, double* column,
                                           Multipliers<Elements>& multipliers) {
  using Vector = typename Elements::Vector;
  using Narrow = typename Elements::Narrow;
  constexpr int parts = Elements::parts;
  constexpr int together = Vector::lanes / parts;
  const ScaledDivision division(column + pivot * parts);
  const Narrow greatest = Narrow::load(column + pivot * parts);
  // The register that holds the pivot's row, put together from elements: the diagonal's stands in
  // for the pivot. Without an exchange it is the first register as it is.
  const int own = pivot > 0 ? pivot : 1;
  const int first = 1 + (own - 1) / together * together;
  const bool whole = first + together - 1 <= rows;
  const auto taken = [&](int row) QSL_INLINE_LAMBDA {
    return Narrow::load(column + (row == pivot ? 0 : row) * parts);
  };
  division.with<Vector>([&](const auto& quotient) QSL_INLINE_LAMBDA {
    const auto set = [&](int i, auto x) QSL_INLINE_LAMBDA {
      const auto l = quotient(x);
      l.store(column + i);
      multipliers.set(i, l);
    };
    const Narrow alone = taken(own);
    [[maybe_unused]] Vector put_together;
    if constexpr (together == 2) {
      if (whole) put_together = combine(taken(first), taken(first + 1));
    }
    for_rows_below<Elements>(
        rows, [&](int i, auto x) QSL_INLINE_LAMBDA { set(i, decltype(x)::load(column + i)); });
    if (together == 2 && whole) {
      set(first * parts, put_together);
    } else {
      set(own * parts, alone);
    }
  });
  greatest.store(column);
}

// Rows 1 to `rows` of a column, of which `by` is the element in the pivot's row.
template <class Elements, class Factor>
QSL_INLINE void update_column(int rows, const Multipliers<Elements>& multipliers, const Factor& by,
                              double* column) {
  for_rows_below<Elements>(rows, [&](int i, auto x) QSL_INLINE_LAMBDA {
    using Register = decltype(x);
    multipliers.subtract(Register::load(column + i), i, factor_of<Register>(by)).store(column + i);
  });
}

// The columns to the right: row 0 exchanged with row `pivot`, then rows 1 to `rows` updated.
template <class Elements>
[[gnu::noinline]] void exchange_and_update(int columns, int rows, int pivot,
                                           const Multipliers<Elements>& multipliers, double* column,
                                           int step) {
  using Narrow = typename Elements::Narrow;
  const int other = pivot * Elements::parts;
  for (; columns > 0; columns--) {
    const auto by = Elements::Factor::read(column + other);
    const Narrow taken = Narrow::load(column + other);
    const Narrow left = multipliers.subtract(Narrow::load(column), other, factor_of<Narrow>(by));
    update_column<Elements>(rows, multipliers, by, column);
    left.store(column + other);
    taken.store(column);
    column = at<Elements>(column, 1, step);
  }
}

// The same without an exchange, for rows that begin `first` scalars further down.
template <class Elements>
[[gnu::noinline]] void update_rows(int columns, int first, int rows,
                                   const Multipliers<Elements>& multipliers, double* column,
                                   int step) {
  for (; columns > 0; columns--) {
    update_column<Elements>(rows, multipliers, Elements::Factor::read(column), column + first);
    column = at<Elements>(column, 1, step);
  }
}

template <class Elements>
QSL_INLINE void exchange_elements(double* a, double* b) {
  const auto kept = Elements::load_one(a);
  Elements::store_one(a, Elements::load_one(b));
  Elements::store_one(b, kept);
}

// One step with few rows.
template <class Elements>
[[gnu::noinline]] void short_step(int columns, int rows, int pivot, double* diagonal, int step) {
  Multipliers<Elements> multipliers;
  divide_pivot_column<Elements>(rows, pivot, diagonal, multipliers);
  exchange_and_update<Elements>(columns, rows, pivot, multipliers, at<Elements>(diagonal, 1, step),
                                step);
}

// One step with any number of rows: the exchange first, then the rows in blocks.
template <class Elements>
[[gnu::noinline]] void long_step(int columns, int rows, int pivot, double* diagonal, int step) {
  constexpr int parts = Elements::parts;
  if (pivot != 0) {
    for (int c = 0; c <= columns; c++) {
      double* column = at<Elements>(diagonal, c, step);
      exchange_elements<Elements>(column, column + pivot * parts);
    }
  }
  const ScaledDivision division(diagonal);
  division.with<typename Elements::Vector>([&](const auto& quotient) QSL_INLINE_LAMBDA {
    for_each_register<Elements>(rows, diagonal + parts,
                                [&](auto x) QSL_INLINE_LAMBDA { return quotient(x); });
  });
  Multipliers<Elements> multipliers;
  in_blocks(rows, Multipliers<Elements>::most, [&](int row, int count) QSL_INLINE_LAMBDA {
    const double* l = diagonal + row * parts;
    for_rows_below<Elements>(count, [&](int i, auto x) QSL_INLINE_LAMBDA {
      multipliers.set(i, decltype(x)::load(l + i));
    });
    update_rows<Elements>(columns, row * parts, count, multipliers, at<Elements>(diagonal, 1, step),
                          step);
  });
}

}  // namespace qsl::QSL_LEVEL
