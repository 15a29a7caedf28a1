// Packed strips of A times a packed block of B, added to C: the kernel that the drivers call.
//
// Packed A: for each k the strip's scalars stand together, `vectors * lanes` of them, or as many
// whole vectors as the strip's rows need when it is the last one. Packed B: strips of `columns`
// columns, each k giving the strip's scalars (`copies` times each); the last strip may be narrower.
#pragma once

#include "blas/level3/kernels/records.h"
#include "blas/level3/kernels/write_back.h"

namespace qsl::QSL_LEVEL {

// A block product as the tiles see it: real rows and columns.
template <class Scalar>
struct StripProduct {
  int rows;
  int columns;
  int depth;
  const Scalar* a;
  const Scalar* b;
  Scalar* c;
  int ldc;  // in scalars
  bool overwrite;
};

template <class Type, class Tile, bool full, int V, int N>
QSL_INLINE void multiply_tile(const StripProduct<typename Type::Scalar>& p,
                              const typename Type::Scalar* b, int b_step, typename Type::Scalar* c,
                              int last) {
  Sums<typename Tile::Vector, V, N> sums;
  if constexpr (V == Tile::vectors) {
    unroll<N / Type::parts>([&](auto j)
                                QSL_INLINE_LAMBDA { Tile::fetch_column(c + j.value * p.ldc); });
  }
  Tile::template accumulate<V, N>(p.depth, p.a, b, b_step, sums);
  write_back<Type, full>(sums, c, p.ldc, last, p.overwrite);
}

template <class Type, class Tile, bool full, int V>
QSL_INLINE void multiply_strip(const StripProduct<typename Type::Scalar>& p) {
  using Scalar = typename Type::Scalar;
  constexpr int tile_columns = Tile::columns;
  const int last = p.rows - (V - 1) * Tile::Vector::lanes;
  const Scalar* b = p.b;
  Scalar* c = p.c;
  constexpr int full_step = Tile::strip_columns * Tile::copies;
  int columns = p.columns;
  if constexpr (V == 1 && Tile::wide_columns > 0) {
    constexpr int strips = Tile::wide_columns / Tile::strip_columns;
    for (; columns >= Tile::wide_columns; columns -= Tile::wide_columns) {
      Sums<typename Tile::Vector, V, Tile::wide_columns> sums;
      Tile::accumulate_wide(p.depth, p.a, b, p.depth * full_step, sums);
      write_back<Type, full>(sums, c, p.ldc, last, p.overwrite);
      b += strips * full_step * p.depth;
      c += Tile::wide_columns / Type::parts * p.ldc;
    }
  }
  for (; columns >= Tile::strip_columns; columns -= Tile::strip_columns) {
    unroll<Tile::strip_columns / tile_columns>([&](auto part) QSL_INLINE_LAMBDA {
      multiply_tile<Type, Tile, full, V, tile_columns>(
          p, b + part.value * tile_columns * Tile::copies, full_step, c, last);
      c += tile_columns / Type::parts * p.ldc;
    });
    b += full_step * p.depth;
  }
  // The last strip stores as many columns as there are.
  const int b_step = columns * Tile::copies;
  if constexpr (Tile::strip_columns > tile_columns) {
    if (columns >= tile_columns) {
      multiply_tile<Type, Tile, full, V, tile_columns>(p, b, b_step, c, last);
      columns -= tile_columns;
      b += tile_columns * Tile::copies;
      c += tile_columns / Type::parts * p.ldc;
    }
  }
  // Fewer than a tile has.
  at_index_from_last<0, tile_columns / Type::parts - 1>(
      columns / Type::parts, [&p, b, b_step, c, last](auto elements) QSL_INLINE_LAMBDA {
        constexpr int N = elements.value * Type::parts;
        if constexpr (N > 0) multiply_tile<Type, Tile, full, V, N>(p, b, b_step, c, last);
      });
}

// The rows that do not fill a strip: V registers of them, the last of which may be cut (not full).
template <class Type, class Tile, bool full, int V>
[[gnu::noinline]] void multiply_last_strip(const StripProduct<typename Type::Scalar>& p) {
  multiply_strip<Type, Tile, full, V>(p);
}

template <class Type, class Tile>
QSL_INLINE void multiply_last_rows(const StripProduct<typename Type::Scalar>& p) {
  constexpr int lanes = Tile::Vector::lanes;
  if (p.rows == 0) return;
  at_index_from_last<1, Tile::vectors>((p.rows + lanes - 1) / lanes,
                                       [&](auto registers) QSL_INLINE_LAMBDA {
                                         constexpr int V = registers.value;
                                         if (p.rows == V * lanes) {
                                           multiply_last_strip<Type, Tile, true, V>(p);
                                         } else {
                                           multiply_last_strip<Type, Tile, false, V>(p);
                                         }
                                       });
}

template <class Type, class Tile>
[[gnu::noinline]] void multiply_full_strips(StripProduct<typename Type::Scalar>& p) {
  constexpr int strip_rows = Tile::vectors * Tile::Vector::lanes;
  const int rows = p.rows;
  p.rows = strip_rows;
  for (int row = strip_rows; row <= rows; row += strip_rows) {
    multiply_strip<Type, Tile, true, Tile::vectors>(p);
    p.a += strip_rows * p.depth;
    p.c += strip_rows;
  }
  p.rows = rows % strip_rows;
}

// OperationRecord::Kernel.
template <class Type, class Tile>
void multiply_block(const BlockProduct& block) {
  using Scalar = typename Type::Scalar;
  constexpr int strip_rows = Tile::vectors * Tile::Vector::lanes;
  StripProduct<Scalar> p = {block.rows * Type::parts,
                            block.columns * Type::parts,
                            block.depth,
                            static_cast<const Scalar*>(block.a),
                            static_cast<const Scalar*>(block.b),
                            static_cast<Scalar*>(block.c),
                            block.ldc * Type::parts,
                            block.overwrite};
  if (p.rows >= strip_rows) multiply_full_strips<Type, Tile>(p);
  multiply_last_rows<Type, Tile>(p);
}

}  // namespace qsl::QSL_LEVEL
