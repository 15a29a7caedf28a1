// Packing into the compact format and unpacking: transpositions of small squares in registers,
// which move bits and look at none.
//
// A pass takes so many matrices of a group as a register has lanes, and a run of their elements.
// Measured at avx2 against memcpy of as many bytes: docs/performance.md.
#pragma once

#include "compact/kernels/compact_group.h"

namespace qsl::QSL_LEVEL {

// One element of so many matrices of a group of `size`: between the matrices' places and the
// element's in the group. Pointers of the matrices stand at the element.
template <class V, int size>
struct CompactSquare;

template <int size>
struct CompactSquare<f64x2, size> {
  QSL_INLINE static void pack(const double* const* from, int at, double* to) {
    const f64x2 x = f64x2::load(from[0] + at), y = f64x2::load(from[1] + at);
    unpack_lower(x, y).store(to);
    unpack_upper(x, y).store(to + size);
  }
  QSL_INLINE static void unpack(const double* from, double* const* to, int at) {
    const f64x2 re = f64x2::load(from), im = f64x2::load(from + size);
    unpack_lower(re, im).store(to[0] + at);
    unpack_upper(re, im).store(to[1] + at);
  }
};

#if defined(__AVX__)
template <int size>
struct CompactSquare<f64x4, size> {
  QSL_INLINE static void pack(const double* const* from, int at, double* to) {
    const f64x4 even = combine(f64x2::load(from[0] + at), f64x2::load(from[2] + at));
    const f64x4 odd = combine(f64x2::load(from[1] + at), f64x2::load(from[3] + at));
    unpack_lower(even, odd).store(to);
    unpack_upper(even, odd).store(to + size);
  }
  QSL_INLINE static void unpack(const double* from, double* const* to, int at) {
    const f64x4 re = f64x4::load(from), im = f64x4::load(from + size);
    const f64x4 even = unpack_lower(re, im), odd = unpack_upper(re, im);
    lower_half(even).store(to[0] + at);
    lower_half(odd).store(to[1] + at);
    upper_half(even).store(to[2] + at);
    upper_half(odd).store(to[3] + at);
  }
  // Two elements that follow each other, in half the stores.
  QSL_INLINE static void unpack_two(const double* from, double* const* to, int at) {
    const double* next = from + 2 * size;
    const f64x4 re = f64x4::load(from), im = f64x4::load(from + size);
    const f64x4 next_re = f64x4::load(next), next_im = f64x4::load(next + size);
    const f64x4 even = unpack_lower(re, im), next_even = unpack_lower(next_re, next_im);
    combine(lower_half(even), lower_half(next_even)).store(to[0] + at);
    join_upper(even, next_even).store(to[2] + at);
    const f64x4 odd = unpack_upper(re, im), next_odd = unpack_upper(next_re, next_im);
    combine(lower_half(odd), lower_half(next_odd)).store(to[1] + at);
    join_upper(odd, next_odd).store(to[3] + at);
  }

 private:
  QSL_INLINE static f64x4 join_upper(f64x4 a, f64x4 b) {
    return {_mm256_permute2f128_pd(a.v, b.v, 0x31)};
  }
};
#endif

// Runs of elements of the matrices, and of the buffer; distances in doubles.
struct CompactRuns {
  int run, runs;
  int matrix_step;  // from run to run
  int group_step;
};

// Matrices that are moved at once: up to four, of which a square of registers can be transposed.
template <int size>
using CompactCopyVector = typename CompactVector<(size < 4 ? size : 4)>::Type;

template <int size>
[[gnu::noinline]] void compact_pack(const CompactRuns* shape, const double* const* a, double* ap) {
  using V = CompactCopyVector<size>;
  for (int lane = 0; lane < size; lane += V::lanes) {
    const double* from[V::lanes];
    unroll<V::lanes>([&](auto m) QSL_INLINE_LAMBDA { from[m.value] = a[lane + m.value]; });
    double* start = ap + lane;
    for (int r = shape->runs; r > 0; --r) {
      double* to = start;
      const int end = 2 * shape->run;
      for (int at = 0; at < end; at += 2) {
        CompactSquare<V, size>::pack(from, at, to);
        to += 2 * size;
      }
      unroll<V::lanes>([&](auto m) QSL_INLINE_LAMBDA { from[m.value] += shape->matrix_step; });
      start += shape->group_step;
    }
  }
}

template <int size>
[[gnu::noinline]] void compact_unpack(const CompactRuns* shape, const double* ap,
                                      double* const* a) {
  using V = CompactCopyVector<size>;
  for (int lane = 0; lane < size; lane += V::lanes) {
    double* to[V::lanes];
    unroll<V::lanes>([&](auto m) QSL_INLINE_LAMBDA { to[m.value] = a[lane + m.value]; });
    const double* start = ap + lane;
    for (int r = shape->runs; r > 0; --r) {
      const double* from = start;
      const int end = 2 * shape->run;
      int at = 0;
      if constexpr (V::lanes == 4) {
        for (; at + 2 < end; at += 4) {
          CompactSquare<V, size>::unpack_two(from, to, at);
          from += 4 * size;
        }
      }
      for (; at < end; at += 2) {
        CompactSquare<V, size>::unpack(from, to, at);
        from += 2 * size;
      }
      unroll<V::lanes>([&](auto m) QSL_INLINE_LAMBDA { to[m.value] += shape->matrix_step; });
      start += shape->group_step;
    }
  }
}

// One lane of a group of any size: a matrix of the last group, or none, which leaves zeros.
[[gnu::noinline]] inline void compact_pack_lane(const CompactRuns* shape, int size, const double* a,
                                                double* lane) {
  for (int r = shape->runs; r > 0; --r) {
    double* to = lane;
    for (int at = 0; at < 2 * shape->run; at += 2, to += 2 * size) {
      const f64x2 x = a == nullptr ? f64x2::zero() : f64x2::load(a + at);
      f64{x.v}.store(to);
      f64{unpack_upper(x, x).v}.store(to + size);
    }
    if (a != nullptr) a += shape->matrix_step;
    lane += shape->group_step;
  }
}

[[gnu::noinline]] inline void compact_unpack_lane(const CompactRuns* shape, int size,
                                                  const double* lane, double* a) {
  for (int r = shape->runs; r > 0; --r) {
    const double* from = lane;
    for (int at = 0; at < 2 * shape->run; at += 2, from += 2 * size) {
      f64x2::gather(from, from + size).store(a + at);
    }
    a += shape->matrix_step;
    lane += shape->group_step;
  }
}

}  // namespace qsl::QSL_LEVEL
