// The factorisation of a group, without exchanges.
//
// Two columns at a time: they are factored, and then each column to the right takes both steps in
// one pass, so that an element is loaded and stored once for two products: with one, a processor
// that stores one register a cycle would be done storing when it is done multiplying. Every element
// goes through the same operations as with single steps, in the same order.
//
// The pivots' reciprocals are plain in the processor's own format, where long rows of factors are
// made; other formats take Smith's, which is right between about 1e-308 and 9e307. The error bound
// is that of elimination without pivoting (N. J. Higham, "Accuracy and Stability of Numerical
// Algorithms", section 9.3), of each matrix by itself.
#pragma once

#include "compact/kernels/compact_group.h"

namespace qsl::QSL_LEVEL {

template <class Group>
QSL_INLINE typename Group::Number compact_reciprocal(typename Group::Number p) {
  if constexpr (Group::is_native) {
    return plain_reciprocal(p);
  } else {
    return smith_reciprocal(p);
  }
}

// `count` elements of a column take two steps: x := x - first * u0 - second * u1, the factors being
// `across` from each other. Distances in doubles.
template <class Group, bool conjugate = false>
QSL_INLINE void compact_update(int count, const double* factors, int factor_step, int across,
                               double* x, int step, typename Group::Number u0,
                               typename Group::Number u1) {
  // A factor is in registers for its four uses: as a memory operand it would be loaded four times,
  // and loads are what the loop has to spare least (six for eight products).
  const auto factor = [](const double* p) QSL_INLINE_LAMBDA {
    auto f = Group::load(p);
    keep_vector(f.re);
    keep_vector(f.im);
    if constexpr (conjugate) f.im = negate(f.im);
    return f;
  };
  for (; count > 0; --count) {
    auto value = Group::load(x);
    value = take_product(value, factor(factors), u0);
    value = take_product(value, factor(factors + across), u1);
    Group::store(x, value);
    factors += factor_step;
    x += step;
    keep(count);
  }
}

// Matrices m by n, whose rows, columns and groups are so many doubles apart.
struct CompactMatrices {
  int m, n;
  int row, column;
  int groups, group;
};

// The two columns of the diagonal elements at a and a + row + column: both pivots, the factors
// below them. `below` counts the rows below both.
template <class Group>
QSL_INLINE void compact_two_columns(int below, int row, int column, double* a) {
  using Number = typename Group::Number;
  const Number first = compact_reciprocal<Group>(Group::load(a));
  const Number factor = Group::load(a + row) * first;
  Group::store(a + row, factor);
  const Number above = Group::load(a + column);
  const Number pivot = take_product(Group::load(a + row + column), factor, above);
  Group::store(a + row + column, pivot);
  if (below == 0) return;
  const Number second = compact_reciprocal<Group>(pivot);
  for (double* x = a + 2 * row; below > 0; --below, x += row) {
    const Number f0 = Group::load(x) * first;
    Group::store(x, f0);
    Group::store(x + column, take_product(Group::load(x + column), f0, above) * second);
    keep(below);
  }
}

template <class Group>
QSL_INLINE void compact_group_lu(int m, int n, int row, int column, double* a) {
  int below = m - 2, right = n - 2;
  for (; below >= 0 && right >= 0; below -= 2, right -= 2, a += 2 * (row + column)) {
    compact_two_columns<Group>(below, row, column, a);
    double* x = a + 2 * column;
    for (int j = right; j > 0; --j, x += column) {
      const auto u0 = Group::load(x);
      const auto u1 = take_product(Group::load(x + row), Group::load(a + row), u0);
      Group::store(x + row, u1);
      compact_update<Group>(below, a + 2 * row, row, column, x + 2 * row, row, u0, u1);
    }
  }
  // What is left is a single row, which is done, or a single column.
  if (right == -1 && below >= 0) {
    const auto pivot = compact_reciprocal<Group>(Group::load(a));
    for (double* x = a + row; below >= 0; --below, x += row) {
      Group::store(x, Group::load(x) * pivot);
      keep(below);
    }
  }
}

template <class Group>
[[gnu::noinline]] void compact_lu(const CompactMatrices* matrices, double* a) {
  for (int g = matrices->groups; g > 0; --g, a += matrices->group) {
    for (int lane = 0; lane != Group::size; lane += Group::V::lanes) {
      compact_group_lu<Group>(matrices->m, matrices->n, matrices->row, matrices->column, a + lane);
    }
  }
}

}  // namespace qsl::QSL_LEVEL
