// A matrix copied out of place and transposed, with a factor: B := alpha * A^T.
//
// Square tiles are transposed in registers; blocks of them keep the lines of both matrices in the
// first-level cache. A factor of one copies every bit.
#pragma once

#include "elements/apply_factor.h"
#include "elements/transpose.h"

namespace qsl::QSL_LEVEL {

// Columns of A that are copied side by side: so many elements fill whole cache lines of B.
template <class Type>
inline constexpr int copied_columns = 64 / static_cast<int>(sizeof(typename Type::Element)) * 2;

// Columns [0, columns) of A, each `rows` elements long, become rows of B.
template <class Type, class Factor>
QSL_INLINE void copy_transposed(int rows, int columns, const Factor& factor,
                                const typename Type::Scalar* a, int lda, typename Type::Scalar* b,
                                int ldb) {
  using Scalar = typename Type::Scalar;
  constexpr int units = widest<Type>;
  using Wide = RegisterOf<Type, units>;
  using Unit = Unit<Type>;
  constexpr int parts = Type::parts;
  int i = 0;
  for (; i + units <= rows; i += units) {
    int j = 0;
    const Scalar* from = a + i * parts;
    Scalar* to = b + i * ldb;
    for (; j + units <= columns; j += units) {
      Wide tile[units];
      unroll<units>([&](auto c)
                        QSL_INLINE_LAMBDA { tile[c.value] = Wide::load(from + c.value * lda); });
      transpose(tile);
      unroll<units>(
          [&](auto r) QSL_INLINE_LAMBDA { factor.apply(tile[r.value]).store(to + r.value * ldb); });
      from += units * lda;
      to += units * parts;
    }
    for (; j < columns; j++) {
      unroll<units>([&](auto r) QSL_INLINE_LAMBDA {
        factor.apply(Unit::load(from + r.value * parts)).store(to + r.value * ldb);
      });
      from += lda;
      to += parts;
    }
  }
  for (; i < rows; i++) {
    for (int j = 0; j < columns; j++) {
      factor.apply(Unit::load(a + i * parts + j * lda)).store(b + i * ldb + j * parts);
    }
  }
}

// A has `rows` contiguous elements in each of `columns` columns.
template <class Type>
QSL_INLINE void transposed_copy(int rows, int columns, const typename Type::Scalar* alpha,
                                const typename Type::Scalar* a, int lda, typename Type::Scalar* b,
                                int ldb) {
  lda *= Type::parts;
  ldb *= Type::parts;
  with_factor<Type>({alpha, false}, [&](const auto& factor) QSL_INLINE_LAMBDA {
    constexpr int block = copied_columns<Type>;
    for (int j = 0; j < columns; j += block) {
      const int some = columns - j < block ? columns - j : block;
      copy_transposed<Type>(rows, some, factor, a + j * lda, lda, b + j * Type::parts, ldb);
    }
  });
}

}  // namespace qsl::QSL_LEVEL
