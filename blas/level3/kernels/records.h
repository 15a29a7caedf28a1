// What the level-3 drivers work on: matrices, the operation, its register tile and its blocks.
#pragma once

#include <cstddef>

#include "elements/apply_factor.h"
#include "elements/groups.h"

namespace qsl::QSL_LEVEL {

enum MatrixFlags { plain = 1, transposed = 2, conjugate_transposed = 4 };

// One operand. `rows` and `cols` are the size of op(X); the offsets say where in it the work is.
struct MatrixDescriptor {
  using Addressing = char* (*)(const MatrixDescriptor& x, int row, int col);

  const void* data;
  int rows, cols;
  int ld;
  int row_offset, col_offset;
  int element_size;
  int flags;
  Addressing addressing;

  // Element (row, col) of op(X), counted from the offsets.
  char* at(int row, int col) const { return addressing(*this, row_offset + row, col_offset + col); }
  bool is_plain() const { return (flags & plain) != 0; }
};

// Offsets are computed modulo 2^32, as addresses are.
inline char* column_major_address(const MatrixDescriptor& x, int row, int col) {
  const auto element = static_cast<std::size_t>(row) + static_cast<std::size_t>(col) * x.ld;
  return static_cast<char*>(const_cast<void*>(x.data)) + element * x.element_size;
}
inline char* transposed_address(const MatrixDescriptor& x, int row, int col) {
  return column_major_address(x, col, row);
}

// `trans` is 0, 1 or 2: as it is, transposed, conjugate transposed.
inline MatrixDescriptor describe(const void* data, int rows, int cols, int ld, int trans,
                                 int element_size) {
  return {data,
          rows,
          cols,
          ld,
          0,
          0,
          element_size,
          plain << trans,
          trans == 0 ? column_major_address : transposed_address};
}

// `columns` columns of op(X) from `column` on.
inline MatrixDescriptor columns_of(MatrixDescriptor x, int column, int columns) {
  x.col_offset += column;
  x.cols = columns;
  return x;
}

// The register tile, in elements. (Nothing reads the rounded sizes and the alignment yet.)
struct TileRecord {
  int mr, nr, ku;
  int mr_rounded, nr_rounded;  // to a multiple of 8
  int align_doubles;
};

constexpr TileRecord make_tile_record(int mr, int nr, int ku) {
  return {mr, nr, ku, round_up(mr, 8), round_up(nr, 8), 8};
}

// How one call is cut, and where its packed operands lie in the buffer.
struct BlockRecord {
  int mc, nc, kc;
  std::size_t a_offset, b_offset;
  std::size_t a_elements, b_elements;
  std::size_t bytes;  // of the buffer
};

// Packed strips of A times one packed block of B. Sizes are in elements.
struct BlockProduct {
  int rows;     // of all strips
  int columns;  // of the block
  int depth;
  const void* a;
  const void* b;
  void* c;
  int ldc;
  bool overwrite;  // C := product, instead of C := C + product
};

// What is contiguous in memory: the rows of A or columns of B of a strip, or k.
enum PackDirection { along_strip, along_k };

struct OperationRecord {
  // C := beta * C; stores zeros when beta is 0.
  using Scaler = void (*)(const MatrixDescriptor& c, const void* beta);
  // `width` rows (of A) or columns (of B) by `depth`, from the element at `from`, to strips at
  // `to`.
  using Pack = void (*)(const void* from, int ld, int width, int depth, const Scaling& scaling,
                        void* to);
  using Kernel = void (*)(const BlockProduct& product);
  using SimpleLoops = void (*)(const MatrixDescriptor& a, const MatrixDescriptor& b,
                               const MatrixDescriptor& c, const void* alpha, const void* beta);

  int element_size;
  const char* name;  // five letters
  const void* one;
  Scaler scale;
  // By direction, see PackDirection.
  Pack pack_a[2];
  Pack pack_b[2];
  Kernel kernel;
  SimpleLoops simple_loops;
  int b_copies;  // how often packed B repeats each value
  TileRecord tile;
};

}  // namespace qsl::QSL_LEVEL
