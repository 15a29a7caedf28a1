// A small triangular matrix against many right-hand sides: the leaves of the triangular product and
// the triangular solve.
//
// Every case becomes one with a lower triangular L, whose row i stands for row i of the matrix or,
// for an upper one, for row i from the end. Right-hand sides are worked on a register's width at a
// time, in a strip that holds element i of all of them together, as packed A does.
#pragma once

#include "blas/level3/kernels/pack.h"
#include "blas/level3/kernels/product_of.h"
#include "elements/division.h"

namespace qsl::QSL_LEVEL {

enum class TriangularWork { multiply, solve };

template <class Type>
struct TriangularLeaf {
  using Scalar = typename Type::Scalar;

  int n;
  bool unit;
  bool backward;  // row i of L belongs to element n - 1 - i
  // Row by row; negated for a solve, whose rows are then sums like those of a product.
  Scalar factor[leaf_order * leaf_order * Type::parts];
  // A solve multiplies with `diagonal` and divides by `divisor`.
  Scalar diagonal[leaf_order * Type::parts];
  Scalar divisor[leaf_order];

  QSL_INLINE int element(int i) const { return backward ? n - 1 - i : i; }
  QSL_INLINE Scalar* row(int i) { return factor + i * leaf_order * Type::parts; }
  QSL_INLINE const Scalar* row(int i) const { return factor + i * leaf_order * Type::parts; }
};

// Reads L out of the triangular matrix at `a`: element (i, j) of L is i_step and j_step away.
template <class Type, TriangularWork work>
QSL_INLINE void read_leaf(const typename Type::Scalar* a, int i_step, int j_step, bool conjugate,
                          TriangularLeaf<Type>& leaf) {
  using Scalar = typename Type::Scalar;
  constexpr int parts = Type::parts;
  for (int i = 0; i < leaf.n; i++) {
    const int row = leaf.element(i);
    Scalar* to = leaf.row(i);
    for (int j = 0; j <= i; j++) {
      if (j == i && leaf.unit) break;
      const Scalar* from = a + row * i_step + leaf.element(j) * j_step;
      for (int part = 0; part < parts; part++) {
        Scalar value = from[part];
        if (part == 1 && conjugate) value = -value;
        to[j * parts + part] = work == TriangularWork::solve && j < i ? -value : value;
      }
    }
    if (work == TriangularWork::solve && !leaf.unit) {
      set_quotient<Type>(to + i * parts, leaf.diagonal + i * parts, leaf.divisor + i);
    }
  }
}

template <class Type, class Vector>
QSL_INLINE Vector divide(const TriangularLeaf<Type>& leaf, int i, Vector sum) {
  if constexpr (Type::parts == 2) {
    sum = product<Type>(sum, Vector::broadcast_pair(leaf.diagonal + 2 * i));
  }
  return sum / Vector::broadcast_from(leaf.divisor + i);
}

// Rows i to i + rows - 1 of L times or into the strip, where the earlier rows are done.
template <class Type, class Vector, int rows>
QSL_INLINE void solve_rows(const TriangularLeaf<Type>& leaf, int i, typename Type::Scalar* strip) {
  constexpr int parts = Type::parts;
  Vector sum[rows];
  unroll<rows>([&](auto r) QSL_INLINE_LAMBDA {
    sum[r.value] = Vector::load_aligned(strip + leaf.element(i + r.value) * Vector::lanes);
  });
  const auto* factor = leaf.row(i);
  const auto* x_at = strip + leaf.element(0) * Vector::lanes;
  const int x_step = leaf.backward ? -Vector::lanes : Vector::lanes;
  for (int j = i; j > 0; j--) {
    keep(j);
    const Turned<Type, Vector> x(Vector::load_aligned(x_at));
    unroll<rows>([&](auto r) QSL_INLINE_LAMBDA {
      sum[r.value] = x.times_plus(factor + r.value * leaf_order * parts, sum[r.value]);
    });
    factor += parts;
    x_at += x_step;
  }
  unroll<rows>([&](auto r) QSL_INLINE_LAMBDA {
    unroll<r.value>([&](auto s) QSL_INLINE_LAMBDA {
      sum[r.value] = Turned<Type, Vector>(sum[s.value])
                         .times_plus(leaf.row(i + r.value) + (i + s.value) * parts, sum[r.value]);
    });
    if (!leaf.unit) sum[r.value] = divide(leaf, i + r.value, sum[r.value]);
    sum[r.value].store_aligned(strip + leaf.element(i + r.value) * Vector::lanes);
  });
}

template <class Type, class Vector>
QSL_INLINE void solve_strip(const TriangularLeaf<Type>& leaf, typename Type::Scalar* strip) {
  constexpr int rows = Type::parts == 1 ? 4 : 3;
  int i = 0;
  for (; i + rows <= leaf.n; i += rows) solve_rows<Type, Vector, rows>(leaf, i, strip);
  for (; i < leaf.n; i++) solve_rows<Type, Vector, 1>(leaf, i, strip);
}

// From the last row on, so that the elements that a row needs are still the old ones.
template <class Type, class Vector>
QSL_INLINE void multiply_strip_by(const TriangularLeaf<Type>& leaf, typename Type::Scalar* strip) {
  for (int i = leaf.n - 1; i >= 0; i--) {
    typename Type::Scalar* own = strip + leaf.element(i) * Vector::lanes;
    const auto* factor = leaf.row(i);
    Vector sum = Vector::load_aligned(own);
    if (!leaf.unit) {
      sum = Turned<Type, Vector>(sum).times_plus(factor + i * Type::parts, Vector::zero());
    }
    for (int j = 0; j < i; j++) {
      const Turned<Type, Vector> x(Vector::load_aligned(strip + leaf.element(j) * Vector::lanes));
      sum = x.times_plus(factor + j * Type::parts, sum);
    }
    sum.store_aligned(own);
  }
}

// Back from a strip: the inverse of pack_strip, for a register's width of right-hand sides.
template <class Type, int width, bool along_k>
QSL_INLINE void unpack_strip(const typename Type::Scalar* strip, int depth,
                             typename Type::Scalar* to, int ld) {
  using Vector = RegisterOf<Type, width>;
  constexpr int stride = width * Type::parts;
  if constexpr (along_k) {
    int k = 0;
    for (; k + width <= depth; k += width) {
      Vector block[width];
      unroll<width>([&](auto i) QSL_INLINE_LAMBDA {
        block[i.value] = Vector::load_aligned(strip + (k + i.value) * stride);
      });
      transpose(block);
      unroll<width>([&](auto i) QSL_INLINE_LAMBDA {
        block[i.value].store(to + i.value * ld + k * Type::parts);
      });
    }
    for (; k < depth; k++) {
      for (int i = 0; i < width; i++) {
        Unit<Type>::load(strip + k * stride + i * Type::parts).store(to + i * ld + k * Type::parts);
      }
    }
  } else {
    for (int k = 0; k < depth; k++) Vector::load_aligned(strip + k * stride).store(to + k * ld);
  }
}

template <class Type>
QSL_INLINE void unpack_narrow(const typename Type::Scalar* strip, int width, int valid, int depth,
                              typename Type::Scalar* to, int along_strip, int along_k) {
  for (int k = 0; k < depth; k++) {
    for (int i = 0; i < valid; i++) {
      Unit<Type>::load(strip + (k * width + i) * Type::parts)
          .store(to + i * along_strip + k * along_k);
    }
  }
}

// The work on `count` right-hand sides: columns of B (left: elements are contiguous) or rows.
template <class Type, TriangularWork work, bool left>
QSL_INLINE void work_on_strips(const TriangularLeaf<Type>& leaf, int count,
                               typename Type::Scalar* b, int ldb) {
  constexpr int width = widest<Type>;
  using Vector = RegisterOf<Type, width>;
  constexpr int parts = Type::parts;
  const int ld = ldb * parts;
  const int along_strip = left ? ld : parts;
  const int along_k = left ? parts : ld;
  alignas(Vector::bytes) typename Type::Scalar strip[leaf_order * Vector::lanes];
  const auto run = [&]() QSL_INLINE_LAMBDA {
    if constexpr (work == TriangularWork::solve) {
      solve_strip<Type, Vector>(leaf, strip);
    } else {
      multiply_strip_by<Type, Vector>(leaf, strip);
    }
  };
  for (; count >= width; count -= width) {
    pack_strip<Type, width, left>(b, ld, leaf.n, Unchanged{}, strip);
    run();
    unpack_strip<Type, width, left>(strip, leaf.n, b, ld);
    b += width * along_strip;
  }
  if (count > 0) {
    pack_narrow<Type>(b, along_strip, along_k, count, width, leaf.n, Unchanged{}, strip);
    run();
    unpack_narrow<Type>(strip, width, count, leaf.n, b, along_strip, along_k);
  }
}

}  // namespace qsl::QSL_LEVEL
