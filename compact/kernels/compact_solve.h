// The solution with a triangle, of one group's matrices at once.
//
// Every case is a triangle on the left that is solved from its first row on; an upper one is taken
// from its end, with strides below zero. Two rows at a time: both are solved for a column, and then
// the rows below take both in one pass, as in the factorisation (compact_lu.h).
//
// Diagonals are divided by through Smith's reciprocals. The error bound is that of substitution
// (N. J. Higham, "Accuracy and Stability of Numerical Algorithms", section 8.1), of each matrix by
// itself, with one rounding more a row for the reciprocal.
#pragma once

#include "compact/kernels/compact_lu.h"
#include "compact/routines.h"
#include "elements/factor.h"

namespace qsl::QSL_LEVEL {

// B of one group: m by n, distances in doubles.
struct CompactRightSides {
  int m, n;
  int row, column;
};

template <class Group>
QSL_INLINE void compact_fill_zero(const CompactRightSides& b, double* x) {
  const typename Group::Number zero = {Group::V::zero(), Group::V::zero()};
  for (int j = 0; j < b.n; ++j) {
    for (int i = 0; i < b.m; ++i) Group::store(x + i * b.row + j * b.column, zero);
  }
}

template <class Group>
QSL_INLINE void compact_scale(const CompactRightSides& b, const double* alpha, double* x) {
  using V = typename Group::V;
  const typename Group::Number factor = {V::broadcast_from(alpha), V::broadcast_from(alpha + 1)};
  for (int j = 0; j < b.n; ++j) {
    for (int i = 0; i < b.m; ++i) {
      double* at = x + i * b.row + j * b.column;
      Group::store(at, Group::load(at) * factor);
    }
  }
}

// The triangle's diagonal starts at a, the first row of B at x.
template <class Group, bool conjugate>
QSL_INLINE void compact_substitute(const CompactRightSides& b, bool unit, const double* a,
                                   int a_row, int a_column, double* x) {
  using Number = typename Group::Number;
  int below = b.m - 2;
  for (; below >= 0; below -= 2, a += 2 * (a_row + a_column), x += 2 * b.row) {
    Number first = {}, second = {};
    if (!unit) {
      first = smith_reciprocal(Group::template load_as<conjugate>(a));
      second = smith_reciprocal(Group::template load_as<conjugate>(a + a_row + a_column));
    }
    double* top = x;
    for (int j = b.n; j > 0; --j, top += b.column) {
      Number u0 = Group::load(top);
      if (!unit) {
        u0 = u0 * first;
        Group::store(top, u0);
      }
      Number u1 =
          take_product(Group::load(top + b.row), Group::template load_as<conjugate>(a + a_row), u0);
      if (!unit) u1 = u1 * second;
      Group::store(top + b.row, u1);
      compact_update<Group, conjugate>(below, a + 2 * a_row, a_row, a_column, top + 2 * b.row,
                                       b.row, u0, u1);
    }
  }
  if (below == -1 && !unit) {
    const Number last = smith_reciprocal(Group::template load_as<conjugate>(a));
    for (int j = b.n; j > 0; --j, x += b.column) Group::store(x, Group::load(x) * last);
  }
}

// One register's lanes of a group. The triangle is lower, its diagonal starts at a.
template <class Group>
QSL_INLINE void compact_solve_lanes(const CompactSolve* solve, const CompactRightSides& b,
                                    const double* alpha, FactorKind kind, const double* a,
                                    int a_row, int a_column, double* x) {
  if (kind == FactorKind::zero) return compact_fill_zero<Group>(b, x);
  if (kind == FactorKind::general) compact_scale<Group>(b, alpha, x);
  if (solve->conjugate) {
    compact_substitute<Group, true>(b, solve->unit != 0, a, a_row, a_column, x);
  } else {
    compact_substitute<Group, false>(b, solve->unit != 0, a, a_row, a_column, x);
  }
}

template <class Group>
[[gnu::noinline]] void compact_solve(const CompactSolve* solve, const double* alpha,
                                     FactorKind kind) {
  constexpr int unit = Group::unit, size = Group::size, lanes = Group::V::lanes;
  CompactRightSides b = {solve->m, solve->n, solve->b_row * unit, solve->b_column * unit};
  int a_row = solve->a_row * unit, a_column = solve->a_column * unit;
  const double* a = solve->a;
  double* x = solve->b;
  if (!solve->lower) {
    a += (solve->m - 1) * (a_row + a_column);
    x += (solve->m - 1) * b.row;
    a_row = -a_row;
    a_column = -a_column;
    b.row = -b.row;
  }
  const int a_step = solve->a_group * unit, b_step = solve->b_group * unit;
  for (int groups = compact_groups(solve->nm, size); groups > 0; --groups) {
    for (int lane = 0; lane < size; lane += lanes) {
      compact_solve_lanes<Group>(solve, b, alpha, kind, a + lane, a_row, a_column, x + lane);
    }
    a += a_step;
    x += b_step;
  }
}

}  // namespace qsl::QSL_LEVEL
