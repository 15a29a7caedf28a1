// Packing: copies a block of A or B into strips, in the order in which a kernel reads them.
//
// A strip is `width` rows of A or columns of B. For each k its elements stand together. What is
// contiguous in memory decides the way: along the strip, each k is one run to copy (a plain A, a
// transposed B); along k, square blocks are transposed in registers (a transposed A, a plain B).
// The last strip may have fewer rows or columns than `width`: strips of A are then filled up with
// zeros to whole vectors, strips of B are just narrower.
//
// Elements move as units of 8 or 16 bytes, one unit being one element, and are multiplied by a
// factor or conjugated on the way. Nothing outside the block is read.
#pragma once

#include "blas/level3/kernels/records.h"
#include "elements/apply_factor.h"
#include "elements/transpose.h"

namespace qsl::QSL_LEVEL {

// The largest register, in units, that `width` elements fill.
template <class Type>
constexpr int register_units(int width) {
  int units = widest<Type>;
  while (units > width) units /= 2;
  return units;
}

// One k: `width` contiguous elements.
template <class Type, int width, class Factor>
QSL_INLINE void copy_run(const typename Type::Scalar* from, const Factor& factor,
                         typename Type::Scalar* to) {
  if constexpr (width > 0) {
    constexpr int units = register_units<Type>(width);
    using Vector = RegisterOf<Type, units>;
    factor.apply(Vector::load(from)).store(to);
    copy_run<Type, width - units>(from + units * Type::parts, factor, to + units * Type::parts);
  }
}

// `units` values of k of the `width` rows at `from`, k contiguous, in square blocks of `units`.
template <class Type, int stride, int width, int units, class Factor>
QSL_INLINE void copy_squares(const typename Type::Scalar* from, int ld, const Factor& factor,
                             typename Type::Scalar* to) {
  using Vector = RegisterOf<Type, units>;
  if constexpr (width >= units) {
    Vector block[units];
    unroll<units>([&](auto i)
                      QSL_INLINE_LAMBDA { block[i.value] = Vector::load(from + i.value * ld); });
    transpose(block);
    unroll<units>([&](auto k) QSL_INLINE_LAMBDA {
      factor.apply(block[k.value]).store(to + k.value * stride);
    });
    copy_squares<Type, stride, width - units, units>(from + units * ld, ld, factor,
                                                     to + units * Type::parts);
  } else if constexpr (width > 0) {
    // Too few rows for a square: two squares of half the size along k.
    constexpr int half = units / 2;
    copy_squares<Type, stride, width, half>(from, ld, factor, to);
    copy_squares<Type, stride, width, half>(from + half * Type::parts, ld, factor,
                                            to + half * stride);
  }
}

// The last strip: `valid` elements for each k, then zeros up to `width`.
template <class Type, class Factor>
[[gnu::noinline]] void pack_narrow(const typename Type::Scalar* from, int along_strip, int along_k,
                                   int valid, int width, int depth, const Factor& factor,
                                   typename Type::Scalar* to) {
  using Vector = Unit<Type>;
  for (int k = 0; k < depth; k++) {
    for (int i = 0; i < valid; i++) {
      factor.apply(Vector::load(from + i * along_strip)).store(to);
      to += Type::parts;
    }
    for (int i = valid; i < width; i++) {
      Vector::zero().store(to);
      to += Type::parts;
    }
    from += along_k;
  }
}

template <class Type, int width, bool along_k, class Factor>
[[gnu::noinline]] void pack_strip(const typename Type::Scalar* from, int ld, int depth,
                                  const Factor& factor, typename Type::Scalar* to) {
  constexpr int stride = width * Type::parts;
  if constexpr (along_k) {
    constexpr int units = widest<Type>;
    for (; depth >= units; depth -= units) {
      copy_squares<Type, stride, width, units>(from, ld, factor, to);
      from += units * Type::parts;
      to += units * stride;
    }
    for (; depth > 0; depth--) {
      copy_squares<Type, stride, width, 1>(from, ld, factor, to);
      from += Type::parts;
      to += stride;
    }
  } else {
    for (; depth > 0; depth--) {
      copy_run<Type, width>(from, factor, to);
      from += ld;
      to += stride;
    }
  }
}

// All strips of a block. `granule` is what the last strip is filled up to a multiple of.
template <class Type, int width, int granule, bool along_k, class Factor>
QSL_INLINE void pack_strips(const typename Type::Scalar* from, int ld, int count, int depth,
                            const Factor& factor, typename Type::Scalar* to) {
  // Everything counts in scalars from here on.
  ld *= Type::parts;
  const int along_strip = along_k ? ld : Type::parts;
  for (; count >= width; count -= width) {
    pack_strip<Type, width, along_k>(from, ld, depth, factor, to);
    from += width * along_strip;
    to += width * Type::parts * depth;
  }
  if (count > 0) {
    pack_narrow<Type>(from, along_strip, along_k ? Type::parts : ld, count,
                      round_up(count, granule), depth, factor, to);
  }
}

// The pack routine of an operation: OperationRecord::Pack.
template <class Type, int width, int granule, bool along_k>
void pack(const void* from, int ld, int width_in_all, int depth, const Scaling& scaling, void* to) {
  with_factor<Type>(scaling, [&](const auto& applied) QSL_INLINE_LAMBDA {
    pack_strips<Type, width, granule, along_k>(static_cast<const typename Type::Scalar*>(from), ld,
                                               width_in_all, depth, applied,
                                               static_cast<typename Type::Scalar*>(to));
  });
}

}  // namespace qsl::QSL_LEVEL
