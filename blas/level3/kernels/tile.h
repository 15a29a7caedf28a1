// The register tile of the packed matrix product: rows of A times columns of B, summed in registers
// over one block of k.
//
// Everything here counts in scalars: a complex operand of r rows is a real one of 2r rows, and a
// complex column of B is two real columns, its real and its imaginary parts. The product of a
// complex A with both is put together when the sums are added to C (write_back.h), so the loop
// over k is the same for all element types.
//
// A tile's contract:
//   Vector              the registers that hold rows
//   vectors, columns    the full tile: vectors * lanes rows by `columns` columns
//   strip_columns       columns of a strip of packed B, one or two tiles
//   ku                  values of k that are worked off together, while so many are left
//   copies              how often each value of packed B is repeated
//   wide_columns        columns of a second tile for strips of one vector, which may take more of
//                       them, by accumulate_wide; 0 for a level without one
//   accumulate<V, N>    sums a narrower or full tile of V vectors by N columns:
//       a               for each k, V * lanes scalars, aligned to the vector's size
//       b               for each k, N * copies scalars, b_step apart
//   fetch_column        asks for a column of C that the full tile's sums will be added to
// Neither operand is read past its last element. Sums run in the order of k, so a result's bits do
// not depend on where the tile lies.
#pragma once

#include "simd/inline.h"

namespace qsl::QSL_LEVEL {

template <class Vector, int vectors, int columns>
struct Sums {
  Vector at[vectors][columns];

  QSL_INLINE void clear() {
    unroll<vectors * columns>([&](auto i) QSL_INLINE_LAMBDA {
      at[i.value / columns][i.value % columns] = Vector::zero();
    });
  }

  QSL_INLINE void keep() {
    unroll<vectors * columns>(
        [&](auto i) QSL_INLINE_LAMBDA { keep_vector(at[i.value / columns][i.value % columns]); });
  }
};

// Each value of B is broadcast to a register (from `copies` equal values: loaded) and multiplied
// with one vector of A.
//
// Without fused multiply-add, two products are added to each other before they reach the sum. A
// chain of additions is then half as long: four sums are not enough to hide the latency of one
// addition for every k. The loop writes out `factor` times ku values of k.
template <class Vector_, int columns_, int ku_, int factor_, int copies_,
          int strip_columns_ = columns_>
struct BroadcastTile {
  using Vector = Vector_;
  using Scalar = typename Vector::Element;
  static constexpr int vectors = 1;
  static constexpr int columns = columns_;
  static constexpr int strip_columns = strip_columns_;
  static constexpr int ku = ku_;
  static constexpr int factor = factor_;
  static constexpr int copies = copies_;
  static constexpr int wide_columns = 0;

  QSL_INLINE static Vector value(const Scalar* b) {
    if constexpr (copies == 1) {
      return Vector::broadcast_from(b);
    } else {
      return Vector::load_aligned(b);
    }
  }

  // Nothing is asked for: a column of this tile is one register.
  QSL_INLINE static void fetch_column(const Scalar*) {}

  template <int N>
  QSL_INLINE static void step(const Scalar* a, const Scalar* b, Sums<Vector, 1, N>& sums) {
    Vector rows = Vector::load_aligned(a);
    keep_vector(rows);
    unroll<N>([&](auto j) QSL_INLINE_LAMBDA {
      Vector& sum = sums.at[0][j.value];
      sum = mul_add(rows, value(b + j.value * copies), sum);
    });
  }

  template <int N>
  QSL_INLINE static void two_steps(const Scalar* a, const Scalar* b, int b_step,
                                   Sums<Vector, 1, N>& sums) {
    Vector first = Vector::load_aligned(a);
    Vector second = Vector::load_aligned(a + Vector::lanes);
    keep_vector(first);
    keep_vector(second);
    unroll<N>([&](auto j) QSL_INLINE_LAMBDA {
      Vector& sum = sums.at[0][j.value];
      sum = sum +
            (first * value(b + j.value * copies) + second * value(b + b_step + j.value * copies));
    });
    sums.keep();
  }

  // `count` values of k.
  template <int count, int N>
  QSL_INLINE static void steps(const Scalar* a, const Scalar* b, int b_step,
                               Sums<Vector, 1, N>& sums) {
    constexpr int a_step = Vector::lanes;
    if constexpr (has_fma || count == 1) {
      unroll<count>([&](auto p) QSL_INLINE_LAMBDA {
        step<N>(a + p.value * a_step, b + p.value * b_step, sums);
      });
    } else {
      unroll<count / 2>([&](auto p) QSL_INLINE_LAMBDA {
        two_steps<N>(a + 2 * p.value * a_step, b + 2 * p.value * b_step, b_step, sums);
      });
    }
  }

  // Passes of `count` values of k, as long as there are so many.
  template <int count, int N>
  QSL_INLINE static void passes(int& depth, const Scalar*& a, const Scalar*& b, int b_step,
                                Sums<Vector, 1, N>& sums) {
    for (; depth >= count; depth -= count) {
      keep(depth);
      steps<count>(a, b, b_step, sums);
      a += count * Vector::lanes;
      b += count * b_step;
    }
  }

  template <int V, int N>
  QSL_INLINE static void accumulate(int depth, const Scalar* a, const Scalar* b, int b_step,
                                    Sums<Vector, V, N>& sums) {
    static_assert(V == 1 && ku % 2 == 0);
    sums.clear();
    if constexpr (factor > 1) passes<factor * ku>(depth, a, b, b_step, sums);
    passes<ku>(depth, a, b, b_step, sums);
    passes<1>(depth, a, b, b_step, sums);
  }
};

}  // namespace qsl::QSL_LEVEL
