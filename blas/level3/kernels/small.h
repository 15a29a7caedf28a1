// The small path: the product straight from the operands, without a buffer from the heap.
//
// C is covered with register tiles of up to six sums: rows along the vectors, columns by values of
// B that are broadcast from where they lie. The rows of a plain A are read in place while few
// columns use them; otherwise, and for a transposed A, a strip of rows is first copied to a small
// buffer on the stack. alpha and beta are applied when a tile is written. B is never copied.
//
// Most rows go by the shape's tile; the others by one register of rows and up to six real columns.
#pragma once

#include "blas/level3/kernels/operation.h"
#include "blas/level3/kernels/small_tile.h"

namespace qsl::QSL_LEVEL {

// Bytes of a packed strip; it fills half of the first-level cache.
inline constexpr int small_strip_bytes = 16384;
// Columns of a block of B, which stays in the second-level cache while the strips of A pass.
inline constexpr int small_block_columns = 60;
// From so many columns on, a strip of A is packed even if it could be read in place.
inline constexpr int columns_that_pay_packing = 24;

// A strip of `rows` rows to the buffer.
template <class Type, int rows>
QSL_INLINE void pack_rows(bool a_plain, const typename Type::Scalar* a, int ld, int depth,
                          typename Type::Scalar* strip) {
  if (a_plain) {
    pack_strip<Type, rows, false>(a, ld, depth, Unchanged{}, strip);
  } else {
    pack_strip<Type, rows, true>(a, ld, depth, Unchanged{}, strip);
  }
}

// A strip of `width` rows or, the last one, of fewer: in place, or packed to `strip`.
template <class Type>
struct SmallStrip {
  const typename Type::Scalar* a;
  int a_k;
};

template <class Type, int width>
QSL_INLINE SmallStrip<Type> take_strip(const SmallProduct<Type>& p, int row, int rows, int from,
                                       int depth, bool packed, typename Type::Scalar* strip) {
  const auto* a = p.a + row * p.a_row + from * p.a_k;
  if (!packed) return {a, p.a_k};
  const int ld = p.a_plain ? p.a_k : p.a_row;
  if (rows < width) {
    at_index<1, width - 1>(rows, [&](auto fewer) QSL_INLINE_LAMBDA {
      pack_rows<Type, fewer.value>(p.a_plain, a, ld, depth, strip);
    });
  } else {
    pack_rows<Type, width>(p.a_plain, a, ld, depth, strip);
  }
  return {strip, rows * Type::parts};
}

// The last rows, fewer than a register: one function with a mask, or one for each count.
template <class Type, class Shape>
QSL_INLINE void small_last_rows(const SmallProduct<Type>& p, const SmallBlock<Type>& block,
                                int valid) {
  using Vector = typename Shape::Vector;
  if constexpr (Vector::bytes == 64) {
    small_strip<Type, Vector, 1, 6>(p, block, valid);
  } else {
    at_index<1, Vector::lanes / Type::parts - 1>(
        valid / Type::parts, [&](auto rows) QSL_INLINE_LAMBDA {
          small_strip<Type, Vector, 1, 6>(p, block, Index<rows.value * Type::parts>{});
        });
  }
}

// Rows [0, m) by `columns` columns from `column` on, over `depth` values of k from `from` on.
template <class Type, class Shape>
QSL_INLINE void small_block(const SmallProduct<Type>& p, int from, int depth, int column,
                            int columns, Update update, bool packed, typename Type::Scalar* strip) {
  using Vector = typename Shape::Vector;
  constexpr int unit = Vector::lanes / Type::parts;  // elements of a register
  constexpr int tall = Shape::vectors * unit;
  SmallBlock<Type> block;
  block.depth = depth;
  block.b = p.b + from * p.b_k + column * p.b_column;
  block.columns = columns;
  block.update = update;
  typename Type::Scalar* c = p.c + column * p.ldc;
  int row = 0;
  const auto take = [&](auto width, int rows) QSL_INLINE_LAMBDA {
    const auto taken = take_strip<Type, width.value>(p, row, rows, from, depth, packed, strip);
    block.a = taken.a;
    block.a_k = taken.a_k;
    block.c = c + row * Type::parts;
    row += rows;
  };
  if constexpr (Shape::vectors > 1) {
    while (p.m - row >= tall) {
      take(Index<tall>{}, tall);
      small_strip<Type, Vector, Shape::vectors, Shape::columns>(p, block, Index<Vector::lanes>{});
    }
  }
  while (p.m - row >= unit) {
    take(Index<unit>{}, unit);
    small_strip<Type, Vector, 1, 6>(p, block, Index<Vector::lanes>{});
  }
  if (p.m > row) {
    const int rows = p.m - row;
    take(Index<unit>{}, rows);
    small_last_rows<Type, Shape>(p, block, rows * Type::parts);
  }
}

template <class Type, class Shape>
[[gnu::noinline]] void small_packed(const SmallProduct<Type>& p) {
  using Scalar = typename Type::Scalar;
  constexpr int most = small_strip_bytes / (Shape::vectors * Shape::Vector::bytes) & ~7;
  alignas(Shape::Vector::bytes) Scalar strip[small_strip_bytes / sizeof(Scalar)];
  Update update = p.update;
  for (int from = 0; from < p.k; from += most) {
    const int depth = p.k - from < most ? p.k - from : most;
    for (int j = 0; j < p.n; j += small_block_columns) {
      const int columns = p.n - j < small_block_columns ? p.n - j : small_block_columns;
      small_block<Type, Shape>(p, from, depth, j, columns, update, true, strip);
    }
    update = Update::add;
  }
}

template <class Type, class Shape>
QSL_INLINE void small_in_place(const SmallProduct<Type>& p) {
  small_block<Type, Shape>(p, 0, p.k, 0, p.n, p.update, false, nullptr);
}

template <class Type, class Shape>
QSL_INLINE void small_product(int transa, int transb, int m, int n, int k,
                              const typename Type::Scalar* alpha, const typename Type::Scalar* a,
                              int lda, const typename Type::Scalar* b, int ldb,
                              const typename Type::Scalar* beta, typename Type::Scalar* c,
                              int ldc) {
  constexpr int parts = Type::parts;
  SmallProduct<Type> p;
  p.m = m;
  p.n = n;
  p.k = k;
  p.a = a;
  p.a_plain = transa == 0;
  p.a_row = p.a_plain ? parts : lda * parts;
  p.a_k = p.a_plain ? lda * parts : parts;
  p.b = b;
  p.b_k = transb == 0 ? parts : ldb * parts;
  p.b_column = transb == 0 ? ldb * parts : parts;
  p.c = c;
  p.ldc = ldc * parts;
  p.alpha = alpha;
  p.beta = beta;
  p.conjugate_a = transa == 2;
  p.conjugate_b = transb == 2;
  p.update = update_by<Type>(beta);
  if (p.a_plain && n < columns_that_pay_packing) {
    small_in_place<Type, Shape>(p);
  } else {
    small_packed<Type, Shape>(p);
  }
}

}  // namespace qsl::QSL_LEVEL
