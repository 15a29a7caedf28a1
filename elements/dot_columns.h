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

// y := alpha * dots + beta * y; with beta 0 it is +0 that the product is added to, as where sums
// start from a stored zero: the sign of a zero does not depend on the way.
template <class Elements>
QSL_INLINE void update_pass(int n, const typename Elements::Scalar* alpha,
                            const typename Elements::Scalar* dots,
                            const typename Elements::Scalar* beta, WalkTo<Elements>& y) {
  using Narrow = typename Elements::Narrow;
  using Factor = typename Elements::template FactorIn<Narrow>;
  WalkFrom<Elements> from(dots, n, 1);
  const bool one = is_one<Elements>(alpha);
  const Factor a = Factor::read(alpha);
  const auto add_to = [&](const auto& kept) QSL_INLINE_LAMBDA {
    pass<Elements>(n, from, y, [&](auto dot, auto before) QSL_INLINE_LAMBDA {
      return one ? dot + kept(before) : a.times_plus(dot, kept(before));
    });
  };
  switch (kind_of<Elements>(beta)) {
    case FactorKind::zero:
      return add_to([](auto) QSL_INLINE_LAMBDA { return Narrow::zero(); });
    case FactorKind::one:
      return add_to([](auto before) QSL_INLINE_LAMBDA { return before; });
    case FactorKind::general: {
      const Factor b = Factor::read(beta);
      return add_to([&](auto before) QSL_INLINE_LAMBDA { return b.times(before); });
    }
  }
}

}  // namespace qsl::QSL_LEVEL
