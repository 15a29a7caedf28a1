// Dot products of a vector with columns.
//
// Several columns are taken per pass, each with sums of its own, so that x is loaded once for all
// of them.
#pragma once

#include "elements/groups.h"
#include "elements/in_registers.h"
#include "elements/passes.h"
#include "elements/rest.h"

namespace qsl::QSL_LEVEL {

// dots[c] := sum of column c times x. There are as many sums in any case: fewer columns have more
// of them each, which take the registers of rows in turn.
template <class Elements, int columns>
[[gnu::noinline]] void dot_columns(int rows, const typename Elements::Scalar* a, int lda,
                                   const typename Elements::Scalar* x, bool conjugate,
                                   typename Elements::Scalar* dots) {
  using Vector = typename Elements::Vector;
  using Scalar = typename Elements::Scalar;
  using Sum = typename Elements::Sum;
  constexpr int lanes = Vector::lanes;
  constexpr int turns = Elements::columns / columns;
  const Scalar* column[columns];
  Sum sums[turns][columns];
  unroll<columns>([&](auto c) QSL_INLINE_LAMBDA {
    column[c.value] = at<Elements>(a, c.value, lda);
    unroll<turns>([&](auto turn)
                      QSL_INLINE_LAMBDA { sums[turn.value][c.value] = Sum::from(Vector::zero()); });
  });
  const auto add = [&](const auto& load, auto turn, int i) QSL_INLINE_LAMBDA {
    const auto by = Elements::multiplier_of(load(x + i));
    unroll<columns>([&](auto c) QSL_INLINE_LAMBDA {
      sums[turn.value][c.value].add(load(column[c.value] + i), by);
    });
  };
  const int n = rows * Elements::parts;
  const auto whole = [](const Scalar* p) QSL_INLINE_LAMBDA { return Vector::load(p); };
  int i = 0;
  for (; i + turns * lanes <= n; i += turns * lanes) {
    unroll<turns>([&](auto turn) QSL_INLINE_LAMBDA { add(whole, turn, i + turn.value * lanes); });
  }
  if constexpr (turns > 1) {
    for (; i + lanes <= n; i += lanes) add(whole, Index<0>{}, i);
  }
  if constexpr (has_rest<Elements>) {
    const int k = n - i;
    if (k != 0) {
      const auto rest = [&](const Scalar* p)
                            QSL_INLINE_LAMBDA { return load_rest<Elements>(p, k); };
      add(rest, Index<turns - 1>{}, i);
    }
  }
  unroll<turns - 1>([&](auto turn) QSL_INLINE_LAMBDA {
    unroll<columns>([&](auto c)
                        QSL_INLINE_LAMBDA { sums[0][c.value].add(sums[turn.value + 1][c.value]); });
  });
  Elements::template store_totals<columns>(dots, sums[0], conjugate);
}

// y := alpha * dots + beta * y
template <class Elements>
QSL_INLINE void update_pass(int n, const typename Elements::Scalar* alpha,
                            const typename Elements::Scalar* dots,
                            const typename Elements::Scalar* beta, WalkTo<Elements>& y) {
  using Factor = typename Elements::template FactorIn<typename Elements::Narrow>;
  const Factor a = Factor::read(alpha);
  WalkFrom<Elements> from(dots, n, 1);
  switch (kind_of<Elements>(beta)) {
    case FactorKind::zero:
      multiply_pass<Elements>(n, alpha, from, y);
      return;
    case FactorKind::one:
      pass<Elements>(n, from, y,
                     [&](auto dot, auto sum) QSL_INLINE_LAMBDA { return a.times_plus(dot, sum); });
      return;
    case FactorKind::general: {
      const Factor b = Factor::read(beta);
      pass<Elements>(n, from, y, [&](auto dot, auto sum) QSL_INLINE_LAMBDA {
        return a.times_plus(dot, b.times(sum));
      });
    }
  }
}

}  // namespace qsl::QSL_LEVEL
