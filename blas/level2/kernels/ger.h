// A := alpha * x * y^T + beta * A, in one pass over A. With beta 0 it is +0 that the product is
// added to: the sign of a zero does not depend on how a product is computed.
//
// Several columns are updated per pass, so that x is loaded once for all of them.
#pragma once

#include "elements/groups.h"
#include "elements/in_registers.h"
#include "elements/passes.h"
#include "elements/rest.h"

namespace qsl::QSL_LEVEL {

// column c := factors[c] * x + beta * column c
template <class Elements, FactorKind kind, int columns>
[[gnu::noinline]] void update_columns(int rows, const typename Elements::Scalar* x,
                                      const typename Elements::Scalar* factors,
                                      const typename Elements::Scalar* beta,
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
  [[maybe_unused]] Factor by_beta;
  if constexpr (kind == FactorKind::general) by_beta = Factor::read(beta);
  const auto update = [&](const auto& load, const auto& store, int i) QSL_INLINE_LAMBDA {
    const Vector xi = load(x + i);
    unroll<columns>([&](auto c) QSL_INLINE_LAMBDA {
      Scalar* element = column[c.value] + i;
      if constexpr (kind == FactorKind::zero) {
        store(element, by[c.value].times(xi) + Vector::zero());
      } else if constexpr (kind == FactorKind::one) {
        store(element, by[c.value].times_plus(xi, load(element)));
      } else {
        store(element, by[c.value].times_plus(xi, by_beta.times(load(element))));
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

// The same for a kind that is known at run time only.
template <class Elements, int columns>
QSL_INLINE void update_group(FactorKind kind, int rows, const typename Elements::Scalar* x,
                             const typename Elements::Scalar* factors,
                             const typename Elements::Scalar* beta, typename Elements::Scalar* a,
                             int lda) {
  if (kind == FactorKind::zero) {
    update_columns<Elements, FactorKind::zero, columns>(rows, x, factors, beta, a, lda);
  } else if (kind == FactorKind::one) {
    update_columns<Elements, FactorKind::one, columns>(rows, x, factors, beta, a, lda);
  } else if constexpr (Elements::parts == 1) {
    update_columns<Elements, FactorKind::general, columns>(rows, x, factors, beta, a, lda);
  } else {
    // A complex beta takes the registers of a column.
    for (int c = 0; c < columns; c++) {
      update_columns<Elements, FactorKind::general, 1>(rows, x, at<Elements>(factors, c), beta,
                                                       at<Elements>(a, c, lda), lda);
    }
  }
}

// All columns of a block of rows.
template <class Elements>
[[gnu::noinline]] void ger_rows(FactorKind kind, int rows, int n,
                                const typename Elements::Scalar* alpha,
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
      update_group<Elements, group.value>(kind, rows, x, at<Elements>(factors, j), beta,
                                          at<Elements>(block, j, lda), lda);
    });
  });
}

// x in blocks of rows: where it lies, or through a buffer.
template <class Elements>
[[gnu::noinline]] void ger_blocks(FactorKind kind, int m, int n,
                                  const typename Elements::Scalar* alpha,
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
              ger_rows<Elements>(kind, rows, n, alpha, part, y, incy, beta, at<Elements>(a, row),
                                 lda);
            });
}

}  // namespace qsl::QSL_LEVEL
