// The register tile of level avx2: three vectors of A by two values of B, six sums and two
// broadcast values in the eight registers of 32-bit mode. The contract is in level3/kernels/tile.h.
//
// A is read as the memory operand of each multiply-add, for there is no ninth register. Two values
// of B come by one 128-bit broadcast, split within lanes: seven loads for six multiply-adds instead
// of eight, where six sums at a latency of four cycles leave time for eight. Measured: 1 to 3 %.
#pragma once

#include "blas/level3/kernels/tile.h"

namespace qsl::QSL_LEVEL {

// sum + *a * b. Written as one instruction, since the compiler would load *a once for both columns,
// into a register that it then has to spill from (0.6 of the speed).
QSL_INLINE void add_product(f64x4& sum, const double* a, f64x4 b) {
  asm("vfmadd231pd %2, %1, %0" : "+x"(sum.v) : "x"(b.v), "m"(*reinterpret_cast<const __m256d*>(a)));
}
QSL_INLINE void add_product(f32x8& sum, const float* a, f32x8 b) {
  asm("vfmadd231ps %2, %1, %0" : "+x"(sum.v) : "x"(b.v), "m"(*reinterpret_cast<const __m256*>(a)));
}

template <class Vector_>
struct PairTile {
  using Vector = Vector_;
  using Scalar = typename Vector::Element;
  static constexpr int vectors = 3;
  static constexpr int columns = 2;
  static constexpr int strip_columns = 2;
  static constexpr int ku = 4;
  static constexpr int copies = 1;
  // Columns of a tile of one vector, which then keeps six sums as well.
  static constexpr int wide_columns = 6;
  // Bytes of packed B that are asked for ahead of their use.
  static constexpr int ahead = 384;

  // The 96 bytes of a column lie on two lines, or three: 88 and 24 bytes from its start. Measured
  // (Zen 3, minima of processor time, two runs): with the two 0.99 to 1.01 of the speed without for
  // products of order 100 to 600, 1.01 to 1.05 for 800 to 2000. With the next two columns asked
  // for, too, by prefetcht2: 0.99 to 1.01 and 0.97 to 1.01; those are left out.
  QSL_INLINE static void fetch_column(const Scalar* c) {
    __builtin_prefetch(reinterpret_cast<const char*>(c) + 88);
    __builtin_prefetch(reinterpret_cast<const char*>(c) + 24);
  }

  template <int V, int N>
  QSL_INLINE static void step(const Scalar* a, const Scalar* b, Sums<Vector, V, N>& sums) {
    if constexpr (N == 2) {
      const Vector pair = Vector::broadcast_pair(b);
      const Vector first = dup_even(pair);
      const Vector second = dup_odd(pair);
      unroll<V>([&](auto v) QSL_INLINE_LAMBDA {
        add_product(sums.at[v.value][0], a + v.value * Vector::lanes, first);
      });
      unroll<V>([&](auto v) QSL_INLINE_LAMBDA {
        add_product(sums.at[v.value][1], a + v.value * Vector::lanes, second);
      });
    } else {
      const Vector value = Vector::broadcast_from(b);
      unroll<V>([&](auto v) QSL_INLINE_LAMBDA {
        add_product(sums.at[v.value][0], a + v.value * Vector::lanes, value);
      });
    }
  }

  template <int V, int N>
  QSL_INLINE static void accumulate(int depth, const Scalar* a, const Scalar* b, int,
                                    Sums<Vector, V, N>& sums) {
    sums.clear();
    constexpr int a_step = V * Vector::lanes;
    for (; depth >= ku; depth -= ku) {
      keep(depth);
      __builtin_prefetch(reinterpret_cast<const char*>(b) + ahead);
      unroll<ku>([&](auto p) QSL_INLINE_LAMBDA {
        step<V, N>(a + p.value * a_step, b + p.value * N, sums);
      });
      a += ku * a_step;
      b += ku * N;
    }
    for (; depth > 0; depth--) {
      keep(depth);
      step<V, N>(a, b, sums);
      a += a_step;
      b += N;
    }
  }

  // One vector by three neighbouring strips of packed B, `strip` scalars apart.
  QSL_INLINE static void accumulate_wide(int depth, const Scalar* a, const Scalar* b, int strip,
                                         Sums<Vector, 1, wide_columns>& sums) {
    sums.clear();
    for (; depth > 0; depth--) {
      keep(depth);
      Vector rows = Vector::load_aligned(a);
      keep_vector(rows);
      unroll<wide_columns>([&](auto j) QSL_INLINE_LAMBDA {
        Vector& sum = sums.at[0][j.value];
        sum = mul_add(rows, Vector::broadcast_from(b + j.value / 2 * strip + j.value % 2), sum);
      });
      a += Vector::lanes;
      b += columns;
    }
  }
};

}  // namespace qsl::QSL_LEVEL
