// The blocked product of levels avx2 and avx512, with the packing done just in time.
//
// A block of B is packed and stays in the second-level cache; strip by strip, `mr` rows of A are
// packed, stay in the first-level cache while the kernel runs them against the whole block, and
// are kept for the next blocks of B.
//
// After K. Goto, R. A. van de Geijn, "Anatomy of High-Performance Matrix Multiplication", ACM
// Trans. Math. Software 34 (2008), with the roles of the two packed operands exchanged.
#pragma once

#include "blas/level3/kernels/buffer.h"

namespace qsl::QSL_LEVEL {

// Depth of a block of k by the sizes' product: up to `whole` it is not cut; below `split` it is
// halved, rather than leaving a small block at the end; else it is cut in blocks of `most`.
struct HalvedDepth {
  int least, whole, split, most;

  QSL_INLINE int operator()(int k, int ku) const {
    // Halves are rounded to 2 alone, so that two blocks are enough: 300 becomes 150 and 150.
    if (k > whole) return k < split ? round_up((k + 1) / 2, 2) : most;
    const int rounded = round_up(k, ku);
    return rounded > least ? rounded : least;
  }
};

// Rows of A and columns of B that are packed at a time, the latter for k below shallow_depth and
// for all others.
struct BlockNumbers {
  int mc;
  int nc_shallow, nc;
};
inline constexpr int shallow_depth = 48;

QSL_INLINE int least(int a, int b) { return a < b ? a : b; }
QSL_INLINE int greatest(int a, int b) { return a > b ? a : b; }

// Each area starts on a page of its own plus this much, so that packed A and packed B do not begin
// in the same sets of the first-level cache. The buffer itself need not start on a page.
inline constexpr std::size_t a_area = 0x680, b_area = 0x300;

// The sizing function: how a product of m by n, cut in blocks of depth kc, is cut further.
inline BlockRecord size_blocks(int m, int n, int k, int kc, const OperationRecord& op,
                               const BlockNumbers& numbers) {
  const TileRecord& tile = op.tile;
  const int nc = k < shallow_depth ? numbers.nc_shallow : numbers.nc;
  BlockRecord block;
  block.kc = kc;
  block.mc = round_up(least(greatest(m, tile.mr), numbers.mc), tile.mr);
  block.nc = round_up(least(greatest(n, tile.nr), nc), tile.nr);
  block.a_elements = static_cast<std::size_t>(block.mc) * kc;
  block.b_elements = static_cast<std::size_t>(block.nc) * kc * op.b_copies;
  block.a_offset = a_area;
  block.b_offset = whole_pages(a_area + block.a_elements * op.element_size) + b_area;
  block.bytes = page + block.b_offset + block.b_elements * op.element_size;
  return block;
}

// The loops: C := C + alpha * op(A) * op(B), or C := alpha * op(A) * op(B).
inline void blocked_loops(const OperationRecord& op, const BlockRecord& block,
                          const PackBuffer& buffer, const MatrixDescriptor& a,
                          const MatrixDescriptor& b, const MatrixDescriptor& c, const void* alpha,
                          bool store) {
  const int m = c.rows;
  const int n = c.cols;
  const int k = a.cols;
  const Scaling a_factor = {alpha, (a.flags & conjugate_transposed) != 0};
  const Scaling b_factor = {nullptr, (b.flags & conjugate_transposed) != 0};
  const auto pack_a = op.pack_a[a.is_plain() ? along_strip : along_k];
  const auto pack_b = op.pack_b[b.is_plain() ? along_k : along_strip];
  for (int i = 0; i < m; i += block.mc) {
    const int rows = least(m - i, block.mc);
    for (int p = 0; p < k; p += block.kc) {
      const int depth = least(k - p, block.kc);
      const int strip_bytes = op.tile.mr * depth * op.element_size;
      for (int j = 0; j < n; j += block.nc) {
        const int columns = least(n - j, block.nc);
        pack_b(b.at(p, j), b.ld, columns, depth, b_factor, buffer.b());
        const bool overwrite = store && p == 0;
        if (j > 0) {
          op.kernel({rows, columns, depth, buffer.a(), buffer.b(), c.at(i, j), c.ld, overwrite});
          continue;
        }
        char* strip = buffer.a();
        for (int r = 0; r < rows; r += op.tile.mr) {
          const int strip_rows = least(rows - r, op.tile.mr);
          pack_a(a.at(i + r, p), a.ld, strip_rows, depth, a_factor, strip);
          op.kernel(
              {strip_rows, columns, depth, strip, buffer.b(), c.at(i + r, j), c.ld, overwrite});
          strip += strip_bytes;
        }
      }
    }
  }
}

// C := alpha * op(A) * op(B) + beta * C, alpha not being 0 and k not 0.
inline void blocked_product(const OperationRecord& op, const BlockRecord& block,
                            const MatrixDescriptor& a, const MatrixDescriptor& b,
                            const MatrixDescriptor& c, const void* alpha, const void* beta,
                            bool beta_is_zero) {
  // From here on C counts as it is, except that zero is stored by the first block of k.
  if (!beta_is_zero) op.scale(c, beta);
  const PackBuffer buffer(block);
  if (!buffer.is_had()) {
    report_no_buffer(op.name);
    return op.simple_loops(a, b, c, alpha, beta_is_zero ? beta : op.one);
  }
  blocked_loops(op, block, buffer, a, b, c, alpha, beta_is_zero);
}

}  // namespace qsl::QSL_LEVEL
