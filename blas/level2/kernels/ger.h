// A := alpha * x * y^T + beta * A, in one pass over A.
//
// Several columns are updated per pass, so that x is loaded once for all of them.
#pragma once

#include "elements/groups.h"
#include "elements/in_registers.h"
#include "elements/passes.h"
#include "elements/rest.h"

namespace qsl::QSL_LEVEL {

// column c := factors[c] * x, or with `add` column c + factors[c] * x
template <class Elements, bool add, int columns>
[[gnu::noinline]] void update_columns(int rows, const typename Elements::Scalar* x,
                                      const typename Elements::Scalar* factors,
                                      typename Elements::Scalar* a, int lda) {
  using Vector = typename Elements::Vector;
  using Scalar = typename Elements::Scalar;
  using Factor = typename Elements::Factor;
  constexpr int lanes = Vector::lanes;
  Factor by[columns];
  Scalar* column[columns];
  unroll<columns>([&](auto c) QSL_INLINE_LAMBDA {
    by[c.value] = Factor::read(factors + c.value * Elements::parts);
    column[c.value] = at<Elements>(a, c.value, lda);
  });
  const auto update = [&](const auto& load, const auto& store, int i) QSL_INLINE_LAMBDA {
    const Vector xi = load(x + i);
    unroll<columns>([&](auto c) QSL_INLINE_LAMBDA {
      Scalar* element = column[c.value] + i;
      if constexpr (add) {
        store(element, by[c.value].times_plus(xi, load(element)));
      } else {
        store(element, by[c.value].times(xi));
      }
    });
  };
  const auto load = [](const Scalar* p) QSL_INLINE_LAMBDA { return Vector::load(p); };
  const auto store = [](Scalar* p, Vector v) QSL_INLINE_LAMBDA { v.store(p); };
  const int n = rows * Elements::parts;
  int i = 0;
  for (; i + lanes <= n; i += lanes) update(load, store, i);
  if constexpr (has_rest<Elements>) {
    const int k = n - i;
    if (k == 0) return;
    const auto load_k = [&](const Scalar* p)
                            QSL_INLINE_LAMBDA { return load_rest<Elements>(p, k); };
    const auto store_k = [&](Scalar* p, Vector v)
                             QSL_INLINE_LAMBDA { store_rest<Elements>(p, v, k); };
    update(load_k, store_k, i);
  }
}

// All columns of a block of rows. A beta that is neither 0 nor 1 (null otherwise) goes first,
// column by column, while the block is in the first-level cache.
template <class Elements, bool add>
[[gnu::noinline]] void ger_rows(int rows, int n, const typename Elements::Scalar* alpha,
                                const typename Elements::Scalar* x,
                                const typename Elements::Scalar* y_base, int incy,
                                const typename Elements::Scalar* beta, typename Elements::Scalar* a,
                                int lda) {
  using Scalar = typename Elements::Scalar;
  alignas(64) Scalar factors[factor_block * Elements::parts];
  WalkFrom<Elements> y(y_base, n, incy);
  in_blocks(n, factor_block, [&](int first, int columns) QSL_INLINE_LAMBDA {
    WalkTo<Elements> to(factors, columns, 1);
    multiply_pass<Elements>(columns, alpha, y, to);
    Scalar* block = at<Elements>(a, first, lda);
    in_groups<Elements::columns>(columns, [&](auto group, int j) QSL_INLINE_LAMBDA {
      Scalar* column = at<Elements>(block, j, lda);
      if (add && beta != nullptr) {
        for (int c = 0; c < group.value; c++) {
          scale<Elements>(rows, beta, at<Elements>(column, c, lda), 1);
        }
      }
      update_columns<Elements, add, group.value>(rows, x, at<Elements>(factors, j), column, lda);
    });
  });
}

// x in blocks of rows: where it lies, or through a buffer.
template <class Elements, bool add>
[[gnu::noinline]] void ger_blocks(int m, int n, const typename Elements::Scalar* alpha,
                                  const typename Elements::Scalar* x_base, int incx,
                                  const typename Elements::Scalar* y, int incy,
                                  const typename Elements::Scalar* beta,
                                  typename Elements::Scalar* a, int lda) {
  using Scalar = typename Elements::Scalar;
  alignas(64) Scalar buffer[buffer_elements<Elements> * Elements::parts];
  WalkFrom<Elements> x(x_base, m, incx);
  const bool contiguous = incx == 1;
  in_blocks(m, contiguous ? row_block<Elements> : buffer_elements<Elements>,
            [&](int row, int rows) QSL_INLINE_LAMBDA {
              const Scalar* part = at<Elements>(x_base, row);
              if (!contiguous) {
                WalkTo<Elements> into(buffer, rows, 1);
                copy_pass<Elements>(rows, x, into);
                part = buffer;
              }
              ger_rows<Elements, add>(rows, n, alpha, part, y, incy, beta, at<Elements>(a, row),
                                      lda);
            });
}

}  // namespace qsl::QSL_LEVEL
