// A band matrix as the kernels see it: which rows each column has, and how columns are taken in
// pairs.
//
// Moving one column to the right and one row down moves lda elements in the array, so that a band
// matrix is a dense one with the leading dimension lda - 1, of which only the bands are there. The
// two columns of a pair have all rows in common but one at the top, which only the first of them
// has, and one at the bottom.
#pragma once

#include "elements/groups.h"

namespace qsl::QSL_LEVEL {

// Elements are addressed modulo 2^32, and counted so that no sum of a size and a width is formed
// that may overflow.
template <class Elements>
struct Band {
  using Scalar = typename Elements::Scalar;

  int m, n, kl, ku;
  const Scalar* a;
  int lda;

  // The rows that column j has; none when the first is not before the end.
  QSL_INLINE int first_row(int j) const { return j > ku ? j - ku : 0; }
  QSL_INLINE int end_row(int j) const { return kl < m - j - 1 ? j + kl + 1 : m; }
  // The columns that rows below `row` and rows from `row` on have.
  QSL_INLINE int first_column(int row) const { return row > kl ? row - kl : 0; }
  QSL_INLINE int end_column(int row) const { return ku < n - row ? row + ku : n; }

  QSL_INLINE const Scalar* element(int i, int j) const {
    return at<Elements>(at<Elements>(a, j, lda - 1), i + ku);
  }

  // Rows from `row` on and columns from `column` on, with an element on the diagonal's old place.
  QSL_INLINE Band part(int row, int rows, int column, int columns) const {
    return {rows, columns, kl - (row - column), ku + (row - column), at<Elements>(a, column, lda),
            lda};
  }
  // All columns of some rows.
  QSL_INLINE Band of_rows(int row, int rows) const {
    const int column = first_column(row);
    const int columns = end_column(row + rows) - column;
    return part(row, rows, column, columns > 0 ? columns : 0);
  }
  // All rows of some columns.
  QSL_INLINE Band of_columns(int column, int columns) const {
    const int row = first_row(column);
    const int rows = end_row(column + columns - 1) - row;
    return part(row, rows > 0 ? rows : 0, column, columns);
  }
};

// How far ahead of their use elements are fetched, in scalars: eight lines of the cache. (A pair is
// too short for the processor to do that by itself. Products with 20 diagonals on each side from
// the third-level cache ran at 0.75 of their speed without it.)
inline constexpr int ahead = 64;

// Where two neighbouring columns have elements: `rows` in common, and perhaps one above them in the
// first column and one below them in the second.
struct PairShape {
  int rows;
  bool top, bottom;
};

// pairs(shape, count, j, first common row) for each run of pairs of columns with one shape, then
// single(j, first row, rows) for a last column. Returns the number of columns taken: those that
// follow have no elements.
template <class Elements, class Pairs, class Single>
QSL_INLINE int walk_pairs(const Band<Elements>& band, const Pairs& pairs, const Single& single) {
  int j = 0;
  while (band.n - j >= 2) {
    const int first = band.first_row(j + 1);
    const int end = band.end_row(j);
    const PairShape shape = {end - first, first > band.first_row(j), band.end_row(j + 1) > end};
    if (shape.rows < 0) return j;
    int count = 1;
    if (shape.top && shape.bottom) {
      const int left = band.n - j, before_last_row = band.m - band.kl - j;
      count = (left < before_last_row ? left : before_last_row) / 2;
    }
    pairs(shape, count, j, first);
    j += 2 * count;
  }
  if (j < band.n) {
    const int first = band.first_row(j);
    const int rows = band.end_row(j) - first;
    if (rows <= 0) return j;
    single(j, first, rows);
    j++;
  }
  return j;
}

}  // namespace qsl::QSL_LEVEL
