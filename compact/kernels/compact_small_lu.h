// The factorisation of matrices of order 2 to 5: the steps of compact_lu.h without loops.
#pragma once

#include "compact/kernels/compact_lu.h"

namespace qsl::QSL_LEVEL {

// Steps k and k + 1 of a matrix of order n, and all after them. Next to each other stand the
// elements of a column, or with `by_rows` those of a row; the others are ld doubles apart.
template <class Group, int n, bool by_rows, int k = 0>
QSL_INLINE void compact_small_steps(double* a, int ld) {
  using Number = typename Group::Number;
  const auto at = [a, ld](int i, int j) QSL_INLINE_LAMBDA {
    return by_rows ? a + i * ld + j * Group::unit : a + j * ld + i * Group::unit;
  };
  if constexpr (k + 1 < n) {
    const Number first = compact_reciprocal<Group>(Group::load(at(k, k)));
    const Number factor = Group::load(at(k + 1, k)) * first;
    Group::store(at(k + 1, k), factor);
    const Number above = Group::load(at(k, k + 1));
    const Number pivot = take_product(Group::load(at(k + 1, k + 1)), factor, above);
    Group::store(at(k + 1, k + 1), pivot);
    if constexpr (k + 2 < n) {
      const Number second = compact_reciprocal<Group>(pivot);
      unroll<n - k - 2>([=](auto place) QSL_INLINE_LAMBDA {
        constexpr int i = k + 2 + place.value;
        const Number f0 = Group::load(at(i, k)) * first;
        Group::store(at(i, k), f0);
        Group::store(at(i, k + 1), take_product(Group::load(at(i, k + 1)), f0, above) * second);
      });
      unroll<n - k - 2>([=](auto column) QSL_INLINE_LAMBDA {
        constexpr int j = k + 2 + column.value;
        const Number u0 = Group::load(at(k, j));
        const Number u1 = take_product(Group::load(at(k + 1, j)), Group::load(at(k + 1, k)), u0);
        Group::store(at(k + 1, j), u1);
        unroll<n - k - 2>([=](auto place) QSL_INLINE_LAMBDA {
          constexpr int i = k + 2 + place.value;
          Number x = Group::load(at(i, j));
          x = take_product(x, Group::load(at(i, k)), u0);
          x = take_product(x, Group::load(at(i, k + 1)), u1);
          Group::store(at(i, j), x);
        });
      });
      compact_small_steps<Group, n, by_rows, k + 2>(a, ld);
    }
  }
}

// The same for each group of a buffer.
template <class Group, int n, bool by_rows>
[[gnu::noinline]] void compact_small_lu(double* a, int ld, int groups) {
  for (; groups > 0; --groups, a += n * ld) {
    for (int lane = 0; lane != Group::size; lane += Group::V::lanes) {
      compact_small_steps<Group, n, by_rows>(a + lane, ld);
    }
  }
}

}  // namespace qsl::QSL_LEVEL
